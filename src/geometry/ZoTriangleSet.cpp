#include <zoactor/geometry/ZoTriangleSet.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "geometry/ZoGeometryCommon.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace {

// The process-wide set counter. Atomic, so that sets made on different
// threads still get different ids.
std::atomic<int32_t> gSetCounter{0};

int32_t NextId() { return gSetCounter.fetch_add(1, std::memory_order_relaxed); }

// A zero-initialised (default-constructed) array of n elements; null for
// n ≤ 0 or when it cannot be allocated.
template <class T>
T* NewArray(int64_t n) {
  if (n <= 0 || static_cast<uint64_t>(n) > std::numeric_limits<size_t>::max() / sizeof(T)) return nullptr;
  return new (std::nothrow) T[static_cast<size_t>(n)]();
}

// A copy of the first n elements of `from` (null for n ≤ 0). `ok` turns
// false when an allocation the copy needs fails.
template <class T>
T* CopyArray(T const* from, int64_t n, bool& ok) {
  if (n <= 0 || from == nullptr) return nullptr;
  T* to = NewArray<T>(n);
  if (to == nullptr) {
    ok = false;
    return nullptr;
  }
  for (int64_t i = 0; i < n; ++i) to[i] = from[i];
  return to;
}

// The smallest number of bytes a material body takes at any version.
constexpr int64_t kMinMaterialBytes = 56;

// The counts a layout gives to the counts asked for: negative counts are
// 0; indexed sets need 3 vertices for triangles; sequential sets have
// numTriangles + 2 vertices; polylines and undefined sets no triangles;
// texture pairs need the texture flag. False for an unknown type or counts
// whose arrays no set can index.
bool LayoutCounts(int32_t type, int32_t flags, int64_t& nt, int64_t& nv, int64_t& perVertex) {
  if (type < ZoTriSetIndexed || type > ZoTriSetUndefined) return false;
  if (nt < 0) nt = 0;
  if (nv < 0) nv = 0;
  if ((flags & ZoTriSetTextures) == 0 || perVertex < 0) perVertex = 0;
  switch (type) {
    case ZoTriSetIndexed:
      if (nv < 3) nt = 0;
      break;
    case ZoTriSetSequential1:
    case ZoTriSetSequential2:
      nv = nt + 2;
      break;
    default:  // polylines and undefined sets hold vertices only
      nt = 0;
      break;
  }
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  return nt <= kMax && nv <= kMax && perVertex <= kMax && nv * perVertex <= kMax;
}

bool CornersInRange(ZoTriangle const* triangles, int32_t numTriangles, int32_t numVertices) {
  // A corner v is in range when neither v nor (numVertices − 1 − v) is
  // negative, so the OR of both over every corner has its sign bit clear
  // exactly when all are. Without a branch, in fixed runs of 16 the
  // compiler turns into lanes: sets are checked at the speed they are read.
  static_assert(sizeof(ZoTriangle) == 3 * sizeof(int32_t), "a triangle is its three corners");
  if (numTriangles <= 0) return true;
  int32_t const* corners = triangles[0].corner;
  int64_t const n = int64_t{numTriangles} * 3;
  uint32_t const last = static_cast<uint32_t>(numVertices) - 1u;
  uint32_t outside = 0;
  int64_t k = 0;
  for (; k + 16 <= n; k += 16) {
    uint32_t run = 0;
    for (int j = 0; j < 16; ++j) {
      auto v = static_cast<uint32_t>(corners[k + j]);
      run |= v | (last - v);
    }
    outside |= run;
  }
  for (; k < n; ++k) {
    auto v = static_cast<uint32_t>(corners[k]);
    outside |= v | (last - v);
  }
  return (outside >> 31) == 0;
}

}  // namespace

// --- Construction --------------------------------------------------------------

ZoTriangleSet::ZoTriangleSet()
    : type(ZoTriSetUndefined),
      flags(0),
      id(NextId()),
      sourceSet(nullptr),
      numVertices(0),
      vertices(nullptr),
      normals(nullptr),
      colors(nullptr),
      textureVertices(nullptr),
      numTexturesPerVertex(0),
      numTriangles(0),
      triangles(nullptr),
      materialIndices(nullptr),
      numMaterials(0),
      materials(nullptr) {}

