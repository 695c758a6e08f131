// ZoKeyframe: a value stamped with a time, the element of a key list
// (ZoKeyList). The base keyframe carries only a tag, a 32-bit value that the
// library copies and streams but never interprets; subclasses (the joint
// keyframe) add their values.
//
// Times are unsigned 32-bit counts in the unit of the track that holds the
// key, compared unsigned everywhere.
//
// Body on the stream (type code ZoTypeCode::Keyframe, "fyeK" in the file):
//   time uint32, tag int32            8 bytes
#ifndef ZOACTOR_ANIMATION_ZOKEYFRAME_H
#define ZOACTOR_ANIMATION_ZOKEYFRAME_H

#include <zoactor/ZoExport.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstddef>
#include <cstdint>
#include <new>

struct ZoKeyListNode;

class ZOACTOR_API ZoKeyframe : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Keyframe;

  // A value carried with the key; copied and streamed, never interpreted.
  int32_t tag = 0;

  // Tag 0, time 0.
  ZoKeyframe() = default;
  // Copies tag and time (a copy belongs to no list).
  ZoKeyframe(ZoKeyframe const& other) : tag(other.tag), keyTime(other.keyTime) {}
  // Copies tag and time through setTime; this key stays in its list, if any.
  ZoKeyframe& operator=(ZoKeyframe const& other);
  ~ZoKeyframe() override;

  // The key's time. Changing the time of a key that sits in a list does not
  // move it: take it out with Remove, change it, and insert it again.
  uint32_t time() const { return keyTime; }
  // Sets the time; a list that holds the key sees the new time at once.
  void setTime(uint32_t t);

  // A new heap copy of the same dynamic class, owned by the caller; null
  // when it cannot be allocated.
  virtual ZoKeyframe* CreateCopy() const;

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads time then tag; a field whose read fails keeps its value. Returns
  // the stream's status.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Writes time then tag; returns the stream's status.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default keyframe, or null.
  static ZoStreamObject* Create();

  // Keyframes are allocated alone or, when a key list reads them, in
  // blocks shared with the list's other keys; `delete` frees either kind
  // (a block goes with its last key), so a key is owned and deleted the
  // same way whichever it is.
  // Storage is aligned to eight bytes (enough for every key class of the
  // library); a derived class that needs more declares its own operators.
  // Over-aligned classes go to the global aligned operators.
  static void* operator new(size_t size);
  static void* operator new(size_t size, std::nothrow_t const&) noexcept;
  static void* operator new(size_t size, std::align_val_t align);
  static void* operator new(size_t size, std::align_val_t align, std::nothrow_t const&) noexcept;
  static void* operator new(size_t, void* where) noexcept { return where; }
  static void operator delete(void* object) noexcept;
  static void operator delete(void* object, std::nothrow_t const&) noexcept;
  static void operator delete(void* object, std::align_val_t align) noexcept;
  static void operator delete(void* object, std::align_val_t align, std::nothrow_t const&) noexcept;
  static void operator delete(void*, void*) noexcept {}

 private:
  friend class ZoKeyList;

  uint32_t keyTime = 0;
  // The node of the list that holds this key, or null: its copy of the
  // time, which the list's walks read, follows setTime.
  ZoKeyListNode* listNode = nullptr;
};

#endif
