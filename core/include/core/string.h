// core::String, the library's UTF-16 text value.
//
// A String holds a sequence of UTF-16 code units (char16_t). Short texts are
// stored inside the object; longer texts live in a shared, atomically counted
// heap buffer, so copying a long String is O(1) and never copies the text. A
// String that shares its buffer copies it on the first mutation.
//
//   core::String name(u"Ivanov");
//   core::String copy = name;                       // shares, no copy of the text
//   std::string utf8 = (name + u", Ivan").toUtf8();
//
// Failures: whatever allocates throws std::bad_alloc when memory runs out or
// a text would exceed String::kMaxSize units, and leaves the string
// unchanged. Nothing else throws: positions past the end are clamped.
//
// Thread safety: like std::string. Distinct String objects may be used from
// different threads even when they share a buffer; one String object must not
// be mutated while another thread reads it.
#ifndef CORE_STRING_H_
#define CORE_STRING_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

#include "core/export.h"

namespace core {

// Layout (32 bytes): a 32-bit length word, then 28 bytes of inline room that
// hold up to kInlineCapacity code units plus the terminating zero. The top
// bit of the length word marks a heap text; the room then holds a pointer to
// the text of a reference-counted buffer.
class CORE_EXPORT String {
 public:
  using value_type = char16_t;
  using size_type = std::size_t;
  using const_iterator = const char16_t*;

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);
  // Texts of up to this many code units are stored without a heap buffer.
  static constexpr std::size_t kInlineCapacity = 13;
  // The longest text a String can hold, in code units.
  static constexpr std::size_t kMaxSize = 0x7FFFFFFF;

  String() noexcept : word_(0), room_{} {}
  // A null pointer gives the empty string.
  String(const char16_t* text);  // NOLINT(google-explicit-constructor)
  // REQUIRES: `text` points to `count` code units, or `count` is 0.
  String(const char16_t* text, std::size_t count);
  // Explicit, so that a view never becomes a String (and allocates) unseen.
  explicit String(std::u16string_view text);

  String(const String& other) noexcept : word_(other.word_) {
    std::memcpy(room_, other.room_, sizeof(room_));
    if (isHeap()) acquireHeap();
  }
  // Leaves `other` empty.
  String(String&& other) noexcept : word_(other.word_) {
    std::memcpy(room_, other.room_, sizeof(room_));
    other.word_ = 0;
    other.room_[0] = 0;
  }
  String& operator=(const String& other) noexcept;
  String& operator=(String&& other) noexcept;
  ~String() {
    if (isHeap()) releaseHeap();
  }

  // Decodes UTF-8. Each maximal subpart of an ill-formed sequence (an
  // overlong form, an encoded surrogate, a value above U+10FFFF, a truncated
  // sequence or a stray byte) becomes one U+FFFD, as the Unicode standard
  // recommends.
  static String fromUtf8(std::string_view utf8);
  // Encodes as UTF-8; an unpaired surrogate becomes U+FFFD.
  std::string toUtf8() const;

  std::size_t size() const noexcept { return word_ & kSizeMask; }
  std::size_t length() const noexcept { return size(); }
  bool empty() const noexcept { return size() == 0; }
  // The text, always followed by a zero code unit.
  const char16_t* data() const noexcept { return isHeap() ? heapText() : room_; }
  const char16_t* c_str() const noexcept { return data(); }
  operator std::u16string_view() const noexcept {  // NOLINT(google-explicit-constructor)
    return {data(), size()};
  }

  // REQUIRES: pos < size().
  char16_t operator[](std::size_t pos) const noexcept { return data()[pos]; }
  const_iterator begin() const noexcept { return data(); }
  const_iterator end() const noexcept { return data() + size(); }

