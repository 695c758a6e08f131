// ZoCamera: a camera for the renderer, a typed value that compares as
// unequal to everything and converts to nothing. The library interprets
// none of its fields.
//
// Body: string name; int32 kind; float angle; float nearPlane; float
// farPlane; the body of the property list. The frame declares a size of 0.
// ReadFromStream knows only this body; the older proto-node layout reads its
// records with ReadOlderRecord.
//
// Older record, by the stream's version (read into an existing camera, whose
// name and properties stay as they are):
// - 48 and above: int32 (kind becomes 1 when it is 0, else 0); float angle,
//   nearPlane, farPlane.
// - 47: 16 bytes dropped; then kind 0, angle 1, nearPlane 0.1, farPlane 1000.
// - below 47: 8 bytes dropped; then the same four values.
//
// Edge cases: reading the current body replaces the
// property list and stops at the first field that fails; an older record is
// read whole before anything is set, so a failed one changes nothing.
#ifndef ZOACTOR_VALUES_ZOCAMERA_H
#define ZOACTOR_VALUES_ZOCAMERA_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoTypedValue.h>

class ZOACTOR_API ZoCamera : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Camera;

  ZoString name;
  int32_t kind;     // default 0
  float angle;      // default 0.65
  float nearPlane;  // default 0.1
  float farPlane;   // default 1000
  ZoPropertyList properties;

  ZoCamera();
  ZoCamera(ZoCamera const& other);
  // Copies every field, the property list deeply (the modification callback
  // stays this camera's).
  ZoCamera& operator=(ZoCamera const& other);
  ~ZoCamera() override;

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // Declares 0, as the format has it.
  int32_t StreamSize() const override { return 0; }
  ZoTypedValue* Copy() const override;

  // Reads an older camera record (see the file comment) into this camera.
  ZoStreamError ReadOlderRecord(ZoStream& stream);

  static ZoStreamObject* Create();
};

#endif
