// Implements core/thread.h: the calling thread's settings and formats.
#include "core/thread.h"

#include <unordered_set>

#include "base/lifecycle.h"
#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/formats.h"
#include "core/scom.h"
#include "internal/thread_annotations.h"
#include "internal/throw.h"

namespace core {

namespace {

// Every thread's settings alive, never destroyed. A thread's settings leave
// when the thread ends; those of threads still running when the library is
// torn down stay here (the teardown retires the slot, which no longer ends
// them), bounded by one per such thread and reachable until the process ends.
class LiveSettings {
 public:
  static LiveSettings& instance() {
    static auto* const live = new LiveSettings;
    return *live;
  }

  void add(const Thread* thread) {
    detail::MutexLock lock(mutex_);
    threads_.insert(thread);
  }

  void remove(const Thread* thread) {
    detail::MutexLock lock(mutex_);
    threads_.erase(thread);
  }

  int count() {
    detail::MutexLock lock(mutex_);
    return static_cast<int>(threads_.size());
  }

 private:
  detail::Mutex mutex_;
  std::unordered_set<const Thread*> threads_ CORE_GUARDED_BY(mutex_);
};

}  // namespace

namespace detail {

int live_thread_settings() noexcept { return LiveSettings::instance().count(); }

}  // namespace detail

Thread::Thread()
    : locale_(Locale::processDefault()),
      language_(locale_.language() == u"ru" ? Language::Russian : Language::English) {
  LiveSettings::instance().add(this);
}

Thread::~Thread() { LiveSettings::instance().remove(this); }

Thread& Thread::current() {
  platform::ThreadLocalSlot* slot = detail::thread_settings_slot();
  auto* thread = slot == nullptr ? nullptr : static_cast<Thread*>(slot->get());
  if (thread == nullptr && slot != nullptr) {
    thread = new Thread;
    thread->acquire();
    slot->set(thread);
    // The teardown retired the slot meanwhile and the store went nowhere.
    if (slot->get() != thread) {
      thread->unref();
      thread = nullptr;
    }
  }
  if (thread == nullptr) {
    // A host's thread that calls in after the teardown (say, one that
    // outlives main) gets settings of its own, released when it ends as the
    // slot would have done.
    class LateSettings {
     public:
      LateSettings() : thread_(new Thread) { thread_->acquire(); }
      ~LateSettings() { thread_->unref(); }
      LateSettings(const LateSettings&) = delete;
      LateSettings& operator=(const LateSettings&) = delete;
      Thread& get() const noexcept { return *thread_; }

     private:
      Thread* thread_;
    };
    thread_local const LateSettings late;
    return late.get();
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
