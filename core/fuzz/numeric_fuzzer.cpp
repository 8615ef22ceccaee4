// Reads arbitrary bytes as decimal text, both as 8-bit and as UTF-16 units,
// and checks that what was read prints and reads back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/exception.h"
#include "core/numeric.h"

namespace {

void check_round_trip(const core::Numeric& n) {
  std::string text;
  n.toString(text);
  core::Numeric back;
  const char* end = nullptr;
  back.fromString(text.c_str(), &end);
  if (*end != '\0' || back.compare(n) != 0 || back.calculateChecksum(0) != n.calculateChecksum(0)) {
    std::abort();
  }
  const core::String wide = n.toString();
  if (wide != core::String::fromUtf8(text)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    std::string narrow(reinterpret_cast<const char*>(data), size);
    core::Numeric a;
    const char* end8 = nullptr;
    a.fromString(narrow.c_str(), &end8);
    if (end8 < narrow.c_str() || end8 > narrow.c_str() + size) std::abort();
    check_round_trip(a);

    std::vector<char16_t> wide(size / 2 + 1, u'\0');
    std::memcpy(wide.data(), data, size / 2 * 2);
    core::Numeric b;
    const char16_t* end16 = nullptr;
    b.fromString(wide.data(), &end16);
    if (end16 < wide.data() || end16 > wide.data() + size / 2) std::abort();
    check_round_trip(b);

    // What was read goes through the arithmetic without upsetting it.
    core::Numeric sum = a + b;
    if ((sum - b).compare(a) != 0) std::abort();
    if ((a - b).compare(-(b - a)) != 0) std::abort();
    const core::Numeric product = a * b;
    if (product.compare(b * a) != 0 ||
        product.calculateChecksum(0) != (b * a).calculateChecksum(0)) {
      std::abort();
    }
    check_round_trip(product);
    if (!b.zero()) {
      core::Numeric q = a / b;
      core::Numeric r = a % b;
      check_round_trip(q);
      check_round_trip(r);
    }
    core::Numeric rounded = a;
    rounded.round(static_cast<int>(size % 40) - 20, core::NumericRoundMode::HalfAwayFromZero);
    check_round_trip(rounded);
  } catch (const core::Exception&) {
  }
  return 0;
}
