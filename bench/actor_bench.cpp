// The actor layer's loading paths, each beside the plain read() of the same
// bytes in the same run:
//   - ReadActorFile of an actor of 20 geometry nodes of about 5000 triangles
//     each, stored with their sphere trees, against open/read/close of the
//     file (goal: at most 2×);
//   - LoadAllSkills of 100 skills of 64 joints × 30 keys against reading the
//     100 files (goal: at most 3×);
//   - GetPrototype of a registered actor (goal: at most 100 ns);
// The two reads report their heap allocations per read ("allocs", from the
// program's counting operator new, timed iterations included), and each
// read and its peer the minor page faults ("faults") and the user and
// system CPU microseconds ("user_us", "sys_us") per iteration, from
// getrusage over the whole loop (the untimed flush of the skills included).
//   - a frame of skill sampling through the cache (GetSkill, then every
//     joint's SampleAtTime), whose heap allocations per frame are counted by
//     replacing the global operator new in this program ("allocs_per_frame",
//     counted over 1000 frames outside the timed loop).
#include "ZoBenchAllocations.h"

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoDB.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/geometry/ZoTriShapes.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr int kGeometryNodes = 20;
constexpr int kSphereSegments = 72;  // 2 × 35 × 72 = 5040 triangles
constexpr int kSkills = 100;
constexpr int kJoints = 64;
constexpr int kKeys = 30;
constexpr uint32_t kKeySpacing = 100;

// A folder of fixtures made once and removed at exit.
struct Fixtures {
  std::string root;
  std::string actorFile;      // the geometry actor
  std::string skillActor;     // the 64-joint actor with 100 skills
  std::vector<std::string> skillFiles;

  Fixtures() {
    root = (fs::temp_directory_path() / ("zoactor-actor-bench-" + std::to_string(::getpid()))).string();
    fs::create_directories(root);
    MakeGeometryActor();
    MakeSkillActor();
  }
  ~Fixtures() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }

  void MakeGeometryActor() {
    ZoRef<ZoProtoActor> actor(new ZoProtoActor);
    actor->SetName("Rock");
    auto* hub = new ZoProtoNode;
    hub->SetStyle(ZoProtoNode::Handle);
    for (int i = 0; i < kGeometryNodes; ++i) {
      auto* node = new ZoProtoNode;
      node->SetName(ZoString("part") + ZoString(i));
      node->SetHomeTransform(ZoTransform3(ZoVector3(static_cast<float>(i), 0, 0), ZoRotation3()));
      node->SetColModel(new ZoTriSphere(ZoMaterial(), 0.5f, kSphereSegments));
      hub->addChild(node);
    }
    actor->SetSkeleton(hub);
    actorFile = root + "/Rock.act";
    ZoProtoActor::WriteActorFile(actorFile.c_str(), actor.get());
  }

  // A chain of 64 joints.
  static ZoProtoNode* Chain() {
    auto* first = new ZoProtoNode;
    ZoProtoNode* last = first;
    for (int j = 1; j < kJoints; ++j) {
      auto* next = new ZoProtoNode;
      next->SetName(ZoString("j") + ZoString(j));
      last->addChild(next);
      last = next;
    }
    return first;
  }

  void MakeSkillActor() {
    ZoRef<ZoProtoActor> actor(new ZoProtoActor);
    actor->SetName("Runner");
    actor->SetSkeleton(Chain());
    skillActor = root + "/Runner/";
    actor->Path() = skillActor.c_str();
    std::mt19937 engine(7);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    for (int s = 0; s < kSkills; ++s) {
      auto* skill = new ZoProtoSkill;
      skill->SetName(ZoString("Skill") + ZoString(s));
      skill->SetupFromPrototype(actor.get());
      for (int j = 0; j < kJoints; ++j) {
        ZoJointKeyList* keys = skill->InitJoint(j);
        for (int k = 0; k < kKeys; ++k) {
          auto* key = new ZoJointKeyframe;
          key->setTime(static_cast<uint32_t>(k) * kKeySpacing);
          ZoRotation3 q;
          q.setValue(unit(engine) * 3.0f, ZoVector3(0, 0, 1));
          key->actorTransform = ZoTransform3(ZoVector3(unit(engine), unit(engine), unit(engine)), q);
          key->localTransform = key->actorTransform;
          keys->Insert(key, 1);
        }
      }
      actor->AddSkill(skill);
    }
    actor->Save(ZoSkillFormatKeyframed);
    for (auto const& entry : fs::directory_iterator(skillActor + "Skills")) skillFiles.push_back(entry.path().string());
  }
};

Fixtures& Data() {
  static Fixtures fixtures;
  return fixtures;
}

// The process's page faults and CPU time, for figures per iteration.
class Usage {
 public:
  Usage() { ::getrusage(RUSAGE_SELF, &start); }
  // Sets the counters to what the loop of `state` cost per iteration.
  void Report(benchmark::State& state) const {
    struct rusage now;
    ::getrusage(RUSAGE_SELF, &now);
    double const n = static_cast<double>(state.iterations());
    state.counters["faults"] = static_cast<double>(now.ru_minflt - start.ru_minflt) / n;
    state.counters["user_us"] = Micros(now.ru_utime, start.ru_utime) / n;
    state.counters["sys_us"] = Micros(now.ru_stime, start.ru_stime) / n;
  }

