// zoactor view ACTOR -o DIR: a self-contained viewer of the actor in DIR:
// index.html and viewer.js, the actor with every skill as actor.glb, and the
// three.js modules the page imports (see ViewerAssets.h). Serve DIR over
// HTTP (browsers load modules only so) and open index.html: the actor lit
// and framed, orbiting with the mouse, its skills to play on a loop with a
// time slider, and its node tree. Prints a JSON summary like export's.
#include "Commands.h"
#include "ExportJob.h"
#include "ViewerAssets.h"

#include <memory>
#include <system_error>

namespace zotool {

namespace {

constexpr char const* kModelFile = "actor.glb";

struct ViewOptions {
  std::string actor;
  std::string folder;
};

int RunView(ViewOptions const& options) {
  ViewerAssets assets;
  std::string problem;
  if (!FindViewerAssets(assets, problem)) {
    LogIssue("view", Issue{"viewer-files", problem, -1}, false);
    return kExitFileFailed;
  }
  ExportRequest request;
  request.actor = options.actor;
  request.allSkills = true;
  ExportOutcome outcome;
  int status = BuildExport(request, outcome);
  if (status != kExitOk) return status;
  LogSkipped(outcome.actorName, outcome.report);

  fs::path folder = options.folder;
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) {
    LogIssue(options.folder, Issue{"write", "cannot create the folder: " + error.message(), -1}, false);
    return kExitFileFailed;
  }
  std::string model = (folder / kModelFile).string();
  if (!WriteGltfFile(outcome.model, model, true, problem) || !CopyViewerAssets(assets, folder, problem)) {
    LogIssue(options.folder, Issue{"write", problem, -1}, false);
    return kExitFileFailed;
  }
  Json summary{{"actor", outcome.actorFile}, {"folder", options.folder}, {"page", (folder / "index.html").string()},
               {"output", model}, {"format", "glb"}};
  summary.update(JsonOf(outcome.report));
  PrintJson(summary);
  return kExitOk;
}

}  // namespace

void AddViewCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<ViewOptions>();
  CLI::App* command = app.add_subcommand("view", "Write a browser viewer of an actor and its skills into a folder");
  command->add_option("ACTOR", options->actor, "An actor folder or actor file")->required();
  command->add_option("-o,--output", options->folder, "The folder to write (created when missing)")->required();
  command->callback([options, &status] { status = RunView(*options); });
}

}  // namespace zotool
