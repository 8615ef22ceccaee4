// GenericValue, Value and WeakValue: the holders of universal values, and
// the functions that create values.
//
// GenericValue is the abstract holder through which every part of the
// platform passes values: assign() puts a value of any kind in, equals()
// compares by kind, get...() convert. Value owns one value and is never
// empty: a default Value holds Undefined. WeakValue holds a value without a
// reference until it is first assigned to.
//
//   core::Value amount(12.75);
//   amount.equals(12.75);            // true
//   amount.equals(u"12.75");         // false: a String never equals a Number
//   core::String text;
//   amount.getString(text);          // the thread's presentation, "12.75"
//   amount.hashCode();               // 12: a Number hashes its integer part
//
// Thread safety: a holder is used by one thread at a time; the values it
// holds may be shared between threads. Conversions read only the calling
// thread's formats and language.
#ifndef CORE_VALUE_H_
#define CORE_VALUE_H_

#include <cstdint>
#include <utility>

#include "core/export.h"
#include "core/type.h"
#include "core/value_interfaces.h"

namespace core {

class IInPersistenceStorage;
class IOutPersistenceStorage;

class CORE_EXPORT GenericValue {
 public:
  virtual ~GenericValue() = default;

  // The virtual slots, in this order.
  // Holds `value` (acquired; Undefined for null) in place of the old one.
  virtual void setIValue(IValue* value) = 0;
  // The held value, without a new reference.
  virtual IValue* getIValue() const = 0;
  // Puts the held value into `target`.
  virtual void setIValueTo(GenericValue& target) const;
  virtual bool equalsTo(const GenericValue& other) const;
  virtual int32_t hashCode0() const;
  virtual Type type0() const;
  virtual bool equals0(IValue* value) const;

  // Builds a value of the argument's kind and holds it.
  void assign(bool value);
  void assign(short value);
  void assign(unsigned short value);
  void assign(int value);
  void assign(long value);
  void assign(unsigned int value);
  void assign(unsigned long value);
  void assign(long long value);
  void assign(unsigned long long value);
  // Throws `NumericException` (code 3, "IDS_NUMERROR_OVERFLOW") for infinity and NaN.
  void assign(double value);
  void assign(const Numeric& value);
  void assign(const char16_t* value);
  void assign(const String& value);
  void assign(const Date& value);
  // An IUnknown that is not itself a value is wrapped as a COM object value.
  void assign(IUnknown* value);
  void assign(IValue* value);
  void assign(const GenericValue& value);
  // Holds Undefined.
  void clear();

  // Equality by kind, never across kinds: a number equals only a Number
  // value of the same decimal value, a bool only a Boolean, a text only a
  // String of the same text, a Date only a Date of the same count. A value
  // or holder asks the held value's isEqual().
  bool equals(bool value) const;
  bool equals(short value) const;
  bool equals(unsigned short value) const;
  bool equals(int value) const;
  bool equals(long value) const;
  bool equals(unsigned int value) const;
  bool equals(unsigned long value) const;
  bool equals(long long value) const;
  bool equals(unsigned long long value) const;
  bool equals(double value) const;
  bool equals(const Numeric& value) const;
  bool equals(const char16_t* value) const;
  bool equals(const String& value) const;
  bool equals(const Date& value) const;
  bool equals(IValue* value) const;
  bool equals(const GenericValue& value) const;

  // The held value's conversions (see IValue): true with the result in `out`;
  // on false, `out` holds no result.
  [[nodiscard]] bool getBoolean(bool& out) const { return getIValue()->getBoolean(out); }
  [[nodiscard]] bool getNumeric(Numeric& out) const { return getIValue()->getNumeric(out); }
  [[nodiscard]] bool getString(String& out) const { return getIValue()->getString(out); }
  [[nodiscard]] bool getDate(Date& out) const { return getIValue()->getDate(out); }
  Type type() const { return type0(); }
  int32_t hashCode() const { return hashCode0(); }

  // Writes and reads the held value's brace-list form (core/persistence.h).
  // Writing an object value throws `UnsupportedOperationException`
  // ("IDS_ERR_UNSUPPORTED_OPERATION"); reading malformed data throws `ListStreamException`
  // ("IDS_LISTSTREAMERROR").
  void serialize(IOutPersistenceStorage* storage) const;
  static void deserialize(IInPersistenceStorage* storage, GenericValue& value);
  // The same form as text (not the presentation: see getString), and back.
  void toString(String& out) const;
  static void fromString(const String& text, GenericValue& value);

 protected:
  GenericValue() = default;
  GenericValue(const GenericValue&) = default;
  GenericValue& operator=(const GenericValue&) = default;

