// Implements core/string.h: UTF-16 strings with inline and shared storage.
#include "core/string.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <new>

#include "internal/unit_hasher.h"
#include "internal/utf8.h"
#include "rivet/heap.h"

namespace core {
namespace {

// Every heap text of String is allocated here, so the allocator can be
// switched in one place.
void* allocate_bytes(std::size_t bytes) noexcept { return rivet_malloc(bytes); }
void free_bytes(void* block) noexcept { rivet_free(block); }

// A heap text is preceded by this header in the same block.
struct Buffer {
  std::atomic<std::int32_t> refs;
  std::uint32_t capacity;  // in code units, without the terminator
};
static_assert(sizeof(Buffer) % alignof(char16_t) == 0);

Buffer* buffer_of(const char16_t* text) noexcept {
  return reinterpret_cast<Buffer*>(
      const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(text)) - sizeof(Buffer));
}

// Returns the text of a new buffer owned once, with room for `capacity`
// units and a terminator.
char16_t* allocate_text(std::size_t capacity) {
  if (capacity > String::kMaxSize) throw std::bad_alloc();
  void* block = allocate_bytes(sizeof(Buffer) + (capacity + 1) * sizeof(char16_t));
  if (block == nullptr) throw std::bad_alloc();
  auto* buffer = new (block) Buffer{{1}, static_cast<std::uint32_t>(capacity)};
  return reinterpret_cast<char16_t*>(reinterpret_cast<unsigned char*>(buffer) + sizeof(Buffer));
}

void release_text(const char16_t* text) noexcept {
  Buffer* buffer = buffer_of(text);
  // A sole owner needs no read-modify-write: nobody else can see the count.
  if (buffer->refs.load(std::memory_order_acquire) == 1 ||
      buffer->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    buffer->~Buffer();
    free_bytes(buffer);
  }
}

void copy_units(char16_t* to, const char16_t* from, std::size_t count) noexcept {
  if (count != 0) std::memmove(to, from, count * sizeof(char16_t));
}

// Four units per step while they last, then one at a time.
std::size_t hash_units(const char16_t* units, std::size_t left) noexcept {
  detail::UnitHasher hasher;
  for (; left >= 4; left -= 4, units += 4) hasher.addFour(units);
  for (std::size_t i = 0; i < left; ++i) hasher.add(units[i]);
  return hasher.finish();
}

}  // namespace

String::String(const char16_t* text) : String(viewOf(text)) {}

String::String(const char16_t* text, std::size_t count) : word_(0), room_{} {
  if (count == 0) return;
  if (count <= kInlineCapacity) {
    copy_units(room_, text, count);
  } else {
    char16_t* heap = allocate_text(count);
    copy_units(heap, text, count);
    heap[count] = 0;
    setHeapText(heap);
    word_ = kHeapFlag;
  }
  word_ |= static_cast<std::uint32_t>(count);
}

String::String(std::u16string_view text) : String(text.data(), text.size()) {}

String& String::operator=(const String& other) noexcept {
  if (this != &other) {
    if (other.isHeap()) other.acquireHeap();
    if (isHeap()) releaseHeap();
    word_ = other.word_;
    std::memcpy(room_, other.room_, sizeof(room_));
  }
  return *this;
}

String& String::operator=(String&& other) noexcept {
  if (this != &other) {
    if (isHeap()) releaseHeap();
    word_ = other.word_;
    std::memcpy(room_, other.room_, sizeof(room_));
    other.word_ = 0;
    other.room_[0] = 0;
  }
  return *this;
}

void String::acquireHeap() const noexcept {
  buffer_of(heapText())->refs.fetch_add(1, std::memory_order_relaxed);
}

void String::releaseHeap() noexcept { release_text(heapText()); }

