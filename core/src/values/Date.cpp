// Implements core/date.h: dates, their parts, arithmetic and text forms.
#include "core/date.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>

#include "core/thread.h"
#include "internal/throw.h"
#include "platform/clock.h"

namespace core {
namespace {

constexpr std::uint64_t kTicksPerMs = 10;
// Days from 0001-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochDays = 719'162;
// 6 days 23:59:59.
constexpr std::uint64_t kWeekEndOffset = 6 * Date::kTicksPerDay + 86'399 * Date::kTicksPerSecond;

using detail::civil_from_days;
using detail::days_before_year;
using detail::kMonthStart;
using Civil = detail::CivilDay;

constexpr bool leap(std::int64_t year) noexcept {
  return detail::is_leap_year(static_cast<std::uint32_t>(year));
}

inline std::uint64_t days_from_civil(int year, int month, int day) noexcept {
  return static_cast<std::uint64_t>(days_before_year(static_cast<std::uint32_t>(year - 1))) +
         kMonthStart[leap(year)][month - 1] + static_cast<std::uint32_t>(day - 1);
}

inline bool valid_parts(int year, int month, int day, int hour, int minute, int second) noexcept {
  std::uint64_t ticks = 0;
  return detail::ticks_from_parts(year, month, day, hour, minute, second, ticks);
}

// REQUIRES: valid_parts(...).
inline std::uint64_t ticks_from_parts(int year, int month, int day, int hour, int minute,
                                      int second) noexcept {
  std::uint64_t ticks = 0;
  detail::ticks_from_parts(year, month, day, hour, minute, second, ticks);
  return ticks;
}

inline int week_day_of_days(std::uint64_t days) noexcept {
  const int day = static_cast<int>((days + 1) % 7);
  return day == 0 ? 7 : day;
}

// A first day of the week outside the enumeration would shift the week by
// any number of days instead of less than seven.
void check_week_day(WeekDay first) {
  const int value = static_cast<int>(first);
  if (value < 1 || value > 7) detail::throw_illegal_argument(value);
}

Date from_unix_ms(std::int64_t ms) noexcept {
  return Date() + (ms + kUnixEpochDays * 86'400'000) * static_cast<std::int64_t>(kTicksPerMs);
}

Date whole_second(Date date) noexcept {
  return Date(date.ticks() - date.ticks() % Date::kTicksPerSecond);
}

// One code point at `p`: its value and its length in units. The 8-bit form
// reads each byte as the code point of the same value.
inline UChar32 next_code_point(const char* p, int& length) noexcept {
  length = 1;
  return static_cast<unsigned char>(*p);
}

inline UChar32 next_code_point(const char16_t* p, int& length) noexcept {
  const char16_t unit = *p;
  if (U16_IS_LEAD(unit) && U16_IS_TRAIL(p[1])) {
    length = 2;
    return U16_GET_SUPPLEMENTARY(unit, p[1]);
  }
  length = 1;
  return unit;
}

inline int decimal_digit(UChar32 c) noexcept {
  if (c >= '0' && c <= '9') return c - '0';
  if (c < 0x80 || u_charType(c) != U_DECIMAL_DIGIT_NUMBER) return -1;
  return u_charDigitValue(c);
}

template <class Char>
bool read_digit_form(const Char* text, const Char** end, Date& out) noexcept {
  out = Date();
  if (end != nullptr) *end = text;
  if (text == nullptr) return false;

  const Char* p = text;
  int length = 1;
  while (*p != 0 && u_isspace(next_code_point(p, length))) p += length;
  const Char* const first_digit = p;

  constexpr int kMaxDigits = 15;
  int digits[kMaxDigits];
  const Char* after[kMaxDigits];
  int count = 0;
  while (count < kMaxDigits) {
    const int value = *p == 0 ? -1 : decimal_digit(next_code_point(p, length));
    if (value < 0) break;
    p += length;
    digits[count] = value;
    after[count] = p;
    ++count;
  }
  if (count < 8) return false;
  const int used = count >= 14 ? 14 : count >= 12 ? 12 : 8;

  auto number = [&digits](int from, int n) {
    int value = 0;
    for (int i = from; i < from + n; ++i) value = value * 10 + digits[i];
    return value;
  };
  const int year = number(0, 4);
  const int month = number(4, 2);
  const int day = number(6, 2);
  const int hour = used >= 12 ? number(8, 2) : 0;
  const int minute = used >= 12 ? number(10, 2) : 0;
  const int second = used >= 14 ? number(12, 2) : 0;

  if ((year | month | day | hour | minute | second) == 0) {
    if (end != nullptr) *end = after[used - 1];
    return true;
  }
  if (!valid_parts(year, month, day, hour, minute, second)) {
    if (end != nullptr) *end = first_digit;
    return false;
  }
  out = Date(ticks_from_parts(year, month, day, hour, minute, second));
  if (end != nullptr) *end = after[used - 1];
  return true;
}

// A cursor over the XML and ISO forms, which are ASCII only.
class Scanner {
 public:
  explicit Scanner(std::u16string_view text) : p_(text.data()), end_(text.data() + text.size()) {}

