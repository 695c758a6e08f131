#include <zoactor/sequence/ZoActorRecord.h>

ZoActorRecord::ZoActorRecord(ZoProtoActor* recordActor, ZoString const& recordName)
    : actor(recordActor), name(recordName) {}
