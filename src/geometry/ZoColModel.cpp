#include <zoactor/geometry/ZoColModel.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "geometry/ZoGeometryCommon.h"
#include "serialization/ZoFormatVersions.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

uint32_t NodeWord(ZoNode const& node) { return node.type | (static_cast<uint32_t>(node.index) << 2); }

// A stack that grows without throwing; Push fails when memory runs out.
template <class T>
class FrameStack {
 public:
  FrameStack() = default;
  ~FrameStack() { std::free(items); }
  FrameStack(FrameStack const&) = delete;
  FrameStack& operator=(FrameStack const&) = delete;

  bool Push(T const& item) {
    if (size == capacity) {
      size_t grown = capacity == 0 ? 64 : capacity * 2;
      void* more = std::realloc(items, grown * sizeof(T));
      if (more == nullptr) return false;
      items = static_cast<T*>(more);
      capacity = grown;
    }
    items[size++] = item;
    return true;
  }
  bool Empty() const { return size == 0; }
  T Pop() { return items[--size]; }

 private:
  T* items = nullptr;
  size_t size = 0;
  size_t capacity = 0;
};

// The sphere around two spheres: the segment through both centres, from
// the far side of one to the far side of the other; the larger sphere (the
// right one on a tie) when one holds the other or the centres coincide.
void MergeSpheres(ZoNode const& left, ZoNode const& right, ZoVector3& center, float& radius) {
  ZoVector3 d = right.center - left.center;
  float length = d.length();
  float gap = left.radius - right.radius;
  if (gap < 0.0f) gap = -gap;
  if (gap <= length && length >= 1e-6f) {
    d.normalize();
    ZoVector3 p1 = left.center - d * left.radius;
    ZoVector3 p2 = right.center + d * right.radius;
    center = (p1 + p2) / 2.0f;
    radius = (p2 - p1).length() * 0.5f;
  } else if (left.radius > right.radius) {
    center = left.center;
    radius = left.radius;
  } else {
    center = right.center;
    radius = right.radius;
  }
}

}  // namespace

ZoColModel::ZoColModel()
    : triangleSet(nullptr),
      leaves(nullptr),
      spheres(nullptr),
      numLeaves(0),
      numSpheres(0),
      depth(0),
      userData(nullptr) {}

ZoColModel::ZoColModel(ZoColModel const& other) : ZoColModel() {
  if (other.triangleSet == nullptr) return;
  auto* copy = new (std::nothrow) ZoTriangleSet(*other.triangleSet);
  if (copy == nullptr) return;
  SetTriangleSet(copy);
  UpdateSphereTree();
}

ZoColModel& ZoColModel::operator=(ZoColModel const& other) {
  if (this == &other) return *this;
  ZoTriangleSet* copy = nullptr;
  if (other.triangleSet != nullptr) copy = new (std::nothrow) ZoTriangleSet(*other.triangleSet);
  DeleteSphereTree();
  delete triangleSet;
  triangleSet = nullptr;
  orientedBox = ZoOrientedBox();
  boxMin = boxMax = ZoVector3();
  if (copy != nullptr) {
    SetTriangleSet(copy);
    UpdateSphereTree();
  }
  return *this;
}

ZoColModel::~ZoColModel() {
  if (userData != nullptr) userData->Release();
  ZoColModel::DeleteSphereTree();
  delete triangleSet;
}

void ZoColModel::SetTriangleSet(ZoTriangleSet* set) {
  if (triangleSet != nullptr && triangleSet != set) {
    DeleteSphereTree();
    delete triangleSet;
  }
  triangleSet = set;
  if (set != nullptr) set->FindBoundingBox(boxMin, boxMax);
}

ZoNode* ZoColModel::GetNode(uint32_t reference) const {
  uint32_t index = ZoSphereNode::ReferenceIndex(reference);
  if (ZoSphereNode::IsSphereReference(reference))
    return spheres != nullptr && index < static_cast<uint32_t>(numSpheres) ? &spheres[index] : nullptr;
  return leaves != nullptr && index < static_cast<uint32_t>(numLeaves) ? &leaves[index] : nullptr;
}

