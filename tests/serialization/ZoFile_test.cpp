// The chunked container on files and memory, why its reads failed, and the
// progress reporter. Putting a type back across the end of a file's read
// buffer is driven by the container fuzz corpus (records_across_buffer).
#include <zoactor/serialization/ZoFile.h>
#include <zoactor/serialization/ZoFileProgress.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <tuple>
#include <utility>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;

namespace {

// A file object with an int and a string, stored as "Pair".
class Pair : public ZoFileObject {
 public:
  int32_t number = 0;
  ZoString text;
  ZoFileType TypeInFile() const override { return ZoFileType("Pair"); }
  int ReadFromFile(ZoFile& file) override { return file.Read(number) && file.Read(text) ? 1 : 0; }
  int WriteToFile(ZoFile& file) override { return file.Write(number) && file.Write(text) ? 1 : 0; }
  static ZoFileObject* Construct(ZoFile& file) {
    auto* pair = new Pair;
    if (pair->ReadFromFile(file) > 0) return pair;
    delete pair;
    return nullptr;
  }
};

class Other : public Pair {
 public:
  ZoFileType TypeInFile() const override { return ZoFileType("Othr"); }
};

// Exposes the protected position operations.
class OpenFile : public ZoFile {
 public:
  using ZoFile::SetFilePointer;
};

Bytes Header(char const* type, uint16_t version) {
  return ByteBuilder().raw({0x20, 0x5A, 0x4F, 0x42}).u16(2).u16(version).chars(type).i32(0);
}

// What a memory container wrote; closes it.
Bytes Contents(ZoFile& writer) {
  int length = 0;
  char* block = writer.GetBuffer(length);
  Bytes bytes = zotest::ToBytes(block, static_cast<size_t>(length));
  writer.Close();
  return bytes;
}

// Opens `file` for reading over `bytes`, which must outlive it.
void OpenOver(ZoFile& file, Bytes& bytes) {
  ASSERT_EQ(file.Open(0, reinterpret_cast<char*>(bytes.data()), static_cast<int>(bytes.size())), 1);
}

class ZoFileTest : public ::testing::Test {
 protected:
  // The path of `name` in the folder, which need not exist.
  ZoString Path(char const* name) { return ZoString((temp / name).c_str()); }
  // The path of a new file `name` holding `bytes`.
  ZoString File(char const* name, Bytes const& bytes) { return ZoString(temp.WriteFile(name, bytes).c_str()); }

  zotest::TempFolder temp;
};

}  // namespace

TEST_F(ZoFileTest, ModesAndStatesAreChecked) {
  ZoFile file;
  // An operation's result with the error it left.
  auto outcome = [&file](int result) { return std::pair{result, file.GetLastError()}; };
  using Outcome = std::pair<int, int>;
  EXPECT_EQ(outcome(file.Open(Path("x"), 2)), Outcome(0, 2));
  EXPECT_EQ(outcome(file.Open(5, nullptr, 0)), Outcome(0, 2));
  EXPECT_EQ(outcome(file.Open(0, nullptr, 10)), Outcome(0, 1));
  EXPECT_EQ(outcome(file.Close()), Outcome(0, 1));
  ASSERT_EQ(file.Open(1, nullptr, 0), 1);
  EXPECT_EQ(outcome(file.Open(1, nullptr, 0)), Outcome(0, 3));
  int32_t v;
  EXPECT_EQ(outcome(file.Read(v)), Outcome(0, 1));              // a writing container cannot be read
  EXPECT_EQ(outcome(file.Write(int32_t{1})), Outcome(1, 0));  // errors do not block later operations
  EXPECT_EQ(file.Compress() + file.Uncompress(), 2);
  file.Close();
  EXPECT_EQ(file.Compress() + file.Uncompress(), 0);
}

