// Reading and writing helpers shared by the actor readers (private to the
// library).
#ifndef ZOACTOR_SRC_ACTOR_ZOACTORIO_H
#define ZOACTOR_SRC_ACTOR_ZOACTORIO_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/serialization/ZoStream.h>

#include <cmath>
#include <cstring>
#include <type_traits>

namespace zoactorio {

// Reads the raw image of `target` (a plain struct such as ZoVector3) as one
// block and stores it only when the whole block arrived. Returns the status.
template <class T>
ZoStreamError ReadBlock(ZoStream& stream, T& target) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are read as blocks");
  if (stream.Status() != ZoStreamOk) return stream.Status();
  unsigned char scratch[sizeof(T)];
  if (stream.ReadBytes(sizeof(T), scratch) == ZoStreamOk) std::memcpy(static_cast<void*>(&target), scratch, sizeof(T));
  return stream.Status();
}

// Writes the raw image of `source` as one block when the status is good.
template <class T>
ZoStreamError WriteBlock(ZoStream& stream, T const& source) {
  static_assert(std::is_trivially_copyable<T>::value, "only plain images are written as blocks");
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return stream.WriteBytes(sizeof(T), &source);
}

// Reads one primitive when the status is good; returns the status.
template <class T>
ZoStreamError ReadValue(ZoStream& stream, T& target) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return (stream >> target).Status();
}

// Writes one primitive when the status is good; returns the status.
template <class T>
ZoStreamError WriteValue(ZoStream& stream, T value) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  return (stream << value).Status();
}

// Scales `q` to unit length, in double precision. A rotation of length 0
// or of a length that is not finite becomes the identity; one whose squared
// length is within 1e-6 of 1 is left as it is, so that normalising twice
// gives the same bits as normalising once.
inline void NormalizeRotation(ZoRotation3& q) {
  double const w = static_cast<double>(q.w), x = static_cast<double>(q.x), y = static_cast<double>(q.y),
               z = static_cast<double>(q.z);
  double sum = w * w + x * x + y * y + z * z;
  if (!(sum > 0.0) || !std::isfinite(sum)) {
    q = ZoRotation3();
    return;
  }
  if (std::fabs(sum - 1.0) <= 1e-6) return;
  double inverse = 1.0 / std::sqrt(sum);
  q.w = static_cast<float>(w * inverse);
  q.x = static_cast<float>(x * inverse);
  q.y = static_cast<float>(y * inverse);
  q.z = static_cast<float>(z * inverse);
}

}  // namespace zoactorio

#endif
