// Skills: the body byte for byte at 106 with every annotation record and
// in the "SklN" format, the older bodies and files by version, copies and
// references, and the edits skeleton changes make (permute, transform,
// scale).

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace zoacttest;

namespace {

constexpr int32_t kSkillCode = 0x536B6C50;
constexpr int32_t kKeyframed = 0x4B6C6B53;
constexpr int32_t kNone = 0x4E6C6B53;

// Every annotation record, with values of its own.
void AddEveryRecord(ZoProtoSkill& skill) {
  auto* foot = new ZoProtoFootData;
  foot->data0 = 1, foot->data1 = 2, foot->data2 = 3;
  skill.AddFoot(foot);
  auto* hand = new ZoProtoHandData;
  auto* anchor = new ZoProtoAnchorData;
  hand->data0 = 4, anchor->data0 = 5;
  skill.AddHand(hand);
  skill.AddAnchor(anchor);
  auto* manip = new ZoProtoManipData;
  manip->point = ZoVector3(1, 2, 3), manip->data0 = 6, manip->transform = Turned(4, 0.5f);
  manip->vector[0] = 7, manip->vector[1] = 8, manip->vector[2] = 0x7FC00001u;
  skill.AddManip(manip);
  auto* event = new ZoProtoEventKeyframe;
  event->time = 10, event->name = "step", event->data0 = 11;
  skill.AddEventKeyframe(event);
  auto* sound = new ZoProtoSoundKeyframe;
  sound->time = 12, sound->name = "thud";
  for (uint32_t i = 0; i < 4; ++i) sound->values[i] = 13 + i;
  skill.AddSoundKeyframe(sound);
  auto* texture = new ZoProtoTextureKeyframe;
  texture->time = 20, texture->data0 = 21, texture->data1 = 22, texture->material.scalar = 2.5f;
  skill.AddTextureKeyframe(texture);
}

// The records of AddEveryRecord, framed, from their field tables.
void AddEveryRecordBytes(ByteBuilder& b) {
  b.i32(7);
  b.i32(0x50724644).i32(1).i32(2).i32(3);
  b.i32(0x50724844).i32(4);
  b.i32(0x50724144).i32(5);
  b.i32(0x50726D64).i32(6).f32(1).f32(2).f32(3).u32(7).u32(8).u32(0x7FC00001u);
  AddTransform(b, Turned(4, 0.5f));
  b.i32(0x5072454B).i32(10).str("step").i32(11);
  b.i32(0x5072534B).i32(12).str("thud").u32(13).u32(14).u32(15).u32(16);
  ZoMaterial material;
  material.scalar = 2.5f;
  b.i32(0x5072544B).i32(20).i32(21).i32(22).append(Body(material));
}

// What a skill holds: name, version, format, type, rate, per joint whether
// it has keys, and which of `facing`, records and the conversion
// (0, 1, 0, 0) it has.
std::string Describe(ZoProtoSkill& skill, ZoTransform3 const& facing) {
  int32_t const format = skill.Format();
  std::string text = std::string(skill.Name().c_str()) + " v" + std::to_string(skill.GetVersion()) + " " +
                     std::string(reinterpret_cast<char const*>(&format), 4) + " type " + std::to_string(skill.Type()) +
                     " rate " + std::to_string(skill.GetSampleRate()) + " keys ";
  for (int j = 0; j < skill.NumJoints(); ++j) text += skill.Joint(j) != nullptr ? '1' : '0';
  if (skill.GetForwardFacingXform() == facing) text += " facing";
  if (skill.SubclassData() != nullptr) text += " records";
  if (skill.Conversion() == ZoRotation3(0, 1, 0, 0)) text += " conversion";
  return text;
}

// A bare skill, and a skill of the "SklN" format, which stores nothing per
// joint: both with the default facing, rate, interpolation and conversion.
TEST(ZoProtoSkillBody, DefaultAndSklNBodiesByteForByteAndBack) {
  ActorRef actor = FigureActor("Dog");
  SkillRef bare(new ZoProtoSkill), pose(FigureSkill(actor.get(), "Pose"));
  pose->SetFormat(ZoSkillFormatNone);
  struct Case {
    ZoProtoSkill* skill;
    ByteBuilder head;
    char const* facts;
  } const cases[] = {{bare.get(), ByteBuilder().i32(106).i32(kKeyframed).i32(1).str("").i32(0).i32(0),
                      " v1 SklK type 0 rate 33 keys  facing"},
                     {pose.get(), ByteBuilder().i32(106).i32(kNone).i32(1).str("Pose").i32(0).i32(4),
                      "Pose v1 SklN type 0 rate 33 keys 0000 facing"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.facts);
    ByteBuilder expected = c.head;
    AddTransform(expected, ZoTransform3()).i32(33).i32(0).i32(0).f32(1).f32(0).f32(0).f32(0);
    EXPECT_EQ(Body(*c.skill, 0), expected.get());
    SkillRef back(new ZoProtoSkill);
    EXPECT_EQ(ReadBody(*back, expected, 0), ZoStreamOk);
    EXPECT_EQ(Describe(*back, ZoTransform3()), c.facts);
  }
}

TEST(ZoProtoSkillBody, Version106WithJointsAndEveryRecord) {
  ActorRef actor = FigureActor("Dog");
  SkillRef skill(FigureSkill(actor.get(), "Walk"));
  skill->Type() = 5;
  skill->SetVersion(3);
  skill->SetSampleRate(30);
  skill->SetInterpolate(1);
  skill->SetForwardFacingXform(Turned(7, 1.0f));
  skill->Conversion() = ZoRotation3(0.5f, 0.5f, 0.5f, 0.5f);
  AddEveryRecord(*skill);

  std::unique_ptr<ZoJointKeyframe> k0(Key(0, 1.0f)), k1(Key(100, 2.0f)), k2(Key(50, 3.0f));
  ByteBuilder expected;
  expected.i32(106).i32(kKeyframed).i32(3).str("Walk").i32(5).i32(4);
  AddFramedKey(AddFramedKey(expected.i32(1).i32(2), *k0), *k1);
  expected.i32(0);
  AddFramedKey(expected.i32(1).i32(1), *k2);
  expected.i32(0);
  AddTransform(expected, Turned(7, 1.0f)).i32(30).i32(1).i32(1);
  AddEveryRecordBytes(expected);
  expected.f32(0.5f).f32(0.5f).f32(0.5f).f32(0.5f);
  ASSERT_EQ(Body(*skill, 0), expected.get());

  SkillRef back(new ZoProtoSkill);
  ASSERT_EQ(ReadBody(*back, expected, 0), ZoStreamOk);
  EXPECT_EQ(back->ParentIndex(2), -1);  // not set until the skill meets its actor
  EXPECT_EQ(Body(*back, 0), expected.get());
}

// An old or current skill file in memory, by the version that selects its
// layout; `body` is everything behind the skill's type code.
Bytes LaidOutSkillFile(int32_t headerVersion, int32_t headerFormat, std::function<void(ByteBuilder&)> const& body) {
  ByteBuilder file;
  if (headerVersion == 0) {
    file.i32(ZoProtoSkill::fileType);
  } else {
    file.i32(ZoProtoActor::kContainerMagic).u16(2).u16(static_cast<uint16_t>(headerVersion)).i32(headerFormat).i32(0);
  }
  file.i32(kSkillCode);
  body(file);
  return file;
}

TEST(ZoProtoSkillFile, OlderLayoutsByVersion) {
  std::unique_ptr<ZoJointKeyframe> key(Key(40, 5.0f));
  auto joints = [&](ByteBuilder& b) { AddFramedKey(b.i32(2).i32(1).i32(1), *key).i32(0); };
  ZoTransform3 facing = Turned(2, 0.25f);
  struct Case {
    char const* name;
    Bytes file;
    char const* facts;
  } const cases[] = {
      {"30: format from the header, no facing", LaidOutSkillFile(30, kKeyframed, [&](ByteBuilder& b) {
         joints(b.i32(2).str("Old"));
       }), "Old v2 SklK type 0 rate 33 keys 10"},
      {"30 in the SklN format", LaidOutSkillFile(30, kNone, [&](ByteBuilder& b) { b.i32(2).str("Old").i32(2); }),
       "Old v2 SklN type 0 rate 33 keys 00"},
      {"37: the facing transform", LaidOutSkillFile(37, kKeyframed, [&](ByteBuilder& b) {
         joints(b.i32(2).str("Old"));
         AddTransform(b, facing);
       }), "Old v2 SklK type 0 rate 33 keys 10 facing"},
      {"38: own version and format, rate", LaidOutSkillFile(38, 0, [&](ByteBuilder& b) {
         joints(b.i32(38).i32(kKeyframed).i32(2).str("Old"));
         AddTransform(b, facing).i32(25).i32(1);
       }), "Old v2 SklK type 0 rate 25 keys 10 facing"},
      {"101", LaidOutSkillFile(0, 0, [&](ByteBuilder& b) {
         joints(b.i32(101).i32(kKeyframed).i32(2).str("Old"));
         AddTransform(b, facing).i32(25).i32(1);
       }), "Old v2 SklK type 0 rate 25 keys 10 facing"},
      {"102: type and records", LaidOutSkillFile(0, 0, [&](ByteBuilder& b) {
         joints(b.i32(102).i32(kKeyframed).i32(2).str("Old").i32(9));
         AddTransform(b, facing).i32(25).i32(1).i32(1).i32(1).i32(0x50724844).i32(4);
       }), "Old v2 SklK type 9 rate 25 keys 10 facing records"},
      {"103: the conversion", LaidOutSkillFile(0, 0, [&](ByteBuilder& b) {
         joints(b.i32(103).i32(kKeyframed).i32(2).str("Old").i32(9));
         AddTransform(b, facing).i32(25).i32(1).i32(0).f32(0).f32(1).f32(0).f32(0);
       }), "Old v2 SklK type 9 rate 25 keys 10 facing conversion"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    Reader reader(c.file, 0);
    ZoReadReport report;
    SkillRef skill(ZoProtoActor::ReadSkillFrom(*reader, &report));
    ASSERT_NE(skill.get(), nullptr) << report.reason;
    EXPECT_EQ(reader.Consumed(), c.file.size());
    EXPECT_EQ(Describe(*skill, facing), c.facts);
  }
}

TEST(ZoProtoSkill, CopiesDeepCopyJointsButNotRecordsOrFacing) {
  ActorRef actor = FigureActor("Dog");
  SkillRef source(FigureSkill(actor.get(), "Walk"));
  source->SetSampleRate(20);
  source->SetForwardFacingXform(Turned(1, 1));
  source->SetFormat(ZoSkillFormatNone);
  AddEveryRecord(*source);

  SkillRef copy(source->Duplicate());
  EXPECT_EQ(Describe(*copy, ZoTransform3()), "Walk v1 SklN type 0 rate 20 keys 1010 facing");
  EXPECT_EQ(std::make_pair(copy->RefCount(), copy->ParentIndex(3)), std::make_pair(1, 0));
  ASSERT_NE(copy->Joint(0), source->Joint(0));
  EXPECT_EQ(copy->Joint(0)->NumKeyframes(), 2);
  EXPECT_EQ(copy->AddRef(), 2);
  EXPECT_EQ(copy->Release(), 2);  // the count before the call
  EXPECT_EQ(copy.release()->Release(), 1);  // the last, which destroys the copy

  ZoProtoSkill assigned;
  assigned.SetSampleRate(40);
  assigned = *source;
  EXPECT_EQ(assigned.GetSampleRate(), 40);
  EXPECT_EQ(assigned.Name(), "Walk");
  EXPECT_EQ(assigned.Joint(2)->NumKeyframes(), 1);
}

// Scaling a node of the actor scales its joint's subtree in every skill.
TEST(ZoProtoSkill, ScaleWalksTheContiguousSubtree) {
  ActorRef actor = FigureActor("Dog");
  ZoProtoSkill* skill = OneKeyPerJoint(actor.get(), 0);
  actor->AddSkill(skill);
  auto xs = [&] {
    std::vector<float> x;
    for (int j = 0; j < 4; ++j) x.push_back(FirstKey(*skill, j).localTransform.translation.x);
    return x;
  };
  actor->ScaleSubtree(actor->GeomTraversal()->Node(2), ZoVector3(2, 1, 1));  // the head is a leaf joint
  EXPECT_EQ(xs(), (std::vector<float>{1, 1, 2, 1}));
  actor->ScaleSubtree(actor->GeomTraversal()->Node(1), ZoVector3(3, 1, 1));  // spine and head, not the leg
  EXPECT_EQ(xs(), (std::vector<float>{1, 3, 6, 1}));
  actor->ScaleSubtree(actor->RootNode(), ZoVector3(2, 1, 1));
  skill->ScaleJoint(9, ZoVector3(5, 5, 5));
  skill->ScaleJoint(-1, ZoVector3(5, 5, 5));
  EXPECT_EQ(xs(), (std::vector<float>{2, 6, 12, 2}));
}

TEST(ZoProtoSkill, TransformJointRightMultipliesAndAdjustsChildren) {
  ActorRef actor = FigureActor("Dog");
  SkillRef skill(OneKeyPerJoint(actor.get(), 1));
  auto first = [&](int j) { return FirstKey(*skill, j); };
  ZoJointKeyframe spine = first(1), head = first(2), leg = first(3);
  ZoTransform3 x = Turned(0.5f, 0.7f);

  skill->TransformJoint(1, x, 0);
  ZoJointKeyframe moved = first(1);
  EXPECT_EQ(moved.localTransform, spine.localTransform * x);
  EXPECT_EQ(moved.actorOut, spine.actorOut * x);
  EXPECT_EQ(moved.localIn, spine.localIn * x);
  EXPECT_EQ(moved.point, (~x) * spine.point);
  EXPECT_EQ(first(2).localTransform, head.localTransform);

  skill->TransformJoint(1, x, 1);
  EXPECT_EQ(first(2).localTransform, (~x) * head.localTransform);
  EXPECT_EQ(first(2).actorTransform, head.actorTransform);
  EXPECT_EQ(first(3).localTransform, leg.localTransform);

  // -1: nothing of its own; the joints without a parent joint adjust.
  ZoJointKeyframe hips = first(0);
  skill->TransformJoint(-1, x, 1);
  EXPECT_EQ(first(0).localTransform, (~x) * hips.localTransform);
  EXPECT_EQ(first(0).actorTransform, hips.actorTransform);
}

}  // namespace
