// zoactor validate PATH... [--recursive] [--quiet]: reads each file whole and
// checks it (ValidateChecks.h). Prints {"files":[...],"summary":{...}} on
// stdout and a line per issue on stderr ("Walk.skl: byte 1234: reason");
// exits 1 when any file has an error. --quiet prints nothing: the exit
// status alone tells.
//
// What is examined: a named file always; in a named actor folder, its actor
// file and its skills; in any other named folder its files, and with
// --recursive those of every folder below. Walking a folder, files with an
// extension other than .act, .skl, .anm and .seq are skipped (textures,
// sounds) unless they start with a known magic.
#include "Commands.h"
#include "ToolLoad.h"
#include "ValidateChecks.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

struct ValidateOptions {
  std::vector<std::string> paths;
  bool recursive = false;
  bool quiet = false;
};

struct Collected {
  std::vector<fs::path> files;
  int64_t skipped = 0;
};

bool Examined(fs::path const& file) {
  std::string extension = file.extension().string();
  for (char const* known : {".act", ".skl", ".anm", ".seq"})
    if (SameIgnoringCase(extension, known)) return true;
  if (extension.empty()) return true;
  FileKind kind = FactsOfPath(file).kind;
  return kind != FileKind::Unknown && kind != FileKind::Missing;
}

void CollectFolder(fs::path const& folder, bool recursive, Collected& out) {
  std::vector<fs::path> found;
  std::error_code error;
  auto consider = [&](fs::directory_entry const& entry) {
    if (!entry.is_regular_file(error)) return;
    if (Examined(entry.path())) {
      found.push_back(entry.path());
    } else {
      ++out.skipped;
    }
  };
  if (recursive) {
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) consider(*it);
  } else {
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) consider(*it);
  }
  std::sort(found.begin(), found.end());
  out.files.insert(out.files.end(), found.begin(), found.end());
}

Collected Collect(ValidateOptions const& options) {
  Collected out;
  for (std::string const& path : options.paths) {
    FileKind kind = FactsOfPath(path).kind;
    if (kind == FileKind::ActorFolder && !options.recursive) {
      ActorFolderFiles folder = ListActorFolder(path);
      out.files.push_back(folder.actorFile);
      out.files.insert(out.files.end(), folder.skillFiles.begin(), folder.skillFiles.end());
    } else if (kind == FileKind::ActorFolder || kind == FileKind::Folder) {
      CollectFolder(path, options.recursive, out);
    } else {
      out.files.push_back(path);
    }
  }
  return out;
}

Json Summary(std::vector<FileReport> const& reports, int64_t skipped, double seconds) {
  int64_t failed = 0, errors = 0, warnings = 0, bytes = 0;
  for (FileReport const& r : reports) {
    failed += r.Failed() ? 1 : 0;
    errors += static_cast<int64_t>(r.errors.size());
    warnings += static_cast<int64_t>(r.warnings.size());
    bytes += r.bytes;
  }
  double megabytes = static_cast<double>(bytes) / 1e6;
  return Json{{"files", reports.size()}, {"failed", failed},   {"errors", errors},
              {"warnings", warnings},    {"skipped", skipped}, {"bytes", bytes},
              {"seconds", seconds},      {"megabytesPerSecond", seconds > 0 ? megabytes / seconds : 0.0}};
}

int RunValidate(ValidateOptions const& options) {
  auto started = std::chrono::steady_clock::now();
  Collected collected = Collect(options);
  ValidateContext context;
  std::vector<FileReport> reports;
  reports.reserve(collected.files.size());
  {
    Progress progress(!options.quiet, collected.files.size());
    for (fs::path const& file : collected.files) {
      progress.Step(reports.size() + 1, file.string());
      reports.push_back(ValidateFile(file, context));
      if (!options.quiet) LogReport(reports.back());
    }
  }
  double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  bool failed = std::any_of(reports.begin(), reports.end(), [](FileReport const& r) { return r.Failed(); });
  if (!options.quiet) {
    Json out{{"files", Json::array()}};
    for (FileReport const& r : reports) out["files"].push_back(JsonOf(r));
    out["summary"] = Summary(reports, collected.skipped, seconds);
    PrintJson(out);
  }
  return failed ? kExitFileFailed : kExitOk;
}

}  // namespace

void AddValidateCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<ValidateOptions>();
  CLI::App* validate = app.add_subcommand(
      "validate", "Read files or actor folders whole and check them; exit 1 when any file has an error");
  validate->add_option("PATH", options->paths, "Files or folders")->required();
  validate->add_flag("-r,--recursive", options->recursive, "Descend into every folder below a named folder");
  validate->add_flag("-q,--quiet", options->quiet, "Print nothing; the exit status tells");
  validate->callback([options, &status] { status = RunValidate(*options); });
}

}  // namespace zotool
