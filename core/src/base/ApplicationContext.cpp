// Implements core/application_context.h: the registered host context and its compatibility level.
#include "core/application_context.h"

#include <mutex>

namespace core {
namespace {

struct Registered {
  std::mutex mutex;
  InterfacePtr<IApplicationContext> context;
};

// Never destroyed: the host may release its context during its own teardown,
// after the library's statics are gone.
Registered& registered() {
  static auto* const instance = new Registered;
  return *instance;
}

}  // namespace

void set_application_context(IApplicationContext* context) {
  InterfacePtr<IApplicationContext> incoming(context);
  Registered& slot = registered();
  {
    std::lock_guard<std::mutex> lock(slot.mutex);
    std::swap(slot.context, incoming);
  }
  // The previous context is released outside the lock: its destructor may
  // call back into the library.
}

InterfacePtr<IApplicationContext> application_context() {
  Registered& slot = registered();
  std::lock_guard<std::mutex> lock(slot.mutex);
  return slot.context;
}

}  // namespace core
