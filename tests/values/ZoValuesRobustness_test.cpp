// Every value, container and render attribute written and read back, framed
// and bare; every body truncated at every length; counts that claim more
// than the stream holds; nesting past the cap; and bytes changed one at a
// time. Run under the sanitizers, these also show that nothing leaks and
// nothing is read out of bounds.
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/values/ZoArrayValue.h>
#include <zoactor/values/ZoCamera.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoLight.h>
#include <zoactor/values/ZoListValue.h>
#include <zoactor/values/ZoMaterial.h>
#include <zoactor/values/ZoOpaqueValue.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoPropertyTable.h>

#include "ZoValuesTestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <typeinfo>
#include <string>
#include <utility>
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

// A property holding a value of a class no reader knows, as a reader keeps it.
ZoProperty* UnknownValueProperty() {
  Reader reader(ByteBuilder().str("unknown").append(SizedFrame(0x5A5A5A5A, 3).u8(1).u8(2).u8(3)));
  auto* property = new ZoProperty;
  *reader >> *property;
  EXPECT_EQ(reader->Status(), ZoStreamOk);
  return property;
}

ZoListValue* MixedList() {
  auto* inner = new ZoListValue;
  inner->Append(new ZoVector3Value(ZoVector3(1, 2, 3)));
  auto* list = new ZoListValue;
  list->Append(new ZoIntValue(1));
  list->Append(new ZoStringValue(ZoString("two")));
  list->Append(inner);
  list->Append(new ZoColor(0.1f, 0.2f, 0.3f, 0.4f));
  return list;
}

// One populated object of every class, by name.
std::vector<std::pair<std::string, ObjectPtr>> Samples() {
  std::vector<std::pair<std::string, ObjectPtr>> samples;
  auto add = [&](char const* name, ZoStreamObject* object) { samples.emplace_back(name, ObjectPtr(object)); };

  add("int", new ZoIntValue(-5));
  add("float", new ZoFloatValue(1.25f));
  add("string", new ZoStringValue(ZoString("text")));
  add("empty string", new ZoStringValue);
  add("vector", new ZoVector3Value(ZoVector3(-1, 0.5f, 2)));
  add("transform2", new ZoTransform2Value(ZoTransform2(1, 2, 0.5f)));
  add("transform3", new ZoTransform3Value(ZoTransform3(ZoVector3(4, 5, 6), ZoRotation3(0.5f, 0.5f, 0.5f, 0.5f))));
  add("list", MixedList());
  add("empty list", new ZoListValue);

  auto* array = new ZoArrayValue;
  array->SetNumItems(4);
  array->SetItem(0, new ZoFloatValue(2));
  array->SetItem(2, MixedList());
  array->SetItem(3, new ZoTransform2Value);
  add("array", array);

  add("property", new ZoProperty("p", MixedList()));
  add("property without value", new ZoProperty("none", nullptr));
  add("property with unknown value", UnknownValueProperty());

  auto* list = new ZoPropertyList;
  list->Add(new ZoProperty("b", new ZoIntValue(2)));
  list->Add(new ZoProperty("a", new ZoStringValue(ZoString("x"))));
  list->Add(UnknownValueProperty());
  list->Add(new ZoProperty("material", new ZoMaterial));
  add("property list", list);

  auto* table = new ZoPropertyTable;
  for (int i = 0; i < 12; ++i) table->Add(new ZoProperty(ZoString("t") << i, new ZoIntValue(i)));
  table->Add(new ZoProperty("light", new ZoLight));
  table->Add(UnknownValueProperty());
  add("property table", table);

  add("color", new ZoColor(0.25f, 0.5f, 0.75f, 1));

  auto* material = new ZoMaterial;
  material->flags = 7;
  material->numTextures = 4;
  for (int i = 0; i < 4; ++i) {
    material->textures[i].textureInt0 = i;
    material->textures[i].textureInt1 = -i;
    material->textures[i].name = ZoString("tex") << i;
  }
  material->SetOpacityMask("mask");
  material->properties.Add(new ZoProperty("gloss", new ZoFloatValue(0.5f)));
  add("material", material);

  auto* light = new ZoLight;
  light->kind = 3;
  light->on = false;
  light->properties.Add(new ZoProperty("LightMap", new ZoStringValue(ZoString("lm"))));
  add("light", light);

  auto* camera = new ZoCamera;
  camera->name = "cam";
  camera->farPlane = 50;
  camera->properties.Add(new ZoProperty("zoom", new ZoIntValue(3)));
  add("camera", camera);
  return samples;
}

// Older layouts, each a bare body and the version it is read under, with the
// object it is read into.
struct OlderBody {
  std::string name;
  int32_t version;
  Bytes bytes;
  std::function<ZoStreamError(ZoStream&)> read;
};

