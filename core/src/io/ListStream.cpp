// Implements core/list_stream.h: the brace-list text and binary streams.
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#if defined(__SSE2__) || defined(_M_X64) || defined(_M_AMD64)
#include <emmintrin.h>
#endif

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/list_stream.h"
#include "internal/chars.h"
#include "internal/throw.h"

namespace core {

using detail::hex_digit_value;
using detail::is_white_space;
using detail::throw_list_stream_error;
using detail::trim_white_space;

namespace {

constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char16_t kHexDigits[] = u"0123456789abcdef";

// The values of the Base64 characters, -1 for every other byte.
constexpr std::array<signed char, 128> kBase64Values = [] {
  std::array<signed char, 128> values{};
  for (auto& value : values) value = -1;
  for (int i = 0; i < 64; ++i)
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<signed char>(i);
  return values;
}();

// Decodes Base64 text, white space ignored; anything else malformed throws.
void decode_base64(std::u16string_view text, std::string& out) {
  out.clear();
  out.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  int filled = 0;
  int padding = 0;
  for (const char16_t c : text) {
    if (is_white_space(c)) continue;
    if (c == u'=') {
      if (filled < 2) throw_list_stream_error();
      ++padding;
      ++filled;
    } else {
      if (padding != 0 || c >= 128 || kBase64Values[c] < 0) throw_list_stream_error();
      group = (group << 6) | static_cast<std::uint32_t>(kBase64Values[c]);
      ++filled;
    }
    if (filled == 4) {
      if (padding == 0) {
        out.push_back(static_cast<char>(group >> 16));
        out.push_back(static_cast<char>(group >> 8));
        out.push_back(static_cast<char>(group));
      } else {
        group <<= 6 * padding;
        out.push_back(static_cast<char>(group >> 16));
        if (padding == 1) out.push_back(static_cast<char>(group >> 8));
        // The bits that padding leaves out must be zero, so that every byte
        // block has exactly one text.
        if ((padding == 1 && (group & 0xFF) != 0) || (padding == 2 && (group & 0xFFFF) != 0))
          throw_list_stream_error();
      }
      group = 0;
      filled = 0;
    } else if (padding != 0 && filled == 0) {
      throw_list_stream_error();
    }
  }
  if (filled != 0) throw_list_stream_error();
  // After padding the group closes, and nothing may follow.
}

// Scanning UTF-16 text for the units that end a run: eight units at a time
// with SSE2 (every x86-64 processor has it), one at a time elsewhere and for
// the tail. `Mask` gives, for eight units, a vector whose 16-bit lanes are
// all ones where `stop` accepts the unit.
#if defined(__SSE2__) || defined(_M_X64) || defined(_M_AMD64)
#define CORE_LIST_STREAM_SSE2 1
using Units8 = __m128i;
#endif

template <class Mask, class Stop>
const char16_t* find_unit(const char16_t* begin, const char16_t* end, [[maybe_unused]] Mask mask,
                          Stop stop) noexcept {
#ifdef CORE_LIST_STREAM_SSE2
  while (end - begin >= 8) {
    const Units8 units = _mm_loadu_si128(reinterpret_cast<const Units8*>(begin));
    const auto bits = static_cast<unsigned>(_mm_movemask_epi8(mask(units)));
    if (bits != 0) return begin + std::countr_zero(bits) / 2;
    begin += 8;
  }
#endif
  while (begin != end && !stop(*begin)) ++begin;
  return begin;
}

#ifdef CORE_LIST_STREAM_SSE2
inline Units8 lanes_equal(Units8 units, char16_t unit) noexcept {
  return _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(unit)));
}
#define CORE_UNITS8_MASK(body) [](Units8 units) { return body; }
#else
#define CORE_UNITS8_MASK(body) nullptr
#endif

// The first unit that a quoted string cannot hold as it is: a double quote
// or a surrogate.
const char16_t* find_unit_to_escape(const char16_t* begin, const char16_t* end) noexcept {
  return find_unit(begin, end,
                   CORE_UNITS8_MASK(_mm_or_si128(
                       lanes_equal(units, u'"'),
                       lanes_equal(_mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800))),
                                   static_cast<char16_t>(0xD800)))),
                   [](char16_t c) { return c == u'"' || (c & 0xF800) == 0xD800; });
}

// The end of a quoted run: the next double quote.
const char16_t* find_quote(const char16_t* begin, const char16_t* end) noexcept {
  return find_unit(begin, end, CORE_UNITS8_MASK(lanes_equal(units, u'"')),
                   [](char16_t c) { return c == u'"'; });
}

// The end of a bare word: the next "," or "}".
const char16_t* find_word_end(const char16_t* begin, const char16_t* end) noexcept {
  return find_unit(
      begin, end,
      CORE_UNITS8_MASK(_mm_or_si128(lanes_equal(units, u','), lanes_equal(units, u'}'))),
      [](char16_t c) { return c == u',' || c == u'}'; });
}

#undef CORE_UNITS8_MASK

// Reads "-"? digits into a sign and magnitude; false when the text is not
// such an integer or the magnitude exceeds 64 bits.
bool parse_integer(std::u16string_view text, bool& negative, std::uint64_t& magnitude) {
  negative = !text.empty() && text.front() == u'-';
  if (negative) text.remove_prefix(1);
  if (text.empty()) return false;
  // Nineteen digits cannot overflow; only a twentieth needs the check.
  const std::size_t safe = std::min<std::size_t>(text.size(), 19);
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < safe; ++i) {
    const auto digit = static_cast<std::uint32_t>(text[i]) - u'0';
    if (digit > 9) return false;
    value = value * 10 + digit;
  }
  for (std::size_t i = safe; i < text.size(); ++i) {
    const auto digit = static_cast<std::uint32_t>(text[i]) - u'0';
    if (digit > 9) return false;
    if (__builtin_mul_overflow(value, std::uint64_t{10}, &value) ||
        __builtin_add_overflow(value, std::uint64_t{digit}, &value)) {
      return false;
    }
  }
  magnitude = value;
  return true;
}

// "-"? digits ("." digits)?, with at least one digit.
template <class Char>
bool is_decimal(std::basic_string_view<Char> text) {
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  bool digit = false;
  bool point = false;
  for (const Char c : text) {
    if (c >= '0' && c <= '9') {
      digit = true;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      return false;
    }
  }
  return digit;
}

// A decimal read where it lies, without a copy: the numeric parser stops
// at the first unit that cannot continue the number, which is the unit
// after the text. REQUIRES: that unit is readable and is no digit and no
// "." (it is a delimiter, white space or the end of a whole string).
template <class Char>
Numeric parse_numeric(std::basic_string_view<Char> text) {
  if (!is_decimal(text)) throw_list_stream_error();
  Numeric value;
  const Char* end = nullptr;
  try {
    value.fromString(text.data(), &end);
  } catch (const NumericException&) {
    throw_list_stream_error();
  }
  if (end != text.data() + text.size()) throw_list_stream_error();
  return value;
}

// Up to 10^22 every power of ten is exact in a double.
constexpr std::array<double, 23> kExactPowersOfTen = [] {
  std::array<double, 23> powers{};
  double power = 1;
  for (double& p : powers) {
    p = power;
    power *= 10;
  }
  return powers;
}();

