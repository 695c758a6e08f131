// ZoFileStream: a ZoStream over a file, opened by name or adopted as an open
// descriptor, read and written either straight through or through a
// 2048-byte buffer from a process-wide pool.
//
// Buffered streams make one platform transfer per 2048 bytes: a read refills
// the whole buffer when it is used up, and a write sends the buffer only when
// the next byte needs room (never eagerly when it becomes full). Flush sends
// pending writes, or moves the file position of a read stream back by the
// unread bytes so that the file position is the stream's logical position;
// it is the only operation that clears an earlier error. Seek flushes first
// and then moves relative to that position.
//
// Notifications through an attached ZoCallBack (two-pointer form, event code
// then stream): 2 after a ReadBytes that made a platform read, 3 after a
// WriteBytes that made a platform write, 1 on destruction. Transfers served
// from the buffer raise none.
//
// Before opening by name the stream offers request 31 (ZoHookOpenFileRecord)
// to the engine's hook manager; when it answers above 0 the stream takes the
// handle the manager supplied, and closes it itself.
//
// Choices made here: a buffered stream reads only in read mode and writes
// only in write mode (the other direction fails with ZoStreamReadError or
// ZoStreamWriteError and leaves the buffer alone). When a platform write
// sends only part of a full buffer, the unsent bytes stay pending so that a
// later successful Flush sends them: nothing is lost or sent twice. The hook
// record is zero-filled before the stream fills its fields. The buffer pool
// is locked, so streams may be made and destroyed on several threads.
#ifndef ZOACTOR_SERIALIZATION_ZOFILESTREAM_H
#define ZOACTOR_SERIALIZATION_ZOFILESTREAM_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

enum ZoFileMode : int32_t { ZoFileRead = 0, ZoFileWrite = 1 };

class ZOACTOR_API ZoFileStream : public ZoStream {
 public:
  // The size of a stream buffer and of a buffered platform transfer.
  static constexpr uint32_t kBufferSize = 2048;

  // Notification codes passed to the attached callback.
  enum Event { EventDestroyed = 1, EventRead = 2, EventWritten = 3 };

  // Opens `fileName` (matched without regard to case): for reading an
  // existing file, or for writing a new or truncated one. The status is
  // ZoStreamOpenError when no file could be had; every later operation then
  // fails at the platform.
  ZoFileStream(ZoString const& fileName, ZoFileMode mode, bool buffered);
  // Adopts an open descriptor without checking it; the caller keeps it (the
  // stream never closes it) and may go on using it after the stream is gone,
  // at the stream's logical position.
  ZoFileStream(ZoFileHandle handle, ZoFileMode mode, bool buffered);
  // Flushes, closes an owned descriptor, returns the buffer to the pool, and
  // notifies event 1.
  ~ZoFileStream() override;

  ZoStreamError ReadBytes(uint32_t count, void* destination) final;
  ZoStreamError WriteBytes(uint32_t count, void const* source) final;
  ZoStreamError Flush() final;
  ZoStreamError Seek(int32_t offset) final;
  // For a read stream: the bytes between the logical position and the end of
  // a regular file; -1 otherwise.
  int64_t BytesLeft() final;
  // The logical position: what was read or written through the stream.
  int64_t Position() final;

  ZoFileHandle GetHandle() const { return handle; }
  ZoFileMode GetMode() const { return mode; }
  bool IsBuffered() const { return buffer != nullptr; }
  bool OwnsHandle() const { return ownsHandle; }

 private:
  void TakeBuffer(bool buffered);
  // The window of ZoStream and the fields `index`/`count` describe the same
  // buffer; these keep them in step around every virtual operation.
  void SyncFromWindow();
  void SyncToWindow();
  void Notify(Event event);
  ZoStreamError ReadBuffered(uint32_t count, char* destination, bool& platformRead);
  ZoStreamError WriteBuffered(uint32_t count, char const* source, bool& platformWrite);

  ZoFileHandle handle;
  bool ownsHandle;
  char* buffer;
  // Read mode: valid bytes in the buffer. Write mode: bytes waiting to be written.
  uint32_t count;
  // Read mode: the next unread byte of the buffer; 0 in write mode.
  uint32_t index;
  ZoFileMode mode;
};

#endif
