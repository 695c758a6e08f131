// Counts heap allocations in a benchmark program: ZoBenchAllocations.cpp
// replaces the global operators new and delete of every program that links it.
#ifndef ZOACTOR_BENCH_ZOBENCHALLOCATIONS_H
#define ZOACTOR_BENCH_ZOBENCHALLOCATIONS_H

#include <cstdint>

namespace zobench {

// Allocations made through operator new (any form) since the program started.
uint64_t Allocations();

}  // namespace zobench

#endif
