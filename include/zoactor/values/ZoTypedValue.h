// ZoTypedValue: a small polymorphic value (an int, a float, a string, a
// vector or a transform here; lists, arrays, opaque blocks and the render
// attributes elsewhere) that can be copied, compared, converted to another
// kind and streamed as a sized object.
//
// Ownership: values are released with Destroy(). A value returned by Copy()
// or ConvertTo() belongs to the caller.
//
// Conversions: an int, a float and a string value convert to one another
// (int → float exactly, float → int truncating toward zero, int → string as
// "%d", float → string as "%f", string → int as atoi, string → float as
// ZoString's operator float); every other conversion gives null.
//
// Comparison converts the other value to this value's kind, so it is not
// symmetric: ZoIntValue(5) equals ZoFloatValue(5.9f) (5.9 truncates to 5),
// while ZoFloatValue(5.9f) compared with ZoIntValue(5) gives 1. Values of
// every other kind compare as -1 with everything, themselves included.
//
// Edge cases:
// - A float that is NaN converts to the int 0; floats beyond the int range
//   convert to INT_MIN or INT_MAX.
// - A string whose digits leave the int range converts to INT_MIN or
//   INT_MAX (atoi itself leaves that undefined).
// - Assigning one value to another (operator=) copies the data and keeps the
//   target's own modification callback, which belongs to the target's owner.
//   The copy constructors copy the callback pair, Copy() does not.
#ifndef ZOACTOR_VALUES_ZOTYPEDVALUE_H
#define ZOACTOR_VALUES_ZOTYPEDVALUE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform2.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZoTypedValue;

// The modification callback a value's owner installs: called by the owner
// (never by the library) with the value and the data given with it.
using ZoModCallBack = void (*)(ZoTypedValue* value, intptr_t data);

class ZOACTOR_API ZoTypedValue : public ZoStreamSizedObject {
 public:
  ZoTypedValue();
  // Copies the modification callback pair.
  ZoTypedValue(ZoTypedValue const& other);
  ~ZoTypedValue() override;

  // A new value of the same class holding the same data and no modification
  // callback, owned by the caller; null when it could not be allocated.
  virtual ZoTypedValue* Copy() const = 0;
  // Deletes the value. Every owner of a typed value releases it this way.
  virtual void Destroy();
  // Negative, 0 or positive as this value is less than, equal to or greater
  // than `other` converted to this value's kind. The base returns -1.
  virtual int Compare(ZoTypedValue const& other) const;
  // A new value of the class whose type code is `type`, converted from this
  // one and owned by the caller, or null when there is no such conversion
  // (or no memory). The base returns null.
  virtual ZoTypedValue* ConvertTo(int32_t type) const;

  // Each converts through ConvertTo; 1 with `result` set on success, 0 with
  // `result` unchanged when there is no conversion.
  int ConvertToInt(int& result) const;
  int ConvertToFloat(float& result) const;
  int ConvertToString(ZoString& result) const;

  // Stores the owner's modification callback and its data (null clears it).
  void SetModCallBack(ZoModCallBack callBack, intptr_t data);
  ZoModCallBack GetModCallBack() const { return modCallBack; }
  intptr_t GetModCallBackData() const { return modCallBackData; }

 protected:
  // Assignment in subclasses copies their data only (see the file comment).
  ZoTypedValue& operator=(ZoTypedValue const&) { return *this; }

  intptr_t modCallBackData;
  ZoModCallBack modCallBack;
};

// A 32-bit integer. Body: the int32 (4 bytes).
class ZOACTOR_API ZoIntValue : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::IntValue;

  ZoIntValue() : value(0) {}
  explicit ZoIntValue(int initial) : value(initial) {}
  ZoIntValue(ZoIntValue const& other) = default;
  ZoIntValue& operator=(ZoIntValue const& other);

  operator int() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 4; }
  ZoTypedValue* Copy() const override;
  // -1 when `other` has no int conversion, else value − other's int in
  // 32-bit two's-complement arithmetic (so it may wrap).
  int Compare(ZoTypedValue const& other) const override;
  ZoTypedValue* ConvertTo(int32_t type) const override;

  static ZoStreamObject* Create();

 private:
  int32_t value;
};

