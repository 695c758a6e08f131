// Slerp weights without trigonometry, four lanes at a time: sin(uθ)/sin θ
// as a polynomial in u and d = cos θ − 1, for arcs of the shorter kind
// (cos θ in [0, 1], θ in [0, π/2]) and u in [0, 1]. Only multiplies and
// adds: no acos, no sine, no square root, no division.
//
// How it is made. As a function of x = cos θ, sin(uθ)/sin θ has the series
//   Σ a_i(u)·d^i,  a_0 = u,  a_i = a_{i−1}·(u² − i²) / (i·(2i + 1)),
// which converges slowly at d = −1 (terms shrink by about half each). It is
// cut after d^9, and the last five coefficients are scaled by μ_i + ν_i·u²,
// fitted by iteratively reweighted least squares (towards the minimax) over
// u in [0, 1] and θ in [0, π/2]. In exact arithmetic the worst error of the
// result is 3.1e-8 over that whole range; in single precision it stays
// below 2.5e-7 (tests/foundation/ZoLanesSlerp_test.cpp measures both ends
// of the range and between).
//
// A sample blends several rotation pairs at the same u (de Casteljau's
// construction of a cubic blends six pairs at one parameter), so the
// coefficients a_i(u) are made once per parameter (SlerpBasis) and each
// pair then costs its dot product and two polynomials in d (SlerpWeights).
//
// Edge cases:
//   - d outside [−1, 0] (a cosine outside [0, 1]) extrapolates the
//     polynomial: callers fold the cosine to the shorter arc first.
//   - Near d = 0 the weights tend to 1 − u and u, as the slerp does; the
//     lanes header's callers that must match a normalised linear blend
//     there select it themselves.
#ifndef ZOACTOR_SRC_FOUNDATION_ZOLANESSLERP_H
#define ZOACTOR_SRC_FOUNDATION_ZOLANESSLERP_H

#include "foundation/ZoLanes.h"

namespace zolanes {

// Powers of d the polynomial takes; a_0 .. a_9.
constexpr int kSlerpTerms = 10;

// The coefficients of sin(uθ)/sin θ in powers of d = cos θ − 1, for one u
// per lane.
struct SlerpBasis {
  Lanes c[kSlerpTerms];
};

// The basis of `u` (each lane in [0, 1]). Each coefficient is the one
// before times (u² − i²)/(i·(2i + 1)); the last five are then scaled by
// their fitted μ_i + ν_i·u².
ZO_LANES_INLINE SlerpBasis SlerpBasisOf(Lanes u) {
  Lanes const v = u * u;
  SlerpBasis b;
  b.c[0] = u;
  b.c[1] = b.c[0] * (v * (1.0f / 3.0f) - 1.0f / 3.0f);
  b.c[2] = b.c[1] * (v * (1.0f / 10.0f) - 4.0f / 10.0f);
  b.c[3] = b.c[2] * (v * (1.0f / 21.0f) - 9.0f / 21.0f);
  b.c[4] = b.c[3] * (v * (1.0f / 36.0f) - 16.0f / 36.0f);
  Lanes const a5 = b.c[4] * (v * (1.0f / 55.0f) - 25.0f / 55.0f);
  Lanes const a6 = a5 * (v * (1.0f / 78.0f) - 36.0f / 78.0f);
  Lanes const a7 = a6 * (v * (1.0f / 105.0f) - 49.0f / 105.0f);
  Lanes const a8 = a7 * (v * (1.0f / 136.0f) - 64.0f / 136.0f);
  Lanes const a9 = a8 * (v * (1.0f / 171.0f) - 81.0f / 171.0f);
  b.c[5] = a5 * (1.0534080456f + v * -5.6162099327e-3f);
  b.c[6] = a6 * (0.23628359262f + v * 5.9427029876e-2f);
  b.c[7] = a7 * (5.0576715375f + v * -0.23196973127f);
  b.c[8] = a8 * (-8.7425116836f + v * 0.39640778555f);
  b.c[9] = a9 * (10.508659041f + v * -0.25056379133f);
  return b;
}

// The powers of d that SlerpWeight reads, computed once per pair.
struct SlerpPowers {
  Lanes d, d2, d4, d8;
};

ZO_LANES_INLINE SlerpPowers SlerpPowersOf(Lanes d) {
  Lanes const d2 = d * d;
  Lanes const d4 = d2 * d2;
  return {d, d2, d4, d4 * d4};
}

// sin(uθ)/sin θ for the basis of u at the powers of d = cos θ − 1, by
// Estrin's scheme (a tree of products, so the latency is a few products
// deep rather than nine).
ZO_LANES_INLINE Lanes SlerpWeight(SlerpBasis const& b, SlerpPowers const& p) {
  Lanes const p01 = b.c[0] + b.c[1] * p.d;
  Lanes const p23 = b.c[2] + b.c[3] * p.d;
  Lanes const p45 = b.c[4] + b.c[5] * p.d;
  Lanes const p67 = b.c[6] + b.c[7] * p.d;
  Lanes const p89 = b.c[8] + b.c[9] * p.d;
  Lanes const low = p01 + p23 * p.d2;
  Lanes const high = p45 + p67 * p.d2;
  return (low + high * p.d4) + p89 * p.d8;
}

}  // namespace zolanes

#endif
