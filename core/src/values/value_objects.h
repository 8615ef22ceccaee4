// Internals of the primitive values shared with the rest of the library.
#ifndef CORE_SRC_VALUES_VALUE_OBJECTS_H_
#define CORE_SRC_VALUES_VALUE_OBJECTS_H_

#include <cstdint>

#include "core/numeric.h"
#include "core/type_domain.h"
#include "core/value_interfaces.h"

namespace core::detail {

// The class identifiers of the primitive types.
inline constexpr GUID kUndefinedTypeClsid = TypeDomainPattern::kUndefinedType;
inline constexpr GUID kNullTypeClsid = {
    0xAF40A278, 0x63BC, 0x478E, {0x91, 0xA8, 0x19, 0xE0, 0xD1, 0x6B, 0x10, 0xB5}};
inline constexpr GUID kBooleanTypeClsid = {
    0x5D4125AD, 0xF6E7, 0x4313, {0xBE, 0x32, 0xF7, 0x1D, 0x0A, 0xB6, 0x09, 0x15}};
inline constexpr GUID kNumberTypeClsid = TypeDomainPattern::kNumberType;
inline constexpr GUID kStringTypeClsid = TypeDomainPattern::kStringType;
inline constexpr GUID kDateTypeClsid = TypeDomainPattern::kDateType;
inline constexpr GUID kTypeTypeClsid = {
    0xD47D59F8, 0x73F0, 0x481C, {0x8B, 0x5E, 0xF6, 0x38, 0x4C, 0x0A, 0x48, 0x04}};

// The hash code of a Number value: its integer limbs from the most
// significant down, h = h * 10^9 + limb in wrapping 32-bit arithmetic, the
// limbs that normalisation dropped counting as zeros; negated for a negative
// number.
int32_t number_hash(const Numeric& number);

// The number `value` holds, read in place, when it is one of the library's
// own Number values; null for any other value (a Number implemented
// elsewhere included: ask its getNumeric()).
const Numeric* held_number(IValue* value) noexcept;

// The primitive type singleton of `code`, or null.
IType* primitive_type(TypeCode code) noexcept;

// {6F1E3A92-5C4B-4D7E-8A09-B3C2D1E4F506}: the type of COM objects held as
// values; the process keeps it for good. Its class object function gives a
// new reference.
inline constexpr GUID kComObjectTypeClsid = {
    0x6F1E3A92, 0x5C4B, 0x4D7E, {0x8A, 0x09, 0xB3, 0xC2, 0xD1, 0xE4, 0xF5, 0x06}};
IUnknown* com_object_type_object();

}  // namespace core::detail

#endif  // CORE_SRC_VALUES_VALUE_OBJECTS_H_
