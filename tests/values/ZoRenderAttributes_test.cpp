// Render attributes: colour, material, light and camera bodies against
// hand-built layouts, the opacity mask, and the older material, camera and
// light records on both sides of every version threshold.
#include <zoactor/values/ZoCamera.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoLight.h>
#include <zoactor/values/ZoMaterial.h>

#include "ZoValuesTestSupport.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::Hex;
using namespace zovaluestest;

namespace {

ByteBuilder& Rgba(ByteBuilder& b, float r, float g, float bl, float a) { return b.f32(r).f32(g).f32(bl).f32(a); }

void ExpectColor(ZoColor const& c, float r, float g, float b, float a) {
  EXPECT_EQ(c.r, r);
  EXPECT_EQ(c.g, g);
  EXPECT_EQ(c.b, b);
  EXPECT_EQ(c.a, a);
}

constexpr int32_t kSentinel = 0x7E7E7E7E;

// A frozen older record from tests/data/older-records/, ending in the sentinel.
Bytes Golden(std::string const& name) { return zotest::DataFile("older-records/" + name + ".bin"); }

// Reads `bytes` (a record and a sentinel) into `target` under `version` and
// checks that exactly the record was consumed, and that every shorter prefix
// of the record fails to read.
template <class Target, class Read>
void ReadRecord(Bytes const& bytes, int32_t version, Target& target, Read read) {
  Reader reader(bytes, version);
  read(target, *reader);
  ASSERT_EQ(reader->Status(), ZoStreamOk) << "version " << version;
  int32_t sentinel = 0;
  *reader >> sentinel;
  EXPECT_EQ(sentinel, kSentinel) << "version " << version << " consumed the wrong number of bytes";
  for (size_t length = 0; length + 4 < bytes.size(); ++length) {
    Target fresh;
    Reader prefix(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)), version);
    read(fresh, *prefix);
    ASSERT_NE(prefix->Status(), ZoStreamOk) << "version " << version << " cut at " << length;
  }
}

void ReadMaterial(ZoMaterial& m, ZoStream& s) { s >> m; }
void ReadOldLight(ZoLight& l, ZoStream& s) { l.ReadOlderRecord(s); }
void ReadOldCamera(ZoCamera& c, ZoStream& s) { c.ReadOlderRecord(s); }

}  // namespace

TEST(ZoColorTest, BodyScaleAndEquality) {
  ZoColor color(1, 2, 3, 4);
  ByteBuilder expected;
  expected.i32(-1).raw({0x72, 0x6C, 0x6F, 0x43}).i32(16);
  EXPECT_EQ(Hex(Framed(&color)), Hex(Rgba(expected, 1, 2, 3, 4)));
  color.Scale(2, 2, 2, 0.5f);
  ExpectColor(color, 2, 4, 6, 2);
  EXPECT_TRUE(color == ZoColor(2, 4, 6, 2));
  EXPECT_TRUE(color != ZoColor(2, 4, 6, 2.5f));
  float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(ZoColor(nan, 0, 0, 1) == ZoColor(5, 0, 0, 1));
  ExpectColor(ZoColor(), 0, 0, 0, 1);
  EXPECT_EQ(color.Compare(color), -1);
}

// --- Material ----------------------------------------------------------------------------

TEST(ZoMaterialTest, DefaultMaterialFramedBody) {
  ZoMaterial material;
  ByteBuilder expected;
  expected.raw({0xFF, 0xFF, 0xFF, 0xFF, 0x32, 0x74, 0x61, 0x4D, 0x00, 0x00, 0x00, 0x00}).i32(4);
  Rgba(expected, 0.5f, 0.5f, 0.5f, 1);
  Rgba(expected, 0.5f, 0.5f, 0.5f, 1);
  Rgba(expected, 0, 0, 0, 1);
  Rgba(expected, 0, 0, 0, 1);
  expected.f32(10.0f).i32(0).i32(0);
  EXPECT_EQ(Hex(Framed(&material)), Hex(expected));
}