int ZoColModel::SetUserData(ZoAi* data) {
  if (userData != nullptr && userData != data) userData->Release();
  userData = data;
  return 1;
}

void ZoColModel::FreeTree() {
  delete[] leaves;
  delete[] spheres;
  leaves = nullptr;
  spheres = nullptr;
  numLeaves = 0;
  numSpheres = 0;
  depth = 0;
}

void ZoColModel::DeleteSphereTree() {
  ZoHookSphereTreeRecord record{};
  record.model = this;
  if (ZoAiHookManager::Offer(ZoHookDeleteSphereTree, &record) > 0) return;
  FreeTree();
}

// --- Building ----------------------------------------------------------------------

void ZoColModel::UpdateSphereTree() {
  ZoHookSphereTreeRecord record{};
  record.model = this;
  if (ZoAiHookManager::Offer(ZoHookUpdateSphereTree, &record) > 0) return;
  DeleteSphereTree();

  ZoTriangleSet* set = triangleSet;
  if (set == nullptr || set->GetNumTriangles() < 1 || set->GetType() != ZoTriSetIndexed ||
      set->GetSourceSet() != nullptr)
    return;
  // Corners outside the vertices (a set built by hand) get no tree.
  for (int32_t i = 0; i < set->GetNumTriangles(); ++i)
    for (int c = 0; c < 3; ++c) {
      int32_t v = set->Triangle(i).corner[c];
      if (v < 0 || v >= set->GetNumVertices()) return;
    }

  set->RemoveDegenerateTriangles();
  set->RemoveUnusedVertices();
  set->FindBoundingBox(boxMin, boxMax);
  int32_t n = set->GetNumTriangles();
  if (n < 1) return;
  float diagonal = (boxMax - boxMin).length();
  if (!(diagonal >= 1e-4f)) return;  // too small (or not a number)
  set->FindOrientedBox(orientedBox);

  leaves = new (std::nothrow) ZoLeafNode[static_cast<size_t>(n)];
  auto* corners = new (std::nothrow) ZoVector3[static_cast<size_t>(n) * 3];
  int32_t sphereCount = n == 1 ? 1 : n - 1;
  spheres = new (std::nothrow) ZoSphereNode[static_cast<size_t>(sphereCount)];
  if (leaves == nullptr || corners == nullptr || spheres == nullptr) {
    delete[] corners;
    FreeTree();
    return;
  }
  numLeaves = n;
  numSpheres = sphereCount;
  for (int32_t i = 0; i < n; ++i) FindLeafSphere(i, corners);
  if (n != 1) {
    int nextSphere = 0;
    if (DivideAndConquer(0, n, corners, nextSphere, 0) == nullptr) FreeTree();
  } else {
    ZoSphereNode& root = spheres[0];
    root.left = root.right = ZoSphereNode::LeafReference(0);
    root.center = leaves[0].center;
    root.radius = leaves[0].radius;
    depth = 1;
  }
  delete[] corners;
}

void ZoColModel::FindLeafSphere(int triangle, ZoVector3* corners) {
  ZoTriangle const& t = triangleSet->Triangle(triangle);
  ZoVector3* c = corners + 3 * static_cast<size_t>(triangle);
  c[0] = triangleSet->Vertex(t.corner[0]);
  c[1] = triangleSet->Vertex(t.corner[1]);
  c[2] = triangleSet->Vertex(t.corner[2]);
  ZoLeafNode& leaf = leaves[triangle];
  BoundTriangle(c, leaf.center, leaf.radius);
  leaf.index = static_cast<uint32_t>(triangle);
}

