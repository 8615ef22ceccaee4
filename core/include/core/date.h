// Date: the library's date and time of day; DateSpan: a signed span of time.
//
// A Date is one unsigned 64-bit count of ticks of 100 microseconds (1/10,000
// of a second) since 0001-01-01 00:00:00 on the proleptic Gregorian calendar.
// It carries no time zone: TimeZone (core/time_zone.h) converts between local
// and universal time. The count 0 is the empty date, which stands for "no
// date"; the largest valid count is 9999-12-31 23:59:59.9999. Every count
// above it is invalid: its parts read as 0.
//
//   core::Date d(2020, 1, 31, 12, 0, 0);
//   d.addMonth(1);                 // 2020-02-29 12:00:00
//   d.endOfMonth().toString();     // u"20200229235959"
//
// Invalid input never throws: constructors and the text readers give the
// empty date, part getters give 0 for an invalid count.
//
// Thread safety: a Date is a plain value. The forms that take no first day of
// the week read the calling thread's setting (Thread::firstDayOfWeek()).
#ifndef CORE_DATE_H_
#define CORE_DATE_H_

#include <compare>
#include <cstdint>
#include <string_view>

#include "core/export.h"
#include "core/string.h"
#include "core/week_day.h"

namespace core {

// A signed span of time in the ticks of Date (100 microseconds).
using DateSpan = std::int64_t;

class IListInStream;
class IListOutStream;
class IReader;
class IWriter;

class CORE_EXPORT Date {
 public:
  static constexpr std::uint64_t kTicksPerSecond = 10'000;
  static constexpr std::uint64_t kTicksPerMinute = 600'000;
  static constexpr std::uint64_t kTicksPerHour = 36'000'000;
  static constexpr std::uint64_t kTicksPerDay = 864'000'000;
  // 9999-12-31 23:59:59.9999; every larger count is invalid.
  static constexpr std::uint64_t kMaxTicks = 3'155'378'975'999'999;

  // The empty date (count 0, 0001-01-01 00:00:00).
  constexpr Date() noexcept = default;
  // Any count, including invalid ones.
  constexpr explicit Date(std::uint64_t ticks) noexcept : ticks_(ticks) {}
  // Year 1..9999, month 1..12, day 1..days of the month, hour 0..23, minute
  // and second 0..59. Parts that do not form a valid date give the empty date,
  // whatever their values (INT_MIN and INT_MAX included).
  constexpr Date(int year, int month, int day) noexcept;
  constexpr Date(int year, int month, int day, int hour, int minute, int second) noexcept;

  // The operating system's local wall-clock time, to the whole second.
  static Date getCurrentDate() noexcept;
  // The same in universal time.
  static Date getCurrentDateUTC() noexcept;
  // The local wall-clock time in milliseconds since 0001-01-01 00:00:00,
  // milliseconds included.
  static std::int64_t getAbsoluteDateAsMilliseconds() noexcept;

  // Gregorian leap years; false for a year below 1.
  static bool isLeapYear(int year) noexcept;
  // Days of `month` (1..12) in `year`; 0 for a month out of range.
  static int daysPerMonth(int year, int month) noexcept;

  constexpr std::uint64_t ticks() const noexcept { return ticks_; }
  constexpr bool isEmpty() const noexcept { return ticks_ == 0; }
  constexpr bool isValid() const noexcept { return ticks_ <= kMaxTicks; }

  // Parts, 1-based where the calendar counts from 1; each gives 0 for an
  // invalid count.
  int getYear() const noexcept;
  int getMonth() const noexcept;
  int getMonthDay() const noexcept;
  int getYearDay() const noexcept;  // 1 for 1 January
  int getQuarter() const noexcept;
  // Monday 1 .. Sunday 7; 0 for an invalid count.
  int getWeekDay() const noexcept;
  // The week of the year (1 for the week of 1 January) with weeks starting on
  // `first`; the first week may be partial. Throws `IllegalArgumentException`
  // ("IDS_ERR_ILLEGAL_ARGUMENT") for a `first` outside Monday..Sunday, even
  // when the count is invalid.
  int getYearWeek(WeekDay first) const;
  int getYearWeek() const;  // the calling thread's first day of the week
  int getHour() const noexcept;
  int getMinute() const noexcept;
  int getSecond() const noexcept;
  // All parts at once; all 0 for an invalid count.
  void split(int& year, int& month, int& day) const noexcept;
  constexpr void split(int& year, int& month, int& day, int& hour, int& minute,
                       int& second) const noexcept;

  // Adds `span`; a result below 0 becomes the empty date, one above kMaxTicks
  // becomes kMaxTicks. An invalid count is treated as kMaxTicks. Never fails.
  Date& operator+=(DateSpan span) noexcept;
  Date& operator-=(DateSpan span) noexcept;
  friend Date operator+(Date date, DateSpan span) noexcept { return date += span; }
  friend Date operator-(Date date, DateSpan span) noexcept { return date -= span; }
  friend DateSpan operator-(Date a, Date b) noexcept {
    return static_cast<DateSpan>(a.ticks_ - b.ticks_);
  }
  friend constexpr auto operator<=>(Date a, Date b) noexcept = default;

