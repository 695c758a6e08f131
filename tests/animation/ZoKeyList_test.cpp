// Key lists: ordering and replacement, the cursor, iteration, the time
// lookups (including unsigned times near 0 and 2^32 − 1), copies, and the
// keyframe and key list bodies against layouts built by hand.
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;

namespace {

using zotest::Written;

// A keyframe that counts its destructions.
class CountedKey : public ZoKeyframe {
 public:
  explicit CountedKey(uint32_t t, int32_t value = 0, int* destroyedCounter = nullptr) : destroyed(destroyedCounter) {
    setTime(t);
    tag = value;
  }
  ~CountedKey() override {
    if (destroyed != nullptr) ++*destroyed;
  }
  ZoKeyframe* CreateCopy() const override { return new CountedKey(*this); }

 private:
  int* destroyed;
};

ZoKeyframe* Key(uint32_t t, int32_t tagValue = 0) {
  auto* kf = new ZoKeyframe;
  kf->setTime(t);
  kf->tag = tagValue;
  return kf;
}

// The times of a list, head to tail.
std::vector<uint32_t> Times(ZoKeyList const& list) {
  std::vector<uint32_t> times;
  ZoKeyListNode* p = nullptr;
  for (ZoKeyframe* kf = list.GetFirst(p); kf != nullptr; kf = list.GetNext(p)) times.push_back(kf->time());
  return times;
}

std::vector<uint32_t> Times(ZoDblList const& items) {
  std::vector<uint32_t> times;
  ZoDblListItem* p = nullptr;
  for (void* item = items.GetFirst(p); item != nullptr; item = items.GetNext(p))
    times.push_back(static_cast<ZoKeyframe*>(item)->time());
  return times;
}

uint32_t TimeOf(ZoKeyframe const* kf) { return kf != nullptr ? kf->time() : 0xDEADBEEFu; }

// Keys at 0, 10 and 20.
class ThreeKeys : public ::testing::Test {
 protected:
  void SetUp() override {
    list.Insert(Key(0));
    list.Insert(Key(10));
    list.Insert(Key(20));
  }
  ZoKeyList list;
};

}  // namespace

TEST(ZoKeyListBasics, EmptyListAnswersWithItsSentinels) {
  ZoKeyList list;
  EXPECT_EQ(list.NumKeyframes(), 0);
  EXPECT_EQ(list.FirstTime(), 0x7FFFFFFFu);
  EXPECT_EQ(list.LastTime(), 0u);
  ZoKeyListNode* p = reinterpret_cast<ZoKeyListNode*>(&list);  // any non-null value
  EXPECT_EQ(list.GetFirst(p), nullptr);
  EXPECT_EQ(p, nullptr);
  p = reinterpret_cast<ZoKeyListNode*>(&list);
  EXPECT_EQ(list.GetLast(p), nullptr);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(list.PeekPrev(nullptr), nullptr);
  EXPECT_EQ(list.KeyframeAtTime(0), nullptr);
  EXPECT_EQ(list.LastKeyframeUntil(0xFFFFFFFFu), nullptr);
  EXPECT_EQ(list.FirstKeyframeAfter(0), nullptr);
  EXPECT_EQ(list.LastKeyframeBetween(0, 10), nullptr);
  EXPECT_EQ(list.LastKeyframeBetween(10, 10), nullptr);
  ZoDblList out;
  EXPECT_FALSE(list.KeyframesBetween(0, 0xFFFFFFFFu, out));
  EXPECT_FALSE(list.KeyframesBetween(10, 0, out));
  EXPECT_EQ(out.GetCount(), 0);
}

