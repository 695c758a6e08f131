// Four float lanes and the masks their comparisons give (and, for code
// compiled for AVX2, eight; see "Eight lanes" below): the one place where
// the library's SIMD lives. Private to the library; never installed.
//
// Two paths with one interface:
//   - the vector path (GCC and Clang vector extensions, with SSE
//     instructions where an operation has no portable spelling);
//   - the scalar path, a plain struct of four floats with loops, chosen by
//     defining ZOACTOR_LANES_SCALAR (the CMake option of the same name) or
//     by a compiler without vector extensions.
// Every operation computes in each lane exactly what the scalar expression
// computes (IEEE single precision, no reassociation, no fused operations),
// so both paths give the same bits, and a lane gives the bits of the plain
// float code it replaces. The one exception is RsqrtNewton, whose estimate
// differs between the paths (see there).
//
// Masks hold −1 (all bits set) in a true lane and 0 in a false one.
//
// Edge cases:
//   - Min and Max return their second operand when either lane is NaN or
//     when the two are zeros of either sign (the SSE MINPS/MAXPS rule);
//     a caller that needs NaN to win passes it second.
//   - Sqrt of a negative lane is NaN; RsqrtNewton of 0 is +inf on the
//     scalar path and NaN on the vector path (its Newton step multiplies
//     0 by inf): callers keep zero out of it.
//   - Bits reads the sign bit of each lane, so it is meant for masks.
#ifndef ZOACTOR_SRC_FOUNDATION_ZOLANES_H
#define ZOACTOR_SRC_FOUNDATION_ZOLANES_H

#include <cmath>
#include <cstdint>
#include <cstring>

#if !defined(ZOACTOR_LANES_SCALAR) && !(defined(__GNUC__) || defined(__clang__))
#define ZOACTOR_LANES_SCALAR 1
#endif

#if !defined(ZOACTOR_LANES_SCALAR) && defined(__SSE2__)
#include <emmintrin.h>
#define ZOACTOR_LANES_SSE 1
#endif

#if defined(__GNUC__)
#define ZO_LANES_INLINE inline __attribute__((always_inline))
#else
#define ZO_LANES_INLINE inline
#endif

