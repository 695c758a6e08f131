// Triangle sets: layouts, copies and derived sets, materials, clean-up,
// normals, transforms, merging, and the stream body byte for byte.
#include "ZoGeometryTestSupport.h"

using namespace zogeotest;

namespace {

std::unique_ptr<ZoTriangleSet> OneTriangle(ZoVector3 p, ZoVector3 q, ZoVector3 r, int flags = 0) {
  auto set = std::make_unique<ZoTriangleSet>();
  Build(*set, flags, 3, {p, q, r}, {{0, 1, 2}});
  return set;
}

// Fills the position and every stored attribute of vertex `v` from `f`.
void FillVertex(ZoTriangleSet& set, int v, float f) {
  int const flags = set.GetFlags();
  set.Vertex(v) = ZoVector3(f, 2 * f + 1, -f);
  if (flags & ZoTriSetNormals) set.Normal(v) = ZoVector3(0, f, 1);
  if (flags & ZoTriSetColors) set.Color(v).Set(f, 0.5f, 0.25f, 1);
  for (int j = 0; (flags & ZoTriSetTextures) && j < set.GetNumTexturesPerVertex(); ++j)
    set.TextureVertex(v, j).Set(f, static_cast<float>(j));
}

// Fills every array of a set with distinct values.
void FillDistinct(ZoTriangleSet& set) {
  int nv = set.GetNumVertices(), flags = set.GetFlags();
  for (int v = 0; v < nv; ++v) FillVertex(set, v, static_cast<float>(v));
  for (int i = 0; set.GetType() == ZoTriSetIndexed && i < set.GetNumTriangles(); ++i)
    set.Triangle(i).Set(i % nv, (i + 1) % nv, (i + 2) % nv);
  // Indices are kept whatever the materials: 0, negative, one past the last, 1.
  int16_t const indices[4] = {0, -2, static_cast<int16_t>(set.GetNumMaterials()), 1};
  for (int i = 0; (flags & ZoTriSetMaterialIndices) && i < set.GetNumTriangles(); ++i)
    set.MaterialIndex(i) = indices[i % 4];
}

// The corners of each triangle, with its material index when it has one:
// "0 1 3 m0, 0 3 7 m5".
std::string Corners(ZoTriangleSet const& set) {
  std::string text;
  for (int i = 0; i < set.GetNumTriangles(); ++i) {
    ZoTriangle const& t = set.Triangle(i);
    text += (i > 0 ? ", " : "") + std::to_string(t[0]) + " " + std::to_string(t[1]) + " " + std::to_string(t[2]);
    if (set.HasMaterialIndices()) text += " m" + std::to_string(set.MaterialIndex(i));
  }
  return text;
}

// The body of `set` built by hand from the field table: type and the five
// counts, the positions, by flag the normals, colours and texture pairs
// (vertex-major), the corners of an indexed set, by flag the material
// indices, then the materials.
zotest::Bytes HandBuiltBody(ZoTriangleSet const& set) {
  int const flags = set.GetFlags(), nv = set.GetNumVertices(), nt = set.GetNumTriangles();
  ByteBuilder b;
  b.i32(set.GetType()).i32(flags).i32(nv).i32(nt).i32(set.GetNumTexturesPerVertex()).i32(set.GetNumMaterials());
  auto vector = [&b](ZoVector3 const& v) { b.f32(v.x).f32(v.y).f32(v.z); };
  for (int v = 0; v < nv; ++v) vector(set.Vertex(v));
  for (int v = 0; (flags & ZoTriSetNormals) && v < nv; ++v) vector(set.Normal(v));
  for (int v = 0; (flags & ZoTriSetColors) && v < nv; ++v)
    b.f32(set.Color(v).r).f32(set.Color(v).g).f32(set.Color(v).b).f32(set.Color(v).a);
  for (int v = 0; (flags & ZoTriSetTextures) && v < nv; ++v)
    for (int j = 0; j < set.GetNumTexturesPerVertex(); ++j) b.f32(set.TextureVertex(v, j).u).f32(set.TextureVertex(v, j).v);
  for (int i = 0; set.GetType() == ZoTriSetIndexed && i < nt; ++i)
    b.i32(set.Triangle(i)[0]).i32(set.Triangle(i)[1]).i32(set.Triangle(i)[2]);
  for (int i = 0; (flags & ZoTriSetMaterialIndices) && i < nt; ++i) b.i16(set.MaterialIndex(i));
  for (int m = 0; m < set.GetNumMaterials(); ++m) b.append(Body(set.Material(m)));
  return b;
}

}  // namespace