// A single-precision float. Body: the float (4 bytes).
class ZOACTOR_API ZoFloatValue : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::FloatValue;

  ZoFloatValue() : value(0.0f) {}
  explicit ZoFloatValue(float initial) : value(initial) {}
  ZoFloatValue(ZoFloatValue const& other) = default;
  ZoFloatValue& operator=(ZoFloatValue const& other);

  operator float() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 4; }
  ZoTypedValue* Copy() const override;
  // -1 when `other` has no float conversion or this value is less; 1 when
  // greater; 0 when neither (so a NaN on either side compares equal).
  int Compare(ZoTypedValue const& other) const override;
  ZoTypedValue* ConvertTo(int32_t type) const override;

  static ZoStreamObject* Create();

 private:
  float value;
};

// A string. Body: the string (int32 length, characters); declares length + 4.
// Strings longer than 512 characters are written but do not read back.
class ZOACTOR_API ZoStringValue : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::StringValue;

  ZoStringValue() = default;
  explicit ZoStringValue(ZoString const& initial) : value(initial) {}
  ZoStringValue(ZoStringValue const& other) = default;
  ZoStringValue& operator=(ZoStringValue const& other);

  operator ZoString&() { return value; }              // NOLINT: implicit by design
  operator ZoString const&() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return ZoStream::SizeOf(value); }
  ZoTypedValue* Copy() const override;
  // -1 when `other` has no string conversion, else ZoString::Compare.
  int Compare(ZoTypedValue const& other) const override;
  ZoTypedValue* ConvertTo(int32_t type) const override;

  static ZoStreamObject* Create();

 private:
  ZoString value;
};

// A 3-D vector. Body: x, y, z as one 12-byte block. Compares as -1 and
// converts to nothing.
class ZOACTOR_API ZoVector3Value : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Vector3Value;

  ZoVector3Value() = default;
  explicit ZoVector3Value(ZoVector3 const& initial) : value(initial) {}
  ZoVector3Value(ZoVector3Value const& other) = default;
  ZoVector3Value& operator=(ZoVector3Value const& other);

  operator ZoVector3&() { return value; }              // NOLINT: implicit by design
  operator ZoVector3 const&() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  // On a failed read the vector is unchanged.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 12; }
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();

 private:
  ZoVector3 value;
};

// A 2-D transform. Body: x, y, angle as one 12-byte block. Compares as -1
// and converts to nothing.
class ZOACTOR_API ZoTransform2Value : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Transform2Value;

  ZoTransform2Value() = default;
  explicit ZoTransform2Value(ZoTransform2 const& initial) : value(initial) {}
  ZoTransform2Value(ZoTransform2Value const& other) = default;
  ZoTransform2Value& operator=(ZoTransform2Value const& other);

  operator ZoTransform2&() { return value; }              // NOLINT: implicit by design
  operator ZoTransform2 const&() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  // On a failed read the transform is unchanged.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 12; }
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();

 private:
  ZoTransform2 value;
};

// A rigid 3-D transform, the identity by default. Body: translation x, y, z
// then rotation w, x, y, z as one 28-byte block. Compares as -1 and
// converts to nothing.
class ZOACTOR_API ZoTransform3Value : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Transform3Value;

  ZoTransform3Value() = default;
  explicit ZoTransform3Value(ZoTransform3 const& initial) : value(initial) {}
  ZoTransform3Value(ZoTransform3Value const& other) = default;
  ZoTransform3Value& operator=(ZoTransform3Value const& other);

  operator ZoTransform3&() { return value; }              // NOLINT: implicit by design
  operator ZoTransform3 const&() const { return value; }  // NOLINT: implicit by design

  int32_t StreamType() const override { return STREAM_TYPE; }
  // On a failed read the transform is unchanged.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  int32_t StreamSize() const override { return 28; }
  ZoTypedValue* Copy() const override;

  static ZoStreamObject* Create();

 private:
  ZoTransform3 value;
};

#endif
