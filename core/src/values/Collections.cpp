// Implements core/collections.h: the built-in collections, their types and method tables.
#include "core/collections.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "core/exception_classes.h"
#include "core/name.h"
#include "core/nocase.h"
#include "core/numeric.h"
#include "core/parameter_errors.h"
#include "internal/chars.h"
#include "internal/kept_types.h"
#include "internal/throw.h"
#include "values/value_objects.h"

namespace core {
namespace {

// The largest number of elements an array constructor makes, all
// dimensions together; more is refused as a value mismatch rather than left
// to exhaust memory.
constexpr long long kMaxConstructedElements = 1LL << 26;

// A stored element: its held value is read without a virtual call.
void put_result(GenericValue* ret_val, const Value& value) {
  if (ret_val != nullptr) ret_val->setIValue(value.Value::getIValue());
}
void put_result(GenericValue* ret_val, int value) {
  if (ret_val != nullptr) ret_val->assign(value);
}
void put_result(GenericValue* ret_val, bool value) {
  if (ret_val != nullptr) ret_val->assign(value);
}

bool is_number(const GenericValue& value) {
  return value.getIValue()->getIType()->getTypeCode() == TypeCode::Number;
}

// Counts the collections being written or read on this thread, so that a
// collection holding itself, or data nested without end, fails cleanly
// instead of exhausting the stack.
class NestingGuard {
 public:
  NestingGuard() {
    if (++depth_ > kMaxCollectionDepth) {
      --depth_;
      detail::throw_list_stream_error();
    }
  }
  ~NestingGuard() { --depth_; }
  NestingGuard(const NestingGuard&) = delete;
  NestingGuard& operator=(const NestingGuard&) = delete;

 private:
  static thread_local int depth_;
};
thread_local int NestingGuard::depth_ = 0;

// The element count at the head of a stored collection.
int read_count(ListInStream& in) {
  int count = 0;
  in.get(count);
  if (count < 0) detail::throw_list_stream_error();
  return count;
}

// Room for `count` elements read from outside data, which may claim more
// than it holds: the vector grows as the elements really arrive.
std::size_t trusted_reserve(int count) { return std::min<std::size_t>(count, 1024); }

// The object kinds by index in the class map.
enum Kind : int {
  kPair = 0,
  kArray,
  kFixedArray,
  kMap,
  kFixedMap,
  kStructure,
  kFixedStructure,
  kKindCount
};

IType* collection_type(int kind) noexcept;

// False for a method outside `table`; throws `ContextException`
// ("IDS_NOT_ENOUGH_PARAMETERS") when an argument it declares is missing, so
// that the methods may read their parameters unchecked.
bool accepts_call(IContextDefBase* self, const ContextTable& table, int method,
                  const std::vector<GenericValue*>& params) {
  if (method < 0 || static_cast<std::size_t>(method) >= table.methods.size()) return false;
  const auto count =
      static_cast<std::size_t>(table.methods[static_cast<std::size_t>(method)].n_params);
  if (params.size() < count) detail::throw_not_enough_parameters(self, method);
  // A plain loop: the methods take at most two parameters.
  for (std::size_t i = 0; i < count; ++i) {
    if (params[i] == nullptr) detail::throw_not_enough_parameters(self, method);
  }
  return true;
}

}  // namespace

// ---------------------------------------------------------------------------
// Shared helpers.

ContextException collect_error_bad_index() { return ContextException("IDS_INDEX_OFFBOUND"); }

ContextException collect_error_bad_offset() { return ContextException("IDS_COLLECTION_BADOFFSET"); }

long long collection_index_argument(const GenericValue& value, unsigned param) {
  IValue* held = value.getIValue();
  // The library's own Numbers are read in place, without a copy.
  if (const Numeric* number = detail::held_number(held)) return static_cast<long long>(*number);
  if (held->getIType()->getTypeCode() != TypeCode::Number) parameter_type_mismatch(param);
  Numeric number;
  (void)held->getNumeric(number);  // the type code says it converts
  return static_cast<long long>(number);
}

namespace {

// The key rule without the exception: the stored key, or false.
bool to_structure_key(const GenericValue& key, String& out) {
  String text;
  if (!key.getString(text)) return false;
  const std::u16string_view name = detail::trim_white_space(text);
  if (!is_valid_name(name)) return false;
  out = name.size() == text.size() ? std::move(text) : String(name);
  return true;
}

}  // namespace

String structure_key(const GenericValue& key) {
  String name;
  if (!to_structure_key(key, name)) throw ContextException("IDS_VS_BADPROPNAME_ERROR");
  return name;
}

std::uint32_t StructureKeyTraits::hash(std::u16string_view key) noexcept {
  return MapKeyTraits::spreadHash(static_cast<std::uint32_t>(hash_nocase(key)));
}

bool StructureKeyTraits::equal(const String& held, std::u16string_view key) noexcept {
  return compare_nocase(held, key) == 0;
}

// ---------------------------------------------------------------------------
// Storages.

const Value& ArrayStorage::get(long long index) const {
  if (index < 0 || index >= count()) throw collect_error_bad_index();
  return elements_[static_cast<std::size_t>(index)];
}

int ArrayStorage::find(const GenericValue& value) const {
  for (std::size_t i = 0; i < elements_.size(); ++i) {
    if (elements_[i].equals(value)) return static_cast<int>(i);
  }
  return -1;
}

// ---------------------------------------------------------------------------
// Enumeration and the stored form.

namespace {

class CollectionIterator final : public UnknownImpl<IContextIterator> {
 public:
  explicit CollectionIterator(CollectionValueBase* owner) : owner_(owner) {}
  bool next(GenericValue& value) override { return owner_->nextElement(position_, value); }

