// Implements core/context.h and core/context_iterator.h: definitions, lookup strategies, the
// registry of definitions, the calling helpers and the walk over collections.
#include "core/context.h"

#include <algorithm>
#include <bit>
#include <memory>
#include <optional>
#include <typeinfo>
#include <unordered_map>
#include <utility>

#include "core/context_iterator.h"
#include "core/exception_classes.h"
#include "core/nocase.h"
#include "core/thread.h"
#include "internal/thread_annotations.h"

namespace core {
namespace {

// A member has a name in a few languages; the bound keeps a definition that
// never ends its list from hanging a lookup.
constexpr int kMaxNamesPerMember = 16;

// Calls `visit` with the names of member `i` in languages 0, 1, ... up to
// the first null, until `visit` returns true; returns whether one did.
template <class Visit>
bool for_each_name(IContextDefBase* def, bool methods, int i, Visit visit) {
  for (int lang = 0; lang < kMaxNamesPerMember; ++lang) {
    const char16_t* name = methods ? def->getMethodName(i, lang) : def->getPropName(i, lang);
    if (name == nullptr) return false;
    if (visit(std::u16string_view(name))) return true;
  }
  return false;
}

int member_count(IContextDefBase* def, bool methods) {
  return methods ? def->getNMethods() : def->getNProps();
}

bool in_range(int index, std::size_t size) noexcept {
  return index >= 0 && static_cast<std::size_t>(index) < size;
}

}  // namespace

// ---------------------------------------------------------------------------
// Sorted strategy.

void ContextDefCached::init(Cache& cache, IContextDefBase* def, bool methods) {
  if (cache.built.load(std::memory_order_acquire)) return;
  std::lock_guard<std::mutex> lock(cache.mutex);
  if (cache.built.load(std::memory_order_relaxed)) return;
  const int count = member_count(def, methods);
  std::vector<Entry> entries;
  entries.reserve(static_cast<std::size_t>(std::max(count, 0)));
  for (int i = 0; i < count; ++i) {
    for_each_name(def, methods, i, [&](std::u16string_view name) {
      auto at = std::lower_bound(entries.begin(), entries.end(), name,
                                 [](const Entry& entry, std::u16string_view wanted) {
                                   return compare_nocase(entry.name, wanted) < 0;
                                 });
      // An equal name already there came from a lower index or an earlier
      // language, and keeps the name.
      if (at == entries.end() || compare_nocase(at->name, name) != 0) {
        entries.insert(at, Entry{String(name), i});
      }
      return false;
    });
  }
  cache.entries = std::move(entries);
  cache.built.store(true, std::memory_order_release);
}

int ContextDefCached::find(const Cache& cache, std::u16string_view name) noexcept {
  std::size_t low = 0;
  std::size_t high = cache.entries.size();
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const int order = compare_nocase(cache.entries[middle].name, name);
    if (order == 0) return cache.entries[middle].index;
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return -1;
}

void ContextDefCached::reset(Cache& cache) {
  std::lock_guard<std::mutex> lock(cache.mutex);
  cache.built.store(false, std::memory_order_release);
  cache.entries.clear();
}

int ContextDefCached::findProp(IContextDefBase* def, const String& name) {
  init(props_, def, false);
  return find(props_, name);
}

int ContextDefCached::findMethod(IContextDefBase* def, const String& name) {
  init(methods_, def, true);
  return find(methods_, name);
}

void ContextDefCached::initPropsCache(IContextDefBase* def) { init(props_, def, false); }
void ContextDefCached::initMethodsCache(IContextDefBase* def) { init(methods_, def, true); }
void ContextDefCached::resetPropsCache() { reset(props_); }
void ContextDefCached::resetMethodsCache() { reset(methods_); }

// ---------------------------------------------------------------------------
// Hashed strategy.

void ContextDefHashCached::init(Cache& cache, IContextDefBase* def, bool methods) {
  if (cache.built.load(std::memory_order_acquire)) return;
  std::lock_guard<std::mutex> lock(cache.mutex);
  if (cache.built.load(std::memory_order_relaxed)) return;
  const int count = std::max(member_count(def, methods), 0);
  // Room for an English and a Russian name per member at a load of at most
  // one half.
  const std::size_t bucket_count = std::bit_ceil(static_cast<std::size_t>(count) * 4 + 1);
  std::vector<int> buckets(bucket_count, -1);
  std::vector<Entry> entries;
  entries.reserve(static_cast<std::size_t>(count) * 2);
  for (int i = 0; i < count; ++i) {
    for_each_name(def, methods, i, [&](std::u16string_view name) {
      const std::size_t hash = hash_nocase(name);
      int& head = buckets[hash & (bucket_count - 1)];
      for (int at = head; at != -1; at = entries[static_cast<std::size_t>(at)].next) {
        const Entry& entry = entries[static_cast<std::size_t>(at)];
        if (entry.hash == hash && compare_nocase(entry.name, name) == 0) return false;
      }
      entries.push_back(Entry{String(name), hash, i, head});
      head = static_cast<int>(entries.size() - 1);
      return false;
    });
  }
  cache.entries = std::move(entries);
  cache.buckets = std::move(buckets);
  cache.mask = bucket_count - 1;
  cache.built.store(true, std::memory_order_release);
}

int ContextDefHashCached::find(const Cache& cache, std::u16string_view name) noexcept {
  const std::size_t hash = hash_nocase(name);
  for (int at = cache.buckets[hash & cache.mask]; at != -1;) {
    const Entry& entry = cache.entries[static_cast<std::size_t>(at)];
    if (entry.hash == hash && compare_nocase(entry.name, name) == 0) return entry.index;
    at = entry.next;
  }
  return -1;
}

void ContextDefHashCached::reset(Cache& cache) {
  std::lock_guard<std::mutex> lock(cache.mutex);
  cache.built.store(false, std::memory_order_release);
  cache.entries.clear();
  cache.buckets.clear();
  cache.mask = 0;
}

int ContextDefHashCached::findProp(IContextDefBase* def, const String& name) {
  init(props_, def, false);
  return find(props_, name);
}

int ContextDefHashCached::findMethod(IContextDefBase* def, const String& name) {
  init(methods_, def, true);
  return find(methods_, name);
}

void ContextDefHashCached::initPropsCache(IContextDefBase* def) { init(props_, def, false); }
void ContextDefHashCached::initMethodsCache(IContextDefBase* def) { init(methods_, def, true); }
void ContextDefHashCached::resetPropsCache() { reset(props_); }
void ContextDefHashCached::resetMethodsCache() { reset(methods_); }

// ---------------------------------------------------------------------------
// Scanning strategy.

namespace {

int scan(IContextDefBase* def, bool methods, std::u16string_view wanted) {
  const int count = member_count(def, methods);
  for (int i = 0; i < count; ++i) {
    if (for_each_name(def, methods, i, [wanted](std::u16string_view name) {
          return compare_nocase(name, wanted) == 0;
        })) {
      return i;
    }
  }
  return -1;
}

}  // namespace

int ContextDefNoncached::findProp(IContextDefBase* def, const String& name) {
  return scan(def, false, name);
}

int ContextDefNoncached::findMethod(IContextDefBase* def, const String& name) {
  return scan(def, true, name);
}

// ---------------------------------------------------------------------------
// Declarations and definitions.

bool ContextParamDefault::store(GenericValue& value) const {
  switch (kind_) {
    case Kind::Required:
      return false;
    case Kind::NotGiven:
      value.assign(proceed_call_unspecified_value());
      return true;
    case Kind::Undefined:
      value.clear();
      return true;
    case Kind::Null:
      value.setIValue(create_null_value());
      return true;
    case Kind::Boolean:
      value.assign(number_ != 0);
      return true;
    case Kind::Number:
      value.assign(number_);
      return true;
    case Kind::Text:
      value.assign(text_);
      return true;
  }
  return false;
}

bool ContextDefExternBase::getPropInfo(int prop, ContextPropInfo& info) {
  if (prop < 0 || prop >= getNProps()) return false;
  info.names[0] = getPropName(prop, 0);
  info.names[1] = getPropName(prop, 1);
  info.readable = isPropReadable(prop);
  info.writable = isPropWritable(prop);
  info.category = getPropCatagory(prop);
  return true;
}

int ContextDefExternBase::getPropCatagory(int prop) {
  return prop >= 0 && prop < getNProps() ? 0 : -1;
}

namespace {

const char16_t* name_in(const ContextName& name, int lang) noexcept {
  if (lang == 0) return name.english;
  if (lang == 1) return name.russian != nullptr ? name.russian : name.english;
  return nullptr;
}

}  // namespace

int ContextDefCore::getNProps() { return static_cast<int>(table_.props.size()); }

const char16_t* ContextDefCore::getPropName(int prop, int lang) {
  return in_range(prop, table_.props.size()) ? name_in(table_.props[prop].name, lang) : nullptr;
}

bool ContextDefCore::isPropReadable(int prop) {
  return in_range(prop, table_.props.size()) && table_.props[prop].readable;
}

bool ContextDefCore::isPropWritable(int prop) {
  return in_range(prop, table_.props.size()) && table_.props[prop].writable;
}

int ContextDefCore::getPropCatagory(int prop) {
  return in_range(prop, table_.props.size()) ? table_.props[prop].category : -1;
}

int ContextDefCore::getNMethods() { return static_cast<int>(table_.methods.size()); }

const char16_t* ContextDefCore::getMethodName(int method, int lang) {
  return in_range(method, table_.methods.size()) ? name_in(table_.methods[method].name, lang)
                                                 : nullptr;
}

int ContextDefCore::getNParams(int method) {
  return in_range(method, table_.methods.size()) ? table_.methods[method].n_params : 0;
}

bool ContextDefCore::isParamIn(int method, int param) {
  return in_range(method, table_.methods.size()) && param >= 0 &&
         param < table_.methods[method].n_params;
}

bool ContextDefCore::isParamOut(int method, int param) {
  return isParamIn(method, param) && param < 32 &&
         (table_.methods[method].out_params >> param & 1u) != 0;
}

bool ContextDefCore::getParamDefValue(int method, int param, GenericValue* value) {
  if (!isParamIn(method, param) || value == nullptr) return false;
  const ContextMethodDecl& decl = table_.methods[method];
  const int first_optional = decl.n_params - static_cast<int>(decl.defaults.size());
  if (param < first_optional) return false;
  return decl.defaults[static_cast<std::size_t>(param - first_optional)].store(*value);
}

bool ContextDefCore::hasRetVal(int method) {
  return in_range(method, table_.methods.size()) && table_.methods[method].returns;
}

namespace {

// Never destroyed and never counted: contexts keep it without references.
class StaticContextDef final : public ContextDefCore {
 public:
  explicit StaticContextDef(const ContextTable& table) noexcept : ContextDefCore(table) {}
  int32_t acquire() override { return 1; }
  int32_t release() override { return 1; }
};

}  // namespace

IContextDefBase* make_static_context_def(const ContextTable& table) {
  return new StaticContextDef(table);
}

int VTContextDefBase::getNProps() { return staticPropCount() + dynamicPropCount(); }

const char16_t* VTContextDefBase::getPropName(int prop, int lang) {
  if (prop < staticPropCount()) return ContextDefCore::getPropName(prop, lang);
  return prop < getNProps() ? dynamicPropName(prop - staticPropCount(), lang) : nullptr;
}

bool VTContextDefBase::isPropReadable(int prop) {
  if (prop < staticPropCount()) return ContextDefCore::isPropReadable(prop);
  return prop < getNProps();
}

bool VTContextDefBase::isPropWritable(int prop) {
  if (prop < staticPropCount()) return ContextDefCore::isPropWritable(prop);
  return prop < getNProps() && isDynamicPropWritable(prop - staticPropCount());
}

int VTContextDefBase::getPropCatagory(int prop) {
  if (prop < staticPropCount()) return ContextDefCore::getPropCatagory(prop);
  return prop < getNProps() ? 0 : -1;
}

// ---------------------------------------------------------------------------
// The registry of definitions.

InterfacePtr<IContextDefBase> ContextDefExternLazed::get() {
  if (!made_ && make_ != nullptr) made_ = make_();
  return made_;
}

namespace {

// Never destroyed: modules unregister during the teardown, after the
// library's statics are gone.
struct DefRegistry {
  detail::Mutex mutex;
  std::unordered_map<GUID, ContextDefExternLazed> defs CORE_GUARDED_BY(mutex);
};

DefRegistry& def_registry() {
  static auto* const instance = new DefRegistry;
  return *instance;
}

void put_context_def(const GUID& id, ContextDefExternLazed entry) {
  DefRegistry& registry = def_registry();
  // Declared before the lock, so the earlier definition is released after
  // the lock is let go: its destructor may be anybody's code.
  std::optional<ContextDefExternLazed> replaced;
  detail::MutexLock lock(registry.mutex);
  auto [it, inserted] = registry.defs.try_emplace(id, entry);
  if (!inserted) {
    replaced.emplace(std::move(it->second));
    it->second = std::move(entry);
  }
}

}  // namespace

void register_context_def(const GUID& id, IContextDefBase* def) {
  put_context_def(id, ContextDefExternLazed(def));
}

void register_context_def(const GUID& id, InterfacePtr<IContextDefBase> (*make)()) {
  put_context_def(id, ContextDefExternLazed(make));
}

void unregister_context_def(const GUID& id) {
  DefRegistry& registry = def_registry();
  std::optional<ContextDefExternLazed> removed;  // released after the lock
  detail::MutexLock lock(registry.mutex);
  auto it = registry.defs.find(id);
  if (it == registry.defs.end()) return;
  removed.emplace(std::move(it->second));
  registry.defs.erase(it);
}

InterfacePtr<IContextDefBase> find_context_def(const GUID& id) {
  DefRegistry& registry = def_registry();
  detail::MutexLock lock(registry.mutex);
  auto it = registry.defs.find(id);
  return it == registry.defs.end() ? InterfacePtr<IContextDefBase>() : it->second.get();
}

// ---------------------------------------------------------------------------
// Contexts.

IContextExtImplBase::IContextExtImplBase(IContextDefBase* def) noexcept : def_(def) {
  if (def != nullptr) def->acquire();
}

IContextExtImplBase::~IContextExtImplBase() {
  if (IContextDefBase* def = def_.load(std::memory_order_relaxed)) def->release();
}

IContextDefBase* IContextExtImplBase::getIContextDef() {
  IContextDefBase* def = def_.load(std::memory_order_acquire);
  return def != nullptr ? def : resolve();
}

IContextDefBase* IContextExtImplBase::resolve() {
  const GUID id = contextDefId();
  InterfacePtr<IContextDefBase> found = find_context_def(id);
  if (!found) throw IllegalStateException(id.toString());
  IContextDefBase* expected = nullptr;
  IContextDefBase* def = found.get();
  // Two threads may resolve at once; the first keeps its reference.
  if (def_.compare_exchange_strong(expected, def, std::memory_order_acq_rel)) {
    def->acquire();
    return def;
  }
  return expected;
}

GUID IContextExtImplBase::contextDefId() { throw IllegalStateException(); }

bool ContextValueBase::queryInterface(const GUID& iid, void** out) {
  if (iid == IContext::kIid || iid == IContextDefBase::kIid) {
    *out = static_cast<IContext*>(this);
    acquire();
    return true;
  }
  return ObjectValueCore::queryInterface(iid, out);
}

GroupContext::GroupContext(std::vector<InterfacePtr<IContext>> parts) : parts_(std::move(parts)) {}

IContext* GroupContext::partOfProp(int& index) {
  if (index < 0) return nullptr;
  for (const InterfacePtr<IContext>& part : parts_) {
    const int count = part->getNProps();
    if (index < count) return part.get();
    index -= count;
  }
  return nullptr;
}

IContext* GroupContext::partOfMethod(int& index) {
  if (index < 0) return nullptr;
  for (const InterfacePtr<IContext>& part : parts_) {
    const int count = part->getNMethods();
    if (index < count) return part.get();
    index -= count;
  }
  return nullptr;
}

int GroupContext::getNProps() {
  int count = 0;
  for (const InterfacePtr<IContext>& part : parts_) count += part->getNProps();
  return count;
}

const char16_t* GroupContext::getPropName(int prop, int lang) {
  IContext* part = partOfProp(prop);
  return part != nullptr ? part->getPropName(prop, lang) : nullptr;
}

bool GroupContext::isPropReadable(int prop) {
  IContext* part = partOfProp(prop);
  return part != nullptr && part->isPropReadable(prop);
}

bool GroupContext::isPropWritable(int prop) {
  IContext* part = partOfProp(prop);
  return part != nullptr && part->isPropWritable(prop);
}

int GroupContext::findProp(const String& name) {
  int offset = 0;
  for (const InterfacePtr<IContext>& part : parts_) {
    const int found = part->findProp(name);
    if (found >= 0) return offset + found;
    offset += part->getNProps();
  }
  return -1;
}

int GroupContext::getNMethods() {
  int count = 0;
  for (const InterfacePtr<IContext>& part : parts_) count += part->getNMethods();
  return count;
}

const char16_t* GroupContext::getMethodName(int method, int lang) {
  IContext* part = partOfMethod(method);
  return part != nullptr ? part->getMethodName(method, lang) : nullptr;
}

int GroupContext::getNParams(int method) {
  IContext* part = partOfMethod(method);
  return part != nullptr ? part->getNParams(method) : 0;
}

bool GroupContext::isParamIn(int method, int param) {
  IContext* part = partOfMethod(method);
  return part != nullptr && part->isParamIn(method, param);
}

bool GroupContext::isParamOut(int method, int param) {
  IContext* part = partOfMethod(method);
  return part != nullptr && part->isParamOut(method, param);
}

bool GroupContext::getParamDefValue(int method, int param, GenericValue* value) {
  IContext* part = partOfMethod(method);
  return part != nullptr && part->getParamDefValue(method, param, value);
}

bool GroupContext::hasRetVal(int method) {
  IContext* part = partOfMethod(method);
  return part != nullptr && part->hasRetVal(method);
}

int GroupContext::findMethod(const String& name) {
  int offset = 0;
  for (const InterfacePtr<IContext>& part : parts_) {
    const int found = part->findMethod(name);
    if (found >= 0) return offset + found;
    offset += part->getNMethods();
  }
  return -1;
}

bool GroupContext::getPropInfo(int prop, ContextPropInfo& info) {
  IContext* part = partOfProp(prop);
  return part != nullptr && part->getPropInfo(prop, info);
}

int GroupContext::getPropCatagory(int prop) {
  IContext* part = partOfProp(prop);
  return part != nullptr ? part->getPropCatagory(prop) : -1;
}

bool GroupContext::getPropVal(int prop, GenericValue& value) {
  IContext* part = partOfProp(prop);
  return part != nullptr && part->getPropVal(prop, value);
}

bool GroupContext::setPropVal(int prop, const GenericValue& value) {
  IContext* part = partOfProp(prop);
  return part != nullptr && part->setPropVal(prop, value);
}

bool GroupContext::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  IContext* part = partOfMethod(method);
  return part != nullptr && part->call(method, ret_val, params);
}