namespace zolanes {

// True when this build runs the scalar path.
#if defined(ZOACTOR_LANES_SCALAR)
constexpr bool kScalarPath = true;
#else
constexpr bool kScalarPath = false;
#endif

// --- The types ---------------------------------------------------------------------

#if !defined(ZOACTOR_LANES_SCALAR)

using Lanes = float __attribute__((vector_size(16)));
using Mask = int32_t __attribute__((vector_size(16)));

#else

// Four floats. Lanes{} is four zeros; Lanes{a, b, c, d} sets them in order.
struct Lanes {
  float v[4];
  Lanes() = default;
  constexpr Lanes(float a, float b, float c, float d) : v{a, b, c, d} {}
  float& operator[](int i) { return v[i]; }
  float operator[](int i) const { return v[i]; }
};

// Four lane masks (−1 or 0), or any four 32-bit words.
struct Mask {
  int32_t v[4];
  Mask() = default;
  constexpr Mask(int32_t a, int32_t b, int32_t c, int32_t d) : v{a, b, c, d} {}
  int32_t& operator[](int i) { return v[i]; }
  int32_t operator[](int i) const { return v[i]; }
};

namespace detail {

template <class F>
ZO_LANES_INLINE Lanes Map(Lanes a, Lanes b, F f) {
  return {f(a.v[0], b.v[0]), f(a.v[1], b.v[1]), f(a.v[2], b.v[2]), f(a.v[3], b.v[3])};
}
template <class F>
ZO_LANES_INLINE Mask Test(Lanes a, Lanes b, F f) {
  return {f(a.v[0], b.v[0]) ? -1 : 0, f(a.v[1], b.v[1]) ? -1 : 0, f(a.v[2], b.v[2]) ? -1 : 0,
          f(a.v[3], b.v[3]) ? -1 : 0};
}
template <class F>
ZO_LANES_INLINE Mask Words(Mask a, Mask b, F f) {
  return {f(a.v[0], b.v[0]), f(a.v[1], b.v[1]), f(a.v[2], b.v[2]), f(a.v[3], b.v[3])};
}
ZO_LANES_INLINE Lanes Broadcast(float s) { return {s, s, s, s}; }

}  // namespace detail

// Arithmetic lane by lane; a float operand stands for four copies of itself.
ZO_LANES_INLINE Lanes operator+(Lanes a, Lanes b) { return detail::Map(a, b, [](float x, float y) { return x + y; }); }
ZO_LANES_INLINE Lanes operator-(Lanes a, Lanes b) { return detail::Map(a, b, [](float x, float y) { return x - y; }); }
ZO_LANES_INLINE Lanes operator*(Lanes a, Lanes b) { return detail::Map(a, b, [](float x, float y) { return x * y; }); }
ZO_LANES_INLINE Lanes operator/(Lanes a, Lanes b) { return detail::Map(a, b, [](float x, float y) { return x / y; }); }
ZO_LANES_INLINE Lanes operator-(Lanes a) { return {-a.v[0], -a.v[1], -a.v[2], -a.v[3]}; }
ZO_LANES_INLINE Lanes operator+(Lanes a, float s) { return a + detail::Broadcast(s); }
ZO_LANES_INLINE Lanes operator-(Lanes a, float s) { return a - detail::Broadcast(s); }
ZO_LANES_INLINE Lanes operator*(Lanes a, float s) { return a * detail::Broadcast(s); }
ZO_LANES_INLINE Lanes operator/(Lanes a, float s) { return a / detail::Broadcast(s); }
ZO_LANES_INLINE Lanes operator+(float s, Lanes a) { return detail::Broadcast(s) + a; }
ZO_LANES_INLINE Lanes operator-(float s, Lanes a) { return detail::Broadcast(s) - a; }
ZO_LANES_INLINE Lanes operator*(float s, Lanes a) { return detail::Broadcast(s) * a; }
ZO_LANES_INLINE Lanes operator/(float s, Lanes a) { return detail::Broadcast(s) / a; }

// Comparisons lane by lane (false where either lane is NaN, except !=).
ZO_LANES_INLINE Mask operator<(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x < y; }); }
ZO_LANES_INLINE Mask operator>(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x > y; }); }
ZO_LANES_INLINE Mask operator<=(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x <= y; }); }
ZO_LANES_INLINE Mask operator>=(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x >= y; }); }
ZO_LANES_INLINE Mask operator==(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x == y; }); }
ZO_LANES_INLINE Mask operator!=(Lanes a, Lanes b) { return detail::Test(a, b, [](float x, float y) { return x != y; }); }
ZO_LANES_INLINE Mask operator<(Lanes a, float s) { return a < detail::Broadcast(s); }
ZO_LANES_INLINE Mask operator>(Lanes a, float s) { return a > detail::Broadcast(s); }
ZO_LANES_INLINE Mask operator<=(Lanes a, float s) { return a <= detail::Broadcast(s); }
ZO_LANES_INLINE Mask operator>=(Lanes a, float s) { return a >= detail::Broadcast(s); }
ZO_LANES_INLINE Mask operator==(Lanes a, float s) { return a == detail::Broadcast(s); }
ZO_LANES_INLINE Mask operator!=(Lanes a, float s) { return a != detail::Broadcast(s); }

// Bitwise operations on masks.
ZO_LANES_INLINE Mask operator&(Mask a, Mask b) { return detail::Words(a, b, [](int32_t x, int32_t y) { return x & y; }); }
ZO_LANES_INLINE Mask operator|(Mask a, Mask b) { return detail::Words(a, b, [](int32_t x, int32_t y) { return x | y; }); }
ZO_LANES_INLINE Mask operator^(Mask a, Mask b) { return detail::Words(a, b, [](int32_t x, int32_t y) { return x ^ y; }); }
ZO_LANES_INLINE Mask operator~(Mask a) { return {~a.v[0], ~a.v[1], ~a.v[2], ~a.v[3]}; }

