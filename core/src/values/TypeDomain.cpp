// Implements core/type_domain.h: qualifiers, type domain patterns and type domains.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <utility>

#include "core/binary_data.h"
#include "core/list_stream.h"
#include "core/refcountable.h"
#include "core/type_domain.h"
#include "values/value_objects.h"

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
