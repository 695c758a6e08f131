#include <zoactor/foundation/ZoXformMatrix3.h>

#include "foundation/ZoEuler.h"

#include <cmath>

void ZoXformMatrix3::setValue(ZoRotation3 const& q, ZoVector3 const& translation) {
  float xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
  float xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
  float wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;
  m[0][0] = 1 - 2 * (yy + zz);
  m[0][1] = 2 * (xy - wz);
  m[0][2] = 2 * (xz + wy);
  m[1][0] = 2 * (xy + wz);
  m[1][1] = 1 - 2 * (xx + zz);
  m[1][2] = 2 * (yz - wx);
  m[2][0] = 2 * (xz - wy);
  m[2][1] = 2 * (yz + wx);
  m[2][2] = 1 - 2 * (xx + yy);
  t = translation;
}

ZoXformMatrix3 ZoXformMatrix3::operator~() const {
  ZoXformMatrix3 inverse;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) inverse.m[r][c] = m[c][r];
  ZoVector3 rotated;
  inverse.multiply(t, rotated);
  inverse.t = -rotated;
  return inverse;
}

ZoXformMatrix3 ZoXformMatrix3::operator*(ZoXformMatrix3 const& b) const {
  ZoXformMatrix3 product;
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 3; ++c) product.m[r][c] = m[r][0] * b.m[0][c] + m[r][1] * b.m[1][c] + m[r][2] * b.m[2][c];
  product.t = *this * b.t;
  return product;
}

void ZoXformMatrix3::getEuler(float& x, float& y, float& z) const {
  double r[3][3];
  for (int row = 0; row < 3; ++row)
    for (int col = 0; col < 3; ++col) r[row][col] = static_cast<double>(m[row][col]);
  ZoEulerFromMatrix(r, x, y, z);
}

ZoRotation3 ZoXformMatrix3::getRotation() const {
  // Shepperd's method: divide by the largest of the four candidates.
  float trace = m[0][0] + m[1][1] + m[2][2];
  ZoRotation3 q;
  if (trace > m[0][0] && trace > m[1][1] && trace > m[2][2]) {
    float s = std::sqrt(1.0f + trace) * 2.0f;
    q = {0.25f * s, (m[2][1] - m[1][2]) / s, (m[0][2] - m[2][0]) / s, (m[1][0] - m[0][1]) / s};
  } else if (m[0][0] >= m[1][1] && m[0][0] >= m[2][2]) {
    float s = std::sqrt(std::fmax(0.0f, 1.0f + m[0][0] - m[1][1] - m[2][2])) * 2.0f;
    q = {(m[2][1] - m[1][2]) / s, 0.25f * s, (m[0][1] + m[1][0]) / s, (m[0][2] + m[2][0]) / s};
  } else if (m[1][1] >= m[2][2]) {
    float s = std::sqrt(std::fmax(0.0f, 1.0f + m[1][1] - m[0][0] - m[2][2])) * 2.0f;
    q = {(m[0][2] - m[2][0]) / s, (m[0][1] + m[1][0]) / s, 0.25f * s, (m[1][2] + m[2][1]) / s};
  } else {
    float s = std::sqrt(std::fmax(0.0f, 1.0f + m[2][2] - m[0][0] - m[1][1])) * 2.0f;
    q = {(m[1][0] - m[0][1]) / s, (m[0][2] + m[2][0]) / s, (m[1][2] + m[2][1]) / s, 0.25f * s};
  }
  q.normalize();
  return q;
}

float ZoXformMatrix3::determinant() const {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}
