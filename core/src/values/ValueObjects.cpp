// Implements core/value.h, value_impl.h, value_interfaces.h: primitive values, object bases.
#include <cmath>
#include <cstdint>
#include <functional>
#include <typeinfo>

#include "core/application_context.h"
#include "core/exception_classes.h"
#include "core/formats.h"
#include "core/messages.h"
#include "core/nocase.h"
#include "core/thread.h"
#include "core/value.h"
#include "core/value_impl.h"
#include "internal/block_cache.h"
#include "internal/chars.h"
#include "values/type_registry.h"
#include "values/value_objects.h"

namespace core {
namespace {

// Storage for a process-wide object that is built at compile time and never
// destroyed, so that values released during the process's exit (held in
// other modules' statics, say) still find it alive.
template <class T>
union Immortal {
  template <class... Args>
  constexpr explicit Immortal(Args... args) : value(args...) {}
  ~Immortal() {}
  T value;
};

// ---------------------------------------------------------------------------
// The primitive types: process-wide objects that reference counting never
// destroys.

class PrimitiveType final : public IType {
 public:
  constexpr PrimitiveType(TypeCode code, const GUID& clsid, const char16_t* english,
                          const char16_t* russian, const char* presentation_id) noexcept
      : code_(code), clsid_(clsid), names_{english, russian}, presentation_id_(presentation_id) {}

  TypeCode getTypeCode() override { return code_; }
  const char16_t* getName(Language language) override {
    return bilingual_name(names_[0], names_[1], language);
  }
  String getPresentation() override { return load_core_wstring(presentation_id_); }
  GUID getCLSID() override { return clsid_; }
  bool isCOMType() override { return false; }
  bool isValueMutable() override { return false; }
  bool hasCtor(unsigned count) override { return count == 0; }
  InterfacePtr<IValue> ctor(std::vector<GenericValue*>& params) override {
    if (!params.empty()) throw CtorException("IDS_TOO_MANY_PARAMETERS");
    return createIValue();
  }
  InterfacePtr<IValue> createIValue() override;

  bool queryInterface(const GUID& iid, void** out) override {
    const bool offered = iid == IUnknown::kIid || iid == IType::kIid;
    *out = offered ? static_cast<IType*>(this) : nullptr;
    return offered;
  }
  int32_t acquire() override { return 1; }
  int32_t release() override { return 1; }

 private:
  TypeCode code_;
  GUID clsid_;
  const char16_t* names_[2];
  const char* presentation_id_;
};

constinit Immortal<PrimitiveType> undefined_type_storage(TypeCode::Undefined,
                                                         detail::kUndefinedTypeClsid, u"Undefined",
                                                         u"Неопределено",
                                                         "IDS_TYPE_PRESENTATION_UNDEFINED");
constinit Immortal<PrimitiveType> null_type_storage(TypeCode::Null, detail::kNullTypeClsid, u"Null",
                                                    nullptr, "IDS_TYPE_PRESENTATION_NULL");
constinit Immortal<PrimitiveType> boolean_type_storage(TypeCode::Boolean, detail::kBooleanTypeClsid,
                                                       u"Boolean", u"Булево",
                                                       "IDS_TYPE_PRESENTATION_BOOLEAN");
constinit Immortal<PrimitiveType> number_type_storage(TypeCode::Number, detail::kNumberTypeClsid,
                                                      u"Number", u"Число",
                                                      "IDS_TYPE_PRESENTATION_NUMERIC");
constinit Immortal<PrimitiveType> string_type_storage(TypeCode::String, detail::kStringTypeClsid,
                                                      u"String", u"Строка",
                                                      "IDS_TYPE_PRESENTATION_STRING");
constinit Immortal<PrimitiveType> date_type_storage(TypeCode::Date, detail::kDateTypeClsid, u"Date",
                                                    u"Дата", "IDS_TYPE_PRESENTATION_DATE");
constinit Immortal<PrimitiveType> type_type_storage(TypeCode::Type, detail::kTypeTypeClsid, u"Type",
                                                    u"Тип", "IDS_TYPE_PRESENT_TYPE");

constexpr PrimitiveType* kUndefinedType = &undefined_type_storage.value;
constexpr PrimitiveType* kNullType = &null_type_storage.value;
constexpr PrimitiveType* kBooleanType = &boolean_type_storage.value;
constexpr PrimitiveType* kNumberType = &number_type_storage.value;
constexpr PrimitiveType* kStringType = &string_type_storage.value;
constexpr PrimitiveType* kDateType = &date_type_storage.value;
constexpr PrimitiveType* kTypeType = &type_type_storage.value;

// ---------------------------------------------------------------------------
// The values.

// The four values that exist once: reference counting never destroys them.
class SingletonValue : public ValueImplBase {
 public:
  constexpr SingletonValue(IType* type, int32_t hash) noexcept
      : ValueImplBase(type, NeverDestroyed{}), hash_(hash) {}
  bool isEqual(IValue* other) override { return other == this; }
  int32_t hashCode() override { return hash_; }
  void* getDataPtr() override { return nullptr; }
  bool getNumeric(Numeric&) override { return false; }
  bool getDate(Date&) override { return false; }

