// The actor's body, its older layout, and the actor and skill files.
#include <zoactor/actor/ZoProtoActor.h>

#include <zoactor/serialization/ZoMemoryStream.h>

#include "actor/ZoActorFileIo.h"
#include "serialization/ZoFormatVersions.h"
#include "serialization/ZoStreamIo.h"

#include <memory>
#include <new>

using zostreamio::OutOfMemory;
using zostreamio::ReadValue;
using zostreamio::WriteValue;

namespace {

// The smallest encoded proximity definition (empty name, three floats and
// the flag) and behaviour map (empty name and a count).
constexpr uint32_t kMinProximityDef = 20;
constexpr uint32_t kMinBehaviorMap = 8;

// Reads the file's first word into `first` and, for a file that starts with
// a container header, the rest of the header, whose second word sets the
// stream's version. False when the first word could not be read.
bool ReadFileStart(ZoStream& stream, int32_t magic, int32_t& first) {
  if (ReadValue(stream, first) != ZoStreamOk) return false;
  if (first == magic) return true;
  int32_t header[3] = {};
  if (zostreamio::ReadBlock(stream, header) == ZoStreamOk)
    stream.version = static_cast<int32_t>((static_cast<uint32_t>(header[0]) >> 16) & 0xFFFFu);
  return true;
}

// Reads the framed object of a file of class T that starts with `magic`;
// null, with the report filled, when there is none or it failed to read.
template <class T>
T* ReadFramedFile(ZoStream& stream, int32_t magic, char const* what, ZoReadReport* report) {
  ZoReadReport scratch;
  ZoReadReport& out = report != nullptr ? *report : scratch;
  out.Clear();
  int32_t first = 0;
  bool started = ReadFileStart(stream, magic, first);
  T* object = stream.Status() == ZoStreamOk ? stream.ReadObjectAs<T>() : nullptr;
  if (object != nullptr && stream.Status() == ZoStreamOk) return object;
  if (object != nullptr) object->Release();
  if (started && first != magic && first != ZoProtoActor::kContainerMagic) {
    out.Set(ZoStreamFormatError, 0, "bad magic 0x%08X: neither %s file nor a container header",
            static_cast<uint32_t>(first), what);
  } else {
    out.TakeFrom(stream, "the file holds no object of the expected class");
  }
  return nullptr;
}

// The folder of `fileName`: its drive and directory, with '/' separators.
ZoString FolderOf(ZoString const& fileName) {
  ZoString drive, directory;
  fileName.SplitPath(&drive, &directory, nullptr, nullptr);
  ZoString folder = drive + directory;
  ZoString normalised;
  for (int32_t i = 0; i < folder.Length(); ++i) normalised << (folder[i] == '\\' ? kZoPathSeparator : folder[i]);
  return normalised;
}

template <class T>
bool WriteFramedFile(ZoString const& fileName, T const* object,
                     ZoStreamError (*write)(ZoStream&, T const*)) {
  ZoMemoryStream stream;
  if (write(stream, object) != ZoStreamOk) return false;
  zoactorfileio::WrittenBytes bytes = zoactorfileio::TakeBytes(stream);
  return zoactorfileio::WriteWholeFile(fileName, bytes.data.get(), bytes.length);
}

}  // namespace

// --- Body -----------------------------------------------------------------------------

ZoStreamError ZoProtoActor::ReadFromStream(ZoStream& stream) {
  // 1. A stream whose version a container header set has no field 1.
  if (stream.version == 0 && ReadValue(stream, stream.version) != ZoStreamOk) return stream.Status();
  if (stream.version < zoversion::kCurrentLayout) return ReadOlder(stream);
  return ReadCurrent(stream);
}

ZoStreamError ZoProtoActor::ReadCurrent(ZoStream& stream) {
  ReadValue(stream, version);
  ReadValue(stream, name);
  if (ReadSkeleton(stream, false) != ZoStreamOk) return stream.Status();
  if ((stream >> properties).Status() != ZoStreamOk) return stream.Status();
  if (ReadProximityDefs(stream, 1) != ZoStreamOk) return stream.Status();
  return ReadBehaviorMaps(stream);
}

ZoStreamError ZoProtoActor::ReadOlder(ZoStream& stream) {
  if (stream.version >= zoversion::kActorRevision) {
    ReadValue(stream, version);
  } else {
    version = 1;
  }
  ReadValue(stream, name);
  if (ReadSkeleton(stream, true) != ZoStreamOk) return stream.Status();
  if ((stream >> properties).Status() != ZoStreamOk) return stream.Status();
  if (ReadProximityDefs(stream, stream.version >= zoversion::kProximityFlag ? 1 : 0) != ZoStreamOk)
    return stream.Status();
  return ReadBehaviorMaps(stream);
}

ZoStreamError ZoProtoActor::ReadSkeleton(ZoStream& stream, bool older) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  std::unique_ptr<ZoProtoNode> node(new (std::nothrow) ZoProtoNode);
  if (node == nullptr) return OutOfMemory(stream);
  if ((stream >> *node).Status() != ZoStreamOk) return stream.Status();
  SetSkeleton(node.release());
  // Handles store no geometry; the older layout stores none for geometry
  // nodes' squares either. Both get their shapes again.
  for (int i = 0; nodeTraversal != nullptr && i < nodeTraversal->NumNodes(); ++i) {
    ZoProtoNode* each = nodeTraversal->Node(i);
    if (each->Style() == ZoProtoNode::Handle || (older && each->Style() == ZoProtoNode::Geometry))
      each->CreateColModel();
  }
  ComputeBounds();
  return stream.Status();
}

