// Joint limits: every kind's FixTransform against worked cases and against
// random transforms (the result lies in the allowed set; a transform that
// is already inside is left alone, or for the hinge projected onto its
// arc), centring, pivoting, duplication, and the stream bodies byte for
// byte, at both sides of the version that added the hinge's long arc.
#include <zoactor/actor/ZoJLimit.h>
#include <zoactor/foundation/ZoXformMatrix3.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <typeinfo>

using namespace zoactortest;

namespace {

constexpr float kPi = 3.1415927f;
ZoVector3 const kX(1, 0, 0);
ZoVector3 const kY(0, 1, 0);
ZoVector3 const kZ(0, 0, 1);

ZoRotation3 Euler(float z, float y, float x) { return About(z, kZ) * About(y, kY) * About(x, kX); }

void Angles(ZoRotation3 const& q, float& z, float& y, float& x) {
  ZoXformMatrix3 m;
  m.setValue(q, ZoVector3());
  m.getEuler(x, y, z);
}

ZoRotation3 RandomRotation(std::mt19937& random) {
  std::normal_distribution<float> normal(0.0f, 1.0f);
  ZoRotation3 q(normal(random), normal(random), normal(random), normal(random));
  q.normalize();
  return q;
}

ZoVector3 RandomVector(std::mt19937& random, float spread) {
  std::uniform_real_distribution<float> uniform(-spread, spread);
  return {uniform(random), uniform(random), uniform(random)};
}

ZoTransform3 WithRotation(ZoRotation3 const& q) { return ZoTransform3(ZoVector3(1, 2, 3), q); }

// True when `angle` lies in the range from lo to hi (wrapping through π
// when hi < lo), within `slack`.
bool InRange(float angle, float lo, float hi, double slack = 2e-4) {
  double const twoPi = 2.0 * 3.14159265358979;
  double range = static_cast<double>(hi) - static_cast<double>(lo);
  if (range < 0) range += twoPi;
  double d = std::fmod(static_cast<double>(angle) - static_cast<double>(lo) + 2 * twoPi, twoPi);
  return d <= range + slack || d >= twoPi - slack;
}

// The projection of q onto the plane of a and b, computed independently of
// the hinge's coefficients (Gram-Schmidt in double), with the weights of a
// and b.
void Project(ZoRotation3 const& a, ZoRotation3 const& b, ZoRotation3 const& q, double& wa, double& wb) {
  auto d = [](float f) { return static_cast<double>(f); };
  double A[4] = {d(a.w), d(a.x), d(a.y), d(a.z)}, B[4] = {d(b.w), d(b.x), d(b.y), d(b.z)},
         Q[4] = {d(q.w), d(q.x), d(q.y), d(q.z)};
  auto dot = [](double const* u, double const* v) { return u[0] * v[0] + u[1] * v[1] + u[2] * v[2] + u[3] * v[3]; };
  double aa = dot(A, A), ab = dot(A, B), bb = dot(B, B), aq = dot(A, Q), bq = dot(B, Q);
  double det = aa * bb - ab * ab;
  wa = (aq * bb - bq * ab) / det;
  wb = (bq * aa - aq * ab) / det;
}

ZoRotation3 Combine(ZoRotation3 const& a, ZoRotation3 const& b, double wa, double wb) {
  auto d = [](float f) { return static_cast<double>(f); };
  double const A[4] = {d(a.w), d(a.x), d(a.y), d(a.z)}, B[4] = {d(b.w), d(b.x), d(b.y), d(b.z)};
  double w = wa * A[0] + wb * B[0], x = wa * A[1] + wb * B[1], y = wa * A[2] + wb * B[2], z = wa * A[3] + wb * B[3];
  double n = std::sqrt(w * w + x * x + y * y + z * z);
  return ZoRotation3(static_cast<float>(w / n), static_cast<float>(x / n), static_cast<float>(y / n),
                     static_cast<float>(z / n));
}

TEST(ZoJLimit, DefaultsAndTypes) {
  ZoJLimit bare;
  ZoTransform3 t = WithRotation(About(1.0f, kX));
  ZoTransform3 before = t;
  EXPECT_EQ(bare.GetType(), 0);
  EXPECT_EQ(bare.FixTransform(t), 0);
  bare.PivotLimit(About(1.0f, kY));
  EXPECT_EQ(t, before);

  ZoJLHinge hinge;
  ZoRotation3 lo, hi;
  int arc = -1;
  hinge.GetValue(lo, hi, arc);
  EXPECT_EQ(lo, ZoRotation3(1, 0, 0, 0));
  EXPECT_EQ(hi, ZoRotation3(0, 1, 0, 0));
  EXPECT_EQ(arc, 0);
  EXPECT_EQ(hinge.CoefA(), 1.0f);
  EXPECT_EQ(hinge.CoefB(), 0.0f);
  EXPECT_EQ(hinge.GetType(), 1);

  ZoJLEuler euler;
  for (int axis = 0; axis < 3; ++axis) {
    float mn = 0, mx = 0;
    euler.GetValue(axis, mn, mx);
    EXPECT_EQ(mn, -3.1415927f);
    EXPECT_EQ(mx, 3.1415927f);
  }
  EXPECT_EQ(euler.GetType(), 2);

  ZoJLLinear linear;
  ZoVector3 s, e;
  linear.GetValue(s, e);
  EXPECT_EQ(s, ZoVector3(0, -1, 0));
  EXPECT_EQ(e, ZoVector3(0, 1, 0));
  EXPECT_EQ(linear.Direction(), ZoVector3(0, 1, 0));
  EXPECT_EQ(linear.Length(), 2.0f);
  EXPECT_EQ(linear.GetType(), 3);

  ZoJLTranslate box;
  box.GetValue(s, e);
  EXPECT_EQ(s, -ZoJLTranslate::DEFAULT_EXTENT);
  EXPECT_EQ(e, ZoJLTranslate::DEFAULT_EXTENT);
  EXPECT_EQ(e, ZoVector3(0.1f, 0.1f, 0.1f));
  EXPECT_EQ(box.GetType(), 4);
}

TEST(ZoJLHinge, DefaultHingeKeepsItsArcAndProjectsOntoIt) {
  ZoJLHinge hinge;
  ZoTransform3 onArc = WithRotation(ZoRotation3(0.7071f, 0.7071f, 0, 0));
  hinge.FixTransform(onArc);
  EXPECT_TRUE(SameRotation(onArc.rotation, ZoRotation3(0.70710677f, 0.70710677f, 0, 0), 1e-4f));

  ZoTransform3 exact = WithRotation(ZoRotation3(1, 0, 0, 0));
  EXPECT_EQ(hinge.FixTransform(exact), 0);
  EXPECT_EQ(exact.rotation, ZoRotation3(1, 0, 0, 0));

  // α = 0.7071, β = 0: inside, projected onto minRot and normalised.
  ZoTransform3 off = WithRotation(ZoRotation3(0.7071f, 0, 0.7071f, 0));
  EXPECT_EQ(hinge.FixTransform(off), 1);
  EXPECT_EQ(off.rotation, ZoRotation3(1, 0, 0, 0));
  EXPECT_EQ(off.translation, ZoVector3(1, 2, 3));
}

TEST(ZoJLHinge, OutsideSnapsToTheNearerEndAndTheLongArcProjectsInstead) {
  // The default hinge has coefA 1 and coefB 0, so α and β are the dot
  // products with the two ends.
  auto q = [](float alpha, float beta) {
    return WithRotation(ZoRotation3(alpha, beta, std::sqrt(1.0f - alpha * alpha - beta * beta), 0));
  };
  ZoJLHinge hinge;
  ZoTransform3 t = q(-0.5f, 0.2f);
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3(1, 0, 0, 0));
  t = q(-0.2f, 0.5f);
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3(0, 1, 0, 0));
  t = q(-0.4f, 0.4f);
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3(0, 1, 0, 0));  // a tie goes to maxRot

  ZoJLHinge longHinge;
  longHinge.SetValue(ZoRotation3(1, 0, 0, 0), ZoRotation3(0, 1, 0, 0), 1);
  t = q(-0.5f, 0.2f);
  EXPECT_EQ(longHinge.FixTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, Combine(ZoRotation3(1, 0, 0, 0), ZoRotation3(0, 1, 0, 0), -0.5, 0.2)));
  // What the short arc accepts, the long arc refuses.
  t = q(0.6f, 0.3f);
  EXPECT_EQ(longHinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3(1, 0, 0, 0));
}