TEST(ZoTriangleSetLayout, IdsCountAndChange) {
  ZoTriangleSet a, b;
  EXPECT_EQ(b.GetID(), a.GetID() + 1);
  int32_t changed = a.ChangeID();
  EXPECT_EQ(changed, a.GetID());
  EXPECT_GT(changed, b.GetID());
  EXPECT_NE(ZoTriangleSet(a).GetID(), a.GetID());
}

TEST(ZoTriangleSetLayout, CreateFollowsTheType) {
  ZoTriangleSet indexed;
  EXPECT_TRUE(indexed.Create(ZoTriSetIndexed, ZoTriSetNormals | ZoTriSetMaterialIndices, 5, 7, 0));
  EXPECT_EQ(Describe(indexed), "type 0, flags 9, 7 vertices, 5 triangles, 0 textures, 0 materials");
  ASSERT_NE(indexed.GetTriangles(), nullptr);
  EXPECT_EQ(indexed.Triangle(4)[2], 0);  // zero-filled
  EXPECT_EQ(indexed.MaterialIndex(4), 0);

  // Fewer than three vertices: no triangle array, and no triangles to walk.
  EXPECT_TRUE(indexed.Create(ZoTriSetIndexed, 0, 5, 2, 0));
  EXPECT_EQ(indexed.GetTriangles(), nullptr);
  EXPECT_EQ(Describe(indexed), "type 0, flags 0, 2 vertices, 0 triangles, 0 textures, 0 materials");

  for (ZoTriangleSetType sequential : {ZoTriSetSequential1, ZoTriSetSequential2}) {
    ZoTriangleSet strip;
    EXPECT_TRUE(strip.Create(sequential, ZoTriSetMaterialIndices, 4, 99, 0));
    EXPECT_EQ(Describe(strip),
              "type " + std::to_string(sequential) + ", flags 8, 6 vertices, 4 triangles, 0 textures, 0 materials");
    EXPECT_EQ(strip.GetTriangles(), nullptr);
    strip.MaterialIndex(3) = 1;  // material indices exist for its triangles
  }
  ZoTriangleSet line;
  EXPECT_TRUE(line.Create(ZoTriSetPolyline, ZoTriSetTextures, 9, 4, 2));
  EXPECT_EQ(Describe(line), "type 3, flags 2, 4 vertices, 0 triangles, 2 textures, 0 materials");
  line.TextureVertex(3, 1).Set(1, 2);

  // Unknown flag bits are dropped; texture pairs need the texture flag;
  // negative counts count as zero; unknown types are refused. Create keeps
  // the materials and the id.
  ZoTriangleSet odd;
  odd.SetNumMaterials(2);
  odd.Material(1).scalar = 3.0f;
  int32_t id = odd.GetID();
  EXPECT_TRUE(odd.Create(ZoTriSetIndexed, 0x70 | ZoTriSetColors, -3, 4, 3));
  EXPECT_EQ(Describe(odd), "type 0, flags 4, 4 vertices, 0 triangles, 0 textures, 2 materials");
  EXPECT_EQ(odd.Material(1).scalar, 3.0f);
  EXPECT_EQ(odd.GetID(), id);
  EXPECT_FALSE(odd.Create(static_cast<ZoTriangleSetType>(7), 0, 1, 3, 0));
  EXPECT_EQ(odd.GetType(), ZoTriSetUndefined);
}

