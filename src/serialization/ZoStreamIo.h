// Block and value transfers shared by the readers and writers of every
// subsystem above serialization (private to the library). Each does nothing
// once the stream's status is an error, and returns the status.
#ifndef ZOACTOR_SRC_SERIALIZATION_ZOSTREAMIO_H
#define ZOACTOR_SRC_SERIALIZATION_ZOSTREAMIO_H

#include <zoactor/serialization/ZoStream.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zostreamio {

// Fails a read that could not get memory for what it read.
inline ZoStreamError OutOfMemory(ZoStream& stream, ZoStreamError error = ZoStreamReadError) {
  return stream.Fail(error, "out of memory");
}

// Reads the raw image of `target` (a plain struct such as ZoVector3) as one
// block and stores it only when the whole block arrived, so a failed read
// leaves `target` unchanged whatever the stream delivered.
template <class T>
ZoStreamError ReadBlock(ZoStream& stream, T& target) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are read as blocks");
  if (stream.Status() != ZoStreamOk) return stream.Status();
  unsigned char scratch[sizeof(T)];
  if (stream.ReadBytes(sizeof(T), scratch) == ZoStreamOk) std::memcpy(static_cast<void*>(&target), scratch, sizeof(T));
  return stream.Status();
}

// Writes the raw image of `source` as one block.
template <class T>
ZoStreamError WriteBlock(ZoStream& stream, T const& source) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are written as blocks");
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return stream.WriteBytes(sizeof(T), &source);
}

// Reads `bytes` bytes into `data` in pieces the stream's 32-bit counts hold;
// stops at the first error.
inline ZoStreamError ReadBlock(ZoStream& stream, void* data, int64_t bytes) {
  auto* p = static_cast<char*>(data);
  while (bytes > 0 && stream.Status() == ZoStreamOk) {
    uint32_t piece = bytes > (int64_t{1} << 30) ? (1u << 30) : static_cast<uint32_t>(bytes);
    stream.ReadBytes(piece, p);
    p += piece;
    bytes -= piece;
  }
  return stream.Status();
}

// Writes `bytes` bytes from `data` in pieces the stream's 32-bit counts hold.
inline ZoStreamError WriteBlock(ZoStream& stream, void const* data, int64_t bytes) {
  auto const* p = static_cast<char const*>(data);
  while (bytes > 0 && stream.Status() == ZoStreamOk) {
    uint32_t piece = bytes > (int64_t{1} << 30) ? (1u << 30) : static_cast<uint32_t>(bytes);
    stream.WriteBytes(piece, p);
    p += piece;
    bytes -= piece;
  }
  return stream.Status();
}

// Reads one primitive.
template <class T>
ZoStreamError ReadValue(ZoStream& stream, T& target) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return (stream >> target).Status();
}

// Writes one primitive.
template <class T>
ZoStreamError WriteValue(ZoStream& stream, T value) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return (stream << value).Status();
}

}  // namespace zostreamio

#endif
