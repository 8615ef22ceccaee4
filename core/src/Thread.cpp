#include "core/thread.h"

#include <string>

#include "core/exception.h"
#include "core/scom.h"
#include "lifecycle.h"

namespace core {

Thread::Thread()
    : locale_(Locale::processDefault()),
      language_(locale_.language() == u"ru" ? kRussian : kEnglish) {}

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

void Thread::setLanguage(int language) {
  if (language != kEnglish && language != kRussian) {
    throw IllegalArgumentException(String::fromUtf8(std::to_string(language)));
  }
  current().language_ = language;
}

int Thread::language() { return current().language_; }

void Thread::setLocale(const Locale& locale) { current().locale_ = locale; }

Locale Thread::locale() { return current().locale_; }

void Thread::setRoundMode(NumericRoundMode mode) {
  if (mode != NumericRoundMode::HalfTowardZero && mode != NumericRoundMode::HalfAwayFromZero) {
    throw IllegalArgumentException(String::fromUtf8(std::to_string(static_cast<int>(mode))));
  }
  current().round_mode_ = mode;
}

NumericRoundMode Thread::roundMode() { return current().round_mode_; }

void Thread::setFirstDayOfWeek(WeekDay day) {
  if (static_cast<int>(day) < 1 || static_cast<int>(day) > 7) {
    throw IllegalArgumentException(String::fromUtf8(std::to_string(static_cast<int>(day))));
  }
  current().first_day_of_week_ = day;
}

WeekDay Thread::firstDayOfWeek() {
  const Thread& thread = current();
  return thread.first_day_of_week_.value_or(thread.locale_.firstDayOfWeek());
}

}  // namespace core