 private:
  static double Micros(timeval const& to, timeval const& from) {
    return static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 + static_cast<double>(to.tv_usec - from.tv_usec);
  }
  struct rusage start;
};

// Reads a whole file with open/read/close, as a plain reader would.
int64_t ReadWhole(std::string const& path, std::vector<char>& buffer) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  off_t size = ::lseek(fd, 0, SEEK_END);
  ::lseek(fd, 0, SEEK_SET);
  buffer.resize(static_cast<size_t>(size));
  int64_t got = ::read(fd, buffer.data(), buffer.size());
  ::close(fd);
  return got;
}

void BM_ReadActorFile(benchmark::State& state) {
  ZoString file(Data().actorFile.c_str());
  uint64_t const before = zobench::Allocations();
  Usage usage;
  for (auto _ : state) {
    ZoProtoActor* actor = ZoProtoActor::ReadActorFile(file);
    if (actor == nullptr) state.SkipWithError("the actor file did not read");
    benchmark::DoNotOptimize(actor);
    if (actor != nullptr) actor->Release();
  }
  usage.Report(state);
  state.counters["allocs"] =
      static_cast<double>(zobench::Allocations() - before) / static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(Data().actorFile)));
}

void BM_ReadActorFile_PlainRead(benchmark::State& state) {
  std::vector<char> buffer;
  Usage usage;
  for (auto _ : state) benchmark::DoNotOptimize(ReadWhole(Data().actorFile, buffer));
  usage.Report(state);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(Data().actorFile)));
}

void BM_LoadAllSkills(benchmark::State& state) {
  ZoRef<ZoProtoActor> actor(new ZoProtoActor);
  actor->SetSkeleton(Fixtures::Chain());
  actor->Path() = Data().skillActor.c_str();
  uint64_t loading = 0;
  Usage usage;
  for (auto _ : state) {
    uint64_t const before = zobench::Allocations();
    actor->LoadAllSkills();
    loading += zobench::Allocations() - before;
    if (actor->Skills().GetCount() != kSkills) state.SkipWithError("not every skill loaded");
    state.PauseTiming();
    actor->FlushAllSkills();
    state.ResumeTiming();
  }
  usage.Report(state);
  state.counters["allocs"] = static_cast<double>(loading) / static_cast<double>(state.iterations());
}

void BM_LoadAllSkills_PlainRead(benchmark::State& state) {
  std::vector<char> buffer;
  Usage usage;
  for (auto _ : state)
    for (std::string const& file : Data().skillFiles) benchmark::DoNotOptimize(ReadWhole(file, buffer));
  usage.Report(state);
}

void BM_GetPrototype(benchmark::State& state) {
  ZoString file((Data().skillActor + "Runner.act").c_str());
  int status = -1;
  ZoProtoDB::GetPrototype(file, status, 0);
  for (auto _ : state) benchmark::DoNotOptimize(ZoProtoDB::GetPrototype(file, status, 0));
  if (status != 0) state.SkipWithError("the prototype was not registered");
  ZoProtoDB::RemoveAllPrototypes();
}

// One frame: the skill from the cache, every joint sampled at `time`.
void SampleFrame(ZoProtoActor& actor, ZoString const& name, uint32_t time, ZoJointKeyframe& out) {
  ZoProtoSkill* skill = actor.GetSkill(name, 0);
  for (int j = 0; j < skill->NumJoints(); ++j) {
    skill->Joint(j)->SampleAtTime(time, out, 1);
    benchmark::DoNotOptimize(out.actorTransform);
  }
}

void BM_SampleThroughCache(benchmark::State& state) {
  ZoRef<ZoProtoActor> actor(new ZoProtoActor);
  actor->SetSkeleton(Fixtures::Chain());
  actor->Path() = Data().skillActor.c_str();
  ZoString name(state.range(0) != 0 ? "Skill42" : "SKILL42");
  ZoJointKeyframe out;
  if (actor->GetSkill(name, 1) == nullptr) state.SkipWithError("the skill did not load");
  uint32_t const duration = (kKeys - 1) * kKeySpacing;
  uint64_t before = zobench::Allocations();
  for (uint32_t frame = 0; frame < 1000; ++frame) SampleFrame(*actor, name, (frame * 16) % duration, out);
  double perFrame = static_cast<double>(zobench::Allocations() - before) / 1000.0;
  uint32_t time = 0;
  for (auto _ : state) {
    SampleFrame(*actor, name, time, out);
    time = (time + 16) % duration;
  }
  state.counters["allocs_per_frame"] = perFrame;
}

BENCHMARK(BM_ReadActorFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadActorFile_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadAllSkills)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadAllSkills_PlainRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetPrototype);
BENCHMARK(BM_SampleThroughCache)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