// A short decimal ("-"? digits ("." digits)?, at most 15 digits) divided
// out exactly: its digits and the power of ten are exact doubles, and one
// division rounds correctly. False for any other text.
bool parse_short_decimal(std::u16string_view text, double& value) {
  const bool negative = !text.empty() && text.front() == u'-';
  if (negative) text.remove_prefix(1);
  if (text.empty() || text.size() > 16) return false;
  std::uint64_t digits = 0;
  std::size_t count = 0;
  std::size_t point = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto digit = static_cast<std::uint32_t>(text[i]) - u'0';
    if (digit <= 9) {
      digits = digits * 10 + digit;
      ++count;
    } else if (text[i] == u'.' && point == text.size() && i != 0 && i + 1 != text.size()) {
      point = i;
    } else {
      return false;
    }
  }
  if (count > 15) return false;
  const std::size_t decimals = point == text.size() ? 0 : text.size() - point - 1;
  value = static_cast<double>(digits) / kExactPowersOfTen[decimals];
  if (negative) value = -value;
  return true;
}

bool parse_double(std::u16string_view text, double& value) {
  if (parse_short_decimal(text, value)) return true;
  if (text.empty() || text.size() > 400) return false;
  char ascii[401];
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] >= 128) return false;
    ascii[i] = static_cast<char>(text[i]);
  }
  const auto [end, error] = std::from_chars(ascii, ascii + text.size(), value);
  return error == std::errc() && end == ascii + text.size();
}

// The values of the hexadecimal digits among the ASCII units, -1 for the
// other units below 128.
constexpr std::array<signed char, 128> kHexValues = [] {
  std::array<signed char, 128> values{};
  for (std::size_t c = 0; c < values.size(); ++c)
    values[c] = static_cast<signed char>(detail::hex_digit_value(static_cast<char16_t>(c)));
  return values;
}();

