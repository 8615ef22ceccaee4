// core::GUID, the 128-bit identifier of types, exception classes and
// interfaces, written as 8-4-4-4-12 hexadecimal digits.
//
//   constexpr core::GUID kId{0x12345678, 0x9abc, 0xdef0, {1, 2, 3, 4, 5, 6, 7, 8}};
//   core::GUID id = core::GUID::parse(u"{12345678-9ABC-DEF0-0102-030405060708}");
//   core::String text = id.toString();  // "12345678-9abc-def0-0102-030405060708"
//
// Thread safety: a plain value; const use from any thread is safe.
#ifndef CORE_GUID_H_
#define CORE_GUID_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string_view>

#include "core/export.h"
#include "core/string.h"

namespace core {

struct CORE_EXPORT GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  // The first two bytes form the fourth group of the text, the other six the
  // fifth.
  std::uint8_t Data4[8];

  // Reads "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx" or the same in braces, with
  // hexadecimal digits of either case and nothing else around. Throws
  // `IllegalArgumentException` ("IDS_ERR_ILLEGAL_ARGUMENT"), with the text as extra, on any other
  // text.
  static GUID parse(std::u16string_view text);
  // Like parse, but returns false on a bad text and leaves `out` unchanged.
  [[nodiscard]] static bool tryParse(std::u16string_view text, GUID& out) noexcept;

  // The 36-character lower-case form, without braces.
  String toString() const;

  constexpr bool isNull() const noexcept {
    std::uint8_t any = 0;
    for (const std::uint8_t byte : Data4) any |= byte;
    return Data1 == 0 && Data2 == 0 && Data3 == 0 && any == 0;
  }

  friend constexpr bool operator==(const GUID&, const GUID&) noexcept = default;
  // Orders by Data1, Data2, Data3, then the bytes of Data4: the order of the
  // texts that toString() gives. (The NOLINT silences a false report on the
  // comparison the compiler generates.)
  friend constexpr std::strong_ordering operator<=>(  // NOLINT(modernize-use-nullptr)
      const GUID&, const GUID&) noexcept = default;
};

}  // namespace core

namespace std {
template <>
struct hash<core::GUID> {
  std::size_t operator()(const core::GUID& id) const noexcept {
    std::uint64_t tail;
    std::memcpy(&tail, id.Data4, sizeof(tail));
    std::uint64_t h = (std::uint64_t{id.Data1} << 32) | (std::uint64_t{id.Data2} << 16) | id.Data3;
    h = (h ^ (tail * 0xC2B2AE3D27D4EB4Full)) * 0x9E3779B97F4A7C15ull;
    return static_cast<std::size_t>(h ^ (h >> 32));
  }
};
}  // namespace std

#endif  // CORE_GUID_H_
