// ZoMath: the few scalar helpers and constants the library needs.
#ifndef ZOACTOR_FOUNDATION_ZOMATH_H
#define ZOACTOR_FOUNDATION_ZOMATH_H

#include <zoactor/ZoExport.h>

#include <cmath>

struct ZOACTOR_API ZoMath {
  // π, π/2 and 2π in single precision.
  static constexpr float PI = 3.14159265358979323846f;
  static constexpr float HALF_PI = PI / 2.0f;
  static constexpr float TWO_PI = PI * 2.0f;

  // The square root (0 for negative arguments, which only rounding produces
  // in the library's uses).
  static float sqrt(float value) { return value > 0.0f ? std::sqrt(value) : 0.0f; }
};

#endif
