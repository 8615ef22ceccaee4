// Character classes of UTF-16 code units shared by the parsers: ASCII
// hexadecimal digits, white space as ICU's u_isspace() has it; and the
// decimal digit writers of integers and of nine-digit groups, for 8- and
// 16-bit text.
//
//   const std::u16string_view word = detail::trim_white_space(text);
//   const int digit = detail::hex_digit_value(word[0]);  // -1: not a hex digit
//
// Nothing here fails or allocates. Thread safety: pure functions, callable from
// any thread.
#ifndef CORE_SRC_INTERNAL_CHARS_H_
#define CORE_SRC_INTERNAL_CHARS_H_

#include <unicode/uchar.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace core::detail {

// The value (0 to 15) of an ASCII hexadecimal digit, "0"-"9", "a"-"f" or
// "A"-"F"; -1 for every other unit, the digits of other scripts and the
// fullwidth forms included.
constexpr int hex_digit_value(char16_t unit) noexcept {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
  return -1;
}

// Exactly the units for which u_isspace() is true: below U+0080 these are
// U+0009-U+000D and U+001C-U+0020, answered without a call into ICU; above
// it ICU decides (U+0085, U+00A0, U+2028, U+3000, ...). A surrogate is never
// white space.
inline bool is_white_space(char16_t unit) noexcept {
  if (unit < 0x80) return (unit >= 0x09 && unit <= 0x0D) || (unit >= 0x1C && unit <= 0x20);
  return u_isspace(unit) != 0;
}

// `text` without the white space (is_white_space) at either end; a view into
// `text`.
inline std::u16string_view trim_white_space(std::u16string_view text) noexcept {
  while (!text.empty() && is_white_space(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_white_space(text.back())) text.remove_suffix(1);
  return text;
}

// Room for the decimal digits of any 64-bit magnitude.
inline constexpr std::size_t kMaxDecimalDigits = 20;

// "00", "01", ... "99": two digits for one division by 100 instead of two
// by 10.
inline constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Writes the two digits of `pair` (0 to 99) at `out`.
template <class Char>
inline void write_digit_pair(Char* out, std::uint32_t pair) noexcept {
  const char* digits = kDigitPairs + std::size_t{2} * pair;
  out[0] = static_cast<Char>(digits[0]);
  out[1] = static_cast<Char>(digits[1]);
}

// Writes exactly nine digits of `value` (below 10^9), leading zeros
// included, and returns the end. The four pairs split independently, so the
// digits do not wait on one another.
template <class Char>
inline Char* write_nine_digits(Char* out, std::uint32_t value) noexcept {
  out[0] = static_cast<Char>('0' + value / 100000000);
  const std::uint32_t low = value % 100000000;
  const std::uint32_t high_half = low / 10000;
  const std::uint32_t low_half = low % 10000;
  write_digit_pair(out + 1, high_half / 100);
  write_digit_pair(out + 3, high_half % 100);
  write_digit_pair(out + 5, low_half / 100);
  write_digit_pair(out + 7, low_half % 100);
  return out + 9;
}

// Writes the decimal digits of `value` so that they end just before `end`
// and returns where they begin. REQUIRES: kMaxDecimalDigits units of room.
template <class Char>
inline Char* write_decimal_backwards(std::uint64_t value, Char* end) noexcept {
  while (value >= 100) {
    end -= 2;
    write_digit_pair(end, static_cast<std::uint32_t>(value % 100));
    value /= 100;
  }
  if (value >= 10) {
    end -= 2;
    write_digit_pair(end, static_cast<std::uint32_t>(value));
  } else {
    *--end = static_cast<Char>('0' + value);
  }
  return end;
}

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_CHARS_H_
