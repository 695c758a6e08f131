// Helpers for tests of the library's objects: writing them to bytes, reading
// them back from exactly sized buffers, and comparing vectors.
#ifndef ZOACTOR_TESTS_SUPPORT_ZOTESTOBJECTS_H
#define ZOACTOR_TESTS_SUPPORT_ZOTESTOBJECTS_H

#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace zotest {

// The bytes written so far to a growable stream.
inline Bytes Written(ZoMemoryStream& stream) {
  int32_t length = 0;
  char* buffer = stream.GetBuffer(length);
  Bytes bytes = ToBytes(buffer, static_cast<size_t>(length));
  ::operator delete(buffer);
  return bytes;
}

// `object`'s body written bare (operator<<) under `version`.
inline Bytes Body(ZoStreamObject const& object, int32_t version = kZoCurrentVersion) {
  ZoMemoryStream stream;
  stream.version = version;
  stream << object;
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  return Written(stream);
}

// `object` written framed (WriteObject) under `version`.
inline Bytes Framed(ZoStreamObject const* object, int32_t version = kZoCurrentVersion) {
  ZoMemoryStream stream;
  stream.version = version;
  EXPECT_EQ(stream.WriteObject(object), ZoStreamOk);
  return Written(stream);
}

// A transform's 28 bytes: translation, then the rotation scalar first.
inline ByteBuilder& AddTransform(ByteBuilder& b, ZoTransform3 const& t) {
  return b.f32(t.translation.x).f32(t.translation.y).f32(t.translation.z).f32(t.rotation.w).f32(t.rotation.x)
      .f32(t.rotation.y).f32(t.rotation.z);
}

// The rotation by `angle` about the direction of `axis`.
inline ZoRotation3 About(float angle, ZoVector3 const& axis) {
  ZoRotation3 q;
  q.setValue(angle, axis.unit());
  return q;
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

// Expects `object` written framed to be `expected`, and `expected` read back
// as one framed T to write the same bytes again; returns what was read.
template <class T>
std::unique_ptr<T> ExpectFramedLayout(T const& object, Bytes const& expected) {
  EXPECT_EQ(Framed(&object), expected) << Hex(Framed(&object));
  Reader reader(expected);
  std::unique_ptr<T> back(reader->template ReadObjectAs<T>());
  EXPECT_EQ(back != nullptr ? Framed(back.get()) : Bytes(), expected);
  return back;
}

// Expects `stream` to keep a failure at `offset` whose reason contains `words`.
inline void ExpectFailure(ZoStream const& stream, int64_t offset, char const* words) {
  EXPECT_TRUE(stream.HasFailure());
  EXPECT_EQ(stream.FailureOffset(), offset) << stream.FailureReason();
  EXPECT_NE(std::strstr(stream.FailureReason(), words), nullptr)
      << "reason \"" << stream.FailureReason() << "\" lacks \"" << words << '"';
}

// One bad input of a reader: `bytes` read at `version` as the body of a new
// object of `type` (0: as one framed object) must fail with `status`, keeping
// a failure at `offset` whose reason contains `words`.
struct BadInput {
  char const* name;
  Bytes bytes;
  int32_t type;
  ZoStreamError status;
  int64_t offset;
  char const* words;
  int32_t version = kZoCurrentVersion;
};

// Returns the object read (null when read as one framed object).
inline std::unique_ptr<ZoStreamObject> ExpectRefused(BadInput const& input) {
  SCOPED_TRACE(input.name);
  Reader reader(input.bytes, input.version);
  std::unique_ptr<ZoStreamObject> object;
  if (input.type == 0) {
    object.reset(reader->ReadObject(nullptr));
  } else {
    object.reset(ZoStream::CreateObject(input.type));
    EXPECT_NE(object, nullptr);
    if (object != nullptr) *reader >> *object;
  }
  EXPECT_EQ(reader->Status(), input.status);
  ExpectFailure(*reader, input.offset, input.words);
  return object;
}

// Bytes of `bytes` without its last `cut` bytes.
inline Bytes Cut(Bytes const& bytes, size_t cut) { return Bytes(bytes.begin(), bytes.end() - static_cast<long>(cut)); }

// Reads `bytes` as the body of `object` under `version`; returns the status.
// Gives the bytes read in `consumed` when asked; otherwise a read that
// succeeds must have read every byte.
inline ZoStreamError ReadBody(ZoStreamObject& object, Bytes const& bytes, int32_t version = kZoCurrentVersion,
                              uint32_t* consumed = nullptr) {
  Reader reader(bytes, version);
  *reader >> object;
  if (consumed != nullptr) {
    *consumed = reader.Consumed();
  } else if (reader->Status() == ZoStreamOk) {
    EXPECT_EQ(reader.Consumed(), bytes.size());
  }
  return reader->Status();
}

// Component-wise closeness of two vectors.
inline void ExpectNear(ZoVector3 const& a, ZoVector3 const& b, float tolerance = 1e-5f) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

}  // namespace zotest

#endif
