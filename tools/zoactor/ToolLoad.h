// Loading actors and skills for the commands, through the library's file
// readers, with the reason and byte offset of a refusal.
#ifndef ZOACTOR_TOOLS_TOOLLOAD_H
#define ZOACTOR_TOOLS_TOOLLOAD_H

#include "ToolFiles.h"
#include "ToolReport.h"

#include <zoactor/zoactor.h>

#include <vector>

namespace zotool {

// The actor read from `file` (one reference, its path set to the file's
// folder), or null with `failure` saying why.
ZoRef<ZoProtoActor> LoadActor(fs::path const& file, Issue& failure);
// The skill read from `file` (parent indices not set), or null with
// `failure` saying why.
ZoRef<ZoProtoSkill> LoadSkill(fs::path const& file, Issue& failure);

// The files of an actor folder: its actor file and the skill files of its
// "Skills" folder, in the order the skill cache loads them.
struct ActorFolderFiles {
  fs::path actorFile;
  std::vector<fs::path> skillFiles;
};
ActorFolderFiles ListActorFolder(fs::path const& folder);

// The path as the user named it, for messages and JSON.
std::string Shown(fs::path const& path);

}  // namespace zotool

#endif
