// The actor's skill cache and the saving of its folder.
#include <zoactor/actor/ZoProtoActor.h>

#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoCopyFolder.h>
#include <zoactor/foundation/ZoLogger.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoFileProgress.h>
#include <zoactor/skeleton/ZoPermutation.h>

#include <algorithm>
#include <vector>

namespace {

// The caption of the library's log messages.
char const* const kLogCaption = "Orvanta";

bool HasLowerCase(ZoString const& text) {
  for (int32_t i = 0; i < text.Length(); ++i)
    if (text[i] >= 'a' && text[i] <= 'z') return true;
  return false;
}

// The base name of a path (no folder, no extension).
ZoString BaseName(ZoString const& path) {
  ZoString base;
  path.SplitPath(nullptr, nullptr, &base, nullptr);
  return base;
}

// Finds the key under which a dictionary holds a datum.
class KeyOfDatum : public ZoCallBack {
 public:
  explicit KeyOfDatum(void* wanted) : datum(wanted) {}
  using ZoCallBack::CallBack;
  int CallBack(void* key, void* data, void*) override {
    if (data == datum && !found) {
      foundKey = *static_cast<ZoString const*>(key);
      found = true;
    }
    return 0;
  }
  void* datum;
  ZoString foundKey;
  bool found = false;
};

// `a` + `b` + `c`, the last a literal.
ZoString Joined(ZoString const& a, ZoString const& b, char const* c) {
  ZoString joined(a);
  joined << b << c;
  return joined;
}

// Orders skill files by upper-cased name, then by bytes, whatever order the
// file system lists them in.
bool ComesFirst(ZoString const& a, ZoString const& b) {
  int folded = a.CompareNoCase(b);
  return folded != 0 ? folded < 0 : a.Compare(b) < 0;
}

}  // namespace

// --- Lookup --------------------------------------------------------------------------

ZoProtoSkill* ZoProtoActor::CachedSkill(ZoString const& key) const {
  return static_cast<ZoProtoSkill*>(skillDictionary.Find(key));
}

bool ZoProtoActor::CacheSkill(ZoProtoSkill* skill, ZoString const& key) {
  if (skills.Add(skill) == nullptr) return false;
  if (skillDictionary.Add(key, skill) == nullptr) {
    ZoDblListItem* node = skills.Find(skill);
    skills.Delete(node);
    return false;
  }
  return true;
}

void ZoProtoActor::UncacheSkill(ZoProtoSkill* skill) {
  ZoString key = skill->Name().Upper();
  if (skillDictionary.Find(key) != skill) {
    // Renamed behind the cache's back: find the key it is filed under.
    KeyOfDatum search(skill);
    skillDictionary.Iterate(search);
    key = search.foundKey;
  }
  if (skillDictionary.Find(key) == skill) skillDictionary.Delete(key);
  ZoDblListItem* node = skills.Find(skill);
  if (node != nullptr) skills.Delete(node);
}

int32_t ZoProtoActor::NumJointsOfSkeleton() const { return geomTraversal != nullptr ? geomTraversal->NumNodes() : 0; }

ZoProtoSkill* ZoProtoActor::GetSkill(ZoString skillName, int pin) {
  if (!HasLowerCase(skillName)) {
    if (ZoProtoSkill* cached = CachedSkill(skillName)) return cached;
  } else {
    // Upper-casing would allocate; the names compare without it.
    ZoDblListItem* cursor = nullptr;
    for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor)) {
      auto* skill = static_cast<ZoProtoSkill*>(item);
      if (skill->Name().EqualsNoCase(skillName)) return skill;
    }
  }
  return LoadSkill(skillName.Upper(), pin);
}

// --- Loading -----------------------------------------------------------------------------

