#include <zoactor/serialization/ZoReadLimits.h>

#include <atomic>

namespace {

std::atomic<uint64_t> gMaxAllocation{ZoReadLimits::kDefaultMaxAllocation};
std::atomic<int32_t> gMaxDepth{ZoReadLimits::kDefaultMaxDepth};

}  // namespace

uint64_t ZoReadLimits::MaxAllocation() { return gMaxAllocation.load(std::memory_order_relaxed); }
void ZoReadLimits::SetMaxAllocation(uint64_t bytes) { gMaxAllocation.store(bytes, std::memory_order_relaxed); }
int32_t ZoReadLimits::MaxDepth() { return gMaxDepth.load(std::memory_order_relaxed); }
void ZoReadLimits::SetMaxDepth(int32_t levels) { gMaxDepth.store(levels < 0 ? 0 : levels, std::memory_order_relaxed); }

void ZoReadLimits::Reset() {
  SetMaxAllocation(kDefaultMaxAllocation);
  SetMaxDepth(kDefaultMaxDepth);
}
