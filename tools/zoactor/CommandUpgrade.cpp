// zoactor upgrade IN [-o OUT]: reads an actor folder, actor file or skill
// file in any layout the library reads and writes it in the current layout
// through the library's savers (each file replaced atomically). IN stays
// untouched unless OUT is IN (the default); then only files in an older
// layout are rewritten. Writing a folder to another OUT copies its other
// files (textures, sounds, behaviours) unchanged. Prints
// {"files":[...],"summary":{...}} and a line per file on stderr.
#include "Commands.h"
#include "ToolLoad.h"

#include "serialization/ZoFormatVersions.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

struct UpgradeOptions {
  std::string in;
  std::string out;
};

struct Step {
  fs::path source;
  fs::path target;
  FileKind kind = FileKind::Unknown;
};

struct Outcome {
  Step step;
  int32_t before = -1;
  int32_t after = -1;
  std::string action;
  Issue failure;
  std::vector<std::string> notes;
};

bool SamePath(fs::path const& a, fs::path const& b) {
  std::error_code error;
  if (fs::exists(a, error) && fs::exists(b, error)) return fs::equivalent(a, b, error);
  return fs::absolute(a).lexically_normal() == fs::absolute(b).lexically_normal();
}

// The older layout gives squares and lights shapes as it reads them, which
// the current layout stores only under a model format of 1 to 3 (handles
// alone get theirs again on reading). Such nodes are given model format 2,
// so the upgraded file holds what the older one gave.
void KeepBuiltShapes(ZoProtoActor& actor, std::vector<std::string>& notes) {
  ZoProtoTraversal const* nodes = actor.NodeTraversal();
  for (int i = 0; nodes != nullptr && i < nodes->NumNodes(); ++i) {
    ZoProtoNode* node = nodes->Node(i);
    ZoColModel const* model = node->ColModel();
    if (node->Style() == ZoProtoNode::Handle || node->GetModelFormat() != ZoProtoNode::NoModel || model == nullptr ||
        model->GetTriangleSet() == nullptr)
      continue;
    node->SetModelFormat(ZoProtoNode::ModelWithTree);
    notes.push_back(fmt::format("node \"{}\": the shape the older layout builds is stored (model format 2)",
                                node->Name().c_str()));
  }
}

bool WriteCurrent(Step const& step, Outcome& outcome) {
  Issue& failure = outcome.failure;
  std::error_code error;
  fs::create_directories(step.target.parent_path().empty() ? fs::path(".") : step.target.parent_path(), error);
  ZoString target = step.target.string().c_str();
  bool written = false;
  if (step.kind == FileKind::Actor) {
    ZoRef<ZoProtoActor> actor = LoadActor(step.source, failure);
    if (actor && !(outcome.before >= zoversion::kCurrentLayout)) KeepBuiltShapes(*actor, outcome.notes);
    written = actor && ZoProtoActor::WriteActorFile(target, actor.get()) == 1;
  } else {
    ZoRef<ZoProtoSkill> skill = LoadSkill(step.source, failure);
    written = skill && ZoProtoActor::WriteSkillFile(target, skill.get()) == 1;
  }
  if (!written && failure.code.empty()) failure = Issue{"unwritable", "the file could not be written", -1};
  return written;
}

Outcome Upgrade(Step const& step) {
  Outcome outcome{step, FactsOfPath(step.source).version, -1, "", {}, {}};
  bool current = outcome.before >= kZoCurrentVersion;
  if (step.kind == FileKind::Unknown) {
    std::error_code error;
    fs::create_directories(step.target.parent_path(), error);
    fs::copy_file(step.source, step.target, fs::copy_options::overwrite_existing, error);
    outcome.action = error ? "failed" : "copied";
    if (error) outcome.failure = Issue{"unwritable", error.message(), -1};
    return outcome;
  }
  if (current && SamePath(step.source, step.target)) {
    outcome.action = "unchanged";
  } else if (WriteCurrent(step, outcome)) {
    outcome.action = current ? "rewritten" : "upgraded";
  } else {
    outcome.action = "failed";
  }
  outcome.after = FactsOfPath(outcome.action == "failed" ? step.source : step.target).version;
  return outcome;
}