TEST(ZoMaterialTest, TexturesAndPropertiesBody) {
  ZoMaterial material;
  material.flags = 1;
  material.color4.Set(0.25f, 0.5f, 0.75f, 1);
  material.scalar = 3;
  material.numTextures = 2;
  material.textures[0].textureInt0 = 7;
  material.textures[0].textureInt1 = 8;
  material.textures[0].name = "wood";
  material.textures[1].name = "grain";
  material.SetOpacityMask("m");
  ByteBuilder expected;
  expected.i32(1);
  Rgba(expected, 0.5f, 0.5f, 0.5f, 1);
  Rgba(expected, 0.5f, 0.5f, 0.5f, 1);
  Rgba(expected, 0, 0, 0, 1);
  Rgba(expected, 0.25f, 0.5f, 0.75f, 1);
  expected.f32(3).i32(2).i32(7).i32(8).str("wood").i32(0).i32(0).str("grain");
  expected.i32(1).str("OpacityMask").i32(-1).i32(0x56537472).i32(5).str("m");
  EXPECT_EQ(Hex(Body(material)), Hex(expected));
}

TEST(ZoMaterialTest, OpacityMaskIsAPropertyThatMovesToTheEnd) {
  ZoMaterial material;
  EXPECT_EQ(material.GetOpacityMask(), ZoString());
  material.SetOpacityMask("mask1");
  material.properties.Add(new ZoProperty("after", new ZoIntValue(1)));
  material.SetOpacityMask("mask2");
  EXPECT_EQ(material.properties.GetCount(), 2);
  ZoStringList names;
  material.properties.GetPropertyNames(names, 0);
  ZoDblListItem* cursor = nullptr;
  names.GetLast(cursor);
  EXPECT_EQ(*ZoStringList::StringAt(cursor), ZoString("OpacityMask"));
  EXPECT_EQ(material.GetOpacityMask(), ZoString("mask2"));
  // A mask property without a string conversion reads as no mask.
  material.properties.Replace(new ZoProperty("OpacityMask", new ZoVector3Value));
  EXPECT_EQ(material.GetOpacityMask(), ZoString());
}

TEST(ZoMaterialTest, CopiesAreDeep) {
  ZoMaterial material;
  material.SetOpacityMask("m");
  material.SetModCallBack([](ZoTypedValue*, intptr_t) {}, 1);
  ValuePtr copy(material.Copy());
  EXPECT_EQ(copy->GetModCallBack(), nullptr);
  ZoMaterial assigned;
  assigned.SetOpacityMask("old");
  assigned.properties.Add(new ZoProperty("extra", new ZoIntValue(2)));
  assigned = material;
  EXPECT_EQ(Hex(Body(assigned)), Hex(Body(material)));
  material.SetOpacityMask("changed");
  EXPECT_EQ(static_cast<ZoMaterial&>(*copy).GetOpacityMask(), ZoString("m"));
  EXPECT_EQ(assigned.GetOpacityMask(), ZoString("m"));
}

TEST(ZoMaterialOlderRecord, NoTextureGivesFlagsSixAndKeepsTheFirstColour) {
  ZoMaterial material;
  ReadRecord(Golden("material-v27"), 27, material, ReadMaterial);
  EXPECT_EQ(material.numTextures, 0);
  EXPECT_EQ(material.flags, 4 | 2);
  ExpectColor(material.color2, 0.1f, 0.2f, 0.3f, 0.5f);
  ExpectColor(material.color1, 0.1f, 0.2f, 0.3f, 0.5f);
  ExpectColor(material.color3, 0, 0, 0, 0.5f);  // the second colour is not kept
  ExpectColor(material.color4, 0, 0, 0, 1);
  EXPECT_EQ(material.scalar, 25.0f);
  EXPECT_EQ(material.GetOpacityMask(), ZoString());
  EXPECT_EQ(material.properties.GetCount(), 0);
}

TEST(ZoMaterialOlderRecord, TextureAndTwoSidedFlagGiveFlagsThreeAndWhite) {
  ZoMaterial material;  // texture "brick.bmp", mask "holes", old flags 16
  ReadRecord(Golden("material-brick-v99"), 99, material, ReadMaterial);
  EXPECT_EQ(material.numTextures, 1);
  EXPECT_EQ(material.textures[0].textureInt0, 0);
  EXPECT_EQ(material.textures[0].textureInt1, 1);
  EXPECT_EQ(material.textures[0].name, ZoString("brick.bmp"));
  EXPECT_EQ(material.flags, 1 | 2);
  ExpectColor(material.color1, 1, 1, 1, 0.5f);
  ExpectColor(material.color2, 1, 1, 1, 0.5f);
  EXPECT_EQ(material.GetOpacityMask(), ZoString("holes"));
}

