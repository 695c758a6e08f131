// ZoTriangleSet: the library's one mesh type. Vertex positions with optional
// per-vertex normals, colours and texture coordinates; for indexed sets a
// triangle list with optional per-triangle material indices; a table of
// materials. Besides storage it offers clean-up (degenerate triangles, unused
// vertices), averaged normals, rigid transforms, scaling, merging, bounding
// volumes, the per-triangle ray, sphere, triangle and distance queries, and
// its stream body.
//
// Layouts (ZoTriangleSetType): indexed sets hold independent triangles given
// by corner indices and are the only sets the clean-up steps, Merge, normal
// averaging and the queries work on; the two sequential layouts have no
// triangle array and numVertices = numTriangles + 2 (stored and streamed
// only); polylines hold vertices only; a set on which no Create has run is
// undefined.
//
// Ownership: a set owns its arrays, except a derived set (made by
// Create(ZoTriangleSet*, ...) or copied from one), which shares its source's
// vertices and triangles and must not outlive the source; it owns its own
// normals, colours, texture vertices, material indices and materials.
//
// Body (unsized, type code "2SrT"): int32 type, flags, numVertices,
// numTriangles, numTexturesPerVertex, numMaterials; the vertices (12 bytes
// each, one block); the normals (one block) when flagged; one 16-byte ZoColor
// body per vertex when flagged; the texture pairs (8 bytes each, vertex-major,
// one block) when flagged; for indexed sets the triangles (three int32 each,
// one block); the material indices (int16 each, one block) when flagged; one
// ZoMaterial body per material.
//
// Edge cases:
// - Flags and arrays agree at all times: an array announced by a flag exists
//   with the length the flag promises, and no array exists without its flag.
//   Flag bits other than the four below are dropped by Create.
//   SetNumMaterials with a count below 1 frees the material indices and
//   clears ZoTriSetMaterialIndices; with a count of 1 or more it does not
//   create material indices that the flags do not announce.
// - Create of an indexed set with fewer than 3 vertices makes no triangle
//   array and sets numTriangles to 0, so that nothing walks a missing array.
//   Negative counts count as 0. Arrays are zero-filled (every triangle's
//   corners and material index 0, colours the default colour). Create frees
//   what the set held before (the materials excepted, which only
//   SetNumMaterials changes).
// - Copying a derived set gives a derived set: it shares the same source's
//   vertices and triangles and copies the derived set's own arrays and
//   materials. Copies and assignments take a fresh id.
// - Operations that rewrite vertices or triangles (the clean-up steps,
//   ApplyTransform, ApplyScale, Merge) leave a derived set unchanged, since
//   its vertices and triangles are its source's.
// - Merge covers every vertex and triangle even when the two sets carry
//   different arrays: appended vertices of a set without normals get the
//   averaged face normals of its triangles; without colours, white (1, 1, 1,
//   1); texture layers the other set lacks are (0, 0), layers it has beyond
//   this set's count are dropped; appended triangles of a set without
//   material indices use that set's first material (or this set's material
//   0 when it has none).
// - AssignAverageNormals gives a vertex that no triangle uses, or whose face
//   normals cancel, the zero vector.
// - ReadFromStream replaces everything the set held, materials included. It
//   fails with ZoStreamFormatError on an unknown type, unknown flag bits,
//   negative counts, counts that disagree with the layout (a polyline with
//   triangles, a sequential set whose vertex count is not numTriangles + 2,
//   an indexed set with triangles but fewer than 3 vertices, texture pairs
//   without the texture flag) or a corner index outside the vertices; with
//   the stream's error when the data runs out or a count asks for more than
//   the stream holds or ZoReadLimits allows. A set whose read fails is left
//   empty and undefined, so that nothing can query half-read or invalid
//   triangles.
// - Material indices are stored as they are set or read, whatever the
//   materials: a set with the material-index flag and no materials, or with
//   an index outside its materials, is legal and reads back as it was
//   written. Nothing that only moves indices (the clean-up steps, the
//   sphere-tree build) looks at them; what uses one checks its range where
//   it uses it: the cull step of the queries counts an index outside the
//   materials as a two-sided material. Merge shifts every appended index by
//   this set's old material count, whatever it is (so an appended -2 may come
//   to name one of this set's materials), and keeps this set's own indices.
//   Beyond that material look-up the queries guard nothing.
#ifndef ZOACTOR_GEOMETRY_ZOTRIANGLESET_H
#define ZOACTOR_GEOMETRY_ZOTRIANGLESET_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/values/ZoColor.h>
#include <zoactor/values/ZoMaterial.h>

#include <cstdint>

class ZoOrientedBox;

