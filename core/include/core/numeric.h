// Numeric: the library's exact decimal number.
//
// A Numeric holds as many decimal digits as its value needs, in limbs of nine
// digits. Addition, subtraction and multiplication are exact; division is the
// one operation that chooses a precision, by a fixed rule (see operator/=).
//
//   core::Numeric amount;
//   amount.fromString("12345.67");
//   amount *= core::Numeric(3);            // 37037.01
//   amount /= core::Numeric(7);            // 5291.00142857... (36 places)
//   amount.round(2, core::NumericRoundMode::HalfAwayFromZero).toString();  // u"5291"
//
// Equal numbers always have the same representation (and so the same
// checksum): every operation leaves the number normalised.
//
// Thread safety: a Numeric is a plain value. Const members may run on several
// threads at once; a change needs exclusive access. round(int) and
// digits(char*, unsigned, unsigned) read the calling thread's rounding mode
// (Thread::roundMode()).
#ifndef CORE_NUMERIC_H_
#define CORE_NUMERIC_H_

#include <compare>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/export.h"
#include "core/numeric_round_mode.h"
#include "core/string.h"

namespace core {

class IListInStream;
class IListOutStream;
class IReader;
class IWriter;

class CORE_EXPORT Numeric {
 public:
  // One limb: 0 to 999,999,999, nine decimal digits.
  using Limb = std::uint32_t;
  static constexpr Limb kLimbBase = 1000000000;
  static constexpr int kLimbDigits = 9;
  // Limbs of the built-in buffer; larger numbers take a buffer from rivet.
  static constexpr std::uint32_t kInlineLimbs = 4;
  // The range of a number: every limb lies less than this many limbs above
  // or at most this many below the decimal point (37,748,736 digits each
  // side). An operation whose exact result falls outside raises
  // NumericException Overflow ("IDS_NUMERROR_OVERFLOW").
  static constexpr std::int32_t kMaxScaleLimbs = 1 << 22;
  // The most significant digits an exact pow() result may need.
  static constexpr std::int64_t kMaxPowDigits = 147456;

  // Zero.
  Numeric() noexcept : capacity_(kInlineLimbs), size_(0), frac_(0), sign_(1), limbs_(buffer_) {}
  Numeric(short value) noexcept;               // NOLINT(google-explicit-constructor)
  Numeric(unsigned short value) noexcept;      // NOLINT(google-explicit-constructor)
  Numeric(int value) noexcept;                 // NOLINT(google-explicit-constructor)
  Numeric(unsigned int value) noexcept;        // NOLINT(google-explicit-constructor)
  Numeric(long value) noexcept;                // NOLINT(google-explicit-constructor)
  Numeric(unsigned long value) noexcept;       // NOLINT(google-explicit-constructor)
  Numeric(long long value) noexcept;           // NOLINT(google-explicit-constructor)
  Numeric(unsigned long long value) noexcept;  // NOLINT(google-explicit-constructor)
  // The shortest decimal text that reads back as the same double, taken
  // exactly: Numeric(0.1) is 0.1, not the binary value nearest to it.
  // Throws `NumericException` (code 3, "IDS_NUMERROR_OVERFLOW") for an
  // infinity or a NaN.
  Numeric(double value);  // NOLINT(google-explicit-constructor)

  // Copies and moves of numbers that fit the built-in buffer stay inline:
  // they are the common case of every value handed around.
  Numeric(const Numeric& other)
      : capacity_(kInlineLimbs),
        size_(other.size_),
        frac_(other.frac_),
        sign_(other.sign_),
        limbs_(buffer_) {
    if (other.size_ > static_cast<std::int32_t>(kInlineLimbs)) {
      copyLarge(other);
    } else {
      std::memcpy(buffer_, other.limbs_, sizeof buffer_);
    }
  }
  Numeric(Numeric&& other) noexcept
      : capacity_(kInlineLimbs),
        size_(other.size_),
        frac_(other.frac_),
        sign_(other.sign_),
        limbs_(buffer_) {
    if (other.limbs_ != other.buffer_) {
      takeBuffer(other);
    } else {
      std::memcpy(buffer_, other.buffer_, sizeof buffer_);
    }
    other.size_ = 0;
    other.frac_ = 0;
    other.sign_ = 1;
  }
  Numeric& operator=(const Numeric& other) {
    if (other.size_ > static_cast<std::int32_t>(kInlineLimbs)) return assignLarge(other);
    // Every buffer holds at least the built-in buffer's limbs; memmove, as
    // the two are the same on self-assignment.
    std::memmove(limbs_, other.limbs_, sizeof buffer_);
    size_ = other.size_;
    frac_ = other.frac_;
    sign_ = other.sign_;
    return *this;
  }
  Numeric& operator=(Numeric&& other) noexcept;
  ~Numeric() {
    if (limbs_ != buffer_) releaseBuffer();
  }

