// The file stream on real files: the platform transfers it makes, why a read
// failed, its notifications, adoption of descriptors, and the hook manager's
// request.
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>
#include <zoactor/serialization/ZoFileStream.h>

#include "support/ZoTestObjects.h"


#include <fcntl.h>
#include <unistd.h>

#include <tuple>
#include <utility>
#include <vector>

using zotest::Bytes;
using zotest::Counting;

namespace {

int64_t FilePosition(int fd) { return ::lseek(fd, 0, SEEK_CUR); }

// Records every platform transfer while alive.
struct IoRecorder {
  IoRecorder() {
    ZoPlatform::SetIoObserver([](ZoIoEvent const& e, void* me) { static_cast<IoRecorder*>(me)->events.push_back(e); },
                              this);
  }
  ~IoRecorder() { ZoPlatform::SetIoObserver(nullptr, nullptr); }
  // The results of the recorded transfers of one kind on one handle.
  std::vector<int64_t> Results(ZoIoEvent::Kind kind, ZoFileHandle handle) const {
    std::vector<int64_t> results;
    for (ZoIoEvent const& event : events)
      if (event.kind == kind && event.handle == handle) results.push_back(event.result);
    return results;
  }
  std::vector<ZoIoEvent> events;
};

// Collects the notification codes a stream raises.
class EventLog : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  explicit EventLog(std::vector<int>& sink) : events(sink) {}
  int CallBack(void* event, void*) override {
    events.push_back(static_cast<int>(reinterpret_cast<intptr_t>(event)));
    return 0;
  }

 private:
  std::vector<int>& events;
};

class ZoFileStreamTest : public ::testing::Test {
 protected:
  // The path of a new file `name` holding `size` counting bytes.
  ZoString File(char const* name, size_t size) { return ZoString(temp.WriteFile(name, Counting(size)).c_str()); }
  // The path of `name` in the folder, which need not exist.
  ZoString Path(char const* name) { return ZoString((temp / name).c_str()); }

  zotest::TempFolder temp;
};

}  // namespace

TEST_F(ZoFileStreamTest, BufferedReadsWholeBlocksThenShortThenNothing) {
  IoRecorder recorder;
  ZoFileStream stream(File("five.bin", 5000), ZoFileRead, true);
  Bytes got(5001, 0xEE);
  ASSERT_EQ(stream.ReadBytes(4096, got.data()), ZoStreamOk);
  EXPECT_EQ(stream.ReadBytes(1000, got.data() + 4096), ZoStreamReadError);
  // Reads of 2048, 2048, 904 and then 0 bytes; the 904 were still delivered.
  EXPECT_EQ(recorder.Results(ZoIoEvent::Read, stream.GetHandle()), (std::vector<int64_t>{2048, 2048, 904, 0}));
  EXPECT_EQ(got, zotest::ByteBuilder().append(Counting(5000)).u8(0xEE).get());
}

TEST_F(ZoFileStreamTest, PrimitivesAreServedFromTheBuffer) {
  IoRecorder recorder;
  ZoFileStream stream(File("ints.bin", 4100), ZoFileRead, true);
  Bytes got(4100);
  for (size_t i = 0; i < 4100; i += 4) {
    uint32_t value = 0;
    stream >> value;
    std::memcpy(&got[i], &value, 4);
  }
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  EXPECT_EQ(got, Counting(4100));
  EXPECT_EQ(recorder.Results(ZoIoEvent::Read, stream.GetHandle()).size(), 3u);
  char more = 0;
  EXPECT_EQ((stream >> more).Status(), ZoStreamReadError);
  stream.SetStatus(ZoStreamOk);
  EXPECT_EQ((stream << int32_t{1}).Status(), ZoStreamWriteError);  // a buffered reader refuses writes
}

// A file that ends inside a value: the variable is left, the failure says
// where and why, and the error stays while no flush realigns anything.
TEST_F(ZoFileStreamTest, ShortReadFailsWithItsReasonAndStays) {
  for (bool buffered : {true, false}) {
    ZoFileStream stream(File("six.bin", 6), ZoFileRead, buffered);
    int32_t a = 0;
    double b = 77;
    stream >> a >> b;
    EXPECT_EQ(std::make_pair(stream.Status(), b), std::make_pair(ZoStreamReadError, 77.0));  // stored only when read whole
    zotest::ExpectFailure(stream, 6, buffered ? "the file ends 6 bytes short" : "8 bytes wanted, 2 read");
    stream.Seek(-2);  // nothing pending: the flush keeps the error
    int16_t c = 0;
    EXPECT_EQ((std::pair<ZoStreamError, int16_t>{(stream >> c).Status(), c}),
              std::make_pair(ZoStreamReadError, int16_t{0}));
  }
}

