// zoactor demo [DIR] [--tour]: builds the demo actor, saves its folder under
// DIR (a fresh temporary folder by default), loads it back through the
// prototype database, samples a skill's whole pose, records the actor
// walking into a sequence folder beside it and reads one node's track back,
// casts a ray and measures a distance against a node's collision model, and
// prints what it found. --tour runs the demo sections of every subsystem
// instead.
#include "Commands.h"
#include "Demo.h"
#include "DemoEditing.h"
#include "DemoFigure.h"
#include "ToolReport.h"

#include <zoactor/zoactor.h>

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

constexpr uint32_t kSampleTime = 375;
// The recorded walk: its sequence folder (and file) under DIR, the actor's
// name in it, its frames, and the node whose track is read back.
constexpr char const* kSequenceName = "RoboWalk";
constexpr char const* kWalkerName = "Walker";
constexpr int kRecordedFrames = 20;
constexpr char const* kTrackedNode = "LegL";
constexpr int kTrackShownEvery = 4;
constexpr float kRayStart = 2.0f;
constexpr float kProbeOffset = 0.6f;
constexpr float kProbeSize = 0.1f;

struct DemoOptions {
  std::string folder;
  bool tour = false;
};

int RunTour() {
  fmt::print("ZoActorLib {}: a tour of the subsystems\n", ZoActorVersion());
  bool ok = ZoRunDemoSections(stdout);
  fmt::print("\ntour {}\n", ok ? "completed" : "FAILED");
  return ok ? kExitOk : kExitFileFailed;
}

