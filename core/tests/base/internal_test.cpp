// Tests of the private helpers in core/src/internal shared by several families.
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <climits>
#include <functional>
#include <string>

#include "core/exception_classes.h"
#include "core/numeric.h"
#include "core/thread.h"
#include "internal/chars.h"
#include "internal/throw.h"
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
      {[] { Thread::setLanguage(-7); }, "-7"},
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

}  // namespace
}  // namespace core