// The layout of a triangle set.
enum ZoTriangleSetType : int32_t {
  ZoTriSetIndexed = 0,      // independent triangles given by corner indices
  ZoTriSetSequential1 = 1,  // no triangle array; numVertices = numTriangles + 2
  ZoTriSetSequential2 = 2,  // no triangle array; numVertices = numTriangles + 2
  ZoTriSetPolyline = 3,     // a chain of vertices, no triangles
  ZoTriSetUndefined = 4     // no Create has run
};

// The optional arrays of a set.
enum ZoTriangleSetFlag : int32_t {
  ZoTriSetNormals = 1,          // per-vertex normals
  ZoTriSetTextures = 2,         // numTexturesPerVertex texture pairs per vertex
  ZoTriSetColors = 4,           // per-vertex colours
  ZoTriSetMaterialIndices = 8,  // a material index per triangle
  ZoTriSetAllFlags = 15
};

// A texture coordinate pair.
struct ZOACTOR_API ZoTextureVertex {
  float u = 0.0f;
  float v = 0.0f;

  void Set(float pu, float pv) {
    u = pu;
    v = pv;
  }
};

// A triangle's three vertex indices in corner order (first, second, third).
// The corner order fixes the front side: the face normal is
// (second − first) × (third − first), normalised.
struct ZOACTOR_API ZoTriangle {
  int32_t corner[3] = {0, 0, 0};

  void Set(int first, int second, int third) {
    corner[0] = first;
    corner[1] = second;
    corner[2] = third;
  }
  int32_t& operator[](int i) { return corner[i]; }
  int32_t operator[](int i) const { return corner[i]; }
};

static_assert(sizeof(ZoTextureVertex) == 8 && sizeof(ZoTriangle) == 12, "texture pairs and triangles stream raw");

