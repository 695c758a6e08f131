#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <zoactor/foundation/ZoHashTable.h>

#include <new>

namespace {

// Function pointers are kept in small records so the index can hold them as
// data pointers.
struct Registration {
  ZoStreamCreateFunction create;
};

constexpr int kRegistryBuckets = 53;

// The registry is created by the first registration and lives until the
// process ends (it is reachable from here, so it never counts as a leak).
ZoIndex* gRegistry = nullptr;

ZoIndex* Registry(bool create) {
  if (gRegistry == nullptr && create) gRegistry = new (std::nothrow) ZoIndex(kRegistryBuckets);
  return gRegistry;
}

}  // namespace

ZoStreamConstructorEntry::ZoStreamConstructorEntry(int32_t type, ZoStreamCreateFunction create) {
  ZoIndex* registry = Registry(true);
  if (registry == nullptr) return;
  delete static_cast<Registration*>(registry->Delete(static_cast<uint32_t>(type)));
  if (create == nullptr) return;
  auto* registration = new (std::nothrow) Registration{create};
  if (registration != nullptr) registry->Add(static_cast<uint32_t>(type), registration);
}

ZoStreamCreateFunction ZoStreamConstructorEntry::Find(int32_t type) {
  ZoIndex* registry = Registry(false);
  if (registry == nullptr) return nullptr;
  auto* registration = static_cast<Registration*>(registry->Find(static_cast<uint32_t>(type)));
  return registration != nullptr ? registration->create : nullptr;
}