std::vector<OlderBody> OlderBodies() {
  std::vector<OlderBody> bodies;
  auto material = [](ZoStream& s) {
    ZoMaterial m;
    return (s >> m).Status();
  };
  ByteBuilder oldMaterial;
  oldMaterial.str("tex").str("mask").f32(1).f32(1).f32(1).f32(2).f32(2).f32(2).i32(0).i32(0).i32(0);
  oldMaterial.f32(5).f32(0.5f).i32(17);
  Bytes at9 = oldMaterial;
  bodies.push_back({"material 9", 9, at9, material});
  Bytes at19 = ByteBuilder().append(at9).str("dropped");
  bodies.push_back({"material 19", 19, at19, material});
  Bytes at20 = ByteBuilder().append(at9).i32(1).str("dropped");
  bodies.push_back({"material 20", 20, at20, material});

  auto light = [](ZoStream& s) {
    ZoLight l;
    return l.ReadOlderRecord(s);
  };
  ByteBuilder light43;
  light43.i32(4).f32(1).i32(0).f32(1).f32(1).f32(1);
  bodies.push_back({"light 43", 43, light43, light});
  for (int32_t version : {45, 46}) {
    ByteBuilder named;
    named.i32(4).i32(0).f32(1).f32(1).f32(1);
    for (int i = 0; i < 20; ++i) named.u8(0);
    named.f32(2);
    for (int i = 0; i < (version == 46 ? 76 : 64); ++i) named.u8('L');
    bodies.push_back({"light " + std::to_string(version), version, named, light});
  }

  auto camera = [](ZoStream& s) {
    ZoCamera c;
    return c.ReadOlderRecord(s);
  };
  bodies.push_back({"camera 46", 46, ByteBuilder().i32(1).i32(2), camera});
  bodies.push_back({"camera 47", 47, ByteBuilder().i32(1).i32(2).i32(3).i32(4), camera});
  bodies.push_back({"camera 48", 48, ByteBuilder().i32(0).f32(1).f32(2).f32(3), camera});

  auto propertyList = [](ZoStream& s) {
    ZoPropertyList l;
    return (s >> l).Status();
  };
  ByteBuilder kinds;
  kinds.i32(5);
  kinds.i32(0).str("s").str("text");
  kinds.i32(3).str("dropped").i32(1).i32(2);
  kinds.i32(6).str("list").i32(1).append(SizedFrame(0x56496E74, 4).i32(1));
  kinds.i32(7).str("xf");
  for (int i = 0; i < 7; ++i) kinds.f32(static_cast<float>(i));
  kinds.i32(8).str("framed").append(SizedFrame(0x56466C6F, 4).f32(1));
  bodies.push_back({"property list 41", 41, kinds, propertyList});
  return bodies;
}

}  // namespace

// --- Round trips ---------------------------------------------------------------------

// Reading framed objects back as their own classes also shows that every
// class is registered under its code.
TEST(ZoValuesRoundTrip, FramedObjectsReadBackAndWriteTheSameBytes) {
  for (auto const& [name, object] : Samples()) {
    Bytes written = Framed(object.get());
    Reader reader(written);
    ObjectPtr back(reader->ReadObject(nullptr));
    ASSERT_EQ(reader->Status(), ZoStreamOk) << name;
    ASSERT_NE(back, nullptr) << name;
    EXPECT_EQ(reader.Consumed(), written.size()) << name;
    ZoStreamObject const& readObject = *back;
    ZoStreamObject const& original = *object;
    EXPECT_EQ(typeid(readObject), typeid(original)) << name;
    EXPECT_EQ(Hex(Framed(back.get())), Hex(written)) << name;
  }
}

TEST(ZoValuesRoundTrip, BareBodiesReadBackIntoFreshObjects) {
  for (auto const& [name, object] : Samples()) {
    Bytes body = Body(*object);
    ObjectPtr fresh(ZoStream::CreateObject(object->StreamType()));
    ASSERT_NE(fresh, nullptr) << name;
    Reader reader(body);
    *reader >> *fresh;
    ASSERT_EQ(reader->Status(), ZoStreamOk) << name;
    EXPECT_EQ(reader.Consumed(), body.size()) << name;
    EXPECT_EQ(Hex(Body(*fresh)), Hex(body)) << name;
  }
}

TEST(ZoValuesRoundTrip, CopiesWriteWhatTheOriginalsWrite) {
  for (auto const& [name, object] : Samples()) {
    auto* value = dynamic_cast<ZoTypedValue*>(object.get());
    if (value == nullptr) continue;
    ValuePtr copy(value->Copy());
    ASSERT_NE(copy, nullptr) << name;
    EXPECT_EQ(Hex(Framed(copy.get())), Hex(Framed(value))) << name;
  }
}