// The GUID of its 36-character form (8-4-4-4-12 hexadecimal digits), read
// from fixed positions.
bool parse_guid(std::u16string_view text, GUID& value) {
  if (text.size() != 36 || text[8] != u'-' || text[13] != u'-' || text[18] != u'-' ||
      text[23] != u'-') {
    return false;
  }
  // The first digit of each byte, in the order of the GUID's fields.
  static constexpr std::uint8_t kBytes[16] = {0,  2,  4,  6,  9,  11, 14, 16,
                                              19, 21, 24, 26, 28, 30, 32, 34};
  std::uint8_t bytes[16];
  int bad = 0;
  for (int i = 0; i < 16; ++i) {
    const char16_t high = text[kBytes[i]];
    const char16_t low = text[kBytes[i] + 1];
    const int h = high < 128 ? kHexValues[high] : -1;
    const int l = low < 128 ? kHexValues[low] : -1;
    bad |= h | l;
    bytes[i] = static_cast<std::uint8_t>((h << 4) | (l & 15));
  }
  if (bad < 0) return false;
  value.Data1 = (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
                (std::uint32_t{bytes[2]} << 8) | bytes[3];
  value.Data2 = static_cast<std::uint16_t>((bytes[4] << 8) | bytes[5]);
  value.Data3 = static_cast<std::uint16_t>((bytes[6] << 8) | bytes[7]);
  std::memcpy(value.Data4, bytes + 8, 8);
  return true;
}

constexpr std::uint8_t kCommaFlag = 0x80;
constexpr std::uint8_t kBeginFlag = 0x40;
constexpr std::uint8_t kEndFlag = 0x20;
constexpr std::uint8_t kKindMask = 0x1F;

enum Kind : std::uint8_t {
  kSmallFirst = 1,
  kSmallLast = 10,
  kU8 = 11,
  kN8 = 12,
  kU16 = 13,
  kN16 = 14,
  kU32 = 15,
  kN32 = 16,
  kU64 = 17,
  kN64 = 18,
  kFloat = 19,
  kDouble = 20,
  kGuid = 21,
  kNumeric = 22,
  kString8 = 23,
  kString16 = 24,
  kString64 = 25,
  kBytes8 = 26,
  kBytes16 = 27,
  kBytes64 = 28,
};

// ---------------------------------------------------------------------------
// What the two writing sides share: the target (a writer of text or a file
// of bytes), the buffer in front of it, flushing and closing.
//
// The buffer is a fixed array that an encoding writes into directly. Every
// value starts with fewer than kCapacity units in it, so a value of at most
// kSlack units (a number, a GUID, a token with its count) needs no check;
// longer ones go through appendRun(), and spill() after each value passes
// the buffer on once it holds kCapacity units.

template <class Target, class Unit, std::size_t kCapacity>
class BufferedListOut : public UnknownImpl<IListOutStream> {
 public:
  void flush() final {
    open();
    spill(true);
    target_->flush();
  }
  void close() final {
    if (!target_) return;
    finish();
    spill(true);
    target_->flush();
    target_.reset();
  }

 protected:
  static constexpr std::size_t kSlack = 128;
  static constexpr std::size_t kBufferCapacity = kCapacity;

  explicit BufferedListOut(Target* target) : target_(target) {}
  ~BufferedListOut() override = default;

  // For the destructor of the encoding, which still has its part of the
  // object to finish with.
  void closeQuietly() noexcept {
    try {
      close();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor cannot report
    }
  }
  // Puts into the buffer what the encoding still holds back; close() calls
  // it once, before the last spill.
  virtual void finish() {}

  void open() const {
    if (!target_) throw_list_stream_error();
  }
  void spill(bool all = false) {
    if ((all || size_ >= kCapacity) && size_ != 0) {
      target_->write(units_.data(), size_);
      size_ = 0;
    }
  }

  // Where the next unit goes; `used` units written there are kept.
  Unit* tail() noexcept { return units_.data() + size_; }
  void used(std::size_t count) noexcept { size_ += count; }
  // Keeps what was written up to `end`.
  void usedUpTo(const Unit* end) noexcept { size_ = static_cast<std::size_t>(end - units_.data()); }
  void push(Unit unit) noexcept { units_[size_++] = unit; }
  // Appends `count` units of any length, passing full buffers on; leaves
  // at most kCapacity units, so kSlack units may follow unchecked.
  void appendRun(const Unit* run, std::size_t count) {
    while (count != 0) {
      spill();
      const std::size_t piece = std::min(count, kCapacity - size_);
      std::memcpy(tail(), run, piece * sizeof(Unit));
      size_ += piece;
      run += piece;
      count -= piece;
    }
  }

  InterfacePtr<Target> target_;

 private:
  std::array<Unit, kCapacity + kSlack> units_;
  std::size_t size_ = 0;
};

// ---------------------------------------------------------------------------
// The text encoding, writing side.

// The two lowercase hexadecimal digits of every byte, as one 32-bit word in
// memory order.
constexpr std::array<std::uint32_t, 256> kHexPairs = [] {
  std::array<std::uint32_t, 256> pairs{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    const char16_t high = kHexDigits[byte >> 4];
    const char16_t low = kHexDigits[byte & 15];
    if constexpr (std::endian::native == std::endian::little) {
      pairs[byte] = std::uint32_t{high} | (std::uint32_t{low} << 16);
    } else {
      pairs[byte] = (std::uint32_t{high} << 16) | std::uint32_t{low};
    }
  }
  return pairs;
}();

// Writes the two hex digits of `byte` at `out`.
inline void put_hex_pair(char16_t* out, std::uint8_t byte) noexcept {
  std::memcpy(out, &kHexPairs[byte], sizeof(std::uint32_t));
}

// The number of decimal digits of `value`.
inline std::size_t decimal_digits(std::uint64_t value) noexcept {
  std::size_t digits = 1;
  for (std::uint64_t bound = 10; value >= bound; bound *= 10) {
    ++digits;
    if (digits == detail::kMaxDecimalDigits) break;
  }
  return digits;
}

class TextListOut final : public BufferedListOut<IWriter, char16_t, 8192> {
 public:
  explicit TextListOut(IWriter* writer) : BufferedListOut(writer) {}
  ~TextListOut() override { closeQuietly(); }

  void putBeginOfList() override {
    open();
    comma();
    after_end_ = false;
    if (!at_start_) push(u'\n');
    push(u'{');
    at_start_ = false;
    ++depth_;
    spill();
  }
  void putEndOfList() override {
    open();
    if (depth_ == 0) throw_list_stream_error();
    --depth_;
    if (after_end_) push(u'\n');
    push(u'}');
    need_comma_ = true;
    after_end_ = true;
    at_start_ = false;
    spill();
  }
  void putSigned(std::int64_t value) override {
    const std::uint64_t magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    beginValue();
    if (value < 0) push(u'-');
    appendDecimal(magnitude);
    endValue();
  }
  void putUnsigned(std::uint64_t value) override {
    beginValue();
    appendDecimal(value);
    endValue();
  }
  void putFloat(float value) override { putDouble(static_cast<double>(value)); }
  void putDouble(double value) override {
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value);
    beginValue();
    char16_t* out = tail();
    for (const char* p = text; p != result.ptr; ++p) *out++ = static_cast<char16_t>(*p);
    used(static_cast<std::size_t>(result.ptr - text));
    endValue();
  }
  void putGuid(const GUID& value) override {
    beginValue();
    char16_t* out = tail();
    put_hex_pair(out, static_cast<std::uint8_t>(value.Data1 >> 24));
    put_hex_pair(out + 2, static_cast<std::uint8_t>(value.Data1 >> 16));
    put_hex_pair(out + 4, static_cast<std::uint8_t>(value.Data1 >> 8));
    put_hex_pair(out + 6, static_cast<std::uint8_t>(value.Data1));
    out[8] = u'-';
    put_hex_pair(out + 9, static_cast<std::uint8_t>(value.Data2 >> 8));
    put_hex_pair(out + 11, static_cast<std::uint8_t>(value.Data2));
    out[13] = u'-';
    put_hex_pair(out + 14, static_cast<std::uint8_t>(value.Data3 >> 8));
    put_hex_pair(out + 16, static_cast<std::uint8_t>(value.Data3));
    out[18] = u'-';
    put_hex_pair(out + 19, value.Data4[0]);
    put_hex_pair(out + 21, value.Data4[1]);
    out[23] = u'-';
    for (std::size_t i = 2; i < 8; ++i) put_hex_pair(out + 20 + 2 * i, value.Data4[i]);
    used(36);
    endValue();
  }
  void putString(const char16_t* text, std::size_t count) override {
    beginValue();
    push(u'"');
    // The runs between the units to escape go over in one piece each.
    for (;;) {
      const auto run = static_cast<std::size_t>(find_unit_to_escape(text, text + count) - text);
      appendRun(text, run);
      if (run == count) break;
      const char16_t c = text[run];
      char16_t* out = tail();
      if (c == u'"') {
        out[0] = u'"';
        out[1] = u'"';
        used(2);
      } else {
        out[0] = u'"';
        out[1] = u'\\';
        put_hex_pair(out + 2, static_cast<std::uint8_t>(c >> 8));
        put_hex_pair(out + 4, static_cast<std::uint8_t>(c));
        used(6);
      }
      spill();
      text += run + 1;
      count -= run + 1;
    }
    push(u'"');
    endValue();
  }
  void putBytes(const void* data, std::size_t count) override {
    beginValue();
    // The Base64 text of no bytes is empty, which would leave no element at
    // all ("{1,}", or "{}" for a list of one empty block): the empty quoted
    // string stands in for it.
    if (count == 0) {
      push(u'"');
      push(u'"');
    } else {
      appendBase64(static_cast<const unsigned char*>(data), count);
    }
    endValue();
  }
  void putNumeric(const Numeric& value) override {
    const String text = value.toString();
    beginValue();
    appendRun(text.data(), text.size());
    endValue();
  }

 private:
  void comma() {
    if (need_comma_) {
      push(u',');
      need_comma_ = false;
    }
  }
  void beginValue() {
    open();
    comma();
  }
  void endValue() {
    need_comma_ = true;
    after_end_ = false;
    at_start_ = false;
    spill();
  }
  void appendDecimal(std::uint64_t value) {
    const std::size_t digits = decimal_digits(value);
    detail::write_decimal_backwards(value, tail() + digits);
    used(digits);
  }
  // Base64 in lines of 64 characters (48 bytes), "\r\n" between them; each
  // line goes into the buffer four characters at a time.
  void appendBase64(const unsigned char* data, std::size_t count) {
    auto quad = [](char16_t* out, std::uint32_t v) {
      out[0] = static_cast<char16_t>(kBase64Alphabet[v >> 18]);
      out[1] = static_cast<char16_t>(kBase64Alphabet[(v >> 12) & 63]);
      out[2] = static_cast<char16_t>(kBase64Alphabet[(v >> 6) & 63]);
      out[3] = static_cast<char16_t>(kBase64Alphabet[v & 63]);
    };
    bool first = true;
    while (count != 0) {
      spill();
      char16_t* out = tail();
      if (!first) {
        *out++ = u'\r';
        *out++ = u'\n';
      }
      first = false;
      const std::size_t line = std::min<std::size_t>(count, 48);
      std::size_t i = 0;
      for (; i + 3 <= line; i += 3, out += 4) {
        quad(out, (std::uint32_t{data[i]} << 16) | (std::uint32_t{data[i + 1]} << 8) | data[i + 2]);
      }
      if (i < line) {
        std::uint32_t v = std::uint32_t{data[i]} << 16;
        if (i + 1 < line) v |= std::uint32_t{data[i + 1]} << 8;
        quad(out, v);
        if (i + 1 == line) out[2] = u'=';
        out[3] = u'=';
        out += 4;
      }
      used(static_cast<std::size_t>(out - tail()));
      data += line;
      count -= line;
    }
  }

  bool need_comma_ = false;
  bool after_end_ = false;
  bool at_start_ = true;
  std::size_t depth_ = 0;
};

// ---------------------------------------------------------------------------
// The text encoding, reading side.

// Reads ahead of what it consumes only from a reader that gives units back
// (IReader::unread); from any other reader it takes one unit at a time, so
// that it holds no more than one character of look-ahead. What it read ahead
// goes back when the outermost list or a value outside any list is complete,
// and when the stream is destroyed, so that the reader stands right behind
// what was consumed.
class TextListIn final : public UnknownImpl<IListInStream> {
 public:
  explicit TextListIn(IReader* reader) : reader_(reader), gives_back_(reader->unread(0)) {}
  ~TextListIn() override {
    try {
      giveBack();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor cannot report
    }
  }

