// Ray, sphere, triangle and box queries: the sharp edges by hand, and
// random inputs checked against FCL and against double-precision oracles.
#include "ZoGeometryTestSupport.h"

#include <Eigen/Dense>
#include <fcl/math/bv/OBB.h>
#include <fcl/narrowphase/detail/primitive_shape_algorithm/triangle_distance.h>
#include <fcl/narrowphase/detail/traversal/collision/intersect.h>

using namespace zogeotest;

namespace {

using Vec = Eigen::Vector3d;

Vec ToEigen(ZoVector3 const& v) { return Vec(v.x, v.y, v.z); }

// A set that opens its protected point-to-face step to the tests.
class OpenSet : public ZoTriangleSet {
 public:
  using ZoTriangleSet::PointTriDistance;
};

// A set of one triangle per call of Add, with a material per triangle.
class Triangles {
 public:
  explicit Triangles(int capacity) {
    set.Create(ZoTriSetIndexed, ZoTriSetMaterialIndices, capacity, 3 * capacity, 0);
    set.SetNumMaterials(2);
    set.Material(1).flags |= ZoMaterial::FLAG_TWO_SIDED;
    set.Material(0).flags &= ~ZoMaterial::FLAG_TWO_SIDED;
  }
  int Add(ZoVector3 p, ZoVector3 q, ZoVector3 r, int material = 0) {
    set.Vertex(3 * used) = p;
    set.Vertex(3 * used + 1) = q;
    set.Vertex(3 * used + 2) = r;
    set.Triangle(used).Set(3 * used, 3 * used + 1, 3 * used + 2);
    set.MaterialIndex(used) = static_cast<int16_t>(material);
    return used++;
  }
  OpenSet set;
  int used = 0;
};

ZoTransform3 RandomPlacement(std::mt19937& random, float reach) {
  std::normal_distribution<float> gauss(0.0f, 1.0f);
  ZoRotation3 rotation(gauss(random), gauss(random), gauss(random), gauss(random));
  rotation.normalize();
  return ZoTransform3(zogeotest::RandomPoint(random, reach), rotation);
}

Eigen::Matrix3d MatrixOf(ZoRotation3 const& q) {
  return Eigen::Quaterniond(q.w, q.x, q.y, q.z).normalized().toRotationMatrix();
}

}  // namespace

