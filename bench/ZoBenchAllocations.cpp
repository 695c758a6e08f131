#include "ZoBenchAllocations.h"

#include <cstdlib>
#include <new>

namespace {

uint64_t gAllocations = 0;

void* Counted(size_t size) noexcept {
  ++gAllocations;
  return std::malloc(size != 0 ? size : 1);
}

void* CountedOrThrow(size_t size) {
  void* p = Counted(size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

}  // namespace

uint64_t zobench::Allocations() { return gAllocations; }

void* operator new(size_t size) { return CountedOrThrow(size); }
void* operator new[](size_t size) { return CountedOrThrow(size); }
void* operator new(size_t size, std::nothrow_t const&) noexcept { return Counted(size); }
void* operator new[](size_t size, std::nothrow_t const&) noexcept { return Counted(size); }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpragmas"
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop
