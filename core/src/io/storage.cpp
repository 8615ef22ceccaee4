// Implements io/storage_entry.h: the entry record of 32-bit containers (the
// 64-bit ones keep the same record), and io/storage_variant.h for "q9stg".
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "core/exception_classes.h"
#include "core/url.h"
#include "io/storage_entry.h"
#include "io/storage_variant.h"

namespace core {
namespace {

constexpr std::uint64_t kFixedBytes = 20;  // two dates and the attribute word
constexpr std::uint64_t kTrailerBytes = 4;
constexpr std::uint64_t kMinRecord = 24;
constexpr std::uint64_t kMaxRecord = 65536;

void put_le(std::string& bytes, std::uint64_t value, int width) {
  for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
}

std::uint64_t get_le(const std::string& bytes, std::size_t at, int width) {
  std::uint64_t value = 0;
  for (int i = width; i-- > 0;) {
    value = (value << 8) | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
  }
  return value;
}

}  // namespace

const StorageVariantTraits& storage32_traits() noexcept {
  static std::atomic<std::uint32_t> counter{0};
  static const StorageVariantTraits traits{StorageVariant::Storage32, kLayout32, u"q9stg", counter};
  return traits;
}

void write_entry_record(ChainInFile& stream, const EntryRecord& record) {
  std::string bytes;
  put_le(bytes, record.created, 8);
  put_le(bytes, record.modified, 8);
  put_le(bytes, record.attributes, 4);
  for (const char16_t unit : std::u16string_view(record.name)) put_le(bytes, unit, 2);
  put_le(bytes, 0, 4);
  stream.seek(0);
  stream.write(bytes.data(), bytes.size());
  stream.setLength(kFixedBytes + 2 * record.name.size() + kTrailerBytes);
}

std::optional<EntryRecord> read_entry_record(ChainInFile& stream, IFile& container_file) {
  const std::uint64_t length = stream.length();
  if (length < kMinRecord) return std::nullopt;
  if (length >= kMaxRecord) {
    throw StorageException(
        StorageException::Error::BadFormat, URL(container_file.url()),
        String::fromUtf8("entry record of " + std::to_string(length) + " bytes"));
  }
  std::string bytes(static_cast<std::size_t>(length), '\0');
  stream.seek(0);
  if (stream.read(bytes.data(), bytes.size()) != bytes.size()) {
    throw ChainInFileExc(ChainInFileExc::kInputOutput, stream.first());
  }
  EntryRecord record;
  record.created = std::min(get_le(bytes, 0, 8), EntryRecord::kMaxDate);
  record.modified = std::min(get_le(bytes, 8, 8), EntryRecord::kMaxDate);
  record.attributes = static_cast<std::uint32_t>(get_le(bytes, 16, 4));
  const std::size_t units = static_cast<std::size_t>((length - kFixedBytes - kTrailerBytes) / 2);
  std::u16string name(units, u'\0');
  for (std::size_t i = 0; i < units; ++i) {
    name[i] = static_cast<char16_t>(get_le(bytes, kFixedBytes + 2 * i, 2));
  }
  record.name = String(std::u16string_view(name));
  return record;
}

}  // namespace core