TEST(ZoKeyListBasics, InsertSortsAndReplacesAnEqualTime) {
  int destroyed = 0;
  ZoKeyList list;
  list.Insert(new CountedKey(20, 1, &destroyed));
  ZoKeyListNode* at10 = list.Insert(new CountedKey(10, 2, &destroyed));
  list.Insert(new CountedKey(30, 3, &destroyed));
  EXPECT_EQ(Times(list), (std::vector<uint32_t>{10, 20, 30}));
  ASSERT_NE(at10, nullptr);
  EXPECT_EQ(at10->prev, nullptr);

  ZoKeyListNode* before = nullptr;
  for (ZoKeyListNode* n = at10; n != nullptr; n = n->next)
    if (n->keyframe->time() == 20) before = n;
  auto* replacement = new CountedKey(20, 9, &destroyed);
  ZoKeyListNode* node = list.Insert(replacement);
  EXPECT_EQ(node, before);
  EXPECT_EQ(node->keyframe, replacement);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(list.NumKeyframes(), 3);

  // Inserting the key a node already holds changes nothing.
  EXPECT_EQ(list.Insert(replacement), node);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(list.Insert(nullptr), nullptr);

  // prev mirrors next, and the ends are right.
  ZoKeyListNode* p = nullptr;
  EXPECT_EQ(list.GetLast(p)->time(), 30u);
  EXPECT_EQ(list.GetPrev(p)->time(), 20u);
  EXPECT_EQ(list.GetPrev(p)->time(), 10u);
  EXPECT_EQ(list.GetPrev(p), nullptr);
  EXPECT_EQ(list.FirstTime(), 10u);
  EXPECT_EQ(list.LastTime(), 30u);

  list.DeleteKeyframes();
  EXPECT_EQ(destroyed, 4);
  EXPECT_EQ(list.NumKeyframes(), 0);
  EXPECT_EQ(list.Cursor(), nullptr);
}

TEST(ZoKeyListBasics, TimesCompareUnsignedAcrossTheSignBit) {
  ZoKeyList list;
  for (uint32_t t : {0xFFFFFFFFu, 0x80000000u, 0u, 0x7FFFFFFFu, 1u}) list.Insert(Key(t));
  EXPECT_EQ(Times(list), (std::vector<uint32_t>{0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}));
  EXPECT_EQ(list.FirstTime(), 0u);
  EXPECT_EQ(list.LastTime(), 0xFFFFFFFFu);
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(0xFFFFFFFFu)), 0xFFFFFFFFu);
  EXPECT_EQ(list.KeyframeAtTime(0xFFFFFFFEu), nullptr);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(0xFFFFFFFEu)), 0x80000000u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(0x80000000u)), 0x80000000u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(0x7FFFFFFFu)), 0x7FFFFFFFu);
  EXPECT_EQ(TimeOf(list.FirstKeyframeAfter(0x80000001u)), 0xFFFFFFFFu);
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(0x7FFFFFFFu, 0xFFFFFFFEu)), 0x80000000u);
  // Wrapping from near the top back to 0.
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(0xFFFFFFF0u, 0u)), 0u);
  ZoDblList out;
  EXPECT_TRUE(list.KeyframesBetween(0xFFFFFFFFu, 0x7FFFFFFFu, out));
  EXPECT_EQ(Times(out), (std::vector<uint32_t>{0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu}));

  // An empty list's first time sits below keys in the upper half.
  ZoKeyList upper;
  upper.Insert(Key(0x90000000u));
  EXPECT_EQ(upper.FirstTime(), 0x90000000u);
  EXPECT_EQ(upper.LastKeyframeUntil(0x7FFFFFFFu), nullptr);
}

TEST_F(ThreeKeys, Lookups) {
  EXPECT_EQ(list.KeyframeAtTime(15), nullptr);
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(10)), 10u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(15)), 10u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(20)), 20u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(0xFFFFFFFFu)), 20u);
  EXPECT_EQ(TimeOf(list.FirstKeyframeAfter(10)), 10u);
  EXPECT_EQ(TimeOf(list.FirstKeyframeAfter(11)), 20u);
  EXPECT_EQ(list.FirstKeyframeAfter(21), nullptr);
}

TEST_F(ThreeKeys, LastKeyframeBetweenWrapsWhenTheIntervalDoes) {
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(5, 20)), 20u);
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(5, 19)), 10u);
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(10, 10)), 10u);  // the whole cycle ending at 10
  EXPECT_EQ(TimeOf(list.LastKeyframeBetween(15, 5)), 0u);
  EXPECT_EQ(list.LastKeyframeBetween(25, 30), nullptr);
  EXPECT_EQ(list.LastKeyframeBetween(11, 19), nullptr);

  // No key at or before t2: the last key at or after t1, if any.
  ZoKeyList late;
  late.Insert(Key(10));
  late.Insert(Key(20));
  EXPECT_EQ(TimeOf(late.LastKeyframeBetween(15, 5)), 20u);
  EXPECT_EQ(late.LastKeyframeBetween(25, 5), nullptr);
  EXPECT_EQ(TimeOf(late.LastKeyframeBetween(5, 5)), 20u);
}

