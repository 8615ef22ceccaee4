#include "core/storage.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "core/exception_classes.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/scheme.h"
#include "core/url.h"
#include "io/chain_in_file.h"
#include "test_util.h"

namespace core {
namespace {

constexpr StorageVariant kVariants[] = {StorageVariant::Storage32, StorageVariant::Storage32_64,
                                        StorageVariant::Storage64};

std::string read_all(IFile& file) {
  std::string bytes;
  char piece[4096];
  file.seek(0);
  for (std::size_t got; (got = file.read(piece, sizeof piece)) > 0;) bytes.append(piece, got);
  return bytes;
}

void write_stream(Storage& storage, std::u16string_view path, const std::string& bytes,
                  FileMode mode = FileMode::Create) {
  InterfacePtr<IFile> out = storage.openStream(path, mode);
  out->write(bytes.data(), bytes.size());
}

std::string read_stream(Storage& storage, std::u16string_view path) {
  InterfacePtr<IFile> in = storage.openStream(path, FileMode::Read);
  return read_all(*in);
}

std::string join(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// An IFile over a MemoryFile that counts the bytes written.
class CountingFile final : public UnknownImpl<IFile> {
 public:
  std::size_t read(void* buffer, std::size_t count) override { return inner_->read(buffer, count); }
  void write(const void* data, std::size_t count) override {
    written_ += count;
    inner_->write(data, count);
  }
  void seek(std::uint64_t position) override { inner_->seek(position); }
  std::uint64_t position() override { return inner_->position(); }
  std::uint64_t length() override { return inner_->length(); }
  void flush() override {}
  String url() override { return inner_->url(); }
  std::uint64_t written() const { return written_; }
  const std::string& bytes() const { return inner_->bytes(); }

 private:
  InterfacePtr<MemoryFile> inner_{new MemoryFile};
  std::uint64_t written_ = 0;
};

TEST(Storage, EntriesRoundTripAndSurviveReopening) {
  for (const StorageVariant variant : kVariants) {
    SCOPED_TRACE(static_cast<int>(variant));
    InterfacePtr<MemoryFile> file(new MemoryFile);
    {
      InterfacePtr<Storage> storage = Storage::open(file.get(), variant, true);
      storage->createStorage(u"docs/old");
      write_stream(*storage, u"docs/readme", "hello");
      write_stream(*storage, u"docs/old/big", std::string(100000, 'x'));
      write_stream(*storage, u"Ёлка", "");
      write_stream(*storage, u"DOCS\\README", " world", FileMode::Append);
      InterfacePtr<IFile> patch = storage->openStream(u"docs/old/big", FileMode::Write);
      patch->seek(99998);
      patch->write("yz!", 3);
    }
    InterfacePtr<Storage> storage = Storage::open(new MemoryFile(file->bytes()), variant, false);
    EXPECT_EQ(read_stream(*storage, u"docs/readme"), "hello world");
    EXPECT_EQ(read_stream(*storage, u"/docs//old/BIG"), std::string(99998, 'x') + "yz!");
    EXPECT_EQ(read_stream(*storage, u"ёЛКА"), "");
    const std::vector<StorageEntryInfo> root = storage->list(u"");
    ASSERT_EQ(root.size(), 2u);
    EXPECT_EQ(root[0].name, String(u"docs"));
    EXPECT_TRUE(root[0].is_storage);
    EXPECT_EQ(root[1].name, String(u"Ёлка"));
    EXPECT_EQ(root[1].size, 0u);
    const std::vector<StorageEntryInfo> docs = storage->list(u"docs");
    ASSERT_EQ(docs.size(), 2u);
    EXPECT_EQ(docs[1].name, String(u"readme"));
    EXPECT_EQ(docs[1].size, 11u);
    EXPECT_FALSE(docs[1].created.isEmpty());
    EXPECT_LE(docs[1].created, docs[1].modified);
    EXPECT_TRUE(storage->exists(u"docs/old/big"));
    EXPECT_FALSE(storage->exists(u"docs/readme/x"));
    EXPECT_EQ(join(storage->check().problems), "");
  }
}

TEST(Storage, RenameRemoveAndTheirRefusals) {
  for (const StorageVariant variant : kVariants) {
    SCOPED_TRACE(static_cast<int>(variant));
    InterfacePtr<Storage> storage = Storage::open(new MemoryFile, variant, true);
    storage->createStorage(u"a/b");
    write_stream(*storage, u"a/b/s", "data");
    write_stream(*storage, u"t", "top");
    storage->rename(u"a/b", u"c");
    EXPECT_EQ(read_stream(*storage, u"c/s"), "data");
    EXPECT_FALSE(storage->exists(u"a/b"));
    storage->rename(u"c/s", u"a/moved-with-a-much-longer-name");
    EXPECT_EQ(read_stream(*storage, u"a/moved-with-a-much-longer-name"), "data");

    EXPECT_THROW_IDS(storage->rename(u"t", u"a"), StorageException, "IDS_STERROR_ISDESTINATION");
    EXPECT_THROW_IDS(storage->rename(u"a", u"a/inner"), StorageException,
                     "IDS_STERROR_ISDESTINATION");
    EXPECT_THROW_IDS(storage->rename(u"nothing", u"x"), StorageException,
                     "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(storage->openStream(u"t", FileMode::CreateNew), StorageException,
                     "IDS_STERROR_ISDESTINATION");
    EXPECT_THROW_IDS(storage->openStream(u"missing", FileMode::Read), StorageException,
                     "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(storage->openStream(u"t/under", FileMode::Create), StorageException,
                     "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(storage->openStream(u"a", FileMode::Read), StorageException,
                     "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(storage->createStorage(u"t"), StorageException, "IDS_STERROR_ISDESTINATION");
    EXPECT_THROW_IDS(storage->openStream(u"//", FileMode::Create), FileException,
                     "IDS_FERROR_BADPATH");
    EXPECT_THROW_IDS(
        storage->openStream(std::u16string(Storage::kMaxNameLength + 1, u'n'), FileMode::Create),
        FileException, "IDS_FERROR_BADPATH");
    InterfacePtr<IFile> reader = storage->openStream(u"t", FileMode::Read);
    EXPECT_THROW_IDS(reader->write("x", 1), FileException, "IDS_FERROR_ACCESS");

    InterfacePtr<IFile> open_stream = storage->openStream(u"t", FileMode::Read);
    storage->remove(u"a");
    storage->remove(u"t");
    EXPECT_TRUE(storage->list(u"").size() == 1);  // "c"
    EXPECT_THROW_IDS(open_stream->length(), StorageException, "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(storage->remove(u"t"), StorageException, "IDS_STERROR_FILENOTFOUND");
    const StorageCheckReport report = storage->check();
    EXPECT_TRUE(report.problems.empty()) << report.problems.front();
    EXPECT_GT(report.free_blocks, 0u);
  }
}

// Freed blocks are taken before the file grows: deleting half the streams
// and writing as many again keeps the file within 10% of its size.
TEST(Storage, DeletedStreamsGiveTheirBlocksToNewOnes) {
  for (const StorageVariant variant : kVariants) {
    SCOPED_TRACE(static_cast<int>(variant));
    InterfacePtr<MemoryFile> file(new MemoryFile);
    InterfacePtr<Storage> storage = Storage::open(file.get(), variant, true);
    const std::string data(1024, 'd');
    const auto name = [](int i) { return String::fromUtf8("s" + std::to_string(i)); };
    for (int i = 0; i < 400; ++i) write_stream(*storage, name(i), data);
    const std::size_t full = file->bytes().size();
    for (int i = 0; i < 400; i += 2) storage->remove(name(i));
    for (int i = 0; i < 400; i += 2) write_stream(*storage, name(i), data);
    EXPECT_LE(file->bytes().size(), full + full / 10);
    for (int i = 0; i < 400; ++i) ASSERT_EQ(read_stream(*storage, name(i)), data);
    EXPECT_EQ(join(storage->check().problems), "");
  }
}

// Regression guard for a directory that moves its records: the bytes written
// per created entry must not grow with the number of entries.
TEST(Storage, CreatingEntriesWritesAConstantAmountEach) {
  InterfacePtr<CountingFile> file(new CountingFile);
  InterfacePtr<Storage> storage = Storage::open(file.get(), StorageVariant::Storage64, true);
  const auto create = [&](int from, int to) {
    const std::uint64_t before = file->written();
    for (int i = from; i < to; ++i) {
      storage->openStream(String::fromUtf8("entry" + std::to_string(i)), FileMode::Create);
    }
    return (file->written() - before) / static_cast<std::uint64_t>(to - from);
  };
  const std::uint64_t early = create(0, 1000);
  const std::uint64_t late = create(1000, 5000);
  EXPECT_LE(late, early + 8);
  EXPECT_LT(late, 400u);
}

TEST(Storage, InstanceUrlsOpenStreamsThroughTheRegistry) {
  for (const StorageVariant variant : kVariants) {
    SCOPED_TRACE(static_cast<int>(variant));
    InterfacePtr<Storage> first = Storage::open(new MemoryFile, variant, true);
    InterfacePtr<Storage> second = Storage::open(new MemoryFile, variant, true);
    const String prefix = String(storage_scheme_name(variant)) + u"://c:/";
    const std::u16string_view text = first->url().text();
    ASSERT_EQ(text.substr(0, prefix.size()), std::u16string_view(prefix));
    const std::uint64_t n1 = std::stoull(String(text.substr(prefix.size())).toUtf8());
    const std::uint64_t n2 = std::stoull(
        String(std::u16string_view(second->url().text()).substr(prefix.size())).toUtf8());
    EXPECT_EQ(n2, n1 + 1);
    SchemeRegistry& registry = SchemeRegistry::instance();
    const URL dir(first->url().text() + u"dir");
    registry.schemeOf(dir)->IScheme_createDirectory(dir);
    {
      InterfacePtr<IFile> out =
          registry.openURL(URL(first->url().text() + u"dir/s"), FileMode::Create);
      out->write("via url", 7);
      EXPECT_EQ(out->url(), first->url().text() + u"dir/s");
    }
    EXPECT_EQ(read_stream(*first, u"dir/s"), "via url");
    EXPECT_FALSE(second->exists(u"dir/s"));
    registry.move(URL(first->url().text() + u"dir/s"), URL(first->url().text() + u"t"));
    EXPECT_EQ(read_stream(*first, u"t"), "via url");
    registry.remove(URL(first->url().text() + u"t"));
    EXPECT_FALSE(first->exists(u"t"));
    const URL gone(first->url().text() + u"t");
    first.reset();
    EXPECT_THROW_IDS(registry.openURL(gone, FileMode::Read), FileException,
                     "IDS_FERROR_FILENOTFOUND");
  }
}

// Records that contradict each other fail as a bad format when the
// directory loads.
TEST(Storage, MalformedDirectoriesAreRefused) {
  const BlockLayout& layout = kLayout64;
  InterfacePtr<MemoryFile> file(new MemoryFile);
  {
    InterfacePtr<Storage> storage = Storage::open(file.get(), StorageVariant::Storage64, true);
    storage->createStorage(u"a");
    write_stream(*storage, u"a/s", "x");
    write_stream(*storage, u"b", "y");
  }
  const std::string good = file->bytes();
  const std::size_t records = layout.file_header_size + layout.header_size;
  struct Case {
    const char* name;
    std::size_t slot;
    std::size_t field;
    std::uint64_t value;
  };
  const Case cases[] = {
      {"parent out of range", 1, 2, 1000}, {"parent is a stream", 1, 2, 3},
      {"parent is itself", 0, 2, 1},       {"record past the end", 2, 1, 1u << 30},
      {"record in the header", 2, 1, 3},   {"data chain garbage", 2, 0, 7},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    std::string bytes = good;
    for (int i = 0; i < 8; ++i) {
      bytes[records + c.slot * 24 + c.field * 8 + static_cast<std::size_t>(i)] =
          static_cast<char>(c.value >> (8 * i));
    }
    try {
      InterfacePtr<Storage> storage =
          Storage::open(new MemoryFile(bytes), StorageVariant::Storage64, false);
      // A data chain is read only when the stream is.
      read_stream(*storage, u"b");
      ADD_FAILURE() << "opened";
    } catch (const StorageException& e) {
      EXPECT_TRUE(
          testing::IsExceptionWithText(e, StorageException::kClsid, "IDS_STERROR_BADFORMAT"));
    }
  }
  std::string twice = good;
  // The stream "b" renamed to "a" by hand: two entries of one name.
  const std::size_t b_record = twice.rfind(std::string("b\0", 2));
  ASSERT_NE(b_record, std::string::npos);
  twice[b_record] = 'a';
  EXPECT_THROW_IDS(Storage::open(new MemoryFile(twice), StorageVariant::Storage64, false),
                   StorageException, "IDS_STERROR_BADFORMAT");
}

// Found by the container fuzzer: a directory claiming a length of exabytes
// made the loader allocate it.
TEST(Storage, HugeDirectoryLengthIsRefusedWithoutAllocating) {
  for (const StorageVariant variant : {StorageVariant::Storage32, StorageVariant::Storage64}) {
    const BlockLayout& layout = variant == StorageVariant::Storage32 ? kLayout32 : kLayout64;
    InterfacePtr<MemoryFile> file(new MemoryFile);
    {
      InterfacePtr<Storage> storage = Storage::open(file.get(), variant, true);
      write_stream(*storage, u"s", "x");
    }
    std::string bytes = file->bytes();
    bytes.replace(layout.file_header_size + 2, layout.digits, layout.digits, '7');
    bytes[layout.file_header_size + 2 + layout.digits - 1] = '0';
    EXPECT_THROW_IDS(Storage::open(new MemoryFile(bytes), variant, false), StorageException,
                     "IDS_STERROR_BADFORMAT");
  }
}

TEST(Storage, CheckReportsLeakedAndSharedBlocks) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  InterfacePtr<Storage> storage = Storage::open(file.get(), StorageVariant::Storage64, true);
  write_stream(*storage, u"a", "aaaa");
  write_stream(*storage, u"b", "bbbb");
  EXPECT_EQ(join(storage->check().problems), "");
  {
    // A chain nobody records, as a writer killed before its directory write
    // leaves it.
    ContainerFile container(InterfacePtr<IFile>(file.get()), kLayout64);
    container.readHeader();
    ChainInFile orphan(container, 16);
    orphan.write("lost", 4);
  }
  StorageCheckReport report = storage->check();
  ASSERT_EQ(report.problems.size(), 1u);
  EXPECT_NE(report.problems[0].find("on no chain"), std::string::npos) << report.problems[0];
  EXPECT_EQ(report.leaked_bytes, kLayout64.header_size + 16);

  // Point the free head at the block of "a": a block on two chains.
  std::string bytes = file->bytes();
  const std::size_t a_data = bytes.find("aaaa") - kLayout64.header_size;
  for (int i = 0; i < 8; ++i)
    bytes[static_cast<std::size_t>(i)] = static_cast<char>(a_data >> (8 * i));
  InterfacePtr<Storage> shared =
      Storage::open(new MemoryFile(bytes), StorageVariant::Storage64, false);
  report = shared->check();
  bool found = false;
  for (const std::string& problem : report.problems) {
    found = found || problem.find("on two chains") != std::string::npos;
  }
  EXPECT_TRUE(found);
}

using StorageFileTest = testing::TempDirTest;

// Two holders of one file see each other's changes through the change
// counter; a holder opened for reading cannot write.
TEST_F(StorageFileTest, TwoHoldersSeeEachOthersChanges) {
  for (const StorageVariant variant : kVariants) {
    SCOPED_TRACE(static_cast<int>(variant));
    const URL where = url("shared.q9");
    InterfacePtr<Storage> writer = Storage::create(where, variant);
    InterfacePtr<Storage> reader = Storage::open(where, variant, false);
    write_stream(*writer, u"one", "1");
    EXPECT_EQ(read_stream(*reader, u"one"), "1");
    InterfacePtr<IFile> open_in_reader = reader->openStream(u"one", FileMode::Read);
    write_stream(*writer, u"one", "rewritten", FileMode::Create);
    writer->createStorage(u"dir");
    EXPECT_EQ(read_all(*open_in_reader), "rewritten");
    EXPECT_EQ(reader->list(u"").size(), 2u);
    writer->remove(u"one");
    EXPECT_THROW_IDS(open_in_reader->length(), StorageException, "IDS_STERROR_FILENOTFOUND");
    EXPECT_THROW_IDS(reader->createStorage(u"x"), FileException, "IDS_FERROR_ACCESS");
    EXPECT_THROW_IDS(StorageBatch(*reader, true), FileException, "IDS_FERROR_ACCESS");
    {
      const StorageBatch batch(*writer, true);
      write_stream(*writer, u"batched", "b");
      const StorageBatch inner(*writer, false);
      EXPECT_EQ(read_stream(*writer, u"batched"), "b");
    }
    EXPECT_EQ(read_stream(*reader, u"batched"), "b");
    const StorageBatch shared(*writer, false);
    EXPECT_THROW_IDS(writer->remove(u"batched"), FileException, "IDS_FERROR_LOCK");
  }
}

TEST_F(StorageFileTest, CompactDropsFreeBlocksAndKeepsTheContent) {
  const URL where = url("big.q9");
  const URL compacted = url("small.q9");
  InterfacePtr<Storage> storage = Storage::create(where, StorageVariant::Storage32);
  storage->createStorage(u"d");
  for (int i = 0; i < 50; ++i) {
    write_stream(*storage, String::fromUtf8("d/s" + std::to_string(i)),
                 std::string(3000, 'a' + i % 26));
  }
  for (int i = 0; i < 50; i += 3) storage->remove(String::fromUtf8("d/s" + std::to_string(i)));
  storage->compactTo(compacted);
  InterfacePtr<Storage> copy = Storage::open(compacted, StorageVariant::Storage32, false);
  const StorageCheckReport report = copy->check();
  EXPECT_TRUE(report.problems.empty());
  EXPECT_EQ(report.free_blocks, 0u);
  EXPECT_EQ(copy->list(u"d").size(), storage->list(u"d").size());
  for (const StorageEntryInfo& entry : storage->list(u"d")) {
    const String path = u"d/" + entry.name;
    EXPECT_EQ(read_stream(*copy, path), read_stream(*storage, path));
  }
  EXPECT_LT(copy->check().blocks, storage->check().blocks + storage->check().free_blocks);
}

// Threads writing their own streams of one container are serialised by it.
TEST(Storage, ThreadsShareOneContainer) {
  InterfacePtr<Storage> storage = Storage::open(new MemoryFile, StorageVariant::Storage64, true);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&storage, t] {
      const String name = String::fromUtf8("thread" + std::to_string(t));
      InterfacePtr<IFile> out = storage->openStream(name, FileMode::Create);
      for (int i = 0; i < 200; ++i) {
        const std::string piece(37, static_cast<char>('a' + t));
        out->write(piece.data(), piece.size());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) {
    EXPECT_EQ(read_stream(*storage, String::fromUtf8("thread" + std::to_string(t))),
              std::string(37 * 200, static_cast<char>('a' + t)));
  }
  EXPECT_EQ(join(storage->check().problems), "");
}

}  // namespace
}  // namespace core
