// The pose sampler's lanes: the current segments of eight joints side by
// side, one joint per lane, stored component by component, and the blend of
// them at their own eased parameters, four lanes at a time (Lanes, from
// lane 0 or lane 4 of a group) or all eight (Lanes8, code compiled for
// AVX2). Private to ZoSkillSampler.
//
// Every lane computes exactly the expression the joint key list computes
// for one joint (ZoJointSampling.h): the same lerp of translations, the same
// slerps from the same arcs, the same Bézier weights in the same order. So
// a joint gives the same bits here as there, on both paths of the lanes
// header and in either width.
//
// Edge cases:
//   - Lanes that copy their first key (a key's own time, a held or step
//     segment) still run through the blend on their stored keys (the
//     second key equals the first there, so the numbers stay finite) and
//     take the first key's values at the end.
//   - A lane's arcs are recomputed only when one of the joints of its half
//     of the group entered a new segment (the half is then marked stale).
//   - Eight lanes write a transform with 32 bytes only where the next lane
//     is written too, so joints that are not sampled, and whatever follows
//     the caller's array, keep their bytes.
#ifndef ZOACTOR_SRC_ACTOR_ZOPOSELANES_H
#define ZOACTOR_SRC_ACTOR_ZOPOSELANES_H

#include <zoactor/foundation/ZoTransform3.h>

#include "animation/ZoMotionMath.h"
#include "foundation/ZoLanes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zopose {

using zo_motion::ArcIn;
using zo_motion::QuatsOf;
using zolanes::Lanes;
using zolanes::Mask;

// Joints per group, as stored; a loop blends four or eight of them at once.
constexpr int kLanes = 8;
constexpr int kHalf = 4;
// Where a transform's rotation starts within its 28 bytes.
constexpr size_t kRotationOffset = 12;
static_assert(offsetof(ZoTransform3, translation) == 0 && offsetof(ZoTransform3, rotation) == kRotationOffset,
              "a transform is its translation, then its rotation");

// Eight rotations by component.
struct alignas(32) QuatRows {
  float w[kLanes], x[kLanes], y[kLanes], z[kLanes];
};

// Eight translations by component.
struct alignas(32) VectorRows {
  float x[kLanes], y[kLanes], z[kLanes];
};

// Eight arcs (see zo_motion::ArcIn).
struct alignas(32) ArcRows {
  float sign[kLanes], angle[kLanes], inverseSine[kLanes];
  int32_t near[kLanes];
};

// What every segment needs: its length and easing handles (as the key
// list takes them: the length as a float, the first key's easeOut, the
// second key's easeIn), both keys' transforms, the translation steps b − a,
// the arcs of the local and actor rotation pairs, and which lanes blend
// their actor transform as a cubic Bézier.
struct alignas(32) LinearGroup {
  float length[kLanes], easeOut[kLanes], easeIn[kLanes];
  QuatRows localA, localB, actorA, actorB;
  VectorRows localT, localStep, actorT, actorStep;
  ArcRows localArc, actorArc;
  int32_t cubic[kLanes];
  // Bit h set when a lane of half h (lanes 4h to 4h + 3) changed since the
  // arcs were computed.
  int stale;
};

// What a cubic segment needs besides: a's out and b's in controls, their
// translations and b's, and the arcs a→out, out→in, in→b.
struct alignas(32) CubicGroup {
  QuatRows out, in;
  VectorRows outT, inT, endT;
  ArcRows arcs[3];
};

// The local and actor transforms of a group's joints, by component.
template <class L>
struct PoseLanes {
  QuatsOf<L> localRotation, actorRotation;
  L localT[3], actorT[3];
};

inline void SetLane(QuatRows& rows, int lane, ZoRotation3 const& q) {
  rows.w[lane] = q.w;
  rows.x[lane] = q.x;
  rows.y[lane] = q.y;
  rows.z[lane] = q.z;
}

inline void SetLane(VectorRows& rows, int lane, ZoVector3 const& v) {
  rows.x[lane] = v.x;
  rows.y[lane] = v.y;
  rows.z[lane] = v.z;
}

