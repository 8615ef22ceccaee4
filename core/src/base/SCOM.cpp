// Implements core/scom.h: modules, their registry and the thread's component context.
#include "core/scom.h"

#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "base/module_bundle.h"
#include "core/exception_classes.h"
#include "core/resource_bundle.h"
#include "core/thread.h"
#include "core/value_interfaces.h"
#include "internal/thread_annotations.h"
#include "values/type_registry.h"

namespace core {
namespace {

// The registry of modules by name. Never destroyed: modules unregister during
// the teardown, after the library's statics are gone.
// Each module is listed with its bundle, which a lookup copies under the
// lock and holds while it reads.
struct Registry {
  struct Entry {
    SCOM_Module* module;
    std::shared_ptr<SCOM_ResourceBundle> bundle;
  };
  detail::SharedMutex mutex;
  std::map<std::string, Entry, std::less<>> modules CORE_GUARDED_BY(mutex);
};

Registry& registry() {
  static auto* const instance = new Registry;
  return *instance;
}

}  // namespace

SCOM_Module::SCOM_Module(const char* name, const char* bundle,
                         std::span<const SCOM_ClassMapEntry> classes)
    : name_(name), bundle_name_(bundle), classes_(classes) {}

SCOM_Module::~SCOM_Module() { cleanup(); }

void SCOM_Module::initialize() {
  if (initialized_) return;
  {
    auto bundle =
        bundle_name_ == nullptr ? nullptr : std::make_shared<SCOM_ResourceBundle>(bundle_name_);
    Registry& modules = registry();
    detail::WriterLock lock(modules.mutex);
    if (!modules.modules.emplace(name_, Registry::Entry{this, bundle}).second) {
      throw SCOM_Exception(SCOM_Exception::Reason::DuplicateModule, String::fromUtf8(name_));
    }
    bundle_ = std::move(bundle);
  }
  initialized_ = true;
  for (const SCOM_ClassMapEntry& entry : classes_) {
    IUnknown* object = entry.classObject != nullptr ? entry.classObject() : nullptr;
    class_objects_.push_back(object);
    if (InterfacePtr<IType> type = InterfacePtr<IUnknown>(object).query<IType>()) {
      detail::register_type(type.get());
    }
    if (entry.classInit != nullptr) entry.classInit(true);
  }
}

void SCOM_Module::cleanup() {
  if (!initialized_) return;
  for (size_t i = classes_.size(); i-- > 0;) {
    if (IUnknown* object = class_objects_[i]) {
      if (InterfacePtr<IType> type = InterfacePtr<IUnknown>(object).query<IType>()) {
        detail::unregister_type(type.get());
      }
      object->release();
    }
    if (classes_[i].classInit != nullptr) classes_[i].classInit(false);
  }
  class_objects_.clear();
  {
    Registry& modules = registry();
    detail::WriterLock lock(modules.mutex);
    modules.modules.erase(name_);
  }
  // No reader finds the module any more; lookups still under way hold the
  // bundle until they end.
  bundle_.reset();
  initialized_ = false;
}

SCOM_Module* find_module(const char* name) {
  if (name == nullptr) return nullptr;
  Registry& modules = registry();
  detail::ReaderLock lock(modules.mutex);
  auto it = modules.modules.find(std::string_view(name));
  return it == modules.modules.end() ? nullptr : it->second.module;
}

namespace detail {

std::shared_ptr<SCOM_ResourceBundle> find_module_bundle(const char* name) {
  if (name == nullptr) return nullptr;
  Registry& modules = registry();
  detail::ReaderLock lock(modules.mutex);
  auto it = modules.modules.find(std::string_view(name));
  return it == modules.modules.end() ? nullptr : it->second.bundle;
}

}  // namespace detail

SCOM_Context::SCOM_Context() : exceptions_count_(new ExceptionsCount) {}

SCOM_Context::~SCOM_Context() = default;

SCOM_Context& SCOM_Context::current() {
  Thread& thread = Thread::current();
  if (!thread.context_) thread.context_ = std::make_unique<SCOM_Context>();
  return *thread.context_;
}

const Locale& SCOM_Context::locale() const { return Thread::current().locale_; }

SCOM_ResourceBundle* SCOM_Context::resourceBundle(const char* module) const {
  SCOM_Module* found = find_module(module);
  return found == nullptr ? nullptr : found->resourceBundle();
}

ExceptionsCount& current_ecxeptions_count() { return SCOM_Context::current().exceptionsCount(); }

}  // namespace core
