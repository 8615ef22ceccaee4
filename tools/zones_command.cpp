// coretool zones
#include <cstdio>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

int run(const Arguments& args) {
  if (!args.empty()) return usage_error(kZonesCommand);
  for (const core::String& id : core::TimeZone::availableTimeZones()) {
    std::printf("%s\n", id.toUtf8().c_str());
  }
  return 0;
}

}  // namespace

const Command kZonesCommand = {
    "zones", "  zones           the identifiers of the time zones the library offers\n", &run};

}  // namespace coretool
