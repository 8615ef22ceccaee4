// The date readers: the digit form (both widths), the XML form and the ISO
// form never crash on any input, leave the empty date whenever they refuse,
// and what they accept prints back to an equal date.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/date.h"
#include "core/exception.h"

namespace {

void check_digit_form(const core::Date& date, bool ok, std::ptrdiff_t used, std::size_t length) {
  if (used < 0 || static_cast<std::size_t>(used) > length) std::abort();
  if (!ok && !date.isEmpty()) std::abort();
  if (ok && !date.isEmpty()) {
    core::Date back;
    if (!back.fromString(date.toString().c_str()) || back.ticks() != date.ticks()) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    // The 8-bit reader takes the bytes up to the first zero.
    const std::string narrow(reinterpret_cast<const char*>(data), size);
    core::Date date(1);
    const char* narrow_end = nullptr;
    bool ok = date.fromString(narrow.c_str(), &narrow_end);
    check_digit_form(date, ok, narrow_end - narrow.c_str(), narrow.size());

    std::u16string units(size / 2, u'\0');
    if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    const char16_t* end = nullptr;
    ok = date.fromString(units.c_str(), &end);
    check_digit_form(date, ok, end - units.c_str(), units.size());

    const std::u16string_view text(units);
    for (int form = 0; form < 2; ++form) {
      core::Date read(1);
      ok = form == 0 ? read.fromXMLString(text) : read.fromISOString(text);
      if (!ok && !read.isEmpty()) std::abort();
      if (ok) {
        if (!read.isValid()) std::abort();
        core::Date back;
        const core::Date whole(read.ticks() - read.ticks() % core::Date::kTicksPerSecond);
        if (!back.fromXMLString(read.toXMLString()) || back.ticks() != whole.ticks()) {
          std::abort();
        }
      }
    }
  } catch (const core::Exception&) {
  }
  return 0;
}
