// Throughput of the streams beside the plain operations they wrap: 64 MiB of
// bulk blocks, of 4-byte primitives, and of a mix, through ZoMemoryStream
// (beside memcpy of the same bytes) and through a buffered ZoFileStream
// (beside read() and write() in 2048-byte chunks, the stream's own transfer
// size). The memory stream's primitives run beside a pointer-bump reader and
// writer with a bounds check per value, the least a checked stream of
// primitives can do. Every benchmark reports bytes per second.
#include <zoactor/serialization/ZoFileStream.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t kTotal = 64u << 20;
constexpr size_t kBlock = 64u << 10;
constexpr size_t kChunk = 2048;

std::vector<char>& Source() {
  static std::vector<char> bytes = [] {
    std::vector<char> b(kTotal);
    for (size_t i = 0; i < kTotal; ++i) b[i] = static_cast<char>(i * 131 + 7);
    return b;
  }();
  return bytes;
}

std::vector<char>& Destination() {
  static std::vector<char> bytes(kTotal + 64);
  return bytes;
}

// The 64 MiB input file, made on first use and removed at exit.
char gTempPath[64] = "";

void RemoveTempFiles() {
  static char const* const suffixes[] = {"", ".out", ".mix"};
  for (char const* suffix : suffixes) ::unlink((std::string(gTempPath) + suffix).c_str());
}

std::string TempFile() {
  if (gTempPath[0] == '\0') {
    std::strcpy(gTempPath, "/tmp/zoactor-bench-XXXXXX");
    int fd = ::mkstemp(gTempPath);
    std::vector<char>& source = Source();
    size_t done = 0;
    while (done < kTotal) done += static_cast<size_t>(::write(fd, source.data() + done, kTotal - done));
    ::close(fd);
    std::atexit(RemoveTempFiles);
  }
  return gTempPath;
}

void Finish(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kTotal));
}

// One step of the mixed workload: 60 bytes of assorted primitives then a
// 4 KiB block, so about 1.5% of the bytes move as primitives.
constexpr size_t kMixBlock = 4096;
constexpr size_t kMixStep = 4 + 4 + 2 + 1 + 8 + 4 * 10 + 1 + kMixBlock;

// --- Memory -----------------------------------------------------------------

// The pointer-bump peer: a cursor into a fixed buffer, a bounds check per
// value, and a sticky failure flag, little-endian as the streams are.
class BumpWriter {
 public:
  BumpWriter(char* buffer, size_t size) : at_(buffer), end_(buffer + size) {}
  template <class T>
  BumpWriter& operator<<(T value) {
    if (static_cast<size_t>(end_ - at_) < sizeof value) {
      failed_ = true;
      return *this;
    }
    std::memcpy(at_, &value, sizeof value);
    at_ += sizeof value;
    return *this;
  }
  void WriteBytes(size_t size, void const* bytes) {
    if (static_cast<size_t>(end_ - at_) < size) {
      failed_ = true;
      return;
    }
    std::memcpy(at_, bytes, size);
    at_ += size;
  }
  bool Failed() const { return failed_; }

 private:
  char* at_;
  char* end_;
  bool failed_ = false;
};

class BumpReader {
 public:
  BumpReader(char const* buffer, size_t size) : at_(buffer), end_(buffer + size) {}
  template <class T>
  BumpReader& operator>>(T& value) {
    if (static_cast<size_t>(end_ - at_) < sizeof value) {
      failed_ = true;
      return *this;
    }
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return *this;
  }
  void ReadBytes(size_t size, void* bytes) {
    if (static_cast<size_t>(end_ - at_) < size) {
      failed_ = true;
      return;
    }
    std::memcpy(bytes, at_, size);
    at_ += size;
  }
  bool Failed() const { return failed_; }

 private:
  char const* at_;
  char const* end_;
  bool failed_ = false;
};

void BM_Bump_WriteInt32(benchmark::State& state) {
  auto const* in = reinterpret_cast<int32_t const*>(Source().data());
  for (auto _ : state) {
    BumpWriter writer(Destination().data(), kTotal);
    for (size_t i = 0; i < kTotal / 4; ++i) {
      writer << in[i];
      benchmark::ClobberMemory();
    }
    if (writer.Failed()) state.SkipWithError("write failed");
  }
  Finish(state);
}

void BM_Bump_ReadInt32(benchmark::State& state) {
  auto* out = reinterpret_cast<int32_t*>(Destination().data());
  for (auto _ : state) {
    BumpReader reader(Source().data(), kTotal);
    for (size_t i = 0; i < kTotal / 4; ++i) {
      reader >> out[i];
      benchmark::ClobberMemory();
    }
    if (reader.Failed()) state.SkipWithError("read failed");
  }
  Finish(state);
}

