// Primitive shapes: counts, segment defaults and clamps, flags and texture
// layers, outward-facing triangles and normals, and the updatable curves.
#include "ZoGeometryTestSupport.h"

#include <zoactor/geometry/ZoTriShapes.h>

#include <set>

using namespace zogeotest;

namespace {

ZoMaterial TexturedMaterial(int textures) {
  ZoMaterial material;
  material.numTextures = textures;
  material.scalar = 3.5f;
  return material;
}

// "V/T": the numbers of vertices and triangles of a set, or as given.
std::string Counts(int vertices, int triangles) { return std::to_string(vertices) + "/" + std::to_string(triangles); }
std::string Counts(ZoTriangleSet const& set) { return Counts(set.GetNumVertices(), set.GetNumTriangles()); }

ZoVector3 FaceNormal(ZoTriangleSet const& set, int i) {
  ZoTriangle const& t = set.Triangle(i);
  return (set.Vertex(t[1]) - set.Vertex(t[0])).cross(set.Vertex(t[2]) - set.Vertex(t[0]));
}

ZoVector3 Centroid(ZoTriangleSet const& set, int i) {
  ZoTriangle const& t = set.Triangle(i);
  return (set.Vertex(t[0]) + set.Vertex(t[1]) + set.Vertex(t[2])) / 3.0f;
}

// Every triangle of a convex solid around the origin faces away from it.
void ExpectFacesOut(ZoTriangleSet const& set) {
  ASSERT_GT(set.GetNumTriangles(), 0);
  for (int i = 0; i < set.GetNumTriangles(); ++i) {
    ZoVector3 n = FaceNormal(set, i);
    EXPECT_GT(n.length(), 0.0f) << "triangle " << i << " is degenerate";
    EXPECT_GT(n.unit().dot(Centroid(set, i).unit()), 0.0f) << "triangle " << i << " faces inwards";
  }
}

// A closed surface: every edge runs once each way.
void ExpectClosed(ZoTriangleSet const& set) {
  std::set<std::pair<int, int>> edges;
  for (int i = 0; i < set.GetNumTriangles(); ++i)
    for (int c = 0; c < 3; ++c)
      EXPECT_TRUE(edges.insert({set.Triangle(i)[c], set.Triangle(i)[(c + 1) % 3]}).second) << "triangle " << i;
  for (auto const& e : edges) EXPECT_EQ(edges.count({e.second, e.first}), 1u) << e.first << "-" << e.second;
}

}  // namespace

TEST(ZoTriShapesCounts, SphereSegmentsAndClamps) {
  ZoMaterial material;
  struct Case {
    int segments, vertices, triangles;
  } const cases[] = {{-1, 62, 120}, {4, 6, 8}, {5, 7, 10}, {0, 6, 8}, {3, 6, 8}, {-7, 6, 8}, {101, 4902, 9800}};
  for (auto const& c : cases) {
    SCOPED_TRACE(c.segments);
    ZoTriSphere sphere(material, 2.0f, c.segments);
    EXPECT_EQ(Counts(sphere), Counts(c.vertices, c.triangles));
    EXPECT_EQ(sphere.GetType(), ZoTriSetIndexed);
    for (int v = 0; v < sphere.GetNumVertices(); ++v) {
      EXPECT_NEAR(sphere.Vertex(v).length(), 2.0f, 1e-5f);
      EXPECT_GT(sphere.Normal(v).dot(sphere.Vertex(v)), 0.0f);
    }
    ExpectFacesOut(sphere);
    ExpectClosed(sphere);
  }
  EXPECT_EQ(Points(ZoTriSphere(material, 1.0f, 12), {0, 61}), "0 -1 0, 0 1 0");  // the poles
}