  void getBeginOfList() override {
    takeComma();
    skipSpace();
    if (peekChar() != u'{') throw_list_stream_error();
    advance();
    ++depth_;
    element_read_ = false;
    after_comma_ = false;
  }
  void getEndOfList() override {
    skipSpace();
    if (peekChar() != u'}' || depth_ == 0 || after_comma_) throw_list_stream_error();
    advance();
    --depth_;
    element_read_ = true;
    if (depth_ == 0) giveBack();
  }
  bool getComma() override {
    skipSpace();
    if (peekChar() != u',') return false;
    advance();
    element_read_ = false;
    after_comma_ = true;
    return true;
  }
  ListToken peek() override {
    skipSpace();
    switch (peekChar()) {
      case kEnd:
        return ListToken::End;
      case u',':
        return ListToken::Comma;
      case u'{':
        return ListToken::BeginOfList;
      case u'}':
        return ListToken::EndOfList;
      case u'"':
        return ListToken::String;
      default:
        return ListToken::Word;
    }
  }
  void getInteger(bool& negative, std::uint64_t& magnitude) override {
    if (readElement() || !parse_integer(trim_white_space(element_), negative, magnitude))
      throw_list_stream_error();
  }
  double getDouble() override {
    double value = 0;
    if (readElement() || !parse_double(trim_white_space(element_), value))
      throw_list_stream_error();
    return value;
  }
  float getFloat() override {
    const double value = getDouble();
    if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max())
      throw_list_stream_error();
    return static_cast<float>(value);
  }
  GUID getGuid() override {
    GUID value{};
    if (readElement() || !parse_guid(trim_white_space(element_), value)) throw_list_stream_error();
    return value;
  }
  void getString(String& out) override {
    const bool quoted = readElement();
    const std::u16string_view text = quoted ? element_ : trim_white_space(element_);
    if (!quoted && text.empty()) throw_list_stream_error();
    // Into the string's own buffer when it has room and is not shared.
    std::memcpy(out.resizeForOverwrite(text.size()), text.data(), text.size() * sizeof(char16_t));
  }
  void getBytes(std::string& out) override {
    if (readElement() && !element_.empty()) throw_list_stream_error();
    decode_base64(element_, out);
  }
  void getNumeric(Numeric& out) override {
    if (readElement()) throw_list_stream_error();
    out = parse_numeric(trim_white_space(element_));
  }
  void skipListContent(String* saved) override {
    saved_ = saved;
    try {
      skip();
    } catch (...) {
      saved_ = nullptr;
      throw;
    }
    saved_ = nullptr;
  }
  std::uint64_t position() override { return consumed_ + position_; }

 private:
  static constexpr int kEnd = -1;

  int peekChar() {
    if (position_ == size_ && !refill()) return kEnd;
    return buffer_[position_];
  }
  void advance() {
    if (saved_ != nullptr) saved_->append(buffer_[position_]);
    ++position_;
  }
  bool refill() {
    if (eof_) return false;
    consumed_ += size_;
    position_ = 0;
    size_ = reader_->read(buffer_.data(), gives_back_ ? chunk_ : 1);
    // Each top-level element starts with a small read that grows, so that
    // what goes back at its end costs no more than the element itself.
    if (chunk_ < buffer_.size()) chunk_ *= 2;
    if (size_ == 0) eof_ = true;
    return size_ != 0;
  }
  void giveBack() {
    if (!gives_back_ || position_ == size_) return;
    if (!reader_->unread(size_ - position_)) return;
    size_ = position_;
    chunk_ = kFirstChunk;
  }
  void skipSpace() {
    // Most elements follow their comma or brace directly.
    if (position_ < size_ && buffer_[position_] > u' ' && buffer_[position_] < 0x80) return;
    for (;;) {
      while (position_ < size_) {
        if (!is_white_space(buffer_[position_])) return;
        advance();
      }
      if (!refill()) return;
    }
  }
  // The comma between this element and the previous one.
  void takeComma() {
    if (!element_read_) return;
    skipSpace();
    if (peekChar() != u',') throw_list_stream_error();
    advance();
    element_read_ = false;
  }
  // Reads one element into element_; true when it was a quoted string.
  bool readElement() {
    const bool quoted = readWord();
    if (depth_ == 0) giveBack();
    return quoted;
  }
  bool readWord() {
    takeComma();
    skipSpace();
    const int c = peekChar();
    if (c == kEnd) throw_list_stream_error();
    element_read_ = true;
    after_comma_ = false;
    if (c == u'"') {
      ++position_;
      readQuoted();
      return true;
    }
    readBare();
    return false;
  }
  // The text of a quoted string whose opening quote is consumed. A string
  // without escapes that lies in the buffer is a view of it; anything else
  // is gathered in word_.
  void readQuoted() {
    word_.clear();
    bool gathered = false;
    for (;;) {
      if (position_ == size_ && !refill()) throw_list_stream_error();
      const char16_t* const begin = buffer_.data() + position_;
      const char16_t* const end = buffer_.data() + size_;
      const char16_t* const quote = find_quote(begin, end);
      if (quote == end) {
        word_.append(begin, end);
        gathered = true;
        position_ = size_;
        continue;
      }
      position_ = static_cast<std::size_t>(quote - buffer_.data()) + 1;
      if (!gathered && position_ < size_ && buffer_[position_] != u'"' &&
          buffer_[position_] != u'\\') {
        element_ = std::u16string_view(begin, static_cast<std::size_t>(quote - begin));
        return;
      }
      word_.append(begin, quote);
      gathered = true;
      const int next = peekChar();
      if (next == u'"') {
        ++position_;
        word_.push_back(u'"');
      } else if (next == u'\\') {
        ++position_;
        int unit = 0;
        for (int i = 0; i < 4; ++i) {
          const int digit_char = peekChar();
          if (digit_char == kEnd) throw_list_stream_error();
          const int digit = hex_digit_value(static_cast<char16_t>(digit_char));
          if (digit < 0) throw_list_stream_error();
          ++position_;
          unit = unit * 16 + digit;
        }
        word_.push_back(static_cast<char16_t>(unit));
      } else {
        element_ = word_;
        return;
      }
    }
  }
  // A bare word: up to the next "," or "}" or the end of the input. A view
  // of the buffer when it lies in it, else gathered in word_.
  void readBare() {
    word_.clear();
    bool gathered = false;
    for (;;) {
      const char16_t* const begin = buffer_.data() + position_;
      const char16_t* const end = buffer_.data() + size_;
      const char16_t* const p = find_word_end(begin, end);
      position_ = static_cast<std::size_t>(p - buffer_.data());
      if (p != end) {
        if (gathered) {
          word_.append(begin, p);
          element_ = word_;
        } else {
          element_ = std::u16string_view(begin, static_cast<std::size_t>(p - begin));
        }
        return;
      }
      word_.append(begin, end);
      gathered = true;
      if (!refill()) {
        element_ = word_;
        return;
      }
    }
  }
  void skipQuoted() {
    advance();
    for (;;) {
      int c = peekChar();
      if (c == kEnd) throw_list_stream_error();
      advance();
      if (c != u'"') continue;
      c = peekChar();
      if (c == u'"') {
        advance();
      } else if (c == u'\\') {
        advance();
        for (int i = 0; i < 4; ++i) {
          c = peekChar();
          if (c == kEnd || hex_digit_value(static_cast<char16_t>(c)) < 0) throw_list_stream_error();
          advance();
        }
      } else {
        return;
      }
    }
  }
  void skip() {
    std::size_t nested = 0;
    bool expect_element = !element_read_;
    bool comma = after_comma_;
    for (;;) {
      skipSpace();
      const int c = peekChar();
      if (c == kEnd) throw_list_stream_error();
      if (!expect_element) {
        if (c == u',') {
          advance();
          expect_element = true;
          comma = true;
          continue;
        }
        if (c != u'}') throw_list_stream_error();
        if (nested == 0) break;
        advance();
        --nested;
        continue;
      }
      if (c == u'}') {
        if (comma) throw_list_stream_error();
        if (nested == 0) break;
        advance();
        --nested;
        expect_element = false;
        continue;
      }
      comma = false;
      expect_element = false;
      if (c == u'{') {
        advance();
        ++nested;
        expect_element = true;
      } else if (c == u'"') {
        skipQuoted();
      } else {
        for (;;) {
          const int w = peekChar();
          if (w == kEnd || w == u',' || w == u'}') break;
          advance();
        }
      }
    }
    element_read_ = true;
    after_comma_ = false;
  }

  static constexpr std::size_t kFirstChunk = 64;

  InterfacePtr<IReader> reader_;
  bool gives_back_;
  std::size_t chunk_ = kFirstChunk;
  std::array<char16_t, 4096> buffer_{};
  std::size_t position_ = 0;
  std::size_t size_ = 0;
  std::uint64_t consumed_ = 0;
  bool eof_ = false;
  bool element_read_ = false;
  bool after_comma_ = false;
  std::size_t depth_ = 0;
  // The last element read: a view of buffer_ or of word_, valid until the
  // next read.
  std::u16string_view element_;
  std::u16string word_;
  String* saved_ = nullptr;
};