void BM_Memcpy_Bulk(benchmark::State& state) {
  char const* in = Source().data();
  char* out = Destination().data();
  for (auto _ : state) {
    for (size_t at = 0; at < kTotal; at += kBlock) std::memcpy(out + at, in + at, kBlock);
    benchmark::ClobberMemory();
  }
  Finish(state);
}

// The baseline for primitives: memcpy of the same bytes, four at a time,
// with the compiler kept from merging the copies.
void BM_Memcpy_4Bytes(benchmark::State& state) {
  char const* in = Source().data();
  char* out = Destination().data();
  for (auto _ : state) {
    for (size_t at = 0; at < kTotal; at += 4) {
      std::memcpy(out + at, in + at, 4);
      benchmark::ClobberMemory();
    }
  }
  Finish(state);
}

void BM_MemoryStream_WriteBulk(benchmark::State& state) {
  char const* in = Source().data();
  for (auto _ : state) {
    ZoMemoryStream stream(Destination().data(), static_cast<int32_t>(kTotal));
    for (size_t at = 0; at < kTotal; at += kBlock) stream.WriteBytes(kBlock, in + at);
    if (stream.Status() != ZoStreamOk) state.SkipWithError("write failed");
    benchmark::ClobberMemory();
  }
  Finish(state);
}

void BM_MemoryStream_ReadBulk(benchmark::State& state) {
  char* out = Destination().data();
  for (auto _ : state) {
    ZoMemoryStream stream(Source().data(), static_cast<int32_t>(kTotal));
    for (size_t at = 0; at < kTotal; at += kBlock) stream.ReadBytes(kBlock, out + at);
    if (stream.Status() != ZoStreamOk) state.SkipWithError("read failed");
    benchmark::ClobberMemory();
  }
  Finish(state);
}

void BM_MemoryStream_WriteInt32(benchmark::State& state) {
  auto const* in = reinterpret_cast<int32_t const*>(Source().data());
  for (auto _ : state) {
    ZoMemoryStream stream(Destination().data(), static_cast<int32_t>(kTotal));
    for (size_t i = 0; i < kTotal / 4; ++i) {
      stream << in[i];
      benchmark::ClobberMemory();
    }
    if (stream.Status() != ZoStreamOk) state.SkipWithError("write failed");
  }
  Finish(state);
}

void BM_MemoryStream_ReadInt32(benchmark::State& state) {
  auto* out = reinterpret_cast<int32_t*>(Destination().data());
  for (auto _ : state) {
    ZoMemoryStream stream(Source().data(), static_cast<int32_t>(kTotal));
    for (size_t i = 0; i < kTotal / 4; ++i) {
      stream >> out[i];
      benchmark::ClobberMemory();
    }
    if (stream.Status() != ZoStreamOk) state.SkipWithError("read failed");
  }
  Finish(state);
}

bool Failed(ZoStream const& stream) { return stream.Status() != ZoStreamOk; }
bool Failed(BumpReader const& reader) { return reader.Failed(); }

// Writes the mixed workload into a growable stream, as a writer of actor
// files does.
template <class Writer>
void WriteMix(Writer& stream, char const* block) {
  size_t written = 0;
  int32_t i = 0;
  while (written + kMixStep <= kTotal) {
    stream << i << static_cast<float>(i) << static_cast<int16_t>(i) << static_cast<char>(i) << static_cast<double>(i);
    for (int k = 0; k < 10; ++k) stream << static_cast<float>(k);
    stream << true;
    stream.WriteBytes(kMixBlock, block);
    written += kMixStep;
    ++i;
  }
}

template <class Reader>
void ReadMix(Reader& stream, char* block, benchmark::State& state) {
  size_t read = 0;
  int32_t i = 0;
  float f = 0;
  int16_t s = 0;
  char c = 0;
  double d = 0;
  bool b = false;
  while (read + kMixStep <= kTotal) {
    stream >> i >> f >> s >> c >> d;
    for (int k = 0; k < 10; ++k) stream >> f;
    stream >> b;
    stream.ReadBytes(kMixBlock, block);
    read += kMixStep;
  }
  benchmark::DoNotOptimize(static_cast<double>(i + f + s + c + b) + d);
  if (Failed(stream)) state.SkipWithError("read failed");
}

void BM_MemoryStream_WriteMixedGrowable(benchmark::State& state) {
  for (auto _ : state) {
    ZoMemoryStream stream;
    WriteMix(stream, Source().data());
    int32_t length = 0;
    ::operator delete(stream.GetBuffer(length));
  }
  Finish(state);
}

