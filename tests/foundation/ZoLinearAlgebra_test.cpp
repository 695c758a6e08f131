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

#include <Eigen/Dense>
#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

namespace {

using Quat = Eigen::Quaterniond;
using Vec = Eigen::Vector3d;

double const kPi = 3.14159265358979323846;

class Random {
 public:
  explicit Random(unsigned seed) : engine(seed) {}
  float Uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(engine); }
  ZoVector3 Vector(float range = 10.0f) {
    return {Uniform(-range, range), Uniform(-range, range), Uniform(-range, range)};
  }
  ZoRotation3 Rotation() {
    ZoRotation3 q(Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1), Uniform(-1, 1));
    q.normalize();
    return q;
  }
  ZoTransform3 Transform() { return {Vector(), Rotation()}; }

 private:
  std::mt19937 engine;
};

Quat ToEigen(ZoRotation3 const& q) { return Quat(q.w, q.x, q.y, q.z); }
Vec ToEigen(ZoVector3 const& v) { return Vec(v.x, v.y, v.z); }
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
  unsigned char const expected[28] = {0x00, 0x00, 0x80, 0x3F, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00,
                                      0x40, 0x40, 0x00, 0x00, 0x00, 0x3F, 0x00, 0x00, 0x00, 0xBF,
                                      0x00, 0x00, 0x80, 0x3E, 0x00, 0x00, 0x00, 0xC0};
  unsigned char raw[28];
  ASSERT_EQ(sizeof t, sizeof raw);
  std::memcpy(raw, &t, sizeof raw);
  EXPECT_EQ(std::memcmp(raw, expected, sizeof raw), 0);
  EXPECT_EQ(ZoTransform3(), ZoTransform3::identity());
  EXPECT_EQ(ZoRotation3(), ZoRotation3(1, 0, 0, 0));
}

TEST(ZoLinearAlgebraVectors, ArithmeticAndBezierEnds) {
  ZoVector3 a(1, 2, 3), b(-4, 5, 0.5f);
  EXPECT_EQ(a + b, ZoVector3(-3, 7, 3.5f));
  EXPECT_FLOAT_EQ(a.dot(b), -4 + 10 + 1.5f);
  EXPECT_EQ(a.cross(b), ZoVector3(2 * 0.5f - 3 * 5, 3 * -4 - 1 * 0.5f, 1 * 5 - 2 * -4));
  ZoVector3 product = a;
  product *= b;
  EXPECT_EQ(product, ZoVector3(-4, 10, 1.5f));
  EXPECT_EQ(a.square(), ZoVector3(1, 4, 9));
  ZoVector3 zero;
  zero.normalize();
  EXPECT_EQ(zero, ZoVector3());
  ZoVector3 n;
  n.NormalizeCross(ZoVector3(2, 0, 0), ZoVector3(0, 3, 0));
  EXPECT_EQ(n, ZoVector3(0, 0, 1));

  // The cubic Bezier: its ends, and (p0 + 3 p1 + 3 p2 + p3) / 8 half way.
  ZoVector3 start, middle, end;
  start.interpolate(a, b, b, ZoVector3(9, 9, 9), 0.0f);
  middle.interpolate(a, b, ZoVector3(0, 1, 0), ZoVector3(9, 9, 9), 0.5f);
  end.interpolate(a, b, b, ZoVector3(9, 9, 9), 1.0f);
  EXPECT_EQ(start, a);
  EXPECT_LT(Distance(middle, ToEigen((a + b * 3 + ZoVector3(0, 3, 0) + ZoVector3(9, 9, 9)) * 0.125f)), 1e-6);
  EXPECT_EQ(end, ZoVector3(9, 9, 9));
}

TEST(ZoLinearAlgebraRotations, AxisAngleAndFromTo) {
  Random random(2);
  for (int i = 0; i < 2000; ++i) {
    ZoVector3 axis = random.Vector().unit();
    float angle = random.Uniform(-6.0f, 6.0f);
    ZoRotation3 q;
    q.setValue(angle, axis);
    ASSERT_LT(RotationDistance(q, Quat(Eigen::AngleAxisd(angle, ToEigen(axis)))), 1e-5);

    ZoVector3 from = random.Vector(), to = random.Vector();
    ZoRotation3 turn;
    turn.setValue(from, to);
    ASSERT_LT(Distance(turn * from.unit(), ToEigen(to.unit())), 1e-4);
    ASSERT_LT(RotationDistance(turn, Quat::FromTwoVectors(ToEigen(from), ToEigen(to))), 1e-4);
  }
  ZoRotation3 same, none(0.5f, 0.5f, 0.5f, 0.5f);
  same.setValue(ZoVector3(1, 1, 0), ZoVector3(2, 2, 0));
  EXPECT_EQ(same, ZoRotation3());
  none.setValue(ZoVector3(), ZoVector3(1, 0, 0));  // no direction: the identity
  EXPECT_EQ(none, ZoRotation3());
  for (ZoVector3 from : {ZoVector3(1, 0, 0), ZoVector3(0, 0, -3), ZoVector3(0.3f, -0.2f, 0.9f)}) {
    ZoRotation3 half;
    half.setValue(from, -from);
    EXPECT_LT(Distance(half * from.unit(), -ToEigen(from.unit())), 1e-6);
    EXPECT_EQ(half.w, 0.0f);  // a half turn
  }
}