void ZoColModel::BoundTriangle(ZoVector3 const* corners, ZoVector3& center, float& radius) {
  ZoVector3 const& p = corners[0];
  ZoVector3 const& q = corners[1];
  ZoVector3 const& r = corners[2];
  ZoVector3 e0 = q - p, e1 = r - q, e2 = p - r;
  float dR = -e1.dot(e2);  // the angle at R
  float dP = -e2.dot(e0);  // at P
  float dQ = -e0.dot(e1);  // at Q
  if (dR < 0.0f) {
    center = (p + q) * 0.5f;
    radius = e0.length() * 0.5f;
  } else if (dP < 0.0f) {
    center = (q + r) * 0.5f;
    radius = e1.length() * 0.5f;
  } else if (dQ < 0.0f) {
    center = (r + p) * 0.5f;
    radius = e2.length() * 0.5f;
  } else {
    // The circumcentre from the orthocentre on the Euler line.
    float wP = dQ * dR, wQ = dR * dP, wR = dQ * dP;
    ZoVector3 h = (p * wP + q * wQ + r * wR) / (wP + wQ + wR);
    center = ((p + q + r) - h) * 0.5f;
    radius = (p - center).length();
  }
}

void ZoColModel::FindSplittingPlane(ZoOrientedBox const& box, ZoVector3& point, ZoVector3& normal) {
  point = box.transform.translation;
  ZoVector3 const& s = box.size;
  ZoVector3 axis(0.0f, 0.0f, 1.0f);
  if (s.x > s.y && s.x > s.z)
    axis = ZoVector3(1.0f, 0.0f, 0.0f);
  else if (s.y > s.z)
    axis = ZoVector3(0.0f, 1.0f, 0.0f);
  normal = box.transform.rotation * axis;
}

void ZoColModel::ReorderTriangles(int first, int count, ZoVector3 const& point, ZoVector3 const& normal,
                                  ZoVector3* corners, int& first1, int& count1, int& first2, int& count2) {
  ZoTriangle* triangles = triangleSet->GetTriangles();
  int16_t* indices = triangleSet->HasMaterialIndices() ? &triangleSet->MaterialIndex(0) : nullptr;
  auto side = [&](int i) { return (leaves[i].center - point).dot(normal); };
  int i = first;
  int j = first + count - 1;
  while (i < j) {
    while (i < j && side(i) <= 0.0f) ++i;
    if (i >= j) break;
    while (i < j && side(j) >= 0.0f) --j;
    if (i >= j) break;
    for (int c = 0; c < 3; ++c) {
      ZoVector3 keep = corners[3 * i + c];
      corners[3 * i + c] = corners[3 * j + c];
      corners[3 * j + c] = keep;
    }
    ZoTriangle keepTriangle = triangles[i];
    triangles[i] = triangles[j];
    triangles[j] = keepTriangle;
    if (indices != nullptr) {
      int16_t keepIndex = indices[i];
      indices[i] = indices[j];
      indices[j] = keepIndex;
    }
    ZoLeafNode keepLeaf = leaves[i];
    leaves[i] = leaves[j];
    leaves[j] = keepLeaf;
    leaves[i].index = static_cast<uint32_t>(i);
    leaves[j].index = static_cast<uint32_t>(j);
    // The triangle now at i lies on the negative side: step past it (which
    // also keeps the walk finite when a centre is not a number).
    ++i;
  }
  first1 = first;
  count1 = i - first;
  first2 = i;
  count2 = count - count1;
  if (count1 == 0 || count2 == 0) {
    count1 = count / 2;
    first2 = first + count1;
    count2 = count - count1;
  }
}

