// Qualifiers, type domain patterns and the typed value holder.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <utility>

#include "core/binary_data.h"
#include "core/list_stream.h"
#include "core/refcountable.h"
#include "core/type_domain.h"
#include "core/typed_value.h"
#include "value_objects.h"

namespace core {

// ---------------------------------------------------------------------------
// Qualifiers.

NumericQualifiers::NumericQualifiers(unsigned digits, unsigned fraction, bool nonnegative) noexcept
    : digits_(std::min<unsigned>(digits, kMaxDigits)),
      fraction_(std::min<unsigned>(fraction, kMaxDigits)),
      nonnegative_(nonnegative) {
  if (fraction_ > digits_) fraction_ = digits_;
}

NumericQualifiers NumericQualifiers::merge(const NumericQualifiers& other) const noexcept {
  unsigned digits = 0;
  unsigned fraction = 0;
  if (digits_ != 0 && other.digits_ != 0) {
    fraction = std::max(fraction_, other.fraction_);
    digits = std::max(integerDigits(), other.integerDigits()) + fraction;
  }
  return NumericQualifiers(digits, fraction, nonnegative_ && other.nonnegative_);
}

namespace detail {

// The shared description of a pattern. Once more than one pattern holds
// it, it never changes.
struct PatternData : Refcountable<PatternData> {
  std::vector<GUID> types;
  NumericQualifiers numeric;
  StringQualifiers string;
  DateQualifiers date;
  BinaryQualifiers binary;
  std::uint32_t basic = 0;  // kHas... of the types present
};

namespace {

const PatternData& empty_pattern_data() {
  static const PatternData* const data = new PatternData;
  return *data;
}

std::uint32_t basic_bit(const GUID& type) noexcept {
  if (type == TypeDomainPattern::kNumberType) return kHasNumber;
  if (type == TypeDomainPattern::kStringType) return kHasString;
  if (type == TypeDomainPattern::kDateType) return kHasDate;
  if (type == TypeDomainPattern::kBinaryDataType) return kHasBinary;
  return 0;
}

bool never_added(const GUID& type) noexcept {
  return type == TypeDomainPattern::kUndefinedType || type.isNull();
}

bool has_default_qualifiers(const PatternData& data) noexcept {
  return data.numeric == NumericQualifiers() && data.string == StringQualifiers() &&
         data.date == DateQualifiers() && data.binary == BinaryQualifiers();
}

// Lengths that hold what both hold: unlimited wins, otherwise the longer;
// fixed only when both are fixed to the same length.
template <class Qualifiers>
Qualifiers merge_length(const Qualifiers& a, const Qualifiers& b) noexcept {
  if (a.length() == 0 || b.length() == 0) return Qualifiers();
  const bool fixed = a.lengthKind() == LengthKind::Fixed && b == a;
  return Qualifiers(std::max(a.length(), b.length()),
                    fixed ? LengthKind::Fixed : LengthKind::Variable);
}

// Does every value of length qualifiers `a` stay unchanged under `b`?
template <class Qualifiers>
bool length_within(const Qualifiers& a, const Qualifiers& b) noexcept {
  if (b.length() == 0) return true;
  if (a.length() == 0) return false;
  if (b.lengthKind() == LengthKind::Fixed) {
    return a.lengthKind() == LengthKind::Fixed && a.length() == b.length();
  }
  return a.length() <= b.length();
}

bool numeric_within(const NumericQualifiers& a, const NumericQualifiers& b) noexcept {
  if (b.nonnegative() && !a.nonnegative()) return false;
  if (b.digits() == 0) return true;
  if (a.digits() == 0) return false;
  return a.integerDigits() <= b.integerDigits() && a.fraction() <= b.fraction();
}

void mix(std::size_t& hash, std::size_t value) noexcept {
  hash ^= value + 0x9E3779B97F4A7C15ull + (hash << 6) + (hash >> 2);
}

}  // namespace
}  // namespace detail

// ---------------------------------------------------------------------------
// TypeDomainPattern.

using detail::PatternData;

TypeDomainPattern::TypeDomainPattern() noexcept = default;

TypeDomainPattern::TypeDomainPattern(const GUID& type) { addType(type); }

TypeDomainPattern::TypeDomainPattern(const std::vector<GUID>& types) { addTypes(types); }

TypeDomainPattern::TypeDomainPattern(const TypeDomainPattern& other) noexcept = default;
TypeDomainPattern::TypeDomainPattern(TypeDomainPattern&& other) noexcept = default;
TypeDomainPattern& TypeDomainPattern::operator=(const TypeDomainPattern& other) noexcept = default;
TypeDomainPattern& TypeDomainPattern::operator=(TypeDomainPattern&& other) noexcept = default;
TypeDomainPattern::~TypeDomainPattern() = default;

PatternData& TypeDomainPattern::mutableData() {
  if (!data_) {
    data_ = RefPtr<PatternData>(new PatternData);
  } else if (data_->refcount() != 1) {
    data_ = RefPtr<PatternData>(new PatternData(*data_));
  } else {
    // The other holders may have let go on other threads: see their last
    // reads before writing.
    std::atomic_thread_fence(std::memory_order_acquire);
  }
  return *data_;
}

bool TypeDomainPattern::operator==(const TypeDomainPattern& other) const noexcept {
  if (data_ == other.data_) return true;
  const PatternData& a = data_ ? *data_ : detail::empty_pattern_data();
  const PatternData& b = other.data_ ? *other.data_ : detail::empty_pattern_data();
  return a.types == b.types && a.numeric == b.numeric && a.string == b.string && a.date == b.date &&
         a.binary == b.binary;
}

bool TypeDomainPattern::operator==(const GUID& type) const noexcept {
  if (!data_) return detail::never_added(type);
  if (!detail::has_default_qualifiers(*data_)) return false;
  if (detail::never_added(type)) return data_->types.empty();
  return data_->types.size() == 1 && data_->types.front() == type;
}

std::size_t TypeDomainPattern::hash() const noexcept {
  const PatternData& data = data_ ? *data_ : detail::empty_pattern_data();
  std::size_t hash = data.types.size();
  for (const GUID& type : data.types) detail::mix(hash, std::hash<GUID>()(type));
  detail::mix(hash, (std::size_t{data.numeric.digits()} << 32) | data.numeric.fraction());
  detail::mix(hash, data.numeric.nonnegative());
  detail::mix(hash, (std::size_t{data.string.length()} << 8) |
                        static_cast<std::size_t>(data.string.lengthKind()));
  detail::mix(hash, static_cast<std::size_t>(data.date.parts()));
  detail::mix(hash, (std::size_t{data.binary.length()} << 8) |
                        static_cast<std::size_t>(data.binary.lengthKind()));
  return hash;
}

void TypeDomainPattern::addType(const GUID& type) {
  if (detail::never_added(type) || contains(type)) return;
  PatternData& data = mutableData();
  data.types.push_back(type);
  data.basic |= detail::basic_bit(type);
}

void TypeDomainPattern::addTypes(const std::vector<GUID>& types) {
  for (const GUID& type : types) addType(type);
}

void TypeDomainPattern::merge(const TypeDomainPattern& other) {
  if (!other.data_ || data_ == other.data_) return;
  if (!data_) {
    data_ = other.data_;
    return;
  }
  // Taken before the change: `other` may share this description.
  const RefPtr<PatternData> theirs = other.data_;
  const std::uint32_t mine = basicTypeMask();
  const std::uint32_t both = mine & theirs->basic;
  const std::uint32_t only_theirs = theirs->basic & ~mine;
  PatternData& data = mutableData();
  if (both & detail::kHasNumber) data.numeric = data.numeric.merge(theirs->numeric);
  if (only_theirs & detail::kHasNumber) data.numeric = theirs->numeric;
  if (both & detail::kHasString) data.string = detail::merge_length(data.string, theirs->string);
  if (only_theirs & detail::kHasString) data.string = theirs->string;
  if (both & detail::kHasDate) {
    data.date = DateQualifiers(static_cast<int>(data.date.parts()) |
                               static_cast<int>(theirs->date.parts()));
  }
  if (only_theirs & detail::kHasDate) data.date = theirs->date;
  if (both & detail::kHasBinary) data.binary = detail::merge_length(data.binary, theirs->binary);
  if (only_theirs & detail::kHasBinary) data.binary = theirs->binary;
  for (const GUID& type : theirs->types) addType(type);
}

void TypeDomainPattern::setNumericQualifiers(const NumericQualifiers& qualifiers) {
  if (numericQualifiers() != qualifiers) mutableData().numeric = qualifiers;
}
void TypeDomainPattern::setStringQualifiers(const StringQualifiers& qualifiers) {
  if (stringQualifiers() != qualifiers) mutableData().string = qualifiers;
}
void TypeDomainPattern::setDateQualifiers(const DateQualifiers& qualifiers) {
  if (dateQualifiers() != qualifiers) mutableData().date = qualifiers;
}
void TypeDomainPattern::setBinaryQualifiers(const BinaryQualifiers& qualifiers) {
  if (binaryQualifiers() != qualifiers) mutableData().binary = qualifiers;
}

const NumericQualifiers& TypeDomainPattern::numericQualifiers() const noexcept {
  return data_ ? data_->numeric : detail::empty_pattern_data().numeric;
}
const StringQualifiers& TypeDomainPattern::stringQualifiers() const noexcept {
  return data_ ? data_->string : detail::empty_pattern_data().string;
}
const DateQualifiers& TypeDomainPattern::dateQualifiers() const noexcept {
  return data_ ? data_->date : detail::empty_pattern_data().date;
}
const BinaryQualifiers& TypeDomainPattern::binaryQualifiers() const noexcept {
  return data_ ? data_->binary : detail::empty_pattern_data().binary;
}

bool TypeDomainPattern::hasEqualQualifier(const TypeDomainPattern& other,
                                          const GUID& type) const noexcept {
  switch (detail::basic_bit(type)) {
    case detail::kHasNumber:
      return numericQualifiers() == other.numericQualifiers();
    case detail::kHasString:
      return stringQualifiers() == other.stringQualifiers();
    case detail::kHasDate:
      return dateQualifiers() == other.dateQualifiers();
    case detail::kHasBinary:
      return binaryQualifiers() == other.binaryQualifiers();
    default:
      return true;
  }
}

std::span<const GUID> TypeDomainPattern::types() const noexcept {
  if (!data_) return {};
  return data_->types;
}

bool TypeDomainPattern::contains(const GUID& type) const noexcept {
  const std::span<const GUID> all = types();
  return std::find(all.begin(), all.end(), type) != all.end();
}

GUID TypeDomainPattern::front() const noexcept { return empty() ? kUndefinedType : types()[0]; }

bool TypeDomainPattern::isSubset(const TypeDomainPattern& other) const noexcept {
  for (const GUID& type : types()) {
    if (!other.contains(type)) return false;
  }
  const std::uint32_t mine = basicTypeMask();
  if ((mine & detail::kHasNumber) &&
      !detail::numeric_within(numericQualifiers(), other.numericQualifiers())) {
    return false;
  }
  if ((mine & detail::kHasString) &&
      !detail::length_within(stringQualifiers(), other.stringQualifiers())) {
    return false;
  }
  if ((mine & detail::kHasBinary) &&
      !detail::length_within(binaryQualifiers(), other.binaryQualifiers())) {
    return false;
  }
  if (mine & detail::kHasDate) {
    const DateParts parts = dateQualifiers().parts();
    const DateParts others = other.dateQualifiers().parts();
    if (parts != others && others != DateParts::DateTime) return false;
  }
  return true;
}

std::uint32_t TypeDomainPattern::basicTypeMask() const noexcept { return data_ ? data_->basic : 0; }

// ---------------------------------------------------------------------------
// TypeDomain.

Type TypeDomain::defaultType() const {
  if (pattern_.empty()) return Type(TypeCode::Undefined);
  return Type(pattern_.front());
}

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

// ---------------------------------------------------------------------------
// The brace-list forms.

namespace {

// String and binary qualifiers share the form {length,kind}.
void write_length(ListOutStream& out, std::uint32_t length, LengthKind kind) {
  out.putBeginOfList();
  out.put(length);
  out.put(static_cast<unsigned char>(kind));
  out.putEndOfList();
}

template <class Qualifiers>
Qualifiers read_length(ListInStream& in) {
  std::uint32_t length = 0;
  unsigned char kind = 0;
  in.getBeginOfList();
  in.get(length);
  in.get(kind);
  in.getEndOfList();
  return Qualifiers(length, kind == static_cast<unsigned char>(LengthKind::Fixed)
                                ? LengthKind::Fixed
                                : LengthKind::Variable);
}

}  // namespace

void NumericQualifiers::serialize(ListOutStream& out) const {
  out.putBeginOfList();
  out.put(digits_);
  out.put(fraction_);
  out.put(nonnegative_);
  out.putEndOfList();
}

void NumericQualifiers::deserialize(ListInStream& in) {
  unsigned digits = 0;
  unsigned fraction = 0;
  bool nonnegative = false;
  in.getBeginOfList();
  in.get(digits);
  in.get(fraction);
  in.get(nonnegative);
  in.getEndOfList();
  *this = NumericQualifiers(digits, fraction, nonnegative);
}

void StringQualifiers::serialize(ListOutStream& out) const { write_length(out, length_, kind_); }

void StringQualifiers::deserialize(ListInStream& in) { *this = read_length<StringQualifiers>(in); }

void DateQualifiers::serialize(ListOutStream& out) const {
  out.putBeginOfList();
  out.put(static_cast<unsigned char>(parts_));
  out.putEndOfList();
}

void DateQualifiers::deserialize(ListInStream& in) {
  unsigned char parts = 0;
  in.getBeginOfList();
  in.get(parts);
  in.getEndOfList();
  *this = DateQualifiers(static_cast<int>(parts));
}

void BinaryQualifiers::serialize(ListOutStream& out) const { write_length(out, length_, kind_); }

void BinaryQualifiers::deserialize(ListInStream& in) { *this = read_length<BinaryQualifiers>(in); }

void TypeDomainPattern::serialize(ListOutStream& out) const {
  out.putBeginOfList();
  out.put(static_cast<unsigned long long>(size()));
  for (const GUID& type : types()) out.put(type);
  numericQualifiers().serialize(out);
  stringQualifiers().serialize(out);
  dateQualifiers().serialize(out);
  binaryQualifiers().serialize(out);
  out.putEndOfList();
}

void TypeDomainPattern::deserialize(ListInStream& in) {
  TypeDomainPattern read;
  unsigned long long count = 0;
  in.getBeginOfList();
  in.get(count);
  // The count is not trusted for an allocation: each type is read, and the
  // stream ends the loop when the input does.
  for (unsigned long long i = 0; i < count; ++i) {
    GUID type{};
    in.get(type);
    read.addType(type);
  }
  NumericQualifiers numeric;
  StringQualifiers string;
  DateQualifiers date;
  BinaryQualifiers binary;
  numeric.deserialize(in);
  string.deserialize(in);
  date.deserialize(in);
  binary.deserialize(in);
  in.getEndOfList();
  read.setNumericQualifiers(numeric);
  read.setStringQualifiers(string);
  read.setDateQualifiers(date);
  read.setBinaryQualifiers(binary);
  *this = std::move(read);
}

void TypeDomain::serialize(ListOutStream& out) const { pattern_.serialize(out); }

TypeDomain TypeDomain::deserialize(ListInStream& in) {
  TypeDomainPattern pattern;
  pattern.deserialize(in);
  return TypeDomain(std::move(pattern));
}

}  // namespace core
