// Bounding volumes of point arrays and triangle sets: the axis-aligned box,
// Ritter's sphere and the covariance-aligned oriented box; and the ground
// footprint of a set. None of them allocates.
#include <zoactor/foundation/ZoMatrix3.h>
#include <zoactor/foundation/ZoXformMatrix3.h>
#include <zoactor/geometry/ZoOrientedBox.h>
#include <zoactor/geometry/ZoRect.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include "foundation/ZoLanes.h"
#include "geometry/ZoGeometryCommon.h"

#include <cmath>

namespace {

// The bounds of points[from, count) folded into lo and hi: a point replaces
// a bound only when strictly beyond it, so NaNs and signed zeros keep the
// earlier bound. Selects rather than branches: the branches of a mesh's
// coordinates are not predictable.
void FoldBox(ZoVector3 const* points, int from, int count, ZoVector3& lo, ZoVector3& hi) {
  for (int i = from; i < count; ++i) {
    ZoVector3 const& p = points[i];
    lo.x = p.x < lo.x ? p.x : lo.x;
    hi.x = p.x > hi.x ? p.x : hi.x;
    lo.y = p.y < lo.y ? p.y : lo.y;
    hi.y = p.y > hi.y ? p.y : hi.y;
    lo.z = p.z < lo.z ? p.z : lo.z;
    hi.z = p.z > hi.z ? p.z : hi.z;
  }
}

// The same fold four points at a time: three loads hold them as x y z x,
// y z x y, z x y z, and each lane keeps its own bound of one coordinate,
// which are folded in at the end. Min(p, lo) is p < lo ? p : lo exactly,
// so a lane keeps what the scalar fold keeps of its points; lanes that
// tie may differ only in the sign of a zero, so a zero bound is left to the
// scalar fold (the caller's `exact` turns false). Returns the first point
// not folded.
int FoldBoxInLanes(ZoVector3 const* points, int count, ZoVector3& lo, ZoVector3& hi, bool& exact) {
  using zolanes::Lanes;
  static_assert(sizeof(ZoVector3) == 3 * sizeof(float), "a point is its three coordinates");
  float const* f = &points[0].x;
  Lanes lo0{lo.x, lo.y, lo.z, lo.x}, lo1{lo.y, lo.z, lo.x, lo.y}, lo2{lo.z, lo.x, lo.y, lo.z};
  Lanes hi0{hi.x, hi.y, hi.z, hi.x}, hi1{hi.y, hi.z, hi.x, hi.y}, hi2{hi.z, hi.x, hi.y, hi.z};
  int i = 1;
  for (; i + 4 <= count; i += 4) {
    Lanes const a = zolanes::Load(f + 3 * i), b = zolanes::Load(f + 3 * i + 4), c = zolanes::Load(f + 3 * i + 8);
    lo0 = zolanes::Min(a, lo0);
    lo1 = zolanes::Min(b, lo1);
    lo2 = zolanes::Min(c, lo2);
    hi0 = zolanes::Max(a, hi0);
    hi1 = zolanes::Max(b, hi1);
    hi2 = zolanes::Max(c, hi2);
  }
  float l[12], h[12];
  zolanes::Store(l, lo0);
  zolanes::Store(l + 4, lo1);
  zolanes::Store(l + 8, lo2);
  zolanes::Store(h, hi0);
  zolanes::Store(h + 4, hi1);
  zolanes::Store(h + 8, hi2);
  // Lane j of the twelve holds coordinate j % 3.
  for (int j = 0; j < 12; j += 3) {
    ZoVector3 const lane0(l[j], l[j + 1], l[j + 2]), lane1(h[j], h[j + 1], h[j + 2]);
    FoldBox(&lane0, 0, 1, lo, hi);
    FoldBox(&lane1, 0, 1, lo, hi);
  }
  exact = lo.x != 0.0f && lo.y != 0.0f && lo.z != 0.0f && hi.x != 0.0f && hi.y != 0.0f && hi.z != 0.0f;
  return i;
}

}  // namespace

void ZoTriangleSet::FindBoundingBox(ZoVector3 const* points, int count, ZoVector3& min, ZoVector3& max) {
  if (points == nullptr || count < 1) return;
  ZoVector3 lo = points[0];
  ZoVector3 hi = points[0];
  bool exact = true;
  int from = FoldBoxInLanes(points, count, lo, hi, exact);
  if (!exact) {
    lo = hi = points[0];
    from = 1;
  }
  FoldBox(points, from, count, lo, hi);
  min = lo;
  max = hi;
}

void ZoTriangleSet::FindBoundingBox(ZoVector3& min, ZoVector3& max) const {
  FindBoundingBox(vertices, numVertices, min, max);
}