// --- Truncation --------------------------------------------------------------------------

TEST(ZoValuesTruncation, EveryFramedPrefixFailsCleanly) {
  for (auto const& [name, object] : Samples()) {
    Bytes written = Framed(object.get());
    for (size_t length = 0; length < written.size(); ++length) {
      Bytes prefix(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(length));
      ZoStreamError status;
      ObjectPtr partial = ReadFramed(prefix, status);
      ASSERT_NE(status, ZoStreamOk) << name << " cut at " << length;
    }
  }
}

TEST(ZoValuesTruncation, EveryBarePrefixFailsCleanly) {
  for (auto const& [name, object] : Samples()) {
    Bytes body = Body(*object);
    for (size_t length = 0; length < body.size(); ++length) {
      Bytes prefix(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length));
      ObjectPtr fresh(ZoStream::CreateObject(object->StreamType()));
      Reader reader(prefix);
      *reader >> *fresh;
      ASSERT_NE(reader->Status(), ZoStreamOk) << name << " cut at " << length;
    }
  }
}

TEST(ZoValuesTruncation, EveryPrefixOfAnOlderLayoutFailsCleanly) {
  for (OlderBody const& older : OlderBodies()) {
    {
      Reader whole(older.bytes, older.version);
      ASSERT_EQ(older.read(*whole), ZoStreamOk) << older.name;
      EXPECT_EQ(whole.Consumed(), older.bytes.size()) << older.name;
    }
    for (size_t length = 0; length < older.bytes.size(); ++length) {
      Bytes prefix(older.bytes.begin(), older.bytes.begin() + static_cast<std::ptrdiff_t>(length));
      Reader reader(prefix, older.version);
      ASSERT_NE(older.read(*reader), ZoStreamOk) << older.name << " cut at " << length;
    }
  }
}

// --- Counts that do not fit ------------------------------------------------------------------

TEST(ZoValuesBadCounts, ListAndArrayCountsBeyondTheStreamFailAndNegativeOnesReadEmpty) {
  struct Case {
    int32_t code;
    int32_t count;
    ZoStreamError expected;
  };
  for (Case c : {Case{0x564C6973, INT32_MAX, ZoStreamReadError}, Case{0x564C6973, -1, ZoStreamOk},
                 Case{0x564C6973, 3, ZoStreamReadError}, Case{0x56417272, INT32_MAX, ZoStreamReadError},
                 Case{0x56417272, INT32_MIN, ZoStreamOk}, Case{0x56417272, 3, ZoStreamReadError}}) {
    // Two null items follow: room for two, not for three.
    Bytes bytes = SizedFrame(c.code, 0).i32(c.count).i32(-2).i32(-2);
    ZoStreamError status;
    ObjectPtr object = ReadFramed(bytes, status);
    EXPECT_EQ(status, c.expected) << std::hex << c.code << " " << std::dec << c.count;
    auto* array = dynamic_cast<ZoArrayValue*>(object.get());
    if (array != nullptr) {
      EXPECT_EQ(array->NumItems(), 0);
    }
    auto* list = dynamic_cast<ZoListValue*>(object.get());
    if (list != nullptr) {
      EXPECT_EQ(list->GetCount(), 0);
    }
  }
}

TEST(ZoValuesBadCounts, ArrayEntriesCountAgainstTheAllocationCap) {
  Bytes nine = SizedFrame(0x56417272, 0).i32(9);
  Bytes eight = SizedFrame(0x56417272, 0).i32(8);
  for (int i = 0; i < 9; ++i) nine.insert(nine.end(), {0xFE, 0xFF, 0xFF, 0xFF});
  for (int i = 0; i < 8; ++i) eight.insert(eight.end(), {0xFE, 0xFF, 0xFF, 0xFF});
  ZoReadLimits::SetMaxAllocation(8 * sizeof(ZoTypedValue*));
  ZoStreamError status;
  ObjectPtr refused = ReadFramed(nine, status);
  EXPECT_EQ(status, ZoStreamFormatError);
  ObjectPtr accepted = ReadFramed(eight, status);
  EXPECT_EQ(status, ZoStreamOk);
  ZoReadLimits::Reset();
  ASSERT_NE(accepted, nullptr);
  EXPECT_EQ(static_cast<ZoArrayValue*>(accepted.get())->NumItems(), 8);
}

