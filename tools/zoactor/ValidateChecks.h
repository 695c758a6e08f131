// The checks of `zoactor validate`: each file is read whole through the
// library's readers, then checked for what a reader can see. Errors make the
// file fail; warnings name what the library accepts but is suspicious.
// docs/cli.md lists every code.
//
// Errors: unreadable, too-large, missing, unknown-kind, truncated, malformed,
// trailing-bytes, duplicate-node-name, non-finite, skill-name-mismatch,
// duplicate-skill-name, joint-count-mismatch, keys-out-of-order,
// non-unit-rotation; for sequences no-frames, missing-prototype,
// missing-motion, motion-name-mismatch; for motion files torn-frame.
// Warnings: older-layout, skipped-object, unknown-style, unknown-handle-kind,
// material-index-range, unknown-face-node, missing-role-skill,
// actor-name-mismatch, duplicate-key-time, unknown-blend-mode,
// joints-unchecked, not-checked; for sequences frame-count-mismatch,
// frame-size-mismatch; for motion files unused-bytes, stored-frames-differ,
// motion-name-mismatch.
//
// Edge cases:
// - Node rotations are normalised by the reader, so only key rotations,
//   which are kept as stored, are checked for unit length.
// - A skill is checked against its actor only when it lies in a "Skills"
//   folder beside an actor file; the actor is read once per run.
// - Offsets are those of the field at fault: the stream's first failure,
//   the first trailing byte, a skill's name or joint count, a key's frame.
//   Faults of the read object as a whole (duplicate names) have none.
#ifndef ZOACTOR_TOOLS_VALIDATECHECKS_H
#define ZOACTOR_TOOLS_VALIDATECHECKS_H

#include "ToolFiles.h"
#include "ToolReport.h"

#include <map>
#include <set>
#include <string>

namespace zotool {

// What the skills of a folder are checked against.
struct ActorFacts {
  bool read = false;
  int joints = 0;
  std::string name;
};

// State shared by the files of one run.
class ValidateContext {
 public:
  // The facts of the actor whose "Skills" folder holds `skillFile`, or null
  // when the skill lies in no such folder.
  ActorFacts const* ActorFor(fs::path const& skillFile);
  // Remembers the facts of an actor file read by the run.
  void Remember(fs::path const& actorFile, ActorFacts const& facts);
  // False when a skill of the same name (ignoring case) was seen in the
  // same folder before; records it.
  bool FirstOfName(fs::path const& skillFile);

 private:
  std::map<std::string, ActorFacts> actors;
  std::map<std::string, std::set<std::string>> skillNames;
};

// Reads and checks one file.
FileReport ValidateFile(fs::path const& path, ValidateContext& context);

}  // namespace zotool

#endif
