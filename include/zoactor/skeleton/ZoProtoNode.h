// ZoProtoNode: one node of an actor prototype's skeleton. A named tree node
// with a home transform relative to its parent, a style that says what the
// node is, with a record for that style, an optional collision model, an
// optional joint limit, a property table, a list of collision-sphere
// records, a stiffness and an engine object as user data. Nodes of style 1
// (geometry) are the joints that skills animate.
//
// Styles and their records (the record always matches the style):
//   1 geometry  ZoProtoGeomInfo      GeomInfo()
//   2 handle    ZoProtoHandleInfo    HandleInfo()
//   3 floor     ZoProtoFloorInfo     FloorInfo()
//   4 camera    ZoCamera             CameraInfo()
//   5 light     ZoLight              LightInfo()
//   6 spline    ZoProtoSplineInfo    SplineInfo()
//   any other   no record            (every accessor null)
//
// Model formats: 0 no collision geometry; 1 triangle set without sphere
// tree; 2 collision model stored with its sphere tree; 3 triangle set
// stored, sphere tree rebuilt when read.
//
// Ownership: a node owns its name, collision model, collision-sphere
// records, joint limit, property table, style record and, while
// destroyChildren is 1, its children. The actor pointer is a back reference
// kept by the owning actor. The user data is an engine object whose Release
// the node calls when it is destroyed.
//
// Body, current layout (stream version 100 and above; unsized, type code
// "oNrP"): string name; home transform (28 bytes); int32 model format
// (written as 0 without a model, without a triangle set, or for a handle);
// the geometry (format 2: ZoColModel body; 1 or 3: ZoTriangleSet body);
// int32 has-joint-limit and the framed limit; int32 sphere count and 20-byte
// sphere records; ZoPropertyTable body; int32 style and the style record;
// int32 UV flag; float stiffness (from version 104); int32 child count and
// each child's body, unframed. Below version 106 a format-2 model read with
// a triangle set has its sphere tree rebuilt.
//
// Older layout (versions below 100; read only, written in the current
// layout): name and transform; model format (1 read as 3 below 40); an older
// geometry record (and for format 2 an older collision-tree record, read and
// discarded); the framed joint limit; sphere records of 16 bytes up to
// version 25 and 20 from 26; the property table from 31; the style and a
// record whose fields depend on the version (28, 30, 32, 33, 35); one
// ignored int32 from 36; the children in the same layout; the UV flag from
// 45 (a flag of 0 flips every first texture pair's v to 1 − v). Stiffness is
// not stored and reads as 1.
//
// Edge cases:
// - Sphere trees are built by the collision model as it builds them, which
//   reorders the set's triangles; a node with model format 3 rebuilds its
//   tree when read, so it may write its triangles in another order than it
//   read them (the same triangles and tree shape). A copy's model is
//   copy-constructed, which rebuilds its tree the same way.
// - Rotations are normalised in double precision. A rotation whose length
//   is 0 or not finite becomes the identity, and one whose squared length
//   is within 1e-6 of 1 is kept as it is, so normalising is idempotent and
//   a node written, read back and written again gives the same bytes.
// - A model format outside 1 to 3 is written as 0 (no geometry can stand
//   for it); reading accepts any format and reads no geometry for one
//   outside 1 to 3.
// - Reading a style record starts from a fresh default record of the style
//   read, also when the node already had that style.
// - A node whose record DeleteInfo removed keeps its style: it writes the
//   default record of that style, so that its body stays readable, and
//   CreateColModel builds no marker for it.
// - Counts: a negative sphere or child count reads as 0; counts larger
//   than the stream can hold fail before anything is allocated. Children
//   nest at most ZoReadLimits::MaxDepth() levels (ZoStreamFormatError past
//   it). A joint limit frame of another class fails with
//   ZoStreamFormatError.
// - Older geometry records fail with ZoStreamFormatError when a corner
//   index lies outside the vertices or triangles come with fewer than 3
//   vertices. Their material indices are kept as read, as a triangle set
//   keeps them: the older record needs no check of its own, since its reader
//   looks no material up, and whatever later uses an index checks its range.
// - The node stops at the first field that fails and returns that status;
//   what was read so far stays in the node, but a collision model, triangle
//   set, joint limit or child that failed to read is destroyed rather than
//   installed.
// - Before a tree is built, triangles that name one vertex twice are
//   dropped (the builder's clean-up finds them by their zero-length edge,
//   which non-finite coordinates hide, and could otherwise leave triangles
//   on fewer than three vertices, a set no reader accepts).
// - SetUserData releases the user data it replaces (when different), as
//   the collision model does.
// - Assignment copies the node's own content (as the copy constructor
//   does) and keeps this node's links, children, actor and user data.
// - Scale installs the scaled set again, which builds a sphere tree also
//   for a model that had none (its model format stays as it was).
//   TransformPivot leaves a model without a sphere tree as it is, so such a
//   set moves with the node's frame. Both skip children that are plain tree
//   nodes, which carry no placement.
#ifndef ZOACTOR_SKELETON_ZOPROTONODE_H
#define ZOACTOR_SKELETON_ZOPROTONODE_H

