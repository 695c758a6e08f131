// Reads an actor file from arbitrary bytes through the library's memory
// path (the same parser ReadActorFile runs over a file's bytes). An actor
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>
#include <vector>

namespace {

ZoStreamObject* ReadFile(ZoMemoryStream& in) {
  ZoReadReport report;
  ZoProtoActor* actor = ZoProtoActor::ReadActorFrom(in, &report);
  zoroundtrip::Check(actor != nullptr || report.Failed(), "a refused actor file does not say why");
  return actor;
}

void WriteFile(ZoMemoryStream& out, ZoStreamObject const& actor) {
  ZoProtoActor::WriteActorTo(out, static_cast<ZoProtoActor const*>(&actor));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > zoroundtrip::kMaxInput) return 0;
  std::vector<uint8_t> input(data, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  zoroundtrip::Owned actor(ReadFile(in));
  if (actor != nullptr) zoroundtrip::CheckRoundTrip(*actor, ReadFile, WriteFile);
  return 0;
}
