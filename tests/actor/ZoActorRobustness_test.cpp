// Bad actor and skill files: every truncation, and corruptions that must be
// refused with a reason and the offset where they stand (bad magic, objects
// of the wrong class, counts past the bytes left or the allocation cap,
// nesting too deep). Then actor files above the size read whole into
// memory, which are read from the file with their arrays straight in place
// and their sphere trees checked in runs: such a file must write its bytes
// back, and a broken link in a later run must be refused as it is from
// memory.
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace zoacttest;

namespace {

// The figure with a cube on the spine and a few records on a skill.
ActorRef RichActor() {
  ActorRef actor = FigureActor("Dog");
  actor->GeomTraversal()->Node(1)->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(0.2f, 0.4f, 0.2f)));
  actor->ProximityDefs().Add(new ZoProtoProxDef);
  actor->SetSkeleton(actor->RootNode());
  return actor;
}

SkillRef RichSkill(ZoProtoActor* actor) {
  SkillRef skill(FigureSkill(actor, "Walk"));
  auto* event = new ZoProtoEventKeyframe;
  event->name = "step";
  skill->AddEventKeyframe(event);
  skill->AddTextureKeyframe(new ZoProtoTextureKeyframe);
  return skill;
}

// Reads `file` as a skill file or an actor file: whether it was read, and
// the report.
bool Reads(Bytes const& file, bool asSkill, ZoReadReport& report) {
  Reader reader(file, 0);
  if (asSkill) return SkillRef(ZoProtoActor::ReadSkillFrom(*reader, &report)).get() != nullptr;
  return ActorRef(ZoProtoActor::ReadActorFrom(*reader, &report)).get() != nullptr;
}

bool ReadsAsSkill(Bytes const& file, ZoReadReport& report) { return Reads(file, true, report); }

TEST(ZoActorFileRobustness, EveryTruncationIsRefusedWithAReason) {
  ActorRef actor = RichActor();
  SkillRef skill = RichSkill(actor.get());
  for (bool asSkill : {false, true}) {
    Bytes const file = asSkill ? SkillFile(skill.get()) : ActorFile(actor.get());
    for (size_t cut = 1; cut <= file.size(); ++cut) {
      ZoReadReport report;
      ASSERT_FALSE(Reads(zotest::Cut(file, cut), asSkill, report)) << cut;
      ASSERT_TRUE(report.Failed() && report.reason[0] != '\0') << cut;
    }
  }
}

// A skill that takes any record, to nest skills in skills.
class Nester : public ZoProtoSkill {
 public:
  using ZoProtoSkill::AddSubclassObject;
};

// Replaces the four bytes at `at` with `value`.
Bytes Patched(Bytes bytes, size_t at, int32_t value) {
  for (size_t i = 0; i < 4 && at + i < bytes.size(); ++i)
    bytes[at + i] = static_cast<uint8_t>(static_cast<uint32_t>(value) >> (8 * i));
  return bytes;
}

TEST(ZoActorFileRobustness, CorruptionsAreRefusedWithReasonAndOffset) {
  ActorRef actor = RichActor();
  SkillRef skill = RichSkill(actor.get());
  Bytes skillFile = SkillFile(skill.get());
  // Skill file: magic 4, code 4, version 4, format 4, version 4, name 4+4,
  // type 4, then numJoints at 32 and joint 0's hasKeys at 36.
  size_t const numJointsAt = 32;
  Bytes actorFile = ActorFile(actor.get());
  size_t const mapCountAt = actorFile.size() - 4;

  struct Case {
    char const* name;
    Bytes file;
    bool skill;
    char const* reason;
    int64_t offset;
  } const cases[] = {
      {"bad magic", Patched(skillFile, 0, 0x44434241), true, "bad magic 0x44434241", 0},
      {"a skill file read as an actor", skillFile, false, "bad magic 0x5A4F536B", 0},
      {"a framed object of another class",
       ByteBuilder().i32(ZoProtoSkill::fileType).i32(ZoTypeCode::ProtoHandData).i32(4), true,
       "an object of type code 0x50724844 where another class belongs", 12},
      {"joints past the bytes left", Patched(skillFile, numJointsAt, 0x7FFFFFFF), true,
       "count 2147483647 of 4-byte elements exceeds the", static_cast<int64_t>(numJointsAt)},
      {"negative joints", Patched(skillFile, numJointsAt, -1), true, "count -1 is negative",
       static_cast<int64_t>(numJointsAt)},
      {"a key that is no keyframe", Patched(skillFile, 44, ZoTypeCode::ProtoHandData), true,
       "an object of type code 0x50724844 in a key list", -2},
      {"behaviour maps past the bytes left", Patched(actorFile, mapCountAt, 1000), false,
       "count 1000 of 8-byte elements exceeds the 0 bytes left", static_cast<int64_t>(mapCountAt)},
      {"an unknown class", Patched(actorFile, 4, 0x41424344), false, "unknown type code 0x41424344", 4},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoReadReport report;
    EXPECT_FALSE(Reads(c.file, c.skill, report));
    EXPECT_NE(report.status, ZoStreamOk);
    EXPECT_EQ(std::string(report.reason).find(c.reason), 0u) << report.reason;
    if (c.offset != -2) {
      EXPECT_EQ(report.offset, c.offset);
    }
  }
}

