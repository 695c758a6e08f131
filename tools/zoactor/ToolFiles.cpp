#include "ToolFiles.h"

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/serialization/ZoFile.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>

namespace zotool {

namespace {

constexpr size_t kMagicSize = 4;
// Magic, type code and the body's version.
constexpr size_t kCurrentStart = 12;
// Container header and the framed object's type code.
constexpr size_t kContainerStart = ZoFile::kHeaderSize + 4;

int32_t WordAt(unsigned char const* bytes, size_t at) {
  int32_t word = 0;
  std::memcpy(&word, bytes + at, sizeof word);
  return word;
}

uint16_t HalfAt(unsigned char const* bytes, size_t at) {
  uint16_t half = 0;
  std::memcpy(&half, bytes + at, sizeof half);
  return half;
}

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

void FactsOfContainer(unsigned char const* bytes, size_t size, FileFacts& facts) {
  facts.container = true;
  if (size < ZoFile::kHeaderSize) {
    facts.truncatedHeader = true;
    return;
  }
  facts.containerFormat = HalfAt(bytes, 4);
  facts.version = HalfAt(bytes, 6);
  facts.containerType.assign(reinterpret_cast<char const*>(bytes + 8), 4);
  int32_t type = WordAt(bytes, 8);
  if (type == ZoFileType("Sequ")) {
    facts.kind = FileKind::Sequence;
  } else if (type == ZoFileType("Aazo")) {
    facts.kind = FileKind::Motion;
  } else if (size >= kContainerStart && WordAt(bytes, ZoFile::kHeaderSize) == ZoTypeCode::ProtoActor) {
    facts.kind = FileKind::Actor;
  } else if (size >= kContainerStart && WordAt(bytes, ZoFile::kHeaderSize) == ZoTypeCode::ProtoSkill) {
    facts.kind = FileKind::Skill;
  } else {
    facts.kind = FileKind::Container;
  }
}

}  // namespace

char const* KindName(FileKind kind) {
  switch (kind) {
    case FileKind::Actor: return "actor";
    case FileKind::Skill: return "skill";
    case FileKind::Sequence: return "sequence";
    case FileKind::Motion: return "motion";
    case FileKind::Container: return "container";
    case FileKind::ActorFolder: return "actor-folder";
    case FileKind::Folder: return "folder";
    case FileKind::Missing: return "missing";
    case FileKind::Unknown: break;
  }
  return "unknown";
}

FileFacts FactsOfBytes(unsigned char const* bytes, size_t size) {
  FileFacts facts;
  if (size < kMagicSize) {
    facts.truncatedHeader = true;
    return facts;
  }
  facts.firstWord = static_cast<uint32_t>(WordAt(bytes, 0));
  int32_t magic = WordAt(bytes, 0);
  if (magic == ZoProtoActor::fileType || magic == ZoProtoSkill::fileType) {
    facts.kind = magic == ZoProtoActor::fileType ? FileKind::Actor : FileKind::Skill;
    if (size >= kCurrentStart) {
      facts.version = WordAt(bytes, 8);
    } else {
      facts.truncatedHeader = true;
    }
  } else if (magic == ZoFile::kMagic) {
    FactsOfContainer(bytes, size, facts);
  }
  return facts;
}

FileFacts FactsOfPath(fs::path const& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) {
    FileFacts facts;
    facts.kind = ActorFileOf(path).empty() ? FileKind::Folder : FileKind::ActorFolder;
    return facts;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    FileFacts facts;
    facts.kind = FileKind::Missing;
    return facts;
  }
  unsigned char head[kContainerStart] = {};
  in.read(reinterpret_cast<char*>(head), sizeof head);
  return FactsOfBytes(head, static_cast<size_t>(in.gcount()));
}

std::string TypeCodeText(int32_t code) {
  char text[5] = {};
  std::memcpy(text, &code, 4);
  bool printable = std::all_of(text, text + 4, [](char c) { return std::isprint(static_cast<unsigned char>(c)) != 0; });
  if (printable) return text;
  char hex[16];
  std::snprintf(hex, sizeof hex, "0x%08X", static_cast<uint32_t>(code));
  return hex;
}

bool ReadWholeFile(fs::path const& path, std::vector<char>& bytes) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in) return false;
  std::streamoff size = in.tellg();
  if (size < 0) return false;
  bytes.resize(static_cast<size_t>(size));
  in.seekg(0);
  return static_cast<bool>(in.read(bytes.data(), size)) || size == 0;
}

bool SameIgnoringCase(std::string const& a, std::string const& b) { return Upper(a) == Upper(b); }

std::string BaseName(fs::path const& path) { return path.stem().string(); }

std::vector<fs::path> ListWithExtension(fs::path const& folder, char const* extension) {
  std::vector<fs::path> found;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->is_regular_file(error) && SameIgnoringCase(it->path().extension().string(), extension))
      found.push_back(it->path());
  }
  std::sort(found.begin(), found.end(), [](fs::path const& a, fs::path const& b) {
    std::string ua = Upper(a.filename().string()), ub = Upper(b.filename().string());
    return ua != ub ? ua < ub : a.filename().string() < b.filename().string();
  });
  return found;
}

fs::path FindIgnoringCase(fs::path const& folder, std::string const& name) {
  if (folder.empty()) return {};
  std::error_code error;
  if (fs::exists(folder / name, error)) return folder / name;
  std::vector<fs::path> matches;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
    if (SameIgnoringCase(it->path().filename().string(), name)) matches.push_back(it->path());
  if (matches.empty()) return {};
  return *std::min_element(matches.begin(), matches.end());
}

fs::path SkillFolderOf(fs::path const& actorFolder) {
  std::error_code error;
  for (fs::directory_iterator it(actorFolder, error), end; !error && it != end; it.increment(error)) {
    if (it->is_directory(error) && SameIgnoringCase(it->path().filename().string(), "Skills")) return it->path();
  }
  return {};
}

fs::path ActorFileOf(fs::path const& folder) {
  std::vector<fs::path> actors = ListWithExtension(folder, ".act");
  if (actors.empty()) return {};
  fs::path normal = fs::absolute(folder).lexically_normal();
  if (!normal.has_filename()) normal = normal.parent_path();
  std::string folderName = normal.filename().string();
  for (fs::path const& actor : actors)
    if (SameIgnoringCase(BaseName(actor), folderName)) return actor;
  return actors.front();
}

fs::path ActorFileForSkill(fs::path const& skillFile) {
  fs::path folder = fs::absolute(skillFile).lexically_normal().parent_path();
  if (!SameIgnoringCase(folder.filename().string(), "Skills")) return {};
  return ActorFileOf(folder.parent_path());
}

}  // namespace zotool
