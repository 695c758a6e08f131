// Key lists: ordering and replacement, the cursor, iteration, the time
// lookups (including unsigned times near 0 and 2^32 − 1), copies, and the
// keyframe and key list bodies against layouts built by hand.
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/foundation/ZoDblList.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using zotest::ByteBuilder;
using zotest::Bytes;
using Times = std::vector<uint32_t>;

namespace {

// A keyframe that counts its destructions.
class CountedKey : public ZoKeyframe {
 public:
  CountedKey(uint32_t t, int32_t value, int* destroyedCounter) : destroyed(destroyedCounter) {
    setTime(t);
    tag = value;
  }
  ~CountedKey() override { ++*destroyed; }
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

// The times of a list head to tail, checking that the prev links mirror them.
Times TimesOf(ZoKeyList const& list) {
  Times times, backwards;
  ZoKeyListNode* p = nullptr;
  for (ZoKeyframe* kf = list.GetFirst(p); kf != nullptr; kf = list.GetNext(p)) times.push_back(kf->time());
  for (ZoKeyframe* kf = list.GetLast(p); kf != nullptr; kf = list.GetPrev(p)) backwards.insert(backwards.begin(), kf->time());
  EXPECT_EQ(backwards, times) << "prev links";
  return times;
}

Times TimesOf(ZoDblList const& items) {
  Times times;
  ZoDblListItem* p = nullptr;
  for (void* item = items.GetFirst(p); item != nullptr; item = items.GetNext(p))
    times.push_back(static_cast<ZoKeyframe*>(item)->time());
  return times;
}

uint32_t TimeOf(ZoKeyframe const* kf) { return kf != nullptr ? kf->time() : 0xDEADBEEFu; }
uint32_t const kNone = 0xDEADBEEFu;

ByteBuilder& KeyFrame(ByteBuilder& b, uint32_t t, int32_t tagValue) {
  return b.raw({0x66, 0x79, 0x65, 0x4B}).u32(t).i32(tagValue);  // "KeyF" code, time, tag
}

}  // namespace

TEST(ZoKeyListBasics, EmptyListAnswersWithItsSentinels) {
  ZoKeyList list;
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
  EXPECT_EQ(TimesOf(list), (Times{10, 20, 30}));
  ASSERT_NE(at10, nullptr);
  EXPECT_EQ(at10->prev, nullptr);

  ZoKeyListNode* before = at10->next;
  auto* replacement = new CountedKey(20, 9, &destroyed);
  ZoKeyListNode* node = list.Insert(replacement);
  EXPECT_EQ(node, before);
  EXPECT_EQ(node->keyframe, replacement);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(list.NumKeyframes(), 3);
  EXPECT_EQ(list.Insert(replacement), node);  // the key a node already holds: nothing changes
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(list.Insert(nullptr), nullptr);
  EXPECT_EQ(TimesOf(list), (Times{10, 20, 30}));
  EXPECT_EQ(list.FirstTime(), 10u);
  EXPECT_EQ(list.LastTime(), 30u);

  list.DeleteKeyframes();
  EXPECT_EQ(destroyed, 4);
  EXPECT_EQ(list.NumKeyframes(), 0);
  EXPECT_EQ(list.Cursor(), nullptr);
}

// Every lookup, as a table over keys at 0, 10 and 20, over keys at 10 and
// 20, and over keys spread across the unsigned range (compared unsigned,
// wrapping from near the top back to 0).
TEST(ZoKeyListLookups, EveryLookupAtItsEdges) {
  enum Op { At, Until, After, Between };
  struct Case {
    Times keys;
    Op op;
    uint32_t t1, t2, expected;
  } const cases[] = {
      {{0, 10, 20}, At, 15, 0, kNone},
      {{0, 10, 20}, At, 10, 0, 10},
      {{0, 10, 20}, Until, 15, 0, 10},
      {{0, 10, 20}, Until, 20, 0, 20},
      {{0, 10, 20}, Until, 0xFFFFFFFFu, 0, 20},
      {{0, 10, 20}, After, 10, 0, 10},
      {{0, 10, 20}, After, 11, 0, 20},
      {{0, 10, 20}, After, 21, 0, kNone},
      {{0, 10, 20}, Between, 5, 20, 20},
      {{0, 10, 20}, Between, 5, 19, 10},
      {{0, 10, 20}, Between, 10, 10, 10},  // the whole cycle ending at 10
      {{0, 10, 20}, Between, 15, 5, 0},
      {{0, 10, 20}, Between, 25, 30, kNone},
      {{0, 10, 20}, Between, 11, 19, kNone},
      // No key at or before t2: the last key at or after t1, if any.
      {{10, 20}, Between, 15, 5, 20},
      {{10, 20}, Between, 25, 5, kNone},
      {{10, 20}, Between, 5, 5, 20},
      {{10, 20}, Until, 5, 0, kNone},
      {{0x90000000u}, Until, 0x7FFFFFFFu, 0, kNone},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, At, 0xFFFFFFFFu, 0, 0xFFFFFFFFu},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, At, 0xFFFFFFFEu, 0, kNone},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, Until, 0xFFFFFFFEu, 0, 0x80000000u},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, Until, 0x80000000u, 0, 0x80000000u},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, Until, 0x7FFFFFFFu, 0, 0x7FFFFFFFu},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, After, 0x80000001u, 0, 0xFFFFFFFFu},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, Between, 0x7FFFFFFFu, 0xFFFFFFFEu, 0x80000000u},
      {{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}, Between, 0xFFFFFFF0u, 0, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(::testing::Message() << "op " << c.op << " " << c.t1 << " " << c.t2 << " over " << c.keys.size());
    ZoKeyList list;
    for (size_t i = c.keys.size(); i-- > 0;) list.Insert(Key(c.keys[i]));  // inserted in reverse
    EXPECT_EQ(list.FirstTime(), c.keys.front());
    EXPECT_EQ(list.LastTime(), c.keys.back());
    ZoKeyframe* kf = c.op == At      ? list.KeyframeAtTime(c.t1)
                     : c.op == Until ? list.LastKeyframeUntil(c.t1)
                     : c.op == After ? list.FirstKeyframeAfter(c.t1)
                                     : list.LastKeyframeBetween(c.t1, c.t2);
    EXPECT_EQ(TimeOf(kf), c.expected);
  }
}

