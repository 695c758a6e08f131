// ZoTransform3: a rigid transform, translation then rotation, mapping a point
// p to R·p + t. Streamed as its 28 bytes: translation x, y, z, then rotation
// w, x, y, z. The product a * b applies b first; ~t is the inverse. A default
// transform is the identity.
#ifndef ZOACTOR_FOUNDATION_ZOTRANSFORM3_H
#define ZOACTOR_FOUNDATION_ZOTRANSFORM3_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoVector3.h>

#include <type_traits>

class ZoXformMatrix3;

class ZOACTOR_API ZoTransform3 {
 public:
  ZoVector3 translation;
  ZoRotation3 rotation;

  // The identity.
  ZoTransform3() = default;
  // Rotation r followed by translation t.
  ZoTransform3(ZoVector3 const& t, ZoRotation3 const& r) : translation(t), rotation(r) {}
  // The transform of a rotation-and-translation matrix (rotation normalised).
  explicit ZoTransform3(ZoXformMatrix3 const& matrix);

  // The identity transform.
  static ZoTransform3 identity() { return ZoTransform3(); }

  // The inverse (assuming a unit rotation).
  ZoTransform3 operator~() const {
    ZoRotation3 inverse = ~rotation;
    return {-(inverse * translation), inverse};
  }
  // Composition: (a * b) applies b first.
  ZoTransform3 operator*(ZoTransform3 const& b) const {
    return {rotation * b.translation + translation, rotation * b.rotation};
  }
  // The transformed point.
  ZoVector3 operator*(ZoVector3 const& p) const { return rotation * p + translation; }
  // Exact equality of all seven floats.
  bool operator==(ZoTransform3 const& o) const { return translation == o.translation && rotation == o.rotation; }
  bool operator!=(ZoTransform3 const& o) const { return !(*this == o); }

  // `result` becomes this transform applied to `point` (they may alias).
  void Multiply(ZoVector3& result, ZoVector3 const& point) const { result = *this * point; }
  // This becomes a * b (either may be this transform).
  void Multiply(ZoTransform3 const& a, ZoTransform3 const& b) { *this = a * b; }
  // Translation interpolated linearly and rotation spherically from a (u = 0) to b (u = 1).
  void interpolate(ZoTransform3 const& a, ZoTransform3 const& b, float u) {
    translation.interpolate(a.translation, b.translation, u);
    rotation.interpolate(a.rotation, b.rotation, u, 0);
  }
  // The cubic Bézier segment from a (u = 0) to d (u = 1) with inner control
  // transforms b and c: translations by the cubic Bézier, rotations by the
  // same pattern of repeated spherical interpolation (de Casteljau).
  void interpolate(ZoTransform3 const& a, ZoTransform3 const& b, ZoTransform3 const& c, ZoTransform3 const& d,
                   float u);
};

static_assert(sizeof(ZoTransform3) == 28, "a ZoTransform3 streams as its 28 bytes");
static_assert(std::is_standard_layout<ZoTransform3>::value && std::is_trivially_copyable<ZoTransform3>::value,
              "transforms are streamed as raw bytes");
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "raw layouts are little-endian on disk");

#endif