TEST(ZoTriangleSetLayout, DerivedSetSharesVerticesAndTriangles) {
  auto source = OneTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
  source->SetNumMaterials(1);
  ZoTriangleSet derived;
  EXPECT_FALSE(derived.Create(nullptr, 0, 0));
  EXPECT_FALSE(derived.Create(&derived, 0, 0));
  ASSERT_TRUE(derived.Create(source.get(), ZoTriSetNormals | ZoTriSetMaterialIndices | ZoTriSetTextures, 2));
  EXPECT_EQ(derived.GetSourceSet(), source.get());
  EXPECT_EQ(derived.GetVertices(), source->GetVertices());
  EXPECT_EQ(derived.GetTriangles(), source->GetTriangles());
  // Materials are not taken over.
  EXPECT_EQ(Describe(derived), "type 0, flags 11, 3 vertices, 1 triangles, 2 textures, 0 materials");
  derived.Normal(2) = ZoVector3(0, 0, 1);
  derived.MaterialIndex(0) = 0;
  ZoTriangleSet coloured;  // derived arrays follow the flags asked for
  ASSERT_TRUE(coloured.Create(source.get(), ZoTriSetColors, 0));
  coloured.Color(2).Set(0.5f, 0.25f, 1, 1);
  EXPECT_TRUE(coloured.Color(2) == ZoColor(0.5f, 0.25f, 1, 1));

  // A copy shares the same source and owns copies of the derived arrays.
  ZoTriangleSet copy(derived);
  EXPECT_EQ(copy.GetSourceSet(), source.get());
  EXPECT_EQ(copy.GetVertices(), source->GetVertices());
  EXPECT_NE(&copy.Normal(0), &derived.Normal(0));
  EXPECT_EQ(copy.Normal(2), ZoVector3(0, 0, 1));

  // Operations that would rewrite the shared geometry leave a derived set
  // alone; its own normals can be averaged.
  derived.ApplyScale(ZoVector3(2, 2, 2));
  derived.ApplyTransform(ZoTransform3(ZoVector3(5, 0, 0), ZoRotation3()));
  derived.RemoveUnusedVertices();
  EXPECT_EQ(source->Vertex(1), ZoVector3(1, 0, 0));
  EXPECT_FALSE(derived.Merge(*source, ZoTransform3()));
  EXPECT_TRUE(derived.AssignAverageNormals());
  ExpectNear(derived.Normal(0), ZoVector3(0, 0, 1));

  // Assigning a set derived from the target gives the target arrays of its own.
  *source = derived;
  EXPECT_EQ(source->GetSourceSet(), nullptr);
  EXPECT_EQ(source->Vertex(1), ZoVector3(1, 0, 0));
  EXPECT_TRUE(source->GetFlags() & ZoTriSetNormals);
}

TEST(ZoTriangleSetMaterials, FlagsAndIndicesAgreeAfterSetNumMaterials) {
  ZoTriangleSet set;
  set.Create(ZoTriSetIndexed, ZoTriSetMaterialIndices, 2, 3, 0);
  EXPECT_TRUE(set.SetNumMaterials(3));
  EXPECT_EQ(set.Material(2).flags, 4);  // default materials
  set.Material(2).scalar = 7.0f;
  EXPECT_TRUE(set.SetNumMaterials(3));  // same count: kept
  EXPECT_EQ(set.Material(2).scalar, 7.0f);
  EXPECT_TRUE(set.SetNumMaterials(0));  // no materials: no indices
  EXPECT_EQ(Describe(set), "type 0, flags 0, 3 vertices, 2 triangles, 0 textures, 0 materials");
  EXPECT_TRUE(set.SetNumMaterials(1));  // materials without indices do not grow them
  EXPECT_EQ(Describe(set), "type 0, flags 0, 3 vertices, 2 triangles, 0 textures, 1 materials");
}

