// Reads a skill file from arbitrary bytes through the library's memory
// path (the same parser ReadSkillFile runs over a file's bytes). A skill
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  return zoroundtrip::RunFileHarness<ZoProtoSkill, &ZoProtoActor::ReadSkillFrom, &ZoProtoActor::WriteSkillTo>(data, size);
}
