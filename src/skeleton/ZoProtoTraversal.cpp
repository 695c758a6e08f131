#include <zoactor/skeleton/ZoProtoTraversal.h>

#include <zoactor/skeleton/ZoProtoNode.h>

#include <algorithm>
#include <new>

namespace {

std::unique_ptr<ZoProtoNode*[]> NewSlots(int32_t n) {
  if (n <= 0) return nullptr;
  return std::unique_ptr<ZoProtoNode*[]>(new (std::nothrow) ZoProtoNode*[static_cast<size_t>(n)]());
}

}  // namespace

ZoProtoTraversal::ZoProtoTraversal(ZoProtoNode* root, int32_t style) : count(0), capacity(0) {
  if (root == nullptr) return;
  int32_t size = root->treeSize(0);
  nodes = NewSlots(size);
  if (nodes == nullptr) return;
  capacity = size;
  List(root, style);
}

ZoProtoTraversal::ZoProtoTraversal(ZoProtoTraversal const& other) : count(0), capacity(0) { *this = other; }

ZoProtoTraversal& ZoProtoTraversal::operator=(ZoProtoTraversal const& other) {
  if (this == &other) return *this;
  std::unique_ptr<ZoProtoNode*[]> copy = NewSlots(other.capacity);
  if (copy != nullptr) std::copy(other.nodes.get(), other.nodes.get() + other.capacity, copy.get());
  nodes = std::move(copy);
  capacity = nodes != nullptr ? other.capacity : 0;
  count = nodes != nullptr ? other.count : 0;
  return *this;
}

ZoProtoTraversal::~ZoProtoTraversal() = default;

void ZoProtoTraversal::List(ZoProtoNode* at, int32_t style) {
  if ((style == 0 || at->Style() == style) && count < capacity) nodes[count++] = at;
  // Children of a proto node are proto nodes in every skeleton the library
  // builds; any other tree node is skipped with its subtree.
  for (ZoTreeNode* c = at->firstChild(); c != nullptr; c = c->nextSibling())
    if (c->IsType(ZoProtoNode::NODE_TYPE)) List(static_cast<ZoProtoNode*>(c), style);
}

int ZoProtoTraversal::NodeIndex(ZoProtoNode const* node) const {
  for (int32_t i = 0; i < count; ++i)
    if (nodes[i] == node) return i;
  return -1;
}

int ZoProtoTraversal::IndexWithName(ZoString name) const {
  ZoString wanted = name.Upper();
  for (int32_t i = 0; i < count; ++i)
    if (nodes[i]->Name().Upper() == wanted) return i;
  return -1;
}

ZoProtoNode* ZoProtoTraversal::NodeWithName(ZoString name) const {
  int i = IndexWithName(name);
  return i < 0 ? nullptr : nodes[i];
}

ZoString ZoProtoTraversal::UniqueNameWithPrefix(ZoString prefix) const {
  if (IndexWithName(prefix) == -1) return prefix;
  // At most NumNodes() names can be taken, so one of the first
  // NumNodes() + 1 candidates is free.
  for (int n = 1;; ++n) {
    ZoString candidate = prefix + ZoString(n);
    if (IndexWithName(candidate) == -1) return candidate;
  }
}
