// Reading and writing helpers shared by the actor readers (private to the
// library): the stream transfers, and rotations normalised as they are read.
#ifndef ZOACTOR_SRC_SKELETON_ZOSKELETONIO_H
#define ZOACTOR_SRC_SKELETON_ZOSKELETONIO_H

#include <zoactor/foundation/ZoRotation3.h>
#include "serialization/ZoStreamIo.h"

#include <cmath>

namespace zoactorio {

using zostreamio::ReadBlock;
using zostreamio::ReadValue;
using zostreamio::WriteBlock;
using zostreamio::WriteValue;

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
