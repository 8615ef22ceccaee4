// Implements core/scom.h: modules, their registry and the thread's component context.
#include "core/scom.h"

#include <cstring>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>

#include "core/exception_classes.h"
#include "core/resource_bundle.h"
#include "core/thread.h"
#include "core/value_interfaces.h"
#include "values/type_registry.h"

namespace core {
namespace {

// The registry of modules by name. Never destroyed: modules unregister during
// the teardown, after the library's statics are gone.
struct Registry {
  std::shared_mutex mutex;
  std::map<std::string, SCOM_Module*, std::less<>> modules;
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
    Registry& modules = registry();
    std::unique_lock<std::shared_mutex> lock(modules.mutex);
    if (!modules.modules.emplace(name_, this).second) {
      throw SCOM_Exception(SCOM_Exception::Reason::DuplicateModule, String::fromUtf8(name_));
    }
  }
  if (bundle_name_ != nullptr) bundle_ = new SCOM_ResourceBundle(bundle_name_);
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
    std::unique_lock<std::shared_mutex> lock(modules.mutex);
    modules.modules.erase(name_);
  }
  delete bundle_;
  bundle_ = nullptr;
  initialized_ = false;
}

SCOM_Module* find_module(const char* name) {
  if (name == nullptr) return nullptr;
  Registry& modules = registry();
  std::shared_lock<std::shared_mutex> lock(modules.mutex);
  auto it = modules.modules.find(std::string_view(name));
  return it == modules.modules.end() ? nullptr : it->second;
}

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
