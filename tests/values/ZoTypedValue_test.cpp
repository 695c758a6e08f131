// Typed values: stream bodies against hand-built layouts, the conversion
// matrix, comparison and its asymmetry, copies and the modification
// callback, list and array ownership, and opaque values. Reading every class
// back is covered by the round trips in ZoValuesReadFailures_test.cpp.
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "ZoValuesTestSupport.h"

using namespace zovaluestest;

namespace {

float const kNaN = std::numeric_limits<float>::quiet_NaN();

int AsInt(ZoTypedValue const& value) {
  int result = 99;
  EXPECT_EQ(value.ConvertToInt(result), 1);
  return result;
}
// A value converted to int, float and string: "-3 / -3 / -3".
std::string Conversions(ZoTypedValue const& value) {
  int i = 99;
  float f = 99;
  ZoString s("unset");
  EXPECT_EQ(value.ConvertToInt(i) + value.ConvertToFloat(f) + value.ConvertToString(s), 3);
  std::ostringstream out;
  out << i << " / " << f << " / " << s.c_str();
  return out.str();
}

void Notify(ZoTypedValue*, intptr_t) {}

// An int value and its callback: "4, callback, data 5".
std::string Callback(ZoTypedValue const& value) {
  return std::to_string(AsInt(value)) + (value.GetModCallBack() == &Notify ? ", callback" : ", no callback") +
         ", data " + std::to_string(value.GetModCallBackData());
}

}  // namespace

// The framed layouts of every value are checked in ZoValuesReadFailures_test.cpp.
TEST(ZoTypedValueStream, AShortBlockLeavesAVectorUnchanged) {
  ZoVector3Value vector(ZoVector3(1.0f, 2.0f, -3.0f));
  Reader reader(ByteBuilder().f32(9).f32(9));
  *reader >> vector;
  EXPECT_EQ(reader->Status(), ZoStreamReadError);
  EXPECT_EQ(static_cast<ZoVector3 const&>(vector), ZoVector3(1, 2, -3));
}

TEST(ZoTypedValueConversion, IntFloatAndStringConvertAmongThemselves) {
  EXPECT_EQ(Conversions(ZoIntValue(-3)), "-3 / -3 / -3");
  EXPECT_EQ(Conversions(ZoFloatValue(-2.7f)), "-2 / -2.7 / -2.700000");  // toward zero
  EXPECT_EQ(Conversions(ZoFloatValue(2.7f)), "2 / 2.7 / 2.700000");
  EXPECT_EQ(Conversions(ZoStringValue(ZoString("1.5e1"))), "1 / 15 / 1.5e1");
  // Values outside the int range saturate; NaN gives 0.
  EXPECT_EQ(AsInt(ZoFloatValue(1e20f)), INT_MAX);
  EXPECT_EQ(AsInt(ZoFloatValue(-1e20f)), INT_MIN);
  EXPECT_EQ(AsInt(ZoFloatValue(kNaN)), 0);
  struct {
    char const* text;
    int expected;
  } const texts[] = {{"12abc", 12},           {"abc", 0},           {" \t-42x", -42},         {"+7", 7},
                     {"\r\n\v\f9", 9},         {"99999999999", INT_MAX}, {"-2147483648", INT_MIN},
                     {"-99999999999", INT_MIN}};
  for (auto const& c : texts) EXPECT_EQ(AsInt(ZoStringValue(ZoString(c.text))), c.expected) << c.text;
}

TEST(ZoTypedValueConversion, EveryOtherPairGivesNullAndLeavesTheResult) {
  ZoIntValue number(4);
  ZoFloatValue real(4.0f);
  ZoStringValue text(ZoString("4"));
  for (ZoTypedValue const* scalar : std::initializer_list<ZoTypedValue const*>{&number, &real, &text}) {
    EXPECT_EQ(ValuePtr(scalar->ConvertTo(ZoTypeCode::Vector3Value)).get(), nullptr);
    EXPECT_EQ(ValuePtr(scalar->ConvertTo(ZoTypeCode::ListValue)).get(), nullptr);
    EXPECT_EQ(ValuePtr(scalar->ConvertTo(0)).get(), nullptr);
  }
  ZoVector3Value vector;
  ZoTransform2Value planar;
  ZoTransform3Value rigid;
  ZoListValue list;
  ZoArrayValue array;
  ZoOpaqueValue opaque;
  for (ZoTypedValue const* other :
       std::initializer_list<ZoTypedValue const*>{&vector, &planar, &rigid, &list, &array, &opaque}) {
    int i = 5;
    float f = 5.0f;
    ZoString s("kept");
    EXPECT_EQ(other->ConvertToInt(i) + other->ConvertToFloat(f) + other->ConvertToString(s), 0);
    EXPECT_EQ(std::make_tuple(i, f, std::string(s.c_str())), std::make_tuple(5, 5.0f, std::string("kept")));
    EXPECT_EQ(ValuePtr(other->ConvertTo(other->StreamType())).get(), nullptr);
  }
  // A conversion gives the target class, without the callback.
  number.SetModCallBack([](ZoTypedValue*, intptr_t) {}, 3);
  ValuePtr asString(number.ConvertTo(ZoTypeCode::StringValue));
  ASSERT_NE(dynamic_cast<ZoStringValue*>(asString.get()), nullptr);
  EXPECT_EQ(asString->GetModCallBack(), nullptr);
}

