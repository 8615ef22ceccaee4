// The explicit start of the library, for hosts that want to run it at a
// moment of their choosing.
//
// The library starts itself when it is loaded and tears itself down when it
// is unloaded; CoreInit() and CoreInitManager run the same start, which
// happens once per process, so calling them is always harmless.
//
//   int main() {
//     core::CoreInitManager core_started;
//     ...
//   }
//
// Threads may outlive the teardown (a host's workers still running while the
// process exits): they go on with settings of their own (core/thread.h). For
// their sake the teardown leaves ICU's clean-up (u_cleanup) out while any
// thread that called in is still alive, since ICU must not be cleaned up
// under threads that use it; the process reclaims ICU's caches as it ends.
//
// Thread safety: the start is meant to run before other threads call in, but
// concurrent calls are safe: the start runs once and the others wait for it.
#ifndef CORE_INIT_H_
#define CORE_INIT_H_

#include "core/export.h"

namespace core {

// Starts the library unless it has started already.
CORE_EXPORT void CoreInit();
// Does nothing: the library is torn down only when it is unloaded. It may be
// called any number of times.
CORE_EXPORT void CoreDeinit();

// Starts the library on construction; its destructor does nothing.
class CORE_EXPORT CoreInitManager {
 public:
  CoreInitManager();
  ~CoreInitManager();
  CoreInitManager(const CoreInitManager&) = delete;
  CoreInitManager& operator=(const CoreInitManager&) = delete;
};

}  // namespace core

#endif  // CORE_INIT_H_
