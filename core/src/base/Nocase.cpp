// Implements core/nocase.h: case-insensitive comparison and hashing.
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstdint>

#include "core/nocase.h"
#include "internal/icu.h"
#include "internal/unit_hasher.h"

namespace core {
namespace {

// Latin, Greek and Cyrillic lie below this code unit.
constexpr char16_t kFastLimit = 0x500;
// Marks a unit whose full case folding is not exactly one code unit.
constexpr char16_t kNoFold = 0xFFFF;

// The full case folding of each unit below kFastLimit, taken from ICU once.
struct FoldTable {
  char16_t units[kFastLimit];

  FoldTable() noexcept {
    for (char16_t c = 0; c < kFastLimit; ++c) {
      char16_t folded[4];
      detail::IcuStatus status;
      const int32_t length = u_strFoldCase(folded, 4, &c, 1, U_FOLD_CASE_DEFAULT, status);
      units[c] = status.isSuccess() && length == 1 ? folded[0] : kNoFold;
    }
  }
};

const FoldTable& fold_table() noexcept {
  static const FoldTable table;
  return table;
}

// Folds a text chunk by chunk, never splitting a surrogate pair, so that the
// chunks joined equal the folding of the whole text.
class FoldedStream {
 public:
  explicit FoldedStream(std::u16string_view text) noexcept : rest_(text) {}

  // The folding of the next chunk; empty at the end of the text.
  std::u16string_view next() noexcept {
    if (rest_.empty()) return {};
    std::size_t take = std::min(rest_.size(), kChunk);
    if (take < rest_.size() && U16_IS_LEAD(rest_[take - 1])) --take;
    detail::IcuStatus status;
    const int32_t length = u_strFoldCase(folded_, kFoldedCapacity, rest_.data(),
                                         static_cast<int32_t>(take), U_FOLD_CASE_DEFAULT, status);
    std::u16string_view chunk(folded_, status.isSuccess() ? static_cast<std::size_t>(length) : 0);
    if (status.isFailure()) {
      // Unreachable with valid input: the buffer holds the longest folding
      // (3 units per unit). Keep the text as it is rather than lose it.
      chunk = rest_.substr(0, take);
    }
    rest_.remove_prefix(take);
    return chunk;
  }

 private:
  static constexpr std::size_t kChunk = 64;
  static constexpr int32_t kFoldedCapacity = 3 * kChunk;

  std::u16string_view rest_;
  char16_t folded_[kFoldedCapacity];
};

int compare_folded(std::u16string_view a, std::u16string_view b) noexcept {
  FoldedStream stream_a(a);
  FoldedStream stream_b(b);
  std::u16string_view chunk_a;
  std::u16string_view chunk_b;
  for (;;) {
    if (chunk_a.empty()) chunk_a = stream_a.next();
    if (chunk_b.empty()) chunk_b = stream_b.next();
    if (chunk_a.empty() || chunk_b.empty()) {
      return chunk_a.empty() ? (chunk_b.empty() ? 0 : -1) : 1;
    }
    const std::size_t common = std::min(chunk_a.size(), chunk_b.size());
    for (std::size_t i = 0; i < common; ++i) {
      if (chunk_a[i] != chunk_b[i]) return chunk_a[i] < chunk_b[i] ? -1 : 1;
    }
    chunk_a.remove_prefix(common);
    chunk_b.remove_prefix(common);
  }
}

}  // namespace

// The folded prefixes of both texts agree unit for unit up to the first unit
// that the table cannot fold, so only the suffixes from there need the full
// folding. Full folding maps each code point on its own, which makes this
// split exact as long as it falls on a code point boundary.
int compare_nocase(std::u16string_view a, std::u16string_view b) noexcept {
  const FoldTable& table = fold_table();
  const std::size_t common = std::min(a.size(), b.size());
  std::size_t i = 0;
  for (; i < common; ++i) {
    const char16_t unit_a = a[i];
    const char16_t unit_b = b[i];
    if (unit_a == unit_b) continue;
    if (unit_a < kFastLimit && unit_b < kFastLimit) {
      const char16_t folded_a = table.units[unit_a];
      const char16_t folded_b = table.units[unit_b];
      if (folded_a != kNoFold && folded_b != kNoFold) {
        if (folded_a != folded_b) return folded_a < folded_b ? -1 : 1;
        continue;
      }
    }
    break;
  }
  if (i == common && a.size() == b.size()) return 0;
  // Identical units are skipped without folding, a lead surrogate among them;
  // step back so its pair is folded whole.
  if (i > 0 && U16_IS_LEAD(a[i - 1])) {
    --i;
  } else if (i == common) {
    return a.size() < b.size() ? -1 : 1;
  }
  return compare_folded(a.substr(i), b.substr(i));
}

std::size_t hash_nocase(std::u16string_view text) noexcept {
  const FoldTable& table = fold_table();
  detail::UnitHasher hasher;
  std::size_t i = 0;
  for (; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (unit >= kFastLimit || table.units[unit] == kNoFold) break;
    hasher.add(table.units[unit]);
  }
  FoldedStream stream(text.substr(i));
  for (std::u16string_view chunk = stream.next(); !chunk.empty(); chunk = stream.next()) {
    for (const char16_t unit : chunk) hasher.add(unit);
  }
  return hasher.finish();
}

}  // namespace core
