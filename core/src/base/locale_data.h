// The shared, immutable data behind core::Locale.
#ifndef CORE_SRC_BASE_LOCALE_DATA_H_
#define CORE_SRC_BASE_LOCALE_DATA_H_

#include <unicode/locid.h>

#include "core/string.h"
#include "core/week_day.h"

namespace core::detail {

struct LocaleData {
  icu::Locale icu;
  String name;
  String language;
  String country;
  WeekDay first_day_of_week;
  String decimal_symbol;
  String group_symbol;
};

// The name of the process default locale when the environment selects
// `environment_name`: the POSIX locale ("C", "en_US_POSIX") and names the
// library has no data for become "en_US".
String default_locale_name(const char* environment_name);

// Frees the data of locales that no Locale holds any more (memory pressure);
// returns the bytes freed, as far as they are known.
size_t trim_locale_cache();

}  // namespace core::detail

#endif  // CORE_SRC_BASE_LOCALE_DATA_H_
