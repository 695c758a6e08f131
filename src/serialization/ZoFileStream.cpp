#include <zoactor/serialization/ZoFileStream.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoHookRecords.h>

#include <cstring>
#include <mutex>
#include <new>

namespace {

// The pool of free stream buffers. Blocks are recycled, never released; the
// pool is reachable for the process's life.
struct BufferPool {
  std::mutex mutex;
  ZoDblList blocks;
};

BufferPool& Pool() {
  static BufferPool* pool = new BufferPool;
  return *pool;
}

char* TakeFromPool() {
  BufferPool& pool = Pool();
  {
    std::lock_guard<std::mutex> hold(pool.mutex);
    if (void* block = pool.blocks.DeleteFirst()) return static_cast<char*>(block);
  }
  return static_cast<char*>(::operator new(ZoFileStream::kBufferSize, std::nothrow));
}

void GiveToPool(char* block) {
  BufferPool& pool = Pool();
  std::lock_guard<std::mutex> hold(pool.mutex);
  if (pool.blocks.Insert(block, ZoDblList::Before, nullptr) == nullptr) ::operator delete(block);
}

ZoFileHandle OpenByName(ZoString const& fileName, ZoFileMode mode) {
  ZoHookOpenFileRecord record{};
  record.handle = kZoInvalidFileHandle;
  record.fileName = &fileName;
  record.mode = mode;
  if (ZoAiHookManager::Offer(ZoHookOpenFile, &record) > 0) return record.handle;
  return mode != ZoFileRead ? ZoPlatform::OpenWrite(fileName, ZoAccessHint::Sequential)
                            : ZoPlatform::OpenRead(fileName, ZoAccessHint::Sequential);
}

}  // namespace

ZoFileStream::ZoFileStream(ZoString const& fileName, ZoFileMode fileMode, bool buffered)
    : handle(OpenByName(fileName, fileMode)), ownsHandle(true), buffer(nullptr), count(0), index(0), mode(fileMode) {
  if (handle == kZoInvalidFileHandle) {
    FailAt(-1, ZoStreamOpenError, "the file could not be opened");
    return;
  }
  TakeBuffer(buffered);
}

ZoFileStream::ZoFileStream(ZoFileHandle adopted, ZoFileMode fileMode, bool buffered)
    : handle(adopted), ownsHandle(false), buffer(nullptr), count(0), index(0), mode(fileMode) {
  TakeBuffer(buffered);
}

ZoFileStream::~ZoFileStream() {
  if (handle != kZoInvalidFileHandle) {
    Flush();
    if (ownsHandle) ZoPlatform::Close(handle);
  }
  if (buffer != nullptr) GiveToPool(buffer);
  Notify(EventDestroyed);
}

void ZoFileStream::TakeBuffer(bool buffered) {
  if (buffered) buffer = TakeFromPool();
  SyncToWindow();
}

void ZoFileStream::SyncFromWindow() {
  if (buffer == nullptr) return;
  auto offset = static_cast<uint32_t>(cursor - buffer);
  if (mode == ZoFileRead) index = offset; else count = offset;
}

void ZoFileStream::SyncToWindow() {
  if (buffer == nullptr) {
    cursor = readLimit = writeLimit = nullptr;
  } else if (mode == ZoFileRead) {
    // Reads are served from the bytes still unread; writes never are.
    cursor = buffer + index;
    readLimit = buffer + count;
    writeLimit = buffer;
  } else {
    // Writes fill the buffer up to its end; reads never are served.
    cursor = buffer + count;
    writeLimit = buffer + kBufferSize;
    readLimit = buffer;
  }
}

void ZoFileStream::Notify(Event event) {
  if (callBack != nullptr) callBack->CallBack(reinterpret_cast<void*>(static_cast<intptr_t>(event)), this);
}

ZoStreamError ZoFileStream::ReadBuffered(uint32_t wanted, char* destination, bool& platformRead) {
  while (wanted > 0 && status == ZoStreamOk) {
    if (index == count) {
      int64_t got = ZoPlatform::Read(handle, buffer, kBufferSize);
      platformRead = true;
      count = got > 0 ? static_cast<uint32_t>(got) : 0;
      index = 0;
      if (count == 0) {
        // Recording a failure asks Position(), which trusts the window:
        // bring it up to date first (here and below).
        SyncToWindow();
        Fail(ZoStreamReadError, "the file ends %u bytes short", wanted);
        break;
      }
    }
    uint32_t take = count - index < wanted ? count - index : wanted;
    std::memcpy(destination, buffer + index, take);
    destination += take;
    index += take;
    wanted -= take;
  }
  if (wanted > 0 && status == ZoStreamOk) {
    SyncToWindow();
    Fail(ZoStreamReadError, "the file ends %u bytes short", wanted);
  }
  return status;
}

