// What the joint sampler remembers about the segment that starts at a list
// node, and the node type the key list allocates to carry it.
//
// The part of a slerp that depends only on its two rotations (the arc's
// angle, 1/sin of it, the sign of the shorter arc, whether the pair is near
// enough to blend linearly) is the same for every sample of a segment, and
// it is the long head of the sample's dependency chain. The sampler keeps it
// per segment together with the exact bits of the rotations it came from,
// and uses it only while the keys still hold those bits; a key edited in any
// way (a field written, ComputeBlends, Transform, Scale, a key replaced)
// simply makes it compute the arc again. The values are the ones the
// computation gives, so a remembered arc changes no result.
//
// Edge cases:
//   - A new node remembers nothing; nodes are never copied (a copied list
//     makes new ones).
//   - Remembering writes to the node, as moving the cursor does: sampling
//     one list from two threads at once was never allowed.
#ifndef ZOACTOR_SRC_ANIMATION_ZOSEGMENTMEMO_H
#define ZOACTOR_SRC_ANIMATION_ZOSEGMENTMEMO_H

#include <zoactor/animation/ZoKeyList.h>

#include "animation/ZoKeyBlock.h"

#include <cstddef>
#include <cstdint>
#include <new>

// The arcs of a segment's first rotation pairs, in the lanes the sampler
// blends them in, and the rotations they were computed from: for a linear
// segment the pairs (local, actor) in lanes 0 and 1 from four rotations, for
// a cubic one the first level of de Casteljau's construction and the local
// pair in lanes 0 to 3 from six.
struct ZoSegmentMemo {
  enum Kind : int32_t { None = 0, Linear = 1, Cubic = 2 };
  // The rotations, four floats each, in the order the sampler lists them.
  float ends[24];
  // sign, angle and 1/sin θ of the pairs, and their near masks.
  float sign[4];
  float angle[4];
  float inverseSine[4];
  int32_t near[4];
  // Which segment the fields above describe; None until the first sample.
  int32_t kind = None;
};

// Every node a key list allocates is one of these, alone or in a block
// shared with the keys it read (see ZoKeyBlock.h).
struct ZoListNode : ZoKeyListNode {
  ZoSegmentMemo memo;

  static void* operator new(size_t size, std::nothrow_t const&) noexcept { return zokeyblock::AllocateAlone(size); }
  static void* operator new(size_t, void* where) noexcept { return where; }
  static void operator delete(void* object) noexcept { zokeyblock::Release(object); }
  static void operator delete(void* object, std::nothrow_t const&) noexcept { zokeyblock::Release(object); }
  static void operator delete(void*, void*) noexcept {}
};
static_assert(alignof(ZoListNode) <= zokeyblock::kPieceAlign, "list nodes fit the alignment of key blocks");

#endif
