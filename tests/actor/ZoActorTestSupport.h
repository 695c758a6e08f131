// Helpers for the actor tests: a small figure skeleton, skills for it with
// distinct keys, and the bytes of skill and actor bodies built field by
// field from their tables.
#ifndef ZOACTOR_TESTS_ACTORLAYER_SUPPORT_H
#define ZOACTOR_TESTS_ACTORLAYER_SUPPORT_H

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/skeleton/ZoProtoNode.h>

#include "skeleton/ZoOlderLayout.h"
#include "skeleton/ZoSkeletonTestSupport.h"
#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace zoacttest {

using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Reader;
using zotest::TempFolder;

using zoskeletontest::AddTransform;
using zoskeletontest::ReadBody;
using ActorRef = ZoRef<ZoProtoActor>;
using SkillRef = ZoRef<ZoProtoSkill>;

inline ZoTransform3 Turned(float x, float angle) {
  ZoRotation3 q;
  q.setValue(angle, ZoVector3(0, 0, 1));
  return ZoTransform3(ZoVector3(x, 2 * x, -x), q);
}

// A joint key whose every field differs from the others.
inline ZoJointKeyframe* Key(uint32_t time, float seed) {
  auto* k = new ZoJointKeyframe;
  k->setTime(time);
  k->tag = static_cast<int32_t>(time) + 7;
  k->flags = 3;
  k->localTransform = Turned(seed, 0.1f);
  k->localIn = Turned(seed + 1, 0.2f);
  k->localOut = Turned(seed + 2, 0.3f);
  k->actorTransform = Turned(seed + 3, 0.4f);
  k->actorIn = Turned(seed + 4, 0.5f);
  k->actorOut = Turned(seed + 5, 0.6f);
  k->point = ZoVector3(seed, -seed, 0.5f);
  k->marker = 9;
  k->blendMode = 1;
  return k;
}

// A framed joint key as its code, keyframe body and 200-byte block.
inline ByteBuilder& AddFramedKey(ByteBuilder& b, ZoJointKeyframe const& k) {
  b.i32(0x79654B4A).u32(k.time()).i32(k.tag).i32(k.flags);
  for (ZoTransform3 const* t : {&k.localTransform, &k.localIn, &k.localOut, &k.actorTransform, &k.actorIn, &k.actorOut})
    AddTransform(b, *t);
  return b.f32(k.point.x).f32(k.point.y).f32(k.point.z).i32(k.marker).f32(k.easeIn).f32(k.easeOut).i32(k.blendMode);
}

// The first key of joint `j` of `skill` (which must have one).
inline ZoJointKeyframe& FirstKey(ZoProtoSkill& skill, int j) {
  ZoKeyListNode* p = nullptr;
  return *skill.Joint(j)->GetFirst(p);
}

inline ZoProtoNode* Joint(char const* name, int32_t style, float x) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(style);
  node->SetHomeTransform(ZoTransform3(ZoVector3(x, 1, 0), ZoRotation3()));
  return node;
}

// hips → spine → head → grip (a handle); hips → leg. The joints (geometry
// traversal) are hips 0, spine 1, head 2, leg 3 with parents -1, 0, 1, 0.
inline ZoProtoNode* Figure() {
  ZoProtoNode* hips = Joint("Hips", ZoProtoNode::Geometry, 0);
  ZoProtoNode* spine = Joint("Spine", ZoProtoNode::Geometry, 0.5f);
  ZoProtoNode* head = Joint("Head", ZoProtoNode::Geometry, 0.25f);
  ZoProtoNode* leg = Joint("Leg", ZoProtoNode::Geometry, -0.5f);
  hips->addChild(spine);
  spine->addChild(head);
  head->addChild(Joint("Grip", ZoProtoNode::Handle, 0.1f));
  hips->addChild(leg);
  return hips;
}

// A geometry node at `home` with a cube of edge `edge` (its sphere tree built).
inline ZoProtoNode* Solid(char const* name, ZoTransform3 const& home, float edge = 0.2f) {
  ZoProtoNode* node = Joint(name, ZoProtoNode::Geometry, 0);
  node->SetHomeTransform(home);
  node->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(edge, edge, edge)));
  return node;
}

// A new actor holding the skeleton `root`.
inline ActorRef ActorOf(ZoProtoNode* root) {
  ActorRef actor(new ZoProtoActor);
  actor->SetSkeleton(root);
  return actor;
}

inline ActorRef FigureActor(char const* name) {
  ActorRef actor = ActorOf(Figure());
  actor->SetName(name);
  return actor;
}

