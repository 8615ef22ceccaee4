// Containers: many named byte streams, in nested storages, kept inside one
// file of blocks chained by text headers, with a free chain of blocks that
// streams gave up.
//
//   auto storage = core::Storage::create(core::URL(u"/tmp/box.q9"),
//                                        core::StorageVariant::Storage64);
//   storage->createStorage(u"docs");
//   auto out = storage->openStream(u"docs/readme", core::FileMode::Create);
//   out->write("hello", 5);
//   // Every open container also has an instance URL through which the
//   // scheme registry opens its streams like any file:
//   core::URL inside(storage->url().text() + u"docs/readme");
//   auto in = core::SchemeRegistry::instance().openURL(inside, core::FileMode::Read);
//
// Paths name entries below the root, their names separated by "/" or "\";
// names are compared ignoring case. A stream opened for writing sees its
// writes at once; other holders of the same container, in this process or
// another, see them after the call that made them returns.
//
// Failures: a malformed container throws StorageException (code 0,
// "IDS_STERROR_BADFORMAT") naming the container's file and the offset of the
// fault; a missing entry StorageException (code 1, "IDS_STERROR_FILENOTFOUND");
// an existing target of createStorage, rename or FileMode::CreateNew
// StorageException (code 2, "IDS_STERROR_ISDESTINATION"); a 32-bit container
// that would pass 2 GiB StorageException (code 3, "IDS_STERROR_OVERFLOW").
// Failures of the file itself are FileException; an empty path or name, or a
// name of more than kMaxNameLength units, FileException (code 1,
// "IDS_FERROR_BADPATH"); writing through a container or stream opened for
// reading FileException (code 0, "IDS_FERROR_ACCESS").
//
// Thread safety: a Storage and its streams may be used from any threads; each
// call holds the container's mutex and, for containers in files of the
// operating system, an advisory lock on the file (shared to read, exclusive to
// write) that other processes honour. A lock held elsewhere is tried again
// every 20 ms for at most 20 s, then FileException (code 9, "IDS_FERROR_LOCK").
// One stream object is used by one thread at a time, like any IFile.
#ifndef CORE_STORAGE_H_
#define CORE_STORAGE_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "core/export.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/iunknown.h"
#include "core/scheme.h"
#include "core/string.h"
#include "core/url.h"

namespace core {

// The container variants, each with its scheme name: "q9stg" (32-bit
// blocks), "q9stg32-64" and "q9stg64" (64-bit blocks; the two share one
// implementation and differ only in the scheme of their instance URLs).
enum class StorageVariant : int32_t { Storage32 = 0, Storage32_64 = 1, Storage64 = 2 };

// The scheme name of a variant.
CORE_EXPORT std::u16string_view storage_scheme_name(StorageVariant variant) noexcept;

// One entry of a storage, as list() reports it.
struct StorageEntryInfo {
  String name;
  bool is_storage = false;
  std::uint64_t size = 0;  // bytes of a stream; 0 for a storage
  Date created;
  Date modified;  // the last time a stream was opened for writing
};

// What check() found. Each problem is one line naming the file offset.
struct StorageCheckReport {
  std::vector<std::string> problems;
  std::uint64_t entries = 0;
  std::uint64_t blocks = 0;        // blocks on the directory and entry chains
  std::uint64_t free_blocks = 0;   // blocks on the free chain
  std::uint64_t free_bytes = 0;    // data bytes of the free blocks
  std::uint64_t leaked_bytes = 0;  // bytes of the file on no chain
};

class StorageState;

class CORE_EXPORT Storage final : public IUnknown {
 public:
  static constexpr std::size_t kMaxNameLength = 32000;

  // Creates the container file (emptied when present) and opens it.
  static InterfacePtr<Storage> create(const URL& file, StorageVariant variant);
  // Opens an existing container file, for reading only unless `writable`.
  static InterfacePtr<Storage> open(const URL& file, StorageVariant variant, bool writable);
  // A container over an open file (acquired); with `create` the file is
  // first made an empty container. Such a container takes no file lock.
  static InterfacePtr<Storage> open(IFile* file, StorageVariant variant, bool create);

  StorageVariant variant() const noexcept;
  // The instance URL, "scheme://c:/N/" with N counted per scheme from 1.
  const URL& url() const noexcept;
  // The URL of the container's file.
  String fileUrl() const;

  // The stream at `path`, as `mode` says (see FileMode): Read and Write need
  // an existing stream, Create empties an existing one, CreateNew refuses
  // one. The storages above it must exist.
  InterfacePtr<IFile> openStream(std::u16string_view path, FileMode mode);
  // Creates the storage at `path` and every missing storage above it.
  void createStorage(std::u16string_view path);
  // Removes a stream, or a storage with everything in it; their blocks go to
  // the free chain.
  void remove(std::u16string_view path);
  // Moves an entry to another name and storage of the same container.
  void rename(std::u16string_view from, std::u16string_view to);
  // The entries of the storage at `path` (empty: the root), in the order
  // they were created.
  std::vector<StorageEntryInfo> list(std::u16string_view path);
  bool exists(std::u16string_view path);

  // Walks every chain and the free chain; reports blocks on two chains,
  // cycles, bad headers and bytes on no chain with their offsets. Throws
  // only for failures of the file itself.
  StorageCheckReport check();
  // The file header, the directory's records and every chain, as text.
  std::string dump();
  // Writes a copy of the container without free blocks or leaked bytes to
  // the file `target` (created or emptied).
  void compactTo(const URL& target);

  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override;
  int32_t release() override;

  // End of public API.
  explicit Storage(StorageState* state);
  StorageState& state() const noexcept { return *state_; }

 private:
  ~Storage() override;

  StorageState* state_;
  std::atomic<int32_t> count_{0};
};

// Holds a container's lock across many calls, as a transaction holds a
// database: exclusive with `write`, else shared. The calls inside cost no
// lock and no reread of the file header; other holders of the file wait
// until the batch ends (and see its changes then). Batches nest.
//
//   {
//     core::StorageBatch batch(*storage, true);
//     for (...) storage->openStream(name, core::FileMode::Create)->write(...);
//   }
//
// Throws FileException (code 0, "IDS_FERROR_ACCESS") for a write batch on a
// container opened for reading; a change inside a shared batch throws
// FileException (code 9, "IDS_FERROR_LOCK"), as does a lock held elsewhere
// for 20 s.
class CORE_EXPORT StorageBatch {
 public:
  StorageBatch(Storage& storage, bool write);
  ~StorageBatch();
  StorageBatch(const StorageBatch&) = delete;
  StorageBatch& operator=(const StorageBatch&) = delete;

 private:
  Storage& storage_;
};

}  // namespace core

#endif  // CORE_STORAGE_H_
