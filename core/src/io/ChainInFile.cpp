// Implements io/chain_in_file.h: the block layer shared by both container
// variants.
#include "io/chain_in_file.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <set>
#include <string>

#include "core/exception_classes.h"
#include "core/string.h"
#include "core/url.h"
#include "internal/chars.h"
#include "rivet/suspend_monitor.h"

namespace core {
namespace {

constexpr std::size_t kMaxHeaderSize = 55;
constexpr std::uint64_t kMovePiece = 16384;
constexpr std::size_t kRecordSize = 24;
constexpr std::chrono::milliseconds kRetryPause(20);
constexpr std::chrono::seconds kRetryLimit(20);

// Offset of the field within a block header: CR LF, then fields of
// `digits` characters each followed by a space.
std::uint32_t field_offset(const BlockLayout& layout, int field) {
  return 2 + static_cast<std::uint32_t>(field) * (layout.digits + 1);
}

}  // namespace

const char* ChainInFileExc::what() const noexcept {
  switch (code_) {
    case kInputOutput:
      return "short seek, read or write";
    case kBadHeader:
      return "bad block header";
    case kCycle:
      return "chain returns to a block already seen";
  }
  return "chain failure";
}

void throw_storage_exception(const ChainInFileExc& failure, IFile& file) {
  const std::string extra = std::string(failure.what()) + " (code " +
                            std::to_string(static_cast<int>(failure.code())) + ") at offset " +
                            std::to_string(failure.position());
  throw StorageException(StorageException::Error::BadFormat, URL(file.url()),
                         String::fromUtf8(extra));
}

void encode_block_header(const BlockLayout& layout, const BlockHeader& header, char* out) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  static constexpr char kLowerDigits[] = "0123456789abcdef";
  // The 32-bit variant writes lower case, the 64-bit one upper case.
  const char* digits = layout.lower_case ? kLowerDigits : kDigits;
  out[0] = '\r';
  out[1] = '\n';
  const std::array<std::uint64_t, 3> values = {header.length, header.capacity, header.next};
  for (int field = 0; field < 3; ++field) {
    char* text = out + field_offset(layout, field);
    std::uint64_t value = values[static_cast<std::size_t>(field)];
    for (std::uint32_t i = layout.digits; i-- > 0;) {
      text[i] = digits[value & 0xF];
      value >>= 4;
    }
    text[layout.digits] = ' ';
  }
  out[layout.header_size - 2] = '\r';
  out[layout.header_size - 1] = '\n';
}

bool decode_block_header(const BlockLayout& layout, const char* text, BlockHeader& header) {
  if (text[0] != '\r' || text[1] != '\n' || text[layout.header_size - 2] != '\r' ||
      text[layout.header_size - 1] != '\n') {
    return false;
  }
  std::array<std::uint64_t, 3> values{};
  for (int field = 0; field < 3; ++field) {
    const char* digits = text + field_offset(layout, field);
    std::uint64_t value = 0;
    for (std::uint32_t i = 0; i < layout.digits; ++i) {
      const int digit = detail::hex_digit_value(static_cast<unsigned char>(digits[i]));
      if (digit < 0) return false;
      value = (value << 4) | static_cast<std::uint64_t>(digit);
    }
    if (digits[layout.digits] != ' ') return false;
    values[static_cast<std::size_t>(field)] = value;
  }
  header = {values[0], values[1], values[2]};
  return true;
}

ContainerFile::ContainerFile(InterfacePtr<IFile> file, const BlockLayout& layout)
    : file_(std::move(file)), layout_(layout), free_head_(layout.none) {}

void ContainerFile::create(std::uint32_t default_capacity) {
  free_head_ = layout_.none;
  default_capacity_ = default_capacity;
  change_counter_ = 0;
  header_read_ = true;
  writeHeaderBytes(0, free_head_, layout_.free_head_width);
  writeHeaderBytes(layout_.free_head_width, default_capacity_, 4);
  writeHeaderBytes(layout_.change_counter_at, change_counter_, 8);
}

