// The built-in collections of script code: the value pair (KeyAndValue), the
// array and fixed array, the map and fixed map, the structure and fixed
// structure. Each is an object value (core/value_impl.h) holding universal
// Values, registered as a type under its English and Russian names, and
// reached through its bilingual method table (core/context.h):
//
//   core::Value array(core::Type(u"Массив").createIValue().get());
//   core::Value item(u"book");
//   std::vector<core::GenericValue*> args{&item};
//   core::call_context_method(core::context_of(array.getIValue()), u"Add", args, nullptr);
//
// or directly in C++ through the classes below (create_array() and so on).
//
// Decisions of this library:
// - Array Insert at an index above Count appends: the storage receives the
//   non-negative index and a script writing past the end means "at the end".
//   A negative index is the parameter-value mismatch.
// - Map Insert of a key already present replaces its value, keeping the
//   key's place in the order.
// - Maps and structures enumerate in insertion order (a deleted and
//   re-inserted key goes to the end) and find keys in O(1) on average.
// - Map keys are compared by the universal value equality (GenericValue::
//   equals) and hashed by the value's hashCode(), which agrees with it: the
//   Numbers 1 and 1.0 are one key; String keys are case-sensitive. Structure
//   keys are names, compared with case ignored in either alphabet, and are
//   also the structure's properties (script code writes s.Name).
// - A collection equals only itself and hashes by its address, as every
//   object value does: two arrays with the same elements are two values.
// - Constructors (Type::ctor): Array(), Array(n) of n Undefined elements,
//   Array(n1, n2, ...) of nested arrays; FixedArray(array); Map();
//   FixedMap(map); Structure(), Structure("a, b", 1, 2) with the keys of the
//   comma-separated list (each through the key rule) and the values in
//   order, Undefined for the missing ones; FixedStructure(structure) and
//   FixedStructure("a, b", ...) alike; a fixed variant copies the elements.
// - The brace-list form is the object form of core/persistence.h,
//   {100,<type clsid>,<count>,...}: an array writes its elements, a map its
//   keys and values in turn, a structure its key texts and values, a pair its
//   key and value, each value in its own value form, so nested collections
//   nest. Reading it back gives a new collection whose elements equal the
//   written ones. Collections nested deeper than kMaxCollectionDepth are
//   refused as malformed.
//
// Failures (all `ContextException`, category ZelUsage (6)):
// - an index that is not a Number: "IDS_PARAMETER_N_TYPE_MISMATCH";
// - a negative Insert index: "IDS_PARAMETER_N_VALUE_MISMATCH";
// - Get, Set or Delete outside 0..Count-1: "IDS_INDEX_OFFBOUND";
// - a structure key that is not a name: "IDS_VS_BADPROPNAME_ERROR";
// - a constructor argument of the wrong type or value: `CtorException` with
//   the same texts.
//
// Thread safety: a collection is used by one thread at a time; its type and
// method tables may be used from any thread.
#ifndef CORE_COLLECTIONS_H_
#define CORE_COLLECTIONS_H_

#include <cstdint>
#include <string_view>
#include <vector>

#include "core/context.h"
#include "core/context_iterator.h"
#include "core/exception_classes.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/ordered_associations.h"
#include "core/persistence.h"
#include "core/string.h"
#include "core/value.h"

