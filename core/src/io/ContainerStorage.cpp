// Implements core/storage.h: the storage layer over the block layer, shared
// by every container variant, its streams, and the schemes that open them by
// instance URL.
#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/exception_classes.h"
#include "core/nocase.h"
#include "core/storage.h"
#include "internal/thread_annotations.h"
#include "io/chain_in_file.h"
#include "io/storage_directory.h"
#include "io/storage_variant.h"
#include "platform/file_system.h"
#include "rivet/suspend_monitor.h"

namespace core {
namespace {

constexpr std::chrono::milliseconds kLockPause(20);
constexpr std::chrono::seconds kLockLimit(20);
constexpr std::uint64_t kMinDataCapacity = 256;
constexpr std::uint64_t kMaxDataCapacity = 16u << 20;
constexpr std::size_t kCopyPiece = 1u << 20;
constexpr std::uint64_t kRoot = StorageDirectory::kRootSlot;
constexpr std::uint64_t kMissing = StorageDirectory::kMissing;

[[noreturn]] void throw_bad_path(std::u16string_view path) {
  throw FileException(FileException::Error::BadPath, String(path));
}

// The names of a path; empty segments are skipped.
std::vector<std::u16string_view> split_path(std::u16string_view path) {
  std::vector<std::u16string_view> names;
  std::size_t pos = 0;
  while (pos <= path.size()) {
    std::size_t end = pos;
    while (end < path.size() && !SchemeBase::isPathSeparator(path[end])) ++end;
    if (end > pos) {
      if (end - pos > Storage::kMaxNameLength) throw_bad_path(path);
      names.push_back(path.substr(pos, end - pos));
    }
    pos = end + 1;
  }
  return names;
}

bool is_storage(const DirectoryEntry& entry) {
  return (entry.info.attributes & EntryRecord::kIsStorage) != 0;
}

std::uint64_t now_ticks() { return Date::getCurrentDate().ticks(); }

// Blocks for the data streams grow with the stream, so that streams written
// in turns get few blocks.
std::uint64_t data_capacity(const ChainInFile& chain) {
  std::uint64_t total = 0;
  for (const ChainInFile::Block& block : chain.blocks()) total += block.capacity;
  return std::clamp(total, kMinDataCapacity, kMaxDataCapacity);
}

// The open containers by scheme and instance number. Lookups and the last
// release share the mutex, so a lookup never revives a dying container.
struct Instances {
  std::mutex mutex;
  std::map<std::pair<int, std::uint32_t>, Storage*> open;
};

Instances& instances() {
  static Instances* const table = new Instances;
  return *table;
}

}  // namespace

class StorageState {
 public:
  StorageState(InterfacePtr<IFile> file, const StorageVariantTraits& traits, bool writable)
      : file_(std::move(file)),
        traits_(traits),
        writable_(writable),
        container_(file_, traits.layout),
        directory_(container_) {}
  ~StorageState() {
    if (lock_.fd >= 0) platform::close_file(lock_);
  }
  StorageState(const StorageState&) = delete;
  StorageState& operator=(const StorageState&) = delete;

  // One call on the container: the mutex, the file lock, the directory
  // brought up to date and, for a change, the change counter moved on
  // before anything else is written, so that other holders reload even
  // when the writer dies halfway.
  class Operation {
   public:
    Operation(StorageState& state, bool write) : state_(state), lock_(state.mutex_) {
      if (write && !state.writable_) {
        throw FileException(FileException::Error::Access, state.file_->url());
      }
      if (state.batch_depth_ > 0) {
        // The batch holds the lock and brought the directory up to date.
        if (write && !state.batch_write_) {
          throw FileException(FileException::Error::Lock, state.file_->url());
        }
        return;
      }
      state.begin(write);
      locked_ = true;
    }
    ~Operation() {
      if (locked_) state_.unlockFile();
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

   private:
    StorageState& state_;
    detail::MutexLock lock_;
    bool locked_ = false;
  };

  // Takes the file lock and brings the directory up to date; for a change,
  // moves the change counter on first.
  void begin(bool write) {
    lockFile(write);
    try {
      if (directory_.refresh()) ++generation_;
      if (write) container_.bumpChangeCounter();
    } catch (const ChainInFileExc& failure) {
      unlockFile();
      throw_storage_exception(failure, *file_);
    } catch (...) {
      unlockFile();
      throw;
    }
  }

