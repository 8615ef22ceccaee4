// The component model: modules, their class maps and resource bundles, and
// the calling thread's component-model context.
//
// A module is a unit of the platform (the library itself is the module
// "core") that registers the classes it offers in a class map and owns a
// resource bundle of its messages. Modules register with a process-wide
// registry by name; a thread finds a module's bundle through its context.
//
//   static const core::SCOM_ClassMapEntry kClasses[] = {{kMyTypeClsid, &init_my_type}};
//   static core::SCOM_Module module("mymodule", "mybundle", kClasses);
//   module.initialize();
//   core::SCOM_Context::current().resourceBundle("mymodule");
//
// Thread safety: the registry may be used from any thread. A context belongs
// to its thread.
#ifndef CORE_SCOM_H_
#define CORE_SCOM_H_

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/iunknown.h"
#include "core/locale.h"
#include "core/ref_ptr.h"
#include "core/refcountable.h"

namespace core {

class SCOM_ResourceBundle;

// One class of a module's class map: its identifier, the function that
// gives its class object (a new reference; for a type, its IType, which the
// module registers in the registry of types while it runs), and the hook
// that prepares (true, when the module starts) and releases (false, when it
// stops) whatever the class keeps process-wide. Either function may be null.
struct SCOM_ClassMapEntry {
  GUID clsid;
  IUnknown* (*classObject)();
  void (*classInit)(bool starting);
};

class CORE_EXPORT SCOM_Module {
 public:
  // `name` is the module's name in the registry, `bundle` the name of its
  // resource bundle (null for none). REQUIRES: both outlive the module.
  SCOM_Module(const char* name, const char* bundle, std::span<const SCOM_ClassMapEntry> classes);
  ~SCOM_Module();
  SCOM_Module(const SCOM_Module&) = delete;
  SCOM_Module& operator=(const SCOM_Module&) = delete;

  // Registers the module by name, opens its bundle, takes every class
  // object (registering those that are types) and runs every class's hook
  // with true. A second call does nothing. Throws `SCOM_Exception` when
  // another module of the same name is registered.
  void initialize();
  // Releases the class objects (unregistering the types) and runs the hooks
  // with false, in reverse order; closes the bundle and removes the module
  // from the registry. Does nothing when not initialized.
  void cleanup();

  const char* name() const noexcept { return name_; }
  std::span<const SCOM_ClassMapEntry> classMap() const noexcept { return classes_; }
  // The module's bundle, or null when it has none or is not initialized.
  // The pointer dies with cleanup(); load_module_wstring() holds the bundle
  // for the length of a lookup and so is safe against a concurrent cleanup().
  SCOM_ResourceBundle* resourceBundle() const noexcept { return bundle_.get(); }

 private:
  const char* name_;
  const char* bundle_name_;
  std::span<const SCOM_ClassMapEntry> classes_;
  // Shared with lookups under way, which may end after cleanup().
  std::shared_ptr<SCOM_ResourceBundle> bundle_;
  // The class objects of the class map, in its order (null where none).
  std::vector<IUnknown*> class_objects_;
  bool initialized_ = false;
};

// The registered module named `name` ("core" is the library itself), or null.
CORE_EXPORT SCOM_Module* find_module(const char* name);

// The count of exceptions created on one thread. Each exception holds a
// reference to the counter of the thread that created it.
class CORE_EXPORT ExceptionsCount : public Refcountable<ExceptionsCount> {
 public:
  void increment() noexcept { value_.fetch_add(1, std::memory_order_relaxed); }
  uint64_t value() const noexcept { return value_.load(std::memory_order_relaxed); }

 private:
  std::atomic<uint64_t> value_{0};
};

// The calling thread's component-model context: the locale in which messages
// are looked up, the bundles of modules by name, and the thread's exception
// counter.
class CORE_EXPORT SCOM_Context {
 public:
  // The calling thread's context, created on first use.
  static SCOM_Context& current();

  // The locale of messages: the thread's locale (Thread::locale()). The
  // reference stays valid until the thread sets another locale.
  const Locale& locale() const;
  // The bundle of the module `module`, or null when no such module is
  // registered or it has no bundle. Valid until the module's cleanup().
  SCOM_ResourceBundle* resourceBundle(const char* module) const;
  ExceptionsCount& exceptionsCount() noexcept { return *exceptions_count_; }

  SCOM_Context();
  ~SCOM_Context();
  SCOM_Context(const SCOM_Context&) = delete;
  SCOM_Context& operator=(const SCOM_Context&) = delete;

 private:
  RefPtr<ExceptionsCount> exceptions_count_;
};

// The calling thread's exception counter.
CORE_EXPORT ExceptionsCount& current_ecxeptions_count();

}  // namespace core

#endif  // CORE_SCOM_H_