TEST_F(ThreeKeys, KeyframesBetweenInPlayingOrder) {
  ZoDblList forward;
  EXPECT_TRUE(list.KeyframesBetween(0, 10, forward));
  EXPECT_EQ(Times(forward), (std::vector<uint32_t>{0, 10}));

  ZoDblList backward;
  EXPECT_TRUE(list.KeyframesBetween(20, 10, backward));
  EXPECT_EQ(Times(backward), (std::vector<uint32_t>{20, 10}));

  ZoDblList same;
  EXPECT_TRUE(list.KeyframesBetween(10, 10, same));  // backwards, no wrap
  EXPECT_EQ(Times(same), (std::vector<uint32_t>{10}));

  // `out` is appended to and not cleared; items held before count.
  EXPECT_TRUE(list.KeyframesBetween(11, 19, forward));
  EXPECT_EQ(Times(forward), (std::vector<uint32_t>{0, 10}));
  ZoDblList none;
  EXPECT_FALSE(list.KeyframesBetween(11, 19, none));
  EXPECT_FALSE(list.KeyframesBetween(5, 1, none));
}

TEST_F(ThreeKeys, CursorResumesAndRestartsAtTheHead) {
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(20)), 20u);
  EXPECT_EQ(TimeOf(list.Cursor()->keyframe), 20u);
  EXPECT_EQ(list.KeyframeAtTime(25), nullptr);
  EXPECT_EQ(list.Cursor(), nullptr);  // ran past the tail
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(0)), 0u);

  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(20)), 20u);
  // Earlier than the head, with the cursor further along: null.
  ZoKeyList late;
  late.Insert(Key(10));
  late.Insert(Key(20));
  EXPECT_EQ(TimeOf(late.LastKeyframeUntil(25)), 20u);
  EXPECT_EQ(late.LastKeyframeUntil(5), nullptr);
  EXPECT_EQ(TimeOf(late.LastKeyframeUntil(15)), 10u);
  EXPECT_EQ(TimeOf(late.Cursor()->keyframe), 10u);
}

TEST_F(ThreeKeys, RemoveMovesTheCursorAndHandsTheKeyBack) {
  ASSERT_NE(list.KeyframeAtTime(10), nullptr);
  ZoKeyListNode* cursor = list.Cursor();
  ASSERT_NE(cursor, nullptr);
  ZoKeyListNode* after = cursor->next;
  std::unique_ptr<ZoKeyframe> taken(list.Remove(cursor));
  ASSERT_NE(taken, nullptr);
  EXPECT_EQ(taken->time(), 10u);
  EXPECT_EQ(list.Cursor(), after);
  EXPECT_EQ(list.NumKeyframes(), 2);
  EXPECT_EQ(Times(list), (std::vector<uint32_t>{0, 20}));
  for (uint32_t t : {0u, 20u}) EXPECT_EQ(TimeOf(list.KeyframeAtTime(t)), t);
  EXPECT_EQ(list.KeyframeAtTime(10), nullptr);

  // Removing the tail while the cursor is on it leaves the cursor null.
  ASSERT_NE(list.KeyframeAtTime(20), nullptr);
  ZoKeyframe* last = list.Cursor()->keyframe;
  EXPECT_EQ(list.Remove(last), 1);
  delete last;
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.LastTime(), 0u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(100)), 0u);

  // Keys and nodes that are not in the list are refused.
  ZoKeyframe stranger;
  EXPECT_EQ(list.Remove(&stranger), 0);
  EXPECT_EQ(list.Remove(static_cast<ZoKeyframe*>(nullptr)), 0);
  ZoKeyList other;
  ZoKeyListNode* foreign = other.Insert(Key(0));
  EXPECT_EQ(list.Remove(foreign), nullptr);
  EXPECT_EQ(other.NumKeyframes(), 1);
  EXPECT_EQ(list.NumKeyframes(), 1);

  // Emptying the list by removal leaves consistent ends.
  ZoKeyListNode* p = nullptr;
  ZoKeyframe* head = list.GetFirst(p);
  ASSERT_NE(head, nullptr);
  EXPECT_EQ(list.Remove(head), 1);
  delete head;
  EXPECT_EQ(list.NumKeyframes(), 0);
  EXPECT_EQ(list.GetFirst(p), nullptr);
  EXPECT_EQ(list.GetLast(p), nullptr);
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.Insert(Key(5))->prev, nullptr);
  EXPECT_EQ(list.FirstTime(), 5u);
  EXPECT_EQ(list.LastTime(), 5u);
}

