// Implements core/enumeration.h and core/enumeration_types.h: enumeration values, their types, and
// the enumerations the library registers.
#include <algorithm>
#include <utility>
#include <vector>

#include "core/enumeration.h"
#include "core/enumeration_types.h"
#include "core/list_stream.h"
#include "core/messages.h"
#include "core/thread.h"
#include "internal/throw.h"
#include "values/builtin_enumerations.h"

namespace core {
namespace {

String text_or_empty(const char16_t* text) { return text != nullptr ? String(text) : String(); }

const char16_t* null_if_empty(const String& text) noexcept {
  return text.empty() ? nullptr : text.c_str();
}

}  // namespace

EnumValItem::EnumValItem(int value, const char16_t* const names[2], bool deprecated)
    : value_(value),
      names_{text_or_empty(names[0]), text_or_empty(names[1])},
      deprecated_(deprecated) {}

EnumValItem::EnumValItem(int value, const char16_t* const names[2],
                         const char16_t* const second_names[2], bool deprecated)
    : value_(value),
      names_{text_or_empty(names[0]), text_or_empty(names[1])},
      second_names_{text_or_empty(second_names[0]), text_or_empty(second_names[1])},
      deprecated_(deprecated) {}

const char16_t* EnumValItem::termString(int i) const noexcept {
  if (i == 0 || i == 1) return null_if_empty(names_[i]);
  if (i == 2 || i == 3) return null_if_empty(second_names_[i - 2]);
  return nullptr;
}

// ---------------------------------------------------------------------------
// Values.

EnumValValueBase::EnumValValueBase(IType* type, int code, const String& english,
                                   const String& russian, const char* module,
                                   const char* presentation_id)
    : ObjectValueCore(type),
      code_(code),
      names_{english, russian},
      module_(module),
      presentation_id_(presentation_id) {}

bool EnumValValueBase::getString(String& out) {
  if (presentation_id_ != nullptr) {
    String text = load_module_wstring(module_, presentation_id_);
    if (!text.empty()) {
      out = std::move(text);
      return true;
    }
  }
  switch (Thread::language()) {
    case Language::English:
      out = names_[0];
      break;
    case Language::Russian:
      out = names_[1].empty() ? names_[0] : names_[1];
      break;
    default:
      out = String();
      break;
  }
  return true;
}

bool EnumValValueBase::isEqual(IValue* other) {
  if (other == this) return true;
  if (other == nullptr || other->getIType() != getIType()) return false;
  const EnumValValueBase* value = enumeration_value_of(other);
  return value != nullptr && value->code_ == code_;
}

void EnumValValueBase::serialize(IOutPersistenceStorage* storage) { storage->writer().put(code_); }

bool EnumValValueBase::queryInterface(const GUID& iid, void** out) {
  if (iid == ISerializableValue::kIid) {
    *out = static_cast<ISerializableValue*>(this);
    acquire();
    return true;
  }
  return ObjectValueCore::queryInterface(iid, out);
}

EnumValValueBase* enumeration_value_of(IValue* value) noexcept {
  return dynamic_cast<EnumValValueBase*>(value);
}

// ---------------------------------------------------------------------------
// Types.

EnumValTypeBase::EnumValTypeBase(const GUID& clsid, const char16_t* english_name,
                                 const char16_t* russian_name, int default_code) noexcept
    : ObjectTypeCore(clsid, english_name, russian_name, nullptr, false),
      default_code_(default_code) {}

InterfacePtr<IValue> EnumValTypeBase::createIValue() {
  return factory_ ? factory_->createEnumVal(default_code_) : InterfacePtr<IValue>();
}

InterfacePtr<IValue> EnumValTypeBase::deserialize(IInPersistenceStorage* storage) {
  int code = 0;
  storage->reader().get(code);
  InterfacePtr<IValue> value = factory_ ? factory_->createEnumVal(code) : InterfacePtr<IValue>();
  if (!value) detail::throw_list_stream_error();
  return value;
}

bool EnumValTypeBase::queryInterface(const GUID& iid, void** out) {
  if (iid == IDeserializingType::kIid) {
    *out = static_cast<IDeserializingType*>(this);
    acquire();
    return true;
  }
  return ObjectTypeCore::queryInterface(iid, out);
}

EnumValFactoryTypeBase::EnumValFactoryTypeBase(const GUID* id, int default_code) noexcept
    : EnumValTypeBase(*id, nullptr, nullptr, default_code) {}

void EnumValFactoryTypeBase::__initEnumValFactoryType(  // NOLINT(bugprone-reserved-identifier)
    const char16_t* english, const char16_t* russian, const char16_t* second_english,
    const char16_t* second_russian) {
  names_[0] = english;
  names_[1] = russian;
  names_[2] = second_english;
  names_[3] = second_russian;
}

const char16_t* EnumValFactoryTypeBase::getTypeString(int lang) const noexcept {
  const auto given = [this](int i) {
    return names_[i] != nullptr && names_[i][0] != u'\0' ? names_[i] : nullptr;
  };
  switch (lang) {
    case 0:
      return names_[0];
    case 1:
      return given(1) != nullptr ? names_[1] : names_[0];
    case 2:
    case 3:
      return given(lang);
    default:
      return nullptr;
  }
}

namespace {

// Calls `op` with the factory's definition, held for the length of the call;
// `fallback` when the type has no factory.
template <class Result, class Op>
Result with_def(IEnumValFactory* factory, Result fallback, Op op) {
  const InterfacePtr<IContextDefBase> held =
      factory != nullptr ? factory->getEnumContextDef() : InterfacePtr<IContextDefBase>();
  return held ? op(held.get()) : fallback;
}

}  // namespace

int EnumValFactoryTypeBase::getNProps() {
  return with_def(enumValFactory(), 0, [&](IContextDefBase* def) { return def->getNProps(); });
}

const char16_t* EnumValFactoryTypeBase::getPropName(int prop, int lang) {
  return with_def(enumValFactory(), static_cast<const char16_t*>(nullptr),
                  [&](IContextDefBase* def) { return def->getPropName(prop, lang); });
}

bool EnumValFactoryTypeBase::isPropReadable(int prop) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->isPropReadable(prop); });
}

