// BufferPool: a cache of fixed-size blocks taken from the rivet heap, for
// code that repeatedly needs buffers of one size.
//
//   rivet::BufferPool pool(4096, 16);  // 4 KiB blocks, keep at most 16 spare
//   void* buffer = pool.acquire();
//   pool.release(buffer);              // kept for the next acquire()
//
// The pool registers itself with the memory manager
// (rivet/memory_manager.h), so rivet::release_memory() and failing
// allocations free its cached blocks.
//
// Thread-safety: one pool may be shared by any number of threads; acquire,
// release, trim and the observers lock a short internal mutex, never while
// allocating or freeing.
#ifndef RIVET_BUFFER_POOL_H_
#define RIVET_BUFFER_POOL_H_

#include <cstddef>
#include <mutex>

#include "rivet/export.h"
#include "rivet/memory_manager.h"

namespace rivet {

class RIVET_EXPORT BufferPool {
 public:
  // Blocks of `block_size` bytes, raised to sizeof(void*) if smaller, aligned
  // as rivet_malloc's. At most `max_cached_blocks` released blocks are kept
  // for reuse; further releases go back to the heap.
  // Throws std::bad_alloc if the memory manager cannot register the pool.
  BufferPool(std::size_t block_size, std::size_t max_cached_blocks);

  // Unregisters from the memory manager (waiting for a trim running on
  // another thread) and frees the cached blocks. Blocks still acquired stay
  // valid and must then be freed with rivet_free.
  ~BufferPool();

  BufferPool(const BufferPool&) = delete;
  BufferPool& operator=(const BufferPool&) = delete;

  // Returns a block of blockSize() bytes: a cached one if any, else a new one
  // from rivet_malloc. Its contents are unspecified.
  // Throws std::bad_alloc if rivet_malloc fails (after its memory-manager
  // retry, which may trim this pool too).
  void* acquire();

  // Gives back a block. Null is ignored.
  // REQUIRES: `block` came from acquire() on this pool and was not released.
  void release(void* block) noexcept;

  // Frees cached blocks until at least `bytes_wanted` bytes (counted as
  // blockSize() per block) are freed or none is left; returns the bytes freed.
  std::size_t trim(std::size_t bytes_wanted = kReleaseAll) noexcept;

  // The usable size of every block: max(block_size, sizeof(void*)).
  std::size_t blockSize() const noexcept { return block_size_; }
  std::size_t maxCachedBlocks() const noexcept { return max_cached_; }
  // The number of released blocks kept for reuse right now.
  std::size_t cachedBlocks() const noexcept;

 private:
  struct FreeBlock {
    FreeBlock* next;
  };

  static std::size_t releaseCallback(void* pool, std::size_t bytes_wanted);

  const std::size_t block_size_;
  const std::size_t max_cached_;
  mutable std::mutex mutex_;
  FreeBlock* free_list_ = nullptr;  // guarded by mutex_
  std::size_t cached_ = 0;          // guarded by mutex_
  MemoryCallbackHandle handle_ = MemoryCallbackHandle::kInvalid;
};

}  // namespace rivet

#endif  // RIVET_BUFFER_POOL_H_