TEST(ZoTriangleSetEditing, FindTriangleNormal) {
  auto set = OneTriangle({0, 0, 0}, {2, 0, 0}, {0, 3, 0});
  EXPECT_EQ(set->FindTriangleNormal(0), ZoVector3(0, 0, 1));
  EXPECT_EQ(set->FindTriangleNormal(-1), ZoVector3());
  EXPECT_EQ(set->FindTriangleNormal(1), ZoVector3());
}

TEST(ZoTriangleSetEditing, RemoveDegenerateTriangles) {
  ZoTriangleSet set;
  Build(set, ZoTriSetMaterialIndices, 8,
        {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0.5f, 0, 0}, {1, 0.01f, 0}, {0, 0, 1}},
        {{0, 1, 3},    // good
         {1, 4, 3},    // two coincident corners
         {0, 1, 2},    // on one line, onwards
         {0, 2, 5},    // on one line, turning back
         {0, 2, 6},    // thin but not flat: cosine below 0.99999
         {0, 3, 7}});  // good
  set.SetNumMaterials(6);
  for (int i = 0; i < 6; ++i) set.MaterialIndex(i) = static_cast<int16_t>(i);
  set.RemoveDegenerateTriangles();
  // The survivors in the order the replacement by the last triangle leaves them.
  EXPECT_EQ(Corners(set), "0 1 3 m0, 0 3 7 m5, 0 2 6 m4");

  ZoTriangleSet flat;
  Build(flat, 0, 3, {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, {{0, 1, 2}, {0, 1, 2}, {0, 1, 2}});
  flat.RemoveDegenerateTriangles();
  EXPECT_EQ(flat.GetNumTriangles(), 0);

  ZoTriangleSet strip;  // only indexed sets are cleaned
  strip.Create(ZoTriSetSequential1, 0, 3, 5, 0);
  strip.RemoveDegenerateTriangles();
  EXPECT_EQ(strip.GetNumTriangles(), 3);
}

TEST(ZoTriangleSetEditing, RemoveUnusedVerticesKeepsOrderAndAttributes) {
  ZoTriangleSet set;
  set.Create(ZoTriSetIndexed, ZoTriSetNormals | ZoTriSetColors | ZoTriSetTextures, 1, 8, 2);
  FillDistinct(set);
  set.Triangle(0).Set(7, 2, 5);
  set.RemoveUnusedVertices();
  ZoTriangleSet expected;  // vertices 2, 5 and 7 in their order
  expected.Create(ZoTriSetIndexed, ZoTriSetNormals | ZoTriSetColors | ZoTriSetTextures, 1, 3, 2);
  float const kept[3] = {2, 5, 7};
  for (int v = 0; v < 3; ++v) FillVertex(expected, v, kept[v]);
  expected.Triangle(0).Set(2, 0, 1);
  EXPECT_EQ(zotest::Hex(Body(set)), zotest::Hex(Body(expected)));
  // A corner outside the vertices (a set built by hand) leaves it alone.
  set.Triangle(0).Set(0, 1, 9);
  set.RemoveUnusedVertices();
  EXPECT_EQ(set.GetNumVertices(), 3);
}

