// Proto nodes: defaults, styles and their records, home transforms and
// their products, collision models and formats, marker shapes, deep copies,
// user data, and the current body byte for byte with its version
// thresholds (100, 103/104, 105/106), and a whole skeleton written and read
// back.
#include <zoactor/actor/ZoJLimit.h>
#include <zoactor/actor/ZoProtoNode.h>
#include <zoactor/actor/ZoProtoTraversal.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace zoactortest;

namespace {

constexpr float kHalfPi = 1.5707964f;

ZoTriangleSet* Cube(float edge = 1.0f) { return new ZoTriCube(ZoMaterial(), ZoVector3(edge, edge, edge)); }

ZoTransform3 Placed(ZoVector3 const& t, float angle, ZoVector3 const& axis) { return ZoTransform3(t, About(angle, axis)); }

void ExpectColor(ZoColor const& c, float r, float g, float b, float a) {
  EXPECT_EQ(c.r, r);
  EXPECT_EQ(c.g, g);
  EXPECT_EQ(c.b, b);
  EXPECT_EQ(c.a, a);
}

void Bounds(ZoProtoNode const& node, ZoVector3& min, ZoVector3& max) {
  ASSERT_NE(node.ColModel(), nullptr);
  ASSERT_NE(node.ColModel()->GetTriangleSet(), nullptr);
  node.ColModel()->GetTriangleSet()->FindBoundingBox(min, max);
}

TEST(ZoProtoNode, Defaults) {
  ZoProtoNode node;
  EXPECT_EQ(node.Type(), 0x5072744E);
  EXPECT_EQ(node.IsType(0x5072744E), 1);
  EXPECT_EQ(node.IsType(ZoTreeNode::TREE_TYPE), 1);
  EXPECT_EQ(node.IsType(0x12345678), 0);
  EXPECT_EQ(node.StreamType(), 0x50724E6F);
  EXPECT_TRUE(node.Name().IsEmpty());
  EXPECT_EQ(node.GetActor(), nullptr);
  EXPECT_EQ(node.HomeTransform(), ZoTransform3());
  EXPECT_EQ(node.ColModel(), nullptr);
  EXPECT_EQ(node.JointLimit(), nullptr);
  EXPECT_EQ(node.ColSpheres().GetCount(), 0);
  EXPECT_EQ(node.Properties().GetCount(), 0);
  EXPECT_EQ(node.Style(), 1);
  EXPECT_EQ(node.GetModelFormat(), 2);
  EXPECT_EQ(node.IsUVNormalized(), 1);
  EXPECT_EQ(node.Stiffness(), 1.0f);
  EXPECT_EQ(node.GetUserData(), nullptr);
  EXPECT_EQ(node.DestroysChildrenOnDestruct(), 1);

  ZoProtoGeomInfo const* geom = node.GeomInfo();
  ASSERT_NE(geom, nullptr);
  EXPECT_EQ(geom->squareKind, 0);
  EXPECT_EQ(Body(geom->material), Body(ZoMaterial()));
  EXPECT_EQ(geom->width, 1.0f);
  EXPECT_EQ(geom->height, 1.0f);
  EXPECT_EQ(geom->geomInt0, 0);
  EXPECT_EQ(geom->geomInt1, 0);
  EXPECT_EQ(geom->geomInt2, 32);
  EXPECT_EQ(geom->geomInt3, 32);
  EXPECT_EQ(node.HandleInfo(), nullptr);
  EXPECT_EQ(node.CameraInfo(), nullptr);
}

TEST(ZoProtoNode, EachStyleHasItsRecordAndOnlyIt) {
  ZoProtoNode node;
  node.SetStyle(2);
  ZoProtoHandleInfo* handle = node.HandleInfo();
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->handleKind, 0);
  EXPECT_EQ(handle->radius, 0.05f);
  EXPECT_EQ(handle->length, 0.2f);
  EXPECT_EQ(handle->handleWord3, 0u);
  EXPECT_EQ(node.GeomInfo(), nullptr);
  handle->handleKind = 3;
  node.SetStyle(2);  // the same style: the same record, kept as it is
  EXPECT_EQ(node.HandleInfo(), handle);
  EXPECT_EQ(node.HandleInfo()->handleKind, 3);

