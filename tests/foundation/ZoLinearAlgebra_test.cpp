// Vectors, rotations and matrices against Eigen as an independent oracle, on
// many random inputs with fixed seeds. The library computes in float, Eigen
// in double from the same inputs: directly built rotations agree within 1e-6
// (which catches acos near 0 and pi, asin near gimbal lock and a linear blend
// used too far apart), well separated eigen-decompositions within 1e-4.
// Composed and inverted transforms and points agree within 1e-4.
#include <zoactor/foundation/ZoMath.h>
#include <zoactor/foundation/ZoMatrix3.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform2.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector2.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/foundation/ZoXformMatrix3.h>

#include "support/ZoTestRandom.h"
#include "support/ZoTestSupport.h"

#include <Eigen/Dense>
#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace {

using Quat = Eigen::Quaterniond;
using Vec = Eigen::Vector3d;

double const kPi = 3.14159265358979323846;

using zotest::Random;

// A rotation from a random quaternion of either sign.
ZoRotation3 Rotation(Random& random) {
  ZoRotation3 q(random.Uniform(-1, 1), random.Uniform(-1, 1), random.Uniform(-1, 1), random.Uniform(-1, 1));
  q.normalize();
  return q;
}

ZoTransform3 Transform(Random& random) { return {random.Vector(10), Rotation(random)}; }

Quat ToEigen(ZoRotation3 const& q) { return Quat(q.w, q.x, q.y, q.z); }
Vec ToEigen(ZoVector3 const& v) { return Vec(v.x, v.y, v.z); }
ZoVector3 FromEigen(Vec const& v) {
  return {static_cast<float>(v.x()), static_cast<float>(v.y()), static_cast<float>(v.z())};
}
Eigen::Isometry3d ToEigen(ZoTransform3 const& t) {
  Eigen::Isometry3d iso = Eigen::Isometry3d::Identity();
  iso.linear() = ToEigen(t.rotation).toRotationMatrix();
  iso.translation() = ToEigen(t.translation);
  return iso;
}

// q and −q are the same rotation.
double RotationDistance(ZoRotation3 const& a, Quat const& b) {
  Quat qa = ToEigen(a);
  return std::min((qa.coeffs() - b.coeffs()).norm(), (qa.coeffs() + b.coeffs()).norm());
}

double Distance(ZoVector3 const& a, Vec const& b) { return (ToEigen(a) - b).norm(); }

// R diag(l) Rᵀ, in double for the oracle and rounded to float for the library.
Eigen::Matrix3d Symmetric(ZoRotation3 const& r, double const* l, ZoMatrix3& m) {
  Eigen::Matrix3d er = ToEigen(r).toRotationMatrix();
  Eigen::Matrix3d sym = er * Eigen::Vector3d(l[0], l[1], l[2]).asDiagonal() * er.transpose();
  for (int row = 0; row < 3; ++row)
    for (int col = 0; col < 3; ++col) m(row, col) = static_cast<float>(sym(row, col));
  return sym;
}

}  // namespace

TEST(ZoLinearAlgebraLayout, TransformStreamsAsTranslationThenScalarFirstRotation) {
  ZoTransform3 t({1, 2, 3}, {0.5f, -0.5f, 0.25f, -2});
  // Little-endian IEEE-754: tx, ty, tz, then w, x, y, z.
  zotest::Bytes expected = zotest::ByteBuilder().f32(1).f32(2).f32(3).f32(0.5f).f32(-0.5f).f32(0.25f).f32(-2);
  EXPECT_EQ(zotest::Hex(zotest::ToBytes(&t, sizeof t)), zotest::Hex(expected));
  EXPECT_EQ(ZoTransform3(), ZoTransform3::identity());
  EXPECT_EQ(ZoRotation3(), ZoRotation3(1, 0, 0, 0));
}

// The cubic Bezier point is driven by the animation curve and spline tests.
TEST(ZoLinearAlgebraVectors, Arithmetic) {
  ZoVector3 a(1, 2, 3), b(-4, 5, 0.5f);
  ZoVector3 product = a, zero, n;
  product *= b;
  zero.normalize();
  n.NormalizeCross(ZoVector3(2, 0, 0), ZoVector3(0, 3, 0));
  EXPECT_EQ(std::vector<ZoVector3>({a + b, a.cross(b), product, a.square(), zero, n}),
            std::vector<ZoVector3>({{-3, 7, 3.5f}, {2 * 0.5f - 3 * 5, 3 * -4 - 1 * 0.5f, 1 * 5 - 2 * -4},
                                    {-4, 10, 1.5f}, {1, 4, 9}, {}, {0, 0, 1}}));
  EXPECT_FLOAT_EQ(a.dot(b), -4 + 10 + 1.5f);
}

