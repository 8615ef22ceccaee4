// Contexts: the bilingual property and method tables through which script
// code reaches built-in objects, and the host's way of calling them.
//
// A context definition (IContextDefBase) tells how many properties and
// methods an object has, their names in English (language 0) and Russian
// (language 1), whether a property can be read or written, how many
// parameters a method takes, their defaults and whether the method returns
// a value. Names are found in either language with case ignored. A context
// (IContext) is an object that has such a definition and answers reads,
// writes and calls by index.
//
// Declaring a built-in object. The table is static constant data, one per
// object type; the definition built over it is one process-wide object, so
// an object pays nothing per instance for its names:
//
//   class Shelf final : public core::ContextValueBase {
//    public:
//     static constexpr core::ContextPropDecl kProps[] = {
//         {{u"Capacity", u"Вместимость"}, /*readable=*/true, /*writable=*/true},
//     };
//     static constexpr core::ContextParamDefault kPutDefaults[] = {
//         core::ContextParamDefault::number(1)};   // the count, when omitted
//     static constexpr core::ContextMethodDecl kMethods[] = {
//         {{u"Count", u"Количество"}, 0, /*returns=*/true},
//         {{u"Put", u"Положить"}, 2, /*returns=*/false, kPutDefaults},
//     };
//     static constexpr core::ContextTable kTable{kProps, kMethods};
//
//     explicit Shelf(core::IType* type)
//         : ContextValueBase(type, core::static_context_def<kTable>()) {}
//     bool getPropVal(int prop, core::GenericValue& value) override { ... }
//     bool setPropVal(int prop, const core::GenericValue& value) override { ... }
//     bool call(int method, core::GenericValue* ret_val,
//               std::vector<core::GenericValue*>& params) override {
//       static constexpr core::ContextMethodFunction<Shelf> kCalls[] = {&Shelf::count,
//                                                                       &Shelf::put};
//       return core::context_method_to_function(this, kTable, kCalls, method, ret_val, params);
//     }
//    private:
//     void count(core::GenericValue* ret_val, std::vector<core::GenericValue*>& params);
//     void put(core::GenericValue* ret_val, std::vector<core::GenericValue*>& params);
//   };
//
// The host's view: what script code "shelf.Put(item)" does.
//
//   core::Value item(u"book");
//   std::vector<core::GenericValue*> args{&item};
//   core::call_context_method(shelf, core::String(u"put"), args, nullptr);  // count: 1
//   std::vector<core::GenericValue*> none;
//   core::Value count;
//   core::call_context_method(shelf, core::String(u"Количество"), none, &count);
//
// Thread safety: definitions are immutable once made, apart from their name
// caches, which are built once under a lock and may be read from any
// thread. A context's own state is the object's business (the built-in
// collections are used by one thread at a time).
#ifndef CORE_CONTEXT_H_
#define CORE_CONTEXT_H_

#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/string.h"
#include "core/value.h"
#include "core/value_impl.h"

namespace core {

// What getPropInfo() tells about one property.
struct ContextPropInfo {
  const char16_t* names[2] = {nullptr, nullptr};  // English, Russian (English again when none)
  bool readable = false;
  bool writable = false;
  int category = 0;
};

// The definition of a context. Indices are 0-based; `lang` is 0 (English) or
// 1 (Russian) for every definition, and some (enumerations) answer further
// alternative names at 2 and 3. Names are zero-terminated and live as long as
// the definition. Every operation given an index outside its table answers
// null, false, 0 or -1 and never fails.
class IContextDefBase : public IUnknown {
 public:
  // {CCD6A670-B4B9-42BA-9EB5-AEE2D66BD76D}
  static constexpr GUID kIid = {
      0xCCD6A670, 0xB4B9, 0x42BA, {0x9E, 0xB5, 0xAE, 0xE2, 0xD6, 0x6B, 0xD7, 0x6D}};

