// Validation of names: structure keys, parameter names and the like.
//
//   core::is_valid_name(u"Total_2");   // true
//   core::is_valid_name(u"2nd");       // false
//
// Thread safety: may be called from any thread.
#ifndef CORE_NAME_H_
#define CORE_NAME_H_

#include <string_view>

#include "core/export.h"

namespace core {

// True when `name` is non-empty, starts with a letter or "_" and goes on with
// letters, digits or "_". Letters are the code points of Unicode general
// category L, digits those of category Nd, so "Имя1" is a valid name. Surrogate pairs count as one
// character; an unpaired surrogate makes the name invalid.
CORE_EXPORT bool is_valid_name(std::u16string_view name) noexcept;

}  // namespace core

#endif  // CORE_NAME_H_
