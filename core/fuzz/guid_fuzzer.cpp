// GUID text parsing: parse and tryParse agree, bad text throws only the
// library's own exception, and a parsed GUID prints back as the input
// without braces, ignoring case.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/exception.h"
#include "core/guid.h"
#include "core/nocase.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::u16string units(size / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
  const std::u16string_view text(units);

  core::GUID id{};
  const bool ok = core::GUID::tryParse(text, id);
  try {
    if (core::GUID::parse(text) != id || !ok) std::abort();
  } catch (const core::Exception&) {
    if (ok) std::abort();
  }
  if (!ok) return 0;

  const core::String printed = id.toString();
  core::GUID back{};
  if (!core::GUID::tryParse(printed, back) || back != id) std::abort();
  const std::u16string_view bare = text.size() == 38 ? text.substr(1, 36) : text;
  if (core::compare_nocase(printed, bare) != 0) std::abort();
  return 0;
}
