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

#include "serialization/ZoDirectReadStream.h"

#include <cstdint>
#include <memory>

namespace zoactorfileio {

// A file opened for reading and the stream to parse it from. A regular file
// of at most kWholeImage bytes is read in one platform transfer into memory
// and parsed from there: into a buffer each thread keeps for its next file
// (fresh memory costs a page fault per page), as long as no other image of
// the thread holds it (a hook may read a file while one is parsed); else
// into a buffer of the image's own, freed with it. A larger regular file is
// parsed through a ZoDirectReadStream, which reads its large blocks straight
// into their arrays, so that its bytes are copied once. Anything else (a
// pipe a hook supplied, say) is parsed through the file stream. Files are
// read, never mapped: a file that another process truncates while it is
// parsed fails the read instead of raising a signal.
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
  ZoStream& Stream() {
    if (memory != nullptr) return *memory;
    if (direct != nullptr) return *direct;
    return *file;
  }

  // The largest file read whole into memory, and so the largest buffer a
  // thread keeps between files.
  static constexpr size_t kWholeImage = 1u << 20;

 private:
  // `size` bytes of memory for the file: the thread's kept buffer, or one
  // of the image's own; null when none could be had.
  char* Room(size_t size);

  std::unique_ptr<ZoFileStream> file;
  std::unique_ptr<char[]> bytes;
  std::unique_ptr<ZoMemoryStream> memory;
  std::unique_ptr<ZoDirectReadStream> direct;
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
