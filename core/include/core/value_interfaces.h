// The interfaces of the universal value: IValue (a value of any kind),
// IType (its type) and ITypeValue (a value whose payload is a type).
//
// Every value the platform exchanges (Undefined, Null, Boolean, Number,
// String, Date, Type and object values) is an IValue held through a
// GenericValue (core/value.h); its IType says what kind it is. Built-in
// object values and their types derive from the bases in core/value_impl.h.
//
//   core::Value v(12.75);
//   v.getIValue()->getIType()->getTypeCode();   // core::TypeCode::Number
//
// Thread safety: values and types are reference counted atomically. The
// primitive values are immutable and may be shared between threads.
//
// Holders (Value, InterfacePtr<IValue>) count through holdRef() and
// dropRef(), which reach the count of the library's own values
// (ValueImplBase) without a virtual call and skip it altogether for the
// never-destroyed singletons; a value implemented by hand is counted through
// its acquire() and release(), as before.
#ifndef CORE_VALUE_INTERFACES_H_
#define CORE_VALUE_INTERFACES_H_

#include <atomic>
#include <cstdint>
#include <vector>

#include "core/date.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/iunknown.h"
#include "core/language.h"
#include "core/numeric.h"
#include "core/string.h"

namespace core {

class GenericValue;
class IType;
class IValue;

// Deletes a value counted in place (IValue::dropRef) whose last reference
// went. Out of line: the holders that inline dropRef() need not see the
// destruction of every class they might hold.
CORE_EXPORT void destroy_counted_value(IValue* value) noexcept;

// The kinds of values (Type::Code).
enum class TypeCode : int {
  Undefined = 0,
  Null = 1,
  Boolean = 2,
  Number = 3,
  String = 4,
  Date = 5,
  Object = 100,  // any type derived from ObjectTypeCore
  Type = 1000,   // a value whose payload is a type
};

// A value. Each get... returns true, with the result written to `out`, when
// the value converts to that kind; false when it does not (a failed
// conversion is no error). On false, `out` holds no result: it is left as it
// was, or reset to false, zero or the empty date.
class IValue : public IUnknown {
 public:
  // {7A4C2E19-3B5D-4F60-8E21-9C0D4B6A1F37}
  static constexpr GUID kIid = {
      0x7A4C2E19, 0x3B5D, 0x4F60, {0x8E, 0x21, 0x9C, 0x0D, 0x4B, 0x6A, 0x1F, 0x37}};

  // The value's type; the value holds it, the caller gets no reference.
  virtual IType* getIType() const = 0;
  [[nodiscard]] virtual bool getBoolean(bool& out) = 0;
  [[nodiscard]] virtual bool getNumeric(Numeric& out) = 0;
  // The value's presentation, the text a user sees.
  [[nodiscard]] virtual bool getString(String& out) = 0;
  [[nodiscard]] virtual bool getDate(Date& out) = 0;
  virtual bool isEqual(IValue* other) = 0;
  virtual int32_t hashCode() = 0;
  // The object's own data for the host's use; null for primitive values.
  virtual void* getDataPtr() = 0;

  // One reference more, as acquire() but without a virtual call for the
  // library's own values and without any work for the singletons.
  void holdRef() noexcept {
    if (counting_ == Counting::kIntrusive) {
      ref_count_.fetch_add(1, std::memory_order_relaxed);
    } else if (counting_ == Counting::kVirtual) {
      acquire();
    }
  }
  // One reference less, as release(): the value is destroyed with its last
  // reference.
  void dropRef() noexcept {
    if (counting_ == Counting::kIntrusive) {
      // The only holder needs no atomic update: nobody else can take a new
      // reference. Acquire so that it sees what earlier holders wrote.
      if (ref_count_.load(std::memory_order_acquire) == 1 ||
          ref_count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        destroy_counted_value(this);
      }
    } else if (counting_ == Counting::kVirtual) {
      release();
    }
  }

 protected:
  // Where holders find the count. kVirtual, the default of a value
  // implemented by hand: acquire() and release(). kIntrusive: ref_count_,
  // which the implementation's acquire() and release() must use too
  // (ValueImplBase does). kImmortal: the value is never destroyed and keeps
  // no count.
  enum class Counting : std::uint8_t { kVirtual, kIntrusive, kImmortal };

  constexpr IValue() noexcept = default;
  constexpr explicit IValue(Counting counting) noexcept : counting_(counting) {}
  // A copy is a new object: it starts with a count of its own.
  IValue(const IValue& other) noexcept : IUnknown(other), counting_(other.counting_) {}
  IValue& operator=(const IValue&) noexcept { return *this; }
  ~IValue() override = default;

  Counting counting() const noexcept { return counting_; }

  mutable std::atomic<std::int32_t> ref_count_{0};

 private:
  friend void destroy_counted_value(IValue* value) noexcept;

  Counting counting_ = Counting::kVirtual;
};

// A type of values.
class IType : public IUnknown {
 public:
  // {5E0B7D43-91A2-4C8F-B6D4-2F3A8E17C9B5}
  static constexpr GUID kIid = {
      0x5E0B7D43, 0x91A2, 0x4C8F, {0xB6, 0xD4, 0x2F, 0x3A, 0x8E, 0x17, 0xC9, 0xB5}};

  virtual TypeCode getTypeCode() = 0;
  // The name in `language` (the English name when the type has no Russian
  // one); null for a value outside the enumeration.
  virtual const char16_t* getName(Language language) = 0;
  // The text users see for the type, in the thread's language of messages.
  virtual String getPresentation() = 0;
  virtual GUID getCLSID() = 0;
  virtual bool isCOMType() = 0;
  virtual bool isValueMutable() = 0;
  // Is there a constructor with `count` parameters?
  virtual bool hasCtor(unsigned count) = 0;
  // A value built from `params`. Throws `CtorException` for parameters the
  // type does not accept.
  virtual InterfacePtr<IValue> ctor(std::vector<GenericValue*>& params) = 0;
  // The type's default value.
  virtual InterfacePtr<IValue> createIValue() = 0;

 protected:
  ~IType() override = default;
};

// A value of kind Type: it stands for a type, named by the type's class
// identifier.
class ITypeValue : public IUnknown {
 public:
  // {C21F8A56-0D7E-4B93-A5C8-6E4F1B2D9A70}
  static constexpr GUID kIid = {
      0xC21F8A56, 0x0D7E, 0x4B93, {0xA5, 0xC8, 0x6E, 0x4F, 0x1B, 0x2D, 0x9A, 0x70}};

  // The class identifier of the type it stands for.
  virtual GUID typeCLSID() = 0;
  // The type it stands for, or null when that type is not registered.
  virtual InterfacePtr<IType> valueType() = 0;

 protected:
  ~ITypeValue() override = default;
};

}  // namespace core

#endif  // CORE_VALUE_INTERFACES_H_
