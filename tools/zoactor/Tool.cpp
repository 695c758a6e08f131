#include "Commands.h"
#include "ToolReport.h"

#include <zoactor/ZoVersion.h>

#include <fmt/format.h>

namespace zotool {

int RunTool(int argc, char const* const* argv) {
  CLI::App app{"zoactor: inspect, validate, upgrade, export and demonstrate actor folders and files.\n"
               "JSON goes to stdout, messages to stderr; exit status 0 ok, 1 a file failed, 2 a usage error."};
  app.require_subcommand(1, 1);
  app.set_version_flag("--version", ZoActorVersion());
  int status = kExitOk;
  AddDemoCommand(app, status);
  AddInfoCommand(app, status);
  AddDumpCommand(app, status);
  AddValidateCommand(app, status);
  AddUpgradeCommand(app, status);
  AddSampleCommand(app, status);
  AddExportCommand(app, status);
  AddViewCommand(app, status);
  app.add_subcommand("version", "Print the library's version")->callback([] { fmt::print("{}\n", ZoActorVersion()); });
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    int code = app.exit(error);
    return code == 0 ? kExitOk : kExitUsage;
  }
  return status;
}

}  // namespace zotool
