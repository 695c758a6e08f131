// Geometry speed, each measurement beside a peer in the same run:
//  - sphere-tree builds (UpdateSphereTree) beside FCL's BVHModel<OBB> build
//    on the same triangles, at 10 000, 100 000 and 1 000 000 triangles, with
//    the heap allocations of one build ("allocs_per_build", counted by
//    replacing the global operator new in this program);
//  - triangle against triangle (CheckIntersection) beside a plain 17-axis
//    separating-axis test written here, at several separations;
//  - triangle distance (FindDistance) beside FCL's triangle distance;
//  - oriented-box overlap beside FCL's OBB overlap, on boxes in the world
//    and on boxes placed by a transform (both sides carry the boxes into the
//    world on every query);
//  - ray against triangle beside a textbook Möller–Trumbore.
// Every per-pair query walks 16 384 distinct pairs, so that neither side
// can learn the outcomes by branch history.
// Run the release build: build/<dir>/bench/geometry_bench
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoOrientedBox.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include <benchmark/benchmark.h>
#include <fcl/geometry/bvh/BVH_model.h>
#include <fcl/math/bv/OBB.h>
#include <fcl/narrowphase/detail/primitive_shape_algorithm/triangle_distance.h>

#include "ZoBenchAllocations.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <vector>

namespace {

// A wavy, jittered grid surface of about `triangles` triangles: a connected
// mesh such as collision geometry is made of.
std::unique_ptr<ZoTriangleSet> MakeSurface(int triangles) {
  int columns = static_cast<int>(std::sqrt(static_cast<double>(triangles) / 2.0));
  int rows = triangles / (2 * columns);
  std::mt19937 random(1);
  std::uniform_real_distribution<float> jitter(-0.25f, 0.25f);
  auto set = std::make_unique<ZoTriangleSet>();
  set->Create(ZoTriSetIndexed, 0, 2 * rows * columns, (rows + 1) * (columns + 1), 0);
  for (int r = 0; r <= rows; ++r)
    for (int c = 0; c <= columns; ++c) {
      float x = static_cast<float>(c) + jitter(random), z = static_cast<float>(r) + jitter(random);
      set->Vertex(r * (columns + 1) + c) = ZoVector3(x, 3.0f * std::sin(0.05f * x) * std::cos(0.07f * z), z);
    }
  int t = 0;
  for (int r = 0; r < rows; ++r)
    for (int c = 0; c < columns; ++c) {
      int a = r * (columns + 1) + c, b = a + 1, d = a + columns + 1, e = d + 1;
      set->Triangle(t++).Set(a, b, e);
      set->Triangle(t++).Set(a, e, d);
    }
  return set;
}

void BM_UpdateSphereTree(benchmark::State& state) {
  auto surface = MakeSurface(static_cast<int>(state.range(0)));
  std::unique_ptr<ZoColModel> model;
  {
    // The allocations of one build, outside the timed loop.
    model = std::make_unique<ZoColModel>();
    model->SetTriangleSet(new ZoTriangleSet(*surface));
    uint64_t before = zobench::Allocations();
    model->UpdateSphereTree();
    state.counters["allocs_per_build"] = static_cast<double>(zobench::Allocations() - before);
  }
  for (auto _ : state) {
    // Copying the mesh and freeing the previous model are not the build.
    state.PauseTiming();
    model = std::make_unique<ZoColModel>();
    model->SetTriangleSet(new ZoTriangleSet(*surface));
    state.ResumeTiming();
    model->UpdateSphereTree();
    benchmark::DoNotOptimize(model->GetRoot());
  }
  state.SetItemsProcessed(state.iterations() * surface->GetNumTriangles());
  state.counters["triangles"] = surface->GetNumTriangles();
}

void BM_FclObbBuild(benchmark::State& state) {
  auto surface = MakeSurface(static_cast<int>(state.range(0)));
  std::vector<fcl::Vector3d> points;
  std::vector<fcl::Triangle> triangles;
  for (int v = 0; v < surface->GetNumVertices(); ++v)
    points.emplace_back(surface->Vertex(v).x, surface->Vertex(v).y, surface->Vertex(v).z);
  for (int i = 0; i < surface->GetNumTriangles(); ++i)
    triangles.emplace_back(surface->Triangle(i)[0], surface->Triangle(i)[1], surface->Triangle(i)[2]);
  std::unique_ptr<fcl::BVHModel<fcl::OBBd>> model;
  for (auto _ : state) {
    state.PauseTiming();
    model = std::make_unique<fcl::BVHModel<fcl::OBBd>>();
    state.ResumeTiming();
    model->beginModel();
    model->addSubModel(points, triangles);
    model->endModel();
    benchmark::DoNotOptimize(model->getNumBVs());
  }
  state.SetItemsProcessed(state.iterations() * surface->GetNumTriangles());
}

// Reading a model with its stored tree from memory: the set's arrays, the
// corner check, the tree's records and the check of its links.
void BM_ReadColModel(benchmark::State& state) {
  ZoColModel model;
  model.SetTriangleSet(MakeSurface(static_cast<int>(state.range(0))).release());
  model.UpdateSphereTree();
  ZoMemoryStream written;
  model.WriteToStream(written);
  int32_t length = 0;
  std::unique_ptr<char, void (*)(void*)> body(written.GetBuffer(length), [](void* p) { ::operator delete(p); });
  for (auto _ : state) {
    ZoMemoryStream stream(body.get(), length);
    ZoColModel read;
    if (read.ReadFromStream(stream) != ZoStreamOk) state.SkipWithError("the model did not read");
    benchmark::DoNotOptimize(read.GetRoot());
  }
  state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK(BM_UpdateSphereTree)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadColModel)->Arg(5000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FclObbBuild)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// --- Per-pair queries ----------------------------------------------------------------

constexpr int kPairs = 16384;

ZoVector3 RandomPoint(std::mt19937& random, float extent) {
  std::uniform_real_distribution<float> coordinate(-extent, extent);
  return {coordinate(random), coordinate(random), coordinate(random)};
}

// kPairs disjoint triangle pairs further apart than 0.01, as two sets of
// one triangle per pair.
struct TrianglePairs {
  ZoTriangleSet first;
  ZoTriangleSet second;

