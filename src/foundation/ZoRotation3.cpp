#include <zoactor/foundation/ZoRotation3.h>

#include "foundation/ZoEuler.h"

#include <cmath>

void ZoRotation3::setValue(ZoVector3 const& from, ZoVector3 const& to) {
  ZoVector3 a = from.unit();
  ZoVector3 b = to.unit();
  if (a.lengthSquared() == 0.0f || b.lengthSquared() == 0.0f) {
    *this = ZoRotation3();
    return;
  }
  float cosine = a.dot(b);
  if (cosine >= 1.0f - 1e-7f) {
    *this = ZoRotation3();
    return;
  }
  if (cosine <= -1.0f + 1e-6f) {
    // A half turn about any axis perpendicular to `from`: cross it with the
    // coordinate axis it is least aligned with.
    ZoVector3 other = std::fabs(a.x) < 0.6f ? ZoVector3(1, 0, 0)
                      : std::fabs(a.y) < 0.6f ? ZoVector3(0, 1, 0)
                                               : ZoVector3(0, 0, 1);
    ZoVector3 axis = a.cross(other).unit();
    *this = {0.0f, axis.x, axis.y, axis.z};
    return;
  }
  // The half-angle form: (1 + cos θ, a × b), normalised, is the rotation by θ.
  ZoVector3 c = a.cross(b);
  float s = std::sqrt((1.0f + cosine) * 2.0f);
  *this = {s * 0.5f, c.x / s, c.y / s, c.z / s};
  normalize();
}

void ZoRotation3::setEuler(float ax, float ay, float az) {
  ZoRotation3 rx(std::cos(ax * 0.5f), std::sin(ax * 0.5f), 0, 0);
  ZoRotation3 ry(std::cos(ay * 0.5f), 0, std::sin(ay * 0.5f), 0);
  ZoRotation3 rz(std::cos(az * 0.5f), 0, 0, std::sin(az * 0.5f));
  *this = rz * ry * rx;
}

void ZoRotation3::getEuler(float& ax, float& ay, float& az) const {
  // The rotation matrix of this quaternion, in double precision.
  double qw = w, qx = x, qy = y, qz = z;
  double r[3][3] = {{1 - 2 * (qy * qy + qz * qz), 2 * (qx * qy - qw * qz), 2 * (qx * qz + qw * qy)},
                    {2 * (qx * qy + qw * qz), 1 - 2 * (qx * qx + qz * qz), 2 * (qy * qz - qw * qx)},
                    {2 * (qx * qz - qw * qy), 2 * (qy * qz + qw * qx), 1 - 2 * (qx * qx + qy * qy)}};
  ZoEulerFromMatrix(r, ax, ay, az);
}