  // Runs `body` turning block-layer failures into StorageException.
  template <class Body>
  auto guarded(Body body) -> decltype(body()) {
    try {
      return body();
    } catch (const ChainInFileExc& failure) {
      throw_storage_exception(failure, *file_);
    }
  }

  void lockFile(bool write) {
    if (lock_.fd < 0) return;
    const auto deadline = std::chrono::steady_clock::now() + kLockLimit;
    const auto kind = write ? platform::LockKind::kExclusive : platform::LockKind::kShared;
    for (;;) {
      const platform::FsError error = platform::lock_file(lock_, kind);
      if (error == platform::FsError::kNone) return;
      if (error != platform::FsError::kBusy ||
          std::chrono::steady_clock::now() + kLockPause > deadline) {
        throw FileException(FileException::Error::Lock, file_->url());
      }
      rivet::pause(kLockPause, "waiting for the lock of a container file");
    }
  }
  void unlockFile() noexcept {
    if (lock_.fd >= 0) platform::unlock_file(lock_);
  }

  // The slot of the entry at `names` (kRoot for none), or kMissing. Storages
  // on the way must exist; otherwise StorageException (code 1).
  std::uint64_t resolve(std::u16string_view path, const std::vector<std::u16string_view>& names,
                        std::size_t count) const {
    std::uint64_t slot = kRoot;
    for (std::size_t i = 0; i < count; ++i) {
      if (slot != kRoot && !is_storage(directory_.entry(slot))) notFound(path);
      slot = directory_.find(slot, names[i]);
      if (slot == kMissing) return kMissing;
    }
    return slot;
  }
  // The storage holding the last name of `path`.
  std::uint64_t parentOf(std::u16string_view path,
                         const std::vector<std::u16string_view>& names) const {
    const std::uint64_t parent = resolve(path, names, names.size() - 1);
    if (parent == kMissing || (parent != kRoot && !is_storage(directory_.entry(parent)))) {
      notFound(path);
    }
    return parent;
  }
  [[noreturn]] void notFound(std::u16string_view path) const {
    throw StorageException(StorageException::Error::FileNotFound, URL(file_->url()), String(path));
  }

  EntryRecord newRecord(std::u16string_view name, std::uint32_t attributes) const {
    const std::uint64_t now = now_ticks();
    return EntryRecord{now, now, attributes, String(name)};
  }

  void eraseTree(std::uint64_t slot) {
    if (is_storage(directory_.entry(slot))) {
      for (const std::uint64_t child : directory_.children(slot)) eraseTree(child);
    }
    directory_.erase(slot);
  }

  // Every member below is used only by an Operation, which holds the mutex.
  detail::Mutex mutex_;
  InterfacePtr<IFile> file_;
  const StorageVariantTraits& traits_;
  bool writable_;
  platform::FileHandle lock_;
  ContainerFile container_;
  StorageDirectory directory_;
  std::uint64_t generation_ = 0;
  int batch_depth_ = 0;
  bool batch_write_ = false;
  std::uint32_t number_ = 0;
  URL url_;
};

namespace {

// A stream of a container, opened by Storage::openStream.
class StorageStream final : public UnknownImpl<IFile> {
 public:
  StorageStream(InterfacePtr<Storage> storage, std::uint64_t slot, bool writable, String url)
      : storage_(std::move(storage)),
        state_(storage_->state()),
        chain_(state_.container_, kMinDataCapacity),
        slot_(slot),
        record_(state_.directory_.entry(slot).record),
        writable_(writable),
        url_(std::move(url)) {}

  std::size_t read(void* buffer, std::size_t count) override {
    StorageState::Operation operation(state_, false);
    return state_.guarded([&] {
      sync();
      chain_.seek(position_);
      const std::size_t done = chain_.read(buffer, count);
      position_ += done;
      return done;
    });
  }

