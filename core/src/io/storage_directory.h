// The directory of a container: the stream of 24-byte records that starts
// right after the file header, one record per entry, and the in-memory index
// of the entries by storage and name built when it loads.
//
// A record is three 64-bit little-endian numbers: the first block of the
// entry's data stream (none while it is empty, and for a storage), the first
// block of its entry record (dates, attributes, name; see storage_entry.h),
// and its parent: 0 for the root, else 1 + the slot of the storage above it.
// A record whose last byte is FF is a free slot. The slot of a record is its
// index in the directory stream.
//
// Every change of a record is one write of the file: a slot is used only
// when its 24 bytes lie in one block and in one 4 KiB page of the file, so
// that a process killed in the middle leaves the old record or the new one.
// Slots are appended 64 at a time, all FF, and kept on an in-memory list of
// free slots, so creating an entry costs amortised O(1) writes and never
// moves the directory.
//
// Not locked: the storage layer serialises its use.
#ifndef CORE_SRC_IO_STORAGE_DIRECTORY_H_
#define CORE_SRC_IO_STORAGE_DIRECTORY_H_

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/string.h"
#include "io/chain_in_file.h"
#include "io/storage_entry.h"

namespace core {

struct DirectoryEntry {
  std::uint64_t data = 0;    // first block of the data stream, or none
  std::uint64_t record = 0;  // first block of the entry record
  std::uint64_t parent = 0;  // slot of the parent storage, or kRootSlot
  EntryRecord info;
  std::uint64_t version = 0;  // counts this process's writes to the stream
  bool live = false;
};

class StorageDirectory {
 public:
  static constexpr std::uint64_t kRootSlot = ~std::uint64_t{0};
  static constexpr std::uint64_t kMissing = ~std::uint64_t{0} - 1;

  explicit StorageDirectory(ContainerFile& container);

  // Rereads the file header; when the change counter grew (or on the first
  // call) reloads every record. True when it reloaded. Throws ChainInFileExc
  // for a malformed chain and StorageException ("IDS_STERROR_BADFORMAT") for
  // records that contradict each other.
  bool refresh();

  // The slot of the entry `name` in the storage `parent`, or kMissing.
  std::uint64_t find(std::uint64_t parent, std::u16string_view name) const;
  const DirectoryEntry& entry(std::uint64_t slot) const { return entries_[slot]; }
  DirectoryEntry& entry(std::uint64_t slot) { return entries_[slot]; }
  std::uint64_t slotCount() const noexcept { return entries_.size(); }
  // The live entries whose parent is `parent`, in slot order.
  std::vector<std::uint64_t> children(std::uint64_t parent) const;
  ChainInFile& chain() noexcept { return chain_; }
  // Whether slot `slot` may hold a record (see above).
  bool usable(std::uint64_t slot) const;

  // Writes the entry record, then the directory record; returns the slot.
  std::uint64_t add(std::uint64_t parent, const EntryRecord& info);
  // Rewrites the data field of the record.
  void setData(std::uint64_t slot, std::uint64_t first);
  // Gives the entry a new name and parent: a new entry record first, then
  // the directory record, then the old entry record's blocks are released.
  void move(std::uint64_t slot, std::uint64_t parent, const EntryRecord& info);
  // Rewrites the modification date in the entry record.
  void touch(std::uint64_t slot, std::uint64_t modified);
  // Frees the slot, then releases the data and record chains.
  void erase(std::uint64_t slot);

 private:
  struct Key {
    std::uint64_t parent;
    String name;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept;
  };
  struct KeyEqual {
    bool operator()(const Key& a, const Key& b) const noexcept;
  };

  void load();
  void writeRecord(std::uint64_t slot, std::uint64_t offset_in_record, const unsigned char* bytes,
                   std::size_t count);
  std::uint64_t takeSlot();
  std::uint64_t writeEntryRecord(const EntryRecord& info);
  void release(std::uint64_t first);
  void index(std::uint64_t slot);

  ContainerFile& container_;
  ChainInFile chain_;
  std::vector<DirectoryEntry> entries_;
  std::vector<std::uint64_t> free_slots_;  // usable free slots, lowest last
  std::unordered_map<Key, std::uint64_t, KeyHash, KeyEqual> index_;
};

}  // namespace core

#endif  // CORE_SRC_IO_STORAGE_DIRECTORY_H_
