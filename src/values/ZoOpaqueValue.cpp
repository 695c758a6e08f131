#include <zoactor/values/ZoOpaqueValue.h>

#include "serialization/ZoStreamIo.h"

#include <cstring>
#include <new>

ZoOpaqueValue::ZoOpaqueValue()
    : size(0), sourceType(ZoTypeCode::OpaqueValue), streamType(ZoTypeCode::OpaqueValue) {}

ZoOpaqueValue::ZoOpaqueValue(ZoOpaqueValue const& other) : ZoOpaqueValue() { CopyData(other); }

ZoOpaqueValue& ZoOpaqueValue::operator=(ZoOpaqueValue const& other) {
  if (this != &other) CopyData(other);
  return *this;
}

ZoOpaqueValue::~ZoOpaqueValue() = default;

bool ZoOpaqueValue::CopyData(ZoOpaqueValue const& other) {
  std::unique_ptr<char[]> bytes;
  if (other.size > 0) {
    bytes.reset(new (std::nothrow) char[static_cast<size_t>(other.size)]);
    if (bytes == nullptr) return false;
    std::memcpy(bytes.get(), other.data.get(), static_cast<size_t>(other.size));
  }
  data = std::move(bytes);
  size = other.data != nullptr ? other.size : 0;
  sourceType = other.sourceType;
  return true;
}

ZoStreamError ZoOpaqueValue::ReadFromStream(ZoStream& stream) {
  data.reset();
  size = 0;
  sourceType = stream.currentType;
  int32_t declared = stream.currentSize;
  if (declared <= 0) {
    if (declared < 0) stream.Fail(ZoStreamFormatError, "declared body size %d is negative", declared);
    return stream.Status();
  }
  if (!stream.CheckCount(declared, 1)) return stream.Status();
  std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(declared)]);
  if (bytes == nullptr) {
    return zostreamio::OutOfMemory(stream, ZoStreamFormatError);
  }
  if (stream.ReadBytes(static_cast<uint32_t>(declared), bytes.get()) != ZoStreamOk) return stream.Status();
  data = std::move(bytes);
  size = declared;
  return stream.Status();
}

ZoStreamError ZoOpaqueValue::WriteToStream(ZoStream& stream) const {
  if (size > 0 && data != nullptr) stream.WriteBytes(static_cast<uint32_t>(size), data.get());
  return stream.Status();
}

ZoStreamError ZoOpaqueValue::WriteAsObject(ZoStream& stream) const {
  streamType = sourceType;
  ZoStreamError result = ZoTypedValue::WriteAsObject(stream);
  streamType = ZoTypeCode::OpaqueValue;
  return result;
}

ZoTypedValue* ZoOpaqueValue::Copy() const {
  auto* copy = new (std::nothrow) ZoOpaqueValue;
  if (copy == nullptr) return nullptr;
  if (!copy->CopyData(*this)) {
    copy->Destroy();
    return nullptr;
  }
  return copy;
}

ZoStreamObject* ZoOpaqueValue::Create() { return new (std::nothrow) ZoOpaqueValue; }
