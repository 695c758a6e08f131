// The sizes of the proto-node bodies and the helpers the node's reader and
// marker builder share (private to the library). The helpers work on a style
// record or a stream alone and never call back into the node.
#ifndef ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H
#define ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/skeleton/ZoProtoNode.h>

#include "serialization/ZoFormatVersions.h"
#include "serialization/ZoStreamIo.h"

#include <cstdint>

class ZoTriangleSet;

namespace zoprotonode {

// The smallest body of a child, for checking child counts: name length,
// transform, model format, has-limit, sphere count, property count, style,
// UV flag and child count in the current layout; name length, transform,
// model format, has-limit, sphere count, style and child count in the older.
constexpr uint32_t kMinCurrentBody = 4 + 28 + 4 + 4 + 4 + 4 + 4 + 4 + 4;
constexpr uint32_t kMinOlderBody = 4 + 28 + 4 + 4 + 4 + 4 + 4;

using zostreamio::OutOfMemory;

// One visitor out of several lambdas, one per alternative of a record.
template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

// --- Older records (ZoProtoNodeOlder.cpp) ----------------------------------

// Reads an older geometry record into a new indexed set; null (with the
// stream's error) when the record is truncated, its corners leave its
// vertices, or it cannot be stored.
ZoTriangleSet* ReadOlderGeometryRecord(ZoStream& stream);
// Reads and drops an older collision-tree record (the tree is rebuilt from
// the set).
ZoStreamError SkipOlderTree(ZoStream& stream);
// Fills `record`, a fresh record of the style just read, from its older
// layout at the stream's version.
ZoStreamError ReadOlderStyleRecord(ZoStream& stream, ZoProtoStyleRecord& record);

// --- Marker shapes (ZoProtoNodeMarkers.cpp) ------------------------------------

// A new marker shape that shows a node with `record` in an editor, or null
// for a record without a marker (a geometry record without square, floor,
// spline, none) or when no memory could be had.
ZoTriangleSet* NewMarkerShape(ZoProtoStyleRecord const& record);

}  // namespace zoprotonode

#endif