bool ContainerFile::readHeader() {
  length_known_ = false;
  std::array<unsigned char, 20> bytes{};
  // Another process may hold the file for a moment: sharing and lock
  // failures are retried every 20 ms for at most 20 s from the first try.
  const auto deadline = std::chrono::steady_clock::now() + kRetryLimit;
  for (;;) {
    try {
      readAt(0, bytes.data(), layout_.file_header_size);
      break;
    } catch (const FileException& failure) {
      const bool transient = failure.reason() == FileException::Error::Sharing ||
                             failure.reason() == FileException::Error::Lock;
      if (!transient || std::chrono::steady_clock::now() + kRetryPause > deadline) throw;
      rivet::pause(kRetryPause, "retrying to read a container header");
    }
  }
  const auto little_endian = [&bytes](std::uint32_t offset, std::uint32_t width) {
    std::uint64_t value = 0;
    for (std::uint32_t i = width; i-- > 0;) value = (value << 8) | bytes[offset + i];
    return value;
  };
  const std::uint64_t counter = little_endian(layout_.change_counter_at, 8);
  const bool changed = !header_read_ || counter > change_counter_;
  if (changed) {
    free_head_ = little_endian(0, layout_.free_head_width);
    default_capacity_ = static_cast<std::uint32_t>(little_endian(layout_.free_head_width, 4));
    change_counter_ = counter;
    header_read_ = true;
  }
  return changed;
}

void ContainerFile::setFreeHead(std::uint64_t position) {
  free_head_ = position;
  writeHeaderBytes(0, position, layout_.free_head_width);
}

void ContainerFile::bumpChangeCounter() {
  ++change_counter_;
  writeHeaderBytes(layout_.change_counter_at, change_counter_, 8);
}

