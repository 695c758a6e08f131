// The recorder end to end: a sequence written into its folder and read back,
// the sequence file and motion files checked byte for byte, the folder
// set-up and its messages, and sequence files that must be refused.
#include <zoactor/sequence/ZoAnimSequence.h>

#include "actor/ZoActorTestSupport.h"
#include "sequence/ZoSequenceTestSupport.h"


#include <cstring>
#include <unistd.h>

namespace {

using namespace zoseqtest;
using zoacttest::ActorRef;
using zoacttest::FigureActor;

// The frame `frame` of a record: `size` transforms seeded by record and frame.
std::vector<ZoTransform3> Frame(int record, int frame, int size) {
  std::vector<ZoTransform3> poses;
  for (int node = 0; node < size; ++node) poses.push_back(Pose(static_cast<float>(record * 100 + frame * 10 + node)));
  return poses;
}

struct Recording {
  char const* record;
  char const* actor;
  int frameSize;
};

// Ann and Bob share the Walker prototype (4 joints); Rex is a Dog of 2.
Recording const kRecords[] = {{"Ann", "Walker", 4}, {"Bob", "Walker", 4}, {"Rex", "Dog", 2}};
constexpr int kFrames = 3;

class SequenceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    walker = FigureActor("Walker");
    dog = FigureActor("Dog");
    // The walker comes from a folder of its own with a texture to carry along.
    walker->Path() = ZoString((temp / "WalkerHome/").c_str());
    temp.WriteFile("WalkerHome/Textures/skin.tga", {1, 2, 3});
  }

  std::string SequenceFile() const { return temp / "Run/run.seq"; }

  // Records kFrames frames of every record and closes.
  void Record() {
    ZoAnimSequence sequence;
    ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 1), 1);
    for (int r = 0; r < 3; ++r)
      ASSERT_EQ(sequence.PostAddActorEvent(r < 2 ? walker.get() : dog.get(), kRecords[r].record), 1);
    for (int f = 0; f < kFrames; ++f) {
      for (int r = 0; r < 3; ++r) {
        std::vector<ZoTransform3> poses = Frame(r, f, kRecords[r].frameSize);
        ASSERT_EQ(sequence.WriteFrameData(kRecords[r].record, poses.data(), kRecords[r].frameSize), 1);
      }
      EXPECT_EQ(sequence.NextFrame(), f + 1);
    }
    ASSERT_EQ(sequence.Close(), 1);
  }

  TempFolder temp;
  ActorRef walker;
  ActorRef dog;
  MessageCollector messages;
};

TEST_F(SequenceTest, WrittenFilesMatchTheirLayoutsAndReadBackBitForBit) {
  Record();
  ByteBuilder expected = ContainerHeader("Sequ", 1).i32(kFrames).i32(3);
  for (Recording const& r : kRecords) expected.str(r.record).str(r.actor);
  for (int list = 0; list < 4; ++list) expected.i32(0);  // four empty event lists
  EXPECT_EQ(zotest::Hex(temp.ReadFile("Run/run.seq")), zotest::Hex(expected));

  for (int r = 0; r < 3; ++r) {
    ByteBuilder motion = MotionHeader(kRecords[r].record, kRecords[r].frameSize, kFrames);
    for (int f = 0; f < kFrames; ++f)
      for (ZoTransform3 const& t : Frame(r, f, kRecords[r].frameSize)) AddTransform(motion, t);
    EXPECT_EQ(temp.ReadFile(std::string("Run/Motion/") + kRecords[r].record + ".anm"), motion.get()) << r;
  }
  // One copy per prototype (read back below), with its textures; the walker
  // keeps its own path.
  EXPECT_EQ(temp.ReadFile("Run/Actors/Walker/Textures/skin.tga"), (Bytes{1, 2, 3}));
  EXPECT_TRUE(ZoPlatform::IsFolder((temp / "Run/Actors/Dog/Textures").c_str()));
  EXPECT_TRUE(ZoPlatform::IsFolder((temp / "Run/Sounds").c_str()));
  EXPECT_EQ(walker->Path(), ZoString((temp / "WalkerHome/").c_str()));

  // Read back: every frame bit for bit, the prototypes shared.
  ZoAnimSequence sequence;
  ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 0), 1) << sequence.FailureReason();
  EXPECT_EQ(sequence.GetNumFrames(), kFrames);
  EXPECT_EQ(sequence.GetPath(), ZoString((temp / "Run/").c_str()));
  ZoActorRecordList const& records = sequence.GetActorList();
  ASSERT_EQ(records.GetCount(), 3);
  ZoActorRecord const *ann = records.Contains("Ann"), *bob = records.Contains("Bob"), *rex = records.Contains("Rex");
  ASSERT_TRUE(ann && bob && rex);
  EXPECT_EQ(ann->Actor(), bob->Actor());
  EXPECT_NE(ann->Actor(), rex->Actor());
  EXPECT_EQ(ann->Actor()->Name(), ZoString("Walker"));
  EXPECT_EQ(rex->Actor()->Name(), ZoString("Dog"));
  EXPECT_EQ(records.Contains("ANN"), nullptr);  // names keep their case
  EXPECT_EQ(records.Contains(rex->Actor()), rex);

  for (int r = 0; r < 3; ++r) {
    int size = kRecords[r].frameSize;
    for (int f = 0; f < kFrames; ++f) {
      std::vector<ZoTransform3> got(static_cast<size_t>(size));
      ASSERT_EQ(sequence.ReadOneFrame(kRecords[r].record, f, got.data(), size), 1);
      EXPECT_EQ(std::memcmp(got.data(), Frame(r, f, size).data(), got.size() * sizeof(ZoTransform3)), 0) << r << " " << f;
    }
  }
  // One node over more frames than recorded: the last frame repeats.
  ZoTransform3 track[5];
  int rotations = -1, positions = -1;
  ASSERT_EQ(sequence.ReadNodeFrames("Rex", 1, track, 5, rotations, positions), 1);
  for (int f = 0; f < 5; ++f) EXPECT_EQ(track[f], Frame(2, f < kFrames ? f : kFrames - 1, 2)[1]) << f;
  EXPECT_EQ(std::make_pair(rotations, positions), std::make_pair(1, 1));
  EXPECT_EQ(sequence.Close(), 1);
  EXPECT_TRUE(messages.texts.empty());
}

