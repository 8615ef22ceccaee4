// Implements core/init.h and base/lifecycle.h: the library's start, its teardown and CoreInit.
#include "base/lifecycle.h"

#include <unicode/uclean.h>
#include <unicode/udata.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "base/locale_data.h"
#include "base/message_data.h"
#include "core/binary_data.h"
#include "core/collections.h"
#include "core/enumeration_types.h"
#include "core/init.h"
#include "core/scom.h"
#include "core/thread.h"
#include "core/value_table.h"
#include "internal/icu.h"
#include "internal/thread_annotations.h"
#include "rivet/memory_manager.h"
#include "values/builtin_enumerations.h"
#include "values/value_objects.h"

namespace core {
namespace detail {
namespace {

// The process-wide state of the start; never destroyed, because the teardown
// runs after the static destructors of the library.
struct Runtime {
  std::once_flag started;
  std::once_flag stopped;
  // Set early in the start, so that code run by the start itself (class
  // hooks that touch thread settings) finds the slot without starting again.
  // The object outlives the teardown, which only retires it, because other
  // threads may be between reading this pointer and using the slot.
  std::atomic<platform::ThreadLocalSlot*> settings_slot{nullptr};
  std::atomic<bool> torn_down{false};
  rivet::MemoryCallbackHandle memory_callback = rivet::MemoryCallbackHandle::kInvalid;
};

Runtime& runtime() {
  static auto* const instance = new Runtime;
  return *instance;
}

// ICU is shared with the host and other modules: the library initialises it
// on first use and cleans it up only when its own use count drops to 0.
struct IcuUse {
  Mutex mutex;
  int count CORE_GUARDED_BY(mutex) = 0;
};

IcuUse& icu_use() {
  static auto* const instance = new IcuUse;
  return *instance;
}

void acquire_icu() {
  IcuUse& use = icu_use();
  MutexLock lock(use.mutex);
  if (use.count++ == 0) {
    detail::IcuStatus status;
    u_init(status);
    if (status.isFailure()) {
      std::fprintf(stderr, "core: ICU cannot start: %s\n", status.errorName());
      std::abort();
    }
  }
}

// ICU must not be cleaned up while any other thread may use it, so the
// clean-up is left out while threads that called in are still alive (their
// settings are): the host's threads may outlive the library's teardown.
void release_icu() {
  IcuUse& use = icu_use();
  MutexLock lock(use.mutex);
  if (--use.count == 0 && live_thread_settings() == 0) u_cleanup();
}

void release_thread_settings(void* settings) { static_cast<Thread*>(settings)->unref(); }

// The class objects of the library's own types.
template <TypeCode kCode>
IUnknown* primitive_type_object() {
  return primitive_type(kCode);
}

const SCOM_ClassMapEntry kCoreClasses[] = {
    {kUndefinedTypeClsid, &primitive_type_object<TypeCode::Undefined>, nullptr},
    {kNullTypeClsid, &primitive_type_object<TypeCode::Null>, nullptr},
    {kBooleanTypeClsid, &primitive_type_object<TypeCode::Boolean>, nullptr},
    {kNumberTypeClsid, &primitive_type_object<TypeCode::Number>, nullptr},
    {kStringTypeClsid, &primitive_type_object<TypeCode::String>, nullptr},
    {kDateTypeClsid, &primitive_type_object<TypeCode::Date>, nullptr},
    {kTypeTypeClsid, &primitive_type_object<TypeCode::Type>, nullptr},
    {kComObjectTypeClsid, &com_object_type_object, nullptr},
    {kBinaryDataTypeClsid, &binary_data_type_object, nullptr},
    {kSearchDirectionTypeClsid, &builtin_enumeration_type_object<0>, nullptr},
    {kRoundModeTypeClsid, &builtin_enumeration_type_object<1>, nullptr},
    {kSortDirectionTypeClsid, &builtin_enumeration_type_object<2>, nullptr},
    {kDateFractionsTypeClsid, &builtin_enumeration_type_object<3>, nullptr},
    {kAllowedLengthTypeClsid, &builtin_enumeration_type_object<4>, nullptr},
    {kAllowedSignTypeClsid, &builtin_enumeration_type_object<5>, nullptr},
    {kTextDirectionTypeClsid, &builtin_enumeration_type_object<6>, nullptr},
    {kPictureTypeTypeClsid, &builtin_enumeration_type_object<7>, nullptr},
    {kKeyAndValueTypeClsid, &collection_type_object<0>, nullptr},
    {kArrayTypeClsid, &collection_type_object<1>, nullptr},
    {kFixedArrayTypeClsid, &collection_type_object<2>, nullptr},
    {kMapTypeClsid, &collection_type_object<3>, nullptr},
    {kFixedMapTypeClsid, &collection_type_object<4>, nullptr},
    {kStructureTypeClsid, &collection_type_object<5>, nullptr},
    {kFixedStructureTypeClsid, &collection_type_object<6>, nullptr},
    {kValueTableTypeClsid, &value_table_type_object<0>, nullptr},
    {kValueTableColumnCollectionTypeClsid, &value_table_type_object<1>, nullptr},
    {kValueTableColumnTypeClsid, &value_table_type_object<2>, nullptr},
    {kValueTableRowTypeClsid, &value_table_type_object<3>, nullptr},
    {kValueTableIndexCollectionTypeClsid, &value_table_type_object<4>, nullptr},
};

// The library's own component module: its messages are the bundle "basalt".
SCOM_Module& core_module() {
  static auto* const module = new SCOM_Module("core", "basalt", kCoreClasses);
  return *module;
}

// Asked by rivet to give memory back: the library's caches that can be
// rebuilt on demand let go of what nobody uses.
size_t release_caches(void*, size_t) { return trim_locale_cache(); }

// Hands the embedded message data to ICU under the bundle's name, so that
// opening "basalt" finds it without any file. Should ICU refuse it, lookups
// find no texts, which the library survives: descriptions then carry only
// their details.
void register_message_data() {
  detail::IcuStatus status;
  udata_setAppData("basalt", kBasaltData, status);
}

}  // namespace

void start_library() {
  Runtime& state = runtime();
  std::call_once(state.started, [&state] {
    state.settings_slot = new platform::ThreadLocalSlot(&release_thread_settings);
    acquire_icu();
    register_message_data();
    core_module().initialize();
    state.memory_callback = rivet::register_memory_callback(&release_caches, nullptr);
  });
}

void stop_library() {
  Runtime& state = runtime();
  std::call_once(state.stopped, [&state] {
    if (state.settings_slot == nullptr) return;  // never started
    rivet::unregister_memory_callback(state.memory_callback);
    core_module().cleanup();
    // Other threads' settings go with their threads; the unloading thread's
    // would outlive the slot, so they are released here.
    state.torn_down.store(true, std::memory_order_release);
    platform::ThreadLocalSlot* slot = state.settings_slot.load(std::memory_order_acquire);
    void* settings = slot->get();
    slot->retire();
    if (settings != nullptr) release_thread_settings(settings);
    release_icu();
  });
}

platform::ThreadLocalSlot* thread_settings_slot() {
  Runtime& state = runtime();
  if (state.torn_down.load(std::memory_order_acquire)) return nullptr;
  platform::ThreadLocalSlot* slot = state.settings_slot.load(std::memory_order_acquire);
  if (slot == nullptr) {
    start_library();
    slot = state.settings_slot.load(std::memory_order_acquire);
  }
  return slot;
}

}  // namespace detail

void CoreInit() { detail::start_library(); }

void CoreDeinit() {}

CoreInitManager::CoreInitManager() { detail::start_library(); }

CoreInitManager::~CoreInitManager() = default;

}  // namespace core