ZoStreamError ZoProtoActor::ReadProximityDefs(ZoStream& stream, int hasFlag) {
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, kMinProximityDef - (hasFlag != 0 ? 0 : 4), sizeof(ZoProtoProxDef)))
    return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    std::unique_ptr<ZoProtoProxDef> def(new (std::nothrow) ZoProtoProxDef);
    if (def == nullptr) return OutOfMemory(stream);
    if (def->ReadFields(stream, hasFlag) != ZoStreamOk) break;
    if (proximityDefs.Add(def.get()) == nullptr) return OutOfMemory(stream);
    def.release();
  }
  maxProximityDef.SetToMaximum(&proximityDefs);
  return stream.Status();
}

ZoStreamError ZoProtoActor::ReadBehaviorMaps(ZoStream& stream) {
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, kMinBehaviorMap, sizeof(ZoFSMSpaceToBhvr))) return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    std::unique_ptr<ZoFSMSpaceToBhvr> map(new (std::nothrow) ZoFSMSpaceToBhvr);
    if (map == nullptr) return OutOfMemory(stream);
    if ((stream >> *map).Status() != ZoStreamOk) break;
    if (behaviorMaps.Add(map.get()) == nullptr) return OutOfMemory(stream);
    map.release();
  }
  return stream.Status();
}

ZoStreamError ZoProtoActor::WriteToStream(ZoStream& stream) const {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  if (root == nullptr) return stream.Fail(ZoStreamWriteError, "an actor without a skeleton cannot be written");
  stream.version = fileVersion;
  WriteValue(stream, stream.version);
  WriteValue(stream, version);
  WriteValue(stream, name);
  if (stream.Status() == ZoStreamOk) stream << *root;
  if (stream.Status() == ZoStreamOk) stream << properties;
  WriteValue(stream, proximityDefs.GetCount());
  ZoDblListItem* cursor = nullptr;
  for (void* item = proximityDefs.GetFirst(cursor); item != nullptr && stream.Status() == ZoStreamOk;
       item = proximityDefs.GetNext(cursor))
    stream << *static_cast<ZoProtoProxDef const*>(item);
  WriteValue(stream, behaviorMaps.GetCount());
  for (void* item = behaviorMaps.GetFirst(cursor); item != nullptr && stream.Status() == ZoStreamOk;
       item = behaviorMaps.GetNext(cursor))
    stream << *static_cast<ZoFSMSpaceToBhvr const*>(item);
  return stream.Status();
}

// --- Actor files -------------------------------------------------------------------------

ZoProtoActor* ZoProtoActor::ReadActorFrom(ZoStream& stream, ZoReadReport* report) {
  return ReadFramedFile<ZoProtoActor>(stream, fileType, "an actor", report);
}

ZoProtoActor* ZoProtoActor::ReadActorFile(ZoString fileName) { return ReadActorFile(fileName, nullptr); }

ZoProtoActor* ZoProtoActor::ReadActorFile(ZoString fileName, ZoReadReport* report) {
  zoactorfileio::FileImage image;
  if (!image.Load(fileName, report)) return nullptr;
  ZoProtoActor* actor = ReadActorFrom(image.Stream(), report);
  if (actor != nullptr) actor->path << FolderOf(fileName);
  return actor;
}

ZoStreamError ZoProtoActor::WriteActorTo(ZoStream& stream, ZoProtoActor const* actor) {
  if (actor == nullptr || actor->root == nullptr)
    return stream.Fail(ZoStreamWriteError, "an actor without a skeleton cannot be written");
  WriteValue(stream, fileType);
  return stream.WriteObject(actor);
}

int ZoProtoActor::WriteActorFile(ZoString fileName, ZoProtoActor* actor) {
  return WriteFramedFile<ZoProtoActor>(fileName, actor, &WriteActorTo) ? 1 : 0;
}

// --- Skill files ---------------------------------------------------------------------------

ZoProtoSkill* ZoProtoActor::ReadSkillFrom(ZoStream& stream, ZoReadReport* report) {
  return ReadFramedFile<ZoProtoSkill>(stream, ZoProtoSkill::fileType, "a skill", report);
}

ZoProtoSkill* ZoProtoActor::ReadSkillFile(ZoString path) { return ReadSkillFile(path, nullptr); }

ZoProtoSkill* ZoProtoActor::ReadSkillFile(ZoString path, ZoReadReport* report) {
  zoactorfileio::FileImage image;
  if (!image.Load(path, report)) return nullptr;
  return ReadSkillFrom(image.Stream(), report);
}

ZoStreamError ZoProtoActor::WriteSkillTo(ZoStream& stream, ZoProtoSkill const* skill) {
  if (skill == nullptr) return stream.Fail(ZoStreamWriteError, "no skill to write");
  WriteValue(stream, ZoProtoSkill::fileType);
  return stream.WriteObject(skill);
}

int ZoProtoActor::WriteSkillFile(ZoString path, ZoProtoSkill* skill) {
  return WriteFramedFile<ZoProtoSkill>(path, skill, &WriteSkillTo) ? 1 : 0;
}
