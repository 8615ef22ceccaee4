// coretool params "TEXT" [NAME...]
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

void print_pair(const core::String& name, const core::String& value) {
  std::printf("  %s=%s\n", name.toUtf8().c_str(), core::quote_param_value(value).toUtf8().c_str());
}

int run(const Arguments& args) {
  if (args.empty()) return usage_error(kParamsCommand);
  const core::String text = core::String::fromUtf8(args[0]);

  const core::ParamsWString table(text);
  std::vector<core::String> names;
  table.names(names);
  std::printf("table (%zu):\n", names.size());
  for (const core::String& name : names) print_pair(name, table.param(name));

  std::printf("pairs one by one:\n");
  core::ParamsIterator pairs(text.c_str());
  while (pairs.next()) print_pair(pairs.name(), pairs.value());

  const core::ParametersMap map(table);
  int status = 0;
  for (std::size_t i = 1; i < args.size(); ++i) {
    core::Value value;
    core::String shown;
    if (map.parameter(core::String::fromUtf8(args[i]), value) && value.getString(shown)) {
      std::printf("%.*s -> %s\n", static_cast<int>(args[i].size()), args[i].data(),
                  shown.toUtf8().c_str());
    } else {
      std::printf("%.*s -> absent\n", static_cast<int>(args[i].size()), args[i].data());
      status = 1;
    }
  }
  return status;
}

}  // namespace

const Command kParamsCommand = {
    "params",
    "  params \"TEXT\" [NAME...]\n"
    "                  the pairs of a parameter string as the table and the\n"
    "                  pair-by-pair reader see them, and the value of each NAME\n"
    "                  (case ignored) in a parameters map of the table\n",
    &run};

}  // namespace coretool
