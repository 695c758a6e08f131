// Reads an actor file from arbitrary bytes through the library's memory
// path (the same parser ReadActorFile runs over a file's bytes). An actor
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>

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
  return zoroundtrip::RunOnInput(data, size, ReadFile, WriteFile);
}