TEST(ZoJLHinge, QuarterTurnAboutZ) {
  // From the identity to 90° about z: d = cos 45°, coefA = 2, coefB = −√2.
  ZoJLHinge hinge;
  hinge.SetValue(ZoRotation3(), About(kPi / 2, kZ), 0);
  EXPECT_NEAR(hinge.CoefA(), 2.0f, 1e-5f);
  EXPECT_NEAR(hinge.CoefB(), -1.4142135f, 1e-5f);

  ZoTransform3 t = WithRotation(About(kPi / 4, kZ));  // on the arc
  hinge.FixTransform(t);
  EXPECT_TRUE(SameRotation(t.rotation, About(kPi / 4, kZ)));
  t = WithRotation(About(3 * kPi / 4, kZ));  // past the maximum
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, About(kPi / 2, kZ));
  t = WithRotation(About(-kPi / 4, kZ));  // before the minimum
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3());
  t = WithRotation(About(kPi / 4, kX));  // off the plane: its projection is the identity
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, ZoRotation3()));

  // The long arc from the identity the other way round to 90°.
  hinge.SetValue(ZoRotation3(), About(kPi / 2, kZ), 1);
  t = WithRotation(About(3 * kPi / 4, kZ));
  hinge.FixTransform(t);
  EXPECT_TRUE(SameRotation(t.rotation, About(3 * kPi / 4, kZ)));
  t = WithRotation(About(-kPi / 2, kZ));
  hinge.FixTransform(t);
  EXPECT_TRUE(SameRotation(t.rotation, About(-kPi / 2, kZ)));
  t = WithRotation(About(0.3f, kZ));  // on the short arc, nearer the minimum
  EXPECT_EQ(hinge.FixTransform(t), 1);
  EXPECT_EQ(t.rotation, ZoRotation3());
}