#endif

// --- Construction, loads and stores -----------------------------------------------

// v in all four lanes.
ZO_LANES_INLINE Lanes Splat(float v) { return Lanes{v, v, v, v}; }

// Four floats from `p` (any alignment).
ZO_LANES_INLINE Lanes Load(float const* p) {
  Lanes v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The four lanes to `p` (any alignment).
ZO_LANES_INLINE void Store(float* p, Lanes v) { std::memcpy(p, &v, sizeof v); }

// Three floats from `p` in lanes 0-2, `last` in lane 3.
ZO_LANES_INLINE Lanes Load3(float const* p, float last = 0.0f) { return Lanes{p[0], p[1], p[2], last}; }

// Lanes 0-2 to `p`; the float after them is not touched.
ZO_LANES_INLINE void Store3(float* p, Lanes v) {
  p[0] = v[0];
  p[1] = v[1];
  p[2] = v[2];
}

// The same bits seen as the other type.
ZO_LANES_INLINE Mask AsMask(Lanes v) {
#if defined(ZOACTOR_LANES_SCALAR)
  Mask m;
  std::memcpy(&m, &v, sizeof m);
  return m;
#else
  return reinterpret_cast<Mask>(v);
#endif
}
ZO_LANES_INLINE Lanes AsLanes(Mask m) {
#if defined(ZOACTOR_LANES_SCALAR)
  Lanes v;
  std::memcpy(&v, &m, sizeof v);
  return v;
#else
  return reinterpret_cast<Lanes>(m);
#endif
}

// --- Selection, extremes and roots -----------------------------------------------

// `yes` in the lanes where `mask` is set, `no` elsewhere (bitwise, so a
// mask must be all ones or all zeros in each lane).
ZO_LANES_INLINE Lanes Select(Mask mask, Lanes yes, Lanes no) {
  return AsLanes((mask & AsMask(yes)) | (~mask & AsMask(no)));
}

// a where a < b, else b (so NaN in either lane, and a tie of zeros, give b).
ZO_LANES_INLINE Lanes Min(Lanes a, Lanes b) {
#if defined(ZOACTOR_LANES_SSE)
  return reinterpret_cast<Lanes>(_mm_min_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b)));
#else
  return Select(a < b, a, b);
#endif
}

// a where a > b, else b (so NaN in either lane, and a tie of zeros, give b).
ZO_LANES_INLINE Lanes Max(Lanes a, Lanes b) {
#if defined(ZOACTOR_LANES_SSE)
  return reinterpret_cast<Lanes>(_mm_max_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b)));
#else
  return Select(a > b, a, b);
#endif
}

// |v| lane by lane (the sign bit cleared, NaN stays NaN).
ZO_LANES_INLINE Lanes Abs(Lanes v) { return AsLanes(AsMask(v) & Mask{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF}); }

// The correctly rounded square root lane by lane.
ZO_LANES_INLINE Lanes Sqrt(Lanes v) {
#if defined(ZOACTOR_LANES_SSE)
  return reinterpret_cast<Lanes>(_mm_sqrt_ps(reinterpret_cast<__m128>(v)));
#else
  return Lanes{std::sqrt(v[0]), std::sqrt(v[1]), std::sqrt(v[2]), std::sqrt(v[3])};
#endif
}

// 1/√v lane by lane for positive finite v, within 2^-22 relative: the
// vector path refines the hardware estimate by one Newton step, the scalar
// path divides by the exact root. The two paths may differ in the last bits,
// so results that must match bit for bit do not come from here.
ZO_LANES_INLINE Lanes RsqrtNewton(Lanes v) {
#if defined(ZOACTOR_LANES_SSE)
  Lanes y = reinterpret_cast<Lanes>(_mm_rsqrt_ps(reinterpret_cast<__m128>(v)));
  return y * (1.5f - (0.5f * v) * (y * y));
#else
  return 1.0f / Sqrt(v);
#endif
}

