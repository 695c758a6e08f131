// zoactor dump PATH [--geometry]: every field of an actor file, a skill file,
// a sequence or motion file, or an actor folder as JSON (docs/cli.md); mesh
// vertices and triangles only with --geometry. Other container files give
// their header.
#include "Commands.h"
#include "ToolJson.h"
#include "ToolLoad.h"
#include "ToolSequences.h"

#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

struct DumpOptions {
  std::string path;
  bool geometry = false;
};

Json DumpHeader(fs::path const& path, FileFacts const& facts) {
  Json json{{"path", Shown(path)}, {"kind", KindName(facts.kind)}};
  json["version"] = facts.version >= 0 ? Json(facts.version) : Json(nullptr);
  if (facts.container)
    json["container"] = Json{{"type", facts.containerType}, {"format", facts.containerFormat}};
  return json;
}

// The dump of one file; false (with "error" in it) when it failed.
bool DumpFile(fs::path const& path, bool geometry, Json& out) {
  FileFacts facts = FactsOfPath(path);
  out = DumpHeader(path, facts);
  Issue failure;
  if (facts.kind == FileKind::Actor) {
    ZoRef<ZoProtoActor> actor = LoadActor(path, failure);
    if (actor) out["actor"] = JsonOf(*actor, geometry);
  } else if (facts.kind == FileKind::Skill) {
    ZoRef<ZoProtoSkill> skill = LoadSkill(path, failure);
    if (skill) out["skill"] = JsonOf(*skill);
  } else if (facts.kind == FileKind::Sequence) {
    SequenceFacts sequence;
    if (ReadSequence(path, sequence, failure)) out["sequence"] = DumpOfSequence(sequence);
  } else if (facts.kind == FileKind::Motion) {
    MotionFacts motion;
    std::vector<std::vector<ZoTransform3>> frames;
    if (ReadMotion(path, motion, failure, &frames)) out["motion"] = DumpOfMotion(motion, frames);
  } else if (facts.kind == FileKind::Missing) {
    failure = Issue{"missing", "no such file or folder", -1};
  } else if (facts.kind == FileKind::Unknown || facts.kind == FileKind::Folder) {
    failure = Issue{"unknown-kind", "not an actor, skill, sequence or motion file, nor an actor folder", -1};
  }
  if (!failure.code.empty()) out["error"] = JsonOf(failure);
  return failure.code.empty();
}

int RunDump(DumpOptions const& options) {
  Json out;
  bool ok = true;
  if (FactsOfPath(options.path).kind == FileKind::ActorFolder) {
    ActorFolderFiles files = ListActorFolder(options.path);
    out = Json{{"path", Shown(options.path)}, {"kind", "actor-folder"}};
    ok = DumpFile(files.actorFile, options.geometry, out["actorFile"]);
    out["skills"] = Json::array();
    for (fs::path const& file : files.skillFiles) {
      Json skill;
      ok = DumpFile(file, options.geometry, skill) && ok;
      out["skills"].push_back(skill);
    }
  } else {
    ok = DumpFile(options.path, options.geometry, out);
  }
  PrintJson(out);
  return ok ? kExitOk : kExitFileFailed;
}

}  // namespace

void AddDumpCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<DumpOptions>();
  CLI::App* dump = app.add_subcommand("dump", "Print every field of an actor, skill, sequence or motion file, or an actor folder, as JSON");
  dump->add_option("PATH", options->path, "A file or an actor folder")->required();
  dump->add_flag("--geometry", options->geometry, "Include mesh vertices, normals and triangles");
  dump->callback([options, &status] { status = RunDump(*options); });
}

}  // namespace zotool