TEST_F(SequenceTest, FrameOperationsRefuseWhatTheyCannotServe) {
  ZoAnimSequence sequence;
  ZoTransform3 poses[4];
  int rotations = 0, positions = 0;
  EXPECT_EQ(sequence.WriteFrameData("Ann", poses, 4), 0);  // not open
  ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 1), 1);
  ASSERT_EQ(sequence.PostAddActorEvent(walker.get(), "Ann"), 1);
  EXPECT_EQ(sequence.PostAddActorEvent(dog.get(), "Ann"), 0);  // the name is taken
  EXPECT_EQ(sequence.PostAddActorEvent(dog.get(), "../Rex"), 0);
  EXPECT_EQ(sequence.WriteFrameData("Nobody", poses, 4), 0);
  EXPECT_EQ(sequence.WriteFrameData("Ann", poses, 0), 0);
  EXPECT_EQ(sequence.WriteFrameData("Ann", nullptr, 4), 0);
  ASSERT_EQ(sequence.WriteFrameData("Ann", poses, 4), 1);
  sequence.NextFrame();
  ASSERT_EQ(sequence.Close(), 1);

  ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 0), 1);
  EXPECT_EQ(sequence.ReadOneFrame("Ann", 0, poses, 3), 0);  // the wrong count
  EXPECT_EQ(sequence.ReadOneFrame("Ann", 1, poses, 4), 0);  // past the end
  EXPECT_EQ(sequence.ReadOneFrame("Ann", -1, poses, 4), 0);
  EXPECT_EQ(sequence.ReadOneFrame("Nobody", 0, poses, 4), 0);
  EXPECT_EQ(sequence.ReadNodeFrames("Ann", 4, poses, 1, rotations, positions), 0);
  EXPECT_EQ(sequence.ReadNodeFrames("Ann", -1, poses, 1, rotations, positions), 0);
  // A node that never moved (identity in every frame) reports no change.
  ASSERT_EQ(sequence.ReadNodeFrames("Ann", 2, poses, 4, rotations, positions), 1);
  EXPECT_EQ(std::make_pair(rotations, positions), std::make_pair(0, 0));
}

TEST_F(SequenceTest, FolderSetUpFailuresShowTheirMessageAndCreateNothing) {
  temp.WriteFile("Taken/keep.txt", {7});
  ZoAnimSequence taken, orphan;
  EXPECT_EQ(taken.Open((temp / "Taken/run.seq").c_str(), 1), 0);  // the folder exists
  EXPECT_EQ(orphan.Open((temp / "No/Such/run.seq").c_str(), 1), 0);  // its parent is missing
  EXPECT_TRUE(!taken.IsOpen() && taken.HasFailure() && !orphan.IsOpen() && orphan.HasFailure());
  EXPECT_EQ(messages.texts,
            (std::vector<std::string>{"The selected sequence folder already exists.\nPlease choose another sequence name.",
                                      "Could not create folder for sequence files."}));
  EXPECT_FALSE(ZoPlatform::Exists((temp / "Taken/run.seq").c_str()));
  EXPECT_FALSE(ZoPlatform::Exists((temp / "Taken/Motion").c_str()));
  EXPECT_FALSE(ZoPlatform::Exists((temp / "No").c_str()));
}

TEST_F(SequenceTest, SequenceWithoutFramesHoldsOnlyItsHeaderAndCannotBeRead) {
  ZoAnimSequence sequence;
  ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 1), 1);
  ASSERT_EQ(sequence.PostAddActorEvent(walker.get(), "Ann"), 1);
  ASSERT_EQ(sequence.Close(), 1);
  EXPECT_EQ(temp.ReadFile("Run/run.seq"), ContainerHeader("Sequ", 1).get());
  EXPECT_FALSE(ZoPlatform::Exists((temp / "Run/Actors/Walker").c_str()));  // nothing saved without frames
  // The motion file keeps its first header: no frame size, no frames.
  EXPECT_EQ(temp.ReadFile("Run/Motion/Ann.anm"), MotionHeader("Ann", -1, 0).get());

  EXPECT_EQ(sequence.Open(SequenceFile().c_str(), 0), 0);
  EXPECT_EQ(sequence.GetLastError(), 4);
  EXPECT_EQ(sequence.FailureOffset(), 16);
}

