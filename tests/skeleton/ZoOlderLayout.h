// Builders of older proto-node bodies (versions below 100), byte by byte
// from their field lists, shared by the actor and tool tests.
#ifndef ZOACTOR_TESTS_SKELETON_ZOOLDERLAYOUT_H
#define ZOACTOR_TESTS_SKELETON_ZOOLDERLAYOUT_H

#include <zoactor/foundation/ZoTransform3.h>

#include "ZoSkeletonTestSupport.h"

#include <functional>
#include <utility>
#include <vector>

namespace zoolderlayout {

using zoskeletontest::AddTransform;
using zotest::ByteBuilder;
using zotest::Bytes;

// An older material record: no texture, no mask, a kept colour, a dropped
// one, three dropped words, scalar, alpha, flags, a word from version 20
// and a string from version 10.
inline void OlderMaterial(ByteBuilder& b, int32_t version, float red = 0.25f) {
  b.str("NoTexture").str("NoMask");
  b.f32(red).f32(0.5f).f32(0.75f);
  b.f32(9).f32(9).f32(9);
  b.i32(1).i32(2).i32(3);
  b.f32(12.0f).f32(0.5f).i32(0);
  if (version >= 20) b.i32(0);
  if (version >= 10) b.str("");
}

struct OlderVertex {
  float x, y, z, nx, ny, nz, u, v;
};
struct OlderTriangle {
  int16_t a, b, c, material;
};

// A quad of two triangles in the xy-plane with texture pairs, and a
// second material for the second triangle.
inline std::vector<OlderVertex> QuadVertices() {
  return {{0, 0, 0, 9, 9, 9, 0.0f, 0.25f}, {1, 0, 0, 9, 9, 9, 1.0f, 0.25f},
          {1, 1, 0, 9, 9, 9, 1.0f, 1.0f},  {0, 1, 0, 9, 9, 9, 0.0f, 1.0f}};
}
inline std::vector<OlderTriangle> QuadTriangles() { return {{0, 1, 2, 0}, {0, 2, 3, 1}}; }

inline void OlderGeometry(ByteBuilder& b, int32_t version, int32_t materials, std::vector<OlderVertex> const& vertices,
                   std::vector<OlderTriangle> const& triangles) {
  b.i32(materials);
  for (int32_t i = 0; i < materials; ++i) OlderMaterial(b, version, 0.1f * static_cast<float>(i + 1));
  b.i32(static_cast<int32_t>(vertices.size()));
  for (OlderVertex const& v : vertices) b.f32(v.x).f32(v.y).f32(v.z).f32(v.nx).f32(v.ny).f32(v.nz).f32(v.u).f32(v.v);
  b.i32(static_cast<int32_t>(triangles.size()));
  for (OlderTriangle const& t : triangles) b.i16(t.a).i16(t.b).i16(t.c).i16(t.material);
  if (version >= 43)
    for (int i = 0; i < 6; ++i) b.i32(0x5A5A5A5A);
}

// An older collision-tree record: a sphere node with its 132 bytes, a leaf
// and a sphere node without children; then the trailing string.
inline void OlderTree(ByteBuilder& b) {
  b.chars("NpSM").f32(0).f32(0).f32(0).f32(1);
  b.i32(1);
  for (int i = 0; i < 33; ++i) b.i32(i);
  b.i32(1).chars("NfLM").f32(0).f32(0).f32(0).f32(1).i32(0);
  b.i32(1).chars("NpSM").f32(0).f32(0).f32(0).f32(1).i32(0).i32(0).i32(0);
  b.str("tree");
}

// A geometry record (style 1) as the older layout stores it, by version.
inline void OlderGeomRecord(ByteBuilder& b, int32_t version) {
  if (version >= 28) {
    b.i32(1);
    OlderMaterial(b, version);
    b.f32(0.5f).f32(0.25f);
  }
  if (version >= 32) b.i32(11);
  if (version >= 35) b.i32(21).i32(22).i32(23);
}

// Everything an older node body holds, by field; `record` writes the
// style record and `geometry` what follows the model format.
struct OlderNode {
  char const* name = "node";
  ZoTransform3 home;
  int32_t format = 0;
  std::function<void(ByteBuilder&, int32_t)> geometry;
  bool withLimit = false;
  int32_t style = 1;
  std::function<void(ByteBuilder&, int32_t)> record = OlderGeomRecord;
  std::vector<OlderNode> children;
  int32_t uvFlag = 1;
  bool withSphere = true;
  bool withProperty = true;