  bool done() const { return p_ == end_; }
  char16_t peek(std::size_t ahead = 0) const {
    return static_cast<std::size_t>(end_ - p_) > ahead ? p_[ahead] : u'\0';
  }
  bool eat(char16_t c) {
    if (done() || *p_ != c) return false;
    ++p_;
    return true;
  }
  // Exactly `n` ASCII digits.
  bool number(int n, int& value) {
    if (end_ - p_ < n) return false;
    value = 0;
    for (int i = 0; i < n; ++i) {
      const char16_t c = p_[i];
      if (c < u'0' || c > u'9') return false;
      value = value * 10 + (c - u'0');
    }
    p_ += n;
    return true;
  }
  bool isDigit() const {
    const char16_t c = peek();
    return !done() && c >= u'0' && c <= u'9';
  }
  // One or more digits of a fraction of a second, as ticks (digits beyond
  // the fourth are cut).
  bool fraction(std::uint64_t& ticks) {
    if (!isDigit()) return false;
    ticks = 0;
    int n = 0;
    for (; isDigit(); ++p_, ++n) {
      if (n < 4) ticks = ticks * 10 + static_cast<std::uint64_t>(*p_ - u'0');
    }
    for (; n < 4; ++n) ticks *= 10;
    return true;
  }

 private:
  const char16_t* p_;
  const char16_t* end_;
};

struct Reading {
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  std::uint64_t fraction = 0;
  bool has_zone = false;
  int zone_minutes = 0;  // local time minus universal time
};

// "Z", or a sign and hh[:mm] / hhmm (`extended` requires the colon before the
// minutes when they are given, the basic form forbids it).
bool read_zone(Scanner& s, bool extended, bool hours_only_allowed, Reading& r) {
  if (s.eat(u'Z')) {
    r.has_zone = true;
    return true;
  }
  int sign = 0;
  if (s.eat(u'+')) {
    sign = 1;
  } else if (s.eat(u'-')) {
    sign = -1;
  } else {
    return true;  // no designator
  }
  int hours = 0;
  int minutes = 0;
  if (!s.number(2, hours)) return false;
  if (extended ? s.eat(u':') : s.isDigit()) {
    if (!s.number(2, minutes)) return false;
  } else if (!hours_only_allowed) {
    return false;
  }
  if (hours > 14 || minutes > 59 || (hours == 14 && minutes != 0)) return false;
  r.has_zone = true;
  r.zone_minutes = sign * (hours * 60 + minutes);
  return true;
}

bool finish(const Reading& r, std::uint64_t& ticks) {
  if (!valid_parts(r.year, r.month, r.day, r.hour, r.minute, r.second)) return false;
  ticks = ticks_from_parts(r.year, r.month, r.day, r.hour, r.minute, r.second) + r.fraction;
  return true;
}

bool read_xml(std::u16string_view text, std::uint64_t& ticks) {
  Scanner s(text);
  Reading r;
  if (!s.number(4, r.year) || !s.eat(u'-') || !s.number(2, r.month) || !s.eat(u'-') ||
      !s.number(2, r.day)) {
    return false;
  }
  if (s.eat(u'T')) {
    if (!s.number(2, r.hour) || !s.eat(u':') || !s.number(2, r.minute) || !s.eat(u':') ||
        !s.number(2, r.second)) {
      return false;
    }
    if (s.eat(u'.') && !s.fraction(r.fraction)) return false;
  }
  if (!read_zone(s, /*extended=*/true, /*hours_only_allowed=*/false, r) || !s.done()) {
    return false;
  }
  return finish(r, ticks);
}

bool read_iso(std::u16string_view text, std::uint64_t& ticks) {
  Scanner s(text);
  Reading r;
  if (!s.number(4, r.year)) return false;
  const bool extended = s.eat(u'-');
  if (!s.number(2, r.month) || (extended && !s.eat(u'-')) || !s.number(2, r.day)) return false;
  if (s.eat(u'T') || s.eat(u' ')) {
    if (!s.number(2, r.hour) || (extended && !s.eat(u':')) || !s.number(2, r.minute)) {
      return false;
    }
    if (extended ? s.eat(u':') : s.isDigit()) {
      if (!s.number(2, r.second)) return false;
      if ((s.eat(u'.') || s.eat(u',')) && !s.fraction(r.fraction)) return false;
    }
    if (!read_zone(s, extended, /*hours_only_allowed=*/true, r)) return false;
  }
  if (!s.done() || !finish(r, ticks)) return false;
  if (r.has_zone) {
    const std::int64_t shifted =
        static_cast<std::int64_t>(ticks) - static_cast<std::int64_t>(r.zone_minutes) *
                                               static_cast<std::int64_t>(Date::kTicksPerMinute);
    if (shifted < 0 || shifted > static_cast<std::int64_t>(Date::kMaxTicks)) return false;
    ticks = static_cast<std::uint64_t>(shifted);
  }
  return true;
}

void put_digits(char16_t*& out, int value, int width) {
  for (int i = width - 1; i >= 0; --i) {
    out[i] = static_cast<char16_t>(u'0' + value % 10);
    value /= 10;
  }
  out += width;
}

}  // namespace

Date Date::getCurrentDate() noexcept {
  return whole_second(from_unix_ms(platform::read_clock().local_ms));
}

Date Date::getCurrentDateUTC() noexcept {
  return whole_second(from_unix_ms(platform::read_clock().utc_ms));
}

std::int64_t Date::getAbsoluteDateAsMilliseconds() noexcept {
  return platform::read_clock().local_ms + kUnixEpochDays * 86'400'000;
}

bool Date::isLeapYear(int year) noexcept { return year >= 1 && leap(year); }

int Date::daysPerMonth(int year, int month) noexcept {
  if (month < 1 || month > 12) return 0;
  const bool is_leap = year >= 1 && leap(year);
  return kMonthStart[is_leap][month] - kMonthStart[is_leap][month - 1];
}

int Date::getYear() const noexcept {
  return isValid() ? civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay)).year : 0;
}