ZoProtoSkill* ZoProtoActor::LoadSkill(ZoString skillName, int pin) {
  lastSkillLoad = ZoSkillLoadReport();
  if (skillName.IsEmpty()) {
    lastSkillLoad.status = ZoSkillLoadStatus::NoName;
    lastSkillLoad.detail.Set(ZoStreamOk, -1, "no skill name");
    return nullptr;
  }
  ZoString file = Joined(SkillPath(), skillName, ".skl");
  lastSkillLoad.file = file;
  ZoProtoSkill* skill = ReadSkillFile(file, &lastSkillLoad.detail);
  if (skill == nullptr) {
    lastSkillLoad.status = ZoSkillLoadStatus::Unreadable;
  } else if (skill->NumJoints() != NumJointsOfSkeleton()) {
    lastSkillLoad.status = ZoSkillLoadStatus::OtherSkeleton;
    lastSkillLoad.detail.Set(ZoStreamOk, -1, "a skill of another skeleton: %d joints where the actor has %d",
                             skill->NumJoints(), NumJointsOfSkeleton());
    skill->Release();
    return nullptr;
  } else {
    ZoString key = skillName.Upper();
    if (ZoProtoSkill* cached = CachedSkill(key)) {
      lastSkillLoad.status = ZoSkillLoadStatus::AlreadyCached;
      skill->Release();
      return cached;
    }
    // The name the cache files it under and its own must agree: the file's
    // name as found on disk wins.
    if (!skill->Name().EqualsNoCase(skillName)) {
      ZoString found = BaseName(ZoPlatform::ResolveExisting(file).c_str());
      skill->SetName(found.EqualsNoCase(skillName) ? found : skillName);
    }
    skill->SetParentIndices(this);
    if (!CacheSkill(skill, key)) {
      skill->Release();
      return nullptr;
    }
  }
  EvictIfFull();
  if (skill != nullptr) skill->SetPinned(pin);
  return skill;
}

void ZoProtoActor::EvictIfFull() {
  int32_t held = skills.GetCount();
  if (skillCacheSize <= 0 || held <= skillCacheSize) return;
  int32_t pinnedCount = 0;
  ZoProtoSkill* oldestUnpinned = nullptr;
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor)) {
    auto* skill = static_cast<ZoProtoSkill*>(item);
    if (skill->IsPinned() != 0) {
      ++pinnedCount;
    } else if (oldestUnpinned == nullptr) {
      oldestUnpinned = skill;
    }
  }
  if (held <= skillCacheSize + pinnedCount || oldestUnpinned == nullptr) return;
  UncacheSkill(oldestUnpinned);
  oldestUnpinned->Release();
}

void ZoProtoActor::LoadAllSkills() { LoadAllSkills(nullptr); }

void ZoProtoActor::LoadAllSkills(std::vector<ZoSkillLoadReport>* refused) {
  ZoString folder = SkillPath();
  ZoStringList listed;
  if (ZoPlatform::ListFolder(folder, "*.skl", listed) <= 0) return;
  std::vector<ZoString> names;
  ZoDblListItem* cursor = nullptr;
  for (void* item = listed.GetFirst(cursor); item != nullptr; item = listed.GetNext(cursor))
    names.push_back(*static_cast<ZoString*>(item));
  std::sort(names.begin(), names.end(), ComesFirst);

  int32_t joints = NumJointsOfSkeleton();
  for (ZoString const& entry : names) {
    ZoSkillLoadReport report;
    report.file = folder + entry;
    ZoProtoSkill* skill = ReadSkillFile(report.file, &report.detail);
    // A folder named like a skill file is passed over; it is asked about
    // only when a read fails, so that loading a file costs no lookup more.
    if (skill == nullptr && ZoPlatform::IsFolder(report.file)) continue;
    ZoFileProgress::UpdateProgress();
    if (skill == nullptr) {
      report.status = ZoSkillLoadStatus::Unreadable;
    } else if (skill->NumJoints() != joints) {
      report.status = ZoSkillLoadStatus::OtherSkeleton;
      report.detail.Set(ZoStreamOk, -1, "a skill of another skeleton: %d joints where the actor has %d",
                        skill->NumJoints(), joints);
      skill->Release();
    } else {
      ZoString base = BaseName(entry);
      if (!skill->Name().EqualsNoCase(base)) skill->SetName(base);
      ZoString key = base.Upper();
      if (CachedSkill(key) != nullptr) {
        report.status = ZoSkillLoadStatus::AlreadyCached;
        skill->Release();
      } else {
        skill->SetParentIndices(this);
        if (!CacheSkill(skill, key)) skill->Release();
        continue;
      }
    }
    if (refused != nullptr) refused->push_back(report);
  }
}

// --- Editing the cache ----------------------------------------------------------------------

void ZoProtoActor::AddSkill(ZoProtoSkill* skill) {
  if (skill == nullptr || skills.Find(skill) != nullptr) return;
  ZoString key = skill->Name().Upper();
  if (ZoProtoSkill* old = CachedSkill(key)) {
    UncacheSkill(old);
    old->Release();
  }
  if (!CacheSkill(skill, key)) {
    skill->Release();
    return;
  }
  dirty = 1;
}