char16_t* String::mutableText(std::size_t capacity) {
  if (capacity > kMaxSize) throw std::bad_alloc();
  const std::size_t count = size();
  std::size_t current = kInlineCapacity;
  if (isHeap()) {
    Buffer* buffer = buffer_of(heapText());
    current = buffer->capacity;
    if (capacity <= current && buffer->refs.load(std::memory_order_acquire) == 1) {
      return heapText();
    }
  } else if (capacity <= kInlineCapacity) {
    return room_;
  }
  // Growing takes half again, so that repeated appends stay amortized O(1);
  // unsharing a buffer that is big enough copies it at the size asked for.
  const std::size_t grown =
      capacity > current
          ? std::max(capacity, std::min<std::size_t>(kMaxSize, current + current / 2))
          : capacity;
  char16_t* text = allocate_text(grown);
  copy_units(text, data(), count);
  text[count] = 0;
  if (isHeap()) releaseHeap();
  setHeapText(text);
  word_ |= kHeapFlag;
  return text;
}

void String::setSize(std::size_t size) noexcept {
  word_ = (word_ & kHeapFlag) | static_cast<std::uint32_t>(size);
  (isHeap() ? heapText() : room_)[size] = 0;
}

String& String::append(std::u16string_view text) {
  const std::size_t count = size();
  const std::size_t extra = text.size();
  if (extra == 0) return *this;
  if (extra > kMaxSize - count) throw std::bad_alloc();
  // The appended text may be part of this string, whose buffer is about to
  // move; it is then found again at the same offset in the new text.
  const char16_t* old = data();
  std::less<const char16_t*> before;
  const bool inside = !before(text.data(), old) && before(text.data(), old + count);
  const std::size_t offset = inside ? static_cast<std::size_t>(text.data() - old) : 0;
  char16_t* target = mutableText(count + extra);
  copy_units(target + count, inside ? target + offset : text.data(), extra);
  setSize(count + extra);
  return *this;
}

String& String::append(char16_t unit) {
  const std::size_t count = size();
  if (count == kMaxSize) throw std::bad_alloc();
  mutableText(count + 1)[count] = unit;
  setSize(count + 1);
  return *this;
}

void String::clear() noexcept {
  if (isHeap() && buffer_of(heapText())->refs.load(std::memory_order_acquire) == 1) {
    setSize(0);
    return;
  }
  if (isHeap()) releaseHeap();
  word_ = 0;
  room_[0] = 0;
}

void String::reserve(std::size_t capacity) {
  if (capacity > size()) mutableText(capacity);
}

char16_t* String::resizeForOverwrite(std::size_t count) {
  char16_t* text = mutableText(std::max(count, size()));
  setSize(count);
  return text;
}

String String::substr(std::size_t pos, std::size_t count) const {
  const std::size_t total = size();
  pos = std::min(pos, total);
  count = std::min(count, total - pos);
  if (count == total) return *this;
  return String(data() + pos, count);
}

std::size_t String::find(char16_t unit, std::size_t pos) const noexcept {
  return std::u16string_view(*this).find(unit, pos);
}

std::size_t String::find(std::u16string_view text, std::size_t pos) const noexcept {
  return std::u16string_view(*this).find(text, pos);
}

String String::fromUtf8(std::string_view utf8) {
  std::size_t count = 0;
  auto counter = [&count](char16_t) { ++count; };
  detail::decode_utf8(utf8, counter);
  String result;
  if (count == 0) return result;
  char16_t* out = result.mutableText(count);
  auto writer = [&out](char16_t unit) { *out++ = unit; };
  detail::decode_utf8(utf8, writer);
  result.setSize(count);
  return result;
}

std::string String::toUtf8() const {
  const std::u16string_view text = *this;
  std::string result(detail::utf8_length(text), '\0');
  detail::encode_utf8(text, result.data());
  return result;
}

}  // namespace core

std::size_t std::hash<core::String>::operator()(const core::String& text) const noexcept {
  return core::hash_units(text.data(), text.size());
}
