// Inline kernels of the sampling path: spherical interpolation of rotations
// four (or, in code compiled for AVX2, eight) at a time, in lanes, without
// calls into the maths library.
//
// The arc is evaluated as ZoRotation3::interpolate evaluates it (shorter
// arc, weights sin((1−u)θ)/sin θ and sin(uθ)/sin θ, a normalised linear blend
// when the rotations are within acos(0.9995) of each other), with these
// differences in how the numbers are obtained:
//   - θ comes from a degree-7 polynomial for acos (Abramowitz and Stegun
//     4.4.46, error below 2e-8);
//   - the two sines from their Taylor polynomial to the 11th power, within
//     6e-8 on [0, π/2] (for u in [0, 1] both arguments lie there);
//   - sin θ as sqrt(1 − cos²θ), which does not wait for θ, so the division
//     runs beside the sine polynomials.
// Polynomials are evaluated in Estrin's form (a tree of products instead of
// Horner's chain): sampling is bound by the latency of one long dependency
// chain per rotation, not by the number of operations. The weights agree with
// the library's to within about 3e-7.
//
// Each lane computes exactly what the one-rotation expression computes, so
// a rotation gives the same bits whichever lane it is in and whatever the
// other lanes hold; both paths of the lanes header give the same bits too.
// A sample uses the lanes for the rotations it blends side by side: a linear
// segment its two rotations, a cubic one the three first blends of de
// Casteljau's construction and the local rotation, then two, then one.
//
// Edge cases:
//   - Slerp takes u in [0, 1] only (InUnitInterval); callers send other
//     parameters, NaN included, to ZoRotation3::interpolate.
//   - A near-parallel pair whose blend has length 0 or NaN gives the
//     identity, as ZoRotation3::normalize does.
//
// Everything here is forced inline: the results then stay in registers
// instead of travelling through stack temporaries, whose partial stores and
// wider reloads stall store forwarding.
#ifndef ZOACTOR_SRC_ANIMATION_ZOMOTIONMATH_H
#define ZOACTOR_SRC_ANIMATION_ZOMOTIONMATH_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>

#include "foundation/ZoLanes.h"

#if defined(__GNUC__)
#define ZO_MOTION_INLINE inline __attribute__((always_inline))
#else
#define ZO_MOTION_INLINE inline
#endif

