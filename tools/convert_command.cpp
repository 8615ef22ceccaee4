// coretool convert --from NAME --to NAME [--signature] [FILE]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

int run_convert(const Arguments& args) {
  std::string_view from, to, path;
  bool signature = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--from" && i + 1 < args.size()) {
      from = args[++i];
    } else if (args[i] == "--to" && i + 1 < args.size()) {
      to = args[++i];
    } else if (args[i] == "--signature") {
      signature = true;
    } else if (path.empty() && !args[i].starts_with("--")) {
      path = args[i];
    } else {
      return usage_error(kConvertCommand);
    }
  }
  if (from.empty() || to.empty()) return usage_error(kConvertCommand);
  std::string bytes;
  if (!read_input(path, bytes)) return 1;
  try {
    const core::Converter reader(core::String::fromUtf8(from));
    core::StreamConverterFromUnicode writer(core::String::fromUtf8(to));
    // A signature the input carries is not text.
    core::String detected;
    const size_t skip = core::Converter::detectUnicodeSignature(bytes, detected);
    core::String text = reader.widen(std::string_view(bytes).substr(
        skip != 0 && core::Converter::compareEncodingNames(detected, reader.name()) == 0 ? skip
                                                                                         : 0));
    if (signature && writer.signature() != nullptr) text = writer.signature() + text;
    std::string out(text.size() * writer.maxCharSize() + 16, '\0');
    const char16_t* source = text.data();
    char* target = out.data();
    writer.narrow(source, text.size(), target, out.size());
    const char16_t* flush = nullptr;
    writer.narrow(flush, 0, target, out.size() - static_cast<size_t>(target - out.data()));
    std::fwrite(out.data(), 1, static_cast<size_t>(target - out.data()), stdout);
    return 0;
  } catch (const core::ConverterException& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kConvertCommand = {
    "convert",
    "  convert --from NAME --to NAME [--signature] [FILE]\n"
    "                  converts FILE (standard input by default) between\n"
    "                  encodings to standard output; --signature writes a\n"
    "                  byte-order signature where the encoding has one\n",
    &run_convert};

}  // namespace coretool
