// Untrusted input to the keyframe, key list and spline readers: counts that
// are negative or larger than the data, objects of the wrong class inside a
// key list, deep nesting, and truncation at every length. The test binary
// replaces the global operator new to record the largest single request
// made while a reader runs, so "allocates nothing large" is measured.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoReadLimits.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

using zotest::ByteBuilder;
using zotest::Bytes;

namespace {

std::atomic<bool> gWatching{false};
std::atomic<size_t> gLargest{0};

void Note(size_t size) {
  if (!gWatching.load(std::memory_order_relaxed)) return;
  size_t seen = gLargest.load(std::memory_order_relaxed);
  while (size > seen && !gLargest.compare_exchange_weak(seen, size)) {
  }
}

// Records the largest allocation made while alive.
class AllocationWatch {
 public:
  AllocationWatch() {
    gLargest = 0;
    gWatching = true;
  }
  ~AllocationWatch() { gWatching = false; }
  size_t Largest() const { return gLargest.load(); }
};

}  // namespace

void* operator new(size_t size) {
  Note(size);
  void* p = std::malloc(size != 0 ? size : 1);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void* operator new(size_t size, std::nothrow_t const&) noexcept {
  Note(size);
  return std::malloc(size != 0 ? size : 1);
}
// Deletion is replaced too, so that every allocation of the binary pairs
// malloc with free (sanitizers check the pairing).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete(void* p, std::nothrow_t const&) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

Bytes Framed(ZoStreamObject const& object) { return zotest::Framed(&object); }

ZoJointKeyframe* JointKey(uint32_t t, float x) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(t);
  kf->actorTransform.translation = {x, -x, 2 * x};
  kf->marker = static_cast<int32_t>(t);
  return kf;
}

ByteBuilder KeyframeFrame(uint32_t t, int32_t tagValue) {
  ByteBuilder b;
  b.raw({0x66, 0x79, 0x65, 0x4B}).u32(t).i32(tagValue);
  return b;
}

}  // namespace

TEST(ZoKeyListInput, NegativeCountsReadAsEmptyAndOversizedOnesFailBeforeAnything) {
  Bytes negative = ByteBuilder().i32(-1).append(KeyframeFrame(5, 0));
  ZoKeyList list;
  ZoMemoryStream in(negative.data(), static_cast<int32_t>(negative.size()));
  EXPECT_EQ(list.ReadFromStream(in), ZoStreamOk);
  EXPECT_EQ(list.NumKeyframes(), 0);
  EXPECT_EQ(in.GetPosition(), 4u);

  for (int32_t count : {0x7FFFFFFF, 0x40000000, 4}) {
    Bytes huge = ByteBuilder().i32(count).append(KeyframeFrame(5, 0));
    ZoKeyList target;
    ZoMemoryStream stream(huge.data(), static_cast<int32_t>(huge.size()));
    AllocationWatch watch;
    EXPECT_NE(target.ReadFromStream(stream), ZoStreamOk) << count;
    EXPECT_LT(watch.Largest(), 1024u) << count;
    EXPECT_EQ(target.NumKeyframes(), 0) << count;  // refused before the first key
  }

  // A count the data could hold, but entries that run out: the keys read
  // whole are kept.
  Bytes shortList = ByteBuilder().i32(2).append(KeyframeFrame(5, 1)).append(KeyframeFrame(6, 2)).get();
  ZoKeyList partial;
  Bytes truncated(shortList.begin(), shortList.end() - 1);
  ZoMemoryStream shortStream(truncated.data(), static_cast<int32_t>(truncated.size()));
  EXPECT_EQ(partial.ReadFromStream(shortStream), ZoStreamReadError);
  EXPECT_EQ(partial.NumKeyframes(), 1);
  EXPECT_NE(partial.KeyframeAtTime(5), nullptr);
}

TEST(ZoKeyListInput, ObjectsThatAreNotKeyframesAreRefused) {
  // A spline framed where a key belongs, after one good key.
  ZoSpline spline;
  spline.SetLinear(ZoTransform3(), ZoTransform3(), 10);
  Bytes body = ByteBuilder().i32(3).append(KeyframeFrame(5, 1)).append(Framed(spline)).append(KeyframeFrame(6, 2));
  ZoKeyList list;
  ZoMemoryStream in(body.data(), static_cast<int32_t>(body.size()));
  EXPECT_EQ(list.ReadFromStream(in), ZoStreamFormatError);
  EXPECT_EQ(list.NumKeyframes(), 1);

  // A sized frame of an unknown class is skipped; an unknown unsized code
  // yields nothing and leaves its body (here empty) in place.
  Bytes skipped = ByteBuilder()
                      .i32(3)
                      .i32(-1).u32(0x51525354u).i32(4).i32(99)
                      .u32(0x41424344u)
                      .append(KeyframeFrame(7, 3));
  ZoKeyList tolerant;
  ZoMemoryStream second(skipped.data(), static_cast<int32_t>(skipped.size()));
  EXPECT_EQ(tolerant.ReadFromStream(second), ZoStreamOk);
  EXPECT_EQ(tolerant.NumKeyframes(), 1);
  EXPECT_EQ(tolerant.KeyframeAtTime(7)->tag, 3);
}

TEST(ZoKeyListInput, DeeplyNestedListsStopAtTheDepthLimit) {
  // Key lists framed inside key lists, far deeper than the limit.
  ByteBuilder b;
  for (int i = 0; i < 5000; ++i) b.raw({0x4C, 0x79, 0x65, 0x4B}).i32(1);
  b.i32(-2);
  Bytes bytes = b.get();
  ZoMemoryStream in(bytes.data(), static_cast<int32_t>(bytes.size()));
  std::unique_ptr<ZoStreamObject> object(in.ReadObject(nullptr));
  EXPECT_NE(in.Status(), ZoStreamOk);
}