namespace core {

// {4C2B9F3E-8A61-4D17-9E05-3B7D1A6C2F81}
inline constexpr GUID kKeyAndValueTypeClsid = {
    0x4C2B9F3E, 0x8A61, 0x4D17, {0x9E, 0x05, 0x3B, 0x7D, 0x1A, 0x6C, 0x2F, 0x81}};
// {5D3CA04F-9B72-4E28-8F16-4C8E2B7D3092}
inline constexpr GUID kArrayTypeClsid = {
    0x5D3CA04F, 0x9B72, 0x4E28, {0x8F, 0x16, 0x4C, 0x8E, 0x2B, 0x7D, 0x30, 0x92}};
// {6E4DB150-AC83-4F39-9027-5D9F3C8E41A3}
inline constexpr GUID kFixedArrayTypeClsid = {
    0x6E4DB150, 0xAC83, 0x4F39, {0x90, 0x27, 0x5D, 0x9F, 0x3C, 0x8E, 0x41, 0xA3}};
// {7F5EC261-BD94-404A-A138-6EA04D9F52B4}
inline constexpr GUID kMapTypeClsid = {
    0x7F5EC261, 0xBD94, 0x404A, {0xA1, 0x38, 0x6E, 0xA0, 0x4D, 0x9F, 0x52, 0xB4}};
// {806FD372-CEA5-415B-B249-7FB15EA063C5}
inline constexpr GUID kFixedMapTypeClsid = {
    0x806FD372, 0xCEA5, 0x415B, {0xB2, 0x49, 0x7F, 0xB1, 0x5E, 0xA0, 0x63, 0xC5}};
// {9170E483-DFB6-426C-835A-80C26FB174D6}
inline constexpr GUID kStructureTypeClsid = {
    0x9170E483, 0xDFB6, 0x426C, {0x83, 0x5A, 0x80, 0xC2, 0x6F, 0xB1, 0x74, 0xD6}};
// {A281F594-E0C7-437D-946B-91D370C285E7}
inline constexpr GUID kFixedStructureTypeClsid = {
    0xA281F594, 0xE0C7, 0x437D, {0x94, 0x6B, 0x91, 0xD3, 0x70, 0xC2, 0x85, 0xE7}};

// How deeply collections may nest in a brace list being read.
inline constexpr int kMaxCollectionDepth = 64;

// The shared errors of indexed collections (this family and the value
// table): "IDS_INDEX_OFFBOUND" for an index outside the collection and
// "IDS_COLLECTION_BADOFFSET" for a bad offset, both category ZelUsage (6).
//
//   if (index >= count) throw core::collect_error_bad_index();
CORE_EXPORT ContextException collect_error_bad_index();
CORE_EXPORT ContextException collect_error_bad_offset();

// The index argument `param` (counted from 0) of a method: the integer part
// of a Number, cut toward zero (2.7 gives 2, -0.5 gives 0) and saturated to
// the range of long long. Throws `ContextException`
// ("IDS_PARAMETER_N_TYPE_MISMATCH") for anything but a Number.
CORE_EXPORT long long collection_index_argument(const GenericValue& value, unsigned param);

// A structure key as stored: `key` converted to text, white space trimmed
// at both ends, and checked by is_valid_name(). Throws `ContextException`
// ("IDS_VS_BADPROPNAME_ERROR") when it is not a name or not text.
CORE_EXPORT String structure_key(const GenericValue& key);

class Array;
class FixedArray;
class Map;
class FixedMap;
class Structure;
class FixedStructure;
class KeyAndValue;

// New empty collections and pairs, count 1.
CORE_EXPORT InterfacePtr<Array> create_array();
CORE_EXPORT InterfacePtr<Map> create_map();
CORE_EXPORT InterfacePtr<Structure> create_structure();
CORE_EXPORT InterfacePtr<KeyAndValue> create_key_and_value(const GenericValue& key,
                                                           const GenericValue& value);
// Fixed copies of the mutable ones.
CORE_EXPORT InterfacePtr<FixedArray> create_fixed_array(const Array& from);
CORE_EXPORT InterfacePtr<FixedMap> create_fixed_map(const Map& from);
CORE_EXPORT InterfacePtr<FixedStructure> create_fixed_structure(const Structure& from);

// The collection held by `value`, or null when it holds something else.
CORE_EXPORT Array* array_of(IValue* value) noexcept;
CORE_EXPORT FixedArray* fixed_array_of(IValue* value) noexcept;
CORE_EXPORT Map* map_of(IValue* value) noexcept;
CORE_EXPORT FixedMap* fixed_map_of(IValue* value) noexcept;
CORE_EXPORT Structure* structure_of(IValue* value) noexcept;
CORE_EXPORT FixedStructure* fixed_structure_of(IValue* value) noexcept;
CORE_EXPORT KeyAndValue* key_and_value_of(IValue* value) noexcept;

// ---------------------------------------------------------------------------
// The storages, usable directly from C++. Indices are 0-based.

// Elements in index order.
class CORE_EXPORT ArrayStorage {
 public:
  int count() const noexcept { return static_cast<int>(elements_.size()); }
  const std::vector<Value>& elements() const noexcept { return elements_; }
  // REQUIRES: 0 <= index < count().
  const Value& at(int index) const noexcept { return elements_[static_cast<std::size_t>(index)]; }
  // Throws `ContextException` ("IDS_INDEX_OFFBOUND") outside 0..count()-1.
  const Value& get(long long index) const;
  // The lowest index of an element equal to `value`, or -1.
  int find(const GenericValue& value) const;

