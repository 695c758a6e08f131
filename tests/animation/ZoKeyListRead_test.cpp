// Reading key lists: joint keyframes read without the registry give the
// list, the failure and the bytes that the registry's path gives, and keys
// that share the list's blocks are owned exactly as keys allocated alone.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "ZoAnimationTestSupport.h"

#include <string>

using namespace zoanimationtest;

namespace {

// A joint keyframe entry built by hand: its code, time, tag, then the
// 200-byte block with `tag` in flags, the translation of every transform
// and the marker, so that every key tells where it came from.
void JointEntry(ByteBuilder& b, uint32_t time, int32_t tag) {
  b.i32(ZoTypeCode::JointKeyframe).u32(time).i32(tag).i32(tag);
  for (int t = 0; t < 6; ++t) b.f32(static_cast<float>(tag)).f32(static_cast<float>(t)).f32(0).f32(1).f32(0).f32(0).f32(0);
  b.f32(1).f32(2).f32(3).i32(tag).f32(0.25f).f32(0.75f).i32(1);
}

struct Entry {
  enum Kind { Joint, Plain, Null } kind;
  uint32_t time;
  int32_t tag;
};

Bytes ListBody(std::vector<Entry> const& entries, int32_t count = -1) {
  ByteBuilder b;
  b.i32(count >= 0 ? count : static_cast<int32_t>(entries.size()));
  for (Entry const& e : entries) {
    if (e.kind == Entry::Joint) JointEntry(b, e.time, e.tag);
    if (e.kind == Entry::Plain) b.i32(ZoTypeCode::Keyframe).u32(e.time).i32(e.tag);
    if (e.kind == Entry::Null) b.i32(-2);
  }
  return b;
}

// A list holding keys at 15 (tag 900) and 45 (tag 901) before the read.
void Prefill(ZoJointKeyList& list) {
  for (auto [time, tag] : {std::pair<uint32_t, int32_t>{15, 900}, {45, 901}}) {
    auto* kf = new ZoJointKeyframe;
    kf->setTime(time);
    kf->tag = tag;
    kf->marker = tag;
    list.Insert(kf);
  }
}

// What a read leaves: the status, the failure kept, and the list.
struct Outcome {
  ZoStreamError status;
  int64_t failureOffset;
  std::string reason;
  uint32_t consumed;
  Bytes written;
  std::vector<int32_t> tags;
  // The keys the typed iteration sees (joint keys only), by tag.
  std::vector<int32_t> jointTags;
  auto Tie() const { return std::tie(status, failureOffset, reason, consumed, written, tags, jointTags); }
};

Outcome Read(Bytes const& body, bool prefill) {
  ZoJointKeyList list;
  if (prefill) Prefill(list);
  zotest::Reader reader(body);
  Outcome out{list.ReadFromStream(*reader), reader->FailureOffset(), reader->FailureReason(), reader.Consumed(),
              zotest::Body(list), {}, {}};
  // Every key, through the base list's iteration (the joint list's own
  // skips keys of other classes).
  ZoKeyList const& all = list;
  ZoKeyListNode* p = nullptr;
  for (ZoKeyframe* kf = all.GetFirst(p); kf != nullptr; kf = all.GetNext(p)) out.tags.push_back(kf->tag);
  ZoKeyListNode* q = nullptr;
  for (ZoJointKeyframe* kf = list.GetFirst(q); kf != nullptr; kf = list.GetNext(q)) {
    out.jointTags.push_back(kf->tag);
    EXPECT_EQ(kf->marker, kf->tag) << "the value block lands in the key's fields";
  }
  return out;
}

// A creation function of a client that stands in for the library's: the
// same class, so the registry's path reads the same keys.
ZoStreamObject* ClientCreate() { return new (std::nothrow) ZoJointKeyframe; }

// Reads `body` once with the library's creation function registered (keys
// read directly) and once with a client's (keys through the registry).
std::pair<Outcome, Outcome> ReadBothWays(Bytes const& body, bool prefill) {
  Outcome direct = Read(body, prefill);
  ZoStreamConstructorEntry client(ZoTypeCode::JointKeyframe, &ClientCreate);
  Outcome registry = Read(body, prefill);
  ZoStreamConstructorEntry restored(ZoTypeCode::JointKeyframe, &ZoJointKeyframe::Create);
  return {direct, registry};
}

}  // namespace

