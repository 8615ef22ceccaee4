#include "rivet/heap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "rivet/memory_manager.h"

#if defined(__linux__)
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define RIVET_TEST_ASAN 1
#elif defined(__SANITIZE_THREAD__)
#define RIVET_TEST_TSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIVET_TEST_ASAN 1
#elif __has_feature(thread_sanitizer)
#define RIVET_TEST_TSAN 1
#endif
#endif

// The failure tests need malloc to return null instead of the sanitizer
// aborting.
#if defined(RIVET_TEST_ASAN)
extern "C" __attribute__((visibility("default"), used)) const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
#elif defined(RIVET_TEST_TSAN)
extern "C" __attribute__((visibility("default"), used)) const char* __tsan_default_options() {
  return "allocator_may_return_null=1";
}
#endif

namespace {

// Volatile so that the compiler neither folds nor warns about the size.
volatile std::size_t g_impossible = SIZE_MAX / 2;

struct Probe {
  int calls = 0;
  std::size_t wanted = 0;
};

std::size_t probe(void* context, std::size_t bytes_wanted) {
  auto* p = static_cast<Probe*>(context);
  ++p->calls;
  p->wanted = bytes_wanted;
  return 0;
}

TEST(Heap, MallocAndFreeMoveTheCounters) {
  const RivetHeapStats before = rivet_heap_stats();
  void* block = rivet_malloc(100);
  const RivetHeapStats during = rivet_heap_stats();
  rivet_free(block);
  rivet_free(nullptr);
  const RivetHeapStats after = rivet_heap_stats();

  ASSERT_NE(block, nullptr);
  EXPECT_EQ(during.allocations - before.allocations, 1u);
  EXPECT_EQ(during.bytes_in_use - before.bytes_in_use, 100u);
  EXPECT_EQ(after.frees - before.frees, 1u);
  EXPECT_EQ(after.bytes_in_use, before.bytes_in_use);
}

TEST(Heap, BlocksAreAlignedAndZeroSizeBlocksAreDistinct) {
  void* a = rivet_malloc(0);
  void* b = rivet_malloc(0);
  void* c = rivet_malloc(1);
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);
  for (void* block : {a, b, c}) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % kRivetHeapAlignment, 0u);
    rivet_free(block);
  }
}

TEST(Heap, ReallocKeepsContentsAndTracksTheNewSize) {
  auto* block = static_cast<unsigned char*>(rivet_malloc(16));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 16; ++i) block[i] = static_cast<unsigned char>(i + 1);
  const RivetHeapStats before = rivet_heap_stats();

  block = static_cast<unsigned char*>(rivet_realloc(block, 1 << 20));
  ASSERT_NE(block, nullptr);
  const RivetHeapStats grown = rivet_heap_stats();
  for (int i = 0; i < 16; ++i) EXPECT_EQ(block[i], i + 1) << i;
  EXPECT_EQ(grown.reallocations - before.reallocations, 1u);
  EXPECT_EQ(grown.allocations, before.allocations);
  EXPECT_EQ(grown.bytes_in_use - before.bytes_in_use, (1u << 20) - 16);

  block = static_cast<unsigned char*>(rivet_realloc(block, 8));
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(block[i], i + 1) << i;
  EXPECT_EQ(before.bytes_in_use - rivet_heap_stats().bytes_in_use, 8u);
  rivet_free(block);

  const std::uint64_t allocations = rivet_heap_stats().allocations;
  rivet_free(rivet_realloc(nullptr, 24));
  EXPECT_EQ(rivet_heap_stats().allocations - allocations, 1u);
}

TEST(Heap, FailureAsksTheMemoryManagerOnceThenReturnsNull) {
  auto* block = static_cast<char*>(rivet_malloc(6));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "rivet", 6);
  Probe p;
  const auto handle = rivet::register_memory_callback(&probe, &p);
  const RivetHeapStats before = rivet_heap_stats();
  void* fresh = rivet_malloc(g_impossible);
  const int calls_after_malloc = p.calls;
  void* moved = rivet_realloc(block, g_impossible);
  const RivetHeapStats after = rivet_heap_stats();
  rivet::unregister_memory_callback(handle);

  EXPECT_EQ(fresh, nullptr);
  EXPECT_EQ(moved, nullptr);
  EXPECT_EQ(calls_after_malloc, 1);
  EXPECT_EQ(p.calls, 2);
  EXPECT_EQ(p.wanted, rivet::kReleaseAll);
  EXPECT_STREQ(block, "rivet");  // a failed realloc leaves the block alone
  EXPECT_EQ(after.failed_allocations - before.failed_allocations, 2u);
  EXPECT_EQ(after.allocations, before.allocations);
  EXPECT_EQ(after.reallocations, before.reallocations);
  EXPECT_EQ(after.bytes_in_use, before.bytes_in_use);
  rivet_free(block);
}

// Not under ASan: its allocator keeps freed memory in quarantine.
#if defined(__linux__) && !defined(RIVET_TEST_ASAN)
// Under an address-space limit, the first attempt fails, the callback frees
// a reserve, and the retry must succeed. Run in a child process so the limit
// stays there.
constexpr std::size_t kBig = std::size_t{64} << 20;
void* g_reserve = nullptr;

std::size_t free_reserve(void*, std::size_t) {
  if (g_reserve == nullptr) return 0;
  rivet_free(g_reserve);
  g_reserve = nullptr;
  return kBig;
}

[[noreturn]] void allocate_under_limit() {
  g_reserve = rivet_malloc(kBig);
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t limit = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + kBig / 2;
  rlimit old{};
  getrlimit(RLIMIT_AS, &old);
  const rlimit capped{limit, old.rlim_max};
  if (g_reserve == nullptr || pages == 0 || setrlimit(RLIMIT_AS, &capped) != 0) _exit(2);
  if (rivet_malloc(kBig) != nullptr) _exit(3);  // the limit does not bite
  rivet::register_memory_callback(&free_reserve, nullptr);
  void* block = rivet_malloc(kBig);
  _exit(block != nullptr && g_reserve == nullptr ? 0 : 1);
}

TEST(HeapDeathTest, RetrySucceedsAfterCallbacksReleaseMemory) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(allocate_under_limit(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
