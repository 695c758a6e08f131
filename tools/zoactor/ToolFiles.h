// What kind of file a path holds, told by its first bytes (not its name),
// and the file helpers every command shares: whole-file reads, listing an
// actor folder, pairing a skill with the actor of its folder.
//
// Kinds: an actor or skill file of today starts with its magic; an older one
// starts with the chunked container's header, whose framed object tells the
// two apart. Sequence ("Sequ") and motion ("Aazo") files are containers
// too, recognised by the container's type (ToolSequences.h reads them).
//
// Edge cases:
// - A container whose object is neither an actor nor a skill, and whose
//   type is not a sequence's or a motion's, is kind "container".
// - Files shorter than their header are kind "unknown" with
//   `truncatedHeader` set.
#ifndef ZOACTOR_TOOLS_TOOLFILES_H
#define ZOACTOR_TOOLS_TOOLFILES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zotool {

namespace fs = std::filesystem;

enum class FileKind { Actor, Skill, Sequence, Motion, Container, ActorFolder, Folder, Unknown, Missing };

// The name used in JSON and text ("actor", "skill", "sequence", "motion",
// "container", "actor-folder", "folder", "unknown", "missing").
char const* KindName(FileKind kind);

// What the first bytes of a file say.
struct FileFacts {
  FileKind kind = FileKind::Unknown;
  // The format version of the body: field 1 of a file with a magic, the
  // caller's version of a container header; -1 when unknown.
  int32_t version = -1;
  // True when the file starts with the chunked container's header.
  bool container = false;
  // The container's four-character type, or empty.
  std::string containerType;
  // The container's own format version (2 for every file written today).
  int32_t containerFormat = -1;
  // The first four bytes, for messages about unknown files.
  uint32_t firstWord = 0;
  bool truncatedHeader = false;
};

// Kind and version from the first bytes of a file (at least 24 give all).
FileFacts FactsOfBytes(unsigned char const* bytes, size_t size);
// The same for a path: a folder is ActorFolder when it holds an actor file,
// else Folder; a path that does not exist is Missing.
FileFacts FactsOfPath(fs::path const& path);

// A type code as its four characters in file order ("ActP"), or as hex when
// they are not printable.
std::string TypeCodeText(int32_t code);

// Reads a whole file; false when it cannot be opened or read.
bool ReadWholeFile(fs::path const& path, std::vector<char>& bytes);

// True when `a` and `b` are equal ignoring ASCII case.
bool SameIgnoringCase(std::string const& a, std::string const& b);
// The file's name without folder and extension.
std::string BaseName(fs::path const& path);

// The entries of `folder` whose extension is `extension` (".act", ".skl";
// matched ignoring case), sorted by upper-cased name; empty when none.
std::vector<fs::path> ListWithExtension(fs::path const& folder, char const* extension);
// The entry `name` of `folder`: as spelled when it exists, else the first
// (in sorted order) that matches ignoring case; empty when none does or
// `folder` is empty.
fs::path FindIgnoringCase(fs::path const& folder, std::string const& name);
// The folder's "Skills" subfolder, matched ignoring case, or empty.
fs::path SkillFolderOf(fs::path const& actorFolder);
// The actor file of a folder: the one named after the folder when there is
// one, else the first; empty when the folder holds none.
fs::path ActorFileOf(fs::path const& folder);
// For a skill file inside a "Skills" folder: the actor file beside that
// folder, or empty.
fs::path ActorFileForSkill(fs::path const& skillFile);

}  // namespace zotool

#endif