// The other files of an actor folder, copied when it is written elsewhere;
// its folders (empty ones too) are made at once.
void AddOtherFiles(fs::path const& in, fs::path const& out, std::vector<Step>& steps) {
  std::error_code error;
  for (fs::recursive_directory_iterator it(in, error), end; !error && it != end; it.increment(error)) {
    std::error_code made;
    if (it->is_directory(error)) fs::create_directories(out / fs::relative(it->path(), in), made);
    if (!it->is_regular_file(error)) continue;
    bool handled = false;
    for (Step const& s : steps) handled = handled || SamePath(s.source, it->path());
    if (!handled) steps.push_back(Step{it->path(), out / fs::relative(it->path(), in), FileKind::Unknown});
  }
}

std::vector<Step> Plan(fs::path const& in, fs::path const& out, FileFacts const& facts) {
  std::vector<Step> steps;
  if (facts.kind == FileKind::ActorFolder) {
    for (fs::path const& actor : ListWithExtension(in, ".act")) steps.push_back(Step{actor, out / actor.filename(), FileKind::Actor});
    fs::path skills = SkillFolderOf(in);
    for (fs::path const& skill : skills.empty() ? std::vector<fs::path>() : ListWithExtension(skills, ".skl"))
      steps.push_back(Step{skill, out / skills.filename() / skill.filename(), FileKind::Skill});
    if (!SamePath(in, out)) AddOtherFiles(in, out, steps);
  } else {
    std::error_code error;
    fs::path target = fs::is_directory(out, error) ? out / in.filename() : out;
    steps.push_back(Step{in, target, facts.kind});
  }
  return steps;
}

Json JsonOf(Outcome const& o) {
  Json json{{"path", Shown(o.step.source)}, {"output", Shown(o.step.target)}, {"kind", KindName(o.step.kind)}};
  if (o.step.kind == FileKind::Unknown) json["kind"] = "other";
  json["versionBefore"] = o.before >= 0 ? Json(o.before) : Json(nullptr);
  json["versionAfter"] = o.after >= 0 ? Json(o.after) : Json(nullptr);
  json["action"] = o.action;
  json["notes"] = o.notes;
  if (!o.failure.code.empty()) json["error"] = zotool::JsonOf(o.failure);
  return json;
}

void Log(Outcome const& o) {
  if (o.action == "failed") {
    LogIssue(Shown(o.step.source), o.failure, false);
  } else if (o.step.kind != FileKind::Unknown) {
    fmt::print(stderr, "{}: version {} -> {} ({})\n", Shown(o.step.source), o.before, o.after, o.action);
    for (std::string const& note : o.notes) fmt::print(stderr, "  {}\n", note);
  }
}

int RunUpgrade(UpgradeOptions const& options) {
  fs::path in = options.in;
  fs::path out = options.out.empty() ? in : fs::path(options.out);
  FileFacts facts = FactsOfPath(in);
  Json report{{"files", Json::array()}};
  Json summary{{"files", 0}, {"upgraded", 0}, {"rewritten", 0}, {"unchanged", 0}, {"copied", 0}, {"failed", 0}};
  if (facts.kind != FileKind::ActorFolder && facts.kind != FileKind::Actor && facts.kind != FileKind::Skill) {
    Outcome refused{Step{in, out, facts.kind}, facts.version, -1, "failed",
                    Issue{"not-upgradable", fmt::format("a {} cannot be upgraded; name an actor folder, actor file or "
                                                        "skill file", KindName(facts.kind)), -1}, {}};
    Log(refused);
    report["files"].push_back(JsonOf(refused));
    summary["files"] = 1;
    summary["failed"] = 1;
  }
  for (Step const& step : facts.kind == FileKind::ActorFolder || facts.kind == FileKind::Actor ||
                                  facts.kind == FileKind::Skill
                              ? Plan(in, out, facts)
                              : std::vector<Step>()) {
    Outcome outcome = Upgrade(step);
    Log(outcome);
    report["files"].push_back(JsonOf(outcome));
    summary["files"] = summary["files"].get<int>() + 1;
    summary[outcome.action] = summary[outcome.action].get<int>() + 1;
  }
  report["summary"] = summary;
  PrintJson(report);
  return summary["failed"].get<int>() > 0 ? kExitFileFailed : kExitOk;
}

}  // namespace

void AddUpgradeCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<UpgradeOptions>();
  CLI::App* upgrade = app.add_subcommand(
      "upgrade", "Write an actor folder, actor file or skill file in the current layout (to OUT, or in place)");
  upgrade->add_option("IN", options->in, "An actor folder, actor file or skill file")->required();
  upgrade->add_option("-o,--output", options->out, "Where to write (a folder, or a file for a file); default: IN");
  upgrade->callback([options, &status] { status = RunUpgrade(*options); });
}

}  // namespace zotool
