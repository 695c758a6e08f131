// Properties and the two property containers: framed bytes, the three
// reading rules by stream version, ownership, list order under Find and
// Replace, and the container bodies.
#include <zoactor/values/ZoListValue.h>
#include <zoactor/values/ZoOpaqueValue.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoPropertyTable.h>

#include "ZoValuesTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;
using namespace zovaluestest;

namespace {

ByteBuilder SizedFrame(int32_t code, int32_t size) {
  ByteBuilder frame;
  frame.i32(-1).i32(code).i32(size);
  return frame;
}

Bytes FramedInt(int32_t value) { return SizedFrame(0x56496E74, 4).i32(value); }

// The names of a container, in its order.
std::vector<std::string> Names(ZoPropertySet const& set, int sort = 0) {
  ZoStringList names;
  set.GetPropertyNames(names, sort);
  std::vector<std::string> result;
  ZoDblListItem* cursor = nullptr;
  for (void* item = names.GetFirst(cursor); item != nullptr; item = names.GetNext(cursor))
    result.emplace_back(static_cast<ZoString*>(item)->c_str());
  return result;
}

ZoProperty* IntProperty(char const* name, int value) { return new ZoProperty(name, new ZoIntValue(value)); }

// Records what Iterate hands over.
class Recorder : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  int CallBack(void* key, void* property, void* third) override {
    keys.push_back(key == nullptr ? std::string("(null)") : std::string(static_cast<ZoString*>(key)->c_str()));
    names.emplace_back(static_cast<ZoProperty*>(property)->Name().c_str());
    thirds.push_back(third);
    return 0;
  }
  std::vector<std::string> keys;
  std::vector<std::string> names;
  std::vector<void*> thirds;
};

}  // namespace

// --- A property on its own ---------------------------------------------------------

TEST(ZoPropertyStream, NamedIntIsCodeNameAndFramedValue) {
  ZoProperty property("a", new ZoIntValue(7));
  Bytes expected{0x70, 0x6F, 0x72, 0x50, 0x01, 0x00, 0x00, 0x00, 0x61, 0xFF, 0xFF, 0xFF, 0xFF, 0x74,
                 0x6E, 0x49, 0x56, 0x04, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00};
  EXPECT_EQ(Hex(Framed(&property)), Hex(expected));

  ZoStreamError status;
  ObjectPtr back = ReadFramed(expected, status);
  ASSERT_EQ(status, ZoStreamOk);
  auto* read = dynamic_cast<ZoProperty*>(back.get());
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->Name(), ZoString("a"));
  EXPECT_EQ(static_cast<int>(*read), 7);

  ZoProperty empty("none", nullptr);
  EXPECT_EQ(Hex(Body(empty)), Hex(ByteBuilder().str("none").i32(-2)));
}

TEST(ZoPropertyStream, FromVersion100AnUnknownValueIsKeptAndWrittenBackUnchanged) {
  Bytes unknownValue = SizedFrame(0x51525354, 3).u8(7).u8(8).u8(9);
  Bytes body = ByteBuilder().str("odd").append(unknownValue).i32(0x5E5E5E5E);

  Reader current(body, 100);
  ZoProperty property;
  *current >> property;
  ASSERT_EQ(current->Status(), ZoStreamOk);
  ASSERT_NE(dynamic_cast<ZoOpaqueValue const*>(property.Value()), nullptr);
  EXPECT_EQ(Hex(Body(property)), Hex(ByteBuilder().str("odd").append(unknownValue)));
  int32_t next = 0;
  *current >> next;
  EXPECT_EQ(next, 0x5E5E5E5E);

  // At 99 the value is skipped instead; the stream stays aligned.
  Reader older(body, 99);
  *older >> property;
  ASSERT_EQ(older->Status(), ZoStreamOk);
  EXPECT_EQ(property.Value(), nullptr);
  EXPECT_EQ(property.Name(), ZoString("odd"));
  *older >> next;
  EXPECT_EQ(next, 0x5E5E5E5E);
}