  // Exact. Overflow ("IDS_NUMERROR_OVERFLOW") when the result leaves the
  // range of kMaxScaleLimbs.
  Numeric& operator+=(const Numeric& other);
  Numeric& operator-=(const Numeric& other);
  Numeric& operator*=(const Numeric& other);

  // The quotient has (this's fraction limbs, taken as 0 when negative) -
  // (the divisor's fraction limbs) + (the divisor's limb count) + 2 fraction
  // limbs; the next limb of the exact quotient rounds it half away from zero
  // and the rest is dropped. So 1/3 is 0.333333333333333333333333333 and 2/3
  // is 0.666666666666666666666666667.
  // Throws `NumericException` (code 1, "IDS_NUMERROR_DIVIDEBYZERO") when
  // the divisor is zero, whatever this is.
  Numeric& operator/=(const Numeric& divisor);

  // this - divisor * trunc(this / divisor), exact: the result has the sign of
  // this and a magnitude below the divisor's (7 % -2 is 1, -7.5 % 2 is -1.5).
  // Throws `NumericException` (code 1, "IDS_NUMERROR_DIVIDEBYZERO") when
  // the divisor is zero.
  Numeric& operator%=(const Numeric& divisor);

  Numeric operator-() const;
  Numeric abs() const;

  // Raises this to `exponent`, in place.
  // - A whole exponent gives the exact power; x^0 is 1 (0^0 included); a
  //   negative one gives 1 / x^|exponent| by the division rule.
  // - A fractional exponent of a positive base is computed in double
  //   precision and taken as Numeric(double) does: not exact. 0 to a
  //   positive fractional exponent is 0.
  // Throws `NumericException` (code 2, "IDS_NUMERROR_NEGATIVEPOW") for a
  // negative base with a fractional exponent; DivideByZero
  // ("IDS_NUMERROR_DIVIDEBYZERO") for zero to a negative exponent; Overflow
  // ("IDS_NUMERROR_OVERFLOW") when an exact power would need more than
  // kMaxPowDigits digits or leave the range, or a fractional power is not
  // finite in double precision.
  Numeric& pow(const Numeric& exponent);

  // -1, 0 or 1.
  int sign() const noexcept { return size_ == 0 ? 0 : sign_; }
  // -1, 0 or 1 as this is less than, equal to or greater than `other`.
  int compare(const Numeric& other) const noexcept {
    const int a = sign();
    const int b = other.sign();
    if (a != b) return a < b ? -1 : 1;
    if (a == 0) return 0;
    const int order = compareMagnitude(other);
    return a > 0 ? order : -order;
  }
  // True when the number is zero.
  bool zero() const noexcept { return size_ == 0; }

  // Rounds to `digits` decimal places in place (a negative count rounds to
  // tens, hundreds, ...). Anything above half a unit of the last kept place
  // goes away from zero, anything below toward zero; an exact half goes
  // toward zero in HalfTowardZero and away in HalfAwayFromZero. A number with
  // no more places than asked is unchanged.
  // Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") for a mode
  // other than the two.
  Numeric& round(int digits, NumericRoundMode mode);
  // As above with the calling thread's rounding mode.
  Numeric& round(int digits);
  // Drops the fraction in place (toward zero: -1.5 becomes -1).
  Numeric& floor() noexcept;

  // precision: the fraction digits up to the last non-zero one; length:
  // precision plus the integer digits. Zero gives 1 and 0; 0.5 gives 1 and 1.
  void lengthAndPrecision(unsigned& length, unsigned& precision) const noexcept;

