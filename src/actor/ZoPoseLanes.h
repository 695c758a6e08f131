// The pose sampler's lanes: the current segments of four joints side by
// side, one joint per lane, stored component by component, and the blend of
// the four at their own eased parameters. Private to ZoSkillSampler.
//
// Every lane computes exactly the expression the joint key list computes
// for one joint (ZoJointSampling.h): the same lerp of translations, the same
// slerps from the same arcs, the same Bézier weights in the same order. So
// a joint gives the same bits here as there, on both paths of the lanes
// header.
//
// Edge cases:
//   - Lanes that copy their first key (a key's own time, a held or step
//     segment) still run through the blend on their stored keys (the
//     second key equals the first there, so the numbers stay finite) and
//     take the first key's values at the end.
//   - A lane's arcs are recomputed only when one of the group's joints
//     entered a new segment (the group is then marked stale).
#ifndef ZOACTOR_SRC_ACTOR_ZOPOSELANES_H
#define ZOACTOR_SRC_ACTOR_ZOPOSELANES_H

#include <zoactor/foundation/ZoTransform3.h>

#include "animation/ZoMotionMath.h"
#include "foundation/ZoLanes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zopose {

using zo_motion::Arc;
using zo_motion::Quats;
using zolanes::Lanes;
using zolanes::Mask;

constexpr int kLanes = 4;
// Where a transform's rotation starts within its 28 bytes.
constexpr size_t kRotationOffset = 12;
static_assert(offsetof(ZoTransform3, translation) == 0 && offsetof(ZoTransform3, rotation) == kRotationOffset,
              "a transform is its translation, then its rotation");

// Four rotations by component.
struct alignas(16) QuatRows {
  float w[kLanes], x[kLanes], y[kLanes], z[kLanes];
};

// Four translations by component.
struct alignas(16) VectorRows {
  float x[kLanes], y[kLanes], z[kLanes];
};

// Four arcs (see zo_motion::Arc).
struct alignas(16) ArcRows {
  float sign[kLanes], angle[kLanes], inverseSine[kLanes];
  int32_t near[kLanes];
};

// What every segment needs: its length and easing handles (as the key
// list takes them: the length as a float, the first key's easeOut, the
// second key's easeIn), both keys' transforms, the translation steps b − a,
// the arcs of the local and actor rotation pairs, and which lanes blend
// their actor transform as a cubic Bézier.
struct alignas(16) LinearGroup {
  float length[kLanes], easeOut[kLanes], easeIn[kLanes];
  QuatRows localA, localB, actorA, actorB;
  VectorRows localT, localStep, actorT, actorStep;
  ArcRows localArc, actorArc;
  int32_t cubic[kLanes];
  // True when a lane changed since the arcs were computed.
  bool stale;
};

// What a cubic segment needs besides: a's out and b's in controls, their
// translations and b's, and the arcs a→out, out→in, in→b.
struct alignas(16) CubicGroup {
  QuatRows out, in;
  VectorRows outT, inT, endT;
  ArcRows arcs[3];
};

