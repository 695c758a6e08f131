// The interpolation of two joint keys, shared by ZoJointKeyframe::Interpolate
// and the sampling loop of ZoJointKeyList so that the loop inlines it.
//
// Edge cases:
//   - An eased parameter outside [0, 1] (eased handles far from the
//     defaults, or a segment longer than 2^31 − 1 time units) or NaN
//     blends through ZoTransform3::interpolate, whose rotations extrapolate
//     along the arc; parameters in [0, 1] take the lanes.
#ifndef ZOACTOR_SRC_ANIMATION_ZOJOINTSAMPLING_H
#define ZOACTOR_SRC_ANIMATION_ZOJOINTSAMPLING_H

#include <zoactor/animation/ZoJointKeyframe.h>

#include "animation/ZoMotionMath.h"
#include "animation/ZoSegmentMemo.h"

#include <cstring>

namespace zo_motion {

constexpr float kDefaultEaseIn = 2.0f / 3.0f;
constexpr float kDefaultEaseOut = 1.0f / 3.0f;

// The eased parameter at t of a segment whose first key has the handle
// `easeOut` and whose second key has `easeIn`.
ZO_MOTION_INLINE float Eased(float easeOut, float easeIn, float t) {
  // With the default handles 1/3 and 2/3 the polynomial is t itself, which
  // is taken as it is: most keys keep the defaults, and the polynomial would
  // otherwise sit at the head of the sample's dependency chain.
  if (easeOut == kDefaultEaseOut && easeIn == kDefaultEaseIn) return t;
  float const r = 1.0f - t;
  return 3.0f * easeOut * r * r * t + 3.0f * easeIn * r * t * t + t * t * t;
}

// The scalar Eased in each lane (of any lane type): the same bits lane by lane.
template <class L>
ZO_MOTION_INLINE L Eased(L easeOut, L easeIn, L t) {
  auto const defaults = (easeOut == kDefaultEaseOut) & (easeIn == kDefaultEaseIn);
  L const r = 1.0f - t;
  L const poly = 3.0f * easeOut * r * r * t + 3.0f * easeIn * r * t * t + t * t * t;
  return Select(defaults, t, poly);
}

// The eased parameter of the segment from a to b at t.
ZO_MOTION_INLINE float Eased(ZoJointKeyframe const& a, ZoJointKeyframe const& b, float t) {
  return Eased(a.easeOut, b.easeIn, t);
}

// The arcs of a segment's first pairs: the remembered ones while the memo
// describes a segment of this kind and its `count` rotations keep the bits
// they had, else computed and remembered.
ZO_MOTION_INLINE Arc Remember(ZoSegmentMemo& memo, int32_t kind, Lanes const* ends, int count, Quats const& from,
                              Quats const& to) {
  using zolanes::Load;
  if (memo.kind == kind) {
    Mask same = zolanes::SameBits(ends[0], Load(memo.ends));
    for (int i = 1; i < count; ++i) same = same & zolanes::SameBits(ends[i], Load(memo.ends + 4 * i));
    if (zolanes::All(same)) {
      Mask near;
      std::memcpy(&near, memo.near, sizeof near);
      return {Load(memo.sign), Load(memo.angle), Load(memo.inverseSine), near};
    }
  }
  Arc const arc = ArcOf(from, to);
  for (int i = 0; i < count; ++i) zolanes::Store(memo.ends + 4 * i, ends[i]);
  zolanes::Store(memo.sign, arc.sign);
  zolanes::Store(memo.angle, arc.angle);
  zolanes::Store(memo.inverseSine, arc.inverseSine);
  std::memcpy(memo.near, &arc.near, sizeof memo.near);
  memo.kind = kind;
  return arc;
}

// Both transforms of the segment at s in [0, 1]: the local one linear and
// spherical; the actor one so too between two linear keys, otherwise the
// cubic Bézier through a's out control and b's in control (translation by
// the Bézier polynomial, rotation by de Casteljau's construction of slerps).
ZO_MOTION_INLINE void BlendTransforms(ZoJointKeyframe& out, ZoJointKeyframe const& a, ZoJointKeyframe const& b,
                                      float s, ZoSegmentMemo* memo) {
  Lanes const u = Splat(s);
  ZoTransform3 const& aLocal = a.localTransform;
  ZoTransform3 const& bLocal = b.localTransform;
  ZoTransform3 const& aActor = a.actorTransform;
  ZoTransform3 const& bActor = b.actorTransform;
  StoreVector(out.localTransform.translation, Lerp(TranslationOf(aLocal), TranslationOf(bLocal), u));
  if (a.blendMode == ZoJointKeyframe::Linear && b.blendMode == ZoJointKeyframe::Linear) {
    // Lanes: local, actor.
    Lanes const ends[4] = {Components(aLocal.rotation), Components(aActor.rotation), Components(bLocal.rotation),
                           Components(bActor.rotation)};
    Quats const from = GatherTwo(ends[0], ends[1]), to = GatherTwo(ends[2], ends[3]);
    Arc const arc = memo != nullptr ? Remember(*memo, ZoSegmentMemo::Linear, ends, 4, from, to) : ArcOf(from, to);
    Quats const turned = SlerpTwo(from, to, arc, u);
    StoreVector(out.actorTransform.translation, Lerp(TranslationOf(aActor), TranslationOf(bActor), u));
    out.localTransform.rotation = LaneOf<0>(turned);
    out.actorTransform.rotation = LaneOf<1>(turned);
    return;
  }
  // Lanes of the first level: a→aOut, aOut→bIn, bIn→b, and the local pair.
  Lanes const ends[6] = {Components(aActor.rotation),   Components(a.actorOut.rotation),
                         Components(b.actorIn.rotation), Components(bActor.rotation),
                         Components(aLocal.rotation),    Components(bLocal.rotation)};
  Quats const from = Gather(ends[0], ends[1], ends[2], ends[4]);
  Quats const to = Gather(ends[1], ends[2], ends[3], ends[5]);
  Arc const arc = memo != nullptr ? Remember(*memo, ZoSegmentMemo::Cubic, ends, 6, from, to) : ArcOf(from, to);
  Quats const first = Slerp(from, to, arc, u);
  Quats const second = SlerpTwo(Shuffle<0, 1, 0, 1>(first), Shuffle<1, 2, 1, 2>(first), u);
  Quats const third = SlerpTwo(Shuffle<0, 0, 0, 0>(second), Shuffle<1, 1, 1, 1>(second), u);
  float const v = 1.0f - s;
  float const wa = v * v * v;
  float const wb = 3.0f * v * v * s;
  float const wc = 3.0f * v * s * s;
  float const wd = s * s * s;
  Lanes const position = TranslationOf(aActor) * wa + TranslationOf(a.actorOut) * wb +
                         TranslationOf(b.actorIn) * wc + TranslationOf(bActor) * wd;
  StoreVector(out.actorTransform.translation, position);
  out.localTransform.rotation = LaneOf<3>(first);
  out.actorTransform.rotation = LaneOf<0>(third);
}

// out = the value between a and b at t (see ZoJointKeyframe::Interpolate).
// The results are written straight into `out`, which therefore must be
// neither a nor b (the callers copy the keys first when it is).
ZO_MOTION_INLINE void InterpolateKeys(ZoJointKeyframe& out, ZoJointKeyframe const& a, ZoJointKeyframe const* b,
                                      float t, ZoSegmentMemo* memo = nullptr) {
  out.marker = a.marker;
  if (b == nullptr || a.blendMode == ZoJointKeyframe::Step) {
    out.flags = a.flags;
    out.localTransform = a.localTransform;
    out.actorTransform = a.actorTransform;
    out.point = a.point;
    return;
  }
  float const s = Eased(a, *b, t);
  out.flags = a.flags & b->flags;
  if (InUnitInterval(Splat(s))) {
    BlendTransforms(out, a, *b, s, memo);
    Lanes const point = Lerp(zolanes::Load3(&a.point.x), zolanes::Load3(&b->point.x), Splat(s));
    StoreVector(out.point, point);
    return;
  }
  out.localTransform.interpolate(a.localTransform, b->localTransform, s);
  if (a.blendMode == ZoJointKeyframe::Linear && b->blendMode == ZoJointKeyframe::Linear) {
    out.actorTransform.interpolate(a.actorTransform, b->actorTransform, s);
  } else {
    out.actorTransform.interpolate(a.actorTransform, a.actorOut, b->actorIn, b->actorTransform, s);
  }
  out.point = a.point + (b->point - a.point) * s;
}

}  // namespace zo_motion

#endif
