// Linked with rivet_new: every operator new / delete of the process goes
// through the rivet heap.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <vector>

#include "rivet/heap.h"
#include "rivet/memory_manager.h"
#include "rivet/suspend_monitor.h"

#if !defined(__cpp_sized_deallocation)
// Clang before 19 does not declare the sized forms by default; rivet_new
// defines them all the same.
void operator delete(void* block, std::size_t) noexcept;
void operator delete(void* block, std::size_t, std::align_val_t) noexcept;
#endif

namespace {

// Makes the pointer escape so that the compiler cannot elide new / delete.
void escape(void* p) { asm volatile("" : : "g"(p) : "memory"); }

volatile std::size_t g_impossible = SIZE_MAX / 2;

struct Delta {
  std::uint64_t allocations, frees, bytes;
};

Delta delta(const RivetHeapStats& from, const RivetHeapStats& to) {
  return {to.allocations - from.allocations, to.frees - from.frees,
          to.bytes_in_use - from.bytes_in_use};
}

struct alignas(64) Wide {
  unsigned char bytes[64];
};

struct alignas(256) Wider {
  unsigned char bytes[8];
};

TEST(RivetNew, ScalarAndArrayFormsGoThroughRivet) {
  const RivetHeapStats before = rivet_heap_stats();
  auto* scalar = new std::uint64_t(7);
  auto* array = new char[100];
  escape(scalar);
  escape(array);
  const RivetHeapStats during = rivet_heap_stats();
  delete scalar;
  delete[] array;
  const RivetHeapStats after = rivet_heap_stats();

  const Delta up = delta(before, during);
  EXPECT_EQ(up.allocations, 2u);
  EXPECT_EQ(up.bytes, 108u);
  EXPECT_EQ(delta(before, after).frees, 2u);
  EXPECT_EQ(after.bytes_in_use, before.bytes_in_use);
}

TEST(RivetNew, NothrowAndSizedFormsGoThroughRivet) {
  const RivetHeapStats before = rivet_heap_stats();
  int* scalar = new (std::nothrow) int(1);
  int* array = new (std::nothrow) int[4];
  void* raw = ::operator new(40);
  escape(scalar);
  escape(array);
  const RivetHeapStats during = rivet_heap_stats();
  ::operator delete(scalar, std::nothrow);
  ::operator delete[](array, std::nothrow);
  ::operator delete(raw, 40);
  const RivetHeapStats after = rivet_heap_stats();

  EXPECT_EQ(delta(before, during).allocations, 3u);
  EXPECT_EQ(delta(before, during).bytes, sizeof(int) * 5 + 40);
  EXPECT_EQ(delta(before, after).frees, 3u);
  EXPECT_EQ(after.bytes_in_use, before.bytes_in_use);
}

TEST(RivetNew, AlignedFormsAreAlignedAndBalanced) {
  const RivetHeapStats before = rivet_heap_stats();
  auto* wide = new Wide;
  auto* wides = new Wide[3];
  auto* wider = new (std::nothrow) Wider;
  void* raw = ::operator new (10, std::align_val_t{128});
  escape(wide);
  escape(wides);
  escape(wider);
  const RivetHeapStats during = rivet_heap_stats();
  const std::uintptr_t addresses[] = {
      reinterpret_cast<std::uintptr_t>(wide) % 64, reinterpret_cast<std::uintptr_t>(wides) % 64,
      reinterpret_cast<std::uintptr_t>(wider) % 256, reinterpret_cast<std::uintptr_t>(raw) % 128};
  delete wide;
  delete[] wides;
  delete wider;
  ::operator delete (raw, 10, std::align_val_t{128});
  const RivetHeapStats after = rivet_heap_stats();

  for (std::uintptr_t misalignment : addresses) EXPECT_EQ(misalignment, 0u);
  EXPECT_EQ(delta(before, during).allocations, 4u);
  EXPECT_GE(delta(before, during).bytes, 64u * 4 + 8 + 10);
  EXPECT_EQ(delta(before, after).frees, 4u);
  EXPECT_EQ(after.bytes_in_use, before.bytes_in_use);
}

std::size_t count_call(void* context, std::size_t) {
  ++*static_cast<int*>(context);
  return 0;
}

int g_handler_calls = 0;
void give_up() {
  ++g_handler_calls;
  std::set_new_handler(nullptr);
}

TEST(RivetNew, FailureAsksTheMemoryManagerThenTheNewHandler) {
  int calls = 0;
  const auto handle = rivet::register_memory_callback(&count_call, &calls);
  void* nothing = ::operator new(g_impossible, std::nothrow);
  const int after_nothrow = calls;
  std::set_new_handler(&give_up);
  EXPECT_THROW(escape(::operator new[](g_impossible, std::align_val_t{64})), std::bad_alloc);
  rivet::unregister_memory_callback(handle);

  EXPECT_EQ(nothing, nullptr);
  EXPECT_EQ(after_nothrow, 1);
  EXPECT_EQ(g_handler_calls, 1);
  EXPECT_EQ(calls, 3);  // once before the handler, once after it
}

TEST(RivetNew, AllocationsInsideSharedLibrariesAreCounted) {
  rivet::SuspendScope scope("listed");
  const RivetHeapStats before = rivet_heap_stats();
  std::vector<rivet::SuspendedThread> list = rivet::suspended_threads();  // allocated in librivet
  const RivetHeapStats after = rivet_heap_stats();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_GE(after.allocations - before.allocations, 1u);
}

}  // namespace