  node.SetStyle(3);
  ASSERT_NE(node.FloorInfo(), nullptr);
  EXPECT_EQ(node.FloorInfo()->floorWord0, 0);
  node.SetStyle(4);
  ASSERT_NE(node.CameraInfo(), nullptr);
  EXPECT_EQ(Body(*node.CameraInfo()), Body(ZoCamera()));
  node.SetStyle(5);
  ASSERT_NE(node.LightInfo(), nullptr);
  EXPECT_EQ(Body(*node.LightInfo()), Body(ZoLight()));
  node.SetStyle(6);
  ASSERT_NE(node.SplineInfo(), nullptr);
  EXPECT_EQ(node.SplineInfo()->NumControlPoints(), 0);

  node.SetStyle(7);
  EXPECT_EQ(node.Style(), 7);
  EXPECT_EQ(node.GeomInfo(), nullptr);
  EXPECT_EQ(node.HandleInfo(), nullptr);
  EXPECT_EQ(node.FloorInfo(), nullptr);
  EXPECT_EQ(node.CameraInfo(), nullptr);
  EXPECT_EQ(node.LightInfo(), nullptr);
  EXPECT_EQ(node.SplineInfo(), nullptr);

  node.SetStyle(1);  // back to a fresh geometry record
  ASSERT_NE(node.GeomInfo(), nullptr);
  EXPECT_EQ(node.GeomInfo()->width, 1.0f);
}

TEST(ZoProtoNode, HomeTransformsAreNormalisedOnce) {
  ZoProtoNode node;
  node.SetHomeTransform(ZoTransform3(ZoVector3(1, 2, 3), ZoRotation3(2, 0, 0, 0)));
  EXPECT_EQ(node.HomeTransform().rotation, ZoRotation3(1, 0, 0, 0));
  EXPECT_EQ(node.HomeTransform().translation, ZoVector3(1, 2, 3));
  node.SetHomeTransform(ZoTransform3(ZoVector3(), ZoRotation3(0, 3, 0, 4)));
  EXPECT_EQ(node.HomeTransform().rotation, ZoRotation3(0, 0.6f, 0, 0.8f));
  // No length: the identity rather than NaNs.
  node.SetHomeTransform(ZoTransform3(ZoVector3(), ZoRotation3(0, 0, 0, 0)));
  EXPECT_EQ(node.HomeTransform().rotation, ZoRotation3());
  node.SetHomeTransform(ZoTransform3(ZoVector3(), ZoRotation3(NAN, 0, 0, 0)));
  EXPECT_EQ(node.HomeTransform().rotation, ZoRotation3());

  // Normalising what is already normalised changes no bit.
  std::mt19937 random(2);
  std::uniform_real_distribution<float> any(-100.0f, 100.0f);
  for (int i = 0; i < 2000; ++i) {
    node.SetHomeTransform(ZoTransform3(ZoVector3(), ZoRotation3(any(random), any(random), any(random), any(random))));
    ZoRotation3 once = node.HomeTransform().rotation;
    EXPECT_NEAR(once.dot(once), 1.0f, 1e-6f);
    node.SetHomeTransform(node.HomeTransform());
    EXPECT_EQ(node.HomeTransform().rotation, once) << i;
  }
}

TEST(ZoProtoNode, RelativeHomeTransformsMultiplyUpToTheAncestor) {
  auto* root = new ZoProtoNode;
  auto* upper = new ZoProtoNode;
  auto* lower = new ZoProtoNode;
  root->SetHomeTransform(Placed(ZoVector3(0, 0, 5), 0.5f, ZoVector3(1, 0, 0)));
  upper->SetHomeTransform(Placed(ZoVector3(1, 0, 0), kHalfPi, ZoVector3(0, 0, 1)));
  lower->SetHomeTransform(Placed(ZoVector3(0, 2, 0), 0.3f, ZoVector3(0, 1, 0)));
  root->addChild(upper);
  upper->addChild(lower);

  ZoTransform3 out;
  EXPECT_EQ(lower->GetRelativeHomeTransform(upper, out), 1);
  EXPECT_EQ(out, lower->HomeTransform());
  EXPECT_EQ(lower->GetRelativeHomeTransform(root, out), 1);
  EXPECT_EQ(out, upper->HomeTransform() * lower->HomeTransform());
  // The point (0, 2, 0) of upper's frame lies at (1 − 2, 0, 0) in root's.
  ExpectNear(out * ZoVector3(), ZoVector3(-1, 0, 0));
  EXPECT_EQ(lower->GetRelativeHomeTransform(nullptr, out), 1);
  EXPECT_EQ(out, root->HomeTransform() * (upper->HomeTransform() * lower->HomeTransform()));
  EXPECT_EQ(lower->GetRelativeHomeTransform(lower, out), 1);
  EXPECT_EQ(out, ZoTransform3());

  ZoProtoNode stranger;
  EXPECT_EQ(lower->GetRelativeHomeTransform(&stranger, out), 0);
  EXPECT_EQ(out, root->HomeTransform() * (upper->HomeTransform() * lower->HomeTransform()));

  // The static form stands in for a call on a null node.
  out = lower->HomeTransform();
  EXPECT_EQ(ZoProtoNode::GetRelativeHomeTransform(nullptr, nullptr, out), 1);
  EXPECT_EQ(out, ZoTransform3());
  EXPECT_EQ(ZoProtoNode::GetRelativeHomeTransform(nullptr, root, out), 0);
  delete root;
}

