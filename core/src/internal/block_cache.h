// Small heap blocks of one size, cached per thread, for the objects that are
// made and destroyed at the highest rate: the values of numbers, strings,
// dates and types.
//
//   void* block = detail::take_small_block();   // kSmallBlockSize bytes
//   detail::give_small_block(block);            // kept for the next take
//
// Each thread keeps at most kMaxCachedSmallBlocks released blocks (16 KiB);
// further releases, and releases during and after the thread's exit, go back
// to the rivet heap. A block may be released on another thread than the one
// that took it. Builds with AddressSanitizer cache nothing, so that a use
// after release is still caught.
//
// take_small_block() throws std::bad_alloc when the heap is exhausted.
// Thread safety: every thread works on its own cache.
#ifndef CORE_SRC_INTERNAL_BLOCK_CACHE_H_
#define CORE_SRC_INTERNAL_BLOCK_CACHE_H_

#include <cstddef>

namespace core::detail {

inline constexpr std::size_t kSmallBlockSize = 64;

#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t kMaxCachedSmallBlocks = 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr std::size_t kMaxCachedSmallBlocks = 0;
#else
inline constexpr std::size_t kMaxCachedSmallBlocks = 256;
#endif
#else
inline constexpr std::size_t kMaxCachedSmallBlocks = 256;
#endif

struct FreeSmallBlock {
  FreeSmallBlock* next;
};

enum class SmallBlockCacheState : unsigned char {
  kFresh,   // the thread has not yet cached a block
  kOpen,    // blocks are cached; the thread's exit frees them
  kClosed,  // the thread is exiting: blocks go back to the heap
};

// The calling thread's cache. Trivially destructible, so that it stays
// usable while the thread's other thread-local objects are destroyed.
struct SmallBlockCache {
  FreeSmallBlock* head;
  std::size_t count;
  SmallBlockCacheState state;
};

// Initial-exec: reached without a call to the TLS resolver, which would cost
// as much as the rest of taking a block.
extern constinit thread_local SmallBlockCache small_block_cache
    __attribute__((tls_model("initial-exec")));

// What the inline halves below leave to the heap.
void* take_small_block_from_heap();
void give_small_block_slowly(void* block) noexcept;

// A block of kSmallBlockSize bytes, aligned as rivet_malloc's.
inline void* take_small_block() {
  SmallBlockCache& cache = small_block_cache;
  if (FreeSmallBlock* block = cache.head) {
    cache.head = block->next;
    --cache.count;
    return block;
  }
  return take_small_block_from_heap();
}

// REQUIRES: `block` came from take_small_block() and is released once.
inline void give_small_block(void* block) noexcept {
  SmallBlockCache& cache = small_block_cache;
  if (cache.state != SmallBlockCacheState::kOpen || cache.count >= kMaxCachedSmallBlocks) {
    give_small_block_slowly(block);
    return;
  }
  auto* free_block = static_cast<FreeSmallBlock*>(block);
  free_block->next = cache.head;
  cache.head = free_block;
  ++cache.count;
}

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_BLOCK_CACHE_H_
