#include <zoactor/animation/ZoKeyList.h>

#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "animation/ZoKeyBlock.h"
#include "animation/ZoSegmentMemo.h"
#include "serialization/ZoStreamIo.h"

#include <algorithm>
#include <new>
#include <vector>

namespace {

ZoKeyframe* KeyOf(ZoKeyListNode const* node) { return node != nullptr ? node->keyframe : nullptr; }

// Appends `kf` to `keys`; when the vector cannot grow, destroys `kf` and
// returns false.
bool Keep(std::vector<ZoKeyframe*>& keys, ZoKeyframe* kf) {
  try {
    keys.push_back(kf);
  } catch (std::bad_alloc const&) {
    delete kf;
    return false;
  }
  return true;
}

}  // namespace

// Stores `kf` in `node`, keeping the node's copy of its time and its typed
// view of it; the key points back at the node so that setTime reaches it.
void ZoKeyList::Hold(ZoKeyListNode* node, ZoKeyframe* kf) {
  node->keyframe = kf;
  node->time = kf->time();
  node->joint = dynamic_cast<ZoJointKeyframe*>(kf);
  kf->listNode = node;
}

ZoKeyList::ZoKeyList() : head(nullptr), tail(nullptr), cursor(nullptr), count(0) {}

ZoKeyList::ZoKeyList(ZoKeyList const& other) : ZoKeyList() { CopyKeysFrom(other); }

ZoKeyList& ZoKeyList::operator=(ZoKeyList const& other) {
  if (this != &other) {
    DeleteKeyframes();
    CopyKeysFrom(other);
  }
  return *this;
}

ZoKeyList::~ZoKeyList() { DeleteKeyframes(); }

void ZoKeyList::CopyKeysFrom(ZoKeyList const& other) {
  for (ZoKeyListNode* node = other.head; node != nullptr; node = node->next) {
    ZoKeyframe* copy = node->keyframe->CreateCopy();
    if (copy != nullptr) Insert(copy);
  }
}

// --- Editing ---------------------------------------------------------------------

ZoKeyListNode* ZoKeyList::Insert(ZoKeyframe* kf) { return InsertFrom(kf, nullptr); }

ZoKeyListNode* ZoKeyList::InsertFrom(ZoKeyframe* kf, ZoKeyListNode* from) {
  if (kf == nullptr) return nullptr;
  uint32_t t = kf->time();

  ZoKeyListNode* at = nullptr;  // the last node whose time is at most t
  if (head != nullptr && t >= head->time) {
    // The walk from the head ends on the same node when it starts at any
    // node not later than t: the caller's hint, or the tail, which makes
    // appending in time order (as every stored list is) constant time.
    if (from != nullptr && from->time <= t) {
      at = from;
    } else if (tail->time <= t) {
      at = tail;
    } else {
      at = head;
    }
    while (at->next != nullptr && t >= at->next->time) at = at->next;
    if (at->time == t) {
      if (at->keyframe != kf) {
        delete at->keyframe;
        Hold(at, kf);
      }
      return at;
    }
  }

  ZoKeyListNode* node = new (std::nothrow) ZoListNode;
  if (node == nullptr) {
    delete kf;
    return nullptr;
  }
  Hold(node, kf);
  if (at == nullptr) {
    // A new head (and tail of an empty list).
    node->next = head;
    if (head != nullptr) head->prev = node;
    head = node;
    if (tail == nullptr) tail = node;
  } else {
    node->prev = at;
    node->next = at->next;
    if (at->next != nullptr) {
      at->next->prev = node;
    } else {
      tail = node;
    }
    at->next = node;
  }
  ++count;
  return node;
}

int ZoKeyList::Remove(ZoKeyframe* kf) {
  if (kf == nullptr) return 0;
  for (ZoKeyListNode* node = head; node != nullptr; node = node->next) {
    if (node->keyframe == kf) {
      Remove(node);
      return 1;
    }
  }
  return 0;
}

ZoKeyframe* ZoKeyList::Remove(ZoKeyListNode* node) {
  if (node == nullptr) return nullptr;
  // Refuse a node of another list rather than corrupt both.
  ZoKeyListNode* member = head;
  while (member != nullptr && member != node) member = member->next;
  if (member == nullptr) return nullptr;

  if (cursor == node) cursor = node->next;
  if (node->prev != nullptr) {
    node->prev->next = node->next;
  } else {
    head = node->next;
  }
  if (node->next != nullptr) {
    node->next->prev = node->prev;
  } else {
    tail = node->prev;
  }
  --count;
  ZoKeyframe* kf = node->keyframe;
  if (kf != nullptr) kf->listNode = nullptr;
  delete static_cast<ZoListNode*>(node);
  return kf;
}

