// The memory manager: a process-wide registry of callbacks that release
// cached memory when the process runs short of it.
//
//   std::size_t trim_cache(void* cache, std::size_t bytes_wanted);  // returns bytes freed
//   auto handle = rivet::register_memory_callback(&trim_cache, &my_cache);
//   rivet::release_memory();  // e.g. when the host reports memory pressure
//   rivet::unregister_memory_callback(handle);
//
// rivet_malloc and rivet_realloc call release_memory(kReleaseAll) when an
// allocation fails and then retry once.
//
// Thread-safety: every function may be called from any thread. Callbacks run
// without the registry lock held, so a callback may allocate, free, and
// unregister its own handle. A nested release_memory on a thread that is
// already running callbacks (say, an allocation inside a callback fails)
// returns 0 at once instead of recursing into the callbacks.
#ifndef RIVET_MEMORY_MANAGER_H_
#define RIVET_MEMORY_MANAGER_H_

#include <cstddef>
#include <cstdint>

#include "rivet/export.h"

namespace rivet {

// Releases up to about `bytes_wanted` bytes of cached memory belonging to
// `context` and returns the number of bytes actually released (0 if none).
// It must not throw: an exception leaving a callback terminates the process.
using MemoryCallback = std::size_t (*)(void* context, std::size_t bytes_wanted);

// Identifies one registration. Never kInvalid for a live registration.
enum class MemoryCallbackHandle : std::uint64_t { kInvalid = 0 };

// Asks for everything the callbacks can give.
inline constexpr std::size_t kReleaseAll = SIZE_MAX;

// Adds `callback`, to be called with `context`. Callbacks run in the order
// they were registered. Registering the same pair twice gives two
// registrations, each called.
// Throws std::bad_alloc if the registry cannot grow.
// REQUIRES: callback != nullptr.
RIVET_EXPORT MemoryCallbackHandle register_memory_callback(MemoryCallback callback, void* context);

// Removes the registration `handle`. Returns false if it is unknown or already
// removed.
//
// Guarantee: when this returns true, the callback is not running on any other
// thread and will never be called again, so its context may be destroyed. The
// one exception is a callback that unregisters itself: its own call goes on
// (and other threads that entered it before may still be inside it).
// REQUIRES: not called from inside a callback for a handle other than the
// running callback's own (two callbacks unregistering each other deadlock).
RIVET_EXPORT bool unregister_memory_callback(MemoryCallbackHandle handle) noexcept;

// Calls the registered callbacks in order, each with the bytes still wanted,
// until the total released reaches `bytes_wanted` or every callback has been
// called. Returns the total released (saturating at SIZE_MAX). Callbacks
// registered while this runs may or may not be called.
RIVET_EXPORT std::size_t release_memory(std::size_t bytes_wanted = kReleaseAll) noexcept;

// The number of live registrations.
RIVET_EXPORT std::size_t memory_callback_count() noexcept;

}  // namespace rivet

#endif  // RIVET_MEMORY_MANAGER_H_
