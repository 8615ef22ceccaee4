#include "core/nocase.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/string.h"

namespace core {
namespace {

int sign(int value) { return (value > 0) - (value < 0); }

int icu_compare(std::u16string_view a, std::u16string_view b) {
  UErrorCode status = U_ZERO_ERROR;
  const int result = u_strCaseCompare(a.data(), static_cast<int32_t>(a.size()), b.data(),
                                      static_cast<int32_t>(b.size()), U_FOLD_CASE_DEFAULT, &status);
  EXPECT_TRUE(U_SUCCESS(status));
  return sign(result);
}

TEST(Nocase, FoldsSpecialCases) {
  struct Case {
    std::u16string_view a;
    std::u16string_view b;
    int expected;
  };
  const Case cases[] = {
      {u"", u"", 0},     {u"", u"a", -1},       {u"Count", u"cOUNT", 0}, {u"a", u"B", -1},
      {u"Z", u"a", 1},   {u"ЁЛКА", u"ёлка", 0}, {u"Ёж", u"еж", 1},       {u"Straße", u"STRASSE", 0},
      {u"ß", u"st", -1}, {u"ﬁle", u"FILE", 0},  {u"Ⅷ", u"ⅷ", 0},         {u"İ", u"i\u0307", 0},
      {u"İ", u"i", 1},   {u"ΣΑΣ", u"σας", 0},   {u"\u212A", u"k", 0},  // Kelvin sign
      {u"µ", u"Μ", 0},                                                 // micro sign and capital mu
      {u"𐐀", u"𐐨", 0},   {u"x𐐀y", u"X𐐨Z", -1},  {u"abc", u"ABCD", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.a).toUtf8() + " / " + String(c.b).toUtf8());
    EXPECT_EQ(sign(compare_nocase(c.a, c.b)), c.expected);
    EXPECT_EQ(sign(compare_nocase(c.b, c.a)), -c.expected);
    EXPECT_EQ(icu_compare(c.a, c.b), c.expected);
    if (c.expected == 0) {
      EXPECT_EQ(hash_nocase(c.a), hash_nocase(c.b));
    }
  }
}

TEST(Nocase, SurrogatePairsSplitAfterEqualLead) {
  // Both texts share the lead surrogate D801 and differ in the trail only;
  // the pair must still be folded whole.
  const char16_t upper[] = {u'a', 0xD801, 0xDC00};  // U+10400
  const char16_t lower[] = {u'A', 0xD801, 0xDC28};  // U+10428
  const char16_t lone[] = {u'a', 0xD801};
  EXPECT_EQ(compare_nocase({upper, 3}, {lower, 3}), 0);
  EXPECT_EQ(sign(compare_nocase({lone, 2}, {upper, 3})), icu_compare({lone, 2}, {upper, 3}));
  EXPECT_EQ(sign(compare_nocase({upper, 3}, {lone, 2})), icu_compare({upper, 3}, {lone, 2}));
}

// Characters with interesting foldings, in both cases where they have them.
const std::u16string_view kPool[] = {
    u"a",    u"A",      u"z",      u"Z",      u"_",      u"0",      u"é", u"É",      u"ÿ", u"Ÿ",
    u"ß",    u"ẞ",      u"ſ",      u"İ",      u"ı",      u"i",      u"I", u"ǅ",      u"ǆ", u"Ǆ",
    u"ﬁ",    u"ﬀ",      u"Ⅷ",      u"ⅷ",      u"K",      u"\u212A", u"Å", u"\u212B", u"µ", u"μ",
    u"Μ",    u"σ",      u"ς",      u"Σ",      u"ΐ",      u"ΰ",      u"ϐ", u"β",      u"ё", u"Ё",
    u"е",    u"Е",      u"ж",      u"Ж",      u"я",      u"Я",      u"ѣ", u"Ѣ",      u"ӏ", u"Ӏ",
    u"ԁ",    u"Ԁ",      u"ა",      u"Ა",    u"ǰ",      u"ŉ",      u"ﬆ", u"𐐀",      u"𐐨", u"𞤀",
    u"𞤢", u"\xD801", u"\xDC00", u"\xDC28", u"\u0307",
};

std::u16string random_text(std::mt19937& random, std::size_t max_chars) {
  std::u16string text;
  const std::size_t chars = random() % (max_chars + 1);
  for (std::size_t i = 0; i < chars; ++i) text += kPool[random() % std::size(kPool)];
  return text;
}

// Swaps the case of some characters: yields many texts equal ignoring case.
std::u16string vary_case(std::mt19937& random, std::u16string_view text) {
  std::u16string result(text);
  std::u16string varied(result.size() * 3 + 4, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t length = (random() % 2 == 0 ? u_strToUpper : u_strToLower)(
      varied.data(), static_cast<int32_t>(varied.size()), result.data(),
      static_cast<int32_t>(result.size()), "", &status);
  EXPECT_TRUE(U_SUCCESS(status));
  varied.resize(static_cast<std::size_t>(length));
  return varied;
}

TEST(Nocase, AgreesWithIcuOnGeneratedTexts) {
  std::mt19937 random(2024);
  int equal_pairs = 0;
  for (int round = 0; round < 20000; ++round) {
    // Some texts run past the 64-unit chunks of the slow path.
    const std::size_t max_chars = round % 10 == 0 ? 120 : 8;
    const std::u16string a = random_text(random, max_chars);
    std::u16string b;
    switch (round % 3) {
      case 0:
        b = random_text(random, max_chars);
        break;
      case 1:
        b = vary_case(random, a);
        break;
      default:
        b = vary_case(random, a) + random_text(random, 2);
        break;
    }
    const int expected = icu_compare(a, b);
    ASSERT_EQ(sign(compare_nocase(a, b)), expected)
        << String(a).toUtf8() << " / " << String(b).toUtf8();
    ASSERT_EQ(sign(compare_nocase(b, a)), -expected);
    if (expected == 0) {
      ++equal_pairs;
      ASSERT_EQ(hash_nocase(a), hash_nocase(b)) << String(a).toUtf8();
    }
  }
  // The generator must really produce equal pairs for the hash check.
  EXPECT_GT(equal_pairs, 5000);
}

TEST(Nocase, HashSeparatesDifferentTexts) {
  std::map<std::size_t, int> seen;
  const std::u16string_view stems[] = {u"Имя", u"name", u"straße", u"σ"};
  for (const auto stem : stems) {
    for (int i = 0; i < 500; ++i) {
      std::u16string text(stem);
      for (int n = i; n != 0; n /= 10) text += static_cast<char16_t>(u'0' + n % 10);
      ++seen[hash_nocase(text)];
    }
  }
  EXPECT_EQ(seen.size(), 2000u);
}

TEST(Nocase, OrderNocaseFindsAnySpelling) {
  std::map<String, int, OrderNocase> table;
  table[String(u"Количество")] = 1;
  table[String(u"Name")] = 2;
  EXPECT_EQ(table.size(), 2u);
  table[String(u"NAME")] = 3;
  EXPECT_EQ(table.size(), 2u);
  EXPECT_EQ(table.find(u"количество")->second, 1);
  EXPECT_EQ(table.find(std::u16string_view(u"name"))->second, 3);
  EXPECT_EQ(table.find(u"nam"), table.end());
}

}  // namespace
}  // namespace core