TEST(ZoPropertyStream, Version42ReadsFramedValuesAnd41TheKindLayout) {
  Bytes framedLayout = ByteBuilder().str("n").append(FramedInt(9));
  Bytes kindLayout = ByteBuilder().i32(2).str("n").i32(9);

  for (auto const& [layout, version] : {std::pair{framedLayout, 42}, std::pair{kindLayout, 41}}) {
    Reader reader(layout, version);
    ZoProperty property;
    *reader >> property;
    ASSERT_EQ(reader->Status(), ZoStreamOk) << version;
    EXPECT_EQ(reader.Consumed(), layout.size()) << version;
    EXPECT_EQ(property.Name(), ZoString("n"));
    ASSERT_NE(dynamic_cast<ZoIntValue const*>(property.Value()), nullptr) << version;
    EXPECT_EQ(static_cast<int>(property), 9);
  }
  // Each layout read under the other rule does not give the value.
  for (auto const& [layout, version] : {std::pair{framedLayout, 41}, std::pair{kindLayout, 42}}) {
    Reader reader(layout, version);
    ZoProperty property;
    *reader >> property;
    bool sameValue = reader->Status() == ZoStreamOk && property.Name() == ZoString("n") &&
                     dynamic_cast<ZoIntValue const*>(property.Value()) != nullptr && static_cast<int>(property) == 9;
    EXPECT_FALSE(sameValue) << version;
  }
}

TEST(ZoPropertyStream, EveryKindOfTheOldestLayout) {
  ZoListValue list;
  list.Append(new ZoIntValue(3));
  ZoTransform3 rigid(ZoVector3(1, 2, 3), ZoRotation3(0, 1, 0, 0));
  struct Case {
    int32_t kind;
    Bytes value;
    Bytes expectedFramed;  // the value as it is written again; empty: no value
  };
  std::vector<Case> cases = {
      {0, ByteBuilder().str("s"), SizedFrame(0x56537472, 5).str("s")},
      {1, ByteBuilder().f32(1.5f), SizedFrame(0x56466C6F, 4).f32(1.5f)},
      {2, ByteBuilder().i32(-4), SizedFrame(0x56496E74, 4).i32(-4)},
      {3, ByteBuilder().i32(1).i32(2), {}},
      {4, ByteBuilder().f32(1).f32(2).f32(3), SizedFrame(0x56566533, 12).f32(1).f32(2).f32(3)},
      {5, ByteBuilder().f32(4).f32(5).f32(6), SizedFrame(0x56547232, 12).f32(4).f32(5).f32(6)},
      {6, ByteBuilder().i32(1).append(FramedInt(3)), Framed(&list)},
      {7, ByteBuilder().f32(1).f32(2).f32(3).f32(0).f32(1).f32(0).f32(0),
       SizedFrame(0x56547233, 28).f32(1).f32(2).f32(3).f32(0).f32(1).f32(0).f32(0)},
      {8, FramedInt(12), FramedInt(12)},
      {9, {}, {}},
      {-1, {}, {}},
  };
  for (Case const& c : cases) {
    Bytes body = ByteBuilder().i32(c.kind).str("k").append(c.value).i32(0x7E7E7E7E);
    Reader reader(body, 41);
    ZoProperty property("before", new ZoIntValue(1));
    *reader >> property;
    ASSERT_EQ(reader->Status(), ZoStreamOk) << c.kind;
    EXPECT_EQ(property.Name(), ZoString("k"));
    int32_t sentinel = 0;
    *reader >> sentinel;
    EXPECT_EQ(sentinel, 0x7E7E7E7E) << "kind " << c.kind << " consumed the wrong number of bytes";
    if (c.expectedFramed.empty()) {
      EXPECT_EQ(property.Value(), nullptr) << c.kind;
    } else {
      ASSERT_NE(property.Value(), nullptr) << c.kind;
      EXPECT_EQ(Hex(Framed(property.Value())), Hex(c.expectedFramed)) << c.kind;
    }
  }
}

