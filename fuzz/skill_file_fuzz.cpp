// Reads a skill file from arbitrary bytes through the library's memory
// path (the same parser ReadSkillFile runs over a file's bytes). A skill
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>

namespace {

ZoStreamObject* ReadFile(ZoMemoryStream& in) {
  ZoReadReport report;
  ZoProtoSkill* skill = ZoProtoActor::ReadSkillFrom(in, &report);
  zoroundtrip::Check(skill != nullptr || report.Failed(), "a refused skill file does not say why");
  return skill;
}

void WriteFile(ZoMemoryStream& out, ZoStreamObject const& skill) {
  ZoProtoActor::WriteSkillTo(out, static_cast<ZoProtoSkill const*>(&skill));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  return zoroundtrip::RunOnInput(data, size, ReadFile, WriteFile);
}
