// ZoKeyList: the keyframes of one track in strictly ascending time, at most
// one key per time, with the lookups a player of the track needs.
//
// Ownership: the list owns its keyframes. It destroys a key when a later
// Insert at the same time replaces it, when the list is emptied
// (DeleteKeyframes) and when the list is destroyed. Remove hands a key back
// to the caller.
//
// The cursor: KeyframeAtTime, LastKeyframeUntil and the joint list's
// SampleAtTime resume their walk from the node where the previous lookup
// ended and go back to the head only when asked for an earlier time, so
// lookups at non-decreasing times cost amortised constant time. Because
// lookups move the cursor, even lookups must not run on one list from two
// threads at once. The other lookups walk from the head (or the tail) and
// leave the cursor alone.
//
// Body on the stream (type code ZoTypeCode::KeyList, "LyeK" in the file):
//   count int32, then each keyframe from head to tail as a framed object,
//   so each carries its own type code and may be of any keyframe class.
// Reading merges into the keys already held (Insert re-sorts, and a key of
// an equal time replaces the held one).
//
// Edge cases:
//   - Each node keeps a copy of its key's time, which every lookup,
//     FirstTime and LastTime read; the key's setTime updates that copy, so
//     lookups always see the key's own time. Changing the time does not
//     move the key: a time that passes a neighbour's breaks the order the
//     lookups rely on (take the key out with Remove and insert it again).
#ifndef ZOACTOR_ANIMATION_ZOKEYLIST_H
#define ZOACTOR_ANIMATION_ZOKEYLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZoJointKeyframe;

// One node per keyframe of a list, allocated and freed by the list. Callers
// read the links; only the list changes them.
struct ZOACTOR_API ZoKeyListNode {
  // The key of this node, owned by the list.
  ZoKeyframe* keyframe = nullptr;
  // The node of the next earlier key; null at the head.
  ZoKeyListNode* prev = nullptr;
  // The node of the next later key; null at the tail.
  ZoKeyListNode* next = nullptr;
  // The key's time as it was when the list stored the key. Every lookup of
  // the list walks these, so a walk reads one node per key instead of the
  // node and then its key.
  uint32_t time = 0;
  // The same key seen as a joint keyframe, or null when it is of another
  // class. The list keeps it whenever it stores a key, so that sampling
  // needs neither a virtual call nor a cast to know what it holds.
  ZoJointKeyframe* joint = nullptr;
};