ZoNode* ZoColModel::DivideAndConquer(int first, int count, ZoVector3* corners, int& nextSphere, int level) {
  // An explicit stack in place of recursion. A work frame builds the
  // subtree over triangles [first, first + count) and links it into its
  // parent; a finish frame (count −1, first = the sphere) merges a sphere
  // node's children once both subtrees are done. Children are pushed right
  // first, so left subtrees are numbered first: pre-order.
  struct Frame {
    int first;
    int count;
    int level;
    int parent;  // −1 for the subtree's own root
    int side;    // 0 left, 1 right
  };
  FrameStack<Frame> stack;
  uint32_t rootReference = 0;
  if (!stack.Push({first, count, level, -1, 0})) return nullptr;
  while (!stack.Empty()) {
    Frame frame = stack.Pop();
    if (frame.count < 0) {
      ZoSphereNode& node = spheres[frame.first];
      ZoNode const* left = GetNode(node.left);
      ZoNode const* right = GetNode(node.right);
      ZoVector3 center;
      float radius = 0.0f;
      MergeSpheres(*left, *right, center, radius);
      if (radius < node.radius) {
        node.center = center;
        node.radius = radius;
      }
      continue;
    }
    if (frame.level + 1 > depth) depth = frame.level + 1;
    uint32_t reference;
    if (frame.count == 1) {
      reference = ZoSphereNode::LeafReference(static_cast<uint32_t>(frame.first));
    } else {
      int k = nextSphere++;
      reference = ZoSphereNode::SphereReference(static_cast<uint32_t>(k));
      ZoSphereNode& node = spheres[k];
      ZoVector3 const* points = corners + 3 * static_cast<size_t>(frame.first);
      int pointCount = 3 * frame.count;
      // The points' own sphere, kept unless the children's merge is smaller.
      ZoTriangleSet::FindBoundingSphere(points, pointCount, node.center, node.radius);
      ZoOrientedBox box;
      ZoTriangleSet::FindOrientedBox(points, pointCount, box);
      ZoVector3 point, normal;
      FindSplittingPlane(box, point, normal);
      int first1 = 0, count1 = 0, first2 = 0, count2 = 0;
      ReorderTriangles(frame.first, frame.count, point, normal, corners, first1, count1, first2, count2);
      if (!stack.Push({k, -1, 0, 0, 0}) || !stack.Push({first2, count2, frame.level + 1, k, 1}) ||
          !stack.Push({first1, count1, frame.level + 1, k, 0}))
        return nullptr;
    }
    if (frame.parent < 0)
      rootReference = reference;
    else if (frame.side == 0)
      spheres[frame.parent].left = reference;
    else
      spheres[frame.parent].right = reference;
  }
  return GetNode(rootReference);
}

// --- Streaming -------------------------------------------------------------------

ZoStreamError ZoColModel::WriteToStream(ZoStream& stream) const {
  if (triangleSet == nullptr) {
    stream << int32_t{0};
    return stream.Status();
  }
  stream << int32_t{1};
  stream << *triangleSet;
  int32_t n = triangleSet->GetNumTriangles();
  bool tree = leaves != nullptr && spheres != nullptr && depth > 0 && numLeaves >= 1 && numLeaves == n &&
              numSpheres == (n == 1 ? 1 : n - 1);
  stream << (tree ? depth : int32_t{0});
  if (!tree) return stream.Status();
  bool shortRecords = zoversion::IsShortTreeVersion(stream.version);
  auto writeNode = [&stream, shortRecords](ZoNode const& node) {
    stream << node.center.x << node.center.y << node.center.z << NodeWord(node);
    if (!shortRecords) stream << node.radius;
  };
  for (int32_t i = 0; i < numLeaves && stream.Status() == ZoStreamOk; ++i) writeNode(leaves[i]);
  for (int32_t k = 0; k < numSpheres && stream.Status() == ZoStreamOk; ++k) {
    writeNode(spheres[k]);
    stream << spheres[k].left << spheres[k].right;
  }
  if (stream.version >= zoversion::kOrientedBox) {
    ZoTransform3 const& t = orientedBox.transform;
    stream << t.translation.x << t.translation.y << t.translation.z << t.rotation.w << t.rotation.x
           << t.rotation.y << t.rotation.z << orientedBox.size.x << orientedBox.size.y << orientedBox.size.z;
  }
  return stream.Status();
}

