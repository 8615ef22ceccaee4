// The commands of coretool. Each command lives in a file of its own and is
// listed in main.cpp's table.
#ifndef CORE_TOOLS_COMMAND_H_
#define CORE_TOOLS_COMMAND_H_

#include <string>
#include <string_view>
#include <vector>

#include "core/exception.h"

namespace coretool {

using Arguments = std::vector<std::string_view>;

struct Command {
  const char* name;
  // The command's lines of the usage text, each indented by two spaces.
  const char* usage;
  // Runs the command with the arguments after its name; returns the exit
  // code: 0 on success, 1 when the input was refused, 2 on a usage error.
  int (*run)(const Arguments& args);
};

// Prints the command's usage to standard error and returns 2.
int usage_error(const Command& command);

// Prints the description of `e` to standard error and returns 1, the exit
// code of refused input.
int report_failure(const core::Exception& e);

// Reads the whole of `path` ("-" or empty: standard input) into `bytes`.
// When it cannot be read, says so on standard error and returns false.
[[nodiscard]] bool read_input(std::string_view path, std::string& bytes);

extern const Command kCalcCommand;
extern const Command kCallCommand;
extern const Command kConvertCommand;
extern const Command kDateCommand;
extern const Command kDetectCommand;
extern const Command kFormatCommand;
extern const Command kListCommand;
extern const Command kLocaleCommand;
extern const Command kMessageCommand;
extern const Command kMethodsCommand;
extern const Command kParamsCommand;
extern const Command kStorageCommand;
extern const Command kTableCommand;
extern const Command kUrlCommand;
extern const Command kValueCommand;
extern const Command kZonesCommand;

}  // namespace coretool

#endif  // CORE_TOOLS_COMMAND_H_