// The square root of one float known not to be negative, without the
// errno path of std::sqrt.
ZO_LANES_INLINE float SqrtNonNegative(float v) {
#if defined(ZOACTOR_LANES_SSE)
  return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(v)));
#else
  return std::sqrt(v);
#endif
}

// --- Masks ----------------------------------------------------------------------

// The sign bits of the four lanes, lane 0 in bit 0.
ZO_LANES_INLINE int Bits(Mask m) {
#if defined(ZOACTOR_LANES_SSE)
  return _mm_movemask_ps(reinterpret_cast<__m128>(m));
#else
  return (m[0] < 0 ? 1 : 0) | (m[1] < 0 ? 2 : 0) | (m[2] < 0 ? 4 : 0) | (m[3] < 0 ? 8 : 0);
#endif
}

// The lanes where a and b hold the same bits (so NaN equals itself and
// 0 differs from −0, unlike ==).
ZO_LANES_INLINE Mask SameBits(Lanes a, Lanes b) {
#if defined(ZOACTOR_LANES_SCALAR)
  Mask const x = AsMask(a), y = AsMask(b);
  return Mask{x[0] == y[0] ? -1 : 0, x[1] == y[1] ? -1 : 0, x[2] == y[2] ? -1 : 0, x[3] == y[3] ? -1 : 0};
#else
  return AsMask(a) == AsMask(b);
#endif
}

ZO_LANES_INLINE bool Any(Mask m) { return Bits(m) != 0; }
ZO_LANES_INLINE bool All(Mask m) { return Bits(m) == 15; }

// --- Rearranging lanes -------------------------------------------------------------

// Lanes A, B, C, D of v, in that order.
template <int A, int B, int C, int D>
ZO_LANES_INLINE Lanes Shuffle(Lanes v) {
#if defined(ZOACTOR_LANES_SCALAR)
  return Lanes{v[A], v[B], v[C], v[D]};
#elif defined(__clang__)
  return __builtin_shufflevector(v, v, A, B, C, D);
#else
  return __builtin_shuffle(v, Mask{A, B, C, D});
#endif
}

// Lanes picked from a (indices 0-3) and b (indices 4-7), in that order.
template <int A, int B, int C, int D>
ZO_LANES_INLINE Lanes Shuffle2(Lanes a, Lanes b) {
#if defined(ZOACTOR_LANES_SCALAR)
  auto pick = [&a, &b](int i) { return i < 4 ? a[i] : b[i - 4]; };
  return Lanes{pick(A), pick(B), pick(C), pick(D)};
#elif defined(__clang__)
  return __builtin_shufflevector(a, b, A, B, C, D);
#else
  return __builtin_shuffle(a, b, Mask{A, B, C, D});
#endif
}

// Lane L in all four lanes.
template <int L>
ZO_LANES_INLINE Lanes SplatLane(Lanes v) {
  return Shuffle<L, L, L, L>(v);
}

// Rows a, b, c, d become columns: on return a holds the lanes 0 of the
// four inputs, b their lanes 1, and so on.
ZO_LANES_INLINE void Transpose(Lanes& a, Lanes& b, Lanes& c, Lanes& d) {
  Lanes const ab01 = Shuffle2<0, 4, 1, 5>(a, b), ab23 = Shuffle2<2, 6, 3, 7>(a, b);
  Lanes const cd01 = Shuffle2<0, 4, 1, 5>(c, d), cd23 = Shuffle2<2, 6, 3, 7>(c, d);
  a = Shuffle2<0, 1, 4, 5>(ab01, cd01);
  b = Shuffle2<2, 3, 6, 7>(ab01, cd01);
  c = Shuffle2<0, 1, 4, 5>(ab23, cd23);
  d = Shuffle2<2, 3, 6, 7>(ab23, cd23);
}

