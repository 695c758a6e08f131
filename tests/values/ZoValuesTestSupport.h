// Helpers for the value tests: writing objects to bytes, reading them back
// from fixed buffers, owning typed values, and a value that counts its live
// instances so that ownership rules can be checked.
#ifndef ZOACTOR_TESTS_VALUES_ZOVALUESTESTSUPPORT_H
#define ZOACTOR_TESTS_VALUES_ZOVALUESTESTSUPPORT_H

#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/values/ZoTypedValue.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace zovaluestest {

using zotest::Bytes;

// Destroys typed values the way their owners do.
struct DestroyValue {
  void operator()(ZoTypedValue* value) const {
    if (value != nullptr) value->Destroy();
  }
};
using ValuePtr = std::unique_ptr<ZoTypedValue, DestroyValue>;
using ObjectPtr = std::unique_ptr<ZoStreamObject>;

// The bytes written so far to a growable stream.
inline Bytes Written(ZoMemoryStream& stream) {
  int32_t length = 0;
  char* buffer = stream.GetBuffer(length);
  Bytes bytes = zotest::ToBytes(buffer, static_cast<size_t>(length));
  ::operator delete(buffer);
  return bytes;
}

// `object` written framed (WriteObject) under `version`.
inline Bytes Framed(ZoStreamObject const* object, int32_t version = kZoCurrentVersion) {
  ZoMemoryStream stream;
  stream.version = version;
  EXPECT_EQ(stream.WriteObject(object), ZoStreamOk);
  return Written(stream);
}

// `object`'s body written bare (operator<<) under `version`.
inline Bytes Body(ZoStreamObject const& object, int32_t version = kZoCurrentVersion) {
  ZoMemoryStream stream;
  stream.version = version;
  stream << object;
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  return Written(stream);
}

// A fixed stream over a copy of some bytes, at a given version. The copy is
// sized exactly, so AddressSanitizer sees any read beyond the data.
class Reader {
 public:
  explicit Reader(Bytes const& bytes, int32_t version = kZoCurrentVersion)
      : data(new uint8_t[bytes.empty() ? 1 : bytes.size()]), stream(data.get(), static_cast<int32_t>(bytes.size())) {
    std::copy(bytes.begin(), bytes.end(), data.get());
    stream.version = version;
  }
  ZoMemoryStream& operator*() { return stream; }
  ZoMemoryStream* operator->() { return &stream; }
  // The number of bytes consumed so far.
  uint32_t Consumed() const { return stream.GetPosition(); }

 private:
  std::unique_ptr<uint8_t[]> data;
  ZoMemoryStream stream;
};

// Reads one framed object from `bytes`; `status` gets the stream's status.
inline ObjectPtr ReadFramed(Bytes const& bytes, ZoStreamError& status, int32_t version = kZoCurrentVersion,
                            ZoStreamObject* (*fallback)() = nullptr) {
  Reader reader(bytes, version);
  ObjectPtr object(reader->ReadObject(fallback));
  status = reader->Status();
  return object;
}

// A typed value that counts its live instances.
class Tracked : public ZoTypedValue {
 public:
  static inline int live = 0;
  int32_t tag;

  explicit Tracked(int32_t t = 0) : tag(t) { ++live; }
  Tracked(Tracked const& other) : ZoTypedValue(other), tag(other.tag) { ++live; }
  ~Tracked() override { --live; }

  int32_t StreamType() const override { return 0x54726B64; }
  ZoStreamError ReadFromStream(ZoStream& s) override { return (s >> tag).Status(); }
  ZoStreamError WriteToStream(ZoStream& s) const override { return (s << tag).Status(); }
  int32_t StreamSize() const override { return 4; }
  ZoTypedValue* Copy() const override { return new Tracked(tag); }
};

}  // namespace zovaluestest

#endif
