// A slot of thread-local storage with a cleanup at thread exit.
//
// The library keeps its per-thread state (settings, formats, contexts) in
// slots allocated when it starts and freed when it is unloaded, so that the
// state of threads that outlive neither is released with the thread.
#ifndef CORE_SRC_PLATFORM_THREAD_LOCAL_SLOT_H_
#define CORE_SRC_PLATFORM_THREAD_LOCAL_SLOT_H_

#include <atomic>

namespace core::platform {

class ThreadLocalSlot {
 public:
  // `cleanup` receives a thread's non-null value when that thread ends.
  using Cleanup = void (*)(void* value);

  // Aborts the process when the system has no slot left: the library cannot
  // run without its per-thread state.
  explicit ThreadLocalSlot(Cleanup cleanup);
  // Frees the slot unless retire() did; the values still held by other
  // threads are not cleaned.
  ~ThreadLocalSlot();

  ThreadLocalSlot(const ThreadLocalSlot&) = delete;
  ThreadLocalSlot& operator=(const ThreadLocalSlot&) = delete;

  // The calling thread's value, null until set.
  void* get() const noexcept;
  void set(void* value) noexcept;

  // Frees the slot but keeps the object, for threads that may still be
  // reading it: afterwards get() answers null and set() stores nothing.
  // Values still held by threads are not cleaned.
  void retire() noexcept;

 private:
  unsigned key_;
  std::atomic<bool> retired_{false};
};

}  // namespace core::platform

#endif  // CORE_SRC_PLATFORM_THREAD_LOCAL_SLOT_H_
