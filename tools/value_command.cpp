// coretool value <text> --as number|string|date|boolean [--lang en|ru]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

// Builds the value `text` reads as under `kind`; false for text that is no
// value of that kind.
bool make_value(const core::String& text, std::string_view kind, core::Value& out) {
  const core::Value as_text(text);
  if (kind == "string") {
    out = as_text;
    return true;
  }
  if (kind == "number") {
    core::Numeric number;
    if (!as_text.getNumeric(number)) return false;
    out = core::Value(number);
    return true;
  }
  if (kind == "date") {
    core::Date date;
    if (!as_text.getDate(date) && !date.fromISOString(text)) return false;
    out = core::Value(date);
    return true;
  }
  bool flag = false;
  if (!as_text.getBoolean(flag)) return false;
  out = core::Value(flag);
  return true;
}

int run(const Arguments& args) {
  if (args.empty()) return usage_error(kValueCommand);
  std::string_view kind = "string";
  core::Language language = core::Thread::language();
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--as" && i + 1 < args.size()) {
      kind = args[++i];
    } else if (args[i] == "--lang" && i + 1 < args.size()) {
      const std::string_view lang = args[++i];
      if (lang != "en" && lang != "ru") return usage_error(kValueCommand);
      language = lang == "ru" ? core::Language::Russian : core::Language::English;
    } else {
      return usage_error(kValueCommand);
    }
  }
  if (kind != "string" && kind != "number" && kind != "date" && kind != "boolean") {
    return usage_error(kValueCommand);
  }
  core::Thread::setLanguage(language);
  core::Thread::setLocale(core::Locale(language == core::Language::Russian ? u"ru_RU" : u"en_US"));
  core::Value value;
  if (!make_value(core::String::fromUtf8(args.front()), kind, value)) {
    std::fprintf(stderr, "coretool: \"%.*s\" is not a %.*s\n", static_cast<int>(args[0].size()),
                 args[0].data(), static_cast<int>(kind.size()), kind.data());
    return 1;
  }
  const core::Type type = value.type();
  const char16_t* name = type.getIType()->getName(language);
  bool flag = false;
  const bool converts = value.getBoolean(flag);
  std::printf("type:         %s (%s)\n", core::String(name).toUtf8().c_str(),
              type.getIType()->getPresentation().toUtf8().c_str());
  std::printf("presentation: %s\n", core::to_string(value).toUtf8().c_str());
  std::printf("hash code:    %d\n", value.hashCode());
  std::printf("as boolean:   %s\n",
              converts ? core::Thread::getBoolFormat().format(flag).toUtf8().c_str() : "-");
  return 0;
}

}  // namespace

const Command kValueCommand = {
    "value",
    "  value TEXT [--as number|string|date|boolean] [--lang en|ru]\n"
    "                  the value TEXT reads as: its type's name, presentation,\n"
    "                  hash code and conversion to Boolean\n",
    &run};

}  // namespace coretool
