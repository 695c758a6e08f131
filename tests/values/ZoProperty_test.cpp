// Properties and the two property containers: framed bytes, the three
// reading rules by stream version, ownership, list order under Find and
// Replace, and the container bodies.

#include "ZoValuesTestSupport.h"

using namespace zovaluestest;

namespace {

using Strings = std::vector<std::string>;

// The names of a container, in its order.
Strings Names(ZoPropertySet const& set, int sort = 0) {
  ZoStringList names;
  set.GetPropertyNames(names, sort);
  return zotest::Texts(names);
}

ZoProperty* IntProperty(char const* name, int value) { return new ZoProperty(name, new ZoIntValue(value)); }

// Records what Iterate hands over: "key/name/third" per property.
class Recorder : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  int CallBack(void* key, void* property, void* third) override {
    seen.push_back((key == nullptr ? std::string("(null)") : static_cast<ZoString*>(key)->c_str()) + "/" +
                   static_cast<ZoProperty*>(property)->Name().c_str() + (third == nullptr ? "/(null)" : "/?"));
    return 0;
  }
  Strings seen;
};

}  // namespace

// --- A property on its own ---------------------------------------------------------

TEST(ZoPropertyStream, FromVersion100AnUnknownValueIsKeptAndWrittenBackUnchanged) {
  Bytes unknownValue = SizedFrame(0x51525354, 3).u8(7).u8(8).u8(9);
  Bytes body = ByteBuilder().str("odd").append(unknownValue).i32(0x5E5E5E5E);
  ZoProperty property;
  ASSERT_EQ(ReadBody(property, body, 100), ReadOk(body.size() - 4));
  ASSERT_NE(dynamic_cast<ZoOpaqueValue const*>(property.Value()), nullptr);
  EXPECT_EQ(Hex(Body(property)), Hex(ByteBuilder().str("odd").append(unknownValue)));
  // At 99 the value is skipped instead; the stream stays aligned.
  ASSERT_EQ(ReadBody(property, body, 99), ReadOk(body.size() - 4));
  EXPECT_EQ(Hex(Body(property)), Hex(ByteBuilder().str("odd").i32(-2)));
}

// Each kind reads to the sentinel behind it.
TEST(ZoPropertyStream, EveryKindOfTheOldestLayout) {
  struct Case {
    int32_t kind;
    Bytes value;
    Bytes expectedFramed;  // the value as it is written again (-2: no value)
  };
  std::vector<Case> cases = {
      {0, ByteBuilder().str("s"), SizedFrame(0x56537472, 5).str("s")},
      {1, ByteBuilder().f32(1.5f), SizedFrame(0x56466C6F, 4).f32(1.5f)},
      {2, ByteBuilder().i32(-4), FramedInt(-4)},
      {3, ByteBuilder().i32(1).i32(2), ByteBuilder().i32(-2)},
      {4, ByteBuilder().f32(1).f32(2).f32(3), SizedFrame(0x56566533, 12).f32(1).f32(2).f32(3)},
      {5, ByteBuilder().f32(4).f32(5).f32(6), SizedFrame(0x56547232, 12).f32(4).f32(5).f32(6)},
      {6, ByteBuilder().i32(1).append(FramedInt(3)), SizedFrame(0x564C6973, 0).i32(1).append(FramedInt(3))},
      {7, ByteBuilder().f32(1).f32(2).f32(3).f32(0).f32(1).f32(0).f32(0),
       SizedFrame(0x56547233, 28).f32(1).f32(2).f32(3).f32(0).f32(1).f32(0).f32(0)},
      {8, FramedInt(12), FramedInt(12)},
      {9, {}, ByteBuilder().i32(-2)},
      {-1, {}, ByteBuilder().i32(-2)},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.kind);
    Bytes body = ByteBuilder().i32(c.kind).str("k").append(c.value).i32(0x7E7E7E7E);
    ZoProperty property("before", new ZoIntValue(1));
    ASSERT_EQ(ReadBody(property, body, 41), ReadOk(body.size() - 4));
    EXPECT_EQ(Hex(Body(property)), Hex(ByteBuilder().str("k").append(c.expectedFramed)));
  }
}

