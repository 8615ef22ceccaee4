#include "rivet/heap.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "rivet/memory_manager.h"

namespace {

static_assert(kRivetHeapHeaderSize >= sizeof(std::size_t));
static_assert(kRivetHeapHeaderSize % alignof(std::max_align_t) == 0,
              "the header must keep the user block aligned like malloc's");

// Constant-initialized, so allocations made during static initialization
// (e.g. through a replaced operator new) already count.
std::atomic<std::uint64_t> g_allocations{0};
std::atomic<std::uint64_t> g_frees{0};
std::atomic<std::uint64_t> g_reallocations{0};
std::atomic<std::uint64_t> g_failures{0};
std::atomic<std::uint64_t> g_bytes_in_use{0};

constexpr std::size_t kMaxRequest = SIZE_MAX - kRivetHeapHeaderSize;

unsigned char* block_base(void* block) {
  return static_cast<unsigned char*>(block) - kRivetHeapHeaderSize;
}

std::size_t stored_size(const unsigned char* base) {
  std::size_t size;
  std::memcpy(&size, base, sizeof size);
  return size;
}

void* stamp(unsigned char* base, std::size_t size) {
  std::memcpy(base, &size, sizeof size);
  return base + kRivetHeapHeaderSize;
}

void* count_failure() {
  g_failures.fetch_add(1, std::memory_order_relaxed);
  return nullptr;
}

}  // namespace

void* rivet_malloc(std::size_t size) noexcept {
  if (size > kMaxRequest) {
    rivet::release_memory(rivet::kReleaseAll);
    return count_failure();
  }
  auto* base = static_cast<unsigned char*>(std::malloc(size + kRivetHeapHeaderSize));
  if (base == nullptr) {
    rivet::release_memory(rivet::kReleaseAll);
    base = static_cast<unsigned char*>(std::malloc(size + kRivetHeapHeaderSize));
    if (base == nullptr) return count_failure();
  }
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  g_bytes_in_use.fetch_add(size, std::memory_order_relaxed);
  return stamp(base, size);
}

void* rivet_realloc(void* block, std::size_t size) noexcept {
  if (block == nullptr) return rivet_malloc(size);
  if (size > kMaxRequest) {
    rivet::release_memory(rivet::kReleaseAll);
    return count_failure();
  }
  unsigned char* old_base = block_base(block);
  const std::size_t old_size = stored_size(old_base);
  auto* base = static_cast<unsigned char*>(std::realloc(old_base, size + kRivetHeapHeaderSize));
  if (base == nullptr) {
    rivet::release_memory(rivet::kReleaseAll);
    base = static_cast<unsigned char*>(std::realloc(old_base, size + kRivetHeapHeaderSize));
    if (base == nullptr) return count_failure();
  }
  g_reallocations.fetch_add(1, std::memory_order_relaxed);
  // Unsigned wrap-around makes one add cover both growing and shrinking.
  g_bytes_in_use.fetch_add(static_cast<std::uint64_t>(size) - old_size, std::memory_order_relaxed);
  return stamp(base, size);
}

void rivet_free(void* block) noexcept {
  if (block == nullptr) return;
  unsigned char* base = block_base(block);
  g_frees.fetch_add(1, std::memory_order_relaxed);
  g_bytes_in_use.fetch_sub(stored_size(base), std::memory_order_relaxed);
  std::free(base);
}

RivetHeapStats rivet_heap_stats() noexcept {
  return RivetHeapStats{
      g_allocations.load(std::memory_order_relaxed), g_frees.load(std::memory_order_relaxed),
      g_reallocations.load(std::memory_order_relaxed), g_failures.load(std::memory_order_relaxed),
      g_bytes_in_use.load(std::memory_order_relaxed)};
}