TEST(ZoKeyListLookups, KeyframesBetweenInPlayingOrder) {
  ZoKeyList list;
  for (uint32_t t : {0u, 10u, 20u}) list.Insert(Key(t));
  ZoDblList forward, backward, same, none;
  EXPECT_TRUE(list.KeyframesBetween(0, 10, forward));
  EXPECT_EQ(TimesOf(forward), (Times{0, 10}));
  EXPECT_TRUE(list.KeyframesBetween(20, 10, backward));
  EXPECT_EQ(TimesOf(backward), (Times{20, 10}));
  EXPECT_TRUE(list.KeyframesBetween(10, 10, same));  // backwards, no wrap
  EXPECT_EQ(TimesOf(same), (Times{10}));
  // `out` is appended to and not cleared; items held before count.
  EXPECT_TRUE(list.KeyframesBetween(11, 19, forward));
  EXPECT_EQ(TimesOf(forward), (Times{0, 10}));
  EXPECT_FALSE(list.KeyframesBetween(11, 19, none));
  EXPECT_FALSE(list.KeyframesBetween(5, 1, none));

  ZoKeyList wide;
  for (uint32_t t : {0xFFFFFFFFu, 0x80000000u, 0u, 0x7FFFFFFFu, 1u}) wide.Insert(Key(t));
  ZoDblList down;
  EXPECT_TRUE(wide.KeyframesBetween(0xFFFFFFFFu, 0x7FFFFFFFu, down));
  EXPECT_EQ(TimesOf(down), (Times{0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu}));
}

