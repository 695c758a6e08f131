// The stream core: primitives, strings, object framing, the registry and the
// memory stream, checked against byte strings built by hand; and why a read
// failed, for every reader of this layer.
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "support/ZoTestObjects.h"


#include <functional>
#include <string>
#include <tuple>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::ExpectFailure;
using zotest::Hex;

namespace {

using zotest::Reader;
using zotest::Written;

// A sized object with a four-byte body, standing for an integer value; it
// records the calls made to it, and the current type and size seen while it
// is read.
class SizedInt : public ZoStreamSizedObject {
 public:
  int32_t value = 0;
  mutable std::string calls;
  int32_t seenType = 0;
  int32_t seenSize = -1;

  int32_t StreamType() const override { calls += "T"; return ZoTypeCode::IntValue; }
  int32_t StreamSize() const override { calls += "S"; return 4; }
  ZoStreamError ReadFromStream(ZoStream& s) override {
    seenType = s.currentType;
    seenSize = s.currentSize;
    return (s >> value).Status();
  }
  ZoStreamError WriteToStream(ZoStream& s) const override { return (s << value).Status(); }
  static ZoStreamObject* Create() { return new SizedInt; }
};

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

// The value of a framed object read back that must be a SizedInt.
int32_t ValueOf(std::unique_ptr<ZoStreamObject> const& object) {
  auto* sized = dynamic_cast<SizedInt*>(object.get());
  EXPECT_NE(sized, nullptr);
  return sized != nullptr ? sized->value : -1;
}

// Registers the two classes above for each test and restores the read
// limits after it.
class ZoStreamTest : public ::testing::Test {
 protected:
  void TearDown() override { ZoReadLimits::Reset(); }

  ScopedRegistration intValue{ZoTypeCode::IntValue, &SizedInt::Create};
  ScopedRegistration namedProperty{ZoTypeCode::Property, &Named::Create};
};

}  // namespace

// --- Primitives and strings -------------------------------------------------

TEST_F(ZoStreamTest, PrimitivesOfEveryWidthAreLittleEndianAndReadBack) {
  ZoMemoryStream stream;
  stream << 'A' << true << int16_t{-2} << int32_t{0x01020304} << uint32_t{0xA0B0C0D0u} << 1.0f << -2.0;
  EXPECT_EQ(Hex(Written(stream)),
            Hex(ByteBuilder().u8('A').u8(1).i16(-2).i32(0x01020304).u32(0xA0B0C0D0u).f32(1.0f).f64(-2.0)));
  Reader reader(ByteBuilder().u8('z').u8(7).i16(-300).i32(-5).u32(4000000000u).f32(0.25f).f64(1e300));
  std::tuple<char, bool, int16_t, int32_t, uint32_t, float, double> got;
  std::apply([&reader](auto&... field) { (*reader >> ... >> field); }, got);
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(got, std::make_tuple('z', true, int16_t{-300}, -5, 4000000000u, 0.25f, 1e300));  // any byte but 0 is true
  EXPECT_EQ(ZoStream::SizeOf(int16_t{1}) + ZoStream::SizeOf(1.0) + ZoStream::SizeOf(ZoString("Walk")), 18);
}

TEST_F(ZoStreamTest, ReadPastTheEndLeavesVariableAndFailsUntilAReadSucceeds) {
  Bytes bytes = ByteBuilder().i16(9).i32(11);
  ZoMemoryStream stream(bytes.data(), static_cast<int32_t>(bytes.size()));
  int32_t value = 42;
  stream >> value;  // 4 of the 6 bytes
  double wide = 3.5;
  stream >> wide;  // 2 bytes left, 8 wanted
  EXPECT_EQ(std::make_tuple(stream.Status(), wide, stream.GetPosition()), std::make_tuple(ZoStreamReadError, 3.5, 4u));
  int16_t last = 0;
  stream >> last;  // a successful read clears the error
  EXPECT_EQ(std::make_pair(stream.Status(), last), std::make_pair(ZoStreamOk, int16_t{0}));

  // A growable stream reads into its unwritten part up to the capacity; a
  // read past it refuses later writes with the read error.
  ZoMemoryStream grown;
  grown << int32_t{1};
  grown.Seek(-4);
  char scratch[4096];
  std::vector<ZoStreamError> const statuses{(grown >> wide).Status(), grown.Seek(-8),
                                            grown.ReadBytes(sizeof scratch, scratch)};
  EXPECT_EQ(statuses, std::vector<ZoStreamError>({ZoStreamOk, ZoStreamOk, ZoStreamReadError}));
  uint32_t before = grown.GetPosition();
  EXPECT_EQ((std::pair<ZoStreamError, uint32_t>{(grown << int32_t{5}).Status(), grown.GetPosition()}),
            std::make_pair(ZoStreamReadError, before));
  grown.SetStatus(ZoStreamOk);
  EXPECT_EQ((grown << int32_t{5}).Status(), ZoStreamOk);
}

