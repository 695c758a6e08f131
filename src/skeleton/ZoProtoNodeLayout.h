// The version thresholds and sizes of the proto-node bodies (private to the
// library).
#ifndef ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H
#define ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H

#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

namespace zoprotonode {

// Current layout.
constexpr int32_t kVersionCurrentLayout = 100;  // below: the older layout
constexpr int32_t kVersionStiffness = 104;      // stiffness stored from here
constexpr int32_t kVersionStoredTree = 106;     // below: format-2 trees are rebuilt

// Older layout.
constexpr int32_t kVersionFloorWord = 25;        // floor: one word from here, none below
constexpr int32_t kVersionLongSphere = 26;       // sphere records of 20 bytes from here, 16 below
constexpr int32_t kVersionSquare = 28;           // geometry record: square, material and size
constexpr int32_t kVersionFloorRecord = 30;      // floor: both words
constexpr int32_t kVersionProperties = 31;       // property table stored
constexpr int32_t kVersionGeomInt0 = 32;         // geomInt0 stored
constexpr int32_t kVersionHandleKinds = 33;      // below: handle kinds 1 and 2 swapped
constexpr int32_t kVersionGeomInts = 35;         // geomInt1..3 stored
constexpr int32_t kVersionIgnoredWord = 36;      // one ignored int32 behind the record
constexpr int32_t kVersionFormatOne = 40;        // below: model format 1 means 3
constexpr int32_t kVersionGeometryTrailer = 43;  // 24 trailing bytes in geometry records
constexpr int32_t kVersionUVFlag = 45;           // UV flag stored

// The smallest body of a child, for checking child counts: name length,
// transform, model format, has-limit, sphere count, property count, style,
// UV flag and child count in the current layout; name length, transform,
// model format, has-limit, sphere count, style and child count in the older.
constexpr uint32_t kMinCurrentBody = 4 + 28 + 4 + 4 + 4 + 4 + 4 + 4 + 4;
constexpr uint32_t kMinOlderBody = 4 + 28 + 4 + 4 + 4 + 4 + 4;

// Fails a read that could not get memory for what it read.
inline ZoStreamError OutOfMemory(ZoStream& stream) {
  stream.SetStatus(ZoStreamReadError);
  return stream.Status();
}

}  // namespace zoprotonode

#endif