 private:
  ~CollectionIterator() override = default;

  InterfacePtr<CollectionValueBase> owner_;
  std::size_t position_ = 0;
};

void write_elements(IOutPersistenceStorage* storage, const std::vector<Value>& elements) {
  const NestingGuard guard;
  storage->writer().put(static_cast<int>(elements.size()));
  for (const Value& element : elements) write_value(storage, element.getIValue());
}

template <class Associations, class WriteKey>
void write_associations(IOutPersistenceStorage* storage, const Associations& table,
                        WriteKey write_key) {
  const NestingGuard guard;
  storage->writer().put(table.count());
  for (std::size_t i = 0; i < table.end(); ++i) {
    const auto& entry = table.at(i);
    if (!entry.live) continue;
    write_key(entry.key);
    write_value(storage, entry.value.getIValue());
  }
}

void write_map(IOutPersistenceStorage* storage, const MapStorage::Associations& table) {
  write_associations(storage, table,
                     [storage](const Value& key) { write_value(storage, key.getIValue()); });
}

void write_structure(IOutPersistenceStorage* storage, const StructureStorage::Associations& table) {
  write_associations(storage, table, [storage](const String& key) { storage->writer().put(key); });
}

std::vector<Value> read_elements(IInPersistenceStorage* storage) {
  const NestingGuard guard;
  const int count = read_count(storage->reader());
  std::vector<Value> elements;
  elements.reserve(trusted_reserve(count));
  for (int i = 0; i < count; ++i) elements.emplace_back(read_value(storage).get());
  return elements;
}

template <class Target>
void read_map(IInPersistenceStorage* storage, Target& map) {
  const NestingGuard guard;
  const int count = read_count(storage->reader());
  for (int i = 0; i < count; ++i) {
    const Value key(read_value(storage).get());
    const Value value(read_value(storage).get());
    map.insert(key, value);
  }
}

// Reads associations into `table` of a structure.
void read_structure(IInPersistenceStorage* storage, StructureStorage::Associations& table) {
  const NestingGuard guard;
  const int count = read_count(storage->reader());
  for (int i = 0; i < count; ++i) {
    String text;
    storage->reader().get(text);
    String key;
    if (!to_structure_key(Value(text), key)) detail::throw_list_stream_error();
    const Value value(read_value(storage).get());
    table.insert(std::move(key), value);
  }
}

KeyAndValue* new_pair(const Value& key, const Value& value) { return new KeyAndValue(key, value); }

template <class Associations>
bool next_association(const Associations& table, std::size_t& position, GenericValue& element) {
  while (position < table.end() && !table.at(position).live) ++position;
  if (position >= table.end()) return false;
  const auto& entry = table.at(position++);
  const InterfacePtr<KeyAndValue> pair(new_pair(Value(entry.key), entry.value));
  element.setIValue(pair.get());
  return true;
}

bool next_element(const std::vector<Value>& elements, std::size_t& position,
                  GenericValue& element) {
  if (position >= elements.size()) return false;
  element.assign(elements[position++]);
  return true;
}

}  // namespace

bool CollectionValueBase::queryInterface(const GUID& iid, void** out) {
  if (iid == IContextIterable::kIid) {
    *out = static_cast<IContextIterable*>(this);
    acquire();
    return true;
  }
  if (iid == ISerializableValue::kIid) {
    *out = static_cast<ISerializableValue*>(this);
    acquire();
    return true;
  }
  return ContextValueBase::queryInterface(iid, out);
}

InterfacePtr<IContextIterator> CollectionValueBase::iterator() {
  return InterfacePtr<IContextIterator>(new CollectionIterator(this));
}

// ---------------------------------------------------------------------------
// KeyAndValue.

KeyAndValue::KeyAndValue(const GenericValue& key, const GenericValue& value)
    : ContextValueBase(collection_type(kPair), static_context_def<kTable>()),
      key_(key),
      value_(value) {}

KeyAndValue::~KeyAndValue() = default;

bool KeyAndValue::getPropVal(int prop, GenericValue& value) {
  if (prop == 0) {
    value.assign(key_);
  } else if (prop == 1) {
    value.assign(value_);
  } else {
    return false;
  }
  return true;
}

bool KeyAndValue::queryInterface(const GUID& iid, void** out) {
  if (iid == ISerializableValue::kIid) {
    *out = static_cast<ISerializableValue*>(this);
    acquire();
    return true;
  }
  return ContextValueBase::queryInterface(iid, out);
}

void KeyAndValue::serialize(IOutPersistenceStorage* storage) {
  const NestingGuard guard;
  write_value(storage, key_.getIValue());
  write_value(storage, value_.getIValue());
}

// ---------------------------------------------------------------------------
// Array and FixedArray.

Array::Array() : CollectionValueBase(collection_type(kArray), static_context_def<kTable>()) {}

Array::Array(std::vector<Value> elements)
    : CollectionValueBase(collection_type(kArray), static_context_def<kTable>()),
      ArrayStorage(std::move(elements)) {}

Array::~Array() = default;

void Array::insert(long long index, const GenericValue& value) {
  const auto at = static_cast<std::size_t>(std::min<long long>(index, count()));
  elements_.emplace(elements_.begin() + static_cast<std::ptrdiff_t>(at), value);
}

void Array::set(long long index, const GenericValue& value) {
  if (index < 0 || index >= count()) throw collect_error_bad_index();
  elements_[static_cast<std::size_t>(index)].assign(value);
}

void Array::remove(long long index) {
  if (index < 0 || index >= count()) throw collect_error_bad_index();
  elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(index));
}