TEST(ZoProtoNode, CollisionModelsAndLimitsAreOwned) {
  ZoProtoNode node;
  auto* model = new ZoColModel;
  node.SetColModel(model);
  node.SetColModel(model);  // the same pointer: kept
  EXPECT_EQ(node.ColModel(), model);
  node.SetColModel(static_cast<ZoColModel*>(nullptr));  // deleted (ASan checks)
  EXPECT_EQ(node.ColModel(), nullptr);

  ZoTriangleSet* cube = Cube();
  node.SetColModel(cube);
  ASSERT_NE(node.ColModel(), nullptr);
  EXPECT_EQ(node.ColModel()->GetTriangleSet(), cube);
  EXPECT_NE(node.ColModel()->GetRoot(), nullptr);  // the tree is built
  ZoColModel* kept = node.ColModel();
  node.SetColModel(Cube(2.0f));  // a model held: it gets the new set
  EXPECT_EQ(node.ColModel(), kept);

  auto* limit = new ZoJLEuler;
  node.SetJointLimit(limit);
  node.SetJointLimit(limit);
  EXPECT_EQ(node.JointLimit(), limit);
  EXPECT_EQ(node.JointLimit()->GetType(), 2);  // still valid
  node.SetJointLimit(new ZoJLHinge);
  EXPECT_EQ(node.JointLimit()->GetType(), 1);
}

TEST(ZoProtoNode, ModelFormatsDeleteOrBuildTheTree) {
  ZoProtoNode node;
  node.SetColModel(Cube());
  node.SetModelFormat(1);
  EXPECT_EQ(node.GetModelFormat(), 1);
  EXPECT_EQ(node.ColModel()->GetRoot(), nullptr);
  node.SetModelFormat(3);
  EXPECT_NE(node.ColModel()->GetRoot(), nullptr);
  node.SetModelFormat(1);
  node.SetModelFormat(2);
  EXPECT_NE(node.ColModel()->GetRoot(), nullptr);
  node.SetModelFormat(9);  // stored; nothing else happens
  EXPECT_EQ(node.GetModelFormat(), 9);
  EXPECT_NE(node.ColModel(), nullptr);
  node.SetModelFormat(0);
  EXPECT_EQ(node.ColModel(), nullptr);
  node.SetModelFormat(2);  // without a model: nothing to build
  EXPECT_EQ(node.ColModel(), nullptr);
}