class ZOACTOR_API ZoKeyList : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::KeyList;

  // FirstTime() of an empty list.
  static constexpr uint32_t kEmptyFirstTime = 0x7FFFFFFFu;

  // An empty list.
  ZoKeyList();
  // An empty list into which CreateCopy() of every key of `other`, head to
  // tail, is inserted. A copy that cannot be allocated is left out.
  ZoKeyList(ZoKeyList const& other);
  // Deletes the held keys, then copies `other`'s as the copy constructor
  // does. Assigning a list to itself changes nothing.
  ZoKeyList& operator=(ZoKeyList const& other);
  // Deletes every key.
  ~ZoKeyList() override;

  // Takes ownership of `kf` and stores it in time order; returns its node.
  // When a key of the same time is held, that key is destroyed and its node
  // takes `kf` (the count does not change); inserting a key that is already
  // in that node changes nothing. The cursor is not moved. A null `kf`
  // returns null; when no node can be allocated `kf` is destroyed and the
  // result is null. Appending at or after the tail's time is constant time.
  ZoKeyListNode* Insert(ZoKeyframe* kf);
  // Unlinks the node holding `kf` (the cursor moves as for the node form);
  // returns 1, or 0 when `kf` is not in the list. The key is not destroyed:
  // the caller owns it again.
  int Remove(ZoKeyframe* kf);
  // Unlinks and frees `node` and returns its key, now the caller's. When the
  // node is the cursor, the cursor moves to the node's next. A null node, or
  // one that is not in this list, returns null and changes nothing.
  ZoKeyframe* Remove(ZoKeyListNode* node);

  // Iteration with a position `p` held by the caller:
  //   for (kf = GetFirst(p); kf; kf = GetNext(p)) ...   (forwards)
  //   for (kf = GetLast(p); kf; kf = GetPrev(p)) ...    (backwards)
  // GetFirst returns the head's key and sets p to the head's next (null and
  // p null for an empty list). GetNext returns p's key and moves p to its
  // next (null when p is null). GetLast and GetPrev mirror them.
  ZoKeyframe* GetFirst(ZoKeyListNode*& p) const;
  ZoKeyframe* GetNext(ZoKeyListNode*& p) const;
  ZoKeyframe* GetLast(ZoKeyListNode*& p) const;
  ZoKeyframe* GetPrev(ZoKeyListNode*& p) const;
  // The key GetNext would return (p's key; null for a null p); p unchanged.
  ZoKeyframe* PeekNext(ZoKeyListNode* p) const;
  // During a forward iteration, the key just before the one most recently
  // returned: the key of p's prev's prev, or, when p is null (the iteration
  // ran past the tail), the key of the tail's prev; null wherever a link on
  // that path is null. p unchanged.
  ZoKeyframe* PeekPrev(ZoKeyListNode* p) const;

  int NumKeyframes() const { return count; }
  // The head's time; kEmptyFirstTime (0x7FFFFFFF) for an empty list.
  uint32_t FirstTime() const;
  // The tail's time; 0 for an empty list.
  uint32_t LastTime() const;

  // The key at exactly `t`, or null. Walks from the cursor (from the head
  // when `t` is earlier than the cursor's key) and leaves the cursor at the
  // first node whose time is at least `t`, or null past the tail (the next
  // lookup then starts from the head).
  ZoKeyframe* KeyframeAtTime(uint32_t t);
  // The last key at or before `t`, or null when every key is later than `t`.
  // Walks from the cursor (from the head when `t` is earlier than the
  // cursor's key) and leaves the cursor on the key returned.
  ZoKeyframe* LastKeyframeUntil(uint32_t t);
  // The first key whose time is at or after `t` (the bound is inclusive),
  // or null. Walks from the head; the cursor is not used.
  ZoKeyframe* FirstKeyframeAfter(uint32_t t);
  // With t1 < t2: the last key with t1 <= time <= t2, or null.
  // With t1 >= t2 the interval wraps around the end of the track (t1 to the
  // end, then the start to t2): the last key at or before t2 when there is
  // one, otherwise the last key of the list when it is at or after t1,
  // otherwise null. t1 == t2 is therefore the whole cycle ending at t2.
  // The cursor is not used.
  ZoKeyframe* LastKeyframeBetween(uint32_t t1, uint32_t t2);
  // Appends to `out` (with its Add; `out` is not cleared and owns nothing)
  // the keys of an interval in playing order: with t1 < t2 every key with
  // t1 <= time <= t2, ascending; with t1 >= t2 (playing backwards) every key
  // with t2 <= time <= t1, descending, without wrapping. Returns true when
  // `out` holds at least one item afterwards, counting items it held before.
  bool KeyframesBetween(uint32_t t1, uint32_t t2, ZoDblList& out);

  // Destroys every key (through its virtual destructor) and frees every
  // node, head to tail; head, tail and cursor become null, the count 0.
  void DeleteKeyframes();

  // The node the cursor-based lookups resume from (null: from the head).
  ZoKeyListNode* Cursor() const { return cursor; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads the count and then that many framed objects, inserting each key
  // with Insert; the keys already held stay. Fails, keeping the keys read
  // so far, when the count is negative (ZoStreamFormatError) or larger than
  // the rest of the stream could hold (at least 4 bytes per entry), when an
  // entry is an object of a class that is not a keyframe
  // (ZoStreamFormatError; the object is destroyed), or when an entry cannot
  // be read whole (the partly read key is destroyed, not inserted). A null
  // entry, or one of an unregistered class, inserts nothing. Keys later
  // than every key held are appended as they come; the others are merged
  // in after the entries are read, in O(n log n) whatever their order; the
  // result is the list that inserting them one by one would give. Joint
  // keyframes (while ZoJointKeyframe::Create is registered for their code)
  // are read without the registry, and share blocks of memory with their
  // nodes (see ZoKeyframe's operator new).
  // Returns the stream's status.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Writes the count and every key from head to tail as a framed object,
  // stopping at the first error. Returns the stream's status.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: an empty list, or null.
  static ZoStreamObject* Create();

 protected:
  // Stores `kf` in `node` with its time and typed view, and links the key
  // back to the node.
  static void Hold(ZoKeyListNode* node, ZoKeyframe* kf);
  // Copies every key of `other` in, as the copy constructor does.
  void CopyKeysFrom(ZoKeyList const& other);
  // Insert, with the walk for the key's place starting at `from` when that
  // is a node not later than the key (null: no hint).
  ZoKeyListNode* InsertFrom(ZoKeyframe* kf, ZoKeyListNode* from);
  // Links `kf` (later than every key held; `joint` is the same key as a
  // joint keyframe, or null) behind the tail in a node made in `room`.
  // Without room, destroys `kf` and returns false.
  bool Append(ZoKeyframe* kf, ZoJointKeyframe* joint, void* room);

  ZoKeyListNode* head;
  ZoKeyListNode* tail;
  // Null or one of this list's nodes.
  ZoKeyListNode* cursor;
  int32_t count;
};

#endif