TEST(ZoTriShapesCounts, RoundShapesDefaultsAndMinimums) {
  ZoMaterial material;
  for (int segments : {-1, 0, 1, 2, 3, 500}) {
    int s = segments == -1 ? 12 : (segments < 3 ? 3 : segments);
    SCOPED_TRACE(segments);
    ZoTriCone cone(material, 1.0f, 2.0f, segments);
    EXPECT_EQ(Counts(cone), Counts(s + 2, 2 * s));
    ExpectFacesOut(cone);
    ZoTriCylinder cylinder(material, 1.0f, 2.0f, segments);
    EXPECT_EQ(Counts(cylinder), Counts(2 * s + 2, 4 * s));
    ExpectFacesOut(cylinder);
    EXPECT_EQ(Counts(ZoTriRing(material, 1.0f, 2.0f, 0.5f, segments)), Counts(4 * s, 8 * s));
    ZoTriCircle circle(material, 3.0f, segments);
    EXPECT_EQ(Counts(circle), Counts(s + 1, 0));
    EXPECT_EQ(circle.GetType(), ZoTriSetPolyline);
    EXPECT_EQ(circle.Vertex(s), circle.Vertex(0));
    EXPECT_NEAR(circle.Vertex(1).length(), 3.0f, 1e-5f);
  }
  // A cone of no height is built 0.001 high.
  for (float height : {0.0f, -4.0f}) {
    ZoTriCone flat(material, 1.0f, height, 5);
    EXPECT_FLOAT_EQ(flat.Vertex(5).y, 0.0005f);
    EXPECT_FLOAT_EQ(flat.Vertex(6).y, -0.0005f);
    ExpectFacesOut(flat);
  }
}

TEST(ZoTriShapesCounts, CurvesAndLines) {
  ZoMaterial material;
  ZoVector3 const control[4] = {{0, 0, 0}, {1, 2, 0}, {3, 2, 0}, {4, 0, 1}};
  EXPECT_EQ(ZoTriBezier(material, control, -1).GetNumVertices(), 11);
  ZoTriBezier ends(material, control, 0);
  EXPECT_EQ(Counts(ends) + ": " + Points(ends, {0, 1}), "2/0: 0 0 0, 4 0 1");
  ZoTriBezier textured(TexturedMaterial(1), control, 4);  // u runs from 0 to 1 along the curve
  EXPECT_EQ(textured.TextureVertex(2, 0).u, 0.5f);
  EXPECT_EQ(textured.TextureVertex(4, 0).u, 1.0f);
  ZoTriBezier curve(material, control, 4);
  ZoVector3 half;
  half.interpolate(control[0], control[1], control[2], control[3], 0.5f);
  EXPECT_EQ(curve.Vertex(2), half);
  ZoVector3 const moved[4] = {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {2, 2, 2}};
  curve.Update(moved);
  EXPECT_EQ(Counts(curve) + ": " + Points(curve, {0, 4}), "5/0: 1 1 1, 2 2 2");

  ZoTriLine line(material, ZoVector3(1, 2, 3), ZoVector3(4, 5, 6));
  EXPECT_EQ(line.GetType(), ZoTriSetPolyline);
  EXPECT_EQ(Points(line, {0, 1}), "1 2 3, 4 5 6");
  line.Update(ZoVector3(), ZoVector3(0, 9, 0));
  EXPECT_EQ(Points(line, {0, 1}), "0 0 0, 0 9 0");
}

