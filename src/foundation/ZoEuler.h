// Euler angles of a rotation matrix in the convention R = Rz(z) Ry(y) Rx(x),
// computed in double precision. y comes from atan2 rather than asin so that
// it stays accurate near ±π/2. Near ±π/2 the entries that give x directly
// shrink with cos y and lose their precision, so there x is computed from z
// and the entries of magnitude 1 instead, which keeps the three angles
// consistent: the rotation they make is the matrix's. At ±π/2 exactly
// (gimbal lock) z is 0 and x carries the whole turn about the common axis.
#ifndef ZOACTOR_SRC_FOUNDATION_ZOEULER_H
#define ZOACTOR_SRC_FOUNDATION_ZOEULER_H

#include <cmath>

inline void ZoEulerFromMatrix(double const r[3][3], float& x, float& y, float& z) {
  double sinY = -r[2][0];
  double cosY = std::sqrt(r[0][0] * r[0][0] + r[1][0] * r[1][0]);
  y = static_cast<float>(std::atan2(sinY, cosY));
  if (cosY > 0.5) {
    x = static_cast<float>(std::atan2(r[2][1], r[2][2]));
    z = static_cast<float>(std::atan2(r[1][0], r[0][0]));
    return;
  }
  double angleZ = cosY > 1e-12 ? std::atan2(r[1][0], r[0][0]) : 0.0;
  double cz = std::cos(angleZ), sz = std::sin(angleZ);
  // r01 cz + r11 sz = sin x sin y and r11 cz − r01 sz = cos x.
  double sinXsinY = r[0][1] * cz + r[1][1] * sz;
  double cosX = r[1][1] * cz - r[0][1] * sz;
  x = static_cast<float>(std::atan2(sinXsinY / sinY, cosX));  // |sin y| > 0.86 here
  z = static_cast<float>(angleZ);
}

#endif