// Directions a little apart from parallel and from opposite are where acos
// and the half-angle form lose their digits.
TEST(ZoLinearAlgebraRotations, FromToNearParallelAndOpposite) {
  Random random(12);
  for (int i = 0; i < 400; ++i) {
    Vec from = ToEigen(random.Vector()).normalized();
    Vec axis = from.unitOrthogonal();
    for (double apart : {0.0, 1e-6, 1e-4, 1e-2}) {
      for (double angle : {apart, kPi - apart}) {
        Vec to = Eigen::AngleAxisd(angle, axis) * from;
        // `from` need not be unit; scaling it in float rounds it, so the
        // oracle takes the scaled vector too.
        ZoVector3 f = ZoVector3(static_cast<float>(from.x()), static_cast<float>(from.y()),
                                static_cast<float>(from.z())) * 3.0f;
        ZoVector3 t(static_cast<float>(to.x()), static_cast<float>(to.y()), static_cast<float>(to.z()));
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
  }
}

TEST(ZoLinearAlgebraRotations, SlerpMatchesEigenIncludingNearAndOppositeInputs) {
  Random random(3);
  for (int i = 0; i < 5000; ++i) {
    ZoRotation3 a = random.Rotation();
    ZoRotation3 b;
    switch (i % 4) {
      case 0: b = random.Rotation(); break;
      case 1: {  // nearly equal, up to where a linear blend stops being good enough
        ZoRotation3 small;
        float angle = i % 8 == 1 ? random.Uniform(-1e-3f, 1e-3f) : random.Uniform(0.03f, 0.1f);
        small.setValue(angle, random.Vector().unit());
        b = a * small;
        break;
      }
      case 2: b = a * -1.0f; break;  // the same rotation, other sign
      default: {
        b = random.Rotation() * -1.0f;
        break;
      }
    }
    float u = random.Uniform(0, 1);
    ZoRotation3 mine;
    mine.interpolate(a, b, u, 0);
    Quat expected = ToEigen(a).slerp(u, ToEigen(b));  // Eigen takes the shorter arc too
    ASSERT_LT(RotationDistance(mine, expected), 1e-6) << i;
    ASSERT_NEAR(mine.dot(mine), 1.0f, 1e-5f);
  }
  ZoRotation3 a = random.Rotation(), b = random.Rotation(), end;
  end.interpolate(a, b, 0.0f, 0);
  EXPECT_LT(RotationDistance(end, ToEigen(a)), 1e-6);
  end.interpolate(a, b, 1.0f, 0);
  EXPECT_LT(RotationDistance(end, ToEigen(b)), 1e-6);
  end.interpolate(a, a, 0.5f, 0);
  EXPECT_LT(RotationDistance(end, ToEigen(a)), 1e-6);
}

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
    ASSERT_GE(ey, -ZoMath::HALF_PI);
    ASSERT_LE(ey, ZoMath::HALF_PI);
    ZoRotation3 again;
    again.setEuler(ex, ey, ez);
    ASSERT_LT(RotationDistance(again, expected), 1e-6) << x << " " << y << " " << z;
    // The matrix form reads the same angles (up to the rotation they make).
    ZoXformMatrix3 m;
    m.setValue(q, ZoVector3());
    m.getEuler(ex, ey, ez);
    again.setEuler(ex, ey, ez);
    ASSERT_LT(RotationDistance(again, expected), 1e-6) << x << " " << y << " " << z;
  }
}

