// Numeric against GMP: every operand is a decimal held as an integer and a
// power-of-ten scale, so the expected results are exact and independent of
// the limb arithmetic under test.
#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "core/numeric.h"

namespace core {
namespace {

// value = m / 10^scale
class Exact {
 public:
  Exact() { mpz_init(m_); }
  Exact(const Exact& other) : scale_(other.scale_) { mpz_init_set(m_, other.m_); }
  Exact& operator=(const Exact&) = delete;
  ~Exact() { mpz_clear(m_); }

  static Exact parse(const std::string& text) {
    Exact x;
    std::string digits;
    bool negative = false;
    bool fraction = false;
    for (char c : text) {
      if (c == '-') negative = true;
      if (c == '.') fraction = true;
      if (c >= '0' && c <= '9') {
        digits += c;
        if (fraction) ++x.scale_;
      }
    }
    mpz_set_str(x.m_, digits.empty() ? "0" : digits.c_str(), 10);
    if (negative) mpz_neg(x.m_, x.m_);
    return x;
  }

  // Rescales to `scale` >= scale_ without changing the value.
  void rescale(long scale) {
    mpz_t p;
    mpz_init(p);
    mpz_ui_pow_ui(p, 10, static_cast<unsigned long>(scale - scale_));
    mpz_mul(m_, m_, p);
    mpz_clear(p);
    scale_ = scale;
  }

  std::string canonical() const {
    if (mpz_sgn(m_) == 0) return "0";
    char* raw = mpz_get_str(nullptr, 10, m_);
    std::string s(raw[0] == '-' ? raw + 1 : raw);
    const bool negative = raw[0] == '-';
    void (*release)(void*, size_t);
    mp_get_memory_functions(nullptr, nullptr, &release);
    release(raw, std::strlen(raw) + 1);
    long scale = scale_;
    if (scale <= 0) {
      s.append(static_cast<size_t>(-scale), '0');
    } else {
      while (scale > 0 && s.back() == '0') {
        s.pop_back();
        --scale;
      }
      if (scale > 0) {
        if (static_cast<long>(s.size()) <= scale) {
          s.insert(0, static_cast<size_t>(scale) - s.size() + 1, '0');
        }
        s.insert(s.size() - static_cast<size_t>(scale), ".");
      }
    }
    return negative ? "-" + s : s;
  }

  mpz_t m_;
  long scale_ = 0;
};

void align(Exact& a, Exact& b) {
  const long scale = std::max(a.scale_, b.scale_);
  a.rescale(scale);
  b.rescale(scale);
}

Exact add(Exact a, Exact b, bool subtract) {
  align(a, b);
  Exact r;
  r.scale_ = a.scale_;
  if (subtract) {
    mpz_sub(r.m_, a.m_, b.m_);
  } else {
    mpz_add(r.m_, a.m_, b.m_);
  }
  return r;
}

Exact multiply(const Exact& a, const Exact& b) {
  Exact r;
  mpz_mul(r.m_, a.m_, b.m_);
  r.scale_ = a.scale_ + b.scale_;
  return r;
}

void times_power_of_ten(mpz_t x, long power) {
  mpz_t p;
  mpz_init(p);
  mpz_ui_pow_ui(p, 10, static_cast<unsigned long>(power));
  mpz_mul(x, x, p);
  mpz_clear(p);
}

// num / den rounded to an integer: an exact half away from zero when
// `half_up`, else toward it; magnitudes only.
void round_quotient(mpz_t q, const mpz_t num, const mpz_t den, bool half_up) {
  mpz_t r;
  mpz_init(r);
  mpz_tdiv_qr(q, r, num, den);
  mpz_mul_ui(r, r, 2);
  const int c = mpz_cmp(r, den);
  if (c > 0 || (c == 0 && half_up)) mpz_add_ui(q, q, 1);
  mpz_clear(r);
}

// a / b cut to `frac_limbs` fraction limbs, rounded on the rest.
Exact divide(const Exact& a, const Exact& b, long frac_limbs) {
  Exact num;
  Exact den;
  mpz_abs(num.m_, a.m_);
  mpz_abs(den.m_, b.m_);
  const long power = b.scale_ + 9 * frac_limbs - a.scale_;
  if (power >= 0) {
    times_power_of_ten(num.m_, power);
  } else {
    times_power_of_ten(den.m_, -power);
  }
  Exact q;
  round_quotient(q.m_, num.m_, den.m_, true);
  if (mpz_sgn(a.m_) * mpz_sgn(b.m_) < 0) mpz_neg(q.m_, q.m_);
  q.scale_ = 9 * frac_limbs;
  return q;
}

Exact remainder(Exact a, Exact b) {
  align(a, b);
  Exact r;
  mpz_tdiv_r(r.m_, a.m_, b.m_);
  r.scale_ = a.scale_;
  return r;
}

Exact round(const Exact& a, long digits, bool half_up) {
  Exact num;
  Exact den;
  mpz_abs(num.m_, a.m_);
  mpz_set_ui(den.m_, 1);
  if (digits >= a.scale_) {
    times_power_of_ten(num.m_, digits - a.scale_);
  } else {
    times_power_of_ten(den.m_, a.scale_ - digits);
  }
  Exact q;
  round_quotient(q.m_, num.m_, den.m_, half_up);
  if (mpz_sgn(a.m_) < 0) mpz_neg(q.m_, q.m_);
  q.scale_ = digits;
  return q;
}

// Random decimal texts: integer-only, fraction-only and mixed, 0 to 20
// limbs, with the limb values where carries and borrows happen.
class Generator {
 public:
  // Operands of 0 to `max_limbs` limbs.
  explicit Generator(unsigned seed, unsigned max_limbs = 20) : max_limbs_(max_limbs), rng_(seed) {}

