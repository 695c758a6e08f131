// ZoTreeTraversal: a tree flattened into an indexable array of node
// pointers. The array is sized once at construction and never grows; the
// traversal is a snapshot that does not follow later changes of the tree.
// The nodes are borrowed: the traversal owns only its array.
//
// Pre-order listing: a node is stored at the next free index when the
// filter is 0 or the node's Type() equals it, then its children are visited
// in sibling order; a node that fails the filter is skipped but its subtree
// is still visited. The root is index 0 whenever it passes the filter.
//
// Edge cases: a null root gives an empty traversal, and an array that
// cannot be allocated leaves the traversal empty (numNodes 0).
#ifndef ZOACTOR_SKELETON_ZOTREETRAVERSAL_H
#define ZOACTOR_SKELETON_ZOTREETRAVERSAL_H

#include <zoactor/ZoExport.h>
#include <zoactor/skeleton/ZoTreeNode.h>

#include <cstdint>
#include <memory>

class ZOACTOR_API ZoTreeTraversal {
 public:
  // numNodes `n` and n unfilled (null) slots for the caller to fill with
  // setNode. A negative n counts as 0.
  explicit ZoTreeTraversal(int n);
  // Room for root->treeSize(type) nodes; when `fill` is non-zero the subtree
  // is listed in pre-order (numNodes is the number listed), otherwise the
  // array stays empty and numNodes is 0.
  ZoTreeTraversal(ZoTreeNode* root, int32_t type, int fill);
  // Lists the same nodes in the same order, in an array of its own.
  ZoTreeTraversal(ZoTreeTraversal const& other);
  ZoTreeTraversal& operator=(ZoTreeTraversal const& other);
  virtual ~ZoTreeTraversal();

  int numNodes() const { return count; }
  // Slot i; i is not checked (keep it in [0, numNodes)).
  ZoTreeNode* node(int i) const { return nodes[i]; }
  // Writes slot i; i is not checked.
  void setNode(int i, ZoTreeNode* n) { nodes[i] = n; }
  // The first index holding `n`, or -1.
  int nodeIndex(ZoTreeNode const* n) const;

 private:
  void List(ZoTreeNode* at, int32_t type);

  int32_t count;
  int32_t capacity;
  std::unique_ptr<ZoTreeNode*[]> nodes;
};

#endif
