#include <zoactor/serialization/ZoMemoryStream.h>

#include <cstring>
#include <new>

namespace {

constexpr uint32_t kInitialCapacity = 2048;

char* AllocateBuffer(uint32_t size) { return static_cast<char*>(::operator new(size, std::nothrow)); }

}  // namespace

ZoMemoryStream::ZoMemoryStream() : buffer(AllocateBuffer(kInitialCapacity)), capacity(0), growable(true), ownsBuffer(true) {
  if (buffer != nullptr) capacity = kInitialCapacity;
  SetPosition(0);
}

ZoMemoryStream::ZoMemoryStream(void* callerBuffer, int32_t size)
    : buffer(static_cast<char*>(callerBuffer)),
      capacity(callerBuffer != nullptr && size > 0 ? static_cast<uint32_t>(size) : 0),
      growable(false),
      ownsBuffer(false) {
  SetPosition(0);
}

ZoMemoryStream::~ZoMemoryStream() {
  if (ownsBuffer) ::operator delete(buffer);
}

void ZoMemoryStream::SetPosition(uint32_t position) {
  // The window covers the whole buffer for reads and writes alike, exactly
  // the bounds ReadBytes and WriteBytes apply without growing.
  cursor = buffer + position;
  readLimit = writeLimit = buffer + capacity;
}

char* ZoMemoryStream::GetBuffer(int32_t& length) {
  length = static_cast<int32_t>(GetPosition());
  ownsBuffer = false;
  return buffer;
}

ZoStreamError ZoMemoryStream::ReadBytes(uint32_t count, void* destination) {
  uint32_t position = GetPosition();
  if (capacity - position < count) {
    return Fail(ZoStreamReadError, "%u bytes wanted, %u left", count, capacity - position);
  }
  if (count > 0) std::memcpy(destination, buffer + position, count);
  SetPosition(position + count);
  status = ZoStreamOk;
  return status;
}

ZoStreamError ZoMemoryStream::WriteBytes(uint32_t count, void const* source) {
  uint32_t position = GetPosition();
  if (capacity - position < count) {
    if (growable) {
      uint64_t grown = static_cast<uint64_t>(capacity) * 2;
      if (grown - position < count) grown = static_cast<uint64_t>(position) + count;
      char* fresh = grown <= UINT32_MAX ? AllocateBuffer(static_cast<uint32_t>(grown)) : nullptr;
      if (fresh == nullptr) {
        Fail(ZoStreamWriteError, "no memory to grow the buffer to %llu bytes", static_cast<unsigned long long>(grown));
      } else {
        if (position > 0) std::memcpy(fresh, buffer, position);
        if (ownsBuffer) ::operator delete(buffer);
        buffer = fresh;
        capacity = static_cast<uint32_t>(grown);
        ownsBuffer = true;
        SetPosition(position);
      }
    } else {
      Fail(ZoStreamWriteError, "%u bytes do not fit, %u left in the fixed buffer", count, capacity - position);
    }
  }
  if (status != ZoStreamOk) return status;
  if (count > 0) std::memcpy(buffer + position, source, count);
  SetPosition(position + count);
  return status;
}

ZoStreamError ZoMemoryStream::Flush() { return status; }

ZoStreamError ZoMemoryStream::Seek(int32_t offset) {
  uint32_t target = GetPosition() + static_cast<uint32_t>(offset);
  if (target >= capacity) {
    return Fail(ZoStreamSeekError, "seek by %d leaves the %u-byte buffer", offset, capacity);
  }
  SetPosition(target);
  return status;
}

int64_t ZoMemoryStream::Position() { return GetPosition(); }

int64_t ZoMemoryStream::BytesLeft() { return static_cast<int64_t>(capacity) - GetPosition(); }
