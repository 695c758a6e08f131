// Helpers for the skeleton tests: reading bodies back from exactly sized
// buffers, comparing rotations, and a skeleton with a node of every style.
#ifndef ZOACTOR_TESTS_SKELETON_ZOSKELETONTESTSUPPORT_H
#define ZOACTOR_TESTS_SKELETON_ZOSKELETONTESTSUPPORT_H

#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace zoskeletontest {

using zotest::About;
using zotest::AddTransform;
using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::ExpectNear;
using zotest::Framed;
using zotest::Reader;

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

using zotest::ReadBody;

// `bytes` read under `version` as the body of a fresh node and written back.
inline Bytes Rewritten(Bytes const& bytes, int32_t version = kZoCurrentVersion) {
  ZoProtoNode node;
  EXPECT_EQ(ReadBody(node, bytes, version), ZoStreamOk);
  return Body(node, version);
}

// The names of a traversal's nodes in its order.
inline std::vector<std::string> Names(ZoProtoTraversal const& t) {
  std::vector<std::string> names;
  for (int i = 0; i < t.NumNodes(); ++i) names.emplace_back(t.Node(i)->Name().c_str());
  return names;
}

// The ends and the long-arc flag of a hinge limit.
inline std::tuple<ZoRotation3, ZoRotation3, int> HingeValue(ZoJLimit const* limit) {
  ZoRotation3 lo, hi;
  int arc = -1;
  static_cast<ZoJLHinge const*>(limit)->GetValue(lo, hi, arc);
  return {lo, hi, arc};
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

// Expects the two transforms the same within `tolerance`.
inline void ExpectSameTransform(ZoTransform3 const& a, ZoTransform3 const& b, float tolerance = 1e-5f) {
  zotest::ExpectNear(a.translation, b.translation, tolerance);
  EXPECT_TRUE(SameRotation(a.rotation, b.rotation, tolerance));
}

// A node of `style` with a small cube as its model, a linear limit, a
// sphere, a property, UV flag 0 and stiffness 0.25.
inline ZoProtoNode* Populated(char const* name, int style) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(style);
  node->SetHomeTransform(ZoTransform3(ZoVector3(0.5f, 1, -2), About(0.7f, ZoVector3(0, 1, 0))));
  node->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(0.3f, 0.3f, 0.3f)));
  auto* limit = new ZoJLLinear;
  limit->SetValue(ZoVector3(0, 0, 0), ZoVector3(0, 0, 1));
  node->SetJointLimit(limit);
  node->ColSpheres().AppendCopy(ZoColSphere{ZoVector3(1, 2, 3), 0.5f, 0xABCDu});
  node->Properties().Add(ZoProperty("mass", new ZoFloatValue(3.5f)));
  node->SetUVNormalized(0);
  node->Stiffness() = 0.25f;
  return node;
}

// root (a sphere handle) → hips (a square, hinge) → floor, eye (camera
// marker, box limit) → lamp (light marker, model format 1, Euler limit);
// root → path (spline, model format 3), odd (style 12, a limit of no kind).
inline std::unique_ptr<ZoProtoNode> Skeleton() {
  std::unique_ptr<ZoProtoNode> root(Populated("root", 2));
  root->HandleInfo()->handleKind = 4;
  root->CreateColModel();
  auto* hips = Populated("hips", 1);
  hips->GeomInfo()->squareKind = 1;
  hips->GeomInfo()->material.SetOpacityMask("mask");
  hips->CreateColModel();
  auto* hinge = new ZoJLHinge;
  hinge->SetValue(About(-0.5f, ZoVector3(1, 0, 0)), About(1.2f, ZoVector3(1, 0, 0)), 1);
  hips->SetJointLimit(hinge);
  auto* floor = Populated("floor", 3);
  floor->FloorInfo()->floorWord0 = 4;
  floor->FloorInfo()->floorWord1 = 0x80000001u;
  auto* camera = Populated("eye", 4);
  camera->CameraInfo()->angle = 0.9f;
  camera->CreateColModel();
  camera->SetJointLimit(new ZoJLTranslate);
  auto* lamp = Populated("lamp", 5);
  lamp->LightInfo()->kind = 2;
  lamp->CreateColModel();
  lamp->SetModelFormat(1);
  auto* euler = new ZoJLEuler;
  euler->SetValue(0, 3.0f, -3.0f);
  lamp->SetJointLimit(euler);
  auto* path = Populated("path", 6);
  path->SplineInfo()->SetLinear(ZoTransform3(), ZoTransform3(ZoVector3(4, 0, 0), About(1.0f, ZoVector3(0, 1, 0))), 1000);
  path->SplineInfo()->Integrate();
  path->SetModelFormat(3);
  auto* odd = Populated("odd", 12);
  odd->SetJointLimit(new ZoJLimit);
  root->addChild(hips);
  hips->addChild(floor);
  hips->addChild(camera);
  camera->addChild(lamp);
  root->addChild(path);
  root->addChild(odd);
  return root;
}

// Expects `got` to be `want` in some order, each point matched once within
// `tolerance` (rebuilding a sphere tree reorders a set's triangles).
inline void ExpectSamePointsInAnyOrder(std::vector<ZoVector3> const& got, std::vector<ZoVector3> want,
                                       float tolerance) {
  ASSERT_EQ(got.size(), want.size());
  for (ZoVector3 const& p : got) {
    auto match = std::find_if(want.begin(), want.end(), [&](ZoVector3 const& q) { return (p - q).length() <= tolerance; });
    ASSERT_NE(match, want.end()) << "no match for (" << p.x << ", " << p.y << ", " << p.z << ")";
    want.erase(match);
  }
}

}  // namespace zoskeletontest

#endif
