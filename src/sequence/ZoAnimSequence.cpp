#include <zoactor/sequence/ZoAnimSequence.h>

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/foundation/ZoMessageHandler.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/sequence/ZoActorRecord.h>
#include <zoactor/serialization/ZoFileStream.h>

#include "sequence/ZoSequenceFolder.h"

#include <cinttypes>
#include <new>

namespace {

enum ErrorCode { kOk = 0, kNotOpen = 1, kIoFailure = 4 };

// The smallest sequence-file entry of one actor: two empty strings.
constexpr int64_t kSmallestActorEntry = 8;

char const* const kUnableToLoad = "Unable to load ProtoActor: ";

}  // namespace

ZoAnimSequence::ZoAnimSequence() : numFrames(0), timeStep(kDefaultTimeStep) {}

ZoAnimSequence::~ZoAnimSequence() {
  if (IsOpen()) ZoAnimSequence::Close();
  DropFilesAndPrototypes();
}

ZoFileType ZoAnimSequence::ClassTypeInFile() { return ZoFileType(fileType); }

// --- Opening and closing -------------------------------------------------------------

int ZoAnimSequence::Open(ZoString const& file, int openMode) {
  if (IsOpen()) Close();
  ResetFailure();
  if (openMode == 1) {
    ZoString copy(file);
    if (_SetupSequenceFolder(copy) == 0) return 0;
    if (ZoFile::Open(file, 1) == 0) return 0;
    SetType(ClassTypeInFile());
    SetVersion(fileVersion);
    if (_InitWriteSequence() != 0) return 1;
    Close();
    return 0;
  }
  if (ZoFile::Open(file, openMode) == 0) return 0;
  path = zosequence::FolderOf(file);
  if (_InitReadSequence() != 0) return 1;
  int error = lastError;
  Close();
  SetError(error);
  return 0;
}

int ZoAnimSequence::Close() {
  int ok = 1;
  if (IsOpen() && numFrames > 0 && GetMode() == 1) ok = _FinishWriteSequence();
  DropFilesAndPrototypes();
  return ZoFile::Close() == 1 && ok == 1 ? 1 : 0;
}

void ZoAnimSequence::DropFilesAndPrototypes() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = animFiles.GetFirst(cursor); item != nullptr; item = animFiles.GetNext(cursor))
    delete static_cast<ZoAnimFile*>(item);
  animFiles.Clear();
  numFrames = 0;
  actorRecords.Clear();
  addActorEvents.Clear();
  removeActorEvents.Clear();
  soundEvents.Clear();
  materialEvents.Clear();
  cursor = nullptr;
  for (void* item = loadedPrototypes.GetFirst(cursor); item != nullptr; item = loadedPrototypes.GetNext(cursor))
    static_cast<ZoProtoActor*>(item)->Release();
  loadedPrototypes.Clear();
}

int ZoAnimSequence::Refuse(int code, char const* message) {
  ZoMessageHandler::Show(message, ZoString(), zosequence::kOkButtonOnly);
  return Fail(code, "%s", message);
}

// --- Writing -------------------------------------------------------------------------

int ZoAnimSequence::_SetupSequenceFolder(ZoString& file) {
  path = zosequence::FolderOf(file);
  path << kZoPathSeparator;
  if (zosequence::TestExistence(path) == zosequence::kAccessDenied)
    return Refuse(kNotOpen, "The selected sequence folder already exists.\nPlease choose another sequence name.");
  if (ZoPlatform::CreateFolder(path) != ZoFolderResult::Created)
    return Refuse(kNotOpen, "Could not create folder for sequence files.");
  struct Sub {
    char const* name;
    char const* failure;
  };
  static Sub const subfolders[] = {{"Actors", "Could not create Actors folder within sequence folder."},
                                   {"Sounds", "Could not create Sounds folder within sequence folder."},
                                   {"Motion", "Could not create Motion folder within sequence folder."}};
  for (Sub const& sub : subfolders) {
    ZoString folder = zosequence::SubFolder(path, sub.name);
    if (zosequence::TestExistence(folder) != zosequence::kFound &&
        ZoPlatform::CreateFolder(folder) != ZoFolderResult::Created)
      return Refuse(kNotOpen, sub.failure);
  }
  return 1;
}

