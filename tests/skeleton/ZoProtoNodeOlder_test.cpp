// The older proto-node layout (versions below 100) from frozen golden files:
// tests/data/older-node/vNN.bin is one skeleton written at version NN (see
// the README there), and the table below states, version by version, what
// each must decode to. The bytes are fixed, so a reader that misplaces a
// version threshold cannot agree with them.
#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/values/ZoProperty.h>

#include "ZoSkeletonTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace zoskeletontest;

namespace {

// What one golden skeleton decodes to. Nodes in pre-order: root (camera),
// arm (geometry, model format 2 with an older tree record, hinge, UV flag 0),
// hand (handle stored as kind 1), lamp (light of type 4 named "glow", model
// format 3, which gets its marker), floor, plate (geometry, model format 1), path (spline), odd
// (style 9). Every node but floor has a sphere and, where stored, the
// integer property "old" = 5.
struct Facts {
  int32_t version;
  int arc;              // the hinge's long arc
  uint32_t word4;       // the sphere's fifth word
  int properties;       // properties of each node
  int square;           // the arm's geometry record: square kind, then width 0.5
  int geomInt0, geomInt1;
  int handleKind;
  int floor0;
  uint32_t floor1;
  int plateFormat;      // stored 1
  int armUV;            // stored 0
  bool lightNamed;      // the light's name reached its LightMap property
  float cameraAngle;
};

Facts const kFacts[] = {
    {24, 0, 0, 0, 0, 0, 0, 2, 0, 0, 3, 1, false, 1.0f},
    {25, 0, 0, 0, 0, 0, 0, 2, 41, 0, 3, 1, false, 1.0f},
    {26, 0, 99, 0, 0, 0, 0, 2, 41, 0, 3, 1, false, 1.0f},
    {27, 1, 99, 0, 0, 0, 0, 2, 41, 0, 3, 1, false, 1.0f},
    {28, 1, 99, 0, 1, 0, 0, 2, 41, 0, 3, 1, false, 1.0f},
    {30, 1, 99, 0, 1, 0, 0, 2, 41, 0xF00D, 3, 1, false, 1.0f},
    {31, 1, 99, 1, 1, 0, 0, 2, 41, 0xF00D, 3, 1, false, 1.0f},
    {32, 1, 99, 1, 1, 11, 0, 2, 41, 0xF00D, 3, 1, false, 1.0f},
    {33, 1, 99, 1, 1, 11, 0, 1, 41, 0xF00D, 3, 1, false, 1.0f},
    {35, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 3, 1, false, 1.0f},
    {36, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 3, 1, false, 1.0f},
    {39, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 3, 1, false, 1.0f},
    {40, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 1, false, 1.0f},
    {41, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 1, false, 1.0f},
    {42, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 1, false, 1.0f},
    {43, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 1, false, 1.0f},
    {44, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 1, true, 1.0f},
    {45, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 0, true, 1.0f},
    {46, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 0, true, 1.0f},
    {47, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 0, true, 1.0f},
    {48, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 0, true, 0.8f},
    {99, 1, 99, 1, 1, 11, 21, 1, 41, 0xF00D, 1, 0, true, 0.8f},
};

Bytes Golden(int32_t version) { return zotest::DataFile("older-node/v" + std::to_string(version) + ".bin"); }

void ExpectGeometry(ZoProtoNode const* node, int format, bool tree, int uv) {
  EXPECT_EQ(node->GetModelFormat(), format);
  EXPECT_EQ(node->IsUVNormalized(), uv);
  ASSERT_NE(node->ColModel(), nullptr);
  EXPECT_EQ(node->ColModel()->GetRoot() != nullptr, tree);
  ZoTriangleSet const* set = node->ColModel()->GetTriangleSet();
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->GetFlags(), 11);
  ASSERT_EQ(set->GetNumVertices(), 4);
  ASSERT_EQ(set->GetNumTriangles(), 2);
  ASSERT_EQ(set->GetNumMaterials(), 2);
  EXPECT_EQ(set->Material(1).color2.r, 0.2f);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(set->Normal(i), ZoVector3(0, 0, 1)) << i;  // replaced by averaged ones
    float stored = i < 2 ? 0.25f : 1.0f;                // a UV flag of 0 flips v
    EXPECT_EQ(set->TextureVertex(i, 0).v, uv == 0 ? 1.0f - stored : stored) << i;
  }
  for (int t = 0; t < 2; ++t) {  // each triangle keeps its material
    bool second = set->Triangle(t)[2] == 3;
    EXPECT_EQ(set->MaterialIndex(t), second ? 1 : 0);
  }
}