void ContainerFile::writeHeaderBytes(std::uint32_t offset, std::uint64_t value,
                                     std::uint32_t width) {
  std::array<unsigned char, 8> bytes{};
  for (std::uint32_t i = 0; i < width; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
  writeAt(offset, bytes.data(), width);
}

bool ContainerFile::refresh(ChainInFile& directory) {
  if (!readHeader()) return false;
  directory.setMinCapacity(directoryCapacity());
  directory.open(fileLength() > layout_.file_header_size ? layout_.file_header_size : layout_.none);
  return true;
}

std::uint64_t ContainerFile::directoryCapacity() const {
  if (fileLength() <= layout_.file_header_size && free_head_ == layout_.none) {
    return layout_.default_capacity;
  }
  return default_capacity_;
}

// The length is asked of the file once per header read and then kept up to
// date by writeAt: nobody else changes the file while the caller holds the
// container's lock.
std::uint64_t ContainerFile::fileLength() const {
  if (!length_known_) {
    known_length_ = file_->length();
    length_known_ = true;
  }
  return known_length_;
}

void ContainerFile::readAt(std::uint64_t position, void* buffer, std::size_t count) const {
  file_->seek(position);
  if (file_->position() != position) throw ChainInFileExc(ChainInFileExc::kInputOutput, position);
  auto* bytes = static_cast<unsigned char*>(buffer);
  std::size_t done = 0;
  while (done < count) {
    const std::size_t got = file_->read(bytes + done, count - done);
    if (got == 0) throw ChainInFileExc(ChainInFileExc::kInputOutput, position + done);
    done += got;
  }
}

void ContainerFile::writeAt(std::uint64_t position, const void* data, std::size_t count) const {
  file_->seek(position);
  if (file_->position() != position) throw ChainInFileExc(ChainInFileExc::kInputOutput, position);
  file_->write(data, count);
  if (length_known_) known_length_ = std::max(known_length_, position + count);
}

BlockHeader ContainerFile::readBlockHeader(std::uint64_t position) const {
  std::array<char, kMaxHeaderSize> text{};
  readAt(position, text.data(), layout_.header_size);
  BlockHeader header{};
  if (position > layout_.max_file_end - layout_.header_size ||
      !decode_block_header(layout_, text.data(), header) ||
      header.capacity > layout_.max_file_end - layout_.header_size - position) {
    throw ChainInFileExc(ChainInFileExc::kBadHeader, position);
  }
  return header;
}

void ContainerFile::writeBlockHeader(std::uint64_t position, const BlockHeader& header) const {
  std::array<char, kMaxHeaderSize> text{};
  encode_block_header(layout_, header, text.data());
  writeAt(position, text.data(), layout_.header_size);
}

void ContainerFile::updateBlockField(std::uint64_t position, Field field,
                                     std::uint64_t value) const {
  BlockHeader header = readBlockHeader(position);
  switch (field) {
    case Field::kLength:
      header.length = value;
      break;
    case Field::kCapacity:
      header.capacity = value;
      break;
    case Field::kNext:
      header.next = value;
      break;
  }
  writeBlockHeader(position, header);
}

void ContainerFile::checkFileEnd(std::uint64_t position, std::uint64_t count) const {
  if (position > layout_.max_file_end || count > layout_.max_file_end - position) {
    throw StorageException(StorageException::Error::Overflow, URL(file_->url()));
  }
}

ChainInFile::ChainInFile(ContainerFile& container, std::uint64_t min_capacity)
    : container_(container), min_capacity_(std::max<std::uint64_t>(min_capacity, 1)) {}

void ChainInFile::setMinCapacity(std::uint64_t min_capacity) noexcept {
  min_capacity_ = std::max<std::uint64_t>(min_capacity, 1);
}

void ChainInFile::open(std::uint64_t first) {
  blocks_.clear();
  ends_.clear();
  length_ = 0;
  offset_ = 0;
  index_ = 0;
  in_block_ = 0;
  const BlockLayout& layout = container_.layout();
  const std::uint64_t file_length = container_.fileLength();
  std::set<std::uint64_t> seen;
  std::uint64_t total = 0;
  for (std::uint64_t position = first; position != layout.none;) {
    if (!seen.insert(position).second) throw ChainInFileExc(ChainInFileExc::kCycle, position);
    const BlockHeader header = container_.readBlockHeader(position);
    if (blocks_.empty()) length_ = header.length;
    blocks_.push_back({position, header.capacity});
    total += header.capacity;
    ends_.push_back(total);
    if (position + layout.header_size + header.capacity > file_length) break;
    position = header.next;
  }
  locate();
}

std::uint64_t ChainInFile::first() const noexcept {
  return blocks_.empty() ? container_.layout().none : blocks_.front().position;
}

std::uint64_t ChainInFile::dataStart(std::size_t index) const noexcept {
  return blocks_[index].position + container_.layout().header_size;
}

// Finds the block and the offset within it of offset_.
void ChainInFile::locate() {
  const auto it = std::upper_bound(ends_.begin(), ends_.end(), offset_);
  index_ = static_cast<std::size_t>(it - ends_.begin());
  const std::uint64_t start = index_ == 0 ? 0 : ends_[index_ - 1];
  in_block_ = index_ < blocks_.size() ? offset_ - start : 0;
}

void ChainInFile::seek(std::uint64_t offset) {
  offset_ = offset;
  locate();
}

std::size_t ChainInFile::read(void* buffer, std::size_t count) {
  if (offset_ >= length_) return 0;
  const std::uint64_t wanted = std::min<std::uint64_t>(count, length_ - offset_);
  auto* bytes = static_cast<unsigned char*>(buffer);
  std::uint64_t done = 0;
  while (done < wanted) {
    if (index_ >= blocks_.size()) {
      // The length claims more bytes than the blocks hold.
      throw ChainInFileExc(ChainInFileExc::kInputOutput,
                           blocks_.empty() ? container_.fileLength() : blocks_.back().position);
    }
    const std::uint64_t room = blocks_[index_].capacity - in_block_;
    if (room == 0) {
      ++index_;
      in_block_ = 0;
      continue;
    }
    const std::uint64_t piece = std::min(room, wanted - done);
    container_.readAt(dataStart(index_) + in_block_, bytes + done, static_cast<std::size_t>(piece));
    done += piece;
    in_block_ += piece;
    offset_ += piece;
  }
  return static_cast<std::size_t>(done);
}

void ChainInFile::write(const void* data, std::size_t count) {
  if (offset_ > length_) {
    const std::uint64_t target = offset_;
    seek(length_);
    const std::vector<unsigned char> zeros(
        static_cast<std::size_t>(std::min<std::uint64_t>(target - length_, kMovePiece)));
    while (offset_ < target) {
      writeBytes(zeros.data(), std::min<std::uint64_t>(target - offset_, zeros.size()));
    }
  }
  writeBytes(static_cast<const unsigned char*>(data), count);
}

// Stage 1 fills the room the chain has; appendBlock adds a block (stages 2
// and 3) when it runs out. The first block's length field is written last,
// so a stream cut short by a crash still reads its old length.
void ChainInFile::writeBytes(const unsigned char* data, std::uint64_t count) {
  std::uint64_t done = 0;
  while (done < count) {
    if (index_ >= blocks_.size()) {
      if (appendDirect(data + done, count - done)) break;
      appendBlock(count - done);
      continue;
    }
    const std::uint64_t room = blocks_[index_].capacity - in_block_;
    if (room == 0) {
      ++index_;
      in_block_ = 0;
      continue;
    }
    const std::uint64_t piece = std::min(room, count - done);
    container_.writeAt(dataStart(index_) + in_block_, data + done, static_cast<std::size_t>(piece));
    done += piece;
    in_block_ += piece;
    offset_ += piece;
  }
  if (offset_ > length_) storeLength(offset_);
}

void ChainInFile::storeLength(std::uint64_t length) {
  length_ = length;
  if (!blocks_.empty()) {
    container_.updateBlockField(blocks_.front().position, ContainerFile::Field::kLength, length);
  }
}

// Stage 3 without a separate step for each field, where the bytes come out
// the same: when the chain's last block ends at the end of the file, the
// data is appended first and the capacity field rewritten after, so the
// file covers the block before the block claims the bytes; a small new
// block goes out as header, data and the rest of its area in one write,
// with the first block's length already final, and is linked after. A
// crash in between leaves bytes on no chain. False when the free chain has
// blocks (stage 2) or a large new block is wanted (appendBlock).
bool ChainInFile::appendDirect(const unsigned char* data, std::uint64_t count) {
  const BlockLayout& layout = container_.layout();
  if (container_.freeHead() != layout.none) return false;
  const std::uint64_t end = container_.fileLength();
  const bool first = blocks_.empty();
  if (!first && dataStart(blocks_.size() - 1) + blocks_.back().capacity == end) {
    container_.checkFileEnd(end, count);
    container_.writeAt(end, data, static_cast<std::size_t>(count));
    Block& last = blocks_.back();
    container_.updateBlockField(last.position, ContainerFile::Field::kCapacity,
                                last.capacity + count);
    last.capacity += count;
    ends_.back() += count;
  } else {
    const std::uint64_t capacity = std::max(count, min_capacity_);
    if (capacity > kMovePiece * 4) return false;
    container_.checkFileEnd(end, layout.header_size + capacity);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(layout.header_size + capacity), 0);
    encode_block_header(layout,
                        {first ? std::max(length_, offset_ + count) : 0, capacity, layout.none},
                        reinterpret_cast<char*>(bytes.data()));
    std::copy(data, data + count, bytes.begin() + layout.header_size);
    container_.writeAt(end, bytes.data(), bytes.size());
    linkBlock(end);
    blocks_.push_back({end, capacity});
    ends_.push_back((ends_.empty() ? 0 : ends_.back()) + capacity);
    if (first) length_ = std::max(length_, offset_ + count);
  }
  offset_ += count;
  if (offset_ > length_) storeLength(offset_);
  locate();
  return true;
}