int ZoAnimSequence::_InitWriteSequence() { return 1; }

int ZoAnimSequence::PostAddActorEvent(ZoProtoActor* actor, ZoString const& name) {
  if (!IsOpen() || GetMode() != 1 || !zosequence::IsPlainName(name) || actorRecords.Contains(name) != nullptr)
    return 0;
  auto* file = new (std::nothrow) ZoAnimFile;
  if (file == nullptr) return 0;
  ZoString motion = zosequence::SubFolder(path, "Motion");
  motion << name << ".anm";
  if (file->Open(motion, 1) == 0 || actorRecords.AddRecord(new (std::nothrow) ZoActorRecord(actor, name)) == 0) {
    delete file;
    return 0;
  }
  if (animFiles.Append(file) == nullptr) {
    delete static_cast<ZoActorRecord*>(actorRecords.DeleteLast());
    delete file;
    return 0;
  }
  return 1;
}

int ZoAnimSequence::PostRemoveActorEvent(ZoString const&) { return 1; }

int ZoAnimSequence::PostSoundEvent(ZoString const&, ZoString const&, ZoVector3 const&) { return 1; }

int ZoAnimSequence::NextFrame() {
  if (numFrames < INT32_MAX) ++numFrames;
  return numFrames;
}

int ZoAnimSequence::_FinishWriteSequence() {
  int frames = Write(numFrames);
  int actors = _WriteActorList();
  int events = _WriteEvents();
  int saved = _SaveProtoActors();
  return frames & actors & events & saved;
}

int ZoAnimSequence::_WriteActorList() {
  if (Write(actorRecords.GetCount()) == 0) return 0;
  ZoDblListItem* cursor = nullptr;
  for (void* item = actorRecords.GetFirst(cursor); item != nullptr; item = actorRecords.GetNext(cursor)) {
    auto const* record = static_cast<ZoActorRecord const*>(item);
    ZoString actorName = record->Actor() != nullptr ? record->Actor()->Name() : ZoString();
    if (Write(record->Name()) == 0 || Write(actorName) == 0) return 0;
  }
  return 1;
}

int ZoAnimSequence::_WriteEvents() {
  ZoFileStream stream(handle, ZoFileWrite, false);
  stream << addActorEvents << removeActorEvents << soundEvents << materialEvents;
  return stream.Status() == ZoStreamOk ? 1 : 0;
}

int ZoAnimSequence::_SaveProtoActors() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = actorRecords.GetFirst(cursor); item != nullptr; item = actorRecords.GetNext(cursor))
    _SaveProtoActor(static_cast<ZoActorRecord*>(item)->Actor());
  return 1;
}

int ZoAnimSequence::_SaveProtoActor(ZoProtoActor* actor) {
  if (actor == nullptr || !zosequence::IsPlainName(actor->Name())) return 0;
  ZoString folder = zosequence::SubFolder(path, "Actors");
  folder << actor->Name() << kZoPathSeparator;
  if (zosequence::TestExistence(folder) == zosequence::kFound) return 1;
  if (ZoPlatform::CreateFolder(folder) != ZoFolderResult::Created) return 0;
  if (!zosequence::CopyTextures(actor->Path(), folder)) {
    ZoMessageHandler::Show("Couldn't create actor 'Textures' folder", ZoString(), zosequence::kOkButtonOnly);
    return 0;
  }
  ZoString file = folder;
  file << actor->Name() << ".act";
  ZoString saved = actor->Path();
  actor->Path() = folder;
  int written = ZoProtoActor::WriteActorFile(file, actor);
  actor->Path() = saved;
  return written != 0 ? 1 : 0;
}

// --- Frames --------------------------------------------------------------------------

ZoAnimFile* ZoAnimSequence::_GetAnimFile(ZoString const& name) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = animFiles.GetFirst(cursor); item != nullptr; item = animFiles.GetNext(cursor)) {
    auto* file = static_cast<ZoAnimFile*>(item);
    if (file->GetName() == name) return file;
  }
  return nullptr;
}