 private:
  int32_t hash_;
};

// Undefined and Null convert to nothing; their presentation is empty.
class EmptyValue final : public SingletonValue {
 public:
  using SingletonValue::SingletonValue;
  bool getBoolean(bool&) override { return false; }
  bool getString(String& out) override {
    out = String();
    return true;
  }
};

class BooleanValue final : public SingletonValue {
 public:
  constexpr BooleanValue(bool value) noexcept
      : SingletonValue(kBooleanType, value ? 0x7FFFFFFD : 0x7FFFFFFC), value_(value) {}
  bool getBoolean(bool& out) override {
    out = value_;
    return true;
  }
  bool getNumeric(Numeric& out) override {
    out = Numeric(value_ ? 1 : 0);
    return true;
  }
  bool getString(String& out) override {
    out = Thread::getBoolFormat().format(value_);
    return true;
  }

 private:
  bool value_;
};

constinit Immortal<EmptyValue> undefined_value_storage(kUndefinedType, 0x7FFFFFFF);
constinit Immortal<EmptyValue> null_value_storage(kNullType, 0x7FFFFFFE);
constinit Immortal<BooleanValue> false_value_storage(false);
constinit Immortal<BooleanValue> true_value_storage(true);
constexpr EmptyValue* kUndefinedValue = &undefined_value_storage.value;
constexpr EmptyValue* kNullValue = &null_value_storage.value;
constexpr BooleanValue* kFalseValue = &false_value_storage.value;
constexpr BooleanValue* kTrueValue = &true_value_storage.value;

// The value objects with a payload: counted, deleted with the last
// reference. They live in the thread's cache of small blocks, which makes
// and destroys them without a trip to the heap.
class PayloadValue : public ValueImplBase {
 public:
  using ValueImplBase::ValueImplBase;
  bool getBoolean(bool&) override { return false; }
  bool getNumeric(Numeric&) override { return false; }
  bool getDate(Date&) override { return false; }
  void* getDataPtr() override { return nullptr; }

  static void* operator new(std::size_t size) {
    return size <= detail::kSmallBlockSize ? detail::take_small_block() : ::operator new(size);
  }
  static void operator delete(void* block, std::size_t size) noexcept {
    if (size <= detail::kSmallBlockSize) {
      detail::give_small_block(block);
    } else {
      ::operator delete(block);
    }
  }

