#include <zoactor/values/ZoMaterial.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoFormatVersions.h"
#include "serialization/ZoStreamIo.h"

#include <initializer_list>
#include <new>

char const* const ZoMaterial::NO_TEXTURE = "NoTexture";
char const* const ZoMaterial::NO_MASK = "NoMask";
char const* const ZoMaterial::OPACITY_MASK = "OpacityMask";

namespace {

// Old flag bits.
constexpr int32_t kOldFlagOpaque = 1;
constexpr int32_t kOldFlagTwoSided = 16;

struct Rgb {
  float r, g, b;
};
static_assert(sizeof(Rgb) == 12, "an RGB triple is read as its 12 bytes");

}  // namespace

ZoMaterial::ZoMaterial()
    : flags(4),
      color1(0.5f, 0.5f, 0.5f, 1.0f),
      color2(0.5f, 0.5f, 0.5f, 1.0f),
      color3(0.0f, 0.0f, 0.0f, 1.0f),
      color4(0.0f, 0.0f, 0.0f, 1.0f),
      scalar(10.0f),
      numTextures(0) {}

ZoMaterial::ZoMaterial(ZoMaterial const& other)
    : ZoTypedValue(other),
      flags(other.flags),
      color1(other.color1),
      color2(other.color2),
      color3(other.color3),
      color4(other.color4),
      scalar(other.scalar),
      numTextures(other.numTextures),
      properties(other.properties) {
  for (int32_t i = 0; i < MAX_TEXTURES; ++i) textures[i] = other.textures[i];
}

ZoMaterial& ZoMaterial::operator=(ZoMaterial const& other) {
  if (this == &other) return *this;
  flags = other.flags;
  color1 = other.color1;
  color2 = other.color2;
  color3 = other.color3;
  color4 = other.color4;
  scalar = other.scalar;
  numTextures = other.numTextures;
  for (int32_t i = 0; i < numTextures && i < MAX_TEXTURES; ++i) textures[i] = other.textures[i];
  properties = other.properties;
  return *this;
}

ZoMaterial::~ZoMaterial() = default;

ZoString ZoMaterial::GetOpacityMask() const {
  ZoString mask;
  ZoProperty* property = properties.Find(OPACITY_MASK);
  if (property != nullptr && !property->ConvertToString(mask)) mask = NULL_STRING;
  return mask;
}

void ZoMaterial::SetOpacityMask(ZoString const& name) {
  auto* value = new (std::nothrow) ZoStringValue(name);
  if (value == nullptr) return;
  auto* property = new (std::nothrow) ZoProperty(OPACITY_MASK, value);
  if (property == nullptr) {
    value->Destroy();
    return;
  }
  properties.Replace(property);
}

ZoStreamError ZoMaterial::ReadFromStream(ZoStream& stream) {
  bool current = stream.version >= zoversion::kCurrentLayout;
  if (!current) return ReadOlderRecord(stream);

  if ((stream >> flags).Status() != ZoStreamOk) return stream.Status();
  for (ZoColor* color : {&color1, &color2, &color3, &color4})
    if ((stream >> *color).Status() != ZoStreamOk) return stream.Status();
  if ((stream >> scalar).Status() != ZoStreamOk) return stream.Status();
  int32_t count = 0;
  if ((stream >> count).Status() != ZoStreamOk) return stream.Status();
  if (count < 0 || count > MAX_TEXTURES) {
    return stream.FailAt(stream.Position() - 4, ZoStreamFormatError, "texture count %d is outside 0 to %d", count,
                         MAX_TEXTURES);
  }
  numTextures = count;
  for (int32_t i = 0; i < numTextures; ++i) {
    ZoTexture& texture = textures[i];
    if ((stream >> texture.textureInt0 >> texture.textureInt1).Status() != ZoStreamOk) return stream.Status();
    if ((stream >> texture.name).Status() != ZoStreamOk) return stream.Status();
  }
  properties.DeleteAll();
  return (stream >> properties).Status();
}

