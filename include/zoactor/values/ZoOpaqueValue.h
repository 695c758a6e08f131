// ZoOpaqueValue: the raw body of a sized object whose class the reader does
// not know, kept so that it can be written back unchanged.
//
// The class is not registered: a reader that wants to keep unknown values
// passes ZoOpaqueValue::Create as the fallback of ZoStream::ReadObject. The
// value then takes the frame's type code and declared size from the stream
// (currentType, currentSize) and reads that many bytes. Written framed, it
// goes out under the code it came in with and its size, so an object read
// from the 17 bytes FF FF FF FF, 44 43 42 41, 05 00 00 00 and five data bytes
// writes exactly those 17 bytes again. Between writes StreamType() is the
// opaque code 0x564F7071.
//
// Edge cases:
// - A negative declared size fails the read with ZoStreamFormatError; a size
//   larger than the rest of the stream (or than ZoReadLimits allows) fails
//   it with the stream's error. Nothing is kept in either case.
// - Copy construction and assignment copy the bytes; the copy starts
//   without a modification callback, assignment keeps the target's.
#ifndef ZOACTOR_VALUES_ZOOPAQUEVALUE_H
#define ZOACTOR_VALUES_ZOOPAQUEVALUE_H

#include <zoactor/ZoExport.h>
#include <zoactor/values/ZoTypedValue.h>

#include <memory>

class ZOACTOR_API ZoOpaqueValue : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::OpaqueValue;

  ZoOpaqueValue();
  ZoOpaqueValue(ZoOpaqueValue const& other);
  ZoOpaqueValue& operator=(ZoOpaqueValue const& other);
  ~ZoOpaqueValue() override;

  // The opaque code, except while the value writes its frame.
  int32_t StreamType() const override { return streamType; }
  // Takes the type code and size of the frame being read (replacing any
  // bytes held before) and reads the bytes.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Writes the bytes held.
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // The number of bytes held.
  int32_t StreamSize() const override { return size; }
  // A copy of the bytes and codes; null when it could not be allocated.
  ZoTypedValue* Copy() const override;

  // Creates an empty opaque value: the fallback for ZoStream::ReadObject.
  static ZoStreamObject* Create();

 protected:
  // Writes the sized frame under the code the value was read under.
  ZoStreamError WriteAsObject(ZoStream& stream) const override;

 private:
  // Copies `other`'s bytes and codes; false when the bytes could not be allocated.
  bool CopyData(ZoOpaqueValue const& other);

  int32_t size;
  std::unique_ptr<char[]> data;
  int32_t sourceType;
  mutable int32_t streamType;
};

#endif