// The loads below read the lanes from `at` (0 or kHalf) on.
template <class L>
ZO_MOTION_INLINE QuatsOf<L> Load(QuatRows const& rows, int at) {
  using zolanes::LoadAs;
  return {LoadAs<L>(rows.w + at), LoadAs<L>(rows.x + at), LoadAs<L>(rows.y + at), LoadAs<L>(rows.z + at)};
}

template <class L>
ZO_MOTION_INLINE void LoadVector(VectorRows const& rows, int at, L* out) {
  out[0] = zolanes::LoadAs<L>(rows.x + at);
  out[1] = zolanes::LoadAs<L>(rows.y + at);
  out[2] = zolanes::LoadAs<L>(rows.z + at);
}

template <class L>
ZO_MOTION_INLINE ArcIn<L> Load(ArcRows const& rows, int at) {
  using zolanes::LoadAs;
  return {LoadAs<L>(rows.sign + at), LoadAs<L>(rows.angle + at), LoadAs<L>(rows.inverseSine + at),
          LoadAs<zolanes::MaskOf<L>>(rows.near + at)};
}

template <class L>
ZO_MOTION_INLINE void Store(ArcRows& rows, int at, ArcIn<L> const& arc) {
  std::memcpy(rows.sign + at, &arc.sign, sizeof arc.sign);
  std::memcpy(rows.angle + at, &arc.angle, sizeof arc.angle);
  std::memcpy(rows.inverseSine + at, &arc.inverseSine, sizeof arc.inverseSine);
  std::memcpy(rows.near + at, &arc.near, sizeof arc.near);
}

// The arcs of the rotation pairs of the lanes from `at` on, from the keys
// they hold now.
template <class L>
ZO_MOTION_INLINE void ComputeArcs(LinearGroup& linear, CubicGroup& cubic, int at) {
  QuatsOf<L> const actorA = Load<L>(linear.actorA, at), actorB = Load<L>(linear.actorB, at);
  Store(linear.localArc, at, zo_motion::ArcOf(Load<L>(linear.localA, at), Load<L>(linear.localB, at)));
  Store(linear.actorArc, at, zo_motion::ArcOf(actorA, actorB));
  if (zolanes::Any(zolanes::LoadAs<zolanes::MaskOf<L>>(linear.cubic + at))) {
    QuatsOf<L> const out = Load<L>(cubic.out, at), in = Load<L>(cubic.in, at);
    Store(cubic.arcs[0], at, zo_motion::ArcOf(actorA, out));
    Store(cubic.arcs[1], at, zo_motion::ArcOf(out, in));
    Store(cubic.arcs[2], at, zo_motion::ArcOf(in, actorB));
  }
}

template <class L, class M>
ZO_MOTION_INLINE QuatsOf<L> SelectQuats(M mask, QuatsOf<L> const& yes, QuatsOf<L> const& no) {
  using zolanes::Select;
  return {Select(mask, yes.w, no.w), Select(mask, yes.x, no.x), Select(mask, yes.y, no.y), Select(mask, yes.z, no.z)};
}

// a + step·u by component: the key list's lerp a + (b − a)·u, with b − a
// computed once.
template <class L>
ZO_MOTION_INLINE void Step(VectorRows const& a, VectorRows const& step, int at, L u, L* out) {
  using zolanes::LoadAs;
  out[0] = LoadAs<L>(a.x + at) + LoadAs<L>(step.x + at) * u;
  out[1] = LoadAs<L>(a.y + at) + LoadAs<L>(step.y + at) * u;
  out[2] = LoadAs<L>(a.z + at) + LoadAs<L>(step.z + at) * u;
}

