// UTF-8 decoding and encoding of String: decoding never fails, re-decoding
// its own output gives the same text, and well-formed input survives the
// round trip byte for byte. Any code units, surrogates included, encode to
// UTF-8 that decodes to the same number of units.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/string.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const core::String decoded = core::String::fromUtf8(bytes);
  const std::string encoded = decoded.toUtf8();
  if (core::String::fromUtf8(encoded) != decoded) std::abort();
  if (decoded.find(u'\uFFFD') == core::String::npos && encoded != bytes) std::abort();

  std::u16string units(size / 2, u'\0');
  if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
  const core::String text(units);
  const core::String again = core::String::fromUtf8(text.toUtf8());
  if (again.size() != text.size()) std::abort();
  return 0;
}