TEST_F(ZoFileStreamTest, FlushRealignsAndClearsTheErrorAndSeekIsRelativeToTheBytesConsumed) {
  ZoFileStream stream(File("seek.bin", 3000), ZoFileRead, true);
  char ten[10];
  stream.ReadBytes(10, ten);
  stream.SetStatus(ZoStreamReadError);
  EXPECT_EQ((stream >> ten[0]).Status(), ZoStreamReadError);  // refused while the error stands
  EXPECT_EQ(stream.Flush(), ZoStreamOk);  // moving back over the unread bytes succeeds and clears it
  EXPECT_EQ(FilePosition(stream.GetHandle()), 10);
  EXPECT_EQ(stream.Seek(2500), ZoStreamOk);
  char one = 0;
  stream >> one;
  EXPECT_EQ(std::make_pair(static_cast<uint8_t>(one), stream.BytesLeft()),
            std::make_pair(Counting(3000)[2510], int64_t{3000 - 2511}));
}

// Opening names under another case is driven by the platform's and the
// actor files' tests.
TEST_F(ZoFileStreamTest, MissingFilesFailToOpen) {
  ZoFileStream missing(Path("missing.act"), ZoFileRead, true);
  EXPECT_EQ(std::make_tuple(missing.Status(), missing.GetHandle(), missing.IsBuffered()),
            std::make_tuple(ZoStreamOpenError, kZoInvalidFileHandle, false));
  zotest::ExpectFailure(missing, -1, "could not be opened");
  int32_t v;
  EXPECT_NE((missing >> v).Status(), ZoStreamOk);
}

TEST_F(ZoFileStreamTest, NoPlatformWriteUntilTheNextByteNeedsRoom) {
  IoRecorder recorder;
  Bytes content = Counting(2049);
  {
    ZoFileStream stream(Path("out.bin"), ZoFileWrite, true);
    stream.WriteBytes(2048, content.data());
    EXPECT_TRUE(recorder.Results(ZoIoEvent::Write, stream.GetHandle()).empty());
    stream << static_cast<char>(content[2048]);
    EXPECT_EQ(recorder.Results(ZoIoEvent::Write, stream.GetHandle()), (std::vector<int64_t>{2048}));
    recorder.events.clear();
  }
  // Destruction writes the last partial buffer.
  ASSERT_FALSE(recorder.events.empty());
  EXPECT_EQ(std::make_pair(recorder.events.front().kind, recorder.events.front().result),
            std::make_pair(ZoIoEvent::Write, int64_t{1}));
  EXPECT_EQ(temp.ReadFile("out.bin"), content);
}

TEST_F(ZoFileStreamTest, UnbufferedWritesGoStraightThroughToATruncatedFile) {
  ZoString path = File("old.bin", 100);
  {
    IoRecorder recorder;
    ZoFileStream stream(path, ZoFileWrite, false);
    EXPECT_FALSE(stream.IsBuffered());
    stream << int32_t{0x01020304} << int16_t{2};
    EXPECT_EQ(recorder.Results(ZoIoEvent::Write, stream.GetHandle()), (std::vector<int64_t>{4, 2}));
  }
  EXPECT_EQ(temp.ReadFile("old.bin"), (Bytes{4, 3, 2, 1, 2, 0}));
}

TEST_F(ZoFileStreamTest, ReadWriteAndDestroyNotifications) {
  std::vector<int> events;
  {
    ZoFileStream stream(File("ev.bin", 3000), ZoFileRead, true);
    stream.SetCallBack(new EventLog(events));
    char block[2100];
    stream >> block[0];             // platform read: event 2
    stream >> block[0];             // from the buffer: nothing
    stream.ReadBytes(2100, block);  // refill: event 2
  }
  EXPECT_EQ(events, (std::vector<int>{2, 2, 1}));
  events.clear();
  {
    ZoFileStream stream(Path("w.bin"), ZoFileWrite, true);
    stream.SetCallBack(new EventLog(events));
    Bytes block = Counting(2048);
    stream.WriteBytes(2048, block.data());  // buffered only
    stream << 'x';                          // platform write: event 3
  }
  EXPECT_EQ(events, (std::vector<int>{3, 1}));
}

