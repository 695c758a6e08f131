// ZoJointKeyframe: one key of a joint's motion. It holds the joint's
// transform relative to its parent joint and in the actor's frame, the
// Bézier control transforms around each ("blends"), a point, two
// time-easing handles and the interpolation mode of the segment that starts
// at the key.
//
// blendMode:
//   0  linear: controls lie a third of the way towards the neighbouring keys;
//      a segment between two mode-0 keys interpolates both transforms
//      linearly (translation) and spherically (rotation).
//   1  smooth: controls from ComputeControlPoint; a segment starting at such
//      a key interpolates actorTransform as a cubic Bézier.
//   2  step: the segment starting at the key holds the key's values.
// Any other value is stored and streamed; it interpolates as mode 1 does
// (any pair of keys that are not both mode 0 takes the cubic path).
//
// Body on the stream (type code ZoTypeCode::JointKeyframe, "JKey" in the
// file), 208 bytes: the keyframe body (time uint32, tag int32), then one
// 200-byte block written and read in a single transfer:
//   flags int32; localTransform, localIn, localOut, actorTransform, actorIn,
//   actorOut, each 7 float32 (translation x, y, z, rotation w, x, y, z);
//   point 3 float32; marker int32; easeIn float32; easeOut float32;
//   blendMode int32.
// A block that cannot be read whole leaves every one of those fields as it
// was.
#ifndef ZOACTOR_ANIMATION_ZOJOINTKEYFRAME_H
#define ZOACTOR_ANIMATION_ZOJOINTKEYFRAME_H

#include <zoactor/ZoExport.h>
#include <zoactor/animation/ZoKeyframe.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZOACTOR_API ZoJointKeyframe : public ZoKeyframe {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::JointKeyframe;
  // The size of the value block behind the keyframe body, and of the body.
  static constexpr uint32_t kBlockSize = 200;
  static constexpr uint32_t kBodySize = 208;

  enum BlendMode : int32_t { Linear = 0, Smooth = 1, Step = 2 };

  // Per-key flags; a sample between two keys gets the AND of both keys' flags.
  int32_t flags = 0;
  // The joint's transform relative to its parent joint, and its controls.
  ZoTransform3 localTransform;
  ZoTransform3 localIn;
  ZoTransform3 localOut;
  // The joint's transform in the actor's frame (the one interpolated as a
  // spline), and its Bézier controls before and after the key.
  ZoTransform3 actorTransform;
  ZoTransform3 actorIn;
  ZoTransform3 actorOut;
  // A point carried with the key, interpolated linearly.
  ZoVector3 point;
  // Taken by a sample from the earlier of its two keys, never interpolated.
  int32_t marker = 0;
  // Time-easing handles: easeIn is used when this key ends a segment,
  // easeOut when it starts one. The defaults 2/3 and 1/3 give no easing.
  float easeIn = 2.0f / 3.0f;
  float easeOut = 1.0f / 3.0f;
  // How the segment starting at this key is interpolated (see above).
  int32_t blendMode = Linear;

  // Identity transforms and controls, zero point, flags and marker, easing
  // 2/3 and 1/3, mode 0; tag and time 0.
  ZoJointKeyframe() = default;
  // Copy every field, tag and time included.
  ZoJointKeyframe(ZoJointKeyframe const& other) = default;
  ZoJointKeyframe& operator=(ZoJointKeyframe const& other) = default;
  ~ZoJointKeyframe() override;

  // A new heap copy, owned by the caller; null when it cannot be allocated.
  ZoKeyframe* CreateCopy() const override;

  // Stores `mode` in blendMode and recomputes the control transforms from
  // the neighbouring keys (either may be null):
  //   mode 0: for actorTransform and then localTransform, in = the point two
  //     thirds of the way from prev's transform to this one (this transform
  //     without prev), out = a third of the way from this one to next's
  //     (this transform without next);
  //   mode 1: for actorTransform and then localTransform, the controls are
  //     this translation ∓ the tangent of ComputeControlPoint with its in and
  //     out rotations; with no neighbour at all both become this translation
  //     with the identity rotation;
  //   any other mode: only blendMode changes.
  void ComputeBlends(ZoJointKeyframe const* prev, ZoJointKeyframe const* next, int mode);

  // The smooth controls around `cur` (not null) from its neighbours:
  //   both: tangent = (next − prev position) / 6; with a = leap(prev, cur)
  //     and b = bisect(a, next) of the rotations, out = slerp(cur, b, 1/3)
  //     and in = leap(out, cur);
  //   next only: tangent = (next − cur position) / 3, out = slerp(cur, next,
  //     1/3), in = leap(out, cur);
  //   prev only: tangent = (cur − prev position) / 3, in = slerp(cur, prev,
  //     1/3), out = leap(in, cur);
  //   neither (or a null cur): nothing is written.
  static void ComputeControlPoint(ZoTransform3 const* prev, ZoTransform3 const* cur, ZoTransform3 const* next,
                                  ZoRotation3& inRotation, ZoRotation3& outRotation, ZoVector3& tangent);

  // Multiplies the translations of all six transforms and the point
  // component by component by `s`; rotations are unchanged.
  void Scale(ZoVector3 const& s);
  // Replaces each of the six transforms by x · field (x applied after it)
  // and the point by x applied to it.
  void Transform(ZoTransform3 const& x);

  // Sets this key to the value between `a` (not null) and `b` at parameter
  // `t`; tag, time, the controls, the easing handles and blendMode of this
  // key are not touched.
  //   - flags and marker come from a;
  //   - b null, or a in step mode: transforms and point are a's;
  //   - otherwise the eased parameter is s = 3A(1−t)²t + 3B(1−t)t² + t³ with
  //     A = a.easeOut, B = b.easeIn, in float32 (with the default handles
  //     A = 1/3 and B = 2/3 that is t, and t is taken exactly), flags become
  //     a.flags & b.flags, and
  //     localTransform is the linear/spherical blend at s; actorTransform is
  //     too when both keys are mode 0, otherwise it is the cubic Bézier
  //     (a.actorTransform, a.actorOut, b.actorIn, b.actorTransform) at s; the
  //     point is blended linearly at s.
  // Rotations are blended along the shorter arc. For s in [0, 1] the
  // spherical blends use a polynomial evaluation of the arc that agrees with
  // ZoRotation3::interpolate to within 1e-6; outside it they are
  // ZoRotation3::interpolate itself.
  void Interpolate(ZoJointKeyframe const* a, ZoJointKeyframe const* b, float t);

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default joint keyframe, or null.
  static ZoStreamObject* Create();

 private:
  // Copies the 200-byte value block at `block` into the fields.
  void UnpackBlock(void const* block);
};

#endif
