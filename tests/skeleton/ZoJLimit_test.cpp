// Joint limits: every kind's FixTransform against worked cases (a transform
// already inside is left alone, or for the hinge projected onto its arc),
// centring, pivoting, duplication, and the stream bodies byte for byte, at
// both sides of the version that added the hinge's long arc.
#include "ZoSkeletonTestSupport.h"

using namespace zoskeletontest;

namespace {

constexpr float kPi = 3.1415927f;
ZoVector3 const kX(1, 0, 0);
ZoVector3 const kY(0, 1, 0);
ZoVector3 const kZ(0, 0, 1);

ZoRotation3 Euler(float z, float y, float x) { return About(z, kZ) * About(y, kY) * About(x, kX); }

ZoTransform3 WithRotation(ZoRotation3 const& q) { return ZoTransform3(ZoVector3(1, 2, 3), q); }

TEST(ZoJLHinge, WorkedCases) {
  // The default hinge (identity to (0, 1, 0, 0)) has coefA 1 and coefB 0, so
  // α and β are the dot products with the two ends.
  auto q = [](float alpha, float beta) {
    return ZoRotation3(alpha, beta, std::sqrt(1.0f - alpha * alpha - beta * beta), 0);
  };
  ZoRotation3 const one, half(0, 1, 0, 0), quarter = About(kPi / 2, kZ);
  struct Case {
    char const* name;
    ZoRotation3 lo, hi;
    int arc;
    ZoRotation3 in, out;
    int changed;      // -1: not checked
    float tolerance;  // 0: the exact rotation
  } const cases[] = {
      {"on the arc", one, half, 0, ZoRotation3(0.7071f, 0.7071f, 0, 0), ZoRotation3(0.70710677f, 0.70710677f, 0, 0),
       -1, 1e-4f},
      {"on the arc, negated", one, half, 0, ZoRotation3(-0.7071f, -0.7071f, 0, 0),
       ZoRotation3(0.70710677f, 0.70710677f, 0, 0), -1, 1e-4f},
      {"at an end", one, half, 0, one, one, 0, 0},
      {"inside, off the plane", one, half, 0, ZoRotation3(0.7071f, 0, 0.7071f, 0), one, 1, 0},
      {"outside, nearer minRot", one, half, 0, q(-0.5f, 0.2f), one, 1, 0},
      {"outside, nearer maxRot", one, half, 0, q(-0.2f, 0.5f), half, 1, 0},
      {"a tie goes to maxRot", one, half, 0, q(-0.4f, 0.4f), half, 1, 0},
      // Projected onto the plane of the ends: (−0.5, 0.2, 0, 0) normalised.
      {"long arc projects", one, half, 1, q(-0.5f, 0.2f), ZoRotation3(-0.9284767f, 0.3713907f, 0, 0), 1, 1e-5f},
      {"long arc refuses the short", one, half, 1, q(0.6f, 0.3f), one, 1, 0},
      {"quarter: on the arc", one, quarter, 0, About(kPi / 4, kZ), About(kPi / 4, kZ), -1, 1e-5f},
      {"quarter: past the maximum", one, quarter, 0, About(3 * kPi / 4, kZ), quarter, 1, 0},
      {"quarter: before the minimum", one, quarter, 0, About(-kPi / 4, kZ), one, 1, 0},
      {"quarter: off the plane", one, quarter, 0, About(kPi / 4, kX), one, 1, 1e-5f},
      {"quarter long: the far side", one, quarter, 1, About(3 * kPi / 4, kZ), About(3 * kPi / 4, kZ), -1, 1e-5f},
      {"quarter long: below", one, quarter, 1, About(-kPi / 2, kZ), About(-kPi / 2, kZ), -1, 1e-5f},
      {"quarter long: on the short arc", one, quarter, 1, About(0.3f, kZ), one, 1, 0},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoJLHinge hinge;
    if (c.hi != half || c.arc != 0) hinge.SetValue(c.lo, c.hi, c.arc);
    ZoTransform3 t = WithRotation(c.in);
    int changed = hinge.FixTransform(t);
    EXPECT_EQ(changed, c.changed < 0 ? changed : c.changed);
    EXPECT_TRUE(c.tolerance != 0 || t.rotation == c.out);  // exactly, when no tolerance
    EXPECT_TRUE(SameRotation(t.rotation, c.out, c.tolerance));
    EXPECT_EQ(t.translation, ZoVector3(1, 2, 3));
  }

  // Pivoting turns both ends and keeps the coefficients and the arc.
  ZoJLHinge hinge;
  hinge.SetValue(one, quarter, 1);
  float a = hinge.CoefA(), b = hinge.CoefB();
  ZoRotation3 r = About(0.4f, kX), lo, hi;
  int arc = 0;
  hinge.PivotLimit(r);
  hinge.GetValue(lo, hi, arc);
  EXPECT_EQ(std::make_tuple(lo, hi, arc, hinge.CoefA(), hinge.CoefB()), std::make_tuple(r * one, r * quarter, 1, a, b));
}

TEST(ZoJLEuler, WorkedCasesIncludingRangesThatWrapThroughPiCentringAndPivoting) {
  // Index 0 limits the angle about z, index 2 the angle about x; y cannot
  // reach π (getEuler keeps it within ±π/2).
  struct Case {
    char const* name;
    int axis;
    float lo, hi, angle, expected;
  } const cases[] = {
      {"z wraps: π inside", 0, 3.0f, -3.0f, kPi, kPi},
      {"z wraps: to the maximum", 0, 3.0f, -3.0f, 0.5f, 3.0f},
      {"z wraps: to the minimum", 0, 3.0f, -3.0f, -0.5f, -3.0f},
      {"x wraps: π inside", 2, 3.0f, -3.0f, kPi, kPi},
      {"x wraps: to the maximum", 2, 3.0f, -3.0f, 0.5f, 3.0f},
      {"x wraps: to the minimum", 2, 3.0f, -3.0f, -0.5f, -3.0f},
      {"just past the maximum", 0, -0.5f, 0.5f, 1.0f, 0.5f},
      {"1.5 below the minimum, 3.78 past the maximum", 0, -0.5f, 0.5f, -2.0f, -0.5f},
      {"2.4 past the maximum, 2.88 round to the minimum", 0, -0.5f, 0.5f, 2.9f, 0.5f},
      {"2.4 below the minimum", 0, -0.5f, 0.5f, -2.9f, -0.5f},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoJLEuler euler;
    euler.SetValue(c.axis, c.lo, c.hi);
    ZoVector3 const& axis = c.axis == 0 ? kZ : kX;
    ZoTransform3 t = WithRotation(About(c.angle, axis));
    ZoTransform3 const before = t;
    bool inside = c.angle == c.expected;
    EXPECT_EQ(euler.FixTransform(t), inside ? 0 : 1);
    EXPECT_TRUE(!inside || t == before);  // inside: not a bit changed
    EXPECT_TRUE(SameRotation(t.rotation, About(c.expected, axis)));
    EXPECT_EQ(t.translation, before.translation);
  }

  // Each axis clamps on its own; the others keep their angles.
  ZoJLEuler three;
  three.SetValue(0, -0.2f, 0.2f);
  three.SetValue(1, 0.0f, 0.3f);
  three.SetValue(2, -1.0f, 1.0f);
  ZoTransform3 t = WithRotation(Euler(0.1f, -0.4f, 1.5f));
  EXPECT_EQ(three.FixTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, Euler(0.1f, 0.0f, 1.0f)));

