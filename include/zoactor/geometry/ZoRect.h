// ZoRect: an axis-aligned rectangle on the ground plane, four floats in the
// order minx, maxx, miny, maxy. Its x axis is the world z axis and its y axis
// the world x axis (see projectTriSet); the vertical y is not represented.
// The default constructor leaves the bounds unset.
#ifndef ZOACTOR_GEOMETRY_ZORECT_H
#define ZOACTOR_GEOMETRY_ZORECT_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector2.h>

class ZoTriangleSet;

class ZOACTOR_API ZoRect {
 public:
  // Bounds left unset: callers set them before use.
  ZoRect() {}  // NOLINT: deliberately leaves the members uninitialised
  ZoRect(float minx, float maxx, float miny, float maxy) : lowX(minx), highX(maxx), lowY(miny), highY(maxy) {}

  void setValue(float minx, float maxx, float miny, float maxy) {
    lowX = minx;
    highX = maxx;
    lowY = miny;
    highY = maxy;
  }

  float& minx() { return lowX; }
  float const& minx() const { return lowX; }
  float& maxx() { return highX; }
  float const& maxx() const { return highX; }
  float& miny() { return lowY; }
  float const& miny() const { return lowY; }
  float& maxy() { return highY; }
  float const& maxy() const { return highY; }

  // (maxy − miny) × (maxx − minx); negative or odd for an inverted rectangle.
  float area() const { return (highY - lowY) * (highX - lowX); }
  // 1 when minx ≤ p.x ≤ maxx and miny ≤ p.y ≤ maxy (edges included), else 0.
  int contains(ZoVector2 const& p) const {
    return (lowX <= p.x && p.x <= highX && lowY <= p.y && p.y <= highY) ? 1 : 0;
  }
  // The footprint of the set's vertices: the z coordinates span minx..maxx
  // and the x coordinates miny..maxy. A null set or one without vertices
  // leaves the rectangle inverted (minimums at the largest float, maximums
  // at its negative), so that it contains no point.
  void projectTriSet(ZoTriangleSet const* set);

 private:
  float lowX;
  float highX;
  float lowY;
  float highY;
};

#endif
