// The start and the teardown of the library as a whole.
#ifndef CORE_SRC_BASE_LIFECYCLE_H_
#define CORE_SRC_BASE_LIFECYCLE_H_

#include "platform/thread_local_slot.h"

namespace core::detail {

// Starts the library once per process; later calls return at once. Runs when
// the library is loaded, from CoreInit(), and before any use of the state it
// sets up, so the order of static initialisation cannot bite.
void start_library();

// Tears the library down in the reverse order of its start. Runs once, when
// the library is unloaded.
void stop_library();

// The slot that holds each thread's settings (a core::Thread), or null once
// the library is torn down: threads of the host may still call in then, and
// keep their settings elsewhere (Thread::current()).
platform::ThreadLocalSlot* thread_settings_slot();

// The number of threads' settings objects alive: nonzero while threads that
// have called in may still be running.
int live_thread_settings() noexcept;

}  // namespace core::detail

#endif  // CORE_SRC_BASE_LIFECYCLE_H_
