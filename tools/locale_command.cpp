// coretool locale [NAME]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

const char* week_day_name(core::WeekDay day) {
  static constexpr const char* kNames[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                           "Friday", "Saturday", "Sunday"};
  return kNames[static_cast<int>(day) - 1];
}

// A symbol with its code points, so that invisible separators show.
std::string describe_symbol(const core::String& symbol) {
  std::string text = "\"";
  text += symbol.toUtf8();
  text += "\" (";
  for (size_t i = 0; i < symbol.size(); ++i) {
    char code[16];
    std::snprintf(code, sizeof code, "%sU+%04X", i == 0 ? "" : " ",
                  static_cast<unsigned>(symbol[i]));
    text += code;
  }
  return text + ")";
}

int run(const Arguments& args) {
  if (args.size() > 1) return usage_error(kLocaleCommand);
  try {
    const core::Locale locale = args.empty() ? core::Locale::processDefault()
                                             : core::Locale(core::String::fromUtf8(args.front()));
    std::printf("name:              %s\n", locale.name().toUtf8().c_str());
    std::printf("language:          %s\n", locale.language().toUtf8().c_str());
    std::printf("country:           %s\n", locale.country().toUtf8().c_str());
    std::printf("first day of week: %s (%d)\n", week_day_name(locale.firstDayOfWeek()),
                static_cast<int>(locale.firstDayOfWeek()));
    std::printf("decimal symbol:    %s\n", describe_symbol(locale.decimalSymbol()).c_str());
    std::printf("group symbol:      %s\n", describe_symbol(locale.groupSymbol()).c_str());
    return 0;
  } catch (const core::LocaleException& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kLocaleCommand = {
    "locale",
    "  locale [NAME]   what the library makes of a locale name (the process\n"
    "                  default when NAME is omitted): canonical name, language,\n"
    "                  first day of the week, decimal and group symbols\n",
    &run};

}  // namespace coretool
