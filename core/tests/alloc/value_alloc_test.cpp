#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "alloc/allocations.h"
#include "core/value.h"
#include "internal/block_cache.h"
#include "rivet/heap.h"

namespace core {
namespace {

using testing::allocations_of;

TEST(ValueAllocations, SingletonsCopiesAndEqualsNeverAllocate) {
  const Value number(12345.67);
  const Value text(u"ten chars!");
  const Value integer(-2000000000123LL);
  EXPECT_EQ(allocations_of([] {
              Value undefined;
              Value flag(true);
              Value null_value(create_null_value());
              flag = undefined;
            }),
            0u);
  EXPECT_EQ(allocations_of([&] {
              Value copy = number;
              Value other = text;
              copy = other;
              Value moved = std::move(copy);
              InterfacePtr<IValue> held(moved.getIValue());
            }),
            0u);
  EXPECT_EQ(allocations_of([&] {
              EXPECT_TRUE(number.equals(Numeric(1234567) / Numeric(100)));
              EXPECT_FALSE(number.equals(12345));
              EXPECT_TRUE(integer.equals(-2000000000123LL));
              EXPECT_FALSE(integer.equals(2000000000123ULL));
              EXPECT_FALSE(number.equals(true));
              EXPECT_TRUE(text.equals(u"ten chars!"));
              EXPECT_EQ(number.hashCode(), 12345);
            }),
            0u);
}

// Small values come from the thread's cache of blocks: once the cache holds
// a released block, making one costs no allocation.
struct SmallValueCase {
  const char* name;
  Value (*make)();
};

const SmallValueCase kSmallValues[] = {
    {"int", [] { return Value(42); }},
    {"long long", [] { return Value(-1234567890123456789LL); }},
    {"double", [] { return Value(12345.67); }},
    {"Numeric", [] { return Value(Numeric(7) / Numeric(8)); }},
    {"short text", [] { return Value(u"ten chars!"); }},
    {"String", [] { return Value(String(u"thirteen unit")); }},
    {"Date", [] { return Value(Date(2024, 2, 29, 13, 45, 10)); }},
    {"Type", [] { return Value(create_type_value(GUID{}).get()); }},
};

TEST(ValueAllocations, SmallValuesReuseTheThreadsBlocks) {
  for (const SmallValueCase& c : kSmallValues) {
    SCOPED_TRACE(c.name);
    c.make();  // leaves a block in the cache
    EXPECT_EQ(allocations_of([&c] {
                for (int i = 0; i < 100; ++i) c.make();
              }),
              0u);
  }
}

TEST(ValueAllocations, PayloadsBeyondTheInlineRoomStillAllocateOnce) {
  const Value warm(42);
  const Numeric large = Numeric(1) / Numeric(3);  // more limbs than fit inline
  EXPECT_EQ(allocations_of([&large] { Value number(large); }), 1u);
  EXPECT_EQ(allocations_of([] { Value text(u"a text well beyond the inline room"); }), 1u);
}

TEST(ValueAllocations, TheCacheIsBoundedAndFreedWhenTheThreadEnds) {
  const uint64_t frees_before = rivet_heap_stats().frees;
  constexpr std::size_t kMany = detail::kMaxCachedSmallBlocks + 50;
  std::thread([] {
    std::vector<Value> values;
    values.reserve(kMany);
    for (std::size_t i = 0; i < kMany; ++i) values.emplace_back(static_cast<int>(i));
    // Releasing more than the cache keeps gives the rest back at once.
    const uint64_t frees = rivet_heap_stats().frees;
    values.clear();
    EXPECT_GE(rivet_heap_stats().frees - frees, kMany - detail::kMaxCachedSmallBlocks);
  }).join();
  // The thread's exit freed the cached blocks too.
  EXPECT_GE(rivet_heap_stats().frees - frees_before, kMany);
}

TEST(ValueAllocations, AValueMadeOnOneThreadMayDieOnAnother) {
  std::vector<Value> values;
  for (int i = 0; i < 100; ++i) values.emplace_back(i);
  std::thread([moved = std::move(values)]() mutable {
    EXPECT_TRUE(moved[99].equals(99));
    moved.clear();
  }).join();
}

}  // namespace
}  // namespace core