#include <zoactor/ZoExport.h>
#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoTreeNode.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/values/ZoCamera.h>
#include <zoactor/values/ZoLight.h>
#include <zoactor/values/ZoMaterial.h>
#include <zoactor/values/ZoPropertyTable.h>

#include <cstdint>
#include <type_traits>
#include <variant>
#include <vector>

class ZoAi;
class ZoColModel;
class ZoProtoActor;
class ZoTriangleSet;

// The record of a geometry node.
struct ZOACTOR_API ZoProtoGeomInfo {
  // Non-zero: the node's shape is a flat width × height square (see
  // ZoProtoNode::CreateColModel).
  int32_t squareKind = 0;
  ZoMaterial material;
  float width = 1.0f;
  float height = 1.0f;
  // Carried, copied and stored; not interpreted by the library.
  int32_t geomInt0 = 0;
  int32_t geomInt1 = 0;
  int32_t geomInt2 = 32;
  int32_t geomInt3 = 32;
};

// The record of a handle node, stored as its 16 bytes.
struct ZOACTOR_API ZoProtoHandleInfo {
  // Shape and colour of the marker, 0 to 4 (see CreateColModel).
  int32_t handleKind = 0;
  float radius = 0.05f;
  float length = 0.2f;
  // Carried, copied and stored; not interpreted.
  uint32_t handleWord3 = 0;
};

// The record of a floor node, stored as its 8 bytes; not interpreted.
struct ZOACTOR_API ZoProtoFloorInfo {
  int32_t floorWord0 = 0;
  uint32_t floorWord1 = 0;
};

// The record of a spline node: a spline, streamed as a ZoSpline body.
class ZOACTOR_API ZoProtoSplineInfo : public ZoSpline {
 public:
  ZoProtoSplineInfo() = default;
  ZoProtoSplineInfo(ZoProtoSplineInfo const& other) = default;
  ZoProtoSplineInfo& operator=(ZoProtoSplineInfo const& other) = default;
};

// A collision-sphere record, stored as its 20 bytes: a centre, a radius and
// a word the library never interprets.
struct ZOACTOR_API ZoColSphere {
  ZoVector3 center;
  float radius = 0.0f;
  uint32_t word4 = 0;
};

// The style record of a node: one alternative per style, in style order, so
// that the alternative's index is the style for styles 1 to 6; a style
// without a record holds std::monostate.
using ZoProtoStyleRecord = std::variant<std::monostate, ZoProtoGeomInfo, ZoProtoHandleInfo, ZoProtoFloorInfo, ZoCamera,
                                        ZoLight, ZoProtoSplineInfo>;

static_assert(sizeof(ZoProtoHandleInfo) == 16 && sizeof(ZoProtoFloorInfo) == 8 && sizeof(ZoColSphere) == 20,
              "handle, floor and sphere records stream as their raw bytes");
static_assert(std::is_trivially_copyable<ZoProtoHandleInfo>::value &&
                  std::is_trivially_copyable<ZoProtoFloorInfo>::value &&
                  std::is_trivially_copyable<ZoColSphere>::value,
              "handle, floor and sphere records stream as their raw bytes");

// The collision-sphere list: the node's records by value, in order.
class ZOACTOR_API ZoColSphereList {
 public:
  ZoColSphereList() = default;
  // Copies of the other list's records; when no memory can be had the list
  // ends up empty.
  ZoColSphereList(ZoColSphereList const& other);
  ZoColSphereList& operator=(ZoColSphereList const& other);