// The cubic Bézier of the actor transform at u: translation by the Bézier
// polynomial, rotation by de Casteljau's construction of slerps.
template <class L>
ZO_MOTION_INLINE void BlendCubic(LinearGroup const& linear, CubicGroup const& cubic, int at, QuatsOf<L> const& actorA,
                                 L u, QuatsOf<L>& rotation, L* translation) {
  using zo_motion::Slerp;
  QuatsOf<L> const actorB = Load<L>(linear.actorB, at), out = Load<L>(cubic.out, at), in = Load<L>(cubic.in, at);
  QuatsOf<L> const p0 = Slerp(actorA, out, Load<L>(cubic.arcs[0], at), u);
  QuatsOf<L> const p1 = Slerp(out, in, Load<L>(cubic.arcs[1], at), u);
  QuatsOf<L> const p2 = Slerp(in, actorB, Load<L>(cubic.arcs[2], at), u);
  rotation = Slerp(Slerp(p0, p1, u), Slerp(p1, p2, u), u);
  L const v = 1.0f - u;
  L const wa = v * v * v;
  L const wb = 3.0f * v * v * u;
  L const wc = 3.0f * v * u * u;
  L const wd = u * u * u;
  L a[3], o[3], i[3], b[3];
  LoadVector(linear.actorT, at, a);
  LoadVector(cubic.outT, at, o);
  LoadVector(cubic.inT, at, i);
  LoadVector(cubic.endT, at, b);
  for (int c = 0; c < 3; ++c) translation[c] = a[c] * wa + o[c] * wb + i[c] * wc + b[c] * wd;
}

// The pose of the lanes from `at` on at their eased parameters `u`; lanes
// in `copy` take their first key as it is.
template <class L, class M>
ZO_MOTION_INLINE void BlendGroup(LinearGroup const& linear, CubicGroup const& cubic, int at, L u, M copy,
                                 PoseLanes<L>& pose) {
  using zolanes::Select;
  QuatsOf<L> const localA = Load<L>(linear.localA, at), actorA = Load<L>(linear.actorA, at);
  L localA_T[3], actorA_T[3];
  LoadVector(linear.localT, at, localA_T);
  LoadVector(linear.actorT, at, actorA_T);
  if (zolanes::All(copy)) {
    pose.localRotation = localA;
    pose.actorRotation = actorA;
    for (int c = 0; c < 3; ++c) {
      pose.localT[c] = localA_T[c];
      pose.actorT[c] = actorA_T[c];
    }
    return;
  }
  QuatsOf<L> const local = zo_motion::Slerp(localA, Load<L>(linear.localB, at), Load<L>(linear.localArc, at), u);
  L localT[3], actorT[3];
  Step(linear.localT, linear.localStep, at, u, localT);
  M const cubicMask = zolanes::LoadAs<M>(linear.cubic + at);
  M const cubicLanes = cubicMask & ~copy;
  M const linearLanes = ~(cubicMask | copy);
  QuatsOf<L> actor = actorA;
  if (zolanes::Any(linearLanes)) {
    actor = zo_motion::Slerp(actorA, Load<L>(linear.actorB, at), Load<L>(linear.actorArc, at), u);
    Step(linear.actorT, linear.actorStep, at, u, actorT);
  }
  if (zolanes::Any(cubicLanes)) {
    QuatsOf<L> cubicRotation;
    L cubicT[3];
    BlendCubic(linear, cubic, at, actorA, u, cubicRotation, cubicT);
    if (zolanes::Any(linearLanes)) {
      actor = SelectQuats(cubicLanes, cubicRotation, actor);
      for (int c = 0; c < 3; ++c) actorT[c] = Select(cubicLanes, cubicT[c], actorT[c]);
    } else {
      actor = cubicRotation;
      for (int c = 0; c < 3; ++c) actorT[c] = cubicT[c];
    }
  }
  if (!zolanes::Any(copy)) {  // the usual case: every lane blends
    pose.localRotation = local;
    pose.actorRotation = actor;
    for (int c = 0; c < 3; ++c) {
      pose.localT[c] = localT[c];
      pose.actorT[c] = actorT[c];
    }
    return;
  }
  pose.localRotation = SelectQuats(copy, localA, local);
  pose.actorRotation = SelectQuats(copy, actorA, actor);
  for (int c = 0; c < 3; ++c) {
    pose.localT[c] = Select(copy, localA_T[c], localT[c]);
    pose.actorT[c] = Select(copy, actorA_T[c], actorT[c]);
  }
}

