// Implements platform/thread_local_slot.h on POSIX: thread-local slots over pthread keys.
#include <pthread.h>

#include <cstdio>
#include <cstdlib>

#include "platform/thread_local_slot.h"

namespace core::platform {

static_assert(sizeof(pthread_key_t) <= sizeof(unsigned), "pthread_key_t must fit the slot key");

ThreadLocalSlot::ThreadLocalSlot(Cleanup cleanup) {
  pthread_key_t key;
  if (pthread_key_create(&key, cleanup) != 0) {
    std::fputs("core: no thread-local storage slot is left\n", stderr);
    std::abort();
  }
  key_ = static_cast<unsigned>(key);
}

ThreadLocalSlot::~ThreadLocalSlot() { retire(); }

// A reader that passed the flag just before the key was deleted asks the
// system about a deleted key, which answers null or fails the store; the key
// number could be handed out again only to a slot created after the retire.
void* ThreadLocalSlot::get() const noexcept {
  if (retired_.load(std::memory_order_acquire)) return nullptr;
  return pthread_getspecific(static_cast<pthread_key_t>(key_));
}

void ThreadLocalSlot::set(void* value) noexcept {
  if (retired_.load(std::memory_order_acquire)) return;
  pthread_setspecific(static_cast<pthread_key_t>(key_), value);
}

void ThreadLocalSlot::retire() noexcept {
  if (!retired_.exchange(true, std::memory_order_acq_rel)) {
    pthread_key_delete(static_cast<pthread_key_t>(key_));
  }
}

}  // namespace core::platform
