// Implements core/name.h: the rule for structure keys and parameter names.
#include "core/name.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace core {

bool is_valid_name(std::u16string_view name) noexcept {
  if (name.empty()) return false;
  std::size_t i = 0;
  while (i < name.size()) {
    const bool first = i == 0;
    UChar32 cp = name[i++];
    if (U16_IS_LEAD(cp) && i < name.size() && U16_IS_TRAIL(name[i])) {
      cp = U16_GET_SUPPLEMENTARY(cp, name[i++]);
    }
    if (cp != u'_' && !(first ? u_isalpha(cp) : u_isalnum(cp))) return false;
  }
  return true;
}

}  // namespace core
