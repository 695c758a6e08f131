// ZoXformMatrix3: a rotation matrix and a translation, mapping p to M·p + t.
// Used to express points in a set of axes and to read Euler angles. A default
// matrix is the identity.
#ifndef ZOACTOR_FOUNDATION_ZOXFORMMATRIX3_H
#define ZOACTOR_FOUNDATION_ZOXFORMMATRIX3_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoVector3.h>

class ZOACTOR_API ZoXformMatrix3 {
 public:
  // Row-major rotation part: m[row][column]; its columns are the images of
  // the x, y and z axes.
  float m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  // The translation, added after the rotation.
  ZoVector3 t;

  // The identity.
  ZoXformMatrix3() = default;

  // The matrix of the unit quaternion `rotation`, with `translation`.
  void setValue(ZoRotation3 const& rotation, ZoVector3 const& translation);
  // The inverse, assuming an orthonormal rotation part.
  ZoXformMatrix3 operator~() const;
  // Composition: (a * b) applies b first.
  ZoXformMatrix3 operator*(ZoXformMatrix3 const& b) const;
  // The transformed point.
  ZoVector3 operator*(ZoVector3 const& p) const {
    ZoVector3 out;
    multiply(p, out);
    return out + t;
  }
  // `out` becomes the rotated vector (no translation).
  void multiply(ZoVector3 const& in, ZoVector3& out) const {
    out = {m[0][0] * in.x + m[0][1] * in.y + m[0][2] * in.z, m[1][0] * in.x + m[1][1] * in.y + m[1][2] * in.z,
           m[2][0] * in.x + m[2][1] * in.y + m[2][2] * in.z};
  }
  // Angles such that the rotation is Rz(z) · Ry(y) · Rx(x), y in [−π/2, π/2];
  // at ±π/2 (gimbal lock) z is 0 and x carries the rest.
  void getEuler(float& x, float& y, float& z) const;
  // The rotation part as a unit quaternion (Shepperd's method, stable for
  // every angle including half turns). The sign of the result is arbitrary.
  ZoRotation3 getRotation() const;
  // Column 0, 1 or 2 of the rotation part; other indices are not checked.
  ZoVector3 getColumn(int column) const { return {m[0][column], m[1][column], m[2][column]}; }
  void setColumn(int column, ZoVector3 const& v) {
    m[0][column] = v.x;
    m[1][column] = v.y;
    m[2][column] = v.z;
  }
  // The determinant of the rotation part.
  float determinant() const;
};

#endif
