// ZoAnimEvent: one event of a recorded sequence (an actor added or removed,
// a sound, a material change): its kind, the frame it happened at and the
// actor it concerns.
//
// Body (type code ZoTypeCode::AnimEvent, "vEnA" in the stream, unsized; no
// creation function is registered, so it is never read framed):
//   int32 type   uint32 frameTime   string actorName
#ifndef ZOACTOR_SEQUENCE_ZOANIMEVENT_H
#define ZOACTOR_SEQUENCE_ZOANIMEVENT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZOACTOR_API ZoAnimEvent : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::AnimEvent;

  // Type 0, frame time 0, no actor name.
  ZoAnimEvent();
  ZoAnimEvent(ZoAnimEvent const& other);
  ZoAnimEvent& operator=(ZoAnimEvent const& other);
  ~ZoAnimEvent() override;

  int32_t GetType() const { return type; }
  void SetType(int32_t newType) { type = newType; }
  uint32_t GetFrameTime() const { return frameTime; }
  void SetFrameTime(uint32_t time) { frameTime = time; }
  ZoString const& GetActorName() const { return actorName; }
  void SetActorName(ZoString const& name) { actorName = name; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads the three fields; on a failure the fields read so far are kept.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

 private:
  int32_t type;
  uint32_t frameTime;
  ZoString actorName;
};

#endif