// --- Eight lanes ---------------------------------------------------------------------
//
// On x86-64 with the vector path, Lanes8 and Mask8 hold eight floats and
// eight masks, for code that runs in a function compiled for AVX2
// (ZO_LANES_WIDE_TARGET, chosen at run time by its caller). Arithmetic and
// comparisons are the compiler's own, lane by lane with the four-lane
// operations' rounding, so a lane gives the same bits in either width.
// A function without the AVX2 target (such as a kernel templated on the
// lane type) may not inline AVX builtins, so the two operations the vector
// extensions lack, the square root and the sign bits, are one AVX
// instruction in inline assembly under GCC (checked only where the code
// lands, always in an AVX2 function) and two baseline halves under other
// compilers. Everything here is inlined, so the ABI of 32-byte vector
// arguments without AVX, which -Wpsabi warns about, never applies.

#if defined(ZOACTOR_LANES_SSE) && defined(__x86_64__) && defined(__GNUC__)
#define ZOACTOR_LANES_WIDE 1
#define ZO_LANES_WIDE_TARGET __attribute__((target("avx2")))
#pragma GCC diagnostic ignored "-Wpsabi"

using Lanes8 = float __attribute__((vector_size(32)));
using Mask8 = int32_t __attribute__((vector_size(32)));

ZO_LANES_INLINE Lanes8 AsLanes(Mask8 m) { return reinterpret_cast<Lanes8>(m); }
ZO_LANES_INLINE Mask8 AsMask(Lanes8 v) { return reinterpret_cast<Mask8>(v); }

// Lanes 0-3 and lanes 4-7; the eight lanes of two halves.
ZO_LANES_INLINE Lanes Low(Lanes8 v) { return __builtin_shufflevector(v, v, 0, 1, 2, 3); }
ZO_LANES_INLINE Lanes High(Lanes8 v) { return __builtin_shufflevector(v, v, 4, 5, 6, 7); }
ZO_LANES_INLINE Lanes8 Join(Lanes low, Lanes high) { return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7); }

// `yes` in the lanes where `mask` is set, `no` elsewhere: one blend
// instruction where the mask comes from a comparison.
ZO_LANES_INLINE Lanes8 Select(Mask8 mask, Lanes8 yes, Lanes8 no) { return mask ? yes : no; }

// The correctly rounded square root lane by lane.
ZO_LANES_INLINE Lanes8 Sqrt(Lanes8 v) {
#if defined(__clang__)
  return Join(Sqrt(Low(v)), Sqrt(High(v)));
#else
  Lanes8 root;
  __asm__("vsqrtps %1, %0" : "=x"(root) : "x"(v));
  return root;
#endif
}

// The sign bits of the eight lanes, lane 0 in bit 0.
ZO_LANES_INLINE int Bits(Mask8 m) {
#if defined(__clang__)
  Lanes8 const v = AsLanes(m);
  return Bits(AsMask(Low(v))) | (Bits(AsMask(High(v))) << 4);
#else
  int bits;
  __asm__("vmovmskps %1, %0" : "=r"(bits) : "x"(m));
  return bits;
#endif
}
ZO_LANES_INLINE bool Any(Mask8 m) { return Bits(m) != 0; }
ZO_LANES_INLINE bool All(Mask8 m) { return Bits(m) == 255; }