  virtual int getNProps() = 0;
  // The property's name with index `lang`, or null when it has none: the
  // list of a member's names ends at the first null.
  virtual const char16_t* getPropName(int prop, int lang) = 0;
  virtual bool isPropReadable(int prop) = 0;
  virtual bool isPropWritable(int prop) = 0;
  // The index of the property bearing `name` in any language, case ignored;
  // of several, the lowest index. -1 when none does.
  virtual int findProp(const String& name) = 0;
  virtual int getNMethods() = 0;
  virtual const char16_t* getMethodName(int method, int lang) = 0;
  virtual int getNParams(int method) = 0;
  virtual bool isParamIn(int method, int param) = 0;
  virtual bool isParamOut(int method, int param) = 0;
  // True, with the default stored in `value`, when the parameter has one.
  // A parameter that may be omitted without a value of its own gets
  // proceed_call_unspecified_value(), the "not given" marker.
  virtual bool getParamDefValue(int method, int param, GenericValue* value) = 0;
  virtual bool hasRetVal(int method) = 0;
  virtual int findMethod(const String& name) = 0;
  // Everything about a property at once; false outside the table.
  virtual bool getPropInfo(int prop, ContextPropInfo& info) = 0;
  // The group under which a member browser shows the property (0 for the
  // common one); -1 outside the table.
  virtual int getPropCatagory(int prop) = 0;

 protected:
  ~IContextDefBase() override = default;
};

// An object reached through a definition: it answers the definition's
// operations (usually by forwarding, see IContextExtImplBase) and reads,
// writes and calls by index. Each of getPropVal, setPropVal and call returns
// false for an index outside the table or a member that refuses the access;
// failures of the member itself are thrown (ContextException and the like).
class IContext : public IContextDefBase {
 public:
  // {CE1563BE-439E-492C-B5B8-E81A51917B05}
  static constexpr GUID kIid = {
      0xCE1563BE, 0x439E, 0x492C, {0xB5, 0xB8, 0xE8, 0x1A, 0x51, 0x91, 0x7B, 0x05}};

  // The definition itself, without a new reference: it lives as long as the
  // context.
  virtual IContextDefBase* getIContextDef() = 0;
  virtual bool getPropVal(int prop, GenericValue& value) = 0;
  virtual bool setPropVal(int prop, const GenericValue& value) = 0;
  // REQUIRES: `params` holds getNParams(method) non-null arguments (the
  // calling helpers below see to it). `ret_val` is null when the caller
  // wants no result.
  virtual bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) = 0;

 protected:
  ~IContext() override = default;
};

// ---------------------------------------------------------------------------
// Lookup strategies: turning a name into an index. All three scan members
// from index 0 upwards and each member's names from language 0 upwards, so
// that a name shared by several members always finds the lowest index. The
// caches are built from the definition on first use; reset...Cache() empties
// them, for a definition whose names change. REQUIRES for reset: no lookup
// in this cache under way on another thread.

// Sorted vectors searched by halving, ordered by compare_nocase.
class CORE_EXPORT ContextDefCached {
 public:
  ContextDefCached() = default;
  ContextDefCached(const ContextDefCached&) = delete;
  ContextDefCached& operator=(const ContextDefCached&) = delete;

  int findProp(IContextDefBase* def, const String& name);
  int findMethod(IContextDefBase* def, const String& name);
  void initPropsCache(IContextDefBase* def);
  void initMethodsCache(IContextDefBase* def);
  void resetPropsCache();
  void resetMethodsCache();

 private:
  struct Entry {
    String name;
    int index;
  };
  struct Cache {
    std::atomic<bool> built{false};
    std::mutex mutex;
    std::vector<Entry> entries;
  };

  static void init(Cache& cache, IContextDefBase* def, bool methods);
  static int find(const Cache& cache, std::u16string_view name) noexcept;
  static void reset(Cache& cache);

  Cache props_;
  Cache methods_;
};
// The name the platform's modules use for the sorted strategy.
using _ContextDefCached = ContextDefCached;  // NOLINT(bugprone-reserved-identifier)

// Hash tables: buckets chosen by hash_nocase masked by the bucket mask,
// chains compared with compare_nocase.
class CORE_EXPORT ContextDefHashCached {
 public:
  ContextDefHashCached() = default;
  ContextDefHashCached(const ContextDefHashCached&) = delete;
  ContextDefHashCached& operator=(const ContextDefHashCached&) = delete;

  int findProp(IContextDefBase* def, const String& name);
  int findMethod(IContextDefBase* def, const String& name);
  void initPropsCache(IContextDefBase* def);
  void initMethodsCache(IContextDefBase* def);
  void resetPropsCache();
  void resetMethodsCache();

