// ZoVector2: a 2-D vector of floats.
#ifndef ZOACTOR_FOUNDATION_ZOVECTOR2_H
#define ZOACTOR_FOUNDATION_ZOVECTOR2_H

#include <zoactor/ZoExport.h>

#include <cmath>

class ZOACTOR_API ZoVector2 {
 public:
  float x = 0.0f;
  float y = 0.0f;

  // The zero vector.
  ZoVector2() = default;
  ZoVector2(float px, float py) : x(px), y(py) {}

  // Component-wise sums and differences, negation, scaling, exact equality.
  ZoVector2 operator+(ZoVector2 const& v) const { return {x + v.x, y + v.y}; }
  ZoVector2 operator-(ZoVector2 const& v) const { return {x - v.x, y - v.y}; }
  ZoVector2 operator-() const { return {-x, -y}; }
  ZoVector2 operator*(float s) const { return {x * s, y * s}; }
  bool operator==(ZoVector2 const& v) const { return x == v.x && y == v.y; }
  bool operator!=(ZoVector2 const& v) const { return !(*this == v); }
  // The dot product and the Euclidean length.
  float dot(ZoVector2 const& v) const { return x * v.x + y * v.y; }
  float length() const { return std::sqrt(dot(*this)); }
};

#endif