void ZoTriangleSet::FindBoundingSphere(ZoVector3 const* points, int count, ZoVector3& center, float& radius) {
  if (points == nullptr || count < 1) return;
  // First pass: the points of least and greatest x, y and z; a later point
  // replaces an extreme only when strictly beyond it.
  int xmin = 0, xmax = 0, ymin = 0, ymax = 0, zmin = 0, zmax = 0;
  for (int i = 1; i < count; ++i) {
    ZoVector3 const& p = points[i];
    if (p.x < points[xmin].x) xmin = i;
    if (p.x > points[xmax].x) xmax = i;
    if (p.y < points[ymin].y) ymin = i;
    if (p.y > points[ymax].y) ymax = i;
    if (p.z < points[zmin].z) zmin = i;
    if (p.z > points[zmax].z) zmax = i;
  }
  float dx2 = (points[xmax] - points[xmin]).lengthSquared();
  float dy2 = (points[ymax] - points[ymin]).lengthSquared();
  float dz2 = (points[zmax] - points[zmin]).lengthSquared();
  int a = zmin, b = zmax;
  if (dx2 > dy2 && dx2 > dz2) {
    a = xmin;
    b = xmax;
  } else if (dy2 > dz2) {
    a = ymin;
    b = ymax;
  }
  ZoVector3 c = (points[a] + points[b]) * 0.5f;
  float r2 = (points[b] - c).lengthSquared();
  float r = std::sqrt(r2);
  // Second pass: grow to every point strictly outside, keeping the old
  // sphere inside the new one.
  for (int i = 0; i < count; ++i) {
    ZoVector3 const& p = points[i];
    float d2 = (p - c).lengthSquared();
    if (d2 > r2) {
      float d = std::sqrt(d2);
      float grown = (r + d) * 0.5f;
      r2 = grown * grown;
      c = (c * grown + p * (d - grown)) / d;
      r = grown;
    }
  }
  center = c;
  radius = r;
}

void ZoTriangleSet::FindBoundingSphere(ZoVector3& center, float& radius) const {
  FindBoundingSphere(vertices, numVertices, center, radius);
}

void ZoTriangleSet::FindOrientedBox(ZoVector3 const* points, int count, ZoOrientedBox& box) {
  if (points == nullptr || count < 1) return;
  // Mean and second moments, accumulated in single precision.
  ZoVector3 sum, squares;
  float sxy = 0.0f, sxz = 0.0f, syz = 0.0f;
  for (int i = 0; i < count; ++i) {
    ZoVector3 const& p = points[i];
    sum += p;
    squares += p.square();
    sxy += p.x * p.y;
    sxz += p.x * p.z;
    syz += p.y * p.z;
  }
  float n = static_cast<float>(count);
  ZoVector3 m = sum / n;
  ZoMatrix3 covariance;
  covariance(0, 0) = squares.x / n - m.x * m.x;
  covariance(1, 1) = squares.y / n - m.y * m.y;
  covariance(2, 2) = squares.z / n - m.z * m.z;
  covariance(0, 1) = covariance(1, 0) = sxy / n - m.x * m.y;
  covariance(0, 2) = covariance(2, 0) = sxz / n - m.x * m.z;
  covariance(1, 2) = covariance(2, 1) = syz / n - m.y * m.z;
  // The principal axes as the columns of `axes`; a point's coordinates
  // along them are the dot products with the columns.
  ZoXformMatrix3 axes;
  covariance.principalAxis(axes);
  ZoVector3 u = axes.getColumn(0), v = axes.getColumn(1), w = axes.getColumn(2);
  ZoVector3 lo(u.dot(points[0]), v.dot(points[0]), w.dot(points[0]));
  ZoVector3 hi = lo;
  for (int i = 1; i < count; ++i) {
    ZoVector3 const& p = points[i];
    float a = u.dot(p), b = v.dot(p), c = w.dot(p);
    if (a < lo.x) lo.x = a;
    if (a > hi.x) hi.x = a;
    if (b < lo.y) lo.y = b;
    if (b > hi.y) hi.y = b;
    if (c < lo.z) lo.z = c;
    if (c > hi.z) hi.z = c;
  }
  box.size = hi - lo;
  // The box transform turns box axes into the points' frame: the rotation
  // is the axes matrix itself, the translation the local centre carried
  // back by it.
  ZoVector3 localCenter = (hi + lo) * 0.5f;
  axes.multiply(localCenter, axes.t);
  box.transform = ZoTransform3(axes);
}

void ZoTriangleSet::FindOrientedBox(ZoOrientedBox& box) const { FindOrientedBox(vertices, numVertices, box); }

void ZoRect::projectTriSet(ZoTriangleSet const* set) {
  lowX = lowY = zogeometry::kLargest;
  highX = highY = -zogeometry::kLargest;
  if (set == nullptr) return;
  ZoVector3 const* points = set->GetVertices();
  for (int32_t i = 0; i < set->GetNumVertices(); ++i) {
    ZoVector3 const& p = points[i];
    if (p.z < lowX) lowX = p.z;
    if (p.z > highX) highX = p.z;
    if (p.x < lowY) lowY = p.x;
    if (p.x > highY) highY = p.x;
  }
}
