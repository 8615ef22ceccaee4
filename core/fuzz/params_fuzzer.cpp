// Reads arbitrary UTF-16 text with both parameter-string readers and checks
// that what they deliver is consistent: every pair the table holds can be
// looked up, and pairs written back by ParamsWriter read back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "core/exception.h"
#include "core/nocase.h"
#include "core/params.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    std::vector<char16_t> text(size / 2 + 1, u'\0');
    std::memcpy(text.data(), data, size / 2 * 2);

    const core::ParamsWString table(core::String(text.data(), size / 2));
    std::vector<core::String> names;
    table.names(names);
    if (names.size() != table.paramsCount()) std::abort();
    for (std::size_t i = 0; i < names.size(); ++i) {
      core::String value;
      if (!table.param(names[i], value)) std::abort();
      if (i > 0 && core::compare_nocase(names[i - 1], names[i]) >= 0) std::abort();
    }

    std::vector<std::pair<core::String, core::String>> pairs;
    core::ParamsIterator it(text.data());
    while (it.next()) {
      if (it.name().empty()) std::abort();
      pairs.emplace_back(it.name(), it.value());
    }
    if (it.next()) std::abort();

    // Pairs with names the writer accepts read back unchanged.
    core::ParamsWriter writer;
    std::vector<std::pair<core::String, core::String>> written;
    for (const auto& [name, value] : pairs) {
      try {
        writer.add(name, value);
        written.emplace_back(name, value);
      } catch (const core::Exception&) {
        // Names beginning with a digit are refused.
      }
    }
    core::ParamsIterator back(writer.str().c_str());
    for (const auto& [name, value] : written) {
      if (!back.next() || back.name() != name || back.value() != value) std::abort();
    }
    if (back.next()) std::abort();
  } catch (const core::Exception&) {
  }
  return 0;
}
