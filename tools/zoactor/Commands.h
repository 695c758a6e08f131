// The tool's commands. Each Add…Command registers its subcommand, with its
// options and --help, on the application; when the subcommand runs, its exit
// status (kExitOk, kExitFileFailed, kExitUsage) lands in `status`.
#ifndef ZOACTOR_TOOLS_COMMANDS_H
#define ZOACTOR_TOOLS_COMMANDS_H

#include <CLI/CLI.hpp>

namespace zotool {

void AddDemoCommand(CLI::App& app, int& status);
void AddInfoCommand(CLI::App& app, int& status);
void AddDumpCommand(CLI::App& app, int& status);
void AddValidateCommand(CLI::App& app, int& status);
void AddUpgradeCommand(CLI::App& app, int& status);
void AddSampleCommand(CLI::App& app, int& status);
void AddExportCommand(CLI::App& app, int& status);
void AddViewCommand(CLI::App& app, int& status);

// Runs the tool on `argc`/`argv` as main does; returns the exit status.
int RunTool(int argc, char const* const* argv);

}  // namespace zotool

#endif
