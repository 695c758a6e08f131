// The stream core: primitives, strings, object framing, the registry and the
// memory stream, checked against byte strings built by hand.
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;

namespace {

using zotest::Reader;
using zotest::Written;

// A sized object with a four-byte body, standing for an integer value.
class SizedInt : public ZoStreamSizedObject {
 public:
  static int32_t type;
  int32_t value = 0;
  mutable std::string calls;

  int32_t StreamType() const override { calls += "T"; return type; }
  int32_t StreamSize() const override { calls += "S"; return 4; }
  ZoStreamError ReadFromStream(ZoStream& s) override { return (s >> value).Status(); }
  ZoStreamError WriteToStream(ZoStream& s) const override { return (s << value).Status(); }
  static ZoStreamObject* Create() { return new SizedInt; }
};
int32_t SizedInt::type = ZoTypeCode::IntValue;

// An unsized object holding a name and one framed child, standing for a property.
class Named : public ZoStreamObject {
 public:
  ZoString name;
  std::unique_ptr<ZoStreamObject> child;

  int32_t StreamType() const override { return ZoTypeCode::Property; }
  ZoStreamError ReadFromStream(ZoStream& s) override {
    s >> name;
    child.reset(s.ReadObject(nullptr));
    return s.Status();
  }
  ZoStreamError WriteToStream(ZoStream& s) const override {
    s << name;
    return s.WriteObject(child.get());
  }
  static ZoStreamObject* Create() { return new Named; }
};

// A sized object that declares 0 although its body is not empty, and
// records the current type and size seen while it is read.
class DeclaresZero : public ZoStreamSizedObject {
 public:
  int32_t payload = 0;
  int32_t seenType = 0;
  int32_t seenSize = -1;
  int32_t StreamType() const override { return ZoTypeCode::ListValue; }
  int32_t StreamSize() const override { return 0; }
  ZoStreamError ReadFromStream(ZoStream& s) override {
    seenType = s.currentType;
    seenSize = s.currentSize;
    return (s >> payload).Status();
  }
  ZoStreamError WriteToStream(ZoStream& s) const override { return (s << payload).Status(); }
  static ZoStreamObject* Create() { return new DeclaresZero; }
};

// Registers a creation function for the test's lifetime and restores the
// one registered before.
class ScopedRegistration {
 public:
  ScopedRegistration(int32_t code, ZoStreamCreateFunction create)
      : type(code), previous(ZoStreamConstructorEntry::Find(code)) {
    ZoStreamConstructorEntry(type, create);
  }
  ~ScopedRegistration() { ZoStreamConstructorEntry(type, previous); }

 private:
  int32_t type;
  ZoStreamCreateFunction previous;
};

Bytes const kFramedSeven = ByteBuilder().i32(-1).raw({0x74, 0x6E, 0x49, 0x56}).i32(4).i32(7);

}  // namespace

// --- Primitives -------------------------------------------------------------

TEST(ZoStreamPrimitives, EveryWidthIsLittleEndianAndReadsBack) {
  ZoMemoryStream stream;
  stream << 'A' << true << int16_t{-2} << int32_t{0x01020304} << uint32_t{0xA0B0C0D0u} << 1.0f << -2.0;
  EXPECT_EQ(Hex(Written(stream)),
            Hex(ByteBuilder().u8('A').u8(1).i16(-2).i32(0x01020304).u32(0xA0B0C0D0u).f32(1.0f).f64(-2.0)));
  Reader reader(ByteBuilder().u8('z').u8(7).i16(-300).i32(-5).u32(4000000000u).f32(0.25f).f64(1e300));
  char c = 0;
  bool b = false;
  int16_t s = 0;
  int32_t i = 0;
  uint32_t u = 0;
  float f = 0;
  double d = 0;
  *reader >> c >> b >> s >> i >> u >> f >> d;
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(std::make_tuple(c, b, s, i, u, f, d),
            std::make_tuple('z', true, int16_t{-300}, -5, 4000000000u, 0.25f, 1e300));  // any byte but 0 is true
}

