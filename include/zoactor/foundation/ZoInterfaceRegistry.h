// ZoInterfaceRegistry: the process-wide table of engine interfaces by name.
// The hosting engine registers its objects; the library looks them up. Names
// match exactly. The registry does not own or reference-count what it holds.
// All operations are safe to call from several threads.
#ifndef ZOACTOR_FOUNDATION_ZOINTERFACEREGISTRY_H
#define ZOACTOR_FOUNDATION_ZOINTERFACEREGISTRY_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

class ZoAi;

class ZOACTOR_API ZoInterfaceRegistry {
 public:
  // Registers `object` under `name`, replacing any earlier registration.
  // Returns 0 for an empty name or a null object, else 1.
  static int Register(ZoString const& name, ZoAi* object);
  // Removes the registration of `name`; 1 when there was one.
  static int Unregister(ZoString const& name);
  // Non-zero, with `*result` set to a borrowed pointer (no reference taken),
  // when an object is registered under `name`; 0 otherwise (`*result` null).
  static int GetInterface(ZoString const& name, ZoAi** result);
};

#endif
