// zoactor info PATH... [--json]: one readable summary per actor, skill,
// sequence, motion or container file, or per actor folder (the actor and its
// skills). The summary is built as JSON (printed as it is with --json) and
// rendered as text from it, so both always tell the same.
#include "Commands.h"
#include "ToolJson.h"
#include "ToolLoad.h"
#include "ToolSequences.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

namespace zotool {

namespace {

struct InfoOptions {
  std::vector<std::string> paths;
  bool json = false;
};

int TrianglesOf(ZoProtoNode const& node) {
  ZoColModel const* model = node.ColModel();
  return model != nullptr && model->GetTriangleSet() != nullptr ? model->GetTriangleSet()->GetNumTriangles() : 0;
}

int Depth(ZoProtoNode const* node) {
  int depth = 0;
  for (ZoTreeNode const* p = node->parent(); p != nullptr; p = p->parent()) ++depth;
  return depth;
}

Json SummaryOfActor(ZoProtoActor& actor) {
  Json tree = Json::array();
  int triangles = 0;
  ZoProtoTraversal const* nodes = actor.NodeTraversal();
  for (int i = 0; nodes != nullptr && i < nodes->NumNodes(); ++i) {
    ZoProtoNode const* node = nodes->Node(i);
    int joint = actor.GeomTraversal()->NodeIndex(node);
    Json limit = JsonOf(node->JointLimit());
    triangles += TrianglesOf(*node);
    tree.push_back(Json{{"index", i},
                        {"joint", joint >= 0 ? Json(joint) : Json(nullptr)},
                        {"depth", Depth(node)},
                        {"name", node->Name().c_str()},
                        {"style", StyleName(node->Style())},
                        {"triangles", TrianglesOf(*node)},
                        {"limit", limit.is_null() ? Json(nullptr) : limit["kind"]}});
  }
  Json full = JsonOf(actor, false);
  Json properties = Json::array();
  for (Json const& p : full["properties"]) properties.push_back(Json{{"name", p["name"]}, {"value", p["value"]}});
  Json proximity = Json::array();
  for (Json const& d : full["proximityDefs"]) proximity.push_back(d["name"]);
  return Json{{"name", full["name"]},          {"actorVersion", full["version"]}, {"nodes", full["nodes"]},
              {"joints", full["joints"]},      {"triangles", triangles},         {"bounds", full["bounds"]},
              {"tree", tree},                  {"properties", properties},       {"proximityDefs", proximity},
              {"behaviorMaps", full["behaviorMaps"]}};
}

Json SummaryOfSkill(ZoProtoSkill const& skill) {
  int keyed = 0, keys = 0;
  bool any = false;
  uint32_t start = 0, end = 0;
  for (int j = 0; j < skill.NumJoints(); ++j) {
    ZoJointKeyList const* list = skill.Joint(j);
    if (list == nullptr || list->NumKeyframes() == 0) continue;
    ++keyed;
    keys += list->NumKeyframes();
    start = any ? std::min(start, list->FirstTime()) : list->FirstTime();
    end = any ? std::max(end, list->LastTime()) : list->LastTime();
    any = true;
  }
  ZoDblList const* records = skill.SubclassData();
  return Json{{"name", skill.Name().c_str()},
              {"format", TypeCodeText(skill.Format())},
              {"joints", skill.NumJoints()},
              {"keyedJoints", keyed},
              {"keys", keys},
              {"start", any ? Json(start) : Json(nullptr)},
              {"end", any ? Json(end) : Json(nullptr)},
              {"duration", end - start},
              {"sampleRate", skill.GetSampleRate()},
              {"annotations", records != nullptr ? records->GetCount() : 0}};
}

Json Header(fs::path const& path, FileFacts const& facts) {
  Json json{{"path", Shown(path)}, {"kind", KindName(facts.kind)}};
  json["version"] = facts.version >= 0 ? Json(facts.version) : Json(nullptr);
  if (facts.container) {
    json["containerType"] = facts.containerType;
    json["containerFormat"] = facts.containerFormat;
  }
  return json;
}

// The summary of one file; false (with "error" in it) when it failed.
bool SummaryOfFile(fs::path const& path, FileFacts const& facts, Json& out) {
  out = Header(path, facts);
  Issue failure;
  if (facts.kind == FileKind::Actor) {
    ZoRef<ZoProtoActor> actor = LoadActor(path, failure);
    if (actor) out["actor"] = SummaryOfActor(*actor);
  } else if (facts.kind == FileKind::Skill) {
    ZoRef<ZoProtoSkill> skill = LoadSkill(path, failure);
    if (skill) out["skill"] = SummaryOfSkill(*skill);
  } else if (facts.kind == FileKind::Sequence) {
    SequenceFacts sequence;
    if (ReadSequence(path, sequence, failure)) out["sequence"] = SummaryOfSequence(sequence);
  } else if (facts.kind == FileKind::Motion) {
    MotionFacts motion;
    if (ReadMotion(path, motion, failure)) out["motion"] = SummaryOfMotion(motion);
  } else if (facts.kind == FileKind::Missing) {
    failure = Issue{"missing", "no such file or folder", -1};
  } else if (facts.kind == FileKind::Unknown || facts.kind == FileKind::Folder) {
    failure = Issue{"unknown-kind", "not an actor, skill, sequence or motion file, nor an actor folder", -1};
  }
  if (!failure.code.empty()) out["error"] = JsonOf(failure);
  return failure.code.empty();
}

bool SummaryOfFolder(fs::path const& folder, Json& out) {
  ActorFolderFiles files = ListActorFolder(folder);
  out = Json{{"path", Shown(folder)}, {"kind", "actor-folder"}};
  bool ok = SummaryOfFile(files.actorFile, FactsOfPath(files.actorFile), out["actorFile"]);
  int joints = ok ? out["actorFile"]["actor"]["joints"].get<int>() : -1;
  out["skills"] = Json::array();
  for (fs::path const& file : files.skillFiles) {
    Json skill;
    ok = SummaryOfFile(file, FactsOfPath(file), skill) && ok;
    if (skill.contains("skill")) skill["skill"]["matchesActor"] = skill["skill"]["joints"].get<int>() == joints;
    out["skills"].push_back(skill);
  }
  return ok;
}

// A number of the summary, to three decimals.
std::string Num(Json const& n) { return n.is_number() ? fmt::format("{:.3f}", n.get<double>()) : "null"; }

std::string Vec(Json const& v) { return fmt::format("({}, {}, {})", Num(v[0]), Num(v[1]), Num(v[2])); }

void PrintActor(Json const& a) {
  fmt::print("  actor \"{}\" (revision {}): {} nodes, {} joints, {} triangles\n", a["name"].get<std::string>(),
             a["actorVersion"].get<int>(), a["nodes"].get<int>(), a["joints"].get<int>(), a["triangles"].get<int>());
  Json const& b = a["bounds"];
  fmt::print("  bounds: box {} to {}, sphere radius {}, cylinder radius {} height {}\n", Vec(b["box"]["min"]),
             Vec(b["box"]["max"]), Num(b["sphere"]["radius"]), Num(b["cylinder"]["radius"]),
             Num(b["cylinder"]["height"]));
  fmt::print("  skeleton (node, joint, name, style, triangles, limit):\n");
  for (Json const& n : a["tree"]) {
    std::string joint = n["joint"].is_null() ? "-" : n["joint"].dump();
    fmt::print("   {:3} {:>3}  {:{}}{:<{}} {:<9} {:5} {}\n", n["index"].get<int>(), joint, "", 2 * n["depth"].get<int>(),
               n["name"].get<std::string>(), 14 - 2 * std::min(n["depth"].get<int>(), 6), n["style"].get<std::string>(),
               n["triangles"].get<int>(), n["limit"].is_null() ? "" : n["limit"].get<std::string>());
  }
  fmt::print("  properties:");
  for (Json const& p : a["properties"]) {
    if (p["value"].is_string() && p["value"].get<std::string>().empty()) continue;
    fmt::print(" {}={}", p["name"].get<std::string>(), p["value"].dump(-1, ' ', false, Json::error_handler_t::replace));
  }
  fmt::print("\n  proximity definitions: {}; behaviour maps:", a["proximityDefs"].size());
  for (Json const& m : a["behaviorMaps"]) fmt::print(" {} {}", m["space"].get<std::string>(), m["active"].dump());
  fmt::print("\n");
}

void PrintSkill(Json const& s, std::string const& indent) {
  fmt::print("{}skill \"{}\" ({}): {} joints, {} keyed, {} keys, time {} to {} (duration {}), sample rate {}, {} "
             "annotations{}\n",
             indent, s["name"].get<std::string>(), s["format"].get<std::string>(), s["joints"].get<int>(),
             s["keyedJoints"].get<int>(), s["keys"].get<int>(), s["start"].dump(), s["end"].dump(),
             s["duration"].get<int64_t>(), s["sampleRate"].get<int>(), s["annotations"].get<int>(),
             s.contains("matchesActor") && !s["matchesActor"].get<bool>() ? "  [joint count differs from the actor's]"
                                                                          : "");
}

std::string MotionLine(Json const& m) {
  return fmt::format("\"{}\": {} frames of {} transforms ({} bytes of data from byte {}{})", m["name"].get<std::string>(),
                     m["frames"].get<int64_t>(), m["frameSize"].get<int>(), m["dataBytes"].get<int64_t>(),
                     m["dataStart"].get<int64_t>(),
                     m["tornBytes"].get<int64_t>() > 0 ? fmt::format(", {} torn", m["tornBytes"].get<int64_t>()) : "");
}

void PrintSequence(Json const& s, std::string const& indent) {
  Json const& e = s["events"];
  fmt::print("{}sequence: {} frames, {} actors; events: {} add, {} remove, {} sound, {} material{}\n", indent,
             s["frames"].get<int>(), s["actors"].size(), e["addActor"].get<size_t>(), e["removeActor"].get<size_t>(),
             e["sound"].get<size_t>(), e["material"].get<size_t>(), s["recorded"].get<bool>() ? "" : " (header only)");
  for (Json const& a : s["actors"]) {
    std::string prototype = a["prototypeFile"].is_null() ? "missing" : a["prototypeFile"].get<std::string>();
    if (!a["joints"].is_null()) prototype += fmt::format(", {} joints", a["joints"].get<int>());
    fmt::print("{}  actor \"{}\": prototype \"{}\" ({}); motion {}\n", indent, a["name"].get<std::string>(),
               a["prototype"].get<std::string>(), prototype,
               a["motion"].is_null() ? "missing" : a["motionFile"].get<std::string>() + " " + MotionLine(a["motion"]));
  }
}

void PrintFile(Json const& f, std::string const& indent) {
  fmt::print("{}{}: {}{}\n", indent, f["path"].get<std::string>(), f["kind"].get<std::string>(),
             f["version"].is_null() ? "" : fmt::format(", format version {}", f["version"].get<int>()));
  if (f.contains("containerType"))
    fmt::print("{}  container type \"{}\", container format {}\n", indent, f["containerType"].get<std::string>(),
               f["containerFormat"].get<int>());
  if (f.contains("error"))
    fmt::print("{}  error: {}{}\n", indent,
               f["error"]["offset"].is_null() ? "" : fmt::format("byte {}: ", f["error"]["offset"].get<int64_t>()),
               f["error"]["message"].get<std::string>());
  if (f.contains("actor")) PrintActor(f["actor"]);
  if (f.contains("skill")) PrintSkill(f["skill"], indent + "  ");
  if (f.contains("sequence")) PrintSequence(f["sequence"], indent + "  ");
  if (f.contains("motion")) fmt::print("{}  motion {}\n", indent, MotionLine(f["motion"]));
}

void PrintSummary(Json const& s) {
  if (s["kind"] != "actor-folder") {
    PrintFile(s, "");
    return;
  }
  fmt::print("{}: actor folder\n", s["path"].get<std::string>());
  PrintFile(s["actorFile"], "  ");
  for (Json const& skill : s["skills"]) PrintFile(skill, "  ");
}

int RunInfo(InfoOptions const& options) {
  Json all = Json::array();
  bool ok = true;
  for (std::string const& path : options.paths) {
    Json summary;
    FileFacts facts = FactsOfPath(path);
    ok = (facts.kind == FileKind::ActorFolder ? SummaryOfFolder(path, summary) : SummaryOfFile(path, facts, summary)) && ok;
    if (!options.json) PrintSummary(summary);
    if (!options.json && &path != &options.paths.back()) fmt::print("\n");
    all.push_back(summary);
  }
  if (options.json) PrintJson(all);
  return ok ? kExitOk : kExitFileFailed;
}

}  // namespace

void AddInfoCommand(CLI::App& app, int& status) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App* info = app.add_subcommand(
      "info", "Summarise actor, skill, sequence, motion or container files and actor folders (the actor and its skills)");
  info->add_option("PATH", options->paths, "Files or actor folders")->required();
  info->add_flag("--json", options->json, "Print the summaries as a JSON array");
  info->callback([options, &status] { status = RunInfo(*options); });
}

}  // namespace zotool
