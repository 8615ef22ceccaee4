// Implements the load hooks on POSIX: start on load, teardown on unload (base/lifecycle.h).
#include "base/lifecycle.h"

namespace {

__attribute__((constructor)) void core_on_load() { core::detail::start_library(); }

__attribute__((destructor)) void core_on_unload() { core::detail::stop_library(); }

}  // namespace
