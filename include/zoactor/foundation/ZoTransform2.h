// ZoTransform2: a 2-D transform of three floats (x, y, angle). The library
// only stores, compares and streams it (12 bytes, in that order).
#ifndef ZOACTOR_FOUNDATION_ZOTRANSFORM2_H
#define ZOACTOR_FOUNDATION_ZOTRANSFORM2_H

#include <zoactor/ZoExport.h>

class ZOACTOR_API ZoTransform2 {
 public:
  float x = 0.0f;
  float y = 0.0f;
  float angle = 0.0f;

  // All three zero.
  ZoTransform2() = default;
  ZoTransform2(float px, float py, float pangle) : x(px), y(py), angle(pangle) {}

  // Exact equality of the three floats.
  bool operator==(ZoTransform2 const& t) const { return x == t.x && y == t.y && angle == t.angle; }
  bool operator!=(ZoTransform2 const& t) const { return !(*this == t); }
};

static_assert(sizeof(ZoTransform2) == 12, "a ZoTransform2 streams as 12 bytes");

#endif
