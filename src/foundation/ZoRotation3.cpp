#include <zoactor/foundation/ZoRotation3.h>

#include "foundation/ZoEuler.h"

#include <cmath>

void ZoRotation3::setValue(ZoVector3 const& from, ZoVector3 const& to) {
  // In double precision the products of the float inputs are exact, so the
  // cross product keeps its direction even when the directions are nearly
  // parallel or nearly opposite, where it is tiny. The angle comes from
  // atan2(|a × b|, a · b), which is accurate over the whole range, unlike
  // acos near 0 and π or the half-angle form (1 + cos θ, a × b) near π. No
  // normalisation of the inputs is needed: both arguments of atan2 scale alike.
  double ax = static_cast<double>(from.x), ay = static_cast<double>(from.y), az = static_cast<double>(from.z);
  double bx = static_cast<double>(to.x), by = static_cast<double>(to.y), bz = static_cast<double>(to.z);
  double lengths = std::sqrt((ax * ax + ay * ay + az * az) * (bx * bx + by * by + bz * bz));
  if (!(lengths > 0.0)) {
    *this = ZoRotation3();
    return;
  }
  double cx = ay * bz - az * by, cy = az * bx - ax * bz, cz = ax * by - ay * bx;
  double sine = std::sqrt(cx * cx + cy * cy + cz * cz);
  double cosine = ax * bx + ay * by + az * bz;
  if (sine <= 1e-12 * lengths) {
    if (cosine > 0.0) {  // parallel
      *this = ZoRotation3();
      return;
    }
    // Opposite: a half turn about an axis perpendicular to `from`, the cross
    // product with the coordinate axis `from` is least aligned with.
    double fx = std::fabs(ax), fy = std::fabs(ay), fz = std::fabs(az);
    if (fx <= fy && fx <= fz) {  // from × (1, 0, 0)
      cx = 0.0;
      cy = az;
      cz = -ay;
    } else if (fy <= fz) {  // from × (0, 1, 0)
      cx = -az;
      cy = 0.0;
      cz = ax;
    } else {  // from × (0, 0, 1)
      cx = ay;
      cy = -ax;
      cz = 0.0;
    }
    double length = std::sqrt(cx * cx + cy * cy + cz * cz);
    *this = {0.0f, static_cast<float>(cx / length), static_cast<float>(cy / length),
             static_cast<float>(cz / length)};
    return;
  }
  double half = 0.5 * std::atan2(sine, cosine);
  double scale = std::sin(half) / sine;
  *this = {static_cast<float>(std::cos(half)), static_cast<float>(cx * scale), static_cast<float>(cy * scale),
           static_cast<float>(cz * scale)};
}

void ZoRotation3::setEuler(float ax, float ay, float az) {
  ZoRotation3 rx(std::cos(ax * 0.5f), std::sin(ax * 0.5f), 0, 0);
  ZoRotation3 ry(std::cos(ay * 0.5f), 0, std::sin(ay * 0.5f), 0);
  ZoRotation3 rz(std::cos(az * 0.5f), 0, 0, std::sin(az * 0.5f));
  *this = rz * ry * rx;
}

void ZoRotation3::getEuler(float& ax, float& ay, float& az) const {
  // The rotation matrix of this quaternion, in double precision.
  double qw = static_cast<double>(w), qx = static_cast<double>(x), qy = static_cast<double>(y),
         qz = static_cast<double>(z);
  double r[3][3] = {{1 - 2 * (qy * qy + qz * qz), 2 * (qx * qy - qw * qz), 2 * (qx * qz + qw * qy)},
                    {2 * (qx * qy + qw * qz), 1 - 2 * (qx * qx + qz * qz), 2 * (qy * qz - qw * qx)},
                    {2 * (qx * qz - qw * qy), 2 * (qy * qz + qw * qx), 1 - 2 * (qx * qx + qy * qy)}};
  ZoEulerFromMatrix(r, ax, ay, az);
}
