// Helpers for the tool's tests: running the built zoactor and parsing its
// JSON, the demo folder written once per test program, and skill and older
// actor files built byte by byte from their field lists.
#ifndef ZOACTOR_TESTS_TOOL_ZOTOOLTESTSUPPORT_H
#define ZOACTOR_TESTS_TOOL_ZOTOOLTESTSUPPORT_H

#include <zoactor/zoactor.h>

#include "support/ZoTestSupport.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace zotooltest {

using Json = nlohmann::json;
using zotest::ByteBuilder;
using zotest::Bytes;

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

// An actor file in the older layout of `version` (a container header, then
// the framed older body): "Old", a geometry node "hips" holding a handle
// "grip"; one joint.
Bytes OlderActorFile(int32_t version);
// A skill file of the layout of `version` (below 38: a container header
// whose type word is the format) named `name`, for one joint with two keys.
Bytes OlderSkillFile(int32_t version, char const* name);

// The bytes of a file.
Bytes FileBytes(std::string const& path);

}  // namespace zotooltest

#endif