// ---------------------------------------------------------------------------
// The binary encoding, writing side.

class BinaryListOut final : public BufferedListOut<IFile, char, 16384> {
 public:
  explicit BinaryListOut(IFile* file) : BufferedListOut(file) {}
  ~BinaryListOut() override { closeQuietly(); }

  void putBeginOfList() override {
    open();
    comma();
    if ((pending_ & (kBeginFlag | kKindMask)) != 0) emitPending();
    pending_ |= kBeginFlag;
    need_comma_ = false;
    ++depth_;
    spill();
  }
  void putEndOfList() override {
    open();
    if (depth_ == 0) throw_list_stream_error();
    --depth_;
    if (pending_ != 0) emitPending();
    pending_ = kEndFlag;
    need_comma_ = true;
    spill();
  }
  void putSigned(std::int64_t value) override {
    if (value >= 0) {
      putUnsigned(static_cast<std::uint64_t>(value));
      return;
    }
    const std::uint64_t magnitude = 0 - static_cast<std::uint64_t>(value);
    if (magnitude < 0x100) {
      endValue(little(token(kN8), magnitude, 1));
    } else if (magnitude <= 0xFFFF) {
      endValue(little(token(kN16), magnitude, 2));
    } else if (magnitude <= 0xFFFFFFFF) {
      endValue(little(token(kN32), magnitude, 4));
    } else {
      endValue(little(token(kN64), magnitude, 8));
    }
  }
  void putUnsigned(std::uint64_t value) override {
    if (value <= 9) {
      endValue(token(static_cast<std::uint8_t>(kSmallFirst + value)));
    } else if (value < 0x100) {
      endValue(little(token(kU8), value, 1));
    } else if (value <= 0xFFFF) {
      endValue(little(token(kU16), value, 2));
    } else if (value <= 0xFFFFFFFF) {
      endValue(little(token(kU32), value, 4));
    } else {
      endValue(little(token(kU64), value, 8));
    }
  }
  void putFloat(float value) override {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    endValue(little(token(kFloat), bits, 4));
  }
  void putDouble(double value) override {
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    endValue(little(token(kDouble), bits, 8));
  }
  void putGuid(const GUID& value) override {
    char* out = token(kGuid);
    out = little(out, value.Data1, 4);
    out = little(out, value.Data2, 2);
    out = little(out, value.Data3, 2);
    std::memcpy(out, value.Data4, 8);
    endValue(out + 8);
  }
  void putString(const char16_t* text, std::size_t count) override {
    usedUpTo(countedToken(kString8, count));
    if constexpr (std::endian::native == std::endian::little) {
      appendRun(reinterpret_cast<const char*>(text), count * sizeof(char16_t));
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        usedUpTo(little(tail(), text[i], 2));
        spill();
      }
    }
    spill();
  }
  void putBytes(const void* data, std::size_t count) override {
    usedUpTo(countedToken(kBytes8, count));
    if (count >= kBufferCapacity) {
      spill(true);
      target_->write(data, count);
    } else {
      appendRun(static_cast<const char*>(data), count);
    }
    spill();
  }
  void putNumeric(const Numeric& value) override {
    std::string text;
    value.toString(text);
    char* out = token(kNumeric);
    std::uint64_t length = text.size();
    do {
      const auto byte = static_cast<std::uint8_t>(length & 0x7F);
      length >>= 7;
      *out++ = static_cast<char>(length != 0 ? byte | 0x80 : byte);
    } while (length != 0);
    usedUpTo(out);
    appendRun(text.data(), text.size());
    spill();
  }

 private:
  void finish() override {
    if (pending_ != 0) emitPending();
  }
  void comma() {
    if (!need_comma_) return;
    if (pending_ != 0 && pending_ != kEndFlag) emitPending();
    pending_ |= kCommaFlag;
    need_comma_ = false;
  }
  void emitPending() {
    push(static_cast<char>(pending_));
    pending_ = 0;
  }
  // Writes the token byte of a value of `kind`, with the flags pending
  // before it, and returns where the payload goes. The payload is written
  // through the returned pointer and kept by endValue() or usedUpTo(): bytes
  // written through a char pointer may alias any member, so the buffer's
  // size is updated once, at the end.
  char* token(std::uint8_t kind) {
    open();
    comma();
    if ((pending_ & kKindMask) != 0) emitPending();
    char* out = tail();
    *out++ = static_cast<char>(pending_ | kind);
    pending_ = 0;
    need_comma_ = true;
    return out;
  }
  void endValue(char* end) {
    usedUpTo(end);
    spill();
  }
  // Writes the low `bytes` bytes of `value` at `out`, least significant
  // first, and returns their end.
  static char* little(char* out, std::uint64_t value, int bytes) {
    if constexpr (std::endian::native == std::endian::little) {
      std::memcpy(out, &value, static_cast<std::size_t>(bytes));
    } else {
      for (int i = 0; i < bytes; ++i) out[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return out + bytes;
  }
  // The token of a counted payload in the smallest of its three kinds
  // (`kind8`: a one-byte count, then two and eight bytes), and the count.
  char* countedToken(std::uint8_t kind8, std::uint64_t count) {
    if (count < 0x100) return little(token(kind8), count, 1);
    if (count <= 0xFFFF) return little(token(static_cast<std::uint8_t>(kind8 + 1)), count, 2);
    return little(token(static_cast<std::uint8_t>(kind8 + 2)), count, 8);
  }

  std::uint8_t pending_ = 0;
  bool need_comma_ = false;
  std::size_t depth_ = 0;
};

// ---------------------------------------------------------------------------
// The binary encoding, reading side.

void copy_value(IListInStream& in, ListToken token, IListOutStream* out);

// Reads the file in blocks and, as the text reading side does, seeks back
// to the end of what it consumed when the outermost list or a value outside
// any list is complete and when the stream is destroyed. A token byte that
// merges a closing brace with flags of what follows stays consumed: the file
// then stands behind it.
class BinaryListIn final : public UnknownImpl<IListInStream> {
 public:
  explicit BinaryListIn(IFile* file) : file_(file), start_(file->position()) {}
  ~BinaryListIn() override {
    try {
      giveBack();
    } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor cannot report
    }
  }

  void getBeginOfList() override {
    takeComma();
    if ((token_ & kBeginFlag) == 0) throw_list_stream_error();
    clear(kBeginFlag);
    ++depth_;
    element_read_ = false;
    after_comma_ = false;
  }
  void getEndOfList() override {
    if (!loadToken() || (token_ & kEndFlag) == 0 || depth_ == 0 || after_comma_)
      throw_list_stream_error();
    clear(kEndFlag);
    --depth_;
    element_read_ = true;
    settle();
  }
  bool getComma() override {
    if (!loadToken() || (token_ & kEndFlag) != 0 || (token_ & kCommaFlag) == 0) return false;
    clear(kCommaFlag);
    element_read_ = false;
    after_comma_ = true;
    return true;
  }
  ListToken peek() override {
    if (!loadToken()) return ListToken::End;
    if ((token_ & kEndFlag) != 0) return ListToken::EndOfList;
    if ((token_ & kCommaFlag) != 0) return ListToken::Comma;
    if ((token_ & kBeginFlag) != 0) return ListToken::BeginOfList;
    const std::uint8_t kind = token_ & kKindMask;
    if (kind <= kN64) return ListToken::Integer;
    if (kind <= kDouble) return ListToken::Float;
    if (kind == kGuid) return ListToken::Guid;
    if (kind == kNumeric) return ListToken::Numeric;
    if (kind <= kString64) return ListToken::String;
    if (kind <= kBytes64) return ListToken::Bytes;
    throw_list_stream_error();
  }
  void getInteger(bool& negative, std::uint64_t& magnitude) override {
    // Locals, so that writing the results cannot alias the stream's state.
    bool sign = false;
    std::uint64_t value = 0;
    integer(takeKind(), sign, value);
    settle();
    negative = sign;
    magnitude = value;
  }
  double getDouble() override {
    const double value = doublePayload(takeKind());
    settle();
    return value;
  }
  float getFloat() override {
    const std::uint8_t kind = takeKind();
    if (kind != kFloat) throw_list_stream_error();
    const float value = floatPayload();
    settle();
    return value;
  }
  GUID getGuid() override {
    if (takeKind() != kGuid) throw_list_stream_error();
    GUID value{};
    if (std::endian::native == std::endian::little && size_ - position_ >= sizeof value) {
      // The payload is the GUID's memory image on a little-endian machine.
      static_assert(sizeof(GUID) == 16);
      std::memcpy(&value, buffer_.data() + position_, sizeof value);
      position_ += sizeof value;
      settle();
      return value;
    }
    value.Data1 = static_cast<std::uint32_t>(little(4));
    value.Data2 = static_cast<std::uint16_t>(little(2));
    value.Data3 = static_cast<std::uint16_t>(little(2));
    bytes(value.Data4, 8);
    settle();
    return value;
  }
  void getString(String& out) override {
    const std::uint64_t count = payloadCount(takeKind(), kString8);
    if (count > std::numeric_limits<std::uint64_t>::max() / 2 || !hasBytes(count * 2))
      throw_list_stream_error();
    // Into the string's own buffer when it has room and is not shared.
    char16_t* units = out.resizeForOverwrite(static_cast<std::size_t>(count));
    bytes(units, static_cast<std::size_t>(count) * sizeof(char16_t));
    if constexpr (std::endian::native == std::endian::big) {
      for (std::uint64_t i = 0; i < count; ++i)
        units[i] = static_cast<char16_t>((units[i] << 8) | (units[i] >> 8));
    }
    settle();
  }
  void getBytes(std::string& out) override {
    const std::uint8_t kind = takeKind();
    // An empty string is an empty block, as "" is in the text encoding: a
    // copy of text into binary keeps it a string.
    if (kind >= kString8 && kind <= kString64) {
      if (payloadCount(kind, kString8) != 0) throw_list_stream_error();
      out.clear();
    } else {
      const std::uint64_t count = payloadCount(kind, kBytes8);
      if (!hasBytes(count)) throw_list_stream_error();
      out.resize(static_cast<std::size_t>(count));
      bytes(out.data(), out.size());
    }
    settle();
  }
  void getNumeric(Numeric& out) override {
    numericPayload(takeKind(), out);
    settle();
  }
  void skipListContent(String* saved) override {
    InterfacePtr<StringWriter> text;
    InterfacePtr<IListOutStream> out;
    if (saved != nullptr) {
      text.reset(new StringWriter);
      out = create_text_list_out_stream(text.get());
    }
    // The comma that separates the skipped text from the element read before
    // it is saved, as the text encoding saves it; the text writer knows of
    // no element before its first one, so it is added here.
    if (saved != nullptr && element_read_ && peek() == ListToken::Comma) {
      getComma();
      saved->append(u',');
    }
    std::size_t nested = 0;
    for (;;) {
      const ListToken token = peek();
      if (token == ListToken::End) throw_list_stream_error();
      if (token == ListToken::Comma) {
        getComma();
      } else if (token == ListToken::EndOfList) {
        if (nested == 0) break;
        getEndOfList();
        if (out) out->putEndOfList();
        --nested;
      } else if (token == ListToken::BeginOfList) {
        getBeginOfList();
        if (out) out->putBeginOfList();
        ++nested;
      } else {
        copy_value(*this, token, out.get());
      }
    }
    if (out) {
      out->close();
      saved->append(std::u16string_view(text->text()));
    }
  }
  std::uint64_t position() override { return consumed_ + position_; }

 private:
  void numericPayload(std::uint8_t kind, Numeric& out) {
    if (kind != kNumeric) {
      bool negative = false;
      std::uint64_t magnitude = 0;
      integer(kind, negative, magnitude);
      out = Numeric(static_cast<unsigned long long>(magnitude));
      if (negative) out = Numeric(0) - out;
      return;
    }
    std::uint64_t length = 0;
    for (int shift = 0;; shift += 7) {
      if (shift > 63) throw_list_stream_error();
      const std::uint64_t byte = little(1);
      length |= (byte & 0x7F) << shift;
      if ((byte & 0x80) == 0) break;
    }
    if (!hasBytes(length)) throw_list_stream_error();
    // Copied out of the buffer, where the next token byte might continue
    // the digits; terminated by a zero that ends the number.
    char small[64];
    std::string large;
    char* text = small;
    if (length >= sizeof small) {
      large.resize(static_cast<std::size_t>(length));
      text = large.data();
    }
    bytes(text, static_cast<std::size_t>(length));
    text[length] = '\0';
    out = parse_numeric(std::string_view(text, static_cast<std::size_t>(length)));
  }
  double doublePayload(std::uint8_t kind) {
    if (kind == kDouble) {
      const std::uint64_t bits = little(8);
      double value;
      std::memcpy(&value, &bits, sizeof value);
      return value;
    }
    if (kind == kFloat) return static_cast<double>(floatPayload());
    bool negative = false;
    std::uint64_t magnitude = 0;
    integer(kind, negative, magnitude);
    const auto value = static_cast<double>(magnitude);
    return negative ? -value : value;
  }
  // Once the outermost list or a value outside any list is complete, the
  // file goes back to the end of what was consumed.
  void settle() {
    if (depth_ == 0) giveBack();
  }
  // A token byte loaded by peek() goes back whole; one whose flags were
  // partly taken stays consumed. A file that someone else moved meanwhile is
  // left where it is.
  void giveBack() {
    if (token_ != 0 && !token_whole_) return;
    if (token_whole_) {
      --position_;
      token_ = 0;
      token_whole_ = false;
    }
    if (position_ == size_ || file_->position() != start_ + consumed_ + size_) return;
    file_->seek(file_->position() - (size_ - position_));
    consumed_ += position_;
    position_ = 0;
    size_ = 0;
    chunk_ = kFirstChunk;
  }
  bool fill() {
    if (position_ < size_) return true;
    consumed_ += size_;
    position_ = 0;
    size_ = file_->read(buffer_.data(), chunk_);
    // Each top-level element starts with a small read that grows, so that
    // what goes back at its end costs no more than the element itself.
    if (chunk_ < buffer_.size()) chunk_ *= 2;
    return size_ != 0;
  }

  // Whether `count` more bytes can be read.
  bool hasBytes(std::uint64_t count) { return count <= size_ - position_ || count <= remaining(); }
  std::uint64_t remaining() {
    const std::uint64_t length = file_->length();
    const std::uint64_t at = file_->position();
    return (size_ - position_) + (length > at ? length - at : 0);
  }
  void bytes(void* out, std::size_t count) {
    auto* target = static_cast<unsigned char*>(out);
    while (count > 0) {
      if (!fill()) throw_list_stream_error();
      const std::size_t n = std::min(count, size_ - position_);
      std::memcpy(target, buffer_.data() + position_, n);
      position_ += n;
      target += n;
      count -= n;
    }
  }
  // A little-endian number of `count` bytes (1, 2, 4 or 8).
  std::uint64_t little(int count) {
    unsigned char raw[8];
    const unsigned char* p = raw;
    if (size_ - position_ >= static_cast<std::size_t>(count)) {
      p = buffer_.data() + position_;
      position_ += static_cast<std::size_t>(count);
    } else {
      bytes(raw, static_cast<std::size_t>(count));
    }
    if constexpr (std::endian::native == std::endian::little) {
      switch (count) {
        case 1:
          return *p;
        case 2: {
          std::uint16_t value;
          std::memcpy(&value, p, sizeof value);
          return value;
        }
        case 4: {
          std::uint32_t value;
          std::memcpy(&value, p, sizeof value);
          return value;
        }
        default: {
          std::uint64_t value;
          std::memcpy(&value, p, sizeof value);
          return value;
        }
      }
    } else {
      std::uint64_t value = 0;
      for (int i = count - 1; i >= 0; --i) value = (value << 8) | p[i];
      return value;
    }
  }
  // The count of a payload of `kind`, one of the three kinds from `kind8`
  // (see BinaryListOut::countedToken); any other kind is malformed here.
  std::uint64_t payloadCount(std::uint8_t kind, std::uint8_t kind8) {
    if (kind == kind8) return little(1);
    if (kind == kind8 + 1) return little(2);
    if (kind == kind8 + 2) return little(8);
    throw_list_stream_error();
  }
  float floatPayload() {
    const auto bits = static_cast<std::uint32_t>(little(4));
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  bool loadToken() {
    if (token_ != 0) return true;
    if (!fill()) return false;
    token_ = buffer_[position_++];
    if (token_ == 0) throw_list_stream_error();
    token_whole_ = true;
    return true;
  }
  void clear(std::uint8_t flag) {
    token_ &= static_cast<std::uint8_t>(~flag);
    token_whole_ = false;
  }
  void takeComma() {
    if (!loadToken() || (token_ & kEndFlag) != 0) throw_list_stream_error();
    const bool comma = (token_ & kCommaFlag) != 0;
    if (comma != element_read_) throw_list_stream_error();
    clear(kCommaFlag);
    element_read_ = false;
    if (token_ == 0 && !loadToken()) throw_list_stream_error();
  }
  std::uint8_t takeKind() {
    takeComma();
    if ((token_ & (kBeginFlag | kEndFlag | kCommaFlag)) != 0) throw_list_stream_error();
    const std::uint8_t kind = token_;
    if (kind > kBytes64) throw_list_stream_error();
    token_ = 0;
    token_whole_ = false;
    element_read_ = true;
    after_comma_ = false;
    return kind;
  }
  void integer(std::uint8_t kind, bool& negative, std::uint64_t& magnitude) {
    negative = false;
    if (kind >= kSmallFirst && kind <= kSmallLast) {
      magnitude = kind - kSmallFirst;
      return;
    }
    if (kind < kU8 || kind > kN64) throw_list_stream_error();
    static constexpr int kSizes[] = {1, 1, 2, 2, 4, 4, 8, 8};
    const int size = kSizes[kind - kU8];
    negative = ((kind - kU8) & 1) != 0;
    if (std::endian::native == std::endian::little && size_ - position_ >= 8) {
      // A whole word, of which the payload's bytes are kept.
      std::uint64_t word;
      std::memcpy(&word, buffer_.data() + position_, sizeof word);
      position_ += static_cast<std::size_t>(size);
      magnitude = size == 8 ? word : word & ((std::uint64_t{1} << (8 * size)) - 1);
      return;
    }
    magnitude = little(size);
  }

  static constexpr std::size_t kFirstChunk = 64;

  InterfacePtr<IFile> file_;
  std::uint64_t start_;  // where the file stood when reading began
  bool token_whole_ = false;
  std::size_t chunk_ = kFirstChunk;
  std::array<unsigned char, 16384> buffer_{};
  std::size_t position_ = 0;
  std::size_t size_ = 0;
  std::uint64_t consumed_ = 0;
  std::uint8_t token_ = 0;
  bool element_read_ = false;
  bool after_comma_ = false;
  std::size_t depth_ = 0;
};

// Writes an integer of any sign and magnitude; a negative magnitude beyond
// the range of int64 goes out as a decimal number.
void put_integer(IListOutStream* out, bool negative, std::uint64_t magnitude) {
  if (out == nullptr) return;
  if (!negative || magnitude == 0) {
    out->putUnsigned(magnitude);
  } else if (magnitude <= std::uint64_t{1} << 63) {
    out->putSigned(static_cast<std::int64_t>(0 - magnitude));
  } else {
    out->putNumeric(Numeric(0) - Numeric(static_cast<unsigned long long>(magnitude)));
  }
}

// Reads the value that `token` announced and writes it to `out` (when not
// null).
void copy_value(IListInStream& in, ListToken token, IListOutStream* out) {
  switch (token) {
    case ListToken::Integer: {
      bool negative = false;
      std::uint64_t magnitude = 0;
      in.getInteger(negative, magnitude);
      put_integer(out, negative, magnitude);
      return;
    }
    case ListToken::Float: {
      const double value = in.getDouble();
      if (out != nullptr) out->putDouble(value);
      return;
    }
    case ListToken::Numeric: {
      Numeric value;
      in.getNumeric(value);
      if (out != nullptr) out->putNumeric(value);
      return;
    }
    case ListToken::Guid: {
      const GUID value = in.getGuid();
      if (out != nullptr) out->putGuid(value);
      return;
    }
    case ListToken::String: {
      String value;
      in.getString(value);
      if (out != nullptr) out->putString(value.data(), value.size());
      return;
    }
    case ListToken::Bytes: {
      std::string value;
      in.getBytes(value);
      if (out != nullptr) out->putBytes(value.data(), value.size());
      return;
    }
    case ListToken::Word: {
      String text;
      in.getString(text);
      const std::u16string_view word = text;
      bool negative = false;
      std::uint64_t magnitude = 0;
      GUID guid{};
      double number = 0;
      if (parse_integer(word, negative, magnitude)) {
        put_integer(out, negative, magnitude);
        return;
      }
      if (is_decimal(word)) {
        const Numeric value = parse_numeric(word);
        if (out != nullptr) out->putNumeric(value);
      } else if (parse_guid(word, guid)) {
        if (out != nullptr) out->putGuid(guid);
      } else if (parse_double(word, number)) {
        if (out != nullptr) out->putDouble(number);
      } else {
        std::string bytes;
        decode_base64(word, bytes);
        if (out != nullptr) out->putBytes(bytes.data(), bytes.size());
      }
      return;
    }
    default:
      throw_list_stream_error();
  }
}

}  // namespace

