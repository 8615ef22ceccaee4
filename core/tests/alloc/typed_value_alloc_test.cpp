#include <gtest/gtest.h>

#include "core/type_domain.h"
#include "core/typed_value.h"
#include "rivet/heap.h"

namespace core {
namespace {

template <class Body>
uint64_t allocations_of(Body body) {
  const uint64_t before = rivet_heap_stats().allocations;
  body();
  return rivet_heap_stats().allocations - before;
}

TEST(TypedValueAllocations, CopyingADomainNeverAllocates) {
  TypeDomainPattern pattern(
      std::vector<GUID>{TypeDomainPattern::kNumberType, TypeDomainPattern::kStringType});
  pattern.setNumericQualifiers(NumericQualifiers(15, 2, false));
  const TypeDomain domain(pattern);
  EXPECT_EQ(allocations_of([&] {
              TypeDomain copy = domain;
              TypeDomain other;
              other = copy;
              TypeDomainPattern pattern_copy = pattern;
              TypeDomainPattern empty;
            }),
            0u);
}

TEST(TypedValueAllocations, ValuesThatFitAreHeldWithoutAllocating) {
  TypeDomainPattern pattern(std::vector<GUID>{TypeDomainPattern::kNumberType,
                                              TypeDomainPattern::kStringType,
                                              TypeDomainPattern::kDateType});
  pattern.setNumericQualifiers(NumericQualifiers(15, 2, false));
  pattern.setStringQualifiers(StringQualifiers(10, LengthKind::Fixed));
  pattern.setDateQualifiers(DateQualifiers(1));
  TypedValue holder{TypeDomain(pattern)};
  const Value number(1234567.89);
  const Value negative(-0.5);
  const Value text(u"ten chars!");
  const Value date(Date(2024, 2, 29));
  EXPECT_EQ(allocations_of([&] {
              holder.assign(number);
              holder.assign(negative);
              holder.assign(text);
              holder.assign(date);
            }),
            0u);
  EXPECT_TRUE(holder.equals(date));
  // One that does not fit costs its new value (once the thread's settings,
  // which rounding reads, exist).
  const Value long_number(1234567.891);
  holder.assign(long_number);
  EXPECT_EQ(allocations_of([&] { holder.assign(long_number); }), 1u);
}

}  // namespace
}  // namespace core
