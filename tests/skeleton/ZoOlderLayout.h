// A builder of older proto-node bodies (versions below 100), byte by byte
// from their field lists, for the actor tests. The skeleton's own tests of
// the older layout read frozen files instead (tests/data/older-node/).
#ifndef ZOACTOR_TESTS_SKELETON_ZOOLDERLAYOUT_H
#define ZOACTOR_TESTS_SKELETON_ZOOLDERLAYOUT_H

#include <zoactor/foundation/ZoTransform3.h>

#include "ZoSkeletonTestSupport.h"

#include <functional>
#include <vector>

namespace zoolderlayout {

using zoskeletontest::AddTransform;
using zotest::ByteBuilder;
using zotest::Bytes;

// An older material record: no texture, no mask, a kept colour, a dropped
// one, three dropped words, scalar, alpha, flags, a word from version 20
// and a string from version 10.
inline void OlderMaterial(ByteBuilder& b, int32_t version, float red = 0.25f) {
  b.str("NoTexture").str("NoMask").f32(red).f32(0.5f).f32(0.75f).f32(9).f32(9).f32(9);
  b.i32(1).i32(2).i32(3).f32(12.0f).f32(0.5f).i32(0);
  if (version >= 20) b.i32(0);
  if (version >= 10) b.str("");
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

// An older node body: `name`, the identity, no model and no limit, one
// sphere, from version 31 one integer property "old" = 5, `style` with the
// record `record` writes, `children`, and UV flag 1 from version 45.
struct OlderNode {
  char const* name = "node";
  int32_t style = 1;
  std::function<void(ByteBuilder&, int32_t)> record = OlderGeomRecord;
  std::vector<OlderNode> children;

  void Write(ByteBuilder& b, int32_t version) const {
    AddTransform(b.str(name), ZoTransform3()).i32(0).i32(0);  // model format 0, no limit
    b.i32(1).f32(1).f32(2).f32(3).f32(0.5f);                 // the sphere, its word from 26
    if (version >= 26) b.u32(99);
    // The property: kind, name and bare value up to 41, name and framed
    // value from 42.
    if (version >= 31 && version <= 41) b.i32(1).i32(2).str("old").i32(5);
    if (version >= 42) b.i32(1).str("old").i32(-1).chars("tnIV").i32(4).i32(5);
    b.i32(style);
    if (record) record(b, version);
    if (version >= 36) b.i32(-123);
    b.i32(static_cast<int32_t>(children.size()));
    for (OlderNode const& child : children) child.Write(b, version);
    if (version >= 45) b.i32(1);
  }
};

}  // namespace zoolderlayout

#endif
