// Engine interfaces. ZoAi is the base of the objects of the engine that hosts
// the library: the library stores ZoAi pointers as user data, hands them back
// unchanged and calls Release when their owner is destroyed.
// ZoAiHookManager is the engine object through which the library offers some
// of its work (opening files, building sphere trees, loading actors) to the
// engine first; the engine registers it under "ZoAiHookManager" with
// ZoInterfaceRegistry::Register.
#ifndef ZOACTOR_FOUNDATION_ZOAI_H
#define ZOACTOR_FOUNDATION_ZOAI_H

#include <zoactor/ZoExport.h>

#include <cstdint>

class ZOACTOR_API ZoAi {
 public:
  // Copies the interface's name into `buffer` (at most `size` bytes, with
  // its terminator) and its version into `major` and `minor`; returns the
  // length of the name.
  virtual int GetInterfaceName(char* buffer, int size, int& major, int& minor) = 0;
  // Takes one reference; returns the new count.
  virtual int32_t AddRef() = 0;
  // Drops one reference; the object destroys itself at zero. Returns the new count.
  virtual int32_t Release() = 0;

 protected:
  // Objects are released, not deleted through this base.
  virtual ~ZoAi();
};

class ZOACTOR_API ZoAiHookManager : public ZoAi {
 public:
  // The name under which the engine registers its hook manager.
  static char const* const INTERFACE_NAME;

  // Handles request `code` with the request record at `record` (one of the
  // ZoHook...Record structs). A result above 0 means the manager did the work
  // and filled the record's outputs; the library then skips its own.
  virtual int32_t HandleRequest(int32_t code, void* record) = 0;

  // Looks the hook manager up afresh and offers it the request. Returns the
  // manager's result, or 0 when no manager is registered. The library keeps
  // no pointer to the manager and never releases it.
  static int32_t Offer(int32_t code, void* record);

 protected:
  ~ZoAiHookManager() override;
};

#endif
