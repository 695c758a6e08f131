// ZoProtoTraversal: a skeleton of proto nodes flattened into an indexable
// array, optionally filtered by style, with look-up by name and generation
// of unique names. Style 1 lists the geometry nodes, the joints that skills
// address by index. Like ZoTreeTraversal it is a snapshot sized once from
// the tree; it borrows the nodes and owns only its array.
//
// Names are compared ignoring case: both sides are upper-cased copies made
// with ZoString's conversion (ASCII rules), so the caller's strings and the
// node names are never changed.
//
// Edge cases: a null root gives an empty traversal, and an array that
// cannot be allocated leaves the traversal empty (NumNodes 0). A child that
// is a plain ZoTreeNode rather than a proto node is skipped with its
// subtree (it has no name or style to list).
#ifndef ZOACTOR_SKELETON_ZOPROTOTRAVERSAL_H
#define ZOACTOR_SKELETON_ZOPROTOTRAVERSAL_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

#include <cstdint>
#include <memory>

class ZoProtoNode;

class ZOACTOR_API ZoProtoTraversal {
 public:
  // Room for every node of the root's subtree; lists in pre-order the nodes
  // whose style equals `style`, or every node when `style` is 0 (a node that
  // does not match is skipped but its subtree is still visited).
  ZoProtoTraversal(ZoProtoNode* root, int32_t style);
  // Lists the same nodes in the same order, in an array of its own.
  ZoProtoTraversal(ZoProtoTraversal const& other);
  ZoProtoTraversal& operator=(ZoProtoTraversal const& other);
  ~ZoProtoTraversal();

  int NumNodes() const { return count; }
  // Entry i; i is not checked (keep it in [0, NumNodes)).
  ZoProtoNode* Node(int i) const { return nodes[i]; }
  // The first index holding `node`, or -1.
  int NodeIndex(ZoProtoNode const* node) const;
  // The first index whose node's name equals `name` ignoring case, or -1.
  int IndexWithName(ZoString name) const;
  // The node at IndexWithName(name), or null.
  ZoProtoNode* NodeWithName(ZoString name) const;
  // `prefix` itself when no listed node bears it (ignoring case), otherwise
  // the first of prefix1, prefix2, ... that none bears.
  ZoString UniqueNameWithPrefix(ZoString prefix) const;

 private:
  void List(ZoProtoNode* at, int32_t style);

  int32_t count;
  int32_t capacity;
  std::unique_ptr<ZoProtoNode*[]> nodes;
};

#endif
