// core::URL, an immutable value holding the text of a locator.
//
//   core::URL url(u"file:///tmp/data.bin");
//   if (!url.empty()) use(url.text());
//
// Thread safety: an immutable value; safe to share between threads.
#ifndef CORE_URL_H_
#define CORE_URL_H_

#include "core/export.h"
#include "core/string.h"

namespace core {

class CORE_EXPORT URL {
 public:
  URL() noexcept = default;
  explicit URL(String text) noexcept;
  // A null pointer gives the empty URL.
  explicit URL(const char16_t* text);

  const String& text() const noexcept { return text_; }
  bool empty() const noexcept { return text_.empty(); }

  // URLs are equal when their texts are equal code unit for code unit.
  friend bool operator==(const URL&, const URL&) noexcept = default;

 private:
  String text_;
};

}  // namespace core

#endif  // CORE_URL_H_
