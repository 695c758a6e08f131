// ZoFSMSpaceToBhvr: a behaviour map of an actor, naming the behaviours that
// are active in one space of the engine's state machine. The library stores,
// edits and saves maps; it never evaluates them.
//
// Body (type code ZoTypeCode::FSMSpaceToBhvr, "pamb" in the file, unsized):
// space name (string), int32 count, then each behaviour name (string).
//
// Edge cases:
// - Behaviour names are compared as the string list compares them, exactly
//   (case matters); only the actor's space-name lookups ignore case.
// - Reading appends the names read to those already held, without the
//   IsActive test, and stops at the first failure (names read so far stay).
//   A negative count reads as none; a count larger than the bytes left could
//   hold fails before anything is read.
#ifndef ZOACTOR_ACTOR_ZOFSMSPACETOBHVR_H
#define ZOACTOR_ACTOR_ZOFSMSPACETOBHVR_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoStringList.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZOACTOR_API ZoFSMSpaceToBhvr : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::FSMSpaceToBhvr;

  // An empty map of the empty space.
  ZoFSMSpaceToBhvr();
  // Copies the space name and every behaviour name, in order.
  ZoFSMSpaceToBhvr(ZoFSMSpaceToBhvr const& other);
  ZoFSMSpaceToBhvr& operator=(ZoFSMSpaceToBhvr const& other);
  ~ZoFSMSpaceToBhvr() override;

  ZoString const& SpaceName() const { return spaceName; }
  void SetSpaceName(ZoString const& name) { spaceName = name; }
  // The active behaviours, in insertion order (owned by the map).
  ZoStringList const& ActiveBehaviors() const { return active; }

  // Appends `name` unless it is active already.
  void AddActiveBhvr(ZoString name);
  // Removes `name` when it is active; otherwise nothing.
  void RemoveActiveBhvr(ZoString name);
  // 1 when `name` is active, else 0.
  int IsActive(ZoString name) const;

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: an empty map, or null.
  static ZoStreamObject* Create();

 private:
  ZoString spaceName;
  ZoStringList active;
};

#endif