TEST(ZoPropertyStream, AValueOfAnotherClassFailsTheRead) {
  Bytes nested = ByteBuilder().str("p").u32(0x50726F70).str("inner").i32(-2);
  Reader reader(nested, kZoCurrentVersion);
  ZoProperty property;
  *reader >> property;
  EXPECT_EQ(reader->Status(), ZoStreamFormatError);
  EXPECT_EQ(property.Value(), nullptr);
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
    EXPECT_EQ(copy.Value(), nullptr);
    EXPECT_EQ(copy.Name(), ZoString("q"));

    ZoTypedValue* detached = property.DetachValue();
    EXPECT_EQ(property.Value(), nullptr);
    EXPECT_EQ(Tracked::live, 1);
    detached->Destroy();
  }
  EXPECT_EQ(Tracked::live, 0);
}

TEST(ZoPropertyValue, EqualityComparesValuesOnlyWithTheirAsymmetry) {
  ZoProperty x("x", new ZoIntValue(3));
  ZoProperty y("y", new ZoFloatValue(3.7f));
  EXPECT_EQ(x == y, 1);
  EXPECT_EQ(y == x, 0);  // 3.7 against 3.0
  EXPECT_EQ(x != y, 0);

  ZoProperty v1("v", new ZoVector3Value);
  ZoProperty v2("v", new ZoVector3Value);
  EXPECT_EQ(v1 == v2, 0);
  EXPECT_EQ(v1 == v1, 0);

  ZoProperty none1("a", nullptr);
  ZoProperty none2("b", nullptr);
  EXPECT_EQ(none1 == none2, 1);
  EXPECT_EQ(none1 == x, 0);
  EXPECT_EQ(x == none1, 0);
}

TEST(ZoPropertyValue, ConversionsWithoutAValueOrWithoutAConversion) {
  ZoProperty none("n", nullptr);
  int i = 5;
  ZoString s("kept");
  EXPECT_EQ(none.ConvertToInt(i), 0);
  EXPECT_EQ(none.ConvertToString(s), 0);
  EXPECT_EQ(i, 5);
  EXPECT_EQ(s, ZoString("kept"));
  EXPECT_EQ(none.ConvertTo(ZoTypeCode::IntValue), nullptr);
  EXPECT_EQ(static_cast<int>(none), 0);
  EXPECT_EQ(static_cast<float>(none), 0.0f);
  EXPECT_EQ(static_cast<ZoString>(none), ZoString());

  ZoProperty vector("v", new ZoVector3Value);
  EXPECT_EQ(static_cast<int>(vector), 0);
  EXPECT_EQ(static_cast<ZoString>(vector), ZoString());

  ZoProperty text("t", new ZoStringValue(ZoString("2.5")));
  EXPECT_EQ(static_cast<float>(text), 2.5f);
  EXPECT_EQ(static_cast<int>(text), 2);
  ValuePtr converted(text.ConvertTo(ZoTypeCode::FloatValue));
  ASSERT_NE(converted, nullptr);
  EXPECT_EQ(converted->Compare(ZoFloatValue(2.5f)), 0);
}

// --- The list container -------------------------------------------------------------

TEST(ZoPropertyListTest, FindMovesToTheFrontAndNamesFollowTheOrder) {
  ZoPropertyList list;
  EXPECT_EQ(list.Add(IntProperty("a", 1)), 1);
  EXPECT_EQ(list.Add(IntProperty("b", 2)), 1);
  EXPECT_EQ(list.Add(IntProperty("c", 3)), 1);
  ZoProperty* c = list.Find("c");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(static_cast<int>(*c), 3);
  EXPECT_EQ(Names(list), (std::vector<std::string>{"c", "a", "b"}));
  EXPECT_EQ(Names(list, 1), (std::vector<std::string>{"a", "b", "c"}));
  list.Find("b");
  EXPECT_EQ(Names(list), (std::vector<std::string>{"b", "c", "a"}));
  EXPECT_EQ(list.Find("A"), nullptr);  // names are case-sensitive
  EXPECT_EQ(Names(list), (std::vector<std::string>{"b", "c", "a"}));

  // The names are appended to what the list holds already.
  ZoStringList names;
  names.AppendString("z");
  list.GetPropertyNames(names, 1);
  EXPECT_EQ(names.GetCount(), 4);
}

