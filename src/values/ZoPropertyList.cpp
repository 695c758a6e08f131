#include <zoactor/values/ZoPropertyList.h>

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <new>

namespace {

// The smallest property body: an empty name and the null marker (or, in the
// oldest layout, a kind and an empty name).
constexpr uint32_t kMinPropertyBody = 8;

ZoProperty* PropertyOf(void* item) { return static_cast<ZoProperty*>(item); }

}  // namespace

// --- Reordering without allocation ------------------------------------------

void ZoPropertyList::Items::MoveToFront(ZoDblListItem* node) {
  void* moving = node->Item();
  for (ZoDblListItem* at = node; at != first; at = at->Prev()) SetItem(at, at->Prev()->Item());
  SetItem(first, moving);
}

void ZoPropertyList::Items::MoveToEnd(ZoDblListItem* node) {
  void* moving = node->Item();
  for (ZoDblListItem* at = node; at != last; at = at->Next()) SetItem(at, at->Next()->Item());
  SetItem(last, moving);
}

// --- ZoPropertyList ---------------------------------------------------------

ZoPropertyList::ZoPropertyList() = default;

ZoPropertyList::ZoPropertyList(ZoPropertyList const& other) : ZoPropertySet(other) { CopyFrom(other); }

ZoPropertyList& ZoPropertyList::operator=(ZoPropertyList const& other) {
  if (this != &other) {
    DeleteAll();
    CopyFrom(other);
  }
  return *this;
}

ZoPropertyList::~ZoPropertyList() { ZoPropertyList::DeleteAll(); }

void ZoPropertyList::CopyFrom(ZoPropertyList const& other) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.list.GetFirst(cursor); item != nullptr; item = other.list.GetNext(cursor)) {
    auto* copy = new (std::nothrow) ZoProperty(*PropertyOf(item));
    if (copy != nullptr && list.Append(copy) == nullptr) delete copy;
  }
}

ZoDblListItem* ZoPropertyList::NodeOf(ZoString const& name) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor))
    if (PropertyOf(item)->Name() == name) return cursor;
  return nullptr;
}

int ZoPropertyList::Add(ZoProperty const* property) {
  if (property == nullptr || NodeOf(property->Name()) != nullptr) return 0;
  return list.Append(const_cast<ZoProperty*>(property)) != nullptr ? 1 : 0;
}

int ZoPropertyList::Add(ZoProperty const& property) {
  auto* copy = new (std::nothrow) ZoProperty(property);
  if (copy == nullptr) return 0;
  if (Add(copy) == 0) {
    delete copy;
    return 0;
  }
  return 1;
}

ZoProperty* ZoPropertyList::Find(ZoString const& name) const {
  ZoDblListItem* node = NodeOf(name);
  if (node == nullptr) return nullptr;
  ZoProperty* found = PropertyOf(node->Item());
  list.MoveToFront(node);
  return found;
}

ZoProperty* ZoPropertyList::Delete(ZoString const& name) {
  ZoDblListItem* node = NodeOf(name);
  return node != nullptr ? PropertyOf(list.Delete(node)) : nullptr;
}

void ZoPropertyList::DeleteAll() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor)) delete PropertyOf(item);
  list.Clear();
}

void ZoPropertyList::Replace(ZoProperty* property) {
  if (property == nullptr) return;
  ZoProperty* found = Find(property->Name());
  if (found == property) return;
  // A list read with duplicate names may hold `property` behind the one
  // found: unlink it there so that it is held once.
  ZoDblListItem* held = list.Find(static_cast<void*>(property));
  if (held != nullptr) list.Delete(held);
  if (found == nullptr) {
    if (list.Append(property) == nullptr) delete property;
    return;
  }
  // Find moved the old property to the front: its node takes the new one,
  // which then moves to the end.
  ZoDblListItem* front = nullptr;
  list.GetFirst(front);
  delete found;
  list.Put(front, property);
  list.MoveToEnd(front);
}

void ZoPropertyList::Replace(ZoProperty const& property) {
  auto* copy = new (std::nothrow) ZoProperty(property);
  if (copy != nullptr) Replace(copy);
}

void ZoPropertyList::Iterate(ZoCallBack& callBack) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor))
    callBack.CallBack(nullptr, item, nullptr);
}

void ZoPropertyList::GetPropertyNames(ZoStringList& names, int sort) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor))
    names.AppendString(PropertyOf(item)->Name());
  if (sort != 0) names.Sort(1);
}

ZoStreamError ZoPropertyList::ReadFromStream(ZoStream& stream) {
  int32_t propertyCount = 0;
  if (!stream.ReadLoopCount(propertyCount, kMinPropertyBody)) return stream.Status();
  for (int32_t i = 0; i < propertyCount; ++i) {
    auto* property = new (std::nothrow) ZoProperty;
    if (property == nullptr) {
      zostreamio::OutOfMemory(stream, ZoStreamFormatError);
      break;
    }
    stream >> *property;
    if (stream.Status() != ZoStreamOk || property->Value() == nullptr || list.Append(property) == nullptr) {
      delete property;
      if (stream.Status() != ZoStreamOk) break;
    }
  }
  return stream.Status();
}

ZoStreamError ZoPropertyList::WriteToStream(ZoStream& stream) const {
  stream << list.GetCount();
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor)) stream << *PropertyOf(item);
  return stream.Status();
}

ZoStreamObject* ZoPropertyList::Create() { return new (std::nothrow) ZoPropertyList; }

static ZoStreamConstructorEntry const kRegisterPropertyList(ZoTypeCode::PropertyList, &ZoPropertyList::Create);
