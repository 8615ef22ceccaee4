// Decimal arithmetic and text, side by side with two baselines:
// Boost.Multiprecision's cpp_dec_float (50 digits, 100 for the 100-digit
// rows) and, under GCC, libstdc++'s decimal128 (up to 34 digits, arithmetic
// only: it has no text conversions).
#include <benchmark/benchmark.h>

#include <boost/multiprecision/cpp_dec_float.hpp>
#include <cstdint>
#include <functional>
#include <string>

#include "core/numeric.h"

#if defined(__GNUC__) && !defined(__clang__) && __has_include(<decimal/decimal>)
#include <decimal/decimal>
#define CORE_BENCH_DECIMAL128 1
#endif

namespace {

using core::Numeric;
using Dec50 = boost::multiprecision::cpp_dec_float_50;
using Dec100 = boost::multiprecision::cpp_dec_float_100;

struct Operands {
  const char* name;
  const char* a;
  const char* b;
  // The same values as coefficient * 10^exponent, for decimal128; 0 digits
  // when they do not fit in 34.
  long long a_coefficient;
  long long b_coefficient;
  int a_exponent;
  int b_exponent;
};

const Operands kOperands[] = {
    {"business", "12345.67", "-0.05", 1234567, -5, -2, -2},
    {"18digits", "123456789012.345678", "-987654.321098765432", 123456789012345678LL,
     -987654321098765432LL, -6, -12},
    {"36digits", "123456789012345678.901234567890123456", "-387654321098765432.109876543210987654",
     0, 0, 0, 0},
    {"100digits",
     "12345678901234567890123456789012345678901234567890."
     "12345678901234567890123456789012345678901234567890",
     "-38765432109876543210987654321098765432109876543210."
     "98765432109876543210987654321098765432109876543210",
     0, 0, 0, 0},
};

Numeric numeric_of(const char* text) {
  Numeric n;
  n.fromString(text);
  return n;
}

// Runs `op` on fresh copies of the operands that the compiler cannot see
// through, so nothing is hoisted out of the loop, and keeps the result (a
// value of T, never an unevaluated expression template).
template <class T, class Op>
void run(benchmark::State& state, T a, T b, Op op) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    auto result = op(a, b);
    benchmark::DoNotOptimize(result);
  }
}

template <class T>
void register_arithmetic(const std::string& size, const std::string& type, const T& a, const T& b) {
  benchmark::RegisterBenchmark(("Add/" + size + "/" + type).c_str(), [a, b](benchmark::State& s) {
    run<T>(s, a, b, [](const T& x, const T& y) -> T { return x + y; });
  });
  benchmark::RegisterBenchmark(("Subtract/" + size + "/" + type).c_str(),
                               [a, b](benchmark::State& s) {
                                 run<T>(s, a, b, [](const T& x, const T& y) -> T { return x - y; });
                               });
  benchmark::RegisterBenchmark(("Multiply/" + size + "/" + type).c_str(),
                               [a, b](benchmark::State& s) {
                                 run<T>(s, a, b, [](const T& x, const T& y) -> T { return x * y; });
                               });
  benchmark::RegisterBenchmark(("Divide/" + size + "/" + type).c_str(),
                               [a, b](benchmark::State& s) {
                                 run<T>(s, a, b, [](const T& x, const T& y) -> T { return x / y; });
                               });
  benchmark::RegisterBenchmark(
      ("Compare/" + size + "/" + type).c_str(), [a, b](benchmark::State& s) {
        run<T>(s, a, b, [](const T& x, const T& y) -> bool { return x < y; });
      });
}

template <class Boost>
void register_boost(const Operands& o, const char* type) {
  register_arithmetic<Boost>(o.name, type, Boost(o.a), Boost(o.b));
  const Boost a(o.a);
  const std::string text = o.a;
  benchmark::RegisterBenchmark((std::string("ToString/") + o.name + "/" + type).c_str(),
                               [a](benchmark::State& s) {
                                 for (auto _ : s) {
                                   benchmark::DoNotOptimize(a.str(0, std::ios_base::fixed));
                                 }
                               });
  benchmark::RegisterBenchmark((std::string("FromString/") + o.name + "/" + type).c_str(),
                               [text](benchmark::State& s) {
                                 for (auto _ : s) benchmark::DoNotOptimize(Boost(text.c_str()));
                               });
}

int register_all() {
  for (const Operands& o : kOperands) {
    const Numeric a = numeric_of(o.a);
    const Numeric b = numeric_of(o.b);
    register_arithmetic<Numeric>(o.name, "Numeric", a, b);
    const std::string text = o.a;
    benchmark::RegisterBenchmark((std::string("ToString/") + o.name + "/Numeric").c_str(),
                                 [a](benchmark::State& s) {
                                   for (auto _ : s) benchmark::DoNotOptimize(a.toString());
                                 });
    benchmark::RegisterBenchmark((std::string("ToString8/") + o.name + "/Numeric").c_str(),
                                 [a](benchmark::State& s) {
                                   std::string out;
                                   for (auto _ : s) {
                                     a.toString(out);
                                     benchmark::DoNotOptimize(out.data());
                                   }
                                 });
    benchmark::RegisterBenchmark((std::string("FromString/") + o.name + "/Numeric").c_str(),
                                 [text](benchmark::State& s) {
                                   for (auto _ : s) {
                                     Numeric n;
                                     n.fromString(text.c_str());
                                     benchmark::DoNotOptimize(n);
                                   }
                                 });
    if (std::string(o.name) == "100digits") {
      register_boost<Dec100>(o, "cpp_dec_float_100");
    } else {
      register_boost<Dec50>(o, "cpp_dec_float_50");
    }
#ifdef CORE_BENCH_DECIMAL128
    if (o.a_coefficient != 0) {
      const std::decimal::decimal128 da =
          std::decimal::make_decimal128(o.a_coefficient, o.a_exponent);
      const std::decimal::decimal128 db =
          std::decimal::make_decimal128(o.b_coefficient, o.b_exponent);
      register_arithmetic<std::decimal::decimal128>(o.name, "decimal128", da, db);
    }
#endif
  }
  return 0;
}

const int kRegistered = register_all();

}  // namespace