// Directions of any lengths at any angle, and a little apart from parallel
// and from opposite, where acos and the half-angle form lose their digits.
TEST(ZoLinearAlgebraRotations, FromToAtAnyAngleAndNearParallelAndOpposite) {
  Random random(12);
  for (int i = 0; i < 400; ++i) {
    Vec from = ToEigen(random.Vector(10)).normalized();
    Vec axis = from.unitOrthogonal();
    double any = random.Uniform(0.01f, 3.13f);
    for (double angle : {any, 0.0, 1e-6, 1e-4, 1e-2, kPi, kPi - 1e-6, kPi - 1e-4, kPi - 1e-2}) {
      Vec to = Eigen::AngleAxisd(angle, axis) * from;
      // Scaling in float rounds the directions, so the oracle takes the
      // scaled vectors too.
      ZoVector3 f = FromEigen(from) * 3.0f, t = FromEigen(to) * 0.5f;
      ZoRotation3 turn;
      turn.setValue(f, t);
      Vec source = ToEigen(f).normalized(), target = ToEigen(t).normalized();
      ASSERT_LT(Distance(turn * f.unit(), target), 1e-6) << angle;
      // The axis is their common perpendicular: the shortest turn.
      Vec axisPart(turn.x, turn.y, turn.z);
      ASSERT_LT(std::fabs(axisPart.dot(source)), 1e-6) << angle;
      ASSERT_LT(std::fabs(axisPart.dot(target)), 1e-6) << angle;
      // Eigen's half-angle form itself loses digits closer to opposite.
      if (source.dot(target) > -1.0 + 1e-8) {
        ASSERT_LT(RotationDistance(turn, Quat::FromTwoVectors(source, target)), 1e-6) << angle;
      }
    }
  }
  ZoRotation3 none(0.5f, 0.5f, 0.5f, 0.5f);
  none.setValue(ZoVector3(), ZoVector3(1, 0, 0));  // no direction: the identity
  EXPECT_EQ(none, ZoRotation3());
}

TEST(ZoLinearAlgebraRotations, SlerpMatchesEigenIncludingNearAndOppositeInputs) {
  Random random(3);
  for (int i = 0; i < 5000; ++i) {
    // Unrelated; nearly equal, up to where a linear blend stops being good
    // enough; the same rotation with the other sign; unrelated, other sign.
    ZoRotation3 a = Rotation(random), b = Rotation(random), small;
    small.setValue(i % 8 == 1 ? random.Uniform(-1e-3f, 1e-3f) : random.Uniform(0.03f, 0.1f), random.Vector(1).unit());
    if (i % 4 == 1) b = a * small;
    if (i % 4 == 2) b = a * -1.0f;
    if (i % 4 == 3) b = b * -1.0f;
    float u = random.Uniform(0, 1);
    ZoRotation3 mine;
    mine.interpolate(a, b, u, 0);
    Quat expected = ToEigen(a).slerp(u, ToEigen(b));  // Eigen takes the shorter arc too
    ASSERT_LT(RotationDistance(mine, expected), 1e-6) << i;
    ASSERT_NEAR(mine.dot(mine), 1.0f, 1e-5f);
  }
  // The ends, and half way from a rotation to itself.
  ZoRotation3 a = Rotation(random), b = Rotation(random), end;
  for (auto [to, u, want] : {std::make_tuple(b, 0.0f, a), std::make_tuple(b, 1.0f, b), std::make_tuple(a, 0.5f, a)}) {
    end.interpolate(a, to, u, 0);
    EXPECT_LT(RotationDistance(end, ToEigen(want)), 1e-6) << u;
  }
}

// The matrix form's angles are driven by the skeleton's joint-limit Euler tests.
TEST(ZoLinearAlgebraRotations, EulerAnglesAreRzRyRxAndRoundTrip) {
  Random random(5);
  for (int i = 0; i < 5000; ++i) {
    float x = random.Uniform(-ZoMath::PI, ZoMath::PI);
    float y = random.Uniform(-ZoMath::HALF_PI, ZoMath::HALF_PI);
    float z = random.Uniform(-ZoMath::PI, ZoMath::PI);
    if (i % 10 == 0) {  // at and near gimbal lock
      float const offsets[] = {0.0f, 1e-6f, 1e-4f, 1e-2f, 0.3f};
      y = (i % 20 == 0 ? 1.0f : -1.0f) * (ZoMath::HALF_PI - offsets[i / 10 % 5]);
    }
    ZoRotation3 q;
    q.setEuler(x, y, z);
    Quat expected = Eigen::AngleAxisd(z, Vec::UnitZ()) * Eigen::AngleAxisd(y, Vec::UnitY()) *
                    Eigen::AngleAxisd(x, Vec::UnitX());
    ASSERT_LT(RotationDistance(q, expected), 1e-5);
    float ex, ey, ez;
    q.getEuler(ex, ey, ez);
    ASSERT_LE(std::fabs(ey), ZoMath::HALF_PI);
    ZoRotation3 again;
    again.setEuler(ex, ey, ez);
    ASSERT_LT(RotationDistance(again, expected), 1e-6) << x << " " << y << " " << z;
  }
}

