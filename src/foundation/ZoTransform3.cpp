#include <zoactor/foundation/ZoTransform3.h>

#include <zoactor/foundation/ZoXformMatrix3.h>

ZoTransform3::ZoTransform3(ZoXformMatrix3 const& matrix) : translation(matrix.t), rotation(matrix.getRotation()) {}

void ZoTransform3::interpolate(ZoTransform3 const& a, ZoTransform3 const& b, ZoTransform3 const& c,
                               ZoTransform3 const& d, float u) {
  ZoVector3 position;
  position.interpolate(a.translation, b.translation, c.translation, d.translation, u);
  ZoRotation3 ab, bc, cd, abc, bcd, result;
  ab.interpolate(a.rotation, b.rotation, u, 0);
  bc.interpolate(b.rotation, c.rotation, u, 0);
  cd.interpolate(c.rotation, d.rotation, u, 0);
  abc.interpolate(ab, bc, u, 0);
  bcd.interpolate(bc, cd, u, 0);
  result.interpolate(abc, bcd, u, 0);
  translation = position;
  rotation = result;
}

void ZoVector3::Premultiply(ZoTransform3 const& t) { *this = t * *this; }