bool EnumValFactoryTypeBase::isPropWritable(int prop) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->isPropWritable(prop); });
}

int EnumValFactoryTypeBase::findProp(const String& name) {
  return with_def(enumValFactory(), -1, [&](IContextDefBase* def) { return def->findProp(name); });
}

int EnumValFactoryTypeBase::getNMethods() {
  return with_def(enumValFactory(), 0, [&](IContextDefBase* def) { return def->getNMethods(); });
}

const char16_t* EnumValFactoryTypeBase::getMethodName(int method, int lang) {
  return with_def(enumValFactory(), static_cast<const char16_t*>(nullptr),
                  [&](IContextDefBase* def) { return def->getMethodName(method, lang); });
}

int EnumValFactoryTypeBase::getNParams(int method) {
  return with_def(enumValFactory(), 0,
                  [&](IContextDefBase* def) { return def->getNParams(method); });
}

bool EnumValFactoryTypeBase::isParamIn(int method, int param) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->isParamIn(method, param); });
}

bool EnumValFactoryTypeBase::isParamOut(int method, int param) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->isParamOut(method, param); });
}

bool EnumValFactoryTypeBase::getParamDefValue(int method, int param, GenericValue* value) {
  return with_def(enumValFactory(), false, [&](IContextDefBase* def) {
    return def->getParamDefValue(method, param, value);
  });
}

bool EnumValFactoryTypeBase::hasRetVal(int method) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->hasRetVal(method); });
}

int EnumValFactoryTypeBase::findMethod(const String& name) {
  return with_def(enumValFactory(), -1,
                  [&](IContextDefBase* def) { return def->findMethod(name); });
}

bool EnumValFactoryTypeBase::getPropInfo(int prop, ContextPropInfo& info) {
  return with_def(enumValFactory(), false,
                  [&](IContextDefBase* def) { return def->getPropInfo(prop, info); });
}

int EnumValFactoryTypeBase::getPropCatagory(int prop) {
  return with_def(enumValFactory(), -1,
                  [&](IContextDefBase* def) { return def->getPropCatagory(prop); });
}

bool EnumValFactoryTypeBase::getPropVal(int prop, GenericValue& value) {
  IEnumValFactory* factory = enumValFactory();
  const EnumValItem* item = factory != nullptr ? factory->getItem(prop) : nullptr;
  if (item == nullptr) return false;
  InterfacePtr<IValue> found = factory->createEnumVal(item->value());
  if (!found) return false;
  value.setIValue(found.get());
  return true;
}

bool EnumValFactoryTypeBase::queryInterface(const GUID& iid, void** out) {
  if (iid == IContext::kIid || iid == IContextDefBase::kIid) {
    *out = static_cast<IContext*>(this);
    acquire();
    return true;
  }
  return EnumValTypeBase::queryInterface(iid, out);
}

// ---------------------------------------------------------------------------
// Enumerations from constant data.