// The local and actor transforms of four joints, by component.
struct PoseLanes {
  Quats localRotation, actorRotation;
  Lanes localT[3], actorT[3];
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

ZO_MOTION_INLINE Quats Load(QuatRows const& rows) {
  return {zolanes::Load(rows.w), zolanes::Load(rows.x), zolanes::Load(rows.y), zolanes::Load(rows.z)};
}

ZO_MOTION_INLINE void LoadVector(VectorRows const& rows, Lanes* out) {
  out[0] = zolanes::Load(rows.x);
  out[1] = zolanes::Load(rows.y);
  out[2] = zolanes::Load(rows.z);
}

ZO_MOTION_INLINE Mask LoadMask(int32_t const* words) {
  Mask m;
  std::memcpy(&m, words, sizeof m);
  return m;
}

ZO_MOTION_INLINE Arc Load(ArcRows const& rows) {
  return {zolanes::Load(rows.sign), zolanes::Load(rows.angle), zolanes::Load(rows.inverseSine), LoadMask(rows.near)};
}

ZO_MOTION_INLINE void Store(ArcRows& rows, Arc const& arc) {
  zolanes::Store(rows.sign, arc.sign);
  zolanes::Store(rows.angle, arc.angle);
  zolanes::Store(rows.inverseSine, arc.inverseSine);
  std::memcpy(rows.near, &arc.near, sizeof rows.near);
}

// The arcs of the group's rotation pairs, from the keys its lanes hold now.
inline void ComputeArcs(LinearGroup& linear, CubicGroup& cubic) {
  Quats const actorA = Load(linear.actorA), actorB = Load(linear.actorB);
  Store(linear.localArc, zo_motion::ArcOf(Load(linear.localA), Load(linear.localB)));
  Store(linear.actorArc, zo_motion::ArcOf(actorA, actorB));
  if (zolanes::Any(LoadMask(linear.cubic))) {
    Quats const out = Load(cubic.out), in = Load(cubic.in);
    Store(cubic.arcs[0], zo_motion::ArcOf(actorA, out));
    Store(cubic.arcs[1], zo_motion::ArcOf(out, in));
    Store(cubic.arcs[2], zo_motion::ArcOf(in, actorB));
  }
  linear.stale = false;
}

ZO_MOTION_INLINE Quats SelectQuats(Mask mask, Quats const& yes, Quats const& no) {
  return {zolanes::Select(mask, yes.w, no.w), zolanes::Select(mask, yes.x, no.x), zolanes::Select(mask, yes.y, no.y),
          zolanes::Select(mask, yes.z, no.z)};
}

// a + step·u by component: the key list's lerp a + (b − a)·u, with b − a
// computed once.
ZO_MOTION_INLINE void Step(VectorRows const& a, VectorRows const& step, Lanes u, Lanes* out) {
  out[0] = zolanes::Load(a.x) + zolanes::Load(step.x) * u;
  out[1] = zolanes::Load(a.y) + zolanes::Load(step.y) * u;
  out[2] = zolanes::Load(a.z) + zolanes::Load(step.z) * u;
}

// The cubic Bézier of the actor transform at u: translation by the Bézier
// polynomial, rotation by de Casteljau's construction of slerps.
ZO_MOTION_INLINE void BlendCubic(LinearGroup const& linear, CubicGroup const& cubic, Quats const& actorA, Lanes u,
                                 Quats& rotation, Lanes* translation) {
  using zo_motion::Slerp;
  Quats const actorB = Load(linear.actorB), out = Load(cubic.out), in = Load(cubic.in);
  Quats const p0 = Slerp(actorA, out, Load(cubic.arcs[0]), u);
  Quats const p1 = Slerp(out, in, Load(cubic.arcs[1]), u);
  Quats const p2 = Slerp(in, actorB, Load(cubic.arcs[2]), u);
  rotation = Slerp(Slerp(p0, p1, u), Slerp(p1, p2, u), u);
  Lanes const v = 1.0f - u;
  Lanes const wa = v * v * v;
  Lanes const wb = 3.0f * v * v * u;
  Lanes const wc = 3.0f * v * u * u;
  Lanes const wd = u * u * u;
  Lanes a[3], o[3], i[3], b[3];
  LoadVector(linear.actorT, a);
  LoadVector(cubic.outT, o);
  LoadVector(cubic.inT, i);
  LoadVector(cubic.endT, b);
  for (int c = 0; c < 3; ++c) translation[c] = a[c] * wa + o[c] * wb + i[c] * wc + b[c] * wd;
}

// The pose of the group's four joints at their eased parameters `u`; lanes
// in `copy` take their first key as it is.
ZO_MOTION_INLINE void BlendGroup(LinearGroup const& linear, CubicGroup const& cubic, Lanes u, Mask copy,
                                 PoseLanes& pose) {
  Quats const localA = Load(linear.localA), actorA = Load(linear.actorA);
  Lanes localA_T[3], actorA_T[3];
  LoadVector(linear.localT, localA_T);
  LoadVector(linear.actorT, actorA_T);
  if (zolanes::All(copy)) {
    pose.localRotation = localA;
    pose.actorRotation = actorA;
    for (int c = 0; c < 3; ++c) {
      pose.localT[c] = localA_T[c];
      pose.actorT[c] = actorA_T[c];
    }
    return;
  }
  Quats const local = zo_motion::Slerp(localA, Load(linear.localB), Load(linear.localArc), u);
  Lanes localT[3], actorT[3];
  Step(linear.localT, linear.localStep, u, localT);
  Mask const cubicLanes = LoadMask(linear.cubic) & ~copy;
  Mask const linearLanes = ~(LoadMask(linear.cubic) | copy);
  Quats actor = actorA;
  if (zolanes::Any(linearLanes)) {
    actor = zo_motion::Slerp(actorA, Load(linear.actorB), Load(linear.actorArc), u);
    Step(linear.actorT, linear.actorStep, u, actorT);
  }
  if (zolanes::Any(cubicLanes)) {
    Quats cubicRotation;
    Lanes cubicT[3];
    BlendCubic(linear, cubic, actorA, u, cubicRotation, cubicT);
    if (zolanes::Any(linearLanes)) {
      actor = SelectQuats(cubicLanes, cubicRotation, actor);
      for (int c = 0; c < 3; ++c) actorT[c] = zolanes::Select(cubicLanes, cubicT[c], actorT[c]);
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
    pose.localT[c] = zolanes::Select(copy, localA_T[c], localT[c]);
    pose.actorT[c] = zolanes::Select(copy, actorA_T[c], actorT[c]);
  }
}

// Writes the lanes whose bit is clear in `skip` to out[0..3]: each lane's
// translation and rotation become one transform.
ZO_MOTION_INLINE void StoreTransforms(ZoTransform3* out, int skip, Quats const& rotation, Lanes const* translation) {
  Lanes rows[kLanes] = {rotation.w, rotation.x, rotation.y, rotation.z};
  Lanes steps[kLanes] = {translation[0], translation[1], translation[2], zolanes::Splat(0.0f)};
  zolanes::Transpose(rows[0], rows[1], rows[2], rows[3]);
  zolanes::Transpose(steps[0], steps[1], steps[2], steps[3]);
  for (int lane = 0; lane < kLanes; ++lane) {
    if ((skip & (1 << lane)) != 0) continue;
    // Two 16-byte writes into the transform's 28 bytes: the translation's
    // fourth float lands on rotation.w, which the rotation's write then sets.
    auto* bytes = reinterpret_cast<unsigned char*>(&out[lane]);
    std::memcpy(bytes, &steps[lane], sizeof(Lanes));
    std::memcpy(bytes + kRotationOffset, &rows[lane], sizeof(Lanes));
  }
}

}  // namespace zopose

#endif