  // The new value with its first reference, for a holder to adopt.
  IValue* firstReference() noexcept {
    ref_count_.store(1, std::memory_order_relaxed);
    return this;
  }
};

class NumberValue final : public PayloadValue {
 public:
  template <class T>
  explicit NumberValue(const T& value) : PayloadValue(kNumberType), value_(value) {}
  bool getBoolean(bool& out) override {
    out = !value_.zero();
    return true;
  }
  bool getNumeric(Numeric& out) override {
    out = value_;
    return true;
  }
  bool getString(String& out) override {
    out = Thread::getNumericFormat().format(value_);
    return true;
  }
  bool isEqual(IValue* other) override {
    if (other == this) return true;
    Numeric number;
    return other != nullptr && other->getIType() == kNumberType && other->getNumeric(number) &&
           number.compare(value_) == 0;
  }
  int32_t hashCode() override { return detail::number_hash(value_); }
  const Numeric& value() const noexcept { return value_; }

 private:
  Numeric value_;
};

// A String converts to Boolean through the thread's boolean texts first,
// then through the four words True, Истина, False and Ложь in any case with
// white space around; to Number when the whole text, white space around
// aside, is a number; to Date when it is the 14 (or 8 or 12) digits of a
// date.
class StringValue final : public PayloadValue {
 public:
  template <class T>
  explicit StringValue(const T& value) : PayloadValue(kStringType), value_(value) {}
  bool getBoolean(bool& out) override;
  bool getNumeric(Numeric& out) override;
  bool getString(String& out) override {
    out = value_;
    return true;
  }
  bool getDate(Date& out) override;
  bool isEqual(IValue* other) override {
    if (other == this) return true;
    String text;
    return other != nullptr && other->getIType() == kStringType && other->getString(text) &&
           text == value_;
  }
  int32_t hashCode() override {
    const size_t hash = std::hash<String>()(value_);
    return static_cast<int32_t>(static_cast<uint32_t>(hash ^ (hash >> 32)));
  }