  String& append(std::u16string_view text);
  String& append(char16_t unit);
  String& operator+=(std::u16string_view text) { return append(text); }
  String& operator+=(const String& text) { return append(std::u16string_view(text)); }
  String& operator+=(const char16_t* text) { return append(viewOf(text)); }
  String& operator+=(char16_t unit) { return append(unit); }
  // Empties the string; keeps a heap buffer that only this string uses.
  void clear() noexcept;
  // Makes room for `capacity` units so that appending up to that size does
  // not reallocate.
  void reserve(std::size_t capacity);
  // Sets the size to `count` and returns the text for the caller to write,
  // so that a producer (a decoder, say) can fill a String in place. The
  // units kept are min(old size, count); those beyond the old size hold
  // unspecified values until written. The pointer is valid until the next
  // change of the string.
  char16_t* resizeForOverwrite(std::size_t count);

  // At most `count` units from `pos`. A `pos` past the end is clamped to
  // size() and gives the empty string; nothing is thrown for range.
  String substr(std::size_t pos = 0, std::size_t count = npos) const;
  // The first position at or after `pos` where `unit` or `text` occurs, or
  // npos. An empty `text` is found at `pos` when pos <= size().
  std::size_t find(char16_t unit, std::size_t pos = 0) const noexcept;
  std::size_t find(std::u16string_view text, std::size_t pos = 0) const noexcept;

  // Comparison is by UTF-16 code units, as std::u16string_view compares.
  friend bool operator==(const String& a, const String& b) noexcept {
    return std::u16string_view(a) == std::u16string_view(b);
  }
  friend bool operator==(const String& a, std::u16string_view b) noexcept {
    return std::u16string_view(a) == b;
  }
  friend bool operator==(const String& a, const char16_t* b) noexcept {
    return std::u16string_view(a) == viewOf(b);
  }
  friend std::strong_ordering operator<=>(const String& a, const String& b) noexcept {
    return std::u16string_view(a) <=> std::u16string_view(b);
  }
  friend std::strong_ordering operator<=>(const String& a, std::u16string_view b) noexcept {
    return std::u16string_view(a) <=> b;
  }
  friend std::strong_ordering operator<=>(const String& a, const char16_t* b) noexcept {
    return std::u16string_view(a) <=> viewOf(b);
  }

  friend String operator+(String a, const String& b) {
    a.append(b);
    return a;
  }
  friend String operator+(String a, std::u16string_view b) {
    a.append(b);
    return a;
  }
  friend String operator+(String a, const char16_t* b) {
    a.append(viewOf(b));
    return a;
  }
  friend String operator+(String a, char16_t b) {
    a.append(b);
    return a;
  }
  friend String operator+(std::u16string_view a, const String& b) {
    String result(a);
    result.append(b);
    return result;
  }
  friend String operator+(const char16_t* a, const String& b) {
    String result(a);
    result.append(b);
    return result;
  }

  // End of public API. Implementation details follow.

 private:
  static constexpr std::uint32_t kHeapFlag = 0x80000000u;
  static constexpr std::uint32_t kSizeMask = 0x7FFFFFFFu;
  // The heap pointer sits 8-byte aligned at offset 8, inside the room.
  static constexpr std::size_t kPointerOffset = 4;

  static std::u16string_view viewOf(const char16_t* text) noexcept {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
  }

  bool isHeap() const noexcept { return (word_ & kHeapFlag) != 0; }
  char16_t* heapText() const noexcept {
    char16_t* text;
    std::memcpy(&text, reinterpret_cast<const unsigned char*>(room_) + kPointerOffset,
                sizeof(text));
    return text;
  }
  void setHeapText(char16_t* text) noexcept {
    std::memcpy(reinterpret_cast<unsigned char*>(room_) + kPointerOffset, &text, sizeof(text));
  }
  void acquireHeap() const noexcept;
  void releaseHeap() noexcept;
  // Returns writable room for `capacity` units with the current text kept,
  // unsharing or growing the buffer as needed.
  char16_t* mutableText(std::size_t capacity);
  void setSize(std::size_t size) noexcept;

  alignas(8) std::uint32_t word_;
  char16_t room_[kInlineCapacity + 1];
};

}  // namespace core

namespace std {
template <>
struct CORE_EXPORT hash<core::String> {
  std::size_t operator()(const core::String& text) const noexcept;
};
}  // namespace std

#endif  // CORE_STRING_H_
