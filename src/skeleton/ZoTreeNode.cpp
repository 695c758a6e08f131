#include <zoactor/skeleton/ZoTreeNode.h>

#include <new>

ZoTreeNode::ZoTreeNode() : first(nullptr), next(nullptr), up(nullptr), destroyChildren(1) {}

ZoTreeNode::ZoTreeNode(ZoTreeNode const& other)
    : first(nullptr), next(nullptr), up(nullptr), destroyChildren(other.destroyChildren) {
  // Appending walks the list each time; keep the tail instead and link
  // behind it, which gives the same list.
  ZoTreeNode* tail = nullptr;
  for (ZoTreeNode* c = other.first; c != nullptr; c = c->next) {
    ZoTreeNode* copy = new (std::nothrow) ZoTreeNode(*c);
    if (copy == nullptr) break;
    copy->up = this;
    if (tail == nullptr) {
      first = copy;
    } else {
      tail->next = copy;
    }
    tail = copy;
  }
}

ZoTreeNode& ZoTreeNode::operator=(ZoTreeNode const& other) {
  destroyChildren = other.destroyChildren;
  return *this;
}

ZoTreeNode::~ZoTreeNode() {
  if (destroyChildren != 1) return;
  ZoTreeNode* c = first;
  while (c != nullptr) {
    ZoTreeNode* following = c->next;
    delete c;
    c = following;
  }
}

void ZoTreeNode::addChild(ZoTreeNode* child) {
  if (child == nullptr) return;
  child->up = this;
  child->next = nullptr;
  if (first == nullptr) {
    first = child;
    return;
  }
  ZoTreeNode* last = first;
  while (last->next != nullptr) last = last->next;
  last->next = child;
}

void ZoTreeNode::insertChild(ZoTreeNode* child, int position) {
  if (child == nullptr) return;
  child->up = this;
  if (position <= 0 || first == nullptr) {
    child->next = first;
    first = child;
    return;
  }
  ZoTreeNode* at = first;
  for (int step = 1; step < position && at->next != nullptr; ++step) at = at->next;
  child->next = at->next;
  at->next = child;
}

void ZoTreeNode::removeChild(ZoTreeNode* child) {
  if (child == nullptr) return;
  if (first == child) {
    first = child->next;
  } else {
    for (ZoTreeNode* c = first; c != nullptr; c = c->next) {
      if (c->next == child) {
        c->next = child->next;
        break;
      }
    }
  }
  child->next = nullptr;
  child->up = nullptr;
}

int ZoTreeNode::hasChild(ZoTreeNode const* node) const {
  for (ZoTreeNode const* c = first; c != nullptr; c = c->next)
    if (c == node) return 1;
  return 0;
}

int ZoTreeNode::hasDescendant(ZoTreeNode const* node) const {
  if (node == this) return 1;
  for (ZoTreeNode const* c = first; c != nullptr; c = c->next)
    if (c->hasDescendant(node)) return 1;
  return 0;
}

int ZoTreeNode::numChildren(int32_t type) const {
  int count = 0;
  for (ZoTreeNode const* c = first; c != nullptr; c = c->next)
    if (type == 0 || c->Type() == type) ++count;
  return count;
}

int ZoTreeNode::treeSize(int32_t type) const {
  int count = (type == 0 || Type() == type) ? 1 : 0;
  for (ZoTreeNode const* c = first; c != nullptr; c = c->next) count += c->treeSize(type);
  return count;
}
