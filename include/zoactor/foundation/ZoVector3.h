// ZoVector3: a 3-D vector (or point) of floats, streamed as its 12 bytes
// x, y, z. A default vector is zero.
#ifndef ZOACTOR_FOUNDATION_ZOVECTOR3_H
#define ZOACTOR_FOUNDATION_ZOVECTOR3_H

#include <zoactor/ZoExport.h>

#include <cmath>

class ZoTransform3;

class ZOACTOR_API ZoVector3 {
 public:
  float x = 0.0f;
  float y = 0.0f;
  float z = 0.0f;

  // The zero vector.
  ZoVector3() = default;
  ZoVector3(float px, float py, float pz) : x(px), y(py), z(pz) {}

  // Component-wise sums and differences, negation, and scaling by a scalar.
  // Dividing by zero gives infinities or NaNs as float division does.
  ZoVector3 operator+(ZoVector3 const& v) const { return {x + v.x, y + v.y, z + v.z}; }
  ZoVector3 operator-(ZoVector3 const& v) const { return {x - v.x, y - v.y, z - v.z}; }
  ZoVector3 operator-() const { return {-x, -y, -z}; }
  ZoVector3 operator*(float s) const { return {x * s, y * s, z * s}; }
  ZoVector3 operator/(float s) const { return {x / s, y / s, z / s}; }
  ZoVector3& operator+=(ZoVector3 const& v) { x += v.x; y += v.y; z += v.z; return *this; }
  ZoVector3& operator-=(ZoVector3 const& v) { x -= v.x; y -= v.y; z -= v.z; return *this; }
  ZoVector3& operator*=(float s) { x *= s; y *= s; z *= s; return *this; }
  ZoVector3& operator/=(float s) { x /= s; y /= s; z /= s; return *this; }
  // Component-wise product.
  ZoVector3& operator*=(ZoVector3 const& v) { x *= v.x; y *= v.y; z *= v.z; return *this; }
  // Exact component-wise equality.
  bool operator==(ZoVector3 const& v) const { return x == v.x && y == v.y && z == v.z; }
  bool operator!=(ZoVector3 const& v) const { return !(*this == v); }

  // The dot product.
  float dot(ZoVector3 const& v) const { return x * v.x + y * v.y + z * v.z; }
  // The right-handed cross product this × v.
  ZoVector3 cross(ZoVector3 const& v) const { return {y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x}; }
  // The squared and the Euclidean length.
  float lengthSquared() const { return dot(*this); }
  float length() const { return std::sqrt(lengthSquared()); }
  // Scales to unit length in place; a zero vector stays zero.
  void normalize() {
    float l = length();
    if (l > 0.0f) *this /= l;
  }
  // A unit copy (zero for a zero vector).
  ZoVector3 unit() const {
    ZoVector3 u(*this);
    u.normalize();
    return u;
  }
  // The component-wise squares (to accumulate second moments).
  ZoVector3 square() const { return {x * x, y * y, z * z}; }

  // This becomes the unit vector along a × b (zero when they are parallel).
  void NormalizeCross(ZoVector3 const& a, ZoVector3 const& b) {
    *this = a.cross(b);
    normalize();
  }
  // This point becomes t applied to it (rotated, then translated).
  void Premultiply(ZoTransform3 const& t);
  // This becomes a + u(b − a).
  void interpolate(ZoVector3 const& a, ZoVector3 const& b, float u) { *this = a + (b - a) * u; }
  // This becomes the cubic Bézier point with end points a and d and inner
  // control points b and c: (1−u)³a + 3(1−u)²u b + 3(1−u)u² c + u³d.
  void interpolate(ZoVector3 const& a, ZoVector3 const& b, ZoVector3 const& c, ZoVector3 const& d, float u) {
    float v = 1.0f - u;
    float wa = v * v * v;
    float wb = 3.0f * v * v * u;
    float wc = 3.0f * v * u * u;
    float wd = u * u * u;
    *this = {a.x * wa + b.x * wb + c.x * wc + d.x * wd, a.y * wa + b.y * wb + c.y * wc + d.y * wd,
             a.z * wa + b.z * wb + c.z * wc + d.z * wd};
  }
};

// Scaling with the scalar first.
inline ZoVector3 operator*(float s, ZoVector3 const& v) { return v * s; }

static_assert(sizeof(ZoVector3) == 12, "a ZoVector3 streams as its 12 bytes");

#endif
