// Decimal arithmetic and text, side by side with the peers:
// - mpdecimal (libmpdec), when CMake finds it (CORE_BENCH_MPDECIMAL): exact
//   add, subtract and multiply, division to as many digits as Numeric's
//   division rule gives for the same operands, rounded half up;
// - Boost.Multiprecision's cpp_dec_float (50 digits, 100 for the 100-digit
//   rows);
// - under GCC, libstdc++'s decimal128 (up to 34 digits, arithmetic only: it
//   has no text conversions);
// - the int64 floor: the same operation on the operands scaled to integers
//   (business amounts and 18 digits only), what no decimal can beat.
//
// Every arithmetic operation writes into a result object that lives across
// the iterations (result = a; result += b), as a running total does, and as
// mpdecimal's mpd_qadd(result, a, b) does.
#include <benchmark/benchmark.h>

#include <boost/multiprecision/cpp_dec_float.hpp>
#include <cstdint>
#include <string>

#include "core/numeric.h"

#if defined(__GNUC__) && !defined(__clang__) && __has_include(<decimal/decimal>)
#include <decimal/decimal>
#define CORE_BENCH_DECIMAL128 1
#endif

#ifdef CORE_BENCH_MPDECIMAL
#include <mpdecimal.h>
#endif

namespace {

using core::Numeric;
using Dec50 = boost::multiprecision::cpp_dec_float_50;
using Dec100 = boost::multiprecision::cpp_dec_float_100;

struct Operands {
  const char* name;
  const char* a;
  const char* b;
  // The same values as coefficient * 10^exponent, for decimal128 and the
  // int64 floor; 0 when they do not fit.
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

// Runs `op(result, a, b)` on operands the compiler cannot see through, so
// nothing is hoisted out of the loop.
template <class T, class R, class Op>
void run(benchmark::State& state, T a, T b, Op op) {
  R result{};
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
    op(result, a, b);
    benchmark::DoNotOptimize(result);
  }
}

template <class T>
void register_arithmetic(const std::string& size, const std::string& type, const T& a, const T& b) {
  const auto name = [&](const char* op) { return op + ("/" + size + "/" + type); };
  benchmark::RegisterBenchmark(name("Add").c_str(), [a, b](benchmark::State& s) {
    run<T, T>(s, a, b, [](T& r, const T& x, const T& y) {
      r = x;
      r += y;
    });
  });
  benchmark::RegisterBenchmark(name("Subtract").c_str(), [a, b](benchmark::State& s) {
    run<T, T>(s, a, b, [](T& r, const T& x, const T& y) {
      r = x;
      r -= y;
    });
  });
  benchmark::RegisterBenchmark(name("Multiply").c_str(), [a, b](benchmark::State& s) {
    run<T, T>(s, a, b, [](T& r, const T& x, const T& y) {
      r = x;
      r *= y;
    });
  });
  benchmark::RegisterBenchmark(name("Divide").c_str(), [a, b](benchmark::State& s) {
    run<T, T>(s, a, b, [](T& r, const T& x, const T& y) {
      r = x;
      r /= y;
    });
  });
  benchmark::RegisterBenchmark(name("Compare").c_str(), [a, b](benchmark::State& s) {
    run<T, bool>(s, a, b, [](bool& r, const T& x, const T& y) { r = x < y; });
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

void register_numeric(const Operands& o) {
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
                                 Numeric n;
                                 for (auto _ : s) {
                                   n.fromString(text.c_str());
                                   benchmark::DoNotOptimize(n);
                                 }
                               });
}

// The operation on the operands' integer coefficients: the cost of one
// machine instruction with no decimal bookkeeping at all, which no decimal
// beats. Add, subtract and multiply wrap around (the 18-digit product does
// not fit); divide and compare are the signed ones.
void register_int64_floor(const Operands& o) {
  if (o.a_coefficient == 0) return;
  using I = std::int64_t;
  using U = std::uint64_t;
  const I a = o.a_coefficient;
  const I b = o.b_coefficient;
  const std::string size = o.name;
  const auto name = [&](const char* op) { return op + ("/" + size + "/int64"); };
  benchmark::RegisterBenchmark(name("Add").c_str(), [a, b](benchmark::State& s) {
    run<I, I>(s, a, b,
              [](I& r, I x, I y) { r = static_cast<I>(static_cast<U>(x) + static_cast<U>(y)); });
  });
  benchmark::RegisterBenchmark(name("Subtract").c_str(), [a, b](benchmark::State& s) {
    run<I, I>(s, a, b,
              [](I& r, I x, I y) { r = static_cast<I>(static_cast<U>(x) - static_cast<U>(y)); });
  });
  benchmark::RegisterBenchmark(name("Multiply").c_str(), [a, b](benchmark::State& s) {
    run<I, I>(s, a, b,
              [](I& r, I x, I y) { r = static_cast<I>(static_cast<U>(x) * static_cast<U>(y)); });
  });
  benchmark::RegisterBenchmark(name("Divide").c_str(), [a, b](benchmark::State& s) {
    run<I, I>(s, a, b, [](I& r, I x, I y) { r = x / y; });
  });
  benchmark::RegisterBenchmark(name("Compare").c_str(), [a, b](benchmark::State& s) {
    run<I, bool>(s, a, b, [](bool& r, I x, I y) { r = x < y; });
  });
}

#ifdef CORE_BENCH_MPDECIMAL
// The significant digits of Numeric's quotient a / b before its trailing
// zeros are dropped: the precision mpdecimal divides to.
mpd_ssize_t rule_digits(const Numeric& a, const Numeric& b) {
  const std::int64_t fraction_digits =
      9 * (std::max(a.fractionLimbs(), 0) - b.fractionLimbs() + b.limbCount() + 2);
  std::string quotient;
  (a / b).abs().toString(quotient);
  const std::size_t point = quotient.find('.');
  if (quotient[0] != '0') {
    return static_cast<mpd_ssize_t>((point == std::string::npos ? quotient.size() : point) +
                                    fraction_digits);
  }
  const std::size_t first = quotient.find_first_not_of('0', point + 1);
  return static_cast<mpd_ssize_t>(fraction_digits - static_cast<std::int64_t>(first - point - 1));
}

// One mpdecimal number, owned.
class Mpd {
 public:
  explicit Mpd(const char* text = "0") : value_(mpd_qnew()) {
    uint32_t status = 0;
    mpd_qset_string(value_, text, &context(), &status);
  }
  Mpd(const Mpd& other) : value_(mpd_qncopy(other.value_)) {}
  Mpd& operator=(const Mpd&) = delete;
  ~Mpd() { mpd_del(value_); }
  mpd_t* get() const { return value_; }

  // Exact for every operand here: far more digits than any result needs.
  static mpd_context_t& context() {
    static mpd_context_t kContext = [] {
      mpd_context_t c;
      mpd_defaultcontext(&c);
      c.prec = 1000;
      return c;
    }();
    return kContext;
  }

 private:
  mpd_t* value_;
};

void register_mpdecimal(const Operands& o) {
  const std::string size = o.name;
  const Mpd a(o.a);
  const Mpd b(o.b);
  mpd_context_t division;
  mpd_defaultcontext(&division);
  division.prec = rule_digits(numeric_of(o.a), numeric_of(o.b));
  division.round = MPD_ROUND_HALF_UP;
  using Binary = void (*)(mpd_t*, const mpd_t*, const mpd_t*, const mpd_context_t*, uint32_t*);
  const auto add = [&](const char* op, Binary f, const mpd_context_t& context) {
    benchmark::RegisterBenchmark((op + ("/" + size + "/mpdecimal")).c_str(),
                                 [a, b, f, context](benchmark::State& s) {
                                   Mpd result;
                                   uint32_t status = 0;
                                   for (auto _ : s) {
                                     benchmark::DoNotOptimize(a.get());
                                     benchmark::DoNotOptimize(b.get());
                                     f(result.get(), a.get(), b.get(), &context, &status);
                                     benchmark::DoNotOptimize(result.get());
                                   }
                                 });
  };
  add("Add", mpd_qadd, Mpd::context());
  add("Subtract", mpd_qsub, Mpd::context());
  add("Multiply", mpd_qmul, Mpd::context());
  add("Divide", mpd_qdiv, division);
  benchmark::RegisterBenchmark(
      ("Compare/" + size + "/mpdecimal").c_str(), [a, b](benchmark::State& s) {
        uint32_t status = 0;
        for (auto _ : s) {
          benchmark::DoNotOptimize(a.get());
          benchmark::DoNotOptimize(b.get());
          benchmark::DoNotOptimize(mpd_qcmp(a.get(), b.get(), &status) < 0);
        }
      });
  benchmark::RegisterBenchmark(("ToString/" + size + "/mpdecimal").c_str(),
                               [a](benchmark::State& s) {
                                 for (auto _ : s) {
                                   char* text = mpd_to_sci(a.get(), 0);
                                   benchmark::DoNotOptimize(text);
                                   mpd_free(text);
                                 }
                               });
  const std::string text = o.a;
  benchmark::RegisterBenchmark(
      ("FromString/" + size + "/mpdecimal").c_str(), [text](benchmark::State& s) {
        Mpd result;
        uint32_t status = 0;
        for (auto _ : s) {
          mpd_qset_string(result.get(), text.c_str(), &Mpd::context(), &status);
          benchmark::DoNotOptimize(result.get());
        }
      });
}
#endif

int register_all() {
  for (const Operands& o : kOperands) {
    register_numeric(o);
#ifdef CORE_BENCH_MPDECIMAL
    register_mpdecimal(o);
#endif
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
    register_int64_floor(o);
  }
  return 0;
}

const int kRegistered = register_all();

}  // namespace
