// The older proto-node layout (stream versions below 100), read only.
#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include "skeleton/ZoSkeletonIo.h"
#include "skeleton/ZoProtoNodeLayout.h"

#include <cstring>
#include <memory>
#include <new>
#include <vector>

using zoactorio::ReadBlock;
using zoactorio::ReadValue;
using namespace zoprotonode;

namespace {

// Tags of the older collision-tree records.
constexpr int32_t kOlderLeafTag = 0x4D4C664E;    // "NfLM" in the file
constexpr int32_t kOlderSphereTag = 0x4D53704E;  // "NpSM" in the file

// The smallest older material record: two empty names, two colours, three
// words, the scalar, the alpha and the flags.
constexpr uint32_t kMinOlderMaterial = 4 + 4 + 12 + 12 + 12 + 4 + 4 + 4;

struct OlderVertex {
  ZoVector3 position;
  ZoVector3 normal;
  float u;
  float v;
};

struct OlderTriangle {
  int16_t corner[3];
  int16_t material;
};

static_assert(sizeof(OlderVertex) == 32 && sizeof(OlderTriangle) == 8, "older geometry records are read raw");


// Reads and drops `count` bytes.
ZoStreamError Skip(ZoStream& stream, uint32_t count) {
  unsigned char scratch[132];
  while (count > 0 && stream.Status() == ZoStreamOk) {
    uint32_t part = count < sizeof scratch ? count : static_cast<uint32_t>(sizeof scratch);
    stream.ReadBytes(part, scratch);
    count -= part;
  }
  return stream.Status();
}

// Reads an older geometry record into a new indexed set; null (with the
// stream's error) when the record is truncated, inconsistent or cannot be
// stored.
ZoTriangleSet* ReadOlderGeometryRecord(ZoStream& stream) {
  std::unique_ptr<ZoTriangleSet> set(new (std::nothrow) ZoTriangleSet);
  if (set == nullptr) {
    OutOfMemory(stream);
    return nullptr;
  }

  // 1. Materials.
  int32_t numMaterials = 0;
  if (!stream.ReadLoopCount(numMaterials, kMinOlderMaterial, sizeof(ZoMaterial))) return nullptr;
  if (!set->SetNumMaterials(numMaterials)) {
    OutOfMemory(stream);
    return nullptr;
  }
  for (int32_t i = 0; i < numMaterials; ++i)
    if (set->Material(i).ReadOlderRecord(stream) != ZoStreamOk) return nullptr;

  // 2. Vertices: position, normal and one texture pair each.
  int32_t numVertices = 0;
  if (!stream.ReadLoopCount(numVertices, sizeof(OlderVertex), sizeof(OlderVertex))) return nullptr;
  std::vector<OlderVertex> vertices;
  std::vector<OlderTriangle> triangles;
  try {
    vertices.resize(static_cast<size_t>(numVertices));
  } catch (std::bad_alloc const&) {
    OutOfMemory(stream);
    return nullptr;
  }
  if (numVertices > 0 && stream.ReadBytes(static_cast<uint32_t>(numVertices) * sizeof(OlderVertex),
                                           vertices.data()) != ZoStreamOk)
    return nullptr;

  // 3. Triangles: three corners and a material index, int16 each.
  int32_t numTriangles = 0;
  if (!stream.ReadLoopCount(numTriangles, sizeof(OlderTriangle), sizeof(OlderTriangle) + sizeof(ZoTriangle)))
    return nullptr;
  try {
    triangles.resize(static_cast<size_t>(numTriangles));
  } catch (std::bad_alloc const&) {
    OutOfMemory(stream);
    return nullptr;
  }
  if (numTriangles > 0 && stream.ReadBytes(static_cast<uint32_t>(numTriangles) * sizeof(OlderTriangle),
                                            triangles.data()) != ZoStreamOk)
    return nullptr;

  // 4. A trailer of 24 bytes from version 43.
  if (stream.version >= zoversion::kGeometryTrailer && Skip(stream, 24) != ZoStreamOk) return nullptr;

  // Every index must lie in what it indexes; triangles need three vertices.
  if (numTriangles > 0 && numVertices < 3) {
    stream.Fail(ZoStreamFormatError, "%d triangles on %d vertices", numTriangles, numVertices);
    return nullptr;
  }
  for (OlderTriangle const& t : triangles) {
    for (int16_t corner : t.corner)
      if (corner < 0 || corner >= numVertices) {
        stream.Fail(ZoStreamFormatError, "corner index %d outside the %d vertices", corner, numVertices);
        return nullptr;
      }
    if (t.material < 0 || t.material >= set->GetNumMaterials()) {
      stream.Fail(ZoStreamFormatError, "material index %d outside the %d materials", t.material, set->GetNumMaterials());
      return nullptr;
    }
  }

  // 5. The set: normals, one texture pair per vertex, material indices.
  int const flags = ZoTriSetNormals | ZoTriSetTextures | ZoTriSetMaterialIndices;
  if (!set->Create(ZoTriSetIndexed, flags, numTriangles, numVertices, 1)) {
    OutOfMemory(stream);
    return nullptr;
  }
  for (int32_t i = 0; i < numVertices; ++i) {
    OlderVertex const& v = vertices[static_cast<size_t>(i)];
    set->Vertex(i) = v.position;
    set->Normal(i) = v.normal;
    set->TextureVertex(i, 0).Set(v.u, v.v);
  }
  for (int32_t i = 0; i < numTriangles; ++i) {
    OlderTriangle const& t = triangles[static_cast<size_t>(i)];
    set->Triangle(i).Set(t.corner[0], t.corner[1], t.corner[2]);
    set->MaterialIndex(i) = t.material;
  }
  set->AssignAverageNormals();
  return set.release();
}

// Reads and drops one older collision-tree node record, with its children.
ZoStreamError SkipOlderTreeNode(ZoStream& stream) {
  ZoStreamNesting level(stream);
  if (!level.Entered()) return stream.Status();
  int32_t tag = 0;
  if (ReadValue(stream, tag) != ZoStreamOk) return stream.Status();
  if (tag == kOlderLeafTag) return Skip(stream, 16 + 4);
  if (tag != kOlderSphereTag) return stream.Status();  // any other tag ends the record
  if (Skip(stream, 16) != ZoStreamOk) return stream.Status();
  int32_t flag = 0;
  if (ReadValue(stream, flag) != ZoStreamOk) return stream.Status();
  if (flag != 0 && Skip(stream, 132) != ZoStreamOk) return stream.Status();
  for (int child = 0; child < 2; ++child) {
    if (ReadValue(stream, flag) != ZoStreamOk) return stream.Status();
    if (flag != 0 && SkipOlderTreeNode(stream) != ZoStreamOk) return stream.Status();
  }
  return stream.Status();
}

// Reads and drops an older collision-tree record: the root node record and
// a string.
ZoStreamError SkipOlderTree(ZoStream& stream) {
  if (SkipOlderTreeNode(stream) != ZoStreamOk) return stream.Status();
  ZoString dropped;
  return ReadValue(stream, dropped);
}

}  // namespace

