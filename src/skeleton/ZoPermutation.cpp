#include <zoactor/skeleton/ZoPermutation.h>

#include <zoactor/skeleton/ZoProtoTraversal.h>

#include <new>

ZoPermutation::ZoPermutation(ZoProtoTraversal const* oldTraversal, ZoProtoTraversal const* newTraversal) {
  int32_t numberOld = oldTraversal != nullptr ? oldTraversal->NumNodes() : 0;
  int32_t numberNew = newTraversal != nullptr ? newTraversal->NumNodes() : 0;
  try {
    oldIndex.resize(static_cast<size_t>(numberOld));
    newIndex.resize(static_cast<size_t>(numberNew));
  } catch (std::bad_alloc const&) {
    oldIndex.clear();
    newIndex.clear();
    return;
  }
  for (int32_t i = 0; i < numberOld; ++i)
    oldIndex[static_cast<size_t>(i)] = newTraversal != nullptr ? newTraversal->NodeIndex(oldTraversal->Node(i)) : -1;
  for (int32_t j = 0; j < numberNew; ++j)
    newIndex[static_cast<size_t>(j)] = oldTraversal != nullptr ? oldTraversal->NodeIndex(newTraversal->Node(j)) : -1;
}
