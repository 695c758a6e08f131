// Reads framed objects of every registered class from arbitrary bytes. Each
// object read whole is written back, read again and written again: the two
// writes must agree, so a reader and its writer stay each other's inverse on
// whatever a reader accepts. The first byte chooses the stream version the
// input is read under (older layouts below 100).
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>
#include <iterator>
#include <vector>

namespace {

void WriteFramed(ZoMemoryStream& out, ZoStreamObject const& object) {
  out.version = kZoCurrentVersion;
  out.WriteObject(&object);
}

void CheckRoundTrip(ZoStreamObject const& object) {
  // An actor body starts with its version, which a reader takes only from a
  // stream whose version is not set yet.
  int32_t const version = dynamic_cast<ZoProtoActor const*>(&object) != nullptr ? 0 : kZoCurrentVersion;
  auto readFramed = [version](ZoMemoryStream& again) -> ZoStreamObject* {
    again.version = version;
    zoroundtrip::Owned reread(again.ReadObject(nullptr));
    return again.Status() == ZoStreamOk ? reread.release() : nullptr;
  };
  zoroundtrip::CheckRoundTrip(object, readFramed, WriteFramed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 1 || size > zoroundtrip::kMaxInput) return 0;
  static int32_t const versions[] = {0, 27, 41, 42, 45, 47, 99, 100, 103, 104, 105, 106};
  std::vector<uint8_t> input(data + 1, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  in.version = versions[data[0] % std::size(versions)];

  for (int i = 0; i < 64 && in.Status() == ZoStreamOk && in.BytesLeft() >= 4; ++i) {
    zoroundtrip::Owned object(in.ReadObject(nullptr));
    if (object != nullptr && in.Status() == ZoStreamOk) CheckRoundTrip(*object);
  }
  // Strings, with their own bound.
  ZoMemoryStream strings(input.data(), static_cast<int32_t>(input.size()));
  ZoString text;
  for (int i = 0; i < 16 && strings.Status() == ZoStreamOk; ++i) strings >> text;
  return 0;
}