  // Moves by `n` months keeping the day (cut to the last day of the new
  // month) and the time of day. Before 0001-01 the month becomes 0001-01;
  // after 9999-12 the result is kMaxTicks. An invalid count is left as is.
  Date& addMonth(int n) noexcept;

  // The beginnings set the smaller parts to 0; the ends set them to the last
  // whole second (sub-second part 0), for example endOfDay() is 23:59:59.0000.
  // begOfWeek(first) goes back to the last `first` on or before the day, but
  // not before 0001-01-01; endOfWeek(first) is 6 days 23:59:59 later, cut to
  // kMaxTicks. The forms without `first` read the calling thread's first day
  // of the week. Each returns an invalid count unchanged. begOfWeek(first)
  // and endOfWeek(first) throw `IllegalArgumentException`
  // ("IDS_ERR_ILLEGAL_ARGUMENT") for a `first` outside Monday..Sunday.
  Date begOfMinute() const noexcept;
  Date endOfMinute() const noexcept;
  Date begOfHour() const noexcept;
  Date endOfHour() const noexcept;
  Date begOfDay() const noexcept;
  Date endOfDay() const noexcept;
  Date begOfWeek(WeekDay first) const;
  Date begOfWeek() const;
  Date endOfWeek(WeekDay first) const;
  Date endOfWeek() const;
  Date begOfMonth() const noexcept;
  Date endOfMonth() const noexcept;
  Date begOfQuart() const noexcept;
  Date endOfQuart() const noexcept;
  Date begOfYear() const noexcept;
  Date endOfYear() const noexcept;

  // Fourteen digits YYYYMMDDhhmmss; the empty date gives u"00010101000000",
  // an invalid count u"00000000000000".
  String toString() const;

  // Reads the digit form of toString(). Skips leading white space (ICU
  // u_isspace), then counts up to 15 decimal digits (ASCII or any Unicode
  // decimal digit; in the 8-bit form each byte is the code point of the same
  // value). 8 digits give a date, 12 add hour and minute, 14 add seconds; any
  // other count of 8 or more uses the longest of these forms that fits.
  //   - fewer than 8 digits: the empty date, *end at `text`, false;
  //   - every part read is 0: the empty date, *end behind the digits used,
  //     true;
  //   - parts that do not form a valid date: the empty date, *end at the first
  //     digit, false;
  //   - otherwise the date, *end behind the digits used, true.
  // `text` must be zero-terminated; a null `text` reads as empty. `end` may be
  // null.
  bool fromString(const char16_t* text, const char16_t** end = nullptr) noexcept;
  bool fromString(const char* text, const char** end = nullptr) noexcept;

  // The brace-list form of the date, a list holding its tick count:
  // "{630822816000000}" for 2000-01-01 in the text encoding, an unsigned
  // integer element in the binary one (core/list_stream.h; the same form as
  // to_stream in core/persistence.h). toStream writes the text form to `writer` and
  // flushes it; toBinary puts the list into `stream` and leaves it open.
  // Failures of the writer or stream pass through unchanged. Throws
  // `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") for a null
  // pointer.
  void toStream(IWriter* writer) const;
  void toBinary(IListOutStream* stream) const;
  // Read that form back, replacing this. fromStream consumes `reader` up to
  // and including the list's closing brace and no further. Throws
  // `ListStreamException` ("IDS_LISTSTREAMERROR") for malformed input,
  // including a count above kMaxTicks, and `IllegalArgumentException`
  // ("IDS_ERR_ILLEGAL_ARGUMENT") for a null pointer; the date is unchanged
  // then.
  void fromStream(IReader* reader);
  void fromBinary(IListInStream* stream);

  // The XML Schema dateTime form "YYYY-MM-DDThh:mm:ss", with no fraction and
  // no zone designator; an invalid count gives "0000-00-00T00:00:00".
  String toXMLString() const;

  // Reads the whole of `text` as an XML Schema date or dateTime:
  //   YYYY-MM-DD[Thh:mm:ss[.f...]][zone], zone = "Z" | "+hh:mm" | "-hh:mm".
  // The year has exactly four digits (0001..9999); all digits are ASCII.
  // Fraction digits beyond the fourth are cut. A zone designator is checked
  // and then ignored: the result is the wall-clock time as written.
  // On success sets the date and returns true; on any other text (including
  // white space around it, hour 24 or second 60) sets the empty date and
  // returns false.
  [[nodiscard]] bool fromXMLString(std::u16string_view text) noexcept;

