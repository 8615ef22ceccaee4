// Implements core/url.h: the locator text.
#include "core/url.h"

#include <utility>

namespace core {

URL::URL(String text) noexcept : text_(std::move(text)) {}

URL::URL(const char16_t* text) : text_(text) {}

}  // namespace core
