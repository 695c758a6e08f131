// The motion core's hot paths. A skill of J joints with K keys each (64 and
// 256 joints, 30 and 300 keys: the arguments /J/K) is played forwards, one
// SampleAtTime per joint per frame, with linear (mode 0) keys and with smooth
// (mode 1) keys; then sampled at random, non-monotonic times, and played
// backwards. The same skill is then sampled a whole pose at a time by
// ZoSkillSampler::SamplePose (BM_SamplePose…). Every sampling benchmark
// reports the time per joint-sample ("per_sample") and the heap allocations
// per joint-sample ("allocs_per_sample", counted over 1000 frames outside the
// timed loop by replacing the global operator new in this program).
// A reference runs the same linear interpolation through the foundation's
// ZoTransform3::interpolate (library slerp) without the list. The spline
// benchmark measures Integrate plus 1000 InterpolateAtDistance calls.
#include "ZoBenchAllocations.h"

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoSkillSampler.h>
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

constexpr int kJoints = 64;
constexpr int kKeys = 30;
constexpr uint32_t kKeySpacing = 100;
constexpr uint32_t kFrameStep = 16;  // about 60 frames per second in milliseconds
constexpr int kFramesCounted = 1000;

uint32_t Duration(int keys) { return static_cast<uint32_t>(keys - 1) * kKeySpacing; }

ZoRotation3 Turn(std::mt19937& engine, float maxAngle) {
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  ZoVector3 axis(unit(engine), unit(engine), unit(engine));
  if (axis.lengthSquared() < 1e-4f) axis = {0, 0, 1};
  ZoRotation3 q;
  q.setValue(unit(engine) * maxAngle, axis.unit());
  return q;
}

// A skill of `joints` joints (a root and its children) of `keys` keys each;
// mode 0 (linear) or mode 1 (smooth) keys.
struct Skill {
  ZoProtoActor* actor = new ZoProtoActor;
  ZoProtoSkill* skill = new ZoProtoSkill;
  std::vector<ZoJointKeyList*> joints;
  uint32_t duration = 0;
  ~Skill() {
    skill->Release();
    actor->Release();
  }
};

ZoProtoNode* JointNode() {
  auto* node = new ZoProtoNode;
  node->SetStyle(ZoProtoNode::Geometry);
  return node;
}

std::unique_ptr<Skill> MakeSkill(int mode, int joints = kJoints, int keys = kKeys) {
  auto made = std::make_unique<Skill>();
  ZoProtoNode* root = JointNode();
  for (int j = 1; j < joints; ++j) root->addChild(JointNode());
  made->actor->SetSkeleton(root);
  made->skill->SetupFromPrototype(made->actor);
  made->duration = Duration(keys);
  std::mt19937 engine(1234);
  std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
  for (int j = 0; j < joints; ++j) {
    ZoJointKeyList* list = made->skill->InitJoint(j);
    ZoRotation3 actor = Turn(engine, 3.0f), local = Turn(engine, 3.0f);
    std::vector<ZoJointKeyframe*> stored;
    for (int k = 0; k < keys; ++k) {
      auto* kf = new ZoJointKeyframe;
      kf->setTime(static_cast<uint32_t>(k) * kKeySpacing);
      actor = Turn(engine, 0.8f) * actor;
      local = Turn(engine, 0.8f) * local;
      kf->actorTransform = ZoTransform3({unit(engine), unit(engine), unit(engine)}, actor);
      kf->localTransform = ZoTransform3({unit(engine), unit(engine), unit(engine)}, local);
      kf->point = {unit(engine), unit(engine), unit(engine)};
      list->Insert(kf, mode == 0 ? 1 : 0);
      stored.push_back(kf);
    }
    if (mode != 0) {
      for (int k = 0; k < keys; ++k)
        stored[k]->ComputeBlends(k > 0 ? stored[k - 1] : nullptr, k + 1 < keys ? stored[k + 1] : nullptr, mode);
    }
    made->joints.push_back(list);
  }
  return made;
}

