// Reads a motion file from arbitrary bytes (through a file: the motion file
// reads straight from its descriptor). Every counted frame is read whole and
// node by node, and the two must agree; the frames are written to a new
// motion file of the same name, which must read back the same.
#include <zoactor/sequence/ZoAnimFile.h>

#include "ZoSequenceFuzzSupport.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > (1u << 20)) return 0;
  std::string const input = zoseqfuzz::Scratch() + "/input.anm";
  zoseqfuzz::WriteWhole(input, data, size);
  ZoAnimFile in;
  if (in.Open(input.c_str(), 0) == 0) {
    zoseqfuzz::Check(in.HasFailure() && !in.IsOpen(), "a refused motion file says why");
    return 0;
  }
  std::vector<ZoTransform3> frames = zoseqfuzz::ReadAllWays(in);
  int frameSize = in.GetFrameSize();
  if (frames.empty()) return 0;

  std::string const copy = zoseqfuzz::Scratch() + "/copy.anm";
  ZoAnimFile out;
  zoseqfuzz::Check(out.Open(copy.c_str(), 1) == 1, "a motion file could not be created");
  for (size_t at = 0; at < frames.size(); at += static_cast<size_t>(frameSize))
    zoseqfuzz::Check(out.WriteFrameData(&frames[at], frameSize) == 1, "a frame could not be written");
  zoseqfuzz::Check(out.Close() == 1, "a motion file could not be closed");

  ZoAnimFile again;
  zoseqfuzz::Check(again.Open(copy.c_str(), 0) == 1, "a written motion file could not be read");
  std::vector<ZoTransform3> reread = zoseqfuzz::ReadAllWays(again);
  zoseqfuzz::Check(reread.size() == frames.size() &&
                       std::memcmp(reread.data(), frames.data(), frames.size() * sizeof(ZoTransform3)) == 0,
                   "frames written back read differently");
  return 0;
}
