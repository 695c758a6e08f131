// The bounding box folds points four at a time in lanes: it must give the
// bits the point-by-point rule gives (a point replaces a bound only when
// strictly beyond it), whatever lane the extremes, NaNs and signed zeros
// land in, and however many points are left over behind the last four.
#include "ZoGeometryTestSupport.h"

#include <limits>

namespace {

// The rule, one point after another.
void Folded(std::vector<ZoVector3> const& points, ZoVector3& lo, ZoVector3& hi) {
  lo = hi = points[0];
  for (ZoVector3 const& p : points) {
    for (int c = 0; c < 3; ++c) {
      float const v = (&p.x)[c];
      if (v < (&lo.x)[c]) (&lo.x)[c] = v;
      if (v > (&hi.x)[c]) (&hi.x)[c] = v;
    }
  }
}

bool SameBits(ZoVector3 const& a, ZoVector3 const& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

TEST(ZoBoundingBox, LanesGiveThePointByPointBits) {
  float const nan = std::numeric_limits<float>::quiet_NaN();
  // Coordinates drawn from a small set, so that extremes tie across lanes
  // and zeros of both signs compete for a bound.
  struct Case {
    char const* name;
    std::vector<float> values;
  };
  Case const cases[] = {
      {"spread", {-3.5f, -1.0f, 0.25f, 2.0f, 7.0f}},
      {"signed zeros at the bounds", {-0.0f, 0.0f, 1.0f, -0.0f, 0.0f}},
      {"NaNs among values", {nan, -2.0f, 5.0f, 1.0f}},
      {"ties of one value", {4.0f, 4.0f, -4.0f}},
  };
  std::mt19937 random(11);
  for (Case const& c : cases) {
    std::uniform_int_distribution<size_t> pick(0, c.values.size() - 1);
    for (int count = 1; count <= 23; ++count)
      for (int trial = 0; trial < 20; ++trial) {
        std::vector<ZoVector3> points(static_cast<size_t>(count));
        for (ZoVector3& p : points) p = ZoVector3(c.values[pick(random)], c.values[pick(random)], c.values[pick(random)]);
        ZoVector3 lo, hi, wantLo, wantHi;
        ZoTriangleSet::FindBoundingBox(points.data(), count, lo, hi);
        Folded(points, wantLo, wantHi);
        ASSERT_TRUE(SameBits(lo, wantLo) && SameBits(hi, wantHi)) << c.name << ", " << count << " points";
        // No points: the outputs are kept.
        ZoTriangleSet::FindBoundingBox(nullptr, count, lo, hi);
        ZoTriangleSet::FindBoundingBox(points.data(), 0, lo, hi);
        ASSERT_TRUE(SameBits(lo, wantLo) && SameBits(hi, wantHi));
      }
  }
}
