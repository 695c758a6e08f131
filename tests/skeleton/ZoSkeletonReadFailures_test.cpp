// Bad input for the node and joint-limit readers, current and older layout:
// each read fails with the offset and reason it keeps, and a node whose read
// failed keeps nothing of what failed. Under the sanitizers these also show
// that nothing leaks or overruns.
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "ZoSkeletonTestSupport.h"

#include <array>
#include <cstring>

using namespace zoskeletontest;

namespace {

// A current body of a node without children whose child count (its last
// int32) is `count`.
Bytes WithChildCount(int32_t count) { return ByteBuilder().append(zotest::Cut(Body(ZoProtoNode()), 4)).i32(count); }

// A current body with `frame` as its framed joint limit.
Bytes WithLimit(Bytes const& frame) {
  ByteBuilder b;
  return AddTransform(b.str(""), ZoTransform3()).i32(0).i32(1).append(frame).i32(0).append(Body(ZoPropertyTable()))
      .i32(7).i32(1).f32(1).i32(0);
}

using OlderTriangle = std::array<int16_t, 4>;  // three corners and a material

// Older geometry as version 41 stores it: `materials` older material
// records, `vertices` vertices of eight floats, then the triangles.
Bytes OlderGeometry(int32_t materials, int32_t vertices, std::vector<OlderTriangle> const& triangles) {
  ByteBuilder b;
  b.i32(materials);
  for (int32_t m = 0; m < materials; ++m) {
    b.str("NoTexture").str("NoMask").f32(0.25f).f32(0.5f).f32(0.75f).f32(9).f32(9).f32(9);
    b.i32(1).i32(2).i32(3).f32(12.0f).f32(0.5f).i32(0).i32(0).str("");
  }
  b.i32(vertices);
  for (int32_t v = 0; v < vertices; ++v)
    b.f32(static_cast<float>(v & 1)).f32(static_cast<float>(v >> 1)).f32(0).f32(0).f32(0).f32(1).f32(0).f32(0);
  b.i32(static_cast<int32_t>(triangles.size()));
  for (OlderTriangle const& t : triangles) b.i16(t[0]).i16(t[1]).i16(t[2]).i16(t[3]);
  return b;
}

// An older node body at version 41: model format `format` followed by
// `geometry`, no limit, sphere or property, style 9, `children` children.
Bytes Older(int32_t format, Bytes const& geometry, int32_t children = 0) {
  ByteBuilder b;
  return AddTransform(b.str("n"), ZoTransform3()).i32(format).append(geometry).i32(0).i32(0).i32(0).i32(9).i32(-123)
      .i32(children);
}

// A chain of `depth` nodes, each the only child of the one before, in the
// current layout or the older one of version 41. Children come last in
// both, so the chain is the heads one after another.
Bytes Chain(int depth, bool older) {
  Bytes head = older ? zotest::Cut(Older(0, {}), 4) : zotest::Cut(WithChildCount(0), 4);
  ByteBuilder b;
  for (int i = 0; i < depth; ++i) b.append(head).i32(i + 1 < depth ? 1 : 0);
  return b;
}

std::vector<OlderTriangle> const kQuad = {{0, 1, 2, 0}, {0, 2, 3, 0}};

TEST(ZoSkeletonReadFailures, EachBadBodyNamesWhereAndWhyAndKeepsNothing) {
  ZoReadLimits::SetMaxDepth(64);
  ZoSpline spline;
  int64_t const plainSize = static_cast<int64_t>(Body(ZoProtoNode()).size());
  int64_t const limitAt = 4 + 28 + 4 + 4;  // name, transform, model format, limit flag
  int64_t const olderGeometryAt = 5 + 28 + 4;
  int64_t const material = 4 + 9 + 4 + 6 + 6 * 4 + 3 * 4 + 3 * 4 + 4 + 4;  // one older material record
  Bytes deepTree = OlderGeometry(1, 4, kQuad);
  for (int i = 0; i < 3000; ++i) deepTree = ByteBuilder().append(deepTree).chars("NpSM").f32(0).f32(0).f32(0).f32(1).i32(0).i32(1);
  ByteBuilder spheres;
  AddTransform(spheres.str(""), ZoTransform3()).i32(0).i32(0).i32(0x10000000).append(Bytes(64, 0));
  int32_t const nodeType = ZoTypeCode::ProtoNode;
  int64_t const olderVertices = olderGeometryAt + 4 + material + 4;  // past the vertex count
  zotest::BadInput const cases[] = {
      {"cut in the child count", zotest::Cut(Body(ZoProtoNode()), 2), nodeType, ZoStreamReadError, plainSize - 4,
       "4 bytes wanted, 2 left"},
      {"huge child count", WithChildCount(0x7FFFFFFF), nodeType, ZoStreamReadError, plainSize - 4, "count 2147483647"},
      {"huge sphere count", spheres, nodeType, ZoStreamReadError, limitAt, "count 268435456 of 20-byte"},
      {"a spline as the limit", WithLimit(zotest::Framed(&spline)), nodeType, ZoStreamFormatError,
       limitAt + static_cast<int64_t>(zotest::Framed(&spline).size()), "type code 0x53706C69 where another class"},
      {"children past the cap", Chain(5000, false), nodeType, ZoStreamFormatError, 64 * plainSize,
       "nesting deeper than 64"},
      {"older children past the cap", Chain(5000, true), nodeType, ZoStreamFormatError,
       64 * static_cast<int64_t>(Older(0, {}).size()), "nesting deeper than 64", 41},
      {"older tree past the cap", Older(2, deepTree), nodeType, ZoStreamFormatError,  // the node is a level
       olderGeometryAt + static_cast<int64_t>(OlderGeometry(1, 4, kQuad).size()) + 63 * 28, "nesting deeper than 64", 41},
      {"huge older material count", Older(3, ByteBuilder().i32(0x7FFFFFFF)), nodeType, ZoStreamReadError, olderGeometryAt,
       "count 2147483647", 41},
      {"huge older vertex count", Older(3, ByteBuilder().append(zotest::Cut(OlderGeometry(1, 0, {}), 8)).i32(0x40000000)),
       nodeType, ZoStreamReadError, olderVertices - 4, "count 1073741824", 41},
      {"older corner past the vertices", Older(1, OlderGeometry(1, 4, {{0, 1, 4, 0}})), nodeType, ZoStreamFormatError,
       olderVertices + 4 * 32 + 4 + 8, "corner index 4 outside the 4 vertices", 41},
      {"older negative corner", Older(3, OlderGeometry(1, 4, {{0, -1, 2, 0}})), nodeType, ZoStreamFormatError,
       olderVertices + 4 * 32 + 4 + 8, "corner index -1 outside", 41},
      {"older triangles on two vertices", Older(3, OlderGeometry(1, 2, {{0, 1, 0, 0}})), nodeType, ZoStreamFormatError,
       olderVertices + 2 * 32 + 4 + 8, "1 triangles on 2 vertices", 41},
  };
  for (zotest::BadInput const& c : cases) {
    SCOPED_TRACE(c.name);
    std::unique_ptr<ZoStreamObject> read = zotest::ExpectRefused(c);
    auto const* n = static_cast<ZoProtoNode const*>(read.get());
    ASSERT_NE(n, nullptr);
    EXPECT_EQ(std::make_tuple(n->firstChild() != nullptr, n->ColModel() != nullptr, n->JointLimit() != nullptr,
                              n->ColSpheres().GetCount()),
              std::make_tuple(false, false, false, 0));
  }
  ZoReadLimits::Reset();

  // Well formed beside these: a negative child count reads as none, and a
  // limit flag followed by no object as no limit.
  ZoProtoNode negative, none;
  EXPECT_EQ(std::make_pair(ReadBody(negative, WithChildCount(-5)), ReadBody(none, WithLimit(Framed(nullptr)))),
            std::make_pair(ZoStreamOk, ZoStreamOk));
  EXPECT_EQ(std::make_pair(negative.firstChild(), none.JointLimit()),
            std::make_pair(static_cast<ZoTreeNode*>(nullptr), static_cast<ZoJLimit*>(nullptr)));

  // Older material indices outside the materials are kept, as a triangle set
  // keeps them: past the materials, negative, or with no materials at all.
  std::tuple<char const*, int16_t, int32_t> const kept[] = {
      {"past the materials", 1, 1}, {"negative", -1, 1}, {"no materials", 0, 0}};
  for (auto const& [what, index, materials] : kept) {
    SCOPED_TRACE(what);
    ZoProtoNode node;
    ASSERT_EQ(ReadBody(node, Older(3, OlderGeometry(materials, 4, {{0, 1, 2, index}})), 41), ZoStreamOk);
    ZoTriangleSet const* set = node.ColModel()->GetTriangleSet();
    EXPECT_EQ(std::make_tuple(set->GetNumMaterials(), set->MaterialIndex(0)), std::make_tuple(materials, index));
  }
}

TEST(ZoSkeletonReadFailures, JointLimitsCutShortAndEveryPrefixOfEveryKind) {
  for (int32_t type : {ZoTypeCode::JLHinge, ZoTypeCode::JLEuler, ZoTypeCode::JLLinear, ZoTypeCode::JLTranslate}) {
    Bytes body = Body(*std::unique_ptr<ZoStreamObject>(ZoStream::CreateObject(type)));
    for (size_t length = 0; length < body.size(); ++length) {
      std::unique_ptr<ZoStreamObject> target(ZoStream::CreateObject(type));
      Reader reader(Bytes(body.begin(), body.begin() + static_cast<long>(length)));
      *reader >> *target;
      ASSERT_EQ(reader->Status(), ZoStreamReadError) << type << " cut at " << length;
      EXPECT_LE(reader->FailureOffset(), static_cast<int64_t>(length));  // where the cut field began
      EXPECT_NE(std::strstr(reader->FailureReason(), "bytes wanted"), nullptr) << reader->FailureReason();
    }
  }
}

TEST(ZoSkeletonReadFailures, TrianglesOnOneVertexTwiceAreDroppedBeforeTheTreeIsBuilt) {
  // With an infinite coordinate the zero-length edge does not show; the set
  // must still come out readable.
  auto* set = new ZoTriangleSet;
  ASSERT_TRUE(set->Create(ZoTriSetIndexed, ZoTriSetNormals, 1, 3, 0));
  set->Vertex(0) = ZoVector3(1, INFINITY, 0);
  set->Vertex(1) = ZoVector3(0, 1, 0);
  set->Vertex(2) = ZoVector3(1, 1, 0);
  set->Triangle(0).Set(0, 0, 1);
  ZoProtoNode node;
  node.SetColModel(set);
  node.SetModelFormat(3);
  EXPECT_EQ(node.ColModel()->GetTriangleSet()->GetNumTriangles(), 0);
  EXPECT_EQ(Rewritten(Body(node)), Body(node));
}

}  // namespace