TEST(ZoJLHinge, RandomRotationsLandOnTheArc) {
  std::mt19937 random(7);
  for (int round = 0; round < 40; ++round) {
    ZoRotation3 lo = RandomRotation(random);
    ZoRotation3 hi = RandomRotation(random);
    if (std::fabs(lo.dot(hi)) > 0.95f) continue;  // nearly degenerate ends
    for (int arc : {0, 1}) {
      ZoJLHinge hinge;
      hinge.SetValue(lo, hi, arc);
      for (int i = 0; i < 25; ++i) {
        ZoRotation3 q = RandomRotation(random);
        double qa = 0, qb = 0;
        Project(lo, hi, q, qa, qb);
        // Skip rotations almost perpendicular to the plane or almost at an
        // end, where rounding may decide the side.
        if (std::hypot(qa, qb) < 1e-2 || std::fabs(qa) < 1e-3 || std::fabs(qb) < 1e-3) continue;
        bool inside = (qa >= 0) == (qb >= 0);
        if (arc != 0) inside = !inside;

        ZoTransform3 t = WithRotation(q);
        hinge.FixTransform(t);
        EXPECT_EQ(t.translation, ZoVector3(1, 2, 3));
        if (inside) {
          // Projected onto the arc.
          EXPECT_TRUE(SameRotation(t.rotation, Combine(lo, hi, qa, qb), 2e-4f)) << round << " " << i;
        } else {
          EXPECT_TRUE(t.rotation == lo || t.rotation == hi) << round << " " << i;
        }
        // Either way the result lies in the plane of the ends, on the allowed arc.
        double ra = 0, rb = 0;
        Project(lo, hi, t.rotation, ra, rb);
        EXPECT_TRUE(SameRotation(t.rotation, Combine(lo, hi, ra, rb), 2e-4f));
        bool shortArc = (ra >= -1e-4 && rb >= -1e-4) || (ra <= 1e-4 && rb <= 1e-4);
        bool atEnd = std::fabs(ra) < 1e-4 || std::fabs(rb) < 1e-4;
        EXPECT_TRUE(arc == 0 ? shortArc : (!shortArc || atEnd)) << round << " " << i;
      }
    }
  }
}

