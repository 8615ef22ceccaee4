#include <gtest/gtest.h>

#include <string>

#include "alloc/allocations.h"
#include "core/numeric.h"

namespace core {
namespace {

using testing::allocations_of;

Numeric read(const char* text) {
  Numeric n;
  n.fromString(text);
  return n;
}

TEST(NumericAllocations, ThirtySixDigitsNeverAllocate) {
  // Every sum and difference of two of these stays within 18 integer and
  // 18 fraction digits.
  const Numeric amounts[] = {read("12345.67"),
                             read("-0.05"),
                             read("123456789012345678"),
                             read("-123456789.012345678"),
                             read("123456789012345678.901234567890123456"),
                             read("-99999999999999999.999999999999999999")};
  for (const Numeric& a : amounts) {
    for (const Numeric& b : amounts) {
      EXPECT_EQ(allocations_of([&] {
                  Numeric sum = a;
                  sum += b;
                  Numeric difference = a;
                  difference -= b;
                  const int order = a.compare(b);
                  Numeric moved = std::move(sum);
                  difference = moved;
                  (void)order;
                }),
                0u);
    }
  }
  EXPECT_EQ(allocations_of([&] {
              Numeric product = read("12345.67");
              product *= read("-0.05");
              product *= read("123456789012.345678");
              Numeric quotient = read("123456789012345678");
              quotient /= read("987654321.123456789");  // 27 fraction digits, 36 in all
              quotient.round(2, NumericRoundMode::HalfAwayFromZero);
              // Three- and four-limb operands: the fixed 4x4 product and the
              // division by a four-limb divisor.
              Numeric wide = read("1.000000000000000001");
              wide *= read("1.000000001");  // four limbs of 1
              Numeric inverse = read("1");
              inverse /= read("0.123456789123456789123456789123456789");
              Numeric remainder = read("123456789012345678");
              remainder %= read("-0.05");
              Numeric from_double(1234.5678);
              from_double.floor();
              const uint32_t checksum = product.calculateChecksum(0);
              (void)checksum;
              char digits[40];
              const bool fits = quotient.digits(digits, 30, 2, NumericRoundMode::HalfTowardZero);
              (void)fits;
            }),
            0u);
  // Text goes out and comes in through stack buffers; only the result
  // String is allocated, and a short one lives inline.
  std::string text;
  text.reserve(64);
  EXPECT_EQ(allocations_of([&] {
              read("-123456789012345678.90123456789012345").toString(text);
              const String s = read("-0.05").toString();
            }),
            0u);
  // The check can fail: five limbs take one buffer.
  EXPECT_EQ(allocations_of([] { read("1234567890123456789012345678901234567"); }), 1u);
}

}  // namespace
}  // namespace core
