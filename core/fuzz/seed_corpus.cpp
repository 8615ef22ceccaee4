// Writes the seed corpora of the fuzz targets from the test data tables, so
// that fuzzing starts from the inputs the unit tests already know to matter:
//
//   seed_corpus DATA_DIR OUT_DIR
//
// makes OUT_DIR/<target>/ for each seeded target (emptied first) and fills it
// with one file per input, in the byte form the target reads: UTF-16 in host
// order for the text readers, 8-bit text for the number and date readers,
// the binary brace-list encoding for the binary reader.
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "core/collections.h"
#include "core/date.h"
#include "core/exception.h"
#include "core/io.h"
#include "core/list_stream.h"
#include "core/numeric.h"
#include "core/persistence.h"
#include "core/value.h"

namespace {

namespace fs = std::filesystem;

// The inputs of each target, in the order found.
using Corpus = std::map<std::string, std::vector<std::string>>;

std::string utf16_bytes(const core::String& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

// A field of a data table as text: UTF-8 with the escapes the tables use
// (\\, \t, \n, \r, \s for a space, \uXXXX). Seeds need not be exact, so one
// reader serves every table.
core::String unescape(std::string_view field) {
  std::string utf8;
  for (std::size_t i = 0; i < field.size(); ++i) {
    const char next = i + 1 < field.size() ? field[i + 1] : '\0';
    if (field[i] != '\\') {
      utf8 += field[i];
      continue;
    }
    switch (next) {
      case '\\':
        utf8 += '\\';
        break;
      case 't':
        utf8 += '\t';
        break;
      case 'n':
        utf8 += '\n';
        break;
      case 'r':
        utf8 += '\r';
        break;
      case 's':
        utf8 += ' ';
        break;
      case 'u':
        if (i + 5 < field.size()) {
          const char16_t unit[2] = {
              static_cast<char16_t>(std::stoul(std::string(field.substr(i + 2, 4)), nullptr, 16)),
              0};
          utf8 += core::String(unit).toUtf8();
          i += 4;
          break;
        }
        [[fallthrough]];
      default:
        utf8 += field[i];
        continue;
    }
    ++i;
  }
  return core::String::fromUtf8(utf8);
}

std::vector<std::string> read_lines(const fs::path& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  }
  return lines;
}

std::vector<std::string_view> split(std::string_view line, std::string_view separator) {
  std::vector<std::string_view> fields;
  for (std::size_t at; (at = line.find(separator)) != std::string_view::npos;) {
    fields.push_back(line.substr(0, at));
    line.remove_prefix(at + separator.size());
  }
  fields.push_back(line);
  return fields;
}

// The binary encoding of a brace-list text; empty when the text does not
// read.
std::string to_binary(const core::String& text) {
  core::InterfacePtr<core::IReader> reader(new core::StringReader(text));
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  core::ListInStream in(reader.get());
  core::ListOutStream out(file.get());
  try {
    core::copy_list_stream(in, out);
    out.close();
  } catch (const core::Exception&) {
    return {};
  }
  return file->bytes();
}

// The stored forms of `value`, text and binary, as the value reader takes
// them: a first byte saying which, then the encoding.
void add_value(Corpus& corpus, const core::Value& value) {
  core::InterfacePtr<core::StringWriter> text(new core::StringWriter);
  core::InterfacePtr<core::ListOutPersistenceStorage> text_storage(
      new core::ListOutPersistenceStorage(core::ListOutStream(text.get())));
  value.serialize(text_storage.get());
  text_storage->writer().close();
  corpus["value_deserialize_fuzzer"].push_back('\0' + utf16_bytes(text->str()));

  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  core::InterfacePtr<core::ListOutPersistenceStorage> binary_storage(
      new core::ListOutPersistenceStorage(core::ListOutStream(file.get())));
  value.serialize(binary_storage.get());
  binary_storage->writer().close();
  corpus["value_deserialize_fuzzer"].push_back('\1' + file->bytes());
}

// list_text.txt: the texts of "text" lines and of "accept" / "reject" cases.
void add_list_texts(Corpus& corpus, const fs::path& data) {
  for (const std::string& line : read_lines(data / "list_text.txt")) {
    std::string_view text;
    if (line.starts_with("text ")) {
      text = std::string_view(line).substr(5);
    } else if (line.starts_with("accept ") || line.starts_with("reject ")) {
      const auto fields = split(line, " | ");
      if (fields.size() != 2) continue;
      text = fields[1];
    } else {
      continue;
    }
    const core::String unescaped = unescape(text);
    corpus["list_text_fuzzer"].push_back(utf16_bytes(unescaped));
    if (std::string binary = to_binary(unescaped); !binary.empty()) {
      corpus["list_binary_fuzzer"].push_back(std::move(binary));
    }
  }
}

// params.txt: the strings of "text" lines.
void add_params(Corpus& corpus, const fs::path& data) {
  for (const std::string& line : read_lines(data / "params.txt")) {
    if (line == "text" || line.starts_with("text ")) {
      corpus["params_fuzzer"].push_back(
          utf16_bytes(unescape(std::string_view(line).substr(line.size() > 4 ? 5 : 4))));
    }
  }
}

// The collections target: `values` held in every kind of collection, as
// the brace-list text it reads after an odd first byte (UTF-8); and, after
// an even one, a run of calls of each method of each pooled collection
// with a Number and a String argument.
void add_collections(Corpus& corpus, const std::vector<core::Value>& values) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4}, values.size()}) {
    const core::InterfacePtr<core::Array> array = core::create_array();
    const core::InterfacePtr<core::Map> map = core::create_map();
    const core::InterfacePtr<core::Structure> structure = core::create_structure();
    for (std::size_t i = 0; i < size && i < values.size(); ++i) {
      array->add(values[i]);
      map->insert(values[i], core::Value(static_cast<int>(i)));
      structure->insert(core::Value(core::String::fromUtf8("Field" + std::to_string(i))),
                        values[i]);
    }
    const core::Value pair(
        core::create_key_and_value(core::Value(array.get()), core::Value(map.get())).get());
    for (const core::Value& collection :
         {core::Value(array.get()), core::Value(core::create_fixed_array(*array).get()),
          core::Value(map.get()), core::Value(core::create_fixed_map(*map).get()),
          core::Value(structure.get()), core::Value(core::create_fixed_structure(*structure).get()),
          pair}) {
      core::String text;
      collection.toString(text);
      corpus["collections_fuzzer"].push_back('\1' + text.toUtf8());
    }
  }
  // Steps: operation 0 (a call), the pooled collection, two arguments (a
  // Number 5, the text "Name"), the method.
  constexpr int kPoolTypes = 7;
  constexpr int kMethods = 10;
  for (int target = 0; target < kPoolTypes; ++target) {
    std::string calls(1, '\0');
    for (int method = 0; method < kMethods; ++method) {
      calls += {'\0', static_cast<char>(target), '\2', '\0', '\x69', '\2',
                '\0', static_cast<char>(method)};
    }
    corpus["collections_fuzzer"].push_back(calls);
  }
}