ZoTriangleSet::ZoTriangleSet(ZoTriangleSet const& other) : ZoTriangleSet() {
  if (!CopyFrom(other)) Clear(true);
}

ZoTriangleSet& ZoTriangleSet::operator=(ZoTriangleSet const& other) {
  if (this == &other) return *this;
  // Build the copy aside, then take it over: `other` may share this set's
  // arrays (a set derived from this one), which must outlive the copy.
  ZoTriangleSet copy(other);
  if (copy.sourceSet != nullptr && Owns() &&
      ((copy.vertices != nullptr && copy.vertices == vertices) ||
       (copy.triangles != nullptr && copy.triangles == triangles))) {
    // The copy would share arrays that this set is about to free: give it
    // arrays of its own.
    bool ok = true;
    ZoVector3* ownVertices = CopyArray(copy.vertices, copy.numVertices, ok);
    ZoTriangle* ownTriangles = CopyArray(copy.triangles, copy.numTriangles, ok);
    if (!ok) {
      delete[] ownVertices;
      delete[] ownTriangles;
      copy.Clear(true);
    } else {
      copy.vertices = ownVertices;
      copy.triangles = ownTriangles;
      copy.sourceSet = nullptr;
    }
  }
  std::swap(type, copy.type);
  std::swap(flags, copy.flags);
  std::swap(id, copy.id);  // the copy's id is fresh
  std::swap(sourceSet, copy.sourceSet);
  std::swap(numVertices, copy.numVertices);
  std::swap(vertices, copy.vertices);
  std::swap(normals, copy.normals);
  std::swap(colors, copy.colors);
  std::swap(textureVertices, copy.textureVertices);
  std::swap(numTexturesPerVertex, copy.numTexturesPerVertex);
  std::swap(numTriangles, copy.numTriangles);
  std::swap(triangles, copy.triangles);
  std::swap(materialIndices, copy.materialIndices);
  std::swap(numMaterials, copy.numMaterials);
  std::swap(materials, copy.materials);
  return *this;
}

ZoTriangleSet::~ZoTriangleSet() { Clear(true); }

void ZoTriangleSet::Clear(bool materialsToo) {
  if (Owns()) {
    delete[] vertices;
    delete[] triangles;
  }
  delete[] normals;
  delete[] colors;
  delete[] textureVertices;
  delete[] materialIndices;
  vertices = nullptr;
  triangles = nullptr;
  normals = nullptr;
  colors = nullptr;
  textureVertices = nullptr;
  materialIndices = nullptr;
  sourceSet = nullptr;
  type = ZoTriSetUndefined;
  flags = 0;
  numVertices = 0;
  numTriangles = 0;
  numTexturesPerVertex = 0;
  if (materialsToo) {
    delete[] materials;
    materials = nullptr;
    numMaterials = 0;
  }
}

bool ZoTriangleSet::CopyFrom(ZoTriangleSet const& other) {
  bool ok = true;
  type = other.type;
  flags = other.flags;
  numVertices = other.numVertices;
  numTriangles = other.numTriangles;
  numTexturesPerVertex = other.numTexturesPerVertex;
  if (other.sourceSet != nullptr) {
    // A copy of a derived set is derived from the same source.
    sourceSet = other.sourceSet;
    vertices = other.vertices;
    triangles = other.triangles;
  } else {
    vertices = CopyArray(other.vertices, numVertices, ok);
    triangles = CopyArray(other.triangles, numTriangles, ok);
  }
  if ((flags & ZoTriSetNormals) != 0) normals = CopyArray(other.normals, numVertices, ok);
  if ((flags & ZoTriSetColors) != 0) colors = CopyArray(other.colors, numVertices, ok);
  if ((flags & ZoTriSetTextures) != 0)
    textureVertices =
        CopyArray(other.textureVertices, int64_t{numVertices} * numTexturesPerVertex, ok);
  if ((flags & ZoTriSetMaterialIndices) != 0) materialIndices = CopyArray(other.materialIndices, numTriangles, ok);
  materials = CopyArray(other.materials, other.numMaterials, ok);
  numMaterials = materials != nullptr ? other.numMaterials : 0;
  return ok;
}