// The other side is converted to this side's class, so Compare is not symmetric.
TEST(ZoTypedValueCompare, ConvertsTheOtherSideWrapsAndGivesMinusOneForOtherKinds) {
  EXPECT_EQ(ZoIntValue(5).Compare(ZoFloatValue(5.9f)), 0);
  EXPECT_EQ(ZoFloatValue(5.9f).Compare(ZoIntValue(5)), 1);
  EXPECT_EQ(ZoFloatValue(4.5f).Compare(ZoIntValue(5)), -1);
  EXPECT_GT(ZoStringValue(ZoString("12.0")).Compare(ZoIntValue(12)), 0);  // "12.0" against "12"
  EXPECT_EQ(ZoIntValue(12).Compare(ZoStringValue(ZoString("12.0"))), 0);  // atoi stops at the dot
  EXPECT_EQ(ZoIntValue(INT_MIN).Compare(ZoIntValue(1)), INT_MAX);  // the difference wraps
  EXPECT_EQ(ZoIntValue(INT_MAX).Compare(ZoIntValue(-1)), INT_MIN);
  EXPECT_LT(ZoStringValue(ZoString("a")).Compare(ZoStringValue(ZoString("\xE9"))), 0);  // unsigned bytes
  EXPECT_GT(ZoStringValue(ZoString("abc")).Compare(ZoIntValue(5)), 0);                 // against "5"
  EXPECT_EQ(ZoFloatValue(kNaN).Compare(ZoFloatValue(1.0f)), 0);
  EXPECT_EQ(ZoFloatValue(1.0f).Compare(ZoFloatValue(kNaN)), 0);
  EXPECT_EQ(ZoIntValue(3).Compare(ZoVector3Value()), -1);
  EXPECT_EQ(ZoFloatValue(3).Compare(ZoListValue()), -1);
  EXPECT_EQ(ZoStringValue().Compare(ZoTransform3Value()), -1);
  ZoVector3Value vector;
  EXPECT_EQ(vector.Compare(vector), -1);
}

TEST(ZoTypedValueCopy, CopyConstructorKeepsTheCallbackCopyAndAssignmentDoNot) {
  ZoIntValue source(4);
  intptr_t const data = reinterpret_cast<intptr_t>(&source);  // pointer-sized data survives unchanged
  source.SetModCallBack(&Notify, data);
  ZoIntValue constructed(source), target(9);
  ValuePtr copy(source.Copy());
  target = source;
  EXPECT_EQ(Callback(constructed), Callback(source));
  EXPECT_EQ(Callback(*copy), "4, no callback, data 0");
  EXPECT_EQ(Callback(target), "4, no callback, data 0");
}

// --- Lists and arrays ------------------------------------------------------------------

// The list's layout is checked with the samples in ZoValuesReadFailures_test.cpp.
TEST(ZoListValueTest, ReadingAppends) {
  // Reading appends behind held items; null and unknown items add nothing.
  ZoListValue held;
  held.Append(new ZoIntValue(0));
  Bytes body = ByteBuilder()
                   .i32(4)
                   .i32(-2)
                   .append(SizedFrame(0x41424344, 2).u8(1).u8(2))
                   .append(FramedInt(8))
                   .append(SizedFrame(0x56466C6F, 4).f32(0.5f));
  ASSERT_EQ(ReadBody(held, body), ReadOk(body.size()));
  EXPECT_EQ(Hex(Body(held)), Hex(ByteBuilder().i32(3).append(FramedInt(0)).append(FramedInt(8))
                                      .append(SizedFrame(0x56466C6F, 4).f32(0.5f))));
}

TEST(ZoListValueTest, SearchFindsTheFirstItemThatComparesEqual) {
  ZoListValue list;
  for (int i = 1; i <= 3; ++i) list.Append(new ZoIntValue(i));
  ZoFloatValue two(2.0f), four(4.0f);
  ZoDblListItem* cursor = nullptr;
  ASSERT_EQ(list.Search(&two, cursor), 1);
  EXPECT_EQ(static_cast<int>(*static_cast<ZoIntValue*>(cursor->Item())), 2);
  EXPECT_EQ(list.Search(&four, cursor), 0);
  EXPECT_EQ(list.Search(nullptr, cursor), 0);
  // The matcher does the same through the list's own Find.
  ZoListValueSearchItr matcher;
  ZoStringValue three(ZoString("3"));
  ZoDblListItem* found = list.Find(&three, matcher);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(static_cast<int>(*static_cast<ZoIntValue*>(found->Item())), 3);
  EXPECT_EQ(matcher.Matches(found->Item(), &four), 0);
}

