// Implements core/locale.h: validated locale names and the cache of their data.
#include "core/locale.h"

#include <unicode/calendar.h>
#include <unicode/dcfmtsym.h>

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/locale_data.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "internal/icu.h"

namespace core {
namespace {

// Locale names are ASCII; anything else cannot name a locale.
bool to_ascii(const String& name, std::string& out) {
  out.clear();
  out.reserve(name.size());
  for (char16_t c : std::u16string_view(name)) {
    if (c == 0 || c > 0x7F) return false;
    out.push_back(static_cast<char>(c));
  }
  return true;
}

// The canonical names of the locales ICU has data for, read once.
const std::unordered_set<std::string>& available_locales() {
  static const auto* const names = [] {
    auto* set = new std::unordered_set<std::string>;
    int32_t count = 0;
    const icu::Locale* locales = icu::Locale::getAvailableLocales(count);
    for (int32_t i = 0; i < count; ++i) set->insert(locales[i].getName());
    return set;
  }();
  return *names;
}

// False when ICU has no calendar for the locale.
bool first_day_of_week(const icu::Locale& locale, WeekDay& out) {
  detail::IcuStatus status;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, status));
  if (status.isFailure()) return false;
  const UCalendarDaysOfWeek day = calendar->getFirstDayOfWeek(status);
  if (status.isFailure()) return false;
  // ICU counts from Sunday = 1; the library from Monday = 1.
  out = day == UCAL_SUNDAY ? WeekDay::Sunday : static_cast<WeekDay>(day - 1);
  return true;
}

// The data of `locale`, or null when ICU cannot give it.
std::shared_ptr<const detail::LocaleData> make_data(const icu::Locale& locale) {
  detail::IcuStatus status;
  icu::DecimalFormatSymbols symbols(locale, status);
  WeekDay first_day = WeekDay::Monday;
  if (status.isFailure() || !first_day_of_week(locale, first_day)) return nullptr;
  return std::make_shared<const detail::LocaleData>(detail::LocaleData{
      locale,
      String::fromUtf8(locale.getName()),
      String::fromUtf8(locale.getLanguage()),
      String::fromUtf8(locale.getCountry()),
      first_day,
      detail::from_icu(symbols.getConstSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol)),
      detail::from_icu(symbols.getConstSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol)),
  });
}

// Locale data is built once per canonical name and shared by every Locale of
// that name: reading ICU's calendar and symbol data costs far more than a
// lookup.
class LocaleCache {
 public:
  // Throws LocaleException for a bad name.
  std::shared_ptr<const detail::LocaleData> find(const String& name) {
    auto data = tryFind(name);
    if (!data) throw LocaleException(name);
    return data;
  }

  // Null for a bad name. Throws nothing of its own, so that the process
  // default can be found while the thread that asks has no settings yet
  // (building an exception would need them).
  std::shared_ptr<const detail::LocaleData> tryFind(const String& name) {
    std::string ascii;
    if (!to_ascii(name, ascii) || ascii.empty()) return nullptr;
    const icu::Locale locale(ascii.c_str());
    if (locale.isBogus() || locale.getLanguage()[0] == '\0') return nullptr;

    const std::string canonical = locale.getName();
    {
      std::lock_guard<std::mutex> lock(mutex_);
      auto it = entries_.find(canonical);
      if (it != entries_.end()) return it->second;
    }
    const auto& available = available_locales();
    if (available.count(canonical) == 0 && available.count(locale.getLanguage()) == 0) {
      return nullptr;
    }
    auto data = make_data(locale);
    if (!data) return nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_.emplace(canonical, std::move(data)).first->second;
  }

  // Forgets the data no Locale holds any more; returns the bytes freed, as
  // far as they are known.
  size_t trim() {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::erase_if(entries_,
                         [](const auto& entry) { return entry.second.use_count() == 1; }) *
           sizeof(detail::LocaleData);
  }

 private:
  std::mutex mutex_;
  std::unordered_map<std::string, std::shared_ptr<const detail::LocaleData>> entries_;
};

LocaleCache& cache() {
  static auto* const instance = new LocaleCache;
  return *instance;
}

struct ProcessDefault {
  std::mutex mutex;
  std::shared_ptr<const detail::LocaleData> data =
      cache().find(detail::default_locale_name(icu::Locale::getDefault().getName()));
};

ProcessDefault& process_default() {
  static auto* const instance = new ProcessDefault;
  return *instance;
}

}  // namespace

namespace detail {

size_t trim_locale_cache() { return cache().trim(); }

String default_locale_name(const char* environment_name) {
  const std::string_view name(environment_name);
  if (name != "en_US_POSIX" && name != "C" && name != "c" && name != "POSIX") {
    // An environment locale without data gets the library's own default.
    if (auto data = cache().tryFind(String::fromUtf8(name))) return data->name;
  }
  return String(u"en_US");
}

}  // namespace detail

Locale::Locale() : Locale(processDefault()) {}

Locale::Locale(const String& name) : data_(cache().find(name)) {}

const String& Locale::name() const noexcept { return data_->name; }
const String& Locale::language() const noexcept { return data_->language; }
const String& Locale::country() const noexcept { return data_->country; }
WeekDay Locale::firstDayOfWeek() const noexcept { return data_->first_day_of_week; }
const String& Locale::decimalSymbol() const noexcept { return data_->decimal_symbol; }
const String& Locale::groupSymbol() const noexcept { return data_->group_symbol; }

bool operator==(const Locale& a, const Locale& b) noexcept {
  return a.data_ == b.data_ || a.data_->name == b.data_->name;
}

Locale Locale::processDefault() {
  ProcessDefault& slot = process_default();
  std::lock_guard<std::mutex> lock(slot.mutex);
  return Locale(slot.data);
}

void Locale::setProcessDefault(const Locale& locale) {
  ProcessDefault& slot = process_default();
  std::lock_guard<std::mutex> lock(slot.mutex);
  slot.data = locale.data_;
}

}  // namespace core