namespace {

// The methods shared by both arrays, as free functions over the storage.
void array_count(const ArrayStorage& array, GenericValue* ret_val) {
  put_result(ret_val, array.count());
}
void array_ubound(const ArrayStorage& array, GenericValue* ret_val) {
  put_result(ret_val, array.count() - 1);
}
void array_get(const ArrayStorage& array, GenericValue* ret_val,
               std::vector<GenericValue*>& params) {
  const Value& element = array.get(collection_index_argument(*params[0], 0));
  put_result(ret_val, element);
}
void array_find(const ArrayStorage& array, GenericValue* ret_val,
                std::vector<GenericValue*>& params) {
  const int found = array.find(*params[0]);
  if (ret_val == nullptr) return;
  if (found < 0) {
    ret_val->clear();
  } else {
    ret_val->assign(found);
  }
}

}  // namespace

bool Array::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  switch (method) {
    case 0:
      array_count(*this, ret_val);
      break;
    case 1:
      array_ubound(*this, ret_val);
      break;
    case 2: {
      const long long index = collection_index_argument(*params[0], 0);
      if (index < 0) parameter_value_mismatch(0);
      insert(index, *params[1]);
      break;
    }
    case 3:
      add(*params[0]);
      break;
    case 4:
      remove(collection_index_argument(*params[0], 0));
      break;
    case 5:
      clear();
      break;
    case 6:
      array_get(*this, ret_val, params);
      break;
    case 7:
      set(collection_index_argument(*params[0], 0), *params[1]);
      break;
    default:
      array_find(*this, ret_val, params);
      break;
  }
  return true;
}