void ZoKeyList::DeleteKeyframes() {
  ZoKeyListNode* node = head;
  while (node != nullptr) {
    ZoKeyListNode* next = node->next;
    delete node->keyframe;
    delete static_cast<ZoListNode*>(node);
    node = next;
  }
  head = tail = cursor = nullptr;
  count = 0;
}

// --- Iteration -------------------------------------------------------------------

ZoKeyframe* ZoKeyList::GetFirst(ZoKeyListNode*& p) const {
  if (head == nullptr) {
    p = nullptr;
    return nullptr;
  }
  p = head->next;
  return head->keyframe;
}

ZoKeyframe* ZoKeyList::GetNext(ZoKeyListNode*& p) const {
  if (p == nullptr) return nullptr;
  ZoKeyframe* kf = p->keyframe;
  p = p->next;
  return kf;
}

ZoKeyframe* ZoKeyList::GetLast(ZoKeyListNode*& p) const {
  if (tail == nullptr) {
    p = nullptr;
    return nullptr;
  }
  p = tail->prev;
  return tail->keyframe;
}

ZoKeyframe* ZoKeyList::GetPrev(ZoKeyListNode*& p) const {
  if (p == nullptr) return nullptr;
  ZoKeyframe* kf = p->keyframe;
  p = p->prev;
  return kf;
}

ZoKeyframe* ZoKeyList::PeekNext(ZoKeyListNode* p) const { return KeyOf(p); }

ZoKeyframe* ZoKeyList::PeekPrev(ZoKeyListNode* p) const {
  if (p == nullptr) return tail != nullptr ? KeyOf(tail->prev) : nullptr;
  return p->prev != nullptr ? KeyOf(p->prev->prev) : nullptr;
}

uint32_t ZoKeyList::FirstTime() const { return head != nullptr ? head->time : kEmptyFirstTime; }

uint32_t ZoKeyList::LastTime() const { return tail != nullptr ? tail->time : 0u; }

// --- Lookups ---------------------------------------------------------------------

ZoKeyframe* ZoKeyList::KeyframeAtTime(uint32_t t) {
  if (cursor == nullptr) cursor = head;
  if (cursor == nullptr) return nullptr;
  if (t < cursor->time) cursor = head;
  while (cursor != nullptr && cursor->time < t) cursor = cursor->next;
  return cursor != nullptr && cursor->time == t ? cursor->keyframe : nullptr;
}

ZoKeyframe* ZoKeyList::LastKeyframeUntil(uint32_t t) {
  if (cursor == nullptr) cursor = head;
  if (cursor == nullptr) return nullptr;
  if (t < cursor->time) {
    cursor = head;
    if (t < head->time) return nullptr;
  }
  while (cursor->next != nullptr && cursor->next->time <= t) cursor = cursor->next;
  return cursor->keyframe;
}

ZoKeyframe* ZoKeyList::FirstKeyframeAfter(uint32_t t) {
  for (ZoKeyListNode* node = head; node != nullptr; node = node->next)
    if (node->time >= t) return node->keyframe;
  return nullptr;
}

ZoKeyframe* ZoKeyList::LastKeyframeBetween(uint32_t t1, uint32_t t2) {
  ZoKeyframe* found = nullptr;
  if (t1 < t2) {
    for (ZoKeyListNode* node = head; node != nullptr && node->time <= t2; node = node->next)
      if (node->time >= t1) found = node->keyframe;
    return found;
  }
  // The interval wraps: t1 to the end, then the start to t2.
  for (ZoKeyListNode* node = head; node != nullptr && node->time <= t2; node = node->next)
    found = node->keyframe;
  if (found != nullptr) return found;
  return tail != nullptr && tail->time >= t1 ? tail->keyframe : nullptr;
}

bool ZoKeyList::KeyframesBetween(uint32_t t1, uint32_t t2, ZoDblList& out) {
  if (t1 < t2) {
    for (ZoKeyListNode* node = head; node != nullptr && node->time <= t2; node = node->next)
      if (node->time >= t1) out.Add(node->keyframe);
  } else {
    for (ZoKeyListNode* node = tail; node != nullptr && node->time >= t2; node = node->prev)
      if (node->time <= t1) out.Add(node->keyframe);
  }
  return out.GetCount() > 0;
}

// --- Stream ------------------------------------------------------------------------

static_assert(alignof(ZoJointKeyframe) <= zokeyblock::kPieceAlign, "joint keys fit the alignment of key blocks");

