// Behaviour maps and proximity definitions: their edits, the maximum
// definition, and both bodies byte for byte.
#include <zoactor/actor/ZoFSMSpaceToBhvr.h>
#include <zoactor/actor/ZoProtoProxDef.h>

#include "support/ZoTestObjects.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <cmath>

using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Reader;

namespace {

ZoFSMSpaceToBhvr* Map(char const* space, std::initializer_list<char const*> active) {
  auto* map = new ZoFSMSpaceToBhvr;
  map->SetSpaceName(space);
  for (char const* name : active) map->AddActiveBhvr(name);
  return map;
}

std::string Active(ZoFSMSpaceToBhvr const* map) {
  std::string text;
  ZoDblListItem* cursor = nullptr;
  for (void* item = map->ActiveBehaviors().GetFirst(cursor); item != nullptr;
       item = map->ActiveBehaviors().GetNext(cursor))
    text += std::string(static_cast<ZoString*>(item)->c_str()) + ";";
  return text;
}

ZoProtoProxDef* Def(char const* name, float radius, float range1, float range2) {
  auto* def = new ZoProtoProxDef;
  def->name = name;
  def->SetRadius(radius);
  def->range1 = range1;
  def->range2 = range2;
  return def;
}

TEST(ZoBehaviorMap, EditsKeepEachNameOnceAndCompareExactly) {
  std::unique_ptr<ZoFSMSpaceToBhvr> map(Map("Walk", {"idle", "idle", "run"}));
  EXPECT_EQ(Active(map.get()), "idle;run;");
  EXPECT_EQ(map->IsActive("IDLE"), 0);  // behaviour names keep their case
  map->RemoveActiveBhvr("missing");
  map->RemoveActiveBhvr("idle");
  EXPECT_EQ(Active(map.get()), "run;");
  ZoFSMSpaceToBhvr copy(*map);
  map->AddActiveBhvr("jump");
  EXPECT_EQ(Active(&copy), "run;");
}

TEST(ZoBehaviorMap, BodyIsNameCountAndNames) {
  std::unique_ptr<ZoFSMSpaceToBhvr> map(Map("Walk", {"idle", "run"}));
  Bytes expected = ByteBuilder().str("Walk").i32(2).str("idle").str("run");
  EXPECT_EQ(Body(*map), expected);

  ZoFSMSpaceToBhvr back;
  back.AddActiveBhvr("held");
  Reader reader(expected);
  EXPECT_EQ(back.ReadFromStream(*reader), ZoStreamOk);
  EXPECT_EQ(back.SpaceName(), "Walk");
  EXPECT_EQ(Active(&back), "held;idle;run;");  // appended to what was held

  ZoFSMSpaceToBhvr negative;
  Reader none(ByteBuilder().str("S").i32(-3));
  EXPECT_EQ(negative.ReadFromStream(*none), ZoStreamOk);
  EXPECT_EQ(negative.ActiveBehaviors().GetCount(), 0);
  Reader huge(ByteBuilder().str("S").i32(1000).str("x"));
  EXPECT_NE(ZoFSMSpaceToBhvr().ReadFromStream(*huge), ZoStreamOk);
}

TEST(ZoProximity, MaximumIsFieldWiseAndStrict) {
  ZoDblList defs;
  std::unique_ptr<ZoProtoProxDef> a(Def("a", 1, 2, 5)), b(Def("b", 3, 1, 4)), nan(Def("n", NAN, -1, -1));
  defs.Add(a.get());
  defs.Add(b.get());
  defs.Add(nan.get());
  ZoProtoProxDef max;
  max.name = "kept?";
  max.proxFlag = 7;
  max.SetToMaximum(&defs);
  EXPECT_EQ(max.radius, 3.0f);
  EXPECT_EQ(max.radiusSquared, 9.0f);
  EXPECT_EQ(max.range1, 2.0f);
  EXPECT_EQ(max.range2, 5.0f);
  EXPECT_TRUE(max.name.IsEmpty());
  EXPECT_EQ(max.proxFlag, 7);
  max.SetToMaximum(nullptr);
  EXPECT_EQ(max.radius, 0.0f);
  EXPECT_EQ(max.range2, 0.0f);
}

TEST(ZoProximity, BodyAndTheOlderFieldsWithoutFlag) {
  std::unique_ptr<ZoProtoProxDef> def(Def("near", 2, 3, 4));
  def->proxFlag = -5;
  Bytes expected = ByteBuilder().str("near").f32(2).f32(3).f32(4).i32(-5);
  EXPECT_EQ(Body(*def), expected);

  ZoProtoProxDef back;
  Reader reader(expected);
  EXPECT_EQ(back.ReadFromStream(*reader), ZoStreamOk);
  EXPECT_EQ(back.radiusSquared, 4.0f);
  EXPECT_EQ(back.proxFlag, -5);

  ZoProtoProxDef older;
  Reader olderReader(ByteBuilder().str("far").f32(6).f32(7).f32(8));
  EXPECT_EQ(older.ReadFields(*olderReader, 0), ZoStreamOk);
  EXPECT_EQ(older.radiusSquared, 36.0f);
  EXPECT_EQ(older.proxFlag, 1);
  EXPECT_EQ(olderReader.Consumed(), 19u);
}

}  // namespace
