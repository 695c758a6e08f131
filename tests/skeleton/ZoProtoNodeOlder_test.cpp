// The older proto-node layout (versions below 100), built by hand byte by
// byte from its field lists: every version threshold of the node and its
// style records, older geometry and collision-tree records, the UV flip,
// older children, and older nodes written back in the current layout.
#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "ZoSkeletonTestSupport.h"
#include "ZoOlderLayout.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

using namespace zoactortest;
using namespace zoolderlayout;

namespace {

std::unique_ptr<ZoProtoNode> ReadOlder(Bytes const& bytes, int32_t version, ZoStreamError expected = ZoStreamOk) {
  auto node = std::make_unique<ZoProtoNode>();
  EXPECT_EQ(ReadBody(*node, bytes, version), expected) << "version " << version;
  return node;
}

TEST(ZoProtoNodeOlder, GeometryNodesAtEveryThreshold) {
  for (int32_t version : {24, 25, 26, 27, 28, 30, 31, 32, 33, 34, 35, 36, 40, 44, 45, 99}) {
    OlderNode older;
    older.name = "Spine";
    older.home = ZoTransform3(ZoVector3(1, 2, 3), ZoRotation3(0, 0, 2, 0));
    older.withLimit = true;
    older.record = OlderGeomRecord;
    std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(version), version);
    SCOPED_TRACE(version);

    EXPECT_STREQ(node->Name().c_str(), "Spine");
    EXPECT_EQ(node->HomeTransform(), ZoTransform3(ZoVector3(1, 2, 3), ZoRotation3(0, 0, 1, 0)));
    EXPECT_EQ(node->GetModelFormat(), 0);
    EXPECT_EQ(node->ColModel(), nullptr);
    ASSERT_NE(node->JointLimit(), nullptr);
    ZoRotation3 lo, hi;
    int arc = -1;
    static_cast<ZoJLHinge*>(node->JointLimit())->GetValue(lo, hi, arc);
    EXPECT_EQ(arc, version >= 27 ? 1 : 0);

    ASSERT_EQ(node->ColSpheres().GetCount(), 1);
    ZoColSphere const& sphere = node->ColSpheres()[0];
    EXPECT_EQ(sphere.center, ZoVector3(1, 2, 3));
    EXPECT_EQ(sphere.radius, 0.5f);
    EXPECT_EQ(sphere.word4, version >= 26 ? 99u : 0u);

    EXPECT_EQ(node->Properties().GetCount(), version >= 31 ? 1 : 0);

    ZoProtoGeomInfo const* g = node->GeomInfo();
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->squareKind, version >= 28 ? 1 : 0);
    EXPECT_EQ(g->width, version >= 28 ? 0.5f : 0.0f);
    EXPECT_EQ(g->height, version >= 28 ? 0.25f : 0.0f);
    EXPECT_EQ(g->material.color2.r, version >= 28 ? 0.25f : 0.5f);  // older record, or the default
    EXPECT_EQ(g->geomInt0, version >= 32 ? 11 : 0);
    EXPECT_EQ(g->geomInt1, version >= 35 ? 21 : 0);
    EXPECT_EQ(g->geomInt2, version >= 35 ? 22 : 32);
    EXPECT_EQ(g->geomInt3, version >= 35 ? 23 : 32);
    EXPECT_EQ(node->IsUVNormalized(), 1);
    EXPECT_EQ(node->Stiffness(), 1.0f);

    // Written back in the current layout, which reads back the same.
    Bytes current = Body(*node);
    ZoProtoNode again;
    ASSERT_EQ(ReadBody(again, current), ZoStreamOk);
    EXPECT_EQ(Body(again), current);
  }
}

TEST(ZoProtoNodeOlder, FloorRecordsGrowAndHandleKindsSwapBelow33) {
  struct FloorCase {
    int32_t version;
    int words;
  } const floors[] = {{24, 0}, {25, 1}, {29, 1}, {30, 2}, {60, 2}};
  for (FloorCase const& c : floors) {
    SCOPED_TRACE(c.version);
    OlderNode older;
    older.style = 3;
    older.record = [&](ByteBuilder& b, int32_t) {
      if (c.words >= 1) b.i32(41);
      if (c.words >= 2) b.u32(0xF00Du);
    };
    std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(c.version), c.version);
    ASSERT_NE(node->FloorInfo(), nullptr);
    EXPECT_EQ(node->FloorInfo()->floorWord0, c.words >= 1 ? 41 : 0);
    EXPECT_EQ(node->FloorInfo()->floorWord1, c.words >= 2 ? 0xF00Du : 0u);
  }

  struct HandleCase {
    int32_t version, stored, read;
  } const handles[] = {{32, 1, 2}, {32, 2, 1}, {32, 3, 3}, {32, 4, 4}, {33, 1, 1}, {33, 2, 2}};
  for (HandleCase const& c : handles) {
    SCOPED_TRACE(testing::Message() << c.version << " " << c.stored);
    OlderNode older;
    older.style = 2;
    older.record = [&](ByteBuilder& b, int32_t) { b.i32(c.stored).f32(0.1f).f32(0.3f).u32(77); };
    std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(c.version), c.version);
    ASSERT_NE(node->HandleInfo(), nullptr);
    EXPECT_EQ(node->HandleInfo()->handleKind, c.read);
    EXPECT_EQ(node->HandleInfo()->radius, 0.1f);
    EXPECT_EQ(node->HandleInfo()->length, 0.3f);
    EXPECT_EQ(node->HandleInfo()->handleWord3, 77u);
    EXPECT_EQ(node->ColModel(), nullptr);  // a handle's marker is not made by reading
  }
}