ZoStreamError ZoKeyList::ReadFromStream(ZoStream& stream) {
  // The smallest entry is a null frame of four bytes.
  int32_t entries = 0;
  if (!stream.ReadLoopCount(entries, 4)) return stream.Status();
  // A key later than every key held is appended as it arrives, which is
  // what inserting it does. Any other key is gathered and merged in after
  // the entries are read, in time order, which gives the list that
  // inserting the keys one by one in stream order would (a stable sort
  // keeps the later of two equal times last, so it wins; a key appended
  // after a gathered one is later than it, so the two never tie) at
  // O(n log n) whatever order the stream holds them in.
  //
  // Joint keyframes, what lists nearly always hold, are read straight into
  // keys that share blocks with their nodes, without the registry and
  // without casts, as long as the library's own class is the one
  // registered for them. Any other entry goes through the registry.
  bool const direct = ZoStreamConstructorEntry::Find(ZoJointKeyframe::STREAM_TYPE) == &ZoJointKeyframe::Create;
  size_t const keyRoom = zokeyblock::PieceBytes(sizeof(ZoJointKeyframe)) + zokeyblock::PieceBytes(sizeof(ZoListNode));
  zokeyblock::Carver carver;
  std::vector<ZoKeyframe*> gathered;
  for (int32_t i = 0; i < entries && stream.Status() == ZoStreamOk; ++i) {
    int32_t tag = 0;
    if ((stream >> tag).Status() != ZoStreamOk) break;
    size_t const wanted = static_cast<size_t>(entries - i) * keyRoom;
    ZoKeyframe* kf = nullptr;
    ZoJointKeyframe* joint = nullptr;
    if (direct && tag == ZoJointKeyframe::STREAM_TYPE && stream.Depth() < ZoReadLimits::MaxDepth()) {
      void* room = carver.Carve(sizeof(ZoJointKeyframe), wanted);
      if (room == nullptr) {
        zostreamio::OutOfMemory(stream);
        break;
      }
      kf = joint = new (room) ZoJointKeyframe;
      if (joint->ZoJointKeyframe::ReadFromStream(stream) != ZoStreamOk) {
        delete joint;
        break;
      }
    } else {
      ZoStreamObject* object = stream.ReadObjectAfterTag(tag, nullptr);
      if (object == nullptr) continue;
      kf = dynamic_cast<ZoKeyframe*>(object);
      if (kf == nullptr) {
        int32_t found = object->StreamType();
        delete object;
        stream.Fail(ZoStreamFormatError, "an object of type code 0x%08X in a key list", static_cast<uint32_t>(found));
        break;
      }
      if (stream.Status() != ZoStreamOk) {
        delete kf;
        break;
      }
      joint = dynamic_cast<ZoJointKeyframe*>(kf);
    }
    bool kept = false;
    if (tail == nullptr || kf->time() > tail->time) {
      kept = Append(kf, joint, carver.Carve(sizeof(ZoListNode), wanted));
    } else {
      kept = Keep(gathered, kf);
    }
    if (!kept) {
      zostreamio::OutOfMemory(stream);
      break;
    }
  }
  std::stable_sort(gathered.begin(), gathered.end(),
                   [](ZoKeyframe const* a, ZoKeyframe const* b) { return a->time() < b->time(); });
  ZoKeyListNode* hint = nullptr;
  for (ZoKeyframe* kf : gathered) {
    ZoKeyListNode* node = InsertFrom(kf, hint);
    if (node != nullptr) hint = node;
  }
  return stream.Status();
}

bool ZoKeyList::Append(ZoKeyframe* kf, ZoJointKeyframe* joint, void* room) {
  if (room == nullptr) {
    delete kf;
    return false;
  }
  ZoKeyListNode* node = new (room) ZoListNode;
  node->keyframe = kf;
  node->time = kf->time();
  node->joint = joint;
  kf->listNode = node;
  node->prev = tail;
  if (tail != nullptr) {
    tail->next = node;
  } else {
    head = node;
  }
  tail = node;
  ++count;
  return true;
}

ZoStreamError ZoKeyList::WriteToStream(ZoStream& stream) const {
  stream << count;
  for (ZoKeyListNode* node = head; node != nullptr && stream.Status() == ZoStreamOk; node = node->next)
    stream.WriteObject(node->keyframe);
  return stream.Status();
}

ZoStreamObject* ZoKeyList::Create() { return new (std::nothrow) ZoKeyList; }

static ZoStreamConstructorEntry const kRegisterKeyList(ZoTypeCode::KeyList, &ZoKeyList::Create);
