#include "rivet/buffer_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "rivet/heap.h"
#include "rivet/memory_manager.h"

namespace {

TEST(BufferPool, ReleasedBlockIsReused) {
  rivet::BufferPool pool(256, 4);
  const RivetHeapStats before = rivet_heap_stats();
  void* first = pool.acquire();
  pool.release(first);
  void* second = pool.acquire();
  const RivetHeapStats after = rivet_heap_stats();

  EXPECT_EQ(second, first);
  EXPECT_EQ(after.allocations - before.allocations, 1u);
  EXPECT_EQ(after.frees, before.frees);
  pool.release(second);
}

TEST(BufferPool, KeepsAtMostTheCapAndFreesTheRest) {
  rivet::BufferPool pool(64, 2);
  void* blocks[3] = {pool.acquire(), pool.acquire(), pool.acquire()};
  const RivetHeapStats before = rivet_heap_stats();
  for (void* block : blocks) pool.release(block);

  EXPECT_EQ(pool.cachedBlocks(), 2u);
  EXPECT_EQ(rivet_heap_stats().frees - before.frees, 1u);
}

TEST(BufferPool, MemoryPressureTrimsCachedBlocks) {
  rivet::BufferPool pool(1024, 8);
  std::vector<void*> blocks;
  for (int i = 0; i < 4; ++i) blocks.push_back(pool.acquire());
  for (void* block : blocks) pool.release(block);
  const RivetHeapStats before = rivet_heap_stats();

  EXPECT_EQ(pool.trim(1500), 2048u);  // whole blocks, stopping once enough
  EXPECT_EQ(pool.cachedBlocks(), 2u);
  EXPECT_GE(rivet::release_memory(), 2048u);
  EXPECT_EQ(pool.cachedBlocks(), 0u);
  EXPECT_EQ(before.bytes_in_use - rivet_heap_stats().bytes_in_use, 4096u);
}

TEST(BufferPool, DestructorUnregistersAndFreesCachedBlocks) {
  const std::size_t callbacks = rivet::memory_callback_count();
  const RivetHeapStats before = rivet_heap_stats();
  void* kept = nullptr;
  {
    rivet::BufferPool pool(128, 4);
    EXPECT_EQ(rivet::memory_callback_count(), callbacks + 1);
    pool.release(pool.acquire());
    kept = pool.acquire();
    pool.release(pool.acquire());
  }
  EXPECT_EQ(rivet::memory_callback_count(), callbacks);
  EXPECT_EQ(rivet_heap_stats().bytes_in_use - before.bytes_in_use, 128u);
  rivet_free(kept);  // a block still held outlives its pool
  EXPECT_EQ(rivet_heap_stats().bytes_in_use, before.bytes_in_use);
}

TEST(BufferPool, TinyBlocksStillHoldTheFreeList) {
  rivet::BufferPool pool(1, 4);
  EXPECT_GE(pool.blockSize(), sizeof(void*));
  void* a = pool.acquire();
  void* b = pool.acquire();
  pool.release(a);
  pool.release(b);
  EXPECT_EQ(pool.acquire(), b);
  EXPECT_EQ(pool.acquire(), a);
  pool.release(a);
  pool.release(b);
}

// Each thread stamps the whole block with its id and checks the stamp before
// giving it back: a block handed to two threads at once shows up.
TEST(BufferPool, SharedByThreadsUnderMemoryPressure) {
  constexpr std::size_t kBlock = 512;
  rivet::BufferPool pool(kBlock, 8);
  std::atomic<int> corrupted{0};
  std::atomic<bool> stop{false};
  std::thread trimmer([&] {
    while (!stop) rivet::release_memory();
  });
  std::vector<std::thread> workers;
  for (int t = 0; t < 4; ++t) {
    workers.emplace_back([&pool, &corrupted, t] {
      std::vector<unsigned char> expected(kBlock, static_cast<unsigned char>(t + 1));
      for (int n = 0; n < 5000; ++n) {
        void* block = pool.acquire();
        std::memset(block, t + 1, kBlock);
        std::this_thread::yield();
        if (std::memcmp(block, expected.data(), kBlock) != 0) ++corrupted;
        pool.release(block);
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  stop = true;
  trimmer.join();
  EXPECT_EQ(corrupted, 0);
  EXPECT_LE(pool.cachedBlocks(), 8u);
}

}  // namespace