TEST_F(ThreeKeys, IterationAndPeeking) {
  ZoKeyListNode* p = nullptr;
  ZoKeyframe* first = list.GetFirst(p);
  EXPECT_EQ(TimeOf(first), 0u);
  EXPECT_EQ(TimeOf(list.PeekNext(p)), 10u);
  EXPECT_EQ(list.PeekPrev(p), nullptr);  // nothing before the head
  EXPECT_EQ(TimeOf(list.GetNext(p)), 10u);
  EXPECT_EQ(TimeOf(list.PeekPrev(p)), 0u);
  EXPECT_EQ(TimeOf(list.GetNext(p)), 20u);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(TimeOf(list.PeekPrev(p)), 10u);  // past the tail: the tail's prev
  EXPECT_EQ(list.PeekNext(p), nullptr);
  EXPECT_EQ(list.GetNext(p), nullptr);

  ZoKeyList one;
  one.Insert(Key(7));
  EXPECT_EQ(TimeOf(one.GetFirst(p)), 7u);
  EXPECT_EQ(one.PeekPrev(p), nullptr);

  ZoKeyList two;
  two.Insert(Key(1));
  two.Insert(Key(2));
  two.GetFirst(p);
  two.GetNext(p);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(TimeOf(two.PeekPrev(p)), 1u);
}

TEST(ZoKeyListCopies, CopiesKeepTheKeysClassesAndLeaveTheSourceAlone) {
  ZoKeyList source;
  source.Insert(Key(5, 55));
  auto* joint = new ZoJointKeyframe;
  joint->setTime(15);
  joint->marker = 3;
  source.Insert(joint);

  ZoKeyList copy(source);
  ASSERT_EQ(Times(copy), (std::vector<uint32_t>{5, 15}));
  ZoKeyListNode* p = nullptr;
  ZoKeyframe* c0 = copy.GetFirst(p);
  ZoKeyframe* c1 = copy.GetNext(p);
  EXPECT_EQ(c0->tag, 55);
  auto* copiedJoint = dynamic_cast<ZoJointKeyframe*>(c1);
  ASSERT_NE(copiedJoint, nullptr);
  EXPECT_NE(copiedJoint, joint);
  EXPECT_EQ(copiedJoint->marker, 3);

  ZoKeyList assigned;
  int destroyed = 0;
  assigned.Insert(new CountedKey(99, 0, &destroyed));
  assigned = source;
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(Times(assigned), (std::vector<uint32_t>{5, 15}));
  assigned = assigned;  // NOLINT: self-assignment keeps the keys
  EXPECT_EQ(Times(assigned), (std::vector<uint32_t>{5, 15}));
  EXPECT_EQ(Times(source), (std::vector<uint32_t>{5, 15}));
}

TEST(ZoKeyListStream, KeyframeBodyIsTimeThenTag) {
  ZoKeyframe kf;
  kf.setTime(0x01020304u);
  kf.tag = -2;
  ZoMemoryStream out;
  out.version = kZoCurrentVersion;
  EXPECT_EQ(out.WriteObject(&kf), ZoStreamOk);
  Bytes expected = ByteBuilder().raw({0x66, 0x79, 0x65, 0x4B}).u32(0x01020304u).i32(-2);
  Bytes written = Written(out);
  EXPECT_EQ(written, expected) << Hex(written);

  ZoMemoryStream in(written.data(), static_cast<int32_t>(written.size()));
  std::unique_ptr<ZoKeyframe> back(in.ReadObjectAs<ZoKeyframe>());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(in.Status(), ZoStreamOk);
  EXPECT_EQ(back->time(), 0x01020304u);
  EXPECT_EQ(back->tag, -2);
}

