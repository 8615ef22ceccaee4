#include "rivet/buffer_pool.h"

#include <algorithm>
#include <new>

#include "rivet/heap.h"

namespace rivet {

// Cached blocks hold the free-list link in their own first bytes, so a block
// is never smaller than the link.
BufferPool::BufferPool(std::size_t block_size, std::size_t max_cached_blocks)
    : block_size_(std::max(block_size, sizeof(FreeBlock))), max_cached_(max_cached_blocks) {
  handle_ = register_memory_callback(&BufferPool::releaseCallback, this);
}

BufferPool::~BufferPool() {
  unregister_memory_callback(handle_);
  trim(kReleaseAll);
}

void* BufferPool::acquire() {
  {
    std::lock_guard lock(mutex_);
    if (FreeBlock* block = free_list_) {
      free_list_ = block->next;
      --cached_;
      return block;
    }
  }
  // Allocate unlocked: a failing rivet_malloc calls release_memory, which
  // calls this pool's trim.
  void* block = rivet_malloc(block_size_);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void BufferPool::release(void* block) noexcept {
  if (block == nullptr) return;
  {
    std::lock_guard lock(mutex_);
    if (cached_ < max_cached_) {
      free_list_ = ::new (block) FreeBlock{free_list_};
      ++cached_;
      return;
    }
  }
  rivet_free(block);
}

std::size_t BufferPool::trim(std::size_t bytes_wanted) noexcept {
  // Detach the blocks under the lock, free them after it.
  FreeBlock* detached = nullptr;
  std::size_t freed = 0;
  {
    std::lock_guard lock(mutex_);
    while (free_list_ != nullptr && freed < bytes_wanted) {
      FreeBlock* block = free_list_;
      free_list_ = block->next;
      block->next = detached;
      detached = block;
      --cached_;
      freed += block_size_;
    }
  }
  while (detached != nullptr) {
    FreeBlock* next = detached->next;
    rivet_free(detached);
    detached = next;
  }
  return freed;
}

std::size_t BufferPool::cachedBlocks() const noexcept {
  std::lock_guard lock(mutex_);
  return cached_;
}

std::size_t BufferPool::releaseCallback(void* pool, std::size_t bytes_wanted) {
  return static_cast<BufferPool*>(pool)->trim(bytes_wanted);
}

}  // namespace rivet