  void write(const void* data, std::size_t count) override {
    if (!writable_) throw FileException(FileException::Error::Access, url_);
    StorageState::Operation operation(state_, true);
    state_.guarded([&] {
      sync();
      chain_.setMinCapacity(data_capacity(chain_));
      chain_.seek(position_);
      chain_.write(data, count);
      position_ += count;
      DirectoryEntry& entry = state_.directory_.entry(slot_);
      // The stream's first block joins the directory only once it holds the
      // data; a crash before leaves the block on no chain.
      if (entry.data != chain_.first()) state_.directory_.setData(slot_, chain_.first());
      version_ = ++entry.version;
    });
  }

  // Empties the stream: the directory forgets its blocks before they go to
  // the free chain.
  void truncate() {
    state_.guarded([&] {
      sync();
      if (chain_.first() != state_.container_.layout().none) {
        state_.directory_.setData(slot_, state_.container_.layout().none);
        chain_.setLength(0);
      }
      version_ = ++state_.directory_.entry(slot_).version;
    });
  }

  void seekToEnd() {
    state_.guarded([&] {
      sync();
      position_ = chain_.length();
    });
  }

  void seek(std::uint64_t position) override { position_ = position; }
  std::uint64_t position() override { return position_; }
  std::uint64_t length() override {
    StorageState::Operation operation(state_, false);
    return state_.guarded([&] {
      sync();
      return chain_.length();
    });
  }
  void flush() override { state_.file_->flush(); }
  String url() override { return url_; }

  // Reopens the chain when the directory was reloaded or another stream of
  // this process wrote the entry.
  void sync() {
    const DirectoryEntry& entry = state_.directory_.entry(slot_);
    if (!entry.live || entry.record != record_) state_.notFound(url_);
    if (generation_ == state_.generation_ && version_ == entry.version && opened_) return;
    chain_.open(entry.data);
    generation_ = state_.generation_;
    version_ = entry.version;
    opened_ = true;
  }