class ZOACTOR_API ZoTriangleSet : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::TriangleSet;

  // An undefined set (type 4, flags 0, no arrays) stamped with the next id.
  ZoTriangleSet();
  // A deep copy with a fresh id; a copy of a derived set shares the same
  // source (see the file comment). An allocation failure leaves the copy
  // empty and undefined.
  ZoTriangleSet(ZoTriangleSet const& other);
  // The same copy after freeing what this set owned; a fresh id.
  // Self-assignment changes nothing.
  ZoTriangleSet& operator=(ZoTriangleSet const& other);
  ~ZoTriangleSet() override;

  // --- Layout --------------------------------------------------------------

  // Gives the set its layout and arrays, replacing what it held (the
  // materials stay). Indexed: numVertices as given, a triangle array when
  // numVertices ≥ 3 (else numTriangles becomes 0). Polyline and undefined:
  // numVertices as given, numTriangles 0. Sequential: numVertices =
  // numTriangles + 2. Normals, colours and texture pairs (numVertices ×
  // numTexturesPerVertex) by flag; material indices when flagged and
  // numTriangles > 0; numTexturesPerVertex is kept only with the texture
  // flag. Returns false, leaving the set empty and undefined, when a type is
  // unknown or the arrays cannot be allocated.
  bool Create(ZoTriangleSetType type, int flags, int numTriangles, int numVertices, int numTexturesPerVertex);
  // Makes this set a derived set of `source`: type, counts, vertices and
  // triangles are the source's (shared), flags and numTexturesPerVertex the
  // arguments; normals, colours, texture pairs and material indices are
  // allocated by flag and owned; the materials stay this set's. Returns
  // false, changing nothing, for a null source or the set itself, and
  // false, leaving the set empty, when the arrays cannot be allocated.
  bool Create(ZoTriangleSet* source, int flags, int numTexturesPerVertex);

  // --- Accessors (no range checks: the caller keeps indices in range) -----

  ZoTriangleSetType GetType() const { return type; }
  int32_t GetID() const { return id; }
  // Stamps the set with the next counter value and returns it.
  int32_t ChangeID();
  int32_t GetFlags() const { return flags; }
  // The set whose vertices and triangles this one shares, or null.
  ZoTriangleSet* GetSourceSet() const { return sourceSet; }
  int32_t GetNumVertices() const { return numVertices; }
  ZoVector3& Vertex(int i) { return vertices[i]; }
  ZoVector3 const& Vertex(int i) const { return vertices[i]; }
  // The vertex array (null when there are no vertices).
  ZoVector3* GetVertices() { return vertices; }
  ZoVector3 const* GetVertices() const { return vertices; }
  ZoVector3& Normal(int i) { return normals[i]; }
  ZoVector3 const& Normal(int i) const { return normals[i]; }
  ZoColor& Color(int i) { return colors[i]; }
  ZoColor const& Color(int i) const { return colors[i]; }
  int32_t GetNumTexturesPerVertex() const { return numTexturesPerVertex; }
  ZoTextureVertex& TextureVertex(int vertex, int texture) {
    return textureVertices[vertex * numTexturesPerVertex + texture];
  }
  ZoTextureVertex const& TextureVertex(int vertex, int texture) const {
    return textureVertices[vertex * numTexturesPerVertex + texture];
  }
  int32_t GetNumTriangles() const { return numTriangles; }
  ZoTriangle& Triangle(int i) { return triangles[i]; }
  ZoTriangle const& Triangle(int i) const { return triangles[i]; }
  // The triangle array (null for sets without one).
  ZoTriangle* GetTriangles() { return triangles; }
  ZoTriangle const* GetTriangles() const { return triangles; }
  int16_t& MaterialIndex(int i) { return materialIndices[i]; }
  int16_t MaterialIndex(int i) const { return materialIndices[i]; }
  // True when the set carries a material index per triangle.
  bool HasMaterialIndices() const { return (flags & ZoTriSetMaterialIndices) != 0; }
  int32_t GetNumMaterials() const { return numMaterials; }
  ZoMaterial& Material(int i) { return materials[i]; }
  ZoMaterial const& Material(int i) const { return materials[i]; }

  // --- Editing ---------------------------------------------------------------

  // Replaces the materials by `n` default ones (nothing happens when n is
  // the current count). Below 1 the set has no materials, and also loses its
  // material indices and the ZoTriSetMaterialIndices flag. Returns false,
  // leaving no materials, when they cannot be allocated.
  bool SetNumMaterials(int n);
  // The unit normal (Q − P) × (R − P) of triangle i of an indexed set; the
  // zero vector for an index outside the triangles (or a degenerate one).
  ZoVector3 FindTriangleNormal(int i) const;
  // Indexed, non-derived sets only: removes triangles with an edge no longer
  // than 1e-5 or whose corners lie on one line (cosine between the first two
  // edges at least 0.99999 in magnitude), replacing each with the last
  // triangle, so the order of the survivors changes. Arrays keep their size.
  void RemoveDegenerateTriangles();
  // Indexed, non-derived sets only: drops the vertices no triangle uses,
  // keeping the order of the others with their normals, colours and texture
  // pairs, and rewrites the corners. Arrays keep their size.
  void RemoveUnusedVertices();
  // Indexed sets: every vertex normal becomes the normalised mean of the
  // unit face normals of the triangles using it (each use counts once, so a
  // face of two triangles sharing the vertex counts twice). Adds the normal
  // array and flag when missing. Returns false when it cannot be allocated.
  bool AssignAverageNormals();
  // Non-derived sets: every vertex becomes `transform` applied to it, every
  // normal its rotation applied to it.
  void ApplyTransform(ZoTransform3 const& transform);
  // Non-derived sets: every vertex is multiplied component-wise by `scale`;
  // normals are left as they are.
  void ApplyScale(ZoVector3 const& scale);
  // Appends `other` placed by `transform` (points by the transform, normals
  // by its rotation) when both sets are indexed and this one is not derived.
  // Corner indices of the appended triangles move by the old vertex count,
  // their material indices by the old material count (an index outside its
  // set's materials becomes -1); flags and id stay.
  // `other` may be this set. Returns false, changing nothing, when the
  // merge does not apply or cannot be allocated.
  bool Merge(ZoTriangleSet const& other, ZoTransform3 const& transform);

  // --- Bounding volumes ------------------------------------------------------
  // The static forms take any point array; a null array or a count below 1
  // leaves the outputs unchanged. The members pass this set's vertices.

  // The axis-aligned box: component-wise minimum and maximum.
  static void FindBoundingBox(ZoVector3 const* points, int count, ZoVector3& min, ZoVector3& max);
  void FindBoundingBox(ZoVector3& min, ZoVector3& max) const;
  // Ritter's two-pass sphere in single precision: the widest of the three
  // axis-extreme pairs (x only when strictly widest, then y when strictly
  // wider than z, else z) seeds it, and every point strictly outside grows
  // it to touch that point while containing the old sphere.
  static void FindBoundingSphere(ZoVector3 const* points, int count, ZoVector3& center, float& radius);
  void FindBoundingSphere(ZoVector3& center, float& radius) const;
  // The box along the principal axes of the points' covariance (largest
  // variance first): the box transform carries box coordinates into the
  // points' frame (translation = box centre), size holds full edge lengths.
  static void FindOrientedBox(ZoVector3 const* points, int count, ZoOrientedBox& box);
  void FindOrientedBox(ZoOrientedBox& box) const;

  // --- Queries (indexed sets; 0 ≤ triangle < numTriangles, unchecked) -------
  // Points P, Q, R are the triangle's first, second and third corner. A
  // placement carries the set's coordinates into the frame of the other
  // operands. None of the queries allocates.

  // True when the ray origin + t'·direction hits the triangle for some
  // 0 < t' < t (t in and out; the direction need not be unit length, t' is
  // measured along it). Edges and corners count as hits. With a non-zero
  // `cull`, a set with material indices and a one-sided material (flags
  // bit 1 clear) refuses rays that meet the triangle's back (travel along
  // n = (Q − P) × (R − P)). A ray within 1e-6 of parallel (|n·direction| <
  // 1e-6) misses and leaves t alone. A miss at or beyond t leaves t alone;
  // any other miss (behind the origin, outside the triangle) still stores
  // the plane parameter in t. The parameter and the barycentric position of
  // the crossing come from triple products over one reciprocal (Cramer's
  // rule); its rounding may differ in the last bit from a projection onto
  // two coordinates.
  bool CheckRayIntersection(int triangle, ZoVector3 const& origin, ZoVector3 const& direction, float& t,
                            int cull) const;
  // The same with the triangle placed by `placement`.
  bool CheckRayIntersection(int triangle, ZoVector3 const& origin, ZoVector3 const& direction,
                            ZoTransform3 const& placement, float& t, int cull) const;
  // True when the sphere reaches the triangle. Through the face: `distance`
  // is the signed gap (zero or negative: the penetration depth) and
  // `contact` the foot of the perpendicular from the centre. Through an edge
  // (tested PQ, PR, QR, the first close enough wins): distance is the
  // distance from the centre to that edge minus the radius, contact the
  // point of the edge nearest the foot. A centre exactly in the triangle's
  // plane is found through the edges only. On a miss `contact` may hold the
  // foot and `distance` is not meaningful.
  bool CheckSphereIntersection(int triangle, ZoVector3 const& center, float radius, ZoVector3& contact,
                               float& distance) const;
  // The same with the set placed by `placement`; centre and contact are in
  // the placement's frame, the distance is unchanged.
  bool CheckSphereIntersection(int triangle, ZoVector3 const& center, float radius, ZoTransform3 const& placement,
                               ZoVector3& contact, float& distance) const;
  // True when this set's triangle placed by `placement` and `other`'s
  // triangle `otherTriangle` placed by `otherPlacement` touch or cross
  // (separating-axis test on 17 axes; touching counts as contact).
  bool CheckIntersection(int triangle, ZoTransform3 const& placement, ZoTriangleSet const* other, int otherTriangle,
                         ZoTransform3 const& otherPlacement) const;
  // The distance between the two placed triangles, with the closest point
  // on this one in `closest` and on the other in `otherClosest`; −1 with
  // both outputs unchanged when they touch or cross. Candidates are tried
  // in a fixed order, the first strictly nearest winning: corner pairs,
  // corners against edges, edges against edges, corners against faces. The
  // search stops after a stage once the squared distance falls below
  // 0.0001, so distances below 0.01 are upper bounds. Identity placements
  // are recognised and cost nothing.
  float FindDistance(int triangle, ZoTransform3 const& placement, ZoTriangleSet const* other, int otherTriangle,
                     ZoTransform3 const& otherPlacement, ZoVector3& closest, ZoVector3& otherClosest) const;

  // --- Streaming -------------------------------------------------------------

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // A new default set for the type-code registry (null without memory).
  static ZoStreamObject* CreateStreamObject();

 protected:
  // The ray test on corners already in the ray's frame.
  bool CheckRayIntersectionCommon(int triangle, ZoVector3 const& origin, ZoVector3 const& direction, float& t,
                                  int cull, ZoVector3 const& p, ZoVector3 const& q, ZoVector3 const& r) const;
  // True when the perpendicular foot of `point` on the placed triangle lies
  // in it and the squared distance is strictly below `best`; then `best`
  // and `closest` take the new values.
  bool PointTriDistance(int triangle, ZoVector3 const& point, ZoTransform3 const& placement, ZoVector3& closest,
                        float& best) const;

 private:
  // Frees what the set owns and returns it to the undefined, empty state
  // (the id and, unless `materialsToo`, the materials stay).
  void Clear(bool materialsToo);
  // Copies `other` into this empty set; false when out of memory.
  bool CopyFrom(ZoTriangleSet const& other);
  bool Owns() const { return sourceSet == nullptr; }
  ZoStreamError ReadBody(ZoStream& stream);
  // Create, leaving every array but the colours unwritten when
  // `forOverwrite` (for a reader that fills each one whole).
  bool Allocate(ZoTriangleSetType type, int flags, int numTriangles, int numVertices, int numTexturesPerVertex,
                bool forOverwrite);

  ZoTriangleSetType type;
  int32_t flags;
  int32_t id;
  ZoTriangleSet* sourceSet;
  int32_t numVertices;
  ZoVector3* vertices;
  ZoVector3* normals;
  ZoColor* colors;
  ZoTextureVertex* textureVertices;
  int32_t numTexturesPerVertex;
  int32_t numTriangles;
  ZoTriangle* triangles;
  int16_t* materialIndices;
  int32_t numMaterials;
  ZoMaterial* materials;
};

#endif
