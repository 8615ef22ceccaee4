// Implements core/numeric.h: exact decimal numbers.
#include "core/numeric.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "core/exception_classes.h"
#include "core/thread.h"
#include "internal/chars.h"
#include "internal/throw.h"
#include "rivet/heap.h"

namespace core {
namespace {

using Limb = Numeric::Limb;
constexpr Limb kBase = Numeric::kLimbBase;
constexpr Limb kHalfBase = kBase / 2;
constexpr std::int64_t kMaxScale = Numeric::kMaxScaleLimbs;

constexpr Limb kPow10[10] = {1,      10,      100,      1000,      10000,
                             100000, 1000000, 10000000, 100000000, 1000000000};

[[noreturn]] void throw_numeric(NumericException::Code code) { throw NumericException(code); }

Limb* allocate_limbs(std::size_t count) {
  void* block = rivet_malloc(count * sizeof(Limb));
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<Limb*>(block);
}

// Working limbs: on the stack up to N, from rivet beyond.
template <std::size_t N>
class Scratch {
 public:
  explicit Scratch(std::size_t count) : data_(count <= N ? inline_ : allocate_limbs(count)) {}
  ~Scratch() {
    if (data_ != inline_) rivet_free(data_);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  Limb* get() noexcept { return data_; }

 private:
  Limb inline_[N];
  Limb* data_;
};

// Room for the usual operands of add, subtract and multiply.
constexpr std::size_t kSmallScratch = 64;
// Division works on the stack while its limbs fit in 1,024 bytes.
constexpr std::size_t kDivisionScratch = 1024 / sizeof(Limb);

// The limbs of one operand with their place: limb i sits at position
// i - frac, in powers of 10^9.
struct Magnitude {
  const Limb* limbs;
  std::int64_t count;
  std::int64_t frac;
  std::int64_t low() const noexcept { return -frac; }
  std::int64_t high() const noexcept { return count - 1 - frac; }
};

int compare_magnitudes(const Magnitude& a, const Magnitude& b) noexcept {
  if (a.high() != b.high()) return a.high() > b.high() ? 1 : -1;
  std::int64_t i = a.count - 1;
  std::int64_t j = b.count - 1;
  for (; i >= 0 && j >= 0; --i, --j) {
    if (a.limbs[i] != b.limbs[j]) return a.limbs[i] > b.limbs[j] ? 1 : -1;
  }
  // The lowest limb is never zero, so limbs left over make that side larger.
  if (i >= 0) return 1;
  if (j >= 0) return -1;
  return 0;
}

// dst[0..) += src[0..count) with the carry running on as far as needed.
void add_into(Limb* dst, const Limb* src, std::int64_t count) noexcept {
  Limb carry = 0;
  std::int64_t i = 0;
  for (; i < count; ++i) {
    Limb sum = dst[i] + src[i] + carry;
    carry = sum >= kBase ? 1 : 0;
    dst[i] = sum - carry * kBase;
  }
  for (; carry != 0; ++i) {
    Limb sum = dst[i] + 1;
    carry = sum == kBase ? 1 : 0;
    dst[i] = carry != 0 ? 0 : sum;
  }
}

// dst[0..) -= src[0..count); the caller guarantees dst >= src.
void subtract_from(Limb* dst, const Limb* src, std::int64_t count) noexcept {
  Limb borrow = 0;
  std::int64_t i = 0;
  for (; i < count; ++i) {
    const Limb take = src[i] + borrow;
    borrow = dst[i] < take ? 1 : 0;
    dst[i] = dst[i] + borrow * kBase - take;
  }
  for (; borrow != 0; ++i) {
    borrow = dst[i] == 0 ? 1 : 0;
    dst[i] = borrow != 0 ? kBase - 1 : dst[i] - 1;
  }
}

// Division of x < d * 10^9 by a fixed d <= 10^9: the quotient is estimated
// with a floating-point reciprocal (off by at most one, as it stays below
// 2^31) and then corrected exactly, which is several times faster than a
// 64-bit hardware division.
class Reciprocal {
 public:
  explicit Reciprocal(std::uint64_t d) noexcept : d_(d), inverse_(1.0 / static_cast<double>(d)) {}

  void divide(std::uint64_t x, std::uint64_t& quotient, std::uint64_t& rest) const noexcept {
    // Signed conversions are single instructions; x stays below 2^63.
    auto q = static_cast<std::uint64_t>(
        static_cast<std::int64_t>(static_cast<double>(static_cast<std::int64_t>(x)) * inverse_));
    auto r = static_cast<std::int64_t>(x - q * d_);
    const auto d = static_cast<std::int64_t>(d_);
    while (r < 0) {
      --q;
      r += d;
    }
    while (r >= d) {
      ++q;
      r -= d;
    }
    quotient = q;
    rest = static_cast<std::uint64_t>(r);
  }