TEST(ZoStreamPrimitives, ReadPastTheEndLeavesVariableAndFailsUntilAReadSucceeds) {
  Bytes bytes = ByteBuilder().i16(9).i32(11);
  ZoMemoryStream stream(bytes.data(), static_cast<int32_t>(bytes.size()));
  int32_t value = 42;
  stream >> value;  // 4 of the 6 bytes
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  double wide = 3.5;
  stream >> wide;  // 2 bytes left, 8 wanted
  EXPECT_EQ(stream.Status(), ZoStreamReadError);
  EXPECT_EQ(wide, 3.5);
  EXPECT_EQ(stream.GetPosition(), 4u);
  int16_t last = 0;
  stream >> last;  // a successful read clears the error
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  EXPECT_EQ(last, 0);
}

TEST(ZoStreamPrimitives, WriteAfterFailedReadIsRefusedWithTheReadError) {
  ZoMemoryStream stream;
  stream << int32_t{1};
  stream.Seek(-4);
  double d = 0;
  stream >> d;  // reads into the unwritten part: allowed up to the capacity
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  stream.Seek(-8);
  char scratch[4096];
  EXPECT_EQ(stream.ReadBytes(sizeof scratch, scratch), ZoStreamReadError);
  uint32_t before = stream.GetPosition();
  EXPECT_EQ((stream << int32_t{5}).Status(), ZoStreamReadError);
  EXPECT_EQ(stream.GetPosition(), before);
  stream.SetStatus(ZoStreamOk);
  EXPECT_EQ((stream << int32_t{5}).Status(), ZoStreamOk);
}

TEST(ZoStreamPrimitives, SizeOfMatchesTheWriters) {
  EXPECT_EQ(ZoStream::SizeOf('a'), 1);
  EXPECT_EQ(ZoStream::SizeOf(true), 1);
  EXPECT_EQ(ZoStream::SizeOf(int16_t{1}), 2);
  EXPECT_EQ(ZoStream::SizeOf(int32_t{1}), 4);
  EXPECT_EQ(ZoStream::SizeOf(uint32_t{1}), 4);
  EXPECT_EQ(ZoStream::SizeOf(1.0f), 4);
  EXPECT_EQ(ZoStream::SizeOf(1.0), 8);
  ZoString text("Walk");
  ZoMemoryStream stream;
  stream << text;
  EXPECT_EQ(ZoStream::SizeOf(text), static_cast<int32_t>(Written(stream).size()));
  SizedInt object;
  EXPECT_EQ(ZoStream::SizeOf(object), 4);
}

// --- Strings ----------------------------------------------------------------

TEST(ZoStreamStrings, EmptyStringIsFourZeroBytesAndReadsAsNull) {
  ZoMemoryStream stream;
  stream << ZoString();
  Bytes bytes = Written(stream);
  EXPECT_EQ(Hex(bytes), "00 00 00 00");
  ZoMemoryStream reader(bytes.data(), 4);
  ZoString text("old");
  reader >> text;
  EXPECT_EQ(reader.Status(), ZoStreamOk);
  EXPECT_TRUE(text == NULL_STRING);
  EXPECT_EQ(text.Ref(), ZoString().Ref());
}

TEST(ZoStreamStrings, LengthLimitIs512OnReadingOnly) {
  for (int length : {1, 511, 512, 513}) {
    SCOPED_TRACE(length);
    std::string text(static_cast<size_t>(length), 'x');
    ZoMemoryStream stream;
    stream << ZoString(text.c_str());
    Bytes bytes = Written(stream);
    ASSERT_EQ(bytes.size(), static_cast<size_t>(length) + 4);  // written whatever the length
    ZoMemoryStream reader(bytes.data(), static_cast<int32_t>(bytes.size()));
    ZoString back("unchanged");
    reader >> back;
    if (length <= 512) {
      EXPECT_EQ(reader.Status(), ZoStreamOk);
      EXPECT_EQ(std::string(back.c_str()), text);
    } else {
      EXPECT_EQ(reader.Status(), ZoStreamFormatError);
      EXPECT_EQ(back, "unchanged");
      EXPECT_EQ(reader.GetPosition(), 4u);  // the characters stay unread
    }
  }
}

