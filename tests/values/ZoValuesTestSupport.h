// Helpers for the value tests, with the headers and names they share:
// writing objects to bytes, reading them back from fixed buffers, owning
// typed values, and a value that counts its live instances so that
// ownership rules can be checked.
#ifndef ZOACTOR_TESTS_VALUES_ZOVALUESTESTSUPPORT_H
#define ZOACTOR_TESTS_VALUES_ZOVALUESTESTSUPPORT_H

#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/values/ZoArrayValue.h>
#include <zoactor/values/ZoCamera.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoLight.h>
#include <zoactor/values/ZoListValue.h>
#include <zoactor/values/ZoMaterial.h>
#include <zoactor/values/ZoOpaqueValue.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoPropertyTable.h>
#include <zoactor/values/ZoTypedValue.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace zovaluestest {

using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Framed;
using zotest::Hex;
using zotest::Reader;

// Destroys typed values the way their owners do.
struct DestroyValue {
  void operator()(ZoTypedValue* value) const {
    if (value != nullptr) value->Destroy();
  }
};
using ValuePtr = std::unique_ptr<ZoTypedValue, DestroyValue>;
using ObjectPtr = std::unique_ptr<ZoStreamObject>;

// A sized frame header: -1, the code, the declared size.
inline zotest::ByteBuilder SizedFrame(int32_t code, int32_t size) {
  zotest::ByteBuilder frame;
  frame.i32(-1).i32(code).i32(size);
  return frame;
}
inline Bytes FramedInt(int32_t value) { return SizedFrame(0x56496E74, 4).i32(value); }
inline Bytes Rgba(float r, float g, float b, float a) { return zotest::ByteBuilder().f32(r).f32(g).f32(b).f32(a); }

// Reads one framed object from `bytes`; `status` gets the stream's status.
inline ObjectPtr ReadFramed(Bytes const& bytes, ZoStreamError& status, int32_t version = kZoCurrentVersion,
                            ZoStreamObject* (*fallback)() = nullptr) {
  Reader reader(bytes, version);
  ObjectPtr object(reader->ReadObject(fallback));
  status = reader->Status();
  return object;
}

// Reads one framed object from `bytes` and frames it again: "status S:
// the bytes written" ("none" when nothing was read).
inline std::string Reread(Bytes const& bytes, ZoStreamObject* (*fallback)() = nullptr) {
  ZoStreamError status;
  ObjectPtr object = ReadFramed(bytes, status, kZoCurrentVersion, fallback);
  return "status " + std::to_string(status) + ": " + (object != nullptr ? Hex(Framed(object.get())) : "none");
}

// Reads `object`'s body from exactly `bytes` at `version`; returns "status S,
// N bytes": the stream's status and how many bytes were read.
inline std::string ReadBody(ZoStreamObject& object, Bytes const& bytes, int32_t version = kZoCurrentVersion) {
  Reader reader(bytes, version);
  *reader >> object;
  return "status " + std::to_string(reader->Status()) + ", " + std::to_string(reader.Consumed()) + " bytes";
}
// What ReadBody returns for a read that succeeds after `bytes` bytes.
inline std::string ReadOk(size_t bytes) { return "status 0, " + std::to_string(bytes) + " bytes"; }

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