TEST(ZoLinearAlgebraTransforms, CompositionInverseAndPointsMatchEigen) {
  Random random(6);
  for (int i = 0; i < 5000; ++i) {
    ZoTransform3 a = random.Transform(), b = random.Transform();
    ZoVector3 p = random.Vector();
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

TEST(ZoLinearAlgebraMatrices, XformMatrixAgreesWithTheRotationItWasMadeFrom) {
  Random random(8);
  for (int i = 0; i < 2000; ++i) {
    ZoRotation3 q = random.Rotation();
    ZoVector3 t = random.Vector(), p = random.Vector();
    ZoXformMatrix3 m;
    m.setValue(q, t);
    Quat eq = ToEigen(q);
    ASSERT_LT(Distance(m * p, eq * ToEigen(p) + ToEigen(t)), 1e-4);
    ASSERT_LT(Distance((~m) * p, eq.inverse() * (ToEigen(p) - ToEigen(t))), 1e-4);
    ASSERT_LT(Distance((m * m) * p, eq * (eq * ToEigen(p) + ToEigen(t)) + ToEigen(t)), 1e-3);
    ASSERT_LT(RotationDistance(m.getRotation(), eq), 1e-5);
    ASSERT_LT(RotationDistance(ZoTransform3(m).rotation, eq), 1e-5);
    ASSERT_NEAR(m.determinant(), 1.0f, 1e-5f);
  }
}

TEST(ZoLinearAlgebraMatrices, PrincipalAxesOfRandomSymmetricMatricesMatchEigen) {
  Random random(9);
  for (int i = 0; i < 2000; ++i) {
    double l[3] = {random.Uniform(10, 20), random.Uniform(4, 8), random.Uniform(-3, 2)};  // well separated
    ZoMatrix3 m;
    Eigen::Matrix3d sym = Symmetric(random.Rotation(), l, m);
    ZoXformMatrix3 axes;
    ZoVector3 values;
    m.principalAxis(axes, values);
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(sym);
    ASSERT_NEAR(values.x, solver.eigenvalues()(2), 1e-4);
    ASSERT_NEAR(values.y, solver.eigenvalues()(1), 1e-4);
    ASSERT_NEAR(values.z, solver.eigenvalues()(0), 1e-4);
    ASSERT_NEAR(axes.determinant(), 1.0f, 1e-5f);
    for (int column = 0; column < 3; ++column) {
      Vec mine = ToEigen(axes.getColumn(column));
      Vec theirs = solver.eigenvectors().col(2 - column);  // Eigen sorts ascending
      ASSERT_LT(std::min((mine - theirs).norm(), (mine + theirs).norm()), 1e-4) << i << " column " << column;
    }
  }
}

TEST(ZoLinearAlgebraMatrices, PrincipalAxesOfDegenerateMatrices) {
  ZoXformMatrix3 axes;
  ZoVector3 values;
  ZoMatrix3().principalAxis(axes, values);
  EXPECT_EQ(values, ZoVector3());
  EXPECT_NEAR(axes.determinant(), 1.0f, 1e-6f);

  ZoMatrix3 diagonal;
  diagonal(0, 0) = 1;
  diagonal(1, 1) = 5;
  diagonal(2, 2) = 3;
  diagonal.principalAxis(axes, values);
  EXPECT_EQ(values, ZoVector3(5, 3, 1));
  EXPECT_EQ(std::fabs(axes.getColumn(0).y), 1.0f);
  EXPECT_EQ(std::fabs(axes.getColumn(1).z), 1.0f);
  EXPECT_NEAR(axes.determinant(), 1.0f, 1e-6f);

  // Repeated eigenvalues: any orthonormal basis of their space will do.
  Random random(10);
  double const spectra[][3] = {{4, 4, 1}, {4, 1, 1}, {2, 2, 2}, {4 + 1e-4, 4, 1}};
  for (int i = 0; i < 400; ++i) {
    double const* l = spectra[i % 4];
    ZoMatrix3 m;
    Eigen::Matrix3d sym = Symmetric(random.Rotation(), l, m);
    m.principalAxis(axes, values);
    Eigen::Matrix3d rebuilt;
    for (int row = 0; row < 3; ++row)
      for (int col = 0; col < 3; ++col) rebuilt(row, col) = axes.m[row][col];
    Eigen::Matrix3d diag = rebuilt.transpose() * sym * rebuilt;
    ASSERT_NEAR(diag(0, 0), l[0], 1e-4);
    ASSERT_NEAR(diag(1, 1), l[1], 1e-4);
    ASSERT_NEAR(diag(2, 2), l[2], 1e-4);
    ASSERT_NEAR(values.x, l[0], 1e-4);
    ASSERT_NEAR(values.z, l[2], 1e-4);
    ASSERT_NEAR(std::fabs(diag(0, 1)) + std::fabs(diag(0, 2)) + std::fabs(diag(1, 2)), 0, 1e-4);
    ASSERT_NEAR(axes.determinant(), 1.0f, 1e-5f);
  }
}

TEST(ZoLinearAlgebraSmallTypes, Vector2AndTransform2) {
  ZoVector2 a(3, 4);
  EXPECT_EQ(a.length(), 5.0f);
  EXPECT_EQ(a - ZoVector2(1, 1), ZoVector2(2, 3));
  EXPECT_EQ(ZoTransform2(1, 2, 3), ZoTransform2(1, 2, 3));
  EXPECT_NE(ZoTransform2(1, 2, 3), ZoTransform2(1, 2, 0));
  EXPECT_EQ(ZoMath::sqrt(16.0f), 4.0f);
  EXPECT_EQ(ZoMath::sqrt(-1e-9f), 0.0f);
}
