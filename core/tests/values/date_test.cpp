#include "core/date.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>

#include "core/exception_classes.h"
#include "core/thread.h"
#include "test_util.h"

namespace core {
namespace {

namespace chr = std::chrono;

constexpr std::int64_t kEpochDays = 719'162;  // 0001-01-01 to 1970-01-01
constexpr std::uint64_t kDay = Date::kTicksPerDay;
constexpr std::uint64_t kSecond = Date::kTicksPerSecond;
constexpr std::uint64_t kDayCount = Date::kMaxTicks / kDay + 1;

// The independent calendar: the day number of a count as std::chrono sees it.
chr::year_month_day oracle_ymd(std::uint64_t days) {
  return chr::year_month_day(
      chr::sys_days(chr::days(static_cast<std::int64_t>(days) - kEpochDays)));
}

std::uint64_t oracle_days(chr::year_month_day ymd) {
  return static_cast<std::uint64_t>(chr::sys_days(ymd).time_since_epoch().count() + kEpochDays);
}

// Monday 1 .. Sunday 7.
int oracle_week_day(std::uint64_t days) {
  return static_cast<int>(
      chr::weekday(chr::sys_days(chr::days(static_cast<std::int64_t>(days) - kEpochDays)))
          .iso_encoding());
}

void expect_parts_match_oracle(std::uint64_t ticks) {
  const Date date(ticks);
  const std::uint64_t days = ticks / kDay;
  const chr::year_month_day ymd = oracle_ymd(days);
  int year, month, day, hour, minute, second;
  date.split(year, month, day, hour, minute, second);
  ASSERT_EQ(year, static_cast<int>(ymd.year())) << ticks;
  ASSERT_EQ(month, static_cast<int>(static_cast<unsigned>(ymd.month()))) << ticks;
  ASSERT_EQ(day, static_cast<int>(static_cast<unsigned>(ymd.day()))) << ticks;
  const chr::hh_mm_ss<chr::seconds> hms(chr::seconds((ticks % kDay) / kSecond));
  ASSERT_EQ(hour, hms.hours().count()) << ticks;
  ASSERT_EQ(minute, hms.minutes().count()) << ticks;
  ASSERT_EQ(second, hms.seconds().count()) << ticks;
  ASSERT_EQ(date.getWeekDay(), oracle_week_day(days)) << ticks;
  const auto jan1 = oracle_days(ymd.year() / chr::January / 1);
  ASSERT_EQ(date.getYearDay(), static_cast<int>(days - jan1 + 1)) << ticks;
  ASSERT_EQ(date.getQuarter(), (month + 2) / 3) << ticks;
  // Building the count back from its parts loses only the sub-second ticks.
  ASSERT_EQ(Date(year, month, day, hour, minute, second).ticks(), ticks - ticks % kSecond);
}

TEST(Date, PartsMatchIndependentCalendarForRandomCounts) {
  std::mt19937_64 random(20200229);
  std::uniform_int_distribution<std::uint64_t> any(0, Date::kMaxTicks);
  for (int i = 0; i < 100'000; ++i) expect_parts_match_oracle(any(random));
}

TEST(Date, PartsMatchIndependentCalendarAroundYearAndLeapDayBoundaries) {
  for (int y = 1; y <= 9999; ++y) {
    const std::uint64_t jan1 = oracle_days(chr::year(y) / chr::January / 1);
    const std::uint64_t mar1 = oracle_days(chr::year(y) / chr::March / 1);
    for (std::uint64_t days : {jan1, mar1 - 1, mar1}) {
      expect_parts_match_oracle(days * kDay);
      expect_parts_match_oracle((days + 1) * kDay - 1);
    }
    ASSERT_EQ(Date::isLeapYear(y), chr::year(y).is_leap()) << y;
    ASSERT_EQ(Date(y, 2, 29).isEmpty(), !chr::year(y).is_leap()) << y;
  }
  EXPECT_EQ(kDayCount, oracle_days(chr::year(10000) / chr::January / 1));
}

TEST(Date, WellKnownCounts) {
  const Date y2k(2000, 1, 1);
  EXPECT_EQ(y2k.ticks(), 730'119ULL * kDay);
  EXPECT_EQ(y2k.getWeekDay(), 6);
  EXPECT_EQ(Date().getWeekDay(), 1);  // 0001-01-01 is a Monday
  EXPECT_EQ(Date(1, 1, 1).ticks(), 0u);
  EXPECT_EQ(Date(9999, 12, 31, 23, 59, 59).ticks(), Date::kMaxTicks - 9'999);
  EXPECT_EQ(Date(Date::kMaxTicks).toString(), u"99991231235959");
  EXPECT_EQ(Date().toString(), u"00010101000000");
}

TEST(Date, InvalidCountsReadAsZero) {
  for (std::uint64_t ticks : {Date::kMaxTicks + 1, UINT64_MAX}) {
    const Date date(ticks);
    EXPECT_FALSE(date.isValid());
    int y = -1, mo = -1, d = -1, h = -1, mi = -1, s = -1;
    date.split(y, mo, d, h, mi, s);
    EXPECT_EQ(y | mo | d | h | mi | s, 0);
    EXPECT_EQ(date.getYear() | date.getQuarter() | date.getWeekDay() | date.getYearDay() |
                  date.getYearWeek(WeekDay::Monday) | date.getHour() | date.getSecond(),
              0);
    EXPECT_EQ(date.toString(), u"00000000000000");
    EXPECT_EQ(date.endOfMonth().ticks(), ticks);
  }
}

TEST(Date, PartsThatDoNotFormADateGiveTheEmptyDate) {
  struct Case {
    int y, mo, d, h, mi, s;
  };
  const Case bad[] = {
      {0, 1, 1, 0, 0, 0},     {10000, 1, 1, 0, 0, 0}, {2020, 0, 1, 0, 0, 0},
      {2020, 13, 1, 0, 0, 0}, {2020, 4, 31, 0, 0, 0}, {2021, 2, 29, 0, 0, 0},
      {1900, 2, 29, 0, 0, 0}, {2020, 1, 0, 0, 0, 0},  {2020, 1, 1, 24, 0, 0},
      {2020, 1, 1, 0, 60, 0}, {2020, 1, 1, 0, 0, 60}, {2020, 1, 1, -1, 0, 0},
      {-5, 1, 1, 0, 0, 0},    {2020, -1, 1, 0, 0, 0},
  };
  for (const Case& c : bad) {
    EXPECT_TRUE(Date(c.y, c.mo, c.d, c.h, c.mi, c.s).isEmpty())
        << c.y << "-" << c.mo << "-" << c.d << " " << c.h << ":" << c.mi << ":" << c.s;
  }
  EXPECT_FALSE(Date(2000, 2, 29).isEmpty());
  EXPECT_FALSE(Date(2020, 4, 30, 23, 59, 59).isEmpty());
  EXPECT_EQ(Date::daysPerMonth(2020, 2), 29);
  EXPECT_EQ(Date::daysPerMonth(2100, 2), 28);
  EXPECT_EQ(Date::daysPerMonth(2020, 13), 0);
  EXPECT_FALSE(Date::isLeapYear(0));
  EXPECT_FALSE(Date::isLeapYear(-4));
}

// Regression: a part of INT_MIN overflowed the range check (part - 1) before
// the empty date was returned.
TEST(Date, ExtremePartsGiveTheEmptyDateWithoutOverflow) {
  constexpr int kMin = std::numeric_limits<int>::min();
  constexpr int kMax = std::numeric_limits<int>::max();
  const int parts[][6] = {
      {kMin, 1, 1, 0, 0, 0},    {2020, kMin, 1, 0, 0, 0}, {2020, 1, kMin, 0, 0, 0},
      {2020, 1, 1, kMin, 0, 0}, {2020, 1, 1, 0, kMin, 0}, {2020, 1, 1, 0, 0, kMin},
      {kMax, 1, 1, 0, 0, 0},    {2020, kMax, 1, 0, 0, 0}, {2020, 1, kMax, 0, 0, 0},
      {2020, 1, 1, kMax, 0, 0}, {2020, 1, 1, 0, kMax, 0}, {2020, 1, 1, 0, 0, kMax},
  };
  for (const auto& p : parts) {
    EXPECT_TRUE(Date(p[0], p[1], p[2], p[3], p[4], p[5]).isEmpty())
        << p[0] << " " << p[1] << " " << p[2] << " " << p[3] << " " << p[4] << " " << p[5];
  }
  // Constant evaluation refuses signed overflow, so these fail to compile if
  // the check overflows again.
  static_assert(Date(kMin, 1, 1).isEmpty());
  static_assert(Date(2020, kMin, 1).isEmpty());
  static_assert(Date(2020, 1, 1, kMin, kMin, kMin).isEmpty());
  EXPECT_EQ(Date::daysPerMonth(kMin, kMin), 0);
  EXPECT_FALSE(Date::isLeapYear(kMin));
}

// Regression: a first day of the week outside Monday..Sunday shifted the
// week silently instead of being refused.
TEST(Date, WeekDayOutsideTheEnumerationIsRefused) {
  const Date date(2021, 1, 6);
  for (const int first : {0, 8, -1, std::numeric_limits<int>::min()}) {
    SCOPED_TRACE(first);
    const auto day = static_cast<WeekDay>(first);
    EXPECT_THROW_IDS((void)date.begOfWeek(day), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
    EXPECT_THROW_IDS((void)date.endOfWeek(day), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
    EXPECT_THROW_IDS((void)date.getYearWeek(day), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
    EXPECT_THROW_IDS((void)Date(Date::kMaxTicks + 1).getYearWeek(day), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
  }
  EXPECT_EQ(date.begOfWeek(WeekDay::Sunday).ticks(), Date(2021, 1, 3).ticks());
}

TEST(Date, AddingASpanClampsToTheValidRange) {
  const Date date(2020, 5, 5, 10, 0, 0);
  EXPECT_EQ((date + static_cast<DateSpan>(kDay)).ticks(), Date(2020, 5, 6, 10, 0, 0).ticks());
  EXPECT_EQ((date - static_cast<DateSpan>(kDay)).ticks(), Date(2020, 5, 4, 10, 0, 0).ticks());
  EXPECT_TRUE((date - static_cast<DateSpan>(date.ticks() + 1)).isEmpty());
  EXPECT_TRUE((date - static_cast<DateSpan>(date.ticks())).isEmpty());
  EXPECT_TRUE((date + INT64_MIN).isEmpty());
  EXPECT_TRUE((date - INT64_MAX).isEmpty());
  EXPECT_EQ((date + INT64_MAX).ticks(), Date::kMaxTicks);
  EXPECT_EQ((date - INT64_MIN).ticks(), Date::kMaxTicks);
  EXPECT_EQ((Date(Date::kMaxTicks) + 1).ticks(), Date::kMaxTicks);
  EXPECT_EQ((Date(Date::kMaxTicks - 1) + 1).ticks(), Date::kMaxTicks);
  EXPECT_EQ((Date(UINT64_MAX) + -1).ticks(), Date::kMaxTicks - 1);
  EXPECT_EQ(Date(2020, 1, 2) - Date(2020, 1, 1), static_cast<DateSpan>(kDay));
  EXPECT_EQ(Date(2020, 1, 1) - Date(2020, 1, 2), -static_cast<DateSpan>(kDay));
}

TEST(Date, AddMonthKeepsTheDayWhereItExists) {
  EXPECT_EQ(Date(2020, 1, 31, 8, 30, 0).addMonth(1).ticks(), Date(2020, 2, 29, 8, 30, 0).ticks());
  EXPECT_EQ(Date(2021, 1, 31).addMonth(1).ticks(), Date(2021, 2, 28).ticks());
  EXPECT_EQ(Date(2021, 3, 31).addMonth(-1).ticks(), Date(2021, 2, 28).ticks());
  EXPECT_EQ(Date(2020, 12, 15).addMonth(1).ticks(), Date(2021, 1, 15).ticks());
  EXPECT_EQ(Date(2020, 1, 15).addMonth(-1).ticks(), Date(2019, 12, 15).ticks());
  EXPECT_EQ((Date(2020, 5, 17, 13, 14, 15) + 1234).addMonth(-100'000).ticks(),
            Date(1, 1, 17, 13, 14, 15).ticks() + 1234);
  EXPECT_EQ(Date(2020, 5, 17).addMonth(100'000).ticks(), Date::kMaxTicks);
  EXPECT_EQ(Date(9999, 11, 30).addMonth(1).ticks(), Date(9999, 12, 30).ticks());
  EXPECT_EQ(Date(9999, 12, 1).addMonth(1).ticks(), Date::kMaxTicks);
  EXPECT_EQ(Date(2020, 5, 17).addMonth(INT32_MIN).ticks(), Date(1, 1, 17).ticks());
  EXPECT_EQ(Date(2020, 5, 17).addMonth(INT32_MAX).ticks(), Date::kMaxTicks);
  EXPECT_EQ(Date(UINT64_MAX).addMonth(1).ticks(), UINT64_MAX);
}

TEST(Date, AddMonthMatchesIndependentCalendar) {
  std::mt19937_64 random(31);
  std::uniform_int_distribution<std::uint64_t> any(0, Date::kMaxTicks);
  std::uniform_int_distribution<int> months(-130'000, 130'000);
  for (int i = 0; i < 50'000; ++i) {
    const std::uint64_t ticks = any(random);
    const int n = i % 2 == 0 ? months(random) : months(random) / 1000;
    const chr::year_month_day from = oracle_ymd(ticks / kDay);
    const chr::year_month target = chr::year_month(from.year(), from.month()) + chr::months(n);
    Date date(ticks);
    date.addMonth(n);
    std::uint64_t expected;
    if (target.year() < chr::year(1)) {
      expected = oracle_days(chr::year(1) / chr::January / from.day()) * kDay + ticks % kDay;
    } else if (target.year() > chr::year(9999)) {
      expected = Date::kMaxTicks;
    } else {
      const chr::year_month_day last =
          chr::year_month_day_last(target.year(), chr::month_day_last(target.month()));
      const chr::year_month_day day = from.day() > last.day() ? last : target / from.day();
      expected = oracle_days(day) * kDay + ticks % kDay;
    }
    ASSERT_EQ(date.ticks(), expected) << ticks << " + " << n << " months";
  }
}

TEST(Date, PeriodsMatchIndependentCalendar) {
  std::mt19937_64 random(7);
  std::uniform_int_distribution<std::uint64_t> any(0, Date::kMaxTicks);
  constexpr std::uint64_t kLastSecond = 86'399 * kSecond;
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t ticks = any(random);
    const Date date(ticks);
    const std::uint64_t days = ticks / kDay;
    const chr::year_month_day ymd = oracle_ymd(days);
    const auto month_first = oracle_days(ymd.year() / ymd.month() / 1);
    const auto month_last = oracle_days(ymd.year() / ymd.month() / chr::last);
    const unsigned quarter_first_month = (static_cast<unsigned>(ymd.month()) - 1) / 3 * 3 + 1;
    const auto quarter_first = oracle_days(ymd.year() / chr::month(quarter_first_month) / 1);
    const auto quarter_last =
        oracle_days(ymd.year() / chr::month(quarter_first_month + 2) / chr::last);
    ASSERT_EQ(date.begOfMinute().ticks(), ticks / Date::kTicksPerMinute * Date::kTicksPerMinute);
    ASSERT_EQ(date.endOfMinute().ticks(), date.begOfMinute().ticks() + 59 * kSecond);
    ASSERT_EQ(date.begOfHour().ticks(), ticks / Date::kTicksPerHour * Date::kTicksPerHour);
    ASSERT_EQ(date.endOfHour().ticks(), date.begOfHour().ticks() + 3599 * kSecond);
    ASSERT_EQ(date.begOfDay().ticks(), days * kDay);
    ASSERT_EQ(date.endOfDay().ticks(), days * kDay + kLastSecond);
    ASSERT_EQ(date.begOfMonth().ticks(), month_first * kDay);
    ASSERT_EQ(date.endOfMonth().ticks(), month_last * kDay + kLastSecond);
    ASSERT_EQ(date.begOfQuart().ticks(), quarter_first * kDay);
    ASSERT_EQ(date.endOfQuart().ticks(), quarter_last * kDay + kLastSecond);
    ASSERT_EQ(date.begOfYear().ticks(), oracle_days(ymd.year() / 1 / 1) * kDay);
    ASSERT_EQ(date.endOfYear().ticks(), oracle_days(ymd.year() / 12 / 31) * kDay + kLastSecond);
    for (int first = 1; first <= 7; ++first) {
      const auto back = static_cast<std::uint64_t>((oracle_week_day(days) - first + 7) % 7);
      const std::uint64_t begin = back > days ? 0 : (days - back) * kDay;
      ASSERT_EQ(date.begOfWeek(static_cast<WeekDay>(first)).ticks(), begin);
      ASSERT_EQ(date.endOfWeek(static_cast<WeekDay>(first)).ticks(),
                std::min(begin + 6 * kDay + kLastSecond, Date::kMaxTicks));
    }
  }
}

TEST(Date, PeriodEndsHaveNoSubSecondPart) {
  const Date late = Date(2020, 5, 5, 23, 59, 59) + 9'999;
  EXPECT_EQ(Date(2020, 5, 5, 0, 0, 1).endOfDay().ticks(), Date(2020, 5, 5, 23, 59, 59).ticks());
  EXPECT_EQ(late.endOfDay().ticks(), Date(2020, 5, 5, 23, 59, 59).ticks());
  EXPECT_EQ(late.endOfMinute().ticks() % kSecond, 0u);
  EXPECT_EQ(late.endOfYear().ticks() % kSecond, 0u);
}

TEST(Date, WeeksAtTheEdgesOfTheRange) {
  // 0001-01-01 is a Monday: a week starting on Sunday begins at day 0.
  EXPECT_TRUE(Date(1, 1, 3).begOfWeek(WeekDay::Sunday).isEmpty());
  EXPECT_EQ(Date(1, 1, 3).endOfWeek(WeekDay::Sunday).ticks(), Date(1, 1, 7, 23, 59, 59).ticks());
  // 9999-12-31 is a Friday.
  EXPECT_EQ(Date(9999, 12, 31).getWeekDay(), 5);
  EXPECT_EQ(Date(9999, 12, 30).endOfWeek(WeekDay::Monday).ticks(), Date::kMaxTicks);
}

TEST(Date, YearWeekCountsDaysThatStartAWeek) {
  // A day's week is 1 plus the number of days from 2 January to it that fall
  // on the first day of the week.
  for (int year : {2000, 2001, 2002, 2003, 2004, 2005, 2009, 2010, 2012, 2015, 2100}) {
    for (int first = 1; first <= 7; ++first) {
      int week = 1;
      const Date jan1(year, 1, 1);
      for (int d = 0; d < (Date::isLeapYear(year) ? 366 : 365); ++d) {
        const Date date = jan1 + static_cast<DateSpan>(d * kDay + 5 * Date::kTicksPerHour);
        if (d > 0 && date.getWeekDay() == first) ++week;
        ASSERT_EQ(date.getYearWeek(static_cast<WeekDay>(first)), week)
            << year << " day " << d << " first " << first;
      }
    }
  }
  for (int year = 1; year <= 9999; year += 7) {
    for (int first = 1; first <= 7; ++first) {
      ASSERT_EQ(Date(year, 1, 1, 23, 0, 0).getYearWeek(static_cast<WeekDay>(first)), 1);
    }
  }
  // 2021-01-01 is a Friday: with weeks starting on Monday, 4 January opens week 2.
  EXPECT_EQ(Date(2021, 1, 3).getYearWeek(WeekDay::Monday), 1);
  EXPECT_EQ(Date(2021, 1, 4).getYearWeek(WeekDay::Monday), 2);
  EXPECT_EQ(Date(2021, 12, 31).getYearWeek(WeekDay::Monday), 53);
}

TEST(Date, FormsWithoutFirstDayReadTheThreadSetting) {
  // A thread of its own, so the setting does not leak into other tests.
  std::thread([] {
    const Date wednesday(2020, 5, 6, 12, 0, 0);
    for (WeekDay first : {WeekDay::Sunday, WeekDay::Monday, WeekDay::Saturday}) {
      Thread::setFirstDayOfWeek(first);
      EXPECT_EQ(wednesday.begOfWeek().ticks(), wednesday.begOfWeek(first).ticks());
      EXPECT_EQ(wednesday.endOfWeek().ticks(), wednesday.endOfWeek(first).ticks());
      EXPECT_EQ(wednesday.getYearWeek(), wednesday.getYearWeek(first));
    }
    EXPECT_NE(wednesday.begOfWeek(WeekDay::Sunday).ticks(),
              wednesday.begOfWeek(WeekDay::Monday).ticks());
  }).join();
}

TEST(Date, CurrentDateFollowsTheSystemClock) {
  const auto now = chr::floor<chr::seconds>(chr::system_clock::now());
  const std::uint64_t expected =
      static_cast<std::uint64_t>(now.time_since_epoch().count() + kEpochDays * 86'400) * kSecond;
  const Date utc = Date::getCurrentDateUTC();
  EXPECT_EQ(utc.ticks() % kSecond, 0u);
  EXPECT_LE(utc.ticks() - expected, 2 * kSecond);
  const Date local = Date::getCurrentDate();
  EXPECT_EQ(local.ticks() % kSecond, 0u);
  const std::int64_t ms = Date::getAbsoluteDateAsMilliseconds();
  EXPECT_LE(static_cast<std::uint64_t>(ms) * 10 - local.ticks(), 2 * kSecond);
  // Local time is within a day of universal time.
  EXPECT_LE(local.ticks() > utc.ticks() ? local.ticks() - utc.ticks() : utc.ticks() - local.ticks(),
            kDay);
}

// fromString of the first `n` digits of one 15-digit text.
TEST(Date, FromStringUsesTheLongestFormThatFits) {
  const std::u16string digits = u"202002291230451";
  for (std::size_t n = 0; n <= 15; ++n) {
    const std::u16string text = u" \t" + digits.substr(0, n) + u"x";
    const char16_t* end = nullptr;
    Date date(12345);
    const bool ok = date.fromString(text.c_str(), &end);
    const std::ptrdiff_t used = end - text.c_str();
    if (n < 8) {
      EXPECT_FALSE(ok) << n;
      EXPECT_TRUE(date.isEmpty()) << n;
      EXPECT_EQ(used, 0) << n;
    } else {
      const std::size_t form = n >= 14 ? 14 : n >= 12 ? 12 : 8;
      EXPECT_TRUE(ok) << n;
      EXPECT_EQ(used, static_cast<std::ptrdiff_t>(2 + form)) << n;
      const Date expected = form == 14   ? Date(2020, 2, 29, 12, 30, 45)
                            : form == 12 ? Date(2020, 2, 29, 12, 30, 0)
                                         : Date(2020, 2, 29);
      EXPECT_EQ(date.ticks(), expected.ticks()) << n;
    }
    // The 8-bit form reads the same.
    const std::string narrow(text.begin(), text.end());
    const char* narrow_end = nullptr;
    Date narrow_date;
    EXPECT_EQ(narrow_date.fromString(narrow.c_str(), &narrow_end), ok) << n;
    EXPECT_EQ(narrow_end - narrow.c_str(), used) << n;
    EXPECT_EQ(narrow_date.ticks(), date.ticks()) << n;
  }
  // A 16th digit is not counted.
  Date date;
  const char* end = nullptr;
  EXPECT_TRUE(date.fromString("2020022912304512", &end));
  EXPECT_EQ(std::string(end), "12");
}

TEST(Date, FromStringEndRules) {
  struct Case {
    const char16_t* text;
    bool ok;
    std::ptrdiff_t end;
    std::uint64_t ticks;
  };
  const Case cases[] = {
      {u"20200229", true, 8, Date(2020, 2, 29).ticks()},
      {u"  20210229", false, 2, 0},  // not a date: end at the first digit
      {u"00000000", true, 8, 0},     // all zero: the empty date, end behind
      {u"00000000000000", true, 14, 0},
      {u"000000000001", false, 0, 0},
      {u"00010101", true, 8, 0},  // 0001-01-01 is a valid date whose count is 0
      {u"2020", false, 0, 0},
      {u"  2020", false, 0, 0},
      {u"", false, 0, 0},
      {u"2020-02-29", false, 0, 0},
      {u"202002292400", false, 0, 0},
      {u"20200229236000", false, 0, 0},
      {u"20201301", false, 0, 0},
      {u"99991231235959", true, 14, Date::kMaxTicks - 9'999},
      {u"\u3000\u00A020200229", true, 10, Date(2020, 2, 29).ticks()},
      // Arabic-Indic and full-width digits.
      {u"\u0662\u0660\u0662\u0660\u0660\u0662\u0662\u0669", true, 8, Date(2020, 2, 29).ticks()},
      {u"\uFF12\uFF10\uFF12\uFF10\uFF10\uFF12\uFF12\uFF19\uFF11\uFF12\uFF13\uFF14", true, 12,
       Date(2020, 2, 29, 12, 34, 0).ticks()},
      // Mathematical bold digits lie outside the BMP: two units each.
      {u"\U0001D7D0\U0001D7CE\U0001D7D0\U0001D7CE0229", true, 12, Date(2020, 2, 29).ticks()},
      // An unpaired surrogate ends the digits.
      {u"2020\xD835"
       u"0229",
       false, 0, 0},
  };
  for (const Case& c : cases) {
    const std::u16string_view text(c.text);
    Date date(777);
    const char16_t* end = nullptr;
    EXPECT_EQ(date.fromString(c.text, &end), c.ok) << std::string(text.begin(), text.end());
    EXPECT_EQ(end - c.text, c.end) << std::string(text.begin(), text.end());
    EXPECT_EQ(date.ticks(), c.ticks) << std::string(text.begin(), text.end());
  }
  Date date(5);
  EXPECT_FALSE(date.fromString(static_cast<const char16_t*>(nullptr)));
  EXPECT_TRUE(date.isEmpty());
}

TEST(Date, TextFormsRoundTrip) {
  std::mt19937_64 random(14);
  std::uniform_int_distribution<std::uint64_t> any(0, Date::kMaxTicks);
  for (int i = 0; i < 10'000; ++i) {
    const Date date(any(random) / kSecond * kSecond);
    const String digits = date.toString();
    Date back;
    ASSERT_TRUE(back.fromString(digits.c_str()));
    ASSERT_EQ(back.ticks(), date.ticks()) << digits.toUtf8();
    const String xml = date.toXMLString();
    ASSERT_TRUE(back.fromXMLString(xml)) << xml.toUtf8();
    ASSERT_EQ(back.ticks(), date.ticks());
    ASSERT_TRUE(back.fromISOString(xml)) << xml.toUtf8();
    ASSERT_EQ(back.ticks(), date.ticks());
  }
  EXPECT_EQ(Date(2020, 2, 29, 1, 2, 3).toXMLString(), u"2020-02-29T01:02:03");
  EXPECT_EQ(Date(UINT64_MAX).toXMLString(), u"0000-00-00T00:00:00");
}

TEST(Date, FromXMLString) {
  const std::uint64_t base = Date(2020, 2, 29, 12, 30, 45).ticks();
  struct Case {
    const char16_t* text;
    std::uint64_t ticks;  // 0: refused
  };
  const Case cases[] = {
      {u"2020-02-29T12:30:45", base},
      {u"2020-02-29", Date(2020, 2, 29).ticks()},
      {u"2020-02-29Z", Date(2020, 2, 29).ticks()},
      {u"2020-02-29T12:30:45.5", base + 5'000},
      {u"2020-02-29T12:30:45.123456789", base + 1'234},
      {u"2020-02-29T12:30:45Z", base},  // the zone is ignored
      {u"2020-02-29T12:30:45+03:00", base},
      {u"2020-02-29T12:30:45-14:00", base},
      {u"2021-02-29T12:30:45", 0},
      {u"2020-02-29T24:00:00", 0},
      {u"2020-02-29T12:30:60", 0},
      {u"2020-02-29T12:30", 0},
      {u"2020-02-29T12:30:45.", 0},
      {u"2020-02-29T12:30:45+3:00", 0},
      {u"2020-02-29T12:30:45+15:00", 0},
      {u"2020-02-29T12:30:45+0300", 0},
      {u"2020-02-29 12:30:45", 0},
      {u" 2020-02-29", 0},
      {u"2020-02-29 ", 0},
      {u"20200229", 0},
      {u"0000-01-01", 0},
      {u"12020-01-01", 0},
      {u"2020-2-29", 0},
      {u"", 0},
  };
  for (const Case& c : cases) {
    const std::u16string_view text(c.text);
    Date date(99);
    EXPECT_EQ(date.fromXMLString(text), c.ticks != 0) << std::string(text.begin(), text.end());
    EXPECT_EQ(date.ticks(), c.ticks) << std::string(text.begin(), text.end());
  }
}

TEST(Date, FromISOStringAppliesTheZone) {
  const std::uint64_t base = Date(2020, 2, 29, 12, 30, 45).ticks();
  struct Case {
    const char16_t* text;
    std::uint64_t ticks;  // 0: refused
  };
  const Case cases[] = {
      {u"2020-02-29T12:30:45", base},
      {u"2020-02-29 12:30:45", base},
      {u"2020-02-29T12:30", base - 45 * kSecond},
      {u"2020-02-29", Date(2020, 2, 29).ticks()},
      {u"20200229", Date(2020, 2, 29).ticks()},
      {u"20200229T123045", base},
      {u"20200229T1230", base - 45 * kSecond},
      {u"20200229T123045,25", base + 2'500},
      {u"2020-02-29T12:30:45Z", base},
      {u"2020-02-29T12:30:45+03:00", base - 3 * Date::kTicksPerHour},
      {u"2020-02-29T12:30:45-01:30", base + 90 * Date::kTicksPerMinute},
      {u"2020-02-29T12:30:45+03", base - 3 * Date::kTicksPerHour},
      {u"20200229T123045+0300", base - 3 * Date::kTicksPerHour},
      {u"2020-03-01T01:00:00+03:00", Date(2020, 2, 29, 22, 0, 0).ticks()},
      {u"0001-01-01T00:00:00+00:01", 0},  // before the first count
      {u"9999-12-31T23:59:59-00:01", 0},  // after the last count
      {u"2020-02-29T123045", 0},          // forms must not be mixed
      {u"20200229T12:30:45", 0},
      {u"2020-0229", 0},
      {u"2020-02-29T12", 0},
      {u"2020-02-29T12:30:45+03:00:00", 0},
      {u"2020-02-30", 0},
      {u"", 0},
  };
  for (const Case& c : cases) {
    const std::u16string_view text(c.text);
    Date date(99);
    EXPECT_EQ(date.fromISOString(text), c.ticks != 0) << std::string(text.begin(), text.end());
    EXPECT_EQ(date.ticks(), c.ticks) << std::string(text.begin(), text.end());
  }
}

}  // namespace
}  // namespace core