ZoStreamError ZoColModel::ReadFromStream(ZoStream& stream) {
  // Reading replaces what the model held.
  if (leaves != nullptr || spheres != nullptr) DeleteSphereTree();
  leaves = nullptr;
  spheres = nullptr;
  numLeaves = numSpheres = depth = 0;
  delete triangleSet;
  triangleSet = nullptr;
  orientedBox = ZoOrientedBox();
  boxMin = boxMax = ZoVector3();

  int32_t hasSet = 0;
  if ((stream >> hasSet).Status() != ZoStreamOk) return stream.Status();
  if (hasSet != 0 && hasSet != 1) {
    return stream.FailAt(stream.Position() - 4, ZoStreamFormatError, "has-set flag %d is neither 0 nor 1", hasSet);
  }
  if (hasSet == 0) return stream.Status();
  auto* set = new (std::nothrow) ZoTriangleSet;
  if (set == nullptr) {
    return zostreamio::OutOfMemory(stream, ZoStreamFormatError);
  }
  if ((stream >> *set).Status() != ZoStreamOk) {
    delete set;
    return stream.Status();
  }
  triangleSet = set;
  int32_t treeDepth = 0;
  if ((stream >> treeDepth).Status() != ZoStreamOk) return stream.Status();
  if (treeDepth < 0) {
    return stream.FailAt(stream.Position() - 4, ZoStreamFormatError, "tree depth %d is negative", treeDepth);
  }
  if (treeDepth == 0) return stream.Status();
  if (ReadTree(stream, treeDepth) != ZoStreamOk) FreeTree();
  return stream.Status();
}

namespace {

// The records of a stored tree are read and checked in runs of this many
// bytes: one transfer for the trees of usual meshes, and runs that are
// checked while they are still in the cache for huge ones.
constexpr int64_t kTreeRunBytes = 1024 * 1024;

// The word of a node record that holds its type (low two bits) and index.
uint32_t NodeWordOf(ZoNode const& node) {
  static_assert(offsetof(ZoNode, radius) == 16, "the type and index word lies between centre and radius");
  uint32_t value;
  std::memcpy(&value, reinterpret_cast<unsigned char const*>(&node) + 12, sizeof value);
  return value;
}

// Checks, one sphere node at a time in stored order, that the links of a
// stored tree over several leaves are those the builder makes: a tree of
// every sphere node once, numbered in pre-order (a node's left child, when
// a sphere node, is the next node; its right child, when one, comes right
// after the left subtree), whose leaf references reach every leaf once and
// whose deepest leaf (leaves counting 1) lies at the stored depth. The walk
// is the pre-order itself: the node to visit next must be each node as it
// arrives. That is a sphere child of the node just visited (the left one
// first) or else the latest right child still waiting on a stack; each
// keeps its depth. Nothing is dereferenced before it is checked.
class TreeWalk {
 public:
  TreeWalk(int32_t sphereCount, int32_t leafCount) : leaves(static_cast<uint32_t>(leafCount)) {
    // One block: the stack (each node adds at most one waiting child, so it
    // never holds more than sphereCount), then a byte per leaf.
    size_t const stackBytes = static_cast<size_t>(sphereCount) * sizeof(Entry);
    block.reset(new (std::nothrow) unsigned char[stackBytes + static_cast<size_t>(leafCount)]);
    if (block == nullptr) {
      broken = true;
      return;
    }
    stack = reinterpret_cast<Entry*>(block.get());
    seen = block.get() + stackBytes;
    std::memset(seen, 0, static_cast<size_t>(leafCount));
  }

  // Visits sphere node `k`, the next in stored order.
  void Visit(uint32_t k, ZoSphereNode const& node) {
    if (broken || !waiting || next.index != k) {
      broken = true;
      return;
    }
    int32_t const childDepth = next.depth + 1;
    uint32_t const left = node.left;
    uint32_t const right = node.right;
    bool const leftSphere = ZoSphereNode::IsSphereReference(left);
    bool const rightSphere = ZoSphereNode::IsSphereReference(right);
    if (!leftSphere) Leaf(left, childDepth);
    if (!rightSphere) Leaf(right, childDepth);
    if (leftSphere) {
      if (rightSphere) stack[top++] = {ZoSphereNode::ReferenceIndex(right), childDepth};
      next = {ZoSphereNode::ReferenceIndex(left), childDepth};
    } else if (rightSphere) {
      next = {ZoSphereNode::ReferenceIndex(right), childDepth};
    } else {
      waiting = top > 0;
      if (waiting) next = stack[--top];
    }
  }

