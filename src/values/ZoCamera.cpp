#include <zoactor/values/ZoCamera.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <cstring>
#include <new>
#include "serialization/ZoFormatVersions.h"

namespace {

// Older camera records: from kCameraFields on an int32 and three floats, at
// kCameraSixteenBytes sixteen bytes without use, before that eight.

}  // namespace

ZoCamera::ZoCamera() : kind(0), angle(0.65f), nearPlane(0.1f), farPlane(1000.0f) {}

ZoCamera::ZoCamera(ZoCamera const& other) = default;

ZoCamera& ZoCamera::operator=(ZoCamera const& other) {
  if (this == &other) return *this;
  name = other.name;
  kind = other.kind;
  angle = other.angle;
  nearPlane = other.nearPlane;
  farPlane = other.farPlane;
  properties = other.properties;
  return *this;
}

ZoCamera::~ZoCamera() = default;

ZoStreamError ZoCamera::ReadFromStream(ZoStream& stream) {
  if ((stream >> name).Status() != ZoStreamOk) return stream.Status();
  if ((stream >> kind >> angle >> nearPlane >> farPlane).Status() != ZoStreamOk) return stream.Status();
  properties.DeleteAll();
  return (stream >> properties).Status();
}

ZoStreamError ZoCamera::WriteToStream(ZoStream& stream) const {
  stream << name << kind << angle << nearPlane << farPlane << properties;
  return stream.Status();
}

ZoTypedValue* ZoCamera::Copy() const {
  auto* copy = new (std::nothrow) ZoCamera(*this);
  if (copy != nullptr) copy->SetModCallBack(nullptr, 0);
  return copy;
}

ZoStreamError ZoCamera::ReadOlderRecord(ZoStream& stream) {
  unsigned char record[16];
  uint32_t size = stream.version >= zoversion::kCameraSixteenBytes ? 16 : 8;
  if (stream.ReadBytes(size, record) != ZoStreamOk) return stream.Status();
  if (stream.version >= zoversion::kCameraFields) {
    int32_t oldKind = 0;
    std::memcpy(&oldKind, record, 4);
    kind = oldKind == 0 ? 1 : 0;
    std::memcpy(&angle, record + 4, 4);
    std::memcpy(&nearPlane, record + 8, 4);
    std::memcpy(&farPlane, record + 12, 4);
  } else {
    kind = 0;
    angle = 1.0f;
    nearPlane = 0.1f;
    farPlane = 1000.0f;
  }
  return stream.Status();
}

ZoStreamObject* ZoCamera::Create() { return new (std::nothrow) ZoCamera; }

static ZoStreamConstructorEntry const kRegisterCamera(ZoTypeCode::Camera, &ZoCamera::Create);