void ChainInFile::appendBlock(std::uint64_t wanted) {
  if (container_.freeHead() != container_.layout().none) {
    takeFreeBlock();
  } else {
    appendAtEnd(wanted);
  }
  locate();
}

// Stage 2. The free head moves on before the block is relinked, so a crash
// between the steps leaves a block on no chain rather than on two.
void ChainInFile::takeFreeBlock() {
  const BlockLayout& layout = container_.layout();
  const std::uint64_t position = container_.freeHead();
  const BlockHeader header = container_.readBlockHeader(position);
  // A block still in use means the free chain loops back into a stream.
  if (header.length != layout.none) throw ChainInFileExc(ChainInFileExc::kBadHeader, position);
  container_.setFreeHead(header.next);
  container_.writeBlockHeader(position,
                              {blocks_.empty() ? length_ : 0, header.capacity, layout.none});
  linkBlock(position);
  blocks_.push_back({position, header.capacity});
  ends_.push_back((ends_.empty() ? 0 : ends_.back()) + header.capacity);
}

// Stage 3. The data area of a new block is reserved up to its full capacity
// so that the next block appended by any chain starts after it.
void ChainInFile::appendAtEnd(std::uint64_t wanted) {
  const BlockLayout& layout = container_.layout();
  const std::uint64_t end = container_.fileLength();
  if (!blocks_.empty() && dataStart(blocks_.size() - 1) + blocks_.back().capacity == end) {
    // The data goes in by the caller's loop. The file is extended over the
    // new room before the capacity says so, so that no other block can be
    // appended inside it whatever happens next.
    container_.checkFileEnd(end, wanted);
    const unsigned char zero = 0;
    container_.writeAt(end + wanted - 1, &zero, 1);
    Block& last = blocks_.back();
    container_.updateBlockField(last.position, ContainerFile::Field::kCapacity,
                                last.capacity + wanted);
    last.capacity += wanted;
    ends_.back() += wanted;
    return;
  }
  const std::uint64_t capacity = std::max(wanted, min_capacity_);
  container_.checkFileEnd(end, layout.header_size + capacity);
  const unsigned char zero = 0;
  container_.writeAt(end + layout.header_size + capacity - 1, &zero, 1);
  container_.writeBlockHeader(end, {blocks_.empty() ? length_ : 0, capacity, layout.none});
  linkBlock(end);
  blocks_.push_back({end, capacity});
  ends_.push_back((ends_.empty() ? 0 : ends_.back()) + capacity);
}

