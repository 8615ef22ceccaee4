// Type descriptions: which types a value may have and how values of the
// basic types are bounded.
//
// The four qualifier classes carry the bounds of the basic types: the digits
// of a Number, the length of a String or of binary data, the parts of a
// Date. TypeDomainPattern is a shared, copy-on-write description: the list
// of allowed type GUIDs and one set of qualifiers of each kind. TypeDomain
// is the read-only handle on one pattern that typed holders keep
// (core/typed_value.h).
//
//   core::TypeDomainPattern pattern(core::TypeDomainPattern::kNumberType);
//   pattern.setNumericQualifiers(core::NumericQualifiers(15, 2, false));
//   core::TypeDomain domain(pattern);            // shares the description
//   domain.defaultType().getTypeCode();          // core::TypeCode::Number
//   domain.numericQualifiers().digits();         // 15
//
// Thread safety: qualifiers are plain values. Copies of a pattern share one
// immutable description through an atomic reference count, so copies may
// be used and changed on different threads; one pattern object is used by
// one thread at a time while it changes. A TypeDomain never changes and may
// be shared freely.
#ifndef CORE_TYPE_DOMAIN_H_
#define CORE_TYPE_DOMAIN_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "core/export.h"
#include "core/guid.h"
#include "core/ref_ptr.h"
#include "core/type.h"

namespace core {

class ListInStream;
class ListOutStream;

namespace detail {
struct PatternData;
}  // namespace detail

// Whether a length is exact (values are padded up to it) or an upper bound.
// Stored as one byte: 0 is Fixed, any other byte reads as Variable.
enum class LengthKind : std::uint8_t {
  Fixed = 0,
  Variable = 1,
};

// The bounds of a Number: at most digits() significant digits of which
// fraction() after the point, and whether negative numbers are excluded.
// Digits 0 mean unlimited (and then the fraction is 0). The default is
// unlimited and signed.
class CORE_EXPORT NumericQualifiers {
 public:
  // The largest digits and fraction digits that qualifiers hold.
  static constexpr std::uint32_t kMaxDigits = 64;

  constexpr NumericQualifiers() noexcept = default;
  // Cuts digits and fraction to kMaxDigits each; a fraction above the
  // digits becomes the digits; digits 0 make the fraction 0. So
  // (100, 70, false) holds 64 and 64, (0, 5, true) holds 0 and 0.
  NumericQualifiers(unsigned digits, unsigned fraction, bool nonnegative) noexcept;

  std::uint32_t digits() const noexcept { return digits_; }
  std::uint32_t fraction() const noexcept { return fraction_; }
  bool nonnegative() const noexcept { return nonnegative_; }
  // digits() - fraction(): the integer digits a number may have.
  std::uint32_t integerDigits() const noexcept { return digits_ - fraction_; }

  // Qualifiers that hold the values of both: when both have digits, the
  // larger fraction and the larger integer digits; otherwise unlimited.
  // Nonnegative only when both are. The result is cut as by the
  // constructor, so where the integer and fraction digits together exceed
  // kMaxDigits it holds fewer values than the two: (64, 0) merged with
  // (64, 64) is (64, 64).
  NumericQualifiers merge(const NumericQualifiers& other) const noexcept;

  friend bool operator==(const NumericQualifiers&, const NumericQualifiers&) noexcept = default;

  // Written as {digits,fraction,nonnegative}.
  // The brace-list form (core/list_stream.h); deserialize() reads what
  // serialize() wrote and throws `ListStreamException` ("IDS_LISTSTREAMERROR")
  // for anything else. Values out of range are cut as the constructor cuts
  // them.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

 private:
  std::uint32_t digits_ = 0;
  std::uint32_t fraction_ = 0;
  bool nonnegative_ = false;
};

// The length of a String, in UTF-16 code units (String::length()); 0 means
// unlimited. The default is unlimited and variable.
class CORE_EXPORT StringQualifiers {
 public:
  constexpr StringQualifiers() noexcept = default;
  constexpr explicit StringQualifiers(std::uint32_t length,
                                      LengthKind kind = LengthKind::Variable) noexcept
      : length_(length), kind_(kind == LengthKind::Fixed ? kind : LengthKind::Variable) {}

  std::uint32_t length() const noexcept { return length_; }
  LengthKind lengthKind() const noexcept { return kind_; }

  friend bool operator==(const StringQualifiers&, const StringQualifiers&) noexcept = default;

