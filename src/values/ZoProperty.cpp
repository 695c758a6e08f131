#include <zoactor/values/ZoProperty.h>

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/values/ZoListValue.h>
#include <zoactor/values/ZoOpaqueValue.h>

#include "serialization/ZoStreamIo.h"

#include <new>
#include "serialization/ZoFormatVersions.h"

namespace {

// Value kinds of the oldest property layout.
enum OldKind : int32_t {
  kOldString = 0,
  kOldFloat = 1,
  kOldInt = 2,
  kOldDropped = 3,
  kOldVector3 = 4,
  kOldTransform2 = 5,
  kOldList = 6,
  kOldTransform3 = 7,
  kOldFramed = 8
};

// An empty value for the unframed body of an old kind; null for the kinds
// that carry none (or when no memory could be had).
ZoTypedValue* NewOldKindValue(int32_t kind) {
  switch (kind) {
    case kOldString: return new (std::nothrow) ZoStringValue;
    case kOldFloat: return new (std::nothrow) ZoFloatValue;
    case kOldInt: return new (std::nothrow) ZoIntValue;
    case kOldVector3: return new (std::nothrow) ZoVector3Value;
    case kOldTransform2: return new (std::nothrow) ZoTransform2Value;
    case kOldList: return new (std::nothrow) ZoListValue;
    case kOldTransform3: return new (std::nothrow) ZoTransform3Value;
    default: return nullptr;
  }
}

// Reads the value of the oldest layout, whose kind has been read.
ZoTypedValue* ReadOldValue(ZoStream& stream, int32_t kind) {
  switch (kind) {
    case kOldDropped: {
      char dropped[8];
      stream.ReadBytes(sizeof dropped, dropped);
      return nullptr;
    }
    case kOldFramed:
      return stream.ReadObjectAs<ZoTypedValue>(nullptr);
    default: {
      if (kind < kOldString || kind > kOldTransform3) return nullptr;  // no value, nothing to read
      ZoTypedValue* value = NewOldKindValue(kind);
      if (value == nullptr) {
        // The body cannot be read without its object; stop rather than misread.
        zostreamio::OutOfMemory(stream, ZoStreamFormatError);
        return nullptr;
      }
      stream >> *value;
      return value;
    }
  }
}

}  // namespace

ZoProperty::ZoProperty() : value(nullptr) {}

ZoProperty::ZoProperty(ZoString const& initialName, ZoTypedValue* initialValue)
    : name(initialName), value(initialValue) {}

ZoProperty::ZoProperty(ZoProperty const& other)
    : ZoStreamObject(other), name(other.name), value(other.value != nullptr ? other.value->Copy() : nullptr) {}

ZoProperty& ZoProperty::operator=(ZoProperty const& other) {
  if (this != &other) {
    SetValue(nullptr);
    name = other.name;
    if (other.value != nullptr) value = other.value->Copy();
  }
  return *this;
}

ZoProperty::~ZoProperty() { SetValue(nullptr); }

void ZoProperty::SetValue(ZoTypedValue* newValue) {
  if (value != nullptr && value != newValue) value->Destroy();
  value = newValue;
}

ZoTypedValue* ZoProperty::DetachValue() {
  ZoTypedValue* detached = value;
  value = nullptr;
  return detached;
}

int ZoProperty::ConvertToInt(int& result) const { return value != nullptr ? value->ConvertToInt(result) : 0; }

int ZoProperty::ConvertToFloat(float& result) const { return value != nullptr ? value->ConvertToFloat(result) : 0; }

int ZoProperty::ConvertToString(ZoString& result) const {
  return value != nullptr ? value->ConvertToString(result) : 0;
}

ZoTypedValue* ZoProperty::ConvertTo(int32_t type) const { return value != nullptr ? value->ConvertTo(type) : nullptr; }

ZoProperty::operator int() const {
  int result = 0;
  ConvertToInt(result);
  return result;
}

ZoProperty::operator float() const {
  float result = 0.0f;
  ConvertToFloat(result);
  return result;
}

ZoProperty::operator ZoString() const {
  ZoString result;
  ConvertToString(result);
  return result;
}

int ZoProperty::operator==(ZoProperty const& other) const {
  if (value == nullptr || other.value == nullptr) return value == other.value ? 1 : 0;
  return value->Compare(*other.value) == 0 ? 1 : 0;
}

ZoStreamError ZoProperty::ReadFromStream(ZoStream& stream) {
  SetValue(nullptr);
  int32_t kind = 0;
  bool framed = stream.version >= zoversion::kFramedPropertyValues;
  if (!framed && (stream >> kind).Status() != ZoStreamOk) return stream.Status();
  if ((stream >> name).Status() != ZoStreamOk) return stream.Status();

  // Values of unknown sized classes are kept as opaque values in the current layout.
  if (stream.version >= zoversion::kCurrentLayout)
    value = stream.ReadObjectAs<ZoTypedValue>(&ZoOpaqueValue::Create);
  else if (framed)
    value = stream.ReadObjectAs<ZoTypedValue>(nullptr);
  else
    value = ReadOldValue(stream, kind);
  return stream.Status();
}

ZoStreamError ZoProperty::WriteToStream(ZoStream& stream) const {
  stream << name;
  return stream.WriteObject(value);
}

ZoStreamObject* ZoProperty::Create() { return new (std::nothrow) ZoProperty; }

static ZoStreamConstructorEntry const kRegisterProperty(ZoTypeCode::Property, &ZoProperty::Create);
