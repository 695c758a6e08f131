// The per-triangle queries of a triangle set: ray, sphere, triangle against
// triangle and triangle distance. Each works on one triangle with its
// corners in registers; nothing allocates. The lane work (the distance
// stages, the edge axes of the overlap test) goes through the lanes header,
// whose lanes compute exactly what the scalar expressions compute.
//
// Edge cases:
//   - A ray within 1e-6 of parallel to the plane (|n·d| < 1e-6 for the
//     unnormalised normal n) misses and leaves t alone; so does a crossing
//     not below the incoming t. Any other crossing is stored in t before
//     the remaining checks, so a miss behind the origin or outside the
//     triangle still reports the plane parameter (the sphere test uses it).
//   - A ray through an edge or a corner hits: α, β ≥ 0 and α + β ≤ 1 count
//     as inside.
//   - Triangles that touch (a shared corner, a shared edge, a corner on a
//     face) intersect: separation along an axis is strict, and a zero axis
//     (parallel edges) never separates.
//   - Identity placements (bit for bit; −0 counts as not the identity) skip
//     the corner transforms; other placements carry all three corners.
//   - The sphere test takes the first edge (PQ, PR, QR) whose distance to
//     the foot is within the cut circle, not the nearest one.
//   - Distance: within a stage the earliest candidate wins a tie; a foot at
//     an edge's end point equals a corner pair already tried and never
//     replaces it; parallel edge pairs (k² − 1 = 0) yield nothing; the
//     search stops after the stage that brings the squared distance below
//     1e-4.
#include <zoactor/geometry/ZoTriangleSet.h>

#include "foundation/ZoLanes.h"
#include "geometry/ZoGeometryCommon.h"

#include <cmath>
#include <cstring>
#include <initializer_list>


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

using zolanes::Bits;
using zolanes::Lanes;
using zolanes::Mask;
using zolanes::Min;
using zolanes::Select;
using zolanes::Shuffle;
using zolanes::Splat;
using zolanes::SplatLane;

// Lanes 1, 2, 0 in lanes 0-2: with a triangle's corners in lanes 0-2,
// the end of each edge where its start was.
inline Lanes Rotated(Lanes v) { return Shuffle<1, 2, 0, 3>(v); }

// v with NaN in the lanes where `ignore` is set.
inline Lanes Ignoring(Lanes v, Mask ignore) { return zolanes::AsLanes(zolanes::AsMask(v) | ignore); }

// Three coordinates of four points.
struct Points {
  Lanes x, y, z;
};

