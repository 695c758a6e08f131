// ZoListValue: an ordered list of typed values that owns its items, and
// ZoListValueSearchItr, the matcher that finds an item equal to a key.
//
// Items are added with the ZoDblList operations (Append, Prepend, Insert,
// Add) as `ZoTypedValue*`; from then on the list owns them and destroys them
// (through Destroy) when it is cleared or destroyed. Items taken out with
// Delete, DeleteFirst or DeleteLast pass back to the caller. Adding anything
// but a ZoTypedValue is a programming error.
//
// Body: int32 item count, then every item as a framed object, first to last.
// The frame declares a size of 0 although the body is not empty.
//
// Edge cases:
// - Reading a count that is negative, or larger than the rest of the stream
//   can hold (every framed item takes at least 4 bytes), fails with the
//   stream's error (ZoStreamFormatError or ZoStreamReadError) and adds
//   nothing.
// - Reading stops at the first item that fails, keeping the items read before
//   it; an item of a class that is not a typed value fails the read with
//   ZoStreamFormatError and is destroyed.
// - Copy construction and assignment copy every item (deep copies). The copy
//   starts without a modification callback; assignment keeps the target's.
#ifndef ZOACTOR_VALUES_ZOLISTVALUE_H
#define ZOACTOR_VALUES_ZOLISTVALUE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoListItemInterface.h>
#include <zoactor/values/ZoTypedValue.h>

class ZOACTOR_API ZoListValue : public ZoTypedValue, public ZoDblList {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ListValue;

  ZoListValue();
  // Holds a Copy() of every item of `other`, in order (items whose copy
  // could not be allocated are left out); no modification callback.
  ZoListValue(ZoListValue const& other);
  // Destroys the items held so far, then copies `other`'s as above.
  ZoListValue& operator=(ZoListValue const& other);
  // Destroys every item.
  ~ZoListValue() override;

  // Destroys every item, then empties the list.
  void Clear() override;
  using ZoDblList::Clear;

  // Walks the list from its first item with `cursor`: 1 at the first item
  // whose Compare(*value) is 0, leaving `cursor` on it; 0 when none matches
  // (or `value` is null).
  int Search(ZoTypedValue* value, ZoDblListItem*& cursor) const;

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Appends the items read behind any already held (see the file comment).
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // Declares 0, as the format has it.
  int32_t StreamSize() const override { return 0; }
  // A deep copy; null when the list or one of its items could not be copied.
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();

 private:
  // The list's own Copy overloads append item pointers without copying the
  // items, which would leave two lists owning them: they are not available.
  using ZoDblList::Copy;

  // Appends a copy of every item of `other`.
  void CopyItems(ZoListValue const& other);
};

// Matches list items (`ZoTypedValue*`) against a key (`ZoTypedValue*`):
// 1 when item->Compare(*key) is 0, else 0. Used with ZoDblList::Find.
class ZOACTOR_API ZoListValueSearchItr : public ZoListItemInterface {
 public:
  int Matches(void* item, void* key) override;
};

#endif
