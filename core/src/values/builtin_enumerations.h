// The enumerations the library registers through its class map.
#ifndef CORE_SRC_VALUES_BUILTIN_ENUMERATIONS_H_
#define CORE_SRC_VALUES_BUILTIN_ENUMERATIONS_H_

#include "core/guid.h"
#include "core/iunknown.h"

namespace core::detail {

inline constexpr int kBuiltinEnumerationCount = 8;

// The class object of enumeration `kIndex` (0 to kBuiltinEnumerationCount - 1,
// in the order of core/enumeration_types.h): a new reference to its type,
// which the process keeps for good.
template <int kIndex>
IUnknown* builtin_enumeration_type_object();

// The class identifier of enumeration `index`.
const GUID& builtin_enumeration_clsid(int index) noexcept;

}  // namespace core::detail

#endif  // CORE_SRC_VALUES_BUILTIN_ENUMERATIONS_H_
