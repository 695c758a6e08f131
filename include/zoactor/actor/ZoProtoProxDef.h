// ZoProtoProxDef: a proximity definition of an actor, a named set of
// distances the engine uses. The library sets, maximises and stores them;
// it never interprets `range1`, `range2` or `proxFlag`.
//
// Body (type code ZoTypeCode::ProtoProxDef, "DrPP" in the file, unsized):
// name (string), radius, range1, range2 (float32 each), proxFlag (int32).
// Older actor bodies (stream versions below 34) store the definitions
// without proxFlag, which then reads as 1 (ReadFields).
//
// Edge cases:
// - Every operation that sets `radius` keeps `radiusSquared` = radius²
//   (reading included); it is never stored.
// - SetToMaximum compares strictly, so a NaN in the list never becomes the
//   maximum, and starts from 0: a list of negative radii gives 0.
#ifndef ZOACTOR_ACTOR_ZOPROTOPROXDEF_H
#define ZOACTOR_ACTOR_ZOPROTOPROXDEF_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZoDblList;

class ZOACTOR_API ZoProtoProxDef : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoProxDef;

  // The empty name marks an actor's default definition.
  ZoString name;
  float radius = 1.0f;
  float radiusSquared = 1.0f;
  float range1 = 1.0f;
  float range2 = 1.0f;
  int32_t proxFlag = 0;

  // Radius and ranges 1, flag 0, no name.
  ZoProtoProxDef() = default;
  ZoProtoProxDef(ZoProtoProxDef const& other) = default;
  ZoProtoProxDef& operator=(ZoProtoProxDef const& other) = default;
  ~ZoProtoProxDef() override;

  // Sets `radius` and `radiusSquared`.
  void SetRadius(float r) {
    radius = r;
    radiusSquared = r * r;
  }

  // Becomes the field-wise maximum of the ZoProtoProxDef items of `defs`
  // (null counts as empty): radius and both ranges start at 0 and take any
  // strictly greater value of the list; the name becomes empty; proxFlag is
  // kept.
  void SetToMaximum(ZoDblList const* defs);

  int32_t StreamType() const override { return STREAM_TYPE; }
  // The five fields; returns the stream's status.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // The fields of the body, with proxFlag only when `hasFlag` is non-zero
  // (otherwise it becomes 1), as older actor bodies store them.
  ZoStreamError ReadFields(ZoStream& stream, int hasFlag);

  // The registry's creation function: a default definition, or null.
  static ZoStreamObject* Create();
};

#endif