TEST(ZoProtoNode, MarkerShapes) {
  // A geometry node with a square: the record's own material.
  ZoProtoNode square;
  square.CreateColModel();  // squareKind 0: nothing
  EXPECT_EQ(square.ColModel(), nullptr);
  square.GeomInfo()->squareKind = 1;
  square.GeomInfo()->width = 2.0f;
  square.GeomInfo()->height = 0.5f;
  square.GeomInfo()->material.color2.Set(0.1f, 0.2f, 0.3f, 0.4f);
  square.CreateColModel();
  ZoVector3 min, max;
  Bounds(square, min, max);
  ExpectNear(min, ZoVector3(-1, -0.25f, 0));
  ExpectNear(max, ZoVector3(1, 0.25f, 0));
  ZoTriangleSet const* set = square.ColModel()->GetTriangleSet();
  EXPECT_EQ(set->GetNumTriangles(), 2);
  ExpectColor(set->Material(0).color2, 0.1f, 0.2f, 0.3f, 0.4f);
  EXPECT_NE(square.ColModel()->GetRoot(), nullptr);

  // Handles: kind 4 a sphere; 1 and 3 a cylinder with a plate; others a
  // cylinder with a bar on top. Colours by kind.
  struct HandleCase {
    int kind;
    float r, g, b;
    bool sphere, plate;
  } const handles[] = {{4, 0.7f, 0.7f, 0.9f, true, false},  {1, 0.9f, 0.7f, 0.7f, false, true},
                       {3, 0.7f, 0.9f, 0.7f, false, true},  {0, 0.9f, 0.7f, 0.7f, false, false},
                       {2, 0.7f, 0.9f, 0.7f, false, false}, {9, 0.9f, 0.7f, 0.7f, false, false}};
  for (HandleCase const& c : handles) {
    ZoProtoNode handle;
    handle.SetStyle(2);
    handle.HandleInfo()->handleKind = c.kind;
    handle.HandleInfo()->radius = 0.1f;
    handle.HandleInfo()->length = 0.4f;
    handle.CreateColModel();
    Bounds(handle, min, max);
    ZoTriangleSet const* marker = handle.ColModel()->GetTriangleSet();
    ExpectColor(marker->Material(0).color2, c.r, c.g, c.b, 0.6f);
    if (c.sphere) {
      EXPECT_EQ(marker->GetNumMaterials(), 1) << c.kind;
      ExpectNear(max, ZoVector3(0.1f, 0.1f, 0.1f), 1e-4f);
      continue;
    }
    ASSERT_EQ(marker->GetNumMaterials(), 2) << c.kind;
    ExpectColor(marker->Material(1).color2, 0.5f, 0.5f, 0.5f, 0.6f);
    if (c.plate) {
      // Plate 0.25 high from y = 0, out to z = 1.25 r.
      EXPECT_NEAR(max.y, 0.25f, 1e-5f) << c.kind;
      EXPECT_NEAR(max.z, 0.125f, 1e-5f) << c.kind;
    } else {
      // Bar from y = 0.2 to 0.4, above the cylinder's top at 0.2.
      EXPECT_NEAR(max.y, 0.4f, 1e-5f) << c.kind;
      EXPECT_NEAR(max.z, 0.1f, 1e-4f) << c.kind;
    }
    EXPECT_NEAR(min.y, -0.2f, 1e-5f) << c.kind;
  }

  // A camera: body, lens in front (towards −z), reels on top.
  ZoProtoNode camera;
  camera.SetStyle(4);
  camera.CreateColModel();
  Bounds(camera, min, max);
  EXPECT_NEAR(min.z, -0.17f, 1e-5f);
  EXPECT_NEAR(max.z, 0.125f, 1e-5f);
  EXPECT_NEAR(max.y, 0.17f, 1e-5f);
  EXPECT_NEAR(min.y, -0.06f, 1e-5f);  // the lens's rim
  ExpectColor(camera.ColModel()->GetTriangleSet()->Material(0).color2, 0.5f, 0.5f, 1.0f, 0.6f);

  // A light: a cone along z in the light's second colour.
  ZoProtoNode light;
  light.SetStyle(5);
  light.LightInfo()->color2.Set(0.2f, 0.4f, 0.8f, 1.0f);
  light.CreateColModel();
  Bounds(light, min, max);
  EXPECT_NEAR(min.z, -0.1f, 1e-5f);
  EXPECT_NEAR(max.z, 0.1f, 1e-5f);
  EXPECT_NEAR(max.y, 0.1f, 1e-4f);
  ExpectColor(light.ColModel()->GetTriangleSet()->Material(0).color2, 0.2f, 0.4f, 0.8f, 0.6f);

  for (int style : {3, 6, 8}) {
    ZoProtoNode other;
    other.SetStyle(style);
    other.CreateColModel();
    EXPECT_EQ(other.ColModel(), nullptr) << style;
  }
}

// --- Copies and user data ------------------------------------------------------

ZoProtoNode* Populated(char const* name, int style) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(style);
  node->SetHomeTransform(Placed(ZoVector3(0.5f, 1, -2), 0.7f, ZoVector3(0, 1, 0)));
  node->SetColModel(Cube(0.3f));
  auto* limit = new ZoJLLinear;
  limit->SetValue(ZoVector3(0, 0, 0), ZoVector3(0, 0, 1));
  node->SetJointLimit(limit);
  ZoColSphere sphere;
  sphere.center = ZoVector3(1, 2, 3);
  sphere.radius = 0.5f;
  sphere.word4 = 0xABCDu;
  node->ColSpheres().AppendCopy(sphere);
  node->Properties().Add(ZoProperty("mass", new ZoFloatValue(3.5f)));
  node->SetUVNormalized(0);
  node->Stiffness() = 0.25f;
  return node;
}

