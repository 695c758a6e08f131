// Render attributes: colour, material, light and camera bodies against
// hand-built layouts, the opacity mask, and the older material, camera and
// light records on both sides of every version threshold.

#include "ZoValuesTestSupport.h"

using namespace zovaluestest;

namespace {

// "r g b a".
std::string Text(ZoColor const& c) {
  std::ostringstream out;
  out << c.r << ' ' << c.g << ' ' << c.b << ' ' << c.a;
  return out.str();
}

// The fields an older material record sets, in one line.
std::string Describe(ZoMaterial const& m) {
  std::ostringstream out;
  out << "flags " << m.flags << ", textures " << m.numTextures;
  for (int i = 0; i < m.numTextures && i < 4; ++i) {
    ZoTexture const& t = m.textures[i];
    out << " (" << t.textureInt0 << ' ' << t.textureInt1 << ' ' << t.name.c_str() << ')';
  }
  out << ", colours " << Text(m.color1) << " / " << Text(m.color2) << " / " << Text(m.color3) << " / " << Text(m.color4);
  out << ", scalar " << m.scalar << ", mask '" << m.GetOpacityMask().c_str() << "', properties " << m.properties.GetCount();
  return out.str();
}

// The fields an older light record sets, and the light map it adds.
std::string Describe(ZoLight const& l) {
  std::ostringstream out;
  out << "kind " << l.kind << ", angle " << l.angle << ", colours " << Text(l.color1) << " / " << Text(l.color2);
  out << ", properties " << l.properties.GetCount();
  if (ZoProperty* map = l.properties.Find("LightMap")) out << ", map '" << static_cast<ZoString>(*map).c_str() << "'";
  return out.str();
}

std::string Describe(ZoCamera const& c) {
  std::ostringstream out;
  out << c.name.c_str() << ", kind " << c.kind << ", angle " << c.angle << ", planes " << c.nearPlane << ' ' << c.farPlane;
  out << ", properties " << c.properties.GetCount();
  return out.str();
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
  EXPECT_EQ(reader.Consumed(), bytes.size() - 4) << "version " << version << " stops short of the sentinel";
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

TEST(ZoColorTest, ScaleAndEquality) {
  ZoColor color(1, 2, 3, 4);
  color.Scale(2, 2, 2, 0.5f);
  EXPECT_EQ(Text(color), "2 4 6 2");
  EXPECT_TRUE(color == ZoColor(2, 4, 6, 2));
  EXPECT_TRUE(color != ZoColor(2, 4, 6, 2.5f));
  float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(ZoColor(nan, 0, 0, 1) == ZoColor(5, 0, 0, 1));
  EXPECT_EQ(Text(ZoColor()), "0 0 0 1");
}

// --- Material ----------------------------------------------------------------------------

TEST(ZoMaterialTest, OpacityMaskIsAPropertyThatMovesToTheEndAndCopiesAreDeep) {
  ZoMaterial material;
  EXPECT_EQ(material.GetOpacityMask(), ZoString());
  material.SetOpacityMask("mask1");
  material.properties.Add(new ZoProperty("after", new ZoIntValue(1)));
  material.SetOpacityMask("mask2");
  ZoStringList names;
  material.properties.GetPropertyNames(names, 0);
  EXPECT_EQ(zotest::Texts(names), (std::vector<std::string>{"after", "OpacityMask"}));
  EXPECT_EQ(material.GetOpacityMask(), ZoString("mask2"));
  // A copy takes no callback; an assignment drops what the target held.
  material.SetModCallBack([](ZoTypedValue*, intptr_t) {}, 1);
  ValuePtr copy(material.Copy());
  EXPECT_EQ(copy->GetModCallBack(), nullptr);
  ZoMaterial assigned;
  assigned.SetOpacityMask("old");
  assigned.properties.Add(new ZoProperty("extra", new ZoIntValue(2)));
  assigned = material;
  EXPECT_EQ(Hex(Body(assigned)), Hex(Body(material)));
  // A mask property without a string conversion reads as no mask; the
  // copies keep their own.
  material.properties.Replace(new ZoProperty("OpacityMask", new ZoVector3Value));
  EXPECT_EQ(material.GetOpacityMask(), ZoString());
  EXPECT_EQ(static_cast<ZoMaterial&>(*copy).GetOpacityMask(), ZoString("mask2"));
  EXPECT_EQ(assigned.GetOpacityMask(), ZoString("mask2"));
}

// The second colour read is not kept; a texture makes the first white.
TEST(ZoMaterialOlderRecord, NoTextureGivesFlagsSixAndATextureWithTheTwoSidedFlagThreeAndWhite) {
  ZoMaterial plain, brick;
  ReadRecord(Golden("material-v27"), 27, plain, ReadMaterial);
  EXPECT_EQ(Describe(plain),
            "flags 6, textures 0, colours 0.1 0.2 0.3 0.5 / 0.1 0.2 0.3 0.5 / 0 0 0 0.5 / 0 0 0 1, scalar 25, mask '', "
            "properties 0");
  ReadRecord(Golden("material-brick-v99"), 99, brick, ReadMaterial);  // old flags 16
  EXPECT_EQ(Describe(brick),
            "flags 3, textures 1 (0 1 brick.bmp), colours 1 1 1 0.5 / 1 1 1 0.5 / 0 0 0 0.5 / 0 0 0 1, scalar 25, "
            "mask 'holes', properties 1");
}

// The trailing fields appear at versions 10 and 20; each case reads its own
// frozen layout to the sentinel.
TEST(ZoMaterialOlderRecord, FlagsFromTheOldBitsOnBothSidesOfVersions10And20) {
  struct Case {
    int32_t oldFlags, version, flags;
  };
  for (Case c : {Case{0, 9, 2}, Case{1, 10, 6}, Case{17, 19, 7}, Case{0, 20, 6}, Case{16, 0, 7}, Case{2 | 4 | 8, 50, 2}}) {
    std::string name = "material-flags" + std::to_string(c.oldFlags) + "-v" + std::to_string(c.version);
    SCOPED_TRACE(name);
    ZoMaterial material;
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

// The layouts on both sides of versions 44 and 46, then the light types of
// version 46: each maps to a kind (unknown types keep the kind held), and
// ambient sets only the colours.
TEST(ZoLightOlderRecord, LayoutsOnBothSidesOfVersions44And46AndTypesToKinds) {
  std::string const layout = "kind 3, angle 30, colours 0 0 0 0 / 0.25 0.5 0.75 1, properties 1, map '";
  std::string const typed = ", angle 45, colours 0 0 0 0 / 0.1 0.2 0.3 1, properties ";
  struct Case {
    char const* record;
    int32_t version;
    std::string described;
  } const cases[] = {
      {"light-v43", 43, layout + "'"},
      {"light-v44", 44, layout + "map44'"},
      {"light-v45", 45, layout + "map45'"},
      {"light-v46", 46, layout + "map46'"},
      {"light-v106", 106, layout + "map106'"},
      {"light-type0-v46", 46, "kind 0" + typed + "0"},
      {"light-type2-v46", 46, "kind 1" + typed + "0"},
      {"light-type1-v46", 46, "kind 2" + typed + "0"},
      {"light-type4-v46", 46, "kind 3" + typed + "1, map 'n'"},
      {"light-type7-v46", 46, "kind 9" + typed + "0"},
      {"light-type-1-v46", 46, "kind 9" + typed + "0"},
      {"light-ambient-v44", 44, "kind 9, angle 1, colours 0.4 0.5 0.6 1 / 0 0 0 0, properties 0"},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.record);
    ZoLight light;
    light.kind = 9;
    light.angle = 1.0f;
    ReadRecord(Golden(c.record), c.version, light, ReadOldLight);
    EXPECT_EQ(Describe(light), c.described);
  }
}

// A record cut short changes nothing; a name filling its whole field, in a
// record that ends the buffer, is the whole field.
TEST(ZoLightOlderRecord, CutRecordsChangeNothingAndUnterminatedNamesFillTheirField) {
  for (int32_t version : {43, 45, 46}) {
    SCOPED_TRACE(version);
    ZoLight light;
    Bytes const before = Body(light);
    Reader cut(zotest::Cut(Golden("light-v" + std::to_string(version)), 5), version);
    light.ReadOlderRecord(*cut);
    EXPECT_EQ(cut->Status(), ZoStreamReadError);
    EXPECT_EQ(Body(light), before);
    if (version == 43) continue;  // no name
    Bytes record = zotest::Cut(Golden("light-unterminated-v" + std::to_string(version)), 4);
    Reader reader(record, version);
    light.ReadOlderRecord(*reader);
    ASSERT_EQ(reader->Status(), ZoStreamOk);
    EXPECT_EQ(reader.Consumed(), record.size());
    std::string const full(version >= 46 ? 76 : 64, 'N');
    EXPECT_EQ(static_cast<ZoString>(*light.properties.Find("LightMap")), ZoString(full.c_str()));
  }
}

// --- Camera ----------------------------------------------------------------------------

// The camera's layout is checked with the samples in ZoValuesReadFailures_test.cpp.
TEST(ZoCameraTest, ReadingReplacesTheProperties) {
  ZoCamera camera, read;
  camera.properties.Add(new ZoProperty("fov", new ZoFloatValue(2)));
  read.properties.Add(new ZoProperty("stale", new ZoIntValue(0)));
  Bytes const body = Body(camera);
  ASSERT_EQ(ReadBody(read, body), ReadOk(body.size()));
  EXPECT_EQ(Hex(Body(read)), Hex(body));
}

// Below 47 eight bytes and at 47 sixteen are skipped for the defaults; from
// 48 the sixteen bytes are the fields (old kind 0 is kind 1, any other 0).
// The name and the properties are kept.
TEST(ZoCameraOlderRecord, LayoutsBelow47At47AndFrom48) {
  Bytes const eight(8, 0x33), sixteen(16, 0x33);
  Bytes const fields = ByteBuilder().i32(0).f32(0.5f).f32(2).f32(300), other = ByteBuilder().i32(3).f32(0.5f).f32(2).f32(300);
  char const* const defaults = "keep, kind 0, angle 1, planes 0.1 1000, properties 1";
  struct Case {
    int32_t version;
    Bytes record;
    char const* described;
  } const cases[] = {{0, eight, defaults},
                     {46, eight, defaults},
                     {47, sixteen, defaults},
                     {48, fields, "keep, kind 1, angle 0.5, planes 2 300, properties 1"},
                     {99, fields, "keep, kind 1, angle 0.5, planes 2 300, properties 1"},
                     {48, other, "keep, kind 0, angle 0.5, planes 2 300, properties 1"}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.version);
    ZoCamera camera;
    camera.name = "keep";
    camera.kind = 4;
    camera.angle = 2;
    camera.properties.Add(new ZoProperty("p", new ZoIntValue(1)));
    ReadRecord(ByteBuilder().append(c.record).i32(kSentinel), c.version, camera, ReadOldCamera);
    EXPECT_EQ(Describe(camera), c.described);
  }
}
