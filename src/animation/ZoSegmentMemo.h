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

#include <cstdint>

// The arcs of a linear segment's two rotation pairs (local, actor) in lanes
// 0 and 1, and the rotations they were computed from.
struct ZoSegmentMemo {
  // a's local and actor rotations, then b's, as 16 floats.
  float ends[16];
  // sign, angle and 1/sin θ of the two pairs, and their near masks.
  float sign[4];
  float angle[4];
  float inverseSine[4];
  int32_t near[4];
  // Whether the fields above hold an arc.
  bool valid = false;
};

// Every node a key list allocates is one of these.
struct ZoListNode : ZoKeyListNode {
  ZoSegmentMemo memo;
};

#endif