TEST(ZoPropertyValue, OwnershipOfTheValue) {
  Tracked::live = 0;
  {
    ZoProperty property("p", new Tracked(1));
    property.SetValue(new Tracked(2));
    EXPECT_EQ(Tracked::live, 1);
    property.SetValue(property.GetValue());  // the same value stays
    EXPECT_EQ(Tracked::live, 1);
    ZoProperty copy(property);
    EXPECT_EQ(Tracked::live, 2);
    EXPECT_NE(copy.GetValue(), property.GetValue());
    copy = ZoProperty("q", nullptr);
    EXPECT_EQ(Tracked::live, 1);
    EXPECT_EQ(Hex(Body(copy)), Hex(ByteBuilder().str("q").i32(-2)));
    ZoTypedValue* detached = property.DetachValue();
    EXPECT_EQ(property.Value(), nullptr);
    EXPECT_EQ(Tracked::live, 1);
    detached->Destroy();
  }
  EXPECT_EQ(Tracked::live, 0);
}

TEST(ZoPropertyValue, EqualityAndConversionsGoThroughTheValue) {
  ZoProperty x("x", new ZoIntValue(3)), y("y", new ZoFloatValue(3.7f)), v1("v", new ZoVector3Value);
  ZoProperty none1("a", nullptr), none2("b", nullptr);
  // y == x compares 3.7 against 3.0; vectors never compare equal.
  EXPECT_EQ((std::vector<int>{x == y, y == x, x != y, v1 == v1, none1 == none2, none1 == x, x == none1}),
            (std::vector<int>{1, 0, 0, 0, 1, 0, 0}));

  int i = 5;
  ZoString s("kept");
  EXPECT_EQ(none1.ConvertToInt(i) + none1.ConvertToString(s), 0);
  EXPECT_EQ(std::make_pair(i, std::string(s.c_str())), std::make_pair(5, std::string("kept")));
  EXPECT_EQ(none1.ConvertTo(ZoTypeCode::IntValue), nullptr);
  EXPECT_EQ(static_cast<int>(none1), 0);
  EXPECT_EQ(static_cast<float>(none1), 0.0f);
  EXPECT_EQ(static_cast<ZoString>(none1), ZoString());
  EXPECT_EQ(static_cast<int>(v1), 0);
  EXPECT_EQ(static_cast<ZoString>(v1), ZoString());
  ZoProperty text("t", new ZoStringValue(ZoString("2.5")));
  EXPECT_EQ(static_cast<float>(text), 2.5f);
  EXPECT_EQ(static_cast<int>(text), 2);
  ValuePtr converted(text.ConvertTo(ZoTypeCode::FloatValue));
  ASSERT_NE(converted, nullptr);
  EXPECT_EQ(converted->Compare(ZoFloatValue(2.5f)), 0);
}

// --- The list container -------------------------------------------------------------

TEST(ZoPropertyListTest, FindMovesToTheFrontAndCopiesKeepTheOrder) {
  ZoPropertyList list;
  for (char const* name : {"a", "b", "c"}) EXPECT_EQ(list.Add(IntProperty(name, name[0] - 'a' + 1)), 1);
  ZoProperty* c = list.Find("c");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(static_cast<int>(*c), 3);
  EXPECT_EQ(Names(list), (Strings{"c", "a", "b"}));
  EXPECT_EQ(Names(list, 1), (Strings{"a", "b", "c"}));
  list.Find("b");
  EXPECT_EQ(list.Find("A"), nullptr);  // names are case-sensitive
  EXPECT_EQ(Names(list), (Strings{"b", "c", "a"}));
  ZoPropertyList copy(list);
  EXPECT_EQ(Names(copy), (Strings{"b", "c", "a"}));
  ZoPropertyList assigned;
  assigned.Add(IntProperty("z", 0));
  assigned = list;
  EXPECT_EQ(Hex(Body(assigned)), Hex(Body(list)));
  // The names are appended to what the list holds already, and the whole is sorted.
  ZoStringList names;
  names.AppendString("z");
  list.GetPropertyNames(names, 1);
  EXPECT_EQ(zotest::Texts(names), (Strings{"a", "b", "c", "z"}));
}

// A list puts a replacement last; the property it holds already moves to the front.
TEST(ZoPropertyListTest, ReplacePutsTheNewOneLast) {
  ZoPropertyList list;
  for (char const* name : {"a", "b", "c"}) list.Add(IntProperty(name, 1));
  ZoProperty* replacement = IntProperty("a", 4);
  list.Replace(replacement);
  EXPECT_EQ(Names(list), (Strings{"b", "c", "a"}));
  list.Replace(replacement);
  EXPECT_EQ(Names(list), (Strings{"a", "b", "c"}));
  list.Replace(ZoProperty("d", nullptr));
  EXPECT_EQ(Names(list), (Strings{"a", "b", "c", "d"}));
}

