// The block layer of container files: a container is one file holding many
// byte streams, each kept as a chain of blocks with small text headers, plus
// a free chain of blocks that streams gave up. Both variants (32-bit and
// 64-bit) share this code and differ only in the BlockLayout they pass.
//
// ContainerFile owns the file and the cached container header; ChainInFile
// is the descriptor of one stream's chain. Failures of the layer are thrown
// as ChainInFileExc (codes 1-3) and turned into StorageException by
// throw_storage_exception at the boundary of the library. Neither class
// locks: one container is used by one thread at a time.
#ifndef CORE_SRC_IO_CHAIN_IN_FILE_H_
#define CORE_SRC_IO_CHAIN_IN_FILE_H_

#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "core/interface_ptr.h"
#include "core/io.h"

namespace core {

// The widths that distinguish the two container variants.
struct BlockLayout {
  std::uint32_t header_size;        // bytes of a block header: 31 or 55
  std::uint32_t digits;             // hexadecimal digits of one header field
  std::uint64_t none;               // the field value meaning "no block"
  std::uint32_t file_header_size;   // container header; the directory starts here
  std::uint32_t default_capacity;   // minimum capacity of a fresh directory
  std::uint64_t max_file_end;       // a write may not carry the file past this
  std::uint32_t free_head_width;    // bytes of the free-chain head in the header
  std::uint32_t change_counter_at;  // offset of the 64-bit change counter
  bool lower_case;                  // digits written in lower case
};

// The 32-bit variant: "%08lx" fields, 7FFFFFFF as none, 16-byte header.
inline constexpr BlockLayout kLayout32 = {31, 8, 0x7FFFFFFFu, 16, 512, 0x7FFFFFFFu, 4, 8, true};
// The 64-bit variant: upper-case 16-digit fields, all bits as none.
inline constexpr BlockLayout kLayout64 = {
    55, 16, ~std::uint64_t{0}, 20, 65536, ~std::uint64_t{0}, 8, 12, false};

// A failure of the block layer.
class ChainInFileExc : public std::exception {
 public:
  enum Code : int { kInputOutput = 1, kBadHeader = 2, kCycle = 3 };

  ChainInFileExc(Code code, std::uint64_t position) noexcept : code_(code), position_(position) {}
  Code code() const noexcept { return code_; }
  // The file offset where the failure was found.
  std::uint64_t position() const noexcept { return position_; }
  const char* what() const noexcept override;

 private:
  Code code_;
  std::uint64_t position_;
};

// Throws StorageException (code 0, "IDS_STERROR_BADFORMAT") naming the
// container's URL, with the failure and its offset as extra text.
[[noreturn]] void throw_storage_exception(const ChainInFileExc& failure, IFile& file);

// The three numbers of a block header.
struct BlockHeader {
  std::uint64_t length;    // stream length (first block), 0 (later), none (free)
  std::uint64_t capacity;  // bytes of the data area
  std::uint64_t next;      // header of the next block, or none
};

// Writes the header as text into `out` (layout.header_size bytes).
void encode_block_header(const BlockLayout& layout, const BlockHeader& header, char* out);
// Reads a header written by encode_block_header (either case of hex digits);
// false when the CR LF pairs, the spaces or a digit are wrong.
bool decode_block_header(const BlockLayout& layout, const char* text, BlockHeader& header);

class ChainInFile;

// A container file and its cached header.
class ContainerFile {
 public:
  ContainerFile(InterfacePtr<IFile> file, const BlockLayout& layout);

  // Writes a fresh header (empty free chain, change counter 0) to an empty
  // file.
  void create(std::uint32_t default_capacity);
  // Reads the header; code 1 when the file is shorter than it. True when
  // the change counter grew since the last read (or on the first read);
  // only then are the cached values replaced. A FileException of the
  // sharing or lock reasons is retried every 20 ms for at most 20 s, the
  // pauses registered with rivet's monitor of suspended threads; other file
  // failures pass at once.
  bool readHeader();
  // readHeader, and when the counter grew, reopens `directory` from the end
  // of the header (empty when the file is only the header) with the
  // directory's minimum capacity. True when it reloaded.
  bool refresh(ChainInFile& directory);
  // The minimum capacity of the directory chain: the header's default, or
  // the variant's default (65536 or 512) while the file is only the header
  // and the free chain is empty.
  std::uint64_t directoryCapacity() const;

