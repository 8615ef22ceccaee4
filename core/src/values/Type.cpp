// Implements core/type.h: types by code, class identifier and name.
#include "core/type.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <unordered_map>
#include <vector>

#include "core/exception_classes.h"
#include "core/nocase.h"
#include "core/value.h"
#include "internal/thread_annotations.h"
#include "values/type_registry.h"

namespace core {
namespace detail {
namespace {

// Never destroyed: modules unregister their types during the teardown,
// after the library's statics are gone.
//
// Each type in `by_clsid` holds the registry's one reference. A name lists
// every registered type that bears it, latest last, so that unregistering
// one gives the name back to the type registered before it; the lists hold
// no reference of their own, and a type leaves them whenever it leaves
// `by_clsid`.
struct Registry {
  SharedMutex mutex;
  std::unordered_map<GUID, IType*> by_clsid CORE_GUARDED_BY(mutex);
  std::map<String, std::vector<IType*>, OrderNocase> by_name CORE_GUARDED_BY(mutex);

  void addNames(IType* type) CORE_REQUIRES(mutex) {
    for (const Language language : {Language::English, Language::Russian}) {
      const char16_t* name = type->getName(language);
      if (name == nullptr) continue;
      std::vector<IType*>& bearers = by_name[String(name)];
      // A type whose two names are alike is listed once.
      if (std::find(bearers.begin(), bearers.end(), type) == bearers.end()) {
        bearers.push_back(type);
      }
    }
  }

  void removeNames(IType* type) CORE_REQUIRES(mutex) {
    for (auto it = by_name.begin(); it != by_name.end();) {
      std::erase(it->second, type);
      it = it->second.empty() ? by_name.erase(it) : std::next(it);
    }
  }
};

Registry& registry() {
  static auto* const instance = new Registry;
  return *instance;
}

}  // namespace

void register_type(IType* type) {
  const GUID clsid = type->getCLSID();
  Registry& types = registry();
  WriterLock lock(types.mutex);
  type->acquire();
  IType*& slot = types.by_clsid[clsid];
  if (slot != nullptr) {
    types.removeNames(slot);
    slot->release();
  }
  slot = type;
  types.addNames(type);
}

void unregister_type(IType* type) {
  Registry& types = registry();
  WriterLock lock(types.mutex);
  auto it = types.by_clsid.find(type->getCLSID());
  if (it == types.by_clsid.end() || it->second != type) return;
  types.by_clsid.erase(it);
  types.removeNames(type);
  type->release();
}

InterfacePtr<IType> find_type(const GUID& clsid) {
  Registry& types = registry();
  ReaderLock lock(types.mutex);
  auto it = types.by_clsid.find(clsid);
  return it == types.by_clsid.end() ? InterfacePtr<IType>() : InterfacePtr<IType>(it->second);
}

InterfacePtr<IType> find_type(std::u16string_view name) {
  Registry& types = registry();
  ReaderLock lock(types.mutex);
  auto it = types.by_name.find(name);
  return it == types.by_name.end() ? InterfacePtr<IType>() : InterfacePtr<IType>(it->second.back());
}

}  // namespace detail

namespace {

InterfacePtr<IType> type_of_code(Type::Code code) {
  IType* type = Type::create_type(code);
  if (type == nullptr) {
    throw TypeException(String::fromUtf8(std::to_string(static_cast<int>(code))));
  }
  return InterfacePtr<IType>(type);
}

InterfacePtr<IType> registered(const GUID& clsid) {
  InterfacePtr<IType> type = detail::find_type(clsid);
  if (!type) throw TypeException(clsid.toString());
  return type;
}

InterfacePtr<IType> registered(const String& name) {
  InterfacePtr<IType> type = detail::find_type(std::u16string_view(name));
  if (!type) throw TypeException(name);
  return type;
}

}  // namespace

Type::Type(Code code) : type_(type_of_code(code)) {}

Type::Type(const GUID& clsid) : type_(registered(clsid)) {}

Type::Type(const char16_t* name) : Type(String(name)) {}

Type::Type(const String& name) : type_(registered(name)) {}

Type::Type(IType* type, bool acquire) noexcept : type_(type, acquire) {}

Type::Type(ITypeValue* value) : type_(registered(value->typeCLSID())) {}

InterfacePtr<ITypeValue> Type::getITypeValue() const {
  return create_type_value(getCLSID()).query<ITypeValue>();
}

InterfacePtr<IType> Type::create_type(const GUID& clsid) { return detail::find_type(clsid); }

}  // namespace core