 private:
  struct Entry {
    String name;
    std::size_t hash;
    int index;
    int next;  // the next entry of the chain, or -1
  };
  struct Cache {
    std::atomic<bool> built{false};
    std::mutex mutex;
    std::vector<Entry> entries;
    std::vector<int> buckets;  // the first entry of each chain, or -1
    std::size_t mask = 0;
  };

  static void init(Cache& cache, IContextDefBase* def, bool methods);
  static int find(const Cache& cache, std::u16string_view name) noexcept;
  static void reset(Cache& cache);

  Cache props_;
  Cache methods_;
};

// No cache: every lookup scans the definition. Names are compared by their
// case foldings whatever their lengths, since folding may change a length
// ("Straße" and "STRASSE" are one name), so that it agrees with the caches.
class CORE_EXPORT ContextDefNoncached {
 public:
  static int findProp(IContextDefBase* def, const String& name);
  static int findMethod(IContextDefBase* def, const String& name);
  // Nothing to build or drop; present so that the strategies are alike.
  static void initPropsCache(IContextDefBase*) noexcept {}
  static void initMethodsCache(IContextDefBase*) noexcept {}
  static void resetPropsCache() noexcept {}
  static void resetMethodsCache() noexcept {}
};

// ---------------------------------------------------------------------------
// The declaration of a built-in object's members as static constant data.

// A member's names: English, and Russian (null: the English name serves).
struct ContextName {
  const char16_t* english = nullptr;
  const char16_t* russian = nullptr;
};

struct ContextPropDecl {
  ContextName name = {};
  bool readable = true;
  bool writable = false;
  int category = 0;
};

// The default of an optional parameter, as constant data.
class CORE_EXPORT ContextParamDefault {
 public:
  enum class Kind : std::uint8_t { Required, NotGiven, Undefined, Null, Boolean, Number, Text };

  // The parameter must be given.
  static constexpr ContextParamDefault required() noexcept { return {Kind::Required, 0, nullptr}; }
  // It may be omitted; the method then receives the "not given" marker.
  static constexpr ContextParamDefault notGiven() noexcept { return {Kind::NotGiven, 0, nullptr}; }
  static constexpr ContextParamDefault undefined() noexcept {
    return {Kind::Undefined, 0, nullptr};
  }
  static constexpr ContextParamDefault null() noexcept { return {Kind::Null, 0, nullptr}; }
  static constexpr ContextParamDefault boolean(bool value) noexcept {
    return {Kind::Boolean, value ? 1 : 0, nullptr};
  }
  static constexpr ContextParamDefault number(long long value) noexcept {
    return {Kind::Number, value, nullptr};
  }
  // REQUIRES: `value` lives as long as the table (a literal does).
  static constexpr ContextParamDefault text(const char16_t* value) noexcept {
    return {Kind::Text, 0, value};
  }

  constexpr Kind kind() const noexcept { return kind_; }
  // Stores the default in `value`; false, leaving it alone, for Required.
  bool store(GenericValue& value) const;

 private:
  constexpr ContextParamDefault(Kind kind, long long number, const char16_t* text) noexcept
      : kind_(kind), number_(number), text_(text) {}

  Kind kind_;
  long long number_;
  const char16_t* text_;
};

// A method. `defaults` covers the last defaults.size() parameters (the ones
// before are required); bit i of `out_params` marks parameter i as one the
// method writes back to.
struct ContextMethodDecl {
  ContextName name = {};
  int n_params = 0;
  bool returns = false;
  std::span<const ContextParamDefault> defaults = {};
  std::uint32_t out_params = 0;
};

struct ContextTable {
  std::span<const ContextPropDecl> props = {};
  std::span<const ContextMethodDecl> methods = {};
};

// ---------------------------------------------------------------------------
// Definitions.

// The base of definitions implemented in this library: reference counting,
// findProp/findMethod through a ContextDefHashCached over the derived
// class's names, and getPropInfo/getPropCatagory from the other operations.
class CORE_EXPORT ContextDefExternBase : public UnknownImpl<IContextDefBase> {
 public:
  int findProp(const String& name) override { return names_.findProp(this, name); }
  int findMethod(const String& name) override { return names_.findMethod(this, name); }
  bool getPropInfo(int prop, ContextPropInfo& info) override;
  int getPropCatagory(int prop) override;