// The header is the magic, the format version, the version, the type and a
// zero; strings go up to 255 characters, and the empty one is a zero length
// that reads as the null string.
TEST_F(ZoFileTest, HeaderPrimitivesAndStringsRoundTripThroughAFile) {
  std::string const longest(255, 'h');
  ZoFile file;
  ASSERT_EQ(file.Open(Path("rec.seq"), 1), 1);
  EXPECT_TRUE(file.Write(int16_t{-2}) && file.Write(int32_t{70000}) && file.Write(2.5f) && file.Write(ZoString()) &&
              file.Write(ZoString(longest.c_str())));
  file.SetType(ZoFileType("Sequ"));  // set after opening: reaches the final header
  file.SetVersion(1);
  EXPECT_EQ(file.Compress() + file.Uncompress(), 0);  // only memory containers answer 1
  ASSERT_EQ(file.Close(), 1);
  Bytes expected = ByteBuilder().append(Header("Sequ", 1)).i16(-2).i32(70000).f32(2.5f).i32(0).str(longest.c_str());
  EXPECT_EQ(Hex(temp.ReadFile("rec.seq")), Hex(expected));

  ASSERT_EQ(file.Open(Path("rec.seq"), 0), 1);
  int16_t s = 0;
  int32_t i = 0;
  float f = 0;
  ZoString empty("x"), text;
  EXPECT_TRUE(file.Read(s) && file.Read(i) && file.Read(f) && file.Read(empty) && file.Read(text));
  EXPECT_EQ(std::make_tuple(s, i, f, std::string(text.c_str())), std::make_tuple(int16_t{-2}, 70000, 2.5f, longest));
  EXPECT_TRUE(empty == NULL_STRING);
  file.Close();

  // Neither the format version nor the last header field is checked.
  Bytes bytes = ByteBuilder().raw({0x20, 0x5A, 0x4F, 0x42}).u16(9).u16(3).chars("Aazo").i32(-1).i32(12);
  ASSERT_EQ(file.Open(File("m.anm", bytes), 0), 1);
  EXPECT_EQ(std::make_tuple(file.GetFormatVersion(), file.GetVersion(), file.GetType()),
            std::make_tuple(9, 3, ZoFileType("Aazo")));
  int32_t value = 0;
  EXPECT_EQ((std::pair<int, int32_t>{file.Read(value), value}), std::make_pair(1, 12));
}

// Peeking at a type and reading it, on files and in memory, is driven by the
// container fuzz corpus.
TEST_F(ZoFileTest, WriteTypeOfWritesOnlyTheTypeAndOnlyForWriting) {
  Bytes body = ByteBuilder().chars("Pair");
  ZoFile onMemory;
  OpenOver(onMemory, body);
  Pair pair;
  EXPECT_EQ((std::pair<int, int>{onMemory.WriteTypeOf(pair), onMemory.GetLastError()}), std::make_pair(0, 1));
  ZoFile writer;
  ASSERT_EQ(writer.Open(1, nullptr, 0), 1);
  EXPECT_EQ(writer.WriteTypeOf(pair), 1);
  EXPECT_EQ(Contents(writer), Bytes(ByteBuilder().chars("Pair")));
}

TEST_F(ZoFileTest, WrongTypeIsPutBackWithErrorFiveAndArraysStopAtTheFirstFailure) {
  Pair a, b, c;
  a.number = 3;
  a.text = "three";
  b.number = 2;
  ZoFile writer;
  writer.Open(1, nullptr, 0);
  EXPECT_EQ(writer.Write(a), 1);
  ZoFileObject* objects[] = {&a, &b, &c};
  EXPECT_EQ(writer.Write(3, objects), 3);
  Bytes bytes = Contents(writer);
  Bytes first = ByteBuilder().chars("Pair").i32(3).str("three");
  EXPECT_EQ(Hex(Bytes(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(first.size()))), Hex(first));

  ZoFile reader;
  OpenOver(reader, bytes);
  Other other;
  Pair back, x, y;
  ZoFileObject* targets[] = {&x, &y, &other};
  // Each read's result, the error after the wrong type coming second.
  std::vector<int> const results{reader.Read(other), reader.GetLastError(), reader.Read(back), reader.Read(3, targets),
                                 reader.Read(0, targets)};
  EXPECT_EQ(results, (std::vector<int>{0, 5, 1, 2, 0}));
  EXPECT_EQ(std::make_pair(std::string(back.text.c_str()), y.number), std::make_pair(std::string("three"), 2));
}

