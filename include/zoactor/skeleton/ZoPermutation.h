// ZoPermutation: maps the indices of one proto traversal onto those of
// another, matching nodes by identity (pointer), never by name. Skills keep
// their joints in step with an edited skeleton through it: for each new
// index, newToOld gives the old index of the same node, or -1 for a node
// that did not exist before.
//
// Edge cases: a null traversal counts as an empty one, and arrays that
// cannot be allocated leave the permutation empty (both counts 0).
#ifndef ZOACTOR_SKELETON_ZOPERMUTATION_H
#define ZOACTOR_SKELETON_ZOPERMUTATION_H

#include <zoactor/ZoExport.h>

#include <cstdint>
#include <vector>

class ZoProtoTraversal;

class ZOACTOR_API ZoPermutation {
 public:
  // oldToNew[i] = newTraversal->NodeIndex(old node i) and
  // newToOld[j] = oldTraversal->NodeIndex(new node j).
  ZoPermutation(ZoProtoTraversal const* oldTraversal, ZoProtoTraversal const* newTraversal);

  int32_t numOld() const { return static_cast<int32_t>(oldIndex.size()); }
  int32_t numNew() const { return static_cast<int32_t>(newIndex.size()); }
  // Arrays of numOld() and numNew() entries (null when empty), each an index
  // into the other traversal or -1.
  int32_t const* oldToNew() const { return oldIndex.empty() ? nullptr : oldIndex.data(); }
  int32_t const* newToOld() const { return newIndex.empty() ? nullptr : newIndex.data(); }

 private:
  std::vector<int32_t> oldIndex;
  std::vector<int32_t> newIndex;
};

#endif
