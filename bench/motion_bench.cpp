// The motion core's hot paths. A skill-like set of 64 joint key lists with
// 30 keys each is played forwards, one SampleAtTime per joint per frame, with
// linear (mode 0) keys and with smooth (mode 1) keys; then sampled at random,
// non-monotonic times, and played backwards. Every sampling benchmark
// reports the time per joint-sample ("per_sample") and the heap allocations
// per joint-sample ("allocs_per_sample", counted over 64000 samples outside
// the timed loop by replacing the global operator new in this program).
// A reference runs the same linear interpolation through the foundation's
// ZoTransform3::interpolate (library slerp) without the list. The spline
// benchmark measures Integrate plus 1000 InterpolateAtDistance calls.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/foundation/ZoTransform3.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <vector>

namespace {

uint64_t gAllocations = 0;

}  // namespace

void* operator new(size_t size) {
  ++gAllocations;
  void* p = std::malloc(size != 0 ? size : 1);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void* operator new(size_t size, std::nothrow_t const&) noexcept {
  ++gAllocations;
  return std::malloc(size != 0 ? size : 1);
}
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace {

constexpr int kJoints = 64;
constexpr int kKeys = 30;
constexpr uint32_t kKeySpacing = 100;
constexpr uint32_t kFrameStep = 16;  // about 60 frames per second in milliseconds
constexpr uint32_t kDuration = (kKeys - 1) * kKeySpacing;

ZoRotation3 Turn(std::mt19937& engine, float maxAngle) {
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  ZoVector3 axis(unit(engine), unit(engine), unit(engine));
  if (axis.lengthSquared() < 1e-4f) axis = {0, 0, 1};
  ZoRotation3 q;
  q.setValue(unit(engine) * maxAngle, axis.unit());
  return q;
}

// 64 joints of 30 keys; mode 0 (linear) or mode 1 (smooth) keys.
std::vector<std::unique_ptr<ZoJointKeyList>> MakeSkill(int mode) {
  std::mt19937 engine(1234);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  std::vector<std::unique_ptr<ZoJointKeyList>> joints;
  for (int j = 0; j < kJoints; ++j) {
    auto list = std::make_unique<ZoJointKeyList>();
    ZoRotation3 actor = Turn(engine, 3.0f), local = Turn(engine, 3.0f);
    std::vector<ZoJointKeyframe*> keys;
    for (int k = 0; k < kKeys; ++k) {
      auto* kf = new ZoJointKeyframe;
      kf->setTime(static_cast<uint32_t>(k) * kKeySpacing);
      actor = Turn(engine, 0.8f) * actor;
      local = Turn(engine, 0.8f) * local;
      kf->actorTransform = ZoTransform3({unit(engine), unit(engine), unit(engine)}, actor);
      kf->localTransform = ZoTransform3({unit(engine), unit(engine), unit(engine)}, local);
      kf->point = {unit(engine), unit(engine), unit(engine)};
      list->Insert(kf, mode == 0 ? 1 : 0);
      keys.push_back(kf);
    }
    if (mode != 0) {
      for (int k = 0; k < kKeys; ++k)
        keys[k]->ComputeBlends(k > 0 ? keys[k - 1] : nullptr, k + 1 < kKeys ? keys[k + 1] : nullptr, mode);
    }
    joints.push_back(std::move(list));
  }
  return joints;
}

// Heap allocations made by `samples` joint-samples of `sample`, counted
// outside the timed loop so that the harness's own allocations stay out.
template <class F>
double AllocationsPerSample(int samples, F&& sample) {
  uint64_t before = gAllocations;
  for (int i = 0; i < samples; ++i) sample(i);
  return static_cast<double>(gAllocations - before) / samples;
}

void ReportPerSample(benchmark::State& state, double allocationsPerSample) {
  state.counters["per_sample"] =
      benchmark::Counter(kJoints, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["allocs_per_sample"] = allocationsPerSample;
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kJoints);
}

// Plays the clip, one frame per iteration, every joint sampled once; the
// clip loops. `step` is signed: a negative step plays it backwards.
void Play(benchmark::State& state, int mode, int32_t step) {
  auto joints = MakeSkill(mode);
  ZoJointKeyframe out;
  uint32_t time = step > 0 ? 0 : kDuration;
  auto advance = [&] {
    if (step > 0) {
      time += static_cast<uint32_t>(step);
      if (time > kDuration) time = 0;
    } else {
      time = time >= static_cast<uint32_t>(-step) ? time - static_cast<uint32_t>(-step) : kDuration;
    }
  };
  double allocations = AllocationsPerSample(64 * 1000, [&](int i) {
    joints[static_cast<size_t>(i % kJoints)]->SampleAtTime(time, out, 1);
    if (i % kJoints == kJoints - 1) advance();
  });
  for (auto _ : state) {
    for (auto& joint : joints) {
      joint->SampleAtTime(time, out, 1);
      benchmark::DoNotOptimize(out.actorTransform);
    }
    advance();
  }
  ReportPerSample(state, allocations);
}

void PlayForward(benchmark::State& state, int mode) { Play(state, mode, static_cast<int32_t>(kFrameStep)); }

void BM_PlayForwardLinear(benchmark::State& state) { PlayForward(state, 0); }
void BM_PlayForwardSmooth(benchmark::State& state) { PlayForward(state, 1); }
void BM_PlayBackwardLinear(benchmark::State& state) { Play(state, 0, -static_cast<int32_t>(kFrameStep)); }

// Random times: every frame jumps to a time drawn at random, so the cursor
// usually restarts from the head.
void SampleRandom(benchmark::State& state, int mode) {
  auto joints = MakeSkill(mode);
  std::mt19937 engine(99);
  std::vector<uint32_t> times(4096);
  for (uint32_t& t : times) t = engine() % (kDuration + 1);
  ZoJointKeyframe out;
  double allocations = AllocationsPerSample(64 * 1000, [&](int i) {
    joints[static_cast<size_t>(i % kJoints)]->SampleAtTime(times[static_cast<size_t>(i / kJoints) & 4095], out, 1);
  });
  size_t next = 0;
  for (auto _ : state) {
    uint32_t time = times[next++ & 4095];
    for (auto& joint : joints) {
      joint->SampleAtTime(time, out, 1);
      benchmark::DoNotOptimize(out.actorTransform);
    }
  }
  ReportPerSample(state, allocations);
}

void BM_SampleRandomLinear(benchmark::State& state) { SampleRandom(state, 0); }
void BM_SampleRandomSmooth(benchmark::State& state) { SampleRandom(state, 1); }

// The linear segment math through the foundation's transform interpolation
// (its slerp calls acos and sin), without list or easing: a yardstick for
// the sampler's own arithmetic.
void BM_ReferenceFoundationLinear(benchmark::State& state) {
  auto joints = MakeSkill(0);
  std::vector<ZoJointKeyframe const*> a, b;
  for (auto& joint : joints) {
    ZoKeyListNode* p = nullptr;
    a.push_back(joint->GetFirst(p));
    b.push_back(joint->GetNext(p));
  }
  float u = 0.0f;
  ZoTransform3 local, actor;
  ZoVector3 point;
  for (auto _ : state) {
    for (int j = 0; j < kJoints; ++j) {
      local.interpolate(a[j]->localTransform, b[j]->localTransform, u);
      actor.interpolate(a[j]->actorTransform, b[j]->actorTransform, u);
      point.interpolate(a[j]->point, b[j]->point, u);
      benchmark::DoNotOptimize(actor);
      benchmark::DoNotOptimize(local);
    }
    u += 0.01f;
    if (u > 1.0f) u = 0.0f;
  }
  ReportPerSample(state, 0.0);
}

// Integrate of an eight-point curved spline, then 1000 lookups by distance.
void BM_SplineIntegrateAndDistance(benchmark::State& state) {
  std::mt19937 engine(5);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  ZoSpline spline;
  for (uint32_t i = 0; i < 8; ++i) {
    ZoSplineControlPoint point;
    point.time = i * 250;
    point.transform = ZoTransform3({unit(engine) * 10, unit(engine) * 10, unit(engine)}, Turn(engine, 1.0f));
    point.inControl = ZoTransform3(point.transform.translation + ZoVector3(unit(engine), unit(engine), 0),
                                   Turn(engine, 1.0f));
    point.outControl = ZoTransform3(point.transform.translation + ZoVector3(unit(engine), unit(engine), 0),
                                    Turn(engine, 1.0f));
    spline.AppendControlPoint(point);
  }
  ZoTransform3 out;
  auto run = [&] {
    spline.Integrate();
    float step = spline.Length() / 1000.0f;
    for (int i = 0; i < 1000; ++i) {
      spline.InterpolateAtDistance(static_cast<float>(i) * step, out);
      benchmark::DoNotOptimize(out);
    }
  };
  uint64_t before = gAllocations;
  run();
  state.counters["allocs_per_iteration"] = static_cast<double>(gAllocations - before);
  for (auto _ : state) run();
}

}  // namespace

BENCHMARK(BM_PlayForwardLinear);
BENCHMARK(BM_PlayForwardSmooth);
BENCHMARK(BM_PlayBackwardLinear);
BENCHMARK(BM_SampleRandomLinear);
BENCHMARK(BM_SampleRandomSmooth);
BENCHMARK(BM_ReferenceFoundationLinear);
BENCHMARK(BM_SplineIntegrateAndDistance)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