TEST(ZoKeyListRead, JointKeysReadDirectlyAsTheRegistryReadsThem) {
  using E = Entry;
  struct Case {
    char const* what;
    std::vector<Entry> entries;
    bool prefill;
    std::vector<int32_t> tags;  // head to tail, as inserting one by one gives
    int32_t count;              // the count stored, when not the entries'
  } const cases[] = {
      {"ascending", {{E::Joint, 0, 1}, {E::Joint, 10, 2}, {E::Joint, 20, 3}}, false, {1, 2, 3}, -1},
      {"descending", {{E::Joint, 20, 1}, {E::Joint, 10, 2}, {E::Joint, 0, 3}}, false, {3, 2, 1}, -1},
      {"a later equal time replaces", {{E::Joint, 0, 1}, {E::Joint, 10, 2}, {E::Joint, 10, 3}, {E::Joint, 5, 4}, {E::Joint, 5, 5}},
       false, {1, 5, 3}, -1},
      {"merged into held keys", {{E::Joint, 10, 1}, {E::Joint, 45, 2}, {E::Joint, 50, 3}}, true, {1, 900, 2, 3}, -1},
      {"plain keys and null frames between", {{E::Joint, 0, 1}, {E::Null, 0, 0}, {E::Plain, 5, 2}, {E::Joint, 3, 3}, {E::Joint, 9, 4}},
       false, {1, 3, 2, 4}, -1},
      {"a count past the entries", {{E::Joint, 0, 1}, {E::Joint, 10, 2}}, false, {1, 2}, 3},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes body = ListBody(c.entries, c.count);
    auto [direct, registry] = ReadBothWays(body, c.prefill);
    EXPECT_EQ(direct.tags, c.tags);
    EXPECT_EQ(direct.status, c.count < 0 ? ZoStreamOk : ZoStreamReadError);
    EXPECT_EQ(direct.Tie(), registry.Tie());
  }
}

TEST(ZoKeyListRead, FailuresStopWhereTheRegistrysPathStops) {
  Bytes whole = ListBody({{Entry::Joint, 0, 1}, {Entry::Joint, 10, 2}, {Entry::Joint, 20, 3}});
  // Every truncation: the keys read whole are kept, the torn one is not.
  for (size_t length = 4; length < whole.size(); length += 13) {
    Bytes prefix(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    auto [direct, registry] = ReadBothWays(prefix, false);
    EXPECT_NE(direct.status, ZoStreamOk) << length;
    EXPECT_EQ(direct.Tie(), registry.Tie()) << length;
    EXPECT_EQ(direct.tags.size(), (length - 4) / 212) << length;
  }
  // Past the nesting limit no entry is read, whichever path it would take.
  ZoReadLimits::SetMaxDepth(0);
  auto [direct, registry] = ReadBothWays(whole, false);
  ZoReadLimits::Reset();
  EXPECT_EQ(std::make_tuple(direct.status, direct.reason, direct.tags.size()),
            std::make_tuple(ZoStreamFormatError, "nesting deeper than 0", 0u));
  EXPECT_EQ(direct.Tie(), registry.Tie());
}

TEST(ZoKeyListRead, KeysSharingABlockAreOwnedAsKeysAllocatedAlone) {
  Bytes body = ListBody({{Entry::Joint, 0, 1}, {Entry::Joint, 10, 2}, {Entry::Joint, 20, 3}, {Entry::Joint, 30, 4}});
  auto list = std::make_unique<ZoJointKeyList>();
  zotest::Reader reader(body);
  ASSERT_EQ(list->ReadFromStream(*reader), ZoStreamOk);

  // Taken out, a key outlives its list and is deleted by its new owner.
  ZoKeyListNode* p = nullptr;
  ZoKeyframe* first = list->GetFirst(p);
  ASSERT_EQ(list->Remove(first), 1);
  ZoKeyframe* second = list->Remove(p);
  ASSERT_NE(second, nullptr);
  // Replaced at its time, a key is destroyed by the list.
  auto* replacement = new ZoJointKeyframe;
  replacement->setTime(20);
  replacement->tag = 7;
  list->Insert(replacement);
  // Moved into another list, a key goes with that list.
  ZoKeyframe* last = list->GetLast(p);
  ASSERT_EQ(list->Remove(last), 1);
  ZoJointKeyList other;
  other.Insert(last);
  ZoJointKeyList copy(*list);
  list.reset();

  EXPECT_EQ(std::vector<int32_t>({first->tag, second->tag, other.GetFirst(p)->tag, copy.GetFirst(p)->tag}),
            std::vector<int32_t>({1, 2, 4, 7}));
  delete first;
  delete second;
  // The rest is freed by the lists' destructors; AddressSanitizer reports
  // any block freed twice or kept.
}