// A huge or negative length fails without reading or allocating; a length
// past the end fails as a read error. Either way the string is unchanged.
TEST(ZoStreamStrings, BadLengthsFailAndLeaveTheStringUnchanged) {
  for (auto [length, error] : {std::pair{INT32_MAX, ZoStreamFormatError}, std::pair{-1, ZoStreamFormatError},
                               std::pair{INT32_MIN, ZoStreamFormatError}, std::pair{10, ZoStreamReadError}}) {
    Reader reader(ByteBuilder().i32(length).chars("abc"));
    ZoString back("kept");
    *reader >> back;
    EXPECT_EQ(reader->Status(), error) << length;
    EXPECT_EQ(back, "kept");
  }
}

TEST(ZoStreamStrings, FailedLengthWriteWritesNoCharacters) {
  char storage[6];
  ZoMemoryStream stream(storage, 6);
  stream << int32_t{1};
  stream << ZoString("abc");  // the length does not fit
  EXPECT_EQ(stream.Status(), ZoStreamWriteError);
  EXPECT_EQ(stream.GetPosition(), 4u);
}

// --- Framing ----------------------------------------------------------------

TEST(ZoStreamFraming, NullObjectIsMinusTwo) {
  ZoMemoryStream stream;
  EXPECT_EQ(stream.WriteObject(nullptr), ZoStreamOk);
  Bytes bytes = Written(stream);
  EXPECT_EQ(Hex(bytes), "FE FF FF FF");
  Reader reader(bytes);
  EXPECT_EQ(reader->ReadObject(nullptr), nullptr);
  EXPECT_EQ(reader->Status(), ZoStreamOk);
}

TEST(ZoStreamFraming, SizedObjectFrameAsksSizeBeforeTypeAndRestoresCurrentType) {
  ScopedRegistration reg(ZoTypeCode::IntValue, &SizedInt::Create);
  SizedInt seven;
  seven.value = 7;
  ZoMemoryStream stream;
  stream.currentType = 0;
  EXPECT_EQ(stream.WriteObject(&seven), ZoStreamOk);
  EXPECT_EQ(seven.calls, "TST");  // WriteObject's StreamType, then size first, type second
  EXPECT_EQ(stream.currentType, 0);
  EXPECT_EQ(Hex(Written(stream)), Hex(kFramedSeven));
  Reader reader(kFramedSeven);
  std::unique_ptr<ZoStreamObject> back(reader->ReadObject(nullptr));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(dynamic_cast<SizedInt&>(*back).value, 7);
}

TEST(ZoStreamFraming, UnsizedObjectWithNestedSizedChild) {
  ScopedRegistration value(ZoTypeCode::IntValue, &SizedInt::Create);
  ScopedRegistration property(ZoTypeCode::Property, &Named::Create);
  Named a;
  a.name = "a";
  auto* seven = new SizedInt;
  seven->value = 7;
  a.child.reset(seven);
  ZoMemoryStream stream;
  stream.WriteObject(&a);
  Bytes bytes = Written(stream);
  EXPECT_EQ(Hex(bytes), Hex(ByteBuilder().raw({0x70, 0x6F, 0x72, 0x50}).i32(1).chars("a").append(kFramedSeven)));
  Reader reader(bytes);
  std::unique_ptr<Named> back(reader->ReadObjectAs<Named>());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(back->name, "a");
  ASSERT_NE(back->child, nullptr);
  EXPECT_EQ(dynamic_cast<SizedInt&>(*back->child).value, 7);
}

TEST(ZoStreamFraming, CurrentTypeAndSizeAreSetWhileReadingAndRestoredAfter) {
  ScopedRegistration reg(ZoTypeCode::ListValue, &DeclaresZero::Create);
  Reader reader(ByteBuilder().i32(-1).i32(ZoTypeCode::ListValue).i32(12).i32(5));
  reader->currentType = 77;
  reader->currentSize = 88;
  std::unique_ptr<ZoStreamObject> back(reader->ReadObject(nullptr));
  auto& object = dynamic_cast<DeclaresZero&>(*back);
  EXPECT_EQ(object.seenType, ZoTypeCode::ListValue);
  EXPECT_EQ(object.seenSize, 12);
  EXPECT_EQ(object.payload, 5);
  EXPECT_EQ(reader->currentType, 77);
  EXPECT_EQ(reader->currentSize, 88);
}

