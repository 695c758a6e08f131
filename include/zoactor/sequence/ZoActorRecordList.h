// ZoActorRecordList: the actors of a recorded sequence, in the order they
// were added. The list owns its records (ZoActorRecord*), not the
// prototypes they point to.
#ifndef ZOACTOR_SEQUENCE_ZOACTORRECORDLIST_H
#define ZOACTOR_SEQUENCE_ZOACTORRECORDLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/sequence/ZoActorRecord.h>

class ZoProtoActor;

class ZOACTOR_API ZoActorRecordList : public ZoDblList {
 public:
  ZoActorRecordList();
  // Deep copies: each record is copied (the prototypes are shared).
  ZoActorRecordList(ZoActorRecordList const& other);
  ZoActorRecordList& operator=(ZoActorRecordList const& other);
  // Destroys every record.
  ~ZoActorRecordList() override;

  // Appends `record`, which the list takes over; returns 1, or 0 for a null
  // record or when no node could be had (the record is then destroyed).
  int AddRecord(ZoActorRecord const* record);
  // The first record whose name equals `name` (case-sensitive), or null.
  ZoActorRecord* Contains(ZoString const& name) const;
  // The first record of that prototype, or null.
  ZoActorRecord* Contains(ZoProtoActor const* actor) const;
  // Destroys every record, then empties the list.
  void Clear() override;
  using ZoDblList::Clear;

 private:
  void CopyRecords(ZoActorRecordList const& other);
};

#endif