bool ZoTriangleSet::Create(ZoTriangleSetType setType, int setFlags, int triangleCount, int vertexCount,
                           int texturesPerVertex) {
  return Allocate(setType, setFlags, triangleCount, vertexCount, texturesPerVertex, false);
}

bool ZoTriangleSet::Allocate(ZoTriangleSetType setType, int setFlags, int triangleCount, int vertexCount,
                             int texturesPerVertex, bool forOverwrite) {
  Clear(false);
  int32_t newFlags = setFlags & ZoTriSetAllFlags;
  int64_t nt = triangleCount, nv = vertexCount, perVertex = texturesPerVertex;
  if (!LayoutCounts(setType, newFlags, nt, nv, perVertex)) return false;
  int64_t textureCount = nv * perVertex;

  bool ok = true;
  // Arrays that a reader fills with one block are left unwritten for it.
  auto allocate = [&ok, forOverwrite](auto*& array, int64_t n, bool wanted) {
    using T = std::remove_reference_t<decltype(*array)>;
    array = nullptr;
    if (!wanted || n <= 0) return;
    array = forOverwrite ? zogeometry::NewArrayForOverwrite<T>(n) : NewArray<T>(n);
    if (array == nullptr) ok = false;
  };
  allocate(vertices, nv, true);
  allocate(normals, nv, (newFlags & ZoTriSetNormals) != 0);
  colors = nullptr;
  if ((newFlags & ZoTriSetColors) != 0 && nv > 0 && (colors = NewArray<ZoColor>(nv)) == nullptr) ok = false;
  allocate(textureVertices, textureCount, (newFlags & ZoTriSetTextures) != 0);
  allocate(triangles, nt, setType == ZoTriSetIndexed);
  allocate(materialIndices, nt, (newFlags & ZoTriSetMaterialIndices) != 0);
  if (!ok) {
    Clear(false);
    return false;
  }
  type = setType;
  flags = newFlags;
  numVertices = static_cast<int32_t>(nv);
  numTriangles = static_cast<int32_t>(nt);
  numTexturesPerVertex = static_cast<int32_t>(perVertex);
  return true;
}

bool ZoTriangleSet::Create(ZoTriangleSet* source, int setFlags, int texturesPerVertex) {
  if (source == nullptr || source == this) return false;
  // A source that shares this set's own arrays would lose them below.
  if (Owns() && ((vertices != nullptr && source->vertices == vertices) ||
                 (triangles != nullptr && source->triangles == triangles)))
    return false;
  Clear(false);
  int32_t newFlags = setFlags & ZoTriSetAllFlags;
  int64_t perVertex = (newFlags & ZoTriSetTextures) != 0 && texturesPerVertex > 0 ? texturesPerVertex : 0;
  int64_t nv = source->numVertices;
  int64_t nt = source->numTriangles;
  int64_t textureCount = nv * perVertex;
  if (textureCount > std::numeric_limits<int32_t>::max()) return false;
  bool ok = true;
  if ((newFlags & ZoTriSetNormals) != 0 && nv > 0) ok = ok && (normals = NewArray<ZoVector3>(nv)) != nullptr;
  if ((newFlags & ZoTriSetColors) != 0 && nv > 0) ok = ok && (colors = NewArray<ZoColor>(nv)) != nullptr;
  if ((newFlags & ZoTriSetTextures) != 0 && textureCount > 0)
    ok = ok && (textureVertices = NewArray<ZoTextureVertex>(textureCount)) != nullptr;
  if ((newFlags & ZoTriSetMaterialIndices) != 0 && nt > 0)
    ok = ok && (materialIndices = NewArray<int16_t>(nt)) != nullptr;
  if (!ok) {
    Clear(false);
    return false;
  }
  sourceSet = source;
  type = source->type;
  flags = newFlags;
  numVertices = source->numVertices;
  vertices = source->vertices;
  numTriangles = source->numTriangles;
  triangles = source->triangles;
  numTexturesPerVertex = static_cast<int32_t>(perVertex);
  return true;
}

