// Motion files on their own: the header rewritten at close, frames read one
// way and the other, and hand-made files with bad headers or data.
#include <zoactor/sequence/ZoAnimFile.h>

#include "sequence/ZoSequenceTestSupport.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using namespace zoseqtest;

TEST(AnimFile, HeaderIsRewrittenAtCloseAndOpenForReadingRecounts) {
  TempFolder temp;
  std::string file = temp / "Ann.anm";
  ZoAnimFile out;
  ASSERT_EQ(out.Open(file.c_str(), 1), 1);
  // So far the container's provisional header (no type, version 0) and the motion header.
  EXPECT_EQ(temp.ReadFile("Ann.anm"), ContainerHeader("    ", 0).str("Ann").i32(-1).i32(0).get());
  ZoTransform3 frame[2] = {Pose(1), Pose(2)};
  ASSERT_EQ(out.WriteFrameData(frame, 2), 1);
  ASSERT_EQ(out.WriteFrameData(frame, 2), 1);
  EXPECT_EQ(out.ReadOneFrame(0, frame, 2), 0);  // written, not read
  ASSERT_EQ(out.Close(), 1);  // the rewritten header: the sequence tests lay out whole motion files

  ZoAnimFile in;
  ASSERT_EQ(in.Open(file.c_str(), 0), 1);
  EXPECT_EQ(in.GetName(), ZoString("Ann"));
  EXPECT_EQ(std::make_tuple(in.GetFrameSize(), in.GetNumFrames(), in.GetDataStart(), in.GetDataEnd()),
            std::make_tuple(2, 2, 16u + 7u + 8u, 16u + 7u + 8u + 4 * 28u));
  EXPECT_EQ(in.WriteFrameData(frame, 2), 0);  // read, not written
}

// Hand-made motion files with the frame size, stored count and data given.
struct BadFile {
  char const* name;
  Bytes bytes;
  int opens;
  int32_t frames;          // GetNumFrames() after a successful open
  char const* reason;      // a part of the kept reason after the open or the reads
  int readFrame;           // the result of ReadOneFrame(frames, …) when it opens
  int readNode;            // the result of ReadNodeFrames(0, …, frames + 1) when it opens
};

ByteBuilder WithPoses(ByteBuilder b, int poses, int extraBytes) {
  for (int i = 0; i < poses; ++i) AddTransform(b, Pose(static_cast<float>(i)));
  for (int i = 0; i < extraBytes; ++i) b.u8(0xAB);
  return b;
}

TEST(AnimFile, BadHeadersAndDataFailWithAStatusAndAReason) {
  BadFile const cases[] = {
      {"shorter than the container header", ByteBuilder().u32(0x424F5A20).u16(2), 0, 0, "shorter than the 16-byte", 0,
       0},
      {"motion header cut short", ContainerHeader("Aazo", 1).str("Ann").i32(2), 0, 0, "bytes short", 0, 0},
      {"negative name length", ContainerHeader("Aazo", 1).i32(-4).i32(1).i32(0), 0, 0, "string length -4", 0, 0},
      {"negative frame size", MotionHeader("Ann", -5, 3), 0, 0, "frame size -5 is neither -1 nor positive", 0, 0},
      {"zero frame size", MotionHeader("Ann", 0, 3), 0, 0, "frame size 0", 0, 0},
      {"no frame yet, stray data", WithPoses(MotionHeader("Ann", -1, 9), 3, 0), 1, 0, "", 0, 0},
      {"huge stored count is recounted", WithPoses(MotionHeader("Ann", 2, 0x7FFFFFFF), 4, 0), 1, 2, "", 0, 1},
      {"huge frame size", WithPoses(MotionHeader("Ann", 0x7FFFFFFF, 1), 2, 0), 1, 0, "", 0, 1},
      {"frame size not dividing the data", WithPoses(MotionHeader("Ann", 2, 2), 4, 30), 1, 2, "is torn", 0, 1},
      {"torn node record", WithPoses(MotionHeader("Ann", 2, 2), 4, 20), 1, 2, "is torn", 0, 0},
  };
  TempFolder temp;
  int index = 0;
  for (BadFile const& c : cases) {
    std::string path = temp.WriteFile("bad" + std::to_string(index++) + ".anm", c.bytes);
    ZoAnimFile in;
    ASSERT_EQ(in.Open(path.c_str(), 0), c.opens) << c.name << ": " << in.FailureReason();
    if (c.opens == 0) {
      EXPECT_FALSE(in.IsOpen()) << c.name;
      EXPECT_EQ(in.GetLastError(), 4) << c.name;
    } else {
      EXPECT_EQ(in.GetNumFrames(), c.frames) << c.name;
      int size = in.GetFrameSize() > 0 && in.GetFrameSize() < 16 ? in.GetFrameSize() : 1;
      ZoTransform3 frame[16], track[8];
      EXPECT_EQ(in.ReadOneFrame(c.frames, frame, size), c.readFrame) << c.name;
      int rotations = 0, positions = 0;
      EXPECT_EQ(in.ReadNodeFrames(0, track, c.frames + 1, rotations, positions), c.readNode) << c.name;
    }
    EXPECT_NE(std::string(in.FailureReason()).find(c.reason), std::string::npos)
        << c.name << ": " << in.FailureReason();
  }
}

// Node tracks read through the window (small frames, data spanning several
// windows) and straight (frames too large for it) equal the whole frames.
TEST(AnimFile, NodeTracksEqualTheirFramesWhateverTheFrameSize) {
  struct Case {
    int frameSize;
    int frames;
  } const cases[] = {{1, 3000}, {64, 100}, {600, 6}};
  TempFolder temp;
  for (Case const& c : cases) {
    std::string path = temp / ("size" + std::to_string(c.frameSize) + ".anm");
    std::vector<ZoTransform3> frame(static_cast<size_t>(c.frameSize));
    {
      ZoAnimFile out;
      ASSERT_EQ(out.Open(path.c_str(), 1), 1);
      for (int f = 0; f < c.frames; ++f) {
        for (int n = 0; n < c.frameSize; ++n) frame[static_cast<size_t>(n)] = Pose(static_cast<float>(f * 7 + n));
        ASSERT_EQ(out.WriteFrameData(frame.data(), c.frameSize), 1);
      }
    }
    ZoAnimFile in;
    ASSERT_EQ(in.Open(path.c_str(), 0), 1);
    ASSERT_EQ(in.GetNumFrames(), c.frames);
    std::vector<ZoTransform3> track(static_cast<size_t>(c.frames) + 1);
    for (int node : {0, c.frameSize / 2, c.frameSize - 1}) {
      int rotations = 0, positions = 0;
      ASSERT_EQ(in.ReadNodeFrames(node, track.data(), c.frames + 1, rotations, positions), 1);
      for (int f = 0; f < c.frames; f += 1 + c.frames / 50) {
        ASSERT_EQ(in.ReadOneFrame(f, frame.data(), c.frameSize), 1);
        EXPECT_EQ(track[static_cast<size_t>(f)], frame[static_cast<size_t>(node)]) << c.frameSize << " " << f;
      }
      EXPECT_EQ(track.back(), Pose(static_cast<float>((c.frames - 1) * 7 + node)));
    }
  }
}

}  // namespace
