// coretool date <14 digits | ISO text | now> [options]
#include <charconv>
#include <cstdio>
#include <string>
#include <string_view>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

const char* week_day_name(int day) {
  static constexpr const char* kNames[] = {"invalid",  "Monday", "Tuesday",  "Wednesday",
                                           "Thursday", "Friday", "Saturday", "Sunday"};
  return day >= 0 && day <= 7 ? kNames[day] : "invalid";
}

bool parse_int(std::string_view text, int& value) {
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  return result.ec == std::errc() && result.ptr == end && !text.empty();
}

// The 14-digit form, the 8- and 12-digit forms, "now", or an ISO 8601 text.
bool parse_date(std::string_view text, core::Date& date) {
  if (text == "now") {
    date = core::Date::getCurrentDate();
    return true;
  }
  const std::string zero_terminated(text);
  const char* end = nullptr;
  if (date.fromString(zero_terminated.c_str(), &end) && *end == '\0') return true;
  const core::String wide = core::String::fromUtf8(text);
  return date.fromISOString(wide);
}

bool apply_period(std::string_view unit, bool begin, core::WeekDay first, core::Date& date) {
  if (unit == "minute") {
    date = begin ? date.begOfMinute() : date.endOfMinute();
  } else if (unit == "hour") {
    date = begin ? date.begOfHour() : date.endOfHour();
  } else if (unit == "day") {
    date = begin ? date.begOfDay() : date.endOfDay();
  } else if (unit == "week") {
    date = begin ? date.begOfWeek(first) : date.endOfWeek(first);
  } else if (unit == "month") {
    date = begin ? date.begOfMonth() : date.endOfMonth();
  } else if (unit == "quarter") {
    date = begin ? date.begOfQuart() : date.endOfQuart();
  } else if (unit == "year") {
    date = begin ? date.begOfYear() : date.endOfYear();
  } else {
    return false;
  }
  return true;
}

void print(const core::Date& date, core::WeekDay first) {
  int year, month, day, hour, minute, second;
  date.split(year, month, day, hour, minute, second);
  std::printf("digits:    %s\n", date.toString().toUtf8().c_str());
  std::printf("iso:       %s\n", date.toXMLString().toUtf8().c_str());
  std::printf("ticks:     %llu\n", static_cast<unsigned long long>(date.ticks()));
  core::InterfacePtr<core::StringWriter> list(new core::StringWriter);
  date.toStream(list.get());
  std::printf("list:      %s\n", list->str().toUtf8().c_str());
  std::printf("date:      year %d, month %d, day %d\n", year, month, day);
  std::printf("time:      %02d:%02d:%02d.%04u\n", hour, minute, second,
              static_cast<unsigned>(date.ticks() % core::Date::kTicksPerSecond));
  std::printf("week day:  %d (%s)\n", date.getWeekDay(), week_day_name(date.getWeekDay()));
  std::printf("year day:  %d\n", date.getYearDay());
  std::printf("quarter:   %d\n", date.getQuarter());
  std::printf("year week: %d (weeks from %s)\n", date.getYearWeek(first),
              week_day_name(static_cast<int>(first)));
}

int run(const Arguments& args) {
  if (args.empty()) return usage_error(kDateCommand);
  core::Date date;
  if (!parse_date(args.front(), date)) {
    std::fprintf(stderr, "coretool: not a date: \"%.*s\"\n", static_cast<int>(args[0].size()),
                 args[0].data());
    return 1;
  }
  // The first day of the week applies wherever it appears among the options.
  core::WeekDay first = core::Thread::firstDayOfWeek();
  for (std::size_t i = 1; i + 1 < args.size(); ++i) {
    if (args[i] != "--week-first") continue;
    int day = 0;
    if (!parse_int(args[i + 1], day) || day < 1 || day > 7) return usage_error(kDateCommand);
    first = static_cast<core::WeekDay>(day);
  }
  // The other options act in the order given.
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string_view option = args[i];
    const bool has_value = i + 1 < args.size();
    if (option == "--add-months" && has_value) {
      int months = 0;
      if (!parse_int(args[++i], months)) return usage_error(kDateCommand);
      date.addMonth(months);
    } else if ((option == "--begin" || option == "--end") && has_value) {
      if (!apply_period(args[++i], option == "--begin", first, date)) {
        return usage_error(kDateCommand);
      }
    } else if (option == "--week-first" && has_value) {
      ++i;
    } else if (option == "--zone" && i + 2 < args.size()) {
      const std::string_view direction = args[i + 2];
      if (direction != "--to-local" && direction != "--to-utc") return usage_error(kDateCommand);
      try {
        const core::TimeZone zone(core::String::fromUtf8(args[i + 1]));
        date = direction == "--to-local" ? zone.toLocalTime(date) : zone.toUniversalTime(date);
      } catch (const core::TimeZoneException& e) {
        return report_failure(e);
      }
      i += 2;
    } else {
      return usage_error(kDateCommand);
    }
  }
  print(date, first);
  return 0;
}

}  // namespace

const Command kDateCommand = {
    "date",
    "  date <14 digits | ISO text | now> [--add-months N]\n"
    "       [--begin|--end minute|hour|day|week|month|quarter|year]\n"
    "       [--week-first 1..7] [--zone ID --to-local|--to-utc]\n"
    "                  reads a date, applies the options in the order given\n"
    "                  and prints its 14-digit and ISO forms and its parts;\n"
    "                  --week-first (1 Monday .. 7 Sunday) sets the first day\n"
    "                  of the week for --begin/--end week and the year week\n",
    &run};

}  // namespace coretool
