// Untrusted input to the keyframe, key list and spline readers: why each
// fails (counts that are negative or larger than the data, objects of the
// wrong class inside a key list, deep nesting) and truncation at every length.
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "ZoAnimationTestSupport.h"

using namespace zoanimationtest;
using zotest::Body;
using zotest::Framed;

// A truncated and a corrupted input of each reader of this layer: the read
// fails, keeping the offset where it failed and a reason naming what.
TEST(ZoAnimationReadFailures, EachReaderNamesWhereAndWhy) {
  using zotest::BadInput;
  ZoSpline spline;
  spline.SetLinear(ZoTransform3(), ZoTransform3(), 10);
  int64_t const splineFrame = static_cast<int64_t>(Framed(&spline).size());
  ByteBuilder deep;
  for (int i = 0; i <= ZoReadLimits::MaxDepth(); ++i) deep.raw({0x4C, 0x79, 0x65, 0x4B}).i32(1);
  Bytes points = ByteBuilder().i32(2).append(Bytes(136, 0));  // room for one point only
  Bytes eight = ByteBuilder().i32(8).append(Bytes(8 * 136, 0)).f32(0.0f);
  BadInput const cases[] = {
      {"key count past the data", ByteBuilder().i32(0x40000000).append(KeyFrame(5, 0)), ZoTypeCode::KeyList,
       ZoStreamReadError, 0, "count 1073741824 of 4-byte elements exceeds the 12 bytes left"},
      {"a spline among the keys", ByteBuilder().i32(3).append(KeyFrame(5, 1)).append(Framed(&spline)),
       ZoTypeCode::KeyList, ZoStreamFormatError, 16 + splineFrame, "an object of type code 0x53706C69 in a key list"},
      {"key lists nested past the cap", deep.i32(-2), 0, ZoStreamFormatError, 8 * ZoReadLimits::MaxDepth() + 4,
       "nesting deeper than"},
      {"key cut short", zotest::Cut(ByteBuilder().i32(1).append(KeyFrame(5, 1)), 2), ZoTypeCode::KeyList,
       ZoStreamReadError, 12, "4 bytes wanted, 2 left"},
      {"joint key cut short", zotest::Cut(Body(ZoJointKeyframe()), 1), ZoTypeCode::JointKeyframe, ZoStreamReadError,
       8, "200 bytes wanted, 199 left"},  // time and tag, then one block
      {"spline points past the data", points, ZoTypeCode::Spline, ZoStreamReadError, 0,
       "count 2 of 136-byte elements exceeds the 136 bytes left"},
      {"spline length cut short", zotest::Cut(Body(spline), 1), ZoTypeCode::Spline, ZoStreamReadError,
       static_cast<int64_t>(Body(spline).size()) - 4, "4 bytes wanted, 3 left"},
  };
  for (BadInput const& c : cases) zotest::ExpectRefused(c);

  // Negative counts read as empty; the cap is inclusive.
  ZoKeyList list;
  ZoSpline empty, atCap;
  zotest::Reader in(ByteBuilder().i32(-1).append(KeyFrame(5, 0))), negativePoints(ByteBuilder().i32(-5).f32(1.0f));
  EXPECT_EQ(std::make_pair(list.ReadFromStream(*in), (*negativePoints >> empty).Status()),
            std::make_pair(ZoStreamOk, ZoStreamOk));
  EXPECT_EQ(std::make_tuple(list.NumKeyframes(), in.Consumed(), empty.NumControlPoints(), empty.Length()),
            std::make_tuple(0, 4u, 0, 1.0f));
  ZoReadLimits::SetMaxAllocation(7 * 136);
  zotest::ExpectRefused({"spline points past the cap", eight, ZoTypeCode::Spline, ZoStreamFormatError, 0,
                         "count 8 of 136-byte elements passes the 952-byte allocation cap"});
  ZoReadLimits::SetMaxAllocation(8 * 136);
  zotest::Reader capped(eight);
  EXPECT_EQ((*capped >> atCap).Status(), ZoStreamOk);
  EXPECT_EQ(atCap.NumControlPoints(), 8);
  ZoReadLimits::Reset();
}

// Keys read whole before a failure are kept; an unknown sized frame among
// the keys is skipped and an unknown unsized code yields nothing.
TEST(ZoAnimationReadFailures, KeyListsKeepWhatReadWholeAndSkipWhatTheyCan) {
  ZoKeyList partial, tolerant;
  zotest::Reader truncated(zotest::Cut(ByteBuilder().i32(2).append(KeyFrame(5, 1)).append(KeyFrame(6, 2)), 1));
  EXPECT_EQ((*truncated >> partial).Status(), ZoStreamReadError);
  EXPECT_EQ(zotest::Body(partial), Bytes(ByteBuilder().i32(1).append(KeyFrame(5, 1))));
  zotest::Reader skipped(ByteBuilder().i32(3).i32(-1).u32(0x51525354u).i32(4).i32(99).u32(0x41424344u)
                             .append(KeyFrame(7, 3)));
  EXPECT_EQ((*skipped >> tolerant).Status(), ZoStreamOk);
  EXPECT_EQ(zotest::Body(tolerant), Bytes(ByteBuilder().i32(1).append(KeyFrame(7, 3))));
}

TEST(ZoAnimationReadFailures, JointKeyframeTruncatedAtEveryLengthKeepsItsBlock) {
  ZoJointKeyframe source;
  source.setTime(77);
  source.actorTransform.translation = {3.5f, -3.5f, 7};
  source.marker = 77;
  source.blendMode = 1;
  Bytes whole = Body(source);
  ASSERT_EQ(whole.size(), 208u);
  for (size_t length = 0; length < whole.size(); ++length) {
    zotest::Reader in(zotest::Cut(whole, whole.size() - length));
    ZoJointKeyframe kf;
    EXPECT_NE(kf.ReadFromStream(*in), ZoStreamOk) << length;
    // The time and tag may have arrived; the block did not.
    kf.setTime(0);
    kf.tag = 0;
    EXPECT_EQ(Body(kf), Body(ZoJointKeyframe())) << length;
  }
}