inline Lanes Dot(Points const& a, Points const& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Points Minus(Points const& a, Points const& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Points PlusScaled(Points const& a, Points const& u, Lanes s) { return {a.x + u.x * s, a.y + u.y * s, a.z + u.z * s}; }

template <int L>
inline Points SplatLane(Points const& p) {
  return {SplatLane<L>(p.x), SplatLane<L>(p.y), SplatLane<L>(p.z)};
}
inline Points Rotated(Points const& p) { return {Rotated(p.x), Rotated(p.y), Rotated(p.z)}; }

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

// Unit vectors as ZoVector3::unit makes them (a zero vector stays zero),
// with their squared lengths.
// (A zero length divides by 1, which leaves the vector as it is.)
inline Points Unit(Points const& d, Lanes& lengthSquared) {
  lengthSquared = Dot(d, d);
  Lanes length = zolanes::Sqrt(lengthSquared);
  Lanes divisor = Select(length > 0.0f, length, Splat(1.0f));
  return {d.x / divisor, d.y / divisor, d.z / divisor};
}

inline bool AnyOfThree(Mask m) { return (Bits(m) & 7) != 0; }

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

// --- Distance between two triangles -------------------------------------------
//
// The search runs in stages (corner pairs, corners against edges, edges
// against edges, corners against faces) and stops after a stage once the
// best squared distance is below 1e-4. Within a stage the candidates are
// tried in a fixed order, each replacing the best only when strictly below
// it, so a tie goes to the earliest. A stage here computes all its
// candidates in lanes (lanes 0-2 of a few rows, NaN where a lane yields
// nothing), takes their least value, and when that is below the best finds
// its earliest holder: the same outcome as trying them one by one. No
// candidate is ever −0, so the least value is the winner's value, bit for bit.

constexpr float kCloseEnough = 1e-4f;

// The least of lanes 0-2 of the n rows if it is below `best`, else
// `best`; in all four lanes.
inline Lanes LeastBelow(Lanes const* rows, int n, float best) {
  Lanes bestLanes = Splat(best);
  Lanes least = bestLanes;
  for (int r = 0; r < n; ++r) least = Min(rows[r], least);
  least = Min(Ignoring(least, Mask{0, 0, 0, -1}), bestLanes);
  least = Min(least, Shuffle<1, 0, 3, 2>(least));
  return Min(least, Shuffle<2, 3, 0, 1>(least));
}

// The lanes (0-2) of a row that hold `least`, lane 0 in bit 0.
inline int Holding(Lanes row, Lanes least) { return Bits(row == least) & 7; }

// The earliest lane holding `least`, scanning the n rows in order and each
// row's lanes 0-2 in order: 4 × row + lane, or -1.
inline int FirstHolding(Lanes const* rows, int n, Lanes least) {
  for (int r = 0; r < n; ++r)
    if (int bits = Holding(rows[r], least)) return 4 * r + __builtin_ctz(static_cast<unsigned>(bits));
  return -1;
}

// One triangle's face as the corners-against-face stage needs it: the
// corner P, edges e1 = Q − P and e2 = R − P, the unit normal n, c = n × e2
// and the triple product e1·c of the ray test along n.
struct Face {
  ZoVector3 corner, e1, e2, normal, c;
  float triple;

  Face(ZoVector3 const corners[3], ZoVector3 const& unitNormal)
      : corner(corners[0]), e1(corners[1] - corners[0]), e2(corners[2] - corners[0]), normal(unitNormal),
        c(unitNormal.cross(e2)), triple(e1.dot(c)) {}
};

// The feet of three points on a face along its normal, turned from each
// point towards the plane: the squared distance where the foot lies in the
// triangle (edges included), NaN elsewhere; `t` receives the signed ray
// parameters. This is the ray test of RayMeetsTriangle in lanes, with
// direction ±n and triple product ±(e1·c). Turning the normal flips the
// signs of both the reciprocal and the products that α and β are made of,
// so α and β are computed along n itself (they differ at most in the sign
// of a zero, which the tests do not see); t takes the turned reciprocal.
inline Lanes FeetOnFace(Face const& face, ZoVector3 const points[3], Lanes& t) {
  if (!(face.triple <= -1e-6f || face.triple >= 1e-6f)) return Ignoring(Lanes{}, Mask{-1, -1, -1, -1});  // parallel
  float reciprocal = 1.0f / face.triple;
  Points s = Minus(Gather(points[0], points[1], points[2]), Broadcast(face.corner));
  Points n = Broadcast(face.normal);
  Mask flip = Dot(s, n) > 0.0f;  // the point lies on the normal's side: look along −n
  Lanes f = Select(flip, Splat(-reciprocal), Splat(reciprocal));
  Points sCrossE1 = Cross(s, Broadcast(face.e1));
  t = f * Dot(Broadcast(face.e2), sCrossE1);
  Lanes alpha = reciprocal * Dot(s, Broadcast(face.c));
  Lanes beta = reciprocal * Dot(n, sCrossE1);
  Mask hit = (t < kLargest) & (t > 0.0f) & (alpha >= 0.0f) & (beta >= 0.0f) & (alpha + beta <= 1.0f);
  return Ignoring(t * t, ~hit);
}

// Corner b[i] of the second triangle against edge J of the first (S = a[J],
// E = a[J + 1]), for the three corners in the lanes. `toB[j]` holds
// a[j] − b[i] in lane i, the negated w = X − S, so w·ê ≤ 0 reads
// back ≥ 0 and (X − E)·ê ≥ 0 reads ≤ 0.
template <int J>
inline Lanes CornersOfSecondOnEdge(Points const toB[3], Lanes const dd[3], Points const& unitsA) {
  Points u = SplatLane<J>(unitsA);
  Lanes back = Dot(toB[J], u);
  Lanes endBack = Dot(toB[(J + 1) % 3], u);
  return Ignoring(dd[J] - back * back, (back >= 0.0f) | (endBack <= 0.0f));
}

// Edge I of the first triangle against the second's three edges in the
// lanes: the nearest interior points of the two lines when both lie within
// their segments (NaN otherwise), with the parameters s1 and s2 out.
template <int I>
inline Lanes EdgeAgainstEdges(Points const& startsA, Points const& unitsA, Lanes lengthsA, Lanes edgeDotsA,
                              Points const& startsB, Points const& unitsB, Lanes lengthsB, Lanes edgeDotsB,
                              Lanes& s1, Lanes& s2) {
  Points s1p = SplatLane<I>(startsA), d1 = SplatLane<I>(unitsA);
  Lanes k = Dot(d1, unitsB);
  Lanes aa = Dot(d1, startsB), bb = SplatLane<I>(edgeDotsA), cc = edgeDotsB, ee = Dot(unitsB, s1p);
  Mask nearlyPerpendicular = (k > -1e-6f) & (k < 1e-6f);
  Lanes denominator = k * k - 1.0f;
  Lanes general2 = ((cc - ee) - k * (aa - bb)) / denominator;
  s2 = Select(nearlyPerpendicular, ee - cc, general2);
  s1 = Select(nearlyPerpendicular, aa - bb, general2 * k + (aa - bb));
  Mask ok = (nearlyPerpendicular | (denominator != 0.0f)) & (s1 >= 0.0f) & (s1 * s1 <= SplatLane<I>(lengthsA)) &
            (s2 >= 0.0f) & (s2 * s2 <= lengthsB);
  Points between = Minus(PlusScaled(s1p, d1, s1), PlusScaled(startsB, unitsB, s2));
  // A sum of squares is never negative, so "≥ 0" only refuses NaN.
  return Ignoring(Dot(between, between), ~ok);
}

// The nearest points of two disjoint triangles a and b (world corners),
// by the stages described above. `normalA` and `normalB` are the
// triangles' unnormalised normals in their sets' own frames, which `turnA`
// and `turnB` carry into the world unless null. Each stage only lowers the
// best value; the points are found once, at the end, for the last stage
// that lowered it, from the rows it kept.
class NearestPoints {
 public:
  float best = kLargest;
  ZoVector3 onA, onB;

  NearestPoints(ZoVector3 const a[3], ZoVector3 const b[3]) : a_(a), b_(b) {}

  void Search(ZoVector3 const& normalA, ZoVector3 const& normalB, ZoRotation3 const* turnA,
              ZoRotation3 const* turnB) {
    switch (Stages(normalA, normalB, turnA, turnB)) {
      case kCornerPairs: {
        int at = FirstHolding(corners_, 3, Splat(best));
        onA = a_[at >> 2];
        onB = b_[at & 3];
        break;
      }
      case kCornersOnEdges: {
        Lanes least = Splat(best);
        int at = FirstHolding(onEdge_, 3, least);
        if (at >= 0) {
          int i = at >> 2, j = at & 3;
          ZoVector3 u = Lane(unitsB_, j);
          onA = a_[i];
          onB = b_[j] + u * (a_[i] - b_[j]).dot(u);
        } else {
          // Corner by corner of the second triangle, edge by edge of the first.
          int bits[3] = {Holding(onEdge_[3], least), Holding(onEdge_[4], least), Holding(onEdge_[5], least)};
          for (int i = 0; i < 3 && at < 0; ++i)
            for (int j = 0; j < 3 && at < 0; ++j)
              if ((bits[j] >> i) & 1) at = 4 * i + j;
          int i = at >> 2, j = at & 3;
          ZoVector3 u = Lane(unitsA_, j);
          onA = a_[j] + u * (b_[i] - a_[j]).dot(u);
          onB = b_[i];
        }
        break;
      }
      case kEdgePairs: {
        int at = FirstHolding(edgePairs_, 3, Splat(best));
        int i = at >> 2, j = at & 3;
        onA = a_[i] + Lane(unitsA_, i) * s1_[i][j];
        onB = b_[j] + Lane(unitsB_, j) * s2_[i][j];
        break;
      }
      case kCornersOnFaces: {
        int at = FirstHolding(feet_, 2, Splat(best));
        int row = at >> 2, j = at & 3;
        ZoVector3 const* face = row == 0 ? a_ : b_;
        ZoVector3 const& normal = row == 0 ? faceNormalA_ : faceNormalB_;
        ZoVector3 const& point = row == 0 ? b_[j] : a_[j];
        ZoVector3 toward = (point - face[0]).dot(normal) > 0.0f ? -normal : normal;
        ZoVector3 foot = point + toward * t_[row][j];
        onA = row == 0 ? foot : point;
        onB = row == 0 ? point : foot;
        break;
      }
      default:
        break;
    }
  }

 private:
  enum Stage { kNone, kCornerPairs, kCornersOnEdges, kEdgePairs, kCornersOnFaces };

  // Lowers best to the least of the rows when that is below it, noting the stage.
  void Lower(Lanes const* rows, int n, Stage stage, Stage& last) {
    float least = LeastBelow(rows, n, best)[0];
    last = least < best ? stage : last;
    best = least;
  }

  // Runs the stages; returns the last that lowered best.
  Stage Stages(ZoVector3 const& normalA, ZoVector3 const& normalB, ZoRotation3 const* turnA,
               ZoRotation3 const* turnB) {
    ZoVector3 const* a = a_;
    ZoVector3 const* b = b_;
    Stage last = kNone;
    // Corner pairs: row i holds a[i] − b[j] in lane j.
    Points startsA = Gather(a[0], a[1], a[2]), startsB = Gather(b[0], b[1], b[2]);
    Points toB[3];
    for (int i = 0; i < 3; ++i) {
      toB[i] = Minus(Broadcast(a[i]), startsB);
      corners_[i] = Dot(toB[i], toB[i]);
    }
    Lower(corners_, 3, kCornerPairs, last);
    if (best < kCloseEnough) return last;

    // Unit edge vectors (edge j from corner j to corner j + 1) and their
    // squared lengths, the set's own unit normal in lane 3.
    Points edgesA = Minus(Rotated(startsA), startsA), edgesB = Minus(Rotated(startsB), startsB);
    edgesA.x[3] = normalA.x, edgesA.y[3] = normalA.y, edgesA.z[3] = normalA.z;
    edgesB.x[3] = normalB.x, edgesB.y[3] = normalB.y, edgesB.z[3] = normalB.z;
    Lanes lengthsA, lengthsB;
    unitsA_ = Unit(edgesA, lengthsA);
    unitsB_ = Unit(edgesB, lengthsB);

    // Corners against edges: corner X, edge S to E, w = X − S; the foot
    // S + ê (w·ê) at squared distance |w|² − (w·ê)² when it lies inside the
    // edge. A foot at an end point equals a corner pair already tried,
    // which can never be strictly below the best, so such lanes yield
    // nothing. Rows 0-2: corner a[i] against the second's edges in the
    // lanes; rows 3-5: edge j of the first against b's corners in the lanes.
    for (int i = 0; i < 3; ++i) {
      Lanes along = Dot(toB[i], unitsB_);
      Lanes endAlong = Dot(Rotated(toB[i]), unitsB_);
      onEdge_[i] = Ignoring(corners_[i] - along * along, (along <= 0.0f) | (endAlong >= 0.0f));
    }
    onEdge_[3] = CornersOfSecondOnEdge<0>(toB, corners_, unitsA_);
    onEdge_[4] = CornersOfSecondOnEdge<1>(toB, corners_, unitsA_);
    onEdge_[5] = CornersOfSecondOnEdge<2>(toB, corners_, unitsA_);
    Lower(onEdge_, 6, kCornersOnEdges, last);
    if (best < kCloseEnough) return last;

    // Edges against edges, edge i of the first in row i, the second's edges
    // in the lanes.
    Lanes edgeDotsA = Dot(unitsA_, startsA), edgeDotsB = Dot(unitsB_, startsB);
    edgePairs_[0] = EdgeAgainstEdges<0>(startsA, unitsA_, lengthsA, edgeDotsA, startsB, unitsB_, lengthsB,
                                        edgeDotsB, s1_[0], s2_[0]);
    edgePairs_[1] = EdgeAgainstEdges<1>(startsA, unitsA_, lengthsA, edgeDotsA, startsB, unitsB_, lengthsB,
                                        edgeDotsB, s1_[1], s2_[1]);
    edgePairs_[2] = EdgeAgainstEdges<2>(startsA, unitsA_, lengthsA, edgeDotsA, startsB, unitsB_, lengthsB,
                                        edgeDotsB, s1_[2], s2_[2]);
    Lower(edgePairs_, 3, kEdgePairs, last);
    if (best < kCloseEnough) return last;

    // Corners against faces: b's corners onto the first face, then a's onto
    // the second, along each face's world unit normal.
    ZoVector3 unitA = Lane(unitsA_, 3), unitB = Lane(unitsB_, 3);
    faceNormalA_ = turnA != nullptr ? *turnA * unitA : unitA;
    faceNormalB_ = turnB != nullptr ? *turnB * unitB : unitB;
    feet_[0] = FeetOnFace(Face(a, faceNormalA_), b, t_[0]);
    feet_[1] = FeetOnFace(Face(b, faceNormalB_), a, t_[1]);
    Lower(feet_, 2, kCornersOnFaces, last);
    return last;
  }

  ZoVector3 const* a_;
  ZoVector3 const* b_;
  // What each stage keeps for finding its winner.
  Lanes corners_[3];
  Points unitsA_, unitsB_;
  Lanes onEdge_[6];
  Lanes edgePairs_[3], s1_[3], s2_[3];
  ZoVector3 faceNormalA_, faceNormalB_;
  Lanes feet_[2], t_[2];
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
  // Identity placements (triangles already in one frame) skip the corner
  // transforms, as FindDistance does.
  bool identity1 = IsIdentity(placement), identity2 = IsIdentity(otherPlacement);
  ZoVector3 first[3], second[3];
  for (int c = 0; c < 3; ++c) {
    ZoVector3 const& p = vertices[t1.corner[c]];
    ZoVector3 const& q = other->vertices[t2.corner[c]];
    first[c] = identity1 ? p : placement * p;
    second[c] = identity2 ? q : otherPlacement * q;
  }
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
  ZoVector3 const* local1[3] = {&vertices[t1.corner[0]], &vertices[t1.corner[1]], &vertices[t1.corner[2]]};
  ZoVector3 const* local2[3] = {&other->vertices[t2.corner[0]], &other->vertices[t2.corner[1]],
                                &other->vertices[t2.corner[2]]};
  ZoVector3 a[3], b[3];
  for (int c = 0; c < 3; ++c) {
    a[c] = identity1 ? *local1[c] : placement * *local1[c];
    b[c] = identity2 ? *local2[c] : otherPlacement * *local2[c];
  }
  if (TrianglesTouch(a, b)) return -1.0f;

  // The normals from the sets' own corners, turned by the placements.
  ZoVector3 normal1 = (*local1[1] - *local1[0]).cross(*local1[2] - *local1[0]);
  ZoVector3 normal2 = (*local2[1] - *local2[0]).cross(*local2[2] - *local2[0]);
  NearestPoints nearest(a, b);
  nearest.Search(normal1, normal2, identity1 ? nullptr : &placement.rotation,
                 identity2 ? nullptr : &otherPlacement.rotation);
  closest = nearest.onA;
  otherClosest = nearest.onB;
  return std::sqrt(nearest.best);
}
