// The tool on recorded sequences and on whole-pose sampling: the sequence
// the demo records beside its actor folder read by info, dump and
// validate; sequence and motion files built by hand with one fault each;
// and `sample` through the sampler against `sample --reference`.
#include "ZoToolTestSupport.h"
#include "sequence/ZoSequenceTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace zotooltest;
using zoseqtest::ContainerHeader;
namespace fs = std::filesystem;

constexpr int kDemoJoints = 7;
constexpr int kRecordedFrames = 20;

std::string DemoSequence() { return (fs::path(DemoFolder()).parent_path() / "RoboWalk" / "RoboWalk.seq").string(); }

// A motion file: header (name, frame size, stored count), then `transforms`
// identity transforms with translation x = their index.
Bytes MotionFile(char const* name, int32_t frameSize, int32_t storedFrames, int transforms) {
  ByteBuilder b = ContainerHeader("Aazo", 1);
  b.str(name).i32(frameSize).i32(storedFrames);
  for (int i = 0; i < transforms; ++i) b.f32(static_cast<float>(i)).f32(0).f32(0).f32(1).f32(0).f32(0).f32(0);
  return b.get();
}

// A sequence file: frame count, one record "Walker" of prototype "Robo",
// then its four event lists (each its count and events as written), by
// default empty.
Bytes SequenceFile(int32_t frames, Bytes const& lists = ByteBuilder().i32(0).i32(0).i32(0).i32(0)) {
  return ContainerHeader("Sequ", 1).i32(frames).i32(1).str("Walker").str("Robo").append(lists).get();
}

TEST(ZoToolSequences, InfoAndDumpReadTheRecordedWalk) {
  Json const info = RunOk("info --json " + Quoted(DemoSequence())).at(0);
  EXPECT_EQ(info["kind"], "sequence");
  // Header 16, name 4 + 6, frame size and count 8: frames from byte 34.
  Json const motion{{"name", "Walker"}, {"frameSize", kDemoJoints},  {"frames", kRecordedFrames},
                    {"storedFrames", kRecordedFrames}, {"dataStart", 34},
                    {"dataBytes", kRecordedFrames * kDemoJoints * 28}, {"tornBytes", 0}};
  Json const actor{{"name", "Walker"}, {"prototype", "Robo"}, {"offset", 24}, {"prototypeFile", "Actors/Robo/Robo.act"},
                   {"joints", kDemoJoints}, {"nodes", 10}, {"motionFile", "Motion/Walker.anm"}, {"motion", motion}};
  Json const events{{"addActor", 0}, {"removeActor", 0}, {"sound", 0}, {"material", 0}};
  EXPECT_EQ(info["sequence"], (Json{{"recorded", true}, {"frames", kRecordedFrames}, {"actors", Json::array({actor})},
                                    {"events", events}}));

  // Frame 3 of the motion file is Walk's pose at 3 × 50 ms.
  std::string motionFile = (fs::path(DemoSequence()).parent_path() / "Motion" / "Walker.anm").string();
  Json const dump = RunOk("dump " + Quoted(motionFile));
  EXPECT_EQ(dump["kind"], "motion");
  ASSERT_EQ(dump["motion"]["frameData"].size(), static_cast<size_t>(kRecordedFrames));
  Json const pose = RunOk("sample " + Quoted(DemoFolder()) + " Walk --time 150 --json");
  for (int j = 0; j < kDemoJoints; ++j)
    EXPECT_EQ(dump["motion"]["frameData"][3][j], pose["joints"][j]["actor"]) << "joint " << j;

  ToolRun text = RunTool("info " + Quoted(DemoSequence()));
  EXPECT_NE(text.out.find("sequence: 20 frames, 1 actors"), std::string::npos) << text.out;
}

