// ZoOrientedBox: a box along its own axes, made by
// ZoTriangleSet::FindOrientedBox from the principal axes of a point cloud.
// `transform` carries box coordinates into the frame of the points it was
// made from (its translation is the box centre, its rotation turns the box
// axes into that frame); `size` holds the full edge lengths along the box's
// x, y and z axes (not half lengths). A default box is the identity with
// size zero.
#ifndef ZOACTOR_GEOMETRY_ZOORIENTEDBOX_H
#define ZOACTOR_GEOMETRY_ZOORIENTEDBOX_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>

class ZOACTOR_API ZoOrientedBox {
 public:
  ZoTransform3 transform;
  ZoVector3 size;

  ZoOrientedBox() = default;
  ZoOrientedBox(ZoTransform3 const& boxTransform, ZoVector3 const& boxSize)
      : transform(boxTransform), size(boxSize) {}

  // True when this box placed by `placement` and `other` placed by
  // `otherPlacement` overlap or touch: the separating-axis test on the 15
  // axes of two boxes, where a projected gap counts only when strictly
  // positive and every |cosine| between the axes is padded by 1e-6 (so
  // boxes a rounding error apart count as touching). Identity placements
  // (boxes already in the same frame) skip the composition. `other` must
  // not be null.
  bool CheckIntersection(ZoOrientedBox const* other, ZoTransform3 const& placement,
                         ZoTransform3 const& otherPlacement) const;
  // True when the ray origin + t·direction (t ≥ 0) meets the box placed by
  // `placement` with t at most `maxT`; `maxT` of 0 or less means no limit.
  // A ray starting inside the box hits it, whatever its direction; a ray
  // running within 1e-6 of parallel to a pair of faces hits only when its
  // origin lies between them (on a face counts as between).
  bool CheckRayIntersection(ZoTransform3 const& placement, ZoVector3 const& origin, ZoVector3 const& direction,
                            float maxT) const;
};

#endif