  TrianglePairs() {
    first.Create(ZoTriSetIndexed, 0, kPairs, 3 * kPairs, 0);
    second.Create(ZoTriSetIndexed, 0, kPairs, 3 * kPairs, 0);
    std::mt19937 random(3);
    ZoTransform3 identity;
    ZoVector3 a, b;
    for (int i = 0; i < kPairs;) {
      for (int c = 0; c < 3; ++c) {
        first.Vertex(3 * i + c) = RandomPoint(random, 1.0f);
        second.Vertex(3 * i + c) = RandomPoint(random, 1.0f) + ZoVector3(1.0f, 0.5f, 0.0f);
      }
      first.Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
      second.Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
      if (first.FindDistance(i, identity, &second, i, identity, a, b) > 0.01f) ++i;
    }
  }
};

void BM_FindDistance(benchmark::State& state) {
  TrianglePairs pairs;
  ZoTransform3 identity;
  ZoVector3 a, b;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pairs.first.FindDistance(i, identity, &pairs.second, i, identity, a, b));
    i = (i + 1) & (kPairs - 1);
  }
}

void BM_FclTriangleDistance(benchmark::State& state) {
  TrianglePairs pairs;
  std::vector<fcl::Vector3d> first, second;
  for (int v = 0; v < 3 * kPairs; ++v) {
    first.emplace_back(pairs.first.Vertex(v).x, pairs.first.Vertex(v).y, pairs.first.Vertex(v).z);
    second.emplace_back(pairs.second.Vertex(v).x, pairs.second.Vertex(v).y, pairs.second.Vertex(v).z);
  }
  fcl::Vector3d p, q;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        fcl::detail::TriangleDistance<double>::triDistance(&first[3 * i], &second[3 * i], p, q));
    i = (i + 1) & (kPairs - 1);
  }
}

BENCHMARK(BM_FindDistance);
BENCHMARK(BM_FclTriangleDistance);

// kPairs box pairs in world space, about half of them overlapping.
struct BoxPairs {
  std::vector<ZoOrientedBox> first, second;