 private:
  InterfacePtr<Storage> storage_;
  StorageState& state_;
  ChainInFile chain_;
  std::uint64_t slot_;
  std::uint64_t record_;
  bool writable_;
  String url_;
  std::uint64_t position_ = 0;
  std::uint64_t generation_ = 0;
  std::uint64_t version_ = 0;
  bool opened_ = false;
};

}  // namespace

Storage::Storage(StorageState* state) : state_(state) {}

Storage::~Storage() { delete state_; }

bool Storage::queryInterface(const GUID& iid, void** out) {
  if (iid != IUnknown::kIid) {
    *out = nullptr;
    return false;
  }
  acquire();
  *out = static_cast<IUnknown*>(this);
  return true;
}

int32_t Storage::acquire() { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }

int32_t Storage::release() {
  Instances& table = instances();
  std::unique_lock lock(table.mutex);
  const int32_t count = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (count == 0) {
    table.open.erase({static_cast<int>(state_->traits_.variant), state_->number_});
    lock.unlock();
    delete this;
  }
  return count;
}

namespace {

InterfacePtr<Storage> start(InterfacePtr<IFile> file, StorageVariant variant, bool writable,
                            bool create, const String& lock_path) {
  const StorageVariantTraits& traits = storage_traits(variant);
  auto* state = new StorageState(std::move(file), traits, writable);
  InterfacePtr<Storage> storage(new Storage(state));
  if (!lock_path.empty()) {
    const platform::FsError error =
        platform::open_file(lock_path, platform::OpenMode::kRead, state->lock_);
    if (error != platform::FsError::kNone) {
      throw FileException(FileException::Error::Lock, lock_path);
    }
  }
  if (create) {
    const detail::MutexLock lock(state->mutex_);
    state->lockFile(true);
    try {
      state->guarded([&] { state->container_.create(traits.layout.default_capacity); });
    } catch (...) {
      state->unlockFile();
      throw;
    }
    state->unlockFile();
  }
  {
    // Reading the directory checks the container.
    const StorageState::Operation operation(*state, false);
  }
  Instances& table = instances();
  const std::lock_guard lock(table.mutex);
  state->number_ = traits.counter.fetch_add(1, std::memory_order_relaxed) + 1;
  state->url_ = URL(String(traits.scheme) + u"://c:/" +
                    String::fromUtf8(std::to_string(state->number_)) + u"/");
  table.open[{static_cast<int>(variant), state->number_}] = storage.get();
  return storage;
}

// The path of a file of the operating system, where the lock is taken.
String local_path(const URL& url) {
  const std::u16string_view scheme = url.partView(URL::kScheme, 1);
  if (compare_nocase(scheme, u"file") != 0 && compare_nocase(scheme, u"sfile") != 0) {
    return String();
  }
  return url.part(URL::kDirectory, 5);
}

}  // namespace

InterfacePtr<Storage> Storage::create(const URL& file, StorageVariant variant) {
  InterfacePtr<IFile> opened = SchemeRegistry::instance().openURL(file, FileMode::Create);
  return start(std::move(opened), variant, true, true, local_path(file));
}

InterfacePtr<Storage> Storage::open(const URL& file, StorageVariant variant, bool writable) {
  InterfacePtr<IFile> opened =
      SchemeRegistry::instance().openURL(file, writable ? FileMode::Write : FileMode::Read);
  return start(std::move(opened), variant, writable, false, local_path(file));
}

InterfacePtr<Storage> Storage::open(IFile* file, StorageVariant variant, bool create) {
  return start(InterfacePtr<IFile>(file), variant, true, create, String());
}

StorageVariant Storage::variant() const noexcept { return state_->traits_.variant; }
const URL& Storage::url() const noexcept { return state_->url_; }
String Storage::fileUrl() const { return state_->file_->url(); }

InterfacePtr<IFile> Storage::openStream(std::u16string_view path, FileMode mode) {
  StorageState& state = *state_;
  const bool write = mode != FileMode::Read;
  const std::vector<std::u16string_view> names = split_path(path);
  if (names.empty()) throw_bad_path(path);
  StorageState::Operation operation(state, write);
  return state.guarded([&] {
    const std::uint64_t parent = state.parentOf(path, names);
    std::uint64_t slot = state.directory_.find(parent, names.back());
    if (slot != kMissing && is_storage(state.directory_.entry(slot))) state.notFound(path);
    if (slot == kMissing) {
      if (mode == FileMode::Read || mode == FileMode::Write) state.notFound(path);
      slot = state.directory_.add(parent, state.newRecord(names.back(), 0));
    } else if (mode == FileMode::CreateNew) {
      throw StorageException(StorageException::Error::IsDestination, URL(state.file_->url()),
                             String(path));
    } else if (write) {
      state.directory_.touch(slot, now_ticks());
    }
    String url = state.url_.text();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i > 0) url += u'/';
      url += names[i];
    }
    InterfacePtr<StorageStream> stream(
        new StorageStream(InterfacePtr<Storage>(this), slot, write, url));
    if (mode == FileMode::Create) stream->truncate();
    if (mode == FileMode::Append) stream->seekToEnd();
    return InterfacePtr<IFile>(stream.get());
  });
}

void Storage::createStorage(std::u16string_view path) {
  StorageState& state = *state_;
  const std::vector<std::u16string_view> names = split_path(path);
  if (names.empty()) throw_bad_path(path);
  StorageState::Operation operation(state, true);
  state.guarded([&] {
    std::uint64_t parent = kRoot;
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::uint64_t slot = state.directory_.find(parent, names[i]);
      if (slot == kMissing) {
        slot = state.directory_.add(parent, state.newRecord(names[i], EntryRecord::kIsStorage));
      } else if (!is_storage(state.directory_.entry(slot)) || i + 1 == names.size()) {
        throw StorageException(StorageException::Error::IsDestination, URL(state.file_->url()),
                               String(path));
      }
      parent = slot;
    }
  });
}

void Storage::remove(std::u16string_view path) {
  StorageState& state = *state_;
  const std::vector<std::u16string_view> names = split_path(path);
  if (names.empty()) throw_bad_path(path);
  StorageState::Operation operation(state, true);
  state.guarded([&] {
    const std::uint64_t slot = state.resolve(path, names, names.size());
    if (slot == kMissing) state.notFound(path);
    state.eraseTree(slot);
  });
}

