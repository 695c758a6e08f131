// The lanes header against plain float code: every lane of every operation
// must give the bits the scalar expression gives, on whichever path this
// build runs (the scalar preset builds the suite with ZOACTOR_LANES_SCALAR),
// special values included. RsqrtNewton alone is held to a relative bound.
#include "foundation/ZoLanes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace {

using zolanes::Lanes;
using zolanes::Mask;

uint32_t BitsOf(float v) {
  uint32_t b;
  std::memcpy(&b, &v, 4);
  return b;
}

// Special values, then random ones of every magnitude.
std::vector<float> Values() {
  float const inf = std::numeric_limits<float>::infinity();
  std::vector<float> v = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 3.4e38f, -3.4e38f, inf, -inf,
                          std::numeric_limits<float>::quiet_NaN(), 1e-40f, -1e-30f, 7.25f, 0.9995f};
  std::mt19937 engine(17);
  std::uniform_real_distribution<float> mantissa(-1.0f, 1.0f);
  std::uniform_int_distribution<int> exponent(-40, 40);
  while (v.size() < 64) v.push_back(std::ldexp(mantissa(engine), exponent(engine)));
  return v;
}

// Calls `check(a, b)` on lanes filled from every pair of values.
void ForEachPair(std::function<void(Lanes, Lanes)> const& check) {
  std::vector<float> const v = Values();
  for (size_t i = 0; i < v.size(); ++i)
    for (size_t j = 0; j < v.size(); j += 4)
      check(Lanes{v[i], v[i], v[i], v[i]}, Lanes{v[j], v[(j + 1) % v.size()], v[(j + 2) % v.size()], v[(j + 3) % v.size()]});
}

// An operation on lanes beside the scalar expression each lane must match.
template <class LaneResult, class ScalarResult>
struct OpCase {
  char const* name;
  LaneResult (*lanes)(Lanes, Lanes);
  ScalarResult (*scalar)(float, float);
};

TEST(ZoLanes, ArithmeticAndExtremesGiveTheScalarBitsInEveryLane) {
  OpCase<Lanes, float> const cases[] = {
      {"add", [](Lanes a, Lanes b) { return a + b; }, [](float a, float b) { return a + b; }},
      {"subtract", [](Lanes a, Lanes b) { return a - b; }, [](float a, float b) { return a - b; }},
      {"multiply", [](Lanes a, Lanes b) { return a * b; }, [](float a, float b) { return a * b; }},
      {"divide", [](Lanes a, Lanes b) { return a / b; }, [](float a, float b) { return a / b; }},
      {"scalar first", [](Lanes a, Lanes b) { return 3.0f * a - b; }, [](float a, float b) { return 3.0f * a - b; }},
      {"min (second wins NaN and zeros)", zolanes::Min, [](float a, float b) { return a < b ? a : b; }},
      {"max (second wins NaN and zeros)", zolanes::Max, [](float a, float b) { return a > b ? a : b; }},
      {"select by a < b", [](Lanes a, Lanes b) { return zolanes::Select(a < b, a, b); },
       [](float a, float b) { return a < b ? a : b; }},
      {"abs and sqrt", [](Lanes a, Lanes) { return zolanes::Sqrt(zolanes::Abs(a)); },
       [](float a, float) { return std::sqrt(std::fabs(a)); }},
  };
  for (auto const& c : cases) {
    ForEachPair([&c](Lanes a, Lanes b) {
      Lanes const got = c.lanes(a, b);
      for (int l = 0; l < 4; ++l) ASSERT_EQ(BitsOf(got[l]), BitsOf(c.scalar(a[l], b[l]))) << c.name << " lane " << l;
    });
  }
}

