#include <zoactor/values/ZoTypedValue.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <climits>
#include <cmath>
#include <new>

namespace {

// The float truncated toward zero; NaN gives 0 and values beyond the int
// range saturate (a plain cast would be undefined there).
int32_t TruncateToInt(float value) {
  if (std::isnan(value)) return 0;
  if (value >= 2147483648.0f) return INT32_MAX;
  if (value <= -2147483648.0f) return INT32_MIN;
  return static_cast<int32_t>(value);
}

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// atoi of the text: leading blanks skipped, an optional sign, then digits up
// to the first non-digit; 0 when there are none. Out-of-range values
// saturate instead of being undefined.
int32_t ParseInt(ZoString const& text) {
  char const* p = text.c_str();
  while (IsBlank(*p)) ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  int64_t magnitude = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    magnitude = magnitude * 10 + (*p - '0');
    if (magnitude > int64_t{INT32_MAX} + 1) magnitude = int64_t{INT32_MAX} + 1;
  }
  int64_t result = negative ? -magnitude : magnitude;
  if (result > INT32_MAX) return INT32_MAX;
  return static_cast<int32_t>(result);
}

}  // namespace

// --- ZoTypedValue -----------------------------------------------------------

ZoTypedValue::ZoTypedValue() : modCallBackData(0), modCallBack(nullptr) {}

ZoTypedValue::ZoTypedValue(ZoTypedValue const& other)
    : ZoStreamSizedObject(other), modCallBackData(other.modCallBackData), modCallBack(other.modCallBack) {}

ZoTypedValue::~ZoTypedValue() = default;

void ZoTypedValue::Destroy() { delete this; }

int ZoTypedValue::Compare(ZoTypedValue const&) const { return -1; }

ZoTypedValue* ZoTypedValue::ConvertTo(int32_t) const { return nullptr; }

int ZoTypedValue::ConvertToInt(int& result) const {
  ZoTypedValue* converted = ConvertTo(ZoTypeCode::IntValue);
  if (converted == nullptr) return 0;
  result = *static_cast<ZoIntValue*>(converted);
  converted->Destroy();
  return 1;
}

int ZoTypedValue::ConvertToFloat(float& result) const {
  ZoTypedValue* converted = ConvertTo(ZoTypeCode::FloatValue);
  if (converted == nullptr) return 0;
  result = *static_cast<ZoFloatValue*>(converted);
  converted->Destroy();
  return 1;
}

int ZoTypedValue::ConvertToString(ZoString& result) const {
  ZoTypedValue* converted = ConvertTo(ZoTypeCode::StringValue);
  if (converted == nullptr) return 0;
  result = static_cast<ZoString const&>(*static_cast<ZoStringValue*>(converted));
  converted->Destroy();
  return 1;
}

void ZoTypedValue::SetModCallBack(ZoModCallBack callBack, intptr_t data) {
  modCallBack = callBack;
  modCallBackData = data;
}

// --- ZoIntValue -------------------------------------------------------------