  BoxPairs() {
    std::mt19937 random(5);
    std::normal_distribution<float> gauss(0.0f, 1.0f);
    std::uniform_real_distribution<float> extent(0.2f, 2.0f);
    for (int i = 0; i < 2 * kPairs; ++i) {
      ZoRotation3 rotation(gauss(random), gauss(random), gauss(random), gauss(random));
      rotation.normalize();
      ZoOrientedBox box(ZoTransform3(RandomPoint(random, 1.5f), rotation),
                        ZoVector3(extent(random), extent(random), extent(random)));
      (i % 2 == 0 ? first : second).push_back(box);
    }
  }
};

void BM_OrientedBoxOverlap(benchmark::State& state) {
  BoxPairs pairs;
  ZoTransform3 identity;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pairs.first[i].CheckIntersection(&pairs.second[i], identity, identity));
    i = (i + 1) & (kPairs - 1);
  }
}

void BM_FclObbOverlap(benchmark::State& state) {
  BoxPairs pairs;
  auto world = [](ZoOrientedBox const& box) {
    ZoRotation3 const& q = box.transform.rotation;
    fcl::Matrix3d axes = Eigen::Quaterniond(q.w, q.x, q.y, q.z).toRotationMatrix();
    ZoVector3 const& t = box.transform.translation;
    return fcl::OBBd(axes, fcl::Vector3d(t.x, t.y, t.z),
                     fcl::Vector3d(box.size.x * 0.5f, box.size.y * 0.5f, box.size.z * 0.5f));
  };
  std::vector<fcl::OBBd> first, second;
  for (int i = 0; i < kPairs; ++i) {
    first.push_back(world(pairs.first[i]));
    second.push_back(world(pairs.second[i]));
  }
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(first[i].overlap(second[i]));
    i = (i + 1) & (kPairs - 1);
  }
}

// The same boxes given in a frame of their own, carried into the world by
// a placement on every query. Each box has its own placement, as the nodes
// of two actors do.
struct PlacedBoxPairs {
  std::vector<ZoOrientedBox> first, second;
  std::vector<ZoTransform3> firstPlacement, secondPlacement;

  PlacedBoxPairs() {
    BoxPairs world;
    std::mt19937 random(11);
    std::normal_distribution<float> gauss(0.0f, 1.0f);
    auto place = [&](ZoOrientedBox const& box, std::vector<ZoOrientedBox>& boxes,
                     std::vector<ZoTransform3>& placements) {
      ZoRotation3 turn(gauss(random), gauss(random), gauss(random), gauss(random));
      turn.normalize();
      ZoTransform3 placement(RandomPoint(random, 1.0f), turn);
      placements.push_back(placement);
      boxes.emplace_back(~placement * box.transform, box.size);
    };
    for (int i = 0; i < kPairs; ++i) {
      place(world.first[i], first, firstPlacement);
      place(world.second[i], second, secondPlacement);
    }
  }
};

void BM_OrientedBoxOverlapPlaced(benchmark::State& state) {
  PlacedBoxPairs pairs;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        pairs.first[i].CheckIntersection(&pairs.second[i], pairs.firstPlacement[i], pairs.secondPlacement[i]));
    i = (i + 1) & (kPairs - 1);
  }
}

// FCL with the same work: boxes stored in their own frames (axes as a
// matrix), placements as rigid transforms, both boxes carried into the world
// on every query and then tested.
void BM_FclObbOverlapPlaced(benchmark::State& state) {
  PlacedBoxPairs pairs;
  auto local = [](ZoOrientedBox const& box) {
    ZoRotation3 const& q = box.transform.rotation;
    ZoVector3 const& t = box.transform.translation;
    return fcl::OBBd(Eigen::Quaterniond(q.w, q.x, q.y, q.z).toRotationMatrix(), fcl::Vector3d(t.x, t.y, t.z),
                     fcl::Vector3d(box.size.x * 0.5f, box.size.y * 0.5f, box.size.z * 0.5f));
  };
  auto rigid = [](ZoTransform3 const& p) {
    fcl::Transform3d t = fcl::Transform3d::Identity();
    t.linear() = Eigen::Quaterniond(p.rotation.w, p.rotation.x, p.rotation.y, p.rotation.z).toRotationMatrix();
    t.translation() = fcl::Vector3d(p.translation.x, p.translation.y, p.translation.z);
    return t;
  };
  std::vector<fcl::OBBd> first, second;
  std::vector<fcl::Transform3d> firstPlacement, secondPlacement;
  for (int i = 0; i < kPairs; ++i) {
    first.push_back(local(pairs.first[i]));
    second.push_back(local(pairs.second[i]));
    firstPlacement.push_back(rigid(pairs.firstPlacement[i]));
    secondPlacement.push_back(rigid(pairs.secondPlacement[i]));
  }
  auto toWorld = [](fcl::OBBd const& box, fcl::Transform3d const& placement) {
    return fcl::OBBd(placement.linear() * box.axis, placement * box.To, box.extent);
  };
  int i = 0;
  for (auto _ : state) {
    fcl::OBBd a = toWorld(first[i], firstPlacement[i]);
    fcl::OBBd b = toWorld(second[i], secondPlacement[i]);
    benchmark::DoNotOptimize(a.overlap(b));
    i = (i + 1) & (kPairs - 1);
  }
}

