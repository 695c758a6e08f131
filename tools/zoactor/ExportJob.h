// The part `zoactor export` and `zoactor view` share: loading an actor with
// the skills a command names, exporting it to glTF, and telling the user
// what was left out.
#ifndef ZOACTOR_TOOLS_EXPORTJOB_H
#define ZOACTOR_TOOLS_EXPORTJOB_H

#include "GltfExport.h"

#include <string>
#include <vector>

namespace zotool {

struct ExportRequest {
  // An actor folder or actor file.
  std::string actor;
  // Skills by name, looked up in the actor's Skills folder ignoring case.
  std::vector<std::string> skills;
  // Every skill of the Skills folder (then `skills` is not used).
  bool allSkills = false;
  GltfExportOptions options;
};

// What BuildExport made.
struct ExportOutcome {
  tinygltf::Model model;
  GltfExportReport report;
  std::string actorName;
  std::string actorFile;
};

// Loads the actor and the requested skills and exports them. Skills that
// cannot be had (missing, unreadable, of another skeleton) are reported in
// `outcome.report.skipped` like everything the export leaves out. Returns
// kExitOk, or kExitFileFailed (logged) when the actor cannot be read.
int BuildExport(ExportRequest const& request, ExportOutcome& outcome);

// Logs every skip on stderr: "ACTOR: skipped SUBJECT (CODE): MESSAGE".
void LogSkipped(std::string const& actor, GltfExportReport const& report);

}  // namespace zotool

#endif