InterfacePtr<IListOutStream> create_text_list_out_stream(IWriter* writer) {
  return InterfacePtr<IListOutStream>(new TextListOut(writer));
}
InterfacePtr<IListOutStream> create_binary_list_out_stream(IFile* file) {
  return InterfacePtr<IListOutStream>(new BinaryListOut(file));
}
InterfacePtr<IListInStream> create_text_list_in_stream(IReader* reader) {
  if (reader == nullptr) throw_list_stream_error();
  return InterfacePtr<IListInStream>(new TextListIn(reader));
}
InterfacePtr<IListInStream> create_binary_list_in_stream(IFile* file) {
  if (file == nullptr) throw_list_stream_error();
  return InterfacePtr<IListInStream>(new BinaryListIn(file));
}

// ---------------------------------------------------------------------------
// ListOutStream.

ListOutStream::ListOutStream(IWriter* writer) : impl_(create_text_list_out_stream(writer)) {}
ListOutStream::ListOutStream(IFile* file) : impl_(create_binary_list_out_stream(file)) {}
ListOutStream::ListOutStream(IListOutStream* stream) : impl_(stream) {}
ListOutStream::~ListOutStream() = default;

void ListOutStream::throwClosed() { throw_list_stream_error(); }

void ListOutStream::close() {
  InterfacePtr<IListOutStream> impl = std::move(impl_);
  if (impl) impl->close();
}
void ListOutStream::flush() { impl()->flush(); }