  // True when every node visited so far was in its place and the walk
  // ended with every node visited at the stored depth.
  bool Whole(int32_t treeDepth) const { return !broken && !waiting && deepestLeaf == treeDepth; }

 private:
  struct Entry {
    uint32_t index;
    int32_t depth;
  };

  void Leaf(uint32_t index, int32_t childDepth) {
    if (index >= leaves || seen[index] != 0) {
      broken = true;
      return;
    }
    seen[index] = 1;
    deepestLeaf = childDepth > deepestLeaf ? childDepth : deepestLeaf;
  }

  uint32_t const leaves;
  std::unique_ptr<unsigned char[]> block;
  Entry* stack = nullptr;
  unsigned char* seen = nullptr;
  uint32_t top = 0;
  // The node the walk must meet next (the root first), while `waiting`.
  Entry next = {0, 1};
  bool waiting = true;
  int32_t deepestLeaf = 0;
  bool broken = false;
};

}  // namespace

ZoStreamError ZoColModel::ReadTree(ZoStream& stream, int32_t treeDepth) {
  auto fail = [&stream](char const* reason) {
    if (stream.Status() == ZoStreamOk) stream.Fail(ZoStreamFormatError, "%s", reason);
    return stream.Status();
  };
  int32_t n = triangleSet->GetNumTriangles();
  if (triangleSet->GetType() != ZoTriSetIndexed || n < 1) return fail("a sphere tree needs an indexed set of triangles");
  int32_t sphereCount = n == 1 ? 1 : n - 1;
  uint32_t recordSize = zoversion::IsShortTreeVersion(stream.version) ? 16 : 20;
  int64_t needed = int64_t{n} * recordSize + int64_t{sphereCount} * (recordSize + 8);
  int64_t left = stream.BytesLeft();
  if (left >= 0 && needed > left) {
    return stream.Fail(ZoStreamReadError, "a tree over %d triangles needs %lld bytes, %lld left", n,
                       static_cast<long long>(needed), static_cast<long long>(left));
  }
  if (!stream.CheckCount(n, recordSize, sizeof(ZoLeafNode)) ||
      !stream.CheckCount(sphereCount, recordSize + 8, sizeof(ZoSphereNode)))
    return stream.Status();
  // The records fill both arrays whole (short ones are widened in place).
  leaves = zogeometry::NewArrayForOverwrite<ZoLeafNode>(n);
  spheres = zogeometry::NewArrayForOverwrite<ZoSphereNode>(sphereCount);
  if (leaves == nullptr || spheres == nullptr) return zostreamio::OutOfMemory(stream, ZoStreamFormatError);
  numLeaves = n;
  numSpheres = sphereCount;
  depth = treeDepth;

  // Each array is read and checked run by run, but fails as if it had been
  // read whole and then checked record by record: a read failure first,
  // then the first record out of place, at the offset behind it; links
  // that do not form the tree are reported after the box is read.
  int64_t const start = stream.Position();
  auto failAt = [&stream, start](int64_t recordEnd, char const* reason) {
    if (stream.Status() == ZoStreamOk) stream.FailAt(start >= 0 ? start + recordEnd : -1, ZoStreamFormatError, "%s", reason);
    return stream.Status();
  };
  // Leaf i's word is i << 2 (type 0, index i); a sphere node's is 1. A run
  // is compared without a branch and searched only when it is out of place.
  int64_t misplaced = -1;
  int32_t const leafRun = static_cast<int32_t>(kTreeRunBytes / sizeof(ZoLeafNode));
  for (int32_t first = 0; first < n; first += leafRun) {
    int32_t const count = n - first < leafRun ? n - first : leafRun;
    if (ReadNodeRecords(stream, leaves + first, count, sizeof(ZoLeafNode), recordSize) != ZoStreamOk)
      return stream.Status();
    if (misplaced >= 0) continue;
    uint32_t differs = 0;
    for (int32_t i = first; i < first + count; ++i) differs |= NodeWordOf(leaves[i]) ^ (static_cast<uint32_t>(i) << 2);
    if (differs == 0 && first + count <= (1 << 30)) continue;
    for (int32_t i = first; i < first + count && misplaced < 0; ++i)
      if (leaves[i].type != 0 || leaves[i].index != static_cast<uint32_t>(i)) misplaced = i;
  }
  if (misplaced >= 0) return failAt((misplaced + 1) * int64_t{recordSize}, "a leaf record out of place");

  TreeWalk walk(sphereCount, n);
  int32_t const sphereRun = static_cast<int32_t>(kTreeRunBytes / sizeof(ZoSphereNode));
  for (int32_t first = 0; first < sphereCount; first += sphereRun) {
    int32_t const count = sphereCount - first < sphereRun ? sphereCount - first : sphereRun;
    if (ReadNodeRecords(stream, spheres + first, count, sizeof(ZoSphereNode), recordSize + 8) != ZoStreamOk)
      return stream.Status();
    if (misplaced >= 0) continue;
    // The walk takes each record as its word is compared, in one pass over
    // the run; a misplaced record fails first whatever the walk made of it.
    uint32_t differs = 0;
    if (n > 1) {
      for (int32_t k = first; k < first + count; ++k) {
        differs |= NodeWordOf(spheres[k]) ^ 1u;
        walk.Visit(static_cast<uint32_t>(k), spheres[k]);
      }
    } else {
      differs = NodeWordOf(spheres[0]) ^ 1u;
    }
    if (differs != 0)
      for (int32_t k = first; k < first + count && misplaced < 0; ++k)
        if (spheres[k].type != 1 || spheres[k].index != 0) misplaced = k;
  }
  if (misplaced >= 0)
    return failAt(int64_t{n} * recordSize + (misplaced + 1) * int64_t{recordSize + 8}, "a sphere record out of place");
  if (stream.version >= zoversion::kOrientedBox) {
    float box[10];
    if (zogeometry::ReadBlock(stream, box, sizeof box) != ZoStreamOk) return stream.Status();
    orientedBox.transform.translation = ZoVector3(box[0], box[1], box[2]);
    orientedBox.transform.rotation = ZoRotation3(box[3], box[4], box[5], box[6]);
    orientedBox.size = ZoVector3(box[7], box[8], box[9]);
  }
  // A single leaf hangs from one sphere node whose references are both 0.
  bool const linked = n == 1 ? spheres[0].left == 0 && spheres[0].right == 0 && treeDepth == 1 : walk.Whole(treeDepth);
  if (!linked) return fail("the sphere tree's links do not form a tree over every leaf once");
  return stream.Status();
}

