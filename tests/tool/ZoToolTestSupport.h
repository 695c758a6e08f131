// Helpers for the tool's tests: running the built zoactor and parsing its
// JSON, the demo folder written once per test program, and skill and older
// actor files built byte by byte from their field lists.
#ifndef ZOACTOR_TESTS_TOOL_ZOTOOLTESTSUPPORT_H
#define ZOACTOR_TESTS_TOOL_ZOTOOLTESTSUPPORT_H

#include <zoactor/zoactor.h>

#include "actor/ZoActorTestSupport.h"
#include "support/ZoTestSupport.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zotooltest {

using Json = nlohmann::json;
using zotest::ByteBuilder;
using zotest::Bytes;
// The issues of `code` among a file's errors (or warnings) in validate's JSON.
inline std::vector<Json> Issues(Json const& file, char const* list, char const* code) {
  std::vector<Json> found;
  for (Json const& issue : file[list])
    if (issue["code"] == code) found.push_back(issue);
  return found;
}

// The entry of the file called `name` in a report's "files", or null.
inline Json const* FileNamed(Json const& report, std::string const& name) {
  for (Json const& file : report["files"])
    if (std::filesystem::path(file["path"].get<std::string>()).filename() == name) return &file;
  return nullptr;
}

// The bytes of a file; an actor file of the older layout of a version
// ("Old": "hips" holding the handle "grip", one joint).
using zoacttest::FileBytes;
using zoacttest::OlderActorFile;

// What a run of the tool gave.
struct ToolRun {
  // The exit status, or -1 when the tool did not exit normally (a crash).
  int status = -1;
  std::string out;
  std::string err;
  // stdout parsed as JSON (null when it is not JSON).
  Json json;
};

// Runs `zoactor` with `arguments` (shell words, quoted by the caller).
ToolRun RunTool(std::string const& arguments);

// Runs `zoactor` with `arguments`, expects exit status 0 (a test failure
// showing stderr otherwise) and returns what stdout holds as JSON.
Json RunOk(std::string const& arguments);

// Single quotes for the shell.
std::string Quoted(std::string const& path);

// The folder `zoactor demo` wrote (…/Robo), made once per test program.
std::string DemoFolder();

// A key of a hand-built skill file: its time and the translation of its
// local and actor transforms; rotations are the identity unless `w` says
// otherwise.
struct HandKey {
  uint32_t time;
  float x;
  float w = 1.0f;
};

// A current skill file ("kSOZ", framed "PlkS", version 106, format "SklK")
// named `name` with `joints` joints, of which joint `keyed` has `keys`.
// `keyOffsets` (when given) receives the offset of each key's frame.
Bytes SkillFileBytes(char const* name, int32_t joints, int32_t keyed, std::vector<HandKey> const& keys,
                     std::vector<size_t>* keyOffsets = nullptr);

// A skill file of the layout of `version` (below 38: a container header
// whose type word is the format) named `name`, for one joint with two keys.
Bytes OlderSkillFile(int32_t version, char const* name);

}  // namespace zotooltest

#endif
