// ZoLight: a light for the renderer, a typed value that compares as unequal
// to everything and converts to nothing. The library interprets none of its
// fields.
//
// Body: int32 kind; vector (12 bytes); the 16-byte bodies of color1, color2,
// color3; float angle; the body of the property list; `on` (1 byte). The
// frame declares a size of 0. ReadFromStream knows only this body; the older
// proto-node layout reads its records with ReadOlderRecord.
//
// Older record, by the stream's version (read into an existing light):
// - 46 and above, 120 bytes: int32 type; 4 unused; r, g, b; 20 unused;
//   float angle; a name of up to 76 characters.
// - 44 and 45, 108 bytes: the same with a name of up to 64 characters.
// - 43 and below, 24 bytes: int32 type; float angle; 4 unused; r, g, b.
// Type 3 sets color1 to (r, g, b, 1) and color2 to 0, 0, 0, 0. Any other
// type sets color1 to 0, 0, 0, 0, color2 to (r, g, b, 1) and `angle` to the
// record's (unconverted); types 0, 2, 1, 4 set `kind` to 0, 1, 2, 3, and
// type 4 also adds the property "LightMap" holding the record's name.
//
// Edge cases:
// - A name that fills its field without a terminating zero is taken as the
//   76 (or 64) characters the field holds; nothing beyond the record is read.
// - A failed older record changes nothing. A "LightMap" property already
//   held is kept (the new one is refused, as Add does).
// - Reading the current body replaces the property list; every reader stops
//   at the first field that fails.
#ifndef ZOACTOR_VALUES_ZOLIGHT_H
#define ZOACTOR_VALUES_ZOLIGHT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoPropertyList.h>
#include <zoactor/values/ZoTypedValue.h>

class ZOACTOR_API ZoLight : public ZoTypedValue {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Light;
  // The name of the property that holds an older light map's name.
  static char const* const LIGHT_MAP;  // "LightMap"

  int32_t kind;      // default 0
  ZoVector3 vector;  // default 1, 0, 0
  ZoColor color1;    // default 0.2, 0.2, 0.2, 1
  ZoColor color2;    // default 0.8, 0.8, 0.8, 1
  ZoColor color3;    // default 0, 0, 0, 1
  float angle;       // default π/4
  bool on;           // default true
  ZoPropertyList properties;

  ZoLight();
  ZoLight(ZoLight const& other);
  // Copies every field, the property list deeply (the modification callback
  // stays this light's).
  ZoLight& operator=(ZoLight const& other);
  ~ZoLight() override;

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;
  // Declares 0, as the format has it.
  int32_t StreamSize() const override { return 0; }
  ZoTypedValue* Copy() const override;

  // Reads an older light record (see the file comment) into this light.
  ZoStreamError ReadOlderRecord(ZoStream& stream);

  static ZoStreamObject* Create();
};

#endif
