#include <zoactor/actor/ZoProtoDB.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHookRecords.h>

namespace {

constexpr int kTableBuckets = 53;

// The key of a file: its base name (as SplitPath finds it), upper-cased,
// made with a single allocation since every look-up makes one.
ZoString FileKey(ZoString const& fileName) {
  char const* text = fileName.c_str();
  int32_t length = fileName.Length();
  char first = length > 0 ? text[0] : '\0';
  bool drive = length >= 2 && text[1] == ':' && ((first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z'));
  int32_t start = drive ? 2 : 0;
  for (int32_t i = start; i < length; ++i)
    if (text[i] == '\\' || text[i] == '/') start = i + 1;
  int32_t end = length;
  for (int32_t i = start; i < length; ++i)
    if (text[i] == '.') end = i;
  ZoString key(text + start, end - start);
  key.ToUpper();
  return key;
}

// The keys of the file names looked up last, so that asking again for a
// registered prototype by the same name allocates nothing. Used under the
// database's lock only.
class RecentKeys {
 public:
  ZoString const& KeyOf(ZoString const& fileName) {
    for (Entry const& entry : entries)
      if (entry.fileName.Length() == fileName.Length() && entry.fileName == fileName) return entry.key;
    Entry& slot = entries[next];
    next = (next + 1) % kEntries;
    slot.fileName = fileName;
    slot.key = FileKey(fileName);
    return slot.key;
  }

 private:
  static constexpr int kEntries = 8;
  struct Entry {
    ZoString fileName;
    ZoString key;
  };
  Entry entries[kEntries];
  int next = 0;
};

RecentKeys& Recent() {
  // Reachable for the process's life, like the table itself.
  static RecentKeys* recent = new RecentKeys;
  return *recent;
}

// The prototype the engine's hook supplies for `fileName`, or null.
ZoProtoActor* FromHook(ZoString const& fileName) {
  ZoHookLoadPrototypeRecord record{};
  record.fileName = &fileName;
  record.zero = 0;
  record.prototype = nullptr;
  if (ZoAiHookManager::Offer(ZoHookLoadPrototype, &record) <= 0) return nullptr;
  return record.prototype;
}

}  // namespace

ZoDictionary ZoProtoDB::protoTable(kTableBuckets);
ZoCriticalSection ZoProtoDB::csectDBLock;

int ZoProtoDBCB::CallBack(void* item) {
  auto* actor = static_cast<ZoProtoActor*>(item);
  actor->registered.store(0);
  actor->Release();
  return 1;
}

ZoProtoActor* ZoProtoDB::GetPrototype(ZoString fileName, int& status, int loadSkills) {
  ZoCriticalSectionLock hold(csectDBLock);
  ZoString key = Recent().KeyOf(fileName);
  if (auto* known = static_cast<ZoProtoActor*>(protoTable.Find(key))) {
    status = 0;
    return known;
  }
  status = 1;
  ZoProtoActor* actor = FromHook(fileName);
  if (actor == nullptr) {
    actor = ZoProtoActor::ReadActorFile(fileName);
    if (actor == nullptr) return nullptr;
    if (loadSkills != 0) actor->LoadAllSkills();
  }
  if (protoTable.Add(key, actor) == nullptr) {
    actor->Release();
    return nullptr;
  }
  actor->registered.store(1);
  return actor;
}

ZoRef<ZoProtoActor> ZoProtoDB::AcquirePrototype(ZoString fileName, int& status, int loadSkills) {
  ZoCriticalSectionLock hold(csectDBLock);
  return ZoRef<ZoProtoActor>::Share(GetPrototype(fileName, status, loadSkills));
}

int ZoProtoDB::PrototypeExists(ZoString name) {
  ZoCriticalSectionLock hold(csectDBLock);
  return protoTable.Find(name.Upper()) != nullptr ? 1 : 0;
}

int ZoProtoDB::AddPrototype(ZoProtoActor* actor) {
  if (actor == nullptr) return 0;
  ZoCriticalSectionLock hold(csectDBLock);
  ZoString key = actor->Name().Upper();
  if (protoTable.Find(key) != nullptr || protoTable.Add(key, actor) == nullptr) return 0;
  actor->registered.store(1);
  return 1;
}

int ZoProtoDB::RemovePrototype(ZoProtoActor* actor) {
  if (actor == nullptr) return 0;
  ZoCriticalSectionLock hold(csectDBLock);
  ZoString key = actor->Name().Upper();
  if (protoTable.Find(key) != actor) return 0;
  actor->registered.store(0);
  protoTable.Delete(key);
  actor->Release();
  return 1;
}

int ZoProtoDB::RemoveAllPrototypes() {
  ZoCriticalSectionLock hold(csectDBLock);
  ZoProtoDBCB release;
  protoTable.ClearItems(&release);
  return 1;
}

ZoString ZoProtoDB::UniqueName(ZoString name) {
  ZoCriticalSectionLock hold(csectDBLock);
  if (protoTable.Find(name.Upper()) == nullptr) return name;
  for (int n = 1;; ++n) {
    ZoString candidate(name);
    candidate << " " << n;
    if (protoTable.Find(candidate.Upper()) == nullptr) return candidate;
  }
}