  std::string text() {
    const unsigned kind = pick(20);
    if (kind == 0) return pick(2) ? "0" : "-0.000";
    const unsigned shape = pick(3);  // 0 integer, 1 fraction, 2 mixed
    const unsigned total = pick(max_limbs_ + 1);
    unsigned int_limbs = shape == 0 ? total : shape == 1 ? 0 : pick(total + 1);
    unsigned frac_limbs = total - int_limbs;
    std::string s = pick(2) ? "-" : "";
    for (unsigned i = 0; i < int_limbs; ++i) s += limb();
    if (int_limbs == 0) s += "0";
    if (frac_limbs > 0) {
      s += ".";
      for (unsigned i = 0; i < frac_limbs; ++i) s += limb();
    }
    return s;
  }

  std::string nonzero_text() {
    for (;;) {
      std::string s = text();
      if (s.find_first_of("123456789") != std::string::npos) return s;
    }
  }

  unsigned pick(unsigned n) { return static_cast<unsigned>(rng_() % n); }

 private:
  std::string limb() {
    static const char* const kSpecial[] = {"000000000", "999999999", "000000001",
                                           "500000000", "499999999", "100000000"};
    if (pick(3) == 0) return kSpecial[pick(6)];
    std::string s = std::to_string(rng_() % 1000000000);
    return std::string(9 - s.size(), '0') + s;
  }

