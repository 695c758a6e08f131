#include <zoactor/actor/ZoProtoProxDef.h>

#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <new>

using zostreamio::ReadValue;
using zostreamio::WriteValue;

ZoProtoProxDef::~ZoProtoProxDef() = default;

void ZoProtoProxDef::SetToMaximum(ZoDblList const* defs) {
  name = NULL_STRING;
  float maxRadius = 0.0f, maxRange1 = 0.0f, maxRange2 = 0.0f;
  ZoDblListItem* cursor = nullptr;
  for (void* item = defs != nullptr ? defs->GetFirst(cursor) : nullptr; item != nullptr; item = defs->GetNext(cursor)) {
    auto const* d = static_cast<ZoProtoProxDef const*>(item);
    if (d->radius > maxRadius) maxRadius = d->radius;
    if (d->range1 > maxRange1) maxRange1 = d->range1;
    if (d->range2 > maxRange2) maxRange2 = d->range2;
  }
  SetRadius(maxRadius);
  range1 = maxRange1;
  range2 = maxRange2;
}

ZoStreamError ZoProtoProxDef::ReadFields(ZoStream& stream, int hasFlag) {
  ReadValue(stream, name);
  float r = radius;
  if (ReadValue(stream, r) == ZoStreamOk) SetRadius(r);
  ReadValue(stream, range1);
  ReadValue(stream, range2);
  if (hasFlag != 0) {
    ReadValue(stream, proxFlag);
  } else if (stream.Status() == ZoStreamOk) {
    proxFlag = 1;
  }
  return stream.Status();
}

ZoStreamError ZoProtoProxDef::ReadFromStream(ZoStream& stream) { return ReadFields(stream, 1); }

ZoStreamError ZoProtoProxDef::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, name);
  WriteValue(stream, radius);
  WriteValue(stream, range1);
  WriteValue(stream, range2);
  WriteValue(stream, proxFlag);
  return stream.Status();
}

ZoStreamObject* ZoProtoProxDef::Create() { return new (std::nothrow) ZoProtoProxDef; }

static ZoStreamConstructorEntry const kRegisterProtoProxDef(ZoTypeCode::ProtoProxDef, &ZoProtoProxDef::Create);
