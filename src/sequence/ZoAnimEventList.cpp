#include <zoactor/sequence/ZoAnimEventList.h>

#include <zoactor/serialization/ZoStream.h>

ZoAnimEventList::ZoAnimEventList() = default;

ZoAnimEventList::ZoAnimEventList(ZoAnimEventList const& other) : ZoDblList(), ZoStreamObject(other) {
  CopyEvents(other);
}

ZoAnimEventList& ZoAnimEventList::operator=(ZoAnimEventList const& other) {
  if (this != &other) {
    Clear();
    CopyEvents(other);
  }
  return *this;
}

ZoAnimEventList::~ZoAnimEventList() { ZoAnimEventList::Clear(); }

void ZoAnimEventList::CopyEvents(ZoAnimEventList const& other) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.GetFirst(cursor); item != nullptr; item = other.GetNext(cursor))
    AddEvent(new ZoAnimEvent(*static_cast<ZoAnimEvent const*>(item)));
}

int ZoAnimEventList::AddEvent(ZoAnimEvent const* event) {
  if (event == nullptr) return 0;
  // The list owns its events; it holds them as plain item pointers.
  auto* owned = const_cast<ZoAnimEvent*>(event);
  if (Insert(owned, After, last) == nullptr) {
    delete owned;
    return 0;
  }
  return 1;
}

void ZoAnimEventList::Clear() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) delete static_cast<ZoAnimEvent*>(item);
  ZoDblList::Clear();
}

ZoStreamError ZoAnimEventList::ReadFromStream(ZoStream& stream) {
  return stream.Fail(ZoStreamReadError, "event lists are written, never read back");
}

ZoStreamError ZoAnimEventList::WriteToStream(ZoStream& stream) const {
  stream << GetCount();
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr && stream.Status() == ZoStreamOk; item = GetNext(cursor))
    stream << *static_cast<ZoAnimEvent const*>(item);
  return stream.Status();
}