TEST_F(SequenceTest, TexturesThatCannotBeCopiedLeaveThatPrototypeUnsaved) {
  ASSERT_EQ(::symlink("nowhere", (temp / "WalkerHome/Textures/broken.tga").c_str()), 0);
  Record();
  EXPECT_EQ(messages.texts, std::vector<std::string>{"Couldn't create actor 'Textures' folder"});
  EXPECT_TRUE(temp.ReadFile("Run/Actors/Walker/Walker.act").empty());
  EXPECT_FALSE(temp.ReadFile("Run/Actors/Dog/Dog.act").empty());
}

TEST_F(SequenceTest, MissingActorFolderIsReportedAndTheOthersOpen) {
  Record();
  ASSERT_TRUE(ZoPlatform::DeleteFolder((temp / "Run/Actors/Dog").c_str()));
  ZoAnimSequence sequence;
  ASSERT_EQ(sequence.Open(SequenceFile().c_str(), 0), 1);
  EXPECT_EQ(messages.texts, std::vector<std::string>{"Unable to load ProtoActor: Dog"});
  EXPECT_EQ(sequence.GetActorList().GetCount(), 2);
  EXPECT_EQ(sequence.GetActorList().Contains("Rex"), nullptr);
  ZoTransform3 poses[4];
  EXPECT_EQ(sequence.ReadOneFrame("Bob", 2, poses, 4), 1);
}

// Sequence files that must be refused, each in a folder of its own.
TEST_F(SequenceTest, CorruptSequenceFilesAreRefusedWithAReason) {
  struct Case {
    char const* name;
    Bytes body;  // after the container header
    int opens;
    char const* reason;  // a part of the kept reason
    char const* message;
  };
  Case const cases[] = {
      {"negative frame count", ByteBuilder().i32(-1).i32(0), 0, "frame count -1 is negative", nullptr},
      {"negative actor count", ByteBuilder().i32(1).i32(-2), 0, "actor count -2 is negative", nullptr},
      {"huge actor count", ByteBuilder().i32(1).i32(0x7FFFFFFF).i32(0).i32(0), 0, "exceeds the 8 bytes left",
       nullptr},
      {"actor list cut short", ByteBuilder().i32(1).i32(1).str("Ann").i32(5), 0, "ends 5 bytes short", nullptr},
      {"string too long", ByteBuilder().i32(1).i32(1).i32(256).i32(0), 0, "string length 256", nullptr},
      {"actor name with a separator", ByteBuilder().i32(1).i32(1).str("Ann").str("../Dog"), 1, "",
       "Unable to load ProtoActor: ../Dog"},
  };
  int index = 0;
  for (Case const& c : cases) {
    messages.texts.clear();
    ByteBuilder file = ContainerHeader("Sequ", 1).append(c.body);
    std::string name = "Bad" + std::to_string(index++) + "/bad.seq";
    ZoAnimSequence sequence;
    EXPECT_EQ(sequence.Open(temp.WriteFile(name, file).c_str(), 0), c.opens) << c.name;
    EXPECT_NE(std::string(sequence.FailureReason()).find(c.reason), std::string::npos)
        << c.name << ": " << sequence.FailureReason();
    EXPECT_EQ(sequence.GetActorList().GetCount(), 0) << c.name;
    EXPECT_EQ(messages.texts, c.message != nullptr ? std::vector<std::string>{c.message} : std::vector<std::string>{});
  }
}

TEST(AnimEventList, BodyIsTheCountAndEachEventUnframed) {
  ZoAnimEventList events;
  auto* first = new ZoAnimEvent;
  first->SetType(3), first->SetFrameTime(0xFFFFFFF0u), first->SetActorName("Ann");
  events.AddEvent(first);
  events.AddEvent(new ZoAnimEvent);
  Bytes const expected = ByteBuilder().i32(2).i32(3).u32(0xFFFFFFF0u).str("Ann").i32(0).u32(0).i32(0);
  EXPECT_EQ(zotest::Body(events), expected);

  ZoAnimEventList copy(events);
  events.Clear();
  EXPECT_EQ(zotest::Body(copy), expected);  // the copy owns copies

  zotest::Reader list(expected);
  ZoAnimEventList read;
  EXPECT_EQ(read.ReadFromStream(*list), ZoStreamReadError);
  EXPECT_STRNE(list->FailureReason(), "");
  ZoAnimEvent back;
  ASSERT_EQ(zoskeletontest::ReadBody(back, ByteBuilder().i32(3).u32(0xFFFFFFF0u).str("Ann")), ZoStreamOk);
  ZoAnimEvent assigned;
  assigned = back;
  EXPECT_EQ(zotest::Body(assigned), ByteBuilder().i32(3).u32(0xFFFFFFF0u).str("Ann").get());
}

}  // namespace
