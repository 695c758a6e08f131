// The trig-free slerp weights against sin(uθ)/sin θ in double precision,
// over the whole range they serve: u in [0, 1] and θ in [0, π/2], ends
// included, with the four lanes holding different parameters.
#include "foundation/ZoLanesSlerp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

using zolanes::Lanes;

// The worst single-precision error of a weight (the polynomial's own error
// is 3.1e-8; the rest is rounding).
constexpr double kWeightTolerance = 2.5e-7;

double Exact(double u, double theta) { return theta == 0.0 ? u : std::sin(u * theta) / std::sin(theta); }

struct Worst {
  double error = 0.0;
  double u = 0.0, theta = 0.0;
};

// Every u of a grid of `uSteps` against every θ of a grid of `thetaSteps`;
// lanes 0-3 hold u, 1 − u, u / 2 and (1 + u) / 2 so that neighbouring
// lanes differ.
Worst WorstError(int uSteps, int thetaSteps) {
  double const halfPi = std::acos(0.0);
  Worst worst;
  for (int i = 0; i <= uSteps; ++i) {
    float const u = static_cast<float>(i) / static_cast<float>(uSteps);
    Lanes const us{u, 1.0f - u, u * 0.5f, (1.0f + u) * 0.5f};
    zolanes::SlerpBasis const basis = zolanes::SlerpBasisOf(us);
    for (int k = 0; k <= thetaSteps; ++k) {
      float const cosine = std::cos(static_cast<float>(halfPi * k / thetaSteps));
      double const theta = std::acos(static_cast<double>(cosine));
      Lanes const weight = zolanes::SlerpWeight(basis, zolanes::SlerpPowersOf(zolanes::Splat(cosine - 1.0f)));
      for (int lane = 0; lane < 4; ++lane) {
        double const error = std::fabs(static_cast<double>(weight[lane]) - Exact(static_cast<double>(us[lane]), theta));
        if (error > worst.error) worst = {error, static_cast<double>(us[lane]), theta};
      }
    }
  }
  return worst;
}

TEST(ZoLanesSlerp, WeightsMatchTheSinesOverTheWholeRange) {
  Worst const worst = WorstError(256, 2048);
  std::printf("[ weights ] worst error %.3g at u %.4f, theta %.4f (tolerance %.1e)\n", worst.error, worst.u,
              worst.theta, kWeightTolerance);
  EXPECT_LE(worst.error, kWeightTolerance) << "at u " << worst.u << ", theta " << worst.theta;
}

// The ends of the arc and of the parameter, where a slerp's weights are
// known exactly: u = 0 and u = 1 give 0 and 1 at every angle, and at θ = 0
// the weight is u itself.
TEST(ZoLanesSlerp, EndsOfTheRange) {
  struct Case {
    char const* name;
    float u, cosine;
    double expected;
  } const cases[] = {
      {"u 0 at a right angle", 0.0f, 0.0f, 0.0},     {"u 1 at a right angle", 1.0f, 0.0f, 1.0},
      {"u 1 at no angle", 1.0f, 1.0f, 1.0},          {"u 0.25 at no angle", 0.25f, 1.0f, 0.25},
      {"u 0.5 at a right angle", 0.5f, 0.0f, std::sin(std::acos(0.0) / 2)},
  };
  for (Case const& c : cases) {
    Lanes const w =
        zolanes::SlerpWeight(zolanes::SlerpBasisOf(zolanes::Splat(c.u)), zolanes::SlerpPowersOf(zolanes::Splat(c.cosine - 1.0f)));
    EXPECT_NEAR(static_cast<double>(w[0]), c.expected, kWeightTolerance) << c.name;
  }
}

}  // namespace