BENCHMARK(BM_OrientedBoxOverlap);
BENCHMARK(BM_FclObbOverlap);
BENCHMARK(BM_OrientedBoxOverlapPlaced);
BENCHMARK(BM_FclObbOverlapPlaced);

// --- Triangle against triangle -------------------------------------------------------

// kPairs triangle pairs with corners in [−1, 1]³, the second moved along a
// random direction by the separation (the benchmark's argument in
// hundredths): at 0 most pairs cross, from 4 on nearly none do.
struct OverlapPairs {
  ZoTriangleSet first;
  ZoTriangleSet second;
  double touching = 0;

  explicit OverlapPairs(float separation) {
    first.Create(ZoTriSetIndexed, 0, kPairs, 3 * kPairs, 0);
    second.Create(ZoTriSetIndexed, 0, kPairs, 3 * kPairs, 0);
    std::mt19937 random(13);
    ZoTransform3 identity;
    for (int i = 0; i < kPairs; ++i) {
      ZoVector3 away = RandomPoint(random, 1.0f);
      away = away.lengthSquared() > 1e-6f ? away.unit() * separation : ZoVector3();
      for (int c = 0; c < 3; ++c) {
        first.Vertex(3 * i + c) = RandomPoint(random, 1.0f);
        second.Vertex(3 * i + c) = RandomPoint(random, 1.0f) + away;
      }
      first.Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
      second.Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
      touching += first.CheckIntersection(i, identity, &second, i, identity) ? 1 : 0;
    }
    touching /= kPairs;
  }
};

// Whether the corner triples a and b lie apart along `axis` (strictly).
bool Apart(ZoVector3 const& axis, ZoVector3 const a[3], ZoVector3 const b[3]) {
  float a0 = axis.dot(a[0]), a1 = axis.dot(a[1]), a2 = axis.dot(a[2]);
  float b0 = axis.dot(b[0]), b1 = axis.dot(b[1]), b2 = axis.dot(b[2]);
  float aMin = std::min(a0, std::min(a1, a2)), aMax = std::max(a0, std::max(a1, a2));
  float bMin = std::min(b0, std::min(b1, b2)), bMax = std::max(b0, std::max(b1, b2));
  return aMin > bMax || bMin > aMax;
}

// The plain separating-axis test of two triangles: both normals, the nine
// edge-edge axes, the six in-plane edge normals, leaving at the first axis
// that separates.
bool SeparatingAxisOverlap(ZoVector3 const a[3], ZoVector3 const b[3]) {
  ZoVector3 e[3] = {a[1] - a[0], a[2] - a[1], a[0] - a[2]};
  ZoVector3 f[3] = {b[1] - b[0], b[2] - b[1], b[0] - b[2]};
  ZoVector3 nA = e[0].cross(e[1]), nB = f[0].cross(f[1]);
  if (Apart(nA, a, b) || Apart(nB, a, b)) return false;
  for (auto const& edge : e)
    for (auto const& other : f)
      if (Apart(edge.cross(other), a, b)) return false;
  for (auto const& edge : e)
    if (Apart(edge.cross(nA), a, b)) return false;
  for (auto const& other : f)
    if (Apart(other.cross(nB), a, b)) return false;
  return true;
}

