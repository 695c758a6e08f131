// zoactor sample ACTOR SKILL --time T [--json] [--reference]: every joint's
// transform at time T, holding the last key after the end: the whole pose at
// once through ZoSkillSampler, or with --reference joint by joint through
// ZoJointKeyList::SampleAtTime (the two agree; the tool's tests compare
// them). ACTOR is an actor folder or file; SKILL a skill name, found
// through the actor's skill cache, or the path of a skill file.
#include "Commands.h"
#include "ToolJson.h"
#include "ToolLoad.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

struct SampleOptions {
  std::string actor;
  std::string skill;
  uint32_t time = 0;
  bool json = false;
  bool reference = false;
};

// The skill the options name, held for the caller; null with `failure`
// (and the file it concerns in `where`) when it cannot be had.
ZoRef<ZoProtoSkill> FindSkill(ZoProtoActor& actor, std::string const& skill, Issue& failure, std::string& where) {
  std::error_code error;
  if (fs::is_regular_file(skill, error)) {
    where = skill;
    ZoRef<ZoProtoSkill> read = LoadSkill(skill, failure);
    if (read && read->NumJoints() != actor.GeomTraversal()->NumNodes()) {
      failure = Issue{"joint-count-mismatch",
                      fmt::format("the skill has {} joints but the actor {}", read->NumJoints(),
                                  actor.GeomTraversal()->NumNodes()),
                      -1};
      return {};
    }
    if (read) read->SetParentIndices(&actor);
    return read;
  }
  ZoProtoSkill* cached = actor.GetSkill(skill.c_str(), 0);
  if (cached != nullptr) return ZoRef<ZoProtoSkill>::Share(cached);
  ZoSkillLoadReport const& load = actor.LastSkillLoad();
  where = load.file.c_str();
  if (load.detail.Failed()) {
    failure = IssueOfRead(load.detail);
    if (load.status == ZoSkillLoadStatus::OtherSkeleton) failure.code = "joint-count-mismatch";
  } else {
    failure = Issue{"missing", fmt::format("the actor has no skill named \"{}\"", skill), -1};
  }
  return {};
}

// A sampled pose: every joint's transforms and whether it was sampled.
struct Pose {
  std::vector<ZoTransform3> local, actor;
  std::vector<bool> sampled;
};

Pose SampleWithSampler(ZoProtoSkill& skill, uint32_t time) {
  Pose pose{std::vector<ZoTransform3>(static_cast<size_t>(skill.NumJoints())),
            std::vector<ZoTransform3>(static_cast<size_t>(skill.NumJoints())), {}};
  ZoSkillSampler sampler(&skill);
  sampler.SamplePose(time, pose.local.data(), pose.actor.data());
  for (int j = 0; j < skill.NumJoints(); ++j) pose.sampled.push_back(sampler.Covers(j, time));
  return pose;
}

Pose SampleWithKeyLists(ZoProtoSkill const& skill, uint32_t time) {
  Pose pose;
  for (int j = 0; j < skill.NumJoints(); ++j) {
    ZoJointKeyframe key;
    pose.sampled.push_back(skill.Joint(j) != nullptr && skill.Joint(j)->SampleAtTime(time, key, 1) == 1);
    pose.local.push_back(key.localTransform);
    pose.actor.push_back(key.actorTransform);
  }
  return pose;
}

Json SampleJoints(ZoProtoActor const& actor, ZoProtoSkill& skill, uint32_t time, bool reference) {
  Pose pose = reference ? SampleWithKeyLists(skill, time) : SampleWithSampler(skill, time);
  Json joints = Json::array();
  ZoProtoTraversal const& nodes = *actor.GeomTraversal();
  for (int j = 0; j < skill.NumJoints(); ++j) {
    int parent = skill.ParentIndex(j);
    bool sampled = pose.sampled[static_cast<size_t>(j)];
    joints.push_back(Json{{"index", j},
                          {"name", nodes.Node(j)->Name().c_str()},
                          {"parent", parent >= 0 ? Json(nodes.Node(parent)->Name().c_str()) : Json(nullptr)},
                          {"sampled", sampled},
                          {"local", sampled ? JsonOf(pose.local[static_cast<size_t>(j)]) : Json(nullptr)},
                          {"actor", sampled ? JsonOf(pose.actor[static_cast<size_t>(j)]) : Json(nullptr)}});
  }
  return joints;
}

std::string Numbers(Json const& list) {
  std::string text;
  for (Json const& n : list) text += fmt::format("{:8.4f}", n.is_null() ? 0.0 : n.get<double>());
  return text;
}

void PrintSample(Json const& sample) {
  fmt::print("{} at time {} ({}):\n", sample["skill"].get<std::string>(), sample["time"].get<uint32_t>(),
             sample["actor"].get<std::string>());
  fmt::print("  {:<3} {:<12} {:<24} {:<32} {}\n", "#", "joint", "local translation", "local rotation (w x y z)",
             "translation in the actor");
  for (Json const& j : sample["joints"]) {
    if (!j["sampled"].get<bool>()) {
      fmt::print("  {:<3} {:<12} (no key at or before this time)\n", j["index"].get<int>(), j["name"].get<std::string>());
      continue;
    }
    fmt::print("  {:<3} {:<12} {}{}{}\n", j["index"].get<int>(), j["name"].get<std::string>(),
               Numbers(j["local"]["translation"]), Numbers(j["local"]["rotation"]), Numbers(j["actor"]["translation"]));
  }
}

int RunSample(SampleOptions const& options) {
  fs::path actorFile = fs::is_directory(options.actor) ? ActorFileOf(options.actor) : fs::path(options.actor);
  Issue failure;
  ZoRef<ZoProtoActor> actor = actorFile.empty() ? ZoRef<ZoProtoActor>() : LoadActor(actorFile, failure);
  if (!actor) {
    if (failure.code.empty()) failure = Issue{"missing", "no actor file", -1};
    LogIssue(actorFile.empty() ? options.actor : Shown(actorFile), failure, false);
    return kExitFileFailed;
  }
  std::string where;
  ZoRef<ZoProtoSkill> skill = FindSkill(*actor, options.skill, failure, where);
  if (!skill) {
    LogIssue(where.empty() ? options.skill : where, failure, false);
    return kExitFileFailed;
  }
  Json sample{{"actor", actor->Name().c_str()},
              {"skill", skill->Name().c_str()},
              {"time", options.time},
              {"method", options.reference ? "key-lists" : "sampler"},
              {"joints", SampleJoints(*actor, *skill, options.time, options.reference)}};
  if (options.json) {
    PrintJson(sample);
  } else {
    PrintSample(sample);
  }
  return kExitOk;
}

}  // namespace

void AddSampleCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<SampleOptions>();
  CLI::App* sample = app.add_subcommand("sample", "Print every joint's transform of a skill at a time");
  sample->add_option("ACTOR", options->actor, "An actor folder or actor file")->required();
  sample->add_option("SKILL", options->skill, "A skill name (looked up in the actor's Skills folder) or a skill file")
      ->required();
  sample->add_option("-t,--time", options->time, "The time, in the engine's time unit")->required();
  sample->add_flag("--json", options->json, "Print JSON instead of a table");
  sample->add_flag("--reference", options->reference,
                   "Sample joint by joint through the key lists instead of the whole-pose sampler");
  sample->callback([options, &status] { status = RunSample(*options); });
}

}  // namespace zotool
