// Reads an actor file from arbitrary bytes through the library's memory
// path (the same parser ReadActorFile runs over a file's bytes). An actor
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  return zoroundtrip::RunFileHarness<ZoProtoActor, &ZoProtoActor::ReadActorFrom, &ZoProtoActor::WriteActorTo>(data, size);
}