// An adopted descriptor stays open: a reader leaves it where it stopped
// consuming, a writer hands it its pending bytes.
TEST_F(ZoFileStreamTest, AdoptedHandlesStayOpenAtTheLogicalPosition) {
  int fd = ::open(temp.WriteFile("adopt.bin", Counting(5000)).c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  {
    ZoFileStream stream(fd, ZoFileRead, true);
    EXPECT_FALSE(stream.OwnsHandle());
    char block[10];
    EXPECT_EQ(stream.ReadBytes(10, block), ZoStreamOk);
  }
  EXPECT_EQ(FilePosition(fd), 10);
  ::close(fd);

  fd = ::open((temp / "adopted-out.bin").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  {
    ZoFileStream stream(fd, ZoFileWrite, true);
    stream << int32_t{7};
  }
  EXPECT_EQ(::write(fd, "!", 1), 1);
  ::close(fd);
  EXPECT_EQ(temp.ReadFile("adopted-out.bin"), (Bytes{7, 0, 0, 0, '!'}));
}

namespace {

// A hook manager that opens files itself (from a fixed path) and records the
// request it saw.
class OpeningHookManager : public ZoAiHookManager {
 public:
  std::string realPath;
  int32_t answer = 1;
  int requests = 0;
  std::string seen;  // the last request's file name and mode

  int GetInterfaceName(char*, int, int&, int&) override { return 0; }
  int32_t AddRef() override { return 1; }
  int32_t Release() override { return 1; }
  int32_t HandleRequest(int32_t code, void* record) override {
    if (code != ZoHookOpenFile) return 0;
    ++requests;
    auto* open = static_cast<ZoHookOpenFileRecord*>(record);
    seen = std::string(open->fileName->c_str()) + " " + std::to_string(open->mode);
    if (answer > 0) open->handle = ::open(realPath.c_str(), O_RDONLY);
    return answer;
  }
};

}  // namespace

TEST_F(ZoFileStreamTest, HookManagerThatAnswersOpensTheFileInstead) {
  OpeningHookManager manager;
  manager.realPath = temp.WriteFile("real.bin", Counting(4));
  ZoInterfaceRegistry::Register("ZoAiHookManager", &manager);
  {
    ZoFileStream stream(ZoString("no/such/file.act"), ZoFileRead, true);
    EXPECT_TRUE(stream.OwnsHandle());
    int32_t v = 0;
    EXPECT_EQ((stream >> v).Status(), ZoStreamOk);
    EXPECT_EQ(v, 0x271A0D00);  // the first four bytes of Counting
  }
  EXPECT_EQ(std::make_pair(manager.requests, manager.seen),
            std::make_pair(1, "no/such/file.act " + std::to_string(ZoFileRead)));

  manager.answer = 0;  // declines: the stream opens the file itself
  ZoFileStream own(Path("real.bin"), ZoFileRead, true);
  EXPECT_EQ(std::make_pair(own.Status(), manager.requests), std::make_pair(ZoStreamOk, 2));
  ZoInterfaceRegistry::Unregister("ZoAiHookManager");
}

TEST_F(ZoFileStreamTest, FailedPlatformWriteRefusesLaterWritesAndKeepsPendingBytes) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
  ZoFileStream stream(ZoString("/dev/full"), ZoFileWrite, true);
  Bytes block = Counting(2049);
  EXPECT_EQ(stream.WriteBytes(2049, block.data()), ZoStreamWriteError);
  IoRecorder recorder;
  EXPECT_EQ((stream << int32_t{1}).Status(), ZoStreamWriteError);
  EXPECT_TRUE(recorder.events.empty());  // refused without touching the file
  EXPECT_EQ(stream.Flush(), ZoStreamWriteError);  // the device is still full
  ZoFileStream unbuffered(ZoString("/dev/full"), ZoFileWrite, false);  // fails at the write itself
  EXPECT_EQ((unbuffered << int32_t{1}).Status(), ZoStreamWriteError);
}

TEST_F(ZoFileStreamTest, SuccessfulFlushClearsAWriteError) {
  ZoFileStream stream(Path("clear.bin"), ZoFileWrite, true);
  stream << int32_t{1};
  stream.SetStatus(ZoStreamWriteError);
  EXPECT_EQ((stream << int32_t{2}).Status(), ZoStreamWriteError);
  EXPECT_EQ(stream.Flush(), ZoStreamOk);  // the 4 pending bytes reach the file
  EXPECT_EQ((stream << int32_t{3}).Status(), ZoStreamOk);
  stream.Flush();
  EXPECT_EQ(temp.ReadFile("clear.bin"), (Bytes{1, 0, 0, 0, 3, 0, 0, 0}));
  int32_t v = 5;
  EXPECT_EQ((stream >> v).Status(), ZoStreamReadError);  // a buffered writer refuses reads
  EXPECT_EQ(v, 5);
}
