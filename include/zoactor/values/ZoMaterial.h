// ZoTexture and ZoMaterial: the surface appearance a renderer draws with.
// The library stores, copies and streams them; of the fields it interprets
// only the two-sided bit of `flags` (see ZoMaterial::flags) and the opacity
// mask, which is kept as the property "OpacityMask".
//
// Current body (stream version 100 and above): int32 flags; the 16-byte
// bodies of color1..color4; float scalar; int32 numTextures; for each
// texture in use int32 textureInt0, int32 textureInt1, string name; the body
// of the property list. The frame declares a size of 0.
//
// Below version 100 the older material record is read: a texture name
// ("NoTexture" or empty for none), an opacity mask ("NoMask" or empty for
// none), two colours of which only the first is kept, three dropped int32s,
// the scalar and an alpha, the old flags, an int32 from version 20 on and a
// dropped string from version 10 on. It has no color4, no other properties
// and at most one texture.
//
// Edge cases:
// - A texture count above 4 or below 0 fails the read with
//   ZoStreamFormatError (the texture slots are not touched).
// - Reading the current body replaces the property list (it is emptied
//   before the properties are read).
// - Every reader stops at the first field that fails; the fields read before
//   it keep their new values.
#ifndef ZOACTOR_VALUES_ZOMATERIAL_H
#define ZOACTOR_VALUES_ZOMATERIAL_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoTypedValue.h>

// A texture reference: two integers whose meaning belongs to the renderer
// and the texture's name. Not streamed by itself.
struct ZOACTOR_API ZoTexture {
  int32_t textureInt0 = 0;
  int32_t textureInt1 = 0;
  ZoString name;
};

class ZOACTOR_API ZoMaterial : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Material;
  // The most textures a material holds.
  static constexpr int32_t MAX_TEXTURES = 4;
  // The bit of `flags` that marks a two-sided material.
  static constexpr int32_t FLAG_TWO_SIDED = 1;

  // The texture name that stands for none in the older record.
  static char const* const NO_TEXTURE;  // "NoTexture"
  // The opacity-mask name that stands for none in the older record.
  static char const* const NO_MASK;  // "NoMask"
  // The name of the property that holds the opacity mask.
  static char const* const OPACITY_MASK;  // "OpacityMask"

  // Bit 1: two-sided (ray queries skip back faces only without it). Bits 2
  // and 4 are kept for the renderer; 4 by default.
  int32_t flags;
  ZoColor color1;  // default 0.5, 0.5, 0.5, 1
  ZoColor color2;  // default 0.5, 0.5, 0.5, 1
  ZoColor color3;  // default 0, 0, 0, 1
  ZoColor color4;  // default 0, 0, 0, 1
  float scalar;    // default 10
  // The number of entries of `textures` in use, 0 to 4.
  int32_t numTextures;
  ZoTexture textures[MAX_TEXTURES];
  ZoPropertyList properties;

  ZoMaterial();
  // Copies every field, the property list deeply.
  ZoMaterial(ZoMaterial const& other);
  // Copies flags, colours, scalar, numTextures and that many textures, then
  // replaces the properties with copies of the other's.
  ZoMaterial& operator=(ZoMaterial const& other);
  ~ZoMaterial() override;

  // The string conversion of the property "OpacityMask" (which Find moves
  // to the front of the list); the null string when there is none.
  ZoString GetOpacityMask() const;
  // Replaces the property "OpacityMask" with one holding `name` (it moves to
  // the end of the list).
  void SetOpacityMask(ZoString const& name);

  int32_t StreamType() const override { return STREAM_TYPE; }
  // The current body from version 100 on, else the older record.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Always the current body.
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // Declares 0, as the format has it.
  int32_t StreamSize() const override { return 0; }
  ZoTypedValue* Copy() const override;

  // Reads the older material record under any stream version; the version
  // decides whether the fields added at versions 10 and 20 are present.
  ZoStreamError ReadOlderRecord(ZoStream& stream);

  static ZoStreamObject* Create();
};

#endif