int32_t ZoTriangleSet::ChangeID() {
  id = NextId();
  return id;
}

// --- Editing -----------------------------------------------------------------------

bool ZoTriangleSet::SetNumMaterials(int n) {
  if (n == numMaterials) return true;
  delete[] materials;
  materials = nullptr;
  numMaterials = 0;
  if (n < 1) {
    // Indices into no materials would disagree with the flags: both go.
    delete[] materialIndices;
    materialIndices = nullptr;
    flags &= ~ZoTriSetMaterialIndices;
    return true;
  }
  materials = NewArray<ZoMaterial>(n);
  if (materials == nullptr) return false;
  numMaterials = n;
  return true;
}

ZoVector3 ZoTriangleSet::FindTriangleNormal(int i) const {
  ZoVector3 n;
  if (i < 0 || i >= numTriangles || triangles == nullptr) return n;
  ZoTriangle const& t = triangles[i];
  ZoVector3 const& p = vertices[t.corner[0]];
  n.NormalizeCross(vertices[t.corner[1]] - p, vertices[t.corner[2]] - p);
  return n;
}

void ZoTriangleSet::RemoveDegenerateTriangles() {
  if (type != ZoTriSetIndexed || !Owns()) return;
  bool withIndices = (flags & ZoTriSetMaterialIndices) != 0 && materialIndices != nullptr;
  int32_t i = 0;
  while (i < numTriangles) {
    ZoTriangle const& t = triangles[i];
    ZoVector3 const& p = vertices[t.corner[0]];
    ZoVector3 const& q = vertices[t.corner[1]];
    ZoVector3 const& r = vertices[t.corner[2]];
    ZoVector3 e1 = q - p;
    ZoVector3 e2 = r - q;
    // A triangle naming one vertex twice has a zero edge; it is caught by
    // its indices too, so that coordinates that are not finite cannot hide it.
    bool degenerate = t.corner[0] == t.corner[1] || t.corner[1] == t.corner[2] || t.corner[2] == t.corner[0] ||
                      e1.lengthSquared() <= 1e-10f || e2.lengthSquared() <= 1e-10f;
    if (!degenerate) {
      float cosine = e1.unit().dot(e2.unit());
      degenerate = cosine >= 0.99999f || cosine <= -0.99999f;
    }
    if (degenerate) {
      --numTriangles;
      triangles[i] = triangles[numTriangles];
      if (withIndices) materialIndices[i] = materialIndices[numTriangles];
    } else {
      ++i;
    }
  }
}

void ZoTriangleSet::RemoveUnusedVertices() {
  if (type != ZoTriSetIndexed || !Owns() || numVertices == 0) return;
  if (!CornersInRange(triangles, numTriangles, numVertices)) return;
  int32_t* map = NewArray<int32_t>(numVertices);
  if (map == nullptr) return;
  for (int32_t v = 0; v < numVertices; ++v) map[v] = -1;
  for (int32_t i = 0; i < numTriangles; ++i)
    for (int c = 0; c < 3; ++c) map[triangles[i].corner[c]] = 0;
  bool withNormals = (flags & ZoTriSetNormals) != 0;
  bool withColors = (flags & ZoTriSetColors) != 0;
  bool withTextures = (flags & ZoTriSetTextures) != 0 && numTexturesPerVertex > 0;
  int32_t next = 0;
  for (int32_t v = 0; v < numVertices; ++v) {
    if (map[v] < 0) continue;
    map[v] = next;
    if (next != v) {
      // next < v: moving down in order never overwrites a vertex still to come.
      vertices[next] = vertices[v];
      if (withNormals) normals[next] = normals[v];
      if (withColors) colors[next] = colors[v];
      if (withTextures)
        for (int32_t j = 0; j < numTexturesPerVertex; ++j)
          textureVertices[next * numTexturesPerVertex + j] = textureVertices[v * numTexturesPerVertex + j];
    }
    ++next;
  }
  numVertices = next;
  for (int32_t i = 0; i < numTriangles; ++i)
    for (int c = 0; c < 3; ++c) triangles[i].corner[c] = map[triangles[i].corner[c]];
  delete[] map;
}

