// The base interface of every interface of the library, and a ready-made
// implementation of its reference counting.
//
// IUnknown is the platform's stand-in for a COM base on every operating
// system: an object offers interfaces by identifier through queryInterface()
// and lives as long as references to it are held. UnknownImpl implements the
// three operations for a class that offers one or more interfaces:
//
//   class MemoryThing : public core::UnknownImpl<IThing> { ... };
//   core::InterfacePtr<IThing> thing(new MemoryThing);   // count 1
//
// Thread safety: reference counts are atomic; an object may be held and
// released from several threads at once.
#ifndef CORE_IUNKNOWN_H_
#define CORE_IUNKNOWN_H_

#include <cstdint>

#include "core/guid.h"
#include "core/refcountable.h"

namespace core {

class IUnknown {
 public:
  static constexpr GUID kIid = {
      0x3f7c1d52, 0x8a4e, 0x4b1f, {0x9c, 0x27, 0x5d, 0x0e, 0x61, 0xa3, 0xb8, 0x44}};

  // True, with a new reference stored in *out, when the object offers the
  // interface `iid`; false, with *out set to null, otherwise.
  virtual bool queryInterface(const GUID& iid, void** out) = 0;
  // Each returns the new count. release() destroys the object when the count
  // reaches 0, except for process-wide singletons, which are never destroyed.
  virtual int32_t acquire() = 0;
  virtual int32_t release() = 0;

 protected:
  virtual ~IUnknown() = default;
};

// Implements IUnknown for a class offering `Interfaces...`, each an interface
// derived from IUnknown that declares its identifier as `static constexpr GUID
// kIid`. The object starts with a count of 0 and deletes itself when release()
// brings the count back to 0.
template <class... Interfaces>
class UnknownImpl : public Interfaces... {
 public:
  bool queryInterface(const GUID& iid, void** out) override {
    void* found = nullptr;
    if (iid == IUnknown::kIid) {
      found = static_cast<IUnknown*>(static_cast<FirstInterface*>(this));
    } else {
      // Stops at the first interface whose identifier matches.
      (void)((iid == Interfaces::kIid && (found = static_cast<Interfaces*>(this), true)) || ...);
    }
    *out = found;
    if (found == nullptr) return false;
    acquire();
    return true;
  }
  int32_t acquire() override { return count_.acquire(); }
  int32_t release() override {
    const int32_t count = count_.release();
    if (count == 0) delete this;
    return count;
  }

 protected:
  UnknownImpl() = default;
  ~UnknownImpl() override = default;

 private:
  template <class First, class...>
  struct Front {
    using type = First;
  };
  using FirstInterface = typename Front<Interfaces...>::type;

  struct Count : Refcountable<Count> {};
  Count count_;
};

}  // namespace core

#endif  // CORE_IUNKNOWN_H_