// ---------------------------------------------------------------------------
// The calling helpers.

namespace {

// The member's name in the thread's language, for the extra text of errors.
String member_name(IContextDefBase* def, bool method, int index) {
  const int lang = static_cast<int>(Thread::language());
  const char16_t* name = method ? def->getMethodName(index, lang) : def->getPropName(index, lang);
  return name != nullptr ? String(name) : String();
}

[[noreturn]] void throw_context_error(const char* id, const String& name) {
  throw ContextException(id, name);
}

// The arguments of one call: lends the caller's vector, grown to the
// parameter count, with the omitted arguments pointing to defaults held here
// (a few inline, the rest on the heap, so that a usual call allocates
// nothing). However the call ends, the vector gets back its size and its
// omitted entries, so that no pointer to a default outlives the call.
class CallArguments {
 public:
  CallArguments(std::vector<GenericValue*>& args, int count) : args_(args), size_(args.size()) {
    args.resize(static_cast<std::size_t>(count), nullptr);
  }
  ~CallArguments() {
    args_.resize(size_);
    for (GenericValue*& arg : args_) {
      if (isDefault(arg)) arg = nullptr;
    }
  }
  CallArguments(const CallArguments&) = delete;
  CallArguments& operator=(const CallArguments&) = delete;

  GenericValue* nextDefault() {
    if (used_ < kInline) return &inline_[used_++].emplace();
    return overflow_.emplace_back(std::make_unique<Value>()).get();
  }

