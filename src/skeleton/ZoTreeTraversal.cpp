#include <zoactor/skeleton/ZoTreeTraversal.h>

#include <algorithm>
#include <new>

namespace {

std::unique_ptr<ZoTreeNode*[]> NewSlots(int32_t n) {
  if (n <= 0) return nullptr;
  ZoTreeNode** slots = new (std::nothrow) ZoTreeNode*[static_cast<size_t>(n)]();
  return std::unique_ptr<ZoTreeNode*[]>(slots);
}

}  // namespace

ZoTreeTraversal::ZoTreeTraversal(int n) : count(0), capacity(0) {
  nodes = NewSlots(n);
  if (nodes != nullptr) count = capacity = n;
}

ZoTreeTraversal::ZoTreeTraversal(ZoTreeNode* root, int32_t type, int fill) : count(0), capacity(0) {
  if (root == nullptr) return;
  int32_t size = root->treeSize(type);
  nodes = NewSlots(size);
  if (nodes == nullptr) return;
  capacity = size;
  if (fill != 0) List(root, type);
}

ZoTreeTraversal::ZoTreeTraversal(ZoTreeTraversal const& other) : count(0), capacity(0) { *this = other; }

ZoTreeTraversal& ZoTreeTraversal::operator=(ZoTreeTraversal const& other) {
  if (this == &other) return *this;
  std::unique_ptr<ZoTreeNode*[]> copy = NewSlots(other.capacity);
  if (copy != nullptr) std::copy(other.nodes.get(), other.nodes.get() + other.capacity, copy.get());
  nodes = std::move(copy);
  capacity = nodes != nullptr ? other.capacity : 0;
  count = nodes != nullptr ? other.count : 0;
  return *this;
}

ZoTreeTraversal::~ZoTreeTraversal() = default;

int ZoTreeTraversal::nodeIndex(ZoTreeNode const* n) const {
  for (int32_t i = 0; i < count; ++i)
    if (nodes[i] == n) return i;
  return -1;
}

void ZoTreeTraversal::List(ZoTreeNode* at, int32_t type) {
  if ((type == 0 || at->Type() == type) && count < capacity) nodes[count++] = at;
  for (ZoTreeNode* c = at->firstChild(); c != nullptr; c = c->nextSibling()) List(c, type);
}
