// The stream that reads large files: it must read exactly as a fixed memory
// stream over the same bytes does, whatever mix of small values, blocks
// that go straight through, blocks that straddle its buffer and seeks a
// reader makes; and a file changed under it fails a read, never more.
#include <zoactor/serialization/ZoMemoryStream.h>

#include "serialization/ZoDirectReadStream.h"
#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <tuple>

using zotest::Bytes;
using zotest::Counting;
using zotest::TempFolder;

namespace {

constexpr int32_t kFileSize = 300000;

// One step of a reader: a read of `count` bytes, or (count < 0) a seek by `seek`.
struct Step {
  int64_t count;
  int32_t seek;
};

// What a stream did at each step: the bytes read, and its status, position
// and bytes left after the step.
struct Trace {
  std::vector<Bytes> reads;
  std::vector<std::tuple<int, int64_t, int64_t>> states;
};

Trace Replay(ZoStream& stream, std::vector<Step> const& steps) {
  Trace trace;
  for (Step const& step : steps) {
    if (step.count >= 0) {
      Bytes got(static_cast<size_t>(step.count), 0xEE);
      stream.ReadBytes(static_cast<uint32_t>(step.count), got.data());
      trace.reads.push_back(got);
    } else {
      stream.Seek(step.seek);
    }
    trace.states.emplace_back(stream.Status(), stream.Position(), stream.BytesLeft());
  }
  // Whatever the steps left, the window and the virtual reads agree.
  int32_t value = 0;
  stream >> value;
  trace.states.emplace_back(stream.Status(), 0, 0);
  trace.reads.push_back(zotest::ToBytes(&value, sizeof value));
  return trace;
}

class ZoDirectReadStreamTest : public ::testing::Test {
 protected:
  ZoDirectReadStreamTest() : bytes(Counting(kFileSize)), path(folder.WriteFile("big.bin", bytes)) {}
  ~ZoDirectReadStreamTest() override {
    if (fd >= 0) ::close(fd);
  }

  // A new stream over the file (closing the one before).
  ZoDirectReadStream& Open(int64_t size = kFileSize) {
    stream.reset();
    if (fd >= 0) ::close(fd);
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    stream.reset(new ZoDirectReadStream(fd, size));
    return *stream;
  }

  TempFolder folder;
  Bytes bytes;
  std::string path;
  int fd = -1;
  std::unique_ptr<ZoDirectReadStream> stream;
};

// Every pattern reads, fails, seeks and reports positions exactly as the
// memory stream over the file's bytes does.
TEST_F(ZoDirectReadStreamTest, ReadsAsAMemoryStreamOverTheSameBytes) {
  uint32_t const buffer = ZoDirectReadStream::kBufferSize;
  uint32_t const direct = ZoDirectReadStream::kDirectBytes;
  struct Case {
    char const* what;
    std::vector<Step> steps;
  } const cases[] = {
      {"small values, refills growing past the buffer", std::vector<Step>(40000, Step{8, 0})},
      {"a block just below and one at the straight-through size",
       {{4, 0}, {direct - 1, 0}, {direct, 0}, {4, 0}, {direct + 1, 0}}},
      {"a block straddling the buffered bytes", {{4, 0}, {6000, 0}, {2, 0}, {100000, 0}, {3, 0}}},
      {"a block larger than the buffer after small reads", {{1, 0}, {buffer * 2 + 5, 0}, {1, 0}}},
      {"the whole file, then one byte more", {{kFileSize, 0}, {1, 0}}},
      {"a read past the end moves nothing", {{10, 0}, {kFileSize, 0}, {4, 0}}},
      {"seeks inside the buffered bytes", {{4, 0}, {4, 0}, {-1, -6}, {3, 0}, {-1, 100}, {4, 0}}},
      {"seeks beyond the buffer, back to the start and forward",
       {{4, 0}, {-1, 200000}, {8, 0}, {-1, -200012}, {16, 0}, {-1, 5000}, {direct * 3, 0}}},
      {"seeks outside the file fail", {{4, 0}, {-1, -5}, {4, 0}, {-1, kFileSize - 8}, {4, 0}, {-1, kFileSize}}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes copy = bytes;
    ZoMemoryStream memory(copy.data(), kFileSize);
    Trace const expected = Replay(memory, c.steps);
    ZoDirectReadStream& file = Open();
    Trace const got = Replay(file, c.steps);
    EXPECT_EQ(got.states, expected.states);
    EXPECT_TRUE(got.reads == expected.reads);
    EXPECT_EQ(file.FailureOffset(), memory.FailureOffset());
    EXPECT_STREQ(file.FailureStatus() == ZoStreamSeekError ? "" : file.FailureReason(),
                 memory.FailureStatus() == ZoStreamSeekError ? "" : memory.FailureReason());
  }
}

// A file cut short by someone else while it is read fails the read that
// runs into the missing bytes, wherever they were to come from.
TEST_F(ZoDirectReadStreamTest, AFileCutShortUnderTheReaderFailsTheRead) {
  struct Case {
    char const* what;
    uint32_t first;   // read before the cut
    uint32_t second;  // the read that meets it
  } const cases[] = {
      {"a block going straight through", 8, 200000},
      {"small values through the buffer", 8, 8},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    folder.WriteFile("big.bin", bytes);
    ZoDirectReadStream& file = Open();
    Bytes got(200000);
    ASSERT_EQ(file.ReadBytes(c.first, got.data()), ZoStreamOk);
    ASSERT_EQ(::truncate(path.c_str(), 4096), 0);
    while (file.Status() == ZoStreamOk && file.BytesLeft() >= c.second) file.ReadBytes(c.second, got.data());
    EXPECT_EQ(std::make_tuple(file.Status(), file.FailureStatus(), file.FailureOffset(), *file.FailureReason() != '\0'),
              std::make_tuple(ZoStreamReadError, ZoStreamReadError, int64_t{4096}, true));
  }
}

// Bytes that arrive after the stream was made are not read: the size it
// was given bounds it.
TEST_F(ZoDirectReadStreamTest, AFileThatGrowsIsReadOnlyToItsFirstSize) {
  ZoDirectReadStream& file = Open(1000);
  Bytes got(2000);
  EXPECT_EQ(file.BytesLeft(), 1000);
  EXPECT_EQ(file.ReadBytes(1001, got.data()), ZoStreamReadError);
  EXPECT_STREQ(file.FailureReason(), "1001 bytes wanted, 1000 left");
  EXPECT_EQ(file.ReadBytes(1000, got.data()), ZoStreamOk);
  EXPECT_TRUE(std::equal(got.begin(), got.begin() + 1000, bytes.begin()));
  EXPECT_EQ(file.BytesLeft(), 0);
  EXPECT_EQ(file.WriteBytes(1, got.data()), ZoStreamWriteError);
}

}  // namespace