 protected:
  ArrayStorage() = default;
  explicit ArrayStorage(std::vector<Value> elements) noexcept : elements_(std::move(elements)) {}

  std::vector<Value> elements_;
};

// The keys of maps: universal values under the universal equality, hashed
// by hashCode() (which agrees with it) spread over 32 bits.
struct MapKeyTraits {
  using Key = Value;
  static std::uint32_t hash(const GenericValue& key) {
    return spreadHash(static_cast<std::uint32_t>(key.hashCode()));
  }
  static bool equal(const Value& held, const GenericValue& key) { return held.equals(key); }
  static constexpr std::uint32_t spreadHash(std::uint32_t x) noexcept {
    x ^= x >> 16;
    x *= 0x7FEB352Du;
    x ^= x >> 15;
    x *= 0x846CA68Bu;
    return x ^ (x >> 16);
  }
};

// The keys of structures: names, with case ignored (core/nocase.h).
struct StructureKeyTraits {
  using Key = String;
  static std::uint32_t hash(std::u16string_view key) noexcept;
  static bool equal(const String& held, std::u16string_view key) noexcept;
};

class CORE_EXPORT MapStorage {
 public:
  using Associations = OrderedAssociations<MapKeyTraits>;

  int count() const noexcept { return table_.count(); }
  // The value of `key`, or null when absent. Valid until the map changes.
  const Value* find(const GenericValue& key) const { return table_.find(key); }
  const Associations& associations() const noexcept { return table_; }

 protected:
  MapStorage() = default;
  explicit MapStorage(const Associations& table) : table_(table) {}

  Associations table_;
};

class CORE_EXPORT StructureStorage {
 public:
  using Associations = OrderedAssociations<StructureKeyTraits>;

  int count() const noexcept { return table_.count(); }
  // The value of `key` (case ignored), or null when absent. Valid until the
  // structure changes. The key is taken as it stands: see structure_key().
  const Value* find(std::u16string_view key) const { return table_.find(key); }
  const Associations& associations() const noexcept { return table_; }

 protected:
  StructureStorage() = default;
  explicit StructureStorage(const Associations& table) : table_(table) {}

  Associations table_;
};

// ---------------------------------------------------------------------------
// The objects.

class CORE_EXPORT KeyAndValue final : public ContextValueBase, public ISerializableValue {
 public:
  static constexpr ContextPropDecl kProps[] = {
      {{u"Key", u"Ключ"}, true, false},
      {{u"Value", u"Значение"}, true, false},
  };
  static constexpr ContextTable kTable{kProps, {}};

  KeyAndValue(const GenericValue& key, const GenericValue& value);
  const Value& key() const noexcept { return key_; }
  const Value& value() const noexcept { return value_; }

  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int, GenericValue*, std::vector<GenericValue*>&) override { return false; }
  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ContextValueBase::acquire(); }
  int32_t release() override { return ContextValueBase::release(); }
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~KeyAndValue() override;

  Value key_;
  Value value_;
};

// The members shared by the collections: enumeration and the stored form.
class CORE_EXPORT CollectionValueBase : public ContextValueBase,
                                        public IContextIterable,
                                        public ISerializableValue {
 public:
  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ContextValueBase::acquire(); }
  int32_t release() override { return ContextValueBase::release(); }

  // The element at `position` of the enumeration, moving `position` past
  // it: false past the end.
  virtual bool nextElement(std::size_t& position, GenericValue& element) = 0;
  InterfacePtr<IContextIterator> iterator() override;

 protected:
  using ContextValueBase::ContextValueBase;
  ~CollectionValueBase() override = default;
};

