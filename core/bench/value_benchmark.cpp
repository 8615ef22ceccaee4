#include <benchmark/benchmark.h>

#include "core/thread.h"
#include "core/value.h"

namespace {

using core::Value;

void BM_ValueFromInt(benchmark::State& state) {
  int n = 42;
  for (auto _ : state) {
    benchmark::DoNotOptimize(n);
    Value value(n);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_ValueFromInt);

void BM_ValueFromString10(benchmark::State& state) {
  const char16_t* text = u"ten chars!";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    Value value(text);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_ValueFromString10);

void BM_ValueEqualsInt(benchmark::State& state) {
  const Value value(12345);
  int n = 12345;
  for (auto _ : state) {
    benchmark::DoNotOptimize(n);
    benchmark::DoNotOptimize(value.equals(n));
  }
}
BENCHMARK(BM_ValueEqualsInt);

void BM_ValueHashCode(benchmark::State& state) {
  const Value value(12345.67);
  for (auto _ : state) benchmark::DoNotOptimize(value.hashCode());
}
BENCHMARK(BM_ValueHashCode);

void BM_ValueCopy(benchmark::State& state) {
  const Value value(12345.67);
  for (auto _ : state) {
    Value copy = value;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_ValueCopy);

void BM_ValuePresentNumber(benchmark::State& state) {
  core::Thread::setLocale(core::Locale(u"ru_RU"));
  const Value value(1234567.89);
  core::String text;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.getString(text));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_ValuePresentNumber);

void BM_ValuePresentDate(benchmark::State& state) {
  core::Thread::setLocale(core::Locale(u"ru_RU"));
  const Value value(core::Date(2024, 2, 29, 13, 45, 10));
  core::String text;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.getString(text));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_ValuePresentDate);

}  // namespace
