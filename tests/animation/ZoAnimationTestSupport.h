// Helpers for the animation tests: rotations compared through Eigen (which
// the library does not use), and keyframe frames built by hand.
#ifndef ZOACTOR_TESTS_ANIMATION_ZOANIMATIONTESTSUPPORT_H
#define ZOACTOR_TESTS_ANIMATION_ZOANIMATIONTESTSUPPORT_H

#include <zoactor/foundation/ZoTransform3.h>

#include "support/ZoTestObjects.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace zoanimationtest {

using zotest::About;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::ExpectNear;
using Quat = Eigen::Quaterniond;

inline Quat ToEigen(ZoRotation3 const& q) { return Quat(q.w, q.x, q.y, q.z); }
inline Eigen::Vector3d ToEigen(ZoVector3 const& v) { return Eigen::Vector3d(v.x, v.y, v.z); }

// How far apart two rotations are as unit quaternions, q and −q being the
// same rotation.
inline double RotationDistance(ZoRotation3 const& a, Quat const& b) {
  Quat qa = ToEigen(a);
  return std::min((qa.coeffs() - b.coeffs()).norm(), (qa.coeffs() + b.coeffs()).norm());
}

// Expects the two transforms within `tolerance`, in translation and rotation.
inline void ExpectClose(ZoTransform3 const& a, ZoTransform3 const& b, float tolerance = 1e-6f) {
  ExpectNear(a.translation, b.translation, tolerance);
  EXPECT_LT(RotationDistance(a.rotation, ToEigen(b.rotation)), tolerance);
}

// A framed plain keyframe: the "KeyF" code, the time and the tag.
inline ByteBuilder& KeyFrame(ByteBuilder& b, uint32_t time, int32_t tag) {
  return b.raw({0x66, 0x79, 0x65, 0x4B}).u32(time).i32(tag);
}

inline Bytes KeyFrame(uint32_t time, int32_t tag) {
  ByteBuilder b;
  return KeyFrame(b, time, tag);
}

}  // namespace zoanimationtest

#endif
