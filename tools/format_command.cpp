// coretool format VALUE "FORMAT" [--type number|date|boolean|string|null|undefined]
//                [--lang en|ru]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

enum class Type { kGuess, kNumber, kDate, kBoolean, kString, kNull, kUndefined };

int run(const Arguments& args) {
  if (args.size() < 2) return usage_error(kFormatCommand);
  Type type = Type::kGuess;
  std::string_view lang;
  for (std::size_t i = 2; i < args.size(); ++i) {
    if (args[i] == "--type" && i + 1 < args.size()) {
      const std::string_view name = args[++i];
      if (name == "number")
        type = Type::kNumber;
      else if (name == "date")
        type = Type::kDate;
      else if (name == "boolean")
        type = Type::kBoolean;
      else if (name == "string")
        type = Type::kString;
      else if (name == "null")
        type = Type::kNull;
      else if (name == "undefined")
        type = Type::kUndefined;
      else
        return usage_error(kFormatCommand);
    } else if (args[i] == "--lang" && i + 1 < args.size()) {
      lang = args[++i];
      if (lang != "en" && lang != "ru") return usage_error(kFormatCommand);
    } else {
      return usage_error(kFormatCommand);
    }
  }
  const std::string value(args[0]);
  const core::String format_string = core::String::fromUtf8(args[1]);
  if (type == Type::kGuess) {
    // A boolean word, 8 to 14 digits of a date, else a number.
    const bool digits_only =
        !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
    if (value == "true" || value == "false")
      type = Type::kBoolean;
    else if (digits_only && value.size() >= 8 && value.size() <= 14)
      type = Type::kDate;
    else
      type = Type::kNumber;
  }
  try {
    if (!lang.empty()) {
      core::Thread::setLocale(core::Locale(lang == "ru" ? u"ru_RU" : u"en_US"));
      core::Thread::setLanguage(lang == "ru" ? core::Language::Russian : core::Language::English);
    }
    // Every kind goes through the universal value's format().
    core::Value held;
    if (type == Type::kBoolean) {
      if (value != "true" && value != "false") {
        std::fprintf(stderr, "coretool: \"%s\" is not true or false\n", value.c_str());
        return 1;
      }
      held = core::Value(value == "true");
    } else if (type == Type::kDate) {
      core::Date date;
      if (!date.fromString(value.c_str()) && !(value.find_first_not_of('0') == std::string::npos)) {
        std::fprintf(stderr, "coretool: \"%s\" is not a date YYYYMMDD[hhmm[ss]]\n", value.c_str());
        return 1;
      }
      held = core::Value(date);
    } else if (type == Type::kNumber) {
      core::Numeric number;
      const char* end = nullptr;
      number.fromString(value.c_str(), &end);
      if (value.empty() || *end != '\0') {
        std::fprintf(stderr, "coretool: \"%s\" is not a number\n", value.c_str());
        return 1;
      }
      held = core::Value(number);
    } else if (type == Type::kString) {
      held = core::Value(core::String::fromUtf8(value));
    } else if (type == Type::kNull) {
      held = core::Value(core::create_null_value());
    }
    const core::String text = core::format(held, format_string);
    std::printf("%s\n", text.toUtf8().c_str());
    return 0;
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kFormatCommand = {
    "format",
    "  format VALUE \"FORMAT\" [--type number|date|boolean|string|null|undefined]\n"
    "         [--lang en|ru]\n"
    "                  VALUE (a number, a date YYYYMMDD[hhmm[ss]], true or false;\n"
    "                  the type is guessed unless given) as text under the\n"
    "                  format string, in the locale of the language given; a\n"
    "                  string, null or undefined gives its presentation\n",
    &run};

}  // namespace coretool
