// coretool: the command-line face of the library, for trying its parts by
// hand and for the demo.
#include <cstdio>
#include <string>
#include <string_view>

#include "command.h"

namespace coretool {
namespace {

const Command* const kCommands[] = {
    &kCalcCommand,    &kCallCommand,    &kConvertCommand, &kDateCommand,
    &kDetectCommand,  &kFormatCommand,  &kListCommand,    &kLocaleCommand,
    &kMessageCommand, &kMethodsCommand, &kParamsCommand,  &kStorageCommand,
    &kTableCommand,   &kUrlCommand,     &kValueCommand,   &kZonesCommand};

void print_usage(std::FILE* out) {
  std::fputs("usage: coretool COMMAND [ARGUMENTS]\n\ncommands:\n", out);
  for (const Command* command : kCommands) std::fputs(command->usage, out);
  std::fputs("  --help          this text\n", out);
}

}  // namespace

bool read_input(std::string_view path, std::string& bytes) {
  std::FILE* file =
      path.empty() || path == "-" ? stdin : std::fopen(std::string(path).c_str(), "rb");
  bool ok = file != nullptr;
  if (ok) {
    char buffer[64 * 1024];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, count);
    ok = !std::ferror(file);
    if (file != stdin) std::fclose(file);
  }
  if (!ok) {
    std::fprintf(stderr, "coretool: cannot read \"%.*s\"\n", static_cast<int>(path.size()),
                 path.data());
  }
  return ok;
}

int report_failure(const core::Exception& e) {
  std::fprintf(stderr, "coretool: %s\n", e.descr().toUtf8().c_str());
  return 1;
}

int usage_error(const Command& command) {
  std::fprintf(stderr, "usage: coretool\n%s", command.usage);
  return 2;
}

}  // namespace coretool

int main(int argc, char** argv) {
  using coretool::kCommands;
  if (argc < 2) {
    coretool::print_usage(stderr);
    return 2;
  }
  const std::string_view name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    coretool::print_usage(stdout);
    return 0;
  }
  const coretool::Arguments args(argv + 2, argv + argc);
  for (const coretool::Command* command : kCommands) {
    if (name == command->name) return command->run(args);
  }
  std::fprintf(stderr, "coretool: unknown command \"%s\"\n\n", argv[1]);
  coretool::print_usage(stderr);
  return 2;
}