TEST(ZoPropertyListTest, AddRefusesNullAndDuplicatesAndTheCallerKeepsThem) {
  ZoPropertyList list;
  ZoProperty* first = IntProperty("a", 1);
  EXPECT_EQ(list.Add(first), 1);
  ZoProperty second("a", new ZoIntValue(2));
  EXPECT_EQ(list.Add(&second), 0);
  EXPECT_EQ(list.Add(second), 0);
  EXPECT_EQ(list.Add(static_cast<ZoProperty const*>(nullptr)), 0);
  EXPECT_EQ(list.GetCount(), 1);
  EXPECT_EQ(list.Find("a"), first);

  // By reference, a copy is taken.
  ZoProperty third("b", new ZoIntValue(3));
  EXPECT_EQ(list.Add(third), 1);
  EXPECT_NE(list.Find("b"), &third);
}

TEST(ZoPropertyListTest, ReplaceDestroysTheOldOneAndPutsTheNewOneLast) {
  Tracked::live = 0;
  {
    ZoPropertyList list;
    list.Add(new ZoProperty("a", new Tracked(1)));
    list.Add(new ZoProperty("b", new Tracked(2)));
    list.Add(new ZoProperty("c", new Tracked(3)));
    auto* replacement = new ZoProperty("a", new Tracked(4));
    list.Replace(replacement);
    EXPECT_EQ(Tracked::live, 3);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"b", "c", "a"}));
    EXPECT_EQ(list.Find("a"), replacement);

    // Replacing with the property already held only finds it (to the front).
    list.Replace(replacement);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(Tracked::live, 3);

    // A new name is appended; by reference a copy is stored.
    ZoProperty d("d", new Tracked(5));
    list.Replace(d);
    EXPECT_EQ(Names(list), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_NE(list.Find("d"), &d);
    EXPECT_EQ(Tracked::live, 5);

    list.Replace(static_cast<ZoProperty*>(nullptr));
    EXPECT_EQ(list.GetCount(), 4);
  }
  EXPECT_EQ(Tracked::live, 0);
}

TEST(ZoPropertyListTest, DeleteHandsBackAndDeleteAllDestroys) {
  Tracked::live = 0;
  ZoPropertyList list;
  list.Add(new ZoProperty("a", new Tracked(1)));
  list.Add(new ZoProperty("b", new Tracked(2)));
  ZoProperty* removed = list.Delete("a");
  ASSERT_NE(removed, nullptr);
  EXPECT_EQ(removed->Name(), ZoString("a"));
  EXPECT_EQ(list.Delete("a"), nullptr);
  EXPECT_EQ(Tracked::live, 2);
  delete removed;
  list.DeleteAll();
  EXPECT_EQ(Tracked::live, 0);
  EXPECT_EQ(list.GetCount(), 0);
}

TEST(ZoPropertyListTest, CopiesAreDeepAndKeepTheOrder) {
  ZoPropertyList list;
  list.Add(IntProperty("b", 2));
  list.Add(IntProperty("a", 1));
  ZoPropertyList copy(list);
  EXPECT_EQ(Names(copy), (std::vector<std::string>{"b", "a"}));
  EXPECT_NE(copy.Find("a"), list.Find("a"));
  ZoPropertyList assigned;
  assigned.Add(IntProperty("z", 0));
  assigned = list;
  EXPECT_EQ(Names(assigned), Names(list));
  EXPECT_EQ(Hex(Body(assigned)), Hex(Body(list)));
}

