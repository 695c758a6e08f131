#include "actor/ZoActorFileIo.h"

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoHookRecords.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/serialization/ZoReadLimits.h>

#include <new>
#include <string>

namespace zoactorfileio {

bool FileImage::Load(ZoString const& fileName, ZoReadReport* report) {
  file.reset(new (std::nothrow) ZoFileStream(fileName, ZoFileRead, true));
  if (file == nullptr || file->Status() != ZoStreamOk) {
    if (report != nullptr) report->Set(ZoStreamOpenError, -1, "the file could not be opened");
    return false;
  }
  int64_t size = ZoPlatform::FileSize(file->GetHandle());
  bool regular = size >= 0 && ZoPlatform::Position(file->GetHandle()) == 0;
  if (!regular) return true;  // parsed through the file stream
  // A file above the allocation cap is not held whole either.
  if (static_cast<uint64_t>(size) > kWholeImage || static_cast<uint64_t>(size) > ZoReadLimits::MaxAllocation()) {
    direct.reset(new (std::nothrow) ZoDirectReadStream(file->GetHandle(), size));
    if (direct == nullptr) {
      if (report != nullptr) report->Set(ZoStreamReadError, -1, "out of memory");
      return false;
    }
    return true;
  }
  char* room = Room(static_cast<size_t>(size));
  if (room == nullptr) return true;
  int64_t got = ZoPlatform::Read(file->GetHandle(), room, static_cast<size_t>(size));
  if (got != size) {
    if (report != nullptr) report->Set(ZoStreamReadError, got > 0 ? got : 0, "the file could not be read");
    return false;
  }
  memory.reset(new (std::nothrow) ZoMemoryStream(room, static_cast<int32_t>(size)));
  if (memory == nullptr) {
    if (report != nullptr) report->Set(ZoStreamReadError, -1, "out of memory");
    return false;
  }
  return true;
}

namespace {

// The buffer this thread keeps for the files it reads.
struct KeptBuffer {
  std::unique_ptr<char[]> data;
  size_t capacity = 0;
  bool inUse = false;
};
thread_local KeptBuffer tKept;

}  // namespace

FileImage::~FileImage() {
  memory.reset();
  direct.reset();
  if (holdsKept) tKept.inUse = false;
}

char* FileImage::Room(size_t size) {
  if (size == 0) size = 1;
  if (size > kWholeImage || tKept.inUse) {
    bytes.reset(new (std::nothrow) char[size]);
    return bytes.get();
  }
  if (tKept.capacity < size) {
    tKept.data.reset();
    tKept.capacity = 0;
    size_t grown = size < 64 * 1024 ? 64 * 1024 : size;
    tKept.data.reset(new (std::nothrow) char[grown]);
    if (tKept.data == nullptr) return nullptr;
    tKept.capacity = grown;
  }
  tKept.inUse = true;
  holdsKept = true;
  return tKept.data.get();
}

namespace {

bool WriteAll(ZoFileHandle handle, char const* bytes, int32_t length) {
  return length <= 0 || ZoPlatform::Write(handle, bytes, static_cast<size_t>(length)) == length;
}

// Lets the engine's hook open the file; true (with `handle`) when it did.
bool HookOpens(ZoString const& fileName, ZoFileHandle& handle) {
  ZoHookOpenFileRecord record{};
  record.handle = kZoInvalidFileHandle;
  record.fileName = &fileName;
  record.mode = ZoFileWrite;
  if (ZoAiHookManager::Offer(ZoHookOpenFile, &record) <= 0) return false;
  handle = record.handle;
  return true;
}

}  // namespace

bool WriteWholeFile(ZoString const& fileName, char const* bytes, int32_t length) {
  ZoFileHandle handle = kZoInvalidFileHandle;
  if (HookOpens(fileName, handle)) {
    if (handle == kZoInvalidFileHandle) return false;
    bool written = WriteAll(handle, bytes, length);
    return ZoPlatform::Close(handle) && written;
  }

  std::string temporary;
  handle = ZoPlatform::CreateTemporary(fileName, temporary);
  if (handle == kZoInvalidFileHandle) return false;
  bool ok = WriteAll(handle, bytes, length) && ZoPlatform::SyncFile(handle);
  ok = ZoPlatform::Close(handle) && ok;
  ok = ok && ZoPlatform::ReplaceFile(temporary, fileName);
  if (!ok) ZoPlatform::RemoveExactPath(temporary);
  return ok;
}

WrittenBytes TakeBytes(ZoMemoryStream& stream) {
  WrittenBytes written;
  written.data.reset(stream.GetBuffer(written.length));
  return written;
}

}  // namespace zoactorfileio
