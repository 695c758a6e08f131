// Reading helpers shared by the value readers (private to the library).
#ifndef ZOACTOR_SRC_VALUES_ZOVALUEIO_H
#define ZOACTOR_SRC_VALUES_ZOVALUEIO_H

#include <zoactor/serialization/ZoStream.h>

#include <cstring>
#include <type_traits>

namespace zovalues {

// Reads the raw image of `target` (a plain struct such as ZoVector3) as one
// block and stores it only when the whole block arrived, so a failed read
// leaves `target` unchanged whatever the stream delivered.
template <class T>
ZoStreamError ReadBlock(ZoStream& stream, T& target) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are read as blocks");
  unsigned char scratch[sizeof(T)];
  if (stream.ReadBytes(sizeof(T), scratch) == ZoStreamOk) std::memcpy(static_cast<void*>(&target), scratch, sizeof(T));
  return stream.Status();
}

// Writes the raw image of `source` as one block.
template <class T>
ZoStreamError WriteBlock(ZoStream& stream, T const& source) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are written as blocks");
  return stream.WriteBytes(sizeof(T), &source);
}

}  // namespace zovalues

#endif
