// Shared by the sequence and motion harnesses: a private folder for the
// files the readers need, silence for the recorder's messages, and the
// cross-checks between reading a whole frame and reading one node.
#ifndef ZOACTOR_FUZZ_ZOSEQUENCEFUZZSUPPORT_H
#define ZOACTOR_FUZZ_ZOSEQUENCEFUZZSUPPORT_H

#include <zoactor/foundation/ZoMessageHandler.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/sequence/ZoAnimFile.h>

#include "ZoRoundTripFuzz.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace zoseqfuzz {

// The largest frame and track the harnesses read (inputs may claim more).
constexpr int kMaxFrameSize = 256;
constexpr int kMaxFrames = 64;

// A folder of this process's own, made at first use and removed at exit.
class ScratchFolder {
 public:
  ScratchFolder() {
    char pattern[] = "/tmp/zoseqfuzz.XXXXXX";
    if (::mkdtemp(pattern) == nullptr) std::abort();
    path = pattern;
  }
  ~ScratchFolder() { ZoPlatform::DeleteFolder(path.c_str()); }
  ScratchFolder(ScratchFolder const&) = delete;
  ScratchFolder& operator=(ScratchFolder const&) = delete;

  std::string path;
};

inline std::string const& Scratch() {
  static ScratchFolder const folder;
  return folder.path;
}

// Writes `data` to `path`, replacing it.
inline void WriteWhole(std::string const& path, uint8_t const* data, size_t size) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) std::abort();
  if (size > 0 && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
}

inline void Silence() {
  ZoMessageHandler::Set([](ZoString const&, ZoString const&, int, void*) { return kZoMessageOk; }, nullptr);
}

using zoroundtrip::Check;

// Reads every frame (up to the caps) and every node's track, and checks
// that both ways give the same transforms. Returns the frames read.
inline std::vector<ZoTransform3> ReadAllWays(ZoAnimFile& file) {
  std::vector<ZoTransform3> frames;
  int size = file.GetFrameSize();
  if (size < 1 || size > kMaxFrameSize) return frames;
  int count = file.GetNumFrames() < kMaxFrames ? file.GetNumFrames() : kMaxFrames;
  frames.resize(static_cast<size_t>(count) * static_cast<size_t>(size));
  for (int f = 0; f < count; ++f)
    Check(file.ReadOneFrame(f, &frames[static_cast<size_t>(f) * static_cast<size_t>(size)], size) == 1,
          "a counted frame could not be read");
  std::vector<ZoTransform3> track(static_cast<size_t>(count) + 2);
  for (int node = 0; node < size; ++node) {
    int rotations = 0;
    int positions = 0;
    if (file.ReadNodeFrames(node, track.data(), count + 2, rotations, positions) != 1) continue;  // a torn tail
    for (int f = 0; f < count; ++f)
      Check(std::memcmp(&track[static_cast<size_t>(f)], &frames[static_cast<size_t>(f * size + node)],
                        sizeof(ZoTransform3)) == 0,
            "a node's track differs from its frames");
  }
  return frames;
}

}  // namespace zoseqfuzz

#endif
