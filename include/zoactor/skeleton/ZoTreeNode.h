// ZoTreeNode: a node of an n-ary tree, the base of every proto node. The
// children form a singly linked list (first child, next sibling) with a
// back link to the parent; there is no child count and no last-child link,
// so appending walks the sibling list. Trees are small (skeletons of tens of
// nodes) and every operation is a plain walk.
//
// Ownership: a node destroys its children when its `destroyChildren` flag is
// exactly 1 (the default). A subtree detached with removeChild belongs to
// whoever detached it. The node is never unlinked from its own parent by its
// destructor: detach it first when it lives in a tree.
//
// Edge cases:
// - Assignment copies only the destroyChildren flag; the links (and so the
//   children) of both nodes stay as they are.
// - The walks recurse once per level; trees read from streams are bounded
//   in depth by ZoReadLimits::MaxDepth().
#ifndef ZOACTOR_SKELETON_ZOTREENODE_H
#define ZOACTOR_SKELETON_ZOTREENODE_H

#include <zoactor/ZoExport.h>

#include <cstdint>

class ZOACTOR_API ZoTreeNode {
 public:
  // The type code of a plain tree node, 'Tree' read from the most
  // significant byte.
  static constexpr int32_t TREE_TYPE = 0x54726565;

  // All links null; destroys its children.
  ZoTreeNode();
  // Links null and destroyChildren copied; then every child of `other` is
  // duplicated in order, recursively, as a plain ZoTreeNode (whatever its
  // class) and appended.
  ZoTreeNode(ZoTreeNode const& other);
  // Copies the destroyChildren flag only (see the file comment).
  ZoTreeNode& operator=(ZoTreeNode const& other);
  // Destroys the children (through their virtual destructors) when
  // destroyChildren is exactly 1. Does not unlink this node from its parent.
  virtual ~ZoTreeNode();

  // The node's type code; a plain tree node answers TREE_TYPE.
  virtual int32_t Type() const { return TREE_TYPE; }
  // 1 when `t` is a type this node is (TREE_TYPE for a plain node), else 0.
  virtual int IsType(int32_t t) const { return t == TREE_TYPE ? 1 : 0; }

  ZoTreeNode* firstChild() const { return first; }
  ZoTreeNode* nextSibling() const { return next; }
  ZoTreeNode* parent() const { return up; }
  int32_t DestroysChildrenOnDestruct() const { return destroyChildren; }
  void DestroyChildrenOnDestruct(int32_t flag) { destroyChildren = flag; }

  // Makes `child` the last child: its parent becomes this node and its
  // sibling link null. The child must not be linked into a tree.
  void addChild(ZoTreeNode* child);
  // Links `child` so that it ends up at index `position` (0-based) among the
  // children: 0 or less makes it the first child; a position past the end
  // makes it the last; a node without children gets it as its only child.
  void insertChild(ZoTreeNode* child, int position);
  // Unlinks `child` from the children when it is one of them; in every case
  // its parent and sibling links become null. The child is not destroyed.
  void removeChild(ZoTreeNode* child);
  // 1 when `node` is a direct child, else 0 (0 for this node itself).
  int hasChild(ZoTreeNode const* node) const;
  // 1 when `node` is this node or lies anywhere below it, else 0.
  int hasDescendant(ZoTreeNode const* node) const;
  // The number of direct children; with a non-zero `type` only those whose
  // Type() equals it.
  int numChildren(int32_t type = 0) const;
  // The number of nodes in the subtree rooted here, this node included; with
  // a non-zero `type` only the nodes whose Type() equals it count, but the
  // walk still descends through the others.
  int treeSize(int32_t type = 0) const;

 private:
  ZoTreeNode* first;
  ZoTreeNode* next;
  ZoTreeNode* up;
  int32_t destroyChildren;
};

#endif
