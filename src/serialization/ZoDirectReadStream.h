// ZoDirectReadStream: a read-only stream over an open descriptor of a
// regular file, for readers that parse a whole file once (private to the
// library).
//
// Large blocks (the vertex, triangle and tree arrays of an actor) are read
// from the descriptor straight into the reader's arrays, so that their
// bytes are copied once, by the kernel, as a plain read() would copy them.
// Everything smaller is served through a buffer in the stream and ZoStream's
// window. A refill reads only a few kibibytes when the previous block went
// straight through (what follows a small field is often the next large
// block, which a big refill would copy twice), and twice as much as the last
// refill when it did not (a file of small values then needs few transfers).
//
// It reads as a fixed ZoMemoryStream over the file's bytes would: a read
// past the end fails with ZoStreamReadError and moves nothing, a successful
// read clears an earlier error, Seek refuses a target before the start or at
// or past the end with ZoStreamSeekError, and writes fail.
//
// Edge cases:
//   - The stream never reads past `size`, the file's size when it was
//     opened, whatever the file has grown to since; BytesLeft() is measured
//     against it.
//   - A file that shrinks under the reader, or a descriptor that fails,
//     fails the read that runs into it with ZoStreamReadError at the offset
//     where the bytes ran out; nothing is mapped, so no signal can arrive.
//   - The descriptor's own position moves with the stream's reads; the
//     stream neither closes the descriptor nor moves it back.
#ifndef ZOACTOR_SRC_SERIALIZATION_ZODIRECTREADSTREAM_H
#define ZOACTOR_SRC_SERIALIZATION_ZODIRECTREADSTREAM_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

// Exported only so that the library's tests reach it; not installed.
class ZOACTOR_API ZoDirectReadStream final : public ZoStream {
 public:
  // The buffer; reads of at least kDirectBytes go straight to their target.
  static constexpr uint32_t kBufferSize = 64 * 1024;
  static constexpr uint32_t kDirectBytes = 4096;
  // The first refill, and the one after a block that went straight through.
  static constexpr uint32_t kFirstRefill = 4096;

  // Reads `handle` from its current position, which counts as offset 0, up
  // to `size` bytes. The caller keeps the descriptor open while the stream
  // lives.
  ZoDirectReadStream(ZoFileHandle handle, int64_t size);

  ZoStreamError ReadBytes(uint32_t count, void* destination) override;
  // Fails with ZoStreamWriteError: the stream only reads.
  ZoStreamError WriteBytes(uint32_t count, void const* source) override;
  ZoStreamError Flush() override;
  ZoStreamError Seek(int32_t offset) override;
  int64_t BytesLeft() override;
  int64_t Position() override;

 private:
  // Reads `count` bytes at the descriptor's position into `destination`;
  // false when fewer arrived.
  bool Transfer(void* destination, uint32_t count);
  // Refills the buffer with the bytes after the buffered ones; false when
  // none could be read.
  bool Refill();
  // Empties the buffer with the stream at `position`.
  void EmptyAt(int64_t position);

  ZoFileHandle handle;
  int64_t size;
  // The offset of the byte behind the buffered ones: what was taken from
  // the descriptor so far.
  int64_t taken;
  uint32_t nextRefill;
  char buffer[kBufferSize];
};

#endif
