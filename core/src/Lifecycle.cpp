#include "lifecycle.h"

#include <unicode/uclean.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "core/init.h"
#include "core/thread.h"

namespace core {
namespace detail {
namespace {

// The process-wide state of the start; never destroyed, because the teardown
// runs after the static destructors of the library.
struct Runtime {
  std::once_flag started;
  std::once_flag stopped;
  platform::ThreadLocalSlot* settings_slot = nullptr;
};

Runtime& runtime() {
  static auto* const instance = new Runtime;
  return *instance;
}

// ICU is shared with the host and other modules: the library initialises it
// on first use and cleans it up only when its own use count drops to 0.
std::mutex& icu_lock() {
  static auto* const lock = new std::mutex;
  return *lock;
}
int icu_use_count = 0;

void acquire_icu() {
  std::lock_guard<std::mutex> lock(icu_lock());
  if (icu_use_count++ == 0) {
    UErrorCode status = U_ZERO_ERROR;
    u_init(&status);
    if (U_FAILURE(status)) {
      std::fprintf(stderr, "core: ICU cannot start: %s\n", u_errorName(status));
      std::abort();
    }
  }
}

void release_icu() {
  std::lock_guard<std::mutex> lock(icu_lock());
  if (--icu_use_count == 0) u_cleanup();
}

void release_thread_settings(void* settings) { static_cast<Thread*>(settings)->unref(); }

}  // namespace

void start_library() {
  Runtime& state = runtime();
  std::call_once(state.started, [&state] {
    state.settings_slot = new platform::ThreadLocalSlot(&release_thread_settings);
    acquire_icu();
  });
}

void stop_library() {
  Runtime& state = runtime();
  std::call_once(state.stopped, [&state] {
    if (state.settings_slot == nullptr) return;  // never started
    // Other threads' settings go with their threads; the unloading thread's
    // would outlive the slot, so they are released here.
    if (void* settings = state.settings_slot->get()) {
      state.settings_slot->set(nullptr);
      release_thread_settings(settings);
    }
    release_icu();
    delete state.settings_slot;
    state.settings_slot = nullptr;
  });
}

platform::ThreadLocalSlot& thread_settings_slot() {
  start_library();
  return *runtime().settings_slot;
}

}  // namespace detail

void CoreInit() { detail::start_library(); }

void CoreDeinit() {}

CoreInitManager::CoreInitManager() { detail::start_library(); }

CoreInitManager::~CoreInitManager() = default;

}  // namespace core
