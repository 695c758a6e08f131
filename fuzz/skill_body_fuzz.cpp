// Reads a skill body from arbitrary bytes. The first byte chooses the
// stream version: 0 and 38 or more make the body carry its own; 1 to 37
// read an old body, which takes its format from the 16 bytes before it
// (the next 16 input bytes stand for them). A skill read whole is written
// back, read again and written again: the two writes must agree.
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 1 || size > zoroundtrip::kMaxInput) return 0;
  static int32_t const versions[] = {0, 1, 30, 36, 37, 38, 100, 101, 102, 103, 106};
  int32_t version = versions[data[0] % std::size(versions)];
  std::vector<uint8_t> input(data + 1, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  char header[16];
  if (version > 0 && version < 38 && in.ReadBytes(sizeof header, header) != ZoStreamOk) return 0;
  in.version = version;
  zoroundtrip::ReadAndCheck(in, zoroundtrip::ReadBody<ZoProtoSkill>, zoroundtrip::WriteBody<ZoProtoSkill>);
  return 0;
}
