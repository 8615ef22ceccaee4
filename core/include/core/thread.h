// Thread: the calling thread's settings.
//
// Conversions of values to text, rounding, week computations and message
// lookup read settings that belong to the calling thread: the locale of
// formats and messages, the language of names of types, properties, methods
// and enumeration values (core/language.h), the rounding mode and the
// first day of the week. The static members read and change the settings of
// the thread that calls them.
//
//   core::Thread::setLocale(core::Locale(u"ru_RU"));
//   core::Thread::setLanguage(core::Language::Russian);
//   core::Thread::firstDayOfWeek();   // WeekDay::Monday, from the locale
//
// A thread starts with the process default locale (Locale::processDefault()),
// the language of that locale (Russian for a Russian locale, else English), rounding of
// exact halves away from zero, and the first day of the week of its locale.
// The locale and the language are independent: changing one leaves the
// other. The first day of the week follows the locale until it is set.
//
// Thread safety: each thread has its own settings; no call affects another
// thread. That holds after the library is torn down at unload or process
// exit too: a thread still calling in then (a host's worker outliving main)
// starts again from fresh settings of its own, kept apart from the freed
// per-thread slot, and message texts come back empty because the bundles
// are closed.
#ifndef CORE_THREAD_H_
#define CORE_THREAD_H_

#include <memory>
#include <optional>

#include "core/export.h"
#include "core/language.h"
#include "core/locale.h"
#include "core/numeric_round_mode.h"
#include "core/refcountable.h"
#include "core/week_day.h"

namespace core {

class SCOM_Context;
class NumericFormat;
class DateFormat;
class BoolFormat;

class CORE_EXPORT Thread : public Refcountable<Thread> {
 public:
  // Throws `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT") for a
  // value outside the enumeration.
  static void setLanguage(Language language);
  static Language language();

  static void setLocale(const Locale& locale);
  static Locale locale();

  static void setRoundMode(NumericRoundMode mode);
  static NumericRoundMode roundMode();

  static void setFirstDayOfWeek(WeekDay day);
  static WeekDay firstDayOfWeek();

  // The thread's formats (core/formats.h): the thread's own when one was set,
  // else the default format of the thread's locale (built on first use and
  // rebuilt after the locale changes). A reference stays valid until the
  // thread changes the same format or its locale, or ends.
  static const NumericFormat& getNumericFormat();
  static const DateFormat& getDateFormat();
  static const BoolFormat& getBoolFormat();
  // Set the thread's own format, kept across changes of the locale.
  static void setNumericFormat(const NumericFormat& format);
  static void setDateFormat(const DateFormat& format);
  static void setBoolFormat(const BoolFormat& format);
  // Drop the thread's own format: the locale's default applies again.
  static void resetNumericFormat();
  static void resetDateFormat();
  static void resetBoolFormat();

  // The calling thread's settings object, created on first use and released
  // when the thread ends.
  static Thread& current();

  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

 private:
  friend class Refcountable<Thread>;
  friend class SCOM_Context;

  Thread();
  ~Thread();

  Locale locale_;
  Language language_;
  NumericRoundMode round_mode_ = NumericRoundMode::HalfAwayFromZero;
  std::optional<WeekDay> first_day_of_week_;
  // The thread's component-model context, created on first use.
  std::unique_ptr<SCOM_Context> context_;
  // Formats set by the thread, and the locale defaults built on demand.
  std::unique_ptr<NumericFormat> numeric_format_;
  std::unique_ptr<DateFormat> date_format_;
  std::unique_ptr<BoolFormat> bool_format_;
  std::unique_ptr<NumericFormat> default_numeric_format_;
  std::unique_ptr<DateFormat> default_date_format_;
  std::unique_ptr<BoolFormat> default_bool_format_;
};

}  // namespace core

#endif  // CORE_THREAD_H_
