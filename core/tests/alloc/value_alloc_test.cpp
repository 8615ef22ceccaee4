#include <gtest/gtest.h>

#include "alloc/allocations.h"
#include "core/value.h"

namespace core {
namespace {

using testing::allocations_of;

TEST(ValueAllocations, SingletonsCopiesAndEqualsNeverAllocate) {
  const Value number(12345.67);
  const Value text(u"ten chars!");
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
            }),
            0u);
  EXPECT_EQ(allocations_of([&] {
              EXPECT_TRUE(number.equals(Numeric(1234567) / Numeric(100)));
              EXPECT_FALSE(number.equals(12345));
              EXPECT_FALSE(number.equals(true));
              EXPECT_TRUE(text.equals(u"ten chars!"));
              EXPECT_EQ(number.hashCode(), 12345);
            }),
            0u);
}

TEST(ValueAllocations, ASmallNumberValueCostsOneAllocation) {
  EXPECT_EQ(allocations_of([] { Value number(42); }), 1u);
  EXPECT_EQ(allocations_of([] { Value number(12345.67); }), 1u);
}

}  // namespace
}  // namespace core
