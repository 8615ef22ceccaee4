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

// The slot that holds each thread's settings (a core::Thread).
platform::ThreadLocalSlot& thread_settings_slot();

}  // namespace core::detail

#endif  // CORE_SRC_BASE_LIFECYCLE_H_
