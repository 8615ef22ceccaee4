// coretool detect FILE
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

int run_detect(const Arguments& args) {
  if (args.size() != 1) return usage_error(kDetectCommand);
  std::string bytes;
  if (!read_input(args.front(), bytes)) return 1;
  core::String name;
  const size_t length = core::Converter::detectUnicodeSignature(bytes, name);
  if (length != 0) {
    std::printf("signature: %s (%zu bytes)\n", name.toUtf8().c_str(), length);
  } else {
    std::printf("signature: none\n");
  }
  std::printf("guess:     %s\n", core::guess_encoding(bytes).toUtf8().c_str());
  return 0;
}

}  // namespace

const Command kDetectCommand = {
    "detect",
    "  detect FILE     the byte-order signature of FILE and a guess of its\n"
    "                  encoding\n",
    &run_detect};

}  // namespace coretool
