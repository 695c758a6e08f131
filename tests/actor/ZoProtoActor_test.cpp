// The proto actor: its defaults, bounds, copies and references, the
// skeleton it installs, the current body byte for byte, and actor files
// that start with a container header (versions below 24, 33 and 34).
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <tuple>

using namespace zoacttest;

namespace {

// Eleven properties: nine empty role strings, the eye vector and the
// bounding radius (checked with the bounds).
TEST(ZoProtoActor, NewActorHasItsDefaults) {
  ActorRef actor(new ZoProtoActor);
  EXPECT_EQ(std::make_tuple(actor->RefCount(), actor->Version(), actor->GetSkillCacheSize(), actor->Properties().GetCount()),
            std::make_tuple(1, 1, -1, 11));
  for (char const* key : {"ZO_faceNode", "ZO_stopSkill", "ZO_locoSkill", "ZO_graspSkill", "ZO_graspPoseSkill",
                          "ZO_touchSkill", "ZO_touchPoseSkill", "ZO_sitSkill", "ZO_putPoseSkill"})
    EXPECT_EQ(static_cast<ZoString>(*actor->Properties().Find(key)), "") << key;
  auto const* eye = dynamic_cast<ZoVector3Value const*>(actor->Properties().Find("ZO_eyeVector")->Value());
  ASSERT_NE(eye, nullptr);
  EXPECT_EQ(static_cast<ZoVector3 const&>(*eye), ZoVector3(1, 0, 0));
}

TEST(ZoProtoActor, BoundsComeFromMeasuredNodesOnly) {
  struct Case {
    char const* name;
    std::function<ZoProtoNode*()> skeleton;
    ZoVector3 min, max;
  } const cases[] = {
      {"handles only: the default box",
       [] {
         ZoProtoNode* root = Joint("root", ZoProtoNode::Handle, 0);
         root->CreateColModel();
         return root;
       },
       ZoVector3(-0.1f, -0.1f, -0.1f), ZoVector3(0.1f, 0.1f, 0.1f)},
      {"a square never counts",
       [] {
         ZoProtoNode* square = Solid("sq", ZoTransform3(), 4);
         if (ZoProtoGeomInfo* info = square->GeomInfo()) info->squareKind = 1;
         return square;
       },
       ZoVector3(-0.1f, -0.1f, -0.1f), ZoVector3(0.1f, 0.1f, 0.1f)},
      {"two cubes placed in the root's parent frame",
       [] {
         ZoProtoNode* root = Solid("a", ZoTransform3(ZoVector3(0, 1, 0), ZoRotation3()), 2);
         root->addChild(Solid("b", ZoTransform3(ZoVector3(3, 0, 0), ZoRotation3()), 1));
         return root;
       },
       ZoVector3(-1, 0, -1), ZoVector3(3.5f, 2, 1)},
      {"only the two corners move: a quarter turn crosses them",
       [] {
         ZoRotation3 quarter;
         quarter.setValue(1.5707964f, ZoVector3(0, 0, 1));
         return Solid("turned", ZoTransform3(ZoVector3(), quarter), 2);
       },
       ZoVector3(1, -1, -1), ZoVector3(-1, 1, 1)},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ActorRef actor = ActorOf(c.skeleton());
    ZoVector3 min, max, center;
    float radius = 0, height = 0, sphere = 0;
    actor->GetBoundingBox(min, max);
    zotest::ExpectNear(min, c.min);
    zotest::ExpectNear(max, c.max);
    actor->GetBoundingCylinder(radius, height);
    actor->GetBoundingSphere(center, sphere);
    ZoVector3 extent = c.max - c.min;
    EXPECT_NEAR(radius, 0.5f * std::sqrt(extent.x * extent.x + extent.z * extent.z), 1e-5f);
    EXPECT_NEAR(height, extent.y, 1e-5f);
    EXPECT_NEAR(sphere, 0.5f * extent.length(), 1e-5f);
    zotest::ExpectNear(center, (c.min + c.max) * 0.5f);
    EXPECT_EQ(static_cast<float>(*actor->Properties().Find("ZO_bndRadius")), radius);
  }
}

TEST(ZoProtoActor, CopyIsDeep) {
  ActorRef source = FigureActor("Dog");
  source->Path() = "somewhere/";
  source->Version() = 4;
  source->AddSkill(FigureSkill(source.get(), "Walk"));
  source->SetSkillCacheSize(3);
  auto* map = new ZoFSMSpaceToBhvr;
  map->SetSpaceName("Walk");
  source->AddSpaceBhvrMap(map);
  auto* def = new ZoProtoProxDef;
  def->SetRadius(2);
  source->ProximityDefs().Add(def);
  source->RegCompiledBhvr("compiled");

  ActorRef copy(new ZoProtoActor(*source));
  EXPECT_TRUE(copy->Path().IsEmpty());
  EXPECT_EQ(std::make_tuple(copy->Version(), copy->RefCount(), copy->GetSkillCacheSize(), copy->GeomTraversal()->NumNodes()),
            std::make_tuple(4, 1, -1, 4));
  EXPECT_NE(copy->RootNode(), source->RootNode());
  EXPECT_EQ(copy->NodeTraversal()->Node(0)->GetActor(), copy.get());
  ZoProtoSkill* walk = copy->GetSkill("walk", 0);  // found in the copy's dictionary, not loaded
  ASSERT_NE(walk, nullptr);
  EXPECT_NE(walk, source->GetSkill("WALK", 0));
  EXPECT_EQ(copy->BehaviorMaps().GetCount(), 1);
  EXPECT_NE(copy->FindSpaceBhvrMap("walk"), map);
  EXPECT_EQ(copy->MaxProximityDef().radius, 2.0f);
  EXPECT_EQ(copy->IsBhvrCompiled("compiled"), 0);
}

// The current body of `actor`, from its field table; the nested skeleton
// and property table come from their own writers.
Bytes CurrentBody(ZoProtoActor& actor) {
  ByteBuilder b;
  b.i32(106).i32(actor.Version()).str(actor.Name().c_str());
  b.append(Body(*actor.RootNode())).append(Body(actor.Properties()));
  b.i32(1).str("near").f32(2).f32(3).f32(4).i32(6);
  b.i32(1).str("Swim").i32(2).str("kick").str("glide");
  return b;
}

TEST(ZoProtoActorBody, CurrentBodyByteForByteAndBack) {
  ActorRef actor = FigureActor("Dog");
  actor->Version() = 3;
  actor->Properties().SetValue("ZO_faceNode", new ZoStringValue("Head"));
  auto* def = new ZoProtoProxDef;
  def->name = "near", def->range1 = 3, def->range2 = 4, def->proxFlag = 6;
  def->SetRadius(2);
  actor->ProximityDefs().Add(def);
  auto* map = new ZoFSMSpaceToBhvr;
  map->SetSpaceName("Swim");
  for (char const* name : {"kick", "glide"}) map->AddActiveBhvr(name);
  actor->AddSpaceBhvrMap(map);

  Bytes expected = CurrentBody(*actor);
  ASSERT_EQ(Body(*actor, 0), expected);

  ActorRef back(new ZoProtoActor);
  ASSERT_EQ(ReadBody(*back, expected, 0), ZoStreamOk);
  EXPECT_EQ(back->MaxProximityDef().radius, 2.0f);  // derived from the definitions read
  EXPECT_NE(back->NodeTraversal()->NodeWithName("Grip")->ColModel(), nullptr);  // its marker again
  EXPECT_EQ(Body(*back, 0), expected);

  ActorRef bare(new ZoProtoActor);
  ZoMemoryStream out;
  EXPECT_EQ(bare->WriteToStream(out), ZoStreamWriteError);
  EXPECT_EQ(out.GetPosition(), 0u);
}

TEST(ZoProtoActorFile, ContainerHeaderFilesReadTheOlderBody) {
  struct Case {
    int32_t version;
    int32_t actorVersion, flag;
    bool squareShape;
  } const cases[] = {{20, 1, 1, false}, {33, 8, 1, true}, {34, 8, 7, true}, {45, 8, 7, true}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.version);
    Bytes file = OlderActorFile(c.version);
    Reader reader(file, 0);
    ZoReadReport report;
    ActorRef actor(ZoProtoActor::ReadActorFrom(*reader, &report));
    ASSERT_NE(actor.get(), nullptr) << report.reason;
    EXPECT_EQ(std::make_tuple(reader.Consumed(), actor->Version(), actor->Properties().GetCount()),
              std::make_tuple(static_cast<uint32_t>(file.size()), c.actorVersion, 12));
    EXPECT_EQ(actor->Name(), "Old");
    ASSERT_EQ(actor->NodeTraversal()->NumNodes(), 2);
    EXPECT_NE(actor->NodeTraversal()->NodeWithName("grip")->ColModel(), nullptr);
    EXPECT_EQ(actor->RootNode()->ColModel() != nullptr, c.squareShape);  // a square from 28 on
    EXPECT_EQ(static_cast<int>(*actor->Properties().Find("legs")), 4);
    ZoDblListItem* cursor = nullptr;
    auto* def = static_cast<ZoProtoProxDef*>(actor->ProximityDefs().GetFirst(cursor));
    EXPECT_EQ(std::make_tuple(def->proxFlag, def->radiusSquared, actor->MaxProximityDef().range2),
              std::make_tuple(c.flag, 4.0f, 4.0f));
    ASSERT_NE(actor->FindSpaceBhvrMap("WALK"), nullptr);
    EXPECT_EQ(actor->FindSpaceBhvrMap("WALK")->IsActive("step"), 1);
  }
}