// Heap allocations per joint-sample over kFramesCounted frames of `frame`,
// counted outside the timed loop so that the harness's own allocations stay
// out.
template <class F>
double AllocationsPerSample(int joints, F&& frame) {
  uint64_t before = zobench::Allocations();
  for (int i = 0; i < kFramesCounted; ++i) frame(i);
  return static_cast<double>(zobench::Allocations() - before) / (static_cast<double>(kFramesCounted) * joints);
}

void ReportPerSample(benchmark::State& state, int joints, double allocationsPerSample) {
  state.counters["per_sample"] = benchmark::Counter(static_cast<double>(joints),
                                                    benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.counters["allocs_per_sample"] = allocationsPerSample;
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * joints);
}

int JointsOf(benchmark::State const& state) { return static_cast<int>(state.range(0)); }
int KeysOf(benchmark::State const& state) { return static_cast<int>(state.range(1)); }

// The times of a clip played one frame at a time, looping; `step` is signed:
// a negative step plays it backwards.
class Clock {
 public:
  Clock(uint32_t clipDuration, int32_t frameStep)
      : duration(clipDuration), step(frameStep), time(frameStep > 0 ? 0 : clipDuration) {}
  uint32_t Now() const { return time; }
  void Advance() {
    if (step > 0) {
      time += static_cast<uint32_t>(step);
      if (time > duration) time = 0;
    } else {
      time = time >= static_cast<uint32_t>(-step) ? time - static_cast<uint32_t>(-step) : duration;
    }
  }

 private:
  uint32_t duration;
  int32_t step;
  uint32_t time;
};

// 4096 times drawn at random over the clip.
std::vector<uint32_t> RandomTimes(uint32_t duration) {
  std::mt19937 engine(99);
  std::vector<uint32_t> times(4096);
  for (uint32_t& t : times) t = engine() % (duration + 1);
  return times;
}

// One frame through the key lists: SampleAtTime per joint.
void SampleLists(Skill& skill, uint32_t time, ZoJointKeyframe& out) {
  for (ZoJointKeyList* joint : skill.joints) {
    joint->SampleAtTime(time, out, 1);
    benchmark::DoNotOptimize(out.actorTransform);
  }
}

// Plays the clip through the key lists, one frame per iteration.
void Play(benchmark::State& state, int mode, int32_t step) {
  auto skill = MakeSkill(mode, JointsOf(state), KeysOf(state));
  ZoJointKeyframe out;
  Clock clock(skill->duration, step);
  double allocations = AllocationsPerSample(JointsOf(state), [&](int) {
    SampleLists(*skill, clock.Now(), out);
    clock.Advance();
  });
  for (auto _ : state) {
    SampleLists(*skill, clock.Now(), out);
    clock.Advance();
  }
  ReportPerSample(state, JointsOf(state), allocations);
}

void PlayForward(benchmark::State& state, int mode) { Play(state, mode, static_cast<int32_t>(kFrameStep)); }

void BM_PlayForwardLinear(benchmark::State& state) { PlayForward(state, 0); }
void BM_PlayForwardSmooth(benchmark::State& state) { PlayForward(state, 1); }
void BM_PlayBackwardLinear(benchmark::State& state) { Play(state, 0, -static_cast<int32_t>(kFrameStep)); }

// Random times through the key lists: every frame jumps to a time drawn at
// random, so each cursor usually walks far.
void SampleRandom(benchmark::State& state, int mode) {
  auto skill = MakeSkill(mode, JointsOf(state), KeysOf(state));
  std::vector<uint32_t> times = RandomTimes(skill->duration);
  ZoJointKeyframe out;
  double allocations =
      AllocationsPerSample(JointsOf(state), [&](int i) { SampleLists(*skill, times[static_cast<size_t>(i) & 4095], out); });
  size_t next = 0;
  for (auto _ : state) SampleLists(*skill, times[next++ & 4095], out);
  ReportPerSample(state, JointsOf(state), allocations);
}

void BM_SampleRandomLinear(benchmark::State& state) { SampleRandom(state, 0); }
void BM_SampleRandomSmooth(benchmark::State& state) { SampleRandom(state, 1); }

