#include <gtest/gtest.h>

#include "alloc/allocations.h"
#include "core/string.h"

namespace core {
namespace {

using testing::allocations_of;

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
