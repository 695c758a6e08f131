// ZoProperty: a name paired with one owned typed value.
//
// Body: the name (string), then the value as a framed object (the null
// marker when there is none). A property is framed by its code alone.
//
// Reading depends on the stream's version:
// - 100 and above: name, then the framed value; a sized value of a class the
//   reader does not know is kept as a ZoOpaqueValue and written back as it
//   came.
// - 42 to 99: name, then the framed value (unknown sized values are skipped).
// - 41 and below: an int32 kind, the name, then the value's body without a
//   frame, by kind: 0 string, 1 float, 2 int, 3 eight bytes dropped (no
//   value), 4 vector, 5 2-D transform, 6 list, 7 3-D transform, 8 a framed
//   value; any other kind gives no value and reads nothing more.
// In every case the property's value is replaced by what was read (possibly
// nothing).
//
// Edge cases:
// - A framed value whose class is not a typed value fails the read with
//   ZoStreamFormatError and is destroyed.
// - Reading stops at the first failure; the property then holds the name
//   and value read so far (the value null when the name failed).
// - operator int() and operator float() give 0 when there is no value or no
//   conversion; operator ZoString() gives the empty string.
#ifndef ZOACTOR_VALUES_ZOPROPERTY_H
#define ZOACTOR_VALUES_ZOPROPERTY_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/values/ZoTypedValue.h>

class ZOACTOR_API ZoProperty : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Property;

  ZoProperty();
  // Takes ownership of `value` (null allowed).
  ZoProperty(ZoString const& name, ZoTypedValue* value);
  // Copies the name and a Copy() of the other's value (no value when the
  // other has none or the copy could not be allocated).
  ZoProperty(ZoProperty const& other);
  // Destroys the value held so far, then copies as the copy constructor.
  ZoProperty& operator=(ZoProperty const& other);
  // Destroys the value.
  ~ZoProperty() override;

  ZoString const& Name() const { return name; }
  void SetName(ZoString const& newName) { name = newName; }

  // The value, still owned by the property; null when there is none.
  ZoTypedValue* GetValue() { return value; }
  ZoTypedValue const* Value() const { return value; }
  // Destroys the value held so far (unless it is `newValue`) and takes
  // ownership of `newValue` (null allowed).
  void SetValue(ZoTypedValue* newValue);
  // Returns the value, which the caller then owns, and leaves the property
  // without one.
  ZoTypedValue* DetachValue();

  // 0 when there is no value, otherwise the value's conversion.
  int ConvertToInt(int& result) const;
  int ConvertToFloat(float& result) const;
  int ConvertToString(ZoString& result) const;
  // The value's ConvertTo(type), owned by the caller; null without a value.
  ZoTypedValue* ConvertTo(int32_t type) const;

  // The converted value; 0, 0.0 or the empty string when there is no value
  // or no such conversion.
  operator int() const;       // NOLINT: implicit by design
  operator float() const;     // NOLINT: implicit by design
  operator ZoString() const;  // NOLINT: implicit by design

  // 1 when neither has a value, 0 when exactly one has one, otherwise 1
  // exactly when this value's Compare with the other's is 0 (so the
  // comparison has the values' asymmetry). Names are not compared.
  int operator==(ZoProperty const& other) const;
  int operator!=(ZoProperty const& other) const { return *this == other ? 0 : 1; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  static ZoStreamObject* Create();

 private:
  ZoString name;
  ZoTypedValue* value;
};

#endif
