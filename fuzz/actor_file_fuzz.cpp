// Reads an actor file from arbitrary bytes through the library's memory
// path (the same parser ReadActorFile runs over a file's bytes). An actor
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
  ZoProtoActor* actor = ZoProtoActor::ReadActorFrom(in, &report);
  if (actor == nullptr) {
    if (!report.Failed()) std::abort();  // a refusal always says why
    return 0;
  }
  ZoMemoryStream out;
  ZoProtoActor::WriteActorTo(out, actor);
  std::vector<char> first = zoactorfuzz::Taken(out);
  actor->Release();

  ZoMemoryStream again(first.data(), static_cast<int32_t>(first.size()));
  ZoProtoActor* reread = ZoProtoActor::ReadActorFrom(again, &report);
  if (reread == nullptr) std::abort();
  ZoMemoryStream out2;
  ZoProtoActor::WriteActorTo(out2, reread);
  zoactorfuzz::ExpectSameWrites(first, zoactorfuzz::Taken(out2), reread);
  reread->Release();
  return 0;
}
