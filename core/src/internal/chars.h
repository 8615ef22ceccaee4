// Character classes of UTF-16 code units shared by the parsers: ASCII
// hexadecimal digits, white space as ICU's u_isspace() has it, and the
// decimal digits of an integer.
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

// Writes the decimal digits of `value` so that they end just before `end`
// and returns where they begin. REQUIRES: kMaxDecimalDigits units of room.
inline char16_t* write_decimal_backwards(std::uint64_t value, char16_t* end) noexcept {
  do {
    *--end = static_cast<char16_t>(u'0' + value % 10);
    value /= 10;
  } while (value != 0);
  return end;
}

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_CHARS_H_
