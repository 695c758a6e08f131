// ZoRotation3: a rotation as a unit quaternion, scalar first (w, x, y, z),
// streamed as those 16 bytes. A default rotation is the identity (1, 0, 0, 0).
// The product a * b applies b first and a second. Euler angles follow the
// convention Rz(z) · Ry(y) · Rx(x): the x rotation is applied first.
#ifndef ZOACTOR_FOUNDATION_ZOROTATION3_H
#define ZOACTOR_FOUNDATION_ZOROTATION3_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector3.h>

#include <cmath>

class ZOACTOR_API ZoRotation3 {
 public:
  float w = 1.0f;
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;

  // The identity.
  ZoRotation3() = default;
  // The quaternion (w, x, y, z) as given; it is not normalised.
  ZoRotation3(float pw, float px, float py, float pz) : w(pw), x(px), y(py), z(pz) {}

  // The rotation by `angle` radians about the unit `axis` (right-handed).
  void setValue(float angle, ZoVector3 const& axis) {
    float s = std::sin(angle * 0.5f);
    *this = {std::cos(angle * 0.5f), axis.x * s, axis.y * s, axis.z * s};
  }
  // The shortest rotation turning the direction `from` onto the direction
  // `to`, about their common perpendicular. Parallel directions give the
  // identity; opposite ones a half turn about an axis perpendicular to
  // `from`. Zero vectors give the identity.
  void setValue(ZoVector3 const& from, ZoVector3 const& to);

  // Composition: (a * b) applies b first.
  ZoRotation3 operator*(ZoRotation3 const& q) const {
    return {w * q.w - x * q.x - y * q.y - z * q.z, w * q.x + x * q.w + y * q.z - z * q.y,
            w * q.y - x * q.z + y * q.w + z * q.x, w * q.z + x * q.y - y * q.x + z * q.w};
  }
  // The rotated vector.
  ZoVector3 operator*(ZoVector3 const& v) const {
    // v + w·t + u × t with t = 2 u × v, u the vector part.
    ZoVector3 u(x, y, z);
    ZoVector3 t = u.cross(v) * 2.0f;
    return v + t * w + u.cross(t);
  }
  // Component-wise scaling and sum, for blending with dot and normalize.
  ZoRotation3 operator*(float s) const { return {w * s, x * s, y * s, z * s}; }
  ZoRotation3 operator+(ZoRotation3 const& q) const { return {w + q.w, x + q.x, y + q.y, z + q.z}; }
  // The inverse of a unit quaternion (its conjugate).
  ZoRotation3 operator~() const { return {w, -x, -y, -z}; }
  // Exact component-wise equality (q and −q, the same rotation, differ).
  bool operator==(ZoRotation3 const& q) const { return w == q.w && x == q.x && y == q.y && z == q.z; }
  bool operator!=(ZoRotation3 const& q) const { return !(*this == q); }

  // The four-component dot product.
  float dot(ZoRotation3 const& q) const { return w * q.w + x * q.x + y * q.y + z * q.z; }
  // Scales to unit length; a zero quaternion becomes the identity.
  void normalize() {
    float l = std::sqrt(dot(*this));
    if (l > 0.0f) {
      float inv = 1.0f / l;
      w *= inv;
      x *= inv;
      y *= inv;
      z *= inv;
    } else {
      *this = ZoRotation3();
    }
  }
  // This becomes the normalised sum of a and b: the rotation half-way between them.
  void bisect(ZoRotation3 const& a, ZoRotation3 const& b) {
    *this = a + b;
    normalize();
  }
  // This becomes 2(a·b)b − a: a reflected through b.
  void leap(ZoRotation3 const& a, ZoRotation3 const& b) { *this = b * (2.0f * a.dot(b)) + a * -1.0f; }
  // This becomes the spherical linear interpolation from a (u = 0) to b
  // (u = 1) along the shorter arc (b is negated when a·b is negative). Nearly
  // equal rotations are blended linearly and normalised, which is within
  // 1e-6 of the arc there. `flag` is reserved; callers pass 0.
  void interpolate(ZoRotation3 const& a, ZoRotation3 const& b, float u, int flag = 0) {
    (void)flag;
    float cosine = a.dot(b);
    float sign = 1.0f;
    if (cosine < 0.0f) {
      cosine = -cosine;
      sign = -1.0f;
    }
    float wa, wb;
    if (cosine > 0.9995f) {
      wa = 1.0f - u;
      wb = u;
    } else {
      float angle = std::acos(cosine);
      float inverseSine = 1.0f / std::sin(angle);
      wa = std::sin((1.0f - u) * angle) * inverseSine;
      wb = std::sin(u * angle) * inverseSine;
    }
    wb *= sign;
    *this = {a.w * wa + b.w * wb, a.x * wa + b.x * wb, a.y * wa + b.y * wb, a.z * wa + b.z * wb};
    if (cosine > 0.9995f) normalize();
  }

  // The rotation Rz(z) · Ry(y) · Rx(x).
  void setEuler(float ax, float ay, float az);
  // Angles such that this rotation is Rz(z) · Ry(y) · Rx(x), with y in
  // [−π/2, π/2]; at ±π/2 (gimbal lock) z is 0 and x carries the rest.
  void getEuler(float& ax, float& ay, float& az) const;
};

static_assert(sizeof(ZoRotation3) == 16, "a ZoRotation3 streams as its 16 bytes");

#endif
