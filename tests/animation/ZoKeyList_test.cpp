// Key lists: ordering and replacement, the cursor, iteration, the time
// lookups (including unsigned times near 0 and 2^32 − 1), assignment, and
// the keyframe and key list bodies against layouts built by hand.
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/foundation/ZoDblList.h>

#include "ZoAnimationTestSupport.h"

using namespace zoanimationtest;
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

// A list of plain keys at `times`, inserted in reverse.
void Fill(ZoKeyList& list, Times const& times) {
  for (size_t i = times.size(); i-- > 0;) list.Insert(Key(times[i]));
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

uint32_t const kNone = 0xDEADBEEFu;
uint32_t TimeOf(ZoKeyframe const* kf) { return kf != nullptr ? kf->time() : kNone; }

}  // namespace

TEST(ZoKeyListBasics, EmptyListAnswersWithItsSentinelsAndInsertSorts) {
  ZoKeyList list;
  EXPECT_EQ(std::make_pair(list.FirstTime(), list.LastTime()), std::make_pair(0x7FFFFFFFu, 0u));
  auto* p = reinterpret_cast<ZoKeyListNode*>(&list);  // any non-null value: reset to null
  auto* q = p;
  ZoDblList out;
  std::vector<void const*> const found{list.GetFirst(p), p, list.GetLast(q), q, list.PeekPrev(nullptr),
                                       list.KeyframeAtTime(0), list.LastKeyframeUntil(0xFFFFFFFFu),
                                       list.FirstKeyframeAfter(0), list.LastKeyframeBetween(0, 10),
                                       list.LastKeyframeBetween(10, 10)};
  EXPECT_EQ(found, std::vector<void const*>(found.size(), nullptr));
  EXPECT_FALSE(list.KeyframesBetween(0, 0xFFFFFFFFu, out) || list.KeyframesBetween(10, 0, out));
  EXPECT_EQ(out.GetCount(), 0);

  // Inserting sorts and replaces a key of an equal time.
  int destroyed = 0;
  list.Insert(new CountedKey(20, 1, &destroyed));
  ZoKeyListNode* at10 = list.Insert(new CountedKey(10, 2, &destroyed));
  list.Insert(new CountedKey(30, 3, &destroyed));
  ASSERT_NE(at10, nullptr);
  EXPECT_EQ(at10->prev, nullptr);

  auto* replacement = new CountedKey(20, 9, &destroyed);
  ZoKeyListNode* node = list.Insert(replacement);
  // Inserting the key a node already holds changes nothing.
  std::vector<void const*> const nodes{node, node->keyframe, list.Insert(replacement), list.Insert(nullptr)};
  EXPECT_EQ(nodes, std::vector<void const*>({at10->next, replacement, node, nullptr}));
  EXPECT_EQ(std::make_tuple(destroyed, list.NumKeyframes(), list.FirstTime(), list.LastTime()),
            std::make_tuple(1, 3, 10u, 30u));
  EXPECT_EQ(TimesOf(list), (Times{10, 20, 30}));

  list.DeleteKeyframes();
  EXPECT_EQ(std::make_tuple(destroyed, list.NumKeyframes(), list.Cursor()),
            std::make_tuple(4, 0, static_cast<ZoKeyListNode*>(nullptr)));
}