TEST(ZoKeyListCursor, ResumesRestartsAndFollowsRemoval) {
  ZoKeyList list;
  for (uint32_t t : {0u, 10u, 20u}) list.Insert(Key(t));
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(20)), 20u);
  EXPECT_EQ(TimeOf(list.Cursor()->keyframe), 20u);
  EXPECT_EQ(list.KeyframeAtTime(25), nullptr);
  EXPECT_EQ(list.Cursor(), nullptr);  // ran past the tail
  EXPECT_EQ(TimeOf(list.KeyframeAtTime(0)), 0u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(20)), 20u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(15)), 10u);  // behind the cursor
  EXPECT_EQ(TimeOf(list.Cursor()->keyframe), 10u);
  ZoKeyList late;  // earlier than the head, with the cursor further along: null
  for (uint32_t t : {10u, 20u}) late.Insert(Key(t));
  EXPECT_EQ(TimeOf(late.LastKeyframeUntil(25)), 20u);
  EXPECT_EQ(late.LastKeyframeUntil(5), nullptr);

  // Removing the cursor's node moves the cursor on and hands the key back.
  ZoKeyListNode* cursor = list.Cursor();
  ZoKeyListNode* after = cursor->next;
  std::unique_ptr<ZoKeyframe> taken(list.Remove(cursor));
  ASSERT_NE(taken, nullptr);
  EXPECT_EQ(taken->time(), 10u);
  EXPECT_EQ(list.Cursor(), after);
  EXPECT_EQ(TimesOf(list), (Times{0, 20}));
  for (uint32_t t : {0u, 20u}) EXPECT_EQ(TimeOf(list.KeyframeAtTime(t)), t);
  EXPECT_EQ(list.KeyframeAtTime(10), nullptr);

  // Removing the tail while the cursor is on it leaves the cursor null.
  ASSERT_NE(list.KeyframeAtTime(20), nullptr);
  std::unique_ptr<ZoKeyframe> last(list.Cursor()->keyframe);
  EXPECT_EQ(list.Remove(last.get()), 1);
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.LastTime(), 0u);
  EXPECT_EQ(TimeOf(list.LastKeyframeUntil(100)), 0u);

  // Keys and nodes that are not in the list are refused.
  ZoKeyframe stranger;
  EXPECT_EQ(list.Remove(&stranger), 0);
  EXPECT_EQ(list.Remove(static_cast<ZoKeyframe*>(nullptr)), 0);
  ZoKeyList other;
  EXPECT_EQ(list.Remove(other.Insert(Key(0))), nullptr);
  EXPECT_EQ(other.NumKeyframes(), 1);
  EXPECT_EQ(list.NumKeyframes(), 1);

  // Emptying the list by removal leaves consistent ends.
  ZoKeyListNode* p = nullptr;
  std::unique_ptr<ZoKeyframe> head(list.GetFirst(p));
  EXPECT_EQ(list.Remove(head.get()), 1);
  EXPECT_EQ(list.GetFirst(p), nullptr);
  EXPECT_EQ(list.GetLast(p), nullptr);
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.Insert(Key(5))->prev, nullptr);
  EXPECT_EQ(list.FirstTime(), 5u);
  EXPECT_EQ(list.LastTime(), 5u);
}

TEST(ZoKeyListCursor, LookupsSeeATimeChangedInPlace) {
  // Retiming a listed key within its neighbours, directly or by assignment
  // or by reading a body into it, is what every lookup sees at once; a key
  // taken out of the list no longer reaches it.
  ZoKeyList list;
  ZoKeyframe* middle = Key(10);
  for (ZoKeyframe* kf : {Key(0), middle, Key(20)}) list.Insert(kf);
  ZoKeyframe* last = list.KeyframeAtTime(20);
  middle->setTime(12);
  EXPECT_EQ(list.KeyframeAtTime(10), nullptr);
  EXPECT_EQ(list.KeyframeAtTime(12), middle);
  EXPECT_EQ(list.LastKeyframeUntil(11), list.KeyframeAtTime(0));
  ZoKeyframe later;
  later.setTime(30);
  *last = later;
  EXPECT_EQ(list.LastTime(), 30u);
  zotest::Reader in(ByteBuilder().u32(40).i32(0));
  ASSERT_EQ((*in >> *last).Status(), ZoStreamOk);
  EXPECT_EQ(list.LastTime(), 40u);
  ASSERT_NE(list.KeyframeAtTime(0), nullptr);
  std::unique_ptr<ZoKeyframe> taken(list.Remove(list.Cursor()));
  taken->setTime(50);
  EXPECT_EQ(list.FirstTime(), 12u);
  EXPECT_EQ(TimesOf(list), (Times{12, 40}));
}

TEST(ZoKeyListCursor, IterationAndPeeking) {
  ZoKeyList list, one;
  for (uint32_t t : {0u, 10u, 20u}) list.Insert(Key(t));
  ZoKeyListNode* p = nullptr;
  EXPECT_EQ(TimeOf(list.GetFirst(p)), 0u);
  EXPECT_EQ(TimeOf(list.PeekNext(p)), 10u);
  EXPECT_EQ(list.PeekPrev(p), nullptr);  // nothing before the head
  EXPECT_EQ(TimeOf(list.GetNext(p)), 10u);
  EXPECT_EQ(TimeOf(list.PeekPrev(p)), 0u);
  EXPECT_EQ(TimeOf(list.GetNext(p)), 20u);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(TimeOf(list.PeekPrev(p)), 10u);  // past the tail: the tail's prev
  EXPECT_EQ(list.PeekNext(p), nullptr);
  EXPECT_EQ(list.GetNext(p), nullptr);
  one.Insert(Key(7));
  EXPECT_EQ(TimeOf(one.GetFirst(p)), 7u);
  EXPECT_EQ(one.PeekPrev(p), nullptr);
}

