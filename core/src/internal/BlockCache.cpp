// Implements internal/block_cache.h: per-thread caches of small heap blocks.
#include <cstddef>
#include <new>

#include "internal/block_cache.h"
#include "rivet/heap.h"

namespace core::detail {

constinit thread_local SmallBlockCache small_block_cache
    __attribute__((tls_model("initial-exec"))){nullptr, 0, SmallBlockCacheState::kFresh};

namespace {

// Frees the thread's cached blocks when the thread exits.
struct CacheCloser {
  CacheCloser() = default;
  CacheCloser(const CacheCloser&) = delete;
  CacheCloser& operator=(const CacheCloser&) = delete;
  ~CacheCloser() {
    SmallBlockCache& cache = small_block_cache;
    cache.state = SmallBlockCacheState::kClosed;
    while (cache.head != nullptr) {
      FreeSmallBlock* block = cache.head;
      cache.head = block->next;
      rivet_free(block);
    }
    cache.count = 0;
  }
};

}  // namespace

void* take_small_block_from_heap() {
  void* block = rivet_malloc(kSmallBlockSize);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void give_small_block_slowly(void* block) noexcept {
  SmallBlockCache& cache = small_block_cache;
  if (cache.state == SmallBlockCacheState::kFresh && kMaxCachedSmallBlocks != 0) {
    // The first block the thread keeps: register the closer that frees the
    // cache at the thread's exit.
    thread_local CacheCloser closer;
    (void)closer;
    cache.state = SmallBlockCacheState::kOpen;
    give_small_block(block);
    return;
  }
  rivet_free(block);
}

}  // namespace core::detail