ZoStreamError ZoProtoNode::ReadOlder(ZoStream& stream) {
  int32_t const version = stream.version;

  // 1. Name and home transform.
  if (ReadValue(stream, name) != ZoStreamOk) return stream.Status();
  ZoTransform3 home = homeTransform;
  if (ReadBlock(stream, home) != ZoStreamOk) return stream.Status();
  SetHomeTransform(home);

  // 2, 3. Model format and geometry.
  if (ReadValue(stream, modelFormat) != ZoStreamOk) return stream.Status();
  bool formatOneMeansOne = version >= zoversion::kNodeFormatOne;
  if (!formatOneMeansOne && modelFormat == SetOnly) modelFormat = SetRebuildTree;
  if (ReadOlderGeometry(stream) != ZoStreamOk) return stream.Status();

  // 4. Joint limit.
  if (ReadJointLimit(stream) != ZoStreamOk) return stream.Status();

  // 5. Collision spheres: 16-byte records up to version 25.
  uint32_t recordSize = version >= zoversion::kLongSphereRecords ? 20 : 16;
  if (ReadSpheres(stream, recordSize) != ZoStreamOk) return stream.Status();

  // 6. Properties.
  if (version >= zoversion::kNodeProperties && (stream >> properties).Status() != ZoStreamOk) return stream.Status();

  // 7. Style and its record.
  if (ReadOlderStyleRecord(stream) != ZoStreamOk) return stream.Status();

  // 8. One word, ignored.
  if (version >= zoversion::kNodeIgnoredWord) {
    int32_t ignored = 0;
    if (ReadValue(stream, ignored) != ZoStreamOk) return stream.Status();
  }

  // 9. Children, in this same layout.
  if (ReadChildren(stream, kMinOlderBody) != ZoStreamOk) return stream.Status();

  // 10. The UV flag; 0 flips the first texture pair of every vertex.
  if (version >= zoversion::kNodeUVFlag) {
    if (ReadValue(stream, uvNormalized) != ZoStreamOk) return stream.Status();
    ZoTriangleSet* set = TriangleSet();
    if (uvNormalized == 0 && set != nullptr && set->GetNumTexturesPerVertex() >= 1 && set->GetNumVertices() >= 1) {
      for (int32_t i = 0; i < set->GetNumVertices(); ++i) {
        ZoTextureVertex& pair = set->TextureVertex(i, 0);
        pair.v = 1.0f - pair.v;
      }
    }
  }

  // 11. No stiffness in this layout.
  stiffness = 1.0f;
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadOlderGeometry(ZoStream& stream) {
  if (modelFormat != SetOnly && modelFormat != ModelWithTree && modelFormat != SetRebuildTree) return stream.Status();
  std::unique_ptr<ZoTriangleSet> set(ReadOlderGeometryRecord(stream));
  if (set == nullptr) return stream.Status();
  if (modelFormat == SetRebuildTree) {
    SetColModel(set.release());
    return stream.Status();
  }
  // The stored tree is read and dropped: the tree is rebuilt from the set.
  if (modelFormat == ModelWithTree && SkipOlderTree(stream) != ZoStreamOk) return stream.Status();
  std::unique_ptr<ZoColModel> model(new (std::nothrow) ZoColModel);
  if (model == nullptr) return OutOfMemory(stream);
  model->SetTriangleSet(set.release());
  SetColModel(model.release());
  if (modelFormat == ModelWithTree) BuildTree();
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadOlderStyleRecord(ZoStream& stream) {
  int32_t const version = stream.version;
  if (ReadStyleCode(stream) != ZoStreamOk) return stream.Status();
  switch (style) {
    case Geometry: {
      if (geomInfo == nullptr) return OutOfMemory(stream);
      ZoProtoGeomInfo& g = *geomInfo;
      g.width = 0.0f;
      g.height = 0.0f;
      if (version >= zoversion::kNodeSquare) {
        if (ReadValue(stream, g.squareKind) != ZoStreamOk) return stream.Status();
        if (g.material.ReadOlderRecord(stream) != ZoStreamOk) return stream.Status();
        ReadValue(stream, g.width);
        ReadValue(stream, g.height);
      }
      if (version >= zoversion::kNodeGeomInt0) ReadValue(stream, g.geomInt0);
      if (version >= zoversion::kNodeGeomInts) {
        ReadValue(stream, g.geomInt1);
        ReadValue(stream, g.geomInt2);
        ReadValue(stream, g.geomInt3);
      }
      break;
    }
    case Handle: {
      if (handleInfo == nullptr) return OutOfMemory(stream);
      if (ReadBlock(stream, *handleInfo) != ZoStreamOk) return stream.Status();
      bool kindsInOrder = version >= zoversion::kHandleKindOrder;
      if (!kindsInOrder) {
        if (handleInfo->handleKind == 1) {
          handleInfo->handleKind = 2;
        } else if (handleInfo->handleKind == 2) {
          handleInfo->handleKind = 1;
        }
      }
      break;
    }
    case Floor:
      if (floorInfo == nullptr) return OutOfMemory(stream);
      if (version >= zoversion::kFloorRecord) {
        ReadBlock(stream, *floorInfo);
      } else if (version >= zoversion::kFloorWord) {
        ReadValue(stream, floorInfo->floorWord0);
      }
      break;
    case Camera:
      if (cameraInfo == nullptr) return OutOfMemory(stream);
      cameraInfo->ReadOlderRecord(stream);
      break;
    case Light:
      if (lightInfo == nullptr) return OutOfMemory(stream);
      if (lightInfo->ReadOlderRecord(stream) != ZoStreamOk) return stream.Status();
      CreateColModel();
      break;
    case SplineStyle:
      if (splineInfo == nullptr) return OutOfMemory(stream);
      stream >> *splineInfo;
      break;
    default:
      break;
  }
  return stream.Status();
}
