#include <gtest/gtest.h>

#include <thread>

#include "base/locale_data.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/locale.h"
#include "core/messages.h"
#include "rivet/memory_manager.h"

namespace core {
namespace {

TEST(Locale, GoodNamesAreCanonicalised) {
  struct Case {
    const char16_t* name;
    const char16_t* canonical;
    const char16_t* language;
    const char16_t* country;
  };
  const Case cases[] = {
      {u"en", u"en", u"en", u""},         {u"en_US", u"en_US", u"en", u"US"},
      {u"ru", u"ru", u"ru", u""},         {u"ru_RU", u"ru_RU", u"ru", u"RU"},
      {u"RU_ru", u"ru_RU", u"ru", u"RU"}, {u"de-CH", u"de_CH", u"de", u"CH"},
      {u"en_ZZ", u"en_ZZ", u"en", u"ZZ"},  // an unknown region of a known language
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.name).toUtf8());
    const Locale locale(c.name);
    EXPECT_EQ(locale.name(), String(c.canonical));
    EXPECT_EQ(locale.language(), String(c.language));
    EXPECT_EQ(locale.country(), String(c.country));
  }
}

TEST(Locale, BadNamesThrowLocaleExceptionNamingTheName) {
  const char16_t* const bad[] = {u"", u"xx_YY", u"qqq", u"!!", u"рус", u"_US", u"zz"};
  for (const char16_t* name : bad) {
    SCOPED_TRACE(String(name).toUtf8());
    try {
      Locale locale{String(name)};
      ADD_FAILURE() << "accepted " << locale.name().toUtf8();
    } catch (const LocaleException& e) {
      EXPECT_EQ(e.clsid(), LocaleException::kClsid);
      EXPECT_EQ(e.descr(), format_message(load_core_wstring("IDS_BADLOCALENAME"), {name}));
      EXPECT_NE(std::u16string_view(e.descr()).find(name), std::u16string_view::npos);
    }
  }
  // A zero code unit inside the name must not cut it short into a good one.
  const char16_t embedded[] = {u'e', u'n', 0, u'x'};
  EXPECT_THROW(Locale(String(embedded, 4)), LocaleException);
}

TEST(Locale, RegionDataComesFromIcu) {
  const Locale us(u"en_US");
  EXPECT_EQ(us.firstDayOfWeek(), WeekDay::Sunday);
  EXPECT_EQ(us.decimalSymbol(), String(u"."));
  EXPECT_EQ(us.groupSymbol(), String(u","));

  const Locale ru(u"ru_RU");
  EXPECT_EQ(ru.firstDayOfWeek(), WeekDay::Monday);
  EXPECT_EQ(ru.decimalSymbol(), String(u","));
  EXPECT_EQ(ru.groupSymbol(), String(u"\u00A0"));

  EXPECT_EQ(Locale(u"de_DE").firstDayOfWeek(), WeekDay::Monday);
  EXPECT_EQ(Locale(u"de_DE").decimalSymbol(), String(u","));
  // Without a region the language's most likely region decides.
  EXPECT_EQ(Locale(u"en").firstDayOfWeek(), WeekDay::Sunday);
  EXPECT_EQ(Locale(u"ru").firstDayOfWeek(), WeekDay::Monday);
}

TEST(Locale, EqualityIsByCanonicalName) {
  EXPECT_EQ(Locale(u"ru_RU"), Locale(u"RU-ru"));
  EXPECT_FALSE(Locale(u"ru_RU") == Locale(u"ru"));
}

TEST(Locale, PosixAndUnknownEnvironmentLocalesDefaultToEnglishUs) {
  EXPECT_EQ(detail::default_locale_name("en_US_POSIX"), String(u"en_US"));
  EXPECT_EQ(detail::default_locale_name("C"), String(u"en_US"));
  EXPECT_EQ(detail::default_locale_name("xx_YY"), String(u"en_US"));
  EXPECT_EQ(detail::default_locale_name(""), String(u"en_US"));
  EXPECT_EQ(detail::default_locale_name("ru_RU"), String(u"ru_RU"));
  EXPECT_EQ(detail::default_locale_name("de_AT"), String(u"de_AT"));
}

TEST(Locale, HostReplacesTheProcessDefault) {
  const Locale saved = Locale::processDefault();
  Locale::setProcessDefault(Locale(u"ru_RU"));
  EXPECT_EQ(Locale(), Locale(u"ru_RU"));
  Locale seen_by_other_thread = saved;
  std::thread([&seen_by_other_thread] { seen_by_other_thread = Locale(); }).join();
  EXPECT_EQ(seen_by_other_thread, Locale(u"ru_RU"));
  Locale::setProcessDefault(saved);
  EXPECT_EQ(Locale(), saved);
}

}  // namespace
}  // namespace core

namespace core {
namespace {

TEST(Locale, MemoryPressureFreesTheDataOfUnusedLocales) {
  const Locale kept(u"de_AT");
  { const Locale unused(u"fr_CA"); }
  EXPECT_GT(rivet::release_memory(), 0u);
  EXPECT_EQ(detail::trim_locale_cache(), 0u);  // nothing left to free
  EXPECT_EQ(kept.name(), String(u"de_AT"));
  EXPECT_EQ(Locale(u"fr_CA").name(), String(u"fr_CA"));  // built again on demand
}

}  // namespace
}  // namespace core
