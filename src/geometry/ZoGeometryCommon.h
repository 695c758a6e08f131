// Helpers shared by the geometry sources: bulk blocks on streams and small
// vector operations that the queries use in their inner loops.
#ifndef ZOACTOR_SRC_GEOMETRY_ZOGEOMETRYCOMMON_H
#define ZOACTOR_SRC_GEOMETRY_ZOGEOMETRYCOMMON_H

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include "serialization/ZoStreamIo.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

namespace zogeometry {

// The largest float, the start value of every minimum search.
constexpr float kLargest = 3.4028235e38f;

using zostreamio::ReadBlock;
using zostreamio::WriteBlock;

// The rotation matrix of a unit quaternion, row-major: m[i][k] is row i.
struct Matrix3x3 {
  float m[3][3];
};

inline Matrix3x3 MatrixOf(ZoRotation3 const& q) {
  float xx = q.x * q.x, yy = q.y * q.y, zz = q.z * q.z;
  float xy = q.x * q.y, xz = q.x * q.z, yz = q.y * q.z;
  float wx = q.w * q.x, wy = q.w * q.y, wz = q.w * q.z;
  return {{{1.0f - 2.0f * (yy + zz), 2.0f * (xy - wz), 2.0f * (xz + wy)},
           {2.0f * (xy + wz), 1.0f - 2.0f * (xx + zz), 2.0f * (yz - wx)},
           {2.0f * (xz - wy), 2.0f * (yz + wx), 1.0f - 2.0f * (xx + yy)}}};
}

// Exactly the identity transform, compared bit for bit: a few wide
// compares instead of seven float ones (a negative zero simply counts as
// not the identity).
inline bool IsIdentity(ZoTransform3 const& t) {
  static ZoTransform3 const identity;
  return std::memcmp(&t, &identity, sizeof t) == 0;
}

// An array of n elements whose bytes are left as the allocator gave them,
// for a reader that overwrites every element before anything reads one
// (filling fresh memory twice costs as much as the read itself). Freed with
// delete[] like any array of T; null for n <= 0 or without memory.
template <class T>
T* NewArrayForOverwrite(int64_t n) {
  static_assert(std::is_trivially_copyable<T>::value && std::is_trivially_destructible<T>::value,
                "only plain elements may start unwritten");
  if (n <= 0 || static_cast<uint64_t>(n) > std::numeric_limits<size_t>::max() / sizeof(T)) return nullptr;
  return static_cast<T*>(::operator new[](static_cast<size_t>(n) * sizeof(T), std::nothrow));
}

// |v| without a branch (std::fabs becomes a single mask instruction).
inline float Absolute(float v) { return std::fabs(v); }

}  // namespace zogeometry

#endif
