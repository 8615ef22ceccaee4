// The rivet heap: the allocation functions every part of the platform uses,
// and counters that tell how they are used.
//
//   void* p = rivet_malloc(64);
//   p = rivet_realloc(p, 128);  // the first 64 bytes are kept
//   rivet_free(p);
//
// Every block carries a small header of kRivetHeapHeaderSize bytes in front
// of the pointer handed out, which records the requested size. That keeps
// bytes_in_use exact (requested bytes, not the allocator's rounded sizes) on
// every platform. Blocks must therefore be freed with rivet_free, never with
// free(), and resized with rivet_realloc, never with realloc().
//
// Thread-safety: every function may be called from any thread at any time,
// including during static initialization and destruction. The allocation
// path takes no lock: the counters are relaxed atomics.
#ifndef RIVET_HEAP_H_
#define RIVET_HEAP_H_

#include <cstddef>
#include <cstdint>

#include "rivet/export.h"

// Alignment of every block returned by rivet_malloc and rivet_realloc.
inline constexpr std::size_t kRivetHeapAlignment = alignof(std::max_align_t);

// Bytes of bookkeeping in front of every block (not counted in bytes_in_use).
inline constexpr std::size_t kRivetHeapHeaderSize = alignof(std::max_align_t);

// Allocates `size` bytes aligned to kRivetHeapAlignment. A size of 0 yields a
// unique non-null block.
//
// Fails by returning null. Before it does, it asks the memory manager
// (rivet/memory_manager.h) to release all the memory its callbacks can, and
// retries the allocation once. A size too large to add the header to fails
// the same way.
RIVET_EXPORT void* rivet_malloc(std::size_t size) noexcept;

// Resizes `block` to `size` bytes, moving it if needed; the first
// min(old size, size) bytes are kept. A null `block` behaves as
// rivet_malloc(size) and is counted as an allocation; a size of 0 keeps a
// valid empty block (it does not free).
//
// Fails by returning null after the same memory-manager retry as
// rivet_malloc; `block` is then left untouched and still owned by the caller.
// REQUIRES: `block` is null or was returned by rivet_malloc / rivet_realloc
// and not freed since.
RIVET_EXPORT void* rivet_realloc(void* block, std::size_t size) noexcept;

// Frees `block`. Null is ignored.
// REQUIRES: `block` is null or was returned by rivet_malloc / rivet_realloc
// and not freed since.
RIVET_EXPORT void rivet_free(void* block) noexcept;

// A snapshot of the heap counters since the process started. Each field is
// read separately with relaxed ordering, so while other threads allocate the
// fields need not agree with each other; a test that allocates on one thread
// sees its own changes exactly.
struct RivetHeapStats {
  std::uint64_t allocations;         // successful rivet_malloc (and realloc of null)
  std::uint64_t frees;               // rivet_free of a non-null block
  std::uint64_t reallocations;       // successful rivet_realloc of a non-null block
  std::uint64_t failed_allocations;  // calls that returned null
  std::uint64_t bytes_in_use;        // requested bytes of the blocks not yet freed
};

RIVET_EXPORT RivetHeapStats rivet_heap_stats() noexcept;

#endif  // RIVET_HEAP_H_