bool ZoTriangleSet::AssignAverageNormals() {
  if (type != ZoTriSetIndexed) return false;
  if (!CornersInRange(triangles, numTriangles, numVertices)) return false;
  if (numVertices == 0) {
    flags |= ZoTriSetNormals;
    return true;
  }
  int32_t* counts = NewArray<int32_t>(numVertices);
  if (counts == nullptr) return false;
  if ((flags & ZoTriSetNormals) == 0 || normals == nullptr) {
    delete[] normals;
    normals = NewArray<ZoVector3>(numVertices);
    if (normals == nullptr) {
      delete[] counts;
      flags &= ~ZoTriSetNormals;
      return false;
    }
    flags |= ZoTriSetNormals;
  }
  for (int32_t v = 0; v < numVertices; ++v) normals[v] = ZoVector3();
  for (int32_t i = 0; i < numTriangles; ++i) {
    ZoTriangle const& t = triangles[i];
    ZoVector3 const& p = vertices[t.corner[0]];
    ZoVector3 n;
    n.NormalizeCross(vertices[t.corner[1]] - p, vertices[t.corner[2]] - p);
    for (int c = 0; c < 3; ++c) {
      normals[t.corner[c]] += n;
      ++counts[t.corner[c]];
    }
  }
  for (int32_t v = 0; v < numVertices; ++v) {
    if (counts[v] == 0) continue;  // unused: stays zero
    ZoVector3& n = normals[v];
    n /= static_cast<float>(counts[v]);
    float length = n.length();
    n = length > 0.0f ? n / length : ZoVector3();
  }
  delete[] counts;
  return true;
}

void ZoTriangleSet::ApplyTransform(ZoTransform3 const& transform) {
  if (!Owns()) return;
  for (int32_t v = 0; v < numVertices; ++v) vertices[v] = transform * vertices[v];
  if ((flags & ZoTriSetNormals) != 0 && normals != nullptr)
    for (int32_t v = 0; v < numVertices; ++v) normals[v] = transform.rotation * normals[v];
}

void ZoTriangleSet::ApplyScale(ZoVector3 const& scale) {
  if (!Owns()) return;
  for (int32_t v = 0; v < numVertices; ++v) vertices[v] *= scale;
}