TEST(ZoStreamFraming, UnknownSizedFrameIsSkippedUnlessItDeclaresZero) {
  ScopedRegistration value(ZoTypeCode::IntValue, &SizedInt::Create);
  Reader reader(ByteBuilder().i32(-1).i32(0x12345678).i32(6).raw({1, 2, 3, 4, 5, 6}).append(kFramedSeven));
  EXPECT_EQ(reader->ReadObject(nullptr), nullptr);
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  std::unique_ptr<ZoStreamObject> next(reader->ReadObject(nullptr));
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(dynamic_cast<SizedInt&>(*next).value, 7);

  // A list value declares 0 although its body is not empty: it cannot be skipped.
  ScopedRegistration none(ZoTypeCode::ListValue, nullptr);
  DeclaresZero list;
  list.payload = 0x0BADF00D;
  ZoMemoryStream stream;
  stream.WriteObject(&list);
  Bytes bytes = Written(stream);
  EXPECT_EQ(Hex(bytes), Hex(ByteBuilder().i32(-1).i32(ZoTypeCode::ListValue).i32(0).i32(0x0BADF00D)));
  Reader unskipped(bytes);
  EXPECT_EQ(unskipped->ReadObject(nullptr), nullptr);
  EXPECT_EQ(unskipped.Consumed(), 12u);  // the body is still there
}

TEST(ZoStreamFraming, FallbackCreatesObjectsForUnknownSizedFramesOnly) {
  Reader sized(ByteBuilder().i32(-1).i32(0x51515151).i32(4).i32(99));
  std::unique_ptr<ZoStreamObject> kept(sized->ReadObject(&SizedInt::Create));
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(dynamic_cast<SizedInt&>(*kept).value, 99);
  Reader unsized(ByteBuilder().i32(0x51515151).i32(99));
  EXPECT_EQ(unsized->ReadObject(&SizedInt::Create), nullptr);
  EXPECT_EQ(unsized->Status(), ZoStreamOk);
  EXPECT_EQ(unsized.Consumed(), 4u);  // the unknown body stays in the stream
}

// A frame cut anywhere gives no object and a read error; a frame whose body
// fails still gives its object.
TEST(ZoStreamFraming, TruncatedFramesFailWithReadError) {
  ScopedRegistration value(ZoTypeCode::IntValue, &SizedInt::Create);
  for (size_t cut = 0; cut < kFramedSeven.size(); ++cut) {
    Reader reader(Bytes(kFramedSeven.begin(), kFramedSeven.begin() + static_cast<ptrdiff_t>(cut)));
    std::unique_ptr<ZoStreamObject> back(reader->ReadObject(nullptr));
    EXPECT_EQ(back != nullptr, cut >= 12) << cut;
    EXPECT_EQ(reader->Status(), ZoStreamReadError) << cut;
  }
}

TEST(ZoStreamFraming, ReadObjectAsRefusesAnotherClassAndANullCreationKeepsTheStatus) {
  ScopedRegistration value(ZoTypeCode::IntValue, &SizedInt::Create);
  Reader reader(kFramedSeven);
  EXPECT_EQ(reader->ReadObjectAs<Named>(), nullptr);
  EXPECT_EQ(reader->Status(), ZoStreamFormatError);
  ScopedRegistration failing(ZoTypeCode::Color, [] { return static_cast<ZoStreamObject*>(nullptr); });
  Reader nothing(ByteBuilder().i32(-1).i32(ZoTypeCode::Color).i32(0));
  EXPECT_EQ(nothing->ReadObject(nullptr), nullptr);
  EXPECT_EQ(nothing->Status(), ZoStreamOk);
}

TEST(ZoStreamFraming, ObjectOperatorsStoreTheObjectsResult) {
  SizedInt value;
  Reader reader(ByteBuilder().i16(1));
  reader->SetStatus(ZoStreamSeekError);
  *reader >> value;  // the body read fails; its result replaces the old status
  EXPECT_EQ(reader->Status(), ZoStreamReadError);
  ZoMemoryStream writer;
  writer.SetStatus(ZoStreamSeekError);
  writer << value;
  EXPECT_EQ(writer.Status(), ZoStreamSeekError);  // the refused write reports the standing error
}