TEST(ZoProtoNodeOlder, GoldenSkeletonsDecodeToTheirFacts) {
  for (Facts const& f : kFacts) {
    SCOPED_TRACE(f.version);
    ZoProtoNode root;
    ASSERT_EQ(ReadBody(root, Golden(f.version), f.version), ZoStreamOk);
    ZoProtoTraversal all(&root, 0);
    ASSERT_EQ(all.NumNodes(), 8);
    char const* const names[] = {"root", "arm", "hand", "lamp", "floor", "plate", "path", "odd"};
    for (int i = 0; i < 8; ++i) EXPECT_STREQ(all.Node(i)->Name().c_str(), names[i]);
    ZoProtoNode const* arm = all.Node(1);
    EXPECT_EQ(root.HomeTransform(), ZoTransform3(ZoVector3(1, 2, 3), ZoRotation3(0, 0, 1, 0)));
    ASSERT_NE(root.CameraInfo(), nullptr);
    EXPECT_EQ(root.CameraInfo()->angle, f.cameraAngle);
    EXPECT_EQ(root.Properties().GetCount(), f.properties);
    if (f.properties == 1) {
      EXPECT_EQ(static_cast<int>(*root.Properties().Find("old")), 5);
    }
    ASSERT_EQ(root.ColSpheres().GetCount(), 1);
    ZoColSphere const* sphere = &root.ColSpheres()[0];
    EXPECT_EQ(sphere->center, ZoVector3(1, 2, 3));
    EXPECT_EQ(sphere->word4, f.word4);

    ASSERT_NE(arm->JointLimit(), nullptr);
    ZoRotation3 lo, hi;
    int arc = -1;
    static_cast<ZoJLHinge*>(arm->JointLimit())->GetValue(lo, hi, arc);
    EXPECT_EQ(arc, f.arc);
    ZoProtoGeomInfo const* g = arm->GeomInfo();
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->squareKind, f.square);
    EXPECT_EQ(g->width, f.square == 1 ? 0.5f : 0.0f);
    EXPECT_EQ(g->material.color2.r, f.square == 1 ? 0.25f : 0.5f);  // the older record, or the default
    EXPECT_EQ(g->geomInt0, f.geomInt0);
    EXPECT_EQ(g->geomInt1, f.geomInt1);
    EXPECT_EQ(g->geomInt3, f.geomInt1 == 0 ? 32 : 23);
    ExpectGeometry(arm, 2, true, f.armUV);  // the older tree is dropped and rebuilt

    EXPECT_EQ(all.Node(2)->HandleInfo()->handleKind, f.handleKind);
    EXPECT_EQ(all.Node(2)->HandleInfo()->length, 0.3f);
    EXPECT_EQ(all.Node(2)->ColModel(), nullptr);  // a handle's marker is not made by reading
    ZoLight const* light = all.Node(3)->LightInfo();
    ASSERT_NE(light, nullptr);
    EXPECT_EQ(light->kind, 3);
    ZoProperty const* map = light->properties.Find("LightMap");
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(static_cast<ZoString>(*map), ZoString(f.lightNamed ? "glow" : ""));
    EXPECT_NE(all.Node(3)->ColModel()->GetRoot(), nullptr);  // the light's marker
    EXPECT_EQ(all.Node(4)->FloorInfo()->floorWord0, f.floor0);
    EXPECT_EQ(all.Node(4)->FloorInfo()->floorWord1, f.floor1);
    ExpectGeometry(all.Node(5), f.plateFormat, f.plateFormat == 3, 1);
    ASSERT_NE(all.Node(6)->SplineInfo(), nullptr);
    EXPECT_EQ(all.Node(6)->SplineInfo()->NumControlPoints(), 2);
    EXPECT_EQ(all.Node(6)->SplineInfo()->LengthInTime(), 500u);
    EXPECT_EQ(all.Node(7)->Style(), 9);
    EXPECT_EQ(all.Node(7)->GeomInfo(), nullptr);

    // Written back in the current layout (at 106, and at 103 without the
    // stiffness), the skeleton reads back to the same bytes.
    for (int32_t current : {106, 103}) {
      Bytes written = Body(root, current);
      ZoProtoNode again;
      ASSERT_EQ(ReadBody(again, written, current), ZoStreamOk);
      EXPECT_EQ(Body(again, current), written) << current;
    }
  }
}

TEST(ZoProtoNodeOlder, EveryTruncatedGoldenBodyFails) {
  for (int32_t version : {24, 33, 45, 47, 99}) {
    Bytes bytes = Golden(version);
    for (size_t length = 0; length < bytes.size(); ++length) {
      ZoProtoNode node;
      Reader reader(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(length)), version);
      *reader >> node;
      ASSERT_NE(reader->Status(), ZoStreamOk) << "version " << version << ", " << length << " of " << bytes.size();
    }
  }
}

}  // namespace