  // Written as {length,kind}.
  // The brace-list form (core/list_stream.h); deserialize() reads what
  // serialize() wrote and throws `ListStreamException` ("IDS_LISTSTREAMERROR")
  // for anything else. Values out of range are cut as the constructor cuts
  // them.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

 private:
  std::uint32_t length_ = 0;
  LengthKind kind_ = LengthKind::Variable;
};

// The parts of a Date that values keep.
enum class DateParts : std::uint8_t {
  Date = 1,      // the date only, at 00:00:00
  Time = 2,      // the time of day only, on 0001-01-01
  DateTime = 3,  // both
};

// The parts of a Date. The default is date and time.
class CORE_EXPORT DateQualifiers {
 public:
  constexpr DateQualifiers() noexcept = default;
  constexpr explicit DateQualifiers(DateParts parts) noexcept
      : DateQualifiers(static_cast<int>(parts)) {}
  // Keeps the two low bits of `parts`; 0 becomes DateTime. So 0, 3, 4 and
  // -1 all mean date and time.
  constexpr explicit DateQualifiers(int parts) noexcept
      : parts_((parts & 3) == 0 ? DateParts::DateTime : static_cast<DateParts>(parts & 3)) {}

  DateParts parts() const noexcept { return parts_; }

  friend bool operator==(const DateQualifiers&, const DateQualifiers&) noexcept = default;

  // Written as {parts}.
  // The brace-list form (core/list_stream.h); deserialize() reads what
  // serialize() wrote and throws `ListStreamException` ("IDS_LISTSTREAMERROR")
  // for anything else. Values out of range are cut as the constructor cuts
  // them.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

 private:
  DateParts parts_ = DateParts::DateTime;
};

// The length of binary data, in bytes; 0 means unlimited. The default is
// unlimited and variable. With a length L above 0, longer data is cut to
// its first L bytes; shorter data is padded with zero bytes to L when the
// length is fixed and kept when it is variable.
class CORE_EXPORT BinaryQualifiers {
 public:
  constexpr BinaryQualifiers() noexcept = default;
  constexpr explicit BinaryQualifiers(std::uint32_t length,
                                      LengthKind kind = LengthKind::Variable) noexcept
      : length_(length), kind_(kind == LengthKind::Fixed ? kind : LengthKind::Variable) {}

  std::uint32_t length() const noexcept { return length_; }
  LengthKind lengthKind() const noexcept { return kind_; }

  friend bool operator==(const BinaryQualifiers&, const BinaryQualifiers&) noexcept = default;

  // Written as {length,kind}.
  // The brace-list form (core/list_stream.h); deserialize() reads what
  // serialize() wrote and throws `ListStreamException` ("IDS_LISTSTREAMERROR")
  // for anything else. Values out of range are cut as the constructor cuts
  // them.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

 private:
  std::uint32_t length_ = 0;
  LengthKind kind_ = LengthKind::Variable;
};

// A description of types: the allowed type GUIDs in the order they were
// added (without repeats), then the numeric, string, date and binary
// qualifiers. An empty pattern places no bound on a typed value (a
// TypedValue keeps whatever is put into it); its default type is
// Undefined. The Undefined type's GUID and the all-zero GUID are never
// added. The qualifiers of a kind are kept whether or not the pattern holds
// the type they bound.
//
// Copies share one description (copying is one atomic increment); the
// first change of a shared pattern copies the description, so copies never
// see each other's changes.
class CORE_EXPORT TypeDomainPattern {
 public:
  static constexpr GUID kUndefinedType = {
      0xEE8D3E7C, 0xF930, 0x4A76, {0x8A, 0xAD, 0x4F, 0xF9, 0x08, 0x3A, 0x6E, 0xA6}};
  static constexpr GUID kNumberType = {
      0xB0BE78F2, 0x0EE6, 0x4D31, {0xA3, 0xBB, 0x77, 0xDD, 0x32, 0xBA, 0x5B, 0xEC}};
  static constexpr GUID kStringType = {
      0x9B6ABF8B, 0x0173, 0x48E5, {0xB0, 0xA0, 0x83, 0xB2, 0x1F, 0xCF, 0x63, 0xC5}};
  static constexpr GUID kDateType = {
      0xAAE38C48, 0xA877, 0x411C, {0xA6, 0xD3, 0xFB, 0xAA, 0x1F, 0x83, 0xC4, 0xBD}};
  static constexpr GUID kBinaryDataType = {
      0x87126200, 0x3E98, 0x44E0, {0xB9, 0x31, 0xCC, 0xB1, 0xD7, 0xED, 0xC4, 0x97}};