ZoIntValue& ZoIntValue::operator=(ZoIntValue const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoIntValue::ReadFromStream(ZoStream& stream) { return (stream >> value).Status(); }

ZoStreamError ZoIntValue::WriteToStream(ZoStream& stream) const { return (stream << value).Status(); }

ZoTypedValue* ZoIntValue::Copy() const { return new (std::nothrow) ZoIntValue(value); }

int ZoIntValue::Compare(ZoTypedValue const& other) const {
  int x = 0;
  if (!other.ConvertToInt(x)) return -1;
  // The difference wraps as 32-bit two's-complement arithmetic does.
  return static_cast<int32_t>(static_cast<uint32_t>(value) - static_cast<uint32_t>(x));
}

ZoTypedValue* ZoIntValue::ConvertTo(int32_t type) const {
  switch (type) {
    case ZoTypeCode::IntValue:
      return new (std::nothrow) ZoIntValue(value);
    case ZoTypeCode::FloatValue:
      return new (std::nothrow) ZoFloatValue(static_cast<float>(value));
    case ZoTypeCode::StringValue: {
      ZoString text;
      text.Format("%d", value);
      return new (std::nothrow) ZoStringValue(text);
    }
    default:
      return nullptr;
  }
}

ZoStreamObject* ZoIntValue::Create() { return new (std::nothrow) ZoIntValue; }

// --- ZoFloatValue -----------------------------------------------------------

ZoFloatValue& ZoFloatValue::operator=(ZoFloatValue const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoFloatValue::ReadFromStream(ZoStream& stream) { return (stream >> value).Status(); }

ZoStreamError ZoFloatValue::WriteToStream(ZoStream& stream) const { return (stream << value).Status(); }

ZoTypedValue* ZoFloatValue::Copy() const { return new (std::nothrow) ZoFloatValue(value); }

int ZoFloatValue::Compare(ZoTypedValue const& other) const {
  float x = 0.0f;
  if (!other.ConvertToFloat(x)) return -1;
  if (value < x) return -1;
  if (value > x) return 1;
  return 0;
}

ZoTypedValue* ZoFloatValue::ConvertTo(int32_t type) const {
  switch (type) {
    case ZoTypeCode::IntValue:
      return new (std::nothrow) ZoIntValue(TruncateToInt(value));
    case ZoTypeCode::FloatValue:
      return new (std::nothrow) ZoFloatValue(value);
    case ZoTypeCode::StringValue: {
      ZoString text;
      text.Format("%f", static_cast<double>(value));
      return new (std::nothrow) ZoStringValue(text);
    }
    default:
      return nullptr;
  }
}

ZoStreamObject* ZoFloatValue::Create() { return new (std::nothrow) ZoFloatValue; }

// --- ZoStringValue ----------------------------------------------------------

ZoStringValue& ZoStringValue::operator=(ZoStringValue const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoStringValue::ReadFromStream(ZoStream& stream) { return (stream >> value).Status(); }

ZoStreamError ZoStringValue::WriteToStream(ZoStream& stream) const { return (stream << value).Status(); }

ZoTypedValue* ZoStringValue::Copy() const { return new (std::nothrow) ZoStringValue(value); }

int ZoStringValue::Compare(ZoTypedValue const& other) const {
  ZoString text;
  if (!other.ConvertToString(text)) return -1;
  return value.Compare(text);
}

ZoTypedValue* ZoStringValue::ConvertTo(int32_t type) const {
  switch (type) {
    case ZoTypeCode::IntValue:
      return new (std::nothrow) ZoIntValue(ParseInt(value));
    case ZoTypeCode::FloatValue:
      return new (std::nothrow) ZoFloatValue(static_cast<float>(value));
    case ZoTypeCode::StringValue:
      return new (std::nothrow) ZoStringValue(value);
    default:
      return nullptr;
  }
}

ZoStreamObject* ZoStringValue::Create() { return new (std::nothrow) ZoStringValue; }

// --- Vector and transforms --------------------------------------------------

ZoVector3Value& ZoVector3Value::operator=(ZoVector3Value const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoVector3Value::ReadFromStream(ZoStream& stream) { return zostreamio::ReadBlock(stream, value); }

ZoStreamError ZoVector3Value::WriteToStream(ZoStream& stream) const { return zostreamio::WriteBlock(stream, value); }

ZoTypedValue* ZoVector3Value::Copy() const { return new (std::nothrow) ZoVector3Value(value); }

ZoStreamObject* ZoVector3Value::Create() { return new (std::nothrow) ZoVector3Value; }

ZoTransform2Value& ZoTransform2Value::operator=(ZoTransform2Value const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoTransform2Value::ReadFromStream(ZoStream& stream) { return zostreamio::ReadBlock(stream, value); }

ZoStreamError ZoTransform2Value::WriteToStream(ZoStream& stream) const {
  return zostreamio::WriteBlock(stream, value);
}

ZoTypedValue* ZoTransform2Value::Copy() const { return new (std::nothrow) ZoTransform2Value(value); }

ZoStreamObject* ZoTransform2Value::Create() { return new (std::nothrow) ZoTransform2Value; }

ZoTransform3Value& ZoTransform3Value::operator=(ZoTransform3Value const& other) {
  value = other.value;
  return *this;
}

ZoStreamError ZoTransform3Value::ReadFromStream(ZoStream& stream) { return zostreamio::ReadBlock(stream, value); }

ZoStreamError ZoTransform3Value::WriteToStream(ZoStream& stream) const {
  return zostreamio::WriteBlock(stream, value);
}

ZoTypedValue* ZoTransform3Value::Copy() const { return new (std::nothrow) ZoTransform3Value(value); }

ZoStreamObject* ZoTransform3Value::Create() { return new (std::nothrow) ZoTransform3Value; }

// --- Registration -----------------------------------------------------------

static ZoStreamConstructorEntry const kRegisterIntValue(ZoTypeCode::IntValue, &ZoIntValue::Create);
static ZoStreamConstructorEntry const kRegisterFloatValue(ZoTypeCode::FloatValue, &ZoFloatValue::Create);
static ZoStreamConstructorEntry const kRegisterStringValue(ZoTypeCode::StringValue, &ZoStringValue::Create);
static ZoStreamConstructorEntry const kRegisterVector3Value(ZoTypeCode::Vector3Value, &ZoVector3Value::Create);
static ZoStreamConstructorEntry const kRegisterTransform2Value(ZoTypeCode::Transform2Value,
                                                               &ZoTransform2Value::Create);
static ZoStreamConstructorEntry const kRegisterTransform3Value(ZoTypeCode::Transform3Value,
                                                               &ZoTransform3Value::Create);