TEST(ZoProtoNode, CopiesAreDeepAndDropLinksActorAndUserData) {
  std::unique_ptr<ZoProtoNode> source(Populated("hips", 1));
  source->GeomInfo()->squareKind = 2;
  source->GeomInfo()->geomInt3 = 77;
  source->GeomInfo()->material.color1.Set(1, 0, 0, 1);
  source->addChild(Populated("light", 5));
  source->addChild(Populated("floor", 3));
  source->firstChild()->nextSibling()->addChild(Populated("cam", 4));
  CountingAi engine;
  source->SetUserData(&engine);
  source->SetActor(reinterpret_cast<ZoProtoActor*>(source.get()));

  ZoProtoNode copy(*source);
  EXPECT_EQ(copy.GetUserData(), nullptr);
  EXPECT_EQ(copy.GetActor(), nullptr);
  EXPECT_EQ(copy.parent(), nullptr);
  EXPECT_EQ(copy.treeSize(0), 4);
  // Every field and record, the children too; the models are copied with
  // their trees rebuilt, so their triangles may come in another order.
  EXPECT_EQ(BodyWithoutGeometry(copy), BodyWithoutGeometry(*source));
  EXPECT_EQ(Body(copy).size(), Body(*source).size());
  EXPECT_NE(copy.ColModel(), source->ColModel());
  EXPECT_NE(copy.ColModel()->GetRoot(), nullptr);  // rebuilt
  EXPECT_NE(copy.JointLimit(), source->JointLimit());
  EXPECT_NE(copy.GeomInfo(), source->GeomInfo());
  EXPECT_EQ(copy.GeomInfo()->geomInt3, 77);
  ZoDblListItem* cursor = nullptr;
  ZoDblListItem* sourceCursor = nullptr;
  EXPECT_NE(copy.ColSpheres().GetFirst(cursor), source->ColSpheres().GetFirst(sourceCursor));

  // The copy lives on without its source.
  source.reset();
  EXPECT_EQ(engine.releases, 1);
  EXPECT_EQ(copy.JointLimit()->GetType(), 3);
  ZoProtoTraversal all(&copy, 0);
  EXPECT_NE(all.NodeWithName("cam")->CameraInfo(), nullptr);

  // Assignment replaces the content and keeps the links and children.
  ZoProtoNode target;
  target.addChild(new ZoProtoNode);
  target = *all.NodeWithName("light");
  EXPECT_EQ(target.Style(), 5);
  EXPECT_STREQ(target.Name().c_str(), "light");
  EXPECT_EQ(target.numChildren(0), 1);
  EXPECT_EQ(Body(*target.LightInfo()), Body(*all.NodeWithName("light")->LightInfo()));
}

TEST(ZoProtoNode, UserDataIsReleasedWhenReplacedAndOnDestruction) {
  CountingAi first, second;
  {
    ZoProtoNode node;
    EXPECT_EQ(node.SetUserData(&first), 1);
    EXPECT_EQ(node.SetUserData(&first), 1);  // the same pointer: kept
    EXPECT_EQ(first.releases, 0);
    node.SetUserData(&second);
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(node.GetUserData(), &second);
  }
  EXPECT_EQ(second.releases, 1);
}

// --- The current body --------------------------------------------------------------