void ZoProtoActor::RenameSkill(ZoProtoSkill* skill, ZoString const& newName) {
  if (skill == nullptr) return;
  ZoString oldKey = skill->Name().Upper();
  ZoString newKey = newName.Upper();
  ZoProtoSkill* holder = CachedSkill(newKey);
  if (holder != nullptr && holder != skill) return;
  bool cached = skills.Find(skill) != nullptr;
  if (cached) UncacheSkill(skill);
  skill->SetName(newName);
  ZoString folder = SkillPath();
  ZoPlatform::Rename(Joined(folder, oldKey, ".skl"), Joined(folder, newName, ".skl"));
  if (cached && !CacheSkill(skill, newKey)) skill->Release();
}

void ZoProtoActor::DeleteSkill(ZoProtoSkill* skill) {
  if (skill == nullptr || skills.Find(skill) == nullptr) return;
  ZoString file = Joined(SkillPath(), skill->Name().Upper(), ".skl");
  UncacheSkill(skill);
  skill->Release();
  ZoPlatform::DeleteFile(file);
}

void ZoProtoActor::FlushSkill(ZoString skillName) {
  auto* skill = static_cast<ZoProtoSkill*>(skillDictionary.Delete(skillName.Upper()));
  if (skill == nullptr) return;
  ZoDblListItem* node = skills.Find(skill);
  if (node != nullptr) skills.Delete(node);
  skill->Release();
}

void ZoProtoActor::FlushAllSkills() {
  // A copy, so that flushing does not disturb the walk.
  ZoDblList walk(skills);
  ZoDblListItem* cursor = nullptr;
  for (void* item = walk.GetFirst(cursor); item != nullptr; item = walk.GetNext(cursor)) {
    auto* skill = static_cast<ZoProtoSkill*>(item);
    if (skill->IsPinned() != 0) continue;
    UncacheSkill(skill);
    skill->Release();
  }
}

void ZoProtoActor::PermuteSkills(ZoPermutation* perm) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor))
    static_cast<ZoProtoSkill*>(item)->PermuteJoints(this, perm);
}

// --- Saving ----------------------------------------------------------------------------------

int ZoProtoActor::SaveSkills(ZoSkillFormat format) {
  int result = 1;
  ZoString folder = SkillPath();
  ZoCopyFolder::CreateFolder(folder);
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor)) {
    auto* skill = static_cast<ZoProtoSkill*>(item);
    skill->SetFormat(format);
    if (WriteSkillFile(Joined(folder, skill->Name(), ".skl"), skill) == 0) {
      result = 0;
      ZoLogger::Log(0, kLogCaption, name, Joined("Failed to write the ", skill->Name(), ".skl skill file."));
    }
  }
  return result;
}

void ZoProtoActor::CleanTriangleSets() {
  for (int i = 0; geomTraversal != nullptr && i < geomTraversal->NumNodes(); ++i) {
    ZoColModel* model = geomTraversal->Node(i)->ColModel();
    ZoTriangleSet* set = model != nullptr ? model->GetTriangleSet() : nullptr;
    if (set == nullptr) continue;
    int32_t triangles = set->GetNumTriangles();
    set->RemoveDegenerateTriangles();
    set->RemoveUnusedVertices();
    // A tree names triangles by index: one whose triangles moved is rebuilt.
    if (set->GetNumTriangles() != triangles && model->GetRoot() != nullptr) model->UpdateSphereTree();
  }
}

int ZoProtoActor::Save(ZoSkillFormat format) {
  ZoString actorFile = Joined(path, name, ".act");
  if (ZoCopyFolder::Exists(path) != 1) {
    if (ZoCopyFolder::CreateFolder(path) == 0) return 0;
    for (char const* sub : {"Textures", "Behaviors", "Sounds", "Skills"}) {
      ZoString folder(path);
      folder << sub << kZoPathSeparator;
      if (ZoCopyFolder::CreateFolder(folder) == 0) return 0;
    }
  }
  CleanTriangleSets();
  int ok = WriteActorFile(actorFile, this);
  if (ok == 0) ZoLogger::Log(0, kLogCaption, name, Joined("Failed to write the ", name, ".act actor file."));
  if (format != ZoSkillFormatNone) ok = (SaveSkills(format) != 0 && ok != 0) ? 1 : 0;
  dirty = 0;
  return ok;
}