// A skill, no keys yet, over a flat skeleton: `joints` geometry joints
// j0 … below j0.
inline ZoProtoSkill* FlatSkill(int joints) {
  ZoProtoNode* root = Joint("j0", ZoProtoNode::Geometry, 0);
  for (int j = 1; j < joints; ++j) root->addChild(Joint(("j" + std::to_string(j)).c_str(), ZoProtoNode::Geometry, 0));
  ActorRef actor = ActorOf(root);
  auto* skill = new ZoProtoSkill;
  skill->SetupFromPrototype(actor.get());
  return skill;
}

// A skill sized to `actor` with two keys on joint 0 and one on joint 2.
inline ZoProtoSkill* FigureSkill(ZoProtoActor* actor, char const* name) {
  auto* skill = new ZoProtoSkill;
  skill->SetName(name);
  skill->SetupFromPrototype(actor);
  skill->InitJoint(0)->Insert(Key(0, 1.0f));
  skill->InitJoint(0)->Insert(Key(100, 2.0f));
  skill->InitJoint(2)->Insert(Key(50, 3.0f));
  return skill;
}

// A skill sized to `actor` whose joint j has the one key Key(0, 1 + j × `step`).
inline ZoProtoSkill* OneKeyPerJoint(ZoProtoActor* actor, float step) {
  auto* skill = new ZoProtoSkill;
  skill->SetupFromPrototype(actor);
  for (int j = 0; j < skill->NumJoints(); ++j) skill->InitJoint(j)->Insert(Key(0, 1.0f + step * static_cast<float>(j)));
  return skill;
}

// The figure "Dog" to be saved into `folder`/Dog/, with FigureSkills of
// `names` cached.
inline ActorRef SavableDog(TempFolder const& folder, std::vector<char const*> const& names) {
  ActorRef actor = FigureActor("Dog");
  actor->Path() = (folder.path() + "/Dog/").c_str();
  for (char const* name : names) actor->AddSkill(FigureSkill(actor.get(), name));
  return actor;
}

// An actor of the figure whose folder is `folder`/Dog/, with skill files
// written for it under `names` (each a FigureSkill of that name).
inline ActorRef ActorWithSkillFiles(TempFolder const& folder, std::vector<char const*> const& names) {
  ActorRef actor = SavableDog(folder, {});
  std::filesystem::create_directories(folder / "Dog/Skills");
  for (char const* name : names) {
    SkillRef skill(FigureSkill(actor.get(), name));
    EXPECT_EQ(ZoProtoActor::WriteSkillFile(actor->SkillPath() + name + ".skl", skill.get()), 1);
  }
  return actor;
}

// The names `name` gives the items (of type Item) of `list`, each followed
// by ';'.
template <class Item, class Name>
std::string Joined(ZoDblList const& list, Name name) {
  std::string text;
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor))
    text += std::string(name(*static_cast<Item const*>(item)).c_str()) + ";";
  return text;
}

// The bytes of a file on disk, or empty.
inline Bytes FileBytes(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The actor file and the skill file of an object, as written to a stream.
inline Bytes ActorFile(ZoProtoActor const* actor) {
  ZoMemoryStream stream;
  EXPECT_EQ(ZoProtoActor::WriteActorTo(stream, actor), ZoStreamOk);
  return zotest::Written(stream);
}

inline Bytes SkillFile(ZoProtoSkill const* skill) {
  ZoMemoryStream stream;
  EXPECT_EQ(ZoProtoActor::WriteSkillTo(stream, skill), ZoStreamOk);
  return zotest::Written(stream);
}

// An actor file of the older layout of `version`: a container header, then
// the framed older body of "Old": a geometry node "hips" (a square from
// version 28 on) holding a handle "grip", one property "legs" (a kind, the
// name and an unframed int below version 42; the name and a framed int from
// 42 on), one proximity definition "near" and one behaviour map "Walk".
inline Bytes OlderActorFile(int32_t version) {
  zoolderlayout::OlderNode grip, hips;
  grip.name = "grip";
  grip.style = 2;
  grip.record = [](ByteBuilder& b, int32_t) { b.i32(1).f32(0.1f).f32(0.3f).u32(0); };
  hips.name = "hips";
  hips.children = {grip};
  ByteBuilder b;
  b.i32(ZoProtoActor::kContainerMagic).u16(2).u16(static_cast<uint16_t>(version)).chars("Actr").i32(0);
  b.i32(ZoTypeCode::ProtoActor);
  if (version >= 24) b.i32(8);
  hips.Write(b.str("Old"), version);
  if (version >= 42) {
    b.i32(1).str("legs").i32(-1).i32(ZoTypeCode::IntValue).i32(4).i32(4);
  } else {
    b.i32(1).i32(2).str("legs").i32(4);
  }
  b.i32(1).str("near").f32(2).f32(3).f32(4);
  if (version >= 34) b.i32(7);
  return b.i32(1).str("Walk").i32(1).str("step");
}

}  // namespace zoacttest

#endif
