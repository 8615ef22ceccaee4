#include "core/formats.h"

#include <gtest/gtest.h>
#include <unicode/decimfmt.h>
#include <unicode/numfmt.h>

#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/locale_data.h"
#include "core/application_context.h"
#include "core/exception_classes.h"
#include "core/params.h"
#include "core/scom.h"
#include "core/thread.h"
#include "core/value.h"
#include "test_util.h"

namespace core {
namespace {

// Restores the calling thread's locale and formats when a test ends.
class ThreadSettings {
 public:
  ThreadSettings() : locale_(Thread::locale()) {}
  ~ThreadSettings() {
    Thread::setLocale(locale_);
    Thread::resetNumericFormat();
    Thread::resetDateFormat();
    Thread::resetBoolFormat();
  }

 private:
  Locale locale_;
};

TEST(Formats, TableDrivenCases) {
  ThreadSettings restore;
  std::ifstream in(CORE_TEST_DATA_DIR "/formats.txt");
  ASSERT_TRUE(in.good());
  std::string line;
  int cases = 0;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> fields;
    for (std::size_t start = 0;;) {
      const std::size_t bar = line.find(" | ", start);
      fields.push_back(line.substr(start, bar - start));
      if (bar == std::string::npos) break;
      start = bar + 3;
    }
    ASSERT_EQ(fields.size(), 5u) << "formats.txt:" << number;
    SCOPED_TRACE("formats.txt:" + std::to_string(number) + " " + line);
    Thread::setLocale(Locale(String::fromUtf8(fields[1])));
    const String format_string = testing::unescape_data_line(fields[3]);
    const String expected =
        fields[4] == "(empty)" ? String() : testing::unescape_data_line(fields[4]);
    // The canonical form of every format string formats alike, so the keys
    // that canonical_format reads cannot drift from those format() applies.
    const String canonical = canonical_format(format_string);
    String text;
    // The universal value of the row; a number, date or boolean row holds it
    // to the typed overload's text as well.
    Value universal;
    if (fields[0] == "number") {
      Numeric value;
      value.fromString(fields[2].c_str());
      text = format(value, format_string);
      universal = Value(value);
    } else if (fields[0] == "date") {
      Date value;
      if (fields[2] != "empty") {
        ASSERT_TRUE(value.fromString(fields[2].c_str()));
      }
      text = format(value, format_string);
      universal = Value(value);
    } else if (fields[0] == "boolean") {
      ASSERT_TRUE(fields[2] == "true" || fields[2] == "false");
      text = format(fields[2] == "true", format_string);
      universal = Value(fields[2] == "true");
    } else if (fields[0] == "string") {
      universal = Value(testing::unescape_data_line(fields[2]));
      text = format(universal, format_string);
    } else if (fields[0] == "null") {
      universal = Value(create_null_value());
      text = format(universal, format_string);
    } else {
      ASSERT_EQ(fields[0], "undefined");
      text = format(universal, format_string);
    }
    EXPECT_EQ(text.toUtf8(), expected.toUtf8());
    EXPECT_EQ(format(universal, format_string).toUtf8(), expected.toUtf8()) << "as a value";
    EXPECT_EQ(format(universal, canonical).toUtf8(), expected.toUtf8())
        << "canonical " << canonical.toUtf8();
    ++cases;
  }
  EXPECT_GT(cases, 70);
}

TEST(Formats, BadLocaleThrowsOnlyForNumbers) {
  ThreadSettings restore;
  Thread::setLocale(Locale(u"en_US"));
  EXPECT_THROW_IDS(format(Numeric(1), u"L=zz_bad; NFD=2"), LocaleException, "IDS_BADLOCALENAME");
  // The pairs are applied in order: a bad name throws even if a good one follows.
  EXPECT_THROW_IDS(format(Numeric(1), u"Л=; L=ru_RU"), LocaleException, "IDS_BADLOCALENAME");
  EXPECT_EQ(format(Date(2024, 3, 1), u"L=zz_bad; DF=yyyy"), u"2024");
  EXPECT_EQ(format(false, u"L=zz_bad"), u"No");
}

TEST(Formats, FormatOfAUniversalValuePicksTheBranchOfItsKind) {
  ThreadSettings restore;
  Thread::setLocale(Locale(u"en_US"));
  Thread::setLanguage(Language::English);
  // The branches keep their failures: a bad locale throws for a Number only.
  EXPECT_THROW_IDS(format(Value(1), u"L=zz_bad"), LocaleException, "IDS_BADLOCALENAME");
  EXPECT_EQ(format(Value(Date(2024, 3, 1)), u"L=zz_bad; DF=yyyy"), u"2024");
  EXPECT_EQ(format(Value(true), u"L=zz_bad"), u"Yes");
  // A value held without a reference formats the same.
  InterfacePtr<IValue> number = create_numeric_value(Numeric(0));
  EXPECT_EQ(format(WeakValue(number.get()), u"NZ=zero"), u"zero");
  // A Type value gives its presentation, whatever the keys say.
  const Value type(create_type_value(Type(TypeCode::Number).getIType()->getCLSID()).get());
  EXPECT_EQ(format(type, u"NFD=2; NZ=zero"), to_string(type));
  EXPECT_FALSE(to_string(type).empty());
}

TEST(Formats, ThreadFormatsFollowTheLocaleUnlessSet) {
  ThreadSettings restore;
  Thread::setLocale(Locale(u"en_US"));
  EXPECT_EQ(Thread::getNumericFormat().decimalSymbol(), u".");
  EXPECT_EQ(Thread::getBoolFormat().format(true), u"Yes");
  Thread::setLocale(Locale(u"ru_RU"));
  EXPECT_EQ(Thread::getNumericFormat().decimalSymbol(), u",");
  EXPECT_EQ(Thread::getDateFormat().getShortDatePattern(), u"dd.MM.y");
  EXPECT_EQ(format(Numeric(-1.5), u""), u"-1,5");

  NumericFormat own(Locale(u"en_US"));
  ASSERT_TRUE(own.setWin32NegativeOrder(0));
  Thread::setNumericFormat(own);
  Thread::setLocale(Locale(u"de_DE"));  // the thread's own format stays
  EXPECT_EQ(format(Numeric(-1.5), u""), u"(1.5)");
  EXPECT_EQ(format(Numeric(-1.5), u"NN=1; NDS=';'"), u"-1;5");
  Thread::resetNumericFormat();
  EXPECT_EQ(format(Numeric(-1.5), u""), u"-1,5");

  // Each thread has its own formats.
  String other;
  std::thread([&] {
    Thread::setLocale(Locale(u"en_US"));
    other = format(Numeric(-1.5), u"");
  }).join();
  EXPECT_EQ(other, u"-1.5");
}

TEST(Formats, NumericFormatSettings) {
  NumericFormat f(Locale(u"en_US"));
  EXPECT_FALSE(f.setWin32Grouping(u"3;x"));
  EXPECT_FALSE(f.setWin32Grouping(u"12"));
  EXPECT_FALSE(f.setWin32NegativeOrder(5));
  EXPECT_EQ(f.negativeOrder(), 1u);
  EXPECT_EQ(f.format(Numeric(1234567)), u"1,234,567");
  EXPECT_TRUE(f.setWin32Grouping(u" 3 ; 2 ; 0 "));
  EXPECT_EQ(f.format(Numeric(1234567)), u"12,34,567");
  EXPECT_TRUE(f.setWin32Grouping(u""));
  EXPECT_EQ(f.format(Numeric(1234567)), u"1234567");
  // Minimum fraction digits above the maximum raise it; trailing zeros
  // beyond the minimum go.
  EXPECT_EQ(f.format(Numeric(1.5), 0, 0, 1, 3), u"1.500");
  EXPECT_EQ(f.format(Numeric(1.25), 0, 0, 4, 1), u"1.25");
  EXPECT_EQ(f.format(Numeric(-0.004), 0, 0, 2, 2), u"0.00");
  // Counts are capped.
  EXPECT_EQ(f.format(Numeric(1), 0, 0, 4000000000u, 4000000000u).size(),
            2 + NumericFormat::kMaxDigits);
}

// The number text must equal ICU's for the same settings, digit for digit,
// well beyond the precision of double.
TEST(Formats, NumbersMatchIcuInBothLocales) {
  std::mt19937_64 random(42);
  for (const char16_t* name : {u"en_US", u"ru_RU"}) {
    const Locale locale(name);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> icu_format(
        icu::NumberFormat::createInstance(locale.data().icu, status));
    ASSERT_TRUE(U_SUCCESS(status));
    icu_format->setRoundingMode(icu::NumberFormat::kRoundHalfUp);
    const NumericFormat ours(locale);
    for (int i = 0; i < 3000; ++i) {
      const unsigned fraction = static_cast<unsigned>(random() % 6);
      std::string digits = std::to_string(random() % 1000000000000000000ULL);
      digits = digits.substr(0, 1 + random() % digits.size());
      std::string text = (random() % 3 == 0 ? "-" : "") + digits + "." +
                         std::to_string(random() % 100000000) + std::to_string(random() % 1000);
      icu_format->setMinimumFractionDigits(static_cast<int32_t>(fraction));
      icu_format->setMaximumFractionDigits(static_cast<int32_t>(fraction));
      icu::UnicodeString expected;
      icu::Formattable decimal(icu::StringPiece(text.c_str()), status);
      ASSERT_TRUE(U_SUCCESS(status));
      icu_format->format(decimal, expected, status);
      Numeric value;
      value.fromString(text.c_str());
      const String got = ours.format(value, 0, 0, fraction, fraction);
      const String want(expected.getBuffer(), static_cast<std::size_t>(expected.length()));
      ASSERT_EQ(got.toUtf8(), want.toUtf8()) << text << " with " << fraction << " places";
    }
  }
}

TEST(Formats, DatePatternsAndTranslation) {
  const DateFormat en(Locale(u"en_US"));
  EXPECT_EQ(en.getPattern(4), en.getShortDateTimePattern());
  EXPECT_EQ(en.getPattern(99), en.getShortDateTimePattern());
  EXPECT_EQ(en.getPattern(1), en.getShortDatePattern());
  EXPECT_EQ(en.getPattern(5), en.getLongDateTimePattern());
  EXPECT_EQ(DateFormat::parseQ9Pattern(u"dd.MM.yyyy HH:mm:ss"), u"dd.MM.yyyy HH:mm:ss");
  EXPECT_EQ(DateFormat::parseQ9Pattern(u"дд.ММ.гггг ЧЧ:мм:сс"), u"dd.MM.yyyy HH:mm:ss");
  EXPECT_EQ(DateFormat::parseQ9Pattern(u"dddd ddd к q tt вв ч"), u"EEEE EEE Q Q a a h");
  EXPECT_EQ(DateFormat::parseQ9Pattern(u"'at' 'it''s' Wx'"), u"'at' 'it''s' 'Wx'");
  EXPECT_EQ(DateFormat::parseQ9Pattern(u"ddddd y ггг"), u"EEEE yy yyyy");
  // Invalid dates give the empty text.
  EXPECT_EQ(en.format(Date(Date::kMaxTicks + 1), u"yyyy"), u"");
  EXPECT_EQ(en.format(Date(2024, 1, 1), u"yyyy"), u"2024");
}

TEST(Formats, BooleanTextsAndParsing) {
  const BoolFormat en(Locale(u"en_US"));
  const BoolFormat ru(Locale(u"ru_RU"));
  bool value = true;
  EXPECT_TRUE(ru.parse(u"  ложь ", value));
  EXPECT_FALSE(value);
  EXPECT_TRUE(ru.parse(u"ИСТИНА", value));
  EXPECT_TRUE(value);
  EXPECT_FALSE(ru.parse(u"Да", value));  // written, never read
  EXPECT_FALSE(en.parse(u"Yes", value));
  EXPECT_FALSE(ru.parse(u"True", value));
  EXPECT_TRUE(en.parse(u"false", value));
  EXPECT_FALSE(value);
  EXPECT_FALSE(en.parse(u"maybe", value));
  EXPECT_FALSE(value);

  {
    testing::ScopedCompatibilityLevel old_release(kCompatibilityCurrentBoolTexts - 1);
    EXPECT_EQ(en.format(true), u"True");
    EXPECT_EQ(ru.format(false), u"Ложь");
  }
  {
    testing::ScopedCompatibilityLevel current(kCompatibilityCurrentBoolTexts);
    EXPECT_EQ(ru.format(false), u"Нет");
  }
  EXPECT_EQ(en.format(true), u"Yes");
}

TEST(Formats, CanonicalFormatAndLocaleName) {
  EXPECT_EQ(get_locale_name_from_format(u"L=en_US; Л=ru_RU"), u"ru_RU");
  EXPECT_EQ(get_locale_name_from_format(u"ND=2"), u"");
  EXPECT_EQ(canonical_format(u"чдц=2; ЧЦ=10; ND=12; X=1; NS=1; NS=2; ЧВН=; NGS=' x'"),
            u"ND=12; NFD=2; NGS=\" \"; NLZ=1; NS=3");
  EXPECT_EQ(canonical_format(u"БИ=Да; bt=On; DF='dd MM'; ДЛФ=D; bad"),
            u"DF=\"dd MM\"; DLF=D; BT=Да");
  // Strings that format alike share the canonical text.
  EXPECT_EQ(canonical_format(u"NFD=2;ND=5"), canonical_format(u" ЧЦ = 5 ; ЧДЦ = '2' "));
  EXPECT_EQ(canonical_format(u"NN=7; NDS="), u"");
}

TEST(Formats, ManyDistinctFormatStringsStayCorrect) {
  // More distinct locales and patterns than any cache holds, twice over, so
  // that entries are evicted and rebuilt.
  const char16_t* locales[] = {u"en_US", u"ru_RU", u"de_DE", u"fr_FR", u"en_GB",
                               u"es_ES", u"it_IT", u"ja_JP", u"pt_BR", u"nl_NL"};
  const Date date(2024, 3, 1, 15, 5, 7);
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 40; ++i) {
      const String pattern = String::fromUtf8("yyyy'" + std::to_string(i) + "'");
      const String fs = String(u"L=") + locales[i % 10] + u"; DF=\"" + pattern + u"\"";
      ASSERT_EQ(format(date, fs).toUtf8(), "2024" + std::to_string(i));
    }
  }
}

}  // namespace
}  // namespace core