namespace {

// The values as properties: each value's names at 0 and 1 (the English one
// again when the Russian is empty), its second names at 2 and 3 in the same
// way. Read only; no methods. It owns the items, so that a caller holding
// the definition may outlive the enumeration's type.
class EnumItemsDef final : public ContextDefExternBase {
 public:
  explicit EnumItemsDef(std::vector<EnumValItem> items) noexcept : items_(std::move(items)) {}

  const std::vector<EnumValItem>& items() const noexcept { return items_; }

  int getNProps() override { return static_cast<int>(items_.size()); }
  const char16_t* getPropName(int prop, int lang) override {
    if (prop < 0 || prop >= getNProps() || lang < 0 || lang > 3) return nullptr;
    const EnumValItem& item = items_[static_cast<std::size_t>(prop)];
    const int pair = lang & ~1;
    const char16_t* name = item.termString(lang);
    return name != nullptr ? name : item.termString(pair + ((lang & 1) ^ 1));
  }
  bool isPropReadable(int prop) override { return prop >= 0 && prop < getNProps(); }
  bool isPropWritable(int) override { return false; }
  int getNMethods() override { return 0; }
  const char16_t* getMethodName(int, int) override { return nullptr; }
  int getNParams(int) override { return 0; }
  bool isParamIn(int, int) override { return false; }
  bool isParamOut(int, int) override { return false; }
  bool getParamDefValue(int, int, GenericValue*) override { return false; }
  bool hasRetVal(int) override { return false; }

 private:
  ~EnumItemsDef() override = default;

  const std::vector<EnumValItem> items_;
};

class EnumValue final : public EnumValValueBase {
 public:
  using EnumValValueBase::EnumValValueBase;

 private:
  ~EnumValue() override = default;
};

// The items, their values (made once) and their definition. Holds its type
// without a reference: the type owns the factory.
class TableEnumFactory final : public UnknownImpl<IEnumValFactory> {
 public:
  TableEnumFactory(IType* type, const EnumDecl& decl) {
    std::vector<EnumValItem> items;
    items.reserve(decl.items.size());
    values_.reserve(decl.items.size());
    for (const EnumItemDecl& item : decl.items) {
      const char16_t* const names[2] = {item.name.english, item.name.russian};
      const char16_t* const second[2] = {item.second_name.english, item.second_name.russian};
      items.emplace_back(item.code, names, second, item.deprecated);
      values_.emplace_back(new EnumValue(type, item.code, text_or_empty(item.name.english),
                                         text_or_empty(item.name.russian), decl.module,
                                         item.presentation_id));
    }
    def_.reset(new EnumItemsDef(std::move(items)));
  }

  InterfacePtr<IValue> createEnumVal(int code) override {
    const std::vector<EnumValItem>& items = def_->items();
    for (std::size_t i = 0; i < items.size(); ++i) {
      if (items[i].value() == code) return values_[i];
    }
    return {};
  }
  InterfacePtr<IContextDefBase> getEnumContextDef() override {
    return InterfacePtr<IContextDefBase>(def_.get());
  }
  int getNItems() override { return static_cast<int>(def_->items().size()); }
  const EnumValItem* getItem(int index) override {
    return index >= 0 && index < getNItems() ? &def_->items()[static_cast<std::size_t>(index)]
                                             : nullptr;
  }

 private:
  ~TableEnumFactory() override = default;

  std::vector<InterfacePtr<IValue>> values_;
  InterfacePtr<EnumItemsDef> def_;
};

class TableEnumType final : public EnumValFactoryTypeBase {
 public:
  explicit TableEnumType(const EnumDecl& decl)
      : EnumValFactoryTypeBase(&decl.clsid, decl.default_code) {
    __initEnumValFactoryType(decl.type_name.english, decl.type_name.russian, nullptr, nullptr);
    setEnumValFactory(new TableEnumFactory(this, decl));
  }

 private:
  ~TableEnumType() override = default;
};

}  // namespace

InterfacePtr<IType> create_enumeration_type(const EnumDecl& decl) {
  return InterfacePtr<IType>(new TableEnumType(decl));
}

// ---------------------------------------------------------------------------
// The library's own enumerations.