void Storage::rename(std::u16string_view from, std::u16string_view to) {
  StorageState& state = *state_;
  const std::vector<std::u16string_view> source = split_path(from);
  const std::vector<std::u16string_view> target = split_path(to);
  if (source.empty()) throw_bad_path(from);
  if (target.empty()) throw_bad_path(to);
  StorageState::Operation operation(state, true);
  state.guarded([&] {
    const std::uint64_t slot = state.resolve(from, source, source.size());
    if (slot == kMissing) state.notFound(from);
    const std::uint64_t parent = state.parentOf(to, target);
    if (state.directory_.find(parent, target.back()) != kMissing) {
      throw StorageException(StorageException::Error::IsDestination, URL(state.file_->url()),
                             String(to));
    }
    // A storage may not move into itself.
    for (std::uint64_t at = parent; at != kRoot; at = state.directory_.entry(at).parent) {
      if (at == slot) {
        throw StorageException(StorageException::Error::IsDestination, URL(state.file_->url()),
                               String(to));
      }
    }
    EntryRecord info = state.directory_.entry(slot).info;
    info.name = String(target.back());
    state.directory_.move(slot, parent, info);
  });
}

std::vector<StorageEntryInfo> Storage::list(std::u16string_view path) {
  StorageState& state = *state_;
  const std::vector<std::u16string_view> names = split_path(path);
  StorageState::Operation operation(state, false);
  return state.guarded([&] {
    const std::uint64_t parent = state.resolve(path, names, names.size());
    if (parent == kMissing || (parent != kRoot && !is_storage(state.directory_.entry(parent)))) {
      state.notFound(path);
    }
    std::vector<StorageEntryInfo> result;
    for (const std::uint64_t slot : state.directory_.children(parent)) {
      const DirectoryEntry& entry = state.directory_.entry(slot);
      StorageEntryInfo info{entry.info.name, is_storage(entry), 0, Date(entry.info.created),
                            Date(entry.info.modified)};
      if (entry.data != state.container_.layout().none) {
        info.size = state.container_.readBlockHeader(entry.data).length;
      }
      result.push_back(std::move(info));
    }
    return result;
  });
}

bool Storage::exists(std::u16string_view path) {
  StorageState& state = *state_;
  const std::vector<std::u16string_view> names = split_path(path);
  StorageState::Operation operation(state, false);
  return state.guarded([&] {
    try {
      return state.resolve(path, names, names.size()) != kMissing;
    } catch (const StorageException&) {
      return false;
    }
  });
}

StorageBatch::StorageBatch(Storage& storage, bool write) : storage_(storage) {
  StorageState& state = storage.state();
  const detail::MutexLock lock(state.mutex_);
  if (state.batch_depth_ == 0) {
    if (write && !state.writable_) {
      throw FileException(FileException::Error::Access, state.file_->url());
    }
    state.begin(write);
    state.batch_write_ = write;
  } else if (write && !state.batch_write_) {
    throw FileException(FileException::Error::Lock, state.file_->url());
  }
  ++state.batch_depth_;
}

StorageBatch::~StorageBatch() {
  StorageState& state = storage_.state();
  const detail::MutexLock lock(state.mutex_);
  if (--state.batch_depth_ == 0) state.unlockFile();
}

// --- check, dump, compact ----------------------------------------------------

