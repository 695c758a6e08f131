#include "ToolReport.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <iostream>

namespace zotool {

void FileReport::Error(std::string code, int64_t offset, std::string message) {
  Add(errors, std::move(code), offset, std::move(message));
}

void FileReport::Warning(std::string code, int64_t offset, std::string message) {
  Add(warnings, std::move(code), offset, std::move(message));
}

bool FileReport::Has(std::string const& code) const {
  auto same = [&](Issue const& issue) { return issue.code == code; };
  return std::any_of(errors.begin(), errors.end(), same) || std::any_of(warnings.begin(), warnings.end(), same);
}

void FileReport::Add(std::vector<Issue>& list, std::string code, int64_t offset, std::string message) {
  auto same = [&](Issue const& issue) { return issue.code == code; };
  if (std::count_if(list.begin(), list.end(), same) >= kMaxIssuesPerCode) {
    ++suppressed;
    return;
  }
  list.push_back(Issue{std::move(code), std::move(message), offset});
}

Issue IssueOfRead(ZoReadReport const& report) {
  Issue issue;
  issue.code = report.status == ZoStreamReadError ? "truncated" : "malformed";
  if (report.status == ZoStreamOpenError) issue.code = "unreadable";
  issue.message = report.reason[0] != '\0' ? report.reason : "the file could not be read";
  issue.offset = report.offset;
  return issue;
}

Json JsonOf(Issue const& issue) {
  Json json;
  json["code"] = issue.code;
  json["message"] = issue.message;
  json["offset"] = issue.offset >= 0 ? Json(issue.offset) : Json(nullptr);
  return json;
}

Json JsonOf(FileReport const& report) {
  Json json;
  json["path"] = report.path;
  json["kind"] = KindName(report.facts.kind);
  json["version"] = report.facts.version >= 0 ? Json(report.facts.version) : Json(nullptr);
  json["bytes"] = report.bytes;
  json["errors"] = Json::array();
  for (Issue const& issue : report.errors) json["errors"].push_back(JsonOf(issue));
  json["warnings"] = Json::array();
  for (Issue const& issue : report.warnings) json["warnings"].push_back(JsonOf(issue));
  json["suppressed"] = report.suppressed;
  return json;
}

void LogIssue(std::string const& path, Issue const& issue, bool warning) {
  // Clears a progress line that may stand on the terminal.
  if (isatty(STDERR_FILENO) == 1) fmt::print(stderr, "\r\033[K");
  std::string where = issue.offset >= 0 ? fmt::format("{}: byte {}: ", path, issue.offset) : path + ": ";
  fmt::print(stderr, "{}{}{}\n", where, warning ? "warning: " : "", issue.message);
}

void LogReport(FileReport const& report) {
  for (Issue const& issue : report.errors) LogIssue(report.path, issue, false);
  for (Issue const& issue : report.warnings) LogIssue(report.path, issue, true);
}

// Names read from files may hold bytes that are not UTF-8; they print as
// U+FFFD instead of ending the tool.
void PrintJson(Json const& json) { std::cout << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n'; }

Progress::Progress(bool allowed, size_t count) : shown(allowed && isatty(STDERR_FILENO) == 1), total(count) {}

Progress::~Progress() {
  if (shown) fmt::print(stderr, "\r\033[K");
}

void Progress::Step(size_t done, std::string const& path) {
  if (!shown) return;
  std::string name = path.size() > 50 ? "..." + path.substr(path.size() - 47) : path;
  fmt::print(stderr, "\r\033[K[{}/{}] {}", done, total, name);
  std::fflush(stderr);
}

}  // namespace zotool
