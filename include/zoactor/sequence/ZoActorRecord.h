// ZoActorRecord: one actor of a recorded sequence: its prototype (borrowed,
// never released by the record) and its name in the sequence, which names
// its motion file.
#ifndef ZOACTOR_SEQUENCE_ZOACTORRECORD_H
#define ZOACTOR_SEQUENCE_ZOACTORRECORD_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>

class ZoProtoActor;

class ZOACTOR_API ZoActorRecord {
 public:
  ZoActorRecord(ZoProtoActor* actor, ZoString const& name);
  ZoActorRecord(ZoActorRecord const& other) = default;
  ZoActorRecord& operator=(ZoActorRecord const& other) = default;
  ~ZoActorRecord() = default;

  ZoProtoActor* Actor() const { return actor; }
  ZoString const& Name() const { return name; }

 private:
  ZoProtoActor* actor;
  ZoString name;
};

#endif
