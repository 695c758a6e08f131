// Joint limits: constraints on the local transform of one proto node (its
// transform relative to its parent). The engine hands a candidate transform
// to FixTransform, which pulls it back into the allowed set.
//
//   class          GetType  code  in file  body
//   ZoJLimit       0        JLim  "JLim"   empty (a limit of no kind)
//   ZoJLHinge      1        JLHn  "JLHn"   minRot, maxRot (16 bytes each),
//                                          coefA, coefB (float), longArc
//                                          (int32, from version 27)
//   ZoJLEuler      2        JLEu  "JLEu"   min/max pairs for z, y, x (6 floats)
//   ZoJLLinear     3        lXLJ  "lXLJ"   start, end (12 bytes each)
//   ZoJLTranslate  4        bXLJ  "bXLJ"   minCorner, maxCorner (12 bytes each)
//
// All are unsized stream objects, stored framed inside a proto node's body
// and owned by their node. Every field is read or written only while the
// stream's status is good, and a field is stored only when it was read
// whole. The hinge keeps its coefficients as read; the linear limit
// recomputes its direction and length from the ends it reads and changes
// nothing unless both were read.
//
// Euler angles follow the library's convention: a rotation is Rz(θz) ·
// Ry(θy) · Rx(θx) (x applied first) and ZoXformMatrix3::getEuler gives θy in
// [−π/2, π/2]. Index 0 of an Euler limit constrains θz, 1 θy, 2 θx.
//
// Degenerate limits are the caller's to avoid: a hinge whose two rotations
// are equal or opposite has infinite coefficients, and a linear limit whose
// ends coincide has no direction (FixTransform then produces NaNs but never
// fails or reads outside the limit).
//
// Edge cases: PivotLimit of the linear limit rotates start and end and
// leaves direction as SetValue last computed it; call SetValue(start, end)
// after a pivot for a consistent limit.
#ifndef ZOACTOR_SKELETON_ZOJLIMIT_H
#define ZOACTOR_SKELETON_ZOJLIMIT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

// The base, and a limit of no kind: it allows everything.
class ZOACTOR_API ZoJLimit : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JLimit;

  ZoJLimit() = default;
  ZoJLimit(ZoJLimit const& other) = default;
  ZoJLimit& operator=(ZoJLimit const& other) = default;
  ~ZoJLimit() override;

  int32_t StreamType() const override { return STREAM_TYPE; }
  // The empty body: both only return the stream's status.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // A new limit of the same class with the same fields, owned by the caller
  // (null when no memory could be had).
  virtual ZoJLimit* Duplicate() const;
  // 0 for the base, 1 hinge, 2 Euler, 3 linear, 4 translation.
  virtual int GetType() const { return 0; }
  // Moves `t` into the allowed set; returns 1 when `t` changed (the linear
  // limit always returns 1). The base changes nothing and returns 0.
  virtual int FixTransform(ZoTransform3& t) const;
  // Re-expresses the limit after the node's frame is rotated by `r`. The
  // base does nothing.
  virtual void PivotLimit(ZoRotation3 const& r);

  // The registry's creation function: a bare limit, or null.
  static ZoStreamObject* Create();
};

// The rotation may only move along one arc between two rotations: the short
// arc, or with longArc the complementary one. Only the rotation of a
// transform is constrained.
class ZOACTOR_API ZoJLHinge : public ZoJLimit {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JLHinge;

  // minRot identity, maxRot (0, 1, 0, 0) (a half turn about x), short arc.
  ZoJLHinge();
  ZoJLHinge(ZoJLHinge const& other) = default;
  ZoJLHinge& operator=(ZoJLHinge const& other) = default;
  ~ZoJLHinge() override;

  // Stores the ends and the arc, then with d = minRot · maxRot: coefA =
  // 1 / (1 − d²), coefB = −d / (1 − d²).
  void SetValue(ZoRotation3 const& minimum, ZoRotation3 const& maximum, int arc);
  void GetValue(ZoRotation3& minimum, ZoRotation3& maximum, int& arc) const;
  float CoefA() const { return coefA; }
  float CoefB() const { return coefB; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads minRot, maxRot, coefA, coefB as stored and longArc from version 27
  // (0 below).
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Writes all five fields, longArc included, at every version.
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  ZoJLimit* Duplicate() const override;
  int GetType() const override { return 1; }
  // With a = minRot · q, b = maxRot · q: α = a·coefA + b·coefB and
  // β = a·coefB + b·coefA. q is inside when α and β have the same sign (zero
  // counts for either), outside otherwise; longArc swaps the two. Inside, q
  // becomes the normalised α·minRot + β·maxRot (result 0 when that equals q
  // exactly, else 1). Outside, q becomes minRot when |α| > |β|, else maxRot
  // (a tie goes to maxRot); the result is 1.
  int FixTransform(ZoTransform3& t) const override;
  // minRot becomes r · minRot and maxRot r · maxRot; the coefficients stay.
  void PivotLimit(ZoRotation3 const& r) override;

  static ZoStreamObject* Create();

 private:
  int32_t longArc;
  ZoRotation3 minRot;
  ZoRotation3 maxRot;
  float coefA;
  float coefB;
};

// Independent ranges for the Euler angles about z (index 0), y (1) and x (2),
// in radians. A range whose maximum is below its minimum wraps through π.
// Only the rotation of a transform is constrained.
class ZOACTOR_API ZoJLEuler : public ZoJLimit {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JLEuler;