// Sequence folders and motion files with one planted fault each: the code,
// whether it is an error, and its offset.
TEST(ZoToolSequences, FindsEachPlantedFaultWithItsCodeAndOffset) {
  zotest::TempFolder folder;
  Bytes prototype = FileBytes(fs::path(DemoFolder()) / "Robo.act");
  Bytes torn = MotionFile("Torn", 3, 2, 7);  // two frames of three and a third of one more
  Bytes trailing = ByteBuilder().append(SequenceFile(2)).raw({9, 9});
  struct Case {
    char const* name;
    Bytes sequence;  // empty: the case is a lone motion file
    Bytes motion;
    bool withPrototype;
    char const* code;
    bool error;
    int64_t offset;
  } const cases[] = {
      // Frames start at 28 + the name's length.
      {"Torn", {}, torn, false, "torn-frame", true, 32 + 2 * 3 * 28},
      {"BadSize", {}, MotionFile("BadSize", -5, 0, 0), false, "malformed", true, -1},
      {"Unused", {}, MotionFile("Unused", -1, 0, 2), false, "unused-bytes", false, 34},
      {"Unclosed", {}, MotionFile("Unclosed", 2, 0, 4), false, "stored-frames-differ", false, 36 - 4},
      {"Renamed", {}, MotionFile("Other", 2, 1, 2), false, "motion-name-mismatch", false, 16},
      // A stored name that is not UTF-8 prints replaced, not as a crash.
      {"Binary", {}, MotionFile("Bin\xff", 2, 1, 2), false, "motion-name-mismatch", false, 16},
      {"HeaderOnly", ContainerHeader("Sequ", 1).get(), {}, false, "no-frames", true, 16},
      {"Trailing", trailing, MotionFile("Walker", 7, 2, 14), true, "trailing-bytes", true, 58},
      {"NoPrototype", SequenceFile(2), MotionFile("Walker", 7, 2, 14), false, "missing-prototype", true, 24},
      {"NoMotion", SequenceFile(2), {}, true, "missing-motion", true, 24},
      {"Misnamed", SequenceFile(2), MotionFile("Walk", 7, 2, 14), true, "motion-name-mismatch", true, 24},
      {"Shorter", SequenceFile(3), MotionFile("Walker", 7, 2, 14), true, "frame-count-mismatch", false, 24},
      {"Narrow", SequenceFile(2), MotionFile("Walker", 4, 2, 8), true, "frame-size-mismatch", false, 24},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    std::string target;
    if (c.sequence.empty()) {
      target = folder.WriteFile(std::string(c.name) + ".anm", c.motion);
    } else {
      target = folder.WriteFile(std::string(c.name) + "/" + c.name + ".seq", c.sequence);
      if (!c.motion.empty()) folder.WriteFile(std::string(c.name) + "/Motion/Walker.anm", c.motion);
      if (c.withPrototype) folder.WriteFile(std::string(c.name) + "/Actors/Robo/Robo.act", prototype);
    }
    ToolRun run = RunTool("validate " + Quoted(target));
    ASSERT_EQ(run.json["files"].size(), 1u) << run.out;
    Json const& file = run.json["files"][0];
    EXPECT_EQ(run.status, c.error ? 1 : 0) << file.dump();
    std::vector<Json> found = Issues(file, c.error ? "errors" : "warnings", c.code);
    ASSERT_EQ(found.size(), 1u) << file.dump();
    if (c.offset >= 0) {
      EXPECT_EQ(found[0]["offset"], c.offset);
    }
    EXPECT_EQ(file["errors"].size() + file["warnings"].size(), 1u) << file.dump();
  }
}

// Events are listed in full by dump, in their lists' order; a count that
// the file cannot hold fails the file where the count stands.
TEST(ZoToolSequences, EventListsAreDumpedAndAnOverlongCountIsRefused) {
  zotest::TempFolder folder;
  ByteBuilder events;
  events.i32(1).i32(1).u32(0).str("Walker");  // add-actor: type 1 at frame 0
  events.i32(0);
  events.i32(2).i32(7).u32(40).str("").i32(8).u32(0xFFFFFFFFu).str("Walker");  // two sound events
  events.i32(0);
  std::string const file = folder.WriteFile("Events.seq", SequenceFile(2, events));
  Json const listed = RunOk("dump " + Quoted(file))["sequence"]["events"];
  EXPECT_EQ(listed, Json::parse(R"({"addActor":[{"type":1,"frameTime":0,"actor":"Walker"}],"removeActor":[],)"
                                R"("sound":[{"type":7,"frameTime":40,"actor":""},)"
                                R"({"type":8,"frameTime":4294967295,"actor":"Walker"}],"material":[]})"));

  // Header 16, frames and count 8, record 4 + 6 + 4 + 4: the first count at 42.
  ByteBuilder overlong;
  overlong.i32(0).i32(0).i32(1000000).i32(0);
  ToolRun run = RunTool("validate " + Quoted(folder.WriteFile("Overlong.seq", SequenceFile(2, overlong))));
  EXPECT_EQ(run.status, 1);
  ASSERT_EQ(run.json["files"][0]["errors"].size(), 1u) << run.out;
  EXPECT_EQ(run.json["files"][0]["errors"][0]["offset"], 50) << run.out;  // the third list's count
}

// The whole-pose sampler gives the key lists' bits, so `--reference` prints
// the same joints: before, on, between and after Walk's keys (every 250
// from 0 to 1000).
TEST(ZoToolSequences, SampleThroughTheSamplerEqualsTheReference) {
  for (uint32_t time : {0u, 1u, 250u, 375u, 601u, 999u, 1000u, 5000u}) {
    SCOPED_TRACE(time);
    std::string arguments = "sample " + Quoted(DemoFolder()) + " Walk --json --time " + std::to_string(time);
    Json const sampler = RunOk(arguments);
    Json const reference = RunOk(arguments + " --reference");
    EXPECT_EQ(std::make_pair(sampler["method"], reference["method"]), std::make_pair(Json("sampler"), Json("key-lists")));
    ASSERT_EQ(sampler["joints"].size(), static_cast<size_t>(kDemoJoints));
    EXPECT_EQ(sampler["joints"], reference["joints"]);
  }
}

}  // namespace
