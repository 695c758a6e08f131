// Reads a skill file from arbitrary bytes through the library's memory
// path (the same parser ReadSkillFile runs over a file's bytes). A skill
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
  ZoProtoSkill* skill = ZoProtoActor::ReadSkillFrom(in, &report);
  zoroundtrip::Check(skill != nullptr || report.Failed(), "a refused skill file does not say why");
  return skill;
}

void WriteFile(ZoMemoryStream& out, ZoStreamObject const& skill) {
  ZoProtoActor::WriteSkillTo(out, static_cast<ZoProtoSkill const*>(&skill));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > zoroundtrip::kMaxInput) return 0;
  std::vector<uint8_t> input(data, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  zoroundtrip::Owned skill(ReadFile(in));
  if (skill != nullptr) zoroundtrip::CheckRoundTrip(*skill, ReadFile, WriteFile);
  return 0;
}