TEST(ZoJLHinge, PivotTurnsBothEndsAndKeepsTheCoefficients) {
  ZoJLHinge hinge;
  hinge.SetValue(ZoRotation3(), About(kPi / 2, kZ), 1);
  float a = hinge.CoefA(), b = hinge.CoefB();
  ZoRotation3 r = About(0.4f, kX);
  hinge.PivotLimit(r);
  ZoRotation3 lo, hi;
  int arc = 0;
  hinge.GetValue(lo, hi, arc);
  EXPECT_EQ(lo, r * ZoRotation3());
  EXPECT_EQ(hi, r * About(kPi / 2, kZ));
  EXPECT_EQ(arc, 1);
  EXPECT_EQ(hinge.CoefA(), a);
  EXPECT_EQ(hinge.CoefB(), b);
}

TEST(ZoJLEuler, DefaultRangesAcceptEverything) {
  ZoJLEuler euler;
  std::mt19937 random(11);
  for (int i = 0; i < 200; ++i) {
    ZoTransform3 t = WithRotation(RandomRotation(random));
    ZoTransform3 before = t;
    EXPECT_EQ(euler.FixTransform(t), 0);
    EXPECT_EQ(t, before);
  }
}

TEST(ZoJLEuler, RangesThatWrapThroughPi) {
  // Index 0 limits the angle about z, index 2 the angle about x; y cannot
  // reach π (getEuler keeps it within ±π/2).
  for (int axis : {0, 2}) {
    ZoJLEuler euler;
    euler.SetValue(axis, 3.0f, -3.0f);
    auto rotate = [&](float angle) { return WithRotation(axis == 0 ? About(angle, kZ) : About(angle, kX)); };

    ZoTransform3 t = rotate(kPi);
    ZoTransform3 before = t;
    EXPECT_EQ(euler.FixTransform(t), 0) << axis;
    EXPECT_EQ(t, before);

    t = rotate(0.5f);
    EXPECT_EQ(euler.FixTransform(t), 1);
    EXPECT_TRUE(SameRotation(t.rotation, rotate(3.0f).rotation)) << axis;
    t = rotate(-0.5f);
    EXPECT_EQ(euler.FixTransform(t), 1);
    EXPECT_TRUE(SameRotation(t.rotation, rotate(-3.0f).rotation)) << axis;
    EXPECT_EQ(t.translation, ZoVector3(1, 2, 3));
  }
}

TEST(ZoJLEuler, ClampsToTheNearerEndRoundTheCircle) {
  ZoJLEuler euler;
  euler.SetValue(0, -0.5f, 0.5f);
  struct Case {
    float angle, expected;
  } const cases[] = {
      {1.0f, 0.5f},    // just past the maximum
      {-2.0f, -0.5f},  // 1.5 below the minimum, 3.78 past the maximum
      {2.9f, 0.5f},    // 2.4 past the maximum, 2.88 round to the minimum
      {-2.9f, -0.5f},  // 2.4 below the minimum
  };
  for (Case const& c : cases) {
    ZoTransform3 t = WithRotation(About(c.angle, kZ));
    EXPECT_EQ(euler.FixTransform(t), 1) << c.angle;
    EXPECT_TRUE(SameRotation(t.rotation, About(c.expected, kZ))) << c.angle;
  }

  // Each axis clamps on its own; the others keep their angles.
  ZoJLEuler three;
  three.SetValue(0, -0.2f, 0.2f);
  three.SetValue(1, 0.0f, 0.3f);
  three.SetValue(2, -1.0f, 1.0f);
  ZoTransform3 t = WithRotation(Euler(0.1f, -0.4f, 1.5f));
  EXPECT_EQ(three.FixTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, Euler(0.1f, 0.0f, 1.0f)));
}