 private:
  static constexpr int kInline = 8;

  bool isDefault(const GenericValue* arg) const noexcept {
    for (int i = 0; i < used_; ++i) {
      if (arg == &*inline_[i]) return true;
    }
    return std::any_of(overflow_.begin(), overflow_.end(),
                       [arg](const std::unique_ptr<Value>& slot) { return slot.get() == arg; });
  }

  std::vector<GenericValue*>& args_;
  std::size_t size_;
  std::optional<Value> inline_[kInline];
  int used_ = 0;
  std::vector<std::unique_ptr<Value>> overflow_;
};

}  // namespace

namespace detail {

void throw_not_enough_parameters(IContextDefBase* def, int method) {
  throw_context_error("IDS_NOT_ENOUGH_PARAMETERS", member_name(def, true, method));
}

}  // namespace detail

void get_context_property(IContext* context, const String& name, GenericValue& value) {
  IContextDefBase* def = context->getIContextDef();
  const int prop = def->findProp(name);
  if (prop < 0) throw_context_error("IDS_RTE_PROP_NOTFOUND", name);
  if (!def->isPropReadable(prop) || !context->getPropVal(prop, value)) {
    throw_context_error("IDS_RTE_PROP_NOTREADABLE", name);
  }
}

void set_context_property(IContext* context, const String& name, const GenericValue& value) {
  IContextDefBase* def = context->getIContextDef();
  const int prop = def->findProp(name);
  if (prop < 0) throw_context_error("IDS_RTE_PROP_NOTFOUND", name);
  if (!def->isPropWritable(prop) || !context->setPropVal(prop, value)) {
    throw_context_error("IDS_RTE_PROP_NOTWRITABLE", name);
  }
}