 protected:
  ContextDefExternBase() = default;
  ~ContextDefExternBase() override = default;
  // For a derived definition whose names change.
  void propNamesChanged() { names_.resetPropsCache(); }
  void methodNamesChanged() { names_.resetMethodsCache(); }

 private:
  ContextDefHashCached names_;
};

// A definition over a static ContextTable.
class CORE_EXPORT ContextDefCore : public ContextDefExternBase {
 public:
  // REQUIRES: `table` and the data it points to outlive the definition.
  explicit ContextDefCore(const ContextTable& table) noexcept : table_(table) {}

  const ContextTable& table() const noexcept { return table_; }

  int getNProps() override;
  const char16_t* getPropName(int prop, int lang) override;
  bool isPropReadable(int prop) override;
  bool isPropWritable(int prop) override;
  int getNMethods() override;
  const char16_t* getMethodName(int method, int lang) override;
  int getNParams(int method) override;
  bool isParamIn(int method, int param) override;
  bool isParamOut(int method, int param) override;
  bool getParamDefValue(int method, int param, GenericValue* value) override;
  bool hasRetVal(int method) override;
  int getPropCatagory(int prop) override;

 protected:
  ~ContextDefCore() override = default;

 private:
  const ContextTable& table_;
};

// The process-wide definition over `kTable`: made on first use, never
// destroyed, its reference count untouched (acquire and release change
// nothing), so contexts may keep it without a reference of their own.
CORE_EXPORT IContextDefBase* make_static_context_def(const ContextTable& table);
template <const ContextTable& kTable>
IContextDefBase* static_context_def() {
  static IContextDefBase* const def = make_static_context_def(kTable);
  return def;
}

// A definition whose methods and first properties come from a static table
// and whose further properties are given at run time by the derived class
// (the columns of a value table). The derived class calls
// dynamicPropsChanged() whenever those names change.
class CORE_EXPORT VTContextDefBase : public ContextDefCore {
 public:
  int getNProps() override;
  const char16_t* getPropName(int prop, int lang) override;
  bool isPropReadable(int prop) override;
  bool isPropWritable(int prop) override;
  int getPropCatagory(int prop) override;

 protected:
  explicit VTContextDefBase(const ContextTable& table) noexcept : ContextDefCore(table) {}
  ~VTContextDefBase() override = default;

  virtual int dynamicPropCount() = 0;
  // Index `prop` counts from the first dynamic property; `lang` as for
  // getPropName.
  virtual const char16_t* dynamicPropName(int prop, int lang) = 0;
  virtual bool isDynamicPropWritable(int prop) = 0;
  void dynamicPropsChanged() { propNamesChanged(); }

 private:
  int staticPropCount() const noexcept { return static_cast<int>(table().props.size()); }
};

// ---------------------------------------------------------------------------
// The registry of definitions, by identifier. Modules register the
// definitions of their objects; IContextExtImplBase finds them there.

// Registers `def` (acquired) under `id`, replacing (and releasing) an earlier
// one.
CORE_EXPORT void register_context_def(const GUID& id, IContextDefBase* def);
// Registers a maker: the definition is made on the first lookup of `id`
// (see ContextDefExternLazed) and kept until unregistered. REQUIRES: `make`
// does not use the registry (it runs under the registry's lock).
CORE_EXPORT void register_context_def(const GUID& id, InterfacePtr<IContextDefBase> (*make)());
CORE_EXPORT void unregister_context_def(const GUID& id);
// The definition registered under `id`, or null.
CORE_EXPORT InterfacePtr<IContextDefBase> find_context_def(const GUID& id);

// A registry entry whose definition is made when first asked for. The
// registry keeps these; a module registers one through the second form of
// register_context_def().
class CORE_EXPORT ContextDefExternLazed {
 public:
  explicit ContextDefExternLazed(InterfacePtr<IContextDefBase> (*make)()) noexcept : make_(make) {}
  explicit ContextDefExternLazed(IContextDefBase* def) : made_(def) {}

  // The definition, made on the first call. REQUIRES: called under the
  // registry's lock.
  InterfacePtr<IContextDefBase> get();