// Strings are written whatever their length and read back up to 512
// characters; the empty string is four zero bytes and reads as the null string.
TEST_F(ZoStreamTest, StringLengthLimitIs512OnReadingOnly) {
  for (int length : {0, 512, 513}) {
    SCOPED_TRACE(length);
    std::string text(static_cast<size_t>(length), 'x');
    ZoMemoryStream stream;
    stream << ZoString(text.c_str());
    Bytes bytes = Written(stream);
    ASSERT_EQ(Hex(bytes), Hex(ByteBuilder().i32(length).chars(text.c_str())));
    Reader reader(bytes);
    ZoString back("unchanged");
    *reader >> back;
    if (length == 0) {
      EXPECT_EQ(back.Ref(), ZoString().Ref());
    } else if (length <= 512) {
      EXPECT_EQ(std::string(back.c_str()), text);
    } else {
      EXPECT_EQ(reader->Status(), ZoStreamFormatError);
      EXPECT_EQ(back, "unchanged");
      EXPECT_EQ(reader.Consumed(), 4u);  // the characters stay unread
    }
  }
  char storage[6];
  ZoMemoryStream tight(storage, 6);
  tight << int32_t{1} << ZoString("abc");  // the length does not fit: no characters either
  EXPECT_EQ(std::make_pair(tight.Status(), tight.GetPosition()), std::make_pair(ZoStreamWriteError, 4u));
}

// --- Framing ----------------------------------------------------------------

TEST_F(ZoStreamTest, NullSizedAndUnsizedFrames) {
  EXPECT_EQ(Hex(zotest::Framed(nullptr)), "FE FF FF FF");

  SizedInt seven;
  seven.value = 7;
  ZoMemoryStream stream;
  // WriteObject's StreamType, then size first, type second.
  EXPECT_EQ((std::tuple<ZoStreamError, std::string, int32_t>{stream.WriteObject(&seven), seven.calls, stream.currentType}),
            std::make_tuple(ZoStreamOk, std::string("TST"), 0));
  EXPECT_EQ(Hex(Written(stream)), Hex(kFramedSeven));

  Named a;
  a.name = "a";
  a.child.reset(new SizedInt(seven));
  Bytes bytes = zotest::Framed(&a);
  EXPECT_EQ(Hex(bytes), Hex(ByteBuilder().raw({0x70, 0x6F, 0x72, 0x50}).i32(1).chars("a").append(kFramedSeven)));
  // The current type and size are set while an object is read and restored after.
  Reader reader(ByteBuilder().i32(-2).append(bytes));
  reader->currentType = 77;
  reader->currentSize = 88;
  EXPECT_EQ(reader->ReadObject(nullptr), nullptr);
  std::unique_ptr<Named> back(reader->ReadObjectAs<Named>());
  ASSERT_NE(back, nullptr);
  auto* child = dynamic_cast<SizedInt*>(back->child.get());
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(std::make_tuple(reader->Status(), std::string(back->name.c_str()), child->value, child->seenType, child->seenSize,
                            reader->currentType, reader->currentSize),
            std::make_tuple(ZoStreamOk, std::string("a"), 7, ZoTypeCode::IntValue, 4, 77, 88));
}

