// Implements internal/icu.h: the failure of an ICU status as an exception.
#include "internal/icu.h"

#include <new>

#include "core/exception_classes.h"

namespace core::detail {

void IcuStatus::handleFailure() const {
  if (errorCode == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  throw IllegalStateException(String::fromUtf8(errorName()));
}

}  // namespace core::detail