 private:
  InterfacePtr<IContextDefBase> (*make_)() = nullptr;
  InterfacePtr<IContextDefBase> made_;
};

// ---------------------------------------------------------------------------
// Contexts.

// The base of contexts whose definition lives elsewhere: every definition
// operation is forwarded to it. The definition is either given to the
// constructor, or found on first use in the registry under contextDefId()
// and then kept until the context is destroyed. getIContextDef() throws
// `IllegalStateException` ("IDS_ERR_ILLEGAL_STATE") when nothing is
// registered under that identifier.
class CORE_EXPORT IContextExtImplBase : public IContext {
 public:
  IContextDefBase* getIContextDef() override;

  int getNProps() override { return getIContextDef()->getNProps(); }
  const char16_t* getPropName(int prop, int lang) override {
    return getIContextDef()->getPropName(prop, lang);
  }
  bool isPropReadable(int prop) override { return getIContextDef()->isPropReadable(prop); }
  bool isPropWritable(int prop) override { return getIContextDef()->isPropWritable(prop); }
  int findProp(const String& name) override { return getIContextDef()->findProp(name); }
  int getNMethods() override { return getIContextDef()->getNMethods(); }
  const char16_t* getMethodName(int method, int lang) override {
    return getIContextDef()->getMethodName(method, lang);
  }
  int getNParams(int method) override { return getIContextDef()->getNParams(method); }
  bool isParamIn(int method, int param) override {
    return getIContextDef()->isParamIn(method, param);
  }
  bool isParamOut(int method, int param) override {
    return getIContextDef()->isParamOut(method, param);
  }
  bool getParamDefValue(int method, int param, GenericValue* value) override {
    return getIContextDef()->getParamDefValue(method, param, value);
  }
  bool hasRetVal(int method) override { return getIContextDef()->hasRetVal(method); }
  int findMethod(const String& name) override { return getIContextDef()->findMethod(name); }
  bool getPropInfo(int prop, ContextPropInfo& info) override {
    return getIContextDef()->getPropInfo(prop, info);
  }
  int getPropCatagory(int prop) override { return getIContextDef()->getPropCatagory(prop); }

 protected:
  // The definition is looked up under contextDefId() when first needed.
  IContextExtImplBase() noexcept = default;
  // The definition is `def` (acquired).
  explicit IContextExtImplBase(IContextDefBase* def) noexcept;
  ~IContextExtImplBase() override;
  IContextExtImplBase(const IContextExtImplBase&) = delete;
  IContextExtImplBase& operator=(const IContextExtImplBase&) = delete;

  // The identifier of the definition in the registry. The default throws
  // `IllegalStateException` ("IDS_ERR_ILLEGAL_STATE"): a context built
  // without a definition must name one.
  virtual GUID contextDefId();

 private:
  IContextDefBase* resolve();

  std::atomic<IContextDefBase*> def_{nullptr};  // owned
};

// The base of built-in object values reached through a context: an object
// value (core/value_impl.h) that offers IContext as well.
class CORE_EXPORT ContextValueBase : public ObjectValueCore, public IContextExtImplBase {
 public:
  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ObjectValueCore::acquire(); }
  int32_t release() override { return ObjectValueCore::release(); }

 protected:
  ContextValueBase(IType* type, IContextDefBase* def) noexcept
      : ObjectValueCore(type), IContextExtImplBase(def) {}
  explicit ContextValueBase(IType* type) noexcept : ObjectValueCore(type) {}
  ~ContextValueBase() override = default;
};

// A context joining several contexts: its properties are those of the first
// part, then those of the second and so on, and the same for its methods.
// A name found in an earlier part wins, as the lower index does.
class CORE_EXPORT GroupContext final : public UnknownImpl<IContext> {
 public:
  // Every part acquired. REQUIRES: no part is null.
  explicit GroupContext(std::vector<InterfacePtr<IContext>> parts);