 private:
  std::uint64_t d_;
  double inverse_;
};

// dst[0..count) = src[0..count) * factor (factor <= 10^9 / 2); returns the
// limb carried out. Each product splits on its own, so the chain from limb to
// limb is only an addition.
Limb multiply_small(const Limb* src, std::size_t count, std::uint64_t factor, Limb* dst) noexcept {
  std::uint64_t carry = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t p = src[i] * factor;
    std::uint64_t high = p / kBase;
    std::uint64_t sum = p - high * kBase + carry;
    if (sum >= kBase) {
      sum -= kBase;
      ++high;
    }
    dst[i] = static_cast<Limb>(sum);
    carry = high;
  }
  return static_cast<Limb>(carry);
}

__extension__ using Uint128 = unsigned __int128;
__extension__ using Int128 = __int128;

// An approximation of `x` (< 2^120) good to a few units in the last place.
double approximate(Uint128 x) noexcept {
  constexpr double kTwoTo60 = 1152921504606846976.0;
  const auto high = static_cast<std::int64_t>(x >> 60);
  const auto low = static_cast<std::int64_t>(static_cast<std::uint64_t>(x) & ((1ull << 60) - 1));
  return static_cast<double>(high) * kTwoTo60 + static_cast<double>(low);
}

// The quotient limbs q[0..m - n] of U / v[0..n) for a divisor of at most four
// limbs, where U is a[0..count) shifted up by `zeros` zero limbs (m = count +
// zeros, m >= n, v[n-1] != 0). The remainder is dropped.
//
// The running remainder stays below the divisor (< 10^36 < 2^120), so one
// step of the long division is a 128-bit multiply-subtract: the quotient limb
// is estimated in double precision (off by at most one, as it stays below
// 2^30) and the 128-bit remainder, exact modulo 2^128 and within one divisor
// of [0, d), says which way to correct it.
void divide_short(const Limb* a, std::size_t count, std::size_t zeros, const Limb* v, std::size_t n,
                  Limb* q) noexcept {
  const std::size_t m = count + zeros;
  const auto dividend = [a, zeros](std::size_t i) -> Limb { return i >= zeros ? a[i - zeros] : 0; };
  if (n == 1) {
    const Reciprocal d(v[0]);
    std::uint64_t r = 0;
    for (std::size_t i = m; i-- > 0;) {
      std::uint64_t quotient = 0;
      d.divide(r * kBase + dividend(i), quotient, r);
      q[i] = static_cast<Limb>(quotient);
    }
    return;
  }
  Uint128 d = 0;
  for (std::size_t i = n; i-- > 0;) d = d * kBase + v[i];
  const double inverse = 1.0 / approximate(d);
  // The top n - 1 limbs lie below the divisor: their quotient limbs are 0.
  Uint128 r = 0;
  for (std::size_t i = m; i-- > m - n + 1;) r = r * kBase + dividend(i);
  for (std::size_t j = m - n + 1; j-- > 0;) {
    const Limb u = dividend(j);
    auto qhat = static_cast<std::int64_t>((approximate(r) * kBase + u) * inverse);
    auto rest = static_cast<Int128>(r * kBase + u - static_cast<Uint128>(qhat) * d);
    if (rest < 0) {
      --qhat;
      rest += static_cast<Int128>(d);
    } else if (rest >= static_cast<Int128>(d)) {
      ++qhat;
      rest -= static_cast<Int128>(d);
    }
    q[j] = static_cast<Limb>(qhat);
    r = static_cast<Uint128>(rest);
  }
}

// r[0..na + nb) = a[0..na) * b[0..nb), column by column: each column sums its
// products in 64 bits (16 of them stay below 2^64 with the carry) and splits
// once, so the chain from column to column is one split, not one per product.
void multiply_limbs(const Limb* a, std::size_t na, const Limb* b, std::size_t nb,
                    Limb* r) noexcept {
  constexpr std::size_t kRun = 16;
  std::uint64_t carry = 0;
  for (std::size_t k = 0; k + 1 < na + nb; ++k) {
    const std::size_t end = std::min(k + 1, na);
    std::size_t i = k >= nb ? k - nb + 1 : 0;
    std::uint64_t column = carry;
    std::uint64_t high = 0;
    while (i < end) {
      const std::size_t stop = std::min(end, i + kRun);
      for (; i < stop; ++i) column += static_cast<std::uint64_t>(a[i]) * b[k - i];
      if (i < end) {
        high += column / kBase;
        column %= kBase;
      }
    }
    r[k] = static_cast<Limb>(column % kBase);
    carry = column / kBase + high;
  }
  r[na + nb - 1] = static_cast<Limb>(carry);
}

// Long division of u[0..m) by v[0..n) in base 10^9, m >= n, v[n-1] != 0.
// Writes the m - n + 1 quotient limbs to q and, when rem is not null, the n
// remainder limbs to rem. `work` needs m + 1 + n limbs.
void divide_limbs(const Limb* u, std::size_t m, const Limb* v, std::size_t n, Limb* q, Limb* rem,
                  Limb* work) noexcept {
  if (n == 1) {
    const Reciprocal d(v[0]);
    std::uint64_t r = 0;
    for (std::size_t i = m; i-- > 0;) {
      std::uint64_t quotient = 0;
      d.divide(r * kBase + u[i], quotient, r);
      q[i] = static_cast<Limb>(quotient);
    }
    if (rem != nullptr) rem[0] = static_cast<Limb>(r);
    return;
  }
  // Scale both so that the divisor's top limb is at least half the base;
  // then each estimate from the top two limbs is off by at most one after
  // the second-limb test, and the trial subtraction fixes the rest.
  const std::uint64_t scale = kBase / (static_cast<std::uint64_t>(v[n - 1]) + 1);
  Limb* un = work;
  Limb* vn = work + m + 1;
  multiply_small(v, n, scale, vn);
  un[m] = multiply_small(u, m, scale, un);
  const std::uint64_t top = vn[n - 1];
  const std::uint64_t second = vn[n - 2];
  const Reciprocal top_divisor(top);
  for (std::size_t j = m - n + 1; j-- > 0;) {
    const std::uint64_t num = static_cast<std::uint64_t>(un[j + n]) * kBase + un[j + n - 1];
    std::uint64_t qhat = 0;
    std::uint64_t rhat = 0;
    top_divisor.divide(num, qhat, rhat);
    while (qhat >= kBase || qhat * second > rhat * kBase + un[j + n - 2]) {
      --qhat;
      rhat += top;
      if (rhat >= kBase) break;
    }
    // Each product splits into its own high and low limb, so the only chain
    // from limb to limb is the cheap borrow, not a multiply and a divide.
    std::int64_t carry_in = 0;  // the previous product's high limb plus the borrow
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint64_t p = qhat * vn[i];
      const std::uint64_t high = p / kBase;
      const std::uint64_t low = p - high * kBase;
      std::int64_t t =
          static_cast<std::int64_t>(un[i + j]) - static_cast<std::int64_t>(low) - carry_in;
      std::int64_t borrow = 0;
      if (t < 0) {
        t += kBase;
        ++borrow;
      }
      if (t < 0) {
        t += kBase;
        ++borrow;
      }
      un[i + j] = static_cast<Limb>(t);
      carry_in = static_cast<std::int64_t>(high) + borrow;
    }
    const std::int64_t t = static_cast<std::int64_t>(un[j + n]) - carry_in;
    if (t < 0) {
      // The estimate was one too large: add the divisor back once.
      --qhat;
      Limb c = 0;
      for (std::size_t i = 0; i < n; ++i) {
        Limb sum = un[i + j] + vn[i] + c;
        c = sum >= kBase ? 1 : 0;
        un[i + j] = sum - c * kBase;
      }
      un[j + n] = 0;
    } else {
      un[j + n] = static_cast<Limb>(t);
    }
    q[j] = static_cast<Limb>(qhat);
  }
  if (rem != nullptr) {
    std::uint64_t r = 0;
    for (std::size_t i = n; i-- > 0;) {
      const std::uint64_t cur = r * kBase + un[i];
      rem[i] = static_cast<Limb>(cur / scale);
      r = cur % scale;
    }
  }
}

int digit_count(Limb limb) noexcept {
  int count = 1;
  for (int i = 1; i < 9; ++i) count += limb >= kPow10[i] ? 1 : 0;
  return count;
}

// The decimal zeros at the low end of a non-zero limb (0 to 8), found by
// halving the width instead of one digit at a time.
int trailing_zeros(Limb limb) noexcept {
  if (limb % 100000000 == 0) return 8;
  int count = 0;
  if (limb % 10000 == 0) {
    limb /= 10000;
    count += 4;
  }
  if (limb % 100 == 0) {
    limb /= 100;
    count += 2;
  }
  return limb % 10 == 0 ? count + 1 : count;
}

// The value of `count` (at most nine) ASCII digits. A whole group is summed
// as a tree of pairs, so its digits do not wait on one another.
template <class Char>
Limb read_digits(const Char* text, std::int64_t count) noexcept {
  const auto digit = [text](int i) { return static_cast<Limb>(text[i] - '0'); };
  if (count == 9) {
    const Limb high = (digit(0) * 10 + digit(1)) * 100 + (digit(2) * 10 + digit(3));
    const Limb low = (digit(4) * 10 + digit(5)) * 100 + (digit(6) * 10 + digit(7));
    return (high * 10000 + low) * 10 + digit(8);
  }
  Limb limb = 0;
  for (int i = 0; i < count; ++i) limb = limb * 10 + digit(i);
  return limb;
}

template <class Char>
Char* write_nine(Char* out, Limb limb) noexcept {
  return detail::write_nine_digits(out, limb);
}

// The lowest `count` digits of `limb`, leading zeros included.
template <class Char>
Char* write_digits(Char* out, Limb limb, int count) noexcept {
  Char* const end = out + count;
  Char* first = detail::write_decimal_backwards(limb, end);
  while (first > out) *--first = '0';
  return end;
}

constexpr std::uint32_t make_crc_entry(std::uint32_t c) {
  for (int k = 0; k < 8; ++k) c = (c & 1) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
  return c;
}

struct CrcTable {
  std::uint32_t entries[256];
  constexpr CrcTable() : entries() {
    for (std::uint32_t i = 0; i < 256; ++i) entries[i] = make_crc_entry(i);
  }
};
constexpr CrcTable kCrcTable;

void check_mode(NumericRoundMode mode) {
  if (mode != NumericRoundMode::HalfTowardZero && mode != NumericRoundMode::HalfAwayFromZero) {
    detail::throw_illegal_argument(static_cast<int>(mode));
  }
}

bool rounds_up(Limb dropped, Limb half, bool lower_dropped, NumericRoundMode mode) noexcept {
  if (dropped != half) return dropped > half;
  return lower_dropped || mode == NumericRoundMode::HalfAwayFromZero;
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction and storage

Numeric::Numeric(short value) noexcept : Numeric(static_cast<long long>(value)) {}
Numeric::Numeric(unsigned short value) noexcept : Numeric(static_cast<unsigned long long>(value)) {}
Numeric::Numeric(int value) noexcept : Numeric(static_cast<long long>(value)) {}
Numeric::Numeric(unsigned int value) noexcept : Numeric(static_cast<unsigned long long>(value)) {}
Numeric::Numeric(long value) noexcept : Numeric(static_cast<long long>(value)) {}
Numeric::Numeric(unsigned long value) noexcept : Numeric(static_cast<unsigned long long>(value)) {}

Numeric::Numeric(long long value) noexcept : Numeric() {
  const unsigned long long magnitude =
      value < 0 ? 0ull - static_cast<unsigned long long>(value) : value;
  setMagnitude(magnitude, value < 0);
}

Numeric::Numeric(unsigned long long value) noexcept : Numeric() { setMagnitude(value, false); }

Numeric::Numeric(double value) : Numeric() {
  if (!std::isfinite(value)) throw_numeric(NumericException::Code::Overflow);
  if (value == 0) return;
  // The shortest round-trip form, "[-]d[.ddd]e[+-]xx", read back exactly.
  char text[64];
  const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
  *result.ptr = '\0';
  const char* e = std::strchr(text, 'e');
  int exponent = 0;
  std::from_chars(e[1] == '+' ? e + 2 : e + 1, result.ptr, exponent);
  // Move the point so that the text is "d.ddd" with no exponent, then parse.
  const bool negative = text[0] == '-';
  const char* mantissa = text + (negative ? 1 : 0);
  char digits[32];
  int count = 0;
  for (const char* p = mantissa; p < e; ++p) {
    if (*p != '.') digits[count++] = *p;
  }
  // value = digits * 10^(exponent - count + 1)
  const std::int64_t low_exp = exponent - count + 1;
  const std::int64_t low_pos = low_exp >= 0 ? low_exp / 9 : -((-low_exp + 8) / 9);
  const std::int64_t high_pos =
      (low_exp + count - 1) >= 0 ? (low_exp + count - 1) / 9 : -((-(low_exp + count - 1) + 8) / 9);
  Limb limbs[8] = {};
  for (int j = 0; j < count; ++j) {
    const std::int64_t exp10 = low_exp + (count - 1 - j);
    const std::int64_t pos = exp10 >= 0 ? exp10 / 9 : -((-exp10 + 8) / 9);
    limbs[pos - low_pos] += static_cast<Limb>(digits[j] - '0') * kPow10[exp10 - pos * 9];
  }
  assign(limbs, high_pos - low_pos + 1, -low_pos, negative ? -1 : 1);
}

void Numeric::copyLarge(const Numeric& other) {
  limbs_ = allocate_limbs(other.size_);
  capacity_ = other.size_;
  std::memcpy(limbs_, other.limbs_, other.size_ * sizeof(Limb));
}

void Numeric::takeBuffer(Numeric& other) noexcept {
  limbs_ = other.limbs_;
  capacity_ = other.capacity_;
  other.limbs_ = other.buffer_;
  other.capacity_ = kInlineLimbs;
}

Numeric& Numeric::assignLarge(const Numeric& other) {
  if (this != &other) {
    reserve(other.size_, false);
    std::memcpy(limbs_, other.limbs_, other.size_ * sizeof(Limb));
    size_ = other.size_;
    frac_ = other.frac_;
    sign_ = other.sign_;
  }
  return *this;
}

Numeric& Numeric::operator=(Numeric&& other) noexcept {
  if (this != &other) {
    if (other.limbs_ != other.buffer_) {
      releaseBuffer();
      limbs_ = other.limbs_;
      capacity_ = other.capacity_;
      other.limbs_ = other.buffer_;
      other.capacity_ = kInlineLimbs;
    } else if (other.size_ > 0) {
      // Fits in the built-in buffer; any heap buffer of ours serves as well.
      std::memcpy(limbs_, other.limbs_, other.size_ * sizeof(Limb));
    }
    size_ = other.size_;
    frac_ = other.frac_;
    sign_ = other.sign_;
    other.setZero();
  }
  return *this;
}

void Numeric::releaseBuffer() noexcept {
  if (limbs_ != buffer_) {
    rivet_free(limbs_);
    limbs_ = buffer_;
    capacity_ = kInlineLimbs;
  }
}

void Numeric::setZero() noexcept {
  size_ = 0;
  frac_ = 0;
  sign_ = 1;
}

void Numeric::setMagnitude(unsigned long long magnitude, bool negative) noexcept {
  setZero();
  if (magnitude == 0) return;
  std::int32_t low_zeros = 0;
  std::int32_t count = 0;
  while (magnitude != 0) {
    const Limb limb = static_cast<Limb>(magnitude % kBase);
    magnitude /= kBase;
    if (limb == 0 && count == 0) {
      ++low_zeros;
      continue;
    }
    buffer_[count++] = limb;
  }
  // A zero limb between two non-zero ones is kept: only the low end drops.
  size_ = count;
  frac_ = -low_zeros;
  sign_ = negative ? -1 : 1;
}

Limb* Numeric::reserve(std::int64_t count, bool keep) {
  if (count <= static_cast<std::int64_t>(capacity_)) return limbs_;
  Limb* fresh = allocate_limbs(static_cast<std::size_t>(count));
  if (keep) std::memcpy(fresh, limbs_, size_ * sizeof(Limb));
  releaseBuffer();
  limbs_ = fresh;
  capacity_ = static_cast<std::uint32_t>(count);
  return limbs_;
}

void Numeric::assign(const Limb* src, std::int64_t count, std::int64_t frac, int sign) {
  std::int64_t low = 0;
  while (low < count && src[low] == 0) ++low;
  if (low == count) {
    setZero();
    return;
  }
  std::int64_t high = count - 1;
  while (src[high] == 0) --high;
  const std::int64_t size = high - low + 1;
  const std::int64_t new_frac = frac - low;
  if (new_frac > kMaxScale || size - new_frac > kMaxScale) {
    throw_numeric(NumericException::Code::Overflow);
  }
  Limb* dst = reserve(size, false);
  std::memcpy(dst, src + low, static_cast<std::size_t>(size) * sizeof(Limb));
  size_ = static_cast<std::int32_t>(size);
  frac_ = static_cast<std::int32_t>(new_frac);
  sign_ = static_cast<signed char>(sign);
}

void Numeric::normalizeInPlace() noexcept {
  std::int32_t low = 0;
  while (low < size_ && limbs_[low] == 0) ++low;
  if (low == size_) {
    setZero();
    return;
  }
  if (low > 0) {
    std::memmove(limbs_, limbs_ + low, (size_ - low) * sizeof(Limb));
    size_ -= low;
    frac_ -= low;
  }
  while (limbs_[size_ - 1] == 0) --size_;
}

// ---------------------------------------------------------------------------
// Arithmetic

// Inlined: the call would cost about what the work does. The limbs stay in
// registers and are moved down past the zero ones by shifting: storing them
// one by one and reloading them at a variable offset would stall on store
// forwarding.
template <int kCount>
[[gnu::always_inline]] inline void Numeric::assignSmall(const Limb (&r)[kCount], std::int64_t frac,
                                                        int sign) {
  static_assert(kCount <= 8);
  unsigned present = 0;
  Uint128 low = 0;
  Uint128 high = 0;
  for (int i = 0; i < kCount; ++i) {
    present |= static_cast<unsigned>(r[i] != 0) << i;
    (i < 4 ? low : high) |= static_cast<Uint128>(r[i]) << (32 * (i % 4));
  }
  const int first = std::countr_zero(present);
  const int size = std::bit_width(present) - first;
  const std::int64_t new_frac = frac - first;
  if (new_frac > kMaxScale || size - new_frac > kMaxScale) {
    throw_numeric(NumericException::Code::Overflow);
  }
  if (first >= 4) {
    low = high >> (32 * (first - 4));
    high = 0;
  } else if (first > 0) {
    low = (low >> (32 * first)) | (high << (128 - 32 * first));
    high >>= 32 * first;
  }
  Limb* dst = limbs_;
  if (size > static_cast<int>(kInlineLimbs)) {
    dst = reserve(size, false);
    for (int i = 4; i < size; ++i) dst[i] = static_cast<Limb>(high >> (32 * (i - 4)));
  }
  // Four limbs are always written: every buffer holds at least four, and the
  // ones past the size are never read.
  std::memcpy(dst, &low, sizeof low);
  size_ = size;
  frac_ = static_cast<std::int32_t>(new_frac);
  sign_ = static_cast<signed char>(sign);
}

namespace {

constexpr std::uint64_t kBaseSquared = std::uint64_t{kBase} * kBase;

// The limbs placed `shift` limb places up in a window of four places, as two
// words of base 10^18 (places 0-1 and 2-3). REQUIRES: shift + count <= 4.
void pack_pair(const Limb* limbs, int count, int shift, std::uint64_t& low,
               std::uint64_t& high) noexcept {
  const auto place = [=](int p) -> std::uint64_t {
    const auto i = static_cast<unsigned>(p - shift);
    return i < static_cast<unsigned>(count) ? limbs[i] : 0;
  };
  low = place(0) + place(1) * kBase;
  high = place(2) + place(3) * kBase;
}

}  // namespace

[[gnu::always_inline]] inline bool Numeric::addSmall(const Numeric& other, int other_sign) {
  // Aligned on the lower of the two lowest places, both fit a window of four
  // limb places, which two 64-bit words of base 10^18 hold: the sum or
  // difference is then a two-word operation, whatever the operands' places.
  const std::int64_t low =
      std::min(-static_cast<std::int64_t>(frac_), -static_cast<std::int64_t>(other.frac_));
  const std::int64_t high = std::max(size_ - 1 - static_cast<std::int64_t>(frac_),
                                     other.size_ - 1 - static_cast<std::int64_t>(other.frac_));
  if (high - low > 3) return false;
  std::uint64_t a_low = 0;
  std::uint64_t a_high = 0;
  std::uint64_t b_low = 0;
  std::uint64_t b_high = 0;
  pack_pair(limbs_, size_, static_cast<int>(-frac_ - low), a_low, a_high);
  pack_pair(other.limbs_, other.size_, static_cast<int>(-other.frac_ - low), b_low, b_high);
  int result_sign = sign_;
  std::uint64_t r_low = 0;
  std::uint64_t r_high = 0;
  if (sign_ == other_sign) {
    r_low = a_low + b_low;
    r_high = a_high + b_high;
    if (r_low >= kBaseSquared) {
      r_low -= kBaseSquared;
      ++r_high;
    }
  } else {
    if (a_high < b_high || (a_high == b_high && a_low < b_low)) {
      std::swap(a_low, b_low);
      std::swap(a_high, b_high);
      result_sign = other_sign;
    }
    r_high = a_high - b_high;
    if (a_low < b_low) {
      r_low = a_low + kBaseSquared - b_low;
      --r_high;
    } else {
      r_low = a_low - b_low;
    }
    if ((r_low | r_high) == 0) {
      setZero();
      return true;
    }
  }
  // A carry out of the window lands in a fifth place.
  const std::uint64_t top = r_high / kBase;
  const Limb r[5] = {static_cast<Limb>(r_low % kBase), static_cast<Limb>(r_low / kBase),
                     static_cast<Limb>(r_high % kBase), static_cast<Limb>(top % kBase),
                     static_cast<Limb>(top / kBase)};
  assignSmall(r, -low, result_sign);
  return true;
}

namespace {

// r = a * b for operands of kLimbs limbs (zero-padded), a fixed schoolbook
// by columns: a column of up to four products stays below 2^64 with its
// carry, so each column splits once.
template <int kLimbs>
[[gnu::always_inline]] inline void multiply_fixed(const std::uint64_t* a, const std::uint64_t* b,
                                                  Limb (&r)[2 * kLimbs]) noexcept {
  std::uint64_t carry = 0;
  for (int k = 0; k < 2 * kLimbs - 1; ++k) {
    std::uint64_t column = carry;
    for (int i = 0; i < kLimbs; ++i) {
      if (k - i >= 0 && k - i < kLimbs) column += a[i] * b[k - i];
    }
    r[k] = static_cast<Limb>(column % kBase);
    carry = column / kBase;
  }
  r[2 * kLimbs - 1] = static_cast<Limb>(carry);
}

}  // namespace

[[gnu::always_inline]] inline bool Numeric::multiplySmall(const Numeric& other) {
  const std::int32_t na = size_;
  const std::int32_t nb = other.size_;
  if (na > 4 || nb > 4) return false;
  std::uint64_t a[4];
  std::uint64_t b[4];
  for (int i = 0; i < 4; ++i) {
    a[i] = i < na ? limbs_[i] : 0;
    b[i] = i < nb ? other.limbs_[i] : 0;
  }
  const std::int64_t frac = static_cast<std::int64_t>(frac_) + other.frac_;
  const int sign = sign_ * other.sign_;
  const int width = std::max(na, nb);
  if (width <= 2) {
    Limb r[4];
    multiply_fixed<2>(a, b, r);
    assignSmall(r, frac, sign);
  } else if (width == 3) {
    Limb r[6];
    multiply_fixed<3>(a, b, r);
    assignSmall(r, frac, sign);
  } else {
    Limb r[8];
    multiply_fixed<4>(a, b, r);
    assignSmall(r, frac, sign);
  }
  return true;
}

void Numeric::addAligned(const Numeric& other, int other_sign) {
  const std::int32_t n = std::max(size_, other.size_);
  int order = 1;
  if (sign_ != other_sign) {
    order = compareMagnitude(other);
    if (order == 0) {
      setZero();
      return;
    }
  }
  reserve(n, true);
  Limb* r = limbs_;
  const Limb* b = other.limbs_;
  const std::int32_t nb = other.size_;
  for (std::int32_t i = size_; i < n; ++i) r[i] = 0;
  size_ = n;
  if (sign_ == other_sign) {
    Limb carry = 0;
    for (std::int32_t i = 0; i < nb; ++i) {
      const Limb sum = r[i] + b[i] + carry;
      carry = sum >= kBase ? 1 : 0;
      r[i] = sum - carry * kBase;
    }
    for (std::int32_t i = nb; i < n && carry != 0; ++i) {
      carry = r[i] == kBase - 1 ? 1 : 0;
      r[i] = carry != 0 ? 0 : r[i] + 1;
    }
    if (carry != 0) {
      reserve(static_cast<std::int64_t>(n) + 1, true);
      limbs_[n] = 1;
      size_ = n + 1;
    }
  } else if (order > 0) {
    // |this| is the larger, so it has the most limbs and the borrow ends
    // within them.
    Limb borrow = 0;
    for (std::int32_t i = 0; i < nb; ++i) {
      const Limb take = b[i] + borrow;
      borrow = r[i] < take ? 1 : 0;
      r[i] = r[i] + borrow * kBase - take;
    }
    for (std::int32_t i = nb; borrow != 0; ++i) {
      borrow = r[i] == 0 ? 1 : 0;
      r[i] = borrow != 0 ? kBase - 1 : r[i] - 1;
    }
  } else {
    // |other| is the larger, and with the same places it has the most limbs.
    Limb borrow = 0;
    for (std::int32_t i = 0; i < n; ++i) {
      const Limb take = r[i] + borrow;
      borrow = b[i] < take ? 1 : 0;
      r[i] = b[i] + borrow * kBase - take;
    }
    sign_ = static_cast<signed char>(other_sign);
  }
  normalizeInPlace();
}

[[gnu::always_inline]] inline void Numeric::addSigned(const Numeric& other, int other_sign) {
  if (other.size_ == 0) return;
  if (size_ == 0) {
    *this = other;
    sign_ = static_cast<signed char>(other_sign);
    return;
  }
  if (size_ <= 4 && other.size_ <= 4 && addSmall(other, other_sign)) return;
  if (frac_ == other.frac_ && std::max(size_, other.size_) - frac_ < kMaxScale) {
    addAligned(other, other_sign);
    return;
  }
  const Magnitude a{limbs_, size_, frac_};
  const Magnitude b{other.limbs_, other.size_, other.frac_};
  const std::int64_t low = std::min(a.low(), b.low());
  const std::int64_t width = std::max(a.high(), b.high()) - low + 2;
  Scratch<kSmallScratch> scratch(static_cast<std::size_t>(width));
  Limb* r = scratch.get();
  std::memset(r, 0, static_cast<std::size_t>(width) * sizeof(Limb));
  int result_sign = sign_;
  if (sign_ == other_sign) {
    std::memcpy(r + (a.low() - low), a.limbs, a.count * sizeof(Limb));
    add_into(r + (b.low() - low), b.limbs, b.count);
  } else {
    const int order = compare_magnitudes(a, b);
    if (order == 0) {
      setZero();
      return;
    }
    const Magnitude& big = order > 0 ? a : b;
    const Magnitude& small = order > 0 ? b : a;
    std::memcpy(r + (big.low() - low), big.limbs, big.count * sizeof(Limb));
    subtract_from(r + (small.low() - low), small.limbs, small.count);
    if (order < 0) result_sign = other_sign;
  }
  assign(r, width, -low, result_sign);
}

Numeric& Numeric::operator+=(const Numeric& other) {
  addSigned(other, other.sign_);
  return *this;
}

Numeric& Numeric::operator-=(const Numeric& other) {
  addSigned(other, -other.sign_);
  return *this;
}

Numeric& Numeric::operator*=(const Numeric& other) {
  if (size_ == 0) return *this;
  if (other.size_ == 0) {
    setZero();
    return *this;
  }
  if (multiplySmall(other)) return *this;
  const std::int64_t width = static_cast<std::int64_t>(size_) + other.size_;
  Scratch<kSmallScratch> scratch(static_cast<std::size_t>(width));
  Limb* r = scratch.get();
  multiply_limbs(limbs_, static_cast<std::size_t>(size_), other.limbs_,
                 static_cast<std::size_t>(other.size_), r);
  assign(r, width, static_cast<std::int64_t>(frac_) + other.frac_, sign_ * other.sign_);
  return *this;
}

Numeric& Numeric::operator/=(const Numeric& divisor) {
  if (divisor.size_ == 0) throw_numeric(NumericException::Code::DivideByZero);
  if (size_ == 0) return *this;
  // The dividend's limbs dropped below the point (a negative fraction-limb
  // count) come back as zeros, and the fraction-limb count counts as 0.
  const std::int64_t pad = frac_ < 0 ? -static_cast<std::int64_t>(frac_) : 0;
  const std::int64_t frac = frac_ < 0 ? 0 : frac_;
  const std::size_t n = static_cast<std::size_t>(divisor.size_);
  const std::int64_t quotient_frac = frac - divisor.frac_ + divisor.size_ + 2;
  // Dividend: this * 10^(9 * (divisor limbs + 3)), the lowest quotient limb
  // then being the one that decides the rounding.
  const std::size_t low = n + 3 + static_cast<std::size_t>(pad);
  const std::size_t m = low + static_cast<std::size_t>(size_);
  const std::size_t q_count = m - n + 1;
  // A short divisor streams the dividend; a long one needs it and a working
  // copy laid out.
  const bool short_divisor = n <= 4;
  Scratch<kDivisionScratch> scratch(short_divisor ? q_count + 1 : m + (q_count + 1) + (m + 1 + n));
  Limb* q = scratch.get();
  if (short_divisor) {
    divide_short(limbs_, static_cast<std::size_t>(size_), low, divisor.limbs_, n, q);
  } else {
    Limb* u = scratch.get();
    q = u + m;
    std::memset(u, 0, low * sizeof(Limb));
    std::memcpy(u + low, limbs_, size_ * sizeof(Limb));
    divide_limbs(u, m, divisor.limbs_, n, q, nullptr, q + q_count + 1);
  }
  q[q_count] = 0;
  const bool up = q[0] >= kHalfBase;
  Limb* quotient = q + 1;
  if (up) {
    const Limb one = 1;
    add_into(quotient, &one, 1);
  }
  assign(quotient, static_cast<std::int64_t>(q_count), quotient_frac, sign_ * divisor.sign_);
  return *this;
}

Numeric& Numeric::operator%=(const Numeric& divisor) {
  if (divisor.size_ == 0) throw_numeric(NumericException::Code::DivideByZero);
  if (size_ == 0) return *this;
  const Magnitude a{limbs_, size_, frac_};
  const Magnitude b{divisor.limbs_, divisor.size_, divisor.frac_};
  if (compare_magnitudes(a, b) < 0) return *this;
  // Both as integers at the lower of the two lowest positions.
  const std::int64_t low = std::min(a.low(), b.low());
  const std::size_t pad_a = static_cast<std::size_t>(a.low() - low);
  const std::size_t pad_b = static_cast<std::size_t>(b.low() - low);
  const std::size_t m = pad_a + static_cast<std::size_t>(a.count);
  const std::size_t n = pad_b + static_cast<std::size_t>(b.count);
  const std::size_t q_count = m - n + 1;
  Scratch<kDivisionScratch> scratch(m + n + q_count + n + (m + 1 + n));
  Limb* u = scratch.get();
  Limb* v = u + m;
  Limb* q = v + n;
  Limb* rem = q + q_count;
  Limb* work = rem + n;
  std::memset(u, 0, pad_a * sizeof(Limb));
  std::memcpy(u + pad_a, a.limbs, a.count * sizeof(Limb));
  std::memset(v, 0, pad_b * sizeof(Limb));
  std::memcpy(v + pad_b, b.limbs, b.count * sizeof(Limb));
  divide_limbs(u, m, v, n, q, rem, work);
  assign(rem, static_cast<std::int64_t>(n), -low, sign_);
  return *this;
}

Numeric Numeric::operator-() const {
  Numeric result(*this);
  if (result.size_ != 0) result.sign_ = static_cast<signed char>(-result.sign_);
  return result;
}

Numeric Numeric::abs() const {
  Numeric result(*this);
  result.sign_ = 1;
  return result;
}

Numeric& Numeric::pow(const Numeric& exponent) {
  if (exponent.frac_ > 0) {
    // A fractional exponent: no exact result exists in general.
    if (size_ == 0) {
      if (exponent.sign_ < 0) throw_numeric(NumericException::Code::DivideByZero);
      return *this;
    }
    if (sign_ < 0) throw_numeric(NumericException::Code::NegativePow);
    const double power = std::pow(static_cast<double>(*this), static_cast<double>(exponent));
    if (!std::isfinite(power)) throw_numeric(NumericException::Code::Overflow);
    *this = Numeric(power);
    return *this;
  }
  if (exponent.size_ == 0) {
    *this = Numeric(1);
    return *this;
  }
  if (size_ == 0) {
    if (exponent.sign_ < 0) throw_numeric(NumericException::Code::DivideByZero);
    return *this;
  }
  const bool odd = exponent.frac_ == 0 && (exponent.limbs_[0] & 1) != 0;
  if (size_ == 1 && frac_ == 0 && limbs_[0] == 1) {
    // +-1 to any whole power.
    if (!odd) sign_ = 1;
    return *this;
  }
  unsigned long long k = 0;
  if (!exponent.integerMagnitude(k)) throw_numeric(NumericException::Code::Overflow);
  // Bound the work before doing it: the digits of the result's limbs and
  // its place both grow linearly with the exponent.
  const std::int64_t mantissa_digits =
      9 * (static_cast<std::int64_t>(size_) - 1) + digit_count(limbs_[size_ - 1]);
  const std::int64_t reach =
      std::max<std::int64_t>(std::abs(static_cast<std::int64_t>(frac_)),
                             std::abs(static_cast<std::int64_t>(size_) - frac_));
  if (k > static_cast<unsigned long long>(kMaxPowDigits) ||
      static_cast<std::int64_t>(k) * mantissa_digits > kMaxPowDigits ||
      static_cast<std::int64_t>(k) * reach > kMaxScale) {
    throw_numeric(NumericException::Code::Overflow);
  }
  Numeric base(*this);
  Numeric result(1);
  for (;;) {
    if ((k & 1) != 0) result *= base;
    k >>= 1;
    if (k == 0) break;
    base *= base;
  }
  if (exponent.sign_ < 0) {
    Numeric one(1);
    one /= result;
    result = std::move(one);
  }
  *this = std::move(result);
  return *this;
}

// ---------------------------------------------------------------------------
// Comparison and rounding

int Numeric::compareMagnitude(const Numeric& other) const noexcept {
  return compare_magnitudes(Magnitude{limbs_, size_, frac_},
                            Magnitude{other.limbs_, other.size_, other.frac_});
}

Numeric& Numeric::round(int digits, NumericRoundMode mode) {
  check_mode(mode);
  if (size_ == 0) return *this;
  // Kept fraction limbs (ceil(digits / 9)) and the digits cut inside the
  // lowest kept limb.
  const std::int64_t d = digits;
  const std::int64_t kept = d >= 0 ? (d + 8) / 9 : -((-d) / 9);
  const int cut = static_cast<int>(9 * kept - d);
  // Index of the lowest kept limb in storage.
  const std::int64_t index = frac_ - kept;
  Limb increment = 0;
  if (cut == 0) {
    if (index <= 0) return *this;
    if (index > size_) {
      setZero();
      return *this;
    }
    if (rounds_up(limbs_[index - 1], kHalfBase, index - 1 > 0, mode)) increment = 1;
  } else {
    if (index < 0) return *this;
    if (index >= size_) {
      setZero();
      return *this;
    }
    const Limb unit = kPow10[cut];
    const Limb dropped = limbs_[index] % unit;
    limbs_[index] -= dropped;
    if (rounds_up(dropped, unit / 2, index > 0, mode)) increment = unit;
  }
  const std::int32_t drop = static_cast<std::int32_t>(index);
  std::memmove(limbs_, limbs_ + drop, (size_ - drop) * sizeof(Limb));
  size_ -= drop;
  frac_ -= drop;
  if (increment != 0) {
    // Carries may run past the highest limb, growing the number by a limb.
    reserve(static_cast<std::int64_t>(size_) + 1, true);
    limbs_[size_] = 0;
    ++size_;
    add_into(limbs_, &increment, 1);
  }
  normalizeInPlace();
  return *this;
}

Numeric& Numeric::round(int digits) { return round(digits, Thread::roundMode()); }

Numeric& Numeric::floor() noexcept {
  if (frac_ <= 0) return *this;
  if (frac_ >= size_) {
    setZero();
    return *this;
  }
  std::memmove(limbs_, limbs_ + frac_, (size_ - frac_) * sizeof(Limb));
  size_ -= frac_;
  frac_ = 0;
  normalizeInPlace();
  return *this;
}

void Numeric::lengthAndPrecision(unsigned& length, unsigned& precision) const noexcept {
  if (size_ == 0) {
    length = 1;
    precision = 0;
    return;
  }
  std::int64_t fraction_digits = 0;
  if (frac_ > 0) {
    fraction_digits = 9 * static_cast<std::int64_t>(frac_) - trailing_zeros(limbs_[0]);
  }
  std::int64_t integer_digits = 0;
  if (size_ > frac_) {
    integer_digits =
        digit_count(limbs_[size_ - 1]) + 9 * (static_cast<std::int64_t>(size_) - 1 - frac_);
  }
  precision = static_cast<unsigned>(fraction_digits);
  length = static_cast<unsigned>(fraction_digits + integer_digits);
}

// ---------------------------------------------------------------------------
// Conversions out

bool Numeric::integerMagnitude(unsigned long long& out) const noexcept {
  out = 0;
  if (size_ <= frac_) return true;
  const std::int64_t top = static_cast<std::int64_t>(size_) - 1 - frac_;
  if (top > 2) return false;  // at least 10^27
  unsigned long long value = 0;
  for (std::int64_t pos = top; pos >= 0; --pos) {
    const std::int64_t i = pos + frac_;
    const Limb limb = i >= 0 ? limbs_[i] : 0;
    if (__builtin_mul_overflow(value, static_cast<unsigned long long>(kBase), &value) ||
        __builtin_add_overflow(value, static_cast<unsigned long long>(limb), &value)) {
      return false;
    }
  }
  out = value;
  return true;
}

Numeric::operator double() const {
  if (size_ == 0) return 0.0;
  // Every digit, then the exponent: the standard reader rounds correctly.
  std::string text;
  text.reserve(static_cast<std::size_t>(size_) * 9 + 16);
  if (sign_ < 0) text += '-';
  char chunk[9];
  write_digits(chunk, limbs_[size_ - 1], digit_count(limbs_[size_ - 1]));
  text.append(chunk, digit_count(limbs_[size_ - 1]));
  for (std::int32_t i = size_ - 2; i >= 0; --i) {
    write_nine(chunk, limbs_[i]);
    text.append(chunk, 9);
  }
  text += 'e';
  text += std::to_string(-9 * static_cast<std::int64_t>(frac_));
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    const bool huge = static_cast<std::int64_t>(size_) - frac_ > 0;
    value = huge ? std::numeric_limits<double>::infinity() : 0.0;
    if (sign_ < 0) value = -value;
  }
  return value;
}

Numeric::operator long long() const noexcept {
  unsigned long long magnitude = 0;
  const bool fits = integerMagnitude(magnitude);
  constexpr unsigned long long kMax = std::numeric_limits<long long>::max();
  if (sign_ > 0) return fits && magnitude <= kMax ? static_cast<long long>(magnitude) : kMax;
  if (!fits || magnitude > kMax + 1) return std::numeric_limits<long long>::min();
  return static_cast<long long>(0ull - magnitude);
}

Numeric::operator long() const noexcept {
  const long long value = static_cast<long long>(*this);
  return static_cast<long>(std::clamp<long long>(value, std::numeric_limits<long>::min(),
                                                 std::numeric_limits<long>::max()));
}

bool Numeric::toInteger(long long& out) const noexcept {
  if (frac_ > 0) return false;
  unsigned long long magnitude = 0;
  if (!integerMagnitude(magnitude)) return false;
  constexpr unsigned long long kMax = std::numeric_limits<long long>::max();
  if (sign_ > 0) {
    if (magnitude > kMax) return false;
    out = static_cast<long long>(magnitude);
  } else {
    if (magnitude > kMax + 1) return false;
    out = static_cast<long long>(0ull - magnitude);
  }
  return true;
}

namespace {

template <class T>
T checked_integer(unsigned long long magnitude, bool fits, bool negative) {
  if (!fits) throw_numeric(NumericException::Code::Overflow);
  if (negative && magnitude != 0) {
    if constexpr (std::is_signed_v<T>) {
      if (magnitude <= static_cast<unsigned long long>(std::numeric_limits<T>::max()) + 1) {
        return static_cast<T>(0ull - magnitude);
      }
    }
    throw_numeric(NumericException::Code::Overflow);
  }
  if (magnitude > static_cast<unsigned long long>(std::numeric_limits<T>::max())) {
    throw_numeric(NumericException::Code::Overflow);
  }
  return static_cast<T>(magnitude);
}

}  // namespace

#define CORE_NUMERIC_SAFE_AS(Name, Type)                      \
  Type Numeric::Name() const {                                \
    unsigned long long magnitude = 0;                         \
    const bool fits = integerMagnitude(magnitude);            \
    return checked_integer<Type>(magnitude, fits, sign_ < 0); \
  }
CORE_NUMERIC_SAFE_AS(safeAsByte, std::uint8_t)
CORE_NUMERIC_SAFE_AS(safeAsUInt16, std::uint16_t)
CORE_NUMERIC_SAFE_AS(safeAsUInt32, std::uint32_t)
CORE_NUMERIC_SAFE_AS(safeAsUInt64, std::uint64_t)
CORE_NUMERIC_SAFE_AS(safeAsInt64, std::int64_t)
#undef CORE_NUMERIC_SAFE_AS

// ---------------------------------------------------------------------------
// Text

std::size_t Numeric::textCapacity() const noexcept {
  const std::int64_t integer_limbs =
      std::max<std::int64_t>(size_ - static_cast<std::int64_t>(frac_), 1);
  const std::int64_t fraction_limbs = std::max<std::int32_t>(frac_, 0);
  return static_cast<std::size_t>(2 + 9 * (integer_limbs + fraction_limbs));
}

template <class Char>
std::size_t Numeric::writeText(Char* out) const noexcept {
  Char* p = out;
  if (size_ == 0) {
    *p++ = '0';
    return 1;
  }
  if (sign_ < 0) *p++ = '-';
  const std::int64_t top = static_cast<std::int64_t>(size_) - 1 - frac_;
  if (top < 0) {
    *p++ = '0';
  } else {
    const Limb high = limbs_[size_ - 1];
    p = write_digits(p, high, digit_count(high));
    for (std::int64_t pos = top - 1; pos >= 0; --pos) {
      const std::int64_t i = pos + frac_;
      p = write_nine(p, i >= 0 ? limbs_[i] : 0);
    }
  }
  if (frac_ > 0) {
    *p++ = '.';
    for (std::int64_t pos = -1; pos > -static_cast<std::int64_t>(frac_); --pos) {
      const std::int64_t i = pos + frac_;
      p = write_nine(p, i < size_ ? limbs_[i] : 0);
    }
    // The lowest limb, without its trailing zeros: all nine digits go out
    // (the text has room for them) and the end stops before the zeros.
    write_nine(p, limbs_[0]);
    p += 9 - trailing_zeros(limbs_[0]);
  }
  return static_cast<std::size_t>(p - out);
}

String Numeric::toString() const {
  const std::size_t capacity = textCapacity();
  char16_t stack[1024 / sizeof(char16_t)];
  if (capacity <= std::size(stack)) return String(stack, writeText(stack));
  std::u16string heap(capacity, u'\0');
  return String(heap.data(), writeText(heap.data()));
}

void Numeric::toString(std::string& out) const {
  char stack[1024];
  const std::size_t capacity = textCapacity();
  if (capacity <= sizeof stack) {
    out.assign(stack, writeText(stack));
    return;
  }
  out.resize(capacity);
  out.resize(writeText(out.data()));
}

template <class Char>
void Numeric::parse(const Char* text, const Char** end) {
  using Unit = std::make_unsigned_t<Char>;
  if (text == nullptr) {
    setZero();
    if (end != nullptr) *end = text;
    return;
  }
  enum class State { kStart, kSign, kInteger, kFraction };
  State state = State::kStart;
  bool negative = false;
  const Char* int_begin = nullptr;
  const Char* int_end = nullptr;
  const Char* frac_begin = nullptr;
  const Char* frac_end = nullptr;  // after the last non-zero fraction digit
  const Char* p = text;
  for (;; ++p) {
    const Unit c = static_cast<Unit>(*p);
    const bool digit = c >= '0' && c <= '9';
    if (state == State::kStart) {
      if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
      if (c == '+' || c == '-' || c == '0') {
        negative = c == '-';
        state = State::kSign;
        continue;
      }
    } else if (state == State::kFraction) {
      if (digit) {
        if (c != '0') frac_end = p + 1;
        continue;
      }
      break;
    } else if (state == State::kInteger) {
      if (digit) continue;
      int_end = p;
      if (c == '.') {
        frac_begin = p + 1;
        state = State::kFraction;
        continue;
      }
      break;
    } else if (c == '0') {  // kSign
      continue;
    }
    // kStart or kSign: a significant digit or the point.
    if (c >= '1' && c <= '9') {
      int_begin = p;
      state = State::kInteger;
      continue;
    }
    if (c == '.') {
      frac_begin = p + 1;
      state = State::kFraction;
      continue;
    }
    break;
  }
  if (end != nullptr) *end = p;
  const std::int64_t int_digits = int_begin != nullptr ? int_end - int_begin : 0;
  const std::int64_t frac_digits = frac_end != nullptr ? frac_end - frac_begin : 0;
  const std::int64_t int_limbs = (int_digits + 8) / 9;
  const std::int64_t frac_limbs = (frac_digits + 8) / 9;
  if (int_limbs > kMaxScale || frac_limbs > kMaxScale) {
    throw_numeric(NumericException::Code::Overflow);
  }
  const std::int64_t count = int_limbs + frac_limbs;
  Scratch<kSmallScratch> scratch(static_cast<std::size_t>(count));
  Limb* limbs = scratch.get();
  // Integer limbs from the point leftward: limb k holds the digits
  // [int_digits - 9(k+1), int_digits - 9k).
  for (std::int64_t k = 0; k < int_limbs; ++k) {
    const std::int64_t stop = int_digits - 9 * k;
    const std::int64_t start = std::max<std::int64_t>(stop - 9, 0);
    limbs[frac_limbs + k] = read_digits(int_begin + start, stop - start);
  }
  // Fraction limbs from the point rightward, the last one padded with zeros.
  for (std::int64_t k = 0; k < frac_limbs; ++k) {
    const std::int64_t start = 9 * k;
    const std::int64_t stop = std::min<std::int64_t>(start + 9, frac_digits);
    limbs[frac_limbs - 1 - k] =
        read_digits(frac_begin + start, stop - start) * kPow10[9 - (stop - start)];
  }
  assign(limbs, count, frac_limbs, negative ? -1 : 1);
}

void Numeric::fromString(const char16_t* text, const char16_t** end) { parse(text, end); }
void Numeric::fromString(const char* text, const char** end) { parse(text, end); }

bool Numeric::digits(char* out, unsigned length, unsigned precision, NumericRoundMode mode) const {
  check_mode(mode);
  if (precision > length) {
    detail::throw_illegal_argument(precision);
  }
  Numeric rounded(*this);
  rounded.round(static_cast<int>(std::min<unsigned>(precision, 1u << 30)), mode);
  const std::int64_t int_room = static_cast<std::int64_t>(length) - precision;
  // The decimal exponent of each output digit, from int_room - 1 down.
  for (unsigned i = 0; i < length; ++i) {
    const std::int64_t exp10 = int_room - 1 - static_cast<std::int64_t>(i);
    const std::int64_t pos = exp10 >= 0 ? exp10 / 9 : -((-exp10 + 8) / 9);
    const std::int64_t index = pos + rounded.frac_;
    Limb digit = 0;
    if (index >= 0 && index < rounded.size_) {
      digit = rounded.limbs_[index] / kPow10[exp10 - 9 * pos] % 10;
    }
    out[i] = static_cast<char>('0' + digit);
  }
  out[length] = '\0';
  if (rounded.size_ == 0) return true;
  const std::int64_t top = static_cast<std::int64_t>(rounded.size_) - 1 - rounded.frac_;
  if (top < 0) return true;
  const std::int64_t int_digits = digit_count(rounded.limbs_[rounded.size_ - 1]) + 9 * top;
  return int_digits <= int_room;
}

bool Numeric::digits(char* out, unsigned length, unsigned precision) const {
  return digits(out, length, precision, Thread::roundMode());
}

bool Numeric::digits(char* out, unsigned size) const {
  unsigned length = 0;
  unsigned precision = 0;
  lengthAndPrecision(length, precision);
  if (size <= length) {
    if (size > 0) out[0] = '\0';
    return false;
  }
  return digits(out, length, precision, NumericRoundMode::HalfAwayFromZero);
}

// ---------------------------------------------------------------------------
// Checksum

std::uint32_t Numeric::calculateChecksum(unsigned long seed) const noexcept {
  std::uint32_t c = static_cast<std::uint32_t>(seed);
  // Each byte enters sign-extended; stored checksums depend on this mix.
  const auto step = [&c](std::uint8_t byte) {
    const std::uint32_t b =
        static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<std::int8_t>(byte)));
    c = kCrcTable.entries[c >> 24] ^ ((c << 8) | b);
  };
  const auto step32 = [&step](std::uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) step(static_cast<std::uint8_t>(word >> shift));
  };
  step32(static_cast<std::uint32_t>(frac_));
  step(static_cast<std::uint8_t>(sign_));
  for (std::int32_t i = 0; i < size_; ++i) step32(limbs_[i]);
  return c;
}

