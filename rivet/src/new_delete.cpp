// The global operator new and operator delete of every form, replaced so that
// all allocations of an executable that links rivet_new (and of the shared
// libraries it loads, by symbol interposition) go through rivet_malloc and
// rivet_free and show in rivet_heap_stats().
//
// Aligned forms over-allocate by the alignment through rivet_malloc and store
// the distance back to the rivet block just before the aligned pointer. Their
// padding therefore shows in bytes_in_use while the object lives, and a new /
// delete pair returns every counter to a balanced state.
//
// Failure: rivet_malloc has already asked the memory manager and retried;
// then, as the standard requires, the installed std::new_handler is called
// until it succeeds or none is installed, and std::bad_alloc is thrown. The
// nothrow forms return null instead.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "rivet/heap.h"

// Replacements must be visible to the dynamic linker even when the library
// is built with hidden visibility, or shared libraries would keep the
// default operator new.
#if defined(_WIN32)
#define RIVET_REPLACEMENT
#else
#define RIVET_REPLACEMENT __attribute__((visibility("default")))
#endif

namespace {

void* allocate(std::size_t size) {
  for (;;) {
    if (void* block = rivet_malloc(size)) return block;
    std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

void* allocate_nothrow(std::size_t size) noexcept {
  try {
    return allocate(size);
  } catch (...) {
    return nullptr;
  }
}

void* allocate_aligned(std::size_t size, std::align_val_t alignment) {
  std::size_t align = static_cast<std::size_t>(alignment);
  if (align < kRivetHeapAlignment) align = kRivetHeapAlignment;
  // An impossible size still goes through rivet (callbacks, new handler).
  const std::size_t padded = size > SIZE_MAX - align ? SIZE_MAX : size + align;
  auto* raw = static_cast<unsigned char*>(allocate(padded));
  // raw is kRivetHeapAlignment-aligned and align is a multiple of it, so the
  // gap is at least kRivetHeapAlignment >= sizeof(std::size_t) and at most align.
  const auto address = reinterpret_cast<std::uintptr_t>(raw);
  const std::size_t offset = ((address + align) & ~(std::uintptr_t{align} - 1)) - address;
  unsigned char* aligned = raw + offset;
  std::memcpy(aligned - sizeof offset, &offset, sizeof offset);
  return aligned;
}

void* allocate_aligned_nothrow(std::size_t size, std::align_val_t alignment) noexcept {
  try {
    return allocate_aligned(size, alignment);
  } catch (...) {
    return nullptr;
  }
}

void free_aligned(void* block) noexcept {
  if (block == nullptr) return;
  auto* aligned = static_cast<unsigned char*>(block);
  std::size_t offset;
  std::memcpy(&offset, aligned - sizeof offset, sizeof offset);
  rivet_free(aligned - offset);
}

}  // namespace

RIVET_REPLACEMENT void* operator new(std::size_t size) { return allocate(size); }
RIVET_REPLACEMENT void* operator new[](std::size_t size) { return allocate(size); }
RIVET_REPLACEMENT void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_nothrow(size);
}
RIVET_REPLACEMENT void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate_nothrow(size);
}
RIVET_REPLACEMENT void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocate_aligned(size, alignment);
}
RIVET_REPLACEMENT void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocate_aligned(size, alignment);
}
RIVET_REPLACEMENT void* operator new(std::size_t size, std::align_val_t alignment,
                                     const std::nothrow_t&) noexcept {
  return allocate_aligned_nothrow(size, alignment);
}
RIVET_REPLACEMENT void* operator new[](std::size_t size, std::align_val_t alignment,
                                       const std::nothrow_t&) noexcept {
  return allocate_aligned_nothrow(size, alignment);
}

RIVET_REPLACEMENT void operator delete(void* block) noexcept { rivet_free(block); }
RIVET_REPLACEMENT void operator delete[](void* block) noexcept { rivet_free(block); }
RIVET_REPLACEMENT void operator delete(void* block, const std::nothrow_t&) noexcept {
  rivet_free(block);
}
RIVET_REPLACEMENT void operator delete[](void* block, const std::nothrow_t&) noexcept {
  rivet_free(block);
}
RIVET_REPLACEMENT void operator delete(void* block, std::size_t) noexcept { rivet_free(block); }
RIVET_REPLACEMENT void operator delete[](void* block, std::size_t) noexcept { rivet_free(block); }
RIVET_REPLACEMENT void operator delete(void* block, std::align_val_t) noexcept {
  free_aligned(block);
}
RIVET_REPLACEMENT void operator delete[](void* block, std::align_val_t) noexcept {
  free_aligned(block);
}
RIVET_REPLACEMENT void operator delete(void* block, std::align_val_t,
                                       const std::nothrow_t&) noexcept {
  free_aligned(block);
}
RIVET_REPLACEMENT void operator delete[](void* block, std::align_val_t,
                                         const std::nothrow_t&) noexcept {
  free_aligned(block);
}
RIVET_REPLACEMENT void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
  free_aligned(block);
}
RIVET_REPLACEMENT void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
  free_aligned(block);
}