// Skipping a sized frame of an unknown class is driven by the values tests.
TEST_F(ZoStreamTest, UnknownFramesAreSkippedWhenSizedAndLeftWhenNot) {
  Reader reader(ByteBuilder().i32(-1).i32(0x12345678).i32(6).raw({1, 2, 3, 4, 5, 6}).append(kFramedSeven));
  EXPECT_EQ(reader->ReadObject(nullptr), nullptr);
  EXPECT_FALSE(reader->HasFailure());  // a skipped frame is no failure

  // A list value declares 0 although its body is not empty: it cannot be skipped.
  ScopedRegistration none(ZoTypeCode::ListValue, nullptr);
  Reader unskipped(ByteBuilder().i32(-1).i32(ZoTypeCode::ListValue).i32(0).i32(0x0BADF00D));
  EXPECT_EQ(unskipped->ReadObject(nullptr), nullptr);
  EXPECT_EQ(unskipped.Consumed(), 12u);  // the body is still there

  // A fallback creates objects for unknown sized frames only.
  Reader sized(ByteBuilder().i32(-1).i32(0x51515151).i32(4).i32(99));
  EXPECT_EQ(ValueOf(std::unique_ptr<ZoStreamObject>(sized->ReadObject(&SizedInt::Create))), 99);
  Reader unsized(ByteBuilder().i32(0x51515151).i32(99));
  EXPECT_EQ(unsized->ReadObject(&SizedInt::Create), nullptr);
  EXPECT_EQ(std::make_pair(unsized->Status(), unsized.Consumed()), std::make_pair(ZoStreamOk, 4u));  // the body stays

  // A creation function that gives nothing keeps the status.
  ScopedRegistration failing(ZoTypeCode::Color, [] { return static_cast<ZoStreamObject*>(nullptr); });
  Reader nothing(ByteBuilder().i32(-1).i32(ZoTypeCode::Color).i32(0));
  EXPECT_EQ(nothing->ReadObject(nullptr), nullptr);
  EXPECT_EQ(nothing->Status(), ZoStreamOk);
}

