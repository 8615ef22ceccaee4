// Opens random and mutated containers of every variant through the storage
// layer: lists every storage, reads every stream, checks the chains, then
// writes, renames and removes. Only the library's exceptions may come out.
//
// Input: byte 0 picks the variant (0-2, modulo 3) and whether the rest is
// the whole file (bit 2) or a list of (offset, byte) triples that mutate a
// built-in sample with nested storages, streams and free blocks.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/exception.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/storage.h"

namespace {

std::string sample(core::StorageVariant variant) {
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile);
  core::InterfacePtr<core::Storage> storage = core::Storage::open(file.get(), variant, true);
  storage->createStorage(u"d/e");
  for (int i = 0; i < 6; ++i) {
    const core::String name =
        core::String::fromUtf8((i % 2 != 0 ? "d/s" : "d/e/t") + std::to_string(i));
    const std::string data(static_cast<std::size_t>(30 + 200 * i), static_cast<char>('a' + i));
    storage->openStream(name, core::FileMode::Create)->write(data.data(), data.size());
  }
  storage->remove(u"d/s3");
  storage->rename(u"d/s1", u"top");
  return file->bytes();
}

void walk(core::Storage& storage, const core::String& path, int depth) {
  if (depth > 8) return;
  for (const core::StorageEntryInfo& entry : storage.list(path)) {
    const core::String inner = path.empty() ? entry.name : path + u"/" + entry.name;
    if (entry.is_storage) {
      walk(storage, inner, depth + 1);
      continue;
    }
    core::InterfacePtr<core::IFile> in = storage.openStream(inner, core::FileMode::Read);
    char piece[4096];
    while (in->read(piece, sizeof piece) > 0) {
    }
  }
}

void exercise(core::StorageVariant variant, const std::string& bytes) {
  core::InterfacePtr<core::MemoryFile> file(new core::MemoryFile(bytes));
  try {
    core::InterfacePtr<core::Storage> storage = core::Storage::open(file.get(), variant, false);
    walk(*storage, core::String(), 0);
    storage->check();
    storage->dump();
    storage->openStream(u"fresh", core::FileMode::Create)->write("fuzz", 4);
    if (storage->exists(u"top")) storage->rename(u"top", u"moved");
    if (storage->exists(u"d")) storage->remove(u"d");
  } catch (const core::Exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto variant = static_cast<core::StorageVariant>(data[0] % 3);
  if ((data[0] & 4) != 0) {
    exercise(variant, std::string(reinterpret_cast<const char*>(data + 1), size - 1));
    return 0;
  }
  static const std::string samples[3] = {sample(core::StorageVariant::Storage32),
                                         sample(core::StorageVariant::Storage32_64),
                                         sample(core::StorageVariant::Storage64)};
  std::string bytes = samples[data[0] % 3];
  for (std::size_t i = 1; i + 3 <= size; i += 3) {
    const std::size_t at = (static_cast<std::size_t>(data[i]) << 8 | data[i + 1]) % bytes.size();
    bytes[at] = static_cast<char>(data[i + 2]);
  }
  exercise(variant, bytes);
  return 0;
}