TEST(ZoKeyListInput, JointListTruncatedAtEveryLength) {
  ZoJointKeyList list;
  for (uint32_t t = 0; t < 4; ++t) list.Insert(JointKey(t * 10, static_cast<float>(t)), 1);
  Bytes whole = Framed(list);
  for (size_t length = 0; length < whole.size(); ++length) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    ZoMemoryStream in(cut.data(), static_cast<int32_t>(cut.size()));
    std::unique_ptr<ZoStreamObject> object(in.ReadObject(nullptr));
    EXPECT_NE(in.Status(), ZoStreamOk) << length;
    auto* read = dynamic_cast<ZoKeyList*>(object.get());
    if (read == nullptr) continue;
    // Whatever was kept is whole.
    ZoKeyListNode* p = nullptr;
    for (ZoKeyframe* kf = read->GetFirst(p); kf != nullptr; kf = read->GetNext(p)) {
      auto* joint = dynamic_cast<ZoJointKeyframe*>(kf);
      ASSERT_NE(joint, nullptr);
      EXPECT_EQ(joint->marker, static_cast<int32_t>(joint->time())) << length;
      EXPECT_EQ(joint->actorTransform.translation.x * 10, static_cast<float>(joint->time())) << length;
    }
    EXPECT_LT(read->NumKeyframes(), 4) << length;
  }
}

TEST(ZoKeyListInput, JointKeyframeTruncatedAtEveryLengthKeepsItsBlock) {
  std::unique_ptr<ZoJointKeyframe> source(JointKey(77, 3.5f));
  source->blendMode = 1;
  Bytes whole = Framed(*source);
  ASSERT_EQ(whole.size(), 4u + 208u);
  for (size_t length = 0; length < whole.size(); ++length) {
    Bytes body(whole.begin() + 4, whole.begin() + static_cast<std::ptrdiff_t>(std::max<size_t>(length, 4)));
    ZoJointKeyframe kf;
    ZoMemoryStream in(body.data(), static_cast<int32_t>(body.size()));
    EXPECT_NE(kf.ReadFromStream(in), ZoStreamOk) << length;
    EXPECT_EQ(kf.blendMode, 0) << length;
    EXPECT_EQ(kf.actorTransform, ZoTransform3()) << length;
    EXPECT_EQ(kf.marker, 0) << length;
  }
}

TEST(ZoSplineInput, CountsAreCheckedBeforeAllocating) {
  Bytes negative = ByteBuilder().i32(-5).f32(1.0f);
  ZoSpline spline;
  ZoMemoryStream in(negative.data(), static_cast<int32_t>(negative.size()));
  EXPECT_EQ(spline.ReadFromStream(in), ZoStreamOk);  // a negative count reads as no points
  EXPECT_EQ(spline.NumControlPoints(), 0);
  EXPECT_EQ(spline.Length(), 1.0f);

  for (int32_t count : {0x7FFFFFFF, 0x00FFFFFF, 2}) {
    ByteBuilder b;
    b.i32(count);
    for (int i = 0; i < 136; ++i) b.u8(0);  // room for one point only
    b.f32(1.0f);
    Bytes bytes = b.get();
    ZoSpline target;
    ZoMemoryStream stream(bytes.data(), static_cast<int32_t>(bytes.size()));
    AllocationWatch watch;
    EXPECT_EQ(target.ReadFromStream(stream), ZoStreamReadError) << count;
    EXPECT_LT(watch.Largest(), 1024u) << count;
    EXPECT_EQ(target.NumControlPoints(), 0) << count;
  }

  // Within the data but over the host's allocation cap.
  ByteBuilder b;
  b.i32(8);
  for (int i = 0; i < 8 * 136; ++i) b.u8(0);
  b.f32(0.0f);
  Bytes eight = b.get();
  ZoReadLimits::SetMaxAllocation(7 * 136);
  ZoSpline capped;
  ZoMemoryStream stream(eight.data(), static_cast<int32_t>(eight.size()));
  EXPECT_EQ(capped.ReadFromStream(stream), ZoStreamFormatError);
  ZoReadLimits::SetMaxAllocation(8 * 136);
  ZoSpline atCap;
  ZoMemoryStream again(eight.data(), static_cast<int32_t>(eight.size()));
  EXPECT_EQ(atCap.ReadFromStream(again), ZoStreamOk);
  EXPECT_EQ(atCap.NumControlPoints(), 8);
  ZoReadLimits::Reset();
}

TEST(ZoSplineInput, TruncatedAtEveryLength) {
  ZoSpline spline;
  spline.SetLinear(ZoTransform3({1, 2, 3}, ZoRotation3()), ZoTransform3({4, 5, 6}, ZoRotation3()), 90);
  spline.InsertControlPoint(30);
  spline.Integrate();
  Bytes whole = Framed(spline);
  for (size_t length = 0; length < whole.size(); ++length) {
    Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    ZoMemoryStream in(cut.data(), static_cast<int32_t>(cut.size()));
    std::unique_ptr<ZoStreamObject> object(in.ReadObject(nullptr));
    EXPECT_NE(in.Status(), ZoStreamOk) << length;
    if (auto* read = dynamic_cast<ZoSpline*>(object.get())) {
      EXPECT_EQ(read->Length(), 0.0f) << length;
    }
  }
}
