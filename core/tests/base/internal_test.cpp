// Tests of the private helpers in core/src/internal shared by several families.
#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <climits>
#include <functional>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "core/exception_classes.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/numeric.h"
#include "core/thread.h"
#include "internal/chars.h"
#include "internal/icu.h"
#include "internal/throw.h"
#include "internal/utf8.h"
#include "test_util.h"

namespace core {
namespace {

// The detail line of an exception's description: what follows its first line
// feed.
std::string detail_of(const Exception& e) {
  const std::u16string_view descr = e.descr();
  const std::size_t feed = descr.find(u'\n');
  return feed == std::u16string_view::npos ? std::string()
                                           : String(descr.substr(feed + 1)).toUtf8();
}

// The refused value reaches the description whole, whatever its width or
// sign at the call site.
TEST(Throwers, IllegalArgumentCarriesTheRefusedValue) {
  char digits[4];
  struct Case {
    std::function<void()> call;
    const char* detail;
  } const kCases[] = {
      {[] { detail::throw_illegal_argument(LLONG_MIN); }, "-9223372036854775808"},
      {[] { Thread::setLanguage(static_cast<Language>(-7)); }, "-7"},
      {[] { Thread::setFirstDayOfWeek(static_cast<WeekDay>(8)); }, "8"},
      {[&] { (void)Numeric(1).digits(digits, 3, 4000000000u, NumericRoundMode::HalfTowardZero); },
       "4000000000"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.detail);
    try {
      c.call();
      ADD_FAILURE() << "nothing thrown";
    } catch (const IllegalArgumentException& e) {
      EXPECT_TRUE(testing::IsExceptionWithText(e, IllegalArgumentException::kClsid,
                                               "IDS_ERR_ILLEGAL_ARGUMENT"));
      EXPECT_EQ(detail_of(e), c.detail);
    }
  }
}

TEST(Chars, HexDigitsOfEveryKind) {
  const struct {
    char16_t unit;
    int value;
  } kCases[] = {
      {u'0', 0},       {u'9', 9},
      {u'a', 10},      {u'f', 15},
      {u'A', 10},      {u'F', 15},
      {u'/', -1},      {u':', -1},
      {u'@', -1},      {u'G', -1},
      {u'`', -1},      {u'g', -1},
      {u'\0', -1},     {u'\uFF10', -1},  // fullwidth zero
      {u'\uFF21', -1},                   // fullwidth A
      {u'\u0660', -1},                   // Arabic-Indic zero
      {u'\u0430', -1},                   // Cyrillic a
      {u'\u0130', -1}, {static_cast<char16_t>(0xD800), -1},
      {u'\uFFFF', -1},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(static_cast<int>(c.unit));
    EXPECT_EQ(detail::hex_digit_value(c.unit), c.value);
  }
}

// The ASCII shortcut must not drift from ICU's definition anywhere.
TEST(Chars, WhiteSpaceIsIcusForEveryUnit) {
  for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
    ASSERT_EQ(detail::is_white_space(static_cast<char16_t>(unit)),
              u_isspace(static_cast<UChar32>(unit)) != 0)
        << std::hex << static_cast<unsigned>(unit);
  }
}

TEST(Chars, TrimRemovesWhiteSpaceAtBothEndsOnly) {
  const struct {
    std::u16string_view text;
    std::u16string_view trimmed;
  } kCases[] = {
      {u"", u""},
      {u" \t\r\n", u""},
      {u"\u00A0a b\u3000", u"a b"},
      {u"\u001Cx\u001F", u"x"},
      {u"\u200Bx", u"\u200Bx"},  // a zero-width space is not white space
      {u"x\u0085", u"x"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(detail::trim_white_space(c.text), c.trimmed);
  }
}

// Every place where a digit pair or a single leading digit ends the number.
TEST(Chars, DecimalWritersAtEveryLengthBoundary) {
  const struct {
    std::uint64_t value;
    std::string_view text;
  } kCases[] = {
      {0, "0"},
      {7, "7"},
      {10, "10"},
      {99, "99"},
      {100, "100"},
      {1009, "1009"},
      {99999, "99999"},
      {1000000000, "1000000000"},
      {18446744073709551615ull, "18446744073709551615"},
  };
  for (const auto& c : kCases) {
    char narrow[detail::kMaxDecimalDigits];
    char16_t wide[detail::kMaxDecimalDigits];
    const char* first = detail::write_decimal_backwards(c.value, narrow + std::size(narrow));
    EXPECT_EQ(std::string_view(first, narrow + std::size(narrow) - first), c.text);
    const char16_t* wide_first = detail::write_decimal_backwards(c.value, wide + std::size(wide));
    const auto wide_count = static_cast<std::size_t>(wide + std::size(wide) - wide_first);
    EXPECT_EQ(std::u16string(wide_first, wide_count), std::u16string(c.text.begin(), c.text.end()));
  }
  const struct {
    std::uint32_t value;
    std::string_view text;
  } kNines[] = {
      {0, "000000000"}, {5, "000000005"}, {120034005, "120034005"}, {999999999, "999999999"}};
  for (const auto& c : kNines) {
    char out[9];
    EXPECT_EQ(detail::write_nine_digits(out, c.value), out + 9);
    EXPECT_EQ(std::string_view(out, 9), c.text);
  }
}

// UTF-8 ------------------------------------------------------------------

// Decodes `bytes` through every caller of the shared decoder; they must agree.
std::u16string decode_directly(std::string_view bytes) {
  std::u16string text;
  detail::decode_utf8(bytes, [&text](char16_t unit) { text.push_back(unit); });
  return text;
}

std::u16string decode_from_file(std::string_view bytes, std::size_t chunk) {
  InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
  InterfacePtr<Utf8FileReader> reader(new Utf8FileReader(file.get()));
  std::u16string text;
  char16_t buffer[8];
  for (std::size_t n; (n = reader->read(buffer, chunk)) != 0;) text.append(buffer, n);
  return text;
}

void expect_decoders_give(std::string_view bytes, std::u16string_view text) {
  const std::string shown = ::testing::PrintToString(std::string(bytes));
  EXPECT_EQ(decode_directly(bytes), text) << shown;
  EXPECT_EQ(std::u16string_view(String::fromUtf8(bytes)), text) << shown;
  // One unit at a time splits every pair across two reads.
  EXPECT_EQ(decode_from_file(bytes, 1), text) << shown;
  EXPECT_EQ(decode_from_file(bytes, 8), text) << shown;
}

TEST(Utf8, DecodersReplaceEachMaximalSubpart) {
  const struct {
    std::string_view bytes;
    std::u16string_view text;
  } kCases[] = {
      {"", u""},
      {"plain", u"plain"},
      {"\xD0\x81\xD1\x91", u"Ёё"},
      {"\xE2\x82\xAC", u"€"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
      {"\xEF\xBF\xBF", u"\uFFFF"},
      {"\xC0\x80", u"\uFFFD\uFFFD"},            // overlong NUL
      {"\xC1\xBF", u"\uFFFD\uFFFD"},            // overlong DEL
      {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},  // overlong '/'
      {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD"},  // overlong U+07FF
      {"\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // overlong U+FFFF
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},            // encoded surrogate D800
      {"\xED\xBF\xBF", u"\uFFFD\uFFFD\uFFFD"},            // encoded surrogate DFFF
      {"\xED\x9F\xBF", u"\uD7FF"},                        // just below the surrogates
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
      {"\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xE2\x82", u"\uFFFD"},    // cut short at the end
      {"\xE2\x82x", u"\uFFFDx"},  // cut short before ASCII
      {"\xF0\x9F\x98", u"\uFFFD"},
      {"\xF0\x9F\x98\xF0\x9F\x98\x80", u"\uFFFD\U0001F600"},  // the breaking byte starts anew
      {"\x80\xBF", u"\uFFFD\uFFFD"},                          // lone continuation bytes
      {"\xFE\xFF", u"\uFFFD\uFFFD"},
      {"a\xF1\x80\x80\xE1\x80\xC2"
       "b\x80"
       "c\x80\xBF"
       "d",
       u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd"},
      {std::string_view("\0\x7F", 2), std::u16string_view(u"\0\x7F", 2)},
  };
  for (const auto& c : kCases) expect_decoders_give(c.bytes, c.text);
}

// Random bytes drawn from the values where the rules change, against ICU's
// own substitution.
TEST(Utf8, DecodersAgreeWithIcuSubstitution) {
  std::mt19937 random(7);
  const unsigned char pool[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
  for (int round = 0; round < 3000; ++round) {
    std::string bytes(random() % 24, '\0');
    for (char& byte : bytes) byte = static_cast<char>(pool[random() % sizeof(pool)]);
    if (bytes.rfind("\xEF\xBB\xBF", 0) == 0) continue;  // the file reader skips a mark
    std::vector<char16_t> expected(bytes.size() + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(expected.data(), static_cast<int32_t>(expected.size()), &length,
                         bytes.data(), static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr,
                         &status);
    ASSERT_TRUE(U_SUCCESS(status));
    expect_decoders_give(bytes, std::u16string_view(expected.data(), static_cast<size_t>(length)));
    if (HasFailure()) return;
  }
}

// Encodes `text` through every caller of the shared encoder; the file writer
// gets the text in two calls split at `split`, so that pairs cross calls.
std::string encode_to_file(std::u16string_view text, std::size_t split) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  {
    InterfacePtr<Utf8FileWriter> writer(new Utf8FileWriter(file.get()));
    writer->write(text.data(), split);
    writer->write(text.data() + split, text.size() - split);
  }
  return file->bytes();
}

TEST(Utf8, EncodersReplaceUnpairedSurrogates) {
  constexpr char16_t kLead = 0xD83D;
  constexpr char16_t kTrail = 0xDE00;
  const struct {
    std::u16string text;
    std::string_view bytes;
  } kCases[] = {
      {u"", ""},
      {u"A\u00E9\u07FF\u0800\u20AC\uFFFF", "A\xC3\xA9\xDF\xBF\xE0\xA0\x80\xE2\x82\xAC\xEF\xBF\xBF"},
      {{u'a', kLead, kTrail, u'z'}, "a\xF0\x9F\x98\x80z"},
      {{u'x', 0xD800, u'y', 0xDC00, 0xDBFF}, "x\xEF\xBF\xBDy\xEF\xBF\xBD\xEF\xBF\xBD"},
      {{kTrail, kLead}, "\xEF\xBF\xBD\xEF\xBF\xBD"},  // a pair in the wrong order
      {{kLead, kLead, kTrail}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
      {{kLead}, "\xEF\xBF\xBD"},  // a lead at the very end
      {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
  };
  for (const auto& c : kCases) {
    const std::string shown = String(c.text).toUtf8();
    EXPECT_EQ(String(c.text).toUtf8(), c.bytes) << ::testing::PrintToString(shown);
    EXPECT_EQ(detail::utf8_length(c.text), c.bytes.size());
    for (std::size_t split = 0; split <= c.text.size(); ++split) {
      EXPECT_EQ(encode_to_file(c.text, split), c.bytes) << "split at " << split;
    }
  }
}

// ICU ---------------------------------------------------------------------

// Warnings are negative codes and count as success: a check against
// U_ZERO_ERROR would wrongly throw on them.
TEST(IcuStatus, ThrowsOnFailuresOnly) {
  for (const UErrorCode code : {U_ZERO_ERROR, U_USING_FALLBACK_WARNING, U_USING_DEFAULT_WARNING,
                                U_STRING_NOT_TERMINATED_WARNING}) {
    detail::IcuStatus status;
    status.set(code);
    EXPECT_FALSE(status.isFailure()) << u_errorName(code);
    EXPECT_NO_THROW(status.assertSuccess()) << u_errorName(code);
  }
  detail::IcuStatus no_memory;
  no_memory.set(U_MEMORY_ALLOCATION_ERROR);
  EXPECT_THROW(no_memory.assertSuccess(), std::bad_alloc);
  detail::IcuStatus bad_argument;
  bad_argument.set(U_ILLEGAL_ARGUMENT_ERROR);
  try {
    bad_argument.assertSuccess();
    ADD_FAILURE() << "nothing thrown";
  } catch (const IllegalStateException& e) {
    EXPECT_EQ(detail_of(e), "U_ILLEGAL_ARGUMENT_ERROR");
  }
}

TEST(IcuStrings, CopyAndAliasKeepEveryUnit) {
  const String text(u"a\0\U0001F600\u00E9", 5);
  const icu::UnicodeString alias = detail::alias_icu(text);
  EXPECT_EQ(alias.getBuffer(), reinterpret_cast<const UChar*>(text.data()));  // no copy
  EXPECT_EQ(detail::from_icu(alias), text);
  icu::UnicodeString bogus;
  bogus.setToBogus();
  EXPECT_EQ(detail::from_icu(bogus), String());
}

}  // namespace
}  // namespace core
