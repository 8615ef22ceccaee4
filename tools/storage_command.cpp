// coretool storage create|ls|cat|put|get|rm|mv|check|compact|dump CONTAINER
//                  [PATH] [FILE] [--variant 32|32-64|64]
#include <cstdio>
#include <filesystem>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

core::String text(std::string_view utf8) { return core::String::fromUtf8(utf8); }

// "2024-02-29 13:45:00" for the date's ticks.
std::string date_text(const core::Date& date) {
  const std::string digits = date.toString().toUtf8();  // yyyyMMddHHmmss
  if (digits.size() != 14) return digits;
  return digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6, 2) + " " +
         digits.substr(8, 2) + ":" + digits.substr(10, 2) + ":" + digits.substr(12, 2);
}

bool write_output(std::string_view path, const std::string& bytes) {
  if (path.empty() || path == "-") {
    return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
  }
  FILE* out = std::fopen(std::string(path).c_str(), "wb");
  if (out == nullptr) {
    std::fprintf(stderr, "coretool: cannot write %s\n", std::string(path).c_str());
    return false;
  }
  const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size();
  return std::fclose(out) == 0 && ok;
}

std::string read_stream(core::Storage& storage, const core::String& path) {
  core::InterfacePtr<core::IFile> in = storage.openStream(path, core::FileMode::Read);
  std::string bytes;
  char piece[65536];
  for (std::size_t got; (got = in->read(piece, sizeof piece)) > 0;) bytes.append(piece, got);
  return bytes;
}

int run_action(const std::string_view action, const core::URL& container,
               core::StorageVariant variant, const Arguments& rest) {
  const core::String path = rest.empty() ? core::String() : text(rest[0]);
  if (action == "create") {
    core::Storage::create(container, variant);
    return 0;
  }
  const bool writes = action == "put" || action == "rm" || action == "mv";
  core::InterfacePtr<core::Storage> storage = core::Storage::open(container, variant, writes);
  if (action == "ls") {
    for (const core::StorageEntryInfo& entry : storage->list(path)) {
      std::printf("%s %12llu  %s  %s%s\n", entry.is_storage ? "d" : "-",
                  static_cast<unsigned long long>(entry.size), date_text(entry.modified).c_str(),
                  entry.name.toUtf8().c_str(), entry.is_storage ? "/" : "");
    }
  } else if (action == "cat" || action == "get") {
    if (rest.empty()) return 2;
    if (!write_output(rest.size() > 1 ? rest[1] : "-", read_stream(*storage, path))) return 1;
  } else if (action == "put") {
    if (rest.empty()) return 2;
    std::string bytes;
    if (!read_input(rest.size() > 1 ? rest[1] : "-", bytes)) return 1;
    const std::u16string_view view(path);
    const std::size_t slash = view.find_last_of(u"/\\");
    if (slash != std::u16string_view::npos && slash > 0 &&
        !storage->exists(view.substr(0, slash))) {
      storage->createStorage(view.substr(0, slash));
    }
    core::InterfacePtr<core::IFile> out = storage->openStream(path, core::FileMode::Create);
    out->write(bytes.data(), bytes.size());
  } else if (action == "rm") {
    if (rest.empty()) return 2;
    storage->remove(path);
  } else if (action == "mv") {
    if (rest.size() < 2) return 2;
    storage->rename(path, text(rest[1]));
  } else if (action == "check") {
    const core::StorageCheckReport report = storage->check();
    for (const std::string& problem : report.problems) std::printf("%s\n", problem.c_str());
    std::printf("%llu entries, %llu blocks, %llu free blocks (%llu bytes), %llu bytes leaked: %s\n",
                static_cast<unsigned long long>(report.entries),
                static_cast<unsigned long long>(report.blocks),
                static_cast<unsigned long long>(report.free_blocks),
                static_cast<unsigned long long>(report.free_bytes),
                static_cast<unsigned long long>(report.leaked_bytes),
                report.problems.empty() ? "ok" : "PROBLEMS");
    return report.problems.empty() ? 0 : 1;
  } else if (action == "dump") {
    std::fputs(storage->dump().c_str(), stdout);
  } else if (action == "compact") {
    const core::URL temporary(container.text() + u".compact");
    storage->compactTo(temporary);
    storage.reset();
    core::SchemeRegistry::instance().move(temporary, container);
  } else {
    return 2;
  }
  return 0;
}

// A URL as given, or a path of this system (relative to the working
// directory) made a "file" URL.
core::URL container_url(std::string_view arg) {
  core::URL url(text(arg));
  if (!url.scheme().empty()) return url;
  return core::URL(text(std::filesystem::absolute(std::string(arg)).string()));
}

int run_storage(const Arguments& args) {
  Arguments rest;
  core::StorageVariant variant = core::StorageVariant::Storage64;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--variant" && i + 1 < args.size()) {
      const std::string_view value = args[++i];
      if (value == "32") {
        variant = core::StorageVariant::Storage32;
      } else if (value == "32-64") {
        variant = core::StorageVariant::Storage32_64;
      } else if (value == "64") {
        variant = core::StorageVariant::Storage64;
      } else {
        return usage_error(kStorageCommand);
      }
    } else {
      rest.push_back(args[i]);
    }
  }
  if (rest.size() < 2) return usage_error(kStorageCommand);
  try {
    const int code = run_action(rest[0], container_url(rest[1]), variant,
                                Arguments(rest.begin() + 2, rest.end()));
    return code == 2 ? usage_error(kStorageCommand) : code;
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kStorageCommand = {
    "storage",
    "  storage create|ls|cat|put|get|rm|mv|check|compact|dump CONTAINER [PATH] [FILE]\n"
    "          [--variant 32|32-64|64]   container files (default 64); put reads FILE or\n"
    "                                    standard input, get writes FILE or standard output,\n"
    "                                    mv takes the new path in place of FILE\n",
    run_storage};

}  // namespace coretool
