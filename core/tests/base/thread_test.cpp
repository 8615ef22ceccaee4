#include <gtest/gtest.h>

#include <thread>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/init.h"
#include "core/thread.h"

namespace core {
namespace {

// Runs `body` on a fresh thread, so each test starts from default settings
// and leaves the test runner's own thread untouched.
template <class Body>
void on_new_thread(Body body) {
  std::thread(body).join();
}

TEST(Thread, NewThreadsStartFromTheProcessDefault) {
  const Locale saved = Locale::processDefault();
  Locale::setProcessDefault(Locale(u"ru_RU"));
  on_new_thread([] {
    EXPECT_EQ(Thread::locale(), Locale(u"ru_RU"));
    EXPECT_EQ(Thread::language(), Language::Russian);
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Monday);
    EXPECT_EQ(Thread::roundMode(), NumericRoundMode::HalfAwayFromZero);
  });
  Locale::setProcessDefault(Locale(u"en_US"));
  on_new_thread([] {
    EXPECT_EQ(Thread::language(), Language::English);
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Sunday);
  });
  Locale::setProcessDefault(saved);
}

TEST(Thread, SettingsBelongToTheCallingThreadOnly) {
  on_new_thread([] {
    Thread::setLocale(Locale(u"de_DE"));
    Thread::setLanguage(Language::Russian);
    Thread::setRoundMode(NumericRoundMode::HalfTowardZero);
    Thread::setFirstDayOfWeek(WeekDay::Wednesday);
    on_new_thread([] {
      EXPECT_EQ(Thread::locale(), Locale::processDefault());
      EXPECT_EQ(Thread::roundMode(), NumericRoundMode::HalfAwayFromZero);
      EXPECT_NE(Thread::firstDayOfWeek(), WeekDay::Wednesday);
    });
    EXPECT_EQ(Thread::locale(), Locale(u"de_DE"));
    EXPECT_EQ(Thread::language(), Language::Russian);
    EXPECT_EQ(Thread::roundMode(), NumericRoundMode::HalfTowardZero);
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Wednesday);
  });
}

TEST(Thread, FirstDayOfWeekFollowsTheLocaleUntilSet) {
  on_new_thread([] {
    Thread::setLocale(Locale(u"en_US"));
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Sunday);
    Thread::setLocale(Locale(u"ru_RU"));
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Monday);
    Thread::setFirstDayOfWeek(WeekDay::Saturday);
    Thread::setLocale(Locale(u"en_US"));
    EXPECT_EQ(Thread::firstDayOfWeek(), WeekDay::Saturday);
  });
}

TEST(Thread, LocaleAndLanguageAreIndependent) {
  on_new_thread([] {
    Thread::setLanguage(Language::English);
    Thread::setLocale(Locale(u"ru_RU"));
    EXPECT_EQ(Thread::language(), Language::English);
    Thread::setLanguage(Language::Russian);
    EXPECT_EQ(Thread::locale(), Locale(u"ru_RU"));
  });
}

TEST(Thread, OutOfRangeSettingsThrowAndChangeNothing) {
  on_new_thread([] {
    Thread::setLanguage(Language::Russian);
    EXPECT_THROW(Thread::setLanguage(static_cast<Language>(2)), IllegalArgumentException);
    EXPECT_THROW(Thread::setLanguage(static_cast<Language>(-1)), IllegalArgumentException);
    EXPECT_EQ(Thread::language(), Language::Russian);
    EXPECT_THROW(Thread::setRoundMode(static_cast<NumericRoundMode>(2)), IllegalArgumentException);
    EXPECT_THROW(Thread::setFirstDayOfWeek(static_cast<WeekDay>(0)), IllegalArgumentException);
    EXPECT_THROW(Thread::setFirstDayOfWeek(static_cast<WeekDay>(8)), IllegalArgumentException);
  });
}

TEST(CoreInit, RepeatedStartsAndStopsAreHarmless) {
  CoreInit();
  CoreInit();
  { CoreInitManager again; }
  CoreDeinit();
  CoreDeinit();
  on_new_thread([] {
    Thread::setLanguage(Language::Russian);
    EXPECT_EQ(Thread::language(), Language::Russian);
  });
}

}  // namespace
}  // namespace core