// Every lookup, as a table over keys at 0, 10 and 20, over keys at 10 and
// 20, and over keys spread across the unsigned range (compared unsigned,
// wrapping from near the top back to 0); the cursor test below adds more.
TEST(ZoKeyListLookups, EveryLookupAtItsEdges) {
  enum Op { At, Until, After, Between };
  Times const low{0, 10, 20}, late{10, 20}, wide{0, 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu};
  struct Case {
    Times keys;
    Op op;
    uint32_t t1, t2, expected;
  } const cases[] = {
      {low, At, 15, 0, kNone},
      {low, Until, 0xFFFFFFFFu, 0, 20},
      {low, After, 10, 0, 10},
      {low, After, 11, 0, 20},
      {low, After, 21, 0, kNone},
      {low, Between, 5, 20, 20},
      {low, Between, 5, 19, 10},
      {low, Between, 10, 10, 10},  // the whole cycle ending at 10
      {low, Between, 15, 5, 0},
      {low, Between, 25, 30, kNone},
      {low, Between, 11, 19, kNone},
      // No key at or before t2: the last key at or after t1, if any.
      {late, Between, 15, 5, 20},
      {late, Between, 25, 5, kNone},
      {late, Between, 5, 5, 20},
      {{0x90000000u}, Until, 0x7FFFFFFFu, 0, kNone},
      {wide, At, 0xFFFFFFFFu, 0, 0xFFFFFFFFu},
      {wide, At, 0xFFFFFFFEu, 0, kNone},
      {wide, Until, 0xFFFFFFFEu, 0, 0x80000000u},
      {wide, Until, 0x80000000u, 0, 0x80000000u},
      {wide, Until, 0x7FFFFFFFu, 0, 0x7FFFFFFFu},
      {wide, After, 0x80000001u, 0, 0xFFFFFFFFu},
      {wide, Between, 0x7FFFFFFFu, 0xFFFFFFFEu, 0x80000000u},
      {wide, Between, 0xFFFFFFF0u, 0, 0},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(::testing::Message() << "op " << c.op << " " << c.t1 << " " << c.t2 << " over " << c.keys.size());
    ZoKeyList list;
    Fill(list, c.keys);
    ZoKeyframe* kf = c.op == At      ? list.KeyframeAtTime(c.t1)
                     : c.op == Until ? list.LastKeyframeUntil(c.t1)
                     : c.op == After ? list.FirstKeyframeAfter(c.t1)
                                     : list.LastKeyframeBetween(c.t1, c.t2);
    EXPECT_EQ(TimeOf(kf), c.expected);
  }
}

TEST(ZoKeyListLookups, KeyframesBetweenInPlayingOrder) {
  ZoKeyList list, wide;
  Fill(list, {0, 10, 20});
  ZoDblList forward, backward, same, none, down;
  Fill(wide, {0xFFFFFFFFu, 0x80000000u, 0u, 0x7FFFFFFFu, 1u});
  // 10 to 10 runs backwards without wrapping; `out` is appended to and not
  // cleared, so items held before count.
  std::vector<bool> const found{list.KeyframesBetween(0, 10, forward), list.KeyframesBetween(20, 10, backward),
                                list.KeyframesBetween(10, 10, same),   list.KeyframesBetween(11, 19, forward),
                                list.KeyframesBetween(11, 19, none),   list.KeyframesBetween(5, 1, none),
                                wide.KeyframesBetween(0xFFFFFFFFu, 0x7FFFFFFFu, down)};
  EXPECT_EQ(found, std::vector<bool>({true, true, true, true, false, false, true}));
  EXPECT_EQ(std::vector<Times>({TimesOf(forward), TimesOf(backward), TimesOf(same), TimesOf(none), TimesOf(down)}),
            std::vector<Times>({{0, 10}, {20, 10}, {10}, {}, {0xFFFFFFFFu, 0x80000000u, 0x7FFFFFFFu}}));
}

