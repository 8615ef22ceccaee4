// The hash of UTF-16 texts shared by String and the case-insensitive hash.
#ifndef CORE_SRC_INTERNAL_UNIT_HASHER_H_
#define CORE_SRC_INTERNAL_UNIT_HASHER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace core::detail {

// Feeds UTF-16 code units into a 64-bit state four at a time; the finalizer
// spreads every input bit over the result.
class UnitHasher {
 public:
  // Adds four units at once.
  // REQUIRES: the units added so far are a multiple of four.
  void addFour(const char16_t* units) noexcept {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    mix(word);
    count_ += 4;
  }

  void add(char16_t unit) noexcept {
    word_ |= std::uint64_t{unit} << (16 * filled_);
    if (++filled_ == 4) {
      mix(word_);
      word_ = 0;
      filled_ = 0;
    }
    ++count_;
  }

  std::size_t finish() noexcept {
    mix(word_ ^ (std::uint64_t{count_} << 48));
    std::uint64_t h = state_;
    h ^= h >> 33;
    h *= 0xFF51AFD7ED558CCDull;
    h ^= h >> 33;
    h *= 0xC4CEB9FE1A85EC53ull;
    h ^= h >> 33;
    return static_cast<std::size_t>(h);
  }

 private:
  void mix(std::uint64_t word) noexcept {
    state_ ^= word * 0xC2B2AE3D27D4EB4Full;
    state_ = ((state_ << 29) | (state_ >> 35)) * 0x9E3779B97F4A7C15ull;
  }

  std::uint64_t state_ = 0x243F6A8885A308D3ull;
  std::uint64_t word_ = 0;
  std::uint64_t count_ = 0;
  unsigned filled_ = 0;
};

}  // namespace core::detail

#endif  // CORE_SRC_INTERNAL_UNIT_HASHER_H_