  // The nearest double (ties to even); beyond the range of double, an
  // infinity or a zero of the number's sign.
  explicit operator double() const;
  // The integer part (the fraction cut toward zero), saturated to the range
  // of the type.
  explicit operator long long() const noexcept;
  explicit operator long() const noexcept;

  // True when the number is whole and fits in a long long; `out` then holds
  // it. On false `out` is unchanged.
  [[nodiscard]] bool toInteger(long long& out) const noexcept;

  // The integer part (the fraction cut toward zero, so -0.5 gives 0).
  // Throws `NumericException` (code 3, "IDS_NUMERROR_OVERFLOW") when the
  // integer part is outside the range of the result type.
  std::uint8_t safeAsByte() const;
  std::uint16_t safeAsUInt16() const;
  std::uint32_t safeAsUInt32() const;
  std::uint64_t safeAsUInt64() const;
  std::int64_t safeAsInt64() const;

  // Plain decimal text: "-" when negative, the integer digits ("0" when
  // there are none), then "." and the fraction digits without trailing zeros
  // when there is a fraction. No exponent, no grouping. Zero is "0".
  String toString() const;
  void toString(std::string& out) const;

  // Reads a number from the start of a zero-terminated text, replacing this:
  // white space (tab, line feed, carriage return, space), one optional sign,
  // digits with at most one ".". Reading stops at the first character that
  // does not fit; `end`, when not null, receives its position. A text
  // without digits reads as zero ("- 5" and "+ 12" read 0, stopping at the
  // space); a null text reads as zero. Never fails on bad text.
  // Throws `NumericException` (code 3, "IDS_NUMERROR_OVERFLOW") only when the
  // digits exceed the range of kMaxScaleLimbs.
  void fromString(const char16_t* text, const char16_t** end = nullptr);
  void fromString(const char* text, const char** end = nullptr);

  // Writes the digits of |this| rounded to `precision` places with `mode`:
  // exactly `length` ASCII digits (length - precision integer digits padded
  // with leading zeros, then `precision` fraction digits; no sign, no point)
  // and a terminating zero, so `out` needs length + 1 chars. Returns false
  // when the rounded integer part needs more than length - precision digits;
  // on false, `out` holds the lowest `length` digits.
  // Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") when
  // precision > length or the mode is not one of the two.
  [[nodiscard]] bool digits(char* out, unsigned length, unsigned precision,
                            NumericRoundMode mode) const;
  // As above with the calling thread's rounding mode.
  [[nodiscard]] bool digits(char* out, unsigned length, unsigned precision) const;
  // Writes all the digits of |this| (the integer digits and the fraction
  // digits of lengthAndPrecision, no sign, no point) and a terminating zero
  // into `out` of `size` chars. Returns false when they do not fit; on false,
  // `out` holds an empty text (when size > 0).
  [[nodiscard]] bool digits(char* out, unsigned size) const;

  // The brace-list form of the number, a list holding it: "{-12345.67}" in
  // the text encoding, the list's bytes around a number element (kind 22) in
  // the binary one (core/list_stream.h; the same form as to_stream in
  // core/persistence.h). toStream writes the text form to `writer` and
  // flushes it; toBinary puts the list into `stream`, whose encoding decides
  // the bytes, and leaves it open. Failures of the writer or stream pass
  // through unchanged. Throws `IllegalArgumentException`
  // ("IDS_ERR_ILLEGAL_ARGUMENT") for a null pointer.
  void toStream(IWriter* writer) const;
  void toBinary(IListOutStream* stream) const;
  // Read that form back, replacing this. fromStream consumes `reader` up to
  // and including the list's closing brace and no further, so numbers written
  // one after another read back one by one. Throws `ListStreamException`
  // ("IDS_LISTSTREAMERROR") for malformed input and `IllegalArgumentException`
  // ("IDS_ERR_ILLEGAL_ARGUMENT") for a null pointer; the number is unchanged
  // then.
  void fromStream(IReader* reader);
  void fromBinary(IListInStream* stream);

  // The 32-bit checksum of the stored representation (fraction-limb count,
  // sign byte, limbs). Equal numbers give equal checksums. Only the low 32
  // bits of `seed` are used.
  std::uint32_t calculateChecksum(unsigned long seed) const noexcept;

