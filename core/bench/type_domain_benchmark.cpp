#include <benchmark/benchmark.h>

#include "core/type_domain.h"
#include "core/typed_value.h"

namespace {

using core::TypeDomain;
using core::TypeDomainPattern;
using core::TypedValue;
using core::Value;

TypeDomain number_domain() {
  TypeDomainPattern pattern(TypeDomainPattern::kNumberType);
  pattern.setNumericQualifiers(core::NumericQualifiers(15, 2, false));
  return TypeDomain(pattern);
}

// A number that fits (15, 2): the value itself is held.
void BM_TypedValuePutFittingNumber(benchmark::State& state) {
  TypedValue holder(number_domain());
  const Value number(1234567.89);
  for (auto _ : state) {
    holder.setIValue(number.getIValue());
    benchmark::DoNotOptimize(holder.getIValue());
  }
}
BENCHMARK(BM_TypedValuePutFittingNumber);

// A number with a fraction to round: a new value is made.
void BM_TypedValuePutRoundedNumber(benchmark::State& state) {
  TypedValue holder(number_domain());
  const Value number(1234567.891);
  for (auto _ : state) {
    holder.setIValue(number.getIValue());
    benchmark::DoNotOptimize(holder.getIValue());
  }
}
BENCHMARK(BM_TypedValuePutRoundedNumber);

// A number too large: saturated to 9999999999999.99.
void BM_TypedValuePutSaturatedNumber(benchmark::State& state) {
  TypedValue holder(number_domain());
  const Value number(1e20);
  for (auto _ : state) {
    holder.setIValue(number.getIValue());
    benchmark::DoNotOptimize(holder.getIValue());
  }
}
BENCHMARK(BM_TypedValuePutSaturatedNumber);

// Strings into a fixed length of 10: one that fits, one padded, one cut.
void BM_TypedValuePutFixedString(benchmark::State& state) {
  TypeDomainPattern pattern(TypeDomainPattern::kStringType);
  pattern.setStringQualifiers(core::StringQualifiers(10, core::LengthKind::Fixed));
  TypedValue holder{TypeDomain(pattern)};
  const char16_t* texts[] = {u"ten chars!", u"short", u"a text of twenty-one"};
  const Value text(texts[state.range(0)]);
  for (auto _ : state) {
    holder.setIValue(text.getIValue());
    benchmark::DoNotOptimize(holder.getIValue());
  }
}
BENCHMARK(BM_TypedValuePutFixedString)->ArgName("fits_pads_cuts")->DenseRange(0, 2);

void BM_TypeDomainCopy(benchmark::State& state) {
  const TypeDomain domain = number_domain();
  for (auto _ : state) {
    TypeDomain copy = domain;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_TypeDomainCopy);

}  // namespace