TEST(ZoJLEuler, RandomRotationsEndInsideTheRanges) {
  float const lo[3] = {-1.0f, -0.7f, 2.5f};
  float const hi[3] = {2.0f, 0.4f, -2.5f};  // x wraps through π
  ZoJLEuler euler;
  for (int k = 0; k < 3; ++k) euler.SetValue(k, lo[k], hi[k]);
  std::mt19937 random(5);
  for (int i = 0; i < 300; ++i) {
    ZoTransform3 t = WithRotation(RandomRotation(random));
    euler.FixTransform(t);
    float a[3];
    Angles(t.rotation, a[0], a[1], a[2]);
    for (int k = 0; k < 3; ++k) EXPECT_TRUE(InRange(a[k], lo[k], hi[k])) << i << " axis " << k << " " << a[k];
  }
  // A rotation made from angles inside the ranges is left exactly as it was.
  std::uniform_real_distribution<float> unit(0.001f, 0.999f);
  for (int i = 0; i < 300; ++i) {
    float a[3];
    for (int k = 0; k < 3; ++k) {
      float range = hi[k] - lo[k];
      if (range < 0) range += 2 * kPi;
      a[k] = lo[k] + unit(random) * range;
      if (a[k] > kPi) a[k] -= 2 * kPi;
    }
    ZoTransform3 t = WithRotation(Euler(a[0], a[1], a[2]));
    ZoTransform3 before = t;
    EXPECT_EQ(euler.FixTransform(t), 0) << i;
    EXPECT_EQ(t, before);
  }
}

TEST(ZoJLEuler, CentreAndPivot) {
  ZoJLEuler euler;
  euler.SetValue(0, -0.5f, 0.9f);
  euler.SetValue(1, 0.1f, 0.3f);
  euler.SetValue(2, 3.0f, -3.0f);  // averaged plainly: 0, not π
  ZoTransform3 t = WithRotation(About(2.0f, kY));
  EXPECT_EQ(euler.CenterTransform(t), 1);
  EXPECT_TRUE(SameRotation(t.rotation, Euler(0.2f, 0.2f, 0.0f)));
  EXPECT_EQ(t.translation, ZoVector3(1, 2, 3));

  ZoJLEuler pivot;
  pivot.SetValue(0, -0.5f, 0.5f);
  pivot.SetValue(1, 0.0f, 0.0f);
  pivot.SetValue(2, 0.0f, 0.0f);
  pivot.PivotLimit(About(0.3f, kZ));
  float mn = 0, mx = 0;
  pivot.GetValue(0, mn, mx);
  EXPECT_NEAR(mn, -0.2f, 1e-5f);
  EXPECT_NEAR(mx, 0.8f, 1e-5f);
  pivot.GetValue(2, mn, mx);
  EXPECT_NEAR(mn, 0.0f, 1e-5f);
  EXPECT_NEAR(mx, 0.0f, 1e-5f);
}

TEST(ZoJLLinear, ProjectsOntoTheSegmentAndAlwaysReportsAChange) {
  ZoJLLinear linear;
  struct Case {
    ZoVector3 in, out;
  } const cases[] = {
      {{5, 0.5f, 0}, {0, 0.5f, 0}},
      {{0, -4, 0}, {0, -1, 0}},
      {{0, 4, 0}, {0, 1, 0}},
      {{0, 1, 0}, {0, 1, 0}},
  };
  for (Case const& c : cases) {
    ZoTransform3 t(c.in, About(0.3f, kX));
    EXPECT_EQ(linear.FixTransform(t), 1);
    EXPECT_EQ(t.translation, c.out);
    EXPECT_EQ(t.rotation, About(0.3f, kX));
  }

  ZoJLLinear diagonal;
  diagonal.SetValue(ZoVector3(1, 1, 1), ZoVector3(3, 3, 1));
  EXPECT_NEAR(diagonal.Length(), 2.828427f, 1e-5f);
  EXPECT_NEAR(diagonal.Direction().x, 0.70710677f, 1e-6f);
  ZoTransform3 t(ZoVector3(1, 3, 7), ZoRotation3());
  diagonal.FixTransform(t);
  EXPECT_NEAR(t.translation.x, 2.0f, 1e-5f);
  EXPECT_NEAR(t.translation.y, 2.0f, 1e-5f);
  EXPECT_NEAR(t.translation.z, 1.0f, 1e-5f);
  EXPECT_EQ(diagonal.CenterTransform(t), 1);
  EXPECT_EQ(t.translation, ZoVector3(2, 2, 1));
}

