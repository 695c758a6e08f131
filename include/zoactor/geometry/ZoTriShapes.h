// The primitive shapes: triangle sets generated from a few parameters.
// ZoTriSquare, ZoTriCube, ZoTriSphere, ZoTriCone, ZoTriCylinder and ZoTriRing
// are indexed sets (a flat square and closed solids whose triangles face
// outwards); ZoTriLine, ZoTriBezier and ZoTriCircle are polylines. y is the
// up axis; round shapes are built around it with the angles
// θk = k × 2π / s (single precision), k = 0 .. s − 1.
//
// Each shape copies the material it is given as its only material, and
// every triangle's material index is 0. With T the material's texture count,
// solids carry normals and material indices (flags 9), plus T texture pairs
// per vertex when T > 0 (flags 11); polylines carry material indices (8) or
// textures and material indices (10), without normals. The square always has
// flags 11 with one texture pair per vertex. A segment count of −1 selects
// the default; counts are then clamped as each constructor says.
//
// The shapes add no data: they stream as ordinary triangle sets (type code
// "2SrT") and read back as ZoTriangleSet. A shape whose arrays cannot be
// allocated is left empty.
//
// Edge cases: the square and cube take the texture pairs listed below;
// the other shapes, whose texture pairs are otherwise unassigned, get
// u = k / s around the axis (or i / n along a polyline) and v running from
// 1 at the bottom to 0 at the top (0 along a polyline), the same in every
// layer, so that a textured material wraps once around them.
#ifndef ZOACTOR_GEOMETRY_ZOTRISHAPES_H
#define ZOACTOR_GEOMETRY_ZOTRISHAPES_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/values/ZoMaterial.h>

// A width × height square in the xy-plane, centred, facing +z: vertices
// (−w/2, −h/2, 0), (w/2, −h/2, 0), (w/2, h/2, 0), (−w/2, h/2, 0) with texture
// pairs (0, 1), (1, 1), (1, 0), (0, 0); triangles (0, 1, 2), (3, 0, 2).
class ZOACTOR_API ZoTriSquare : public ZoTriangleSet {
 public:
  ZoTriSquare(ZoMaterial const& material, float width, float height);
  ZoTriSquare(ZoTriSquare const& other) = default;
  ZoTriSquare& operator=(ZoTriSquare const& other) = default;
};

// A box of the given edge lengths, centred: 8 shared corners (one normal
// each, the face normal of one face that uses it) and 12 triangles.
class ZOACTOR_API ZoTriCube : public ZoTriangleSet {
 public:
  ZoTriCube(ZoMaterial const& material, ZoVector3 const& size);
  ZoTriCube(ZoTriCube const& other) = default;
  ZoTriCube& operator=(ZoTriCube const& other) = default;
};

// A sphere of s segments around (default 12, clamped to 4 .. 100) and
// r = s / 2 rings from pole to pole: (r − 1) s + 2 vertices (south pole
// first, north pole last) and 2 (r − 1) s triangles. Normals point out.
class ZOACTOR_API ZoTriSphere : public ZoTriangleSet {
 public:
  ZoTriSphere(ZoMaterial const& material, float radius, int segments);
  ZoTriSphere(ZoTriSphere const& other) = default;
  ZoTriSphere& operator=(ZoTriSphere const& other) = default;
};

// A cone, apex up, centred on its height (clamped to at least 0.001), of s
// segments (default 12, at least 3): s rim vertices, the apex and the base
// centre; 2 s triangles.
class ZOACTOR_API ZoTriCone : public ZoTriangleSet {
 public:
  ZoTriCone(ZoMaterial const& material, float radius, float height, int segments);
  ZoTriCone(ZoTriCone const& other) = default;
  ZoTriCone& operator=(ZoTriCone const& other) = default;
};

// A closed cylinder, centred, of s segments (default 12, at least 3): the
// bottom rim, the top rim, the bottom and top centres (2 s + 2 vertices);
// 4 s triangles.
class ZOACTOR_API ZoTriCylinder : public ZoTriangleSet {
 public:
  ZoTriCylinder(ZoMaterial const& material, float radius, float height, int segments);
  ZoTriCylinder(ZoTriCylinder const& other) = default;
  ZoTriCylinder& operator=(ZoTriCylinder const& other) = default;
};

// A flat tube around y between two radii, centred on its height, of s
// segments (default 12, at least 3): 4 s vertices, 8 s triangles (top, inner
// wall, bottom, outer wall).
class ZOACTOR_API ZoTriRing : public ZoTriangleSet {
 public:
  ZoTriRing(ZoMaterial const& material, float innerRadius, float outerRadius, float height, int segments);
  ZoTriRing(ZoTriRing const& other) = default;
  ZoTriRing& operator=(ZoTriRing const& other) = default;
};

// A segment: two vertices, from and to.
class ZOACTOR_API ZoTriLine : public ZoTriangleSet {
 public:
  ZoTriLine(ZoMaterial const& material, ZoVector3 const& from, ZoVector3 const& to);
  ZoTriLine(ZoTriLine const& other) = default;
  ZoTriLine& operator=(ZoTriLine const& other) = default;

  // Vertex 0 becomes `from`, vertex 1 `to` (nothing for an empty line).
  void Update(ZoVector3 const& from, ZoVector3 const& to);
};

// A cubic Bézier curve with end points points[0] and points[3] and inner
// control points points[1] and points[2], as n + 1 vertices at t = i / n
// (n: default 10, at least 1).
class ZOACTOR_API ZoTriBezier : public ZoTriangleSet {
 public:
  ZoTriBezier(ZoMaterial const& material, ZoVector3 const* points, int segments);
  ZoTriBezier(ZoTriBezier const& other) = default;
  ZoTriBezier& operator=(ZoTriBezier const& other) = default;

  // Recomputes every vertex from four new control points; the count stays.
  // A null array changes nothing.
  void Update(ZoVector3 const* points);
};

// A circle in the xz-plane around the origin, of s segments (default 12, at
// least 3): s + 1 vertices, the last repeating the first to close the chain.
class ZOACTOR_API ZoTriCircle : public ZoTriangleSet {
 public:
  ZoTriCircle(ZoMaterial const& material, float radius, int segments);
  ZoTriCircle(ZoTriCircle const& other) = default;
  ZoTriCircle& operator=(ZoTriCircle const& other) = default;
};

#endif
