// The file stream on real files: the platform transfers it makes, its
// notifications, adoption of descriptors, and the hook manager's request.
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>
#include <zoactor/serialization/ZoFileStream.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <vector>

using zotest::Bytes;
using zotest::IoRecorder;
using zotest::TempFolder;

namespace {

Bytes Counting(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 7 + 3);
  return bytes;
}

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

int64_t FilePosition(int fd) { return ::lseek(fd, 0, SEEK_CUR); }

}  // namespace

TEST(ZoFileStreamRead, BufferedReadsWholeBlocksThenShortThenNothing) {
  TempFolder temp;
  Bytes content = Counting(5000);
  std::string path = temp.WriteFile("five.bin", content);
  IoRecorder recorder;
  ZoFileStream stream(ZoString(path.c_str()), ZoFileRead, true);
  ASSERT_EQ(stream.Status(), ZoStreamOk);
  Bytes got(5000, 0);
  ASSERT_EQ(stream.ReadBytes(4096, got.data()), ZoStreamOk);
  Bytes tail(1000, 0xEE);
  EXPECT_EQ(stream.ReadBytes(1000, tail.data()), ZoStreamReadError);
  // Reads of 2048, 2048, 904 and then 0 bytes, each asking for 2048.
  EXPECT_EQ(recorder.Results(ZoIoEvent::Read, stream.GetHandle()), (std::vector<int64_t>{2048, 2048, 904, 0}));
  for (ZoIoEvent const& e : recorder.events())
    if (e.kind == ZoIoEvent::Read) {
      EXPECT_EQ(e.requested, 2048);
    }
  // The 904 remaining bytes were still delivered.
  EXPECT_EQ(Bytes(tail.begin(), tail.begin() + 904), Bytes(content.begin() + 4096, content.end()));
  EXPECT_EQ(tail[904], 0xEE);
  EXPECT_EQ(Bytes(got.begin(), got.begin() + 4096), Bytes(content.begin(), content.begin() + 4096));
}

TEST(ZoFileStreamRead, PrimitivesAreServedFromTheBuffer) {
  TempFolder temp;
  Bytes content = Counting(4100);
  IoRecorder recorder;
  ZoFileStream stream(ZoString(temp.WriteFile("ints.bin", content).c_str()), ZoFileRead, true);
  Bytes got(4100);
  for (size_t i = 0; i < 4100; i += 4) {
    uint32_t value = 0;
    stream >> value;
    std::memcpy(&got[i], &value, 4);
  }
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  EXPECT_EQ(got, content);
  EXPECT_EQ(recorder.Results(ZoIoEvent::Read, stream.GetHandle()).size(), 3u);
  char more = 0;
  EXPECT_EQ((stream >> more).Status(), ZoStreamReadError);
}

TEST(ZoFileStreamRead, ErrorIsStickyUntilAFlushSucceeds) {
  TempFolder temp;
  std::string path = temp.WriteFile("small.bin", Counting(6));
  {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileRead, true);
    int32_t a = 0;
    int32_t b = 77;
    stream >> a >> b;
    EXPECT_EQ(stream.Status(), ZoStreamReadError);
    EXPECT_EQ(b, 77);  // a primitive is stored only when read whole
    stream.Seek(-2);   // nothing pending: the flush keeps the error
    int16_t c = 0;
    EXPECT_EQ((stream >> c).Status(), ZoStreamReadError);
    EXPECT_EQ(c, 0);
  }
  std::string bigger = temp.WriteFile("bigger.bin", Counting(100));
  ZoFileStream stream(ZoString(bigger.c_str()), ZoFileRead, true);
  char ten[10];
  stream.ReadBytes(10, ten);
  stream.SetStatus(ZoStreamReadError);
  EXPECT_EQ((stream >> ten[0]).Status(), ZoStreamReadError);  // refused while the error stands
  EXPECT_EQ(stream.Flush(), ZoStreamOk);  // realigning the 90 unread bytes succeeds and clears it
  char next = 0;
  EXPECT_EQ((stream >> next).Status(), ZoStreamOk);
  EXPECT_EQ(static_cast<uint8_t>(next), Counting(11)[10]);
}

TEST(ZoFileStreamRead, SeekIsRelativeToTheBytesConsumed) {
  TempFolder temp;
  Bytes content = Counting(3000);
  std::string path = temp.WriteFile("seek.bin", content);
  ZoFileStream stream(ZoString(path.c_str()), ZoFileRead, true);
  char ten[10];
  stream.ReadBytes(10, ten);
  EXPECT_EQ(stream.Seek(0), ZoStreamOk);
  EXPECT_EQ(FilePosition(stream.GetHandle()), 10);
  EXPECT_EQ(stream.Seek(2500), ZoStreamOk);
  char one = 0;
  stream >> one;
  EXPECT_EQ(static_cast<uint8_t>(one), content[2510]);
  EXPECT_EQ(stream.BytesLeft(), 3000 - 2511);
}