  unsigned max_limbs_;
  std::mt19937_64 rng_;
};

Numeric read(const std::string& text) {
  Numeric n;
  n.fromString(text.c_str());
  return n;
}

std::string text_of(const Numeric& n) {
  std::string s;
  n.toString(s);
  return s;
}

constexpr int kCases = 3000;

TEST(NumericDifferential, TextRoundTrips) {
  Generator gen(1);
  for (int i = 0; i < kCases; ++i) {
    const std::string text = gen.text();
    const Numeric n = read(text);
    const Exact x = Exact::parse(text);
    const std::string canonical = x.canonical();
    ASSERT_EQ(text_of(n), canonical) << text;
    ASSERT_EQ(n.toString(), String::fromUtf8(canonical)) << text;
    const std::u16string wide(canonical.begin(), canonical.end());
    Numeric back;
    back.fromString(wide.c_str());
    ASSERT_EQ(back.compare(n), 0) << text;
    ASSERT_EQ(back.calculateChecksum(1), n.calculateChecksum(1)) << text;
    unsigned length = 0;
    unsigned precision = 0;
    n.lengthAndPrecision(length, precision);
    const size_t point = canonical.find('.');
    const size_t fraction = point == std::string::npos ? 0 : canonical.size() - point - 1;
    std::string integer = canonical.substr(0, point);
    if (integer[0] == '-') integer.erase(0, 1);
    ASSERT_EQ(precision, fraction) << text;
    ASSERT_EQ(length, fraction + (integer == "0" && fraction > 0 ? 0 : integer.size())) << text;
    ASSERT_EQ(static_cast<double>(n), std::strtod(canonical.c_str(), nullptr)) << text;
  }
}

void check_add_subtract_multiply_compare(Generator& gen) {
  for (int i = 0; i < kCases; ++i) {
    const std::string ta = gen.text();
    const std::string tb = gen.text();
    const Numeric a = read(ta);
    const Numeric b = read(tb);
    const Exact xa = Exact::parse(ta);
    const Exact xb = Exact::parse(tb);
    ASSERT_EQ(text_of(a + b), add(xa, xb, false).canonical()) << ta << " + " << tb;
    ASSERT_EQ(text_of(a - b), add(xa, xb, true).canonical()) << ta << " - " << tb;
    ASSERT_EQ(text_of(a * b), multiply(xa, xb).canonical()) << ta << " * " << tb;
    Exact ca(xa);
    Exact cb(xb);
    align(ca, cb);
    const int expected = mpz_cmp(ca.m_, cb.m_);
    ASSERT_EQ(a.compare(b), expected > 0 ? 1 : expected < 0 ? -1 : 0) << ta << " <> " << tb;
    ASSERT_EQ(a.compare(a), 0);
  }
}

TEST(NumericDifferential, AddSubtractMultiplyCompare) {
  Generator gen(2);
  check_add_subtract_multiply_compare(gen);
}

// Everyday amounts of up to two limbs take a path of their own in add and
// subtract.
TEST(NumericDifferential, AddSubtractMultiplyCompareSmall) {
  Generator gen(5, 2);
  check_add_subtract_multiply_compare(gen);
}

void check_division(Generator& gen) {
  for (int i = 0; i < kCases; ++i) {
    const std::string ta = gen.text();
    const std::string tb = gen.nonzero_text();
    const Numeric a = read(ta);
    const Numeric b = read(tb);
    const Numeric q = a / b;
    if (a.zero()) {
      ASSERT_TRUE(q.zero());
      continue;
    }
    const long frac_limbs = std::max(a.fractionLimbs(), 0) - b.fractionLimbs() + b.limbCount() + 2;
    ASSERT_EQ(text_of(q), divide(Exact::parse(ta), Exact::parse(tb), frac_limbs).canonical())
        << ta << " / " << tb;
    ASSERT_EQ(text_of(a % b), remainder(Exact::parse(ta), Exact::parse(tb)).canonical())
        << ta << " % " << tb;
  }
}

TEST(NumericDifferential, DivisionByTheRule) {
  Generator gen(3);
  check_division(gen);
}

// Operands of up to four limbs take the paths of their own: add and subtract
// in two words of base 10^18, the fixed 4x4 product, and division by a
// divisor of up to four limbs with a 128-bit remainder.
TEST(NumericDifferential, FourLimbOperands) {
  Generator arithmetic(6, 4);
  check_add_subtract_multiply_compare(arithmetic);
  Generator division(7, 4);
  check_division(division);
}

TEST(NumericDifferential, RoundBothModes) {
  Generator gen(4);
  for (int i = 0; i < kCases; ++i) {
    const std::string text = gen.text();
    const int digits = static_cast<int>(gen.pick(121)) - 60;
    const Exact x = Exact::parse(text);
    for (const bool away : {false, true}) {
      Numeric n = read(text);
      n.round(digits, away ? NumericRoundMode::HalfAwayFromZero : NumericRoundMode::HalfTowardZero);
      ASSERT_EQ(text_of(n), round(x, digits, away).canonical())
          << text << " to " << digits << (away ? " away" : " toward");
    }
    Numeric whole = read(text);
    whole.floor();
    Exact cut(x);
    mpz_t p;
    mpz_init(p);
    if (cut.scale_ > 0) {
      mpz_ui_pow_ui(p, 10, static_cast<unsigned long>(cut.scale_));
      mpz_tdiv_q(cut.m_, cut.m_, p);
      cut.scale_ = 0;
    }
    mpz_clear(p);
    ASSERT_EQ(text_of(whole), cut.canonical()) << text;
  }
}

}  // namespace
}  // namespace core