TEST(ZoJLLinear, RandomPointsLandOnTheSegment) {
  std::mt19937 random(3);
  for (int round = 0; round < 30; ++round) {
    ZoVector3 s = RandomVector(random, 2.0f), e = RandomVector(random, 2.0f);
    if ((e - s).length() < 0.1f) continue;
    ZoJLLinear linear;
    linear.SetValue(s, e);
    ZoVector3 axis = (e - s).unit();
    float length = (e - s).length();
    for (int i = 0; i < 30; ++i) {
      ZoTransform3 t(RandomVector(random, 4.0f), ZoRotation3());
      linear.FixTransform(t);
      ZoVector3 rel = t.translation - s;
      float along = rel.dot(axis);
      EXPECT_LT((rel - axis * along).length(), 1e-4f);
      EXPECT_GE(along, -1e-4f);
      EXPECT_LE(along, length + 1e-4f);
    }
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    for (int i = 0; i < 30; ++i) {  // a point on the segment stays put
      ZoVector3 on = s + (e - s) * unit(random);
      ZoTransform3 t(on, ZoRotation3());
      linear.FixTransform(t);
      EXPECT_LT((t.translation - on).length(), 1e-5f);
    }
  }
}

TEST(ZoJLLinear, PivotTurnsTheEndsButKeepsTheDirection) {
  ZoJLLinear linear;
  linear.PivotLimit(About(kPi / 2, kZ));  // the y axis onto −x
  ZoVector3 s, e;
  linear.GetValue(s, e);
  EXPECT_NEAR(s.x, 1.0f, 1e-6f);
  EXPECT_NEAR(e.x, -1.0f, 1e-6f);
  EXPECT_EQ(linear.Direction(), ZoVector3(0, 1, 0));
  linear.SetValue(s, e);
  EXPECT_NEAR(linear.Direction().x, -1.0f, 1e-6f);
}

TEST(ZoJLTranslate, ClampsIntoTheBox) {
  ZoJLTranslate box;
  ZoTransform3 t(ZoVector3(1, 0, -1), About(1.0f, kY));
  EXPECT_EQ(box.FixTransform(t), 1);
  EXPECT_EQ(t.translation, ZoVector3(0.1f, 0, -0.1f));
  EXPECT_EQ(t.rotation, About(1.0f, kY));
  t.translation = ZoVector3(0.05f, 0, 0);
  EXPECT_EQ(box.FixTransform(t), 0);
  EXPECT_EQ(t.translation, ZoVector3(0.05f, 0, 0));

  // A minimum above its maximum: the maximum wins.
  ZoJLTranslate crossed;
  crossed.SetValue(ZoVector3(1, 0, 0), ZoVector3(-1, 1, 1));
  t.translation = ZoVector3(0, 0.5f, 0.5f);
  EXPECT_EQ(crossed.FixTransform(t), 1);
  EXPECT_EQ(t.translation, ZoVector3(-1, 0.5f, 0.5f));
  EXPECT_EQ(crossed.CenterTransform(t), 1);
  EXPECT_EQ(t.translation, ZoVector3(0, 0.5f, 0.5f));

  std::mt19937 random(9);
  ZoJLTranslate wide;
  wide.SetValue(ZoVector3(-1, 0, 2), ZoVector3(1, 0.5f, 3));
  for (int i = 0; i < 200; ++i) {
    ZoTransform3 p(RandomVector(random, 4.0f), ZoRotation3());
    ZoTransform3 before = p;
    int changed = wide.FixTransform(p);
    ZoVector3 const& v = p.translation;
    EXPECT_TRUE(v.x >= -1 && v.x <= 1 && v.y >= 0 && v.y <= 0.5f && v.z >= 2 && v.z <= 3);
    EXPECT_EQ(changed, before.translation != v ? 1 : 0);
    EXPECT_EQ(wide.FixTransform(p), 0);  // inside now: unchanged
  }

  box.PivotLimit(About(kPi, kZ));
  ZoVector3 lo, hi;
  box.GetValue(lo, hi);
  EXPECT_NEAR(lo.x, 0.1f, 1e-6f);
  EXPECT_NEAR(hi.x, -0.1f, 1e-6f);
  EXPECT_NEAR(hi.z, 0.1f, 1e-6f);
}