TEST(ZoProtoNodeOlder, GeometryRecordsModelFormatsAndTheUVFlip) {
  // Format 1 means 3 below version 40; 43 adds 24 trailing bytes; from 45
  // a UV flag of 0 flips the first texture pair.
  struct Case {
    int32_t version, format, expectedFormat;
    bool tree;
    int32_t flag;
    bool flipped;
  } const cases[] = {{39, 1, 3, true, 1, false},  {40, 1, 1, false, 1, false}, {42, 3, 3, true, 1, false},
                     {43, 3, 3, true, 1, false},  {43, 1, 1, false, 1, false}, {44, 3, 3, true, 0, false},
                     {45, 3, 3, true, 0, true},   {45, 3, 3, true, 1, false},  {99, 3, 3, true, 0, true}};
  for (Case const& c : cases) {
    SCOPED_TRACE(testing::Message() << c.version << " format " << c.format << " flag " << c.flag);
    OlderNode older;
    older.format = c.format;
    older.geometry = [](ByteBuilder& b, int32_t v) { OlderGeometry(b, v, 2, QuadVertices(), QuadTriangles()); };
    older.uvFlag = c.flag;
    std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(c.version), c.version);
    EXPECT_EQ(node->GetModelFormat(), c.expectedFormat);
    EXPECT_EQ(node->IsUVNormalized(), c.version >= 45 ? c.flag : 1);
    ASSERT_NE(node->ColModel(), nullptr);
    EXPECT_EQ(node->ColModel()->GetRoot() != nullptr, c.tree);
    ZoTriangleSet const* set = node->ColModel()->GetTriangleSet();
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->GetType(), ZoTriSetIndexed);
    EXPECT_EQ(set->GetFlags(), 11);
    EXPECT_EQ(set->GetNumVertices(), 4);
    EXPECT_EQ(set->GetNumTriangles(), 2);
    EXPECT_EQ(set->GetNumTexturesPerVertex(), 1);
    ASSERT_EQ(set->GetNumMaterials(), 2);
    EXPECT_EQ(set->Material(1).color2.r, 0.2f);
    std::vector<OlderVertex> stored = QuadVertices();
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(set->Normal(i), ZoVector3(0, 0, 1)) << i;  // replaced by averaged ones
      OlderVertex const& v = stored[static_cast<size_t>(i)];
      EXPECT_EQ(set->TextureVertex(i, 0).u, v.u);
      EXPECT_EQ(set->TextureVertex(i, 0).v, c.flipped ? 1.0f - v.v : v.v);
    }
    // Each triangle kept its material index.
    for (int t = 0; t < 2; ++t) {
      ZoTriangle const& tri = set->Triangle(t);
      bool second = tri[0] == 0 && tri[1] == 2 && tri[2] == 3;
      EXPECT_EQ(set->MaterialIndex(t), second ? 1 : 0);
    }
  }
}

TEST(ZoProtoNodeOlder, OlderCollisionTreesAreReadAndDropped) {
  for (int32_t version : {30, 41, 47}) {
    OlderNode older;
    older.format = 2;
    older.geometry = [](ByteBuilder& b, int32_t v) {
      OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}, {0, 2, 3, 0}});
      OlderTree(b);
    };
    std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(version), version);
    EXPECT_EQ(node->GetModelFormat(), 2);
    ASSERT_NE(node->ColModel(), nullptr);
    EXPECT_NE(node->ColModel()->GetRoot(), nullptr) << version;  // rebuilt from the set
    EXPECT_EQ(node->ColModel()->GetNumLeaves(), 2);
  }
  // A record of another tag ends at once; then the string.
  OlderNode older;
  older.format = 2;
  older.geometry = [](ByteBuilder& b, int32_t v) {
    OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}});
    b.i32(0).str("");
  };
  std::unique_ptr<ZoProtoNode> node = ReadOlder(older.Encode(41), 41);
  EXPECT_NE(node->ColModel(), nullptr);
}

