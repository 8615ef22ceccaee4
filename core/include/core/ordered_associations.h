// OrderedAssociations: the storage of maps and structures, key-value
// associations kept in insertion order and found by hash in O(1) on average.
//
// The associations live in one vector in insertion order; an index of
// open-addressed slots (linear probing, at most half full) holds their
// positions. Deletion empties the association in place (so the positions of
// the others stay put, which an enumeration under way relies on) and removes
// its slot by shifting back the slots after it; the emptied associations are
// squeezed out when they outnumber the living ones, or at once when asked.
//
// Traits gives `Key`, `hash(k)` (32 bits, equal keys hash alike) and
// `equal(const Key&, k)` for every kind of `k` the caller looks up by.
//
// Thread safety: none of its own; one thread at a time.
#ifndef CORE_ORDERED_ASSOCIATIONS_H_
#define CORE_ORDERED_ASSOCIATIONS_H_

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "core/value.h"

namespace core {

template <class Traits>
class OrderedAssociations {
 public:
  using Key = typename Traits::Key;
  struct Entry {
    Key key;
    Value value;
    std::uint32_t hash = 0;
    bool live = false;
  };

  int count() const noexcept { return live_; }
  // The positions 0..end()-1 include emptied associations (live false).
  std::size_t end() const noexcept { return entries_.size(); }
  const Entry& at(std::size_t position) const noexcept { return entries_[position]; }
  Entry& at(std::size_t position) noexcept { return entries_[position]; }

  // The position of `key`, or -1.
  template <class K>
  std::ptrdiff_t position(const K& key) const {
    if (live_ == 0) return -1;
    const std::uint32_t hash = Traits::hash(key);
    for (std::size_t slot = hash & mask_;; slot = (slot + 1) & mask_) {
      const std::int32_t held = slots_[slot];
      if (held < 0) return -1;
      const Entry& entry = entries_[static_cast<std::size_t>(held)];
      if (entry.hash == hash && Traits::equal(entry.key, key)) return held;
    }
  }
  template <class K>
  const Value* find(const K& key) const {
    const std::ptrdiff_t found = position(key);
    return found < 0 ? nullptr : &entries_[static_cast<std::size_t>(found)].value;
  }

  // Associates `value` with `key`, replacing the value of a present key.
  void insert(Key key, const GenericValue& value) {
    const std::uint32_t hash = Traits::hash(key);
    if (slots_.empty() || (entries_.size() + 1) * 2 > slots_.size()) grow();
    std::size_t slot = hash & mask_;
    for (;; slot = (slot + 1) & mask_) {
      const std::int32_t held = slots_[slot];
      if (held < 0) break;
      Entry& entry = entries_[static_cast<std::size_t>(held)];
      if (entry.hash == hash && Traits::equal(entry.key, key)) {
        entry.value.assign(value);
        return;
      }
    }
    slots_[slot] = static_cast<std::int32_t>(entries_.size());
    entries_.push_back(Entry{std::move(key), Value(value), hash, true});
    ++live_;
  }

  // Removes the association of `key`; false when there is none. With
  // `squeeze`, the positions become dense again at once.
  template <class K>
  bool erase(const K& key, bool squeeze) {
    if (live_ == 0) return false;
    const std::uint32_t hash = Traits::hash(key);
    std::size_t slot = hash & mask_;
    for (;; slot = (slot + 1) & mask_) {
      const std::int32_t held = slots_[slot];
      if (held < 0) return false;
      const Entry& entry = entries_[static_cast<std::size_t>(held)];
      if (entry.hash == hash && Traits::equal(entry.key, key)) break;
    }
    Entry& entry = entries_[static_cast<std::size_t>(slots_[slot])];
    entry = Entry{};
    --live_;
    unslot(slot);
    if (squeeze ||
        entries_.size() - static_cast<std::size_t>(live_) > static_cast<std::size_t>(live_)) {
      rebuild(slots_.size());
    }
    return true;
  }

  void clear() noexcept {
    entries_.clear();
    slots_.clear();
    mask_ = 0;
    live_ = 0;
  }

  void reserve(std::size_t count) {
    entries_.reserve(count);
    std::size_t size = 8;
    while (size < count * 2) size *= 2;
    if (size > slots_.size()) rebuild(size);
  }

 private:
  void grow() {
    const std::size_t living = static_cast<std::size_t>(live_) + 1;
    std::size_t size = slots_.empty() ? 8 : slots_.size();
    while (size < living * 2) size *= 2;
    // A table full of emptied associations is squeezed, not doubled.
    if (size == slots_.size() && entries_.size() + 1 > size / 2) size *= 2;
    rebuild(size);
  }

  // Squeezes out the emptied associations and rebuilds the slots.
  void rebuild(std::size_t size) {
    if (static_cast<std::size_t>(live_) != entries_.size()) {
      std::size_t kept = 0;
      for (Entry& entry : entries_) {
        if (!entry.live) continue;
        if (&entries_[kept] != &entry) entries_[kept] = std::move(entry);
        ++kept;
      }
      entries_.resize(kept);
    }
    slots_.assign(size, -1);
    mask_ = size - 1;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
      std::size_t slot = entries_[i].hash & mask_;
      while (slots_[slot] >= 0) slot = (slot + 1) & mask_;
      slots_[slot] = static_cast<std::int32_t>(i);
    }
  }

  // Empties `slot` and moves back the slots of its probe run that may fill
  // it, so that no run is broken.
  void unslot(std::size_t hole) {
    for (std::size_t next = (hole + 1) & mask_; slots_[next] >= 0; next = (next + 1) & mask_) {
      const std::size_t home = entries_[static_cast<std::size_t>(slots_[next])].hash & mask_;
      // Moves when `home` is not cyclically within (hole, next].
      const bool stays =
          hole <= next ? (home > hole && home <= next) : (home > hole || home <= next);
      if (!stays) {
        slots_[hole] = slots_[next];
        hole = next;
      }
    }
    slots_[hole] = -1;
  }

  std::vector<Entry> entries_;
  std::vector<std::int32_t> slots_;
  std::size_t mask_ = 0;
  int live_ = 0;
};

}  // namespace core

#endif  // CORE_ORDERED_ASSOCIATIONS_H_
