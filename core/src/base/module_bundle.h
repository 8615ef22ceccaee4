// The bundle of a registered module, held for the length of a lookup.
#ifndef CORE_SRC_BASE_MODULE_BUNDLE_H_
#define CORE_SRC_BASE_MODULE_BUNDLE_H_

#include <memory>

namespace core {

class SCOM_ResourceBundle;

namespace detail {

// The bundle of the registered module `name`, or null (no such module, or
// it has no bundle). The bundle stays alive while the result is held, even
// when the module is cleaned up meanwhile.
std::shared_ptr<SCOM_ResourceBundle> find_module_bundle(const char* name);

}  // namespace detail
}  // namespace core

#endif  // CORE_SRC_BASE_MODULE_BUNDLE_H_
