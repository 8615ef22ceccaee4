// Enumerations: built-in types with a fixed set of named values.
//
// Script code reaches an enumeration's values as properties of its type
// object (SortDirection.Desc), compares them, shows them and stores them.
// Each value has an integer code, an English and a Russian name, optionally
// a second pair of names that is accepted as well, and may be deprecated;
// its presentation may come from a message identifier. Two values are equal
// when they are of the same type and have the same code; a value stores its
// code only and reads back as the type's value of that code.
//
// An enumeration is declared as constant data and made into a type:
//
//   static constexpr core::EnumItemDecl kItems[] = {
//       {0, {u"Asc", u"Возр"}, {}, "IDS_CORE_SORT_TYPES_ASCENDING"},
//       {1, {u"Desc", u"Убыв"}, {}, "IDS_CORE_SORT_TYPES_DESCENDING"},
//   };
//   static constexpr core::EnumDecl kSortDirection{
//       kClsid, {u"SortDirection", u"НаправлениеСортировки"}, 0, "core", kItems};
//   core::InterfacePtr<core::IType> type = core::create_enumeration_type(kSortDirection);
//
// and, once registered (through a module's class map), reached like this:
//
//   core::Type type(u"НаправлениеСортировки");
//   core::Value desc;
//   core::get_context_property(core::context_of(type), u"desc", desc);
//
// The library registers the enumerations of core/enumeration_types.h.
//
// Thread safety: enumeration types and their values are immutable and may be
// shared between threads; a value's presentation is in the calling thread's
// language.
#ifndef CORE_ENUMERATION_H_
#define CORE_ENUMERATION_H_

#include <span>

#include "core/context.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/persistence.h"
#include "core/string.h"
#include "core/type.h"
#include "core/value_impl.h"

namespace core {

// One row of an enumeration's table. The texts are copied; a null pointer
// leaves a name empty.
class CORE_EXPORT EnumValItem {
 public:
  EnumValItem(int value, const char16_t* const names[2], bool deprecated);
  EnumValItem(int value, const char16_t* const names[2], const char16_t* const second_names[2],
              bool deprecated);

  int value() const noexcept { return value_; }
  // 0 and 1: the name in that language; 2 and 3: the second name in
  // language i - 2. Null when that name is empty or `i` is outside 0 to 3.
  const char16_t* termString(int i) const noexcept;
  bool deprecated() const noexcept { return deprecated_; }

 private:
  int value_;
  String names_[2];
  String second_names_[2];
  bool deprecated_;
};

// What an enumeration type knows of its values.
class IEnumValFactory : public IUnknown {
 public:
  // {B0224E61-C23C-4ADA-A7BE-4023E9576BB1}
  static constexpr GUID kIid = {
      0xB0224E61, 0xC23C, 0x4ADA, {0xA7, 0xBE, 0x40, 0x23, 0xE9, 0x57, 0x6B, 0xB1}};

  // The value of `code`, or null when the enumeration has none.
  virtual InterfacePtr<IValue> createEnumVal(int code) = 0;
  // The definition whose properties are the values, in table order.
  virtual InterfacePtr<IContextDefBase> getEnumContextDef() = 0;
  virtual int getNItems() = 0;
  // The item at `index` in table order, or null outside the table.
  virtual const EnumValItem* getItem(int index) = 0;

 protected:
  ~IEnumValFactory() override = default;
};

// The base of enumeration values. Its presentation is the text of its
// presentation identifier in the bundle of `module`, when there is one and
// it is not empty; otherwise its name in the thread's language (the English
// name when the Russian one is empty). Equal to a value of the same type
// with the same code; hashes to its code; stores its code.
class CORE_EXPORT EnumValValueBase : public ObjectValueCore, public ISerializableValue {
 public:
  // REQUIRES: `module` and `presentation_id` (either may be null) outlive
  // the value (literals do).
  EnumValValueBase(IType* type, int code, const String& english, const String& russian,
                   const char* module, const char* presentation_id);

  int code() const noexcept { return code_; }