TEST(ZoKeyListCursor, IteratesPeeksResumesRestartsAndFollowsRemoval) {
  ZoKeyList list, late, one;
  Fill(list, {0, 10, 20});
  Fill(late, {10, 20});
  one.Insert(Key(7));
  ZoKeyListNode* p = nullptr;
  // Nothing before the head; past the tail, PeekPrev gives the tail's prev.
  Times const iterated{TimeOf(list.GetFirst(p)), TimeOf(list.PeekNext(p)), TimeOf(list.PeekPrev(p)),
                       TimeOf(list.GetNext(p)),  TimeOf(list.PeekPrev(p)), TimeOf(list.GetNext(p)),
                       p == nullptr ? kNone : 0u, TimeOf(list.PeekPrev(p)), TimeOf(list.PeekNext(p)),
                       TimeOf(list.GetNext(p)),  TimeOf(one.GetFirst(p)),  TimeOf(one.PeekPrev(p))};
  EXPECT_EQ(iterated, (Times{0, 10, kNone, 10, 0, 20, kNone, 10, kNone, kNone, 7, kNone}));

  // Past the tail the cursor is null; behind the cursor a lookup restarts;
  // earlier than the head, with the cursor further along: none.
  Times const seen{TimeOf(list.KeyframeAtTime(20)), TimeOf(list.Cursor()->keyframe),
                   TimeOf(list.KeyframeAtTime(25)), TimeOf(list.Cursor() ? list.Cursor()->keyframe : nullptr),
                   TimeOf(list.KeyframeAtTime(0)),  TimeOf(list.LastKeyframeUntil(20)),
                   TimeOf(list.LastKeyframeUntil(15)), TimeOf(list.Cursor()->keyframe),
                   TimeOf(late.LastKeyframeUntil(25)), TimeOf(late.LastKeyframeUntil(5))};
  EXPECT_EQ(seen, (Times{20, 20, kNone, kNone, 0, 20, 10, 10, 20, kNone}));

  // Removing the cursor's node moves the cursor on and hands the key back;
  // removing the tail while the cursor is on it leaves the cursor null.
  ZoKeyListNode* after = list.Cursor()->next;
  std::unique_ptr<ZoKeyframe> taken(list.Remove(list.Cursor()));
  EXPECT_EQ(std::make_pair(TimeOf(taken.get()), list.Cursor()), std::make_pair(10u, after));
  EXPECT_EQ(TimesOf(list), (Times{0, 20}));
  EXPECT_EQ(list.KeyframeAtTime(10), nullptr);
  std::unique_ptr<ZoKeyframe> last(list.KeyframeAtTime(20));
  EXPECT_EQ(list.Remove(last.get()), 1);
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(Times({list.LastTime(), TimeOf(list.LastKeyframeUntil(100))}), Times({0, 0}));

  // Keys and nodes that are not in the list are refused.
  ZoKeyframe stranger;
  ZoKeyList other;
  EXPECT_EQ(list.Remove(&stranger) + list.Remove(static_cast<ZoKeyframe*>(nullptr)), 0);
  EXPECT_EQ(list.Remove(other.Insert(Key(0))), nullptr);
  EXPECT_EQ(other.NumKeyframes() + list.NumKeyframes(), 2);

  // Emptying the list by removal leaves consistent ends.
  std::unique_ptr<ZoKeyframe> head(list.GetFirst(p));
  EXPECT_EQ(list.Remove(head.get()), 1);
  EXPECT_EQ(TimesOf(list), Times{});
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.Insert(Key(5))->prev, nullptr);
  EXPECT_EQ(std::make_tuple(list.FirstTime(), list.LastTime()), std::make_tuple(5u, 5u));
}

TEST(ZoKeyListCursor, LookupsSeeATimeChangedInPlace) {
  // Retiming a listed key within its neighbours, directly or by assignment
  // or by reading a body into it, is what every lookup sees at once; a key
  // taken out of the list no longer reaches it.
  ZoKeyList list;
  Fill(list, {0, 10, 20});
  ZoKeyframe* first = list.KeyframeAtTime(0);
  ZoKeyframe* middle = list.KeyframeAtTime(10);
  ZoKeyframe* last = list.KeyframeAtTime(20);
  middle->setTime(12);
  std::vector<ZoKeyframe*> const found{list.KeyframeAtTime(10), list.KeyframeAtTime(12), list.LastKeyframeUntil(11)};
  EXPECT_EQ(found, std::vector<ZoKeyframe*>({nullptr, middle, first}));
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
  EXPECT_EQ(std::make_pair(list.FirstTime(), TimesOf(list)), std::make_pair(12u, Times{12, 40}));
}

// That copies keep the keys' classes shows in the joint-list read tests.
TEST(ZoKeyListCopies, AssignmentReplacesTheKeysAndLeavesTheSourceAlone) {
  ZoKeyList source, assigned;
  Fill(source, {5, 15});
  int destroyed = 0;
  assigned.Insert(new CountedKey(99, 0, &destroyed));
  assigned = source;
  assigned = assigned;  // NOLINT: self-assignment keeps the keys
  EXPECT_EQ(std::make_tuple(destroyed, TimesOf(assigned), TimesOf(source)), std::make_tuple(1, Times{5, 15}, Times{5, 15}));
}

TEST(ZoKeyListStream, KeyframeAndListBodies) {
  ZoKeyframe kf;
  kf.setTime(0x01020304u);
  kf.tag = -2;
  zotest::ExpectFramedLayout(kf, KeyFrame(0x01020304u, -2));  // and read back

  ZoKeyList list;
  list.Insert(Key(30, 3));
  list.Insert(Key(10, 1));
  ByteBuilder expected;
  expected.raw({0x4C, 0x79, 0x65, 0x4B}).i32(2);  // "KeyL", two framed keys in time order
  KeyFrame(KeyFrame(expected, 10, 1), 30, 3);
  zotest::ExpectFramedLayout(list, expected);
}
