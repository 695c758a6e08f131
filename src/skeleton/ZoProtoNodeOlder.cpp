// The records of the older proto-node layout (stream versions below 100),
// read only: geometry records, collision-tree records and style records.
#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/geometry/ZoTriangleSet.h>

#include "skeleton/ZoSkeletonIo.h"
#include "skeleton/ZoProtoNodeLayout.h"

#include <memory>
#include <new>
#include <variant>
#include <vector>

using zoactorio::ReadBlock;
using zoactorio::ReadValue;

namespace zoprotonode {
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

// Reads a handle record; below version 33 kinds 1 and 2 trade places.
void ReadOlderHandle(ZoStream& stream, ZoProtoHandleInfo& handle) {
  if (ReadBlock(stream, handle) != ZoStreamOk) return;
  bool kindsInOrder = stream.version >= zoversion::kHandleKindOrder;
  if (kindsInOrder) return;
  if (handle.handleKind == 1) {
    handle.handleKind = 2;
  } else if (handle.handleKind == 2) {
    handle.handleKind = 1;
  }
}

// Reads a geometry record: width and height stay 0 where the version has
// no square.
void ReadOlderGeometryInfo(ZoStream& stream, ZoProtoGeomInfo& g) {
  g.width = 0.0f;
  g.height = 0.0f;
  if (stream.version >= zoversion::kNodeSquare) {
    if (ReadValue(stream, g.squareKind) != ZoStreamOk) return;
    if (g.material.ReadOlderRecord(stream) != ZoStreamOk) return;
    ReadValue(stream, g.width);
    ReadValue(stream, g.height);
  }
  if (stream.version >= zoversion::kNodeGeomInt0) ReadValue(stream, g.geomInt0);
  if (stream.version >= zoversion::kNodeGeomInts) {
    ReadValue(stream, g.geomInt1);
    ReadValue(stream, g.geomInt2);
    ReadValue(stream, g.geomInt3);
  }
}

// Reads a floor record: both words from version 30, the first alone from 25.
void ReadOlderFloor(ZoStream& stream, ZoProtoFloorInfo& floor) {
  if (stream.version >= zoversion::kFloorRecord) {
    ReadBlock(stream, floor);
  } else if (stream.version >= zoversion::kFloorWord) {
    ReadValue(stream, floor.floorWord0);
  }
}

}  // namespace

ZoTriangleSet* ReadOlderGeometryRecord(ZoStream& stream) {
  std::unique_ptr<ZoTriangleSet> set(new (std::nothrow) ZoTriangleSet);
  if (set == nullptr) {
    OutOfMemory(stream);
    return nullptr;
  }

  // Materials.
  int32_t numMaterials = 0;
  if (!stream.ReadLoopCount(numMaterials, kMinOlderMaterial, sizeof(ZoMaterial))) return nullptr;
  if (!set->SetNumMaterials(numMaterials)) {
    OutOfMemory(stream);
    return nullptr;
  }
  for (int32_t i = 0; i < numMaterials; ++i)
    if (set->Material(i).ReadOlderRecord(stream) != ZoStreamOk) return nullptr;

  // Vertices: position, normal and one texture pair each.
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

  // Triangles: three corners and a material index, int16 each.
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

  // A trailer of 24 bytes from version 43.
  if (stream.version >= zoversion::kGeometryTrailer && Skip(stream, 24) != ZoStreamOk) return nullptr;

  // Corners must lie in the vertices (the normals are averaged over them);
  // triangles need three vertices. Material indices are kept as read.
  if (numTriangles > 0 && numVertices < 3) {
    stream.Fail(ZoStreamFormatError, "%d triangles on %d vertices", numTriangles, numVertices);
    return nullptr;
  }
  for (OlderTriangle const& t : triangles)
    for (int16_t corner : t.corner)
      if (corner < 0 || corner >= numVertices) {
        stream.Fail(ZoStreamFormatError, "corner index %d outside the %d vertices", corner, numVertices);
        return nullptr;
      }

  // The set: normals, one texture pair per vertex, material indices.
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

// The root node record, then a string.
ZoStreamError SkipOlderTree(ZoStream& stream) {
  if (SkipOlderTreeNode(stream) != ZoStreamOk) return stream.Status();
  ZoString dropped;
  return ReadValue(stream, dropped);
}

ZoStreamError ReadOlderStyleRecord(ZoStream& stream, ZoProtoStyleRecord& record) {
  std::visit(Overloaded{[](std::monostate) {},
                        [&stream](ZoProtoGeomInfo& g) { ReadOlderGeometryInfo(stream, g); },
                        [&stream](ZoProtoHandleInfo& handle) { ReadOlderHandle(stream, handle); },
                        [&stream](ZoProtoFloorInfo& floor) { ReadOlderFloor(stream, floor); },
                        [&stream](ZoCamera& camera) { camera.ReadOlderRecord(stream); },
                        [&stream](ZoLight& light) { light.ReadOlderRecord(stream); },
                        [&stream](ZoProtoSplineInfo& spline) { stream >> spline; }},
             record);
  return stream.Status();
}

}  // namespace zoprotonode