bool Array::nextElement(std::size_t& position, GenericValue& element) {
  return next_element(elements_, position, element);
}

void Array::serialize(IOutPersistenceStorage* storage) { write_elements(storage, elements_); }

FixedArray::FixedArray(std::vector<Value> elements)
    : CollectionValueBase(collection_type(kFixedArray), static_context_def<kTable>()),
      ArrayStorage(std::move(elements)) {}

FixedArray::~FixedArray() = default;

bool FixedArray::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  switch (method) {
    case 0:
      array_count(*this, ret_val);
      break;
    case 1:
      array_ubound(*this, ret_val);
      break;
    case 2:
      array_get(*this, ret_val, params);
      break;
    default:
      array_find(*this, ret_val, params);
      break;
  }
  return true;
}

bool FixedArray::nextElement(std::size_t& position, GenericValue& element) {
  return next_element(elements_, position, element);
}

void FixedArray::serialize(IOutPersistenceStorage* storage) { write_elements(storage, elements_); }

// ---------------------------------------------------------------------------
// Map and FixedMap.

Map::Map() : CollectionValueBase(collection_type(kMap), static_context_def<kTable>()) {}

Map::~Map() = default;

void Map::insert(const GenericValue& key, const GenericValue& value) {
  table_.insert(Value(key), value);
}

void Map::remove(const GenericValue& key) { (void)table_.erase(key, false); }

void Map::clear() noexcept { table_.clear(); }

void Map::reserve(int count) { table_.reserve(static_cast<std::size_t>(std::max(count, 0))); }

namespace {

void map_get(const MapStorage& map, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  const Value* found = map.find(*params[0]);
  if (ret_val == nullptr) return;
  if (found == nullptr) {
    ret_val->clear();
  } else {
    put_result(ret_val, *found);
  }
}

}  // namespace

bool Map::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  switch (method) {
    case 0:
      put_result(ret_val, count());
      break;
    case 1:
      insert(*params[0], *params[1]);
      break;
    case 2:
      remove(*params[0]);
      break;
    case 3:
      clear();
      break;
    default:
      map_get(*this, ret_val, params);
      break;
  }
  return true;
}

bool Map::nextElement(std::size_t& position, GenericValue& element) {
  return next_association(table_, position, element);
}

void Map::serialize(IOutPersistenceStorage* storage) { write_map(storage, table_); }

FixedMap::FixedMap(const Associations& from)
    : CollectionValueBase(collection_type(kFixedMap), static_context_def<kTable>()),
      MapStorage(from) {}

FixedMap::~FixedMap() = default;

bool FixedMap::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  if (method == 0) {
    put_result(ret_val, count());
  } else {
    map_get(*this, ret_val, params);
  }
  return true;
}

bool FixedMap::nextElement(std::size_t& position, GenericValue& element) {
  return next_association(table_, position, element);
}

void FixedMap::serialize(IOutPersistenceStorage* storage) { write_map(storage, table_); }

// ---------------------------------------------------------------------------
// Structure and FixedStructure.

namespace {

// A structure's definition: the methods of its static table, and its keys
// as properties, found through the structure's own hash. It belongs to one
// structure, whose associations it reads; their positions are dense because
// a structure squeezes them on every deletion.
class StructureDef final : public ContextDefCore {
 public:
  StructureDef(const ContextTable& table, const StructureStorage::Associations* keys,
               bool writable) noexcept
      : ContextDefCore(table), keys_(keys), writable_(writable) {}

  int getNProps() override { return keys_->count(); }
  const char16_t* getPropName(int prop, int lang) override {
    return has(prop) && (lang == 0 || lang == 1)
               ? keys_->at(static_cast<std::size_t>(prop)).key.c_str()
               : nullptr;
  }
  bool isPropReadable(int prop) override { return has(prop); }
  bool isPropWritable(int prop) override { return writable_ && has(prop); }
  int findProp(const String& name) override {
    return static_cast<int>(keys_->position(std::u16string_view(name)));
  }
  int getPropCatagory(int prop) override { return has(prop) ? 0 : -1; }

 private:
  ~StructureDef() override = default;
  bool has(int prop) const noexcept { return prop >= 0 && prop < keys_->count(); }