 private:
  String value_;
};

bool StringValue::getBoolean(bool& out) {
  out = false;
  bool parsed = false;
  if (Thread::getBoolFormat().parse(value_, parsed)) {
    out = parsed;
    return true;
  }
  const std::u16string_view word = detail::trim_white_space(value_);
  for (char16_t unit : word) {
    if (detail::is_white_space(unit)) return false;  // a second word follows
  }
  if (compare_nocase(word, u"True") == 0 || compare_nocase(word, u"Истина") == 0) {
    out = true;
    return true;
  }
  return compare_nocase(word, u"False") == 0 || compare_nocase(word, u"Ложь") == 0;
}

bool StringValue::getNumeric(Numeric& out) {
  const String text(detail::trim_white_space(value_));
  if (text.empty()) return false;
  Numeric number;
  const char16_t* end = nullptr;
  number.fromString(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return false;
  out = number;
  return true;
}

bool StringValue::getDate(Date& out) {
  const String text(detail::trim_white_space(value_));
  Date date;
  const char16_t* end = nullptr;
  date.fromString(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size()) return false;
  out = date;
  return true;
}

class DateValue final : public PayloadValue {
 public:
  explicit DateValue(const Date& value) noexcept : PayloadValue(kDateType), value_(value) {}
  bool getDate(Date& out) override {
    out = value_;
    return true;
  }
  bool getString(String& out) override {
    const DateFormat& format = Thread::getDateFormat();
    out = format.format(value_, format.getPattern(DateFormat::kShortDateTime));
    return true;
  }
  bool isEqual(IValue* other) override {
    if (other == this) return true;
    Date date;
    return other != nullptr && other->getIType() == kDateType && other->getDate(date) &&
           date.ticks() == value_.ticks();
  }
  int32_t hashCode() override {
    // The halves of the count mixed, so that dates a second apart differ in
    // many bits.
    uint64_t h = value_.ticks() * 0x9E3779B97F4A7C15ull;
    h ^= h >> 32;
    return static_cast<int32_t>(static_cast<uint32_t>(h));
  }

 private:
  Date value_;
};

class TypeValue final : public PayloadValue, public ITypeValue {
 public:
  explicit TypeValue(const GUID& clsid) noexcept : PayloadValue(kTypeType), clsid_(clsid) {}

  bool getString(String& out) override;
  bool isEqual(IValue* other) override {
    if (other == this) return true;
    if (other == nullptr || other->getIType() != kTypeType) return false;
    InterfacePtr<ITypeValue> type_value = InterfacePtr<IValue>(other).query<ITypeValue>();
    return type_value && type_value->typeCLSID() == clsid_;
  }
  int32_t hashCode() override { return static_cast<int32_t>(std::hash<GUID>()(clsid_)); }

  GUID typeCLSID() override { return clsid_; }
  InterfacePtr<IType> valueType() override { return detail::find_type(clsid_); }

  bool queryInterface(const GUID& iid, void** out) override {
    if (iid == ITypeValue::kIid) {
      *out = static_cast<ITypeValue*>(this);
      PayloadValue::acquire();
      return true;
    }
    return PayloadValue::queryInterface(iid, out);
  }
  int32_t acquire() override { return PayloadValue::acquire(); }
  int32_t release() override { return PayloadValue::release(); }

 private:
  GUID clsid_;
};

bool TypeValue::getString(String& out) {
  InterfacePtr<IType> type = detail::find_type(clsid_);
  if (!type) {
    if (InterfacePtr<IApplicationContext> context = application_context()) {
      if (context->compatibilityLevel() < kCompatibilityUnknownTypeText) {
        throw TypeException(clsid_.toString());
      }
    }
    out = format_message(load_core_wstring(TypeException::kMessageId), {clsid_.toString()});
    return true;
  }
  out = type->getPresentation();
  if (out.empty()) {
    const char16_t* name = type->getName(Thread::language());
    out = String(name);
  }
  return true;
}

InterfacePtr<IValue> PrimitiveType::createIValue() {
  switch (code_) {
    case TypeCode::Undefined:
      return InterfacePtr<IValue>(kUndefinedValue);
    case TypeCode::Null:
      return InterfacePtr<IValue>(kNullValue);
    case TypeCode::Boolean:
      return InterfacePtr<IValue>(kFalseValue);
    case TypeCode::Number:
      return create_numeric_value(0);
    case TypeCode::String:
      return create_string_value(String());
    case TypeCode::Date:
      return create_date_value(Date());
    default:
      return create_type_value(kUndefinedType->getCLSID());
  }
}

// ---------------------------------------------------------------------------
// A COM object held as a value.

class ComObjectType final : public ObjectTypeCore {
 public:
  ComObjectType() noexcept
      : ObjectTypeCore(detail::kComObjectTypeClsid, u"COMObject", u"COMОбъект",
                       "IDS_TYPE_PRESENTATION_COMOBJECT", true) {}
  bool isCOMType() override { return true; }
  InterfacePtr<IValue> createIValue() override { return InterfacePtr<IValue>(kUndefinedValue); }
};

ComObjectType& com_object_type() {
  static auto* const type = [] {
    auto* created = new ComObjectType;
    created->acquire();  // the process keeps one reference for good
    return created;
  }();
  return *type;
}

class ComObjectValue final : public ObjectValueCore {
 public:
  explicit ComObjectValue(IUnknown* object)
      : ObjectValueCore(&com_object_type()), object_(object) {}
  bool isEqual(IValue* other) override {
    if (other == this) return true;
    return other != nullptr && other->getIType() == getIType() &&
           other->getDataPtr() == getDataPtr();
  }
  void* getDataPtr() override { return object_.get(); }

 private:
  InterfacePtr<IUnknown> object_;
};

// The value to hold for `object`: itself when it is a value, else a COM
// object value wrapping it; Undefined for null.
InterfacePtr<IValue> value_of(IUnknown* object) {
  if (object == nullptr) return InterfacePtr<IValue>(kUndefinedValue);
  InterfacePtr<IValue> value = InterfacePtr<IUnknown>(object).query<IValue>();
  if (value) return value;
  return InterfacePtr<IValue>(new ComObjectValue(object));
}

// The Numeric of an integer or a double; false for infinity and NaN, which
// no Number equals.
template <class T>
bool numeric_of(T value, Numeric& out) {
  if constexpr (std::is_floating_point_v<T>) {
    if (!std::isfinite(value)) return false;
  }
  out = Numeric(value);
  return true;
}

}  // namespace

namespace detail {

int32_t number_hash(const Numeric& number) {
  const int32_t count = number.limbCount();
  const int32_t fraction = number.fractionLimbs();
  const Numeric::Limb* limbs = number.limbs();
  // Integer place p holds limbs[p + fraction]; the places below the stored
  // limbs (a negative fraction count) hold zeros.
  uint32_t hash = 0;
  for (int64_t place = static_cast<int64_t>(count) - 1 - fraction; place >= 0; --place) {
    const int64_t index = place + fraction;
    hash = hash * 1000000000u + (index >= 0 && index < count ? limbs[index] : 0u);
  }
  if (number.sign() < 0) hash = 0u - hash;
  return static_cast<int32_t>(hash);
}

const Numeric* held_number(IValue* value) noexcept {
  return typeid(*value) == typeid(NumberValue) ? &static_cast<NumberValue*>(value)->value()
                                               : nullptr;
}

IType* primitive_type(TypeCode code) noexcept {
  switch (code) {
    case TypeCode::Undefined:
      return kUndefinedType;
    case TypeCode::Null:
      return kNullType;
    case TypeCode::Boolean:
      return kBooleanType;
    case TypeCode::Number:
      return kNumberType;
    case TypeCode::String:
      return kStringType;
    case TypeCode::Date:
      return kDateType;
    case TypeCode::Type:
      return kTypeType;
    default:
      return nullptr;
  }
}

IUnknown* com_object_type_object() {
  ComObjectType& type = com_object_type();
  type.acquire();  // the class map's reference, released when the module stops
  return &type;
}

}  // namespace detail

IType* Type::create_type(Code code) noexcept { return detail::primitive_type(code); }

// ---------------------------------------------------------------------------
// The bases.

bool ValueImplBase::queryInterface(const GUID& iid, void** out) {
  const bool offered = iid == IUnknown::kIid || iid == IValue::kIid;
  *out = offered ? static_cast<IValue*>(this) : nullptr;
  if (offered) acquire();
  return offered;
}

void destroy_counted_value(IValue* value) noexcept { delete value; }

int32_t ValueImplBase::acquire() {
  if (counting() == Counting::kImmortal) return 1;
  return ref_count_.fetch_add(1, std::memory_order_relaxed) + 1;
}

int32_t ValueImplBase::release() {
  if (counting() == Counting::kImmortal) return 1;
  const int32_t count = ref_count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (count == 0) delete this;
  return count;
}

bool ObjectValueCore::getBoolean(bool& out) {
  out = false;
  return false;
}

bool ObjectValueCore::getNumeric(Numeric& out) {
  out = Numeric();
  return false;
}

bool ObjectValueCore::getString(String& out) {
  out = getIType() != nullptr ? getIType()->getPresentation() : String();
  return true;
}

bool ObjectValueCore::getDate(Date&) { return false; }

bool ObjectValueCore::isEqual(IValue* other) { return other == this; }

int32_t ObjectValueCore::hashCode() {
  return static_cast<int32_t>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(this)));
}

