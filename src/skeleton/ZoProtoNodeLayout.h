// The sizes of the proto-node bodies and the helpers their readers share
// (private to the library).
#ifndef ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H
#define ZOACTOR_SRC_SKELETON_ZOPROTONODELAYOUT_H

#include <zoactor/serialization/ZoStream.h>

#include "serialization/ZoFormatVersions.h"
#include "serialization/ZoStreamIo.h"

#include <cstdint>

namespace zoprotonode {


// The smallest body of a child, for checking child counts: name length,
// transform, model format, has-limit, sphere count, property count, style,
// UV flag and child count in the current layout; name length, transform,
// model format, has-limit, sphere count, style and child count in the older.
constexpr uint32_t kMinCurrentBody = 4 + 28 + 4 + 4 + 4 + 4 + 4 + 4 + 4;
constexpr uint32_t kMinOlderBody = 4 + 28 + 4 + 4 + 4 + 4 + 4;

using zostreamio::OutOfMemory;

}  // namespace zoprotonode

#endif