// The trailing fields appear at versions 10 and 20; each case reads its own
// frozen layout to the sentinel.
TEST(ZoMaterialOlderRecord, FlagsFromTheOldBitsOnBothSidesOfVersions10And20) {
  struct Case {
    char const* texture;
    int32_t oldFlags;
    int32_t version;
    int32_t flags;
  };
  for (Case c : {Case{"t", 0, 9, 2}, Case{"t", 1, 10, 6}, Case{"t", 17, 19, 7}, Case{"", 0, 20, 6},
                 Case{"NoTexture", 16, 0, 7}, Case{"t", 2 | 4 | 8, 50, 2}}) {
    SCOPED_TRACE(std::string(c.texture) + " " + std::to_string(c.oldFlags) + " v" + std::to_string(c.version));
    ZoMaterial material;
    std::string name = "material-flags" + std::to_string(c.oldFlags) + "-v" + std::to_string(c.version);
    ReadRecord(Golden(name), c.version, material, ReadMaterial);
    EXPECT_EQ(material.flags, c.flags);
    EXPECT_EQ(material.properties.GetCount(), 0);
  }
  // From version 100 on the current body is read instead; the older record
  // can still be read explicitly.
  ZoMaterial current, explicitOld;
  ReadRecord(ByteBuilder().append(Body(ZoMaterial())).i32(kSentinel), 100, current, ReadMaterial);
  ReadRecord(Golden("material-v27"), 106, explicitOld, [](ZoMaterial& m, ZoStream& s) { m.ReadOlderRecord(s); });
  EXPECT_EQ(explicitOld.flags, 6);
}

// --- Light -----------------------------------------------------------------------------

TEST(ZoLightTest, BodyEndsWithTheOnFlagAfterTheProperties) {
  ZoLight light;
  light.kind = 2;
  light.vector = ZoVector3(0, 0, -1);
  light.on = false;
  light.properties.Add(new ZoProperty("k", new ZoIntValue(1)));
  ByteBuilder expected;
  expected.i32(2).f32(0).f32(0).f32(-1);
  Rgba(expected, 0.2f, 0.2f, 0.2f, 1);
  Rgba(expected, 0.8f, 0.8f, 0.8f, 1);
  Rgba(expected, 0, 0, 0, 1);
  expected.f32(0.7853982f).i32(1).str("k").append(FramedInt(1)).u8(0);
  EXPECT_EQ(Hex(Framed(&light)),
            Hex(ByteBuilder().raw({0xFF, 0xFF, 0xFF, 0xFF, 0x32, 0x74, 0x69, 0x4C}).i32(0).append(expected)));
}

TEST(ZoLightOlderRecord, LayoutsOnBothSidesOfVersions44And46) {
  struct Case {
    int32_t version;
    char const* name;  // what the record's name gives
  };
  for (Case c : {Case{43, ""}, Case{44, "map44"}, Case{45, "map45"}, Case{46, "map46"}, Case{106, "map106"}}) {
    SCOPED_TRACE(c.version);
    ZoLight light;
    ReadRecord(Golden("light-v" + std::to_string(c.version)), c.version, light, ReadOldLight);
    EXPECT_EQ(light.kind, 3);
    EXPECT_EQ(light.angle, 30.0f);
    ExpectColor(light.color1, 0, 0, 0, 0);
    ExpectColor(light.color2, 0.25f, 0.5f, 0.75f, 1);
    ZoProperty* map = light.properties.Find("LightMap");
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(static_cast<ZoString>(*map), ZoString(c.name));
  }
}

TEST(ZoLightOlderRecord, TypesMapToKindsAndAmbientSetsOnlyTheColours) {
  struct Case {
    int32_t type;
    int32_t kind;
  };
  for (Case c : {Case{0, 0}, Case{2, 1}, Case{1, 2}, Case{4, 3}, Case{7, 9}, Case{-1, 9}}) {
    SCOPED_TRACE(c.type);
    ZoLight light;
    light.kind = 9;
    ReadRecord(Golden("light-type" + std::to_string(c.type) + "-v46"), 46, light, ReadOldLight);
    EXPECT_EQ(light.kind, c.kind);
    EXPECT_EQ(light.angle, 45.0f);
    ExpectColor(light.color2, 0.1f, 0.2f, 0.3f, 1);
    EXPECT_EQ(light.properties.GetCount(), c.type == 4 ? 1 : 0);
  }
  ZoLight ambient;
  ambient.kind = 5;
  ambient.angle = 1.0f;
  ReadRecord(Golden("light-ambient-v44"), 44, ambient, ReadOldLight);
  ExpectColor(ambient.color1, 0.4f, 0.5f, 0.6f, 1);
  ExpectColor(ambient.color2, 0, 0, 0, 0);
  EXPECT_EQ(ambient.kind, 5);
  EXPECT_EQ(ambient.angle, 1.0f);
  EXPECT_EQ(ambient.properties.GetCount(), 0);
}