TEST(ZoFileStreamOpen, MissingFilesFailAndNamesAreMatchedWithoutRegardToCase) {
  TempFolder temp;
  ZoFileStream missing(ZoString((temp / "missing.act").c_str()), ZoFileRead, true);
  EXPECT_EQ(missing.Status(), ZoStreamOpenError);
  EXPECT_EQ(missing.GetHandle(), kZoInvalidFileHandle);
  EXPECT_FALSE(missing.IsBuffered());
  int32_t v;
  missing >> v;
  EXPECT_NE(missing.Status(), ZoStreamOk);

  temp.WriteFile("Skills/Walk.skl", Counting(8));
  std::string saved = std::filesystem::current_path().string();
  std::filesystem::current_path(temp.path());
  {
    ZoFileStream stream(ZoString("SKILLS\\WALK.skl"), ZoFileRead, true);
    EXPECT_EQ(stream.Status(), ZoStreamOk);
    char first = 0;
    stream >> first;
    EXPECT_EQ(static_cast<uint8_t>(first), Counting(1)[0]);
    ZoFileStream writer(ZoString("SKILLS\\Run.skl"), ZoFileWrite, true);  // into the folder as it is
    EXPECT_EQ(writer.Status(), ZoStreamOk);
    writer << 'r';
  }
  std::filesystem::current_path(saved);
  EXPECT_EQ(temp.ReadFile("Skills/Run.skl"), (Bytes{'r'}));
}

TEST(ZoFileStreamWrite, NoPlatformWriteUntilTheNextByteNeedsRoom) {
  TempFolder temp;
  std::string path = temp / "out.bin";
  IoRecorder recorder;
  Bytes content = Counting(2049);
  {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, true);
    ASSERT_EQ(stream.Status(), ZoStreamOk);
    stream.WriteBytes(2048, content.data());
    EXPECT_TRUE(recorder.Results(ZoIoEvent::Write, stream.GetHandle()).empty());
    stream << static_cast<char>(content[2048]);
    EXPECT_EQ(recorder.Results(ZoIoEvent::Write, stream.GetHandle()), (std::vector<int64_t>{2048}));
    recorder.Clear();
  }
  // Destruction writes the last partial buffer.
  ASSERT_EQ(recorder.events().size() >= 1, true);
  EXPECT_EQ(recorder.events().front().kind, ZoIoEvent::Write);
  EXPECT_EQ(recorder.events().front().result, 1);
  EXPECT_EQ(temp.ReadFile("out.bin"), content);
}

TEST(ZoFileStreamWrite, UnbufferedWritesGoStraightThroughToATruncatedFile) {
  TempFolder temp;
  std::string path = temp.WriteFile("old.bin", Counting(100));
  {
    IoRecorder recorder;
    ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, false);
    EXPECT_FALSE(stream.IsBuffered());
    stream << int32_t{0x01020304} << int16_t{2};
    EXPECT_EQ(recorder.Results(ZoIoEvent::Write, stream.GetHandle()), (std::vector<int64_t>{4, 2}));
  }
  EXPECT_EQ(temp.ReadFile("old.bin"), (Bytes{4, 3, 2, 1, 2, 0}));
}

TEST(ZoFileStreamWrite, BufferedStreamsRefuseTheOtherDirection) {
  TempFolder temp;
  std::string path = temp.WriteFile("dir.bin", Counting(16));
  {
    ZoFileStream reader(ZoString(path.c_str()), ZoFileRead, true);
    EXPECT_EQ((reader << int32_t{1}).Status(), ZoStreamWriteError);
  }
  ZoFileStream writer(ZoString((temp / "w.bin").c_str()), ZoFileWrite, true);
  int32_t v = 5;
  EXPECT_EQ((writer >> v).Status(), ZoStreamReadError);
  EXPECT_EQ(v, 5);
}

TEST(ZoFileStreamEvents, ReadWriteAndDestroyNotifications) {
  TempFolder temp;
  std::string path = temp.WriteFile("ev.bin", Counting(3000));
  std::vector<int> events;
  {
    ZoFileStream stream(ZoString(path.c_str()), ZoFileRead, true);
    stream.SetCallBack(new EventLog(events));
    char c;
    stream >> c;         // platform read: event 2
    stream >> c;         // from the buffer: nothing
    char block[2100];
    stream.ReadBytes(2100, block);  // refill: event 2
  }
  EXPECT_EQ(events, (std::vector<int>{2, 2, 1}));

  events.clear();
  {
    ZoFileStream stream(ZoString((temp / "w.bin").c_str()), ZoFileWrite, true);
    stream.SetCallBack(new EventLog(events));
    Bytes block = Counting(2048);
    stream.WriteBytes(2048, block.data());  // buffered only
    stream << 'x';                          // platform write: event 3
  }
  EXPECT_EQ(events, (std::vector<int>{3, 1}));
}