namespace {

std::string hex(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

// The blocks of every chain, with the chain each belongs to.
struct BlockMap {
  std::map<std::uint64_t, std::pair<std::uint64_t, std::string>>
      owner;  // position: capacity, chain
  std::vector<std::string>* problems;

  // Walks one chain as the block layer opens it, noting each block.
  std::uint64_t walk(ContainerFile& container, std::uint64_t first, const std::string& name,
                     bool free_chain) {
    std::uint64_t count = 0;
    std::set<std::uint64_t> seen;
    const BlockLayout& layout = container.layout();
    const std::uint64_t end = container.fileLength();
    for (std::uint64_t position = first; position != layout.none;) {
      if (!seen.insert(position).second) {
        problems->push_back(name + ": cycle back to the block at " + hex(position));
        break;
      }
      BlockHeader header{};
      try {
        header = container.readBlockHeader(position);
      } catch (const ChainInFileExc& failure) {
        problems->push_back(name + ": " + failure.what() + " at " + hex(position));
        break;
      }
      if (free_chain && header.length != layout.none) {
        problems->push_back(name + ": block at " + hex(position) + " is not marked free");
      }
      const auto [it, fresh] = owner.emplace(position, std::make_pair(header.capacity, name));
      if (!fresh) {
        problems->push_back("block at " + hex(position) +
                            " is on two chains: " + it->second.second + " and " + name);
      }
      ++count;
      if (position + layout.header_size + header.capacity > end) {
        problems->push_back(name + ": block at " + hex(position) + " ends past the file");
        break;
      }
      position = header.next;
    }
    return count;
  }
};

}  // namespace

StorageCheckReport Storage::check() {
  StorageState& state = *state_;
  StorageCheckReport report;
  StorageState::Operation operation(state, false);
  ContainerFile& container = state.container_;
  const BlockLayout& layout = container.layout();
  BlockMap map{{}, &report.problems};
  const std::uint64_t length = container.fileLength();
  if (length > layout.file_header_size) {
    report.blocks += map.walk(container, layout.file_header_size, "directory", false);
  }
  for (std::uint64_t slot = 0; slot < state.directory_.slotCount(); ++slot) {
    const DirectoryEntry& entry = state.directory_.entry(slot);
    if (!entry.live) continue;
    ++report.entries;
    const std::string name = "entry " + std::to_string(slot) + " \"" + entry.info.name.toUtf8();
    report.blocks += map.walk(container, entry.record, name + "\" record", false);
    report.blocks += map.walk(container, entry.data, name + "\" data", false);
  }
  report.free_blocks = map.walk(container, container.freeHead(), "free chain", true);
  for (const auto& [position, block] : map.owner) {
    if (block.second == "free chain") report.free_bytes += block.first;
  }
  // Bytes the blocks do not cover: blocks lie one after another from the
  // header on; a gap is space no chain can reach.
  std::uint64_t at = layout.file_header_size;
  for (const auto& [position, block] : map.owner) {
    if (position > at) {
      report.leaked_bytes += position - at;
      report.problems.push_back(std::to_string(position - at) + " bytes at " + hex(at) +
                                " are on no chain");
    }
    at = std::max(at, position + layout.header_size + block.first);
  }
  if (length > at) {
    report.leaked_bytes += length - at;
    report.problems.push_back(std::to_string(length - at) + " bytes at " + hex(at) +
                              " are on no chain");
  }
  return report;
}

std::string Storage::dump() {
  StorageState& state = *state_;
  StorageState::Operation operation(state, false);
  ContainerFile& container = state.container_;
  const BlockLayout& layout = container.layout();
  std::string out = "header: free head " + hex(container.freeHead()) + ", default capacity " +
                    std::to_string(container.defaultCapacity()) + ", change counter " +
                    std::to_string(container.changeCounter()) + ", file length " +
                    std::to_string(container.fileLength()) + "\n";
  const auto chain_text = [&](std::uint64_t first) {
    std::string text;
    std::set<std::uint64_t> seen;
    for (std::uint64_t position = first; position != layout.none && seen.insert(position).second;) {
      BlockHeader header{};
      try {
        header = container.readBlockHeader(position);
      } catch (const ChainInFileExc& failure) {
        return text + " " + failure.what() + " at " + hex(position);
      }
      text += " [" + hex(position) + " length " +
              (header.length == layout.none ? std::string("none") : std::to_string(header.length)) +
              " capacity " + std::to_string(header.capacity) + "]";
      if (position + layout.header_size + header.capacity > container.fileLength()) break;
      position = header.next;
    }
    return text.empty() ? std::string(" none") : text;
  };
  out += "directory:" +
         chain_text(container.fileLength() > layout.file_header_size ? layout.file_header_size
                                                                     : layout.none) +
         "\n";
  for (std::uint64_t slot = 0; slot < state.directory_.slotCount(); ++slot) {
    const DirectoryEntry& entry = state.directory_.entry(slot);
    if (!entry.live) continue;
    out += "slot " + std::to_string(slot) + " \"" + entry.info.name.toUtf8() + "\" " +
           (is_storage(entry) ? "storage" : "stream") + " parent " +
           (entry.parent == kRoot ? std::string("root") : std::to_string(entry.parent)) + "\n";
    out += "  record:" + chain_text(entry.record) + "\n";
    out += "  data:" + chain_text(entry.data) + "\n";
  }
  out += "free:" + chain_text(container.freeHead()) + "\n";
  return out;
}

void Storage::compactTo(const URL& target) {
  InterfacePtr<Storage> copy = create(target, variant());
  const auto copy_tree = [&](const auto& self, const String& path) -> void {
    for (const StorageEntryInfo& entry : list(path)) {
      const String inner = path.empty() ? entry.name : path + u"/" + entry.name;
      if (entry.is_storage) {
        copy->createStorage(inner);
        self(self, inner);
        continue;
      }
      InterfacePtr<IFile> in = openStream(inner, FileMode::Read);
      InterfacePtr<IFile> out = copy->openStream(inner, FileMode::CreateNew);
      std::vector<char> piece(
          static_cast<std::size_t>(std::min<std::uint64_t>(kCopyPiece, entry.size)));
      for (std::size_t got; !piece.empty() && (got = in->read(piece.data(), piece.size())) > 0;) {
        out->write(piece.data(), got);
      }
    }
  };
  copy_tree(copy_tree, String());
  copy->state().file_->flush();
}

// --- the schemes of instance URLs --------------------------------------------

namespace {

class StorageScheme final : public SchemeBase {
 public:
  explicit StorageScheme(StorageVariant variant)
      : SchemeBase(String(storage_scheme_name(variant))), variant_(variant) {}