int ZoAnimSequence::WriteFrameData(ZoString const& name, ZoTransform3 const* transforms, int transformCount) {
  ZoAnimFile* file = IsOpen() ? _GetAnimFile(name) : nullptr;
  return file != nullptr ? file->WriteFrameData(transforms, transformCount) : 0;
}

int ZoAnimSequence::ReadOneFrame(ZoString const& name, int frame, ZoTransform3* out, int transformCount) {
  ZoAnimFile* file = IsOpen() ? _GetAnimFile(name) : nullptr;
  return file != nullptr ? file->ReadOneFrame(frame, out, transformCount) : 0;
}

int ZoAnimSequence::ReadNodeFrames(ZoString const& name, int node, ZoTransform3* out, int transformCount,
                                   int& rotationChanges, int& positionChanges) {
  ZoAnimFile* file = IsOpen() ? _GetAnimFile(name) : nullptr;
  return file != nullptr ? file->ReadNodeFrames(node, out, transformCount, rotationChanges, positionChanges) : 0;
}

// --- Reading -------------------------------------------------------------------------

int ZoAnimSequence::_InitReadSequence() {
  if (Read(numFrames) == 0) return Fail(kIoFailure, "the frame count cannot be read");
  if (numFrames < 0) return Fail(kIoFailure, "frame count %d is negative", numFrames);
  return _ReadActorList() != 0 && _ReadEvents() != 0 ? 1 : 0;
}

int ZoAnimSequence::_ReadActorList() {
  int32_t actorCount = 0;
  if (Read(actorCount) == 0) return Fail(kIoFailure, "the actor count cannot be read");
  if (actorCount < 0) return Fail(kIoFailure, "actor count %d is negative", actorCount);
  int64_t size = ZoPlatform::FileSize(handle);
  int64_t here = GetFilePointer();
  if (size >= 0 && here >= 0 && actorCount * kSmallestActorEntry > size - here)
    return Fail(kIoFailure, "actor count %d exceeds the %" PRId64 " bytes left", actorCount, size - here);
  for (int32_t i = 0; i < actorCount; ++i) {
    ZoString recordName;
    ZoString actorName;
    if (Read(recordName) == 0 || Read(actorName) == 0) return 0;
    ZoProtoActor* actor = zosequence::IsPlainName(actorName) ? _LoadProtoActor(actorName) : nullptr;
    if (actor == nullptr) {
      ZoString message(kUnableToLoad);
      message << actorName;
      ZoMessageHandler::Show(message, ZoString(), zosequence::kOkButtonOnly);
      continue;
    }
    if (!zosequence::IsPlainName(recordName)) continue;
    auto* file = new (std::nothrow) ZoAnimFile;
    ZoString motion = zosequence::SubFolder(path, "Motion");
    motion << recordName << ".anm";
    if (file == nullptr || file->Open(motion, 0) == 0 ||
        actorRecords.AddRecord(new (std::nothrow) ZoActorRecord(actor, recordName)) == 0) {
      delete file;
      continue;
    }
    if (animFiles.Append(file) == nullptr) {
      delete static_cast<ZoActorRecord*>(actorRecords.DeleteLast());
      delete file;
    }
  }
  return 1;
}

int ZoAnimSequence::_ReadEvents() { return 1; }

ZoProtoActor* ZoAnimSequence::_LoadProtoActor(ZoString const& actorName) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = actorRecords.GetFirst(cursor); item != nullptr; item = actorRecords.GetNext(cursor)) {
    ZoProtoActor* shared = static_cast<ZoActorRecord*>(item)->Actor();
    if (shared != nullptr && shared->Name() == actorName) return shared;
  }
  ZoString file = zosequence::SubFolder(path, "Actors");
  file << actorName << kZoPathSeparator << actorName << ".act";
  ZoProtoActor* actor = ZoProtoActor::ReadActorFile(file);
  if (actor != nullptr && loadedPrototypes.Append(actor) == nullptr) {
    actor->Release();
    return nullptr;
  }
  return actor;
}
