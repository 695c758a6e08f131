// The request codes that the library offers to the engine's hook manager and
// the record each one passes. Every record starts with four reserved words
// that the library never sets.
#ifndef ZOACTOR_FOUNDATION_ZOHOOKRECORDS_H
#define ZOACTOR_FOUNDATION_ZOHOOKRECORDS_H

#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoString.h>

#include <cstdint>

class ZoColModel;
class ZoProtoActor;

enum ZoHookRequest : int32_t {
  ZoHookOpenFile = 31,                 // a file stream is about to open a file by name
  ZoHookUpdateSphereTree = 36,         // a collision model is about to build its sphere tree
  ZoHookDeleteSphereTree = 37,         // a collision model is about to delete its sphere tree
  ZoHookLoadPrototype = 0x4F725061     // the prototype database is about to load an actor file
};

// Request 31. When the manager answers above 0, `handle` is the opened file,
// which the stream then owns and closes.
struct ZoHookOpenFileRecord {
  uint32_t reserved[4];
  ZoFileHandle handle;       // out: the opened file
  ZoString const* fileName;  // in: the name as given to the stream
  int32_t mode;              // in: the ZoFileMode (0 read, 1 write)
};

// Requests 36 and 37: the collision model concerned.
struct ZoHookSphereTreeRecord {
  uint32_t reserved[4];
  ZoColModel* model;
};

// Request 0x4F725061. When the manager answers above 0, `prototype` is the
// actor it supplies, with one reference that becomes the database's.
struct ZoHookLoadPrototypeRecord {
  uint32_t reserved[4];
  ZoString const* fileName;  // in: the name as given to the database
  int32_t zero;              // in: always 0
  ZoProtoActor* prototype;   // out
};

#endif