TEST(ZoKeyListCopies, CopiesKeepTheKeysClassesAndLeaveTheSourceAlone) {
  ZoKeyList source;
  source.Insert(Key(5, 55));
  auto* joint = new ZoJointKeyframe;
  joint->setTime(15);
  joint->marker = 3;
  source.Insert(joint);

  ZoKeyList copy(source);
  ASSERT_EQ(TimesOf(copy), (Times{5, 15}));
  EXPECT_EQ(copy.KeyframeAtTime(5)->tag, 55);
  auto* copiedJoint = dynamic_cast<ZoJointKeyframe*>(copy.KeyframeAtTime(15));
  ASSERT_NE(copiedJoint, nullptr);
  EXPECT_NE(copiedJoint, joint);
  EXPECT_EQ(copiedJoint->marker, 3);

  ZoKeyList assigned;
  int destroyed = 0;
  assigned.Insert(new CountedKey(99, 0, &destroyed));
  assigned = source;
  EXPECT_EQ(destroyed, 1);
  assigned = assigned;  // NOLINT: self-assignment keeps the keys
  EXPECT_EQ(TimesOf(assigned), (Times{5, 15}));
  EXPECT_EQ(TimesOf(source), (Times{5, 15}));
}

TEST(ZoKeyListStream, KeyframeAndListBodies) {
  ZoKeyframe kf;
  kf.setTime(0x01020304u);
  kf.tag = -2;
  ByteBuilder key;
  Bytes written = zotest::Framed(&kf);
  EXPECT_EQ(written, KeyFrame(key, 0x01020304u, -2).get()) << zotest::Hex(written);
  zotest::Reader in(written);
  std::unique_ptr<ZoKeyframe> back(in->ReadObjectAs<ZoKeyframe>());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->time(), 0x01020304u);
  EXPECT_EQ(back->tag, -2);

  ZoKeyList list;
  list.Insert(Key(30, 3));
  list.Insert(Key(10, 1));
  ByteBuilder expected;
  expected.raw({0x4C, 0x79, 0x65, 0x4B}).i32(2);  // "KeyL", two framed keys in time order
  KeyFrame(KeyFrame(expected, 10, 1), 30, 3);
  written = zotest::Framed(&list);
  EXPECT_EQ(written, expected.get()) << zotest::Hex(written);
  zotest::Reader listIn(written);
  std::unique_ptr<ZoKeyList> listBack(listIn->ReadObjectAs<ZoKeyList>());
  ASSERT_NE(listBack, nullptr);
  EXPECT_EQ(listIn->Status(), ZoStreamOk);
  EXPECT_EQ(TimesOf(*listBack), (Times{10, 30}));
  EXPECT_EQ(listBack->KeyframeAtTime(30)->tag, 3);
}

TEST(ZoKeyListStream, ReadingMergesAndEqualTimesReplace) {
  // The stream holds keys at 20 (tag 7), 5 (tag 1), a null entry and 20
  // again (tag 8); the list already holds 10 and 20.
  ByteBuilder body;
  body.i32(4);
  KeyFrame(KeyFrame(body, 20, 7), 5, 1).i32(-2);
  KeyFrame(body, 20, 8);
  int destroyed = 0;
  ZoKeyList list;
  list.Insert(new CountedKey(10, 100, &destroyed));
  list.Insert(new CountedKey(20, 200, &destroyed));
  zotest::Reader in(body);
  EXPECT_EQ(list.ReadFromStream(*in), ZoStreamOk);
  EXPECT_EQ(TimesOf(list), (Times{5, 10, 20}));
  EXPECT_EQ(list.KeyframeAtTime(10)->tag, 100);
  EXPECT_EQ(list.KeyframeAtTime(20)->tag, 8);  // the later key of the stream wins
  EXPECT_EQ(destroyed, 1);                     // the held key at 20
}
