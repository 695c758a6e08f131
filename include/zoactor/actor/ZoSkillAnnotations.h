// The annotation records of a skill: foot, hand, anchor and manipulation
// data, and event, sound and texture keys. The engine reads them; the
// library stores, copies and streams them and never interprets a field.
// Each is framed by its own type code (unsized) in a skill's annotation
// list and registered, so that a skill body can create it when read.
//
// Bodies, field by field (int32 and float32 little-endian, strings as an
// int32 length and the characters):
//   ZoProtoFootData         data0, data1, data2
//   ZoProtoHandData         data0
//   ZoProtoAnchorData       data0
//   ZoProtoManipData        data0; point (x, y, z); vector (3 × 4 bytes);
//                           transform (28 bytes: translation, rotation w x y z)
//   ZoProtoEventKeyframe    time; name; data0
//   ZoProtoSoundKeyframe    time; name; values (4 × 4 bytes)
//   ZoProtoTextureKeyframe  time; data0; data1; the ZoMaterial body, unframed
//
// Edge cases:
// - Fields the engine gives no type ("4-byte values") are kept as raw bits
//   (uint32_t), so any value, a NaN pattern included, is written back as it
//   was read.
// - Each reader stops at the first field that fails and returns that
//   status; the fields read before it keep their new values.
#ifndef ZOACTOR_ACTOR_ZOSKILLANNOTATIONS_H
#define ZOACTOR_ACTOR_ZOSKILLANNOTATIONS_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/values/ZoMaterial.h>

#include <cstdint>

struct ZOACTOR_API ZoProtoFootData : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoFootData;
  int32_t data0 = 0;
  int32_t data1 = 0;
  int32_t data2 = 0;

  ZoProtoFootData() = default;
  ZoProtoFootData(ZoProtoFootData const& other) = default;
  ZoProtoFootData& operator=(ZoProtoFootData const& other) = default;
  ~ZoProtoFootData() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoHandData : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoHandData;
  int32_t data0 = 0;

  ZoProtoHandData() = default;
  ZoProtoHandData(ZoProtoHandData const& other) = default;
  ZoProtoHandData& operator=(ZoProtoHandData const& other) = default;
  ~ZoProtoHandData() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoAnchorData : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoAnchorData;
  int32_t data0 = 0;

  ZoProtoAnchorData() = default;
  ZoProtoAnchorData(ZoProtoAnchorData const& other) = default;
  ZoProtoAnchorData& operator=(ZoProtoAnchorData const& other) = default;
  ~ZoProtoAnchorData() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoManipData : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoManipData;
  ZoVector3 point;
  int32_t data0 = 0;
  ZoTransform3 transform;
  uint32_t vector[3] = {0, 0, 0};

  ZoProtoManipData() = default;
  ZoProtoManipData(ZoProtoManipData const& other) = default;
  ZoProtoManipData& operator=(ZoProtoManipData const& other) = default;
  ~ZoProtoManipData() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoEventKeyframe : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoEventKeyframe;
  int32_t time = 0;
  ZoString name;
  int32_t data0 = 0;

  ZoProtoEventKeyframe() = default;
  ZoProtoEventKeyframe(ZoProtoEventKeyframe const& other) = default;
  ZoProtoEventKeyframe& operator=(ZoProtoEventKeyframe const& other) = default;
  ~ZoProtoEventKeyframe() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoSoundKeyframe : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoSoundKeyframe;
  int32_t time = 0;
  ZoString name;
  uint32_t values[4] = {0, 0, 0, 0};

  ZoProtoSoundKeyframe() = default;
  ZoProtoSoundKeyframe(ZoProtoSoundKeyframe const& other) = default;
  ZoProtoSoundKeyframe& operator=(ZoProtoSoundKeyframe const& other) = default;
  ~ZoProtoSoundKeyframe() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

struct ZOACTOR_API ZoProtoTextureKeyframe : public ZoStreamObject {
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoTextureKeyframe;
  int32_t time = 0;
  int32_t data0 = 0;
  int32_t data1 = 0;
  ZoMaterial material;

  ZoProtoTextureKeyframe() = default;
  ZoProtoTextureKeyframe(ZoProtoTextureKeyframe const& other) = default;
  ZoProtoTextureKeyframe& operator=(ZoProtoTextureKeyframe const& other) = default;
  ~ZoProtoTextureKeyframe() override;
  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  static ZoStreamObject* Create();
};

#endif