// formats.txt: the format strings, the numbers and dates formatted, and the
// expected texts as UTF-8; the numbers and texts held in collections too.
void add_formats(Corpus& corpus, const fs::path& data) {
  std::vector<core::Value> held;
  for (const std::string& line : read_lines(data / "formats.txt")) {
    const auto fields = split(line, " | ");
    if (fields.size() != 5) continue;
    const std::string value(fields[2]);
    corpus["format_fuzzer"].push_back(utf16_bytes(unescape(fields[3])));
    corpus["utf8_fuzzer"].push_back(unescape(fields[4]).toUtf8());
    if (fields[0] == "number") {
      corpus["numeric_fuzzer"].push_back(value);
      core::Numeric number;
      const char* end = nullptr;
      number.fromString(value.c_str(), &end);
      if (end != nullptr && *end == '\0') {
        add_value(corpus, core::Value(number));
        held.emplace_back(number);
      }
    } else if (fields[0] == "date" && value != "empty") {
      corpus["date_fuzzer"].push_back(value);
      corpus["date_fuzzer"].push_back(utf16_bytes(core::String::fromUtf8(value)));
      core::Date date;
      if (date.fromString(value.c_str())) add_value(corpus, core::Value(date));
    }
    add_value(corpus, core::Value(unescape(fields[3])));
    held.emplace_back(unescape(fields[4]));
  }
  constexpr std::size_t kHeld = 24;
  if (held.size() > kHeld) held.resize(kHeld);
  add_collections(corpus, held);
}

// urls.txt: the parts joined; urls_combine.txt: the bases and references.
void add_urls(Corpus& corpus, const fs::path& data) {
  for (const std::string& line : read_lines(data / "urls.txt")) {
    core::String text;
    for (const std::string_view part : split(line, "|")) text += unescape(part);
    corpus["url_fuzzer"].push_back(utf16_bytes(text));
  }
  for (const std::string& line : read_lines(data / "urls_combine.txt")) {
    for (const std::string_view field : split(line, "\t")) {
      corpus["url_fuzzer"].push_back(utf16_bytes(unescape(field)));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  try {
    const fs::path data(argv[1]);
    const fs::path out(argv[2]);
    Corpus corpus;
    add_list_texts(corpus, data);
    add_params(corpus, data);
    add_formats(corpus, data);
    add_urls(corpus, data);
    for (const auto& [target, inputs] : corpus) {
      const fs::path dir = out / target;
      fs::remove_all(dir);
      fs::create_directories(dir);
      for (std::size_t i = 0; i < inputs.size(); ++i) {
        std::ofstream file(dir / std::to_string(i), std::ios::binary);
        file.write(inputs[i].data(), static_cast<std::streamsize>(inputs[i].size()));
        if (!file) throw std::runtime_error("cannot write " + (dir / std::to_string(i)).string());
      }
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s: %s\n", argv[0], e.what());
    return 1;
  } catch (const core::Exception& e) {
    std::fprintf(stderr, "%s: %s\n", argv[0], e.descr().toUtf8().c_str());
    return 1;
  }
  return 0;
}
