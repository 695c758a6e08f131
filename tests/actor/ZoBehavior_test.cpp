// Behaviour maps, compiled behaviours and proximity definitions: their
// edits on the actor, the maximum definition, and the map body byte for
// byte (the definition body is laid out in the actor body tests).
#include <zoactor/actor/ZoFSMSpaceToBhvr.h>
#include <zoactor/actor/ZoProtoProxDef.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

using namespace zoacttest;

namespace {

ZoFSMSpaceToBhvr* Map(char const* space, std::initializer_list<char const*> active) {
  auto* map = new ZoFSMSpaceToBhvr;
  map->SetSpaceName(space);
  for (char const* name : active) map->AddActiveBhvr(name);
  return map;
}

std::string Active(ZoFSMSpaceToBhvr const* map) {
  return Joined<ZoString>(map->ActiveBehaviors(), [](ZoString const& name) { return name; });
}

ZoProtoProxDef* Def(char const* name, float radius, float range1, float range2) {
  auto* def = new ZoProtoProxDef;
  def->name = name;
  def->SetRadius(radius);
  def->range1 = range1;
  def->range2 = range2;
  return def;
}

TEST(ZoBehaviorMap, ActorFindsRenamesAndRemovesAcrossSpacesAndKeepsCompiledBehaviours) {
  ActorRef actor(new ZoProtoActor);
  actor->AddSpaceBhvrMap(Map("WALK", {"a", "b", "a"}));  // each name once
  actor->AddSpaceBhvrMap(Map("walk", {"a"}));
  actor->AddSpaceBhvrMap(Map("Swim", {"b", "c"}));
  ZoFSMSpaceToBhvr* first = actor->FindSpaceBhvrMap("walk");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->SpaceName(), "WALK");
  EXPECT_EQ(Active(first), "a;b;");
  EXPECT_EQ(first->IsActive("A"), 0);  // behaviour names keep their case
  EXPECT_EQ(actor->FindSpaceBhvrMap("fly"), nullptr);
  ZoFSMSpaceToBhvr copy(*first);

  // a and b both active: only b stays; where only a was, b replaces it.
  actor->RenameBehaviorForSpaces("a", "b");
  EXPECT_EQ(Active(first), "b;");
  EXPECT_EQ(Active(&copy), "a;b;");  // the copy owns its names
  actor->RemoveBehaviorFromAllSpaces("c");
  EXPECT_EQ(Active(actor->FindSpaceBhvrMap("SWIM")), "b;");

  actor->RemoveSpaceBhvrMap("Walk");  // the first of the two WALK maps only
  ASSERT_EQ(actor->BehaviorMaps().GetCount(), 2);
  EXPECT_EQ(actor->FindSpaceBhvrMap("walk")->SpaceName(), "walk");

  // Compiled behaviours are a set.
  actor->UnregCompiledBhvr("never");
  actor->RegCompiledBhvr("x");
  actor->RegCompiledBhvr("x");
  EXPECT_EQ(std::make_pair(actor->BhvrList().GetCount(), actor->IsBhvrCompiled("x")), std::make_pair(1, 1));
  actor->UnregCompiledBhvr("x");
  EXPECT_EQ(actor->IsBhvrCompiled("x"), 0);
}

TEST(ZoBehaviorMap, BodyIsNameCountAndNames) {
  std::unique_ptr<ZoFSMSpaceToBhvr> map(Map("Walk", {"idle", "run"}));
  Bytes expected = ByteBuilder().str("Walk").i32(2).str("idle").str("run");
  EXPECT_EQ(Body(*map), expected);

  ZoFSMSpaceToBhvr back;
  back.AddActiveBhvr("held");
  EXPECT_EQ(ReadBody(back, expected), ZoStreamOk);
  EXPECT_EQ(back.SpaceName(), "Walk");
  EXPECT_EQ(Active(&back), "held;idle;run;");  // appended to what was held

  ZoFSMSpaceToBhvr negative;
  EXPECT_EQ(ReadBody(negative, ByteBuilder().str("S").i32(-3)), ZoStreamOk);
  EXPECT_EQ(negative.ActiveBehaviors().GetCount(), 0);
  Reader huge(ByteBuilder().str("S").i32(1000).str("x"));
  EXPECT_NE(ZoFSMSpaceToBhvr().ReadFromStream(*huge), ZoStreamOk);
}

TEST(ZoProximity, MaximumIsFieldWiseAndStrict) {
  ZoDblList defs;
  std::unique_ptr<ZoProtoProxDef> a(Def("a", 1, 2, 5)), b(Def("b", 3, 1, 4)), nan(Def("n", NAN, -1, -1));
  for (ZoProtoProxDef* def : {a.get(), b.get(), nan.get()}) defs.Add(def);
  ZoProtoProxDef max;
  max.name = "kept?", max.proxFlag = 7;
  max.SetToMaximum(&defs);
  EXPECT_EQ(std::make_tuple(max.radius, max.radiusSquared, max.range1, max.range2, max.proxFlag),
            std::make_tuple(3.0f, 9.0f, 2.0f, 5.0f, 7));
  EXPECT_TRUE(max.name.IsEmpty());
  max.SetToMaximum(nullptr);
  EXPECT_EQ(std::make_pair(max.radius, max.range2), std::make_pair(0.0f, 0.0f));
}

TEST(ZoProximity, DefaultDefinitionComesFromTheBoundsOnce) {
  ActorRef actor(new ZoProtoActor);
  actor->ComputeBounds();  // no measured geometry: the default box
  actor->ProximityDefs().Add(Def("named", 5, 5, 5));
  ZoProtoProxDef* def = actor->GetDefaultProximityDef();
  ASSERT_NE(def, nullptr);
  zotest::ExpectNear(ZoVector3(def->radius, def->radiusSquared, def->range1), ZoVector3(0.141421f, 0.02f, 0.3f), 1e-6f);
  EXPECT_NEAR(def->range2, 0.6f, 1e-6f);
  EXPECT_EQ(actor->GetDefaultProximityDef(), def);
  EXPECT_EQ(actor->ProximityDefs().GetCount(), 2);
  EXPECT_EQ(actor->MaxProximityDef().radius, 1.0f);  // not recomputed
}

}  // namespace