// ---------------------------------------------------------------------------
// Literals

namespace {

// Reads the digits of `text` after an optional two-character prefix in
// base 2^bits, at most `max_digits` of them.
Numeric from_power_of_two_literal(const String& text, char16_t prefix, int bits,
                                  std::size_t max_digits) {
  std::u16string_view digits = text;
  if (digits.size() >= 2 && digits[0] == u'0' && (digits[1] | 0x20) == prefix) {
    digits.remove_prefix(2);
  }
  if (digits.empty() || digits.size() > max_digits) throw IllegalArgumentException(text);
  // Whole groups of digits fold into the limbs at once: each step multiplies
  // by at most 2^28, which keeps limb * factor + carry below 2^64.
  const int group = 28 / bits;
  std::vector<Limb> limbs;
  limbs.reserve(digits.size() * bits / 29 + 2);
  std::size_t i = 0;
  while (i < digits.size()) {
    std::uint64_t chunk = 0;
    int taken = 0;
    for (; taken < group && i < digits.size(); ++taken, ++i) {
      const char16_t c = digits[i];
      int value = -1;
      if (c >= u'0' && c <= u'9') value = c - u'0';
      if (c >= u'a' && c <= u'f') value = c - u'a' + 10;
      if (c >= u'A' && c <= u'F') value = c - u'A' + 10;
      if (value < 0 || value >= (1 << bits)) throw IllegalArgumentException(text);
      chunk = (chunk << bits) | static_cast<unsigned>(value);
    }
    const std::uint64_t factor = std::uint64_t{1} << (taken * bits);
    std::uint64_t carry = chunk;
    for (Limb& limb : limbs) {
      const std::uint64_t t = limb * factor + carry;
      limb = static_cast<Limb>(t % kBase);
      carry = t / kBase;
    }
    while (carry != 0) {
      limbs.push_back(static_cast<Limb>(carry % kBase));
      carry /= kBase;
    }
  }
  // Through the decimal text: the limbs are already base 10^9.
  std::string decimal;
  if (limbs.empty()) limbs.push_back(0);
  decimal.resize(limbs.size() * 9);
  char* p = decimal.data();
  for (std::size_t k = limbs.size(); k-- > 0;) p = write_nine(p, limbs[k]);
  Numeric result;
  result.fromString(decimal.c_str());
  return result;
}

}  // namespace

Numeric create_numeric_from_hex_literal_string(const String& text) {
  return from_power_of_two_literal(text, u'x', 4, 4096);
}

Numeric create_numeric_from_binary_literal_string(const String& text) {
  return from_power_of_two_literal(text, u'b', 1, 16384);
}

}  // namespace core