int Date::getMonth() const noexcept {
  return isValid() ? civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay)).month : 0;
}

int Date::getMonthDay() const noexcept {
  return isValid() ? civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay)).day : 0;
}

int Date::getYearDay() const noexcept {
  return isValid() ? civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay)).year_day + 1
                   : 0;
}

int Date::getQuarter() const noexcept {
  const int month = getMonth();
  return month == 0 ? 0 : (month + 2) / 3;
}

int Date::getWeekDay() const noexcept {
  return isValid() ? week_day_of_days(ticks_ / kTicksPerDay) : 0;
}

int Date::getYearWeek(WeekDay first) const {
  check_week_day(first);
  if (!isValid()) return 0;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  const int january_first =
      week_day_of_days(static_cast<std::uint64_t>(days_before_year(civil.year - 1)));
  const int first_day = static_cast<int>(first);
  int k = first_day - january_first;
  if (first_day <= january_first) k += 7;
  const int d = civil.year_day;
  return d < k ? 1 : 2 + (d - k) / 7;
}

int Date::getYearWeek() const { return getYearWeek(Thread::firstDayOfWeek()); }

int Date::getHour() const noexcept {
  return isValid() ? static_cast<int>(ticks_ / kTicksPerHour % 24) : 0;
}

int Date::getMinute() const noexcept {
  return isValid() ? static_cast<int>(ticks_ / kTicksPerMinute % 60) : 0;
}

int Date::getSecond() const noexcept {
  return isValid() ? static_cast<int>(ticks_ / kTicksPerSecond % 60) : 0;
}

void Date::split(int& year, int& month, int& day) const noexcept {
  if (!isValid()) {
    year = month = day = 0;
    return;
  }
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  year = civil.year;
  month = civil.month;
  day = civil.day;
}

Date& Date::operator+=(DateSpan span) noexcept {
  const std::uint64_t base = std::min(ticks_, kMaxTicks);
  if (span < 0) {
    // -(span + 1) + 1 avoids negating INT64_MIN.
    const std::uint64_t back = static_cast<std::uint64_t>(-(span + 1)) + 1;
    ticks_ = back >= base ? 0 : base - back;
  } else {
    const auto forward = static_cast<std::uint64_t>(span);
    ticks_ = forward >= kMaxTicks - base ? kMaxTicks : base + forward;
  }
  return *this;
}

Date& Date::operator-=(DateSpan span) noexcept {
  if (span == INT64_MIN) {
    *this += INT64_MAX;
    return *this += 1;
  }
  return *this += -span;
}

Date& Date::addMonth(int n) noexcept {
  if (!isValid()) return *this;
  const std::uint64_t days = ticks_ / kTicksPerDay;
  const std::uint64_t time = ticks_ - days * kTicksPerDay;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(days));
  std::int64_t index = static_cast<std::int64_t>(civil.year - 1) * 12 + (civil.month - 1) + n;
  if (index < 0) index = 0;
  const std::int64_t year0 = index / 12;
  if (year0 > 9998) {
    ticks_ = kMaxTicks;
    return *this;
  }
  const int year = static_cast<int>(year0 + 1);
  const int month = static_cast<int>(index % 12 + 1);
  const int day = std::min(civil.day, daysPerMonth(year, month));
  ticks_ = days_from_civil(year, month, day) * kTicksPerDay + time;
  return *this;
}

