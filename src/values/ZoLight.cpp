#include <zoactor/values/ZoLight.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <cstring>
#include <initializer_list>
#include <new>
#include "serialization/ZoFormatVersions.h"

char const* const ZoLight::LIGHT_MAP = "LightMap";

namespace {

// Older light records: a 76-character name from kLightLongName, a
// 64-character name from kLightShortName, before that none.

constexpr uint32_t kLongRecord = 120;
constexpr uint32_t kShortRecord = 108;
constexpr uint32_t kOldestRecord = 24;

// Offsets within the named records.
constexpr uint32_t kNamedType = 0;
constexpr uint32_t kNamedRgb = 8;
constexpr uint32_t kNamedAngle = 40;
constexpr uint32_t kNamedName = 44;

// Offsets within the oldest record.
constexpr uint32_t kOldestType = 0;
constexpr uint32_t kOldestAngle = 4;
constexpr uint32_t kOldestRgb = 12;

// Old light types.
constexpr int32_t kOldAmbient = 3;

template <class T>
T At(unsigned char const* record, uint32_t offset) {
  T value;
  std::memcpy(&value, record + offset, sizeof value);
  return value;
}

}  // namespace

ZoLight::ZoLight()
    : kind(0),
      vector(1.0f, 0.0f, 0.0f),
      color1(0.2f, 0.2f, 0.2f, 1.0f),
      color2(0.8f, 0.8f, 0.8f, 1.0f),
      color3(0.0f, 0.0f, 0.0f, 1.0f),
      angle(0.7853982f),
      on(true) {}

ZoLight::ZoLight(ZoLight const& other) = default;

ZoLight& ZoLight::operator=(ZoLight const& other) {
  if (this == &other) return *this;
  kind = other.kind;
  vector = other.vector;
  color1 = other.color1;
  color2 = other.color2;
  color3 = other.color3;
  angle = other.angle;
  on = other.on;
  properties = other.properties;
  return *this;
}

ZoLight::~ZoLight() = default;

ZoStreamError ZoLight::ReadFromStream(ZoStream& stream) {
  if ((stream >> kind).Status() != ZoStreamOk) return stream.Status();
  float xyz[3];
  if (stream.ReadBytes(sizeof xyz, xyz) != ZoStreamOk) return stream.Status();
  vector = ZoVector3(xyz[0], xyz[1], xyz[2]);
  for (ZoColor* color : {&color1, &color2, &color3})
    if ((stream >> *color).Status() != ZoStreamOk) return stream.Status();
  if ((stream >> angle).Status() != ZoStreamOk) return stream.Status();
  properties.DeleteAll();
  if ((stream >> properties).Status() != ZoStreamOk) return stream.Status();
  return (stream >> on).Status();
}

ZoStreamError ZoLight::WriteToStream(ZoStream& stream) const {
  stream << kind;
  stream.WriteBytes(sizeof vector, &vector);
  stream << color1 << color2 << color3 << angle << properties << on;
  return stream.Status();
}

ZoTypedValue* ZoLight::Copy() const {
  auto* copy = new (std::nothrow) ZoLight(*this);
  if (copy != nullptr) copy->SetModCallBack(nullptr, 0);
  return copy;
}

ZoStreamError ZoLight::ReadOlderRecord(ZoStream& stream) {
  unsigned char record[kLongRecord];
  uint32_t size = stream.version >= zoversion::kLightLongName    ? kLongRecord
                  : stream.version >= zoversion::kLightShortName ? kShortRecord
                                                        : kOldestRecord;
  if (stream.ReadBytes(size, record) != ZoStreamOk) return stream.Status();

  // The working record: type 0, black, 180 degrees, no name.
  int32_t type = 0;
  float rgb[3] = {0.0f, 0.0f, 0.0f};
  float recordAngle = 180.0f;
  ZoString name;
  if (size == kOldestRecord) {
    type = At<int32_t>(record, kOldestType);
    recordAngle = At<float>(record, kOldestAngle);
    std::memcpy(rgb, record + kOldestRgb, sizeof rgb);
  } else {
    type = At<int32_t>(record, kNamedType);
    std::memcpy(rgb, record + kNamedRgb, sizeof rgb);
    recordAngle = At<float>(record, kNamedAngle);
    // The name runs to its terminating zero or to the end of its field.
    char const* chars = reinterpret_cast<char const*>(record + kNamedName);
    size_t field = size - kNamedName;
    name = ZoString(chars, static_cast<int32_t>(strnlen(chars, field)));
  }

  if (type == kOldAmbient) {
    color1.Set(rgb[0], rgb[1], rgb[2], 1.0f);
    color2.Set(0.0f, 0.0f, 0.0f, 0.0f);
    return stream.Status();
  }
  color1.Set(0.0f, 0.0f, 0.0f, 0.0f);
  color2.Set(rgb[0], rgb[1], rgb[2], 1.0f);
  angle = recordAngle;
  switch (type) {
    case 0: kind = 0; break;
    case 2: kind = 1; break;
    case 1: kind = 2; break;
    case 4: {
      kind = 3;
      auto* value = new (std::nothrow) ZoStringValue(name);
      auto* property = value != nullptr ? new (std::nothrow) ZoProperty(LIGHT_MAP, value) : nullptr;
      if (property == nullptr) {
        if (value != nullptr) value->Destroy();
      } else if (properties.Add(property) == 0) {
        delete property;
      }
      break;
    }
    default: break;
  }
  return stream.Status();
}

ZoStreamObject* ZoLight::Create() { return new (std::nothrow) ZoLight; }

static ZoStreamConstructorEntry const kRegisterLight(ZoTypeCode::Light, &ZoLight::Create);
