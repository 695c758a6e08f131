#include <zoactor/sequence/ZoActorRecordList.h>

ZoActorRecordList::ZoActorRecordList() = default;

ZoActorRecordList::ZoActorRecordList(ZoActorRecordList const& other) : ZoDblList() { CopyRecords(other); }

ZoActorRecordList& ZoActorRecordList::operator=(ZoActorRecordList const& other) {
  if (this != &other) {
    Clear();
    CopyRecords(other);
  }
  return *this;
}

ZoActorRecordList::~ZoActorRecordList() { ZoActorRecordList::Clear(); }

void ZoActorRecordList::CopyRecords(ZoActorRecordList const& other) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.GetFirst(cursor); item != nullptr; item = other.GetNext(cursor))
    AddRecord(new ZoActorRecord(*static_cast<ZoActorRecord const*>(item)));
}

int ZoActorRecordList::AddRecord(ZoActorRecord const* record) {
  if (record == nullptr) return 0;
  // The list owns its records; it holds them as plain item pointers.
  auto* owned = const_cast<ZoActorRecord*>(record);
  if (Insert(owned, After, last) == nullptr) {
    delete owned;
    return 0;
  }
  return 1;
}

ZoActorRecord* ZoActorRecordList::Contains(ZoString const& name) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) {
    auto* record = static_cast<ZoActorRecord*>(item);
    if (record->Name() == name) return record;
  }
  return nullptr;
}

ZoActorRecord* ZoActorRecordList::Contains(ZoProtoActor const* actor) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) {
    auto* record = static_cast<ZoActorRecord*>(item);
    if (record->Actor() == actor) return record;
  }
  return nullptr;
}

void ZoActorRecordList::Clear() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) delete static_cast<ZoActorRecord*>(item);
  ZoDblList::Clear();
}