TEST(ZoPropertyListTest, StreamsAsCountAndPropertyBodiesAndReadingAppendsDuplicates) {
  ZoPropertyList list;
  list.Add(IntProperty("a", 1));
  list.Add(new ZoProperty("b", new ZoStringValue(ZoString("v"))));
  Bytes expected = ByteBuilder().raw({0x74, 0x73, 0x4C, 0x50}).i32(2).str("a").append(FramedInt(1))
                       .str("b").append(SizedFrame(0x56537472, 5).str("v"));
  EXPECT_EQ(Hex(Framed(&list)), Hex(expected));

  // Reading appends, drops properties without a value and keeps duplicates.
  ZoPropertyList held;
  held.Add(IntProperty("held", 0));
  Bytes body = ByteBuilder().i32(3).str("a").append(FramedInt(1)).str("gone").i32(-2).str("a").append(FramedInt(2));
  ASSERT_EQ(ReadBody(held, body), ReadOk(body.size()));
  EXPECT_EQ(Names(held), (Strings{"held", "a", "a"}));
  EXPECT_EQ(static_cast<int>(*held.Find("a")), 1);  // the first of them
}

// --- Set operations shared by both containers ------------------------------------------

// Every tracked value made in a test is gone by its end.
template <class Container>
class ZoPropertySetTest : public ::testing::Test {
 protected:
  void SetUp() override { Tracked::live = 0; }
  void TearDown() override { EXPECT_EQ(Tracked::live, 0); }
};
using Containers = ::testing::Types<ZoPropertyList, ZoPropertyTable>;  // named 0 and 1
TYPED_TEST_SUITE(ZoPropertySetTest, Containers);


// Replacing destroys the property held under the name; the one held already
// is only found; by reference a copy is stored.
TYPED_TEST(ZoPropertySetTest, ReplaceDestroysTheOldOne) {
  TypeParam set;
  for (char const* name : {"a", "b", "c"}) set.Add(new ZoProperty(name, new Tracked(1)));
  auto* replacement = new ZoProperty("a", new Tracked(4));
  set.Replace(replacement);
  set.Replace(replacement);
  EXPECT_EQ(Tracked::live, 3);
  EXPECT_EQ(set.Find("a"), replacement);
  EXPECT_EQ(set.Find("e"), nullptr);
  ZoProperty d("d", new Tracked(5));
  set.Replace(d);
  set.Replace(static_cast<ZoProperty*>(nullptr));
  EXPECT_NE(set.Find("d"), &d);
  EXPECT_EQ(Tracked::live, 5);
  EXPECT_EQ(Names(set, 1), (Strings{"a", "b", "c", "d"}));
}

// SetValue replaces the value held under a name or adds a property; Copy
// adds copies of only the names not held.
TYPED_TEST(ZoPropertySetTest, SetValueAndCopy) {
  TypeParam source, target;
  EXPECT_EQ(source.SetValue("a", new Tracked(1)), 1);
  EXPECT_EQ(source.SetValue("a", new Tracked(2)), 1);
  EXPECT_EQ(Tracked::live, 1);
  EXPECT_EQ(static_cast<Tracked*>(source.Find("a")->GetValue())->tag, 2);
  EXPECT_EQ(source.SetValue("b", new Tracked(3)), 1);
  EXPECT_EQ(source.SetValue("c", nullptr), 1);
  target.Add(new ZoProperty("a", new Tracked(10)));
  target.Copy(source);
  target.Copy(target);
  EXPECT_EQ(Names(target, 1), (Strings{"a", "b", "c"}));
  EXPECT_EQ(static_cast<Tracked*>(target.Find("a")->GetValue())->tag, 10);
  EXPECT_EQ(static_cast<Tracked*>(target.Find("b")->GetValue())->tag, 3);
  EXPECT_EQ(Tracked::live, 4);
}

