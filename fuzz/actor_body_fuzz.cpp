// Reads an actor body from arbitrary bytes. The first byte chooses the
// stream version: 0 makes the body carry its own (field 1); any other
// stands for a container header that set it (older layouts below 100). An
// actor read whole is written back, read again and written again: the two
// writes must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 1 || size > zoroundtrip::kMaxInput) return 0;
  static int32_t const versions[] = {0, 20, 24, 27, 33, 34, 41, 42, 45, 47, 99, 100, 104, 106};
  std::vector<uint8_t> input(data + 1, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  in.version = versions[data[0] % std::size(versions)];
  zoroundtrip::ReadAndCheck(in, zoroundtrip::ReadBody<ZoProtoActor>, zoroundtrip::WriteBody<ZoProtoActor>);
  return 0;
}