  // Centring and pivoting.
  ZoJLEuler euler;
  euler.SetValue(0, -0.5f, 0.9f);
  euler.SetValue(1, 0.1f, 0.3f);
  euler.SetValue(2, 3.0f, -3.0f);  // averaged plainly: 0, not π
  t = WithRotation(About(2.0f, kY));
  EXPECT_EQ(euler.CenterTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, Euler(0.2f, 0.2f, 0.0f)));
  EXPECT_EQ(t.translation, ZoVector3(1, 2, 3));

  ZoJLEuler pivot;
  pivot.SetValue(0, -0.5f, 0.5f);
  pivot.SetValue(1, 0.0f, 0.0f);
  pivot.SetValue(2, 0.0f, 0.0f);
  pivot.PivotLimit(About(0.3f, kZ));
  ZoVector3 z, x(1, 1, 1);
  pivot.GetValue(0, z.x, z.y);
  pivot.GetValue(2, x.x, x.y);
  ExpectNear(z, ZoVector3(-0.2f, 0.8f, 0));
  ExpectNear(x, ZoVector3(0, 0, 1));
}

TEST(ZoJLLinear, ProjectsOntoTheSegmentAndAlwaysReportsAChange) {
  ZoJLLinear linear;  // from (0, −1, 0) to (0, 1, 0)
  ZoVector3 const cases[][2] = {
      {{5, 0.5f, 0}, {0, 0.5f, 0}}, {{0, -4, 0}, {0, -1, 0}}, {{0, 2.5f, 0}, {0, 1, 0}}, {{0, 1, 0}, {0, 1, 0}}};
  for (auto const& c : cases) {
    ZoTransform3 t(c[0], About(0.3f, kX));
    EXPECT_EQ(linear.FixTransform(t), 1);
    EXPECT_EQ(t, ZoTransform3(c[1], About(0.3f, kX)));
  }
  ZoJLLinear diagonal;
  diagonal.SetValue(ZoVector3(1, 1, 1), ZoVector3(3, 3, 1));
  EXPECT_NEAR(diagonal.Length(), 2.828427f, 1e-5f);
  ExpectNear(diagonal.Direction(), ZoVector3(0.70710677f, 0.70710677f, 0));
  ZoTransform3 t(ZoVector3(1, 3, 7), ZoRotation3()), centred(ZoVector3(9, 9, 9), ZoRotation3());
  diagonal.FixTransform(t);
  EXPECT_EQ(diagonal.CenterTransform(centred), 1);
  ExpectNear(t.translation, ZoVector3(2, 2, 1));
  EXPECT_EQ(centred.translation, ZoVector3(2, 2, 1));

  // Pivoting turns the ends but keeps the direction until SetValue.
  linear.PivotLimit(About(kPi / 2, kZ));  // the y axis onto −x
  ZoVector3 s, e;
  linear.GetValue(s, e);
  ExpectNear(s, ZoVector3(1, 0, 0));
  ExpectNear(e, ZoVector3(-1, 0, 0));
  EXPECT_EQ(linear.Direction(), ZoVector3(0, 1, 0));
  std::unique_ptr<ZoJLimit> copy(linear.Duplicate());  // the same line, the same kept direction
  EXPECT_EQ(Body(*copy), Body(linear));
  auto const* line = static_cast<ZoJLLinear const*>(copy.get());
  EXPECT_EQ(std::make_tuple(line->Direction(), line->Length()), std::make_tuple(ZoVector3(0, 1, 0), linear.Length()));
  linear.SetValue(s, e);
  ExpectNear(linear.Direction(), ZoVector3(-1, 0, 0));
}

