// TypedValue: a value holder bound to a TypeDomain that adjusts every value
// put into it.
//
// Whatever reaches setIValue() (and so every assign()) is fitted to the
// domain first:
// - a Number: negative becomes 0 when the domain is nonnegative; with
//   digits D and fraction F, a number whose integer digits fit D - F is
//   rounded to F places by the calling thread's rounding mode
//   (Thread::roundMode()); one that does not fit (also after rounding)
//   becomes the largest number of the qualifiers with its sign (999.99 or
//   -999.99 for (5, 2)). A number whose integer part is zero has no integer
//   digits, so 0.5 and 0 fit (2, 2);
// - a Date: Date parts keep the date at 00:00:00, Time parts keep the time
//   of day on 0001-01-01; a count beyond the valid range becomes the empty
//   date;
// - a String longer than its length is cut to its first length UTF-16 code
//   units (a surrogate pair that the cut would split goes as a whole); a
//   shorter one is padded with spaces to the length when it is fixed;
// - binary data is cut and padded the same way, with zero bytes
//   (BinaryQualifiers);
// - a value whose type the domain does not allow is replaced by the
//   domain's default value; an empty domain allows every type and keeps
//   every value as it is.
// A value that already fits is held itself: no new value is made.
//
//   core::TypeDomainPattern pattern(core::TypeDomainPattern::kNumberType);
//   pattern.setNumericQualifiers(core::NumericQualifiers(5, 2, false));
//   core::TypedValue amount{core::TypeDomain(pattern)};   // holds 0
//   amount.assign(12345.678);     // holds 999.99
//   amount.assign(u"text");       // not a Number: holds 0
//
// Thread safety: a holder is used by one thread at a time; the values it
// holds may be shared. Adjusting a number reads the calling thread's
// rounding mode.
#ifndef CORE_TYPED_VALUE_H_
#define CORE_TYPED_VALUE_H_

#include "core/export.h"
#include "core/type_domain.h"
#include "core/value.h"

namespace core {

class CORE_EXPORT TypedValue : public GenericValue {
 public:
  // The empty domain, holding Undefined.
  TypedValue() noexcept = default;
  // Holds the domain's default value. Throws `TypeException`
  // ("IDS_TYPEERROR_TYPENOTDEFINED") when the domain's first type is not
  // registered.
  explicit TypedValue(const TypeDomain& domain);
  TypedValue(const TypedValue& other) noexcept = default;
  // Leaves `other` with the empty domain, holding Undefined.
  TypedValue(TypedValue&& other) noexcept = default;
  ~TypedValue() override = default;

  // Takes the domain and the value of `other`.
  TypedValue& operator=(const TypedValue& other) noexcept = default;
  TypedValue& operator=(TypedValue&& other) noexcept = default;
  // Keeps the domain and puts in the value of `other`, adjusted.
  TypedValue& operator=(const GenericValue& other);

  // Holds `value` (null gives Undefined) adjusted to the domain. Throws
  // `TypeException` ("IDS_TYPEERROR_TYPENOTDEFINED") when the value's type is not allowed and the
  // domain's first type is not registered.
  void setIValue(IValue* value) override;
  IValue* getIValue() const override { return value_.getIValue(); }

  const TypeDomain& typeDomain() const noexcept { return domain_; }
  // Takes `domain` and puts in its default value: the held value is
  // dropped, whatever it was.
  void setDomain(const TypeDomain& domain);
  // Takes `domain` and adjusts the held value to it, as setIValue() does
  // (so a value the new domain does not allow becomes its default value).
  void changeDomain(const TypeDomain& domain);
  // Holds the default value of the domain's default type, adjusted to the
  // qualifiers (Undefined for the empty domain; "" padded to a fixed
  // length; 0 for any number qualifiers).
  void setDefaultValue();

 private:
  // Holds `value` adjusted; a value of a type the domain does not allow is
  // replaced by the default value when `replace`, else held as it is.
  void put(IValue* value, bool replace);

  TypeDomain domain_;
  Value value_;
};

}  // namespace core

#endif  // CORE_TYPED_VALUE_H_