  // Appends a copy of `sphere`; false when no memory could be had.
  bool AppendCopy(ZoColSphere const& sphere);
  // Empties the list.
  void Clear() { spheres.clear(); }
  int32_t GetCount() const { return static_cast<int32_t>(spheres.size()); }
  bool IsEmpty() const { return spheres.empty(); }
  // Record i, for 0 ≤ i < GetCount() (not checked).
  ZoColSphere& operator[](int32_t i) { return spheres[static_cast<size_t>(i)]; }
  ZoColSphere const& operator[](int32_t i) const { return spheres[static_cast<size_t>(i)]; }
  // The records in order, contiguous.
  ZoColSphere* begin() { return spheres.data(); }
  ZoColSphere* end() { return spheres.data() + spheres.size(); }
  ZoColSphere const* begin() const { return spheres.data(); }
  ZoColSphere const* end() const { return spheres.data() + spheres.size(); }

 private:
  std::vector<ZoColSphere> spheres;
};

class ZOACTOR_API ZoProtoNode : public ZoTreeNode, public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoNode;
  // The tree type of a proto node, 'PrtN' read from the most significant byte.
  static constexpr int32_t NODE_TYPE = 0x5072744E;

  enum Style : int32_t { Geometry = 1, Handle = 2, Floor = 3, Camera = 4, Light = 5, SplineStyle = 6 };
  enum ModelFormat : int32_t { NoModel = 0, SetOnly = 1, ModelWithTree = 2, SetRebuildTree = 3 };

  // Name empty, identity home transform, no model, no limit, style 1 with a
  // default geometry record, model format 2, UV flag 1, stiffness 1.
  ZoProtoNode();
  // A deep copy of the whole subtree: every field and record, the model
  // copied (its tree rebuilt), the limit duplicated, the spheres
  // and properties copied, every child copied in order. The actor pointer
  // and user data are null; the copy destroys its children.
  ZoProtoNode(ZoProtoNode const& other);
  // See the file comment: this node's own content only.
  ZoProtoNode& operator=(ZoProtoNode const& other);
  // Releases the user data, deletes the model, limit, spheres and style
  // record, then destroys the children when destroyChildren is 1.
  ~ZoProtoNode() override;

  int32_t Type() const override { return NODE_TYPE; }
  // 1 for NODE_TYPE and ZoTreeNode::TREE_TYPE, else 0.
  int IsType(int32_t t) const override { return (t == NODE_TYPE || t == TREE_TYPE) ? 1 : 0; }

  // --- Naming and placement ------------------------------------------------

  ZoString const& Name() const { return name; }
  void SetName(ZoString const& newName) { name = newName; }
  // The owning actor (borrowed), set by the actor.
  ZoProtoActor* GetActor() const { return actor; }
  void SetActor(ZoProtoActor* owner) { actor = owner; }
  // The placement in the parent's frame.
  ZoTransform3 const& HomeTransform() const { return homeTransform; }
  // Copies the transform and normalises its rotation (see the file comment).
  void SetHomeTransform(ZoTransform3 const& transform);
  // `out` becomes the product of the home transforms from this node up to,
  // but excluding, `ancestor` (nearest the ancestor on the left). Returns 1
  // when the walk reached `ancestor` (a null ancestor is reached above the
  // root), else 0 with `out` holding the product up to the root.
  int GetRelativeHomeTransform(ZoProtoNode const* ancestor, ZoTransform3& out) const;
  // The same for `node`, which may be null: then `out` is the identity and
  // the result is 1 exactly when `ancestor` is null.
  static int GetRelativeHomeTransform(ZoProtoNode const* node, ZoProtoNode const* ancestor, ZoTransform3& out);

  // --- Style -----------------------------------------------------------------

  int32_t Style() const { return style; }
  // Does nothing when `newStyle` is the current style; otherwise deletes the
  // record, stores the style and creates the default record of the new style
  // (none outside 1 to 6).
  void SetStyle(int32_t newStyle);
  // The record of the node's style, or null when the style differs.
  ZoProtoGeomInfo* GeomInfo() const;
  ZoProtoHandleInfo* HandleInfo() const;
  ZoProtoFloorInfo* FloorInfo() const;
  ZoCamera* CameraInfo() const;
  ZoLight* LightInfo() const;
  ZoProtoSplineInfo* SplineInfo() const;

  // --- Collision ---------------------------------------------------------------

  ZoColModel* ColModel() const { return colModel; }
  // Deletes the current model unless it is `model`, then takes ownership of
  // `model` (null allowed).
  void SetColModel(ZoColModel* model);
  // Takes ownership of `set`: creates a default model when the node has
  // none, gives it the set and builds its sphere tree (the build cleans the
  // set and reorders its triangles).
  void SetColModel(ZoTriangleSet* set);
  // Builds the marker shape of the node's style and installs it with
  // SetColModel(ZoTriangleSet*); styles without a marker (a geometry node
  // without square, floor, spline, others) leave the model unchanged.
  void CreateColModel();
  int32_t GetModelFormat() const { return modelFormat; }
  // Stores the format, then: 1 deletes the model's sphere tree, 2 and 3 build
  // it when missing, 0 deletes the model.
  void SetModelFormat(int32_t format);
  ZoColSphereList& ColSpheres() { return colSpheres; }
  ZoColSphereList const& ColSpheres() const { return colSpheres; }

  // --- Joint limit -----------------------------------------------------------

  ZoJLimit* JointLimit() const { return jointLimit; }
  // Deletes the current limit unless it is `limit`, then takes ownership of
  // `limit` (null allowed).
  void SetJointLimit(ZoJLimit* limit);

  // --- Editing ------------------------------------------------------------------

  // Scales the node's shapes and its subtree by `s` per axis, in the node's
  // own frame (its home transform stays): the model's triangle set (then its
  // sphere tree is rebuilt), each collision sphere's centre (by s) and
  // radius (by s.x), a handle's radius (s.x) and length (s.y), a square's
  // width (s.x) and height (s.y), a spline's translations. Then every
  // child's translation is multiplied by `s` and the child scaled alike.
  void Scale(ZoVector3 const& s);
  // Moves the node's frame by `t` (the home transform becomes home · t)
  // while what hangs from it stays where it was in the parent's frame: the
  // triangle set of a model with a sphere tree (then rebuilt), the collision
  // sphere centres and the spline are re-expressed by t⁻¹, and each child's
  // home transform becomes t⁻¹ · home. The node's joint limit is pivoted by
  // t's rotation, each child's by its inverse.
  void TransformPivot(ZoTransform3 const& t);

  // --- Other members -----------------------------------------------------------

  ZoPropertyTable& Properties() { return properties; }
  ZoPropertyTable const& Properties() const { return properties; }
  int32_t IsUVNormalized() const { return uvNormalized; }
  void SetUVNormalized(int32_t flag) { uvNormalized = flag; }
  float& Stiffness() { return stiffness; }
  float Stiffness() const { return stiffness; }
  ZoAi* GetUserData() const { return userData; }
  // Takes over one reference of `data` (released when the node goes, or when
  // another pointer replaces it) and returns 1.
  int SetUserData(ZoAi* data);

  // --- Streaming ---------------------------------------------------------------

  int32_t StreamType() const override { return STREAM_TYPE; }
  // The current layout from version 100, else the older layout.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Always the current layout (stiffness from version 104); write with a
  // stream version of 100 or more, since below it readers expect the older
  // layout.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default node, or null.
  static ZoStreamObject* Create();

 protected:
  // Deletes the record of the current style (the style stays).
  void DeleteInfo();

 private:
  void CopyContentFrom(ZoProtoNode const& other);
  ZoStreamError ReadCurrent(ZoStream& stream);
  ZoStreamError ReadCurrentGeometry(ZoStream& stream);
  ZoStreamError ReadOlder(ZoStream& stream);
  ZoStreamError ReadOlderGeometry(ZoStream& stream);
  ZoStreamError ReadJointLimit(ZoStream& stream);
  ZoStreamError ReadSpheres(ZoStream& stream, uint32_t recordSize);
  // Reads a style code and replaces the style record with a fresh one of it.
  ZoStreamError ReadStyleCode(ZoStream& stream);
  ZoStreamError ReadChildren(ZoStream& stream, uint32_t minimumBody);
  // The model format the body carries (see the file comment).
  int32_t WrittenModelFormat() const;
  ZoTriangleSet* TriangleSet() const;
  // Prepares the model's set (see the file comment) and builds its tree.
  void BuildTree();

  ZoString name;
  ZoProtoActor* actor;
  ZoTransform3 homeTransform;
  ZoColModel* colModel;
  ZoColSphereList colSpheres;
  ZoJLimit* jointLimit;
  ZoPropertyTable properties;
  int32_t style;
  int32_t modelFormat;
  int32_t uvNormalized;
  // Mutable because the record accessors hand it out for editing also from a
  // const node, as they always have.
  mutable ZoProtoStyleRecord styleRecord;
  float stiffness;
  ZoAi* userData;
};

#endif