void ChainInFile::linkBlock(std::uint64_t position) {
  if (!blocks_.empty()) {
    container_.updateBlockField(blocks_.back().position, ContainerFile::Field::kNext, position);
  }
}

// The new length goes into the first block before blocks leave the chain;
// each released block is marked free before the header's free head points
// at it. A crash anywhere leaves, at worst, blocks on no chain.
void ChainInFile::setLength(std::uint64_t length) {
  if (length == length_ && !blocks_.empty()) return;
  if (length > length_) {
    const std::uint64_t saved = offset_;
    seek(length);
    write(nullptr, 0);
    seek(saved);
    return;
  }
  const BlockLayout& layout = container_.layout();
  std::size_t keep = 0;
  if (length > 0) {
    keep = static_cast<std::size_t>(std::lower_bound(ends_.begin(), ends_.end(), length) -
                                    ends_.begin()) +
           1;
  }
  length_ = length;
  if (keep > 0) {
    container_.updateBlockField(blocks_.front().position, ContainerFile::Field::kLength, length);
    if (keep < blocks_.size()) {
      container_.updateBlockField(blocks_[keep - 1].position, ContainerFile::Field::kNext,
                                  layout.none);
    }
  }
  while (blocks_.size() > keep) {
    const Block released = blocks_.back();
    container_.writeBlockHeader(released.position,
                                {layout.none, released.capacity, container_.freeHead()});
    container_.setFreeHead(released.position);
    blocks_.pop_back();
    ends_.pop_back();
  }
  locate();
}

void ChainInFile::insertRecord(std::uint64_t offset, const unsigned char (&record)[24]) {
  const std::uint64_t old_length = length_;
  offset = std::min(offset, old_length);
  setLength(old_length + kRecordSize);
  std::vector<unsigned char> piece(
      static_cast<std::size_t>(std::min(kMovePiece, old_length - offset)));
  for (std::uint64_t end = old_length; end > offset;) {
    const std::uint64_t size = std::min<std::uint64_t>(piece.size(), end - offset);
    seek(end - size);
    read(piece.data(), static_cast<std::size_t>(size));
    seek(end - size + kRecordSize);
    write(piece.data(), static_cast<std::size_t>(size));
    end -= size;
  }
  seek(offset);
  write(record, kRecordSize);
}

}  // namespace core