TEST(ZoFileStreamAdopt, AdoptedHandleStaysOpenAtTheLogicalPosition) {
  TempFolder temp;
  std::string path = temp.WriteFile("adopt.bin", Counting(5000));
  int fd = ::open(path.c_str(), O_RDONLY);
  ASSERT_GE(fd, 0);
  {
    ZoFileStream stream(fd, ZoFileRead, true);
    EXPECT_EQ(stream.Status(), ZoStreamOk);
    EXPECT_FALSE(stream.OwnsHandle());
    char block[10];
    stream.ReadBytes(10, block);
  }
  // Still open, and positioned where the stream stopped consuming.
  EXPECT_EQ(FilePosition(fd), 10);
  ::close(fd);
}

TEST(ZoFileStreamAdopt, AdoptedWriteHandleGetsPendingBytesOnDestruction) {
  TempFolder temp;
  std::string path = temp / "adopted-out.bin";
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
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
  std::string seenName;
  int32_t seenMode = -1;

  int GetInterfaceName(char*, int, int&, int&) override { return 0; }
  int32_t AddRef() override { return 1; }
  int32_t Release() override { return 1; }
  int32_t HandleRequest(int32_t code, void* record) override {
    if (code != ZoHookOpenFile) return 0;
    ++requests;
    auto* open = static_cast<ZoHookOpenFileRecord*>(record);
    seenName = open->fileName->c_str();
    seenMode = open->mode;
    if (answer > 0) open->handle = ::open(realPath.c_str(), O_RDONLY);
    return answer;
  }
};

}  // namespace

TEST(ZoFileStreamHook, ManagerThatAnswersOpensTheFileInstead) {
  TempFolder temp;
  OpeningHookManager manager;
  manager.realPath = temp.WriteFile("real.bin", Counting(4));
  ZoInterfaceRegistry::Register("ZoAiHookManager", &manager);
  {
    IoRecorder recorder;
    ZoFileStream stream(ZoString("no/such/file.act"), ZoFileRead, true);
    EXPECT_EQ(stream.Status(), ZoStreamOk);
    EXPECT_TRUE(stream.OwnsHandle());
    int32_t v = 0;
    stream >> v;
    EXPECT_EQ(v, 0x18110A03);
  }
  EXPECT_EQ(manager.requests, 1);
  EXPECT_EQ(manager.seenName, "no/such/file.act");
  EXPECT_EQ(manager.seenMode, ZoFileRead);

  manager.answer = 0;  // declines: the stream opens the file itself
  ZoFileStream own(ZoString((temp / "real.bin").c_str()), ZoFileRead, true);
  EXPECT_EQ(own.Status(), ZoStreamOk);
  EXPECT_EQ(manager.requests, 2);
  ZoInterfaceRegistry::Unregister("ZoAiHookManager");
}

TEST(ZoFileStreamWrite, FailedPlatformWriteRefusesLaterWritesAndKeepsPendingBytes) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "no /dev/full here";
  ZoFileStream stream(ZoString("/dev/full"), ZoFileWrite, true);
  ASSERT_EQ(stream.Status(), ZoStreamOk);
  Bytes block = Counting(2049);
  EXPECT_EQ(stream.WriteBytes(2049, block.data()), ZoStreamWriteError);
  IoRecorder recorder;
  EXPECT_EQ((stream << int32_t{1}).Status(), ZoStreamWriteError);
  EXPECT_TRUE(recorder.events().empty());  // refused without touching the file
  EXPECT_EQ(stream.Flush(), ZoStreamWriteError);  // the device is still full
  ZoFileStream unbuffered(ZoString("/dev/full"), ZoFileWrite, false);  // fails at the write itself
  EXPECT_EQ((unbuffered << int32_t{1}).Status(), ZoStreamWriteError);
}

TEST(ZoFileStreamWrite, SuccessfulFlushClearsAWriteError) {
  TempFolder temp;
  std::string path = temp / "clear.bin";
  ZoFileStream stream(ZoString(path.c_str()), ZoFileWrite, true);
  stream << int32_t{1};
  stream.SetStatus(ZoStreamWriteError);
  EXPECT_EQ((stream << int32_t{2}).Status(), ZoStreamWriteError);
  EXPECT_EQ(stream.Flush(), ZoStreamOk);  // the 4 pending bytes reach the file
  EXPECT_EQ((stream << int32_t{3}).Status(), ZoStreamOk);
  stream.Flush();
  EXPECT_EQ(temp.ReadFile("clear.bin"), (Bytes{1, 0, 0, 0, 3, 0, 0, 0}));
}