  // The stored representation: limbs least significant first; the value is
  // the sum of limbs()[i] * 10^(9 * (i - fractionLimbs())), with sign().
  std::int32_t limbCount() const noexcept { return size_; }
  std::int32_t fractionLimbs() const noexcept { return frac_; }
  const Limb* limbs() const noexcept { return limbs_; }

  // Each moves its parameter out: returning `a += b` would copy it.
  friend Numeric operator+(Numeric a, const Numeric& b) {
    a += b;
    return a;
  }
  friend Numeric operator-(Numeric a, const Numeric& b) {
    a -= b;
    return a;
  }
  friend Numeric operator*(Numeric a, const Numeric& b) {
    a *= b;
    return a;
  }
  friend Numeric operator/(Numeric a, const Numeric& b) {
    a /= b;
    return a;
  }
  friend Numeric operator%(Numeric a, const Numeric& b) {
    a %= b;
    return a;
  }
  friend bool operator==(const Numeric& a, const Numeric& b) noexcept { return a.compare(b) == 0; }
  friend std::strong_ordering operator<=>(const Numeric& a, const Numeric& b) noexcept {
    return a.compare(b) <=> 0;
  }

 private:
  template <class Char>
  void parse(const Char* text, const Char** end);
  template <class Char>
  std::size_t writeText(Char* out) const noexcept;
  std::size_t textCapacity() const noexcept;

  void setZero() noexcept;
  void setMagnitude(unsigned long long magnitude, bool negative) noexcept;
  // Replaces the value by src[0..count) with `frac` fraction limbs and
  // `sign`, normalised. `src` must not be this number's own buffer. Throws
  // Overflow, leaving this unchanged, when the result leaves the range.
  void assign(const Limb* src, std::int64_t count, std::int64_t frac, int sign);
  // Room for `count` limbs; the old limbs are lost unless `keep`.
  Limb* reserve(std::int64_t count, bool keep);
  void normalizeInPlace() noexcept;
  // |this| against |other|: -1, 0 or 1. REQUIRES: both non-zero.
  int compareMagnitude(const Numeric& other) const noexcept;
  void addSigned(const Numeric& other, int other_sign);
  // The sum of two operands with the same fraction-limb count, in this
  // number's own buffer. REQUIRES: the highest limb place plus one stays in
  // range.
  void addAligned(const Numeric& other, int other_sign);
  // The sum when both operands have at most four limbs and lie within four
  // limb places together; false, with nothing changed, for any others.
  bool addSmall(const Numeric& other, int other_sign);
  // The product when both operands have at most four limbs; false, with
  // nothing changed, for larger ones.
  bool multiplySmall(const Numeric& other);
  // Replaces the value by r[0..kCount) (kCount <= 8) with `frac` fraction
  // limbs and `sign`, normalised. REQUIRES: some limb non-zero. Throws
  // Overflow as assign() does.
  template <int kCount>
  void assignSmall(const Limb (&r)[kCount], std::int64_t frac, int sign);
  Numeric& assignLarge(const Numeric& other);
  bool integerMagnitude(unsigned long long& out) const noexcept;
  void releaseBuffer() noexcept;
  // The out-of-line halves of the copy and move constructors.
  void copyLarge(const Numeric& other);
  void takeBuffer(Numeric& other) noexcept;

  std::uint32_t capacity_;
  std::int32_t size_;
  std::int32_t frac_;
  signed char sign_;
  Limb* limbs_;
  Limb buffer_[kInlineLimbs];
};

// A number from the text of a hexadecimal literal: an optional "0x" or "0X"
// followed by 1 to 4,096 hexadecimal digits of either case; no sign, no
// white space. create_numeric_from_hex_literal_string(u"0xFF") is 255.
// Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") for any other
// text.
CORE_EXPORT Numeric create_numeric_from_hex_literal_string(const String& text);

// A number from the text of a binary literal: an optional "0b" or "0B"
// followed by 1 to 16,384 digits "0" and "1"; no sign, no white space.
// Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") for any other
// text.
CORE_EXPORT Numeric create_numeric_from_binary_literal_string(const String& text);

}  // namespace core

#endif  // CORE_NUMERIC_H_