  // −π to π on every axis (allows every rotation).
  ZoJLEuler();
  ZoJLEuler(ZoJLEuler const& other) = default;
  ZoJLEuler& operator=(ZoJLEuler const& other) = default;
  ~ZoJLEuler() override;

  // Sets the range of `axis` (0, 1 or 2; not checked).
  void SetValue(int axis, float minimum, float maximum);
  void GetValue(int axis, float& minimum, float& maximum) const;

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  ZoJLimit* Duplicate() const override;
  int GetType() const override { return 2; }
  // Decomposes the rotation into θz, θy, θx and clamps each angle outside its
  // range (measured round the circle from the minimum) to the nearer end,
  // the maximum when the distances tie. When nothing was clamped, returns 0
  // and leaves `t` exactly as it was; otherwise the rotation becomes
  // Rz(θz) · Ry(θy) · Rx(θx) of the clamped angles and the result is 1.
  int FixTransform(ZoTransform3& t) const override;
  // The rotation becomes Rz · Ry · Rx of the plain averages of each range's
  // ends (no wrap-around handling); returns 1.
  int CenterTransform(ZoTransform3& t) const;
  // Each end triple is turned into r · Rz · Ry · Rx of its angles and
  // decomposed again.
  void PivotLimit(ZoRotation3 const& r) override;

  static ZoStreamObject* Create();

 private:
  float minAngle[3];
  float maxAngle[3];
};

// The translation may only lie on the segment from start to end. Only the
// translation of a transform is constrained.
class ZOACTOR_API ZoJLLinear : public ZoJLimit {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JLLinear;

  // From (0, −1, 0) to (0, 1, 0).
  ZoJLLinear();
  ZoJLLinear(ZoJLLinear const& other) = default;
  ZoJLLinear& operator=(ZoJLLinear const& other) = default;
  ~ZoJLLinear() override;

  // Stores both ends; direction becomes the unit vector from start to end and
  // length their distance.
  void SetValue(ZoVector3 const& startPoint, ZoVector3 const& endPoint);
  void GetValue(ZoVector3& startPoint, ZoVector3& endPoint) const;
  ZoVector3 const& Direction() const { return direction; }
  float Length() const { return length; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads both ends and calls SetValue with them.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  ZoJLimit* Duplicate() const override;
  int GetType() const override { return 3; }
  // With s = (p − start) · direction: p becomes start when s < 0, the foot
  // start + direction·s when s ≤ length, else end. Always returns 1.
  int FixTransform(ZoTransform3& t) const override;
  // The translation becomes the midpoint of the segment; returns 1.
  int CenterTransform(ZoTransform3& t) const;
  // start and end are rotated by r (direction stays; see the file comment).
  void PivotLimit(ZoRotation3 const& r) override;

  static ZoStreamObject* Create();

 private:
  ZoVector3 start;
  ZoVector3 end;
  ZoVector3 direction;
  float length;
};

// The translation may only lie in an axis-aligned box. Only the translation
// of a transform is constrained.
class ZOACTOR_API ZoJLTranslate : public ZoJLimit {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JLTranslate;
  // The half-size of the default box.
  static ZoVector3 const DEFAULT_EXTENT;  // (0.1, 0.1, 0.1)

  // From −DEFAULT_EXTENT to DEFAULT_EXTENT.
  ZoJLTranslate();
  ZoJLTranslate(ZoJLTranslate const& other) = default;
  ZoJLTranslate& operator=(ZoJLTranslate const& other) = default;
  ~ZoJLTranslate() override;

  void SetValue(ZoVector3 const& minimum, ZoVector3 const& maximum);
  void GetValue(ZoVector3& minimum, ZoVector3& maximum) const;

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  ZoJLimit* Duplicate() const override;
  int GetType() const override { return 4; }
  // Raises each coordinate below minCorner's to it, then lowers each above
  // maxCorner's to it (so where a minimum exceeds its maximum, the maximum
  // wins). Returns 1 when any coordinate changed, else 0.
  int FixTransform(ZoTransform3& t) const override;
  // The translation becomes the box centre; returns 1.
  int CenterTransform(ZoTransform3& t) const;
  // Both corners are rotated by r.
  void PivotLimit(ZoRotation3 const& r) override;

  static ZoStreamObject* Create();

 private:
  ZoVector3 minCorner;
  ZoVector3 maxCorner;
};

#endif
