#include "rivet/memory_manager.h"

#include <cassert>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <new>

#include "no_destructor.h"

namespace rivet {
namespace {

// Entries live in a doubly linked list so that release_memory can walk it
// with the lock dropped around each callback: the entry it stands on is
// pinned by `active`, and the next one is read only after relocking.
struct Entry {
  MemoryCallback callback;
  void* context;
  std::uint64_t id;
  Entry* prev;
  Entry* next;
  unsigned active;  // threads inside the callback or standing on the entry
  bool removed;     // unregistered: never called again
  bool orphaned;    // removed by its own callback: the last thread out frees it
};

struct Registry {
  std::mutex mutex;
  std::condition_variable idle;  // some removed entry's `active` reached 0
  Entry* head = nullptr;
  Entry* tail = nullptr;
  std::uint64_t next_id = 1;
  std::size_t live = 0;
};

// Never destroyed: pools and hosts may unregister from static destructors.
Registry& registry() {
  static detail::NoDestructor<Registry> instance;
  return *instance;
}

// Stops a failing allocation inside a callback from re-entering the
// callbacks (which may hold their own locks) on the same thread.
thread_local bool t_releasing = false;
// The entry whose callback this thread is running, to recognise a callback
// unregistering itself (waiting for it to finish would never end).
thread_local Entry* t_running = nullptr;

// Entries use the system heap directly: the registry's bookkeeping must not
// show in the rivet heap counters nor fail into release_memory.
void destroy(Registry& r, Entry* entry) {
  (entry->prev != nullptr ? entry->prev->next : r.head) = entry->next;
  (entry->next != nullptr ? entry->next->prev : r.tail) = entry->prev;
  std::free(entry);
}

Entry* find(const Registry& r, std::uint64_t id) {
  for (Entry* entry = r.head; entry != nullptr; entry = entry->next) {
    if (entry->id == id) return entry;
  }
  return nullptr;
}

}  // namespace

MemoryCallbackHandle register_memory_callback(MemoryCallback callback, void* context) {
  assert(callback != nullptr);
  void* raw = std::malloc(sizeof(Entry));
  if (raw == nullptr) throw std::bad_alloc();
  auto* entry = ::new (raw) Entry{callback, context, 0, nullptr, nullptr, 0, false, false};

  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  entry->id = r.next_id++;
  entry->prev = r.tail;
  (r.tail != nullptr ? r.tail->next : r.head) = entry;
  r.tail = entry;
  ++r.live;
  return MemoryCallbackHandle{entry->id};
}

bool unregister_memory_callback(MemoryCallbackHandle handle) noexcept {
  if (handle == MemoryCallbackHandle::kInvalid) return false;
  Registry& r = registry();
  std::unique_lock lock(r.mutex);
  Entry* entry = find(r, static_cast<std::uint64_t>(handle));
  if (entry == nullptr || entry->removed) return false;
  entry->removed = true;
  --r.live;
  if (entry == t_running) {
    entry->orphaned = true;
    return true;
  }
  r.idle.wait(lock, [entry] { return entry->active == 0; });
  destroy(r, entry);
  return true;
}

std::size_t release_memory(std::size_t bytes_wanted) noexcept {
  if (t_releasing || bytes_wanted == 0) return 0;
  t_releasing = true;
  Registry& r = registry();
  std::size_t released = 0;
  std::unique_lock lock(r.mutex);
  Entry* entry = r.head;
  while (entry != nullptr && released < bytes_wanted) {
    if (entry->removed) {
      entry = entry->next;
      continue;
    }
    ++entry->active;
    lock.unlock();
    t_running = entry;
    const std::size_t got = entry->callback(entry->context, bytes_wanted - released);
    t_running = nullptr;
    released = got > SIZE_MAX - released ? SIZE_MAX : released + got;
    lock.lock();
    Entry* next = entry->next;
    if (--entry->active == 0 && entry->removed) {
      if (entry->orphaned) {
        destroy(r, entry);
      } else {
        r.idle.notify_all();
      }
    }
    entry = next;
  }
  lock.unlock();
  t_releasing = false;
  return released;
}

std::size_t memory_callback_count() noexcept {
  Registry& r = registry();
  std::lock_guard lock(r.mutex);
  return r.live;
}

}  // namespace rivet