TEST(ZoProtoNodeStream, CurrentBodyByteForByte) {
  ZoProtoNode node;
  node.SetName("Hip");
  ZoTransform3 home = Placed(ZoVector3(1, 2, 3), 0.5f, ZoVector3(0, 0, 1));
  node.SetHomeTransform(home);
  auto* hinge = new ZoJLHinge;
  hinge->SetValue(ZoRotation3(), About(1.0f, ZoVector3(1, 0, 0)), 0);
  node.SetJointLimit(hinge);
  ZoColSphere sphere;
  sphere.center = ZoVector3(0.5f, 0.25f, 0);
  sphere.radius = 0.75f;
  sphere.word4 = 7;
  node.ColSpheres().AppendCopy(sphere);
  node.Properties().Add(ZoProperty("side", new ZoIntValue(1)));
  node.GeomInfo()->squareKind = 1;
  node.GeomInfo()->width = 0.5f;
  node.GeomInfo()->geomInt1 = 9;
  node.SetUVNormalized(0);
  node.Stiffness() = 0.5f;
  auto* grip = new ZoProtoNode;
  grip->SetName("Grip");
  grip->SetStyle(2);
  grip->HandleInfo()->handleKind = 3;
  grip->HandleInfo()->handleWord3 = 0xDEADBEEFu;
  grip->CreateColModel();  // a handle's model is never written
  node.addChild(grip);

  ByteBuilder expected;
  expected.str("Hip");
  AddTransform(expected, node.HomeTransform());
  expected.i32(0);                                      // no model: format 0, no geometry
  expected.i32(1).chars("JLHn").append(Body(*hinge));  // the framed limit
  expected.i32(1).f32(0.5f).f32(0.25f).f32(0).f32(0.75f).u32(7);
  expected.append(Body(node.Properties()));
  expected.i32(1).i32(1).append(Body(node.GeomInfo()->material)).f32(0.5f).f32(1.0f).i32(0).i32(9).i32(32).i32(32);
  expected.i32(0).f32(0.5f);  // UV flag, stiffness
  expected.i32(1);            // one child
  expected.str("Grip");
  AddTransform(expected, ZoTransform3());
  expected.i32(0).i32(0).i32(0).append(Body(ZoPropertyTable()));
  expected.i32(2).i32(3).f32(0.05f).f32(0.2f).u32(0xDEADBEEFu);
  expected.i32(1).f32(1.0f).i32(0);
  ASSERT_EQ(Body(node), expected.get()) << zotest::Hex(Body(node)) << "\n" << zotest::Hex(expected);

  // Read back: the same bytes again, and the same tree.
  ZoProtoNode read;
  ASSERT_EQ(ReadBody(read, expected), ZoStreamOk);
  EXPECT_EQ(Body(read), expected.get());
  EXPECT_EQ(read.numChildren(0), 1);
  ASSERT_NE(read.JointLimit(), nullptr);
  EXPECT_EQ(read.JointLimit()->GetType(), 1);
  EXPECT_EQ(read.Stiffness(), 0.5f);
  EXPECT_EQ(read.IsUVNormalized(), 0);
  auto* child = static_cast<ZoProtoNode*>(read.firstChild());
  EXPECT_EQ(child->ColModel(), nullptr);
  EXPECT_EQ(child->GetModelFormat(), 0);
  EXPECT_EQ(child->HandleInfo()->handleWord3, 0xDEADBEEFu);

  // Before version 104 there is no stiffness: four bytes fewer per node.
  Bytes at103 = Body(node, 103);
  EXPECT_EQ(at103.size(), expected.get().size() - 8);
  ZoProtoNode old;
  old.Stiffness() = 0.125f;
  ASSERT_EQ(ReadBody(old, at103, 103), ZoStreamOk);
  EXPECT_EQ(old.Stiffness(), 1.0f);
  EXPECT_EQ(Body(old, 103), at103);
  ZoProtoNode at104;
  ASSERT_EQ(ReadBody(at104, Body(node, 104), 104), ZoStreamOk);
  EXPECT_EQ(at104.Stiffness(), 0.5f);
  // 100 is the first version of this layout; it reads the same as 103.
  ZoProtoNode at100;
  ASSERT_EQ(ReadBody(at100, at103, 100), ZoStreamOk);
  EXPECT_EQ(Body(at100, 103), at103);
}