TEST(ZoStreamRegistry, SecondRegistrationWinsAndNullRemoves) {
  constexpr int32_t code = 0x54455354;  // a code of the test's own
  ScopedRegistration first(code, &SizedInt::Create);
  EXPECT_EQ(ZoStreamConstructorEntry::Find(code), &SizedInt::Create);
  ZoStreamConstructorEntry second(code, &Named::Create);
  std::unique_ptr<ZoStreamObject> made(ZoStream::CreateObject(code));
  EXPECT_NE(dynamic_cast<Named*>(made.get()), nullptr);
  ZoStreamConstructorEntry removed(code, nullptr);
  EXPECT_EQ(ZoStream::CreateObject(code), nullptr);
}

// --- Memory stream ----------------------------------------------------------

TEST(ZoMemoryStreamGrowth, DoublesThenJumpsToWhatIsNeededAndAHandedOutBufferStaysValid) {
  ZoMemoryStream stream;
  EXPECT_EQ(stream.GetCapacity(), 2048u);
  stream << int32_t{123};
  int32_t length = 0;
  char* handed = stream.GetBuffer(length);  // now the caller's
  std::vector<char> block(2044, 'm');
  stream.WriteBytes(2044, block.data());
  EXPECT_EQ(stream.GetCapacity(), 2048u);
  stream << 'x';  // outgrows it: the stream must not free the handed-out buffer
  EXPECT_EQ(stream.GetCapacity(), 4096u);
  EXPECT_EQ(handed[0], 123);
  ::operator delete(handed);
  Bytes all = Written(stream);
  ASSERT_EQ(all.size(), 2049u);
  EXPECT_EQ(all[0], 123);
  EXPECT_EQ(all[4], 'm');

  ZoMemoryStream fresh;
  std::vector<char> big(10000, 'b');
  fresh.WriteBytes(10000, big.data());
  EXPECT_EQ(fresh.GetCapacity(), 10000u);
  EXPECT_EQ(Written(fresh), Bytes(10000, 'b'));
}

TEST(ZoMemoryStreamGrowth, FixedBufferFullRefusesWritesUntilReset) {
  char storage[8];
  ZoMemoryStream stream(storage, 8);
  EXPECT_FALSE(stream.IsGrowable());
  stream << int32_t{1} << int32_t{2};
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  stream << 'x';
  EXPECT_EQ(stream.Status(), ZoStreamWriteError);
  stream.Seek(-8);
  stream << 'y';
  EXPECT_EQ(stream.Status(), ZoStreamWriteError);  // still refused after moving back
  stream.SetStatus(ZoStreamOk);
  stream << 'y';
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  EXPECT_EQ(storage[0], 'y');
}

TEST(ZoMemoryStreamSeek, BoundsAreTheCapacityExclusiveAndBytesLeftFollows) {
  char storage[8] = {};
  ZoMemoryStream stream(storage, 8);
  EXPECT_EQ(stream.Seek(8), ZoStreamSeekError);
  EXPECT_EQ(stream.GetPosition(), 0u);
  stream.SetStatus(ZoStreamOk);
  EXPECT_EQ(stream.Seek(7), ZoStreamOk);
  EXPECT_EQ(stream.BytesLeft(), 1);
  EXPECT_EQ(stream.Seek(-7), ZoStreamOk);
  EXPECT_EQ(stream.Seek(-1), ZoStreamSeekError);
  EXPECT_EQ(stream.GetPosition(), 0u);
  EXPECT_EQ(stream.Seek(3), ZoStreamSeekError);  // a successful seek does not clear the error
  EXPECT_EQ(stream.GetPosition(), 3u);
  int16_t v;
  stream.SetStatus(ZoStreamOk);
  stream >> v;
  EXPECT_EQ(stream.BytesLeft(), 3);
}

// --- Untrusted counts and nesting ---------------------------------------------

class ZoStreamLimits : public ::testing::Test {
 protected:
  void TearDown() override { ZoReadLimits::Reset(); }
};

TEST_F(ZoStreamLimits, CheckedCountRefusesWhatTheStreamCannotDeliver) {
  Bytes bytes = ByteBuilder().i32(INT32_MAX).i32(1).i32(2);
  Reader reader(bytes);
  int32_t count = -5;
  EXPECT_FALSE(reader->ReadCount(count, 4));
  EXPECT_EQ(reader->Status(), ZoStreamReadError);
  EXPECT_EQ(count, -5);  // left as it was
  Reader exact(bytes);
  exact->Seek(4);
  EXPECT_TRUE(exact->CheckCount(2, 4));  // exactly the 8 bytes left
  EXPECT_FALSE(exact->CheckCount(3, 4));
  EXPECT_EQ(exact->Status(), ZoStreamReadError);
  // Counts near the top do not overflow.
  ZoReadLimits::SetMaxAllocation(UINT64_MAX);
  Reader top(bytes);
  EXPECT_FALSE(top->CheckCount(INT64_MAX, UINT32_MAX));
  EXPECT_EQ(top->Status(), ZoStreamReadError);
}

