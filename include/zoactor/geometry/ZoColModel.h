// ZoColModel: the collision shape of a proto node. It owns a triangle set
// and a binary sphere tree over the set's triangles, with the set's
// axis-aligned and oriented bounding boxes and a user-data pointer of the
// engine. The library builds, deletes and streams the tree; callers walk it.
//
// The tree is two flat arrays linked by integers. Leaf i (a ZoLeafNode)
// bounds triangle i of the set, and its index field is i. The sphere nodes
// (ZoSphereNode) are numbered in pre-order from the root, sphere 0. A child
// reference is a leaf's index, or a sphere node's index with bit 31 set
// (ZoSphereNode::SPHERE_BIT); GetNode resolves one. For n ≥ 2 triangles the
// tree has n leaves and n − 1 sphere nodes; for one triangle it has one
// leaf and one sphere node whose two children are that leaf. Building the
// tree cleans the set (degenerate triangles and unused vertices go) and
// reorders its triangles so that leaf i is triangle i.
//
// Hooks: UpdateSphereTree and DeleteSphereTree first offer their work to the
// engine's hook manager (requests 36 and 37, ZoHookSphereTreeRecord with the
// model); a result above 0 means the engine did it and the library does
// nothing more.
//
// Body (unsized, type code "2MoC"): int32 1 when the model has a set, else 0
// (and the body ends); the set's body; int32 depth (0: no tree, the body
// ends); numTriangles leaf records; numTriangles − 1 sphere records (1 for
// one triangle); the oriented box (translation, rotation w x y z, size: 40
// bytes). A node record is center (3 floats), the type-and-index word (type
// in bits 0-1, index in bits 2-31) and the radius, 20 bytes; a sphere
// record adds its left and right child references (int32 each). At stream
// version 100 node records are 16 bytes (no radius; it reads as 0); the
// oriented box is present from version 106. The writer mirrors the reader
// at the stream's version, so a body always reads back at the version it
// was written under. The axis-aligned box and the user data are not stored.
//
// Edge cases:
// - Trees are built with an explicit stack, never by recursion, whatever
//   the depth the mesh produces; the numbering (pre-order, root 0) and the
//   tree are those of the recursive description.
// - A derived triangle set gets no tree: building reorders triangles, which
//   a derived set shares with its source.
// - Triangles swapped while building carry their material indices whenever
//   the set has them.
// - Reading replaces what the model held (tree, set and boxes; the boxes
//   read as zero, the oriented box as the default below version 106). It
//   fails with ZoStreamFormatError for a has-set word other than 0 or 1, a
//   negative depth, a tree over a set that is not indexed or has no
//   triangles, a leaf whose type is not 0 or whose index is not its
//   position, a sphere record whose type is not 1 or whose index is not 0,
//   child references that are out of range, point backwards, share a node
//   or leave a node unreached (every tree must be the pre-order tree the
//   builder makes), or a depth that is not the tree's height. A tree that
//   fails to read is discarded; a set that fails to read is deleted.
// - A tree whose leaf count no longer matches its set's triangle count (the
//   set was edited after the build) is written as no tree (depth 0).
// - SetUserData releases the user data it replaces (when different).
//   Assignment keeps the target's user data; self-assignment does nothing.
#ifndef ZOACTOR_GEOMETRY_ZOCOLMODEL_H
#define ZOACTOR_GEOMETRY_ZOCOLMODEL_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/geometry/ZoOrientedBox.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>

class ZoAi;

// A node of a sphere tree: the centre and radius of its bounding sphere, its
// type (0 leaf, 1 sphere node) and, for a leaf, the index of its triangle.
// The layout is that of the stream's node record.
struct ZOACTOR_API ZoNode {
  ZoVector3 center;
  uint32_t type : 2;
  uint32_t index : 30;
  float radius;

  // Zero centre, index and radius; type & 3.
  explicit ZoNode(int32_t nodeType) : type(static_cast<uint32_t>(nodeType) & 3u), index(0), radius(0.0f) {}
};

// A leaf: bounds one triangle.
struct ZOACTOR_API ZoLeafNode : ZoNode {
  ZoLeafNode() : ZoNode(0) {}
};

// An inner node: bounds both children, given as child references.
struct ZOACTOR_API ZoSphereNode : ZoNode {
  // Set in a child reference that names a sphere node.
  static constexpr uint32_t SPHERE_BIT = 0x80000000u;

  uint32_t left;
  uint32_t right;

  ZoSphereNode() : ZoNode(1), left(0), right(0) {}

  static bool IsSphereReference(uint32_t reference) { return (reference & SPHERE_BIT) != 0; }
  static uint32_t ReferenceIndex(uint32_t reference) { return reference & ~SPHERE_BIT; }
  static uint32_t LeafReference(uint32_t leaf) { return leaf; }
  static uint32_t SphereReference(uint32_t sphere) { return sphere | SPHERE_BIT; }
};

static_assert(sizeof(ZoNode) == 20 && sizeof(ZoLeafNode) == 20 && sizeof(ZoSphereNode) == 28,
              "tree nodes are packed as their stream records");

