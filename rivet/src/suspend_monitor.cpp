#include "rivet/suspend_monitor.h"

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>

#include "no_destructor.h"

namespace rivet {

// The registered scopes form an intrusive list through the scopes themselves,
// so entering a scope never allocates (it may run while memory is short).
class SuspendMonitor {
 public:
  static SuspendMonitor& instance() {
    static detail::NoDestructor<SuspendMonitor> monitor;
    return *monitor;
  }

  void add(SuspendScope* scope) noexcept {
    std::lock_guard lock(mutex_);
    scope->prev_ = tail_;
    (tail_ != nullptr ? tail_->next_ : head_) = scope;
    tail_ = scope;
    count_.fetch_add(1, std::memory_order_relaxed);
  }

  void remove(SuspendScope* scope) noexcept {
    std::lock_guard lock(mutex_);
    (scope->prev_ != nullptr ? scope->prev_->next_ : head_) = scope->next_;
    (scope->next_ != nullptr ? scope->next_->prev_ : tail_) = scope->prev_;
    count_.fetch_sub(1, std::memory_order_relaxed);
  }

  std::size_t count() const noexcept { return count_.load(std::memory_order_relaxed); }

  // Copies under the lock into storage allocated before taking it, so no
  // allocation (which may run memory callbacks, which may enter a scope)
  // happens while the lock is held.
  std::vector<SuspendedThread> snapshot() {
    struct Raw {
      std::thread::id thread;
      std::chrono::steady_clock::time_point since;
      std::size_t reason_end;
    };
    std::vector<Raw> raw;
    std::string reasons;
    std::size_t entries = 0;
    std::size_t chars = 0;
    for (;;) {
      raw.resize(entries);
      reasons.resize(chars);
      std::lock_guard lock(mutex_);
      measure(entries, chars);
      if (entries <= raw.size() && chars <= reasons.size()) {
        std::size_t i = 0;
        std::size_t end = 0;
        for (const SuspendScope* scope = head_; scope != nullptr; scope = scope->next_, ++i) {
          const std::string_view reason = scope->reason_ != nullptr ? scope->reason_ : "";
          reason.copy(reasons.data() + end, reason.size());
          end += reason.size();
          raw[i] = {scope->thread_, scope->since_, end};
        }
        raw.resize(i);
        break;
      }
    }
    std::vector<SuspendedThread> result;
    result.reserve(raw.size());
    std::size_t begin = 0;
    for (const Raw& entry : raw) {
      result.push_back(
          {entry.thread, reasons.substr(begin, entry.reason_end - begin), entry.since});
      begin = entry.reason_end;
    }
    return result;
  }

 private:
  void measure(std::size_t& entries, std::size_t& chars) const noexcept {
    entries = 0;
    chars = 0;
    for (const SuspendScope* scope = head_; scope != nullptr; scope = scope->next_) {
      ++entries;
      if (scope->reason_ != nullptr) chars += std::char_traits<char>::length(scope->reason_);
    }
  }

  std::mutex mutex_;
  SuspendScope* head_ = nullptr;  // guarded by mutex_
  SuspendScope* tail_ = nullptr;  // guarded by mutex_
  std::atomic<std::size_t> count_{0};
};

namespace {
// Depth of SuspendScope nesting on this thread; only the outermost registers.
thread_local unsigned t_depth = 0;
}  // namespace

SuspendScope::SuspendScope(const char* reason) noexcept
    : reason_(reason),
      thread_(std::this_thread::get_id()),
      since_(std::chrono::steady_clock::now()) {
  if (t_depth++ == 0) {
    registered_ = true;
    SuspendMonitor::instance().add(this);
  }
}

SuspendScope::~SuspendScope() {
  --t_depth;
  if (registered_) SuspendMonitor::instance().remove(this);
}

void pause(std::chrono::milliseconds duration, const char* reason) {
  SuspendScope scope(reason);
  std::this_thread::sleep_for(duration);
}

std::size_t suspended_thread_count() noexcept { return SuspendMonitor::instance().count(); }

std::vector<SuspendedThread> suspended_threads() { return SuspendMonitor::instance().snapshot(); }

}  // namespace rivet
