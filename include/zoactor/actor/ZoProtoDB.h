// ZoProtoDB: the process-wide registry of actor prototypes. It loads each
// actor file once (or lets the engine's hook supply the prototype), files
// it under the upper-cased base name of the file, and hands the same
// prototype to every later request. It also registers prototypes made in
// memory (under their upper-cased actor name), renames them through
// ZoProtoActor::SetName, and releases them. All state is static; one
// re-entrant lock, csectDBLock, is held for the whole of every operation,
// including the file load, the hook call and the loading of skills.
//
// References: the database holds one reference per registered prototype.
// GetPrototype hands out that prototype without adding a reference; a
// caller that keeps it, or that shares the database with threads that may
// remove it, takes its own with AcquirePrototype (or AddRef under the lock).
//
// Edge cases:
// - GetPrototype reports status 1 when the hook supplies the prototype, as
//   when it is read from the file; a hook that answers above 0 without a
//   prototype counts as not answering.
// - RemoveAllPrototypes clears each actor's registered flag before releasing
//   it. Prototypes still registered when the library unloads are not
//   released (the process is ending).
// - RemovePrototype and renaming find a prototype by its actor name, so one
//   loaded from a file is found again only when its name matches its file's
//   base name (ignoring case), as saved actor folders do.
#ifndef ZOACTOR_ACTOR_ZOPROTODB_H
#define ZOACTOR_ACTOR_ZOPROTODB_H

#include <zoactor/ZoExport.h>
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoCriticalSection.h>
#include <zoactor/foundation/ZoHashTable.h>
#include <zoactor/foundation/ZoString.h>

#include <cstdint>

// Releases each prototype the database lets go of in RemoveAllPrototypes.
class ZOACTOR_API ZoProtoDBCB : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  // Clears the actor's registered flag, releases it and returns 1.
  int CallBack(void* actor) override;
};

class ZOACTOR_API ZoProtoDB {
 public:
  // Upper-cased name → ZoProtoActor*; 53 buckets to start with.
  static ZoDictionary protoTable;
  // Guards protoTable; held for the whole of every operation.
  static ZoCriticalSection csectDBLock;

  // The prototype filed under the upper-cased base name of `fileName`
  // (status 0); otherwise the one the engine's hook supplies for request
  // 0x4F725061 or, failing that, the actor file read with its skills when
  // `loadSkills` is non-zero (status 1), registered and returned. Null with
  // status 1 when the file cannot be read. No reference is added.
  static ZoProtoActor* GetPrototype(ZoString fileName, int& status, int loadSkills);
  // GetPrototype with a reference of the caller's own, taken under the lock.
  static ZoRef<ZoProtoActor> AcquirePrototype(ZoString fileName, int& status, int loadSkills);
  // 1 when the upper-cased name is registered, else 0.
  static int PrototypeExists(ZoString name);
  // Registers `actor` under its upper-cased name, taking over the caller's
  // reference; 0 (nothing taken) when the name is registered or `actor` is
  // null.
  static int AddPrototype(ZoProtoActor* actor);
  // When `actor` is registered under its upper-cased name: unregisters and
  // releases it (which may destroy it) and returns 1; otherwise 0.
  static int RemovePrototype(ZoProtoActor* actor);
  // Unregisters and releases every prototype; returns 1.
  static int RemoveAllPrototypes();
  // `name` when no prototype bears it (ignoring case), otherwise the first
  // of "name 1", "name 2", ... that none bears.
  static ZoString UniqueName(ZoString name);
};

#endif
