// Date arithmetic and time-zone conversion, with the standard library's
// calendar arithmetic, the C library's gmtime_r/timegm and a fresh ICU
// calendar per conversion as baselines.
#include <benchmark/benchmark.h>
#include <time.h>
#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "core/date.h"
#include "core/string.h"
#include "core/time_zone.h"

namespace {

namespace chr = std::chrono;

constexpr std::int64_t kEpochDays = 719'162;  // 0001-01-01 to 1970-01-01
constexpr std::size_t kCount = 1024;          // a power of two

// Whole-second counts from 1900 to 2100, where all three calendars agree.
const std::vector<std::uint64_t>& counts() {
  static const std::vector<std::uint64_t> values = [] {
    std::mt19937_64 random(42);
    std::uniform_int_distribution<std::uint64_t> any(core::Date(1900, 1, 1).ticks(),
                                                     core::Date(2100, 1, 1).ticks());
    std::vector<std::uint64_t> v(kCount);
    for (auto& t : v) t = any(random) / core::Date::kTicksPerSecond * core::Date::kTicksPerSecond;
    return v;
  }();
  return values;
}

struct Parts {
  int year, month, day, hour, minute, second;
};

const std::vector<Parts>& parts() {
  static const std::vector<Parts> values = [] {
    std::vector<Parts> v;
    for (std::uint64_t t : counts()) {
      Parts p;
      core::Date(t).split(p.year, p.month, p.day, p.hour, p.minute, p.second);
      v.push_back(p);
    }
    return v;
  }();
  return values;
}

time_t unix_seconds(std::uint64_t ticks) {
  return static_cast<time_t>(static_cast<std::int64_t>(ticks / core::Date::kTicksPerSecond) -
                             kEpochDays * 86'400);
}

void BM_DateSplit(benchmark::State& state) {
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    int y, mo, d, h, mi, s;
    core::Date(v[i++ & (kCount - 1)]).split(y, mo, d, h, mi, s);
    benchmark::DoNotOptimize(y + mo + d + h + mi + s);
  }
}
BENCHMARK(BM_DateSplit);

void BM_ChronoSplit(benchmark::State& state) {
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    const std::uint64_t ticks = v[i++ & (kCount - 1)];
    const std::uint64_t days = ticks / core::Date::kTicksPerDay;
    const chr::year_month_day ymd(
        chr::sys_days(chr::days(static_cast<std::int64_t>(days) - kEpochDays)));
    const chr::hh_mm_ss<chr::seconds> hms(
        chr::seconds((ticks - days * core::Date::kTicksPerDay) / core::Date::kTicksPerSecond));
    benchmark::DoNotOptimize(static_cast<int>(ymd.year()) + static_cast<unsigned>(ymd.month()) +
                             static_cast<unsigned>(ymd.day()) + hms.hours().count() +
                             hms.minutes().count() + hms.seconds().count());
  }
}
BENCHMARK(BM_ChronoSplit);

void BM_GmtimeSplit(benchmark::State& state) {
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    const time_t seconds = unix_seconds(v[i++ & (kCount - 1)]);
    tm parts;
    gmtime_r(&seconds, &parts);
    benchmark::DoNotOptimize(parts.tm_year + parts.tm_mon + parts.tm_mday + parts.tm_hour +
                             parts.tm_min + parts.tm_sec);
  }
}
BENCHMARK(BM_GmtimeSplit);

void BM_DateFromParts(benchmark::State& state) {
  const auto& v = parts();
  std::size_t i = 0;
  for (auto _ : state) {
    const Parts& p = v[i++ & (kCount - 1)];
    benchmark::DoNotOptimize(core::Date(p.year, p.month, p.day, p.hour, p.minute, p.second));
  }
}
BENCHMARK(BM_DateFromParts);

void BM_ChronoFromParts(benchmark::State& state) {
  const auto& v = parts();
  std::size_t i = 0;
  for (auto _ : state) {
    const Parts& p = v[i++ & (kCount - 1)];
    const chr::year_month_day ymd{chr::year(p.year), chr::month(static_cast<unsigned>(p.month)),
                                  chr::day(static_cast<unsigned>(p.day))};
    const auto time =
        chr::sys_days(ymd) + chr::hours(p.hour) + chr::minutes(p.minute) + chr::seconds(p.second);
    benchmark::DoNotOptimize(time);
  }
}
BENCHMARK(BM_ChronoFromParts);

void BM_TimegmFromParts(benchmark::State& state) {
  const auto& v = parts();
  std::size_t i = 0;
  for (auto _ : state) {
    const Parts& p = v[i++ & (kCount - 1)];
    tm parts{};
    parts.tm_year = p.year - 1900;
    parts.tm_mon = p.month - 1;
    parts.tm_mday = p.day;
    parts.tm_hour = p.hour;
    parts.tm_min = p.minute;
    parts.tm_sec = p.second;
    benchmark::DoNotOptimize(timegm(&parts));
  }
}
BENCHMARK(BM_TimegmFromParts);

void BM_DateAddMonth(benchmark::State& state) {
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    core::Date date(v[i & (kCount - 1)]);
    date.addMonth(static_cast<int>(i++ % 25) - 12);
    benchmark::DoNotOptimize(date);
  }
}
BENCHMARK(BM_DateAddMonth);

void BM_DateToString(benchmark::State& state) {
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    core::String text = core::Date(v[i++ & (kCount - 1)]).toString();
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_DateToString);

void BM_DateFromString(benchmark::State& state) {
  std::vector<core::String> texts;
  for (std::uint64_t t : counts()) texts.push_back(core::Date(t).toString());
  std::size_t i = 0;
  for (auto _ : state) {
    core::Date date;
    const char16_t* end = nullptr;
    benchmark::DoNotOptimize(date.fromString(texts[i++ & (kCount - 1)].c_str(), &end));
    benchmark::DoNotOptimize(date);
  }
}
BENCHMARK(BM_DateFromString);

void BM_TimeZoneToLocalTime(benchmark::State& state) {
  const core::TimeZone zone(u"Europe/Berlin");
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(zone.toLocalTime(core::Date(v[i++ & (kCount - 1)])));
  }
}
BENCHMARK(BM_TimeZoneToLocalTime);

void BM_TimeZoneToUniversalTime(benchmark::State& state) {
  const core::TimeZone zone(u"Europe/Berlin");
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(zone.toUniversalTime(core::Date(v[i++ & (kCount - 1)])));
  }
}
BENCHMARK(BM_TimeZoneToUniversalTime);

// The same conversion through a new ICU calendar each time.
void BM_IcuCalendarPerCall(benchmark::State& state) {
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone("Europe/Berlin"));
  const auto& v = counts();
  std::size_t i = 0;
  for (auto _ : state) {
    const std::uint64_t ticks = v[i++ & (kCount - 1)];
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(
        icu::Calendar::createInstance(*zone, icu::Locale::getRoot(), status));
    calendar->setTime(static_cast<UDate>(unix_seconds(ticks)) * 1000.0, status);
    const std::int64_t offset =
        calendar->get(UCAL_ZONE_OFFSET, status) + calendar->get(UCAL_DST_OFFSET, status);
    benchmark::DoNotOptimize(core::Date(ticks) + offset * 10);
  }
}
BENCHMARK(BM_IcuCalendarPerCall);

}  // namespace