  const StructureStorage::Associations* keys_;
  bool writable_;
};

// A new definition for a structure whose associations are `keys`; the
// structure's base holds its only reference.
IContextDefBase* structure_def(const ContextTable& table,
                               const StructureStorage::Associations* keys, bool writable) {
  return new StructureDef(table, keys, writable);
}

bool structure_property(const StructureStorage& structure, GenericValue* ret_val,
                        std::vector<GenericValue*>& params) {
  const Value* found = structure.find(structure_key(*params[0]));
  if (found != nullptr) params[1]->assign(*found);
  put_result(ret_val, found != nullptr);
  return true;
}

bool read_structure_prop(const StructureStorage::Associations& table, int prop,
                         GenericValue& value) {
  if (prop < 0 || prop >= table.count()) return false;
  value.assign(table.at(static_cast<std::size_t>(prop)).value);
  return true;
}

}  // namespace

Structure::Structure()
    : CollectionValueBase(collection_type(kStructure), structure_def(kTable, &table_, true)) {}

Structure::~Structure() = default;

void Structure::insert(const GenericValue& key, const GenericValue& value) {
  table_.insert(structure_key(key), value);
}

void Structure::remove(const GenericValue& key) {
  (void)table_.erase(std::u16string_view(structure_key(key)), true);
}

void Structure::clear() noexcept { table_.clear(); }

bool Structure::getPropVal(int prop, GenericValue& value) {
  return read_structure_prop(table_, prop, value);
}

bool Structure::setPropVal(int prop, const GenericValue& value) {
  if (prop < 0 || prop >= table_.count()) return false;
  table_.at(static_cast<std::size_t>(prop)).value.assign(value);
  return true;
}

bool Structure::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  switch (method) {
    case 0:
      put_result(ret_val, count());
      break;
    case 1:
      insert(*params[0], *params[1]);
      break;
    case 2:
      remove(*params[0]);
      break;
    case 3:
      clear();
      break;
    default:
      structure_property(*this, ret_val, params);
      break;
  }
  return true;
}

bool Structure::nextElement(std::size_t& position, GenericValue& element) {
  return next_association(table_, position, element);
}

void Structure::serialize(IOutPersistenceStorage* storage) { write_structure(storage, table_); }

FixedStructure::FixedStructure(const Associations& from)
    : CollectionValueBase(collection_type(kFixedStructure), structure_def(kTable, &table_, false)),
      StructureStorage(from) {}

FixedStructure::~FixedStructure() = default;

bool FixedStructure::getPropVal(int prop, GenericValue& value) {
  return read_structure_prop(table_, prop, value);
}

bool FixedStructure::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  if (!accepts_call(this, kTable, method, params)) return false;
  if (method == 0) {
    put_result(ret_val, count());
  } else {
    structure_property(*this, ret_val, params);
  }
  return true;
}

bool FixedStructure::nextElement(std::size_t& position, GenericValue& element) {
  return next_association(table_, position, element);
}

void FixedStructure::serialize(IOutPersistenceStorage* storage) {
  write_structure(storage, table_);
}

// ---------------------------------------------------------------------------
// Making collections.

InterfacePtr<Array> create_array() { return InterfacePtr<Array>(new Array); }
InterfacePtr<Map> create_map() { return InterfacePtr<Map>(new Map); }
InterfacePtr<Structure> create_structure() { return InterfacePtr<Structure>(new Structure); }
InterfacePtr<KeyAndValue> create_key_and_value(const GenericValue& key, const GenericValue& value) {
  return InterfacePtr<KeyAndValue>(new KeyAndValue(key, value));
}
InterfacePtr<FixedArray> create_fixed_array(const Array& from) {
  return InterfacePtr<FixedArray>(new FixedArray(from.elements()));
}
InterfacePtr<FixedMap> create_fixed_map(const Map& from) {
  return InterfacePtr<FixedMap>(new FixedMap(from.associations()));
}
InterfacePtr<FixedStructure> create_fixed_structure(const Structure& from) {
  return InterfacePtr<FixedStructure>(new FixedStructure(from.associations()));
}

namespace {

template <class T>
T* collection_of(IValue* value, int kind) noexcept {
  if (value == nullptr || value->getIType() != collection_type(kind)) return nullptr;
  return static_cast<T*>(static_cast<ObjectValueCore*>(static_cast<ValueImplBase*>(value)));
}

}  // namespace

