// Implements io/storage_directory.h: the directory records of a container
// and their index by storage and name.
#include "io/storage_directory.h"

#include <algorithm>
#include <array>
#include <string>

#include "core/exception_classes.h"
#include "core/nocase.h"
#include "core/url.h"

namespace core {
namespace {

constexpr std::uint64_t kRecordSize = 24;
constexpr std::uint64_t kPageSize = 4096;
constexpr std::uint64_t kSlotBatch = 64;
constexpr unsigned char kFreeMark = 0xFF;

std::uint64_t get64(const unsigned char* bytes) {
  std::uint64_t value = 0;
  for (int i = 8; i-- > 0;) value = (value << 8) | bytes[i];
  return value;
}

void put64(unsigned char* bytes, std::uint64_t value) {
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

[[noreturn]] void throw_bad_record(IFile& file, std::uint64_t slot, const char* what) {
  throw StorageException(
      StorageException::Error::BadFormat, URL(file.url()),
      String::fromUtf8("directory record " + std::to_string(slot) + ": " + what));
}

}  // namespace

std::size_t StorageDirectory::KeyHash::operator()(const Key& key) const noexcept {
  return hash_nocase(key.name) ^ (std::hash<std::uint64_t>()(key.parent) * 0x9E3779B97F4A7C15u);
}

bool StorageDirectory::KeyEqual::operator()(const Key& a, const Key& b) const noexcept {
  return a.parent == b.parent && compare_nocase(a.name, b.name) == 0;
}

StorageDirectory::StorageDirectory(ContainerFile& container)
    : container_(container), chain_(container, container.layout().default_capacity) {}

bool StorageDirectory::refresh() {
  if (!container_.refresh(chain_)) return false;
  load();
  return true;
}

bool StorageDirectory::usable(std::uint64_t slot) const {
  const std::uint64_t offset = slot * kRecordSize;
  std::uint64_t start = 0;
  for (const ChainInFile::Block& block : chain_.blocks()) {
    if (offset < start + block.capacity) {
      if (offset + kRecordSize > start + block.capacity) return false;
      const std::uint64_t at = block.position + container_.layout().header_size + offset - start;
      return at / kPageSize == (at + kRecordSize - 1) / kPageSize;
    }
    start += block.capacity;
  }
  return false;
}

void StorageDirectory::load() {
  entries_.clear();
  free_slots_.clear();
  index_.clear();
  const BlockLayout& layout = container_.layout();
  // The length comes from the file: it may not ask for more memory than the
  // file could hold.
  if (chain_.length() > container_.fileLength()) {
    throw ChainInFileExc(ChainInFileExc::kInputOutput, chain_.first());
  }
  std::string bytes(static_cast<std::size_t>(chain_.length() / kRecordSize * kRecordSize), '\0');
  chain_.seek(0);
  if (chain_.read(bytes.data(), bytes.size()) != bytes.size()) {
    throw ChainInFileExc(ChainInFileExc::kInputOutput, chain_.first());
  }
  const std::uint64_t count = bytes.size() / kRecordSize;
  entries_.resize(static_cast<std::size_t>(count));
  // Which slots are usable follows from the blocks, walked once.
  std::vector<bool> slot_usable(static_cast<std::size_t>(count), false);
  {
    std::uint64_t start = 0;
    for (const ChainInFile::Block& block : chain_.blocks()) {
      const std::uint64_t first = (start + kRecordSize - 1) / kRecordSize;
      for (std::uint64_t slot = first; slot < count; ++slot) {
        const std::uint64_t offset = slot * kRecordSize;
        if (offset + kRecordSize > start + block.capacity) break;
        const std::uint64_t at = block.position + layout.header_size + offset - start;
        slot_usable[static_cast<std::size_t>(slot)] =
            at / kPageSize == (at + kRecordSize - 1) / kPageSize;
      }
      start += block.capacity;
    }
  }
  for (std::uint64_t slot = 0; slot < count; ++slot) {
    const auto* record = reinterpret_cast<const unsigned char*>(bytes.data()) + slot * kRecordSize;
    if (!slot_usable[static_cast<std::size_t>(slot)]) continue;
    if (record[kRecordSize - 1] == kFreeMark) {
      free_slots_.push_back(slot);
      continue;
    }
    DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
    entry.data = get64(record);
    entry.record = get64(record + 8);
    const std::uint64_t parent = get64(record + 16);
    if (parent > count) throw_bad_record(container_.file(), slot, "parent out of range");
    entry.parent = parent == 0 ? kRootSlot : parent - 1;
    ChainInFile record_chain(container_, 1);
    record_chain.open(entry.record);
    std::optional<EntryRecord> info = read_entry_record(record_chain, container_.file());
    if (!info || info->name.empty() || info->name.size() > 32000) {
      throw_bad_record(container_.file(), slot, "no entry record");
    }
    entry.info = std::move(*info);
    entry.live = true;
  }
  std::reverse(free_slots_.begin(), free_slots_.end());
  for (std::uint64_t slot = 0; slot < count; ++slot) {
    const DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
    if (!entry.live) continue;
    if (entry.parent != kRootSlot) {
      const DirectoryEntry& parent = entries_[static_cast<std::size_t>(entry.parent)];
      if (!parent.live || (parent.info.attributes & EntryRecord::kIsStorage) == 0) {
        throw_bad_record(container_.file(), slot, "parent is no storage");
      }
    }
    if (!index_.emplace(Key{entry.parent, entry.info.name}, slot).second) {
      throw_bad_record(container_.file(), slot, "name used twice");
    }
  }
  // A parent chain that loops never reaches the root.
  for (std::uint64_t slot = 0; slot < count; ++slot) {
    std::uint64_t at = slot;
    for (std::uint64_t steps = 0; at != kRootSlot && entries_[static_cast<std::size_t>(at)].live;
         ++steps) {
      if (steps > count) throw_bad_record(container_.file(), slot, "storages contain each other");
      at = entries_[static_cast<std::size_t>(at)].parent;
    }
  }
}

std::uint64_t StorageDirectory::find(std::uint64_t parent, std::u16string_view name) const {
  const auto it = index_.find(Key{parent, String(name)});
  return it == index_.end() ? kMissing : it->second;
}

std::vector<std::uint64_t> StorageDirectory::children(std::uint64_t parent) const {
  std::vector<std::uint64_t> result;
  for (std::uint64_t slot = 0; slot < entries_.size(); ++slot) {
    const DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
    if (entry.live && entry.parent == parent) result.push_back(slot);
  }
  return result;
}

void StorageDirectory::writeRecord(std::uint64_t slot, std::uint64_t offset_in_record,
                                   const unsigned char* bytes, std::size_t count) {
  chain_.seek(slot * kRecordSize + offset_in_record);
  chain_.write(bytes, count);
}

// Appended slots are all FF, written at the end of the directory whose
// length is rewritten after them, so a cut append leaves no record.
std::uint64_t StorageDirectory::takeSlot() {
  while (free_slots_.empty()) {
    const std::uint64_t first = chain_.length() / kRecordSize;
    const std::string batch(static_cast<std::size_t>(kSlotBatch * kRecordSize),
                            static_cast<char>(kFreeMark));
    chain_.seek(first * kRecordSize);
    chain_.write(batch.data(), batch.size());
    entries_.resize(static_cast<std::size_t>(first + kSlotBatch));
    for (std::uint64_t slot = first + kSlotBatch; slot-- > first;) {
      if (usable(slot)) free_slots_.push_back(slot);
    }
  }
  const std::uint64_t slot = free_slots_.back();
  free_slots_.pop_back();
  return slot;
}

std::uint64_t StorageDirectory::writeEntryRecord(const EntryRecord& info) {
  ChainInFile record_chain(container_, 20 + 2 * info.name.size() + 4);
  write_entry_record(record_chain, info);
  return record_chain.first();
}

void StorageDirectory::index(std::uint64_t slot) {
  const DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
  index_[Key{entry.parent, entry.info.name}] = slot;
}

std::uint64_t StorageDirectory::add(std::uint64_t parent, const EntryRecord& info) {
  // The slot first: the directory's first block must be the one right after
  // the file header.
  const std::uint64_t slot = takeSlot();
  const std::uint64_t record = writeEntryRecord(info);
  std::array<unsigned char, kRecordSize> bytes{};
  put64(bytes.data(), container_.layout().none);
  put64(bytes.data() + 8, record);
  put64(bytes.data() + 16, parent == kRootSlot ? 0 : parent + 1);
  writeRecord(slot, 0, bytes.data(), bytes.size());
  DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
  entry = DirectoryEntry{container_.layout().none, record, parent, info, entry.version + 1, true};
  index(slot);
  return slot;
}

void StorageDirectory::setData(std::uint64_t slot, std::uint64_t first) {
  std::array<unsigned char, 8> bytes{};
  put64(bytes.data(), first);
  writeRecord(slot, 0, bytes.data(), bytes.size());
  entries_[static_cast<std::size_t>(slot)].data = first;
}

void StorageDirectory::move(std::uint64_t slot, std::uint64_t parent, const EntryRecord& info) {
  DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
  const std::uint64_t record = writeEntryRecord(info);
  std::array<unsigned char, 16> bytes{};
  put64(bytes.data(), record);
  put64(bytes.data() + 8, parent == kRootSlot ? 0 : parent + 1);
  writeRecord(slot, 8, bytes.data(), bytes.size());
  index_.erase(Key{entry.parent, entry.info.name});
  const std::uint64_t old_record = entry.record;
  entry.record = record;
  entry.parent = parent;
  entry.info = info;
  index(slot);
  release(old_record);
}

void StorageDirectory::touch(std::uint64_t slot, std::uint64_t modified) {
  DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
  std::array<unsigned char, 8> bytes{};
  put64(bytes.data(), modified);
  ChainInFile record_chain(container_, 1);
  record_chain.open(entry.record);
  record_chain.seek(8);
  record_chain.write(bytes.data(), bytes.size());
  entry.info.modified = modified;
}

void StorageDirectory::erase(std::uint64_t slot) {
  DirectoryEntry& entry = entries_[static_cast<std::size_t>(slot)];
  writeRecord(slot, kRecordSize - 1, &kFreeMark, 1);
  index_.erase(Key{entry.parent, entry.info.name});
  entry.live = false;
  ++entry.version;
  free_slots_.push_back(slot);
  release(entry.data);
  release(entry.record);
}

void StorageDirectory::release(std::uint64_t first) {
  if (first == container_.layout().none) return;
  ChainInFile chain(container_, 1);
  chain.open(first);
  chain.setLength(0);
}

}  // namespace core