// --- Streams ---------------------------------------------------------------------

ZoJLHinge SampleHinge() {
  ZoJLHinge hinge;
  hinge.SetValue(ZoRotation3(), About(1.0f, kY), 1);
  return hinge;
}

Bytes HingeBody(ZoJLHinge const& hinge, bool withArc) {
  ZoRotation3 lo, hi;
  int arc = 0;
  hinge.GetValue(lo, hi, arc);
  ByteBuilder b;
  for (ZoRotation3 const& q : {lo, hi}) b.f32(q.w).f32(q.x).f32(q.y).f32(q.z);
  b.f32(hinge.CoefA()).f32(hinge.CoefB());
  if (withArc) b.i32(arc);
  return b;
}

TEST(ZoJLimitStream, BodiesByteForByte) {
  ZoJLHinge hinge = SampleHinge();
  EXPECT_EQ(Body(hinge), HingeBody(hinge, true));
  EXPECT_EQ(Body(hinge, 20), HingeBody(hinge, true));  // written whole at every version
  EXPECT_EQ(Body(hinge).size(), 44u);

  ZoJLEuler euler;
  euler.SetValue(0, -0.1f, 0.2f);
  euler.SetValue(1, -0.3f, 0.4f);
  euler.SetValue(2, -0.5f, 0.6f);
  EXPECT_EQ(Body(euler), Bytes(ByteBuilder().f32(-0.1f).f32(0.2f).f32(-0.3f).f32(0.4f).f32(-0.5f).f32(0.6f)));

  ZoJLLinear linear;
  linear.SetValue(ZoVector3(1, 2, 3), ZoVector3(4, 5, 6));
  EXPECT_EQ(Body(linear), Bytes(ByteBuilder().f32(1).f32(2).f32(3).f32(4).f32(5).f32(6)));

  ZoJLTranslate box;
  box.SetValue(ZoVector3(-1, -2, -3), ZoVector3(1, 2, 3));
  EXPECT_EQ(Body(box), Bytes(ByteBuilder().f32(-1).f32(-2).f32(-3).f32(1).f32(2).f32(3)));

  EXPECT_TRUE(Body(ZoJLimit()).empty());
  // Unsized frames: the code's bytes, then the body.
  EXPECT_EQ(Framed(&hinge), Bytes(ByteBuilder().chars("JLHn").append(Body(hinge))));
  EXPECT_EQ(Framed(&euler), Bytes(ByteBuilder().chars("JLEu").append(Body(euler))));
  EXPECT_EQ(Framed(&linear), Bytes(ByteBuilder().chars("lXLJ").append(Body(linear))));
  EXPECT_EQ(Framed(&box), Bytes(ByteBuilder().chars("bXLJ").append(Body(box))));
  ZoJLimit bare;
  EXPECT_EQ(Framed(&bare), Bytes(ByteBuilder().chars("JLim")));
}

TEST(ZoJLimitStream, ReadingKeepsStoredCoefficientsAndRecomputesTheLine) {
  // Coefficients that SetValue would never make: they are read as stored.
  ByteBuilder body;
  body.f32(1).f32(0).f32(0).f32(0).f32(0).f32(0).f32(1).f32(0).f32(3.5f).f32(-7.25f).i32(1);
  ZoJLHinge hinge;
  ASSERT_EQ(ReadBody(hinge, body), ZoStreamOk);
  EXPECT_EQ(hinge.CoefA(), 3.5f);
  EXPECT_EQ(hinge.CoefB(), -7.25f);
  ZoRotation3 lo, hi;
  int arc = 0;
  hinge.GetValue(lo, hi, arc);
  EXPECT_EQ(hi, ZoRotation3(0, 0, 1, 0));
  EXPECT_EQ(arc, 1);

  // Below version 27 there is no longArc: 40 bytes, and the arc reads 0.
  ZoJLHinge old;
  old.SetValue(ZoRotation3(), ZoRotation3(0, 1, 0, 0), 1);
  Bytes shortBody(body.get().begin(), body.get().end() - 4);
  ASSERT_EQ(ReadBody(old, shortBody, 26), ZoStreamOk);
  old.GetValue(lo, hi, arc);
  EXPECT_EQ(arc, 0);
  EXPECT_EQ(old.CoefA(), 3.5f);
  ZoJLHinge at27;
  EXPECT_EQ(ReadBody(at27, shortBody, 27), ZoStreamReadError);

  ZoJLLinear linear;
  ASSERT_EQ(ReadBody(linear, ByteBuilder().f32(0).f32(0).f32(0).f32(0).f32(0).f32(4)), ZoStreamOk);
  EXPECT_EQ(linear.Direction(), ZoVector3(0, 0, 1));
  EXPECT_EQ(linear.Length(), 4.0f);
}

