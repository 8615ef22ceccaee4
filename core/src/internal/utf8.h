// UTF-8 decoding and encoding of UTF-16 text, one code point at a time, shared
// by String::fromUtf8()/toUtf8() and the UTF-8 file reader and writer.
//
//   detail::decode_utf8(bytes, [&](char16_t unit) { out.push_back(unit); });
//   char* end = detail::encode_utf8(text, buffer);  // room: utf8_length(text)
//
// Nothing here fails: ill-formed input of either side becomes U+FFFD.
// - UTF-8: each maximal subpart of an ill-formed sequence (the longest start
//   of a well-formed sequence, or else one byte) reads as one U+FFFD, as
//   Unicode recommends and ICU does. The second byte's range depends on the
//   lead byte, so overlong forms, encoded surrogates and values above
//   U+10FFFF break at their first impossible byte.
// - UTF-16: an unpaired surrogate encodes as U+FFFD (EF BF BD).
// Thread safety: pure functions, callable from any thread.
#ifndef CORE_SRC_INTERNAL_UTF8_H_
#define CORE_SRC_INTERNAL_UTF8_H_

#include <cstddef>
#include <string_view>

namespace core::detail {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

// One decoded code point and the input units it took.
struct CodePointStep {
  char32_t code;     // U+FFFD for ill-formed input
  std::size_t used;  // at least 1
};

// The code point that starts `bytes`, of which `available` (> 0) may be read.
// A sequence cut short by `available` is ill-formed: a caller that reads a
// stream keeps four bytes available until the stream ends.
// REQUIRES: available > 0.
inline CodePointStep decode_utf8_step(const unsigned char* bytes, std::size_t available) noexcept {
  const unsigned lead = bytes[0];
  if (lead < 0x80) return {lead, 1};
  std::size_t length;
  char32_t code;
  unsigned low = 0x80;
  unsigned high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    code = lead & 0x1F;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    code = lead & 0x0F;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    code = lead & 0x07;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {kReplacementCharacter, 1};
  }
  for (std::size_t used = 1; used < length; ++used) {
    // The offending byte is not taken: it may start the next sequence.
    if (used == available || bytes[used] < low || bytes[used] > high) {
      return {kReplacementCharacter, used};
    }
    code = (code << 6) | (bytes[used] & 0x3F);
    low = 0x80;
    high = 0xBF;
  }
  return {code, length};
}

// Calls `sink(char16_t)` with each UTF-16 unit of the decoded `utf8`.
template <class Sink>
void decode_utf8(std::string_view utf8, Sink&& sink) {
  const auto* p = reinterpret_cast<const unsigned char*>(utf8.data());
  const auto* const end = p + utf8.size();
  while (p != end) {
    if (*p < 0x80) {
      sink(static_cast<char16_t>(*p++));
      continue;
    }
    const CodePointStep step = decode_utf8_step(p, static_cast<std::size_t>(end - p));
    p += step.used;
    if (step.code >= 0x10000) {
      sink(static_cast<char16_t>(0xD7C0 + (step.code >> 10)));
      sink(static_cast<char16_t>(0xDC00 | (step.code & 0x3FF)));
    } else {
      sink(static_cast<char16_t>(step.code));
    }
  }
}

inline constexpr bool is_lead_surrogate(char16_t unit) noexcept {
  return (unit & 0xFC00) == 0xD800;
}
inline constexpr bool is_trail_surrogate(char16_t unit) noexcept {
  return (unit & 0xFC00) == 0xDC00;
}

// The code point of a surrogate pair.
// REQUIRES: is_lead_surrogate(lead) && is_trail_surrogate(trail).
inline constexpr char32_t combine_surrogates(char16_t lead, char16_t trail) noexcept {
  return 0x10000 + ((static_cast<char32_t>(lead) - 0xD800) << 10) + (trail - 0xDC00);
}

// The code point that starts `units`, of which `available` (> 0) may be read;
// an unpaired surrogate gives U+FFFD.
// REQUIRES: available > 0.
inline CodePointStep decode_utf16_step(const char16_t* units, std::size_t available) noexcept {
  const char16_t unit = units[0];
  if ((unit & 0xF800) != 0xD800) return {unit, 1};
  if (is_lead_surrogate(unit) && available > 1 && is_trail_surrogate(units[1])) {
    return {combine_surrogates(unit, units[1]), 2};
  }
  return {kReplacementCharacter, 1};
}

// The UTF-8 length of `code`, 1 to 4 bytes.
// REQUIRES: code <= 0x10FFFF and not a surrogate.
inline constexpr std::size_t utf8_length(char32_t code) noexcept {
  return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

// Writes the UTF-8 form of `code` at `out` and returns the end of it.
// REQUIRES: as utf8_length(); room for utf8_length(code) bytes.
inline char* encode_utf8(char32_t code, char* out) noexcept {
  if (code < 0x80) {
    *out++ = static_cast<char>(code);
  } else if (code < 0x800) {
    *out++ = static_cast<char>(0xC0 | (code >> 6));
    *out++ = static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (code >> 12));
    *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (code & 0x3F));
  } else {
    *out++ = static_cast<char>(0xF0 | (code >> 18));
    *out++ = static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    *out++ = static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (code & 0x3F));
  }
  return out;
}

// The UTF-8 length of `text`, unpaired surrogates counted as U+FFFD.
inline std::size_t utf8_length(std::u16string_view text) noexcept {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (unit < 0x80) {
      bytes += 1;
    } else if (unit < 0x800) {
      bytes += 2;
    } else if (is_lead_surrogate(unit) && i + 1 < text.size() && is_trail_surrogate(text[i + 1])) {
      bytes += 4;
      ++i;
    } else {
      bytes += 3;  // an unpaired surrogate too, as U+FFFD
    }
  }
  return bytes;
}

// Writes the UTF-8 form of `text` at `out` and returns the end of it.
// REQUIRES: room for utf8_length(text) bytes.
inline char* encode_utf8(std::u16string_view text, char* out) noexcept {
  for (std::size_t i = 0; i < text.size();) {
    if (text[i] < 0x80) {
      *out++ = static_cast<char>(text[i++]);
      continue;
    }
    const CodePointStep step = decode_utf16_step(text.data() + i, text.size() - i);
    out = encode_utf8(step.code, out);
    i += step.used;
  }
  return out;
}

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_UTF8_H_