// A direction need not be unit: t is measured along it. A miss leaves t as
// it was, or hands back the plane parameter when the plane is crossed.
TEST(ZoRayTriangle, HitsMissesAndTheParameter) {
  Triangles t(3);
  int tri = t.Add({0, 0, 0}, {4, 0, 0}, {0, 4, 0}, 0);  // faces +z, one-sided material
  t.Add({0, 0, 0}, {4, 0, 0}, {0, 4, 0}, 1);            // the same, two-sided
  t.Add({0, 0, 0}, {0, 0, 3}, {3, 0, 0});               // in the xz-plane: the first edge has no extent in x
  struct Case {
    char const* name;
    int triangle;
    ZoVector3 origin, direction;
    int cull;
    float before;  // the best t so far
    bool hit;
    float after;
  } const cases[] = {
      {"from the front", 0, {1, 1, 5}, {0, 0, -2}, 1, 100, true, 2.5f},
      {"from the back, culled", 0, {1, 1, -3}, {0, 0, 1}, 1, 100, false, 100},
      {"from the back, not culled", 0, {1, 1, -3}, {0, 0, 1}, 0, 100, true, 3},
      {"from the back of a two-sided material", 1, {1, 1, -3}, {0, 0, 1}, 1, 100, true, 3},
      {"edge PQ", 0, {2, 0, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"edge QR", 0, {2, 2, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"edge RP", 0, {0, 2, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"corner P", 0, {0, 0, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"corner Q", 0, {4, 0, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"corner R", 0, {0, 4, 1}, {0, 0, -1}, 0, 100, true, 1},
      {"parallel", 0, {1, 1, 1}, {1, 0, 0}, 0, 7, false, 7},
      {"plane behind the origin", 0, {1, 1, 1}, {0, 0, 1}, 0, 7, false, -1},
      {"outside the triangle", 0, {3, 3, 1}, {0, 0, -1}, 0, 7, false, 1},
      {"beyond the best so far", 0, {1, 1, 7}, {0, 0, -1}, 0, 5, false, 5},
      {"upright triangle", 2, {1, -2, 1}, {0, 1, 0}, 0, 100, true, 2},
      {"upright triangle, outside", 2, {2.5f, -2, 2.5f}, {0, 1, 0}, 0, 100, false, 2},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    float param = c.before;
    EXPECT_EQ(t.set.CheckRayIntersection(c.triangle, c.origin, c.direction, param, c.cull), c.hit);
    EXPECT_FLOAT_EQ(param, c.after);
  }

  // With a placement the corners move, not the ray.
  ZoRotation3 const flip = zotest::About(ZoMath::PI, ZoVector3(1, 0, 0));
  ZoTransform3 placement(ZoVector3(0, 0, 10), flip);  // now at z = 10, facing −z, y mirrored
  float param = 100;
  EXPECT_TRUE(t.set.CheckRayIntersection(tri, ZoVector3(1, -1, 0), ZoVector3(0, 0, 1), placement, param, 1));
  EXPECT_NEAR(param, 10.0f, 1e-5f);
  param = 100;
  EXPECT_FALSE(t.set.CheckRayIntersection(tri, ZoVector3(1, 1, 0), ZoVector3(0, 0, 1), placement, param, 1));
}

// Hits and misses against FCL's triangle-triangle test with the ray as a
// sliver triangle 1e-6 wide, and the parameter against a double-precision
// plane crossing. Inputs closer than 0.01 (in barycentric terms) to an
// edge, or with a crossing within 0.01 of either end of the ray, are
// skipped: there the float test and the sliver may rightly disagree. The
// parameter agrees within 1e-4 relative: single precision with cancellation
// in n·origin − n·P over coordinates up to about 10.
TEST(ZoRayTriangle, AgreesWithFcl) {
  std::mt19937 random(31);
  Triangles t(1);
  t.Add({}, {}, {});
  int compared = 0, hits = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    Vec C[3];
    for (int c = 0; c < 3; ++c) C[c] = ToEigen(t.set.Vertex(c) = zogeotest::RandomPoint(random, 2.0f));
    ZoVector3 origin = zogeotest::RandomPoint(random, 5.0f);
    ZoVector3 direction = (zogeotest::RandomPoint(random, 1.5f) - origin) * 0.25f;
    double const limit = 8.0;  // the ray runs to origin + 8 direction
    Vec O = ToEigen(origin), D = ToEigen(direction), n = (C[1] - C[0]).cross(C[2] - C[0]);
    if (n.norm() < 1e-2 || D.norm() < 0.1 || std::fabs(n.normalized().dot(D.normalized())) < 1e-2) continue;
    double tp = n.dot(C[0] - O) / n.dot(D);
    Vec h = O + D * tp;  // the crossing, and its barycentric coordinates
    double b1 = n.dot((h - C[0]).cross(C[2] - C[0])) / n.squaredNorm();
    double b2 = n.dot((C[1] - C[0]).cross(h - C[0])) / n.squaredNorm();
    double margin = std::min({std::fabs(b1), std::fabs(b2), std::fabs(1 - b1 - b2)});
    if (margin < 1e-2 || std::fabs(tp) < 1e-2 || std::fabs(tp - limit) < 1e-2) continue;
    Vec end = O + D * limit;
    bool fcl = fcl::detail::Intersect<double>::intersect_Triangle(O, end, end + D.cross(n).normalized() * 1e-6, C[0],
                                                                   C[1], C[2]);
    float param = static_cast<float>(limit);
    bool ours = t.set.CheckRayIntersection(0, origin, direction, param, 0);
    ASSERT_EQ(ours, fcl) << "trial " << trial;
    EXPECT_EQ(ours, b1 > 0 && b2 > 0 && b1 + b2 < 1 && tp > 0 && tp < limit) << "trial " << trial;
    if (tp < limit)
      EXPECT_NEAR(param, tp, 1e-4 * (1 + std::fabs(tp))) << "trial " << trial;
    else
      EXPECT_EQ(param, static_cast<float>(limit)) << "trial " << trial;
    ++compared;
    hits += ours ? 1 : 0;
  }
  EXPECT_GT(compared, 5000);
  EXPECT_GT(hits, 500);
}

// The protected point-to-face step: the perpendicular foot, only when it
// lies in the triangle and beats the best so far.
TEST(ZoRayTriangle, PointTriDistance) {
  Triangles t(1);
  OpenSet const& set = t.set;
  t.Add({0, 0, 0}, {2, 0, 0}, {0, 2, 0});
  ZoTransform3 lift(ZoVector3(0, 0, 1), ZoRotation3());
  ZoVector3 closest(9, 9, 9);
  float best = 100;
  EXPECT_TRUE(set.PointTriDistance(0, ZoVector3(0.5f, 0.5f, -2), lift, closest, best));
  EXPECT_FLOAT_EQ(best, 9.0f);
  ExpectNear(closest, ZoVector3(0.5f, 0.5f, 1));
  EXPECT_FALSE(set.PointTriDistance(0, ZoVector3(0.5f, 0.5f, 5), lift, closest, best));  // 16 is not below 9
  EXPECT_TRUE(set.PointTriDistance(0, ZoVector3(0.5f, 0.5f, 3), lift, closest, best));   // from the front
  EXPECT_FLOAT_EQ(best, 4.0f);
  EXPECT_FALSE(set.PointTriDistance(0, ZoVector3(3, 3, 1.5f), lift, closest, best));  // foot outside
  EXPECT_EQ(best, 4.0f);
}

TEST(ZoSphereTriangle, FaceEdgeAndPlacement) {
  Triangles t(1);
  t.Add({-10, 0, -10}, {10, 0, -10}, {0, 0, 10});
  ZoVector3 contact;
  float distance = 0;
  EXPECT_TRUE(t.set.CheckSphereIntersection(0, ZoVector3(0, 0.5f, 0), 1.0f, contact, distance));
  EXPECT_FLOAT_EQ(distance, -0.5f);
  ExpectNear(contact, ZoVector3(0, 0, 0));
  // From below, the normal is turned towards the plane.
  EXPECT_TRUE(t.set.CheckSphereIntersection(0, ZoVector3(0, -0.25f, 0), 1.0f, contact, distance));
  EXPECT_FLOAT_EQ(distance, -0.75f);
  // Out of reach above the face.
  EXPECT_FALSE(t.set.CheckSphereIntersection(0, ZoVector3(0, 2, 0), 1.0f, contact, distance));

  // Foot outside the triangle beyond edge PQ (z = −10): the contact is the
  // point of PQ nearest the foot, the distance √(t² + e²) − radius.
  EXPECT_TRUE(t.set.CheckSphereIntersection(0, ZoVector3(2, 0.6f, -10.5f), 1.0f, contact, distance));
  ExpectNear(contact, ZoVector3(2, 0, -10));
  EXPECT_NEAR(distance, std::sqrt(0.36f + 0.25f) - 1.0f, 1e-5f);
  EXPECT_FALSE(t.set.CheckSphereIntersection(0, ZoVector3(2, 0.9f, -10.5f), 1.0f, contact, distance));
  // Beyond corner P: the edge rule gives the corner.
  EXPECT_TRUE(t.set.CheckSphereIntersection(0, ZoVector3(-10.3f, 0.1f, -10.3f), 1.0f, contact, distance));
  ExpectNear(contact, ZoVector3(-10, 0, -10));

  // Placed: the centre is carried into the set's frame and the contact back.
  ZoRotation3 const turn = zotest::About(ZoMath::HALF_PI, ZoVector3(1, 0, 0));  // the plane y = 0 becomes z = 0
  ZoTransform3 placement(ZoVector3(0, 0, 3), turn);
  EXPECT_TRUE(t.set.CheckSphereIntersection(0, ZoVector3(0, 0, 3.5f), 1.0f, placement, contact, distance));
  EXPECT_NEAR(distance, -0.5f, 1e-5f);
  ExpectNear(contact, ZoVector3(0, 0, 3));
}

TEST(ZoTriangleTriangle, TouchingCrossingAndApart) {
  Triangles a(4), b(4);
  a.Add({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  b.Add({1, 0, 0}, {0, 1, 0}, {1, 1, 0.5f});  // shares an edge
  b.Add({1, 0, 0}, {2, 0, 0}, {2, 1, 0});     // shares a corner
  b.Add({0, 0, 0.2f}, {1, 0, 0.2f}, {0, 1, 0.2f});  // parallel, 0.2 above
  b.Add({0.2f, 0.2f, -1}, {0.2f, 0.2f, 1}, {5, 5, 0});  // crossing
  ZoTransform3 identity;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(a.set.CheckIntersection(0, identity, &b.set, i, identity), i != 2) << i;

  ZoVector3 mine(9, 9, 9), theirs(9, 9, 9);
  EXPECT_FLOAT_EQ(a.set.FindDistance(0, identity, &b.set, 2, identity, mine, theirs), 0.2f);
  ExpectNear(theirs - mine, ZoVector3(0, 0, 0.2f), 1e-6f);

  mine = theirs = ZoVector3(9, 9, 9);
  EXPECT_EQ(a.set.FindDistance(0, identity, &b.set, 3, identity, mine, theirs), -1.0f);
  EXPECT_TRUE(mine == ZoVector3(9, 9, 9) && theirs == mine);

  // Placements move each triangle: lifting b's parallel triangle by 1 more.
  ZoTransform3 lift(ZoVector3(0, 0, 1), ZoRotation3());
  EXPECT_NEAR(a.set.FindDistance(0, identity, &b.set, 2, lift, mine, theirs), 1.2f, 1e-6f);
  ZoTransform3 clear(ZoVector3(0, 0, 2), ZoRotation3());
  EXPECT_FALSE(a.set.CheckIntersection(0, clear, &b.set, 3, identity));
  EXPECT_TRUE(a.set.CheckIntersection(0, lift, &b.set, 3, identity));  // touches b's top corner
}

// Random triangle pairs, half under identity placements and half under
// random ones, against FCL. The separating-axis test against FCL's triangle
// intersection, skipping pairs whose FCL answer changes when the second
// triangle moves by 1e-3 along any axis (near-touching). FindDistance
// against FCL's triangle distance on disjoint pairs further apart than 0.01
// (below that the search stops early by design), within 3e-4: squared
// distances are formed in single precision from world coordinates up to
// about 3, whose rounding moves a distance of 0.01 by up to about 2e-4.
TEST(ZoTriangleTriangle, OverlapAndDistanceAgreeWithFcl) {
  std::mt19937 random(12);
  Triangles a(1), b(1);
  a.Add({}, {}, {});
  b.Add({}, {}, {});
  int touching = 0, apart = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    ZoTransform3 pa, pb;
    if (trial % 2 == 1) pa = RandomPlacement(random, 0.6f), pb = RandomPlacement(random, 0.6f);
    Vec A[3], B[3];
    for (int c = 0; c < 3; ++c) {
      a.set.Vertex(c) = zogeotest::RandomPoint(random, 1.0f);
      b.set.Vertex(c) = zogeotest::RandomPoint(random, 1.0f) + ZoVector3(0.4f, 0, 0);
      A[c] = ToEigen(pa * a.set.Vertex(c));
      B[c] = ToEigen(pb * b.set.Vertex(c));
    }
    auto fclTouch = [&](Vec const& shift) {
      return fcl::detail::Intersect<double>::intersect_Triangle(A[0], A[1], A[2], B[0] + shift, B[1] + shift,
                                                                 B[2] + shift);
    };
    bool expected = fclTouch(Vec::Zero()), robust = true;
    for (int axis = 0; axis < 3 && robust; ++axis)
      for (double sign : {-1e-3, 1e-3}) robust = robust && fclTouch(Vec::Unit(axis) * sign) == expected;
    if (robust) {
      ASSERT_EQ(a.set.CheckIntersection(0, pa, &b.set, 0, pb), expected) << "trial " << trial;
    }
    touching += robust && expected ? 1 : 0;
    Vec fp, fq;
    double distance = fcl::detail::TriangleDistance<double>::triDistance(A, B, fp, fq);
    if (expected || distance <= 0.01) continue;
    ZoVector3 mine, theirs;
    float ours = a.set.FindDistance(0, pa, &b.set, 0, pb, mine, theirs);
    ASSERT_NEAR(ours, distance, 3e-4) << "trial " << trial;
    EXPECT_NEAR((theirs - mine).length(), ours, 3e-4) << "trial " << trial;
    ++apart;
  }
  EXPECT_GT(touching, 3000);
  EXPECT_GT(apart, 10000);
}

TEST(ZoOrientedBoxQueries, TouchingBoxesAndRays) {
  ZoOrientedBox unit(ZoTransform3(), ZoVector3(1, 1, 1));
  ZoTransform3 here;
  EXPECT_TRUE(unit.CheckIntersection(&unit, here, ZoTransform3(ZoVector3(1, 0, 0), ZoRotation3())));
  EXPECT_FALSE(unit.CheckIntersection(&unit, here, ZoTransform3(ZoVector3(1.01f, 0, 0), ZoRotation3())));
  // A box turned 45° about z reaches √½ along x.
  ZoRotation3 const diagonal = zotest::About(ZoMath::PI / 4, ZoVector3(0, 0, 1));
  EXPECT_TRUE(unit.CheckIntersection(&unit, here, ZoTransform3(ZoVector3(1.2f, 0, 0), diagonal)));
  EXPECT_FALSE(unit.CheckIntersection(&unit, here, ZoTransform3(ZoVector3(1.22f, 0, 0), diagonal)));
  // Two thin bars crossed at right angles, one just above the other.
  ZoOrientedBox thin(ZoTransform3(), ZoVector3(3, 0.1f, 0.1f));
  ZoRotation3 const across = zotest::About(ZoMath::HALF_PI, ZoVector3(0, 1, 0));
  EXPECT_FALSE(thin.CheckIntersection(&thin, here, ZoTransform3(ZoVector3(0, 0.2f, 0), across)));
  EXPECT_TRUE(thin.CheckIntersection(&thin, here, ZoTransform3(ZoVector3(0, 0.09f, 0), across)));

  // Rays: from inside, away from the box, limited, parallel.
  ZoOrientedBox box(ZoTransform3(ZoVector3(5, 0, 0), diagonal), ZoVector3(2, 2, 2));
  EXPECT_TRUE(box.CheckRayIntersection(here, ZoVector3(5, 0.2f, 0), ZoVector3(0, 1, 0), 0));
  EXPECT_TRUE(box.CheckRayIntersection(here, ZoVector3(0, 0, 0), ZoVector3(1, 0, 0), 0));
  EXPECT_FALSE(box.CheckRayIntersection(here, ZoVector3(0, 0, 0), ZoVector3(-1, 0, 0), 0));
  EXPECT_FALSE(box.CheckRayIntersection(here, ZoVector3(0, 0, 0), ZoVector3(1, 0, 0), 3.0f));
  EXPECT_TRUE(box.CheckRayIntersection(here, ZoVector3(0, 0, 0), ZoVector3(1, 0, 0), 4.0f));
  EXPECT_FALSE(box.CheckRayIntersection(here, ZoVector3(0, 0, 1.5f), ZoVector3(1, 0, 0), 0));
  EXPECT_TRUE(box.CheckRayIntersection(here, ZoVector3(0, 0, 0.5f), ZoVector3(1, 0, 0), 0));
  // The placement moves the box.
  EXPECT_FALSE(box.CheckRayIntersection(ZoTransform3(ZoVector3(0, 10, 0), ZoRotation3()), ZoVector3(),
                                        ZoVector3(1, 0, 0), 0));
}

// Box overlap against FCL's OBB overlap in world space, on random boxes
// under random placements. Pairs whose FCL answer changes when both boxes
// grow or shrink by 0.1% are near-touching and skipped.
TEST(ZoOrientedBoxQueries, OverlapAgreesWithFcl) {
  std::mt19937 random(21);
  std::uniform_real_distribution<float> extent(0.05f, 2.0f);
  int compared = 0, overlapping = 0;
  for (int trial = 0; trial < 20000; ++trial) {
    ZoOrientedBox one(RandomPlacement(random, 0.5f), ZoVector3(extent(random), extent(random), extent(random)));
    ZoOrientedBox two(RandomPlacement(random, 0.5f), ZoVector3(extent(random), extent(random), extent(random)));
    ZoTransform3 p1 = RandomPlacement(random, 1.5f), p2 = RandomPlacement(random, 1.5f);
    auto world = [](ZoOrientedBox const& box, ZoTransform3 const& placement, double grow) {
      ZoTransform3 w = placement * box.transform;
      return fcl::OBB<double>(MatrixOf(w.rotation), ToEigen(w.translation), ToEigen(box.size) * 0.5 * grow);
    };
    bool expected = world(one, p1, 1.0).overlap(world(two, p2, 1.0));
    if (world(one, p1, 1.001).overlap(world(two, p2, 1.001)) != expected ||
        world(one, p1, 0.999).overlap(world(two, p2, 0.999)) != expected)
      continue;
    ASSERT_EQ(one.CheckIntersection(&two, p1, p2), expected) << "trial " << trial;
    ++compared;
    overlapping += expected ? 1 : 0;
  }
  EXPECT_GT(compared, 19000);
  EXPECT_GT(overlapping, 3000);
  EXPECT_LT(overlapping, compared - 3000);
}