namespace zo_motion {

using zolanes::Lanes;
using zolanes::Mask;
using zolanes::Select;
using zolanes::Splat;

// Rotations, one per lane, by component (four in Quats; the kernels below
// take any lane type of the lanes header).
template <class L>
struct QuatsOf {
  L w, x, y, z;
};
using Quats = QuatsOf<Lanes>;

// The rotations whose components are r0 to r3, in lanes 0 to 3.
ZO_MOTION_INLINE Quats Gather(Lanes r0, Lanes r1, Lanes r2, Lanes r3) {
  Quats q{r0, r1, r2, r3};
  zolanes::Transpose(q.w, q.x, q.y, q.z);
  return q;
}

// The rotation in lane L.
template <int L>
ZO_MOTION_INLINE ZoRotation3 LaneOf(Quats const& q) {
  return ZoRotation3(q.w[L], q.x[L], q.y[L], q.z[L]);
}

// Lanes A, B, C, D of every component.
template <int A, int B, int C, int D>
ZO_MOTION_INLINE Quats Shuffle(Quats const& q) {
  return {zolanes::Shuffle<A, B, C, D>(q.w), zolanes::Shuffle<A, B, C, D>(q.x), zolanes::Shuffle<A, B, C, D>(q.y),
          zolanes::Shuffle<A, B, C, D>(q.z)};
}

// True when every lane of u lies in [0, 1] (false for NaN).
ZO_MOTION_INLINE bool InUnitInterval(Lanes u) { return zolanes::All((u >= 0.0f) & (u <= 1.0f)); }

// acos(c) for c in [0, 1].
template <class L>
ZO_MOTION_INLINE L AcosUnit(L c) {
  L const c2 = c * c;
  L const c4 = c2 * c2;
  L const p01 = 1.5707963050f - 0.2145988016f * c;
  L const p23 = 0.0889789874f - 0.0501743046f * c;
  L const p45 = 0.0308918810f - 0.0170881256f * c;
  L const p67 = 0.0066700901f - 0.0012624911f * c;
  L const p = (p01 + p23 * c2) + (p45 + p67 * c2) * c4;
  return zolanes::Sqrt(1.0f - c) * p;
}

// sin(x) for x in [0, π/2].
template <class L>
ZO_MOTION_INLINE L SinQuarter(L x) {
  L const x2 = x * x;
  L const x4 = x2 * x2;
  L const x8 = x4 * x4;
  L const q = (-1.6666666667e-1f + 8.3333333333e-3f * x2) + (-1.9841269841e-4f + 2.7557319224e-6f * x2) * x4 +
                  -2.5052108385e-8f * x8;
  return x + x * x2 * q;
}

// q scaled to unit length in each lane, as ZoRotation3::normalize does it
// (a length of 0 or NaN gives the identity).
template <class L>
ZO_MOTION_INLINE QuatsOf<L> Normalized(QuatsOf<L> const& q) {
  L const length = zolanes::Sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
  L const inverse = 1.0f / length;
  auto const usable = length > 0.0f;
  L const one = zolanes::SplatAs<L>(1.0f), zero = zolanes::SplatAs<L>(0.0f);
  return {Select(usable, q.w * inverse, one), Select(usable, q.x * inverse, zero), Select(usable, q.y * inverse, zero),
          Select(usable, q.z * inverse, zero)};
}

// What the weights of a slerp need from its two rotations alone: the
// cosine of the arc made non-negative (the shorter arc), the sign that b
// takes for it, which lanes are near enough to blend linearly, and for the
// others the angle θ and 1/sin θ.
template <class L>
struct ArcIn {
  L sign, angle, inverseSine;
  zolanes::MaskOf<L> near;
};
using Arc = ArcIn<Lanes>;

template <class L>
ZO_MOTION_INLINE ArcIn<L> ArcOf(QuatsOf<L> const& a, QuatsOf<L> const& b) {
  L cosine = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
  auto const opposite = cosine < 0.0f;
  cosine = Select(opposite, -cosine, cosine);
  // Far apart: cosine in [0, 0.9995] (or NaN), θ in [0.0316, π/2],
  // sin θ >= 0.0316. Lanes that are near compute garbage here and take
  // the linear weights instead.
  return {Select(opposite, zolanes::SplatAs<L>(-1.0f), zolanes::SplatAs<L>(1.0f)), AcosUnit(cosine),
          1.0f / zolanes::Sqrt((1.0f - cosine) * (1.0f + cosine)), cosine > 0.9995f};
}

// a·wa + b·wb in each lane, normalised in the near lanes.
template <class L, class M>
ZO_MOTION_INLINE QuatsOf<L> Combine(QuatsOf<L> const& a, QuatsOf<L> const& b, L wa, L wb, M near) {
  QuatsOf<L> const blend{a.w * wa + b.w * wb, a.x * wa + b.x * wb, a.y * wa + b.y * wb, a.z * wa + b.z * wb};
  if (!zolanes::Any(near)) return blend;
  QuatsOf<L> const unit = Normalized(blend);
  return {Select(near, unit.w, blend.w), Select(near, unit.x, blend.x), Select(near, unit.y, blend.y),
          Select(near, unit.z, blend.z)};
}

// In each lane, the spherical interpolation from a (u = 0) to b (u = 1)
// along the shorter arc (`arc`, theirs); u in [0, 1].
template <class L>
ZO_MOTION_INLINE QuatsOf<L> Slerp(QuatsOf<L> const& a, QuatsOf<L> const& b, ArcIn<L> const& arc, L u) {
  L const wa = Select(arc.near, 1.0f - u, SinQuarter((1.0f - u) * arc.angle) * arc.inverseSine);
  L const wb = Select(arc.near, u * arc.sign, SinQuarter(u * arc.angle) * (arc.inverseSine * arc.sign));
  return Combine(a, b, wa, wb, arc.near);
}

template <class L>
ZO_MOTION_INLINE QuatsOf<L> Slerp(QuatsOf<L> const& a, QuatsOf<L> const& b, L u) {
  return Slerp(a, b, ArcOf(a, b), u);
}

// Slerp of the pairs in lanes 0 and 1 only (lanes 2 and 3 come back
// undefined) along their arcs: the four sines of the two pairs share one
// polynomial.
ZO_MOTION_INLINE Quats SlerpTwo(Quats const& a, Quats const& b, Arc const& arc, Lanes u) {
  Lanes const sines = SinQuarter(zolanes::Shuffle2<0, 1, 4, 5>((1.0f - u) * arc.angle, u * arc.angle));
  Lanes const wa = Select(arc.near, 1.0f - u, sines * arc.inverseSine);
  Lanes const wb =
      Select(arc.near, u * arc.sign, zolanes::Shuffle<2, 3, 2, 3>(sines) * (arc.inverseSine * arc.sign));
  return Combine(a, b, wa, wb, arc.near);
}

ZO_MOTION_INLINE Quats SlerpTwo(Quats const& a, Quats const& b, Lanes u) { return SlerpTwo(a, b, ArcOf(a, b), u); }

// A rotation's four components in lanes 0-3.
ZO_MOTION_INLINE Lanes Components(ZoRotation3 const& r) { return zolanes::Load(&r.w); }

// The rotations whose components are a and b in lanes 0 and 1, repeated in
// lanes 2 and 3.
ZO_MOTION_INLINE Quats GatherTwo(Lanes a, Lanes b) {
  Lanes const low = zolanes::Shuffle2<0, 4, 1, 5>(a, b), high = zolanes::Shuffle2<2, 6, 3, 7>(a, b);
  return {zolanes::Shuffle<0, 1, 0, 1>(low), zolanes::Shuffle<2, 3, 2, 3>(low), zolanes::Shuffle<0, 1, 0, 1>(high),
          zolanes::Shuffle<2, 3, 2, 3>(high)};
}

// a + (b − a)·u lane by lane: the linear blend of points.
ZO_MOTION_INLINE Lanes Lerp(Lanes a, Lanes b, Lanes u) { return a + (b - a) * u; }

// A translation in lanes 0-2 (lane 3 holds whatever follows it in the
// transform and is never used).
ZO_MOTION_INLINE Lanes TranslationOf(ZoTransform3 const& t) { return zolanes::Load(&t.translation.x); }

ZO_MOTION_INLINE void StoreVector(ZoVector3& v, Lanes lanes) { zolanes::Store3(&v.x, lanes); }

}  // namespace zo_motion

#endif