TYPED_TEST(ZoPropertySetTest, AddDeleteCopyAndDestructionOwnership) {
  TypeParam set;
  auto* first = new ZoProperty("a", new Tracked(1));
  EXPECT_EQ(set.Add(first), 1);
  ZoProperty duplicate("a", new Tracked(2));
  EXPECT_EQ(set.Add(&duplicate), 0);  // refused: the caller keeps it
  EXPECT_EQ(set.Add(duplicate), 0);
  EXPECT_EQ(set.Add(static_cast<ZoProperty const*>(nullptr)), 0);
  EXPECT_EQ(set.Find("a"), first);
  ZoProperty byReference("b", new Tracked(3));
  EXPECT_EQ(set.Add(byReference), 1);  // a copy is taken
  EXPECT_NE(set.Find("b"), &byReference);
  EXPECT_EQ(Tracked::live, 4);
  TypeParam copy(set);
  EXPECT_EQ(Tracked::live, 6);
  copy = set;
  EXPECT_EQ(Tracked::live, 6);
  ZoProperty* removed = set.Delete("a");  // handed back to the caller
  ASSERT_EQ(removed, first);
  EXPECT_EQ(set.Delete("a"), nullptr);
  EXPECT_EQ(Tracked::live, 6);
  delete removed;
  set.DeleteAll();
  EXPECT_EQ(Tracked::live, 4);
  EXPECT_EQ(set.GetCount(), 0);
}

TEST(ZoPropertySetIterate, ListHandsANullKeyAndTableTheName) {
  ZoPropertyList list;
  list.Add(IntProperty("a", 1));
  list.Add(IntProperty("b", 2));
  Recorder fromList;
  list.Iterate(fromList);
  EXPECT_EQ(fromList.seen, (Strings{"(null)/a/(null)", "(null)/b/(null)"}));
  ZoPropertyTable table;
  table.Add(IntProperty("only", 1));
  Recorder fromTable;
  table.Iterate(fromTable);
  EXPECT_EQ(fromTable.seen, (Strings{"only/only/(null)"}));
}

// --- The table container -------------------------------------------------------------------

TEST(ZoPropertyTableTest, StreamsAsCountAndPropertyBodiesAndReadingKeepsTheLastOfEqualNames) {
  ZoPropertyTable one;
  one.Add(IntProperty("a", 5));
  EXPECT_EQ(Hex(Framed(&one)), Hex(ByteBuilder().raw({0x62, 0x61, 0x54, 0x50}).i32(1).str("a").append(FramedInt(5))));

  ZoPropertyTable table;
  table.Add(IntProperty("b", 0));
  table.Add(IntProperty("kept", 9));
  Bytes body = ByteBuilder().i32(4).str("a").append(FramedInt(1)).str("b").append(FramedInt(2))
                   .str("none").i32(-2).str("a").append(FramedInt(3));
  ASSERT_EQ(ReadBody(table, body), ReadOk(body.size()));
  EXPECT_EQ(table.GetCount(), 3);
  EXPECT_EQ(static_cast<int>(*table.Find("a")), 3);
  EXPECT_EQ(static_cast<int>(*table.Find("b")), 2);  // replaced the one held before
  EXPECT_EQ(static_cast<int>(*table.Find("kept")), 9);
  // Equal names that sort last: the last read still wins.
  ZoPropertyTable last;
  ByteBuilder lastWins;
  lastWins.i32(3).str("b").append(FramedInt(1)).str("a").append(FramedInt(2)).str("b").append(FramedInt(3));
  ASSERT_EQ(ReadBody(last, lastWins.get()), ReadOk(lastWins.get().size()));
  EXPECT_EQ(static_cast<int>(*last.Find("b")), 3);
}

TEST(ZoPropertyTableTest, WhatATableWritesDoesNotDependOnTheOrderItWasRead) {
  // Enough names to share buckets and to make the table grow.
  int const count = 150;
  ByteBuilder forward, backward;
  forward.i32(count);
  backward.i32(count);
  for (int i = 0; i < count; ++i) {
    forward.str(("p" + std::to_string(i)).c_str()).append(FramedInt(i));
    backward.str(("p" + std::to_string(count - 1 - i)).c_str()).append(FramedInt(count - 1 - i));
  }
  ZoPropertyTable one, two;
  ASSERT_EQ(ReadBody(one, forward.get()), ReadOk(forward.get().size()));
  ASSERT_EQ(ReadBody(two, backward.get()), ReadOk(backward.get().size()));
  EXPECT_EQ(one.GetCount(), count);
  EXPECT_EQ(Body(one), Body(two));
}
