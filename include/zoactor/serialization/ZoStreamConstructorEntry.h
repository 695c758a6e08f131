// ZoStreamConstructorEntry: the registry from type codes to creation
// functions through which ZoStream::ReadObject creates objects. The library
// registers its classes with static entries while it is loaded, so the
// registry is complete before any caller reads a stream; clients register
// further codes, or replace the library's, the same way. The registry is
// filled during load and only read afterwards; it is not locked.
#ifndef ZOACTOR_SERIALIZATION_ZOSTREAMCONSTRUCTORENTRY_H
#define ZOACTOR_SERIALIZATION_ZOSTREAMCONSTRUCTORENTRY_H

#include <zoactor/ZoExport.h>

#include <cstdint>

class ZoStreamObject;

// Returns a new default-constructed object, or null when none could be made.
using ZoStreamCreateFunction = ZoStreamObject* (*)();

class ZOACTOR_API ZoStreamConstructorEntry {
 public:
  // Removes any registration of `type`, then registers `create` under it
  // when `create` is not null. Registering a code again therefore replaces
  // its creation function, and registering null removes it.
  ZoStreamConstructorEntry(int32_t type, ZoStreamCreateFunction create);

  // The creation function registered under `type`, or null.
  static ZoStreamCreateFunction Find(int32_t type);
};

#endif
