// The type objects of a family of built-in object values, kept for the
// process.
#ifndef CORE_SRC_INTERNAL_KEPT_TYPES_H_
#define CORE_SRC_INTERNAL_KEPT_TYPES_H_

#include "core/iunknown.h"
#include "core/value_interfaces.h"

namespace core::detail {

// Makes the `kCount` type objects of a family once and keeps a reference to
// each for good: values keep their type without a reference and may outlive
// the library's module. Thread-safe after construction (read-only).
template <class T, int kCount>
class KeptTypes {
 public:
  // `make(i)` returns a new type object for kind `i`.
  template <class Make>
  explicit KeptTypes(Make make) {
    for (int i = 0; i < kCount; ++i) {
      types_[i] = make(i);
      types_[i]->acquire();
    }
  }

  // The type of `kind`, without a new reference.
  T* get(int kind) const noexcept { return types_[kind]; }

  // A new reference to the type of `kind`, as the registry of types takes it.
  IUnknown* acquire(int kind) const noexcept {
    IType* type = types_[kind];
    type->acquire();
    return type;
  }

 private:
  T* types_[kCount];
};

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_KEPT_TYPES_H_
