// Implements core/typed_value.h: the holder that adjusts every value to its type domain.
#include "core/typed_value.h"

#include <utility>

#include "core/binary_data.h"
#include "values/value_objects.h"

namespace core {

// ---------------------------------------------------------------------------
// Adjusting values.

namespace detail {
namespace {

// The digits of a number before the point; none when its integer part is
// zero (so 0 and 0.5 fit any qualifiers).
unsigned integer_digits(const Numeric& number) noexcept {
  if (number.zero()) return 0;
  unsigned length = 0;
  unsigned precision = 0;
  number.lengthAndPrecision(length, precision);
  return length - precision;
}

unsigned precision_of(const Numeric& number) noexcept {
  unsigned length = 0;
  unsigned precision = 0;
  number.lengthAndPrecision(length, precision);
  return precision;
}

// The largest number of the qualifiers: integer-digit nines, a point and
// fraction nines.
Numeric largest_number(const NumericQualifiers& qualifiers, bool negative) {
  char text[2 * NumericQualifiers::kMaxDigits + 4];
  char* out = text;
  if (negative) *out++ = '-';
  const unsigned integer = qualifiers.integerDigits();
  if (integer == 0) *out++ = '0';
  out = std::fill_n(out, integer, '9');
  if (qualifiers.fraction() != 0) {
    *out++ = '.';
    out = std::fill_n(out, qualifiers.fraction(), '9');
  }
  *out = '\0';
  Numeric number;
  number.fromString(text);
  return number;
}

// The number fitted to `qualifiers`; false when `number` fits as it is.
bool adjust_number(const NumericQualifiers& qualifiers, Numeric& number) {
  bool changed = false;
  if (qualifiers.nonnegative() && number.sign() < 0) {
    number = Numeric();
    changed = true;
  }
  if (qualifiers.digits() == 0) return changed;
  const unsigned room = qualifiers.integerDigits();
  if (integer_digits(number) <= room) {
    if (precision_of(number) <= qualifiers.fraction()) return changed;
    number.round(static_cast<int>(qualifiers.fraction()));
    if (integer_digits(number) <= room) return true;
  }
  number = largest_number(qualifiers, number.sign() < 0);
  return true;
}

// The date fitted to `qualifiers`; false when it fits as it is.
bool adjust_date(const DateQualifiers& qualifiers, Date& date) noexcept {
  std::uint64_t ticks = date.ticks();
  if (!date.isValid()) {
    ticks = 0;
  } else if (qualifiers.parts() == DateParts::Date) {
    ticks -= ticks % Date::kTicksPerDay;
  } else if (qualifiers.parts() == DateParts::Time) {
    ticks %= Date::kTicksPerDay;
  }
  if (ticks == date.ticks()) return false;
  date = Date(ticks);
  return true;
}

bool is_high_surrogate(char16_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool is_low_surrogate(char16_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The string fitted to `qualifiers`; false when it fits as it is.
bool adjust_string(const StringQualifiers& qualifiers, String& text) {
  const std::size_t length = qualifiers.length();
  if (length == 0) return false;
  const bool fixed = qualifiers.lengthKind() == LengthKind::Fixed;
  if (text.size() == length || (text.size() < length && !fixed)) return false;
  std::u16string_view view = text;
  if (view.size() > length) {
    std::size_t cut = length;
    if (is_high_surrogate(view[cut - 1]) && is_low_surrogate(view[cut])) --cut;
    view = view.substr(0, cut);
  }
  String fitted;
  if (fixed) {
    char16_t* out = fitted.resizeForOverwrite(length);
    std::copy(view.begin(), view.end(), out);
    std::fill(out + view.size(), out + length, u' ');
  } else {
    fitted = String(view);
  }
  text = std::move(fitted);
  return true;
}

// The binary data fitted to `qualifiers`, or null when it fits as it is.
InterfacePtr<IValue> adjust_binary(const BinaryQualifiers& qualifiers,
                                   const BinaryDataValue& data) {
  const std::size_t length = qualifiers.length();
  const std::size_t size = data.size();
  if (length == 0 || size == length) return nullptr;
  if (size < length && qualifiers.lengthKind() == LengthKind::Variable) return nullptr;
  const std::span<const std::uint8_t> bytes = data.bytes();
  std::vector<std::uint8_t> fitted(bytes.begin(), bytes.begin() + std::min(size, length));
  if (qualifiers.lengthKind() == LengthKind::Fixed) fitted.resize(length, 0);
  return create_binary_data_value(std::move(fitted));
}

}  // namespace
}  // namespace detail

// ---------------------------------------------------------------------------
// TypedValue.

TypedValue::TypedValue(const TypeDomain& domain) : domain_(domain) { setDefaultValue(); }

TypedValue& TypedValue::operator=(const GenericValue& other) {
  setIValue(other.getIValue());
  return *this;
}

void TypedValue::setIValue(IValue* value) { put(value, true); }

void TypedValue::put(IValue* value, bool replace) {
  if (value == nullptr) value = create_undefined_value();
  const TypeDomainPattern& pattern = domain_.pattern();
  if (pattern.empty()) {
    value_.setIValue(value);
    return;
  }
  IType* type = value->getIType();
  const std::uint32_t basic = pattern.basicTypeMask();
  const TypeCode code = type != nullptr ? type->getTypeCode() : TypeCode::Undefined;
  if (code == TypeCode::Number && (basic & detail::kHasNumber)) {
    Numeric number;
    if (value->getNumeric(number) && detail::adjust_number(pattern.numericQualifiers(), number)) {
      value_.setIValue(create_numeric_value(number).get());
    } else {
      value_.setIValue(value);
    }
    return;
  }
  if (code == TypeCode::String && (basic & detail::kHasString)) {
    String text;
    if (value->getString(text) && detail::adjust_string(pattern.stringQualifiers(), text)) {
      value_.setIValue(create_string_value(text).get());
    } else {
      value_.setIValue(value);
    }
    return;
  }
  if (code == TypeCode::Date && (basic & detail::kHasDate)) {
    Date date;
    if (value->getDate(date) && detail::adjust_date(pattern.dateQualifiers(), date)) {
      value_.setIValue(create_date_value(date).get());
    } else {
      value_.setIValue(value);
    }
    return;
  }
  const GUID clsid = type != nullptr ? type->getCLSID() : TypeDomainPattern::kUndefinedType;
  if (!pattern.contains(clsid)) {
    if (replace) {
      setDefaultValue();
    } else {
      value_.setIValue(value);
    }
    return;
  }
  if (const BinaryDataValue* data = binary_data_of(value)) {
    if (InterfacePtr<IValue> fitted = detail::adjust_binary(pattern.binaryQualifiers(), *data)) {
      value_.setIValue(fitted.get());
      return;
    }
  }
  value_.setIValue(value);
}

void TypedValue::setDomain(const TypeDomain& domain) {
  domain_ = domain;
  setDefaultValue();
}

void TypedValue::changeDomain(const TypeDomain& domain) {
  domain_ = domain;
  // The held value is put in again, now through the new domain.
  const Value held = value_;
  setIValue(held.getIValue());
}

void TypedValue::setDefaultValue() {
  const InterfacePtr<IValue> value = domain_.defaultType().createIValue();
  // A type whose default value is of another type (an object type may
  // give Undefined) leaves that value as it is rather than asking again.
  put(value.get(), false);
}

}  // namespace core
