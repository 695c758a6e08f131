// Helpers for the geometry tests, with the headers and names they share:
// bodies read back, random meshes, set descriptions and a fake hook
// manager.
#ifndef ZOACTOR_TESTS_GEOMETRY_ZOGEOMETRYTESTSUPPORT_H
#define ZOACTOR_TESTS_GEOMETRY_ZOGEOMETRYTESTSUPPORT_H

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoInterfaceRegistry.h>
#include <zoactor/foundation/ZoMath.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include "support/ZoTestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace zogeotest {

using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::ExpectNear;

using zotest::ReadBody;

// An indexed set of the given vertices (the rest at the origin) and
// triangles.
inline void Build(ZoTriangleSet& set, int flags, int vertices, std::initializer_list<ZoVector3> points,
           std::initializer_list<std::array<int, 3>> triangles) {
  set.Create(ZoTriSetIndexed, flags, static_cast<int>(triangles.size()), vertices, 0);
  int v = 0, i = 0;
  for (ZoVector3 const& p : points) set.Vertex(v++) = p;
  for (auto const& t : triangles) set.Triangle(i++).Set(t[0], t[1], t[2]);
}

inline ZoVector3 RandomPoint(std::mt19937& random, float extent) {
  std::uniform_real_distribution<float> coordinate(-extent, extent);
  return {coordinate(random), coordinate(random), coordinate(random)};
}

// An indexed set of `triangles` well-shaped random triangles (no corner
// angle below about 3 degrees), each with its own three vertices and
// material i mod 2, scattered through a cube.
inline ZoTriangleSet* RandomSoup(std::mt19937& random, int triangles, float extent = 10.0f, float size = 1.0f) {
  auto* set = new ZoTriangleSet;
  set->Create(ZoTriSetIndexed, ZoTriSetMaterialIndices, triangles, 3 * triangles, 0);
  set->SetNumMaterials(2);
  for (int i = 0; i < triangles; ++i) {
    ZoVector3 center = RandomPoint(random, extent), p, q, r;
    do {
      p = center + RandomPoint(random, size);
      q = center + RandomPoint(random, size);
      r = center + RandomPoint(random, size);
    } while (std::fabs((q - p).unit().dot((r - q).unit())) > 0.998f || (q - p).length() < 0.05f * size ||
             (r - q).length() < 0.05f * size || (p - r).length() < 0.05f * size);
    set->Vertex(3 * i) = p;
    set->Vertex(3 * i + 1) = q;
    set->Vertex(3 * i + 2) = r;
    set->Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
    set->MaterialIndex(i) = static_cast<int16_t>(i % 2);
  }
  return set;
}

// Gives `model` a random soup of `triangles` triangles, drawn from `seed`,
// and builds its tree.
inline void BuildRandomModel(ZoColModel& model, unsigned seed, int triangles) {
  std::mt19937 random(seed);
  model.SetTriangleSet(RandomSoup(random, triangles));
  model.UpdateSphereTree();
}

// The layout of a set in one line: "type 0, flags 9, 7 vertices, 5
// triangles, 0 textures, 1 materials".
inline std::string Describe(ZoTriangleSet const& set) {
  return "type " + std::to_string(set.GetType()) + ", flags " + std::to_string(set.GetFlags()) + ", " +
         std::to_string(set.GetNumVertices()) + " vertices, " + std::to_string(set.GetNumTriangles()) + " triangles, " +
         std::to_string(set.GetNumTexturesPerVertex()) + " textures, " + std::to_string(set.GetNumMaterials()) +
         " materials";
}

// The listed vertices of a set: "x y z, x y z".
inline std::string Points(ZoTriangleSet const& set, std::initializer_list<int> vertices) {
  std::ostringstream out;
  for (int v : vertices) out << (v == *vertices.begin() ? "" : ", ") << set.Vertex(v).x << ' ' << set.Vertex(v).y << ' ' << set.Vertex(v).z;
  return out.str();
}

// Whether a walk from the root accepts the links: sphere nodes met in
// pre-order as 0, 1, 2, ..., every leaf once, the deepest leaf at `depth`.
inline bool WalkAccepts(std::vector<uint32_t> const& links, int leaves, int depth) {
  int spheres = static_cast<int>(links.size() / 2);
  std::vector<int> seen(static_cast<size_t>(leaves), 0);
  int expected = 0, height = 0;
  bool ok = true;
  auto walk = [&](auto&& self, uint32_t reference, int level) -> void {
    if (!ok) return;
    uint32_t index = ZoSphereNode::ReferenceIndex(reference);
    if (!ZoSphereNode::IsSphereReference(reference)) {
      ok = index < static_cast<uint32_t>(leaves) && seen[index]++ == 0;
      height = std::max(height, level + 1);
      return;
    }
    ok = static_cast<int>(index) == expected && expected < spheres;
    if (!ok) return;
    ++expected;
    self(self, links[2 * index], level + 1);
    self(self, links[2 * index + 1], level + 1);
  };
  walk(walk, ZoSphereNode::SphereReference(0), 0);
  for (int s : seen) ok = ok && s == 1;
  return ok && expected == spheres && height == depth;
}

// A hook manager registered while alive: records the requests it gets and
// answers with `answer`.
class FakeHookManager : public ZoAiHookManager {
 public:
  FakeHookManager() { ZoInterfaceRegistry::Register(INTERFACE_NAME, this); }
  ~FakeHookManager() override { ZoInterfaceRegistry::Unregister(INTERFACE_NAME); }
  FakeHookManager(FakeHookManager const&) = delete;
  FakeHookManager& operator=(FakeHookManager const&) = delete;

  int GetInterfaceName(char* buffer, int size, int& major, int& minor) override {
    major = minor = 1;
    if (size > 0) buffer[0] = 0;
    return 0;
  }
  int32_t AddRef() override { return 1; }
  int32_t Release() override { return 1; }
  int32_t HandleRequest(int32_t code, void* record) override {
    auto* tree = static_cast<ZoHookSphereTreeRecord*>(record);
    requests.push_back({code, tree->model});
    reservedUntouched = reservedUntouched && tree->reserved[0] == 0 && tree->reserved[3] == 0;
    return answer;
  }

  std::vector<std::pair<int32_t, ZoColModel*>> requests;
  int32_t answer = 0;
  bool reservedUntouched = true;
};

}  // namespace zogeotest

#endif
