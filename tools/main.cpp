// coretool: the command-line face of the library, for trying its parts by
// hand and for the demo.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "core/core.h"

namespace {

constexpr const char* kUsage =
    "usage: coretool COMMAND [ARGUMENTS]\n"
    "\n"
    "commands:\n"
    "  locale [NAME]   what the library makes of a locale name (the process\n"
    "                  default when NAME is omitted): canonical name, language,\n"
    "                  first day of the week, decimal and group symbols\n"
    "  message ID [--locale NAME]\n"
    "                  the text of the message ID in the locale NAME (the\n"
    "                  process default when omitted)\n"
    "  message --list  the identifiers of every message\n"
    "  --help          this text\n";

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

int show_locale(const std::vector<std::string_view>& args) {
  if (args.size() > 1) {
    std::fputs(kUsage, stderr);
    return 2;
  }
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
    std::fprintf(stderr, "coretool: %s\n", e.descr().toUtf8().c_str());
    return 1;
  }
}

int show_message(const std::vector<std::string_view>& args) {
  if (args.size() == 1 && args.front() == "--list") {
    for (const std::string& id : core::core_message_identifiers()) std::printf("%s\n", id.c_str());
    return 0;
  }
  if (args.size() != 1 && !(args.size() == 3 && args[1] == "--locale")) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::string id(args.front());
  if (args.size() == 3) {
    try {
      core::Thread::setLocale(core::Locale(core::String::fromUtf8(args[2])));
    } catch (const core::LocaleException& e) {
      std::fprintf(stderr, "coretool: %s\n", e.descr().toUtf8().c_str());
      return 1;
    }
  }
  const core::String text = core::load_core_wstring(id.c_str());
  if (text.empty()) {
    std::fprintf(stderr, "coretool: no message \"%s\"\n", id.c_str());
    return 1;
  }
  std::printf("%s\n", text.toUtf8().c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string_view> args(argv + 1, argv + argc);
  if (args.empty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  const std::string_view command = args.front();
  args.erase(args.begin());
  if (command == "--help" || command == "-h" || command == "help") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (command == "locale") return show_locale(args);
  if (command == "message") return show_message(args);
  std::fprintf(stderr, "coretool: unknown command \"%.*s\"\n\n%s", static_cast<int>(command.size()),
               command.data(), kUsage);
  return 2;
}