class CORE_EXPORT Array final : public CollectionValueBase, public ArrayStorage {
 public:
  static constexpr ContextParamDefault kLastUndefined[] = {ContextParamDefault::undefined()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"UBound", u"ВГраница"}, 0, true},
      {{u"Insert", u"Вставить"}, 2, false, kLastUndefined},
      {{u"Add", u"Добавить"}, 1, false, kLastUndefined},
      {{u"Delete", u"Удалить"}, 1, false},
      {{u"Clear", u"Очистить"}, 0, false},
      {{u"Get", u"Получить"}, 1, true},
      {{u"Set", u"Установить"}, 2, false},
      {{u"Find", u"Найти"}, 1, true},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  Array();
  explicit Array(std::vector<Value> elements);

  void add(const GenericValue& value) { elements_.emplace_back(value); }
  // `index` above count() appends. REQUIRES: index >= 0.
  void insert(long long index, const GenericValue& value);
  // Each throws `ContextException` ("IDS_INDEX_OFFBOUND") outside 0..count()-1.
  void set(long long index, const GenericValue& value);
  void remove(long long index);
  void clear() noexcept { elements_.clear(); }
  void reserve(int count) { elements_.reserve(static_cast<std::size_t>(count)); }

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~Array() override;
};

class CORE_EXPORT FixedArray final : public CollectionValueBase, public ArrayStorage {
 public:
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"UBound", u"ВГраница"}, 0, true},
      {{u"Get", u"Получить"}, 1, true},
      {{u"Find", u"Найти"}, 1, true},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  explicit FixedArray(std::vector<Value> elements);

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~FixedArray() override;
};

class CORE_EXPORT Map final : public CollectionValueBase, public MapStorage {
 public:
  static constexpr ContextParamDefault kLastUndefined[] = {ContextParamDefault::undefined()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true}, {{u"Insert", u"Вставить"}, 2, false, kLastUndefined},
      {{u"Delete", u"Удалить"}, 1, false},  {{u"Clear", u"Очистить"}, 0, false},
      {{u"Get", u"Получить"}, 1, true},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  Map();
  // Replaces the value of a key already present.
  void insert(const GenericValue& key, const GenericValue& value);
  // Nothing happens for an absent key.
  void remove(const GenericValue& key);
  void clear() noexcept;
  void reserve(int count);

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~Map() override;
};

class CORE_EXPORT FixedMap final : public CollectionValueBase, public MapStorage {
 public:
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"Get", u"Получить"}, 1, true},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  explicit FixedMap(const Associations& from);

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~FixedMap() override;
};

// A structure's properties are its keys, in insertion order, readable and
// (for the mutable one) writable; its definition belongs to the object.
class CORE_EXPORT Structure final : public CollectionValueBase, public StructureStorage {
 public:
  static constexpr ContextParamDefault kLastUndefined[] = {ContextParamDefault::undefined()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"Insert", u"Вставить"}, 2, false, kLastUndefined},
      {{u"Delete", u"Удалить"}, 1, false},
      {{u"Clear", u"Очистить"}, 0, false},
      {{u"Property", u"Свойство"}, 2, true, kLastUndefined, 0b10},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  Structure();
  // Each throws `ContextException` ("IDS_VS_BADPROPNAME_ERROR") for a key
  // that is not a name. Insert replaces the value of a key already present.
  void insert(const GenericValue& key, const GenericValue& value);
  void remove(const GenericValue& key);
  void clear() noexcept;

  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int prop, const GenericValue& value) override;
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~Structure() override;
};

class CORE_EXPORT FixedStructure final : public CollectionValueBase, public StructureStorage {
 public:
  static constexpr ContextParamDefault kLastUndefined[] = {ContextParamDefault::undefined()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"Property", u"Свойство"}, 2, true, kLastUndefined, 0b10},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  explicit FixedStructure(const Associations& from);

  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool nextElement(std::size_t& position, GenericValue& element) override;
  void serialize(IOutPersistenceStorage* storage) override;

 private:
  ~FixedStructure() override;
};

namespace detail {
// The class objects of the library's class map, by index in the order of
// the declarations above (KeyAndValue 0 ... FixedStructure 6).
template <int kIndex>
IUnknown* collection_type_object();
}  // namespace detail

}  // namespace core

#endif  // CORE_COLLECTIONS_H_
