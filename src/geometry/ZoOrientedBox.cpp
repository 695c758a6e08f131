// Oriented boxes against each other (separating axes) and against rays
// (slabs of the six faces).
#include <zoactor/geometry/ZoOrientedBox.h>

#include "geometry/ZoGeometryCommon.h"

using zogeometry::Absolute;
using zogeometry::kLargest;
using zogeometry::MatrixOf;

namespace {

// Exactly the identity transform (the common case of boxes already placed).
// Compared bit for bit: a few wide compares instead of seven float ones
// (a negative zero simply takes the general path).
ZoTransform3 const kIdentity;

inline bool IsIdentity(ZoTransform3 const& t) { return std::memcmp(&t, &kIdentity, sizeof t) == 0; }

}  // namespace

bool ZoOrientedBox::CheckIntersection(ZoOrientedBox const* other, ZoTransform3 const& placement,
                                      ZoTransform3 const& otherPlacement) const {
  // Both boxes in the world, then box 2 in box 1's frame: B[i][k] is the
  // cosine between axis i of box 1 and axis k of box 2, t the centre of box
  // 2 along box 1's axes. Boxes already in the world (identity placements)
  // skip the composition.
  ZoRotation3 r1 = transform.rotation, r2 = other->transform.rotation;
  ZoVector3 c1 = transform.translation, c2 = other->transform.translation;
  if (!IsIdentity(placement)) {
    r1 = placement.rotation * r1;
    c1 = placement * c1;
  }
  if (!IsIdentity(otherPlacement)) {
    r2 = otherPlacement.rotation * r2;
    c2 = otherPlacement * c2;
  }
  ZoRotation3 inverse = ~r1;
  ZoVector3 offset = inverse * (c2 - c1);
  zogeometry::Matrix3x3 const rel = MatrixOf(inverse * r2);
  float const(&B)[3][3] = rel.m;
  float const t0 = offset.x, t1 = offset.y, t2 = offset.z;
  float const a0 = size.x * 0.5f, a1 = size.y * 0.5f, a2 = size.z * 0.5f;
  float const b0 = other->size.x * 0.5f, b1 = other->size.y * 0.5f, b2 = other->size.z * 0.5f;
  float const B00 = B[0][0], B01 = B[0][1], B02 = B[0][2];
  float const B10 = B[1][0], B11 = B[1][1], B12 = B[1][2];
  float const B20 = B[2][0], B21 = B[2][1], B22 = B[2][2];
  float const F00 = Absolute(B00) + 1e-6f, F01 = Absolute(B01) + 1e-6f, F02 = Absolute(B02) + 1e-6f;
  float const F10 = Absolute(B10) + 1e-6f, F11 = Absolute(B11) + 1e-6f, F12 = Absolute(B12) + 1e-6f;
  float const F20 = Absolute(B20) + 1e-6f, F21 = Absolute(B21) + 1e-6f, F22 = Absolute(B22) + 1e-6f;

  // Box 1's axis 0, box 2's axis 0, box 1's axes 1 and 2, box 2's axes 1 and 2.
  if (Absolute(t0) > a0 + b0 * F00 + b1 * F01 + b2 * F02) return false;
  if (Absolute(t0 * B00 + t1 * B10 + t2 * B20) > b0 + a0 * F00 + a1 * F10 + a2 * F20) return false;
  if (Absolute(t1) > a1 + b0 * F10 + b1 * F11 + b2 * F12) return false;
  if (Absolute(t2) > a2 + b0 * F20 + b1 * F21 + b2 * F22) return false;
  if (Absolute(t0 * B01 + t1 * B11 + t2 * B21) > b1 + a0 * F01 + a1 * F11 + a2 * F21) return false;
  if (Absolute(t0 * B02 + t1 * B12 + t2 * B22) > b2 + a0 * F02 + a1 * F12 + a2 * F22) return false;
  // The nine cross products Ai × Bk: |t(i+2) B[i+1][k] − t(i+1) B[i+2][k]|
  // against a(i+1) F[i+2][k] + a(i+2) F[i+1][k] + b(k+1) F[i][k+2] + b(k+2) F[i][k+1].
  if (Absolute(t2 * B10 - t1 * B20) > a1 * F20 + a2 * F10 + b1 * F02 + b2 * F01) return false;
  if (Absolute(t2 * B11 - t1 * B21) > a1 * F21 + a2 * F11 + b2 * F00 + b0 * F02) return false;
  if (Absolute(t2 * B12 - t1 * B22) > a1 * F22 + a2 * F12 + b0 * F01 + b1 * F00) return false;
  if (Absolute(t0 * B20 - t2 * B00) > a2 * F00 + a0 * F20 + b1 * F12 + b2 * F11) return false;
  if (Absolute(t0 * B21 - t2 * B01) > a2 * F01 + a0 * F21 + b2 * F10 + b0 * F12) return false;
  if (Absolute(t0 * B22 - t2 * B02) > a2 * F02 + a0 * F22 + b0 * F11 + b1 * F10) return false;
  if (Absolute(t1 * B00 - t0 * B10) > a0 * F10 + a1 * F00 + b1 * F22 + b2 * F21) return false;
  if (Absolute(t1 * B01 - t0 * B11) > a0 * F11 + a1 * F01 + b2 * F20 + b0 * F22) return false;
  if (Absolute(t1 * B02 - t0 * B12) > a0 * F12 + a1 * F02 + b0 * F21 + b1 * F20) return false;
  return true;
}

bool ZoOrientedBox::CheckRayIntersection(ZoTransform3 const& placement, ZoVector3 const& origin,
                                         ZoVector3 const& direction, float maxT) const {
  ZoTransform3 w = placement * transform;
  zogeometry::Matrix3x3 const m = MatrixOf(w.rotation);
  ZoVector3 const axes[3] = {{m.m[0][0], m.m[1][0], m.m[2][0]},
                             {m.m[0][1], m.m[1][1], m.m[2][1]},
                             {m.m[0][2], m.m[1][2], m.m[2][2]}};
  float const half[3] = {size.x * 0.5f, size.y * 0.5f, size.z * 0.5f};
  float tNear = -kLargest;
  float tFar = maxT > 0.0f ? maxT : kLargest;
  // Faces +x, −x, +y, −y, +z, −z: normal n, through the point c ± axis·half.
  for (int face = 0; face < 6; ++face) {
    int axis = face / 2;
    ZoVector3 n = (face % 2) == 0 ? axes[axis] : -axes[axis];
    ZoVector3 point = w.translation + n * half[axis];
    float d = -n.dot(point);
    float num = n.dot(origin) + d;
    float den = n.dot(direction);
    if (den >= 1e-6f || den <= -1e-6f) {
      float t = -num / den;
      if (den < 0.0f) {
        if (t > tNear) tNear = t;  // entering
      } else {
        if (t < 0.0f) return false;  // leaving behind the origin
        if (t < tFar) tFar = t;
      }
    } else if (num > 0.0f) {
      return false;  // parallel and outside this face
    }
    if (tNear > tFar) return false;
  }
  return true;
}