TEST(ZoLanes, ComparisonsMasksAndBits) {
  OpCase<Mask, bool> const cases[] = {
      {"<", [](Lanes a, Lanes b) { return a < b; }, [](float a, float b) { return a < b; }},
      {">=", [](Lanes a, Lanes b) { return a >= b; }, [](float a, float b) { return a >= b; }},
      {"==", [](Lanes a, Lanes b) { return a == b; }, [](float a, float b) { return a == b; }},
      {"!=", [](Lanes a, Lanes b) { return a != b; }, [](float a, float b) { return a != b; }},
      {"same bits", zolanes::SameBits, [](float a, float b) { return BitsOf(a) == BitsOf(b); }},
      {"< and not ==", [](Lanes a, Lanes b) { return (a < b) & ~(a == b); }, [](float a, float b) { return a < b; }},
  };
  for (auto const& c : cases) {
    ForEachPair([&c](Lanes a, Lanes b) {
      Mask const m = c.lanes(a, b);
      int expected = 0;
      for (int l = 0; l < 4; ++l) {
        ASSERT_EQ(m[l], c.scalar(a[l], b[l]) ? -1 : 0) << c.name << " lane " << l;
        expected |= c.scalar(a[l], b[l]) ? 1 << l : 0;
      }
      ASSERT_EQ(zolanes::Bits(m), expected) << c.name;
      ASSERT_EQ(zolanes::Any(m), expected != 0) << c.name;
      ASSERT_EQ(zolanes::All(m), expected == 15) << c.name;
    });
  }
}

TEST(ZoLanes, LoadsStoresAndRearrangements) {
  using V = std::vector<float>;
  auto of = [](Lanes v) { return V{v[0], v[1], v[2], v[3]}; };
  float const memory[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  Lanes const a = zolanes::Load(memory), b = zolanes::Load(memory + 4);
  EXPECT_EQ(of(zolanes::Load3(memory, 42.0f)), (V{1, 2, 3, 42}));
  float stored[5] = {0, 0, 0, 0, -1};
  zolanes::Store3(stored, zolanes::Load3(memory + 5, 42.0f));
  EXPECT_EQ(V(stored, stored + 5), (V{6, 7, 8, 0, -1})) << "Store3 writes three floats";
  zolanes::Store(stored, zolanes::Shuffle<3, 0, 2, 1>(a));
  EXPECT_EQ(V(stored, stored + 5), (V{4, 1, 3, 2, -1})) << "Store writes four floats";
  EXPECT_EQ(of(zolanes::Shuffle2<0, 5, 2, 7>(a, b)), (V{1, 6, 3, 8}));
  EXPECT_EQ(of(zolanes::SplatLane<2>(b)), (V{7, 7, 7, 7}));
  Lanes r0 = a, r1 = b, r2 = zolanes::Splat(10.0f), r3 = zolanes::Load(memory + 5);
  zolanes::Transpose(r0, r1, r2, r3);
  EXPECT_EQ(std::vector<V>({of(r0), of(r1), of(r2), of(r3)}),
            std::vector<V>({{1, 5, 10, 6}, {2, 6, 10, 7}, {3, 7, 10, 8}, {4, 8, 10, 9}}));
}

TEST(ZoLanes, ReciprocalRootWithinItsBound) {
  std::mt19937 engine(3);
  std::uniform_real_distribution<float> mantissa(0.5f, 1.0f);
  std::uniform_int_distribution<int> exponent(-60, 60);
  double worst = 0.0;
  for (int i = 0; i < 4000; ++i) {
    Lanes v;
    for (int l = 0; l < 4; ++l) v[l] = std::ldexp(mantissa(engine), exponent(engine));
    Lanes const r = zolanes::RsqrtNewton(v);
    for (int l = 0; l < 4; ++l) {
      double exact = 1.0 / std::sqrt(static_cast<double>(v[l]));
      worst = std::max(worst, std::fabs(static_cast<double>(r[l]) - exact) / exact);
    }
  }
  EXPECT_LT(worst, std::ldexp(1.0, -22));
  ::testing::Test::RecordProperty("path", zolanes::kScalarPath ? "scalar" : "vector");
}

}  // namespace
