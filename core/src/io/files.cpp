// Implements core/io.h: in-memory files, string readers and writers, UTF-8 over a file.
#include <algorithm>
#include <cstring>

#include "core/io.h"
#include "internal/utf8.h"

namespace core {

MemoryFile::MemoryFile(std::string_view bytes) : bytes_(bytes) {}

std::size_t MemoryFile::read(void* buffer, std::size_t count) {
  if (position_ >= bytes_.size()) return 0;
  const std::size_t n = std::min<std::uint64_t>(count, bytes_.size() - position_);
  std::memcpy(buffer, bytes_.data() + position_, n);
  position_ += n;
  return n;
}

void MemoryFile::write(const void* data, std::size_t count) {
  if (count == 0) return;
  if (position_ > bytes_.size()) bytes_.resize(position_, '\0');
  const std::size_t at = static_cast<std::size_t>(position_);
  const std::size_t overlap = std::min(count, bytes_.size() - at);
  std::memcpy(bytes_.data() + at, data, overlap);
  bytes_.append(static_cast<const char*>(data) + overlap, count - overlap);
  position_ += count;
}

void MemoryFile::seek(std::uint64_t position) { position_ = position; }

String MemoryFile::url() { return String(u"memory:"); }

void StringWriter::write(const char16_t* text, std::size_t count) { text_.append(text, count); }

std::size_t StringReader::read(char16_t* buffer, std::size_t count) {
  const std::size_t n = std::min(count, text_.size() - position_);
  std::memcpy(buffer, text_.data() + position_, n * sizeof(char16_t));
  position_ += n;
  return n;
}

bool StringReader::unread(std::size_t count) {
  if (count > position_) return false;
  position_ -= count;
  return true;
}

// ---------------------------------------------------------------------------
// UTF-8 over a file.

namespace {
constexpr std::size_t kUtf8BufferSize = 16384;
}  // namespace

Utf8FileWriter::Utf8FileWriter(IFile* file) : file_(file) {
  file_->acquire();
  buffer_.reserve(kUtf8BufferSize);
}

Utf8FileWriter::~Utf8FileWriter() {
  try {
    flush();
  } catch (...) {  // NOLINT(bugprone-empty-catch): a destructor cannot report
  }
  file_->release();
}

void Utf8FileWriter::put(char32_t code) {
  char bytes[4];
  buffer_.append(bytes, detail::encode_utf8(code, bytes));
}

void Utf8FileWriter::write(const char16_t* text, std::size_t count) {
  std::size_t i = 0;
  if (high_ != 0 && count != 0) {
    if (detail::is_trail_surrogate(text[0])) {
      put(detail::combine_surrogates(high_, text[0]));
      i = 1;
    } else {
      put(detail::kReplacementCharacter);
    }
    high_ = 0;
  }
  while (i < count) {
    // A high surrogate that ends the call may pair with the next call's text.
    if (i + 1 == count && detail::is_lead_surrogate(text[i])) {
      high_ = text[i];
      break;
    }
    const detail::CodePointStep step = detail::decode_utf16_step(text + i, count - i);
    put(step.code);
    i += step.used;
    if (buffer_.size() >= kUtf8BufferSize) {
      file_->write(buffer_.data(), buffer_.size());
      buffer_.clear();
    }
  }
}

void Utf8FileWriter::flush() {
  if (high_ != 0) {
    put(detail::kReplacementCharacter);
    high_ = 0;
  }
  if (!buffer_.empty()) {
    file_->write(buffer_.data(), buffer_.size());
    buffer_.clear();
  }
  file_->flush();
}

Utf8FileReader::Utf8FileReader(IFile* file) : file_(file), bytes_(kUtf8BufferSize) {
  file_->acquire();
}

Utf8FileReader::~Utf8FileReader() { file_->release(); }

// Keeps at least four bytes available unless the file has ended, so that a
// whole sequence can be decoded from the buffer.
bool Utf8FileReader::fill() {
  if (end_ - begin_ >= 4 || eof_) return end_ > begin_;
  std::memmove(bytes_.data(), bytes_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  while (end_ < 4 && !eof_) {
    const std::size_t n = file_->read(bytes_.data() + end_, bytes_.size() - end_);
    if (n == 0) eof_ = true;
    end_ += n;
  }
  if (!started_) {
    started_ = true;
    if (end_ >= 3 && bytes_[0] == 0xEF && bytes_[1] == 0xBB && bytes_[2] == 0xBF) begin_ = 3;
  }
  return end_ > begin_;
}

std::size_t Utf8FileReader::read(char16_t* buffer, std::size_t count) {
  std::size_t n = 0;
  if (n < count && low_ != 0) {
    buffer[n++] = low_;
    low_ = 0;
  }
  while (n < count) {
    if (end_ - begin_ < 4 && !fill()) break;
    const detail::CodePointStep step =
        detail::decode_utf8_step(bytes_.data() + begin_, end_ - begin_);
    begin_ += step.used;
    if (step.code < 0x10000) {
      buffer[n++] = static_cast<char16_t>(step.code);
      continue;
    }
    buffer[n++] = static_cast<char16_t>(0xD7C0 + (step.code >> 10));
    const auto low = static_cast<char16_t>(0xDC00 | (step.code & 0x3FF));
    if (n < count) {
      buffer[n++] = low;
    } else {
      low_ = low;
    }
  }
  return n;
}

}  // namespace core
