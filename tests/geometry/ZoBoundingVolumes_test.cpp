// Bounding boxes, Ritter spheres, covariance-aligned oriented boxes (their
// axes checked against Eigen's eigen solver) and ground rectangles.
#include "ZoGeometryTestSupport.h"

#include <zoactor/geometry/ZoRect.h>

#include <Eigen/Dense>

using namespace zogeotest;

namespace {

ZoVector3 Axis(ZoOrientedBox const& box, int i) {
  return box.transform.rotation * ZoVector3(i == 0 ? 1.0f : 0.0f, i == 1 ? 1.0f : 0.0f, i == 2 ? 1.0f : 0.0f);
}

}  // namespace

TEST(ZoBoundingSphere, SeedPairGrowthAndRandomClouds) {
  ZoVector3 center(7, 7, 7), one(1, 2, 3);
  float radius = 7;
  ZoTriangleSet::FindBoundingSphere(&one, 0, center, radius);  // no points: outputs kept
  ZoTriangleSet::FindBoundingSphere(nullptr, 1, center, radius);
  EXPECT_EQ(center, ZoVector3(7, 7, 7));
  EXPECT_EQ(radius, 7.0f);
  struct Case {
    char const* name;
    std::vector<ZoVector3> points;
    ZoVector3 center;
    float radius;
  } const cases[] = {
      {"one point", {one}, one, 0},
      {"a point exactly on the sphere does not grow it", {{-1, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 0, 0}, 1},
      // dx² equals dy²: the y pair seeds the sphere (centre (0.2, 0, 0)), and
      // the first point, outside it, grows it to centre (0.1, 0, 0), radius 1.1.
      {"tie", {{-1, 0, 0}, {1, 0, 0}, {0.2f, -1, 0}, {0.2f, 1, 0}}, {0.1f, 0, 0}, 1.1f},
      {"growth touches the new point", {{-1, 0, 0}, {1, 0, 0}, {0, 1.5f, 0}}, {0, 0.25f, 0}, 1.25f},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoTriangleSet::FindBoundingSphere(c.points.data(), static_cast<int>(c.points.size()), center, radius);
    ExpectNear(center, c.center, 1e-6f);
    EXPECT_NEAR(radius, c.radius, 1e-6f);
  }

  std::mt19937 random(11);
  for (int trial = 0; trial < 50; ++trial) {
    std::vector<ZoVector3> points(1 + trial * 7);
    for (auto& p : points) p = zogeotest::RandomPoint(random, 5.0f) + ZoVector3(10, -3, 2);
    ZoTriangleSet::FindBoundingSphere(points.data(), static_cast<int>(points.size()), center, radius);
    for (auto const& p : points) EXPECT_LE((p - center).length(), radius * (1 + 1e-5f) + 1e-5f);
  }
}

TEST(ZoOrientedBoxFit, AxisAlignedBoxCorners) {
  std::vector<ZoVector3> corners;
  for (float x : {0.0f, 2.0f})
    for (float y : {-1.0f, 3.0f})
      for (float z : {-2.0f, 4.0f}) corners.emplace_back(x, y, z);
  ZoOrientedBox box;
  ZoTriangleSet::FindOrientedBox(corners.data(), 8, box);
  // Largest variance first: z (6), then y (4), then x (2).
  ExpectNear(box.size, ZoVector3(6, 4, 2), 1e-4f);
  ExpectNear(box.transform.translation, ZoVector3(1, 1, 1), 1e-4f);
  EXPECT_NEAR(std::fabs(Axis(box, 0).z), 1.0f, 1e-5f);
  EXPECT_NEAR(std::fabs(Axis(box, 2).x), 1.0f, 1e-5f);

  ZoVector3 single(3, 4, 5);
  ZoTriangleSet::FindOrientedBox(&single, 1, box);
  EXPECT_EQ(box.size, ZoVector3(0, 0, 0));
  ExpectNear(box.transform.translation, single);
  ZoOrientedBox untouched(ZoTransform3(ZoVector3(1, 1, 1), ZoRotation3()), ZoVector3(9, 9, 9));
  ZoTriangleSet::FindOrientedBox(nullptr, 3, untouched);
  ZoTriangleSet::FindOrientedBox(corners.data(), 0, untouched);
  EXPECT_EQ(untouched.size, ZoVector3(9, 9, 9));
}

// The box axes are the eigenvectors of the covariance, largest eigenvalue
// first, as Eigen's SelfAdjointEigenSolver finds them in double precision.
// The covariance is accumulated in single precision over a few hundred
// points of coordinates up to about 20, so its entries carry relative
// errors near 1e-5; with eigenvalues at least twice apart an axis turns by
// less than about 1e-4 rad, so |cos| ≥ 1 − 1e-4 is checked. Every point
// lies in the box within 1e-4 of its size.
TEST(ZoOrientedBoxFit, AxesMatchEigen) {
  std::mt19937 random(5);
  std::normal_distribution<float> gauss(0.0f, 1.0f);
  for (int trial = 0; trial < 40; ++trial) {
    ZoRotation3 orientation(gauss(random), gauss(random), gauss(random), gauss(random));
    orientation.normalize();
    ZoVector3 offset = zogeotest::RandomPoint(random, 10.0f);
    std::vector<ZoVector3> points(300);
    for (auto& p : points)
      p = orientation * ZoVector3(6.0f * gauss(random), 2.5f * gauss(random), 0.8f * gauss(random)) + offset;
    ZoOrientedBox box;
    ZoTriangleSet::FindOrientedBox(points.data(), static_cast<int>(points.size()), box);

    Eigen::Matrix3Xd cloud(3, points.size());
    for (size_t k = 0; k < points.size(); ++k)
      cloud.col(static_cast<Eigen::Index>(k)) << points[k].x, points[k].y, points[k].z;
    Eigen::Matrix3Xd centred = cloud.colwise() - cloud.rowwise().mean();
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver(centred * centred.transpose() / double(points.size()));
    for (int i = 0; i < 3; ++i) {
      Eigen::Vector3d expected = solver.eigenvectors().col(2 - i);  // Eigen sorts ascending
      ZoVector3 axis = Axis(box, i);
      EXPECT_GT(std::fabs(expected.dot(Eigen::Vector3d(axis.x, axis.y, axis.z))), 1.0 - 1e-4)
          << "trial " << trial << " axis " << i;
    }
    ZoTransform3 inverse = ~box.transform;
    float slack = 1e-4f * box.size.x;
    for (auto const& p : points) {
      ZoVector3 local = inverse * p;
      EXPECT_TRUE(std::fabs(local.x) <= box.size.x * 0.5f + slack && std::fabs(local.y) <= box.size.y * 0.5f + slack &&
                  std::fabs(local.z) <= box.size.z * 0.5f + slack);
    }
  }
}

TEST(ZoRectTest, ContainsAndFootprint) {
  ZoRect rect(0, 2, 0, 1);
  EXPECT_EQ(rect.area(), 2.0f);
  for (float x : {0.0f, 1.0f, 2.0f})
    for (float y : {0.0f, 1.0f}) EXPECT_EQ(rect.contains(ZoVector2(x, y)), 1) << x << "," << y;
  EXPECT_EQ(rect.contains(ZoVector2(2.001f, 0.5f)), 0);
  EXPECT_EQ(rect.contains(ZoVector2(1, -0.001f)), 0);

  // The footprint on the ground: x of the rectangle is z, y is x.
  ZoTriangleSet set;
  set.Create(ZoTriSetPolyline, 0, 0, 3, 0);
  set.Vertex(0) = ZoVector3(1, 5, 3);
  set.Vertex(1) = ZoVector3(-2, 100, 4);
  set.Vertex(2) = ZoVector3(0, -100, -1);
  rect.projectTriSet(&set);
  EXPECT_EQ(std::make_tuple(rect.minx(), rect.maxx(), rect.miny(), rect.maxy()), std::make_tuple(-1.0f, 4.0f, -2.0f, 1.0f));
  EXPECT_EQ(rect.area(), 15.0f);

  ZoTriangleSet empty;
  rect.projectTriSet(&empty);
  EXPECT_GT(rect.minx(), rect.maxx());
  EXPECT_EQ(rect.contains(ZoVector2(0, 0)), 0);
}