void* ObjectValueCore::getDataPtr() { return this; }

ObjectTypeCore::ObjectTypeCore(const GUID& clsid, const char16_t* english_name,
                               const char16_t* russian_name, const char* presentation_id,
                               bool value_mutable, const char* module) noexcept
    : clsid_(clsid),
      names_{english_name, russian_name},
      presentation_id_(presentation_id),
      module_(module),
      value_mutable_(value_mutable) {}

const char16_t* ObjectTypeCore::getName(Language language) {
  return bilingual_name(names_[0], names_[1], language);
}

String ObjectTypeCore::getPresentation() { return load_module_wstring(module_, presentation_id_); }

InterfacePtr<IValue> ObjectTypeCore::ctor(std::vector<GenericValue*>& params) {
  if (!params.empty()) throw CtorException("IDS_TOO_MANY_PARAMETERS");
  return createIValue();
}

bool ObjectTypeCore::queryInterface(const GUID& iid, void** out) {
  const bool offered = iid == IUnknown::kIid || iid == IType::kIid;
  *out = offered ? static_cast<IType*>(this) : nullptr;
  if (offered) acquire();
  return offered;
}

int32_t ObjectTypeCore::release() {
  const int32_t count = count_.release();
  if (count == 0) delete this;
  return count;
}