  [[nodiscard]] bool getString(String& out) override;
  bool isEqual(IValue* other) override;
  int32_t hashCode() override { return code_; }
  void serialize(IOutPersistenceStorage* storage) override;

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ObjectValueCore::acquire(); }
  int32_t release() override { return ObjectValueCore::release(); }

 protected:
  ~EnumValValueBase() override = default;

 private:
  int code_;
  String names_[2];
  const char* module_;
  const char* presentation_id_;
};

// The base of enumeration types: the type of the values, holding the
// factory and the code of the default value. deserialize() reads a code and
// gives the factory's value of it; a code the enumeration lacks throws
// `ListStreamException` ("IDS_LISTSTREAMERROR").
class CORE_EXPORT EnumValTypeBase : public ObjectTypeCore, public IDeserializingType {
 public:
  InterfacePtr<IValue> createIValue() override;
  InterfacePtr<IValue> deserialize(IInPersistenceStorage* storage) override;
  // The factory, without a new reference; null until set.
  IEnumValFactory* enumValFactory() const noexcept { return factory_.get(); }

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ObjectTypeCore::acquire(); }
  int32_t release() override { return ObjectTypeCore::release(); }

 protected:
  EnumValTypeBase(const GUID& clsid, const char16_t* english_name, const char16_t* russian_name,
                  int default_code) noexcept;
  ~EnumValTypeBase() override = default;
  // `factory` acquired.
  void setEnumValFactory(IEnumValFactory* factory) { factory_.reset(factory); }

 private:
  InterfacePtr<IEnumValFactory> factory_;
  int default_code_;
};

// The type object that script code sees: its properties are the values, so
// that a value is found by any of its names in either language, any case.
// Every definition operation is forwarded to the factory's definition, held
// only for the length of the call. Properties can be read, never written;
// there are no methods.
class CORE_EXPORT EnumValFactoryTypeBase : public EnumValTypeBase, public IContext {
 public:
  // Sets the type's four names: English, Russian (null: the English one
  // serves) and a second English and Russian spelling, which the registry
  // of types does not know. REQUIRES: the texts outlive the type.
  void
  __initEnumValFactoryType(  // NOLINT(bugprone-reserved-identifier,readability-identifier-naming)
      const char16_t* english, const char16_t* russian, const char16_t* second_english,
      const char16_t* second_russian);

  // 0: the English name; 1: the Russian name, or the English one when it is
  // empty; 2 and 3 the second names; null otherwise.
  const char16_t* getTypeString(int lang) const noexcept;
  const char16_t* getName(Language language) override {
    return getTypeString(static_cast<int>(language));
  }

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
  // The value of the item at `prop`.
  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int, GenericValue*, std::vector<GenericValue*>&) override { return false; }

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return EnumValTypeBase::acquire(); }
  int32_t release() override { return EnumValTypeBase::release(); }

 protected:
  // REQUIRES: `id` points to a class identifier that outlives the call.
  explicit EnumValFactoryTypeBase(const GUID* id, int default_code = 0) noexcept;
  ~EnumValFactoryTypeBase() override = default;

 private:
  const char16_t* names_[4] = {nullptr, nullptr, nullptr, nullptr};
};

// ---------------------------------------------------------------------------
// Enumerations as constant data.

struct EnumItemDecl {
  int code = 0;
  ContextName name = {};
  ContextName second_name = {};           // empty when the value has none
  const char* presentation_id = nullptr;  // in the enumeration's module
  bool deprecated = false;
};

struct EnumDecl {
  GUID clsid = {};
  ContextName type_name = {};
  int default_code = 0;
  const char* module = "core";  // whose bundle holds the presentations
  std::span<const EnumItemDecl> items = {};
};

// A new enumeration type (count 1) made from `decl`, its values made once.
// REQUIRES: `decl` and its data outlive the type (constant data does); the
// type outlives its values, which keep it without a reference (a registered
// type lives until its module stops).
CORE_EXPORT InterfacePtr<IType> create_enumeration_type(const EnumDecl& decl);

// `value` as an enumeration value, or null when it is none (or null).
CORE_EXPORT EnumValValueBase* enumeration_value_of(IValue* value) noexcept;

}  // namespace core

#endif  // CORE_ENUMERATION_H_
