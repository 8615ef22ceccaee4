// InterfacePtr<I>: the owning pointer through which interfaces are held.
//
// An InterfacePtr holds one reference: copying acquires, destruction and
// reset() release. A raw pointer is acquired when it is handed over, unless
// adopt() says the reference is already the caller's to give.
//
//   core::InterfacePtr<IValue> v = core::create_numeric_value(1);
//   core::InterfacePtr<IValue> w = v;            // two references
//   InterfacePtr<IType> t = v.query<IType>();    // null: not offered
//
// Values (core/value_interfaces.h) are counted through IValue::holdRef()
// and dropRef(), which reach the library's own values without a virtual
// call; every other interface through acquire() and release().
//
// Thread safety: as for a raw pointer; distinct InterfacePtr objects that
// point at one object may be used from different threads.
#ifndef CORE_INTERFACE_PTR_H_
#define CORE_INTERFACE_PTR_H_

#include <concepts>
#include <cstddef>
#include <utility>

#include "core/guid.h"

namespace core {

template <class I>
class InterfacePtr {
 public:
  InterfacePtr() noexcept = default;
  InterfacePtr(std::nullptr_t) noexcept {}  // NOLINT: null converts implicitly
  // Takes a new reference on `p` when `acquire` is true.
  explicit InterfacePtr(I* p, bool acquire = true) noexcept : p_(p) {
    if (p_ != nullptr && acquire) hold(p_);
  }
  // Takes over a reference the caller already owns.
  static InterfacePtr adopt(I* p) noexcept { return InterfacePtr(p, false); }

  InterfacePtr(const InterfacePtr& other) noexcept : InterfacePtr(other.p_) {}
  InterfacePtr(InterfacePtr&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  template <class J>
  requires std::convertible_to<J*, I*> InterfacePtr(const InterfacePtr<J>& other)
  noexcept  // NOLINT: upcast is implicit
      : InterfacePtr(other.get()) {}
  template <class J>
  requires std::convertible_to<J*, I*> InterfacePtr(InterfacePtr<J>&& other)
  noexcept  // NOLINT: upcast is implicit
      : p_(other.detach()) {}

  ~InterfacePtr() {
    if (p_ != nullptr) drop(p_);
  }

  // The new object is acquired before the old one is released, so assigning
  // a pointer to itself is safe.
  InterfacePtr& operator=(const InterfacePtr& other) noexcept {
    reset(other.p_);
    return *this;
  }
  InterfacePtr& operator=(InterfacePtr&& other) noexcept {
    if (this != &other) {
      I* old = std::exchange(p_, std::exchange(other.p_, nullptr));
      if (old != nullptr) drop(old);
    }
    return *this;
  }

  // Points at `p` (acquired when `acquire` is true) and releases the old one.
  void reset(I* p = nullptr, bool acquire = true) noexcept {
    if (p != nullptr && acquire) hold(p);
    I* old = std::exchange(p_, p);
    if (old != nullptr) drop(old);
  }
  // Hands the reference to the caller and leaves this pointer null.
  [[nodiscard]] I* detach() noexcept { return std::exchange(p_, nullptr); }

  I* get() const noexcept { return p_; }
  I* operator->() const noexcept { return p_; }
  I& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  // The interface J of the same object (J::kIid), or null when not offered.
  template <class J>
  InterfacePtr<J> query() const {
    void* out = nullptr;
    if (p_ == nullptr || !p_->queryInterface(J::kIid, &out)) return {};
    return InterfacePtr<J>::adopt(static_cast<J*>(out));
  }

  friend bool operator==(const InterfacePtr& a, const InterfacePtr& b) noexcept {
    return a.p_ == b.p_;
  }
  friend bool operator==(const InterfacePtr& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

 private:
  static void hold(I* p) noexcept {
    if constexpr (requires { p->holdRef(); }) {
      p->holdRef();
    } else {
      p->acquire();
    }
  }
  static void drop(I* p) noexcept {
    if constexpr (requires { p->dropRef(); }) {
      p->dropRef();
    } else {
      p->release();
    }
  }

  I* p_ = nullptr;
};

}  // namespace core

#endif  // CORE_INTERFACE_PTR_H_