  IContextDefBase* getIContextDef() override { return this; }
  int getNProps() override;
  const char16_t* getPropName(int prop, int lang) override;
  bool isPropReadable(int prop) override;
  bool isPropWritable(int prop) override;
  int findProp(const String& name) override;
  int getNMethods() override;
  const char16_t* getMethodName(int method, int lang) override;
  int getNParams(int method) override;
  bool isParamIn(int method, int param) override;
  bool isParamOut(int method, int param) override;
  bool getParamDefValue(int method, int param, GenericValue* value) override;
  bool hasRetVal(int method) override;
  int findMethod(const String& name) override;
  bool getPropInfo(int prop, ContextPropInfo& info) override;
  int getPropCatagory(int prop) override;
  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int prop, const GenericValue& value) override;
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;

 private:
  ~GroupContext() override = default;

  // The part holding member `index` (rewritten to the part's own index), or
  // null.
  IContext* partOfProp(int& index);
  IContext* partOfMethod(int& index);

  std::vector<InterfacePtr<IContext>> parts_;
};

// A member function that implements one method.
template <class T>
using ContextMethodFunction = void (T::*)(GenericValue* ret_val,
                                          std::vector<GenericValue*>& params);

// Calls functions[method] on `object`: false for an index outside `functions`.
// Throws `ContextException` ("IDS_NOT_ENOUGH_PARAMETERS") when `params` holds
// fewer arguments than `table` declares, or a null one, so that a method may
// read its parameters without checking them.
template <class T>
bool context_method_to_function(
    T* object, const ContextTable& table,
    std::type_identity_t<std::span<const ContextMethodFunction<T>>> functions, int method,
    GenericValue* ret_val, std::vector<GenericValue*>& params);

// ---------------------------------------------------------------------------
// The host's view: what a script call does.
//
// Each finds the member by name (either language, case ignored) and throws
// `ContextException` with the category ZelUsage (6) and the member's name as
// its extra text:
//   "IDS_RTE_PROP_NOTFOUND"      no property or method of that name;
//   "IDS_RTE_PROP_NOTREADABLE"   a read of a property that cannot be read;
//   "IDS_RTE_PROP_NOTWRITABLE"   a write of a read-only property;
//   "IDS_NOT_ENOUGH_PARAMETERS"  an omitted parameter that has no default;
//   "IDS_TOO_MANY_PARAMETERS"    more arguments than the method takes.
// Failures of the member itself pass through unchanged.

// The context of an object value or type object, or null when it offers
// none. No new reference: it lives as long as `object` does.
CORE_EXPORT IContext* context_of(IUnknown* object) noexcept;
inline IContext* context_of(const Type& type) noexcept { return context_of(type.getIType()); }

// Reads property `name` into `value`.
CORE_EXPORT void get_context_property(IContext* context, const String& name, GenericValue& value);
// Writes `value` to property `name`.
CORE_EXPORT void set_context_property(IContext* context, const String& name,
                                      const GenericValue& value);
// Calls method `name` with `args`, in which a null entry is an omitted
// argument, as are the missing ones at the end. An omitted parameter gets
// its default, or the "not given" marker. The method's result goes to
// `ret_val` when it is not null (Undefined for a method without result).
// `args` is lent: during the call it is grown to the parameter count, and
// afterwards it holds what it held before.
CORE_EXPORT void call_context_method(IContext* context, const String& name,
                                     std::vector<GenericValue*>& args, GenericValue* ret_val);
// The same with the method's index, found before (for a hot loop).
CORE_EXPORT void call_context_method(IContext* context, int method,
                                     std::vector<GenericValue*>& args, GenericValue* ret_val);

// End of public API. Implementation details follow.

namespace detail {
[[noreturn]] CORE_EXPORT void throw_not_enough_parameters(IContextDefBase* def, int method);
}  // namespace detail

template <class T>
bool context_method_to_function(
    T* object, const ContextTable& table,
    std::type_identity_t<std::span<const ContextMethodFunction<T>>> functions, int method,
    GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (method < 0 || static_cast<std::size_t>(method) >= functions.size() ||
      static_cast<std::size_t>(method) >= table.methods.size()) {
    return false;
  }
  const int count = table.methods[static_cast<std::size_t>(method)].n_params;
  if (params.size() < static_cast<std::size_t>(count)) {
    detail::throw_not_enough_parameters(object, method);
  }
  for (int i = 0; i < count; ++i) {
    if (params[static_cast<std::size_t>(i)] == nullptr) {
      detail::throw_not_enough_parameters(object, method);
    }
  }
  (object->*functions[static_cast<std::size_t>(method)])(ret_val, params);
  return true;
}

}  // namespace core

#endif  // CORE_CONTEXT_H_