ZoStreamError ZoFileStream::ReadBytes(uint32_t wanted, void* destination) {
  bool platformRead = false;
  if (buffer == nullptr) {
    int64_t got = ZoPlatform::Read(handle, destination, wanted);
    platformRead = true;
    if (status == ZoStreamOk && got != static_cast<int64_t>(wanted))
      Fail(ZoStreamReadError, "%u bytes wanted, %lld read", wanted, static_cast<long long>(got));
  } else if (status == ZoStreamOk) {
    if (mode != ZoFileRead) {
      Fail(ZoStreamReadError, "a buffered stream opened for writing cannot read");
    } else {
      SyncFromWindow();
      ReadBuffered(wanted, static_cast<char*>(destination), platformRead);
      SyncToWindow();
    }
  }
  if (platformRead) Notify(EventRead);
  return status;
}

ZoStreamError ZoFileStream::WriteBuffered(uint32_t remaining, char const* source, bool& platformWrite) {
  while (remaining > 0) {
    if (count == kBufferSize) {
      int64_t put = ZoPlatform::Write(handle, buffer, kBufferSize);
      platformWrite = true;
      if (put != static_cast<int64_t>(kBufferSize)) {
        // Keep what was not sent at the front, for a later Flush.
        uint32_t sent = put > 0 ? static_cast<uint32_t>(put) : 0;
        std::memmove(buffer, buffer + sent, kBufferSize - sent);
        count = kBufferSize - sent;
        SyncToWindow();
        Fail(ZoStreamWriteError, "the file took %u of %u bytes", sent, kBufferSize);
        break;
      }
      count = 0;
    }
    uint32_t take = kBufferSize - count < remaining ? kBufferSize - count : remaining;
    std::memcpy(buffer + count, source, take);
    source += take;
    count += take;
    remaining -= take;
  }
  if (remaining > 0 && status == ZoStreamOk) {
    SyncToWindow();
    Fail(ZoStreamWriteError, "%u bytes could not be written", remaining);
  }
  return status;
}

ZoStreamError ZoFileStream::WriteBytes(uint32_t remaining, void const* source) {
  bool platformWrite = false;
  if (buffer == nullptr) {
    int64_t put = ZoPlatform::Write(handle, source, remaining);
    platformWrite = true;
    if (status == ZoStreamOk && put != static_cast<int64_t>(remaining))
      Fail(ZoStreamWriteError, "the file took %lld of %u bytes", static_cast<long long>(put), remaining);
  } else if (status == ZoStreamOk) {
    if (mode == ZoFileRead) {
      Fail(ZoStreamWriteError, "a buffered stream opened for reading cannot write");
    } else {
      SyncFromWindow();
      WriteBuffered(remaining, static_cast<char const*>(source), platformWrite);
      SyncToWindow();
    }
  }
  if (platformWrite) Notify(EventWritten);
  return status;
}

ZoStreamError ZoFileStream::Flush() {
  if (buffer == nullptr) return status;
  SyncFromWindow();
  if (count > index) {
    if (mode == ZoFileRead) {
      int64_t back = -static_cast<int64_t>(count - index);
      status = ZoStreamOk;
      if (ZoPlatform::Seek(handle, back, 1) < 0) Fail(ZoStreamReadError, "the file position could not be moved back");
    } else {
      int64_t put = ZoPlatform::Write(handle, buffer, count);
      status = ZoStreamOk;
      if (put != static_cast<int64_t>(count))
        Fail(ZoStreamWriteError, "the file took %lld of %u pending bytes", static_cast<long long>(put), count);
    }
    count = index = 0;
  }
  SyncToWindow();
  return status;
}

ZoStreamError ZoFileStream::Seek(int32_t offset) {
  Flush();
  ZoPlatform::Seek(handle, offset, 1);
  return status;
}

int64_t ZoFileStream::Position() {
  if (handle == kZoInvalidFileHandle) return -1;
  int64_t position = ZoPlatform::Position(handle);
  if (position < 0 || buffer == nullptr) return position;
  SyncFromWindow();
  // Read mode: the buffer's unread bytes are ahead of the stream; write
  // mode: its pending bytes are behind the file.
  return mode == ZoFileRead ? position - static_cast<int64_t>(count - index) : position + count;
}

int64_t ZoFileStream::BytesLeft() {
  if (mode != ZoFileRead || handle == kZoInvalidFileHandle) return -1;
  int64_t size = ZoPlatform::FileSize(handle);
  int64_t position = ZoPlatform::Position(handle);
  if (size < 0 || position < 0) return -1;
  SyncFromWindow();
  int64_t logical = position - (buffer != nullptr ? static_cast<int64_t>(count - index) : 0);
  return size > logical ? size - logical : 0;
}
