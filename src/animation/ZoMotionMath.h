// Inline kernels of the sampling path: spherical interpolation of rotations
// without calls into the maths library, and the transform blends built on it.
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
// the library's to within about 3e-7. Parameters outside [0, 1]
// (extrapolation) take ZoRotation3::interpolate itself.
//
// Everything here is forced inline: the results then stay in registers
// instead of travelling through stack temporaries, whose partial stores and
// wider reloads stall store forwarding.
#ifndef ZOACTOR_SRC_ANIMATION_ZOMOTIONMATH_H
#define ZOACTOR_SRC_ANIMATION_ZOMOTIONMATH_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>

#include <cmath>

#include "foundation/ZoLanes.h"


#if defined(__GNUC__)
#define ZO_MOTION_INLINE inline __attribute__((always_inline))
#else
#define ZO_MOTION_INLINE inline
#endif

namespace zo_motion {

using zolanes::SqrtNonNegative;

// acos(c) for c in [0, 1].
ZO_MOTION_INLINE float AcosUnit(float c) {
  float const c2 = c * c;
  float const c4 = c2 * c2;
  float const p01 = 1.5707963050f - 0.2145988016f * c;
  float const p23 = 0.0889789874f - 0.0501743046f * c;
  float const p45 = 0.0308918810f - 0.0170881256f * c;
  float const p67 = 0.0066700901f - 0.0012624911f * c;
  float const p = (p01 + p23 * c2) + (p45 + p67 * c2) * c4;
  return SqrtNonNegative(1.0f - c) * p;
}

// sin(x) for x in [0, π/2].
ZO_MOTION_INLINE float SinQuarter(float x) {
  float const x2 = x * x;
  float const x4 = x2 * x2;
  float const x8 = x4 * x4;
  float const q = (-1.6666666667e-1f + 8.3333333333e-3f * x2) + (-1.9841269841e-4f + 2.7557319224e-6f * x2) * x4 +
                  -2.5052108385e-8f * x8;
  return x + x * x2 * q;
}

// out = the spherical interpolation from a (u = 0) to b (u = 1) along the
// shorter arc. `out` may be a or b: it is written after they are read.
ZO_MOTION_INLINE void Slerp(ZoRotation3 const& a, ZoRotation3 const& b, float u, ZoRotation3& out) {
  if (!(u >= 0.0f && u <= 1.0f)) {
    out.interpolate(a, b, u, 0);
    return;
  }
  float cosine = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
  float sign = 1.0f;
  if (cosine < 0.0f) {
    cosine = -cosine;
    sign = -1.0f;
  }
  float wa, wb;
  if (cosine > 0.9995f) {
    wa = 1.0f - u;
    wb = u * sign;
    ZoRotation3 blend(a.w * wa + b.w * wb, a.x * wa + b.x * wb, a.y * wa + b.y * wb, a.z * wa + b.z * wb);
    blend.normalize();
    out = blend;
    return;
  }
  // cosine in [0, 0.9995] (or NaN): θ in [0.0316, π/2], sin θ >= 0.0316.
  float const inverseSine = 1.0f / SqrtNonNegative((1.0f - cosine) * (1.0f + cosine));
  float const angle = AcosUnit(cosine);
  wa = SinQuarter((1.0f - u) * angle) * inverseSine;
  wb = SinQuarter(u * angle) * (inverseSine * sign);
  out = ZoRotation3(a.w * wa + b.w * wb, a.x * wa + b.x * wb, a.y * wa + b.y * wb, a.z * wa + b.z * wb);
}

// The two-transform blend: translation linear, rotation spherical.
ZO_MOTION_INLINE void Blend(ZoTransform3 const& a, ZoTransform3 const& b, float u, ZoTransform3& out) {
  ZoVector3 const t = a.translation + (b.translation - a.translation) * u;
  Slerp(a.rotation, b.rotation, u, out.rotation);
  out.translation = t;
}

// The cubic Bézier of transforms from a to d with inner controls b and c:
// translation by the Bézier polynomial, rotation by de Casteljau of slerps.
ZO_MOTION_INLINE void Bezier(ZoTransform3 const& a, ZoTransform3 const& b, ZoTransform3 const& c,
                             ZoTransform3 const& d, float u, ZoTransform3& out) {
  ZoVector3 t;
  t.interpolate(a.translation, b.translation, c.translation, d.translation, u);
  ZoRotation3 ab, bc, cd, abc, bcd;
  Slerp(a.rotation, b.rotation, u, ab);
  Slerp(b.rotation, c.rotation, u, bc);
  Slerp(c.rotation, d.rotation, u, cd);
  Slerp(ab, bc, u, abc);
  Slerp(bc, cd, u, bcd);
  Slerp(abc, bcd, u, out.rotation);
  out.translation = t;
}

}  // namespace zo_motion

#endif
