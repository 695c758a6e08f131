// The recorder's per-frame paths against the platform calls they are made
// of, both sides in one run and on the same files:
// - recording 64 transforms per frame for 10 000 frames through a motion
//   file (WriteFrameData, then the header rewritten at Close) against
//   write() of the same bytes to a plain descriptor;
// - ReadNodeFrames of one node over the 10 000 frames of that file against
//   pread() of the same 28-byte records.
// Each reports the time per frame ("per_frame").
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/sequence/ZoAnimFile.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kNodes = 64;
constexpr int kFrames = 10000;
constexpr int kNode = 17;

// A folder of this run's own, removed with its files at exit.
class BenchFolder {
 public:
  BenchFolder() {
    char pattern[] = "/tmp/zoseqbench.XXXXXX";
    if (::mkdtemp(pattern) == nullptr) std::abort();
    path = pattern;
  }
  ~BenchFolder() { ZoPlatform::DeleteFolder(path.c_str()); }
  BenchFolder(BenchFolder const&) = delete;
  BenchFolder& operator=(BenchFolder const&) = delete;

  std::string path;
};

std::string const& Folder() {
  static BenchFolder const folder;
  return folder.path;
}

std::vector<ZoTransform3> Poses() {
  std::vector<ZoTransform3> poses(kNodes);
  for (int i = 0; i < kNodes; ++i) poses[static_cast<size_t>(i)].translation = ZoVector3(static_cast<float>(i), 1, 2);
  return poses;
}

void PerFrame(benchmark::State& state) {
  state.counters["per_frame"] = benchmark::Counter(static_cast<double>(state.iterations()) * kFrames,
                                                   benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void BM_RecordFrames(benchmark::State& state) {
  std::vector<ZoTransform3> poses = Poses();
  std::string path = Folder() + "/record.anm";
  for (auto _ : state) {
    ZoAnimFile file;
    if (file.Open(path.c_str(), 1) != 1) state.SkipWithError("open failed");
    for (int f = 0; f < kFrames; ++f) {
      poses[0].translation.x = static_cast<float>(f);
      file.WriteFrameData(poses.data(), kNodes);
    }
    file.Close();
  }
  PerFrame(state);
}
BENCHMARK(BM_RecordFrames)->Unit(benchmark::kMillisecond);

void BM_WriteSameBytes(benchmark::State& state) {
  std::vector<ZoTransform3> poses = Poses();
  std::string path = Folder() + "/raw.anm";
  char header[36] = {};
  for (auto _ : state) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0) state.SkipWithError("open failed");
    benchmark::DoNotOptimize(::write(fd, header, sizeof header));
    for (int f = 0; f < kFrames; ++f) {
      poses[0].translation.x = static_cast<float>(f);
      benchmark::DoNotOptimize(::write(fd, poses.data(), sizeof(ZoTransform3) * kNodes));
    }
    ::close(fd);
  }
  PerFrame(state);
}
BENCHMARK(BM_WriteSameBytes)->Unit(benchmark::kMillisecond);

// The recorded file, made once.
std::string const& Recorded() {
  static std::string const path = [] {
    std::string file = Folder() + "/play.anm";
    std::vector<ZoTransform3> poses = Poses();
    ZoAnimFile out;
    if (out.Open(file.c_str(), 1) != 1) std::abort();
    for (int f = 0; f < kFrames; ++f) {
      poses[kNode].translation.y = static_cast<float>(f);
      out.WriteFrameData(poses.data(), kNodes);
    }
    out.Close();
    return file;
  }();
  return path;
}

void BM_ReadNodeFrames(benchmark::State& state) {
  ZoAnimFile in;
  if (in.Open(Recorded().c_str(), 0) != 1) state.SkipWithError("open failed");
  std::vector<ZoTransform3> track(kFrames);
  for (auto _ : state) {
    int rotations = 0;
    int positions = 0;
    benchmark::DoNotOptimize(in.ReadNodeFrames(kNode, track.data(), kFrames, rotations, positions));
    benchmark::DoNotOptimize(track.data());
  }
  if (track[kFrames - 1].translation.y != static_cast<float>(kFrames - 1)) state.SkipWithError("wrong track");
  PerFrame(state);
}
BENCHMARK(BM_ReadNodeFrames)->Unit(benchmark::kMillisecond);

void BM_PreadSameRecords(benchmark::State& state) {
  ZoAnimFile probe;
  if (probe.Open(Recorded().c_str(), 0) != 1) state.SkipWithError("open failed");
  int64_t start = probe.GetDataStart();
  probe.Close();
  int fd = ::open(Recorded().c_str(), O_RDONLY);
  std::vector<ZoTransform3> track(kFrames);
  for (auto _ : state) {
    for (int f = 0; f < kFrames; ++f) {
      off_t at = static_cast<off_t>(start + (static_cast<int64_t>(f) * kNodes + kNode) * 28);
      benchmark::DoNotOptimize(::pread(fd, &track[static_cast<size_t>(f)], 28, at));
    }
    benchmark::DoNotOptimize(track.data());
  }
  ::close(fd);
  PerFrame(state);
}
BENCHMARK(BM_PreadSameRecords)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