Array* array_of(IValue* value) noexcept { return collection_of<Array>(value, kArray); }
FixedArray* fixed_array_of(IValue* value) noexcept {
  return collection_of<FixedArray>(value, kFixedArray);
}
Map* map_of(IValue* value) noexcept { return collection_of<Map>(value, kMap); }
FixedMap* fixed_map_of(IValue* value) noexcept { return collection_of<FixedMap>(value, kFixedMap); }
Structure* structure_of(IValue* value) noexcept {
  return collection_of<Structure>(value, kStructure);
}
FixedStructure* fixed_structure_of(IValue* value) noexcept {
  return collection_of<FixedStructure>(value, kFixedStructure);
}
KeyAndValue* key_and_value_of(IValue* value) noexcept {
  return collection_of<KeyAndValue>(value, kPair);
}

// ---------------------------------------------------------------------------
// Constructors and types.

namespace {

// Array(n1, n2, ...): n1 elements, each an array made from the remaining
// dimensions, the last level holding Undefined.
InterfacePtr<IValue> make_dimensions(const std::vector<long long>& sizes, std::size_t level) {
  std::vector<Value> elements(static_cast<std::size_t>(sizes[level]));
  if (level + 1 < sizes.size()) {
    for (Value& element : elements) element.setIValue(make_dimensions(sizes, level + 1).get());
  }
  return InterfacePtr<IValue>(new Array(std::move(elements)));
}

InterfacePtr<IValue> construct_array(std::vector<GenericValue*>& params) {
  if (params.empty()) return InterfacePtr<IValue>(new Array);
  std::vector<long long> sizes;
  long long total = 1;
  for (std::size_t i = 0; i < params.size(); ++i) {
    if (params[i] == nullptr || !is_number(*params[i])) {
      ctor_parameter_type_mismatch(static_cast<unsigned>(i));
    }
    Numeric number;
    (void)params[i]->getNumeric(number);
    const auto size = static_cast<long long>(number);
    if (size < 0 || size > kMaxConstructedElements ||
        (size > 0 && total > kMaxConstructedElements / size)) {
      ctor_parameter_value_mismatch(static_cast<unsigned>(i));
    }
    total *= std::max(size, 1LL);
    sizes.push_back(size);
  }
  return make_dimensions(sizes, 0);
}

// The one argument of a fixed variant's constructor: a collection found by
// `of` (null when it is no such collection).
template <class T>
T* single_source(std::vector<GenericValue*>& params, T* (*of)(IValue*) noexcept) {
  T* source = params[0] != nullptr ? of(params[0]->getIValue()) : nullptr;
  if (source == nullptr) ctor_parameter_type_mismatch(0);
  return source;
}

InterfacePtr<IValue> construct_fixed_array(std::vector<GenericValue*>& params) {
  if (params.empty()) return InterfacePtr<IValue>(new FixedArray({}));
  if (params.size() > 1) throw CtorException("IDS_TOO_MANY_PARAMETERS");
  if (params[0] != nullptr) {
    if (const FixedArray* fixed = fixed_array_of(params[0]->getIValue())) {
      return InterfacePtr<IValue>(new FixedArray(fixed->elements()));
    }
  }
  return InterfacePtr<IValue>(new FixedArray(single_source(params, &array_of)->elements()));
}

// Map() or Map(map): `Target` is made from the associations of a map or
// fixed map.
template <class Target>
InterfacePtr<IValue> construct_map(std::vector<GenericValue*>& params) {
  if (params.size() > 1) throw CtorException("IDS_TOO_MANY_PARAMETERS");
  const MapStorage* source = nullptr;
  if (!params.empty()) {
    IValue* given = params[0] != nullptr ? params[0]->getIValue() : nullptr;
    if (const Map* map = map_of(given)) source = map;
    if (const FixedMap* fixed = fixed_map_of(given)) source = fixed;
    if (source == nullptr) ctor_parameter_type_mismatch(0);
  }
  if constexpr (std::is_same_v<Target, Map>) {
    InterfacePtr<Map> made(new Map);
    if (source != nullptr) {
      for (std::size_t i = 0; i < source->associations().end(); ++i) {
        const auto& entry = source->associations().at(i);
        if (entry.live) made->insert(entry.key, entry.value);
      }
    }
    return InterfacePtr<IValue>(made.get());
  } else {
    return InterfacePtr<IValue>(
        new FixedMap(source != nullptr ? source->associations() : MapStorage::Associations()));
  }
}

// The associations of Structure("a, b", 1, 2), or of the structure given
// alone to FixedStructure.
StructureStorage::Associations structure_arguments(std::vector<GenericValue*>& params,
                                                   bool accept_structure) {
  StructureStorage::Associations table;
  if (params.empty()) return table;
  IValue* first = params[0] != nullptr ? params[0]->getIValue() : nullptr;
  if (accept_structure && params.size() == 1) {
    if (const Structure* structure = structure_of(first)) return structure->associations();
    if (const FixedStructure* fixed = fixed_structure_of(first)) return fixed->associations();
  }
  if (first == nullptr || first->getIType()->getTypeCode() != TypeCode::String) {
    ctor_parameter_type_mismatch(0);
  }
  String list;
  (void)first->getString(list);
  std::size_t next_value = 1;
  std::u16string_view rest(list);
  while (true) {
    const std::size_t comma = rest.find(u',');
    const Value key(String(rest.substr(0, comma)));
    String name;
    if (!to_structure_key(key, name)) throw CtorException("IDS_VS_BADPROPNAME_ERROR");
    const GenericValue* value = next_value < params.size() ? params[next_value] : nullptr;
    table.insert(std::move(name), value != nullptr ? Value(*value) : Value());
    ++next_value;
    if (comma == std::u16string_view::npos) break;
    rest.remove_prefix(comma + 1);
  }
  if (next_value < params.size()) throw CtorException("IDS_TOO_MANY_PARAMETERS");
  return table;
}

InterfacePtr<IValue> construct_structure(std::vector<GenericValue*>& params) {
  InterfacePtr<Structure> made(new Structure);
  const StructureStorage::Associations table = structure_arguments(params, false);
  for (std::size_t i = 0; i < table.end(); ++i) {
    made->insert(Value(table.at(i).key), table.at(i).value);
  }
  return InterfacePtr<IValue>(made.get());
}

InterfacePtr<IValue> construct_fixed_structure(std::vector<GenericValue*>& params) {
  return InterfacePtr<IValue>(new FixedStructure(structure_arguments(params, true)));
}

InterfacePtr<IValue> construct_pair(std::vector<GenericValue*>& params) {
  if (!params.empty()) throw CtorException("IDS_TOO_MANY_PARAMETERS");
  return InterfacePtr<IValue>(new KeyAndValue(Value(), Value()));
}

InterfacePtr<IValue> read_pair(IInPersistenceStorage* storage) {
  const NestingGuard guard;
  const Value key(read_value(storage).get());
  const Value value(read_value(storage).get());
  return InterfacePtr<IValue>(new KeyAndValue(key, value));
}
InterfacePtr<IValue> read_array(IInPersistenceStorage* storage) {
  return InterfacePtr<IValue>(new Array(read_elements(storage)));
}
InterfacePtr<IValue> read_fixed_array(IInPersistenceStorage* storage) {
  return InterfacePtr<IValue>(new FixedArray(read_elements(storage)));
}
InterfacePtr<IValue> read_map_value(IInPersistenceStorage* storage) {
  InterfacePtr<Map> made(new Map);
  read_map(storage, *made);
  return InterfacePtr<IValue>(made.get());
}
InterfacePtr<IValue> read_fixed_map(IInPersistenceStorage* storage) {
  MapStorage::Associations table;
  struct Into {
    MapStorage::Associations& table;
    void insert(const Value& key, const Value& value) { table.insert(key, value); }
  } into{table};
  read_map(storage, into);
  return InterfacePtr<IValue>(new FixedMap(table));
}
InterfacePtr<IValue> read_structure_value(IInPersistenceStorage* storage) {
  StructureStorage::Associations table;
  read_structure(storage, table);
  InterfacePtr<Structure> made(new Structure);
  for (std::size_t i = 0; i < table.end(); ++i) {
    made->insert(Value(table.at(i).key), table.at(i).value);
  }
  return InterfacePtr<IValue>(made.get());
}
InterfacePtr<IValue> read_fixed_structure(IInPersistenceStorage* storage) {
  StructureStorage::Associations table;
  read_structure(storage, table);
  return InterfacePtr<IValue>(new FixedStructure(table));
}

struct TypeDecl {
  GUID clsid;
  const char16_t* english;
  const char16_t* russian;
  const char* presentation;
  bool value_mutable;
  // The most constructor arguments (-1: any number).
  int max_ctor_params;
  InterfacePtr<IValue> (*construct)(std::vector<GenericValue*>& params);
  InterfacePtr<IValue> (*read)(IInPersistenceStorage* storage);
};

constexpr TypeDecl kTypes[kKindCount] = {
    {kKeyAndValueTypeClsid, u"KeyAndValue", u"КлючИЗначение", "IDS_TYPE_PRESENTATION_VALUEPAIR",
     false, 0, &construct_pair, &read_pair},
    {kArrayTypeClsid, u"Array", u"Массив", "IDS_TYPE_PRESENTATION_VALUEARRAY", true, -1,
     &construct_array, &read_array},
    {kFixedArrayTypeClsid, u"FixedArray", u"ФиксированныйМассив",
     "IDS_TYPE_PRESENTATION_FIXEDVALUEARRAY", false, 1, &construct_fixed_array, &read_fixed_array},
    {kMapTypeClsid, u"Map", u"Соответствие", "IDS_TYPE_PRESENTATION_VALUEMAP", true, 1,
     &construct_map<Map>, &read_map_value},
    {kFixedMapTypeClsid, u"FixedMap", u"ФиксированноеСоответствие",
     "IDS_TYPE_PRESENTATION_FIXEDVALUEMAP", false, 1, &construct_map<FixedMap>, &read_fixed_map},
    {kStructureTypeClsid, u"Structure", u"Структура", "IDS_TYPE_PRESENTATION_VALUESTRUCTURE", true,
     -1, &construct_structure, &read_structure_value},
    {kFixedStructureTypeClsid, u"FixedStructure", u"ФиксированнаяСтруктура",
     "IDS_TYPE_PRESENTATION_FIXEDVALUESTRUCTURE", false, -1, &construct_fixed_structure,
     &read_fixed_structure},
};

class CollectionType final : public ObjectTypeCore, public IDeserializingType {
 public:
  explicit CollectionType(const TypeDecl& decl) noexcept
      : ObjectTypeCore(decl.clsid, decl.english, decl.russian, decl.presentation,
                       decl.value_mutable),
        decl_(decl) {}

