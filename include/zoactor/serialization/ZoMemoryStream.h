// ZoMemoryStream: a stream over a block of memory, either the caller's (a
// fixed buffer) or one the stream allocates and grows.
//
// Reads and writes share one position. Reading is bounded by the buffer's
// capacity, not by what was written: a stream that was written and then
// rewound with Seek lets a reader run on into the unwritten part. A
// successful read clears an earlier error; a write is refused while the
// status is not ZoStreamOk. Seek moves relative to the position and refuses
// any target at or past the capacity (so a full fixed buffer cannot be
// positioned at its end) or before the start.
//
// Ownership: a caller's buffer stays the caller's. A buffer the stream
// allocated is freed by the destructor unless GetBuffer handed it out; the
// caller then frees it with `operator delete`. When a handed-out buffer is
// later outgrown, the stream leaves it to the caller and owns the new one.
#ifndef ZOACTOR_SERIALIZATION_ZOMEMORYSTREAM_H
#define ZOACTOR_SERIALIZATION_ZOMEMORYSTREAM_H

#include <zoactor/ZoExport.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

class ZOACTOR_API ZoMemoryStream : public ZoStream {
 public:
  // A growable stream with a 2048-byte buffer of its own (capacity 0 and
  // every write failing when even that could not be allocated).
  ZoMemoryStream();
  // A fixed stream over the caller's `size` bytes at `buffer`, read from the
  // start. A negative size counts as 0.
  ZoMemoryStream(void* buffer, int32_t size);
  ~ZoMemoryStream() override;

  // Sets `length` to the position (the bytes written so far, for a stream
  // that has only been written) and returns the buffer. A buffer the stream
  // allocated passes to the caller (see the class comment).
  char* GetBuffer(int32_t& length);

  ZoStreamError ReadBytes(uint32_t count, void* destination) final;
  // Grows a growable buffer to twice its capacity, or to position + count
  // when doubling is not enough; a fixed buffer that is full fails with
  // ZoStreamWriteError.
  ZoStreamError WriteBytes(uint32_t count, void const* source) final;
  ZoStreamError Flush() final;
  ZoStreamError Seek(int32_t offset) final;
  // capacity − position.
  int64_t BytesLeft() final;
  int64_t Position() final;

  uint32_t GetCapacity() const { return capacity; }
  uint32_t GetPosition() const { return static_cast<uint32_t>(cursor - buffer); }
  bool IsGrowable() const { return growable; }

 private:
  void SetPosition(uint32_t position);

  char* buffer;
  uint32_t capacity;
  bool growable;
  // True while the stream must free `buffer` itself.
  bool ownsBuffer;
};

#endif