TEST_F(ZoStreamLimits, NegativeCountsAndErrorsAlreadyStandingAreRefused) {
  char storage[64] = {};
  ZoMemoryStream reader(storage, 64);
  EXPECT_FALSE(reader.CheckCount(-1, 4));
  EXPECT_EQ(reader.Status(), ZoStreamFormatError);
  EXPECT_FALSE(reader.CheckCount(0, 4));  // the error stands
  reader.SetStatus(ZoStreamOk);
  EXPECT_TRUE(reader.CheckCount(0, 4));
  // Loop counts read a negative count as zero and check the rest.
  Reader loop(ByteBuilder().i32(-7).i32(3).i32(1).i32(2));
  int32_t count = 99;
  EXPECT_TRUE(loop->ReadLoopCount(count, 4));
  EXPECT_EQ(count, 0);
  EXPECT_FALSE(loop->ReadLoopCount(count, 4));  // 3 elements, room for 2
  EXPECT_EQ(loop->Status(), ZoStreamReadError);
  EXPECT_EQ(count, 0);
}

TEST_F(ZoStreamLimits, AllocationCapAcceptsTheCapAndRefusesOnePast) {
  ZoReadLimits::SetMaxAllocation(1000);
  std::vector<char> storage(4096);
  ZoMemoryStream reader(storage.data(), 4096);
  EXPECT_TRUE(reader.CheckCount(250, 4));
  EXPECT_FALSE(reader.CheckCount(251, 4));
  EXPECT_EQ(reader.Status(), ZoStreamFormatError);
  reader.SetStatus(ZoStreamOk);
  // The in-memory size counts when it is larger than the encoded one.
  EXPECT_TRUE(reader.CheckCount(10, 4, 100));
  EXPECT_FALSE(reader.CheckCount(11, 4, 100));
}

TEST_F(ZoStreamLimits, NestingDeeperThanTheCapIsRefused) {
  ScopedRegistration value(ZoTypeCode::IntValue, &SizedInt::Create);
  ScopedRegistration property(ZoTypeCode::Property, &Named::Create);
  // Ten properties, each holding the next, the last holding an int: 11 framed levels.
  ByteBuilder b;
  for (int i = 0; i < 10; ++i) b.i32(ZoTypeCode::Property).i32(0);
  Bytes bytes = b.append(kFramedSeven);
  for (auto [depth, status] : {std::pair{11, ZoStreamOk}, std::pair{10, ZoStreamFormatError}}) {
    ZoReadLimits::SetMaxDepth(depth);
    Reader reader(bytes);
    std::unique_ptr<ZoStreamObject> root(reader->ReadObject(nullptr));
    EXPECT_EQ(reader->Status(), status) << depth;
    EXPECT_EQ(reader->Depth(), 0);
  }
  // Deep nesting from a file does not exhaust the stack.
  ZoReadLimits::Reset();
  ByteBuilder deep;
  for (int i = 0; i < 200000; ++i) deep.i32(ZoTypeCode::Property).i32(0);
  Reader reader(deep);
  std::unique_ptr<ZoStreamObject> root(reader->ReadObject(nullptr));
  EXPECT_EQ(reader->Status(), ZoStreamFormatError);
}

TEST_F(ZoStreamLimits, NestingGuardCountsLevelsOfBareBodies) {
  ZoReadLimits::SetMaxDepth(2);
  char storage[4];
  ZoMemoryStream stream(storage, 4);
  {
    ZoStreamNesting one(stream);
    ZoStreamNesting two(stream);
    EXPECT_TRUE(two.Entered());
    EXPECT_EQ(stream.Depth(), 2);
    ZoStreamNesting three(stream);
    EXPECT_FALSE(three.Entered());
    EXPECT_EQ(stream.Status(), ZoStreamFormatError);
  }
  EXPECT_EQ(stream.Depth(), 0);
}