  // Reads the whole of `text` as an ISO 8601 calendar date with an optional
  // time, in the extended form (as fromXMLString, where a space may also stand
  // for "T" and the seconds may be omitted: "2020-02-29 12:30") or the basic
  // form ("20200229", "20200229T1230", "20200229T123000.5Z"). Unlike
  // fromXMLString, a zone designator is applied: "Z" or an offset turns the
  // result into universal time ("2020-01-01T03:00+03:00" reads as
  // 2020-01-01 00:00:00); a text without designator is read as written.
  // On success sets the date and returns true; on any other text, or when
  // applying the offset leaves the valid range, sets the empty date and
  // returns false.
  [[nodiscard]] bool fromISOString(std::u16string_view text) noexcept;

 private:
  std::uint64_t ticks_ = 0;
};

// End of public API. Implementation details follow.

namespace detail {

// Days before the first day of each month, in common and in leap years.
inline constexpr std::uint16_t kMonthStart[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

// REQUIRES: year >= 1. Divisible by 4 and by 25 means divisible by 100;
// divisible by 25 and by 16 means divisible by 400.
constexpr bool is_leap_year(std::uint32_t year) noexcept {
  return (year & 3) == 0 && (year % 25 != 0 || (year & 15) == 0);
}

// Days before 1 January of the 0-based year `y0`.
constexpr std::uint32_t days_before_year(std::uint32_t y0) noexcept {
  return y0 * 365 + y0 / 4 - y0 / 100 + y0 / 400;
}

struct CivilDay {
  int year;  // 1-based
  int month;
  int day;
  int year_day;  // 0-based
};

// REQUIRES: `days` is the day number of a valid count.
constexpr CivilDay civil_from_days(std::uint32_t days) noexcept {
  // days / 365.2425 is never too high and at most one year too low.
  std::uint32_t y0 =
      static_cast<std::uint32_t>(static_cast<std::uint64_t>(days) * 10'000 / 3'652'425);
  std::uint32_t year_day = days - days_before_year(y0);
  bool leap = is_leap_year(y0 + 1);
  const std::uint32_t length = leap ? 366 : 365;
  if (year_day >= length) {
    year_day -= length;
    ++y0;
    leap = is_leap_year(y0 + 1);
  }
  const std::uint16_t* start = kMonthStart[leap];
  // A month has at most 31 days, so year_day / 32 is the month or the one
  // before it.
  std::uint32_t month = year_day >> 5;
  if (year_day >= start[month + 1]) ++month;
  return {static_cast<int>(y0 + 1), static_cast<int>(month + 1),
          static_cast<int>(year_day - start[month] + 1), static_cast<int>(year_day)};
}

// The count of the parts, or false when they do not form a valid date.
constexpr bool ticks_from_parts(int year, int month, int day, int hour, int minute, int second,
                                std::uint64_t& ticks) noexcept {
  // The differences are taken unsigned: year - 1 would overflow for INT_MIN.
  if (static_cast<unsigned>(year) - 1u >= 9999u || static_cast<unsigned>(month) - 1u >= 12u ||
      static_cast<unsigned>(hour) >= 24u || static_cast<unsigned>(minute) >= 60u ||
      static_cast<unsigned>(second) >= 60u || day < 1) {
    return false;
  }
  const std::uint16_t* start = kMonthStart[is_leap_year(static_cast<std::uint32_t>(year))];
  if (day > start[month] - start[month - 1]) return false;
  const std::uint32_t days = days_before_year(static_cast<std::uint32_t>(year - 1)) +
                             start[month - 1] + static_cast<std::uint32_t>(day - 1);
  ticks = days * Date::kTicksPerDay +
          static_cast<std::uint32_t>(hour * 3600 + minute * 60 + second) * Date::kTicksPerSecond;
  return true;
}

}  // namespace detail

constexpr Date::Date(int year, int month, int day) noexcept {
  detail::ticks_from_parts(year, month, day, 0, 0, 0, ticks_);
}

constexpr Date::Date(int year, int month, int day, int hour, int minute, int second) noexcept {
  detail::ticks_from_parts(year, month, day, hour, minute, second, ticks_);
}

constexpr void Date::split(int& year, int& month, int& day, int& hour, int& minute,
                           int& second) const noexcept {
  if (!isValid()) {
    year = month = day = hour = minute = second = 0;
    return;
  }
  const auto days = static_cast<std::uint32_t>(ticks_ / kTicksPerDay);
  const detail::CivilDay civil = detail::civil_from_days(days);
  year = civil.year;
  month = civil.month;
  day = civil.day;
  const auto seconds = static_cast<std::uint32_t>(ticks_ - days * kTicksPerDay) /
                       static_cast<std::uint32_t>(kTicksPerSecond);
  const std::uint32_t minutes = seconds / 60;
  hour = static_cast<int>(minutes / 60);
  minute = static_cast<int>(minutes % 60);
  second = static_cast<int>(seconds % 60);
}

}  // namespace core

#endif  // CORE_DATE_H_