TEST(ZoProtoNodeStream, TheGeometryFollowsTheModelFormat) {
  ZoTriangleSet* cube = Cube();
  ZoProtoNode node;
  node.SetColModel(cube);
  size_t const head = 4 + 28;  // empty name, transform

  // Format 2: the model's body.
  Bytes two = Body(node);
  Bytes modelBody = Body(*node.ColModel());
  ASSERT_GE(two.size(), head + 4 + modelBody.size());
  EXPECT_EQ(Bytes(two.begin() + head, two.begin() + head + 4), Bytes(ByteBuilder().i32(2)));
  EXPECT_EQ(Bytes(two.begin() + head + 4, two.begin() + static_cast<long>(head + 4 + modelBody.size())), modelBody);

  // Formats 1 and 3: the set's body.
  for (int format : {1, 3}) {
    node.SetModelFormat(format);  // 3 builds the tree again, which may reorder the set
    Bytes setBody = Body(*node.ColModel()->GetTriangleSet());
    Bytes bytes = Body(node);
    EXPECT_EQ(Bytes(bytes.begin() + head, bytes.begin() + head + 4), Bytes(ByteBuilder().i32(format)));
    EXPECT_EQ(Bytes(bytes.begin() + head + 4, bytes.begin() + static_cast<long>(head + 4 + setBody.size())),
              setBody);
    ZoProtoNode read;
    ASSERT_EQ(ReadBody(read, bytes), ZoStreamOk);
    EXPECT_EQ(read.GetModelFormat(), format);
    ASSERT_NE(read.ColModel(), nullptr);
    EXPECT_EQ(read.ColModel()->GetRoot() != nullptr, format == 3);  // rebuilt only for 3
    if (format == 1) {
      EXPECT_EQ(Body(read), bytes);
    } else {  // the rebuild may reorder the triangles
      EXPECT_EQ(Body(read).size(), bytes.size());
      EXPECT_EQ(read.ColModel()->GetTriangleSet()->GetNumTriangles(), cube->GetNumTriangles());
    }
  }

  // Without a set, as a handle, or in a format without geometry: format 0.
  ZoProtoNode empty;
  empty.SetColModel(new ZoColModel);
  Bytes emptyBytes = Body(empty);
  EXPECT_EQ(Bytes(emptyBytes.begin() + head, emptyBytes.begin() + head + 8), Bytes(ByteBuilder().i32(0).i32(0)));
  node.SetModelFormat(2);
  node.SetStyle(2);
  Bytes handleBytes = Body(node);
  EXPECT_EQ(Bytes(handleBytes.begin() + head, handleBytes.begin() + head + 8), Bytes(ByteBuilder().i32(0).i32(0)));
  node.SetStyle(1);
  node.SetModelFormat(5);
  Bytes oddBytes = Body(node);
  EXPECT_EQ(Bytes(oddBytes.begin() + head, oddBytes.begin() + head + 8), Bytes(ByteBuilder().i32(0).i32(0)));
}

TEST(ZoProtoNodeStream, StoredTreesAreKeptFrom106AndRebuiltBefore) {
  // A model stored without a tree (depth 0): version 105 rebuilds it, 106
  // keeps what was stored.
  auto* model = new ZoColModel;
  model->SetTriangleSet(Cube());
  ZoProtoNode node;
  node.SetColModel(model);
  ASSERT_EQ(node.ColModel()->GetRoot(), nullptr);
  for (int32_t version : {105, 106}) {
    Bytes bytes = Body(node, version);
    ZoProtoNode read;
    ASSERT_EQ(ReadBody(read, bytes, version), ZoStreamOk) << version;
    ASSERT_NE(read.ColModel(), nullptr);
    EXPECT_EQ(read.ColModel()->GetRoot() != nullptr, version == 105) << version;
  }
  // With a stored tree, version 106 reads it back as written.
  node.SetModelFormat(2);
  ASSERT_NE(node.ColModel()->GetRoot(), nullptr);
  Bytes withTree = Body(node);
  ZoProtoNode read;
  ASSERT_EQ(ReadBody(read, withTree), ZoStreamOk);
  EXPECT_EQ(read.ColModel()->GetDepth(), node.ColModel()->GetDepth());
  EXPECT_EQ(Body(read), withTree);
}

TEST(ZoProtoNodeStream, ReadingRecreatesTheStyleRecordWithItsDefaults) {
  ZoProtoNode source;
  source.SetStyle(6);
  ZoSplineControlPoint point;
  point.time = 0;
  source.SplineInfo()->AppendControlPoint(point);
  point.time = 100;
  source.SplineInfo()->AppendControlPoint(point);
  Bytes bytes = Body(source);

  // A node that already has a spline with points: the read replaces them.
  ZoProtoNode target;
  target.SetStyle(6);
  point.time = 5;
  target.SplineInfo()->AppendControlPoint(point);
  ASSERT_EQ(ReadBody(target, bytes), ZoStreamOk);
  EXPECT_EQ(target.SplineInfo()->NumControlPoints(), 2);
  EXPECT_EQ(Body(target), bytes);
}