TEST(ZoProtoActorFile, FilesOnDiskKeepTheirFolderAndRefuseActorsWithoutSkeletonOrFolder) {
  TempFolder folder;
  ActorRef actor = FigureActor("Dog");
  std::string path = folder / "Dog.act";
  ASSERT_EQ(ZoProtoActor::WriteActorFile(path.c_str(), actor.get()), 1);

  std::string dosPath = folder.path() + "\\DOG.ACT";
  std::replace(dosPath.begin(), dosPath.end(), '/', '\\');
  ActorRef back(ZoProtoActor::ReadActorFile(dosPath.c_str()));
  ASSERT_NE(back.get(), nullptr);
  EXPECT_EQ(std::string(back->Path().c_str()), folder.path() + "/");
  EXPECT_EQ(std::string(back->SkillPath().c_str()), folder.path() + "/Skills/");

  ActorRef bare(new ZoProtoActor);
  EXPECT_EQ(ZoProtoActor::WriteActorFile((folder / "Bare.act").c_str(), bare.get()), 0);
  EXPECT_TRUE(FileBytes(folder / "Bare.act").empty());
  // A folder that does not exist takes no file.
  EXPECT_EQ(ZoProtoActor::WriteSkillFile((folder / "none/Walk.skl").c_str(), SkillRef(new ZoProtoSkill).get()), 0);
}

}  // namespace