TEST(ZoJLTranslate, ClampsIntoTheBox) {
  ZoJLTranslate box, crossed;  // ±0.1 on every axis
  ZoTransform3 t(ZoVector3(0.3f, 0, -1), About(1.0f, kY)), inside(ZoVector3(0.05f, 0, -0.1f), ZoRotation3());
  EXPECT_EQ(std::make_pair(box.FixTransform(t), box.FixTransform(inside)), std::make_pair(1, 0));
  EXPECT_EQ(t, ZoTransform3(ZoVector3(0.1f, 0, -0.1f), About(1.0f, kY)));
  EXPECT_EQ(inside.translation, ZoVector3(0.05f, 0, -0.1f));

  // A minimum above its maximum: the maximum wins.
  crossed.SetValue(ZoVector3(1, 0, 0), ZoVector3(-1, 1, 1));
  t.translation = ZoVector3(0, 0.5f, 0.5f);
  ZoTransform3 centred(ZoVector3(5, 5, 5), ZoRotation3());
  EXPECT_EQ(std::make_pair(crossed.FixTransform(t), crossed.CenterTransform(centred)), std::make_pair(1, 1));
  EXPECT_EQ(std::make_pair(t.translation, centred.translation),
            std::make_pair(ZoVector3(-1, 0.5f, 0.5f), ZoVector3(0, 0.5f, 0.5f)));

  box.PivotLimit(About(kPi, kZ));
  ZoVector3 lo, hi;
  box.GetValue(lo, hi);
  ExpectNear(lo, ZoVector3(0.1f, 0.1f, -0.1f), 1e-6f);
  ExpectNear(hi, ZoVector3(-0.1f, -0.1f, 0.1f), 1e-6f);
}

// --- Streams ---------------------------------------------------------------------