std::string FreshFolder() {
  std::string pattern = (fs::temp_directory_path() / "zoactor-demo-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) return {};
  return pattern;
}

int CountTriangles(ZoProtoActor const& actor) {
  int total = 0;
  ZoProtoTraversal const* nodes = actor.NodeTraversal();
  for (int i = 0; nodes != nullptr && i < nodes->NumNodes(); ++i) {
    ZoColModel const* model = nodes->Node(i)->ColModel();
    if (model != nullptr && model->GetTriangleSet() != nullptr) total += model->GetTriangleSet()->GetNumTriangles();
  }
  return total;
}

// The node's placement in the actor's frame.
ZoTransform3 Placement(ZoProtoNode const& node) {
  ZoTransform3 placement;
  node.GetRelativeHomeTransform(nullptr, placement);
  return placement;
}

// The whole pose of Walk at kSampleTime, through a skill sampler.
bool SampleWalk(ZoProtoActor& actor) {
  ZoProtoSkill* walk = actor.GetSkill("Walk", 0);
  if (walk == nullptr) return false;
  ZoSkillSampler sampler(walk);
  std::vector<ZoTransform3> pose(static_cast<size_t>(walk->NumJoints()));
  int filled = sampler.SamplePose(kSampleTime, nullptr, pose.data());
  fmt::print("sampled Walk's whole pose at t = {} (joint: translation in the actor's frame):\n", kSampleTime);
  for (int j = 0; j < walk->NumJoints(); ++j) {
    ZoVector3 const& at = pose[static_cast<size_t>(j)].translation;
    fmt::print("  {:<6} ({:6.3f}, {:6.3f}, {:6.3f})\n", actor.GeomTraversal()->Node(j)->Name().c_str(), at.x, at.y, at.z);
  }
  return filled == walk->NumJoints();
}

float DegreesAboutX(ZoRotation3 const& q) { return 2.0f * std::atan2(q.x, q.w) * 180.0f / ZoMath::PI; }

// Records kRecordedFrames frames of the actor walking (Walk's pose at every
// time step, through a sampler) into the sequence folder `parent`/RoboWalk,
// replacing one an earlier run left; returns the sequence file, or empty.
fs::path RecordWalk(ZoProtoActor& actor, fs::path const& parent, std::vector<ZoTransform3>& trackRecorded) {
  ZoProtoSkill* walk = actor.GetSkill("Walk", 0);
  int node = actor.GeomTraversal()->NodeIndex(actor.NodeTraversal()->NodeWithName(kTrackedNode));
  if (walk == nullptr || node < 0) return {};
  std::error_code error;
  fs::path folder = fs::absolute(parent, error) / kSequenceName;
  fs::remove_all(folder, error);
  fs::path file = folder / (std::string(kSequenceName) + ".seq");
  ZoAnimSequence sequence;
  if (sequence.Open(file.string().c_str(), 1) != 1 || sequence.PostAddActorEvent(&actor, kWalkerName) != 1) return {};
  ZoSkillSampler sampler(walk);
  std::vector<ZoTransform3> pose(static_cast<size_t>(walk->NumJoints()));
  bool ok = true;
  for (int f = 0; ok && f < kRecordedFrames; ++f) {
    sampler.SamplePose(static_cast<uint32_t>(f) * sequence.GetTimeStep(), nullptr, pose.data());
    trackRecorded.push_back(pose[static_cast<size_t>(node)]);
    ok = sequence.WriteFrameData(kWalkerName, pose.data(), walk->NumJoints()) == 1;
    sequence.NextFrame();
  }
  fmt::print("recorded {} frames of {} walking (every {} ms) into the sequence {}\n", kRecordedFrames, kWalkerName,
             sequence.GetTimeStep(), file.string());
  return sequence.Close() == 1 && ok ? file : fs::path();
}

// Opens the recorded sequence without the actor folder and reads the
// tracked node's track back; true when it is what was recorded.
bool ReadTrackBack(fs::path const& file, ZoProtoActor const& actor, std::vector<ZoTransform3> const& recorded) {
  ZoAnimSequence playback;
  if (playback.Open(file.string().c_str(), 0) != 1) {
    fmt::print(stderr, "{}: the sequence could not be read back: {}\n", file.string(), playback.FailureReason());
    return false;
  }
  int node = actor.GeomTraversal()->NodeIndex(actor.NodeTraversal()->NodeWithName(kTrackedNode));
  std::vector<ZoTransform3> track(recorded.size());
  int rotations = 0, positions = 0;
  bool ok = playback.ReadNodeFrames(kWalkerName, node, track.data(), static_cast<int>(track.size()), rotations,
                                    positions) == 1;
  std::string angles;
  for (size_t f = 0; f < track.size(); f += kTrackShownEvery)
    angles += fmt::format(" {:.1f}", DegreesAboutX(track[f].rotation));
  fmt::print("read {}'s track back ({} frames): its swing about x every {} frames:{} degrees\n", kTrackedNode,
             playback.GetNumFrames(), kTrackShownEvery, angles);
  playback.Close();
  return ok && track == recorded && rotations == 1;
}

// A ray from in front of the head straight at it; returns the hit distance
// (or -1) against the head's collision mesh.
float CastRayAtHead(ZoProtoNode const& head) {
  ZoTriangleSet const* set = head.ColModel()->GetTriangleSet();
  ZoTransform3 placement = Placement(head);
  ZoVector3 origin = placement.translation + ZoVector3(0, 0, kRayStart);
  ZoVector3 direction(0, 0, -1);
  float nearest = 1e30f;
  bool hit = false;
  for (int i = 0; i < set->GetNumTriangles(); ++i) {
    float t = nearest;
    if (set->CheckRayIntersection(i, origin, direction, placement, t, 0)) {
      nearest = t;
      hit = true;
    }
  }
  return hit ? nearest : -1.0f;
}

// The distance from a small cube beside the head to the head's mesh.
float MeasureFromProbe(ZoProtoNode const& head) {
  ZoTriangleSet const* set = head.ColModel()->GetTriangleSet();
  ZoTransform3 placement = Placement(head);
  ZoTriCube probe(ZoMaterial(), ZoVector3(kProbeSize, kProbeSize, kProbeSize));
  ZoTransform3 probePlacement(placement.translation + ZoVector3(kProbeOffset, 0, 0), ZoRotation3());
  float best = 1e30f;
  ZoVector3 closest, otherClosest;
  for (int i = 0; i < set->GetNumTriangles(); ++i)
    for (int k = 0; k < probe.GetNumTriangles(); ++k) {
      float d = set->FindDistance(i, placement, &probe, k, probePlacement, closest, otherClosest);
      if (d >= 0.0f && d < best) best = d;
    }
  return best;
}

bool Near(float value, float expected, float tolerance) { return std::fabs(value - expected) <= tolerance; }

int RunDemo(DemoOptions const& options) {
  std::string parent = options.folder.empty() ? FreshFolder() : options.folder;
  fmt::print("ZoActorLib {}: the demo actor\n\n", ZoActorVersion());
  ZoRef<ZoProtoActor> built = BuildDemoActor();
  fmt::print("built {}: {} nodes, {} joints, {} triangles, {} skills\n", built->Name().c_str(),
             built->NodeTraversal()->NumNodes(), built->GeomTraversal()->NumNodes(), CountTriangles(*built),
             built->Skills().GetCount());
  fs::path folder = parent.empty() ? fs::path() : SaveDemoActor(*built, parent);
  built.reset();
  if (folder.empty()) {
    fmt::print(stderr, "zoactor demo: could not save the demo actor under '{}'\n", parent);
    return kExitFileFailed;
  }
  fmt::print("saved its folder: {}\n", folder.string());

  fs::path actorFile = folder / (std::string(kDemoActorName) + ".act");
  int status = 0;
  ZoRef<ZoProtoActor> actor = ZoProtoDB::AcquirePrototype(actorFile.string().c_str(), status, 1);
  if (!actor) {
    fmt::print(stderr, "{}: the prototype database could not load it\n", actorFile.string());
    return kExitFileFailed;
  }
  fmt::print("loaded it back through the prototype database: {} nodes, {} skills ({})\n",
             actor->NodeTraversal()->NumNodes(), actor->Skills().GetCount(), status == 1 ? "read from disk" : "shared");
  bool ok = actor->NodeTraversal()->NumNodes() == kDemoNodes && actor->Skills().GetCount() == 2;
  ok = SampleWalk(*actor) && ok;
  std::vector<ZoTransform3> trackRecorded;
  fs::path sequence = RecordWalk(*actor, parent, trackRecorded);
  ok = !sequence.empty() && ReadTrackBack(sequence, *actor, trackRecorded) && ok;

  ZoProtoNode const* head = actor->NodeTraversal()->NodeWithName("Head");
  float hit = CastRayAtHead(*head);
  float distance = MeasureFromProbe(*head);
  fmt::print("a ray from {} in front of the Head meets its mesh after {:.4f}\n", kRayStart, hit);
  fmt::print("a {} cube {} beside the Head is {:.4f} from its mesh\n", kProbeSize, kProbeOffset, distance);
  float radius = 0.15f;
  ok = ok && Near(hit, kRayStart - radius, 0.01f) && Near(distance, kProbeOffset - kProbeSize / 2 - radius, 0.01f);

  // Skeleton editing, the loaded skills following every edit.
  ok = EditDemoActor(*actor, stdout) && ok;

  actor.reset();
  ZoProtoDB::RemoveAllPrototypes();
  fmt::print("\ndemo {}. Next: zoactor info {}   zoactor validate {}   zoactor info {}\n",
             ok ? "completed" : "FAILED", folder.string(), folder.string(), sequence.string());
  return ok ? kExitOk : kExitFileFailed;
}

}  // namespace

void AddDemoCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<DemoOptions>();
  CLI::App* demo = app.add_subcommand(
      "demo", "Build the demo actor, save its folder under DIR (a fresh temporary folder by default), load it back "
              "and query it");
  demo->add_option("DIR", options->folder, "Folder to save the demo actor's folder in");
  demo->add_flag("--tour", options->tour, "Run the demonstration of each subsystem instead");
  demo->callback([options, &status] { status = options->tour ? RunTour() : RunDemo(*options); });
}

}  // namespace zotool
