// The enumerations the library registers, by the class identifiers of their
// types. Each is found by its English or Russian type name as well, and its
// values by their names as properties of the type object (core/enumeration.h).
//
//   core::Type type(core::kSortDirectionTypeClsid);   // or Type(u"SortDirection")
//   core::Value desc;
//   core::get_context_property(core::context_of(type), u"Desc", desc);
//   core::enumeration_value_of(desc.getIValue())->code();   // 1
//
// The values, with their codes (the default value marked *):
//   SearchDirection / НаправлениеПоиска: FromBegin / СНачала 0*, FromEnd / СКонца 1
//   RoundMode / РежимОкругления: Round15as10 / Окр15как10 0, Round15as20 / Окр15как20 1*
//     (the codes of core::NumericRoundMode)
//   SortDirection / НаправлениеСортировки: Asc / Возр 0*, Desc / Убыв 1
//   DateFractions / ЧастиДаты: Date / Дата 1, Time / Время 2, DateTime / ДатаВремя 3*
//     (the codes of core::DateParts)
//   AllowedLength / ДопустимаяДлина: Fixed / Фиксированная 0, Variable / Переменная 1*
//     (the codes of core::LengthKind)
//   AllowedSign / ДопустимыйЗнак: Any / Любой 0*, Nonnegative / Неотрицательный 1
//   TextDirection / НаправлениеТекста: LeftToRight / СлеваНаправо 0*, RightToLeft / СправаНалево 1
//   PictureType / ТипКартинки: None / Нет 0*, Absolute / Абсолютная 1, Library / Библиотечная 2
//
// Thread safety: constants.
#ifndef CORE_ENUMERATION_TYPES_H_
#define CORE_ENUMERATION_TYPES_H_

#include "core/guid.h"

namespace core {

// {3DEFF14C-2AED-47F8-8FC3-BF85510381C9}
inline constexpr GUID kSearchDirectionTypeClsid = {
    0x3DEFF14C, 0x2AED, 0x47F8, {0x8F, 0xC3, 0xBF, 0x85, 0x51, 0x03, 0x81, 0xC9}};
// {F5BD3A4F-5261-4BA9-81B3-299E8BED56D5}
inline constexpr GUID kRoundModeTypeClsid = {
    0xF5BD3A4F, 0x5261, 0x4BA9, {0x81, 0xB3, 0x29, 0x9E, 0x8B, 0xED, 0x56, 0xD5}};
// {06FBD7C7-3205-46A1-BD9F-B01288C481C3}
inline constexpr GUID kSortDirectionTypeClsid = {
    0x06FBD7C7, 0x3205, 0x46A1, {0xBD, 0x9F, 0xB0, 0x12, 0x88, 0xC4, 0x81, 0xC3}};
// {2881DEAD-2536-436A-8CAD-9F6B397349B4}
inline constexpr GUID kDateFractionsTypeClsid = {
    0x2881DEAD, 0x2536, 0x436A, {0x8C, 0xAD, 0x9F, 0x6B, 0x39, 0x73, 0x49, 0xB4}};
// {4C34FDCE-FE79-4A3E-9A98-470ABC9A90E5}
inline constexpr GUID kAllowedLengthTypeClsid = {
    0x4C34FDCE, 0xFE79, 0x4A3E, {0x9A, 0x98, 0x47, 0x0A, 0xBC, 0x9A, 0x90, 0xE5}};
// {54DA6073-48FD-4537-AD7B-68944646FB9A}
inline constexpr GUID kAllowedSignTypeClsid = {
    0x54DA6073, 0x48FD, 0x4537, {0xAD, 0x7B, 0x68, 0x94, 0x46, 0x46, 0xFB, 0x9A}};
// {E2DEBC86-F2FC-4EDC-A3AD-A5605A0C80D3}
inline constexpr GUID kTextDirectionTypeClsid = {
    0xE2DEBC86, 0xF2FC, 0x4EDC, {0xA3, 0xAD, 0xA5, 0x60, 0x5A, 0x0C, 0x80, 0xD3}};
// {4192B221-3411-4CB2-A7E5-217ED6054432}
inline constexpr GUID kPictureTypeTypeClsid = {
    0x4192B221, 0x3411, 0x4CB2, {0xA7, 0xE5, 0x21, 0x7E, 0xD6, 0x05, 0x44, 0x32}};

}  // namespace core

#endif  // CORE_ENUMERATION_TYPES_H_
