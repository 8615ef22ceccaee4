// The record stream that every entry of a 32-bit container keeps: two dates,
// an attribute word and the entry's name.
//
// Bytes, little-endian: 8 the creation date, 8 the modification date (both
// in Date units, ten-thousandths of a second since 0001-01-01), 4 the
// attribute word (bit 0: the entry is a storage, not a stream; the other
// bits are kept as they are), the name as UTF-16 code units, 4 zero bytes.
#ifndef CORE_SRC_IO_STORAGE_ENTRY_H_
#define CORE_SRC_IO_STORAGE_ENTRY_H_

#include <cstdint>
#include <optional>

#include "core/string.h"
#include "io/chain_in_file.h"

namespace core {

struct EntryRecord {
  // The largest date a record may hold (9999-12-31 23:59:59.9999).
  static constexpr std::uint64_t kMaxDate = 3155378975999999;
  static constexpr std::uint32_t kIsStorage = 1;

  std::uint64_t created = 0;
  std::uint64_t modified = 0;
  std::uint32_t attributes = 0;
  String name;
};

// Writes the record whole from the stream's start and sets the stream's
// length to exactly 20 + 2 * (name length) + 4 bytes.
void write_entry_record(ChainInFile& stream, const EntryRecord& record);

// The record of the stream, dates clamped to kMaxDate; nothing when the
// stream is shorter than 24 bytes. Throws StorageException (code 0,
// "IDS_STERROR_BADFORMAT") naming the container when it is 65536 bytes or
// longer; the block layer's failures come as ChainInFileExc.
std::optional<EntryRecord> read_entry_record(ChainInFile& stream, IFile& container_file);

}  // namespace core

#endif  // CORE_SRC_IO_STORAGE_ENTRY_H_
