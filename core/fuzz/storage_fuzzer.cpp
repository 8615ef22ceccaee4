// Opens random and mutated container files of both variants, reads every
// stream the directory names, then truncates and writes: only the block
// layer's failures may come out, and the file may grow only by the write.
//
// Input: byte 0 picks the variant (bit 0) and whether the rest is the whole
// file (bit 1) or a list of (offset, byte) triples that mutate a built-in
// sample with a directory, three streams and a free block.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/exception.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "io/chain_in_file.h"

namespace {

constexpr std::uint64_t kMinCapacity = 16;

void put64(std::string& bytes, std::uint64_t value) {
  for (int i = 0; i < 8; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
}

// A sample whose directory records hold the first block of each stream.
std::string sample(const core::BlockLayout& layout) {
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  core::ContainerFile container(core::InterfacePtr<core::IFile>(file.get()), layout);
  container.create(kMinCapacity);
  core::ChainInFile directory(container, kMinCapacity);
  std::string records;
  for (int i = 0; i < 4; ++i) {
    core::ChainInFile stream(container, kMinCapacity);
    const std::string data(static_cast<std::size_t>(10 + 15 * i), static_cast<char>('a' + i));
    stream.write(data.data(), data.size());
    if (i == 3) {
      stream.setLength(0);
      continue;
    }
    put64(records, stream.first());
    put64(records, stream.length());
    put64(records, 0);
  }
  directory.write(records.data(), records.size());
  return file->bytes();
}

std::uint64_t get64(const unsigned char* bytes) {
  std::uint64_t value = 0;
  for (int i = 8; i-- > 0;) value = (value << 8) | bytes[i];
  return value;
}

void exercise(const core::BlockLayout& layout, const std::string& bytes) {
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile(bytes));
  core::ContainerFile container(core::InterfacePtr<core::IFile>(file.get()), layout);
  const std::uint64_t size = bytes.size();
  try {
    container.readHeader();
    core::ChainInFile directory(container, kMinCapacity);
    directory.open(size > layout.file_header_size ? layout.file_header_size : layout.none);
    unsigned char record[24];
    for (int i = 0; i < 32 && directory.read(record, sizeof record) == sizeof record; ++i) {
      core::ChainInFile stream(container, kMinCapacity);
      stream.open(get64(record));
      char piece[512];
      while (stream.read(piece, sizeof piece) > 0) {
      }
      stream.setLength(stream.length() / 2);
    }
    core::ChainInFile fresh(container, kMinCapacity);
    const std::string data(100, 'w');
    fresh.write(data.data(), data.size());
    fresh.seek(0);
    std::string back(100, '\0');
    if (fresh.read(back.data(), back.size()) != back.size() || back != data) std::abort();
  } catch (const core::ChainInFileExc&) {
  } catch (const core::Exception&) {
  }
  if (file->bytes().size() > size + 2 * (layout.header_size + 100) + 1) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const core::BlockLayout& layout = (data[0] & 1) != 0 ? core::kLayout64 : core::kLayout32;
  if ((data[0] & 2) != 0) {
    exercise(layout, std::string(reinterpret_cast<const char*>(data + 1), size - 1));
    return 0;
  }
  static const std::string samples[2] = {sample(core::kLayout32), sample(core::kLayout64)};
  std::string bytes = samples[(data[0] & 1) != 0 ? 1 : 0];
  for (std::size_t i = 1; i + 3 <= size; i += 3) {
    const std::size_t at = (static_cast<std::size_t>(data[i]) << 8 | data[i + 1]) % bytes.size();
    bytes[at] = static_cast<char>(data[i + 2]);
  }
  exercise(layout, bytes);
  return 0;
}