  const BlockLayout& layout() const noexcept { return layout_; }
  IFile& file() const noexcept { return *file_; }
  std::uint64_t freeHead() const noexcept { return free_head_; }
  // Sets the free-chain head and writes it to the header at once.
  void setFreeHead(std::uint64_t position);
  std::uint32_t defaultCapacity() const noexcept { return default_capacity_; }
  std::uint64_t changeCounter() const noexcept { return change_counter_; }
  // Adds 1 to the change counter and writes it.
  void bumpChangeCounter();

  // The file's length, asked of the file once after each readHeader.
  std::uint64_t fileLength() const;
  // Exactly `count` bytes at `position`, else code 1.
  void readAt(std::uint64_t position, void* buffer, std::size_t count) const;
  void writeAt(std::uint64_t position, const void* data, std::size_t count) const;
  // The header of the block at `position`: code 1 when it cannot be read,
  // code 2 when it is malformed or its data area ends past 64 bits.
  BlockHeader readBlockHeader(std::uint64_t position) const;
  void writeBlockHeader(std::uint64_t position, const BlockHeader& header) const;
  // Rereads the block's header, replaces one field and writes it back.
  enum class Field { kLength, kCapacity, kNext };
  void updateBlockField(std::uint64_t position, Field field, std::uint64_t value) const;
  // Throws StorageException (code 3, "IDS_STERROR_OVERFLOW") when the file
  // would end past the variant's limit.
  void checkFileEnd(std::uint64_t position, std::uint64_t count) const;

 private:
  void writeHeaderBytes(std::uint32_t offset, std::uint64_t value, std::uint32_t width);

  InterfacePtr<IFile> file_;
  BlockLayout layout_;
  std::uint64_t free_head_;
  std::uint32_t default_capacity_ = 0;
  std::uint64_t change_counter_ = 0;
  bool header_read_ = false;
  mutable std::uint64_t known_length_ = 0;
  mutable bool length_known_ = false;
};

// The descriptor of one stream's chain of blocks, with a current position.
class ChainInFile {
 public:
  struct Block {
    std::uint64_t position;
    std::uint64_t capacity;
  };

  // An empty chain whose blocks appended at the end of the file get at least
  // `min_capacity` bytes.
  ChainInFile(ContainerFile& container, std::uint64_t min_capacity);

  // Reads and checks the chain starting at `first` (none: empty): code 1 on
  // a short read, 2 on a bad header, 3 on a cycle.
  void open(std::uint64_t first);

  void setMinCapacity(std::uint64_t min_capacity) noexcept;
  std::uint64_t first() const noexcept;
  std::uint64_t length() const noexcept { return length_; }
  std::uint64_t tell() const noexcept { return offset_; }
  const std::vector<Block>& blocks() const noexcept { return blocks_; }

  // Reads up to `count` bytes at the current position (clipped to the
  // length) and returns how many.
  std::size_t read(void* buffer, std::size_t count);
  // Writes at the current position, growing the chain; a position past the
  // length is reached through zero bytes.
  void write(const void* data, std::size_t count);
  // Moves the current position (past the length is allowed).
  void seek(std::uint64_t offset);
  // Truncates (releasing whole blocks onto the free chain) or extends with
  // zero bytes.
  void setLength(std::uint64_t length);
  // Moves the bytes from `offset` on 24 bytes toward the end, in pieces of
  // at most 16384 bytes starting at the end, then writes `record` there.
  void insertRecord(std::uint64_t offset, const unsigned char (&record)[24]);

 private:
  std::uint64_t dataStart(std::size_t index) const noexcept;
  void locate();
  bool appendDirect(const unsigned char* data, std::uint64_t count);
  void appendBlock(std::uint64_t wanted);
  void takeFreeBlock();
  void appendAtEnd(std::uint64_t wanted);
  void linkBlock(std::uint64_t position);
  void writeBytes(const unsigned char* data, std::uint64_t count);
  void storeLength(std::uint64_t length);

  ContainerFile& container_;
  std::uint64_t min_capacity_;
  std::uint64_t length_ = 0;
  std::vector<Block> blocks_;
  std::vector<std::uint64_t> ends_;  // stream offset where block i ends
  std::size_t index_ = 0;            // block of the current position
  std::uint64_t in_block_ = 0;       // offset within it
  std::uint64_t offset_ = 0;         // absolute stream offset
};

}  // namespace core

#endif  // CORE_SRC_IO_CHAIN_IN_FILE_H_
