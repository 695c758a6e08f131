// ZoArrayValue: a fixed-size array of owned typed values, each of which may
// be null.
//
// Body: int32 item count, then every item as a framed object, null items as
// the null marker. The frame declares a size of 0 although the body is not
// empty.
//
// Edge cases:
// - SetNumItems of a negative count makes the array empty.
// - Reading a count that is negative, or larger than the rest of the stream
//   can hold (every framed item takes at least 4 bytes) or than
//   ZoReadLimits allows, fails with the stream's error and leaves the array
//   empty. Reading into an array that already holds items destroys them
//   first.
// - Reading stops at the first item that fails; the items read before it
//   stay, the rest of the array is null. An item of a class that is not a
//   typed value fails the read with ZoStreamFormatError and is destroyed.
// - Copy construction and assignment copy every item (deep copies). The copy
//   starts without a modification callback; assignment keeps the target's.
#ifndef ZOACTOR_VALUES_ZOARRAYVALUE_H
#define ZOACTOR_VALUES_ZOARRAYVALUE_H

#include <zoactor/ZoExport.h>
#include <zoactor/values/ZoTypedValue.h>

#include <memory>

class ZOACTOR_API ZoArrayValue : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ArrayValue;

  ZoArrayValue();
  // Holds a Copy() of every non-null item of `other` and null where it has
  // null (also where a copy could not be allocated); no modification callback.
  ZoArrayValue(ZoArrayValue const& other);
  // Destroys the items held so far, then copies `other`'s as above.
  ZoArrayValue& operator=(ZoArrayValue const& other);
  // Destroys every item.
  ~ZoArrayValue() override;

  int32_t NumItems() const { return numItems; }
  // The item at `index` (still owned by the array), or null when the entry
  // is null or `index` is negative or not below NumItems().
  ZoTypedValue* GetItem(int index) const;
  ZoTypedValue* operator[](int index) const { return GetItem(index); }
  // When `index` is in range, destroys the item held there (if any) and
  // stores `value` (null allowed), which the array then owns. Out of range
  // nothing happens and the caller keeps `value`.
  void SetItem(int index, ZoTypedValue* value);
  // Resizes to `count` entries (0 when negative): the first min(count,
  // NumItems()) items stay, items beyond `count` are destroyed, new entries
  // are null. Returns 1, or 0 with the array unchanged when the new entries
  // could not be allocated.
  int SetNumItems(int count);

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // Declares 0, as the format has it.
  int32_t StreamSize() const override { return 0; }
  // A deep copy; null when the array or one of its items could not be copied.
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();

 private:
  // Destroys every item and releases the entries.
  void Release();
  // Fills this (empty) array with copies of `other`'s items; false when any
  // allocation failed.
  bool CopyItems(ZoArrayValue const& other);

  int32_t numItems;
  std::unique_ptr<ZoTypedValue*[]> items;
};

#endif