  InterfacePtr<IFile> IScheme_openURL(const URL& url, FileMode mode) const override {
    String path;
    return find(url, path)->openStream(path, mode);
  }
  void IScheme_createDirectory(const URL& url) const override {
    String path;
    find(url, path)->createStorage(path);
  }
  void IScheme_remove(const URL& url, const String& name) const override {
    String path;
    InterfacePtr<Storage> storage = find(url, path);
    storage->remove(name.empty() ? path : path + u"/" + name);
  }
  void IScheme_move(const URL& from, const URL& to) const override {
    String source;
    String target;
    InterfacePtr<Storage> storage = find(from, source);
    if (find(to, target).get() != storage.get()) {
      throw FileException(FileException::Error::CopyMove, from.text(), false, from, to);
    }
    storage->rename(source, target);
  }

 private:
  // The open container of "scheme://c:/N/path" and the path inside it.
  // Throws FileException (code 7, "IDS_FERROR_FILENOTFOUND") when no such
  // container is open.
  InterfacePtr<Storage> find(const URL& url, String& path) const {
    const std::u16string_view text = url.partView(URL::kDirectory, 5);
    std::size_t pos = 0;
    while (pos < text.size() && isPathSeparator(text[pos])) ++pos;
    std::uint64_t number = 0;
    bool ok = text.size() >= pos + 3 && (text[pos] == u'c' || text[pos] == u'C') &&
              text[pos + 1] == u':' && isPathSeparator(text[pos + 2]);
    pos += 3;
    std::size_t digits = 0;
    for (; ok && pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9'; ++pos, ++digits) {
      number = number * 10 + static_cast<std::uint64_t>(text[pos] - u'0');
      if (digits >= 10) ok = false;
    }
    ok = ok && digits > 0 && number <= 0xFFFFFFFFu;
    if (ok) {
      path = String(text.substr(std::min(pos, text.size())));
      Instances& table = instances();
      const std::lock_guard lock(table.mutex);
      const auto it =
          table.open.find({static_cast<int>(variant_), static_cast<std::uint32_t>(number)});
      if (it != table.open.end()) {
        it->second->acquire();
        return InterfacePtr<Storage>::adopt(it->second);
      }
    }
    throw FileException(FileException::Error::FileNotFound, url.text(), false, url, URL());
  }

  StorageVariant variant_;
};

}  // namespace

namespace detail {

InterfacePtr<IScheme> make_storage_scheme(StorageVariant variant) {
  return InterfacePtr<IScheme>(new StorageScheme(variant));
}

}  // namespace detail

}  // namespace core
