// The chunked container on files and memory, and the progress reporter.
#include <zoactor/serialization/ZoFile.h>
#include <zoactor/serialization/ZoFileProgress.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;
using zotest::TempFolder;

namespace {

// A file object with an int and a string, stored as "Pair".
class Pair : public ZoFileObject {
 public:
  int32_t number = 0;
  ZoString text;
  static ZoFileType Type() { return ZoFileType("Pair"); }
  ZoFileType TypeInFile() const override { return Type(); }
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
  using ZoFile::GetFilePointer;
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

}  // namespace

TEST(ZoFileHeader, WrittenFileStartsWithMagicVersionsTypeAndZero) {
  TempFolder temp;
  ZoFile file;
  ASSERT_EQ(file.Open(ZoString((temp / "a.seq").c_str()), 1), 1);
  file.Write(int32_t{5});
  file.SetType(ZoFileType("Sequ"));  // set after opening: reaches the final header
  file.SetVersion(1);
  EXPECT_EQ(file.Compress() + file.Uncompress(), 0);  // only memory containers answer 1
  ASSERT_EQ(file.Close(), 1);
  EXPECT_EQ(Hex(temp.ReadFile("a.seq")), Hex(ByteBuilder().append(Header("Sequ", 1)).i32(5)));
}

TEST(ZoFileHeader, ReadingTakesVersionsAndTypeFromTheHeader) {
  TempFolder temp;
  Bytes bytes = ByteBuilder().raw({0x20, 0x5A, 0x4F, 0x42}).u16(9).u16(3).chars("Aazo").i32(-1).i32(12);
  std::string path = temp.WriteFile("m.anm", bytes);
  ZoFile file;
  ASSERT_EQ(file.Open(ZoString(path.c_str()), 0), 1);
  EXPECT_EQ(file.GetFormatVersion(), 9);  // not checked
  EXPECT_EQ(file.GetVersion(), 3);
  EXPECT_EQ(file.GetType(), ZoFileType("Aazo"));
  int32_t value = 0;
  EXPECT_EQ(file.Read(value), 1);
  EXPECT_EQ(value, 12);
  EXPECT_EQ(file.Read(value), 0);
  EXPECT_EQ(file.GetLastError(), 4);
}

TEST(ZoFileOpen, ModesAndStatesAreChecked) {
  TempFolder temp;
  ZoFile file;
  EXPECT_EQ(file.Open(ZoString((temp / "x").c_str()), 2), 0);
  EXPECT_EQ(file.GetLastError(), 2);
  EXPECT_EQ(file.Open(5, nullptr, 0), 0);
  EXPECT_EQ(file.GetLastError(), 2);
  EXPECT_EQ(file.Open(0, nullptr, 10), 0);
  EXPECT_EQ(file.GetLastError(), 1);
  EXPECT_EQ(file.Close(), 0);
  EXPECT_EQ(file.GetLastError(), 1);
  ASSERT_EQ(file.Open(1, nullptr, 0), 1);
  EXPECT_EQ(file.Open(1, nullptr, 0), 0);
  EXPECT_EQ(file.GetLastError(), 3);
  int32_t v;
  EXPECT_EQ(file.Read(v), 0);  // a writing container cannot be read
  EXPECT_EQ(file.GetLastError(), 1);
  EXPECT_EQ(file.Write(int32_t{1}), 1);  // errors do not block later operations
  EXPECT_EQ(file.GetLastError(), 0);
  EXPECT_EQ(file.Compress(), 1);
  EXPECT_EQ(file.Uncompress(), 1);
  file.Close();
  EXPECT_EQ(file.Compress() + file.Uncompress(), 0);
}

TEST(ZoFileRecords, PrimitivesAndStringsRoundTripThroughAFile) {
  TempFolder temp;
  std::string path = temp / "rec.bin";
  {
    ZoFile file;
    ASSERT_EQ(file.Open(ZoString(path.c_str()), 1), 1);
    EXPECT_EQ(file.Write(int16_t{-2}), 1);
    EXPECT_EQ(file.Write(int32_t{70000}), 1);
    EXPECT_EQ(file.Write(2.5f), 1);
    EXPECT_EQ(file.Write(ZoString()), 1);
    EXPECT_EQ(file.Write(ZoString("Hero")), 1);
    EXPECT_EQ(file.Close(), 1);
  }
  Bytes expected = ByteBuilder().append(Header("    ", 0)).i16(-2).i32(70000).f32(2.5f).i32(0).str("Hero");
  EXPECT_EQ(Hex(temp.ReadFile("rec.bin")), Hex(expected));

  ZoFile file;
  ASSERT_EQ(file.Open(ZoString(path.c_str()), 0), 1);
  int16_t s = 0;
  int32_t i = 0;
  float f = 0;
  ZoString empty("x"), hero;
  EXPECT_EQ(file.Read(s) && file.Read(i) && file.Read(f) && file.Read(empty) && file.Read(hero), 1);
  EXPECT_EQ(s, -2);
  EXPECT_EQ(i, 70000);
  EXPECT_EQ(f, 2.5f);
  EXPECT_TRUE(empty == NULL_STRING);
  EXPECT_EQ(hero, "Hero");
}

TEST(ZoFileRecords, StringsLongerThan255AreRefused) {
  for (int32_t length : {255, 256, -1, INT32_MAX}) {
    Bytes bytes = ByteBuilder().i32(length).append(Bytes(300, 'q'));
    ZoFile file;
    OpenOver(file, bytes);
    ZoString text("kept");
    int ok = file.Read(text);
    if (length == 255) {
      EXPECT_EQ(ok, 1);
      EXPECT_EQ(text.Length(), 255);
    } else {
      EXPECT_EQ(ok, 0) << length;
      EXPECT_EQ(file.GetLastError(), 4);
      EXPECT_EQ(text, "kept");
    }
  }
}

TEST(ZoFileRecords, PeekTypeThenReadTypeConsumesFourBytesOnFilesAndMemory) {
  TempFolder temp;
  Bytes body = ByteBuilder().chars("Pair").chars("Next");
  std::string path = temp.WriteFile("peek.bin", ByteBuilder().append(Header("Test", 1)).append(body));
  OpenFile onFile;
  ASSERT_EQ(onFile.Open(ZoString(path.c_str()), 0), 1);
  ZoFile onMemory;
  ASSERT_EQ(onMemory.Open(0, reinterpret_cast<char*>(body.data()), static_cast<int>(body.size())), 1);
  for (ZoFile* file : {static_cast<ZoFile*>(&onFile), &onMemory}) {
    ZoFileType peeked, read, next;
    EXPECT_EQ(file->PeekType(peeked), 1);
    EXPECT_EQ(file->ReadType(read), 1);
    EXPECT_EQ(peeked, ZoFileType("Pair"));
    EXPECT_EQ(read, peeked);
    EXPECT_EQ(file->ReadType(next), 1);
    EXPECT_EQ(next, ZoFileType("Next"));
  }
  EXPECT_EQ(onFile.GetFilePointer(), 24);
  // Only the type of an object is written by WriteTypeOf, and only for writing.
  Pair pair;
  EXPECT_EQ(onMemory.WriteTypeOf(pair), 0);
  EXPECT_EQ(onMemory.GetLastError(), 1);
  ZoFile writer;
  ASSERT_EQ(writer.Open(1, nullptr, 0), 1);
  EXPECT_EQ(writer.WriteTypeOf(pair), 1);
  EXPECT_EQ(Contents(writer), Bytes(ByteBuilder().chars("Pair")));
}

TEST(ZoFileObjects, WrongTypeIsPutBackWithErrorFiveAndArraysStopAtTheFirstFailure) {
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
  EXPECT_EQ(reader.Read(other), 0);
  EXPECT_EQ(reader.GetLastError(), 5);
  Pair back;
  EXPECT_EQ(reader.Read(back), 1);
  EXPECT_EQ(back.number, 3);
  EXPECT_EQ(back.text, "three");
  Pair x, y;
  ZoFileObject* targets[] = {&x, &y, &other};
  EXPECT_EQ(reader.Read(3, targets), 2);
  EXPECT_EQ(y.number, 2);
  EXPECT_EQ(reader.Read(0, targets), 0);
}

TEST(ZoFileObjects, WrongTypeOnAFileAcrossABufferBoundaryIsPutBackExactly) {
  TempFolder temp;
  std::string path = temp / "objects.bin";
  // Enough objects that one type straddles the 2048-byte read buffer.
  {
    ZoFile file;
    file.Open(ZoString(path.c_str()), 1);
    Pair pair;
    for (int i = 0; i < 400; ++i) {
      pair.number = i;
      pair.text = "p";
      file.Write(pair);
    }
    file.Close();
  }
  ZoFile file;
  ASSERT_EQ(file.Open(ZoString(path.c_str()), 0), 1);
  Other other;
  Pair pair;
  for (int i = 0; i < 400; ++i) {
    ASSERT_EQ(file.Read(other), 0) << i;
    ASSERT_EQ(file.GetLastError(), 5);
    ASSERT_EQ(file.Read(pair), 1) << i;
    ASSERT_EQ(pair.number, i);
  }
}

TEST(ZoFileObjects, ReadObjectUsesTheFirstRegistration) {
  ZoFile::RegisterClass(&Pair::Construct, ZoFileType("Reg1"));
  ZoFile::RegisterClass([](ZoFile&) -> ZoFileObject* { return nullptr; }, ZoFileType("Reg1"));
  Bytes bytes = ByteBuilder().chars("Reg1").i32(9).str("nine").chars("Unkn").i32(1);
  ZoFile reader;
  OpenOver(reader, bytes);
  std::unique_ptr<ZoFileObject> object(reader.ReadObject());
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(static_cast<Pair&>(*object).number, 9);
  EXPECT_EQ(reader.GetObjectType(), ZoFileType("Reg1"));
  EXPECT_EQ(reader.ReadObject(), nullptr);  // not registered; the type stays consumed
  EXPECT_EQ(reader.GetObjectType(), ZoFileType("Unkn"));
  int32_t after = 0;
  EXPECT_EQ(reader.Read(after), 1);
  EXPECT_EQ(after, 1);
}

TEST(ZoFileMemory, WritingGrowsPast2048AndReadingDeliversWhatThereIs) {
  ZoFile file;
  ASSERT_EQ(file.Open(1, nullptr, 0), 1);
  Bytes chunk(2040, 'c');
  EXPECT_EQ(file.WriteBytes(2040, chunk.data()), 2040u);
  EXPECT_EQ(file.Write(int32_t{1}) + file.Write(int32_t{2}), 2);  // 2048 exactly
  EXPECT_EQ(file.Write(int16_t{3}), 1);                            // passes 2048: the block grows
  EXPECT_EQ(Contents(file), Bytes(ByteBuilder().append(chunk).i32(1).i32(2).i16(3)));
  // A memory position may go up to the largest 32-bit offset, not past it.
  OpenFile memory;
  ASSERT_EQ(memory.Open(1, nullptr, 0), 1);
  EXPECT_EQ(memory.SetFilePointer(0xFFFFFFFF, 0), 0xFFFFFFFF);
  EXPECT_EQ(memory.SetFilePointer(0x100000000, 0), -1);
  memory.SetFilePointer(0, 0);

  Bytes bytes = ByteBuilder().i32(1).i16(2);
  OpenOver(file, bytes);
  char out[8] = {};
  EXPECT_EQ(file.ReadBytes(8, out), 6u);
  EXPECT_EQ(file.GetLastError(), 4);
  EXPECT_EQ(file.ReadBytes(0, out), 0u);
  EXPECT_EQ(file.GetLastError(), 0);
}

TEST(ZoFileClose, ClosingAWrittenFileTruncatesAtThePosition) {
  TempFolder temp;
  std::string path = temp.WriteFile("trunc.bin", Bytes(100, 'z'));
  OpenFile file;
  ASSERT_EQ(file.Open(ZoString(path.c_str()), 1), 1);
  file.Write(int32_t{1});
  file.Write(int32_t{2});
  file.SetFilePointer(16, 0);  // rewrite the first record and stop there
  file.Write(int32_t{9});
  ASSERT_EQ(file.Close(), 1);
  EXPECT_EQ(temp.ReadFile("trunc.bin").size(), 20u);
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
}  // namespace

TEST(ZoFileProgressStack, PushPopClearAndTheCallback) {
  ZoFileProgress::SetProgress(ZoFileProgress::kClear, ZoString());
  gCallbacks = 0;
  ZoFileProgress::SetProgressCB(&CountProgress);
  ZoFileProgress::SetProgress(0, ZoString("a"));
  ZoFileProgress::SetProgress(1, ZoString("b"));
  int code = -1;
  ZoString text;
  ZoFileProgress::GetProgress(code, text);
  EXPECT_EQ(code, 1);
  EXPECT_EQ(text, "b");
  ZoFileProgress::SetProgress(2, ZoString("ignored"));
  ZoFileProgress::GetProgress(code, text);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(text, "a");
  ZoFileProgress::SetProgress(3, ZoString());
  ZoFileProgress::GetProgress(code, text);
  EXPECT_EQ(code, 2);
  EXPECT_TRUE(text == NULL_STRING);
  EXPECT_EQ(gCallbacks, 4);
  EXPECT_EQ(gCodeSeen, 2);
  ZoFileProgress::SetProgress(2, ZoString());  // popping an empty stack is harmless
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
