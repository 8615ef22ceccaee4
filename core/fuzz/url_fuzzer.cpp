// Parses arbitrary UTF-16 text as a URL and checks the invariants of the
// marks, the percent-coding round trip and that resolution, normal form and
// host conversion either succeed or throw the library's own exceptions.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/exception.h"
#include "core/url.h"

namespace {

void check_marks(const core::URL& url) {
  const core::URL::Marks& marks = url.marks();
  const std::size_t size = url.text().size();
  for (std::size_t i = 0; i + 1 < core::URL::kMarkCount; ++i) {
    if (marks[i] > marks[i + 1]) std::abort();
  }
  if (!url.empty() && marks[core::URL::kPartCount] != size) std::abort();
  core::String joined;
  for (std::size_t i = 0; i < core::URL::kPartCount; ++i) joined += url.part(i, 1);
  const std::u16string_view text = url.text();
  if (std::u16string_view(joined) !=
      text.substr(marks[0], marks[core::URL::kPartCount] - marks[0])) {
    std::abort();
  }
}

// Runs `step`; only the library's own exceptions may leave it.
template <class Step>
void guarded(Step step) {
  try {
    step();
  } catch (const core::Exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char16_t> units(size / 2);
  if (!units.empty()) std::memcpy(units.data(), data, units.size() * 2);
  const core::String text(units.data(), units.size());

  const core::URL url(text, false);
  check_marks(url);
  check_marks(core::URL(text));
  if (url.text() != text) std::abort();

  const std::u16string_view reserved = u"/\\;?*:@&=[]#";
  if (core::URL::unescape(core::URL::escape(text, reserved)) != text) std::abort();
  (void)core::URL::unescape(text);

  const core::URL base(u"http://a/b/c/d;p?q");
  guarded([&] { check_marks(base.combine(url)); });
  guarded([&] { check_marks(url.combinePath(base)); });
  guarded([&] { check_marks(url.normalize()); });
  guarded([&] { check_marks(url.getRelativeURL(base)); });
  guarded([&] { check_marks(url.toIDNA()); });
  guarded([&] { (void)url.securePresentation(); });
  (void)url.equal(base);
  return 0;
}
