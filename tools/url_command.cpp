// coretool url TEXT [--base URL] [--secure] [--idna to|from]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

constexpr const char* kPartNames[core::URL::kPartCount] = {
    "scheme", ":",   "//",     "user", "colon",     "password",  "@",    "[",
    "host",   "]",   ":",      "port", "directory", "separator", "name", ".",
    "ext",    "?/;", "params", "#",    "fragment",  "tail"};

std::string utf8(const core::String& text) { return text.toUtf8(); }

void print_url(const char* title, const core::URL& url) {
  std::printf("%-15s %s\n", title, utf8(url.text()).c_str());
}

int run_url(const Arguments& args) {
  if (args.empty()) return usage_error(kUrlCommand);
  std::string base;
  std::string idna;
  bool secure = false;
  for (std::size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--secure") {
      secure = true;
    } else if (args[i] == "--base" && i + 1 < args.size()) {
      base = args[++i];
    } else if (args[i] == "--idna" && i + 1 < args.size() &&
               (args[i + 1] == "to" || args[i + 1] == "from")) {
      idna = args[++i];
    } else {
      return usage_error(kUrlCommand);
    }
  }
  try {
    core::URL url(core::String::fromUtf8(args[0]));
    if (idna == "to") url = url.toIDNA();
    if (idna == "from") url = url.fromIDNA();
    // With --secure everything shown is the URL with its password hidden.
    if (secure) url = core::URL(url.secureContent(), false);
    print_url("text", url);
    for (std::size_t i = 0; i < core::URL::kPartCount; ++i) {
      const core::URL::Marks& marks = url.marks();
      std::printf("  %2zu %-10s [%3llu,%3llu) \"%s\"\n", i, kPartNames[i],
                  static_cast<unsigned long long>(marks[i]),
                  static_cast<unsigned long long>(marks[i + 1]), utf8(url.part(i, 1)).c_str());
    }
    std::printf("%-15s empty=%d absolute=%d broken=%d possiblyFragment=%d\n", "predicates",
                url.empty(), url.absolute(), url.broken(), url.possiblyFragment());
    std::printf("%-15s host=\"%s\" login=\"%s\" fileName=\"%s\"\n", "accessors",
                utf8(url.host()).c_str(), utf8(url.login()).c_str(), utf8(url.fileName()).c_str());
    std::printf("%-15s %s\n", "presentation", utf8(url.presentation()).c_str());
    print_url("normalized", url.normalize());
    print_url("base URL", url.baseURL());
    if (!base.empty()) {
      const core::URL base_url(core::String::fromUtf8(base));
      print_url("combined", base_url.combine(url));
      print_url("relative", url.getRelativeURL(base_url));
      std::printf("%-15s %d\n", "equals base", url.equal(base_url));
    }
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
  return 0;
}

}  // namespace

const Command kUrlCommand = {
    "url",
    "  url TEXT [--base URL] [--secure] [--idna to|from]\n"
    "                  the 22 parts of a URL with their marks, its predicates,\n"
    "                  normal form and, with --base, TEXT resolved against URL;\n"
    "                  --secure hides the password\n",
    &run_url};

}  // namespace coretool