TEST(ZoLightOlderRecord, AnUnterminatedNameIsTheWholeField) {
  for (int32_t version : {45, 46}) {
    std::string full(version >= 46 ? 76 : 64, 'N');
    Bytes record = zotest::Cut(Golden("light-unterminated-v" + std::to_string(version)), 4);  // the record ends the buffer
    Reader reader(record, version);
    ZoLight light;
    light.ReadOlderRecord(*reader);
    ASSERT_EQ(reader->Status(), ZoStreamOk);
    EXPECT_EQ(reader.Consumed(), record.size());
    EXPECT_EQ(static_cast<ZoString>(*light.properties.Find("LightMap")), ZoString(full.c_str()));
  }
}

TEST(ZoLightOlderRecord, ATruncatedRecordChangesNothing) {
  for (int32_t version : {43, 45, 46}) {
    Bytes record = zotest::Cut(Golden("light-v" + std::to_string(version)), 5);
    Reader reader(record, version);
    ZoLight light;
    Bytes before = Body(light);
    light.ReadOlderRecord(*reader);
    EXPECT_EQ(reader->Status(), ZoStreamReadError) << version;
    EXPECT_EQ(Body(light), before) << version;
  }
}

// --- Camera ----------------------------------------------------------------------------

TEST(ZoCameraTest, BodyAndReadingReplacesTheProperties) {
  ZoCamera camera;
  camera.name = "eye";
  camera.kind = 1;
  camera.properties.Add(new ZoProperty("fov", new ZoFloatValue(2)));
  Bytes expected = ByteBuilder().str("eye").i32(1).f32(0.65f).f32(0.1f).f32(1000.0f).i32(1).str("fov")
                       .append(SizedFrame(0x56466C6F, 4).f32(2));
  EXPECT_EQ(Hex(Framed(&camera)),
            Hex(ByteBuilder().raw({0xFF, 0xFF, 0xFF, 0xFF, 0x32, 0x6D, 0x61, 0x43}).i32(0).append(expected)));
  ZoCamera read;
  read.properties.Add(new ZoProperty("stale", new ZoIntValue(0)));
  Reader reader(expected);
  *reader >> read;
  ASSERT_EQ(reader->Status(), ZoStreamOk);
  EXPECT_EQ(Hex(Body(read)), Hex(expected));
}

// Below 47 eight bytes and at 47 sixteen are skipped for the defaults; from
// 48 the sixteen bytes are the fields (old kind 0 is kind 1, any other 0).
// The name and the properties are kept.
TEST(ZoCameraOlderRecord, LayoutsBelow47At47AndFrom48) {
  Bytes const eight(8, 0x33), sixteen(16, 0x33);
  Bytes const fields = ByteBuilder().i32(0).f32(0.5f).f32(2).f32(300), other = ByteBuilder().i32(3).f32(0.5f).f32(2).f32(300);
  struct Case {
    int32_t version;
    Bytes record;
    int32_t kind;
    float angle, nearPlane, farPlane;
  } const cases[] = {{0, eight, 0, 1, 0.1f, 1000},  {46, eight, 0, 1, 0.1f, 1000}, {47, sixteen, 0, 1, 0.1f, 1000},
                     {48, fields, 1, 0.5f, 2, 300}, {99, fields, 1, 0.5f, 2, 300}, {48, other, 0, 0.5f, 2, 300}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.version);
    ZoCamera camera;
    camera.name = "keep";
    camera.kind = 4;
    camera.angle = 2;
    camera.properties.Add(new ZoProperty("p", new ZoIntValue(1)));
    ReadRecord(ByteBuilder().append(c.record).i32(kSentinel), c.version, camera, ReadOldCamera);
    EXPECT_EQ(camera.kind, c.kind);
    EXPECT_EQ(camera.angle, c.angle);
    EXPECT_EQ(camera.nearPlane, c.nearPlane);
    EXPECT_EQ(camera.farPlane, c.farPlane);
    EXPECT_EQ(camera.name, ZoString("keep"));
    EXPECT_EQ(camera.properties.GetCount(), 1);
  }
}
