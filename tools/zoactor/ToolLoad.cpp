#include "ToolLoad.h"

namespace zotool {

ZoRef<ZoProtoActor> LoadActor(fs::path const& file, Issue& failure) {
  ZoReadReport report;
  ZoRef<ZoProtoActor> actor(ZoProtoActor::ReadActorFile(file.string().c_str(), &report));
  if (!actor) failure = IssueOfRead(report);
  return actor;
}

ZoRef<ZoProtoSkill> LoadSkill(fs::path const& file, Issue& failure) {
  ZoReadReport report;
  ZoRef<ZoProtoSkill> skill(ZoProtoActor::ReadSkillFile(file.string().c_str(), &report));
  if (!skill) failure = IssueOfRead(report);
  return skill;
}

ActorFolderFiles ListActorFolder(fs::path const& folder) {
  ActorFolderFiles files;
  files.actorFile = ActorFileOf(folder);
  fs::path skills = SkillFolderOf(folder);
  if (!skills.empty()) files.skillFiles = ListWithExtension(skills, ".skl");
  return files;
}

std::string Shown(fs::path const& path) { return path.lexically_normal().string(); }

}  // namespace zotool
