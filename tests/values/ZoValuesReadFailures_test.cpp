// Every value, container and render attribute written and read back, framed
// and bare; every body truncated at every length; and why bad bodies fail.
// Under the sanitizers these also show that nothing leaks and nothing is read
// out of bounds.

#include "ZoValuesTestSupport.h"

#include <typeinfo>

using namespace zovaluestest;

namespace {

// A property holding a value of a class no reader knows, as a reader keeps it.
ZoProperty* UnknownValueProperty() {
  Bytes const body = ByteBuilder().str("unknown").append(SizedFrame(0x5A5A5A5A, 3).u8(1).u8(2).u8(3));
  auto* property = new ZoProperty;
  EXPECT_EQ(ReadBody(*property, body), ReadOk(body.size()));
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

// One populated object of every class, by name, with its framed bytes built
// by hand from the field tables (nested samples go without).
struct Sample {
  std::string name;
  ObjectPtr object;
  Bytes framed;
};

std::vector<Sample> Samples() {
  std::vector<Sample> samples;
  auto add = [&](char const* name, ZoStreamObject* object, Bytes framed = {}) {
    samples.push_back({name, ObjectPtr(object), std::move(framed)});
  };
  Bytes const grey = Rgba(0.5f, 0.5f, 0.5f, 1), black = Rgba(0, 0, 0, 1);

  add("int", new ZoIntValue(7),
      {0xFF, 0xFF, 0xFF, 0xFF, 0x74, 0x6E, 0x49, 0x56, 0x04, 0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00});
  add("float", new ZoFloatValue(-1.25f), SizedFrame(0x56466C6F, 4).f32(-1.25f));
  add("string", new ZoStringValue(ZoString("abc")), SizedFrame(0x56537472, 7).str("abc"));
  add("empty string", new ZoStringValue, SizedFrame(0x56537472, 4).i32(0));
  add("vector", new ZoVector3Value(ZoVector3(1, 2, -3)), SizedFrame(0x56566533, 12).f32(1).f32(2).f32(-3));
  add("transform2", new ZoTransform2Value(ZoTransform2(4, 5, 0.25f)), SizedFrame(0x56547232, 12).f32(4).f32(5).f32(0.25f));
  add("transform3", new ZoTransform3Value(ZoTransform3(ZoVector3(1, -2, 3.5f), ZoRotation3(0.5f, 0.5f, -0.5f, 0.5f))),
      SizedFrame(0x56547233, 28).f32(1).f32(-2).f32(3.5f).f32(0.5f).f32(0.5f).f32(-0.5f).f32(0.5f));
  // The identity rotation is stored scalar first: 1, 0, 0, 0.
  add("identity", new ZoTransform3Value, SizedFrame(0x56547233, 28).f32(0).f32(0).f32(0).f32(1).f32(0).f32(0).f32(0));
  add("list", MixedList());
  auto* pair = new ZoListValue;  // a count, then the items framed
  pair->Append(new ZoIntValue(1));
  pair->Append(new ZoStringValue(ZoString("x")));
  add("list of two", pair,
      SizedFrame(0x564C6973, 0).i32(2).append(FramedInt(1)).append(SizedFrame(0x56537472, 5).str("x")));
  add("empty list", new ZoListValue, SizedFrame(0x564C6973, 0).i32(0));

  auto* gaps = new ZoArrayValue;  // a count, then each item framed or -2
  gaps->SetNumItems(3);
  gaps->SetItem(0, new ZoIntValue(5));
  gaps->SetItem(2, new ZoStringValue(ZoString("z")));
  add("array with a gap", gaps,
      SizedFrame(0x56417272, 0).i32(3).append(FramedInt(5)).i32(-2).append(SizedFrame(0x56537472, 5).str("z")));
  auto* array = new ZoArrayValue;
  array->SetNumItems(4);
  array->SetItem(0, new ZoFloatValue(2));
  array->SetItem(2, MixedList());
  array->SetItem(3, new ZoTransform2Value);
  add("array", array);

  add("named int", new ZoProperty("a", new ZoIntValue(7)),
      {0x70, 0x6F, 0x72, 0x50, 0x01, 0x00, 0x00, 0x00, 0x61, 0xFF, 0xFF, 0xFF, 0xFF, 0x74, 0x6E, 0x49, 0x56, 0x04,
       0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00});
  add("property", new ZoProperty("p", MixedList()));
  add("property without value", new ZoProperty("none", nullptr), ByteBuilder().chars("porP").str("none").i32(-2));
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

  add("color", new ZoColor(0.25f, 0.5f, 0.75f, 1), SizedFrame(0x436F6C72, 16).append(Rgba(0.25f, 0.5f, 0.75f, 1)));
  add("default material", new ZoMaterial,
      SizedFrame(0x4D617432, 0).i32(4).append(grey).append(grey).append(black).append(black).f32(10).i32(0).i32(0));
  auto* material = new ZoMaterial;
  material->flags = 1;
  material->color4.Set(0.25f, 0.5f, 0.75f, 1);
  material->scalar = 3;
  material->numTextures = 2;
  material->textures[0].textureInt0 = 7;
  material->textures[0].textureInt1 = 8;
  material->textures[0].name = "wood";
  material->textures[1].name = "grain";
  material->SetOpacityMask("m");
  ByteBuilder textured = SizedFrame(0x4D617432, 0);
  textured.i32(1).append(grey).append(grey).append(black).append(Rgba(0.25f, 0.5f, 0.75f, 1));
  textured.f32(3).i32(2).i32(7).i32(8).str("wood").i32(0).i32(0).str("grain");
  add("material", material, textured.i32(1).str("OpacityMask").append(SizedFrame(0x56537472, 5).str("m")));

  auto* light = new ZoLight;  // ending with its on flag after the properties
  light->kind = 2;
  light->vector = ZoVector3(0, 0, -1);
  light->on = false;
  light->properties.Add(new ZoProperty("k", new ZoIntValue(1)));
  ByteBuilder lit = SizedFrame(0x4C697432, 0);
  lit.i32(2).f32(0).f32(0).f32(-1).append(Rgba(0.2f, 0.2f, 0.2f, 1)).append(Rgba(0.8f, 0.8f, 0.8f, 1));
  add("light", light, lit.append(black).f32(0.7853982f).i32(1).str("k").append(FramedInt(1)).u8(0));

  auto* camera = new ZoCamera;
  camera->name = "eye";
  camera->kind = 1;
  camera->properties.Add(new ZoProperty("fov", new ZoFloatValue(2)));
  ByteBuilder eye = SizedFrame(0x43616D32, 0);
  eye.str("eye").i32(1).f32(0.65f).f32(0.1f).f32(1000).i32(1).str("fov");
  add("camera", camera, eye.append(SizedFrame(0x56466C6F, 4).f32(2)));
  return samples;
}

}  // namespace

// Reading framed objects back as their own classes also shows that every
// class is registered under its code.
TEST(ZoValuesRoundTrip, FramedAndBareBodiesAndCopiesWriteTheSameBytesAndEveryPrefixFails) {
  for (auto const& [name, object, framed] : Samples()) {
    SCOPED_TRACE(name);
    Bytes written = Framed(object.get());
    if (!framed.empty()) { EXPECT_EQ(Hex(written), Hex(framed)); }
    Reader reader(written);
    ObjectPtr back(reader->ReadObject(nullptr));
    ASSERT_EQ(reader->Status(), ZoStreamOk);
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(reader.Consumed(), written.size());
    ZoStreamObject const& readObject = *back;
    ZoStreamObject const& original = *object;
    EXPECT_EQ(typeid(readObject), typeid(original));
    EXPECT_EQ(Hex(Framed(back.get())), Hex(written));
    if (auto* value = dynamic_cast<ZoTypedValue*>(object.get())) {
      ValuePtr copy(value->Copy());
      EXPECT_EQ(Hex(Framed(copy.get())), Hex(written));
    }

    Bytes body = Body(*object);
    for (size_t length = 0; length <= body.size(); ++length) {
      ObjectPtr fresh(ZoStream::CreateObject(object->StreamType()));
      ASSERT_NE(fresh, nullptr);
      Reader bare(Bytes(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(length)));
      *bare >> *fresh;
      if (length < body.size()) {
        ASSERT_NE(bare->Status(), ZoStreamOk) << "cut at " << length;
      } else {
        ASSERT_EQ(bare->Status(), ZoStreamOk);
        EXPECT_EQ(bare.Consumed(), body.size());
        EXPECT_EQ(Hex(Body(*fresh)), Hex(body));
      }
    }
  }
}

// --- Why a read failed -----------------------------------------------------------------------

// A truncated and a corrupted input of each reader of this layer: the read
// fails, keeping the offset where it failed and a reason naming what.
TEST(ZoValuesReadFailures, EachReaderNamesWhereAndWhy) {
  using zotest::BadInput;
  ZoProperty inner("inner", nullptr);
  Bytes const material = Body(ZoMaterial());
  ByteBuilder fiveTextures;
  fiveTextures.i32(4);
  for (int i = 0; i < 16; ++i) fiveTextures.f32(0.5f);
  fiveTextures.f32(10).i32(5);
  ByteBuilder deepList;
  for (int i = 0; i <= ZoReadLimits::MaxDepth(); ++i) deepList.append(SizedFrame(ZoTypeCode::ListValue, 0).i32(1));
  BadInput const cases[] = {
      {"int cut short", ByteBuilder().i16(1), ZoTypeCode::IntValue, ZoStreamReadError, 0, "4 bytes wanted, 2 left"},
      {"string value too long", ByteBuilder().i32(513), ZoTypeCode::StringValue, ZoStreamFormatError, 0,
       "string length 513"},
      {"list count past the data", ByteBuilder().i32(3).i32(-2).i32(-2), ZoTypeCode::ListValue, ZoStreamReadError, 0,
       "count 3 of 4-byte elements exceeds the 8 bytes left"},
      {"list item of another class", ByteBuilder().i32(1).append(Framed(&inner)), ZoTypeCode::ListValue,
       ZoStreamFormatError, 4 + static_cast<int64_t>(Framed(&inner).size()), "type code 0x50726F70 where another"},
      {"lists nested past the cap", deepList.i32(-2), 0, ZoStreamFormatError, 16 * ZoReadLimits::MaxDepth() + 12,
       "nesting deeper than"},
      {"array count past the data", ByteBuilder().i32(INT32_MAX).i32(-2), ZoTypeCode::ArrayValue, ZoStreamReadError,
       0, "count 2147483647"},
      {"array item cut short", ByteBuilder().i32(2).i32(-2).append(zotest::Cut(FramedInt(1), 1)),
       ZoTypeCode::ArrayValue, ZoStreamReadError, 20, "4 bytes wanted, 3 left"},
      {"property value of another class", ByteBuilder().str("p").append(Framed(&inner)), ZoTypeCode::Property,
       ZoStreamFormatError, 5 + static_cast<int64_t>(Framed(&inner).size()), "type code 0x50726F70 where another"},
      {"property value of another class at 42", ByteBuilder().str("p").append(Framed(&inner)), ZoTypeCode::Property,
       ZoStreamFormatError, 5 + static_cast<int64_t>(Framed(&inner).size()), "type code 0x50726F70 where another", 42},
      {"property name cut short", ByteBuilder().i32(8).chars("nam"), ZoTypeCode::Property, ZoStreamReadError, 4,
       "8 bytes wanted, 3 left"},
      {"unknown value of negative size", ByteBuilder().str("p").append(SizedFrame(0x5A5A5A5A, -5)),
       ZoTypeCode::Property, ZoStreamFormatError, 17, "declared body size -5 is negative"},
      {"property list count past the data", ByteBuilder().i32(INT32_MAX).str("a"), ZoTypeCode::PropertyList,
       ZoStreamReadError, 0, "count 2147483647 of 8-byte elements"},
      {"property table cut short", ByteBuilder().i32(1).str("a").append(zotest::Cut(FramedInt(1), 2)),
       ZoTypeCode::PropertyTable, ZoStreamReadError, 21, "4 bytes wanted, 2 left"},
      {"five textures", fiveTextures, ZoTypeCode::Material, ZoStreamFormatError, 72, "texture count 5 is outside 0 to 4"},
      {"negative texture count", ByteBuilder().append(Bytes(fiveTextures.get().begin(), fiveTextures.get().end() - 4)).i32(-1),
       ZoTypeCode::Material, ZoStreamFormatError, 72, "texture count -1"},
      {"material cut short", zotest::Cut(material, 1), ZoTypeCode::Material, ZoStreamReadError,
       static_cast<int64_t>(material.size()) - 4, "4 bytes wanted, 3 left"},
      {"light cut short", zotest::Cut(Body(ZoLight()), 1), ZoTypeCode::Light, ZoStreamReadError,
       static_cast<int64_t>(Body(ZoLight()).size()) - 1, "1 bytes wanted, 0 left"},
      {"camera cut short", zotest::Cut(Body(ZoCamera()), 3), ZoTypeCode::Camera, ZoStreamReadError,
       static_cast<int64_t>(Body(ZoCamera()).size()) - 4, "4 bytes wanted, 1 left"},
  };
  for (BadInput const& c : cases) zotest::ExpectRefused(c);

  // A negative count reads as an empty container; the cap is inclusive.
  EXPECT_EQ(Reread(SizedFrame(ZoTypeCode::ListValue, 0).i32(INT32_MIN)),
            "status 0: " + Hex(SizedFrame(ZoTypeCode::ListValue, 0).i32(0)));
  EXPECT_EQ(Reread(ByteBuilder().i32(ZoTypeCode::PropertyTable).i32(-5).str("a").append(FramedInt(1))),
            "status 0: " + Hex(ByteBuilder().i32(ZoTypeCode::PropertyTable).i32(0)));
  ByteBuilder eight = SizedFrame(ZoTypeCode::ArrayValue, 0).i32(8);
  for (int i = 0; i < 8; ++i) eight.i32(-2);
  ZoReadLimits::SetMaxAllocation(8 * sizeof(ZoTypedValue*));
  EXPECT_EQ(Reread(eight), "status 0: " + Hex(eight));
  ZoReadLimits::Reset();
  // The oldest property layout nests lists too (kind 6 reads a list body).
  Reader kindSix(ByteBuilder().i32(6).str("deep").i32(1).append(deepList), 41);
  ZoProperty property;
  *kindSix >> property;
  EXPECT_EQ(kindSix->Status(), ZoStreamFormatError);
}

// A material holding an impossible count writes what its slots hold.
TEST(ZoValuesReadFailures, AMaterialWithAnImpossibleCountWritesItsFourSlots) {
  ZoMaterial material;
  material.numTextures = 9;
  Bytes body = Body(material);
  ZoMaterial read;
  ASSERT_EQ(ReadBody(read, body), ReadOk(body.size()));
  EXPECT_EQ(read.numTextures, 4);
}