// The same clips a whole pose at a time through ZoSkillSampler.
struct Pose {
  std::vector<ZoTransform3> local, actor;
  explicit Pose(int joints) : local(static_cast<size_t>(joints)), actor(static_cast<size_t>(joints)) {}
  void Sample(ZoSkillSampler& sampler, uint32_t time) {
    sampler.SamplePose(time, local.data(), actor.data());
    benchmark::DoNotOptimize(local.data());
    benchmark::DoNotOptimize(actor.data());
    benchmark::ClobberMemory();
  }
};

void PlayPose(benchmark::State& state, int mode, int32_t step) {
  auto skill = MakeSkill(mode, JointsOf(state), KeysOf(state));
  ZoSkillSampler sampler(skill->skill);
  Pose pose(JointsOf(state));
  Clock clock(skill->duration, step);
  double allocations = AllocationsPerSample(JointsOf(state), [&](int) {
    pose.Sample(sampler, clock.Now());
    clock.Advance();
  });
  for (auto _ : state) {
    pose.Sample(sampler, clock.Now());
    clock.Advance();
  }
  ReportPerSample(state, JointsOf(state), allocations);
}

void BM_SamplePoseForwardLinear(benchmark::State& state) { PlayPose(state, 0, static_cast<int32_t>(kFrameStep)); }
void BM_SamplePoseForwardSmooth(benchmark::State& state) { PlayPose(state, 1, static_cast<int32_t>(kFrameStep)); }
void BM_SamplePoseBackwardLinear(benchmark::State& state) { PlayPose(state, 0, -static_cast<int32_t>(kFrameStep)); }

void SamplePoseRandom(benchmark::State& state, int mode) {
  auto skill = MakeSkill(mode, JointsOf(state), KeysOf(state));
  ZoSkillSampler sampler(skill->skill);
  Pose pose(JointsOf(state));
  std::vector<uint32_t> times = RandomTimes(skill->duration);
  double allocations =
      AllocationsPerSample(JointsOf(state), [&](int i) { pose.Sample(sampler, times[static_cast<size_t>(i) & 4095]); });
  size_t next = 0;
  for (auto _ : state) pose.Sample(sampler, times[next++ & 4095]);
  ReportPerSample(state, JointsOf(state), allocations);
}

void BM_SamplePoseRandomLinear(benchmark::State& state) { SamplePoseRandom(state, 0); }
void BM_SamplePoseRandomSmooth(benchmark::State& state) { SamplePoseRandom(state, 1); }

// The linear segment math through the foundation's transform interpolation
// (its slerp calls acos and sin), without list or easing: a yardstick for
// the sampler's own arithmetic.
void BM_ReferenceFoundationLinear(benchmark::State& state) {
  auto skill = MakeSkill(0);
  std::vector<ZoJointKeyframe const*> a, b;
  for (ZoJointKeyList* joint : skill->joints) {
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
  ReportPerSample(state, kJoints, 0.0);
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
  uint64_t before = zobench::Allocations();
  run();
  state.counters["allocs_per_iteration"] = static_cast<double>(zobench::Allocations() - before);
  for (auto _ : state) run();
}

}  // namespace

// Joints × keys per joint.
void Sizes(benchmark::internal::Benchmark* b) {
  for (int joints : {64, 256})
    for (int keys : {30, 300}) b->Args({joints, keys});
  b->ArgNames({"joints", "keys"});
}

BENCHMARK(BM_PlayForwardLinear)->Apply(Sizes);
BENCHMARK(BM_PlayForwardSmooth)->Apply(Sizes);
BENCHMARK(BM_PlayBackwardLinear)->Apply(Sizes);
BENCHMARK(BM_SampleRandomLinear)->Apply(Sizes);
BENCHMARK(BM_SampleRandomSmooth)->Apply(Sizes);
BENCHMARK(BM_SamplePoseForwardLinear)->Apply(Sizes);
BENCHMARK(BM_SamplePoseForwardSmooth)->Apply(Sizes);
BENCHMARK(BM_SamplePoseBackwardLinear)->Apply(Sizes);
BENCHMARK(BM_SamplePoseRandomLinear)->Apply(Sizes);
BENCHMARK(BM_SamplePoseRandomSmooth)->Apply(Sizes);
BENCHMARK(BM_ReferenceFoundationLinear);
BENCHMARK(BM_SplineIntegrateAndDistance)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