TEST(ZoJLimitStream, BodiesByteForByte) {
  ZoJLHinge hinge;
  hinge.SetValue(ZoRotation3(), About(1.0f, kY), 1);
  ZoRotation3 lo, hi;
  int arc = 0;
  hinge.GetValue(lo, hi, arc);
  ByteBuilder hingeBody;
  for (ZoRotation3 const& q : {lo, hi}) hingeBody.f32(q.w).f32(q.x).f32(q.y).f32(q.z);
  hingeBody.f32(hinge.CoefA()).f32(hinge.CoefB()).i32(1);
  EXPECT_EQ(Body(hinge, 20), hingeBody.get());  // written whole at every version

  ZoJLEuler euler;
  ZoJLLinear linear;
  ZoJLTranslate box;
  ZoJLimit bare;
  float const ends[] = {-0.1f, 0.2f, -0.3f, 0.4f, -0.5f, 0.6f};
  for (int axis = 0; axis < 3; ++axis) euler.SetValue(axis, ends[2 * axis], ends[2 * axis + 1]);
  linear.SetValue(ZoVector3(1, 2, 3), ZoVector3(4, 5, 6));
  box.SetValue(ZoVector3(-1, -2, -3), ZoVector3(1, 2, 3));
  // Unsized frames: the code's bytes, then the body.
  std::pair<ZoJLimit const*, Bytes> const cases[] = {
      {&hinge, ByteBuilder().chars("JLHn").append(hingeBody)},
      {&euler, ByteBuilder().chars("JLEu").f32(ends[0]).f32(ends[1]).f32(ends[2]).f32(ends[3]).f32(ends[4]).f32(ends[5])},
      {&linear, ByteBuilder().chars("lXLJ").f32(1).f32(2).f32(3).f32(4).f32(5).f32(6)},
      {&box, ByteBuilder().chars("bXLJ").f32(-1).f32(-2).f32(-3).f32(1).f32(2).f32(3)},
      {&bare, ByteBuilder().chars("JLim")},
  };
  for (auto const& [limit, framed] : cases) zotest::ExpectFramedLayout(*limit, framed);  // and read back

  // The bare limit holds nothing and changes nothing.
  ZoTransform3 t = WithRotation(About(1.0f, kX));
  bare.PivotLimit(About(1.0f, kY));
  EXPECT_EQ(std::make_pair(bare.GetType(), bare.FixTransform(t)), std::make_pair(0, 0));
  EXPECT_EQ(t, WithRotation(About(1.0f, kX)));
}

TEST(ZoJLimitStream, ReadingKeepsStoredCoefficientsAndRecomputesTheLine) {
  // Coefficients that SetValue would never make: they are read as stored.
  ByteBuilder body;
  body.f32(1).f32(0).f32(0).f32(0).f32(0).f32(0).f32(1).f32(0).f32(3.5f).f32(-7.25f).i32(1);
  ZoJLHinge hinge, old, at27;
  ASSERT_EQ(ReadBody(hinge, body), ZoStreamOk);
  EXPECT_EQ(Body(hinge), body.get());

  // Below version 27 there is no longArc: 40 bytes, and the arc reads 0.
  old.SetValue(ZoRotation3(), ZoRotation3(0, 1, 0, 0), 1);
  Bytes shortBody = zotest::Cut(body, 4);
  ASSERT_EQ(ReadBody(old, shortBody, 26), ZoStreamOk);
  EXPECT_EQ(Body(old), ByteBuilder().append(shortBody).i32(0).get());
  EXPECT_EQ(ReadBody(at27, shortBody, 27), ZoStreamReadError);

  ZoJLLinear linear, partial;
  ASSERT_EQ(ReadBody(linear, ByteBuilder().f32(0).f32(0).f32(0).f32(0).f32(0).f32(4)), ZoStreamOk);
  EXPECT_EQ(std::make_tuple(linear.Direction(), linear.Length()), std::make_tuple(ZoVector3(0, 0, 1), 4.0f));
  // The linear limit changes nothing unless both ends arrived.
  EXPECT_EQ(ReadBody(partial, ByteBuilder().f32(5).f32(5).f32(5).f32(1)), ZoStreamReadError);
  ZoVector3 s, e;
  partial.GetValue(s, e);
  EXPECT_EQ(s, ZoVector3(0, -1, 0));
}

}  // namespace
