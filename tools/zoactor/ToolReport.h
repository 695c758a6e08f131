// Reporting shared by the commands: the issues found in a file, their JSON,
// log lines on stderr ("Walk.skl: byte 1234: count ... exceeds the 812
// bytes left"), a progress line shown only when stderr is a terminal, and
// the exit statuses (0 ok, 1 a file failed, 2 a usage error).
#ifndef ZOACTOR_TOOLS_TOOLREPORT_H
#define ZOACTOR_TOOLS_TOOLREPORT_H

#include "ToolFiles.h"

#include <zoactor/actor/ZoReadReport.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace zotool {

// JSON with its keys in the order they were set, so output reads in the
// order of the files' fields.
using Json = nlohmann::ordered_json;

constexpr int kExitOk = 0;
constexpr int kExitFileFailed = 1;
constexpr int kExitUsage = 2;

// One finding: a stable code (docs/cli.md lists them), a message, and the
// byte offset in the file it concerns (-1 when it concerns no single byte).
struct Issue {
  std::string code;
  std::string message;
  int64_t offset = -1;
};

// The findings of one file. Past kMaxIssuesPerCode issues of one code
// (a damaged file can repeat one fault thousands of times) the rest are
// only counted in `suppressed`.
struct FileReport {
  static constexpr int kMaxIssuesPerCode = 20;

  std::string path;
  FileFacts facts;
  int64_t bytes = 0;
  std::vector<Issue> errors;
  std::vector<Issue> warnings;
  int64_t suppressed = 0;

  void Error(std::string code, int64_t offset, std::string message);
  void Warning(std::string code, int64_t offset, std::string message);
  bool Failed() const { return !errors.empty(); }
  // True when an issue of `code` is recorded.
  bool Has(std::string const& code) const;

 private:
  void Add(std::vector<Issue>& list, std::string code, int64_t offset, std::string message);
};

// The issue of a failed library read: code "truncated" when the data ended
// before what it announced (a read error), "malformed" otherwise, with the
// stream's first failure as offset and message.
Issue IssueOfRead(ZoReadReport const& report);

// {"path","kind","version","bytes","errors":[...],"warnings":[...],"suppressed"}.
Json JsonOf(FileReport const& report);
Json JsonOf(Issue const& issue);

// Writes "path: byte N: message" (or "path: message" without an offset) to
// stderr, with "warning: " before the message of a warning.
void LogIssue(std::string const& path, Issue const& issue, bool warning);
// Logs every issue of the report.
void LogReport(FileReport const& report);

// Prints JSON to stdout, indented, with a final newline.
void PrintJson(Json const& json);

// A one-line progress counter on stderr, drawn only when stderr is a
// terminal and the caller allows it; erased when done.
class Progress {
 public:
  Progress(bool allowed, size_t total);
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;
  void Step(size_t done, std::string const& path);

 private:
  bool shown;
  size_t total;
};

}  // namespace zotool

#endif