TEST(ZoListValueTest, OwnsItsItemsThroughClearCopyAssignmentAndDestruction) {
  Tracked::live = 0;
  {
    ZoListValue list;
    list.Append(new Tracked(1));
    list.Append(new Tracked(2));
    list.SetModCallBack(&Notify, 5);
    ZoListValue constructed(list);
    EXPECT_EQ(Tracked::live, 4);
    EXPECT_EQ(constructed.GetModCallBack(), nullptr);  // lists copy without callback
    ValuePtr copy(list.Copy());  // its own items, in order: see the round trips of the samples
    EXPECT_EQ(Tracked::live, 6);
    constructed.Clear();
    EXPECT_EQ(Tracked::live, 4);
    constructed = list;
    EXPECT_EQ(Tracked::live, 6);
    ZoListValue& alias = constructed;
    constructed = alias;
    EXPECT_EQ(Tracked::live, 6);
    EXPECT_EQ(constructed.GetCount(), 2);
    // An item taken out passes to the caller.
    auto* taken = static_cast<Tracked*>(list.DeleteFirst());
    EXPECT_EQ(Tracked::live, 6);
    taken->Destroy();
    EXPECT_EQ(Tracked::live, 5);
  }
  EXPECT_EQ(Tracked::live, 0);
}

TEST(ZoArrayValueTest, ResizingKeepsTheFrontDestroysTheRestAndAddsNulls) {
  Tracked::live = 0;
  {
    ZoArrayValue array;
    array.SetNumItems(3);
    for (int i = 0; i < 3; ++i) array.SetItem(i, new Tracked(i));
    ASSERT_EQ(array.SetNumItems(2), 1);
    EXPECT_EQ(Tracked::live, 2);
    EXPECT_EQ(static_cast<Tracked*>(array[1])->tag, 1);
    ASSERT_EQ(array.SetNumItems(4), 1);
    EXPECT_EQ(array.NumItems(), 4);
    EXPECT_EQ(static_cast<Tracked*>(array[0])->tag, 0);
    EXPECT_EQ(array[2], nullptr);
    EXPECT_EQ(array[3], nullptr);
    // Replacing an item destroys the old one; out of range nothing happens.
    array.SetItem(0, new Tracked(10));
    EXPECT_EQ(Tracked::live, 2);
    Tracked outside(11);
    array.SetItem(4, &outside);
    array.SetItem(-1, &outside);
    EXPECT_EQ(array.GetItem(4), nullptr);
    EXPECT_EQ(array.GetItem(-1), nullptr);
    ZoArrayValue copy(array);
    EXPECT_EQ(Tracked::live, 5);
    EXPECT_NE(copy[0], array[0]);
    EXPECT_EQ(copy[2], nullptr);
    ASSERT_EQ(array.SetNumItems(-3), 1);
    EXPECT_EQ(array.NumItems(), 0);
    EXPECT_EQ(Tracked::live, 3);
  }
  EXPECT_EQ(Tracked::live, 0);
}

// --- Opaque values ---------------------------------------------------------------------

TEST(ZoOpaqueValueTest, UnknownFramesWriteBackTheirBytesAndBadSizesLeaveThemEmpty) {
  Bytes const unknown{0xFF, 0xFF, 0xFF, 0xFF, 0x44, 0x43, 0x42, 0x41, 0x05, 0x00, 0x00, 0x00, 1, 2, 3, 4, 5};
  ASSERT_EQ(ZoStreamConstructorEntry::Find(0x41424344), nullptr);
  EXPECT_EQ(Reread(unknown, &ZoOpaqueValue::Create), "status 0: " + Hex(unknown));
  // A zero-size frame gives an empty value under the frame's code; a
  // negative size, or one past the data, fails and leaves it empty.
  std::string const empty = Hex(SizedFrame(0x41424344, 0));
  auto create = &ZoOpaqueValue::Create;
  EXPECT_EQ(Reread(SizedFrame(0x41424344, 0), create), "status 0: " + empty);
  EXPECT_EQ(Reread(SizedFrame(0x41424344, -4).i32(0), create), "status " + std::to_string(ZoStreamFormatError) + ": " + empty);
  for (int32_t size : {6, INT32_MAX})
    EXPECT_EQ(Reread(SizedFrame(0x41424344, size).i32(0), create), "status " + std::to_string(ZoStreamReadError) + ": " + empty);

  // A copy keeps the bytes and the code it came under.
  ZoStreamError status;
  ObjectPtr object = ReadFramed(unknown, status, kZoCurrentVersion, &ZoOpaqueValue::Create);
  auto* opaque = dynamic_cast<ZoOpaqueValue*>(object.get());
  ASSERT_NE(opaque, nullptr);
  EXPECT_EQ(opaque->StreamType(), 0x564F7071);
  ValuePtr copy(opaque->Copy());
  EXPECT_EQ(Hex(Framed(copy.get())), Hex(unknown));
  ZoOpaqueValue assigned;
  assigned = *opaque;
  EXPECT_EQ(Hex(Framed(&assigned)), Hex(unknown));
  // Not registered itself; an empty one writes under its own code.
  EXPECT_EQ(ZoStreamConstructorEntry::Find(ZoTypeCode::OpaqueValue), nullptr);
  ZoOpaqueValue own;
  EXPECT_EQ(Hex(Framed(&own)), Hex(SizedFrame(0x564F7071, 0)));
}
