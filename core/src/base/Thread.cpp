// Implements core/thread.h: the calling thread's settings and formats.
#include "core/thread.h"

#include "base/lifecycle.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/formats.h"
#include "core/scom.h"
#include "internal/throw.h"

namespace core {

Thread::Thread()
    : locale_(Locale::processDefault()),
      language_(locale_.language() == u"ru" ? Language::Russian : Language::English) {}

Thread::~Thread() = default;

Thread& Thread::current() {
  platform::ThreadLocalSlot& slot = detail::thread_settings_slot();
  auto* thread = static_cast<Thread*>(slot.get());
  if (thread == nullptr) {
    thread = new Thread;
    thread->acquire();
    slot.set(thread);
  }
  return *thread;
}

void Thread::setLanguage(Language language) {
  if (language != Language::English && language != Language::Russian) {
    detail::throw_illegal_argument(static_cast<int>(language));
  }
  current().language_ = language;
}

Language Thread::language() { return current().language_; }

void Thread::setLocale(const Locale& locale) {
  Thread& thread = current();
  if (thread.locale_ == locale) return;
  thread.locale_ = locale;
  thread.default_numeric_format_.reset();
  thread.default_date_format_.reset();
  thread.default_bool_format_.reset();
}

Locale Thread::locale() { return current().locale_; }

void Thread::setRoundMode(NumericRoundMode mode) {
  if (mode != NumericRoundMode::HalfTowardZero && mode != NumericRoundMode::HalfAwayFromZero) {
    detail::throw_illegal_argument(static_cast<int>(mode));
  }
  current().round_mode_ = mode;
}

NumericRoundMode Thread::roundMode() { return current().round_mode_; }

void Thread::setFirstDayOfWeek(WeekDay day) {
  if (static_cast<int>(day) < 1 || static_cast<int>(day) > 7) {
    detail::throw_illegal_argument(static_cast<int>(day));
  }
  current().first_day_of_week_ = day;
}

WeekDay Thread::firstDayOfWeek() {
  const Thread& thread = current();
  return thread.first_day_of_week_.value_or(thread.locale_.firstDayOfWeek());
}

namespace {

template <class Format>
const Format& own_or_default(const std::unique_ptr<Format>& own, std::unique_ptr<Format>& fallback,
                             const Locale& locale) {
  if (own) return *own;
  if (!fallback) fallback = std::make_unique<Format>(locale);
  return *fallback;
}

}  // namespace

const NumericFormat& Thread::getNumericFormat() {
  Thread& thread = current();
  return own_or_default(thread.numeric_format_, thread.default_numeric_format_, thread.locale_);
}

const DateFormat& Thread::getDateFormat() {
  Thread& thread = current();
  return own_or_default(thread.date_format_, thread.default_date_format_, thread.locale_);
}

const BoolFormat& Thread::getBoolFormat() {
  Thread& thread = current();
  return own_or_default(thread.bool_format_, thread.default_bool_format_, thread.locale_);
}

void Thread::setNumericFormat(const NumericFormat& format) {
  current().numeric_format_ = std::make_unique<NumericFormat>(format);
}

void Thread::setDateFormat(const DateFormat& format) {
  current().date_format_ = std::make_unique<DateFormat>(format);
}

void Thread::setBoolFormat(const BoolFormat& format) {
  current().bool_format_ = std::make_unique<BoolFormat>(format);
}

void Thread::resetNumericFormat() { current().numeric_format_.reset(); }
void Thread::resetDateFormat() { current().date_format_.reset(); }
void Thread::resetBoolFormat() { current().bool_format_.reset(); }

}  // namespace core