ZoStreamError ZoColModel::ReadNodeRecords(ZoStream& stream, void* nodes, int32_t count, size_t nodeSize,
                                          uint32_t recordSize) {
  // A record is the image of its node (the type is the low two bits of the
  // word, as bit-fields are laid out here), so the records arrive as one
  // block straight into the array.
  if (zogeometry::ReadBlock(stream, nodes, int64_t{count} * recordSize) != ZoStreamOk) return stream.Status();
  if (recordSize == nodeSize) return stream.Status();
  // Short records lack the radius, which reads as 0. They are moved to
  // their places from the back, so that none is overwritten before it has
  // moved: centre and word stay in front, the child references behind
  // them move behind the radius.
  auto* bytes = static_cast<unsigned char*>(nodes);
  size_t const tail = recordSize - 16;
  for (size_t i = static_cast<size_t>(count); i-- > 0;) {
    unsigned char* to = bytes + i * nodeSize;
    std::memmove(to, bytes + i * recordSize, recordSize);
    std::memmove(to + 20, to + 16, tail);
    std::memset(to + 16, 0, 4);
  }
  return stream.Status();
}

ZoStreamObject* ZoColModel::CreateStreamObject() { return new (std::nothrow) ZoColModel; }

static ZoStreamConstructorEntry const kRegisterColModel(ZoTypeCode::ColModel, &ZoColModel::CreateStreamObject);
