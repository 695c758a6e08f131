#include <zoactor/foundation/ZoDblList.h>

#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoListItemInterface.h>

#include <new>

ZoDblList::ZoDblList() : first(nullptr), last(nullptr), count(0) {}

ZoDblList::ZoDblList(ZoDblList const& other) : ZoDblList() { ZoDblList::Copy(other); }

ZoDblList& ZoDblList::operator=(ZoDblList const& other) {
  if (this != &other) {
    ZoDblList::Clear();
    ZoDblList::Copy(other);
  }
  return *this;
}

ZoDblList::~ZoDblList() { ZoDblList::Clear(); }

ZoDblListItem* ZoDblList::NewNode(void* item) {
  if (item == nullptr) return nullptr;
  auto* node = new (std::nothrow) ZoDblListItem;
  if (node != nullptr) node->item = item;
  return node;
}

void ZoDblList::Link(ZoDblListItem* node, EnumListPosition position, ZoDblListItem* at) {
  // A null `at` is the outside position: before it is the end, after it the front.
  ZoDblListItem* prev;
  ZoDblListItem* next;
  if (at == nullptr) {
    prev = position == Before ? last : nullptr;
    next = position == Before ? nullptr : first;
  } else if (position == Before) {
    prev = at->prev;
    next = at;
  } else {
    prev = at;
    next = at->next;
  }
  node->prev = prev;
  node->next = next;
  if (prev != nullptr) prev->next = node; else first = node;
  if (next != nullptr) next->prev = node; else last = node;
  ++count;
}

void ZoDblList::Unlink(ZoDblListItem* node) {
  if (node->prev != nullptr) node->prev->next = node->next; else first = node->next;
  if (node->next != nullptr) node->next->prev = node->prev; else last = node->prev;
  --count;
}

ZoDblListItem* ZoDblList::Insert(void* item, EnumListPosition position, ZoDblListItem* node) {
  ZoDblListItem* fresh = NewNode(item);
  if (fresh != nullptr) Link(fresh, position, node);
  return fresh;
}

ZoDblListItem* ZoDblList::Prepend(void* const item) { return Insert(item, After, nullptr); }
ZoDblListItem* ZoDblList::Append(void* const item) { return Insert(item, Before, nullptr); }
ZoDblListItem* ZoDblList::Add(void* const item) { return Append(item); }

void ZoDblList::Merge(ZoDblList& other, EnumListPosition position, ZoDblListItem* node) {
  if (&other == this || other.first == nullptr) return;
  // Walk the other list in the order that keeps its items in sequence.
  ZoDblListItem* at = node;
  ZoDblListItem* moving = other.first;
  while (moving != nullptr) {
    ZoDblListItem* following = moving->next;
    other.Unlink(moving);
    Link(moving, position, at);
    if (position == After) at = moving;
    moving = following;
  }
}

void ZoDblList::Copy(ZoDblList const& other, ZoListItemInterface& iface) {
  for (ZoDblListItem* node = other.first; node != nullptr; node = node->next) Append(iface.CopyItem(node->item));
}

void ZoDblList::Copy(ZoDblList const& other, ZoCallBack& callBack) {
  for (ZoDblListItem* node = other.first; node != nullptr; node = node->next)
    if (Append(node->item) != nullptr) callBack.CallBack(node->item);
}

void ZoDblList::Copy(ZoDblList const& other) {
  if (&other == this) return;
  for (ZoDblListItem* node = other.first; node != nullptr; node = node->next) Append(node->item);
}

void* ZoDblList::GetFirst(ZoDblListItem*& cursor) const {
  cursor = first;
  return cursor != nullptr ? cursor->item : nullptr;
}

void* ZoDblList::GetNext(ZoDblListItem*& cursor) const {
  cursor = cursor != nullptr ? cursor->next : first;
  return cursor != nullptr ? cursor->item : nullptr;
}

void* ZoDblList::GetCurrent(ZoDblListItem*& cursor) const { return cursor != nullptr ? cursor->item : nullptr; }

void* ZoDblList::GetPrev(ZoDblListItem*& cursor) const {
  cursor = cursor != nullptr ? cursor->prev : last;
  return cursor != nullptr ? cursor->item : nullptr;
}

void* ZoDblList::GetLast(ZoDblListItem*& cursor) const {
  cursor = last;
  return cursor != nullptr ? cursor->item : nullptr;
}

void ZoDblList::Iterate(ZoListItemInterface& iface) const {
  for (ZoDblListItem* node = first; node != nullptr; node = node->next) iface.Visit(node->item);
}

void ZoDblList::Iterate(ZoCallBack& callBack) const {
  for (ZoDblListItem* node = first; node != nullptr; node = node->next) callBack.CallBack(node->item);
}

void* ZoDblList::DeleteFirst() {
  ZoDblListItem* node = first;
  return Delete(node);
}

void* ZoDblList::DeleteLast() {
  ZoDblListItem* node = last;
  return Delete(node);
}

void* ZoDblList::Delete(ZoDblListItem*& node) {
  if (node == nullptr) return nullptr;
  ZoDblListItem* doomed = node;
  void* item = doomed->item;
  node = doomed->prev;
  Unlink(doomed);
  delete doomed;
  return item;
}

void ZoDblList::Clear(ZoListItemInterface& iface) {
  for (ZoDblListItem* node = first; node != nullptr; node = node->next) iface.DestroyItem(node->item);
  ZoDblList::Clear();
}

void ZoDblList::Clear(ZoCallBack& callBack) {
  for (ZoDblListItem* node = first; node != nullptr; node = node->next) callBack.CallBack(node->item);
  ZoDblList::Clear();
}

void ZoDblList::Clear() {
  ZoDblListItem* node = first;
  while (node != nullptr) {
    ZoDblListItem* next = node->next;
    delete node;
    node = next;
  }
  first = last = nullptr;
  count = 0;
}

ZoDblListItem* ZoDblList::SearchStart(ZoDblListItem* start, int includeStart) const {
  if (start == nullptr) return first;
  return includeStart != 0 ? start : start->next;
}

ZoDblListItem* ZoDblList::Find(void* key, ZoDblListItem* start, int includeStart, ZoListItemInterface& iface) const {
  for (ZoDblListItem* node = SearchStart(start, includeStart); node != nullptr; node = node->next)
    if (iface.Matches(node->item, key) != 0) return node;
  return nullptr;
}

ZoDblListItem* ZoDblList::Find(void* key, ZoDblListItem* start, int includeStart, ZoCallBack& callBack) const {
  for (ZoDblListItem* node = SearchStart(start, includeStart); node != nullptr; node = node->next)
    if (callBack.CallBack(node->item, key) != 0) return node;
  return nullptr;
}

ZoDblListItem* ZoDblList::Find(void* item, ZoDblListItem* start, int includeStart) const {
  for (ZoDblListItem* node = SearchStart(start, includeStart); node != nullptr; node = node->next)
    if (node->item == item) return node;
  return nullptr;
}

ZoDblListItem* ZoDblList::Find(void* key, ZoListItemInterface& iface) const { return Find(key, nullptr, 1, iface); }
ZoDblListItem* ZoDblList::Find(void* key, ZoCallBack& callBack) const { return Find(key, nullptr, 1, callBack); }
ZoDblListItem* ZoDblList::Find(void* item) const { return Find(item, nullptr, 1); }
