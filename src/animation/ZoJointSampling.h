// The interpolation of two joint keys, shared by ZoJointKeyframe::Interpolate
// and the sampling loop of ZoJointKeyList so that the loop inlines it.
#ifndef ZOACTOR_SRC_ANIMATION_ZOJOINTSAMPLING_H
#define ZOACTOR_SRC_ANIMATION_ZOJOINTSAMPLING_H

#include <zoactor/animation/ZoJointKeyframe.h>

#include "animation/ZoMotionMath.h"

namespace zo_motion {

constexpr float kDefaultEaseIn = 2.0f / 3.0f;
constexpr float kDefaultEaseOut = 1.0f / 3.0f;

// out = the value between a and b at t (see ZoJointKeyframe::Interpolate).
// The results are written straight into `out`, which therefore must be
// neither a nor b (the callers copy the keys first when it is).
ZO_MOTION_INLINE void InterpolateKeys(ZoJointKeyframe& out, ZoJointKeyframe const& a, ZoJointKeyframe const* b,
                                      float t) {
  out.marker = a.marker;
  if (b == nullptr || a.blendMode == ZoJointKeyframe::Step) {
    out.flags = a.flags;
    out.localTransform = a.localTransform;
    out.actorTransform = a.actorTransform;
    out.point = a.point;
    return;
  }
  // The eased parameter. With the default handles 1/3 and 2/3 the
  // polynomial is t itself, which is taken as it is: most keys keep the
  // defaults, and the polynomial would otherwise sit at the head of the
  // sample's dependency chain.
  float s = t;
  if (a.easeOut != kDefaultEaseOut || b->easeIn != kDefaultEaseIn) {
    float const r = 1.0f - t;
    s = 3.0f * a.easeOut * r * r * t + 3.0f * b->easeIn * r * t * t + t * t * t;
  }

  out.flags = a.flags & b->flags;
  Blend(a.localTransform, b->localTransform, s, out.localTransform);
  if (a.blendMode == ZoJointKeyframe::Linear && b->blendMode == ZoJointKeyframe::Linear) {
    Blend(a.actorTransform, b->actorTransform, s, out.actorTransform);
  } else {
    Bezier(a.actorTransform, a.actorOut, b->actorIn, b->actorTransform, s, out.actorTransform);
  }
  out.point = a.point + (b->point - a.point) * s;
}

}  // namespace zo_motion

#endif