// ---------------------------------------------------------------------------
// Creating values.

IValue* create_undefined_value() noexcept { return kUndefinedValue; }
IValue* create_null_value() noexcept { return kNullValue; }
IValue* create_boolean_value(bool value) noexcept {
  return value ? static_cast<IValue*>(kTrueValue) : kFalseValue;
}

namespace {

// A new value of `Kind` made from `payload`, with its first reference.
template <class Kind, class Payload>
IValue* make_value(const Payload& payload) {
  return (new Kind(payload))->firstReference();
}

}  // namespace

InterfacePtr<IValue> create_numeric_value(short value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(unsigned short value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(int value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(unsigned int value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(long value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(unsigned long value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(long long value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(unsigned long long value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(double value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_numeric_value(const Numeric& value) {
  return InterfacePtr<IValue>::adopt(make_value<NumberValue>(value));
}
InterfacePtr<IValue> create_string_value(const String& value) {
  return InterfacePtr<IValue>::adopt(make_value<StringValue>(value));
}
InterfacePtr<IValue> create_string_value(const char16_t* value) {
  return InterfacePtr<IValue>::adopt(make_value<StringValue>(value));
}
InterfacePtr<IValue> create_date_value(const Date& value) {
  return InterfacePtr<IValue>::adopt(make_value<DateValue>(value));
}
InterfacePtr<IValue> create_type_value(const GUID& clsid) {
  return InterfacePtr<IValue>::adopt(make_value<TypeValue>(clsid));
}

// ---------------------------------------------------------------------------
// GenericValue.

void GenericValue::setIValueTo(GenericValue& target) const { target.setIValue(getIValue()); }
bool GenericValue::equalsTo(const GenericValue& other) const {
  return getIValue()->isEqual(other.getIValue());
}
int32_t GenericValue::hashCode0() const { return getIValue()->hashCode(); }
Type GenericValue::type0() const { return Type(getIValue()->getIType()); }
bool GenericValue::equals0(IValue* value) const { return getIValue()->isEqual(value); }

void GenericValue::assign(bool value) { setIValue(create_boolean_value(value)); }
void GenericValue::assign(short value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(unsigned short value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(int value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(long value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(unsigned int value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(unsigned long value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(long long value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(unsigned long long value) {
  setIValue(create_numeric_value(value).get());
}
void GenericValue::assign(double value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(const Numeric& value) { setIValue(create_numeric_value(value).get()); }
void GenericValue::assign(const char16_t* value) { setIValue(create_string_value(value).get()); }
void GenericValue::assign(const String& value) { setIValue(create_string_value(value).get()); }
void GenericValue::assign(const Date& value) { setIValue(create_date_value(value).get()); }
void GenericValue::assign(IUnknown* value) { setIValue(value_of(value).get()); }
void GenericValue::assign(IValue* value) { setIValue(value); }
void GenericValue::assign(const GenericValue& value) { value.setIValueTo(*this); }
void GenericValue::clear() { setIValue(kUndefinedValue); }

bool GenericValue::equalsNumber(const Numeric& value) const {
  IValue* held = getIValue();
  if (held->getIType() != kNumberType) return false;
  // The library's own Number values are compared without a copy; a type
  // check by typeid costs less than a dynamic_cast.
  if (typeid(*held) == typeid(NumberValue)) {
    return static_cast<NumberValue*>(held)->value().compare(value) == 0;
  }
  Numeric other;
  return held->getNumeric(other) && other.compare(value) == 0;
}

bool GenericValue::equals(bool value) const {
  IValue* held = getIValue();
  bool other = false;
  return held->getIType() == kBooleanType && held->getBoolean(other) && other == value;
}

namespace {

// Does `number` equal the integer of `negative` and `magnitude`? Read off
// the limbs, without building a Numeric.
bool equals_integer(const Numeric& number, bool negative, uint64_t magnitude) noexcept {
  if (magnitude == 0) return number.zero();
  if (number.zero() || (number.sign() < 0) != negative) return false;
  const int32_t count = number.limbCount();
  const int32_t fraction = number.fractionLimbs();
  const Numeric::Limb* limbs = number.limbs();
  // Limb i stands at integer place i - fraction; a fraction must be all
  // zeros, and an integer of 64 bits has at most three places.
  for (int32_t i = 0; i < fraction && i < count; ++i) {
    if (limbs[i] != 0) return false;
  }
  if (static_cast<int64_t>(count) - fraction > 3) return false;
  uint64_t value = 0;
  for (int32_t i = count - 1; i >= 0 && i >= fraction; --i) {
    if (__builtin_mul_overflow(value, uint64_t{Numeric::kLimbBase}, &value) ||
        __builtin_add_overflow(value, uint64_t{limbs[i]}, &value)) {
      return false;
    }
  }
  for (int32_t place = fraction; place < 0; ++place) {
    if (__builtin_mul_overflow(value, uint64_t{Numeric::kLimbBase}, &value)) return false;
  }
  return value == magnitude;
}

}  // namespace

bool GenericValue::equalsInteger(bool negative, uint64_t magnitude) const {
  IValue* held = getIValue();
  if (typeid(*held) == typeid(NumberValue)) {
    return equals_integer(static_cast<NumberValue*>(held)->value(), negative, magnitude);
  }
  Numeric other;
  return held->getIType() == kNumberType && held->getNumeric(other) &&
         equals_integer(other, negative, magnitude);
}

#define CORE_EQUALS_SIGNED(T)                                                                \
  bool GenericValue::equals(T value) const {                                                 \
    const auto wide = static_cast<int64_t>(value);                                           \
    return equalsInteger(                                                                    \
        wide < 0, wide < 0 ? 0 - static_cast<uint64_t>(wide) : static_cast<uint64_t>(wide)); \
  }
#define CORE_EQUALS_UNSIGNED(T) \
  bool GenericValue::equals(T value) const { return equalsInteger(false, value); }
CORE_EQUALS_SIGNED(short)
CORE_EQUALS_UNSIGNED(unsigned short)
CORE_EQUALS_SIGNED(int)
CORE_EQUALS_SIGNED(long)
CORE_EQUALS_UNSIGNED(unsigned int)
CORE_EQUALS_UNSIGNED(unsigned long)
CORE_EQUALS_SIGNED(long long)
CORE_EQUALS_UNSIGNED(unsigned long long)
#undef CORE_EQUALS_SIGNED
#undef CORE_EQUALS_UNSIGNED

bool GenericValue::equals(double value) const {
  Numeric number;
  return numeric_of(value, number) && equalsNumber(number);
}

bool GenericValue::equals(const Numeric& value) const { return equalsNumber(value); }

bool GenericValue::equals(const char16_t* value) const {
  IValue* held = getIValue();
  String text;
  return held->getIType() == kStringType && held->getString(text) &&
         text == std::u16string_view(value == nullptr ? u"" : value);
}

bool GenericValue::equals(const String& value) const {
  IValue* held = getIValue();
  String text;
  return held->getIType() == kStringType && held->getString(text) && text == value;
}

bool GenericValue::equals(const Date& value) const {
  IValue* held = getIValue();
  Date date;
  return held->getIType() == kDateType && held->getDate(date) && date.ticks() == value.ticks();
}

bool GenericValue::equals(IValue* value) const { return equals0(value); }
bool GenericValue::equals(const GenericValue& value) const { return equalsTo(value); }

// ---------------------------------------------------------------------------
// Value.

namespace {

// Takes the only reference of a value just created.
IValue* adopt(InterfacePtr<IValue> value) noexcept { return value.detach(); }

}  // namespace

Value::Value() noexcept : value_(kUndefinedValue) {}
Value::Value(bool value) : value_(create_boolean_value(value)) {}
Value::Value(short value) : value_(make_value<NumberValue>(value)) {}
Value::Value(unsigned short value) : value_(make_value<NumberValue>(value)) {}
Value::Value(int value) : value_(make_value<NumberValue>(value)) {}
Value::Value(unsigned int value) : value_(make_value<NumberValue>(value)) {}
Value::Value(long value) : value_(make_value<NumberValue>(value)) {}
Value::Value(unsigned long value) : value_(make_value<NumberValue>(value)) {}
Value::Value(long long value) : value_(make_value<NumberValue>(value)) {}
Value::Value(unsigned long long value) : value_(make_value<NumberValue>(value)) {}
Value::Value(double value) : value_(make_value<NumberValue>(value)) {}
Value::Value(const Numeric& value) : value_(make_value<NumberValue>(value)) {}
Value::Value(const char16_t* value) : value_(make_value<StringValue>(value)) {}
Value::Value(const String& value) : value_(make_value<StringValue>(value)) {}
Value::Value(const Date& value) : value_(make_value<DateValue>(value)) {}
Value::Value(IUnknown* value) : value_(adopt(value_of(value))) {}
Value::Value(IValue* value) noexcept : value_(value != nullptr ? value : kUndefinedValue) {
  value_->holdRef();
}
Value::Value(const GenericValue& value) noexcept : Value(value.getIValue()) {}

Value& Value::operator=(const GenericValue& other) noexcept {
  setIValue(other.getIValue());
  return *this;
}

void Value::setIValue(IValue* value) {
  if (value == nullptr) value = kUndefinedValue;
  value->holdRef();
  std::exchange(value_, value)->dropRef();
}

IValue* Value::detachIValue() noexcept { return std::exchange(value_, kUndefinedValue); }

IValue* Value::undefinedIValue() noexcept { return kUndefinedValue; }

const Value& Value::undefined() noexcept {
  static const Value* const instance = new Value;
  return *instance;
}

// ---------------------------------------------------------------------------
// WeakValue.

WeakValue::WeakValue(IValue* value) noexcept : value_(value != nullptr ? value : kUndefinedValue) {}

WeakValue::~WeakValue() {
  if (owns_) value_->dropRef();
}

void WeakValue::setIValue(IValue* value) {
  if (value == nullptr) value = kUndefinedValue;
  value->holdRef();
  IValue* old = std::exchange(value_, value);
  if (owns_) old->dropRef();
  owns_ = true;
}

// ---------------------------------------------------------------------------
// Free functions.

bool is_undefined_value(const GenericValue& value) {
  return value.getIValue()->getIType()->getTypeCode() == TypeCode::Undefined;
}

bool is_null_or_undefined_value(const GenericValue& value) {
  const TypeCode code = value.getIValue()->getIType()->getTypeCode();
  return code == TypeCode::Undefined || code == TypeCode::Null;
}

String to_string(const GenericValue& value) {
  String text;
  if (!value.getString(text)) return String();
  return text;
}

const Value& proceed_call_unspecified_value() noexcept {
  static const Value* const instance = new Value;
  return *instance;
}

}  // namespace core