Date Date::begOfMinute() const noexcept {
  return isValid() ? Date(ticks_ - ticks_ % kTicksPerMinute) : *this;
}

Date Date::endOfMinute() const noexcept {
  return isValid() ? Date(begOfMinute().ticks_ + 59 * kTicksPerSecond) : *this;
}

Date Date::begOfHour() const noexcept {
  return isValid() ? Date(ticks_ - ticks_ % kTicksPerHour) : *this;
}

Date Date::endOfHour() const noexcept {
  return isValid() ? Date(begOfHour().ticks_ + 3599 * kTicksPerSecond) : *this;
}

Date Date::begOfDay() const noexcept {
  return isValid() ? Date(ticks_ - ticks_ % kTicksPerDay) : *this;
}

Date Date::endOfDay() const noexcept {
  return isValid() ? Date(begOfDay().ticks_ + 86'399 * kTicksPerSecond) : *this;
}

Date Date::begOfWeek(WeekDay first) const {
  check_week_day(first);
  if (!isValid()) return *this;
  const std::uint64_t days = ticks_ / kTicksPerDay;
  const auto back =
      static_cast<std::uint64_t>((week_day_of_days(days) - static_cast<int>(first) + 7) % 7);
  return Date((back >= days ? 0 : days - back) * kTicksPerDay);
}

Date Date::begOfWeek() const { return begOfWeek(Thread::firstDayOfWeek()); }

Date Date::endOfWeek(WeekDay first) const {
  check_week_day(first);
  if (!isValid()) return *this;
  return Date(std::min(begOfWeek(first).ticks_ + kWeekEndOffset, kMaxTicks));
}

Date Date::endOfWeek() const { return endOfWeek(Thread::firstDayOfWeek()); }

Date Date::begOfMonth() const noexcept {
  if (!isValid()) return *this;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  return Date(days_from_civil(civil.year, civil.month, 1) * kTicksPerDay);
}

Date Date::endOfMonth() const noexcept {
  if (!isValid()) return *this;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  return Date(civil.year, civil.month, daysPerMonth(civil.year, civil.month), 23, 59, 59);
}

Date Date::begOfQuart() const noexcept {
  if (!isValid()) return *this;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  return Date(civil.year, (civil.month - 1) / 3 * 3 + 1, 1);
}

Date Date::endOfQuart() const noexcept {
  if (!isValid()) return *this;
  const Civil civil = civil_from_days(static_cast<std::uint32_t>(ticks_ / kTicksPerDay));
  const int month = (civil.month - 1) / 3 * 3 + 3;
  return Date(civil.year, month, daysPerMonth(civil.year, month), 23, 59, 59);
}

Date Date::begOfYear() const noexcept {
  if (!isValid()) return *this;
  return Date(getYear(), 1, 1);
}

Date Date::endOfYear() const noexcept {
  if (!isValid()) return *this;
  return Date(getYear(), 12, 31, 23, 59, 59);
}

namespace {

// The six parts with leading zeros (year 4 digits, the others 2), with
// separators[i] after part i when `separators` is given (five units).
String text_of_parts(const Date& date, const char16_t* separators) {
  int parts[6];
  date.split(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
  char16_t text[19];
  char16_t* out = text;
  for (int i = 0; i < 6; ++i) {
    put_digits(out, parts[i], i == 0 ? 4 : 2);
    if (separators != nullptr && i < 5) *out++ = separators[i];
  }
  return String(text, static_cast<size_t>(out - text));
}

}  // namespace

String Date::toString() const { return text_of_parts(*this, nullptr); }

bool Date::fromString(const char16_t* text, const char16_t** end) noexcept {
  return read_digit_form(text, end, *this);
}

bool Date::fromString(const char* text, const char** end) noexcept {
  return read_digit_form(text, end, *this);
}

String Date::toXMLString() const { return text_of_parts(*this, u"--T::"); }

bool Date::fromXMLString(std::u16string_view text) noexcept {
  std::uint64_t ticks = 0;
  const bool ok = read_xml(text, ticks);
  ticks_ = ok ? ticks : 0;
  return ok;
}

bool Date::fromISOString(std::u16string_view text) noexcept {
  std::uint64_t ticks = 0;
  const bool ok = read_iso(text, ticks);
  ticks_ = ok ? ticks : 0;
  return ok;
}

}  // namespace core