TEST(ZoValuesBadCounts, PropertyContainerCountsBeyondTheStreamFailAndNegativeOnesReadEmpty) {
  for (int32_t code : {0x504C7374, 0x50546162}) {
    for (int32_t count : {INT32_MAX, -5, 2}) {
      Bytes bytes = ByteBuilder().i32(code).i32(count).str("a").append(SizedFrame(0x56496E74, 4).i32(1));
      ZoStreamError status;
      ObjectPtr object = ReadFramed(bytes, status);
      if (count < 0) {
        EXPECT_EQ(status, ZoStreamOk) << std::hex << code;
        auto* container = dynamic_cast<ZoPropertySet*>(object.get());
        ASSERT_NE(container, nullptr);
      } else {
        EXPECT_NE(status, ZoStreamOk) << std::hex << code << " " << std::dec << count;
      }
    }
  }
}

TEST(ZoValuesBadCounts, AMaterialWithMoreThanFourTexturesFails) {
  for (int32_t count : {5, 1000, -1}) {
    ZoMaterial material;
    ByteBuilder body;
    body.i32(4);
    for (int i = 0; i < 16; ++i) body.f32(0.5f);
    body.f32(10).i32(count);
    for (int i = 0; i < 5; ++i) body.i32(0).i32(0).str("t");
    body.i32(0);
    Reader reader(body);
    *reader >> material;
    EXPECT_EQ(reader->Status(), ZoStreamFormatError) << count;
    EXPECT_EQ(material.numTextures, 0) << count;
  }
}

TEST(ZoValuesBadCounts, AMaterialHoldingAnImpossibleCountWritesWhatItsSlotsHold) {
  ZoMaterial material;
  material.numTextures = 9;
  Bytes body = Body(material);
  ZoMaterial read;
  Reader reader(body);
  *reader >> read;
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(read.numTextures, 4);
  EXPECT_EQ(reader.Consumed(), body.size());
}

// --- Nesting --------------------------------------------------------------------------------

TEST(ZoValuesNesting, ListsNestedPastTheCapFailWithoutExhaustingTheStack) {
  ByteBuilder bytes;
  int const depth = ZoReadLimits::MaxDepth() + 10;
  for (int i = 0; i < depth; ++i) bytes.append(SizedFrame(0x564C6973, 0).i32(1));
  bytes.i32(-2);
  ZoStreamError status;
  ObjectPtr object = ReadFramed(bytes, status);
  EXPECT_EQ(status, ZoStreamFormatError);

  // Within the cap the same shape reads.
  ByteBuilder shallow;
  for (int i = 0; i < 20; ++i) shallow.append(SizedFrame(0x564C6973, 0).i32(1));
  shallow.i32(0);
  ObjectPtr fine = ReadFramed(shallow, status);
  EXPECT_EQ(status, ZoStreamOk);
}

TEST(ZoValuesNesting, OldestPropertyLayoutNestingIsBounded) {
  // Kind 6 reads a list body whose items are framed: each level passes
  // through the framing, so the cap applies.
  ByteBuilder bytes;
  int const depth = ZoReadLimits::MaxDepth() + 10;
  for (int i = 0; i < depth; ++i) bytes.append(SizedFrame(0x564C6973, 0).i32(1));
  bytes.i32(-2);
  Bytes property = ByteBuilder().i32(6).str("deep").i32(1).append(bytes);
  Reader reader(property, 41);
  ZoProperty read;
  *reader >> read;
  EXPECT_EQ(reader->Status(), ZoStreamFormatError);
}

// --- Changed bytes --------------------------------------------------------------------------

TEST(ZoValuesMutation, ChangedBytesReadSafelyAndWhatReadsWritesBackStably) {
  ZoPropertyList everything;
  for (auto& [name, object] : Samples()) {
    auto* value = dynamic_cast<ZoTypedValue*>(object.get());
    if (value != nullptr) everything.Add(new ZoProperty(name.c_str(), value->Copy()));
  }
  ZoPropertyTable table;
  table.Copy(everything);
  int accepted = 0;
  for (Bytes const& written : {Framed(&everything), Framed(&table)}) {
    for (size_t at = 0; at < written.size(); ++at) {
      for (uint8_t replacement : {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF}) {
        if (written[at] == replacement) continue;
        Bytes changed = written;
        changed[at] = replacement;
        for (int32_t version : {41, 99, kZoCurrentVersion}) {
          ZoStreamError status;
          ObjectPtr object = ReadFramed(changed, status, version);
          if (object == nullptr || status != ZoStreamOk) continue;
          ++accepted;
          Bytes first = Framed(object.get());
          ObjectPtr again = ReadFramed(first, status);
          ASSERT_EQ(status, ZoStreamOk) << "byte " << at << " = " << int{replacement};
          ASSERT_EQ(Hex(Framed(again.get())), Hex(first)) << "byte " << at << " = " << int{replacement};
        }
      }
    }
  }
  EXPECT_GT(accepted, 0);
}