TEST(ZoProtoNodeOlder, CameraLightAndSplineRecords) {
  // A camera of version 48 has its four fields; an older one drops 8 bytes.
  OlderNode camera;
  camera.style = 4;
  camera.record = [](ByteBuilder& b, int32_t v) {
    if (v >= 47)
      b.i32(0).f32(0.8f).f32(0.5f).f32(50.0f);
    else
      b.i32(0).i32(0);
  };
  std::unique_ptr<ZoProtoNode> node = ReadOlder(camera.Encode(48), 48);
  ASSERT_NE(node->CameraInfo(), nullptr);
  EXPECT_EQ(node->CameraInfo()->kind, 1);
  EXPECT_EQ(node->CameraInfo()->angle, 0.8f);
  EXPECT_EQ(node->CameraInfo()->farPlane, 50.0f);
  EXPECT_EQ(node->ColModel(), nullptr);
  node = ReadOlder(camera.Encode(40), 40);
  EXPECT_EQ(node->CameraInfo()->angle, 1.0f);

  // A light gets its marker, in its colour, which the UV flag leaves alone.
  OlderNode light;
  light.style = 5;
  light.uvFlag = 0;
  light.record = [](ByteBuilder& b, int32_t) { b.i32(0).f32(0.5f).i32(0).f32(0.2f).f32(0.4f).f32(0.6f); };
  node = ReadOlder(light.Encode(43), 43);  // a 24-byte record at 43
  ASSERT_NE(node->LightInfo(), nullptr);
  ZoColor const& c = node->LightInfo()->color2;
  EXPECT_EQ(c.r, 0.2f);
  EXPECT_EQ(c.b, 0.6f);
  ASSERT_NE(node->ColModel(), nullptr);
  EXPECT_NE(node->ColModel()->GetRoot(), nullptr);
  ZoColor const& marker = node->ColModel()->GetTriangleSet()->Material(0).color2;
  EXPECT_EQ(marker.g, 0.4f);
  EXPECT_EQ(marker.a, 0.6f);
  EXPECT_EQ(node->GetModelFormat(), 0);
  // Written back with model format 0: the marker is not stored.
  ZoProtoNode again;
  ASSERT_EQ(ReadBody(again, Body(*node)), ZoStreamOk);
  EXPECT_EQ(again.ColModel(), nullptr);

  // A spline node stores its spline's body.
  ZoSpline spline;
  spline.SetLinear(ZoTransform3(), ZoTransform3(ZoVector3(0, 0, 3), ZoRotation3()), 500);
  OlderNode path;
  path.style = 6;
  path.record = [&](ByteBuilder& b, int32_t) { b.append(Body(spline)); };
  node = ReadOlder(path.Encode(41), 41);
  ASSERT_NE(node->SplineInfo(), nullptr);
  EXPECT_EQ(node->SplineInfo()->NumControlPoints(), 2);
  EXPECT_EQ(node->SplineInfo()->LengthInTime(), 500u);

  // Other styles carry no record.
  OlderNode odd;
  odd.style = 9;
  odd.record = nullptr;
  node = ReadOlder(odd.Encode(41), 41);
  EXPECT_EQ(node->Style(), 9);
  EXPECT_EQ(node->GeomInfo(), nullptr);
}

TEST(ZoProtoNodeOlder, ChildrenNestInTheSameLayoutAndWriteBackCurrent) {
  for (int32_t version : {24, 32, 43, 45, 47, 99}) {
    SCOPED_TRACE(version);
    std::unique_ptr<ZoProtoNode> node = ReadOlder(OlderSkeleton().Encode(version), version);
    ZoProtoTraversal all(node.get(), 0);
    ASSERT_EQ(all.NumNodes(), 4);
    EXPECT_STREQ(all.Node(1)->Name().c_str(), "arm");
    EXPECT_STREQ(all.Node(2)->Name().c_str(), "hand");
    EXPECT_STREQ(all.Node(3)->Name().c_str(), "lamp");
    EXPECT_EQ(all.Node(2)->HandleInfo()->handleKind, version < 33 ? 2 : 1);
    EXPECT_EQ(all.Node(1)->IsUVNormalized(), version >= 45 ? 0 : 1);
    EXPECT_EQ(all.Node(3)->LightInfo()->kind, 3);  // type 4

    // The current layout at 106 reads back to the same bytes, and the same
    // at the versions whose layout differs (103, no stiffness).
    for (int32_t current : {106, 103}) {
      Bytes written = Body(*node, current);
      ZoProtoNode again;
      ASSERT_EQ(ReadBody(again, written, current), ZoStreamOk);
      EXPECT_EQ(Body(again, current), written) << current;
    }
  }
}

}  // namespace
