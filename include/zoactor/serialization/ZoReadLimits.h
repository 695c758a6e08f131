// ZoReadLimits: the process-wide caps that bound what a reader of untrusted
// data may do, in the manner of libpng's user limits. A value at a cap is
// accepted and one past it is refused. The defaults suit actor and skill
// files of any realistic size; a host that reads data from less trusted
// sources, or on threads with small stacks, lowers them.
#ifndef ZOACTOR_SERIALIZATION_ZOREADLIMITS_H
#define ZOACTOR_SERIALIZATION_ZOREADLIMITS_H

#include <zoactor/ZoExport.h>

#include <cstdint>

class ZOACTOR_API ZoReadLimits {
 public:
  // Default for the largest single allocation a reader may make from a
  // count it read: 256 MiB.
  static constexpr uint64_t kDefaultMaxAllocation = 256ull * 1024 * 1024;
  // Default for the deepest nesting of framed objects and recursive bodies.
  static constexpr int32_t kDefaultMaxDepth = 256;

  static uint64_t MaxAllocation();
  static void SetMaxAllocation(uint64_t bytes);
  static int32_t MaxDepth();
  static void SetMaxDepth(int32_t levels);
  // Restores both defaults.
  static void Reset();
};

#endif