 private:
  bool equalsNumber(const Numeric& value) const;
  bool equalsInteger(bool negative, uint64_t magnitude) const;
};

// Owns exactly one value reference; never empty.
class CORE_EXPORT Value : public GenericValue {
 public:
  // Undefined.
  Value() noexcept;
  Value(bool value);                // NOLINT(google-explicit-constructor)
  Value(short value);               // NOLINT(google-explicit-constructor)
  Value(unsigned short value);      // NOLINT(google-explicit-constructor)
  Value(int value);                 // NOLINT(google-explicit-constructor)
  Value(unsigned int value);        // NOLINT(google-explicit-constructor)
  Value(long value);                // NOLINT(google-explicit-constructor)
  Value(unsigned long value);       // NOLINT(google-explicit-constructor)
  Value(long long value);           // NOLINT(google-explicit-constructor)
  Value(unsigned long long value);  // NOLINT(google-explicit-constructor)
  Value(double value);              // NOLINT(google-explicit-constructor)
  Value(const Numeric& value);      // NOLINT(google-explicit-constructor)
  Value(const char16_t* value);     // NOLINT(google-explicit-constructor)
  Value(const String& value);       // NOLINT(google-explicit-constructor)
  Value(const Date& value);         // NOLINT(google-explicit-constructor)
  explicit Value(IUnknown* value);
  // Acquires `value`; null gives Undefined.
  explicit Value(IValue* value) noexcept;
  Value(const GenericValue& value) noexcept;  // NOLINT(google-explicit-constructor)
  // Copies, moves and destruction are inline: a copy is one atomic increment
  // for the library's own values and nothing for the singletons, a move
  // never touches the count.
  Value(const Value& other) noexcept : GenericValue(other), value_(other.value_) {
    value_->holdRef();
  }
  // Leaves `other` Undefined.
  Value(Value&& other) noexcept
      : GenericValue(other), value_(std::exchange(other.value_, undefinedIValue())) {}
  ~Value() override { value_->dropRef(); }

  // The new value is acquired before the old one is released, so a value
  // assigned to itself stays.
  Value& operator=(const Value& other) noexcept {
    other.value_->holdRef();
    std::exchange(value_, other.value_)->dropRef();
    return *this;
  }
  Value& operator=(Value&& other) noexcept {
    if (this != &other) {
      std::exchange(value_, std::exchange(other.value_, undefinedIValue()))->dropRef();
    }
    return *this;
  }
  Value& operator=(const GenericValue& other) noexcept;

  void setIValue(IValue* value) override;
  IValue* getIValue() const override { return value_; }

  // Hands the held reference to the caller and holds Undefined.
  [[nodiscard]] IValue* detachIValue() noexcept;

  // A static Value holding Undefined.
  static const Value& undefined() noexcept;

 private:
  // The Undefined singleton, which needs no reference.
  static IValue* undefinedIValue() noexcept;

  IValue* value_;
};

// Holds one value and a flag that says whether it owns a reference to it.
// Constructed from a pointer it takes no reference (the flag is clear); the
// first setIValue() acquires and sets the flag, so after its first
// assignment a WeakValue owns what it holds.
class CORE_EXPORT WeakValue : public GenericValue {
 public:
  // REQUIRES: `value` outlives the WeakValue or an assignment to it; null
  // gives Undefined.
  explicit WeakValue(IValue* value) noexcept;
  ~WeakValue() override;
  WeakValue(const WeakValue&) = delete;
  WeakValue& operator=(const WeakValue&) = delete;

  void setIValue(IValue* value) override;
  IValue* getIValue() const override { return value_; }
  bool ownsValue() const noexcept { return owns_; }

 private:
  IValue* value_;
  bool owns_ = false;
};

// The singletons (no new reference: the caller may keep them unreferenced).
CORE_EXPORT IValue* create_undefined_value() noexcept;
CORE_EXPORT IValue* create_null_value() noexcept;
CORE_EXPORT IValue* create_boolean_value(bool value) noexcept;

// New values, count 1.
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(short value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(unsigned short value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(int value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(unsigned int value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(long value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(unsigned long value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(long long value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(unsigned long long value);
// Throws `NumericException` (code 3, "IDS_NUMERROR_OVERFLOW") for infinity and NaN.
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(double value);
CORE_EXPORT InterfacePtr<IValue> create_numeric_value(const Numeric& value);
CORE_EXPORT InterfacePtr<IValue> create_string_value(const String& value);
CORE_EXPORT InterfacePtr<IValue> create_string_value(const char16_t* value);
CORE_EXPORT InterfacePtr<IValue> create_date_value(const Date& value);
// A value of kind Type standing for the type `clsid`.
CORE_EXPORT InterfacePtr<IValue> create_type_value(const GUID& clsid);

// True when the held value's type code is Undefined.
CORE_EXPORT bool is_undefined_value(const GenericValue& value);
// True when it is Undefined or Null.
CORE_EXPORT bool is_null_or_undefined_value(const GenericValue& value);
// The held value's presentation; empty when it has none.
CORE_EXPORT String to_string(const GenericValue& value);
// The static Value that marks a script argument as not given.
CORE_EXPORT const Value& proceed_call_unspecified_value() noexcept;

}  // namespace core

#endif  // CORE_VALUE_H_