  void Write(ByteBuilder& b, int32_t version) const {
    b.str(name);
    AddTransform(b, home);
    b.i32(format);
    if (geometry) geometry(b, version);
    b.i32(withLimit ? 1 : 0);
    if (withLimit) {
      // A hinge, whose body lost its last field below version 27.
      b.chars("JLHn").f32(1).f32(0).f32(0).f32(0).f32(0).f32(1).f32(0).f32(0).f32(1).f32(0);
      if (version >= 27) b.i32(1);
    }
    b.i32(withSphere ? 1 : 0);
    if (withSphere) {
      b.f32(1).f32(2).f32(3).f32(0.5f);
      if (version >= 26) b.u32(99);
    }
    if (version >= 31) {
      // A table of one integer property "old": kind, name and bare value up
      // to version 41, name and framed value from 42.
      b.i32(withProperty ? 1 : 0);
      if (withProperty) {
        if (version <= 41) {
          b.i32(2).str("old").i32(5);
        } else {
          b.str("old").i32(-1).chars("tnIV").i32(4).i32(5);
        }
      }
    }
    b.i32(style);
    if (record) record(b, version);
    if (version >= 36) b.i32(-123);
    b.i32(static_cast<int32_t>(children.size()));
    for (OlderNode const& child : children) child.Write(b, version);
    if (version >= 45) b.i32(uvFlag);
  }

  Bytes Encode(int32_t version) const {
    ByteBuilder b;
    Write(b, version);
    return b.get();
  }
};

// An older skeleton: a camera root over a geometry node (format 2, with a
// collision-tree record and a hinge) holding a handle, and a light of
// format 3 whose record grows at 44 and 46.
inline OlderNode OlderSkeleton() {
  OlderNode hand;
  hand.name = "hand";
  hand.style = 2;
  hand.record = [](ByteBuilder& b, int32_t) { b.i32(1).f32(0.1f).f32(0.3f).u32(0); };
  OlderNode arm;
  arm.name = "arm";
  arm.format = 2;
  arm.withLimit = true;
  arm.geometry = [](ByteBuilder& b, int32_t v) {
    OlderGeometry(b, v, 2, QuadVertices(), QuadTriangles());
    OlderTree(b);
  };
  arm.children = {hand};
  arm.uvFlag = 0;
  OlderNode lamp;
  lamp.name = "lamp";
  lamp.style = 5;
  lamp.format = 3;
  lamp.geometry = [](ByteBuilder& b, int32_t v) { OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}}); };
  lamp.record = [](ByteBuilder& b, int32_t v) {
    b.i32(4).f32(0.5f);
    if (v < 44) {
      b.i32(0).f32(1).f32(1).f32(1);
      return;
    }
    b.f32(1).f32(1).f32(1).i32(0).i32(0).i32(0).i32(0).i32(0).f32(0.5f);
    Bytes name = ByteBuilder().chars("glow");
    name.resize(v >= 46 ? 76 : 64, 0);
    b.append(name);
  };
  OlderNode root;
  root.name = "root";
  root.style = 4;
  root.record = [](ByteBuilder& b, int32_t v) { b.append(Bytes(v >= 47 ? 16 : 8, 0)); };
  root.children = {arm, lamp};
  return root;
}

}  // namespace zoolderlayout

#endif
