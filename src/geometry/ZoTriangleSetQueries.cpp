// The per-triangle queries of a triangle set: ray, sphere, triangle against
// triangle and triangle distance. Each works on one triangle with its
// corners in registers; nothing allocates.
#include <zoactor/geometry/ZoTriangleSet.h>

#include "geometry/ZoGeometryCommon.h"

#include <cmath>
#include <cstring>
#include <initializer_list>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

using zogeometry::Absolute;
using zogeometry::IsIdentity;
using zogeometry::kLargest;

namespace {

// The ray test after the cull. With e1 = Q − P, e2 = R − P and the
// unnormalised normal n = e1 × e2, the crossing of the plane is at
// t' = n·(P − origin) / n·direction, and the crossing is P + α e1 + β e2.
// All three come from triple products over one reciprocal of
// a = e1·(direction × e2) = −n·direction (Cramer's rule, as in the
// Möller–Trumbore test), which keeps the work short and free of divisions
// by small edge components. The decisions are made in this order: a ray
// within 1e-6 of parallel (|a| < 1e-6) misses and leaves t alone; t' not
// below t misses and leaves t alone; otherwise t' is stored in t, and the
// ray hits when t' > 0, α ≥ 0, β ≥ 0 and α + β ≤ 1.
[[gnu::always_inline]] inline bool RayMeetsTriangle(ZoVector3 const& origin, ZoVector3 const& direction, float& t,
                                                    ZoVector3 const& p, ZoVector3 const& e1, ZoVector3 const& e2,
                                                    float a) {
  if (a > -1e-6f && a < 1e-6f) return false;  // parallel to the plane
  float f = 1.0f / a;
  ZoVector3 s = origin - p;
  ZoVector3 sCrossE1 = s.cross(e1);
  float tp = f * e2.dot(sCrossE1);
  if (!(tp < t)) return false;  // not nearer than the best so far (NaN included)
  t = tp;                       // kept even when the checks below fail
  if (tp <= 0.0f) return false;
  float alpha = f * s.dot(direction.cross(e2));
  float beta = f * direction.dot(sCrossE1);
  return alpha >= 0.0f && beta >= 0.0f && alpha + beta <= 1.0f;
}

// The whole test on corners in the ray's frame; `cullBack` refuses rays
// that meet the back (travel along the normal, a < 0).
[[gnu::always_inline]] inline bool RayTest(ZoVector3 const& origin, ZoVector3 const& direction, float& t,
                                           ZoVector3 const& p, ZoVector3 const& q, ZoVector3 const& r,
                                           bool cullBack) {
  ZoVector3 e1 = q - p;
  ZoVector3 e2 = r - p;
  float a = e1.dot(direction.cross(e2));
  if (cullBack && a < 0.0f) return false;
  return RayMeetsTriangle(origin, direction, t, p, e1, e2, a);
}

// True when the triangle's material is one-sided; an index outside the
// materials counts as two-sided.
inline bool OneSided(int16_t const* indices, ZoMaterial const* materials, int32_t numMaterials, int triangle) {
  int32_t material = indices[triangle];
  return material >= 0 && material < numMaterials && (materials[material].flags & ZoMaterial::FLAG_TWO_SIDED) == 0;
}

// Four float lanes (GCC and Clang vector extensions). Each lane computes
// exactly what the scalar expression computes (no reassociation, no fused
// operations), so the lanes give the scalar results, four at a time.
using Lanes = float __attribute__((vector_size(16)));
using Mask = int32_t __attribute__((vector_size(16)));

inline Lanes Select(Mask mask, Lanes yes, Lanes no) {
  return reinterpret_cast<Lanes>((mask & reinterpret_cast<Mask>(yes)) | (~mask & reinterpret_cast<Mask>(no)));
}

// Three coordinates of four points.
struct Points {
  Lanes x, y, z;
};

inline Lanes Dot(Points const& a, Points const& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Points Minus(Points const& a, Points const& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Points PlusScaled(Points const& a, Points const& u, Lanes s) { return {a.x + u.x * s, a.y + u.y * s, a.z + u.z * s}; }

// The same point in all four lanes.
inline Points Broadcast(ZoVector3 const& v) {
  return {Lanes{v.x, v.x, v.x, v.x}, Lanes{v.y, v.y, v.y, v.y}, Lanes{v.z, v.z, v.z, v.z}};
}

// Three points in lanes 0-2 (lane 3 repeats lane 0 and is not used).
inline Points Gather(ZoVector3 const& a, ZoVector3 const& b, ZoVector3 const& c) {
  return {Lanes{a.x, b.x, c.x, a.x}, Lanes{a.y, b.y, c.y, a.y}, Lanes{a.z, b.z, c.z, a.z}};
}

inline ZoVector3 Lane(Points const& p, int lane) { return {p.x[lane], p.y[lane], p.z[lane]}; }

inline Points Cross(Points const& a, Points const& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline Lanes SquareRoot(Lanes v) {
#if defined(__SSE__)
  return reinterpret_cast<Lanes>(_mm_sqrt_ps(reinterpret_cast<__m128>(v)));
#else
  return Lanes{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])};
#endif
}

// Unit vectors as ZoVector3::unit makes them (a zero vector stays zero),
// with their squared lengths.
inline Points Unit(Points const& d, Lanes& lengthSquared) {
  lengthSquared = Dot(d, d);
  Lanes length = SquareRoot(lengthSquared);
  Mask positive = length > 0.0f;
  return {Select(positive, d.x / length, d.x), Select(positive, d.y / length, d.y), Select(positive, d.z / length, d.z)};
}

inline bool AnyOfThree(Mask m) { return (m[0] | m[1] | m[2]) != 0; }

inline Lanes Least(Lanes a, Lanes b, Lanes c) {
  Lanes m = Select(b < a, b, a);
  return Select(c < m, c, m);
}
inline Lanes Greatest(Lanes a, Lanes b, Lanes c) {
  Lanes m = Select(b > a, b, a);
  return Select(c > m, c, m);
}

// Separation of the two corner triples along `axis` (strict on both sides,
// so touching never separates and a zero axis never does).
inline bool Separates(ZoVector3 const& axis, ZoVector3 const a[3], ZoVector3 const b[3]) {
  float a0 = axis.dot(a[0]), a1 = axis.dot(a[1]), a2 = axis.dot(a[2]);
  float b0 = axis.dot(b[0]), b1 = axis.dot(b[1]), b2 = axis.dot(b[2]);
  float aMin = a0, aMax = a0, bMin = b0, bMax = b0;
  if (a1 < aMin) aMin = a1;
  if (a1 > aMax) aMax = a1;
  if (a2 < aMin) aMin = a2;
  if (a2 > aMax) aMax = a2;
  if (b1 < bMin) bMin = b1;
  if (b1 > bMax) bMax = b1;
  if (b2 < bMin) bMin = b2;
  if (b2 > bMax) bMax = b2;
  return aMin > bMax || bMin > aMax;
}

// The separating-axis test of two triangles given in one frame: the two
// normals first (they separate most pairs that are apart), then the nine
// edge-edge axes and the six in-plane edge normals, three to a vector.
bool TrianglesTouch(ZoVector3 const first[3], ZoVector3 const second[3]) {
  // Relative to the first triangle's first corner, for precision.
  ZoVector3 origin = first[0];
  ZoVector3 a[3] = {ZoVector3(), first[1] - origin, first[2] - origin};
  ZoVector3 b[3] = {second[0] - origin, second[1] - origin, second[2] - origin};
  ZoVector3 e[3] = {a[1] - a[0], a[2] - a[1], a[0] - a[2]};
  ZoVector3 f[3] = {b[1] - b[0], b[2] - b[1], b[0] - b[2]};
  ZoVector3 nA = e[0].cross(e[1]);
  ZoVector3 nB = f[0].cross(f[1]);
  if (Separates(nA, a, b) || Separates(nB, a, b)) return false;

  Points pa[3] = {Broadcast(a[0]), Broadcast(a[1]), Broadcast(a[2])};
  Points pb[3] = {Broadcast(b[0]), Broadcast(b[1]), Broadcast(b[2])};
  auto separates = [&pa, &pb](Points const& axis) {
    Lanes a0 = Dot(pa[0], axis), a1 = Dot(pa[1], axis), a2 = Dot(pa[2], axis);
    Lanes b0 = Dot(pb[0], axis), b1 = Dot(pb[1], axis), b2 = Dot(pb[2], axis);
    return AnyOfThree((Least(a0, a1, a2) > Greatest(b0, b1, b2)) | (Least(b0, b1, b2) > Greatest(a0, a1, a2)));
  };
  Points edgesB = Gather(f[0], f[1], f[2]);
  for (int i = 0; i < 3; ++i)
    if (separates(Cross(Broadcast(e[i]), edgesB))) return false;
  if (separates(Cross(Gather(e[0], e[1], e[2]), Broadcast(nA)))) return false;
  if (separates(Cross(edgesB, Broadcast(nB)))) return false;
  return true;
}

// One placed triangle prepared for the distance search: its world corners,
// edge vectors, the unit normal the search projects along (the placement's
// rotation applied to the set's own unit normal), and the triple product
// a = e1·(n × e2) of the ray test along that normal.
struct PlacedTriangle {
  ZoVector3 corner[3];
  ZoVector3 e1, e2;
  ZoVector3 normal;
  float a;

  void Prepare(ZoVector3 const& localNormal, ZoTransform3 const& placement, bool identity) {
    e1 = corner[1] - corner[0];
    e2 = corner[2] - corner[0];
    normal = identity ? localNormal : placement.rotation * localNormal;
    a = e1.dot(normal.cross(e2));
  }
  // The signed distance of a point from the plane (along the unit normal).
  float PlaneDistance(ZoVector3 const& x) const { return (x - corner[0]).dot(normal); }
};

// The foot of `point` on the triangle along its unit normal (turned towards
// the plane); updates best and closest when it lies in the triangle and is
// strictly nearer. `side` is the point's plane distance.
inline bool PointOntoTriangle(PlacedTriangle const& tri, ZoVector3 const& point, float side, ZoVector3& closest,
                              float& best) {
  // The normal turned from the point towards the plane: a point on the
  // normal's side looks along −n, for which the triple product is −a.
  bool flip = -side < 0.0f;  // (P − point)·n < 0
  ZoVector3 toward = flip ? -tri.normal : tri.normal;
  float t = kLargest;
  if (!RayMeetsTriangle(point, toward, t, tri.corner[0], tri.e1, tri.e2, flip ? -tri.a : tri.a)) return false;
  float squared = t * t;
  if (!(squared < best)) return false;
  best = squared;
  closest = point + toward * t;
  return true;
}

// The corners-against-face step for three points at once: each point's
// foot along the triangle's normal (turned towards the plane, `side` being
// the point's plane distance), tried in order; a foot inside the triangle
// and strictly nearer than `best` updates it, the foot going to `onFace` and
// the point to `onPoint`. Each lane computes what PointOntoTriangle does.
void FeetOntoTriangle(PlacedTriangle const& tri, ZoVector3 const points[3], float const side[3], float& best,
                      ZoVector3& onFace, ZoVector3& onPoint) {
  Lanes sides = {side[0], side[1], side[2], side[0]};
  Mask flip = -sides < 0.0f;
  Points n = Broadcast(tri.normal);
  Points toward = {Select(flip, -n.x, n.x), Select(flip, -n.y, n.y), Select(flip, -n.z, n.z)};
  Lanes a = Select(flip, Lanes{} - tri.a, Lanes{} + tri.a);
  Mask usable = (a <= -1e-6f) | (a >= 1e-6f);
  Lanes f = 1.0f / a;
  Points x = Gather(points[0], points[1], points[2]);
  Points s = Minus(x, Broadcast(tri.corner[0]));
  Points e1 = Broadcast(tri.e1), e2 = Broadcast(tri.e2);
  Points sCrossE1 = Cross(s, e1);
  Lanes t = f * Dot(e2, sCrossE1);
  Lanes alpha = f * Dot(s, Cross(toward, e2));
  Lanes beta = f * Dot(toward, sCrossE1);
  Mask hit = usable & (t < kLargest) & (t > 0.0f) & (alpha >= 0.0f) & (beta >= 0.0f) & (alpha + beta <= 1.0f);
  Lanes squared = t * t;
  if (!AnyOfThree(hit & (squared < best))) return;
  for (int j = 0; j < 3; ++j) {
    if (hit[j] == 0 || !(squared[j] < best)) continue;
    best = squared[j];
    onFace = points[j] + Lane(toward, j) * t[j];
    onPoint = points[j];
  }
}

// An edge: its start and end, unit direction and squared length.
struct Edge {
  ZoVector3 start;
  ZoVector3 end;
  ZoVector3 unit;
  float lengthSquared;
};

}  // namespace

bool ZoTriangleSet::CheckRayIntersectionCommon(int triangle, ZoVector3 const& origin, ZoVector3 const& direction,
                                               float& t, int cull, ZoVector3 const& p, ZoVector3 const& q,
                                               ZoVector3 const& r) const {
  bool cullBack = cull != 0 && (flags & ZoTriSetMaterialIndices) != 0 &&
                  OneSided(materialIndices, materials, numMaterials, triangle);
  return RayTest(origin, direction, t, p, q, r, cullBack);
}

bool ZoTriangleSet::CheckRayIntersection(int triangle, ZoVector3 const& origin, ZoVector3 const& direction,
                                         float& t, int cull) const {
  // The shared test is expanded here rather than called through the
  // exported member, so that it inlines.
  ZoTriangle const& tri = triangles[triangle];
  bool cullBack = cull != 0 && (flags & ZoTriSetMaterialIndices) != 0 &&
                  OneSided(materialIndices, materials, numMaterials, triangle);
  return RayTest(origin, direction, t, vertices[tri.corner[0]], vertices[tri.corner[1]], vertices[tri.corner[2]],
                 cullBack);
}

bool ZoTriangleSet::CheckRayIntersection(int triangle, ZoVector3 const& origin, ZoVector3 const& direction,
                                         ZoTransform3 const& placement, float& t, int cull) const {
  ZoTriangle const& tri = triangles[triangle];
  bool cullBack = cull != 0 && (flags & ZoTriSetMaterialIndices) != 0 &&
                  OneSided(materialIndices, materials, numMaterials, triangle);
  return RayTest(origin, direction, t, placement * vertices[tri.corner[0]], placement * vertices[tri.corner[1]],
                 placement * vertices[tri.corner[2]], cullBack);
}

bool ZoTriangleSet::CheckSphereIntersection(int triangle, ZoVector3 const& center, float radius,
                                            ZoVector3& contact, float& distance) const {
  ZoTriangle const& tri = triangles[triangle];
  ZoVector3 const& p = vertices[tri.corner[0]];
  ZoVector3 const& q = vertices[tri.corner[1]];
  ZoVector3 const& r = vertices[tri.corner[2]];
  ZoVector3 n;
  n.NormalizeCross(q - p, r - p);
  if ((p - center).dot(n) < 0.0f) n = -n;  // from the centre towards the plane

  // The perpendicular from the centre: a hit is a contact through the face.
  distance = kLargest;
  if (RayTest(center, n, distance, p, q, r, false)) {
    float t = distance;
    if (t < radius) {
      contact = center + n * t;
      distance = t - radius;
      return true;
    }
    return false;
  }
  // A miss leaves the plane distance in `distance`.
  float t = distance;
  if (t > radius) return false;
  float circle = radius * radius - t * t;  // squared radius of the cut circle
  ZoVector3 foot = center + n * t;
  contact = foot;
  ZoVector3 const* edges[3][2] = {{&p, &q}, {&p, &r}, {&q, &r}};
  for (auto const& edge : edges) {
    ZoVector3 const& s = *edge[0];
    ZoVector3 const& e = *edge[1];
    ZoVector3 w = foot - s;
    ZoVector3 along = e - s;
    float c = w.dot(along);
    float lengthSquared = along.lengthSquared();
    float s2, e2;
    if (c < 0.0f) {
      s2 = 0.0f;
      e2 = w.lengthSquared();
    } else {
      s2 = c * c / lengthSquared;
      if (s2 > lengthSquared) {
        s2 = lengthSquared;
        e2 = (foot - e).lengthSquared();
      } else {
        e2 = w.lengthSquared() - s2;
      }
    }
    if (e2 < circle) {
      distance = std::sqrt(t * t + e2) - radius;
      contact = s + along.unit() * std::sqrt(s2);
      return true;
    }
  }
  return false;
}

bool ZoTriangleSet::CheckSphereIntersection(int triangle, ZoVector3 const& center, float radius,
                                            ZoTransform3 const& placement, ZoVector3& contact,
                                            float& distance) const {
  ZoVector3 local = (~placement) * center;
  bool hit = CheckSphereIntersection(triangle, local, radius, contact, distance);
  if (hit) contact = placement * contact;
  return hit;
}

bool ZoTriangleSet::CheckIntersection(int triangle, ZoTransform3 const& placement, ZoTriangleSet const* other,
                                      int otherTriangle, ZoTransform3 const& otherPlacement) const {
  ZoTriangle const& t1 = triangles[triangle];
  ZoTriangle const& t2 = other->triangles[otherTriangle];
  ZoVector3 first[3] = {placement * vertices[t1.corner[0]], placement * vertices[t1.corner[1]],
                        placement * vertices[t1.corner[2]]};
  ZoVector3 second[3] = {otherPlacement * other->vertices[t2.corner[0]],
                         otherPlacement * other->vertices[t2.corner[1]],
                         otherPlacement * other->vertices[t2.corner[2]]};
  return TrianglesTouch(first, second);
}

bool ZoTriangleSet::PointTriDistance(int triangle, ZoVector3 const& point, ZoTransform3 const& placement,
                                     ZoVector3& closest, float& best) const {
  ZoTriangle const& tri = triangles[triangle];
  PlacedTriangle placed;
  for (int c = 0; c < 3; ++c) placed.corner[c] = placement * vertices[tri.corner[c]];
  placed.Prepare(FindTriangleNormal(triangle), placement, false);
  return PointOntoTriangle(placed, point, placed.PlaneDistance(point), closest, best);
}

float ZoTriangleSet::FindDistance(int triangle, ZoTransform3 const& placement, ZoTriangleSet const* other,
                                  int otherTriangle, ZoTransform3 const& otherPlacement, ZoVector3& closest,
                                  ZoVector3& otherClosest) const {
  ZoTriangle const& t1 = triangles[triangle];
  ZoTriangle const& t2 = other->triangles[otherTriangle];
  bool identity1 = IsIdentity(placement), identity2 = IsIdentity(otherPlacement);
  PlacedTriangle A, B;
  for (int c = 0; c < 3; ++c) {
    ZoVector3 const& x = vertices[t1.corner[c]];
    ZoVector3 const& y = other->vertices[t2.corner[c]];
    A.corner[c] = identity1 ? x : placement * x;
    B.corner[c] = identity2 ? y : otherPlacement * y;
  }
  ZoVector3 const* a = A.corner;
  ZoVector3 const* b = B.corner;
  if (TrianglesTouch(a, b)) return -1.0f;

  ZoVector3 outA, outB;
  float best = kLargest;
  // Corner pairs, the second triangle's corners in the lanes.
  Points startsB = Gather(b[0], b[1], b[2]);
  for (int i = 0; i < 3; ++i) {
    Points d = Minus(Broadcast(a[i]), startsB);
    Lanes d2 = Dot(d, d);
    // Lanes are tried in order; none can update when none is below best.
    if (!AnyOfThree(d2 < best)) continue;
    for (int j = 0; j < 3; ++j)
      if (d2[j] < best) {
        best = d2[j];
        outA = a[i];
        outB = b[j];
      }
  }

  if (best >= 1e-4f) {
    // The six edges' and the two local normals' unit vectors, four at a time.
    ZoVector3 const& p1 = vertices[t1.corner[0]];
    ZoVector3 const& p2 = other->vertices[t2.corner[0]];
    ZoVector3 crossA = (vertices[t1.corner[1]] - p1).cross(vertices[t1.corner[2]] - p1);
    ZoVector3 crossB = (other->vertices[t2.corner[1]] - p2).cross(other->vertices[t2.corner[2]] - p2);
    Points firstHalf = {Lanes{a[1].x - a[0].x, a[2].x - a[1].x, a[0].x - a[2].x, b[1].x - b[0].x},
                        Lanes{a[1].y - a[0].y, a[2].y - a[1].y, a[0].y - a[2].y, b[1].y - b[0].y},
                        Lanes{a[1].z - a[0].z, a[2].z - a[1].z, a[0].z - a[2].z, b[1].z - b[0].z}};
    Points secondHalf = {Lanes{b[2].x - b[1].x, b[0].x - b[2].x, crossA.x, crossB.x},
                         Lanes{b[2].y - b[1].y, b[0].y - b[2].y, crossA.y, crossB.y},
                         Lanes{b[2].z - b[1].z, b[0].z - b[2].z, crossA.z, crossB.z}};
    Lanes squares1, squares2;
    Points units1 = Unit(firstHalf, squares1);
    Points units2 = Unit(secondHalf, squares2);
    Edge edgesA[3], edgesB[3];
    for (int i = 0; i < 3; ++i) edgesA[i] = {a[i], a[(i + 1) % 3], Lane(units1, i), squares1[i]};
    edgesB[0] = {b[0], b[1], Lane(units1, 3), squares1[3]};
    edgesB[1] = {b[1], b[2], Lane(units2, 0), squares2[0]};
    edgesB[2] = {b[2], b[0], Lane(units2, 1), squares2[1]};
    A.Prepare(Lane(units2, 2), placement, identity1);
    B.Prepare(Lane(units2, 3), otherPlacement, identity2);
    // Each triangle's corners measured from the other's plane.
    float sideA[3], sideB[3];
    for (int c = 0; c < 3; ++c) {
      sideA[c] = B.PlaneDistance(a[c]);
      sideB[c] = A.PlaneDistance(b[c]);
    }

    // Corners against edges: the first triangle's corners against the
    // second's edges, then the reverse, corner by corner, the three edges
    // in the lanes. For corner X and edge S to E: with w = X − S, the end
    // point S when w·ê ≤ 0, else E when (X − E)·ê ≥ 0, else the foot S + ê (w·ê).
    Points startsA = Gather(a[0], a[1], a[2]);
    Points endsA = Gather(a[1], a[2], a[0]), endsB = Gather(b[1], b[2], b[0]);
    Points unitsA = Gather(edgesA[0].unit, edgesA[1].unit, edgesA[2].unit);
    Points unitsB = Gather(edgesB[0].unit, edgesB[1].unit, edgesB[2].unit);
    for (int side = 0; side < 2; ++side) {
      ZoVector3 const* corners = side == 0 ? a : b;
      Points const& s = side == 0 ? startsB : startsA;
      Points const& e = side == 0 ? endsB : endsA;
      Points const& u = side == 0 ? unitsB : unitsA;
      for (int i = 0; i < 3; ++i) {
        Points x = Broadcast(corners[i]);
        Points w = Minus(x, s);
        Points fromEnd = Minus(x, e);
        Lanes along = Dot(w, u);
        Mask atStart = along <= 0.0f;
        Mask atEnd = ~atStart & (Dot(fromEnd, u) >= 0.0f);
        Lanes ww = Dot(w, w);
        Lanes d2 = Select(atStart, ww, Select(atEnd, Dot(fromEnd, fromEnd), ww - along * along));
        if (!AnyOfThree(d2 < best)) continue;
        for (int j = 0; j < 3; ++j) {
          if (!(d2[j] < best)) continue;
          best = d2[j];
          ZoVector3 near = atStart[j] != 0 ? Lane(s, j)
                                           : (atEnd[j] != 0 ? Lane(e, j) : Lane(s, j) + Lane(u, j) * along[j]);
          if (side == 0) {
            outA = corners[i];
            outB = near;
          } else {
            outA = near;
            outB = corners[i];
          }
        }
      }
    }

    if (best >= 1e-4f) {
      // Edges against edges (first edge outer, second inner, in the lanes):
      // the nearest interior points of the two lines, when both lie within
      // their segments. Parallel edges yield nothing (their nearest pairs
      // include an end point, tried above).
      Lanes lengthsB = {edgesB[0].lengthSquared, edgesB[1].lengthSquared, edgesB[2].lengthSquared,
                        edgesB[0].lengthSquared};
      for (int i = 0; i < 3; ++i) {
        Edge const& ea = edgesA[i];
        Points s1p = Broadcast(ea.start), d1 = Broadcast(ea.unit);
        Points const& s2p = startsB;
        Points const& d2 = unitsB;
        Lanes k = Dot(d1, d2);
        Lanes aa = Dot(d1, s2p), bb = Dot(d1, s1p), cc = Dot(d2, s2p), ee = Dot(d2, s1p);
        Mask nearlyPerpendicular = (k > -1e-6f) & (k < 1e-6f);
        Lanes denominator = k * k - 1.0f;
        Lanes general2 = ((cc - ee) - k * (aa - bb)) / denominator;
        Lanes s2 = Select(nearlyPerpendicular, ee - cc, general2);
        Lanes s1 = Select(nearlyPerpendicular, aa - bb, general2 * k + (aa - bb));
        Mask ok = (nearlyPerpendicular | (denominator != 0.0f)) & (s1 >= 0.0f) & (s1 * s1 <= ea.lengthSquared) &
                  (s2 >= 0.0f) & (s2 * s2 <= lengthsB);
        Points x = PlusScaled(s1p, d1, s1);
        Points y = PlusScaled(s2p, d2, s2);
        Points between = Minus(x, y);
        Lanes distance = Dot(between, between);
        if (!AnyOfThree(ok & (distance >= 0.0f) & (distance < best))) continue;
        for (int j = 0; j < 3; ++j) {
          if (ok[j] == 0 || !(distance[j] >= 0.0f && distance[j] < best)) continue;
          best = distance[j];
          outA = Lane(x, j);
          outB = Lane(y, j);
        }
      }

      if (best >= 1e-4f) {
        // Corners against faces: the perpendicular foot of each of the
        // other triangle's corners, the three corners in the lanes.
        FeetOntoTriangle(A, b, sideB, best, outA, outB);
        FeetOntoTriangle(B, a, sideA, best, outB, outA);
      }
    }
  }
  closest = outA;
  otherClosest = outB;
  return std::sqrt(best);
}