TEST(ZoPropertyListTest, IterateHandsNullKeyPropertyNull) {
  ZoPropertyList list;
  list.Add(IntProperty("a", 1));
  list.Add(IntProperty("b", 2));
  Recorder recorder;
  list.Iterate(recorder);
  EXPECT_EQ(recorder.keys, (std::vector<std::string>{"(null)", "(null)"}));
  EXPECT_EQ(recorder.names, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(recorder.thirds, (std::vector<void*>{nullptr, nullptr}));
}

TEST(ZoPropertyListTest, StreamsAsCountAndPropertyBodies) {
  ZoPropertyList list;
  list.Add(IntProperty("a", 1));
  list.Add(new ZoProperty("b", new ZoStringValue(ZoString("v"))));
  Bytes expected = ByteBuilder()
                       .raw({0x74, 0x73, 0x4C, 0x50})
                       .i32(2)
                       .str("a")
                       .append(FramedInt(1))
                       .str("b")
                       .append(SizedFrame(0x56537472, 5).str("v"));
  EXPECT_EQ(Hex(Framed(&list)), Hex(expected));

  ZoStreamError status;
  ObjectPtr back = ReadFramed(expected, status);
  ASSERT_EQ(status, ZoStreamOk);
  auto* read = dynamic_cast<ZoPropertyList*>(back.get());
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(Names(*read), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(Hex(Framed(read)), Hex(expected));
}

TEST(ZoPropertyListTest, ReadingAppendsDropsValuelessPropertiesAndKeepsDuplicates) {
  ZoPropertyList list;
  list.Add(IntProperty("held", 0));
  Bytes body = ByteBuilder()
                   .i32(3)
                   .str("a").append(FramedInt(1))
                   .str("gone").i32(-2)
                   .str("a").append(FramedInt(2));
  Reader reader(body);
  *reader >> list;
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(Names(list), (std::vector<std::string>{"held", "a", "a"}));
  EXPECT_EQ(static_cast<int>(*list.Find("a")), 1);  // the first of them
}

TEST(ZoPropertyListTest, AVersion40KindThreePropertyIsDropped) {
  Bytes body = ByteBuilder().i32(1).i32(3).str("old").i32(0x11111111).i32(0x22222222).i32(0x7E7E7E7E);
  Reader reader(body, 40);
  ZoPropertyList list;
  *reader >> list;
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(list.GetCount(), 0);
  int32_t sentinel = 0;
  *reader >> sentinel;
  EXPECT_EQ(sentinel, 0x7E7E7E7E);
}

// --- Set operations shared by both containers ------------------------------------------

template <class Container>
class ZoPropertySetTest : public ::testing::Test {};
using Containers = ::testing::Types<ZoPropertyList, ZoPropertyTable>;
class ContainerNames {
 public:
  template <class T>
  static std::string GetName(int) {
    return std::is_same<T, ZoPropertyList>::value ? "List" : "Table";
  }
};
TYPED_TEST_SUITE(ZoPropertySetTest, Containers, ContainerNames);

TYPED_TEST(ZoPropertySetTest, SetValueReplacesOrAdds) {
  Tracked::live = 0;
  {
    TypeParam set;
    EXPECT_EQ(set.SetValue("a", new Tracked(1)), 1);
    EXPECT_EQ(set.SetValue("a", new Tracked(2)), 1);
    EXPECT_EQ(Tracked::live, 1);
    EXPECT_EQ(static_cast<Tracked*>(set.Find("a")->GetValue())->tag, 2);
    EXPECT_EQ(set.SetValue("b", nullptr), 1);
    EXPECT_EQ(set.GetCount(), 2);
  }
  EXPECT_EQ(Tracked::live, 0);
}

TYPED_TEST(ZoPropertySetTest, CopyAddsOnlyNamesNotHeld) {
  TypeParam source;
  source.Add(IntProperty("a", 1));
  source.Add(IntProperty("b", 2));
  TypeParam target;
  target.Add(IntProperty("a", 10));
  target.Copy(source);
  EXPECT_EQ(target.GetCount(), 2);
  EXPECT_EQ(static_cast<int>(*target.Find("a")), 10);
  EXPECT_EQ(static_cast<int>(*target.Find("b")), 2);
  EXPECT_NE(target.Find("b"), source.Find("b"));
  target.Copy(target);
  EXPECT_EQ(target.GetCount(), 2);
}

TYPED_TEST(ZoPropertySetTest, DuplicatesAreRefusedAndDestructionReleasesEverything) {
  Tracked::live = 0;
  {
    TypeParam set;
    EXPECT_EQ(set.Add(new ZoProperty("a", new Tracked(1))), 1);
    ZoProperty duplicate("a", new Tracked(2));
    EXPECT_EQ(set.Add(&duplicate), 0);
    EXPECT_EQ(set.Add(duplicate), 0);
    EXPECT_EQ(set.Add(static_cast<ZoProperty const*>(nullptr)), 0);
    EXPECT_EQ(Tracked::live, 2);
    TypeParam copy(set);
    EXPECT_EQ(Tracked::live, 3);
    copy = set;
    EXPECT_EQ(Tracked::live, 3);
  }
  EXPECT_EQ(Tracked::live, 0);
}

// --- The table container -------------------------------------------------------------------

TEST(ZoPropertyTableTest, FindDeleteReplaceByName) {
  Tracked::live = 0;
  {
    ZoPropertyTable table;
    auto* a = new ZoProperty("a", new Tracked(1));
    table.Add(a);
    table.Add(new ZoProperty("b", new Tracked(2)));
    EXPECT_EQ(table.Find("a"), a);
    EXPECT_EQ(table.Find("c"), nullptr);
    auto* replacement = new ZoProperty("a", new Tracked(3));
    table.Replace(replacement);
    EXPECT_EQ(Tracked::live, 2);
    EXPECT_EQ(table.Find("a"), replacement);
    table.Replace(replacement);
    EXPECT_EQ(table.Find("a"), replacement);
    table.Replace(ZoProperty("c", new Tracked(4)));
    EXPECT_EQ(table.GetCount(), 3);
    ZoProperty* removed = table.Delete("b");
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(table.Find("b"), nullptr);
    delete removed;
    EXPECT_EQ(Names(table, 1), (std::vector<std::string>{"a", "c"}));
    table.DeleteAll();
    EXPECT_EQ(Tracked::live, 0);
    EXPECT_EQ(table.GetCount(), 0);
  }
}

TEST(ZoPropertyTableTest, IterateHandsTheNameAsKey) {
  ZoPropertyTable table;
  table.Add(IntProperty("only", 1));
  Recorder recorder;
  table.Iterate(recorder);
  EXPECT_EQ(recorder.keys, (std::vector<std::string>{"only"}));
  EXPECT_EQ(recorder.names, (std::vector<std::string>{"only"}));
  EXPECT_EQ(recorder.thirds, (std::vector<void*>{nullptr}));
}

TEST(ZoPropertyTableTest, StreamsAsCountAndPropertyBodies) {
  ZoPropertyTable table;
  table.Add(IntProperty("a", 5));
  Bytes expected = ByteBuilder().raw({0x62, 0x61, 0x54, 0x50}).i32(1).str("a").append(FramedInt(5));
  EXPECT_EQ(Hex(Framed(&table)), Hex(expected));
}

TEST(ZoPropertyTableTest, ReadingKeepsTheLastOfEqualNames) {
  Bytes body = ByteBuilder()
                   .i32(4)
                   .str("a").append(FramedInt(1))
                   .str("b").append(FramedInt(2))
                   .str("none").i32(-2)
                   .str("a").append(FramedInt(3));
  ZoPropertyTable table;
  table.Add(IntProperty("b", 0));
  table.Add(IntProperty("kept", 9));
  Reader reader(body);
  *reader >> table;
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(table.GetCount(), 3);
  EXPECT_EQ(static_cast<int>(*table.Find("a")), 3);
  EXPECT_EQ(static_cast<int>(*table.Find("b")), 2);  // replaced the one held before
  EXPECT_EQ(static_cast<int>(*table.Find("kept")), 9);
  EXPECT_EQ(table.Find("none"), nullptr);
}

TEST(ZoPropertyTableTest, WhatATableWritesDoesNotDependOnTheOrderItWasRead) {
  // Enough names to share buckets and to make the table grow.
  ByteBuilder forward;
  ByteBuilder backward;
  int const count = 150;
  forward.i32(count);
  backward.i32(count);
  for (int i = 0; i < count; ++i) {
    forward.str(("p" + std::to_string(i)).c_str()).append(FramedInt(i));
    int j = count - 1 - i;
    backward.str(("p" + std::to_string(j)).c_str()).append(FramedInt(j));
  }
  ZoPropertyTable one;
  ZoPropertyTable two;
  Reader first(forward);
  Reader second(backward);
  *first >> one;
  *second >> two;
  ASSERT_EQ(first->Status(), ZoStreamOk);
  ASSERT_EQ(second->Status(), ZoStreamOk);
  EXPECT_EQ(one.GetCount(), count);
  Bytes written = Body(one);
  EXPECT_EQ(written, Body(two));

  ZoPropertyTable again;
  Reader third(written);
  *third >> again;
  EXPECT_EQ(Body(again), written);
}