  InterfacePtr<IValue> createIValue() override {
    std::vector<GenericValue*> none;
    return decl_.construct(none);
  }
  bool hasCtor(unsigned count) override {
    return decl_.max_ctor_params < 0 || count <= static_cast<unsigned>(decl_.max_ctor_params);
  }
  InterfacePtr<IValue> ctor(std::vector<GenericValue*>& params) override {
    if (!hasCtor(static_cast<unsigned>(params.size()))) {
      throw CtorException("IDS_TOO_MANY_PARAMETERS");
    }
    return decl_.construct(params);
  }
  InterfacePtr<IValue> deserialize(IInPersistenceStorage* storage) override {
    return decl_.read(storage);
  }
  bool queryInterface(const GUID& iid, void** out) override {
    if (iid == IDeserializingType::kIid) {
      *out = static_cast<IDeserializingType*>(this);
      acquire();
      return true;
    }
    return ObjectTypeCore::queryInterface(iid, out);
  }
  int32_t acquire() override { return ObjectTypeCore::acquire(); }
  int32_t release() override { return ObjectTypeCore::release(); }

 private:
  const TypeDecl& decl_;
};

const detail::KeptTypes<CollectionType, kKindCount>& collection_types() {
  static const auto* const types = new detail::KeptTypes<CollectionType, kKindCount>(
      [](int kind) { return new CollectionType(kTypes[kind]); });
  return *types;
}

IType* collection_type(int kind) noexcept { return collection_types().get(kind); }

}  // namespace

namespace detail {

template <int kIndex>
IUnknown* collection_type_object() {
  return collection_types().acquire(kIndex);
}

template IUnknown* collection_type_object<0>();
template IUnknown* collection_type_object<1>();
template IUnknown* collection_type_object<2>();
template IUnknown* collection_type_object<3>();
template IUnknown* collection_type_object<4>();
template IUnknown* collection_type_object<5>();
template IUnknown* collection_type_object<6>();

}  // namespace detail
}  // namespace core