TEST(ZoTriangleSetEditing, AssignAverageNormals) {
  // A flat square: every vertex gets the face normal; an unused vertex gets zero.
  ZoTriangleSet square;
  Build(square, 0, 5, {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {9, 9, 9}}, {{0, 1, 2}, {0, 2, 3}});
  ASSERT_TRUE(square.AssignAverageNormals());
  EXPECT_TRUE(square.GetFlags() & ZoTriSetNormals);
  for (int v = 0; v < 4; ++v) ExpectNear(square.Normal(v), ZoVector3(0, 0, 1));
  EXPECT_EQ(square.Normal(4), ZoVector3());

  // A corner of three perpendicular faces, one of which uses it twice:
  // each use counts, so the +z face weighs double.
  ZoTriangleSet corner;
  Build(corner, 0, 5, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0}},
        {{0, 1, 4}, {0, 4, 2}, {0, 3, 1}, {0, 2, 3}});
  ASSERT_TRUE(corner.AssignAverageNormals());
  ExpectNear(corner.Normal(0), ZoVector3(1, 1, 2).unit());

  // Two faces whose normals cancel leave the zero vector.
  ZoTriangleSet folded;
  Build(folded, 0, 3, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 2, 1}});
  ASSERT_TRUE(folded.AssignAverageNormals());
  EXPECT_EQ(folded.Normal(0), ZoVector3());
  EXPECT_FALSE(std::isnan(folded.Normal(1).x));
}

// The moved and scaled positions are left to the skeleton-editing tests.
TEST(ZoTriangleSetEditing, TransformRotatesNormalsAndScaleLeavesThem) {
  auto set = OneTriangle({1, 0, 0}, {0, 1, 0}, {0, 0, 1}, ZoTriSetNormals);
  set->Normal(0) = ZoVector3(1, 0, 0);
  ZoRotation3 const quarter = zotest::About(ZoMath::HALF_PI, ZoVector3(0, 0, 1));
  set->ApplyTransform(ZoTransform3(ZoVector3(0, 0, 5), quarter));
  ExpectNear(set->Normal(0), ZoVector3(0, 1, 0));  // turned, not moved
  set->ApplyScale(ZoVector3(2, 3, -1));
  ExpectNear(set->Normal(0), ZoVector3(0, 1, 0));  // normals untouched
}

TEST(ZoTriangleSetMerge, AppendsPlacedTriangles) {
  auto a = OneTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, ZoTriSetNormals | ZoTriSetMaterialIndices);
  auto b = OneTriangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, ZoTriSetNormals | ZoTriSetMaterialIndices);
  a->SetNumMaterials(1);
  a->MaterialIndex(0) = 5;  // past its materials: kept
  b->SetNumMaterials(2);
  b->MaterialIndex(0) = 2;  // past the other's materials: shifted all the same
  b->Material(1).scalar = 42.0f;
  for (int v = 0; v < 3; ++v) a->Normal(v) = b->Normal(v) = ZoVector3(0, 0, 1);
  ZoRotation3 const turn = zotest::About(ZoMath::HALF_PI, ZoVector3(1, 0, 0));
  int32_t id = a->GetID();
  ASSERT_TRUE(a->Merge(*b, ZoTransform3(ZoVector3(10, 0, 0), turn)));
  EXPECT_EQ(Describe(*a), "type 0, flags 9, 6 vertices, 2 triangles, 0 textures, 3 materials");
  EXPECT_EQ(a->GetID(), id);
  EXPECT_EQ(Corners(*a), "0 1 2 m5, 3 4 5 m3");  // the other's index shifted by the old count
  ExpectNear(a->Vertex(5), ZoVector3(10, 0, 1));
  ExpectNear(a->Normal(4), ZoVector3(0, -1, 0));  // rotated, not translated
  EXPECT_EQ(a->Material(2).scalar, 42.0f);

  // Other layouts are refused; a set merges with itself.
  ZoTriangleSet line;
  line.Create(ZoTriSetPolyline, 0, 0, 2, 0);
  EXPECT_FALSE(a->Merge(line, ZoTransform3()));
  EXPECT_FALSE(line.Merge(*a, ZoTransform3()));
  ASSERT_TRUE(a->Merge(*a, ZoTransform3(ZoVector3(0, 0, 1), ZoRotation3())));
  EXPECT_EQ(a->GetNumTriangles(), 4);
  EXPECT_EQ(a->Vertex(7), ZoVector3(1, 0, 1));
}