void ListOutStream::put(const char16_t* text) {
  if (text == nullptr) {
    impl()->putString(u"", 0);
    return;
  }
  put(String(text));
}

void ListOutStream::put(const char16_t* text, std::size_t count) {
  std::size_t length = 0;
  while (length < count && text[length] != 0) ++length;
  impl()->putString(text, length);
}

void ListOutStream::put(IFile* file) {
  std::string bytes;
  char chunk[16384];
  for (;;) {
    const std::size_t n = file->read(chunk, sizeof chunk);
    if (n == 0) break;
    bytes.append(chunk, n);
  }
  impl()->putBytes(bytes.data(), bytes.size());
}

void ListOutStream::put(IFileEx* object) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  object->writeTo(file.get());
  impl()->putBytes(file->bytes().data(), file->bytes().size());
}

// ---------------------------------------------------------------------------
// ListInStream.

// A null source leaves impl_ empty, so that every call throws, as it does
// for ListOutStream.
ListInStream::ListInStream(IReader* reader) { reinit(reader); }
ListInStream::ListInStream(IFile* file) { reinit(file); }
ListInStream::ListInStream(IListInStream* stream) : impl_(stream) {}

void ListInStream::reinit(IReader* reader) {
  impl_.reset();
  if (reader != nullptr) impl_ = create_text_list_in_stream(reader);
}
void ListInStream::reinit(IFile* file) {
  impl_.reset();
  if (file != nullptr) impl_ = create_binary_list_in_stream(file);
}
void ListInStream::reinit(IListInStream* stream) { impl_.reset(stream); }

