// Small builders shared by the demo's skeletons: a node placed by an offset,
// and a turn about an axis.
#ifndef ZOACTOR_TOOLS_DEMOPARTS_H
#define ZOACTOR_TOOLS_DEMOPARTS_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/skeleton/ZoProtoNode.h>

namespace zodemo {

// A new node of `style` named `name`, at `offset` from its parent, unturned.
inline ZoProtoNode* NewNode(char const* name, int32_t style, ZoVector3 const& offset) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(style);
  node->SetHomeTransform(ZoTransform3(offset, ZoRotation3()));
  return node;
}

// A turn of `angle` radians about the unit `axis`.
inline ZoRotation3 About(float angle, ZoVector3 const& axis) {
  ZoRotation3 q;
  q.setValue(angle, axis);
  return q;
}

}  // namespace zodemo

#endif