TEST(ZoTriangleSetMerge, FillsArraysTheOtherSetLacks) {
  ZoTriangleSet a, oneLayer;
  a.Create(ZoTriSetIndexed, ZoTriSetAllFlags, 1, 3, 2);
  a.SetNumMaterials(1);
  FillDistinct(a);
  auto plain = OneTriangle({0, 0, 0}, {0, 1, 0}, {0, 0, 1});
  plain->SetNumMaterials(1);
  oneLayer.Create(ZoTriSetIndexed, ZoTriSetTextures, 1, 3, 1);
  FillDistinct(oneLayer);
  oneLayer.TextureVertex(2, 0).Set(0.25f, 0.75f);

  ASSERT_TRUE(a.Merge(*plain, ZoTransform3()));
  ASSERT_TRUE(a.Merge(oneLayer, ZoTransform3()));
  ASSERT_EQ(a.GetNumVertices(), 9);
  // Normals averaged from the appended faces, colours white, missing
  // texture layers zero, material index of the other's first material.
  ExpectNear(a.Normal(3), ZoVector3(1, 0, 0));
  EXPECT_TRUE(a.Color(4) == ZoColor(1, 1, 1, 1));
  EXPECT_EQ(a.TextureVertex(5, 0).u, 0.0f);
  EXPECT_EQ(a.TextureVertex(8, 0).u, 0.25f);
  EXPECT_EQ(a.TextureVertex(8, 1).u, 0.0f);
  EXPECT_EQ(Corners(a), "0 1 2 m0, 3 4 5 m1, 6 7 8 m0");  // the last had no materials
}

TEST(ZoTriangleSetStream, EveryLayoutAndFlagCombinationWritesItsFieldsAndReadsBack) {
  for (int type = ZoTriSetIndexed; type <= ZoTriSetUndefined; ++type)
    for (int flags = 0; flags <= ZoTriSetAllFlags; ++flags)
      for (int materials : {0, 3}) {
        SCOPED_TRACE(testing::Message() << "type " << type << ", flags " << flags << ", materials " << materials);
        ZoTriangleSet set;
        ASSERT_TRUE(set.Create(static_cast<ZoTriangleSetType>(type), flags, 4, 6, 2));
        set.SetNumMaterials(materials);
        if (materials > 0) set.Material(1).flags = 1;
        FillDistinct(set);
        zotest::Bytes const expected = HandBuiltBody(set);
        EXPECT_EQ(zotest::Hex(Body(set)), zotest::Hex(expected));
        ZoTriangleSet back;
        uint32_t consumed = 0;
        ASSERT_EQ(ReadBody(back, expected, kZoCurrentVersion, &consumed), ZoStreamOk);
        EXPECT_EQ(consumed, expected.size());
        EXPECT_EQ(Body(back), expected);
        // Copies and assignments (over arrays of its own) are deep;
        // assigning gives a new id.
        ZoTriangleSet copy(set), assigned;
        EXPECT_NE(copy.GetVertices(), set.GetVertices());
        assigned.Create(ZoTriSetPolyline, ZoTriSetColors, 0, 9, 0);
        int32_t const id = assigned.GetID();
        assigned = copy;
        assigned = assigned;  // NOLINT: self-assignment changes nothing
        EXPECT_NE(assigned.GetID(), id);
        EXPECT_EQ(Body(assigned), expected);
      }
  // A polyline writes no triangle block; a default set its type and five zeros.
  ZoTriangleSet line;
  line.Create(ZoTriSetPolyline, 0, 0, 1, 0);
  line.Vertex(0) = ZoVector3(1, 2, 3);
  EXPECT_EQ(Body(line), ByteBuilder().i32(3).i32(0).i32(1).i32(0).i32(0).i32(0).f32(1).f32(2).f32(3).get());
  EXPECT_EQ(Body(ZoTriangleSet()), ByteBuilder().i32(4).i32(0).i32(0).i32(0).i32(0).i32(0).get());
}
