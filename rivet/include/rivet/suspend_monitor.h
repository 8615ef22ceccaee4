// The monitor of suspended threads: a process-wide list of the threads that
// are pausing or waiting right now, with why and since when, so a host can
// see what is stuck.
//
//   {
//     rivet::SuspendScope scope("waiting for the storage lock");
//     condition.wait(lock);
//   }
//   rivet::pause(std::chrono::milliseconds(100), "retrying file move");
//   for (const rivet::SuspendedThread& t : rivet::suspended_threads()) { ... }
//
// Thread-safety: every function may be called from any thread. Entering and
// leaving a scope takes a short process-wide lock and never allocates.
#ifndef RIVET_SUSPEND_MONITOR_H_
#define RIVET_SUSPEND_MONITOR_H_

#include <chrono>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "rivet/export.h"

namespace rivet {

// One entry of a snapshot.
struct SuspendedThread {
  std::thread::id thread;
  std::string reason;
  std::chrono::steady_clock::time_point since;
};

// Registers the calling thread with the monitor for the lifetime of the
// scope. Nested scopes on one thread are allowed: the thread stays listed
// once, under the outermost scope's reason and start time.
// REQUIRES: destroyed on the thread that created it; `reason` (may be null,
// listed as "") stays valid for the scope's lifetime.
class RIVET_EXPORT SuspendScope {
 public:
  explicit SuspendScope(const char* reason) noexcept;
  ~SuspendScope();

  SuspendScope(const SuspendScope&) = delete;
  SuspendScope& operator=(const SuspendScope&) = delete;

 private:
  friend class SuspendMonitor;

  const char* reason_;
  std::thread::id thread_;
  std::chrono::steady_clock::time_point since_;
  bool registered_ = false;  // false for a nested scope
  SuspendScope* prev_ = nullptr;
  SuspendScope* next_ = nullptr;
};

// Sleeps for `duration` while the calling thread is registered with
// `reason`. Used by operations that retry after a delay.
RIVET_EXPORT void pause(std::chrono::milliseconds duration, const char* reason);

// The number of threads registered right now.
RIVET_EXPORT std::size_t suspended_thread_count() noexcept;

// A copy of the list, oldest registration first.
// Throws std::bad_alloc if the copy cannot be allocated.
RIVET_EXPORT std::vector<SuspendedThread> suspended_threads();

}  // namespace rivet

#endif  // RIVET_SUSPEND_MONITOR_H_