namespace {

constexpr EnumItemDecl kSearchDirectionItems[] = {
    {0, {u"FromBegin", u"СНачала"}, {}, "IDS_VALUESEARCHDIRECTION_FROMBEGIN"},
    {1, {u"FromEnd", u"СКонца"}, {}, "IDS_VALUESEARCHDIRECTION_FROMEND"},
};
constexpr EnumItemDecl kRoundModeItems[] = {
    {0, {u"Round15as10", u"Окр15как10"}, {}, "IDS_VALUEROUNDMODE_ROUND15AS10"},
    {1, {u"Round15as20", u"Окр15как20"}, {}, "IDS_VALUEROUNDMODE_ROUND15AS20"},
};
constexpr EnumItemDecl kSortDirectionItems[] = {
    {0, {u"Asc", u"Возр"}, {}, "IDS_CORE_SORT_TYPES_ASCENDING"},
    {1, {u"Desc", u"Убыв"}, {}, "IDS_CORE_SORT_TYPES_DESCENDING"},
};
constexpr EnumItemDecl kDateFractionsItems[] = {
    {1, {u"Date", u"Дата"}, {}, "IDS_VALUEDATEFRACTION_DATE"},
    {2, {u"Time", u"Время"}, {}, "IDS_VALUEDATEFRACTION_TIME"},
    {3, {u"DateTime", u"ДатаВремя"}, {}, "IDS_VALUEDATEFRACTION_DATETIME"},
};
constexpr EnumItemDecl kAllowedLengthItems[] = {
    {0, {u"Fixed", u"Фиксированная"}, {}, "IDS_VALUEALLOWEDLENGTH_FIXED"},
    {1, {u"Variable", u"Переменная"}, {}, "IDS_VALUEALLOWEDLENGTH_VARYING"},
};
constexpr EnumItemDecl kAllowedSignItems[] = {
    {0, {u"Any", u"Любой"}, {}, "IDS_VALUEALLOWEDSIGN_ANY"},
    {1, {u"Nonnegative", u"Неотрицательный"}, {}, "IDS_VALUEALLOWEDSIGN_NONNEGATIVE"},
};
constexpr EnumItemDecl kTextDirectionItems[] = {
    {0, {u"LeftToRight", u"СлеваНаправо"}, {}, "IDS_TEXTDIRECTION_LEFTTORIGHT"},
    {1, {u"RightToLeft", u"СправаНалево"}, {}, "IDS_TEXTDIRECTION_RIGHTTOLEFT"},
};
constexpr EnumItemDecl kPictureTypeItems[] = {
    {0, {u"None", u"Нет"}, {}, "IDS_VALUESPICTURETYPE_NONE"},
    {1, {u"Absolute", u"Абсолютная"}, {}, "IDS_VALUESPICTURETYPE_ABS"},
    {2, {u"Library", u"Библиотечная"}, {}, "IDS_VALUESPICTURETYPE_Q9"},
};

constexpr EnumDecl kBuiltinEnumerations[] = {
    {kSearchDirectionTypeClsid,
     {u"SearchDirection", u"НаправлениеПоиска"},
     0,
     "core",
     kSearchDirectionItems},
    {kRoundModeTypeClsid, {u"RoundMode", u"РежимОкругления"}, 1, "core", kRoundModeItems},
    {kSortDirectionTypeClsid,
     {u"SortDirection", u"НаправлениеСортировки"},
     0,
     "core",
     kSortDirectionItems},
    {kDateFractionsTypeClsid, {u"DateFractions", u"ЧастиДаты"}, 3, "core", kDateFractionsItems},
    {kAllowedLengthTypeClsid,
     {u"AllowedLength", u"ДопустимаяДлина"},
     1,
     "core",
     kAllowedLengthItems},
    {kAllowedSignTypeClsid, {u"AllowedSign", u"ДопустимыйЗнак"}, 0, "core", kAllowedSignItems},
    {kTextDirectionTypeClsid,
     {u"TextDirection", u"НаправлениеТекста"},
     0,
     "core",
     kTextDirectionItems},
    {kPictureTypeTypeClsid, {u"PictureType", u"ТипКартинки"}, 0, "core", kPictureTypeItems},
};
static_assert(std::size(kBuiltinEnumerations) == detail::kBuiltinEnumerationCount);

}  // namespace

namespace detail {

template <int kIndex>
IUnknown* builtin_enumeration_type_object() {
  // Values keep their type without a reference and may outlive the
  // library's module: the process keeps one reference for good.
  static IType* const type = create_enumeration_type(kBuiltinEnumerations[kIndex]).detach();
  type->acquire();
  return type;
}

template IUnknown* builtin_enumeration_type_object<0>();
template IUnknown* builtin_enumeration_type_object<1>();
template IUnknown* builtin_enumeration_type_object<2>();
template IUnknown* builtin_enumeration_type_object<3>();
template IUnknown* builtin_enumeration_type_object<4>();
template IUnknown* builtin_enumeration_type_object<5>();
template IUnknown* builtin_enumeration_type_object<6>();
template IUnknown* builtin_enumeration_type_object<7>();

const GUID& builtin_enumeration_clsid(int index) noexcept {
  return kBuiltinEnumerations[index].clsid;
}

}  // namespace detail
}  // namespace core
