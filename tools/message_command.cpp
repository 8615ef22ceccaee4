// coretool message ID [--locale NAME] | message --list | message --count
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

int run(const Arguments& args) {
  if (args.size() == 1 && args.front() == "--list") {
    for (const std::string& id : core::core_message_identifiers()) std::printf("%s\n", id.c_str());
    return 0;
  }
  if (args.size() == 1 && args.front() == "--count") {
    std::printf("%zu\n", core::core_message_identifiers().size());
    return 0;
  }
  if (args.size() != 1 && !(args.size() == 3 && args[1] == "--locale")) {
    return usage_error(kMessageCommand);
  }
  const std::string id(args.front());
  if (args.size() == 3) {
    try {
      core::Thread::setLocale(core::Locale(core::String::fromUtf8(args[2])));
    } catch (const core::LocaleException& e) {
      return report_failure(e);
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

const Command kMessageCommand = {
    "message",
    "  message ID [--locale NAME]\n"
    "                  the text of the message ID in the locale NAME (the\n"
    "                  process default when omitted)\n"
    "  message --list  the identifiers of every message\n"
    "  message --count the number of message identifiers\n",
    &run};

}  // namespace coretool