void BM_MemoryStream_ReadMixed(benchmark::State& state) {
  ZoMemoryStream writer(Destination().data(), static_cast<int32_t>(kTotal));
  WriteMix(writer, Source().data());
  std::vector<char> block(kMixBlock);
  for (auto _ : state) {
    ZoMemoryStream stream(Destination().data(), static_cast<int32_t>(kTotal));
    ReadMix(stream, block.data(), state);
  }
  Finish(state);
}

void BM_Bump_ReadMixed(benchmark::State& state) {
  BumpWriter writer(Destination().data(), kTotal);
  WriteMix(writer, Source().data());
  std::vector<char> block(kMixBlock);
  for (auto _ : state) {
    BumpReader reader(Destination().data(), kTotal);
    ReadMix(reader, block.data(), state);
  }
  Finish(state);
}

// --- Files ------------------------------------------------------------------

void BM_PlainRead_2048(benchmark::State& state) {
  char* out = Destination().data();
  for (auto _ : state) {
    int fd = ::open(TempFile().c_str(), O_RDONLY);
    size_t done = 0;
    while (done < kTotal) {
      ssize_t got = ::read(fd, out + done, kChunk);
      if (got <= 0) break;
      done += static_cast<size_t>(got);
    }
    ::close(fd);
    if (done != kTotal) state.SkipWithError("short read");
  }
  Finish(state);
}

void BM_FileStream_ReadBulk(benchmark::State& state) {
  char* out = Destination().data();
  for (auto _ : state) {
    ZoFileStream stream(ZoString(TempFile().c_str()), ZoFileRead, true);
    for (size_t at = 0; at < kTotal; at += kBlock) stream.ReadBytes(kBlock, out + at);
    if (stream.Status() != ZoStreamOk) state.SkipWithError("read failed");
  }
  Finish(state);
}

void BM_FileStream_ReadInt32(benchmark::State& state) {
  auto* out = reinterpret_cast<int32_t*>(Destination().data());
  for (auto _ : state) {
    ZoFileStream stream(ZoString(TempFile().c_str()), ZoFileRead, true);
    for (size_t i = 0; i < kTotal / 4; ++i) {
      stream >> out[i];
      benchmark::ClobberMemory();
    }
    if (stream.Status() != ZoStreamOk) state.SkipWithError("read failed");
  }
  Finish(state);
}

void BM_FileStream_ReadMixed(benchmark::State& state) {
  {
    ZoFileStream writer(ZoString((TempFile() + ".mix").c_str()), ZoFileWrite, true);
    WriteMix(writer, Source().data());
  }
  std::vector<char> block(kMixBlock);
  for (auto _ : state) {
    ZoFileStream stream(ZoString((TempFile() + ".mix").c_str()), ZoFileRead, true);
    ReadMix(stream, block.data(), state);
  }
  ::unlink((TempFile() + ".mix").c_str());
  Finish(state);
}

void BM_PlainWrite_2048(benchmark::State& state) {
  char const* in = Source().data();
  std::string path = TempFile() + ".out";
  for (auto _ : state) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    for (size_t at = 0; at < kTotal; at += kChunk)
      if (::write(fd, in + at, kChunk) != static_cast<ssize_t>(kChunk)) state.SkipWithError("short write");
    ::close(fd);
  }
  Finish(state);
}

void BM_FileStream_WriteBulk(benchmark::State& state) {
  char const* in = Source().data();
  std::string path = TempFile() + ".out";
  for (auto _ : state) {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, true);
    for (size_t at = 0; at < kTotal; at += kBlock) stream.WriteBytes(kBlock, in + at);
    if (stream.Status() != ZoStreamOk) state.SkipWithError("write failed");
  }
  Finish(state);
}

void BM_FileStream_WriteInt32(benchmark::State& state) {
  auto const* in = reinterpret_cast<int32_t const*>(Source().data());
  std::string path = TempFile() + ".out";
  for (auto _ : state) {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, true);
    for (size_t i = 0; i < kTotal / 4; ++i) stream << in[i];
    if (stream.Status() != ZoStreamOk) state.SkipWithError("write failed");
  }
  Finish(state);
}

void BM_FileStream_WriteMixed(benchmark::State& state) {
  std::string path = TempFile() + ".out";
  for (auto _ : state) {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, true);
    WriteMix(stream, Source().data());
  }
  Finish(state);
}

}  // namespace

BENCHMARK(BM_Memcpy_Bulk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_WriteBulk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_ReadBulk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy_4Bytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bump_WriteInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_WriteInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bump_ReadInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_ReadInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_WriteMixedGrowable)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bump_ReadMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemoryStream_ReadMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainRead_2048)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_ReadBulk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_ReadInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_ReadMixed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlainWrite_2048)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_WriteBulk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_WriteInt32)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FileStream_WriteMixed)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