void BM_TriangleOverlap(benchmark::State& state) {
  OverlapPairs pairs(static_cast<float>(state.range(0)) * 0.01f);
  ZoTransform3 identity;
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(pairs.first.CheckIntersection(i, identity, &pairs.second, i, identity));
    i = (i + 1) & (kPairs - 1);
  }
  state.counters["touching"] = pairs.touching;
}

void BM_SeparatingAxisPeer(benchmark::State& state) {
  OverlapPairs pairs(static_cast<float>(state.range(0)) * 0.01f);
  int i = 0;
  for (auto _ : state) {
    ZoTriangle const& s = pairs.first.Triangle(i);
    ZoTriangle const& t = pairs.second.Triangle(i);
    ZoVector3 const a[3] = {pairs.first.Vertex(s[0]), pairs.first.Vertex(s[1]), pairs.first.Vertex(s[2])};
    ZoVector3 const b[3] = {pairs.second.Vertex(t[0]), pairs.second.Vertex(t[1]), pairs.second.Vertex(t[2])};
    benchmark::DoNotOptimize(SeparatingAxisOverlap(a, b));
    i = (i + 1) & (kPairs - 1);
  }
  state.counters["touching"] = pairs.touching;
}

BENCHMARK(BM_TriangleOverlap)->Arg(0)->Arg(25)->Arg(50)->Arg(100)->Arg(200)->Arg(400);
BENCHMARK(BM_SeparatingAxisPeer)->Arg(0)->Arg(25)->Arg(50)->Arg(100)->Arg(200)->Arg(400);

// kPairs rays and triangles, about half of them hits.
struct RayCases {
  ZoTriangleSet triangles;
  std::vector<ZoVector3> origins, directions;

  RayCases() {
    triangles.Create(ZoTriSetIndexed, 0, kPairs, 3 * kPairs, 0);
    std::mt19937 random(7);
    for (int i = 0; i < kPairs; ++i) {
      for (int c = 0; c < 3; ++c) triangles.Vertex(3 * i + c) = RandomPoint(random, 1.0f);
      triangles.Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
      ZoVector3 origin = RandomPoint(random, 4.0f);
      origins.push_back(origin);
      directions.push_back(RandomPoint(random, 0.6f) - origin);
    }
  }
};

// The textbook Möller–Trumbore test (culling nothing), for comparison.
bool MollerTrumbore(ZoVector3 const& origin, ZoVector3 const& direction, ZoVector3 const& p, ZoVector3 const& q,
                    ZoVector3 const& r, float& t) {
  ZoVector3 e1 = q - p, e2 = r - p;
  ZoVector3 h = direction.cross(e2);
  float a = e1.dot(h);
  if (a > -1e-7f && a < 1e-7f) return false;
  float f = 1.0f / a;
  ZoVector3 s = origin - p;
  float u = f * s.dot(h);
  if (u < 0.0f || u > 1.0f) return false;
  ZoVector3 qv = s.cross(e1);
  float v = f * direction.dot(qv);
  if (v < 0.0f || u + v > 1.0f) return false;
  float hit = f * e2.dot(qv);
  if (hit <= 0.0f || hit >= t) return false;
  t = hit;
  return true;
}

void BM_RayTriangle(benchmark::State& state) {
  RayCases cases;
  int i = 0;
  for (auto _ : state) {
    float t = 1e30f;
    benchmark::DoNotOptimize(cases.triangles.CheckRayIntersection(i, cases.origins[i], cases.directions[i], t, 0));
    benchmark::DoNotOptimize(t);
    i = (i + 1) & (kPairs - 1);
  }
}

void BM_MollerTrumbore(benchmark::State& state) {
  RayCases cases;
  int i = 0;
  for (auto _ : state) {
    float t = 1e30f;
    ZoTriangle const& tri = cases.triangles.Triangle(i);
    benchmark::DoNotOptimize(MollerTrumbore(cases.origins[i], cases.directions[i], cases.triangles.Vertex(tri[0]),
                                            cases.triangles.Vertex(tri[1]), cases.triangles.Vertex(tri[2]), t));
    benchmark::DoNotOptimize(t);
    i = (i + 1) & (kPairs - 1);
  }
}

BENCHMARK(BM_RayTriangle);
BENCHMARK(BM_MollerTrumbore);

}  // namespace

BENCHMARK_MAIN();
