// Implements core/io.h: in-memory files, string readers and writers, UTF-8 over a file.
#include <algorithm>
#include <cstring>

#include "core/io.h"

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

// ---------------------------------------------------------------------------
// UTF-8 over a file.

namespace {
constexpr std::size_t kUtf8BufferSize = 16384;
constexpr char32_t kReplacement = 0xFFFD;
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
  if (code < 0x80) {
    buffer_.push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    buffer_.push_back(static_cast<char>(0xC0 | (code >> 6)));
    buffer_.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    buffer_.push_back(static_cast<char>(0xE0 | (code >> 12)));
    buffer_.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    buffer_.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    buffer_.push_back(static_cast<char>(0xF0 | (code >> 18)));
    buffer_.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    buffer_.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    buffer_.push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

void Utf8FileWriter::write(const char16_t* text, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const char16_t unit = text[i];
    if (high_ != 0) {
      if (unit >= 0xDC00 && unit <= 0xDFFF) {
        put(0x10000 + ((static_cast<char32_t>(high_) - 0xD800) << 10) + (unit - 0xDC00));
        high_ = 0;
        continue;
      }
      put(kReplacement);
      high_ = 0;
    }
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      high_ = unit;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      put(kReplacement);
    } else {
      put(unit);
    }
    if (buffer_.size() >= kUtf8BufferSize) {
      file_->write(buffer_.data(), buffer_.size());
      buffer_.clear();
    }
  }
}

void Utf8FileWriter::flush() {
  if (high_ != 0) {
    put(kReplacement);
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
    const unsigned char* p = bytes_.data() + begin_;
    const std::size_t available = end_ - begin_;
    const unsigned char lead = p[0];
    if (lead < 0x80) {
      buffer[n++] = lead;
      ++begin_;
      continue;
    }
    std::size_t length = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, code = lead & 0x07, minimum = 0x10000;
    }
    std::size_t used = 1;
    bool good = length != 0;
    // The second byte's range depends on the lead, so that overlong forms,
    // surrogates and values above U+10FFFF fail at their first impossible
    // byte and each byte of them reads as one U+FFFD.
    unsigned char secondLow = 0x80;
    unsigned char secondHigh = 0xBF;
    if (lead == 0xE0) secondLow = 0xA0;
    if (lead == 0xED) secondHigh = 0x9F;
    if (lead == 0xF0) secondLow = 0x90;
    if (lead == 0xF4) secondHigh = 0x8F;
    while (good && used < length) {
      const bool inRange = used >= available ? false
                           : used == 1       ? p[1] >= secondLow && p[1] <= secondHigh
                                             : (p[used] & 0xC0) == 0x80;
      if (!inRange) {
        good = false;
        break;
      }
      code = (code << 6) | (p[used] & 0x3F);
      ++used;
    }
    if (good && (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))) {
      good = false;
    }
    begin_ += used;
    if (!good) {
      buffer[n++] = static_cast<char16_t>(kReplacement);
    } else if (code < 0x10000) {
      buffer[n++] = static_cast<char16_t>(code);
    } else {
      code -= 0x10000;
      buffer[n++] = static_cast<char16_t>(0xD800 + (code >> 10));
      const auto low = static_cast<char16_t>(0xDC00 + (code & 0x3FF));
      if (n < count) {
        buffer[n++] = low;
      } else {
        low_ = low;
      }
    }
  }
  return n;
}

}  // namespace core