  // Empty, with the default qualifiers. Allocates nothing.
  TypeDomainPattern() noexcept;
  // Of the one type `type` (empty for Undefined and the zero GUID).
  explicit TypeDomainPattern(const GUID& type);
  explicit TypeDomainPattern(const std::vector<GUID>& types);
  TypeDomainPattern(const TypeDomainPattern& other) noexcept;
  TypeDomainPattern(TypeDomainPattern&& other) noexcept;
  TypeDomainPattern& operator=(const TypeDomainPattern& other) noexcept;
  TypeDomainPattern& operator=(TypeDomainPattern&& other) noexcept;
  ~TypeDomainPattern();

  // The same types in the same order (the order decides the default type)
  // and the same qualifiers of all four kinds.
  // Written as {count,type 1,...,type n,{numeric},{string},{date},{binary}}:
  // the types in order, then the four qualifiers, for example
  //   {2,b0be78f2-0ee6-4d31-a3bb-77dd32ba5bec,9b6abf8b-0173-48e5-b0a0-83b21fcf63c5,
  //   {15,2,0},{10,1},{3},{0,1}}
  // for Number(15, 2) or String(10).
  // deserialize() replaces this pattern by the one read; a pattern read back
  // equals the one written. Throws `ListStreamException`
  // ("IDS_LISTSTREAMERROR") for anything else, leaving this unchanged.
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);

  bool operator==(const TypeDomainPattern& other) const noexcept;
  // True when this is the pattern of exactly `type` with the default
  // qualifiers (for Undefined and the zero GUID: the empty pattern with
  // the default qualifiers).
  bool operator==(const GUID& type) const noexcept;
  // Equal patterns have equal hashes: the GUIDs in order and every
  // qualifier take part.
  std::size_t hash() const noexcept;

  // Adds `type` at the end unless it is there already, or is Undefined or
  // the zero GUID.
  void addType(const GUID& type);
  void addTypes(const std::vector<GUID>& types);
  // Adds the types of `other` (in its order) that this lacks, and merges
  // the qualifiers so that the result holds the values of both: for each
  // basic type that both allow, the qualifiers are merged (numbers by
  // NumericQualifiers::merge; lengths by the larger, unlimited winning,
  // fixed only when both are fixed with the same length; date parts
  // together); for a basic type only `other` allows, its qualifiers are
  // taken; otherwise this keeps its own. Merging into a default-constructed
  // pattern shares the description of `other`, so patterns can be gathered
  // from an empty one.
  void merge(const TypeDomainPattern& other);

  void setNumericQualifiers(const NumericQualifiers& qualifiers);
  void setStringQualifiers(const StringQualifiers& qualifiers);
  void setDateQualifiers(const DateQualifiers& qualifiers);
  void setBinaryQualifiers(const BinaryQualifiers& qualifiers);
  const NumericQualifiers& numericQualifiers() const noexcept;
  const StringQualifiers& stringQualifiers() const noexcept;
  const DateQualifiers& dateQualifiers() const noexcept;
  const BinaryQualifiers& binaryQualifiers() const noexcept;

  // True when the qualifiers that matter for `type` are equal in both:
  // digits, fraction and sign for Number; length and kind for String and
  // binary data; the parts for Date; always true for any other type.
  bool hasEqualQualifier(const TypeDomainPattern& other, const GUID& type) const noexcept;

  // The allowed types in order. The span lives until this pattern changes
  // or is destroyed.
  std::span<const GUID> types() const noexcept;
  std::size_t size() const noexcept { return types().size(); }
  bool empty() const noexcept { return size() == 0; }
  bool contains(const GUID& type) const noexcept;
  // The first type, or the Undefined type's GUID when the pattern is empty.
  GUID front() const noexcept;
  // The first type for which `predicate(const GUID&)` is true, if any.
  template <class Predicate>
  std::optional<GUID> find(Predicate&& predicate) const;
  // Calls `function(const GUID&)` for each type in order.
  template <class Function>
  void forEach(Function&& function) const;

