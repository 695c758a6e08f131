// Geometry speed, each measurement beside a peer in the same run:
//  - sphere-tree builds (UpdateSphereTree) beside FCL's BVHModel<OBB> build
//    on the same triangles, at 10 000, 100 000 and 1 000 000 triangles;
//  - triangle distance (FindDistance) beside FCL's triangle distance;
//  - oriented-box overlap beside FCL's OBB overlap in world space;
//  - ray against triangle beside a textbook Möller–Trumbore.
// Run the release build: build/<dir>/bench/geometry_bench
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoOrientedBox.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include <benchmark/benchmark.h>
#include <fcl/geometry/bvh/BVH_model.h>
#include <fcl/math/bv/OBB.h>
#include <fcl/narrowphase/detail/primitive_shape_algorithm/triangle_distance.h>

#include <cmath>
#include <memory>
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

BENCHMARK(BM_UpdateSphereTree)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FclObbBuild)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

// --- Per-pair queries ----------------------------------------------------------------

constexpr int kPairs = 1024;

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
// a placement (the general case, for which FCL has no direct counterpart).
void BM_OrientedBoxOverlapPlaced(benchmark::State& state) {
  BoxPairs pairs;
  ZoRotation3 turn;
  turn.setValue(0.5f, ZoVector3(0.6f, 0.0f, 0.8f));
  ZoTransform3 placement(ZoVector3(0.1f, 0.2f, 0.3f), turn);
  ZoTransform3 inverse = ~placement;
  std::vector<ZoOrientedBox> first, second;
  for (auto const& box : pairs.first) first.emplace_back(inverse * box.transform, box.size);
  for (auto const& box : pairs.second) second.emplace_back(inverse * box.transform, box.size);
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(first[i].CheckIntersection(&second[i], placement, placement));
    i = (i + 1) & (kPairs - 1);
  }
}

BENCHMARK(BM_OrientedBoxOverlap);
BENCHMARK(BM_FclObbOverlap);
BENCHMARK(BM_OrientedBoxOverlapPlaced);

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
