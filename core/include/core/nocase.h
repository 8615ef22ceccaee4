// Case-insensitive comparison and hashing of UTF-16 text.
//
// Two texts are equal ignoring case when their full Unicode case foldings
// are equal ("Straße" equals "STRASSE", "Ёлка" equals "ЁЛКА"). Texts are
// ordered by their foldings compared code unit by code unit. Latin and
// Cyrillic text takes a fast path; the rest of Unicode is handled too.
//
//   std::map<core::String, int, core::OrderNocase> table;
//   table[u"Count"] = 1;
//   bool found = table.contains(u"COUNT");   // true
//
// Thread safety: every function here may be called from any thread.
#ifndef CORE_NOCASE_H_
#define CORE_NOCASE_H_

#include <cstddef>
#include <string_view>

#include "core/export.h"

namespace core {

// Returns a negative number, 0 or a positive number as `a` orders before,
// equal to or after `b` ignoring case. Unpaired surrogates compare as
// themselves.
CORE_EXPORT int compare_nocase(std::u16string_view a, std::u16string_view b) noexcept;

// A hash of the case folding of `text`: texts that compare_nocase finds equal
// hash equal.
CORE_EXPORT std::size_t hash_nocase(std::u16string_view text) noexcept;

// A transparent "less" for ordered containers keyed by text ignoring case.
// Accepts String, std::u16string_view and const char16_t* alike.
struct OrderNocase {
  using is_transparent = void;
  bool operator()(std::u16string_view a, std::u16string_view b) const noexcept {
    return compare_nocase(a, b) < 0;
  }
};

}  // namespace core

#endif  // CORE_NOCASE_H_