class ZOACTOR_API ZoColModel : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ColModel;

  // No set, no tree, zero boxes, no user data.
  ZoColModel();
  // A model holding a copy of the other's set (ZoTriangleSet's copy) with
  // its tree rebuilt by UpdateSphereTree; the user data is not copied.
  ZoColModel(ZoColModel const& other);
  // Makes this model what the copy constructor would make of `other`, after
  // deleting this model's tree and set; keeps this model's user data.
  ZoColModel& operator=(ZoColModel const& other);
  // Releases the user data, deletes the tree (hooks included) and the set.
  ~ZoColModel() override;

  // Takes ownership of `set`. A different set held so far is deleted with
  // its tree first. A non-null set's axis-aligned box is recomputed; no tree
  // is built.
  void SetTriangleSet(ZoTriangleSet* set);
  ZoTriangleSet* GetTriangleSet() const { return triangleSet; }

  // Builds the tree: offers request 36; deletes the old tree; cleans an
  // indexed, non-derived set with at least one triangle; recomputes the
  // axis-aligned box; and, unless the box diagonal is below 0.0001 or no
  // triangle is left, computes the oriented box and builds the tree. Without
  // memory the model is left without a tree.
  void UpdateSphereTree();
  // Offers request 37, then frees the tree (depth 0). Set and boxes stay.
  virtual void DeleteSphereTree();

  // The root sphere node (sphere 0) or null.
  ZoSphereNode* GetRoot() const { return spheres; }
  // Replaces the sphere array without freeing the old one. The model frees
  // what it holds with delete[] when the tree is deleted, so `root` must be
  // null or an array from new ZoSphereNode[...], of the current sphere count.
  void SetRoot(ZoSphereNode* root) { spheres = root; }
  // The leaf array (leaf i for triangle i) or null, and the node counts.
  ZoLeafNode* GetLeaves() const { return leaves; }
  int32_t GetNumLeaves() const { return numLeaves; }
  int32_t GetNumSpheres() const { return numSpheres; }
  // The node a child reference names, or null when it is out of range.
  ZoNode* GetNode(uint32_t reference) const;

  // The number of node levels, leaves included; 0 without a tree.
  int32_t GetDepth() const { return depth; }
  void SetDepth(int value) { depth = value; }
  void GetBoundingBox(ZoVector3& min, ZoVector3& max) const {
    min = boxMin;
    max = boxMax;
  }
  void SetBoundingBox(ZoVector3 const& min, ZoVector3 const& max) {
    boxMin = min;
    boxMax = max;
  }
  ZoOrientedBox& OrientedBox() { return orientedBox; }
  ZoOrientedBox const& OrientedBox() const { return orientedBox; }

  // Stores `data`, taking over the reference that the destructor releases,
  // and returns 1. A different pointer held so far is released.
  int SetUserData(ZoAi* data);
  ZoAi* GetUserData() const { return userData; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // A new default model for the type-code registry (null without memory).
  static ZoStreamObject* CreateStreamObject();

 protected:
  // Copies triangle `triangle`'s corners into corners[3t..3t+2] and sets its
  // leaf's sphere (BoundTriangle) and index.
  void FindLeafSphere(int triangle, ZoVector3* corners);
  // The smallest sphere around the triangle corners[0..2]: the midpoint of
  // the edge opposite an obtuse corner, else the circumsphere.
  static void BoundTriangle(ZoVector3 const* corners, ZoVector3& center, float& radius);
  // Builds the subtree over triangles first .. first + count − 1 with sphere
  // nodes numbered from `nextSphere` in pre-order, and returns its root
  // (the leaf itself when count is 1). `level` is the subtree root's level;
  // the depth grows to cover every level reached.
  ZoNode* DivideAndConquer(int first, int count, ZoVector3* corners, int& nextSphere, int level);
  // The plane through the box centre across the box's longest side (x when
  // strictly longest, then y when strictly longer than z, else z).
  static void FindSplittingPlane(ZoOrientedBox const& box, ZoVector3& point, ZoVector3& normal);
  // Partitions the triangles by the side of the plane their leaf centres
  // lie on (negative side first), swapping corners, triangles, material
  // indices and leaves; an empty side makes it split in the middle instead.
  void ReorderTriangles(int first, int count, ZoVector3 const& point, ZoVector3 const& normal, ZoVector3* corners,
                        int& first1, int& count1, int& first2, int& count2);

 private:
  void FreeTree();
  ZoStreamError ReadTree(ZoStream& stream, int32_t treeDepth);
  // Reads `count` node records of `recordSize` bytes into `nodes`, an array
  // of nodes of `nodeSize` bytes (20 or 28; the records are 4 bytes shorter
  // when they lack the radius).
  static ZoStreamError ReadNodeRecords(ZoStream& stream, void* nodes, int32_t count, size_t nodeSize,
                                       uint32_t recordSize);

  ZoTriangleSet* triangleSet;
  ZoLeafNode* leaves;
  ZoSphereNode* spheres;
  int32_t numLeaves;
  int32_t numSpheres;
  int32_t depth;
  ZoOrientedBox orientedBox;
  ZoVector3 boxMin;
  ZoVector3 boxMax;
  ZoAi* userData;
};

#endif
