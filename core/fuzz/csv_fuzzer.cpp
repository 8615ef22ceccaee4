// Reads the input, as UTF-8, as comma-separated values to the end. Only the
// library's own exceptions may escape, and every record read must consume
// text: a reader that stops advancing would hang.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "core/csv.h"
#include "core/exception.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const core::String text =
      core::String::fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
  core::CsvReader reader(text);
  std::vector<core::String> fields;
  std::size_t records = 0;
  try {
    while (reader.next(fields)) {
      if (++records > text.size() + 1) std::abort();
    }
  } catch (const core::Exception&) {
  }
  return 0;
}
