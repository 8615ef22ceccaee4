// Values: making, comparing, copying and presenting them, beside the peers
// that bound their cost: a std::shared_ptr<int> made and copied, and an
// atomic increment and decrement.
#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>

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

// Copy and destroy of a Value holding a Number, of the singleton True, and
// of the peer.
void BM_ValueCopy(benchmark::State& state) {
  const Value value(12345.67);
  for (auto _ : state) {
    Value copy = value;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_ValueCopy);

void BM_ValueCopySingleton(benchmark::State& state) {
  const Value value(true);
  for (auto _ : state) {
    Value copy = value;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_ValueCopySingleton);

void BM_SharedPtrCopy(benchmark::State& state) {
  const auto pointer = std::make_shared<int>(42);
  for (auto _ : state) {
    std::shared_ptr<int> copy = pointer;
    benchmark::DoNotOptimize(copy);
  }
}
BENCHMARK(BM_SharedPtrCopy);

void BM_AtomicIncrementDecrement(benchmark::State& state) {
  std::atomic<int> count{1};
  for (auto _ : state) {
    count.fetch_add(1, std::memory_order_relaxed);
    benchmark::DoNotOptimize(count.fetch_sub(1, std::memory_order_acq_rel));
  }
}
BENCHMARK(BM_AtomicIncrementDecrement);

// The peer of making a small value: one std::shared_ptr<int> made and
// destroyed.
void BM_SharedPtrMake(benchmark::State& state) {
  int n = 42;
  for (auto _ : state) {
    benchmark::DoNotOptimize(n);
    auto pointer = std::make_shared<int>(n);
    benchmark::DoNotOptimize(pointer);
  }
}
BENCHMARK(BM_SharedPtrMake);

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
