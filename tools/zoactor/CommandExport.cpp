// zoactor export ACTOR -o OUT.glb [--gltf] [--skills NAME... | --all-skills]
// [--time-unit SECONDS] [--scale S]: the actor, its meshes, materials,
// cameras and lights and the chosen skills as one glTF 2.0 file (GLB, or
// .gltf text with the buffer embedded). Prints a JSON summary of what was
// written and what was left out; each skip is also logged on stderr.
#include "Commands.h"
#include "ExportJob.h"

#include <fmt/format.h>

#include <cmath>
#include <memory>

namespace zotool {

namespace {

struct ExportOptions {
  ExportRequest request;
  std::string output;
  bool gltf = false;
};

int RunExport(ExportOptions const& options) {
  ExportOutcome outcome;
  int status = BuildExport(options.request, outcome);
  if (status != kExitOk) return status;
  LogSkipped(outcome.actorName, outcome.report);
  std::string error;
  if (!WriteGltfFile(outcome.model, options.output, !options.gltf, error)) {
    LogIssue(options.output, Issue{"write", error, -1}, false);
    return kExitFileFailed;
  }
  Json summary{{"actor", outcome.actorFile}, {"output", options.output}, {"format", options.gltf ? "gltf" : "glb"}};
  summary.update(JsonOf(outcome.report));
  PrintJson(summary);
  return kExitOk;
}

// A CLI11 check for a positive finite number.
CLI::Validator Positive() {
  return CLI::Validator(
      [](std::string& text) {
        double value = 0.0;
        bool ok = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0.0;
        return ok ? std::string() : fmt::format("{} is not a positive number", text);
      },
      "POSITIVE");
}

}  // namespace

void AddExportCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand("export", "Export an actor and its skills to glTF 2.0 (GLB or .gltf)");
  command->add_option("ACTOR", options->request.actor, "An actor folder or actor file")->required();
  command->add_option("-o,--output", options->output, "The file to write (.glb, or .gltf with --gltf)")->required();
  command->add_flag("--gltf", options->gltf, "Write .gltf text with the buffer embedded instead of GLB");
  CLI::Option* skills =
      command->add_option("--skills", options->request.skills, "Skills to export as animations, by name");
  command->add_flag("--all-skills", options->request.allSkills, "Export every skill of the Skills folder")
      ->excludes(skills);
  command->add_option("--time-unit", options->request.options.secondsPerUnit, "Seconds per engine time unit")
      ->default_val(0.001)
      ->check(Positive());
  command->add_option("--scale", options->request.options.scale, "Factor of every length")
      ->default_val(1.0)
      ->check(Positive());
  command->callback([options, &status] { status = RunExport(*options); });
}

}  // namespace zotool
