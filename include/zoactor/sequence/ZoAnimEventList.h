// ZoAnimEventList: the events of one kind in a recorded sequence, in the
// order they were added. The list owns its events (ZoAnimEvent*).
//
// Body (type code ZoTypeCode::AnimEventList, "LEnA" in the stream,
// unsized; not registered): int32 count, then each event's body in order,
// without framing. Event lists are written, never read back: ReadFromStream
// fails with ZoStreamReadError.
#ifndef ZOACTOR_SEQUENCE_ZOANIMEVENTLIST_H
#define ZOACTOR_SEQUENCE_ZOANIMEVENTLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/sequence/ZoAnimEvent.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZOACTOR_API ZoAnimEventList : public ZoDblList, public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::AnimEventList;

  ZoAnimEventList();
  // Deep copies: each event is copied.
  ZoAnimEventList(ZoAnimEventList const& other);
  ZoAnimEventList& operator=(ZoAnimEventList const& other);
  // Destroys every event.
  ~ZoAnimEventList() override;

  // Appends `event`, which the list takes over; returns 1, or 0 for a null
  // event or when no node could be had (the event is then destroyed).
  int AddEvent(ZoAnimEvent const* event);
  // Destroys every event, then empties the list.
  void Clear() override;
  using ZoDblList::Clear;

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads nothing; fails with ZoStreamReadError and says so.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

 private:
  void CopyEvents(ZoAnimEventList const& other);
};

#endif