bool ZoTriangleSet::Merge(ZoTriangleSet const& other, ZoTransform3 const& transform) {
  if (type != ZoTriSetIndexed || other.type != ZoTriSetIndexed || !Owns()) return false;
  if (!CornersInRange(other.triangles, other.numTriangles, other.numVertices)) return false;
  int64_t oldVertices = numVertices, oldTriangles = numTriangles, oldMaterials = numMaterials;
  int64_t nv = oldVertices + other.numVertices;
  int64_t nt = oldTriangles + other.numTriangles;
  int64_t nm = oldMaterials + other.numMaterials;
  int64_t perVertex = numTexturesPerVertex;
  bool withNormals = (flags & ZoTriSetNormals) != 0;
  bool withColors = (flags & ZoTriSetColors) != 0;
  bool withTextures = (flags & ZoTriSetTextures) != 0;
  bool withIndices = (flags & ZoTriSetMaterialIndices) != 0;
  constexpr int64_t kIntMax = std::numeric_limits<int32_t>::max();
  if (nv > kIntMax || nt > kIntMax || nm > kIntMax || nv * perVertex > kIntMax) return false;
  // Material indices are 16-bit: the merged materials must stay addressable.
  if (withIndices && nm > int64_t{std::numeric_limits<int16_t>::max()} + 1) return false;

  bool ok = true;
  ZoVector3* newVertices = nv > 0 ? NewArray<ZoVector3>(nv) : nullptr;
  ZoVector3* newNormals = withNormals && nv > 0 ? NewArray<ZoVector3>(nv) : nullptr;
  ZoColor* newColors = withColors && nv > 0 ? NewArray<ZoColor>(nv) : nullptr;
  ZoTextureVertex* newTextures = withTextures && nv * perVertex > 0 ? NewArray<ZoTextureVertex>(nv * perVertex) : nullptr;
  ZoTriangle* newTriangles = nt > 0 ? NewArray<ZoTriangle>(nt) : nullptr;
  int16_t* newIndices = withIndices && nt > 0 ? NewArray<int16_t>(nt) : nullptr;
  ZoMaterial* newMaterials = nm > 0 ? NewArray<ZoMaterial>(nm) : nullptr;
  ok = (nv == 0 || newVertices != nullptr) && (!withNormals || nv == 0 || newNormals != nullptr) &&
       (!withColors || nv == 0 || newColors != nullptr) &&
       (!withTextures || nv * perVertex == 0 || newTextures != nullptr) && (nt == 0 || newTriangles != nullptr) &&
       (!withIndices || nt == 0 || newIndices != nullptr) && (nm == 0 || newMaterials != nullptr);
  if (!ok) {
    delete[] newVertices;
    delete[] newNormals;
    delete[] newColors;
    delete[] newTextures;
    delete[] newTriangles;
    delete[] newIndices;
    delete[] newMaterials;
    return false;
  }

  // Everything is read from both sets before anything of this set is
  // freed, so `other` may be this set.
  for (int64_t v = 0; v < oldVertices; ++v) newVertices[v] = vertices[v];
  for (int32_t v = 0; v < other.numVertices; ++v) newVertices[oldVertices + v] = transform * other.vertices[v];

  if (withNormals && newNormals != nullptr) {
    for (int64_t v = 0; v < oldVertices; ++v) newNormals[v] = normals[v];
    if ((other.flags & ZoTriSetNormals) != 0) {
      for (int32_t v = 0; v < other.numVertices; ++v)
        newNormals[oldVertices + v] = transform.rotation * other.normals[v];
    } else {
      // The other set has no normals: average its face normals, computed on
      // the placed vertices (the new entries start at zero).
      for (int32_t i = 0; i < other.numTriangles; ++i) {
        ZoTriangle const& t = other.triangles[i];
        ZoVector3 const& p = newVertices[oldVertices + t.corner[0]];
        ZoVector3 n;
        n.NormalizeCross(newVertices[oldVertices + t.corner[1]] - p, newVertices[oldVertices + t.corner[2]] - p);
        for (int c = 0; c < 3; ++c) newNormals[oldVertices + t.corner[c]] += n;
      }
      for (int32_t v = 0; v < other.numVertices; ++v) newNormals[oldVertices + v].normalize();
    }
  }
  if (withColors && newColors != nullptr) {
    for (int64_t v = 0; v < oldVertices; ++v) newColors[v] = colors[v];
    bool otherColors = (other.flags & ZoTriSetColors) != 0;
    for (int32_t v = 0; v < other.numVertices; ++v) {
      if (otherColors)
        newColors[oldVertices + v] = other.colors[v];
      else
        newColors[oldVertices + v].Set(1.0f, 1.0f, 1.0f, 1.0f);
    }
  }
  if (withTextures && newTextures != nullptr) {
    for (int64_t k = 0; k < oldVertices * perVertex; ++k) newTextures[k] = textureVertices[k];
    int64_t otherPerVertex = (other.flags & ZoTriSetTextures) != 0 ? other.numTexturesPerVertex : 0;
    for (int64_t v = 0; v < other.numVertices; ++v)
      for (int64_t j = 0; j < perVertex && j < otherPerVertex; ++j)
        newTextures[(oldVertices + v) * perVertex + j] = other.textureVertices[v * otherPerVertex + j];
  }
  for (int64_t m = 0; m < oldMaterials; ++m) newMaterials[m] = materials[m];
  for (int32_t m = 0; m < other.numMaterials; ++m) newMaterials[oldMaterials + m] = other.materials[m];
  for (int64_t i = 0; i < oldTriangles; ++i) newTriangles[i] = triangles[i];
  int32_t shift = static_cast<int32_t>(oldVertices);
  for (int32_t i = 0; i < other.numTriangles; ++i) {
    ZoTriangle const& t = other.triangles[i];
    newTriangles[oldTriangles + i].Set(t.corner[0] + shift, t.corner[1] + shift, t.corner[2] + shift);
  }
  if (withIndices && newIndices != nullptr) {
    for (int64_t i = 0; i < oldTriangles; ++i) newIndices[i] = materialIndices[i];
    bool otherIndices = (other.flags & ZoTriSetMaterialIndices) != 0;
    // Without indices the other set's triangles take its first material.
    int16_t fallback = static_cast<int16_t>(other.numMaterials > 0 ? oldMaterials : 0);
    for (int32_t i = 0; i < other.numTriangles; ++i)
      newIndices[oldTriangles + i] =
          otherIndices ? static_cast<int16_t>(other.materialIndices[i] + oldMaterials) : fallback;
  }

  delete[] vertices;
  delete[] normals;
  delete[] colors;
  delete[] textureVertices;
  delete[] triangles;
  delete[] materialIndices;
  delete[] materials;
  vertices = newVertices;
  normals = newNormals;
  colors = newColors;
  textureVertices = newTextures;
  triangles = newTriangles;
  materialIndices = newIndices;
  materials = newMaterials;
  numVertices = static_cast<int32_t>(nv);
  numTriangles = static_cast<int32_t>(nt);
  numMaterials = static_cast<int32_t>(nm);
  return true;
}