TEST(ZoKeyListStream, ListBodyIsTheCountAndFramedKeys) {
  ZoKeyList list;
  list.Insert(Key(30, 3));
  list.Insert(Key(10, 1));
  ZoMemoryStream out;
  out.version = kZoCurrentVersion;
  EXPECT_EQ(out.WriteObject(&list), ZoStreamOk);
  Bytes expected = ByteBuilder()
                       .raw({0x4C, 0x79, 0x65, 0x4B})  // "LyeK"
                       .i32(2)
                       .raw({0x66, 0x79, 0x65, 0x4B}).u32(10).i32(1)
                       .raw({0x66, 0x79, 0x65, 0x4B}).u32(30).i32(3);
  Bytes written = Written(out);
  EXPECT_EQ(written, expected) << Hex(written);

  ZoMemoryStream in(written.data(), static_cast<int32_t>(written.size()));
  std::unique_ptr<ZoKeyList> back(in.ReadObjectAs<ZoKeyList>());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(in.Status(), ZoStreamOk);
  EXPECT_EQ(Times(*back), (std::vector<uint32_t>{10, 30}));
  EXPECT_EQ(back->KeyframeAtTime(30)->tag, 3);
}

TEST(ZoKeyListStream, ReadingMergesAndEqualTimesReplace) {
  // The stream holds keys at 20 (tag 7), 5 (tag 1), 20 again (tag 8), and a
  // null entry; the list already holds 10 and 20.
  Bytes body = ByteBuilder()
                   .i32(4)
                   .raw({0x66, 0x79, 0x65, 0x4B}).u32(20).i32(7)
                   .raw({0x66, 0x79, 0x65, 0x4B}).u32(5).i32(1)
                   .i32(-2)
                   .raw({0x66, 0x79, 0x65, 0x4B}).u32(20).i32(8);
  int destroyed = 0;
  ZoKeyList list;
  list.Insert(new CountedKey(10, 100, &destroyed));
  list.Insert(new CountedKey(20, 200, &destroyed));
  ZoMemoryStream in(body.data(), static_cast<int32_t>(body.size()));
  EXPECT_EQ(list.ReadFromStream(in), ZoStreamOk);
  EXPECT_EQ(Times(list), (std::vector<uint32_t>{5, 10, 20}));
  EXPECT_EQ(list.KeyframeAtTime(10)->tag, 100);
  EXPECT_EQ(list.KeyframeAtTime(20)->tag, 8);  // the later key of the stream wins
  EXPECT_EQ(destroyed, 1);                     // the held key at 20
}

TEST(ZoKeyListStream, AnyOrderReadsAsInsertingOneByOne) {
  // 3000 entries in shuffled order, with many repeated times; each key's tag
  // is its position in the stream, so the survivor of a repeated time shows.
  std::mt19937 engine(11);
  ByteBuilder b;
  b.i32(3000);
  ZoKeyList expected;
  expected.Insert(Key(500, -1));  // held before the read, replaced by the stream
  expected.Insert(Key(0xFFFFFFFFu, -2));
  ZoKeyList list;
  list.Insert(Key(500, -1));
  list.Insert(Key(0xFFFFFFFFu, -2));
  for (int32_t i = 0; i < 3000; ++i) {
    uint32_t t = engine() % 1000;
    b.raw({0x66, 0x79, 0x65, 0x4B}).u32(t).i32(i);
    expected.Insert(Key(t, i));
  }
  Bytes bytes = b.get();
  ZoMemoryStream in(bytes.data(), static_cast<int32_t>(bytes.size()));
  ASSERT_EQ(list.ReadFromStream(in), ZoStreamOk);
  ASSERT_EQ(list.NumKeyframes(), expected.NumKeyframes());
  ZoKeyListNode* p = nullptr;
  ZoKeyListNode* q = nullptr;
  ZoKeyframe* a = list.GetFirst(p);
  for (ZoKeyframe* e = expected.GetFirst(q); e != nullptr; e = expected.GetNext(q), a = list.GetNext(p)) {
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a->time(), e->time());
    EXPECT_EQ(a->tag, e->tag) << e->time();
  }
  // prev links mirror next after the merge.
  std::vector<uint32_t> backwards;
  for (ZoKeyframe* kf = list.GetLast(p); kf != nullptr; kf = list.GetPrev(p)) backwards.push_back(kf->time());
  std::vector<uint32_t> forwards = Times(list);
  EXPECT_EQ(std::vector<uint32_t>(backwards.rbegin(), backwards.rend()), forwards);
}