// Two 16-byte writes into a transform's 28 bytes: the translation's fourth
// float lands on rotation.w, which the rotation's write then sets.
ZO_MOTION_INLINE void StoreTransform(ZoTransform3* out, Lanes const& translation, Lanes const& rotation) {
  auto* bytes = reinterpret_cast<unsigned char*>(out);
  std::memcpy(bytes, &translation, sizeof(Lanes));
  std::memcpy(bytes + kRotationOffset, &rotation, sizeof(Lanes));
}

// Writes the four lanes whose bit is clear in `skip` to out[0..3]: each
// lane's translation and rotation become one transform.
ZO_MOTION_INLINE void StoreTransforms(ZoTransform3* out, int skip, QuatsOf<Lanes> const& rotation,
                                      Lanes const* translation) {
  Lanes rows[kHalf] = {rotation.w, rotation.x, rotation.y, rotation.z};
  Lanes steps[kHalf] = {translation[0], translation[1], translation[2], zolanes::Splat(0.0f)};
  zolanes::Transpose(rows[0], rows[1], rows[2], rows[3]);
  zolanes::Transpose(steps[0], steps[1], steps[2], steps[3]);
  if (skip == 0) {  // the usual case, unrolled so that the rows stay in registers
    StoreTransform(out + 0, steps[0], rows[0]);
    StoreTransform(out + 1, steps[1], rows[1]);
    StoreTransform(out + 2, steps[2], rows[2]);
    StoreTransform(out + 3, steps[3], rows[3]);
    return;
  }
  for (int lane = 0; lane < kHalf; ++lane) {
    if ((skip & (1 << lane)) == 0) StoreTransform(out + lane, steps[lane], rows[lane]);
  }
}

#if defined(ZOACTOR_LANES_WIDE)
using zolanes::Lanes8;

// One transform's 28 bytes and 4 to spare.
ZO_MOTION_INLINE void StoreWide(ZoTransform3* out, Lanes8 const& v) {
  std::memcpy(static_cast<void*>(out), &v, sizeof(Lanes8));
}
ZO_MOTION_INLINE void StoreExact(ZoTransform3* out, Lanes8 const& v) {
  std::memcpy(static_cast<void*>(out), &v, sizeof(ZoTransform3));
}

// The same for eight lanes: an 8×8 transpose of the rows tx, ty, tz, w, x,
// y, z (and one spare) gives each lane's transform in its first 28 bytes.
// Lanes are written in order with 32 bytes where the next lane is written
// too (which then sets the 4 bytes the spare covered), else with 28.
ZO_MOTION_INLINE void StoreTransforms(ZoTransform3* out, int skip, QuatsOf<Lanes8> const& rotation,
                                      Lanes8 const* translation) {
  Lanes8 lanes[kLanes] = {translation[0], translation[1], translation[2], rotation.w,
                          rotation.x,     rotation.y,     rotation.z,     zolanes::SplatAs<Lanes8>(0.0f)};
  zolanes::Transpose8(lanes);
  if (skip == 0) {  // the usual case
    StoreWide(out + 0, lanes[0]);
    StoreWide(out + 1, lanes[1]);
    StoreWide(out + 2, lanes[2]);
    StoreWide(out + 3, lanes[3]);
    StoreWide(out + 4, lanes[4]);
    StoreWide(out + 5, lanes[5]);
    StoreWide(out + 6, lanes[6]);
    StoreExact(out + 7, lanes[7]);
    return;
  }
  for (int lane = 0; lane < kLanes; ++lane) {
    if ((skip & (1 << lane)) != 0) continue;
    if (lane + 1 < kLanes && (skip & (2 << lane)) == 0) StoreWide(out + lane, lanes[lane]);
    else StoreExact(out + lane, lanes[lane]);
  }
}
#endif

}  // namespace zopose

#endif
