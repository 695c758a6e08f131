// Whole-file transfers of the actor and skill files (private to the
// library). Files are opened through ZoFileStream, so the engine's
// open-file hook and the case-folding platform apply, and are then read in
// one platform transfer and parsed from memory. Writes are made in memory
// and land in one transfer, replacing the file atomically.
#ifndef ZOACTOR_SRC_ACTOR_ZOACTORFILEIO_H
#define ZOACTOR_SRC_ACTOR_ZOACTORFILEIO_H

#include <zoactor/actor/ZoReadReport.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/serialization/ZoFileStream.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>
#include <memory>

namespace zoactorfileio {

// A file opened for reading, whose bytes are parsed from memory when it is
// a regular file within ZoReadLimits::MaxAllocation(), and through the file
// stream otherwise (a pipe a hook supplied, say). The bytes go to a buffer
// each thread keeps for its next file (fresh memory costs a page fault per
// page), as long as it is at most kKeptBuffer bytes and no other image of
// the thread holds it (a hook may read a file while one is parsed); else
// the image gets a buffer of its own, freed with it.
class FileImage {
 public:
  FileImage() = default;
  FileImage(FileImage const&) = delete;
  FileImage& operator=(FileImage const&) = delete;
  // Hands the thread's kept buffer back.
  ~FileImage();

  // Opens and loads `fileName`; false, with `report` (when given) saying
  // why, when it cannot be opened or read.
  bool Load(ZoString const& fileName, ZoReadReport* report);
  // The stream to parse, positioned at the file's first byte.
  ZoStream& Stream() { return memory != nullptr ? static_cast<ZoStream&>(*memory) : *file; }

  // The largest buffer a thread keeps between files.
  static constexpr size_t kKeptBuffer = 32u << 20;

 private:
  // `size` bytes of memory for the file: the thread's kept buffer, or one
  // of the image's own; null when none could be had.
  char* Room(size_t size);

  std::unique_ptr<ZoFileStream> file;
  std::unique_ptr<char[]> bytes;
  std::unique_ptr<ZoMemoryStream> memory;
  bool holdsKept = false;
};

// Writes `length` bytes as the whole content of `fileName`: into the file
// the engine's open-file hook supplies when it answers, otherwise into a
// temporary file beside it that is synced and renamed over it. True on
// success; on failure the old file is untouched and no temporary file stays.
bool WriteWholeFile(ZoString const& fileName, char const* bytes, int32_t length);

// The bytes a growable memory stream holds, handed over to the caller.
struct WrittenBytes {
  std::unique_ptr<char, void (*)(void*)> data{nullptr, [](void* p) { ::operator delete(p); }};
  int32_t length = 0;
};
WrittenBytes TakeBytes(ZoMemoryStream& stream);

}  // namespace zoactorfileio

#endif