// --- Streaming -------------------------------------------------------------------

ZoStreamError ZoTriangleSet::WriteToStream(ZoStream& stream) const {
  stream << static_cast<int32_t>(type) << flags << numVertices << numTriangles << numTexturesPerVertex
         << numMaterials;
  zogeometry::WriteBlock(stream, vertices, int64_t{numVertices} * 12);
  if ((flags & ZoTriSetNormals) != 0) zogeometry::WriteBlock(stream, normals, int64_t{numVertices} * 12);
  if ((flags & ZoTriSetColors) != 0)
    for (int32_t v = 0; v < numVertices && stream.Status() == ZoStreamOk; ++v) stream << colors[v];
  if ((flags & ZoTriSetTextures) != 0)
    zogeometry::WriteBlock(stream, textureVertices, int64_t{numVertices} * numTexturesPerVertex * 8);
  if (type == ZoTriSetIndexed) zogeometry::WriteBlock(stream, triangles, int64_t{numTriangles} * 12);
  if ((flags & ZoTriSetMaterialIndices) != 0)
    zogeometry::WriteBlock(stream, materialIndices, int64_t{numTriangles} * 2);
  for (int32_t m = 0; m < numMaterials && stream.Status() == ZoStreamOk; ++m) stream << materials[m];
  return stream.Status();
}

ZoStreamError ZoTriangleSet::ReadFromStream(ZoStream& stream) {
  Clear(true);
  ZoStreamError result = ReadBody(stream);
  if (result != ZoStreamOk) Clear(true);
  return result;
}