TEST(ZoProtoNodeStream, SkeletonOfEveryStyleReadsBackEqual) {
  auto* root = Populated("root", 2);
  ZoProtoHandleInfo* handle = root->HandleInfo();
  ASSERT_NE(handle, nullptr);
  handle->handleKind = 4;
  root->CreateColModel();
  auto* hips = Populated("hips", 1);
  hips->GeomInfo()->squareKind = 1;
  hips->GeomInfo()->material.SetOpacityMask("mask");
  hips->CreateColModel();
  auto* hinge = new ZoJLHinge;
  hinge->SetValue(About(-0.5f, ZoVector3(1, 0, 0)), About(1.2f, ZoVector3(1, 0, 0)), 1);
  hips->SetJointLimit(hinge);
  auto* floor = Populated("floor", 3);
  ZoProtoFloorInfo* floorRecord = floor->FloorInfo();
  ASSERT_NE(floorRecord, nullptr);
  floorRecord->floorWord0 = 4;
  floorRecord->floorWord1 = 0x80000001u;
  auto* camera = Populated("eye", 4);
  camera->CameraInfo()->angle = 0.9f;
  camera->CreateColModel();
  camera->SetJointLimit(new ZoJLTranslate);
  auto* lamp = Populated("lamp", 5);
  lamp->LightInfo()->kind = 2;
  lamp->CreateColModel();
  lamp->SetModelFormat(1);
  auto* euler = new ZoJLEuler;
  euler->SetValue(0, 3.0f, -3.0f);
  lamp->SetJointLimit(euler);
  auto* path = Populated("path", 6);
  path->SplineInfo()->SetLinear(ZoTransform3(), Placed(ZoVector3(4, 0, 0), 1.0f, ZoVector3(0, 1, 0)), 1000);
  path->SplineInfo()->Integrate();
  path->SetModelFormat(3);
  auto* plain = Populated("odd", 12);
  plain->SetJointLimit(new ZoJLimit);
  root->addChild(hips);
  hips->addChild(floor);
  hips->addChild(camera);
  camera->addChild(lamp);
  root->addChild(path);
  root->addChild(plain);
  std::unique_ptr<ZoProtoNode> skeleton(root);

  Bytes framed = Framed(skeleton.get());
  Reader reader(framed);
  std::unique_ptr<ZoProtoNode> read(reader->ReadObjectAs<ZoProtoNode>());
  ASSERT_NE(read, nullptr);
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(reader.Consumed(), framed.size());
  // The path node (model format 3) rebuilds its tree when read, which may
  // reorder its triangles; all else reads back exactly.
  EXPECT_EQ(Framed(read.get()).size(), framed.size());
  EXPECT_EQ(BodyWithoutGeometry(*read), BodyWithoutGeometry(*skeleton));

  ZoProtoTraversal before(skeleton.get(), 0), after(read.get(), 0);
  ASSERT_EQ(after.NumNodes(), 7);
  for (int i = 0; i < before.NumNodes(); ++i) {
    ZoProtoNode const* a = before.Node(i);
    ZoProtoNode const* b = after.Node(i);
    EXPECT_STREQ(a->Name().c_str(), b->Name().c_str());
    EXPECT_EQ(a->Style(), b->Style());
    EXPECT_EQ(a->HomeTransform(), b->HomeTransform());
    EXPECT_EQ(a->Stiffness(), b->Stiffness());
    EXPECT_EQ(a->ColSpheres().GetCount(), b->ColSpheres().GetCount());
    EXPECT_EQ(a->Properties().GetCount(), b->Properties().GetCount());
    ASSERT_NE(b->JointLimit(), nullptr);
    EXPECT_EQ(a->JointLimit()->GetType(), b->JointLimit()->GetType());
    EXPECT_EQ(Body(*a->JointLimit()), Body(*b->JointLimit()));
    // Handles are written without geometry.
    EXPECT_EQ(b->ColModel() != nullptr, a->Style() != 2) << a->Name().c_str();
  }
  EXPECT_EQ(after.NodeWithName("root")->GetModelFormat(), 0);
  EXPECT_EQ(after.NodeWithName("lamp")->GetModelFormat(), 1);
  EXPECT_EQ(after.NodeWithName("lamp")->ColModel()->GetRoot(), nullptr);
  EXPECT_NE(after.NodeWithName("path")->ColModel()->GetRoot(), nullptr);
  EXPECT_EQ(after.NodeWithName("path")->SplineInfo()->NumControlPoints(), 2);
  EXPECT_EQ(after.NodeWithName("floor")->FloorInfo()->floorWord1, 0x80000001u);
  EXPECT_STREQ(after.NodeWithName("hips")->GeomInfo()->material.GetOpacityMask().c_str(), "mask");
  EXPECT_EQ(after.NodeWithName("odd")->Style(), 12);
  EXPECT_EQ(after.NodeWithName("odd")->GeomInfo(), nullptr);
  for (int i = 0; i < after.NumNodes(); ++i) EXPECT_EQ(after.Node(i)->IsUVNormalized(), 0);
}

}  // namespace
