// The older proto-node layout (versions below 100) from frozen golden files:
// tests/data/older-node/vNN.bin is one skeleton written at version NN (see
// the README there), and the table below states, version by version, what
// each must decode to. The bytes are fixed, so a reader that misplaces a
// version threshold cannot agree with them.
#include "ZoSkeletonTestSupport.h"

using namespace zoskeletontest;

namespace {

int32_t const kVersions[] = {24, 25, 26, 27, 28, 30, 31, 32, 33, 35, 36, 39, 40, 41, 42, 43, 44, 45, 46, 47, 48, 99};

Bytes Golden(int32_t version) { return zotest::DataFile("older-node/v" + std::to_string(version) + ".bin"); }

// The quad every older geometry holds: flags 11, 4 vertices with averaged
// normals and texture v flipped when the UV flag is 0, 2 triangles each on
// its own material of 2.
void ExpectGeometry(ZoProtoNode const* node, int format, bool tree, int uv) {
  EXPECT_EQ(std::make_tuple(node->GetModelFormat(), node->IsUVNormalized()), std::make_tuple(format, uv));
  ASSERT_NE(node->ColModel(), nullptr);
  EXPECT_EQ(node->ColModel()->GetRoot() != nullptr, tree);
  ZoTriangleSet const* set = node->ColModel()->GetTriangleSet();
  ASSERT_NE(set, nullptr);
  ASSERT_EQ(std::make_tuple(set->GetFlags(), set->GetNumVertices(), set->GetNumTriangles(), set->GetNumMaterials()),
            std::make_tuple(11, 4, 2, 2));
  EXPECT_EQ(set->Material(1).color2.r, 0.2f);
  for (int i = 0; i < 4; ++i) {
    float stored = i < 2 ? 0.25f : 1.0f;
    EXPECT_EQ(set->Normal(i), ZoVector3(0, 0, 1)) << i;
    EXPECT_EQ(set->TextureVertex(i, 0).v, uv == 0 ? 1.0f - stored : stored) << i;
  }
  for (int t = 0; t < 2; ++t) EXPECT_EQ(set->MaterialIndex(t), set->Triangle(t)[2] == 3 ? 1 : 0);
}

// What each golden skeleton decodes to, each fact from the version `v` that
// changed it (the golden files stand on both sides of every change). Nodes in
// pre-order: root (camera), arm (geometry, model format 2 with an older tree
// record, hinge, UV flag 0), hand (handle stored as kind 1), lamp (light of
// type 4 named "glow", model format 3, which gets its marker), floor, plate
// (geometry, model format 1), path (spline), odd (style 9). Every node but
// floor has a sphere and, where stored, the integer property "old" = 5.
TEST(ZoProtoNodeOlder, GoldenSkeletonsDecodeToTheirFacts) {
  for (int32_t v : kVersions) {
    SCOPED_TRACE(v);
    ZoProtoNode root;
    ASSERT_EQ(ReadBody(root, Golden(v), v), ZoStreamOk);
    ZoProtoTraversal all(&root, 0);
    ASSERT_EQ(Names(all), std::vector<std::string>({"root", "arm", "hand", "lamp", "floor", "plate", "path", "odd"}));
    EXPECT_EQ(root.HomeTransform(), ZoTransform3(ZoVector3(1, 2, 3), ZoRotation3(0, 0, 1, 0)));
    ASSERT_NE(root.CameraInfo(), nullptr);
    EXPECT_EQ(root.CameraInfo()->angle, v >= 48 ? 0.8f : 1.0f);
    EXPECT_EQ(root.Properties().GetCount(), v >= 31 ? 1 : 0);
    EXPECT_EQ(v >= 31 ? static_cast<int>(*root.Properties().Find("old")) : 5, 5);
    ASSERT_EQ(root.ColSpheres().GetCount(), 1);
    EXPECT_EQ(std::make_tuple(root.ColSpheres()[0].center, root.ColSpheres()[0].word4),
              std::make_tuple(ZoVector3(1, 2, 3), v >= 26 ? 99u : 0u));

    ZoProtoNode const* arm = all.Node(1);
    ASSERT_NE(arm->JointLimit(), nullptr);
    EXPECT_EQ(std::get<2>(HingeValue(arm->JointLimit())), v >= 27 ? 1 : 0);  // the long arc
    ZoProtoGeomInfo const* g = arm->GeomInfo();
    ASSERT_NE(g, nullptr);
    // The older record's square, width and material, or the defaults.
    EXPECT_EQ(std::make_tuple(g->squareKind, g->width, g->material.color2.r),
              v >= 28 ? std::make_tuple(1, 0.5f, 0.25f) : std::make_tuple(0, 0.0f, 0.5f));
    EXPECT_EQ(std::make_tuple(g->geomInt0, g->geomInt1, g->geomInt3),
              std::make_tuple(v >= 32 ? 11 : 0, v >= 35 ? 21 : 0, v >= 35 ? 23 : 32));
    ExpectGeometry(arm, 2, true, v >= 45 ? 0 : 1);  // the older tree is dropped and rebuilt

    // A handle's marker is not made by reading; the light gets its marker.
    ZoProtoNode const* hand = all.Node(2);
    EXPECT_EQ(std::make_tuple(hand->HandleInfo()->handleKind, hand->HandleInfo()->length, hand->ColModel()),
              std::make_tuple(v >= 33 ? 1 : 2, 0.3f, static_cast<ZoColModel*>(nullptr)));
    ZoLight const* light = all.Node(3)->LightInfo();
    ASSERT_NE(light, nullptr);
    EXPECT_EQ(light->kind, 3);
    ZoProperty const* map = light->properties.Find("LightMap");
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(static_cast<ZoString>(*map), ZoString(v >= 44 ? "glow" : ""));
    EXPECT_NE(all.Node(3)->ColModel()->GetRoot(), nullptr);
    EXPECT_EQ(std::make_tuple(all.Node(4)->FloorInfo()->floorWord0, all.Node(4)->FloorInfo()->floorWord1),
              std::make_tuple(v >= 25 ? 41 : 0, v >= 30 ? 0xF00Du : 0u));
    ExpectGeometry(all.Node(5), v >= 40 ? 1 : 3, v < 40, 1);
    ASSERT_NE(all.Node(6)->SplineInfo(), nullptr);
    EXPECT_EQ(std::make_tuple(all.Node(6)->SplineInfo()->NumControlPoints(), all.Node(6)->SplineInfo()->LengthInTime()),
              std::make_tuple(2, 500u));
    EXPECT_EQ(std::make_tuple(all.Node(7)->Style(), all.Node(7)->GeomInfo()),
              std::make_tuple(9, static_cast<ZoProtoGeomInfo*>(nullptr)));

    // Written back in the current layout (at 106, and at 103 without the
    // stiffness), the skeleton reads back to the same bytes.
    for (int32_t current : {106, 103}) EXPECT_EQ(Rewritten(Body(root, current), current), Body(root, current)) << current;
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