TEST(ZoActorFileRobustness, CapsOnAllocationAndNestingHoldAtTheirValues) {
  // A skill of the "SklN" format stores nothing per joint: only the cap
  // bounds its joint array (16 bytes a joint).
  SkillRef pose(new ZoProtoSkill);
  pose->SetName("Pose");
  pose->SetFormat(ZoSkillFormatNone);
  Bytes file = SkillFile(pose.get());
  Bytes many = Patched(file, 32, 64), tooMany = Patched(file, 32, 65);
  ZoReadReport report;
  ZoReadLimits::SetMaxAllocation(64 * sizeof(ZoSkillJoint));
  EXPECT_TRUE(ReadsAsSkill(many, report));
  EXPECT_FALSE(ReadsAsSkill(tooMany, report));
  EXPECT_NE(std::string(report.reason).find("allocation cap"), std::string::npos) << report.reason;
  ZoReadLimits::Reset();
  ZoProtoSkill::SetMaxJoints(64);
  EXPECT_TRUE(ReadsAsSkill(many, report));
  EXPECT_FALSE(ReadsAsSkill(tooMany, report));
  EXPECT_STREQ(report.reason, "joint count 65 passes the cap of 64");
  EXPECT_EQ(report.offset, 32);
  ZoProtoSkill::SetMaxJoints(ZoProtoSkill::kDefaultMaxJoints);

  // Skills nested as annotation records: the file's frame is level 1.
  ZoRef<Nester> inner(new Nester), middle(new Nester), outer(new Nester);
  middle->AddSubclassObject(inner.release());
  outer->AddSubclassObject(middle.release());
  Bytes deep = SkillFile(outer.get());
  ZoReadLimits::SetMaxDepth(3);
  EXPECT_TRUE(ReadsAsSkill(deep, report));
  ZoReadLimits::SetMaxDepth(2);
  EXPECT_FALSE(ReadsAsSkill(deep, report));
  EXPECT_STREQ(report.reason, "nesting deeper than 2");
  ZoReadLimits::Reset();
}

// --- Large files -------------------------------------------------------------------------------

// Each part is four spheres of 100 segments (9 800 triangles each) merged
// into one set: several MB on file, above what is read whole, and more
// sphere nodes than one run of the tree check holds (1 MiB of 28-byte
// records).
constexpr int kSegments = 100;
constexpr int kSpheresPerPart = 4;

ZoTriangleSet* PartSet(float radius) {
  auto* set = new ZoTriSphere(ZoMaterial(), radius, kSegments);
  for (int k = 1; k < kSpheresPerPart; ++k) {
    ZoTriSphere more(ZoMaterial(), radius, kSegments);
    EXPECT_TRUE(set->Merge(more, ZoTransform3(ZoVector3(3.0f * radius * static_cast<float>(k), 0, 0), ZoRotation3())));
  }
  return set;
}

ZoProtoActor* BigActor() {
  auto* actor = new ZoProtoActor;
  actor->SetName("Boulder");
  auto* hub = new ZoProtoNode;
  hub->SetStyle(ZoProtoNode::Handle);
  for (int i = 0; i < 2; ++i) {
    auto* node = new ZoProtoNode;
    node->SetName(ZoString("part") + ZoString(i));
    node->SetColModel(PartSet(1.0f + static_cast<float>(i)));
    hub->addChild(node);
  }
  actor->SetSkeleton(hub);
  return actor;
}

ZoColModel* PartModel(ZoProtoActor const* actor, int part) {
  return actor->GeomTraversal()->Node(part)->ColModel();
}

TEST(ZoActorFileLarge, ReadsFromTheFileAndWritesItsBytesBack) {
  TempFolder folder;
  ActorRef original(BigActor());
  Bytes const file = ActorFile(original.get());
  std::string const path = folder.WriteFile("Boulder.act", file);
  ASSERT_GT(file.size(), size_t{1} << 20);
  ASSERT_GT(PartModel(original.get(), 0)->GetNumSpheres() * 28, 1 << 20);

  ZoReadReport report;
  ActorRef fromFile(ZoProtoActor::ReadActorFile(path.c_str(), &report));
  ASSERT_NE(fromFile.get(), nullptr) << report.reason;
  // Every leaf and sphere record as stored: the arrays came straight in place.
  EXPECT_TRUE(ActorFile(fromFile.get()) == file);
}

TEST(ZoActorFileLarge, ABrokenLinkInALaterRunIsRefusedAsFromMemory) {
  TempFolder folder;
  ActorRef original(BigActor());
  // The last sphere node's right child names the first leaf again.
  ZoColModel* model = PartModel(original.get(), 1);
  model->GetRoot()[model->GetNumSpheres() - 1].right = ZoSphereNode::LeafReference(0);
  Bytes const file = ActorFile(original.get());
  std::string const path = folder.WriteFile("Boulder.act", file);

  ZoReadReport fromFile;
  EXPECT_EQ(ZoProtoActor::ReadActorFile(path.c_str(), &fromFile), nullptr);
  ZoReadReport fromMemory;
  Reader memory(file, 0);
  EXPECT_EQ(ZoProtoActor::ReadActorFrom(*memory, &fromMemory), nullptr);
  EXPECT_EQ(fromFile.status, ZoStreamFormatError);
  EXPECT_STREQ(fromFile.reason, fromMemory.reason);
  EXPECT_NE(std::strstr(fromFile.reason, "links do not form a tree"), nullptr) << fromFile.reason;
  EXPECT_EQ(fromFile.offset, fromMemory.offset);
  EXPECT_GT(fromFile.offset, int64_t{1} << 20);
}

}  // namespace
