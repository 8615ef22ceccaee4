// Implements core/guid.h: GUIDs and their 8-4-4-4-12 text form.
#include "core/guid.h"

#include "core/exception.h"
#include "core/exception_classes.h"
#include "internal/chars.h"

namespace core {
namespace {

// Reads `digits` hexadecimal digits at `pos`.
bool read_hex(std::u16string_view text, std::size_t pos, int digits, std::uint32_t& out) noexcept {
  std::uint32_t value = 0;
  for (int i = 0; i < digits; ++i) {
    const int digit = detail::hex_digit_value(text[pos + static_cast<std::size_t>(i)]);
    if (digit < 0) return false;
    value = (value << 4) | static_cast<std::uint32_t>(digit);
  }
  out = value;
  return true;
}

constexpr std::size_t kTextLength = 36;

}  // namespace

bool GUID::tryParse(std::u16string_view text, GUID& out) noexcept {
  if (text.size() == kTextLength + 2 && text.front() == u'{' && text.back() == u'}') {
    text = text.substr(1, kTextLength);
  }
  if (text.size() != kTextLength) return false;
  for (const std::size_t dash : {8, 13, 18, 23}) {
    if (text[dash] != u'-') return false;
  }
  GUID id;
  std::uint32_t part;
  if (!read_hex(text, 0, 8, part)) return false;
  id.Data1 = part;
  if (!read_hex(text, 9, 4, part)) return false;
  id.Data2 = static_cast<std::uint16_t>(part);
  if (!read_hex(text, 14, 4, part)) return false;
  id.Data3 = static_cast<std::uint16_t>(part);
  for (std::size_t i = 0; i < 8; ++i) {
    // Two bytes before the last dash, six after it.
    if (!read_hex(text, i < 2 ? 19 + 2 * i : 20 + 2 * i, 2, part)) return false;
    id.Data4[i] = static_cast<std::uint8_t>(part);
  }
  out = id;
  return true;
}

GUID GUID::parse(std::u16string_view text) {
  GUID id;
  if (!tryParse(text, id)) throw IllegalArgumentException(String(text));
  return id;
}

String GUID::toString() const {
  static constexpr char16_t kDigits[] = u"0123456789abcdef";
  char16_t text[kTextLength];
  std::size_t pos = 0;
  auto put = [&](std::uint32_t value, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) {
      text[pos++] = kDigits[(value >> shift) & 0xF];
    }
  };
  put(Data1, 8);
  text[pos++] = u'-';
  put(Data2, 4);
  text[pos++] = u'-';
  put(Data3, 4);
  text[pos++] = u'-';
  for (std::size_t i = 0; i < 8; ++i) {
    if (i == 2) text[pos++] = u'-';
    put(Data4[i], 2);
  }
  return String(text, kTextLength);
}

}  // namespace core
