#include "serialization/ZoDirectReadStream.h"

#include <cstring>

ZoDirectReadStream::ZoDirectReadStream(ZoFileHandle fileHandle, int64_t fileSize)
    : handle(fileHandle), size(fileSize > 0 ? fileSize : 0), taken(0), nextRefill(kFirstRefill) {
  EmptyAt(0);
}

void ZoDirectReadStream::EmptyAt(int64_t position) {
  taken = position;
  cursor = readLimit = buffer;
  writeLimit = buffer;  // no write is ever served from the window
}

int64_t ZoDirectReadStream::Position() { return taken - (readLimit - cursor); }

int64_t ZoDirectReadStream::BytesLeft() { return size - Position(); }

bool ZoDirectReadStream::Transfer(void* destination, uint32_t count) {
  int64_t got = ZoPlatform::Read(handle, destination, count);
  if (got > 0) taken += got;
  return got == static_cast<int64_t>(count);
}

bool ZoDirectReadStream::Refill() {
  int64_t left = size - taken;
  uint32_t want = left < static_cast<int64_t>(nextRefill) ? static_cast<uint32_t>(left) : nextRefill;
  if (want == 0) return false;
  cursor = buffer;
  int64_t got = ZoPlatform::Read(handle, buffer, want);
  readLimit = buffer + (got > 0 ? got : 0);
  if (got > 0) taken += got;
  nextRefill = nextRefill < kBufferSize / 2 ? nextRefill * 2 : kBufferSize;
  return got > 0;
}

ZoStreamError ZoDirectReadStream::ReadBytes(uint32_t count, void* destination) {
  int64_t const start = Position();
  if (static_cast<int64_t>(count) > size - start) {
    return Fail(ZoStreamReadError, "%u bytes wanted, %lld left", count, static_cast<long long>(size - start));
  }
  auto* to = static_cast<char*>(destination);
  uint32_t wanted = count;
  while (wanted > 0) {
    auto buffered = static_cast<uint32_t>(readLimit - cursor);
    if (buffered > 0) {
      uint32_t take = buffered < wanted ? buffered : wanted;
      std::memcpy(to, cursor, take);
      cursor += take;
      to += take;
      wanted -= take;
    } else if (wanted >= kDirectBytes) {
      // Straight into the target; the next refill starts small again.
      nextRefill = kFirstRefill;
      if (!Transfer(to, wanted)) break;
      wanted = 0;
    } else if (!Refill()) {
      break;
    }
  }
  if (wanted > 0) {
    // The file ended before its size said it would, or the descriptor failed.
    EmptyAt(taken);
    return Fail(ZoStreamReadError, "the file ended %u bytes short of its size", wanted);
  }
  status = ZoStreamOk;
  return status;
}

ZoStreamError ZoDirectReadStream::WriteBytes(uint32_t, void const*) {
  return Fail(ZoStreamWriteError, "a stream that reads a file cannot write");
}

ZoStreamError ZoDirectReadStream::Flush() { return status; }

ZoStreamError ZoDirectReadStream::Seek(int32_t offset) {
  int64_t const position = Position();
  int64_t const target = position + offset;
  if (target < 0 || target >= size) {
    return Fail(ZoStreamSeekError, "seek by %d leaves the %lld-byte file", offset, static_cast<long long>(size));
  }
  int64_t const bufferStart = taken - (readLimit - buffer);
  if (target >= bufferStart && target <= taken) {
    cursor = buffer + (target - bufferStart);
  } else if (ZoPlatform::Seek(handle, target - taken, 1) >= 0) {
    EmptyAt(target);
  } else {
    return Fail(ZoStreamSeekError, "the file position could not be moved by %d", offset);
  }
  return status;
}