namespace {

// The table of `def` when it is a static definition, read without a
// virtual call per question: the built-in objects' calls go this way. An
// exact type check costs less than a dynamic_cast.
const ContextTable* static_table(IContextDefBase* def) noexcept {
  return typeid(*def) == typeid(StaticContextDef) ? &static_cast<StaticContextDef*>(def)->table()
                                                  : nullptr;
}

// No argument null. A plain loop: calls have a few arguments, too few for
// the unrolled search of the standard algorithms to pay.
bool all_given(const std::vector<GenericValue*>& args) noexcept {
  for (const GenericValue* arg : args) {
    if (arg == nullptr) return false;
  }
  return true;
}

// A call with arguments missing: the defaults of the missing ones are lent
// for the call. Kept apart so that the common call needs no room for them.
[[gnu::noinline]] bool call_with_defaults(IContext* context, IContextDefBase* def, int method,
                                          int count, std::vector<GenericValue*>& args,
                                          GenericValue* result) {
  CallArguments lent(args, count);
  for (int i = 0; i < count; ++i) {
    GenericValue*& arg = args[static_cast<std::size_t>(i)];
    if (arg != nullptr) continue;
    GenericValue* slot = lent.nextDefault();
    if (!def->getParamDefValue(method, i, slot)) detail::throw_not_enough_parameters(def, method);
    arg = slot;
  }
  return context->call(method, result, args);
}

// The call itself, once the method is known in `def`, the context's
// definition (`table` when static, or null).
void call_method(IContext* context, IContextDefBase* def, const ContextTable* table, int method,
                 std::vector<GenericValue*>& args, GenericValue* ret_val) {
  const ContextMethodDecl* decl = table != nullptr && in_range(method, table->methods.size())
                                      ? &table->methods[method]
                                      : nullptr;
  const int count = decl != nullptr ? decl->n_params : def->getNParams(method);
  if (args.size() > static_cast<std::size_t>(count)) {
    throw_context_error("IDS_TOO_MANY_PARAMETERS", member_name(def, true, method));
  }
  const bool returns = decl != nullptr ? decl->returns : def->hasRetVal(method);
  if (ret_val != nullptr && !returns) ret_val->clear();
  GenericValue* const result = returns ? ret_val : nullptr;
  // Every argument given: nothing to lend.
  const bool called = args.size() == static_cast<std::size_t>(count) && all_given(args)
                          ? context->call(method, result, args)
                          : call_with_defaults(context, def, method, count, args, result);
  if (!called) throw_context_error("IDS_RTE_PROP_NOTFOUND", member_name(def, true, method));
}

}  // namespace