ZoStreamError ZoMaterial::ReadOlderRecord(ZoStream& stream) {
  // The texture: none when empty or "NoTexture".
  ZoString texture;
  if ((stream >> texture).Status() != ZoStreamOk) return stream.Status();
  bool textured = !texture.IsEmpty() && texture != NO_TEXTURE;
  numTextures = textured ? 1 : 0;
  if (textured) {
    textures[0].textureInt0 = 0;
    textures[0].textureInt1 = 1;
    textures[0].name = texture;
  }

  // The opacity mask: none when "NoMask" or empty.
  ZoString mask;
  if ((stream >> mask).Status() != ZoStreamOk) return stream.Status();
  if (!mask.IsEmpty() && mask != NO_MASK) SetOpacityMask(mask);

  // The colour kept in color2, and one read and dropped (color3 reset).
  Rgb kept{};
  Rgb dropped{};
  if (zostreamio::ReadBlock(stream, kept) != ZoStreamOk) return stream.Status();
  color2.r = kept.r;
  color2.g = kept.g;
  color2.b = kept.b;
  if (zostreamio::ReadBlock(stream, dropped) != ZoStreamOk) return stream.Status();
  color3.Set(0.0f, 0.0f, 0.0f, 1.0f);

  // Three int32s dropped; the scalar and the alpha.
  int32_t unused[3];
  if (zostreamio::ReadBlock(stream, unused) != ZoStreamOk) return stream.Status();
  float alpha = 1.0f;
  if ((stream >> scalar).Status() != ZoStreamOk) return stream.Status();
  if ((stream >> alpha).Status() != ZoStreamOk) return stream.Status();

  // A textured material shows its texture unshaded; the alpha goes to color2
  // and color3, and color1 follows color2.
  if (textured) color2.Set(1.0f, 1.0f, 1.0f, 1.0f);
  color3.a = alpha;
  color2.a = alpha;
  color1 = color2;

  // The flags from the old ones, then an int32 from version 20 on.
  int32_t oldFlags = 0;
  if ((stream >> oldFlags).Status() != ZoStreamOk) return stream.Status();
  flags = (!textured || (oldFlags & kOldFlagOpaque) != 0) ? 4 : 0;
  if ((oldFlags & kOldFlagTwoSided) != 0) flags |= FLAG_TWO_SIDED;
  if (stream.version >= zoversion::kMaterialExtraInt) {
    int32_t extra = 0;
    if ((stream >> extra).Status() != ZoStreamOk) return stream.Status();
  }

  // Bit 2 in every case; a string dropped above version 9.
  flags |= 2;
  if (stream.version >= zoversion::kMaterialTrailingString) {
    ZoString trailing;
    stream >> trailing;
  }
  return stream.Status();
}

ZoStreamError ZoMaterial::WriteToStream(ZoStream& stream) const {
  // A count outside the slots is written as what the slots hold, so that the
  // body always reads back.
  int32_t count = numTextures < 0 ? 0 : numTextures > MAX_TEXTURES ? MAX_TEXTURES : numTextures;
  stream << flags << color1 << color2 << color3 << color4 << scalar << count;
  for (int32_t i = 0; i < count; ++i)
    stream << textures[i].textureInt0 << textures[i].textureInt1 << textures[i].name;
  stream << properties;
  return stream.Status();
}

ZoTypedValue* ZoMaterial::Copy() const {
  auto* copy = new (std::nothrow) ZoMaterial(*this);
  if (copy != nullptr) copy->SetModCallBack(nullptr, 0);
  return copy;
}

ZoStreamObject* ZoMaterial::Create() { return new (std::nothrow) ZoMaterial; }

static ZoStreamConstructorEntry const kRegisterMaterial(ZoTypeCode::Material, &ZoMaterial::Create);
