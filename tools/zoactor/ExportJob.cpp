#include "ExportJob.h"
#include "ToolLoad.h"

#include <fmt/format.h>

namespace zotool {

namespace {

GltfSkip SkipOfLoad(ZoSkillLoadReport const& load, std::string const& name) {
  switch (load.status) {
    case ZoSkillLoadStatus::OtherSkeleton:
      return {"skill-mismatch", name, load.detail.reason};
    case ZoSkillLoadStatus::Unreadable:
      if (load.detail.Failed()) return {"unreadable-skill", name, IssueOfRead(load.detail).message};
      return {"missing-skill", name, fmt::format("no skill file {}", load.file.c_str())};
    case ZoSkillLoadStatus::AlreadyCached:
      return {"duplicate-skill", name, fmt::format("{} holds a skill already loaded", load.file.c_str())};
    default:
      return {"missing-skill", name, "the skill cannot be loaded"};
  }
}

std::string FileNameOf(ZoString const& path) { return fs::path(path.c_str()).filename().string(); }

// The skills to export, held for the caller; what cannot be had goes to
// `skipped`.
std::vector<ZoRef<ZoProtoSkill>> ChosenSkills(ZoProtoActor& actor, ExportRequest const& request,
                                              std::vector<GltfSkip>& skipped) {
  std::vector<ZoRef<ZoProtoSkill>> chosen;
  if (request.allSkills) {
    std::vector<ZoSkillLoadReport> refused;
    actor.LoadAllSkills(&refused);
    for (ZoSkillLoadReport const& load : refused) skipped.push_back(SkipOfLoad(load, FileNameOf(load.file)));
    ZoDblListItem* cursor = nullptr;
    for (void* item = actor.Skills().GetFirst(cursor); item != nullptr; item = actor.Skills().GetNext(cursor))
      chosen.push_back(ZoRef<ZoProtoSkill>::Share(static_cast<ZoProtoSkill*>(item)));
    return chosen;
  }
  for (std::string const& name : request.skills) {
    ZoProtoSkill* skill = actor.GetSkill(name.c_str(), 0);
    if (skill != nullptr) {
      chosen.push_back(ZoRef<ZoProtoSkill>::Share(skill));
    } else {
      skipped.push_back(SkipOfLoad(actor.LastSkillLoad(), name));
    }
  }
  return chosen;
}

}  // namespace

int BuildExport(ExportRequest const& request, ExportOutcome& outcome) {
  std::error_code error;
  fs::path file = fs::is_directory(request.actor, error) ? ActorFileOf(request.actor) : fs::path(request.actor);
  Issue failure;
  ZoRef<ZoProtoActor> actor = file.empty() ? ZoRef<ZoProtoActor>() : LoadActor(file, failure);
  if (!actor) {
    if (failure.code.empty()) failure = Issue{"missing", "no actor file", -1};
    LogIssue(file.empty() ? request.actor : Shown(file), failure, false);
    return kExitFileFailed;
  }
  outcome.actorName = actor->Name().c_str();
  outcome.actorFile = Shown(file);
  std::vector<GltfSkip> skipped;
  std::vector<ZoRef<ZoProtoSkill>> held = ChosenSkills(*actor, request, skipped);
  std::vector<ZoProtoSkill*> skills;
  for (ZoRef<ZoProtoSkill> const& skill : held) skills.push_back(skill.get());
  outcome.report.skipped = skipped;
  outcome.model = ExportActorToGltf(*actor, skills, request.options, outcome.report);
  return kExitOk;
}

void LogSkipped(std::string const& actor, GltfExportReport const& report) {
  for (GltfSkip const& skip : report.skipped)
    fmt::print(stderr, "{}: skipped {} ({}): {}\n", actor, skip.subject, skip.code, skip.message);
}

}  // namespace zotool
