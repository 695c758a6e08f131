#include "ValidateChecks.h"

#include "SkillLayout.h"
#include "ToolJson.h"
#include "ToolLoad.h"
#include "ToolSequences.h"

#include <zoactor/zoactor.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <vector>

namespace zotool {

namespace {

// How far a key rotation's squared length may stray from 1.
constexpr float kUnitTolerance = 1e-3f;
constexpr int kHighestStyle = ZoProtoNode::SplineStyle;
constexpr int kHighestHandleKind = 4;
constexpr int kHighestBlendMode = 2;

std::string Upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string Key(fs::path const& path) { return fs::absolute(path).lexically_normal().string(); }

bool Finite(ZoVector3 const& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

bool Finite(ZoTransform3 const& t) {
  ZoRotation3 const& q = t.rotation;
  return Finite(t.translation) && std::isfinite(q.w) && std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z);
}

float SquaredLength(ZoRotation3 const& q) { return q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z; }

// What every read checks: the trailing bytes, and an object the reader
// skipped because no class is registered for its type code.
void CheckStreamEnd(ZoMemoryStream& in, char const* what, FileReport& report) {
  if (in.BytesLeft() > 0)
    report.Error("trailing-bytes", in.Position(), fmt::format("{} bytes follow the {}", in.BytesLeft(), what));
  if (in.HasFailure()) report.Warning("skipped-object", in.FailureOffset(), in.FailureReason());
}

void CheckOlderLayout(FileReport& report) {
  int32_t version = report.facts.version;
  if (version >= 0 && !(version >= kZoCurrentVersion))
    report.Warning("older-layout", -1,
                   fmt::format("written in an older layout (version {}); zoactor upgrade writes version {}", version,
                               kZoCurrentVersion));
}

void CheckMesh(ZoProtoNode const& node, FileReport& report) {
  ZoColModel const* model = node.ColModel();
  ZoTriangleSet const* set = model != nullptr ? model->GetTriangleSet() : nullptr;
  if (set == nullptr) return;
  for (int i = 0; i < set->GetNumVertices(); ++i) {
    if (Finite(set->Vertex(i))) continue;
    report.Error("non-finite", -1, fmt::format("node \"{}\": vertex {} is not finite", node.Name().c_str(), i));
    break;
  }
  if (!set->HasMaterialIndices() || set->GetTriangles() == nullptr) return;
  int outside = 0, first = -1;
  for (int i = 0; i < set->GetNumTriangles(); ++i) {
    int index = set->MaterialIndex(i);
    if (index == -1 || (index >= 0 && index < set->GetNumMaterials())) continue;
    if (outside++ == 0) first = i;
  }
  if (outside > 0)
    report.Warning("material-index-range", -1,
                   fmt::format("node \"{}\": {} triangles (the first is {}) use a material index outside its {} "
                               "materials",
                               node.Name().c_str(), outside, first, set->GetNumMaterials()));
}

void CheckNode(ZoProtoNode const& node, FileReport& report) {
  char const* name = node.Name().c_str();
  if (node.Style() < ZoProtoNode::Geometry || node.Style() > kHighestStyle)
    report.Warning("unknown-style", -1, fmt::format("node \"{}\" has style {}, which has no record", name, node.Style()));
  ZoProtoHandleInfo const* handle = node.HandleInfo();
  if (handle != nullptr && (handle->handleKind < 0 || handle->handleKind > kHighestHandleKind))
    report.Warning("unknown-handle-kind", -1, fmt::format("handle \"{}\" is of kind {}", name, handle->handleKind));
  if (!Finite(node.HomeTransform()))
    report.Error("non-finite", -1, fmt::format("node \"{}\": the home transform is not finite", name));
  CheckMesh(node, report);
}

std::string StringProperty(ZoProtoActor const& actor, char const* key) {
  ZoProperty const* property = actor.Properties().Find(key);
  ZoString text;
  if (property == nullptr || property->ConvertToString(text) == 0) return {};
  return text.c_str();
}

// Properties that name a node or skills of the actor by role.
void CheckRoleProperties(ZoProtoActor& actor, fs::path const& file, FileReport& report) {
  std::string face = StringProperty(actor, ZoProtoActor::kFaceNode);
  if (!face.empty() && actor.NodeTraversal()->NodeWithName(face.c_str()) == nullptr)
    report.Warning("unknown-face-node", -1, fmt::format("ZO_faceNode names \"{}\", which is no node", face));
  std::vector<fs::path> skills;
  fs::path skillFolder = SkillFolderOf(file.parent_path().empty() ? fs::path(".") : file.parent_path());
  if (!skillFolder.empty()) skills = ListWithExtension(skillFolder, ".skl");
  ZoStringList names;
  actor.Properties().GetPropertyNames(names, 1);
  ZoDblListItem* cursor = nullptr;
  for (void* item = names.GetFirst(cursor); item != nullptr; item = names.GetNext(cursor)) {
    std::string key = static_cast<ZoString*>(item)->c_str();
    if (key.size() < 8 || key.compare(0, 3, "ZO_") != 0 || key.compare(key.size() - 5, 5, "Skill") != 0) continue;
    std::string skill = StringProperty(actor, key.c_str());
    bool found = skill.empty();
    for (fs::path const& s : skills) found = found || SameIgnoringCase(BaseName(s), skill);
    if (!found)
      report.Warning("missing-role-skill", -1, fmt::format("{} names the skill \"{}\", which has no file", key, skill));
  }
}

void CheckActor(fs::path const& path, std::vector<char>& bytes, ValidateContext& context, FileReport& report) {
  ZoMemoryStream in(bytes.data(), static_cast<int32_t>(bytes.size()));
  ZoReadReport read;
  ZoRef<ZoProtoActor> actor(ZoProtoActor::ReadActorFrom(in, &read));
  if (!actor) {
    Issue failure = IssueOfRead(read);
    report.Error(failure.code, failure.offset, failure.message);
    return;
  }
  CheckStreamEnd(in, "actor", report);
  ZoProtoTraversal const* nodes = actor->NodeTraversal();
  std::set<std::string> seen;
  for (int i = 0; nodes != nullptr && i < nodes->NumNodes(); ++i) {
    ZoProtoNode const* node = nodes->Node(i);
    if (!seen.insert(Upper(node->Name().c_str())).second)
      report.Error("duplicate-node-name", -1,
                   fmt::format("two nodes are named \"{}\" (node names are matched ignoring case)", node->Name().c_str()));
    CheckNode(*node, report);
  }
  if (!SameIgnoringCase(actor->Name().c_str(), BaseName(path)))
    report.Warning("actor-name-mismatch", -1,
                   fmt::format("the actor is named \"{}\" but its file \"{}\"; the prototype database finds it by the "
                               "file's name",
                               actor->Name().c_str(), path.filename().string()));
  CheckRoleProperties(*actor, path, report);
  context.Remember(path, ActorFacts{true, actor->GeomTraversal() != nullptr ? actor->GeomTraversal()->NumNodes() : 0,
                                    actor->Name().c_str()});
}

void CheckKey(StoredKey const& stored, FileReport& report) {
  ZoJointKeyframe const& key = stored.key;
  std::string where = fmt::format("joint {}, key at time {}", stored.joint, key.time());
  ZoTransform3 const* transforms[] = {&key.localTransform, &key.localIn,  &key.localOut,
                                      &key.actorTransform, &key.actorIn,  &key.actorOut};
  bool finite = Finite(key.point) && std::isfinite(key.easeIn) && std::isfinite(key.easeOut);
  for (ZoTransform3 const* t : transforms) finite = finite && Finite(*t);
  if (!finite) {
    report.Error("non-finite", stored.offset, where + ": a value is not finite");
    return;
  }
  for (ZoTransform3 const* t : {&key.localTransform, &key.actorTransform}) {
    float length = SquaredLength(t->rotation);
    if (std::fabs(length - 1.0f) <= kUnitTolerance) continue;
    report.Error("non-unit-rotation", stored.offset,
                 fmt::format("{}: the {} rotation has length {:.4f}", where,
                             t == &key.localTransform ? "local" : "actor", std::sqrt(length)));
    break;
  }
  if (key.blendMode < 0 || key.blendMode > kHighestBlendMode)
    report.Warning("unknown-blend-mode", stored.offset, fmt::format("{}: blend mode {}", where, key.blendMode));
}

void CheckKeys(SkillLayout const& layout, FileReport& report) {
  std::vector<int64_t> previous(static_cast<size_t>(layout.numJoints > 0 ? layout.numJoints : 0), -1);
  for (StoredKey const& stored : layout.keys) {
    CheckKey(stored, report);
    int64_t& last = previous[static_cast<size_t>(stored.joint)];
    int64_t time = stored.key.time();
    if (time < last)
      report.Error("keys-out-of-order", stored.offset,
                   fmt::format("joint {}: the key at time {} follows one at time {}", stored.joint, time, last));
    else if (time == last)
      report.Warning("duplicate-key-time", stored.offset,
                     fmt::format("joint {}: two keys at time {}; the later one wins", stored.joint, time));
    last = std::max(last, time);
  }
}

void CheckSkillPlace(fs::path const& path, ZoProtoSkill const& skill, SkillLayout const& layout,
                     ValidateContext& context, FileReport& report) {
  if (!SameIgnoringCase(skill.Name().c_str(), BaseName(path)))
    report.Error("skill-name-mismatch", layout.nameOffset,
                 fmt::format("the skill is named \"{}\" but its file \"{}\"; the skill cache files it under the file's "
                             "name",
                             skill.Name().c_str(), path.filename().string()));
  if (!context.FirstOfName(path))
    report.Error("duplicate-skill-name", -1,
                 fmt::format("another skill file of this folder is named \"{}\" ignoring case", BaseName(path)));
  ActorFacts const* actor = context.ActorFor(path);
  if (actor == nullptr) return;
  if (!actor->read) {
    report.Warning("joints-unchecked", -1, "the actor file beside the Skills folder could not be read");
  } else if (skill.NumJoints() != actor->joints) {
    report.Error("joint-count-mismatch", layout.numJointsOffset,
                 fmt::format("the skill has {} joints but its actor \"{}\" has {}; the skill cache refuses it",
                             skill.NumJoints(), actor->name, actor->joints));
  }
}

void CheckSkill(fs::path const& path, std::vector<char>& bytes, ValidateContext& context, FileReport& report) {
  ZoMemoryStream in(bytes.data(), static_cast<int32_t>(bytes.size()));
  ZoReadReport read;
  ZoRef<ZoProtoSkill> skill(ZoProtoActor::ReadSkillFrom(in, &read));
  if (!skill) {
    Issue failure = IssueOfRead(read);
    report.Error(failure.code, failure.offset, failure.message);
    return;
  }
  CheckStreamEnd(in, "skill", report);
  SkillLayout layout;
  if (!WalkSkillLayout(bytes.data(), bytes.size(), layout)) {
    report.Error("malformed", -1, "the skill's keys cannot be walked in file order");
    return;
  }
  CheckSkillPlace(path, *skill, layout, context, report);
  CheckKeys(layout, report);
}

void CheckUnknown(FileReport& report) {
  if (report.facts.truncatedHeader) {
    report.Error("truncated", 0, fmt::format("the file ends within its header ({} bytes)", report.bytes));
  } else {
    report.Error("unknown-kind", 0,
                 fmt::format("first word 0x{:08X} is no actor, skill or container magic", report.facts.firstWord));
  }
}

}  // namespace

ActorFacts const* ValidateContext::ActorFor(fs::path const& skillFile) {
  fs::path actorFile = ActorFileForSkill(skillFile);
  if (actorFile.empty()) return nullptr;
  auto found = actors.find(Key(actorFile));
  if (found != actors.end()) return &found->second;
  Issue ignored;
  ZoRef<ZoProtoActor> actor = LoadActor(actorFile, ignored);
  ActorFacts facts;
  if (actor) facts = ActorFacts{true, actor->GeomTraversal() != nullptr ? actor->GeomTraversal()->NumNodes() : 0,
                                actor->Name().c_str()};
  return &actors.emplace(Key(actorFile), facts).first->second;
}

void ValidateContext::Remember(fs::path const& actorFile, ActorFacts const& facts) { actors[Key(actorFile)] = facts; }

bool ValidateContext::FirstOfName(fs::path const& skillFile) {
  return skillNames[Key(skillFile.parent_path().empty() ? fs::path(".") : skillFile.parent_path())]
      .insert(Upper(BaseName(skillFile)))
      .second;
}

FileReport ValidateFile(fs::path const& path, ValidateContext& context) {
  FileReport report;
  report.path = Shown(path);
  std::vector<char> bytes;
  std::error_code error;
  if (!fs::exists(path, error)) {
    report.facts.kind = FileKind::Missing;
    report.Error("missing", -1, "no such file or folder");
    return report;
  }
  uint64_t size = fs::file_size(path, error);
  uint64_t limit = std::min<uint64_t>(ZoReadLimits::MaxAllocation(), INT32_MAX);
  if (!error && size > limit) {
    report.bytes = static_cast<int64_t>(size);
    report.Error("too-large", -1, fmt::format("the file is {} bytes, more than the readers take ({})", size, limit));
    return report;
  }
  if (!ReadWholeFile(path, bytes)) {
    report.facts.kind = FileKind::Missing;
    report.Error("unreadable", -1, "the file cannot be opened or read");
    return report;
  }
  report.bytes = static_cast<int64_t>(bytes.size());
  report.facts = FactsOfBytes(reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size());
  switch (report.facts.kind) {
    case FileKind::Actor:
      CheckOlderLayout(report);
      CheckActor(path, bytes, context, report);
      break;
    case FileKind::Skill:
      CheckOlderLayout(report);
      CheckSkill(path, bytes, context, report);
      break;
    case FileKind::Sequence:
    case FileKind::Motion:
      if (report.facts.truncatedHeader) {
        report.Error("truncated", 0, fmt::format("the file ends within its header ({} bytes)", report.bytes));
      } else if (report.facts.kind == FileKind::Sequence) {
        CheckSequence(path, report);
      } else {
        CheckMotion(path, report);
      }
      break;
    case FileKind::Container:
      if (report.facts.truncatedHeader) {
        report.Error("truncated", 0, fmt::format("the file ends within its header ({} bytes)", report.bytes));
      } else {
        report.Warning("not-checked", -1,
                       fmt::format("a {} file: only its container header is checked", KindName(report.facts.kind)));
      }
      break;
    default:
      CheckUnknown(report);
      break;
  }
  return report;
}

}  // namespace zotool
