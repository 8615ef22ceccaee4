// The process-wide registry of types by class identifier and by name.
#ifndef CORE_SRC_VALUES_TYPE_REGISTRY_H_
#define CORE_SRC_VALUES_TYPE_REGISTRY_H_

#include <string_view>

#include "core/interface_ptr.h"
#include "core/value_interfaces.h"

namespace core::detail {

// Registers `type` (acquired) under its class identifier and its English
// and Russian names. A later type of the same identifier replaces the
// earlier one, which is released and loses its names. A name borne by
// several types finds the one registered last; when that one is
// unregistered, the name finds the one before it again.
void register_type(IType* type);
// Removes `type` (released) wherever it is registered.
void unregister_type(IType* type);

// The registered type, or null.
InterfacePtr<IType> find_type(const GUID& clsid);
// By English or Russian name, case ignored.
InterfacePtr<IType> find_type(std::u16string_view name);

}  // namespace core::detail

#endif  // CORE_SRC_VALUES_TYPE_REGISTRY_H_