TEST(ZoJLimitStream, FramedObjectsComeBackAsTheirClassAndDuplicatesMatch) {
  ZoJLHinge hinge = SampleHinge();
  ZoJLEuler euler;
  euler.SetValue(1, -0.25f, 0.75f);
  ZoJLLinear linear;
  linear.SetValue(ZoVector3(0, 0, -1), ZoVector3(0, 2, 0));
  ZoJLTranslate box;
  box.SetValue(ZoVector3(-1, -1, 0), ZoVector3(1, 1, 0));
  ZoJLimit bare;
  ZoJLimit const* limits[] = {&bare, &hinge, &euler, &linear, &box};
  for (ZoJLimit const* limit : limits) {
    Bytes framed = Framed(limit);
    Reader reader(framed);
    std::unique_ptr<ZoStreamObject> object(reader->ReadObject(nullptr));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(reader->Status(), ZoStreamOk);
    auto* read = dynamic_cast<ZoJLimit*>(object.get());
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(typeid(*read), typeid(*limit));
    EXPECT_EQ(read->GetType(), limit->GetType());
    EXPECT_EQ(Body(*read), Body(*limit));

    std::unique_ptr<ZoJLimit> copy(limit->Duplicate());
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy.get(), limit);
    EXPECT_EQ(typeid(*copy), typeid(*limit));
    EXPECT_EQ(copy->GetType(), limit->GetType());
    EXPECT_EQ(Body(*copy), Body(*limit));
  }
  std::unique_ptr<ZoJLLinear> linearCopy(static_cast<ZoJLLinear*>(linear.Duplicate()));
  EXPECT_EQ(linearCopy->Direction(), linear.Direction());
  EXPECT_EQ(linearCopy->Length(), linear.Length());

  std::unique_ptr<ZoStreamObject> created(ZoStream::CreateObject(ZoTypeCode::JLimit));
  ASSERT_NE(dynamic_cast<ZoJLimit*>(created.get()), nullptr);
  EXPECT_EQ(static_cast<ZoJLimit*>(created.get())->GetType(), 0);
}

TEST(ZoJLimitStream, TruncatedBodiesFailAndChangeNothingUnread) {
  ZoJLHinge hinge = SampleHinge();
  ZoJLEuler euler;
  ZoJLLinear linear;
  ZoJLTranslate box;
  ZoJLimit const* limits[] = {&hinge, &euler, &linear, &box};
  for (ZoJLimit const* limit : limits) {
    Bytes body = Body(*limit);
    for (size_t length = 0; length < body.size(); ++length) {
      std::unique_ptr<ZoJLimit> target(static_cast<ZoJLimit*>(ZoStream::CreateObject(limit->StreamType())));
      Bytes cut(body.begin(), body.begin() + static_cast<long>(length));
      EXPECT_EQ(ReadBody(*target, cut), ZoStreamReadError) << limit->GetType() << " at " << length;
    }
  }
  // The linear limit changes nothing unless both ends arrived.
  ZoJLLinear partial;
  EXPECT_EQ(ReadBody(partial, ByteBuilder().f32(5).f32(5).f32(5).f32(1)), ZoStreamReadError);
  ZoVector3 s, e;
  partial.GetValue(s, e);
  EXPECT_EQ(s, ZoVector3(0, -1, 0));
}

}  // namespace
