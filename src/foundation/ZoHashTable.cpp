#include <zoactor/foundation/ZoHashTable.h>

#include <zoactor/foundation/ZoCallBack.h>

#include <cstddef>
#include <new>

namespace {

struct DictionaryEntry : ZoHashEntry {
  ZoString key;
};

struct IndexEntry : ZoHashEntry {
  uint32_t key = 0;
};

}  // namespace

ZoHashEntry::~ZoHashEntry() = default;

// --- ZoHashTable ------------------------------------------------------------

ZoHashTable::ZoHashTable(int initialBuckets) : buckets(nullptr), bucketCount(0), count(0) {
  Rehash(initialBuckets < 1 ? 1 : initialBuckets);
}

ZoHashTable::~ZoHashTable() {
  ClearItems(nullptr);
  delete[] buckets;
}

void* ZoHashTable::GetData(ZoHashEntry const* entry) const { return entry->data; }

void ZoHashTable::DeleteDataItem(ZoHashEntry* entry) { delete entry; }

ZoHashEntry* ZoHashTable::Search(void const* key, uint32_t hash) const {
  for (ZoHashEntry* entry = buckets[hash % static_cast<uint32_t>(bucketCount)]; entry != nullptr; entry = entry->next)
    if (entry->hash == hash && KeyMatches(entry, key)) return entry;
  return nullptr;
}

void ZoHashTable::Rehash(int32_t newBucketCount) {
  auto** fresh = new (std::nothrow) ZoHashEntry*[static_cast<size_t>(newBucketCount)]();
  if (fresh == nullptr) return;  // keep the old buckets: longer chains, still correct
  for (int32_t b = 0; b < bucketCount; ++b) {
    ZoHashEntry* entry = buckets[b];
    while (entry != nullptr) {
      ZoHashEntry* next = entry->next;
      uint32_t slot = entry->hash % static_cast<uint32_t>(newBucketCount);
      entry->next = fresh[slot];
      fresh[slot] = entry;
      entry = next;
    }
  }
  delete[] buckets;
  buckets = fresh;
  bucketCount = newBucketCount;
}

void ZoHashTable::Insert(ZoHashEntry* entry) {
  if (count >= 2 * bucketCount && bucketCount < (1 << 28)) Rehash(bucketCount * 2 + 1);
  uint32_t slot = entry->hash % static_cast<uint32_t>(bucketCount);
  entry->next = buckets[slot];
  buckets[slot] = entry;
  ++count;
}

ZoHashEntry* ZoHashTable::Unlink(void const* key, uint32_t hash) {
  ZoHashEntry** link = &buckets[hash % static_cast<uint32_t>(bucketCount)];
  for (ZoHashEntry* entry = *link; entry != nullptr; link = &entry->next, entry = entry->next) {
    if (entry->hash == hash && KeyMatches(entry, key)) {
      *link = entry->next;
      --count;
      return entry;
    }
  }
  return nullptr;
}

void* ZoHashTable::FindData(void const* key, uint32_t hash) const {
  ZoHashEntry* entry = Search(key, hash);
  return entry != nullptr ? GetData(entry) : nullptr;
}

void* ZoHashTable::RemoveData(void const* key, uint32_t hash) {
  ZoHashEntry* entry = Unlink(key, hash);
  if (entry == nullptr) return nullptr;
  void* datum = GetData(entry);
  DeleteDataItem(entry);
  return datum;
}

void ZoHashTable::Iterate(ZoCallBack& callBack) const {
  for (int32_t b = 0; b < bucketCount; ++b)
    for (ZoHashEntry* entry = buckets[b]; entry != nullptr; entry = entry->next)
      callBack.CallBack(const_cast<void*>(GetKey(entry)), GetData(entry), nullptr);
}

void ZoHashTable::ClearItems(ZoCallBack* callBack) {
  for (int32_t b = 0; b < bucketCount; ++b) {
    ZoHashEntry* entry = buckets[b];
    buckets[b] = nullptr;
    while (entry != nullptr) {
      ZoHashEntry* next = entry->next;
      if (callBack != nullptr) callBack->CallBack(GetData(entry));
      DeleteDataItem(entry);
      entry = next;
    }
  }
  count = 0;
}

// --- ZoDictionary -----------------------------------------------------------

ZoDictionary::ZoDictionary(int initialBuckets) : ZoHashTable(initialBuckets) {}

uint32_t ZoDictionary::HashKey(ZoString const& key) {
  // FNV-1a over the bytes of the text.
  uint32_t hash = 2166136261u;
  char const* chars = key.c_str();
  for (int32_t i = 0; i < key.Length(); ++i) {
    hash ^= static_cast<unsigned char>(chars[i]);
    hash *= 16777619u;
  }
  return hash;
}

void const* ZoDictionary::GetKey(ZoHashEntry const* entry) const {
  return &static_cast<DictionaryEntry const*>(entry)->key;
}

bool ZoDictionary::KeyMatches(ZoHashEntry const* entry, void const* key) const {
  return static_cast<DictionaryEntry const*>(entry)->key == *static_cast<ZoString const*>(key);
}

void* ZoDictionary::Add(ZoString const& key, void* datum) {
  auto* entry = new (std::nothrow) DictionaryEntry;
  if (entry == nullptr) return nullptr;
  entry->key = key;
  entry->hash = HashKey(key);
  entry->data = datum;
  Insert(entry);
  return datum;
}

void* ZoDictionary::Find(ZoString const& key) const { return FindData(&key, HashKey(key)); }

void* ZoDictionary::Delete(ZoString const& key) { return RemoveData(&key, HashKey(key)); }

void* ZoDictionary::Replace(ZoString const& key, void* datum) {
  ZoHashEntry* entry = Search(&key, HashKey(key));
  if (entry == nullptr) {
    Add(key, datum);
    return nullptr;
  }
  void* previous = entry->data;
  entry->data = datum;
  return previous;
}

// --- ZoIndex ----------------------------------------------------------------

ZoIndex::ZoIndex(int initialBuckets) : ZoHashTable(initialBuckets) {}

uint32_t ZoIndex::HashKey(uint32_t key) {
  // The finaliser of MurmurHash3: spreads neighbouring codes over the buckets.
  key ^= key >> 16;
  key *= 0x85EBCA6Bu;
  key ^= key >> 13;
  key *= 0xC2B2AE35u;
  key ^= key >> 16;
  return key;
}

void const* ZoIndex::GetKey(ZoHashEntry const* entry) const { return &static_cast<IndexEntry const*>(entry)->key; }

bool ZoIndex::KeyMatches(ZoHashEntry const* entry, void const* key) const {
  return static_cast<IndexEntry const*>(entry)->key == *static_cast<uint32_t const*>(key);
}

void* ZoIndex::Add(uint32_t key, void* datum) {
  auto* entry = new (std::nothrow) IndexEntry;
  if (entry == nullptr) return nullptr;
  entry->key = key;
  entry->hash = HashKey(key);
  entry->data = datum;
  Insert(entry);
  return datum;
}

void* ZoIndex::Find(uint32_t key) const { return FindData(&key, HashKey(key)); }

void* ZoIndex::Delete(uint32_t key) { return RemoveData(&key, HashKey(key)); }