void call_context_method(IContext* context, const String& name, std::vector<GenericValue*>& args,
                         GenericValue* ret_val) {
  IContextDefBase* def = context->getIContextDef();
  const int method = def->findMethod(name);
  if (method < 0) throw_context_error("IDS_RTE_PROP_NOTFOUND", name);
  call_method(context, def, static_table(def), method, args, ret_val);
}

void call_context_method(IContext* context, int method, std::vector<GenericValue*>& args,
                         GenericValue* ret_val) {
  IContextDefBase* def = context->getIContextDef();
  const ContextTable* table = static_table(def);
  const int methods =
      table != nullptr ? static_cast<int>(table->methods.size()) : def->getNMethods();
  if (method < 0 || method >= methods) throw_context_error("IDS_RTE_PROP_NOTFOUND", String());
  call_method(context, def, table, method, args, ret_val);
}

IContext* context_of(IUnknown* object) noexcept {
  if (object == nullptr) return nullptr;
  void* found = nullptr;
  if (!object->queryInterface(IContext::kIid, &found)) return nullptr;
  // The object holds the context: the caller's reference to it covers both.
  auto* context = static_cast<IContext*>(found);
  context->release();
  return context;
}

InterfacePtr<IContextIterator> iterate_values(IUnknown* object) {
  InterfacePtr<IContextIterable> iterable =
      InterfacePtr<IUnknown>(object).query<IContextIterable>();
  if (!iterable) throw UnsupportedOperationException();
  return iterable->iterator();
}

}  // namespace core
