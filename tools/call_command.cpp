// coretool call TYPE "Method(args)"...: a new object of TYPE, then each call
// made on it through the calling helper, as script code would, with each
// result printed.
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

std::u16string_view trim(std::u16string_view text) {
  while (!text.empty() && (text.front() == u' ' || text.front() == u'\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == u' ' || text.back() == u'\t')) text.remove_suffix(1);
  return text;
}

// One argument: "" omitted, "text" (quotes doubled inside) a String, a
// decimal number a Number, True/False (either language) a Boolean,
// Undefined/Неопределено Undefined, anything else a String as written.
bool parse_argument(std::u16string_view text, core::Value& value, bool& omitted) {
  text = trim(text);
  omitted = text.empty();
  if (omitted) return true;
  if (text.front() == u'"') {
    if (text.size() < 2 || text.back() != u'"') return false;
    std::u16string unquoted;
    for (std::size_t i = 1; i + 1 < text.size(); ++i) {
      unquoted += text[i];
      if (text[i] == u'"') ++i;  // a doubled quote
    }
    value.assign(core::String(unquoted));
    return true;
  }
  const core::String word(text);
  for (const char16_t* truth : {u"True", u"Истина"}) {
    if (core::compare_nocase(word, truth) == 0) {
      value.assign(true);
      return true;
    }
  }
  for (const char16_t* falsity : {u"False", u"Ложь"}) {
    if (core::compare_nocase(word, falsity) == 0) {
      value.assign(false);
      return true;
    }
  }
  if (core::compare_nocase(word, u"Undefined") == 0 ||
      core::compare_nocase(word, u"Неопределено") == 0) {
    value.clear();
    return true;
  }
  core::Numeric number;
  const char16_t* end = nullptr;
  number.fromString(word.c_str(), &end);
  if (end == word.c_str() + word.size() && end != word.c_str()) {
    value.assign(number);
  } else {
    value.assign(word);
  }
  return true;
}

// Splits "Name(a, b)" at the top-level commas, quotes respected.
bool parse_call(std::u16string_view text, core::String& name, std::vector<core::Value>& values,
                std::vector<bool>& omitted) {
  text = trim(text);
  const std::size_t open = text.find(u'(');
  if (open == std::u16string_view::npos || text.empty() || text.back() != u')') return false;
  name = core::String(trim(text.substr(0, open)));
  std::u16string_view inside = text.substr(open + 1, text.size() - open - 2);
  if (trim(inside).empty()) return !name.empty();
  bool quoted = false;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= inside.size(); ++i) {
    if (i < inside.size() && inside[i] == u'"') quoted = !quoted;
    if (i == inside.size() || (inside[i] == u',' && !quoted)) {
      core::Value value;
      bool none = false;
      if (!parse_argument(inside.substr(start, i - start), value, none)) return false;
      values.push_back(value);
      omitted.push_back(none);
      start = i + 1;
    }
  }
  return !name.empty() && !quoted;
}

int run(const Arguments& args) {
  if (args.size() < 2) return usage_error(kCallCommand);
  try {
    const core::Type type(core::String::fromUtf8(args[0]));
    const core::Value object(type.createIValue().get());
    core::IContext* context = core::context_of(object.getIValue());
    if (context == nullptr) {
      std::fprintf(stderr, "coretool: %.*s has no methods\n", static_cast<int>(args[0].size()),
                   args[0].data());
      return 1;
    }
    for (std::size_t i = 1; i < args.size(); ++i) {
      const core::String text = core::String::fromUtf8(args[i]);
      core::String name;
      std::vector<core::Value> values;
      std::vector<bool> omitted;
      if (!parse_call(text, name, values, omitted)) {
        std::fprintf(stderr, "coretool: not a call: %s\n", std::string(args[i]).c_str());
        return usage_error(kCallCommand);
      }
      std::vector<core::GenericValue*> params;
      for (std::size_t p = 0; p < values.size(); ++p) {
        params.push_back(omitted[p] ? nullptr : &values[p]);
      }
      const int method = context->getIContextDef()->findMethod(name);
      core::Value result;
      core::call_context_method(context, name, params, &result);
      if (context->getIContextDef()->hasRetVal(method)) {
        std::printf("%s = %s\n", std::string(args[i]).c_str(),
                    core::to_string(result).toUtf8().c_str());
      } else {
        std::printf("%s\n", std::string(args[i]).c_str());
      }
    }
    return 0;
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kCallCommand = {
    "call",
    "  call TYPE \"Method(args)\"...\n"
    "                  a new object of TYPE and each call made on it as script code\n"
    "                  would (method names in either language), with each result;\n"
    "                  arguments: numbers, \"text\", True, False, Undefined, bare words\n",
    &run};

}  // namespace coretool