// A frame cut anywhere gives no object and a read error; a frame whose body
// fails still gives its object. The object operators store its result.
TEST_F(ZoStreamTest, TruncatedFramesFailWithReadErrorAndOperatorsStoreTheResult) {
  for (size_t cut = 0; cut < kFramedSeven.size(); ++cut) {
    Reader reader(Bytes(kFramedSeven.begin(), kFramedSeven.begin() + static_cast<ptrdiff_t>(cut)));
    std::unique_ptr<ZoStreamObject> back(reader->ReadObject(nullptr));
    EXPECT_EQ(back != nullptr, cut >= 12) << cut;
    EXPECT_EQ(reader->Status(), ZoStreamReadError) << cut;
  }
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

// --- Memory stream ----------------------------------------------------------

TEST_F(ZoStreamTest, MemoryStreamDoublesThenJumpsToWhatIsNeededAndAHandedOutBufferStaysValid) {
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
  EXPECT_EQ(all[4], 'm');

  ZoMemoryStream fresh;
  std::vector<char> big(10000, 'b');
  fresh.WriteBytes(10000, big.data());
  EXPECT_EQ(fresh.GetCapacity(), 10000u);
  EXPECT_EQ(Written(fresh), Bytes(10000, 'b'));
}

TEST_F(ZoStreamTest, FixedBufferFullRefusesWritesUntilReset) {
  char storage[8];
  ZoMemoryStream stream(storage, 8);
  EXPECT_FALSE(stream.IsGrowable());
  stream << int32_t{1} << int32_t{2} << 'x';
  EXPECT_EQ(stream.Status(), ZoStreamWriteError);
  stream.Seek(-8);
  stream << 'y';
  EXPECT_EQ(stream.Status(), ZoStreamWriteError);  // still refused after moving back
  stream.SetStatus(ZoStreamOk);
  stream << 'y';
  EXPECT_EQ(stream.Status(), ZoStreamOk);
  EXPECT_EQ(storage[0], 'y');

  // Seeking: the capacity is exclusive, and a successful seek does not clear
  // an error. Each seek's result with the position after it.
  auto seek = [&stream](int32_t by) { return std::pair<ZoStreamError, uint32_t>{stream.Seek(by), stream.GetPosition()}; };
  stream.Seek(-1);
  EXPECT_EQ(seek(8), std::make_pair(ZoStreamSeekError, 0u));
  stream.SetStatus(ZoStreamOk);
  std::vector<std::pair<ZoStreamError, uint32_t>> const seen{seek(7), seek(-7), seek(-1), seek(3)};
  EXPECT_EQ(seen, (std::vector<std::pair<ZoStreamError, uint32_t>>{
                      {ZoStreamOk, 7}, {ZoStreamOk, 0}, {ZoStreamSeekError, 0}, {ZoStreamSeekError, 3}}));
}

// --- Untrusted counts and nesting ---------------------------------------------

// The exact fit, the inclusive cap, the in-memory size and negative loop
// counts are driven by the read-failure tables of the layers above.
TEST_F(ZoStreamTest, CountsKeepTheirErrorDoNotOverflowAndLeaveTheVariable) {
  Reader exact(ByteBuilder().i32(1).i32(2));
  EXPECT_FALSE(exact->CheckCount(3, 4));
  EXPECT_FALSE(exact->CheckCount(0, 4));  // the error stands
  // Counts near the top do not overflow.
  ZoReadLimits::SetMaxAllocation(UINT64_MAX);
  Reader top(ByteBuilder().i32(1));
  EXPECT_FALSE(top->CheckCount(INT64_MAX, UINT32_MAX));
  EXPECT_EQ(top->Status(), ZoStreamReadError);
  // A refused loop count leaves the variable as it was.
  Reader loop(ByteBuilder().i32(3).i32(1).i32(2));
  int32_t count = 99;
  EXPECT_FALSE(loop->ReadLoopCount(count, 4));  // 3 elements, room for 2
  EXPECT_EQ(count, 99);
}

// Framed levels up to the cap are allowed (driven by the read-failure
// tests of the layers above); one level more is refused (see the failure
// table below).
TEST_F(ZoStreamTest, NestingIsCountedAndRefusedBeyondTheCap) {
  Reader framed(kFramedSeven);
  delete framed->ReadObject(nullptr);
  EXPECT_EQ(framed->Depth(), 0);

  // Bare bodies that nest count through the guard.
  ZoReadLimits::SetMaxDepth(2);
  char storage[4];
  ZoMemoryStream stream(storage, 4);
  {
    ZoStreamNesting one(stream);
    ZoStreamNesting two(stream);
    int depth = stream.Depth();
    ZoStreamNesting three(stream);
    EXPECT_EQ(std::make_tuple(two.Entered(), depth, three.Entered(), stream.Status()),
              std::make_tuple(true, 2, false, ZoStreamFormatError));
  }
  EXPECT_EQ(stream.Depth(), 0);
}

// --- Why a read failed ----------------------------------------------------------

// Each reader of this layer, given a truncated or a corrupted input, keeps
// the offset where it failed and a reason naming what was wrong.
TEST_F(ZoStreamTest, EachReadFailureNamesWhereAndWhy) {
  struct Case {
    char const* name;
    Bytes bytes;
    std::function<void(ZoStream&)> read;
    ZoStreamError status;
    int64_t offset;
    char const* words;
  };
  auto readInt = [](ZoStream& s) { int32_t v; s >> v >> v; };
  auto readString = [](ZoStream& s) { int32_t v; ZoString text; s >> v >> text; };
  auto readObject = [](ZoStream& s) { delete s.ReadObject(nullptr); };
  auto count = [](ZoStream& s) { int32_t n; s >> n; s.ReadCount(n, 4); };
  Case const cases[] = {
      {"int32 cut short", ByteBuilder().i32(1).i16(2), readInt, ZoStreamReadError, 4, "4 bytes wanted, 2 left"},
      {"string cut short", ByteBuilder().i32(0).i32(10).chars("abc"), readString, ZoStreamReadError, 8,
       "10 bytes wanted, 3 left"},
      {"string too long", ByteBuilder().i32(0).i32(600), readString, ZoStreamFormatError, 4,
       "string length 600 is outside 0 to 512"},
      {"negative string length", ByteBuilder().i32(0).i32(-1), readString, ZoStreamFormatError, 4, "string length -1"},
      {"frame cut short", Bytes(kFramedSeven.begin(), kFramedSeven.begin() + 6), readObject, ZoStreamReadError, 4,
       "4 bytes wanted, 2 left"},
      {"unknown type code", ByteBuilder().chars("DCBA").i32(1), readObject, ZoStreamOk, 0,
       "unknown type code 0x41424344"},
      {"nesting too deep", [] {
         ByteBuilder b;
         for (int i = 0; i < ZoReadLimits::MaxDepth() + 1; ++i) b.i32(ZoTypeCode::Property).i32(0);
         return Bytes(b.i32(-2));
       }(), readObject, ZoStreamFormatError, 8 * ZoReadLimits::MaxDepth() + 4, "nesting deeper than"},
      {"wrong class", kFramedSeven, [](ZoStream& s) { delete s.ReadObjectAs<Named>(); }, ZoStreamFormatError, 16,
       "an object of type code 0x56496E74 where another class belongs"},
      {"count past the bytes left", ByteBuilder().i32(0).i32(INT32_MAX).i32(1).i32(2), count, ZoStreamReadError, 4,
       "count 2147483647 of 4-byte elements exceeds the 8 bytes left"},
      {"negative count", ByteBuilder().i32(0).i32(-3), count, ZoStreamFormatError, 4, "count -3 is negative"},
      {"count past the cap", ByteBuilder().i32(0).i32(300).append(Bytes(1200, 0)),
       [&](ZoStream& s) { ZoReadLimits::SetMaxAllocation(1000); count(s); }, ZoStreamFormatError, 4,
       "count 300 of 4-byte elements passes the 1000-byte allocation cap"},
      {"seek out of the buffer", ByteBuilder().i32(0).i32(0), [](ZoStream& s) { s.Seek(9); }, ZoStreamSeekError, 0,
       "seek by 9 leaves the 8-byte buffer"},
      {"write into a full buffer", ByteBuilder().i32(0), [](ZoStream& s) { s << int32_t{1} << 'x'; },
       ZoStreamWriteError, 4, "1 bytes do not fit, 0 left"},
      {"status forced by the caller", ByteBuilder().i32(0), [](ZoStream& s) { s.SetStatus(ZoStreamSeekError); },
       ZoStreamSeekError, 0, "status 5 set by the caller"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    Reader reader(c.bytes);
    c.read(*reader);
    EXPECT_EQ(reader->Status(), c.status);
    EXPECT_EQ(reader->FailureStatus(), c.status);
    ExpectFailure(*reader, c.offset, c.words);
  }
}

TEST_F(ZoStreamTest, OnlyTheFirstFailureIsKeptUntilReset) {
  Reader reader(ByteBuilder().i32(0).i32(-3).i16(1));
  int32_t n = 0;
  *reader >> n;
  // Whether a failure is kept, with its offset, reason and status.
  auto failure = [&reader] {
    return std::make_tuple(reader->HasFailure(), reader->FailureOffset(), std::string(reader->FailureReason()),
                           reader->FailureStatus());
  };
  EXPECT_EQ(failure(), std::make_tuple(false, int64_t{-1}, std::string(), ZoStreamOk));
  EXPECT_FALSE(reader->ReadCount(n, 4));
  *reader >> n;  // a second failure, then a good read that clears the status
  int16_t s = 0;
  reader->SetStatus(ZoStreamOk);
  *reader >> s;
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(failure(), std::make_tuple(true, int64_t{4}, std::string("count -3 is negative"), ZoStreamFormatError));
  reader->ResetFailure();
  EXPECT_EQ(failure(), std::make_tuple(false, int64_t{-1}, std::string(), ZoStreamOk));
  *reader >> s;
  ExpectFailure(*reader, 10, "2 bytes wanted, 0 left");
}