  // True when each type of this is in `other` and, for the basic types of
  // this, every value within the bounds of this stays unchanged within the
  // bounds of `other`: a number's integer digits, fraction digits and sign;
  // a length, where a fixed length lies within a fixed one only when they
  // are equal and a variable one never does; the date parts when equal or
  // when `other` keeps both. The empty pattern is a subset of every
  // pattern. Both patterns lie within their merge (unless the merge had to
  // cut the digits to kMaxDigits).
  bool isSubset(const TypeDomainPattern& other) const noexcept;

 private:
  friend class TypedValue;

  // A bit for each basic type present (detail::kHas...).
  std::uint32_t basicTypeMask() const noexcept;
  detail::PatternData& mutableData();

  RefPtr<detail::PatternData> data_;  // null for the empty default pattern
};

// A read-only handle on a TypeDomainPattern: what typed holders keep.
// Copying is one atomic increment.
class CORE_EXPORT TypeDomain {
 public:
  // Empty: every type allowed, Undefined by default.
  TypeDomain() noexcept = default;
  explicit TypeDomain(const TypeDomainPattern& pattern) noexcept : pattern_(pattern) {}
  explicit TypeDomain(TypeDomainPattern&& pattern) noexcept : pattern_(std::move(pattern)) {}
  // Of the one type `type` with the default qualifiers.
  explicit TypeDomain(const GUID& type) : pattern_(type) {}

  const TypeDomainPattern& pattern() const noexcept { return pattern_; }

  // The type of the first GUID; the Undefined type when the domain is
  // empty. Throws `TypeException` ("IDS_TYPEERROR_TYPENOTDEFINED") when that
  // GUID is not a registered type.
  Type defaultType() const;

  // Written as its pattern (TypeDomainPattern::serialize).
  void serialize(ListOutStream& out) const;
  static TypeDomain deserialize(ListInStream& in);

  bool operator==(const TypeDomain& other) const noexcept { return pattern_ == other.pattern_; }
  bool operator==(const GUID& type) const noexcept { return pattern_ == type; }
  std::size_t hash() const noexcept { return pattern_.hash(); }

  std::span<const GUID> types() const noexcept { return pattern_.types(); }
  std::size_t size() const noexcept { return pattern_.size(); }
  bool empty() const noexcept { return pattern_.empty(); }
  bool contains(const GUID& type) const noexcept { return pattern_.contains(type); }
  GUID front() const noexcept { return pattern_.front(); }
  template <class Predicate>
  std::optional<GUID> find(Predicate&& predicate) const {
    return pattern_.find(std::forward<Predicate>(predicate));
  }
  template <class Function>
  void forEach(Function&& function) const {
    pattern_.forEach(std::forward<Function>(function));
  }

  const NumericQualifiers& numericQualifiers() const noexcept {
    return pattern_.numericQualifiers();
  }
  const StringQualifiers& stringQualifiers() const noexcept { return pattern_.stringQualifiers(); }
  const DateQualifiers& dateQualifiers() const noexcept { return pattern_.dateQualifiers(); }
  const BinaryQualifiers& binaryQualifiers() const noexcept { return pattern_.binaryQualifiers(); }
  bool hasEqualQualifier(const TypeDomain& other, const GUID& type) const noexcept {
    return pattern_.hasEqualQualifier(other.pattern_, type);
  }
  bool isSubset(const TypeDomain& other) const noexcept {
    return pattern_.isSubset(other.pattern_);
  }

 private:
  TypeDomainPattern pattern_;
};

// End of public API. Implementation details follow.

namespace detail {
// The bits of the basic types in a pattern's description.
inline constexpr std::uint32_t kHasNumber = 1;
inline constexpr std::uint32_t kHasString = 2;
inline constexpr std::uint32_t kHasDate = 4;
inline constexpr std::uint32_t kHasBinary = 8;
}  // namespace detail

template <class Predicate>
std::optional<GUID> TypeDomainPattern::find(Predicate&& predicate) const {
  for (const GUID& type : types()) {
    if (predicate(type)) return type;
  }
  return std::nullopt;
}

template <class Function>
void TypeDomainPattern::forEach(Function&& function) const {
  for (const GUID& type : types()) function(type);
}

}  // namespace core

template <>
struct std::hash<core::TypeDomainPattern> {
  std::size_t operator()(const core::TypeDomainPattern& pattern) const noexcept {
    return pattern.hash();
  }
};

template <>
struct std::hash<core::TypeDomain> {
  std::size_t operator()(const core::TypeDomain& domain) const noexcept { return domain.hash(); }
};

#endif  // CORE_TYPE_DOMAIN_H_
