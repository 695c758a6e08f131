#include <zoactor/actor/ZoFSMSpaceToBhvr.h>

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <new>

using zostreamio::ReadValue;
using zostreamio::WriteValue;

ZoFSMSpaceToBhvr::ZoFSMSpaceToBhvr() = default;

ZoFSMSpaceToBhvr::ZoFSMSpaceToBhvr(ZoFSMSpaceToBhvr const& other)
    : ZoStreamObject(), spaceName(other.spaceName), active(other.active) {}

ZoFSMSpaceToBhvr& ZoFSMSpaceToBhvr::operator=(ZoFSMSpaceToBhvr const& other) {
  if (this != &other) {
    spaceName = other.spaceName;
    active = other.active;
  }
  return *this;
}

ZoFSMSpaceToBhvr::~ZoFSMSpaceToBhvr() = default;

void ZoFSMSpaceToBhvr::AddActiveBhvr(ZoString name) {
  if (IsActive(name) == 0) active.AppendString(name);
}

void ZoFSMSpaceToBhvr::RemoveActiveBhvr(ZoString name) {
  ZoDblListItem* node = active.FindString(name);
  if (node != nullptr) delete static_cast<ZoString*>(active.Delete(node));
}

int ZoFSMSpaceToBhvr::IsActive(ZoString name) const { return active.FindString(name) != nullptr ? 1 : 0; }

ZoStreamError ZoFSMSpaceToBhvr::ReadFromStream(ZoStream& stream) {
  if (ReadValue(stream, spaceName) != ZoStreamOk) return stream.Status();
  int32_t count = 0;
  // Each name is at least its length word.
  if (!stream.ReadLoopCount(count, 4, sizeof(ZoString))) return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    ZoString behavior;
    if (ReadValue(stream, behavior) != ZoStreamOk) break;
    if (active.AppendString(behavior) == nullptr) return zostreamio::OutOfMemory(stream);
  }
  return stream.Status();
}

ZoStreamError ZoFSMSpaceToBhvr::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, spaceName);
  WriteValue(stream, active.GetCount());
  ZoDblListItem* cursor = nullptr;
  for (void* item = active.GetFirst(cursor); item != nullptr && stream.Status() == ZoStreamOk;
       item = active.GetNext(cursor))
    WriteValue(stream, *static_cast<ZoString const*>(item));
  return stream.Status();
}

ZoStreamObject* ZoFSMSpaceToBhvr::Create() { return new (std::nothrow) ZoFSMSpaceToBhvr; }

static ZoStreamConstructorEntry const kRegisterFSMSpaceToBhvr(ZoTypeCode::FSMSpaceToBhvr, &ZoFSMSpaceToBhvr::Create);
