// Counting heap allocations in the tests built with rivet_new.
#ifndef CORE_TESTS_ALLOC_ALLOCATIONS_H_
#define CORE_TESTS_ALLOC_ALLOCATIONS_H_

#include <cstdint>

#include "rivet/heap.h"

namespace core::testing {

// The number of heap allocations `body` makes, new and rivet_malloc alike.
template <class Body>
uint64_t allocations_of(Body body) {
  const uint64_t before = rivet_heap_stats().allocations;
  body();
  return rivet_heap_stats().allocations - before;
}

}  // namespace core::testing

#endif  // CORE_TESTS_ALLOC_ALLOCATIONS_H_