TEST_F(ZoFileTest, ReadObjectUsesTheFirstRegistration) {
  ZoFile::RegisterClass(&Pair::Construct, ZoFileType("Reg1"));
  ZoFile::RegisterClass([](ZoFile&) -> ZoFileObject* { return nullptr; }, ZoFileType("Reg1"));
  Bytes bytes = ByteBuilder().chars("Reg1").i32(9).str("nine").chars("Unkn").i32(1);
  ZoFile reader;
  OpenOver(reader, bytes);
  std::unique_ptr<ZoFileObject> object(reader.ReadObject());
  ASSERT_NE(object, nullptr);
  ZoFileType const firstType = reader.GetObjectType();
  EXPECT_EQ(reader.ReadObject(), nullptr);  // not registered; the type stays consumed
  int32_t after = 0;
  // The number read, both types seen, and the int after the unknown type.
  EXPECT_EQ((std::tuple<int32_t, ZoFileType, ZoFileType, int, int32_t>{
                static_cast<Pair&>(*object).number, firstType, reader.GetObjectType(), reader.Read(after), after}),
            std::make_tuple(9, ZoFileType("Reg1"), ZoFileType("Unkn"), 1, 1));
}

// Growing a memory container past its first 2048 bytes is driven by the
// container fuzz corpus.
TEST_F(ZoFileTest, MemoryPositionsStopAt32BitsAndReadingDeliversWhatThereIs) {
  // A memory position may go up to the largest 32-bit offset, not past it.
  OpenFile memory;
  ASSERT_EQ(memory.Open(1, nullptr, 0), 1);
  EXPECT_EQ(memory.SetFilePointer(0xFFFFFFFF, 0), 0xFFFFFFFF);
  EXPECT_EQ(memory.SetFilePointer(0x100000000, 0), -1);
  memory.SetFilePointer(0, 0);

  Bytes bytes = ByteBuilder().i32(1).i16(2);
  ZoFile file;
  OpenOver(file, bytes);
  char out[8] = {};
  EXPECT_EQ(file.ReadBytes(8, out), 6u);
  EXPECT_EQ(file.GetLastError(), 4);
  EXPECT_EQ(file.ReadBytes(0, out), 0u);
  EXPECT_EQ(file.GetLastError(), 0);
}

TEST_F(ZoFileTest, ClosingAWrittenFileTruncatesAtThePosition) {
  OpenFile file;
  ASSERT_EQ(file.Open(File("trunc.bin", Bytes(100, 'z')), 1), 1);
  EXPECT_TRUE(file.Write(int32_t{1}) && file.Write(int32_t{2}));
  file.SetFilePointer(16, 0);  // rewrite the first record and stop there
  file.Write(int32_t{9});
  ASSERT_EQ(file.Close(), 1);
  EXPECT_EQ(Hex(temp.ReadFile("trunc.bin")), Hex(ByteBuilder().append(Header("    ", 0)).i32(9)));  // the default header
}

