#include <gtest/gtest.h>

#include "core/string.h"
#include "rivet/heap.h"

namespace core {
namespace {

// The number of heap allocations `body` makes, new and rivet_malloc alike.
template <class Body>
uint64_t allocations_of(Body body) {
  const uint64_t before = rivet_heap_stats().allocations;
  body();
  return rivet_heap_stats().allocations - before;
}

TEST(StringAllocations, ShortTextsAndCopiesOfLongOnesNeverAllocate) {
  const String long_text(u"a text well beyond the inline room of a string");
  EXPECT_EQ(allocations_of([] {
              String short_text(u"twelve units");
              String copy = short_text;
              copy += u'!';
            }),
            0u);
  EXPECT_EQ(allocations_of([&long_text] {
              String copy = long_text;
              String moved = std::move(copy);
            }),
            0u);
  // The check can fail: a long text of its own takes one buffer.
  EXPECT_EQ(allocations_of([] { String text(u"a text well beyond the inline room"); }), 1u);
}

}  // namespace
}  // namespace core
