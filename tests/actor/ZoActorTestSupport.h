// Helpers for the actor tests: writing objects to bytes, reading bodies and
// framed objects back from exactly sized buffers, and a counting engine
// object for the user-data rules.
#ifndef ZOACTOR_TESTS_ACTOR_ZOACTORTESTSUPPORT_H
#define ZOACTOR_TESTS_ACTOR_ZOACTORTESTSUPPORT_H

#include <zoactor/actor/ZoProtoNode.h>
#include <zoactor/actor/ZoProtoTraversal.h>
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace zoactortest {

using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::ExpectNear;
using zotest::Framed;
using zotest::Reader;
using zotest::Written;

// The body of a copy of `node` whose every node has model format 0. Copying
// a model and reading a node of model format 3 rebuild sphere trees, which
// reorder triangles; comparing bodies without their geometry checks
// everything else exactly.
inline Bytes BodyWithoutGeometry(ZoProtoNode const& node) {
  ZoProtoNode copy(node);
  ZoProtoTraversal all(&copy, 0);
  for (int i = 0; i < all.NumNodes(); ++i) all.Node(i)->SetModelFormat(0);
  return Body(copy);
}

// Reads `bytes` as the body of `object` under `version`; returns the status
// and checks that a successful read consumed every byte.
inline ZoStreamError ReadBody(ZoStreamObject& object, Bytes const& bytes, int32_t version = kZoCurrentVersion) {
  Reader reader(bytes, version);
  *reader >> object;
  if (reader->Status() == ZoStreamOk) {
    EXPECT_EQ(reader.Consumed(), bytes.size());
  }
  return reader->Status();
}

// A transform's 28 bytes.
inline ByteBuilder& AddTransform(ByteBuilder& b, ZoTransform3 const& t) {
  return b.f32(t.translation.x).f32(t.translation.y).f32(t.translation.z).f32(t.rotation.w).f32(t.rotation.x)
      .f32(t.rotation.y).f32(t.rotation.z);
}

// An engine object that counts its references; it never deletes itself so
// that tests can inspect it afterwards.
class CountingAi : public ZoAi {
 public:
  int GetInterfaceName(char* buffer, int size, int& major, int& minor) override {
    major = 1;
    minor = 0;
    if (size > 0) buffer[0] = '\0';
    return 0;
  }
  int32_t AddRef() override { return ++references; }
  int32_t Release() override {
    ++releases;
    return --references;
  }
  ~CountingAi() override = default;

  int32_t references = 1;
  int32_t releases = 0;
};

// The rotation by `angle` about `axis`.
inline ZoRotation3 About(float angle, ZoVector3 const& axis) {
  ZoRotation3 q;
  q.setValue(angle, axis);
  return q;
}

// True when the two rotations are within `tolerance` component-wise, up to
// sign (q and −q are the same rotation).
inline bool SameRotation(ZoRotation3 const& a, ZoRotation3 const& b, float tolerance = 1e-5f) {
  for (float s : {1.0f, -1.0f}) {
    if (std::fabs(a.w - s * b.w) <= tolerance && std::fabs(a.x - s * b.x) <= tolerance &&
        std::fabs(a.y - s * b.y) <= tolerance && std::fabs(a.z - s * b.z) <= tolerance)
      return true;
  }
  return false;
}

}  // namespace zoactortest

#endif
