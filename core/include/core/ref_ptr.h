// RefPtr<T>: the owning pointer for objects counted with Refcountable.
//
// Where InterfacePtr holds interfaces that destroy themselves, RefPtr holds
// plain Refcountable objects: it acquires on copy and calls unref() on
// release, which deletes the object with its last reference.
//
//   core::RefPtr<Page> page(new Page);   // count 1
//   core::RefPtr<Page> other = page;     // count 2
//
// Thread safety: as for a raw pointer; distinct RefPtr objects pointing at one
// object may be used from different threads when the count is atomic.
#ifndef CORE_REF_PTR_H_
#define CORE_REF_PTR_H_

#include <cstddef>
#include <utility>

namespace core {

template <class T>
class RefPtr {
 public:
  RefPtr() noexcept = default;
  RefPtr(std::nullptr_t) noexcept {}  // NOLINT: null converts implicitly
  // Takes a new reference on `p`.
  explicit RefPtr(T* p) noexcept : p_(p) {
    if (p_ != nullptr) p_->acquire();
  }
  RefPtr(const RefPtr& other) noexcept : RefPtr(other.p_) {}
  RefPtr(RefPtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  ~RefPtr() {
    if (p_ != nullptr) p_->unref();
  }

  // The new object is acquired before the old one is released, so assigning
  // a pointer to itself is safe.
  RefPtr& operator=(const RefPtr& other) noexcept {
    reset(other.p_);
    return *this;
  }
  RefPtr& operator=(RefPtr&& other) noexcept {
    if (this != &other) {
      T* old = std::exchange(p_, std::exchange(other.p_, nullptr));
      if (old != nullptr) old->unref();
    }
    return *this;
  }

  void reset(T* p = nullptr) noexcept {
    if (p != nullptr) p->acquire();
    T* old = std::exchange(p_, p);
    if (old != nullptr) old->unref();
  }

  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  friend bool operator==(const RefPtr& a, const RefPtr& b) noexcept { return a.p_ == b.p_; }

 private:
  T* p_ = nullptr;
};

}  // namespace core

#endif  // CORE_REF_PTR_H_
