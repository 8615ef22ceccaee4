// coretool list (--to-binary | --to-text | --pretty | --check) [FILE]
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {

namespace {

// Text documents begin with "{" (after white space or a byte-order mark); a
// binary document never does, since its first token cannot carry the end
// flag that "{" (0x7B) has.
bool looks_like_text(const std::string& bytes) {
  std::size_t i = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
  while (i < bytes.size() &&
         (bytes[i] == ' ' || bytes[i] == '\t' || bytes[i] == '\r' || bytes[i] == '\n')) {
    ++i;
  }
  return i < bytes.size() && bytes[i] == '{';
}

// One element a line, indented by two spaces a level. Line breaks outside
// quoted strings are the writer's own (or inside Base64 text), so they are
// dropped and placed anew.
std::u16string pretty(std::u16string_view text) {
  std::u16string out;
  int indent = 0;
  auto newline = [&] {
    out.push_back(u'\n');
    out.append(static_cast<std::size_t>(2 * (indent > 0 ? indent : 0)), u' ');
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (c == u'"') {
      out.push_back(c);
      for (++i; i < text.size(); ++i) {
        out.push_back(text[i]);
        if (text[i] != u'"') continue;
        if (i + 1 < text.size() && text[i + 1] == u'"') {
          out.push_back(text[++i]);
        } else if (i + 1 < text.size() && text[i + 1] == u'\\') {
          continue;  // an escaped code unit; the string goes on
        } else {
          break;
        }
      }
    } else if (c == u'{') {
      out.push_back(c);
      ++indent;
      newline();
    } else if (c == u'}') {
      --indent;
      newline();
      out.push_back(c);
    } else if (c == u',') {
      out.push_back(c);
      newline();
    } else if (c != u'\n' && c != u'\r') {
      out.push_back(c);
    }
  }
  out.push_back(u'\n');
  return out;
}

int run(const Arguments& args) {
  std::string_view mode;
  std::string_view path;
  for (const std::string_view arg : args) {
    if (arg == "--to-binary" || arg == "--to-text" || arg == "--pretty" || arg == "--check") {
      if (!mode.empty()) return usage_error(kListCommand);
      mode = arg;
    } else if (path.empty() && (!arg.starts_with("--") || arg == "-")) {
      path = arg;
    } else {
      return usage_error(kListCommand);
    }
  }
  if (mode.empty()) return usage_error(kListCommand);
  std::string bytes;
  if (!read_input(path, bytes)) return 1;
  const bool text = mode == "--to-binary" || (mode != "--to-text" && looks_like_text(bytes));
  core::InterfacePtr<core::MemoryFile> source(new core::MemoryFile(bytes));
  core::InterfacePtr<core::IReader> reader(new core::Utf8FileReader(source.get()));
  core::ListInStream in =
      text ? core::ListInStream(reader.get()) : core::ListInStream(source.get());

  core::InterfacePtr<core::MemoryFile> binary(new core::MemoryFile);
  core::InterfacePtr<core::StringWriter> writer(new core::StringWriter);
  core::ListOutStream out =
      mode == "--to-binary" ? core::ListOutStream(binary.get()) : core::ListOutStream(writer.get());
  try {
    core::copy_list_stream(in, out);
    out.close();
  } catch (const core::ListStreamException& e) {
    std::fprintf(stderr, "coretool: %s at %s %llu: %s\n", text ? "text" : "binary",
                 text ? "character" : "byte", static_cast<unsigned long long>(in.position()),
                 e.descr().toUtf8().c_str());
    return 1;
  }
  if (mode == "--check") {
    std::printf("ok: %s, %zu bytes\n", text ? "text" : "binary", bytes.size());
  } else if (mode == "--to-binary") {
    std::fwrite(binary->bytes().data(), 1, binary->bytes().size(), stdout);
  } else {
    const std::u16string result = mode == "--pretty" ? pretty(writer->text()) : writer->text();
    const std::string utf8 = core::String(std::u16string_view(result)).toUtf8();
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
    if (mode == "--to-text") std::fputc('\n', stdout);
  }
  return 0;
}

}  // namespace

const Command kListCommand = {
    "list",
    "  list --to-binary [FILE]  brace-list text (UTF-8) to the binary encoding\n"
    "  list --to-text [FILE]    the binary encoding to text\n"
    "  list --pretty [FILE]     text or binary as indented text, one element a line\n"
    "  list --check [FILE]      validates text or binary; on an error, reports its\n"
    "                           offset (characters of text, bytes of binary)\n"
    "                           FILE \"-\" or omitted: standard input\n",
    &run};

}  // namespace coretool
