// Chained hash tables: ZoHashTable is the base, ZoDictionary keys by
// ZoString (case-sensitive), ZoIndex by 32-bit unsigned integer. Each entry
// stores one `void*` datum which the table never owns.
//
// The bucket count given at construction is the initial one: when the table
// holds more than twice as many entries as buckets it rehashes into about
// twice as many, so look-ups stay amortised constant however many entries
// are added. Iteration order is the table's own and changes on rehash.
#ifndef ZOACTOR_FOUNDATION_ZOHASHTABLE_H
#define ZOACTOR_FOUNDATION_ZOHASHTABLE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

#include <cstdint>

class ZoCallBack;

// One entry of a chain. Derived tables extend it with their key.
struct ZOACTOR_API ZoHashEntry {
  virtual ~ZoHashEntry();
  ZoHashEntry* next = nullptr;
  uint32_t hash = 0;
  void* data = nullptr;
};

class ZOACTOR_API ZoHashTable {
 public:
  explicit ZoHashTable(int buckets);
  // Frees the entries; the data are not touched.
  virtual ~ZoHashTable();
  ZoHashTable(ZoHashTable const&) = delete;
  ZoHashTable& operator=(ZoHashTable const&) = delete;

  // Calls the three-pointer `callBack.CallBack(key, datum, nullptr)` once per
  // entry, where `key` points at the entry's key (a ZoString for a
  // dictionary, a uint32_t for an index). The table must not be changed
  // from inside the callback.
  void Iterate(ZoCallBack& callBack) const;
  // Removes every entry, first calling `callBack->CallBack(datum)` on each
  // datum when a callback is given.
  void ClearItems(ZoCallBack* callBack);

  int32_t GetCount() const { return count; }
  int32_t GetBucketCount() const { return bucketCount; }

 protected:
  // The key of an entry, as handed to Iterate.
  virtual void const* GetKey(ZoHashEntry const* entry) const = 0;
  // The datum of an entry.
  virtual void* GetData(ZoHashEntry const* entry) const;
  // True when `entry` holds `key`.
  virtual bool KeyMatches(ZoHashEntry const* entry, void const* key) const = 0;
  // The entry holding `key` (whose hash is `hash`), or null.
  virtual ZoHashEntry* Search(void const* key, uint32_t hash) const;
  // Frees an entry that has been unlinked.
  virtual void DeleteDataItem(ZoHashEntry* entry);

  // Links a new entry whose `hash` is set; grows the table when needed.
  void Insert(ZoHashEntry* entry);
  // Unlinks the entry holding `key` and returns it, or null.
  ZoHashEntry* Unlink(void const* key, uint32_t hash);
  // The datum stored under `key`, or null.
  void* FindData(void const* key, uint32_t hash) const;
  // Removes the entry holding `key` and returns its datum, or null.
  void* RemoveData(void const* key, uint32_t hash);

 private:
  void Rehash(int32_t newBucketCount);

  ZoHashEntry** buckets;
  int32_t bucketCount;
  int32_t count;
};

// A hash table keyed by ZoString, compared case-sensitively; callers
// upper-case keys that must match without regard to case.
class ZOACTOR_API ZoDictionary : public ZoHashTable {
 public:
  explicit ZoDictionary(int buckets);

  // Adds `key` → `datum`. The caller makes sure the key is not present yet
  // (a second entry under the same key would shadow nothing: Find returns
  // the newer one). Returns `datum`, or null when no memory could be had.
  void* Add(ZoString const& key, void* datum);
  // The datum stored under `key`, or null.
  void* Find(ZoString const& key) const;
  // Removes the entry and returns its datum, or null when there was none.
  void* Delete(ZoString const& key);
  // Stores `datum` under `key` in place of any earlier datum and returns the
  // earlier one, or null when there was none.
  void* Replace(ZoString const& key, void* datum);

  static uint32_t HashKey(ZoString const& key);

 protected:
  void const* GetKey(ZoHashEntry const* entry) const override;
  bool KeyMatches(ZoHashEntry const* entry, void const* key) const override;
};

// A hash table keyed by 32-bit unsigned integers (type codes, ids).
class ZOACTOR_API ZoIndex : public ZoHashTable {
 public:
  explicit ZoIndex(int buckets);

  // Adds `key` → `datum`; returns `datum`, or null when no memory could be had.
  void* Add(uint32_t key, void* datum);
  void* Find(uint32_t key) const;
  void* Delete(uint32_t key);

  static uint32_t HashKey(uint32_t key);

 protected:
  void const* GetKey(ZoHashEntry const* entry) const override;
  bool KeyMatches(ZoHashEntry const* entry, void const* key) const override;
};

#endif