void ListInStream::throwClosed() { throw_list_stream_error(); }

std::uint64_t ListInStream::position() { return impl()->position(); }

template <class T>
void ListInStream::getSignedAs(T& value) {
  bool negative = false;
  std::uint64_t magnitude = 0;
  impl()->getInteger(negative, magnitude);
  using Unsigned = std::make_unsigned_t<T>;
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
  if (!negative) {
    if (magnitude > kMax) throw_list_stream_error();
    value = static_cast<T>(magnitude);
  } else {
    if (magnitude > kMax + 1) throw_list_stream_error();
    value = static_cast<T>(static_cast<Unsigned>(0 - magnitude));
  }
}

template <class T>
void ListInStream::getUnsignedAs(T& value) {
  bool negative = false;
  std::uint64_t magnitude = 0;
  impl()->getInteger(negative, magnitude);
  if ((negative && magnitude != 0) || magnitude > std::numeric_limits<T>::max())
    throw_list_stream_error();
  value = static_cast<T>(magnitude);
}

void ListInStream::get(bool& value) {
  unsigned char bit = 0;
  getUnsignedAs(bit);
  if (bit > 1) throw_list_stream_error();
  value = bit != 0;
}
void ListInStream::get(signed char& value) { getSignedAs(value); }
void ListInStream::get(short& value) { getSignedAs(value); }
void ListInStream::get(int& value) { getSignedAs(value); }
void ListInStream::get(long& value) { getSignedAs(value); }
void ListInStream::get(long long& value) { getSignedAs(value); }
void ListInStream::get(unsigned char& value) { getUnsignedAs(value); }
void ListInStream::get(unsigned short& value) { getUnsignedAs(value); }
void ListInStream::get(unsigned int& value) { getUnsignedAs(value); }
void ListInStream::get(unsigned long& value) { getUnsignedAs(value); }
void ListInStream::get(unsigned long long& value) { getUnsignedAs(value); }
void ListInStream::get(float& value) { value = impl()->getFloat(); }
void ListInStream::get(double& value) { value = impl()->getDouble(); }
void ListInStream::get(char16_t& value) { getUnsignedAs(value); }
void ListInStream::get(GUID& value) { value = impl()->getGuid(); }
void ListInStream::get(String& value) { impl()->getString(value); }

void ListInStream::get(char16_t* text, std::size_t size) {
  String value;
  impl()->getString(value);
  if (value.size() >= size) throw_list_stream_error();
  std::memcpy(text, value.data(), value.size() * sizeof(char16_t));
  text[value.size()] = 0;
}

void ListInStream::get(String& value, const char16_t* def) {
  if (impl()->peek() == ListToken::EndOfList) {
    value = def == nullptr ? String() : String(def);
    return;
  }
  impl()->getString(value);
}
void ListInStream::get(String& value, const String& def) {
  if (impl()->peek() == ListToken::EndOfList) {
    value = def;
    return;
  }
  impl()->getString(value);
}

void ListInStream::get(std::string& bytes) { impl()->getBytes(bytes); }

void ListInStream::get(void* data, std::size_t count) {
  std::string bytes;
  impl()->getBytes(bytes);
  if (bytes.size() != count) throw_list_stream_error();
  if (count != 0) std::memcpy(data, bytes.data(), count);
}

void ListInStream::get(Numeric& value) { impl()->getNumeric(value); }

void ListInStream::get(IFile* file) {
  std::string bytes;
  impl()->getBytes(bytes);
  file->write(bytes.data(), bytes.size());
}

void ListInStream::get(IFileEx* object) {
  std::string bytes;
  impl()->getBytes(bytes);
  InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
  object->readFrom(file.get());
}

void ListInStream::get(std::vector<bool>::reference bit) {
  bool value = false;
  get(value);
  bit = value;
}

void ListInStream::skipListContent() { impl()->skipListContent(nullptr); }
void ListInStream::skipAndSaveListContent(String& saved) { impl()->skipListContent(&saved); }

void copy_list_stream(ListInStream& in, ListOutStream& out) {
  IListInStream* source = in.get();
  IListOutStream* target = out.get();
  if (source == nullptr || target == nullptr) throw_list_stream_error();
  std::size_t depth = 0;
  for (;;) {
    const ListToken token = source->peek();
    switch (token) {
      case ListToken::End:
        if (depth != 0) throw_list_stream_error();
        return;
      case ListToken::Comma:
        source->getComma();
        break;
      case ListToken::BeginOfList:
        source->getBeginOfList();
        target->putBeginOfList();
        ++depth;
        break;
      case ListToken::EndOfList:
        source->getEndOfList();
        target->putEndOfList();
        --depth;
        break;
      default:
        copy_value(*source, token, target);
    }
  }
}

}  // namespace core