TEST(ZoLinearAlgebraTransforms, CompositionInverseAndPointsMatchEigen) {
  Random random(6);
  for (int i = 0; i < 5000; ++i) {
    ZoTransform3 a = Transform(random), b = Transform(random);
    ZoVector3 p = random.Vector(10);
    Eigen::Isometry3d ea = ToEigen(a), eb = ToEigen(b);
    ASSERT_LT(Distance(a * p, ea * ToEigen(p)), 1e-4);
    ASSERT_LT(Distance((a * b) * p, ea * (eb * ToEigen(p))), 1e-4);
    ASSERT_LT(Distance((~a) * p, ea.inverse() * ToEigen(p)), 1e-4);
    ZoTransform3 composed;
    composed.Multiply(a, b);
    ASSERT_EQ(composed, a * b);
    composed.Multiply(composed, b);  // aliasing the result
    ASSERT_LT(Distance(composed * p, ea * (eb * (eb * ToEigen(p)))), 2e-4);
    ZoVector3 moved = p;
    moved.Premultiply(a);
    ASSERT_EQ(moved, a * p);
  }
}

// Rotations about an axis (either sign of w), and the matrices made from them.
// The rotation read back from a matrix is driven by the oriented-box fit tests.
TEST(ZoLinearAlgebraMatrices, AxisAngleRotationsAndTheirMatricesMatchEigen) {
  Random random(8);
  for (int i = 0; i < 2000; ++i) {
    ZoVector3 axis = random.Vector(10).unit();
    float angle = random.Uniform(-6.0f, 6.0f);
    ZoRotation3 q;
    q.setValue(angle, axis);
    ASSERT_LT(RotationDistance(q, Quat(Eigen::AngleAxisd(angle, ToEigen(axis)))), 1e-5);
    ZoVector3 t = random.Vector(10), p = random.Vector(10);
    ZoXformMatrix3 m;
    m.setValue(q, t);
    Quat eq = ToEigen(q);
    ASSERT_LT(Distance(m * p, eq * ToEigen(p) + ToEigen(t)), 1e-4);
    ASSERT_LT(Distance((~m) * p, eq.inverse() * (ToEigen(p) - ToEigen(t))), 1e-4);
    ASSERT_LT(Distance((m * m) * p, eq * (eq * ToEigen(p) + ToEigen(t)) + ToEigen(t)), 1e-3);
    ASSERT_NEAR(m.determinant(), 1.0f, 1e-5f);
  }
}

// Well separated eigenvalues, and repeated ones, where any orthonormal basis
// of their space will do: the axes turn the matrix diagonal, largest first.
// A matrix that is already diagonal is driven by the oriented-box fit of an
// axis-aligned box.
TEST(ZoLinearAlgebraMatrices, PrincipalAxesOfRandomSymmetricMatricesDiagonalizeThem) {
  Random random(9);
  double const repeated[][3] = {{4, 4, 1}, {4, 1, 1}, {2, 2, 2}, {4 + 1e-4, 4, 1}};
  for (int i = 0; i < 2000; ++i) {
    double const separated[3] = {random.Uniform(10, 20), random.Uniform(4, 8), random.Uniform(-3, 2)};
    double const* l = i % 5 == 0 ? repeated[i / 5 % 4] : separated;
    ZoMatrix3 m;
    Eigen::Matrix3d sym = Symmetric(Rotation(random), l, m);
    ZoXformMatrix3 axes;
    ZoVector3 values;
    m.principalAxis(axes, values);
    Eigen::Matrix3d rebuilt;
    for (int row = 0; row < 3; ++row)
      for (int col = 0; col < 3; ++col) rebuilt(row, col) = axes.m[row][col];
    Eigen::Matrix3d diag = rebuilt.transpose() * sym * rebuilt;
    ASSERT_LT((diag - Vec(l[0], l[1], l[2]).asDiagonal().toDenseMatrix()).cwiseAbs().maxCoeff(), 1e-4) << i;
    ASSERT_LT(Distance(values, Vec(l[0], l[1], l[2])), 1e-4) << i;
    ASSERT_NEAR(axes.determinant(), 1.0f, 1e-5f) << i;
  }
}

TEST(ZoLinearAlgebraSmallTypes, Vector2AndTransform2) {
  ZoVector2 a(3, 4);
  EXPECT_EQ(a - ZoVector2(1, 1), ZoVector2(2, 3));
  EXPECT_EQ(std::make_pair(ZoTransform2(1, 2, 3) == ZoTransform2(1, 2, 3), ZoTransform2(1, 2, 3) == ZoTransform2(1, 2, 0)),
            std::make_pair(true, false));
  EXPECT_EQ(std::vector<float>({a.length(), ZoMath::sqrt(16.0f), ZoMath::sqrt(-1e-9f)}), std::vector<float>({5, 4, 0}));
}