// Rows r[0..7] become columns: on return r[j] holds lane j of the eight
// inputs, in order.
ZO_LANES_INLINE void Transpose8(Lanes8* r) {
  Lanes8 const t0 = __builtin_shufflevector(r[0], r[1], 0, 8, 1, 9, 4, 12, 5, 13);
  Lanes8 const t1 = __builtin_shufflevector(r[0], r[1], 2, 10, 3, 11, 6, 14, 7, 15);
  Lanes8 const t2 = __builtin_shufflevector(r[2], r[3], 0, 8, 1, 9, 4, 12, 5, 13);
  Lanes8 const t3 = __builtin_shufflevector(r[2], r[3], 2, 10, 3, 11, 6, 14, 7, 15);
  Lanes8 const t4 = __builtin_shufflevector(r[4], r[5], 0, 8, 1, 9, 4, 12, 5, 13);
  Lanes8 const t5 = __builtin_shufflevector(r[4], r[5], 2, 10, 3, 11, 6, 14, 7, 15);
  Lanes8 const t6 = __builtin_shufflevector(r[6], r[7], 0, 8, 1, 9, 4, 12, 5, 13);
  Lanes8 const t7 = __builtin_shufflevector(r[6], r[7], 2, 10, 3, 11, 6, 14, 7, 15);
  // s0 holds rows 0-3 of lanes 0 and 4, s4 their rows 4-7; and so on.
  Lanes8 const s0 = __builtin_shufflevector(t0, t2, 0, 1, 8, 9, 4, 5, 12, 13);
  Lanes8 const s1 = __builtin_shufflevector(t0, t2, 2, 3, 10, 11, 6, 7, 14, 15);
  Lanes8 const s2 = __builtin_shufflevector(t1, t3, 0, 1, 8, 9, 4, 5, 12, 13);
  Lanes8 const s3 = __builtin_shufflevector(t1, t3, 2, 3, 10, 11, 6, 7, 14, 15);
  Lanes8 const s4 = __builtin_shufflevector(t4, t6, 0, 1, 8, 9, 4, 5, 12, 13);
  Lanes8 const s5 = __builtin_shufflevector(t4, t6, 2, 3, 10, 11, 6, 7, 14, 15);
  Lanes8 const s6 = __builtin_shufflevector(t5, t7, 0, 1, 8, 9, 4, 5, 12, 13);
  Lanes8 const s7 = __builtin_shufflevector(t5, t7, 2, 3, 10, 11, 6, 7, 14, 15);
  r[0] = __builtin_shufflevector(s0, s4, 0, 1, 2, 3, 8, 9, 10, 11);
  r[1] = __builtin_shufflevector(s1, s5, 0, 1, 2, 3, 8, 9, 10, 11);
  r[2] = __builtin_shufflevector(s2, s6, 0, 1, 2, 3, 8, 9, 10, 11);
  r[3] = __builtin_shufflevector(s3, s7, 0, 1, 2, 3, 8, 9, 10, 11);
  r[4] = __builtin_shufflevector(s0, s4, 4, 5, 6, 7, 12, 13, 14, 15);
  r[5] = __builtin_shufflevector(s1, s5, 4, 5, 6, 7, 12, 13, 14, 15);
  r[6] = __builtin_shufflevector(s2, s6, 4, 5, 6, 7, 12, 13, 14, 15);
  r[7] = __builtin_shufflevector(s3, s7, 4, 5, 6, 7, 12, 13, 14, 15);
}
#endif

// --- Any width ------------------------------------------------------------------------

// The mask type that comparing two L gives.
template <class L>
using MaskOf = decltype(L{} < L{});

// How many floats an L holds.
template <class L>
constexpr int kWidthOf = static_cast<int>(sizeof(L) / sizeof(float));

// v in every lane of an L.
template <class L>
ZO_LANES_INLINE L SplatAs(float v) {
  L r{};
  for (int i = 0; i < kWidthOf<L>; ++i) r[i] = v;
  return r;
}

#if !defined(ZOACTOR_LANES_SCALAR)
// Unsigned 32-bit words, as many as an L holds floats (vector path only).
template <class L>
struct WordsFor;
template <>
struct WordsFor<Lanes> {
  using Type = uint32_t __attribute__((vector_size(16)));
};
#if defined(ZOACTOR_LANES_WIDE)
template <>
struct WordsFor<Lanes8> {
  using Type = uint32_t __attribute__((vector_size(32)));
};
#endif
template <class L>
using WordsOf = typename WordsFor<L>::Type;
#endif

// An L from `p` (any alignment).
template <class L>
ZO_LANES_INLINE L LoadAs(void const* p) {
  L v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

}  // namespace zolanes

#endif
