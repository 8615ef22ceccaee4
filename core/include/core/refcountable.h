// Reference counting for objects shared between holders and threads.
//
// Refcountable<T, Counter> gives a class one signed 32-bit reference count.
// acquire() and release() change it and return the new count; release() never
// destroys anything: the holder that sees the count reach 0 destroys the
// object (unref() does exactly that for objects allocated with new).
//
//   class Page : public core::Refcountable<Page> { ... };
//   Page* page = new Page;      // count 0
//   page->acquire();            // count 1
//   page->unref();              // count 0: deleted
//
// Thread safety: with the default AtomicCounter the count may be changed from
// several threads at once.
#ifndef CORE_REFCOUNTABLE_H_
#define CORE_REFCOUNTABLE_H_

#include <atomic>
#include <cstdint>

namespace core {

// The default counter policy: an atomic signed 32-bit count. A counter policy
// is any default-constructible type with increment(), decrement() and load().
class AtomicCounter {
 public:
  int32_t increment() noexcept { return value_.fetch_add(1, std::memory_order_relaxed) + 1; }
  // Acquire-release so that the thread that sees 0 also sees every write the
  // other holders made before letting go.
  int32_t decrement() noexcept { return value_.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  int32_t load() const noexcept { return value_.load(std::memory_order_relaxed); }

 private:
  std::atomic<int32_t> value_{0};
};

template <class T, class Counter = AtomicCounter>
class Refcountable {
 public:
  // Adds 1 to the count and returns the new count.
  int32_t acquire() const noexcept { return count_.increment(); }
  // Subtracts 1 from the count and returns the new count; never destroys.
  int32_t release() const noexcept { return count_.decrement(); }
  int32_t refcount() const noexcept { return count_.load(); }

  // Releases one reference and deletes the object when it was the last.
  // REQUIRES: the object was allocated with new as a T.
  void unref() const noexcept {
    if (release() == 0) delete static_cast<const T*>(this);
  }

 protected:
  Refcountable() noexcept = default;
  // A copy is a new object: it starts with a count of its own.
  Refcountable(const Refcountable&) noexcept {}
  Refcountable& operator=(const Refcountable&) noexcept { return *this; }
  ~Refcountable() = default;

 private:
  mutable Counter count_;
};

}  // namespace core

#endif  // CORE_REFCOUNTABLE_H_
