// Runs the library's start when the library (or a program holding its objects)
// is loaded and its teardown when it is unloaded.
#include "lifecycle.h"

namespace {

__attribute__((constructor)) void core_on_load() { core::detail::start_library(); }

__attribute__((destructor)) void core_on_unload() { core::detail::stop_library(); }

}  // namespace