// The container keeps its first failure, with the offset and the reason,
// until it is reset; a failed read leaves the string as it was.
TEST_F(ZoFileTest, FailuresNameWhereAndWhy) {
  Bytes const header = Header("Sequ", 1);
  struct Case {
    char const* name;
    Bytes bytes;
    int lastError;
    int64_t offset;
    char const* words;
  } const cases[] = {
      {"bad magic", ByteBuilder().raw({0x20, 0x5A, 0x4F, 0x43}).append(Bytes(header.begin() + 4, header.end())), 2, 0,
       "bad magic 0x434F5A20"},
      {"short header", Bytes(header.begin(), header.begin() + 15), 4, 15, "shorter than the 16-byte header"},
      {"long string", ByteBuilder().append(header).i32(3).i32(256).append(Bytes(256, 'q')), 4, 24,
       "string length 256 is outside 0 to 255"},
      {"negative string length", ByteBuilder().append(header).i32(3).i32(-1), 4, 24, "string length -1 is outside"},
      {"string cut short", ByteBuilder().append(header).i32(3).i32(20).chars("abc"), 4, 27,
       "the file ends 17 bytes short"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoFile file;
    int opened = file.Open(File("c.seq", c.bytes), 0);
    ZoString text("kept");
    if (opened != 0) {
      int32_t skipped = 0;
      EXPECT_EQ(file.Read(skipped), 1);
      EXPECT_EQ(file.Read(text), 0);
    }
    EXPECT_EQ(std::make_tuple(std::string(text.c_str()), file.GetLastError(), file.IsOpen(), file.FailureOffset()),
              std::make_tuple(std::string("kept"), c.lastError, opened != 0, c.offset))
        << file.FailureReason();
    EXPECT_NE(std::strstr(file.FailureReason(), c.words), nullptr) << file.FailureReason();
  }
  ZoFile missing;
  int opened = missing.Open(Path("missing.seq"), 0);
  EXPECT_EQ(std::make_tuple(opened, missing.GetLastError(), std::string(missing.FailureReason())),
            std::make_tuple(0, 1, std::string("the file could not be opened")));
  // Only the first failure is kept, until it is reset.
  Bytes bytes = ByteBuilder().i32(300).i32(-1);
  ZoFile file;
  OpenOver(file, bytes);
  ZoString text;
  EXPECT_EQ(file.Read(text) + file.Read(text), 0);
  EXPECT_STREQ(file.FailureReason(), "string length 300 is outside 0 to 255");
  file.ResetFailure();
  EXPECT_EQ(std::make_pair(file.HasFailure(), file.FailureOffset()), std::make_pair(false, int64_t{-1}));
}

// --- Progress -----------------------------------------------------------------

namespace {

int gCallbacks = 0;
int gCodeSeen = -1;
void CountProgress() {
  ++gCallbacks;
  ZoString text;
  ZoFileProgress::GetProgress(gCodeSeen, text);  // re-entering the lock from the callback
}

// The most recent entry as "code text".
std::string Top() {
  int code = -1;
  ZoString text("?");
  ZoFileProgress::GetProgress(code, text);
  return std::to_string(code) + " " + text.c_str();
}

}  // namespace

TEST(ZoFileProgressStack, PushPopClearAndTheCallback) {
  ZoFileProgress::SetProgress(ZoFileProgress::kClear, ZoString());
  gCallbacks = 0;
  ZoFileProgress::SetProgressCB(&CountProgress);
  ZoFileProgress::SetProgress(0, ZoString("a"));
  ZoFileProgress::SetProgress(1, ZoString("b"));
  EXPECT_EQ(Top(), "1 b");
  ZoFileProgress::SetProgress(ZoFileProgress::kPop, ZoString("ignored"));
  EXPECT_EQ(Top(), "0 a");
  ZoFileProgress::SetProgress(ZoFileProgress::kClear, ZoString());
  EXPECT_EQ(Top(), "2 ");
  EXPECT_EQ(std::make_pair(gCallbacks, gCodeSeen), std::make_pair(4, 2));
  ZoFileProgress::SetProgress(ZoFileProgress::kPop, ZoString());  // popping an empty stack is harmless
  EXPECT_EQ(ZoFileProgress::Depth(), 0);
  ZoFileProgress::SetProgressCB(nullptr);
}

TEST(ZoFileProgressStack, ConcurrentUseKeepsTheStackConsistent) {
  ZoFileProgress::SetProgress(ZoFileProgress::kClear, ZoString());
  auto worker = [] {
    for (int i = 0; i < 2000; ++i) {
      ZoFileProgress::SetProgress(7, ZoString("step"));
      ZoFileProgress::SetProgress(ZoFileProgress::kPop, ZoString());
    }
  };
  std::thread a(worker), b(worker);
  a.join();
  b.join();
  EXPECT_EQ(ZoFileProgress::Depth(), 0);
}