TEST(ZoTriShapesSurfaces, SquareAndCube) {
  ZoTriSquare square(TexturedMaterial(0), 4.0f, 2.0f);
  ASSERT_EQ(Describe(square), "type 0, flags 11, 4 vertices, 2 triangles, 1 textures, 1 materials");
  EXPECT_EQ(Points(square, {0, 2}), "-2 -1 0, 2 1 0");
  EXPECT_EQ(square.TextureVertex(0, 0).v, 1.0f);
  EXPECT_EQ(square.TextureVertex(2, 0).u, 1.0f);
  EXPECT_EQ(square.TextureVertex(3, 0).u, 0.0f);
  for (int i = 0; i < 2; ++i) EXPECT_GT(FaceNormal(square, i).z, 0.0f);
  for (int v = 0; v < 4; ++v) EXPECT_EQ(square.Normal(v), ZoVector3(0, 0, 1));

  ZoTriCube cube(TexturedMaterial(2), ZoVector3(2, 4, 6));
  ASSERT_EQ(Describe(cube), "type 0, flags 11, 8 vertices, 12 triangles, 2 textures, 1 materials");
  ZoVector3 lo, hi;
  cube.FindBoundingBox(lo, hi);
  EXPECT_EQ(lo, ZoVector3(-1, -2, -3));
  EXPECT_EQ(hi, ZoVector3(1, 2, 3));
  ExpectFacesOut(cube);
  for (int i = 0; i < 12; ++i) {  // every face has one of the six axis normals
    ZoVector3 n = FaceNormal(cube, i).unit();
    EXPECT_NEAR(std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z), 1.0f, 1e-6f);
  }
  EXPECT_EQ(cube.TextureVertex(4, 1).u, 1.0f);
  EXPECT_EQ(cube.TextureVertex(4, 1).v, 1.0f);
  EXPECT_EQ(cube.TextureVertex(7, 0).u, 1.0f);
  EXPECT_EQ(cube.TextureVertex(7, 0).v, 0.0f);
  EXPECT_EQ(cube.Normal(6), ZoVector3(0, 1, 0));
}

TEST(ZoTriShapesSurfaces, RingFacesOutOfItsTube) {
  ZoTriRing ring(ZoMaterial(), 1.0f, 2.0f, 0.5f, 7);
  for (int i = 0; i < ring.GetNumTriangles(); ++i) {
    ZoVector3 n = FaceNormal(ring, i).unit(), c = Centroid(ring, i);
    float outwards = n.dot(ZoVector3(c.x, 0, c.z).unit());
    switch (i % 8) {
      case 0: case 1: EXPECT_GT(n.y, 0.99f) << "top " << i; break;
      case 2: case 3: EXPECT_LT(outwards, -0.9f) << "inner wall " << i; break;
      case 4: case 5: EXPECT_LT(n.y, -0.99f) << "bottom " << i; break;
      default: EXPECT_GT(outwards, 0.9f) << "outer wall " << i; break;
    }
  }
  EXPECT_EQ(ring.Normal(1).y, 0.0f);
  EXPECT_LT(ring.Normal(1).x, 0.0f);  // the inner wall's normal points to the axis
}

TEST(ZoTriShapesMaterials, FlagsTexturesAndTheMaterial) {
  ZoMaterial plain = TexturedMaterial(0), two = TexturedMaterial(2);
  ZoTriCylinder bare(plain, 1, 1, 4), textured(two, 1, 1, 4);
  EXPECT_EQ(Describe(bare), "type 0, flags 9, 10 vertices, 16 triangles, 0 textures, 1 materials");
  ASSERT_EQ(Describe(textured), "type 0, flags 11, 10 vertices, 16 triangles, 2 textures, 1 materials");
  // Both layers wrap once around the axis, bottom at v 1, top at v 0.
  EXPECT_EQ(textured.TextureVertex(1, 1).u, 0.25f);
  EXPECT_EQ(textured.TextureVertex(1, 0).v, 1.0f);
  EXPECT_EQ(textured.TextureVertex(5, 1).v, 0.0f);
  EXPECT_EQ(ZoTriCircle(two, 1, 4).GetFlags(), 10);
  EXPECT_EQ(ZoTriLine(plain, ZoVector3(), ZoVector3(1, 0, 0)).GetFlags(), 8);

  EXPECT_EQ(Body(textured.Material(0)), Body(two));  // a copy of the material given
  for (int i = 0; i < textured.GetNumTriangles(); ++i) EXPECT_EQ(textured.MaterialIndex(i), 0);
}
