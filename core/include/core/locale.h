// Locale: a validated locale name and the locale data the library reads.
//
// A Locale names the conventions of a language and region ("ru_RU", "en"):
// the symbols of numbers, the first day of the week, and later the formats of
// dates and the language of messages. Construction checks the name against
// the locales the library has data for.
//
//   core::Locale ru(u"ru_RU");
//   ru.firstDayOfWeek();   // WeekDay::Monday
//   ru.decimalSymbol();    // u","
//
// The process-wide default locale is the one the environment selects, except
// that the POSIX locale ("C", "en_US_POSIX") is taken as "en_US"; a host may
// replace it with setProcessDefault().
//
// Thread safety: a Locale is immutable and cheap to copy (copies share their
// data); Locale objects and the static functions may be used from any thread.
#ifndef CORE_LOCALE_H_
#define CORE_LOCALE_H_

#include <memory>

#include "core/export.h"
#include "core/string.h"
#include "core/week_day.h"

namespace core {

namespace detail {
struct LocaleData;
}  // namespace detail

class CORE_EXPORT Locale {
 public:
  // The process-wide default locale.
  Locale();
  // The locale named `name`, in ICU's form ("ru_RU", "en", "de_CH"); "-" may
  // stand for "_" and the case of the parts does not matter.
  // Throws `LocaleException` ("IDS_BADLOCALENAME", whose text names the name)
  // when the name is empty, is not a well-formed locale name, or when neither
  // the locale nor its language is one the library has data for.
  explicit Locale(const String& name);
  explicit Locale(const char16_t* name) : Locale(String(name)) {}

  // The canonical name, for example "ru_RU".
  const String& name() const noexcept;
  // The language code ("ru") and the region code ("RU", or empty).
  const String& language() const noexcept;
  const String& country() const noexcept;

  // The first day of the week in the locale's region (Sunday for "en_US",
  // Monday for "ru_RU").
  WeekDay firstDayOfWeek() const noexcept;
  // The decimal separator and the digit-group separator of numbers.
  const String& decimalSymbol() const noexcept;
  const String& groupSymbol() const noexcept;

  friend bool operator==(const Locale& a, const Locale& b) noexcept;

  static Locale processDefault();
  // Replaces the process-wide default. Threads that already read their
  // settings keep the locale they have.
  static void setProcessDefault(const Locale& locale);

  // End of public API. Implementation details follow.
  const detail::LocaleData& data() const noexcept { return *data_; }

 private:
  explicit Locale(std::shared_ptr<const detail::LocaleData> data) : data_(std::move(data)) {}

  std::shared_ptr<const detail::LocaleData> data_;
};

}  // namespace core

#endif  // CORE_LOCALE_H_
