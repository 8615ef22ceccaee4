// Formats a number, a date and a boolean under an arbitrary format string.
// Only a bad locale name in the number branch may throw; everything else
// must give text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/exception_classes.h"
#include "core/formats.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char16_t> text(size / 2 + 1, u'\0');
  std::memcpy(text.data(), data, size / 2 * 2);
  const core::String format_string(text.data());
  try {
    (void)core::format(core::Numeric(-1234567.891), format_string);
    (void)core::format(core::Numeric(0), format_string);
  } catch (const core::LocaleException&) {
  } catch (const core::Exception&) {
    std::abort();
  }
  try {
    (void)core::format(core::Date(2024, 3, 1, 15, 5, 7), format_string);
    (void)core::format(core::Date(), format_string);
    (void)core::format(true, format_string);
    (void)core::format(false, format_string);
    (void)core::canonical_format(format_string);
    (void)core::get_locale_name_from_format(format_string);
    (void)core::DateFormat::parseQ9Pattern(format_string);
  } catch (const core::Exception&) {
    std::abort();
  }
  return 0;
}
