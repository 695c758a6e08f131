// Reads a skill file from arbitrary bytes through the library's memory
// path (the same parser ReadSkillFile runs over a file's bytes). A skill
// read whole is written back as a file, read again and written again: the
// two writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoActorFuzzSupport.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > (1u << 20)) return 0;
  std::vector<uint8_t> input(data, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  ZoReadReport report;
  ZoProtoSkill* skill = ZoProtoActor::ReadSkillFrom(in, &report);
  if (skill == nullptr) {
    if (!report.Failed()) std::abort();  // a refusal always says why
    return 0;
  }
  ZoMemoryStream out;
  ZoProtoActor::WriteSkillTo(out, skill);
  std::vector<char> first = zoactorfuzz::Taken(out);
  skill->Release();

  ZoMemoryStream again(first.data(), static_cast<int32_t>(first.size()));
  ZoProtoSkill* reread = ZoProtoActor::ReadSkillFrom(again, &report);
  if (reread == nullptr) std::abort();
  ZoMemoryStream out2;
  ZoProtoActor::WriteSkillTo(out2, reread);
  zoactorfuzz::ExpectSameWrites(first, zoactorfuzz::Taken(out2), reread);
  reread->Release();
  return 0;
}