ZoStreamError ZoTriangleSet::ReadBody(ZoStream& stream) {
  auto fail = [&stream](ZoStreamError error, char const* reason) {
    if (stream.Status() == ZoStreamOk) stream.Fail(error, "%s", reason);
    return stream.Status();
  };
  int32_t header[6];
  for (int32_t& field : header)
    if ((stream >> field).Status() != ZoStreamOk) return stream.Status();
  int32_t setType = header[0], setFlags = header[1], nv = header[2], nt = header[3], perVertex = header[4],
          nm = header[5];
  if (setType < ZoTriSetIndexed || setType > ZoTriSetUndefined || (setFlags & ~ZoTriSetAllFlags) != 0 || nv < 0 ||
      nt < 0 || perVertex < 0 || nm < 0)
    return fail(ZoStreamFormatError, "a triangle-set header with an unknown layout, flag or negative count");

  // The layout decides some counts; a body whose counts disagree with its
  // layout was not written by a set. Checked before anything is allocated.
  int64_t layoutTriangles = nt, layoutVertices = nv, layoutPerVertex = perVertex;
  if (!LayoutCounts(setType, setFlags, layoutTriangles, layoutVertices, layoutPerVertex) || layoutTriangles != nt ||
      layoutVertices != nv || layoutPerVertex != perVertex)
    return fail(ZoStreamFormatError, "triangle-set counts that disagree with the set's layout");

  // Everything the counts announce must still be in the stream, and every
  // array must be within the allocation cap, before anything is allocated.
  int64_t textures = int64_t{nv} * perVertex;
  int64_t needed = int64_t{nv} * 12 + ((setFlags & ZoTriSetNormals) != 0 ? int64_t{nv} * 12 : 0) +
                   ((setFlags & ZoTriSetColors) != 0 ? int64_t{nv} * 16 : 0) + textures * 8 +
                   (setType == ZoTriSetIndexed ? int64_t{nt} * 12 : 0) +
                   ((setFlags & ZoTriSetMaterialIndices) != 0 ? int64_t{nt} * 2 : 0) + int64_t{nm} * kMinMaterialBytes;
  int64_t left = stream.BytesLeft();
  if (left >= 0 && needed > left) {
    return stream.Fail(ZoStreamReadError, "a triangle set of %lld bytes, %lld left", static_cast<long long>(needed),
                       static_cast<long long>(left));
  }
  if (!stream.CheckCount(nv, 12, sizeof(ZoVector3)) || !stream.CheckCount(textures, 8, sizeof(ZoTextureVertex)) ||
      !stream.CheckCount((setFlags & ZoTriSetColors) != 0 ? nv : 0, 16, sizeof(ZoColor)) ||
      !stream.CheckCount(nt, 2, sizeof(ZoTriangle)) ||
      !stream.CheckCount(nm, static_cast<uint32_t>(kMinMaterialBytes), sizeof(ZoMaterial)))
    return stream.Status();

  // Every array but the colours arrives as one block that fills it whole
  // (the counts match the layout), and a failed read frees them all.
  if (!Allocate(static_cast<ZoTriangleSetType>(setType), setFlags, nt, nv, perVertex, true) || !SetNumMaterials(nm))
    return zostreamio::OutOfMemory(stream, ZoStreamFormatError);

  if (zogeometry::ReadBlock(stream, vertices, int64_t{nv} * 12) != ZoStreamOk) return stream.Status();
  if ((flags & ZoTriSetNormals) != 0 && zogeometry::ReadBlock(stream, normals, int64_t{nv} * 12) != ZoStreamOk)
    return stream.Status();
  if ((flags & ZoTriSetColors) != 0)
    for (int32_t v = 0; v < nv; ++v)
      if ((stream >> colors[v]).Status() != ZoStreamOk) return stream.Status();
  if ((flags & ZoTriSetTextures) != 0 && zogeometry::ReadBlock(stream, textureVertices, textures * 8) != ZoStreamOk)
    return stream.Status();
  if (type == ZoTriSetIndexed) {
    if (zogeometry::ReadBlock(stream, triangles, int64_t{nt} * 12) != ZoStreamOk) return stream.Status();
    if (!CornersInRange(triangles, nt, nv)) return fail(ZoStreamFormatError, "a corner index outside the vertices");
  }
  // Material indices are kept as they are: whatever uses one checks it.
  if ((flags & ZoTriSetMaterialIndices) != 0 &&
      zogeometry::ReadBlock(stream, materialIndices, int64_t{nt} * 2) != ZoStreamOk)
    return stream.Status();
  for (int32_t m = 0; m < nm; ++m)
    if ((stream >> materials[m]).Status() != ZoStreamOk) return stream.Status();
  return stream.Status();
}

ZoStreamObject* ZoTriangleSet::CreateStreamObject() { return new (std::nothrow) ZoTriangleSet; }

static ZoStreamConstructorEntry const kRegisterTriangleSet(ZoTypeCode::TriangleSet, &ZoTriangleSet::CreateStreamObject);
