// Tests of the block layer of container files (io/chain_in_file.h) in both
// variants, over memory files and real files.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
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

struct Variant {
  const char* name;
  const BlockLayout* layout;
};
const Variant kVariants[] = {{"32-bit", &kLayout32}, {"64-bit", &kLayout64}};

// A container in memory with its own file.
class MemoryContainer {
 public:
  explicit MemoryContainer(const BlockLayout& layout, const std::string& bytes = {})
      : file_(new MemoryFile(bytes)), container_(InterfacePtr<IFile>(file_.get()), layout) {}

  ContainerFile& operator*() { return container_; }
  ContainerFile* operator->() { return &container_; }
  const std::string& bytes() const { return file_->bytes(); }

 private:
  InterfacePtr<MemoryFile> file_;
  ContainerFile container_;
};

std::string read_all(ChainInFile& chain) {
  chain.seek(0);
  std::string bytes;
  char piece[4096];
  for (std::size_t got; (got = chain.read(piece, sizeof piece)) > 0;) bytes.append(piece, got);
  return bytes;
}

void write(ChainInFile& chain, const std::string& bytes) {
  chain.write(bytes.data(), bytes.size());
}

std::string pattern(std::size_t size, char seed) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(seed + i * 7 % 251);
  return bytes;
}

TEST(StorageChainTest, WritesTheBlockHeadersByteForByte) {
  struct Golden {
    const BlockLayout* layout;
    std::string header;
    std::string block;
  };
  const Golden goldens[] = {
      {&kLayout32, std::string("\xFF\xFF\xFF\x7F\x10\0\0\0\0\0\0\0\0\0\0\0", 16),
       "\r\n00000003 00000010 7fffffff \r\n"},
      {&kLayout64, std::string("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x10\0\0\0\0\0\0\0\0\0\0\0", 20),
       "\r\n0000000000000003 0000000000000010 FFFFFFFFFFFFFFFF \r\n"},
  };
  for (const Golden& golden : goldens) {
    MemoryContainer container(*golden.layout);
    container->create(16);
    ChainInFile directory(*container, 16);
    write(directory, "abc");
    EXPECT_EQ(container.bytes(), golden.header + golden.block + "abc" + std::string(13, '\0'));
    EXPECT_EQ(directory.first(), golden.layout->file_header_size);
  }
}

TEST(StorageChainTest, ReadsLowerAndUpperCaseDigits) {
  BlockHeader header{};
  ASSERT_TRUE(decode_block_header(
      kLayout64, "\r\n00000000000000ab 00000000000000CD ffffffffffffffff \r\n", header));
  EXPECT_EQ(header.length, 0xABu);
  EXPECT_EQ(header.capacity, 0xCDu);
  EXPECT_EQ(header.next, kLayout64.none);
  ASSERT_TRUE(decode_block_header(kLayout32, "\r\n0000000A 000000ff 7FFFFFFF \r\n", header));
  EXPECT_EQ(header.capacity, 0xFFu);
  EXPECT_EQ(header.next, kLayout32.none);
}

// Streams of several sizes written in pieces and interleaved, so that chains
// get several blocks, read back whole and from the middle.
TEST(StorageChainTest, RoundTripsInterleavedStreams) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    MemoryContainer container(*variant.layout);
    container->create(64);
    std::vector<ChainInFile> chains;
    std::vector<std::string> expected(5);
    for (int i = 0; i < 5; ++i) chains.emplace_back(*container, 64);
    for (int round = 0; round < 7; ++round) {
      for (std::size_t i = 0; i < chains.size(); ++i) {
        // Stream 0 stays empty.
        const std::string piece =
            pattern(i == 0 ? 0 : i * 37 + static_cast<std::size_t>(round) * 11, 'a');
        write(chains[i], piece);
        expected[i] += piece;
      }
    }
    for (std::size_t i = 0; i < chains.size(); ++i) {
      ChainInFile reopened(*container, 64);
      reopened.open(chains[i].first());
      EXPECT_EQ(reopened.length(), expected[i].size());
      EXPECT_EQ(read_all(reopened), expected[i]);
      if (expected[i].size() > 100) {
        std::string middle(50, '\0');
        reopened.seek(70);
        ASSERT_EQ(reopened.read(middle.data(), middle.size()), 50u);
        EXPECT_EQ(middle, expected[i].substr(70, 50));
      }
    }
    EXPECT_EQ(chains[0].first(), variant.layout->none);  // written with nothing
  }
}

TEST(StorageChainTest, EnlargesTheLastBlockAtTheEndOfTheFile) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    MemoryContainer container(*variant.layout);
    container->create(16);
    ChainInFile chain(*container, 16);
    write(chain, pattern(16, 'x'));
    write(chain, pattern(10, 'y'));
    ASSERT_EQ(chain.blocks().size(), 1u);
    EXPECT_EQ(chain.blocks()[0].capacity, 26u);
    EXPECT_EQ(container->fileLength(),
              variant.layout->file_header_size + variant.layout->header_size + 26);
    ChainInFile reopened(*container, 16);
    reopened.open(chain.first());
    EXPECT_EQ(read_all(reopened), pattern(16, 'x') + pattern(10, 'y'));
  }
}

TEST(StorageChainTest, TruncationFeedsTheFreeChainThatTheNextWriteReuses) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    MemoryContainer container(*variant.layout);
    container->create(16);
    ChainInFile a(*container, 16);
    ChainInFile b(*container, 16);
    for (int i = 0; i < 3; ++i) {
      write(a, pattern(16, 'a'));
      write(b, pattern(16, 'b'));
    }
    const std::vector<ChainInFile::Block> former = a.blocks();
    ASSERT_EQ(former.size(), 3u);
    a.setLength(20);  // keeps two blocks
    EXPECT_EQ(container->freeHead(), former[2].position);
    a.setLength(0);
    EXPECT_EQ(a.first(), variant.layout->none);
    EXPECT_EQ(container->freeHead(), former[0].position);
    // The free chain runs through the former blocks in order.
    std::uint64_t position = container->freeHead();
    for (const ChainInFile::Block& block : former) {
      ASSERT_EQ(position, block.position);
      const BlockHeader header = container->readBlockHeader(position);
      EXPECT_EQ(header.length, variant.layout->none);
      position = header.next;
    }
    EXPECT_EQ(position, variant.layout->none);
    const std::uint64_t size = container->fileLength();
    ChainInFile c(*container, 16);
    write(c, pattern(40, 'c'));
    EXPECT_EQ(container->fileLength(), size);
    EXPECT_EQ(c.first(), former[0].position);
    ChainInFile reopened(*container, 16);
    reopened.open(c.first());
    EXPECT_EQ(read_all(reopened), pattern(40, 'c'));
    reopened.open(b.first());
    EXPECT_EQ(read_all(reopened), pattern(16, 'b') + pattern(16, 'b') + pattern(16, 'b'));
  }
}

TEST(StorageChainTest, WritesPastTheEndThroughZeroBytesAndExtendsTheLength) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    MemoryContainer container(*variant.layout);
    container->create(16);
    ChainInFile chain(*container, 16);
    chain.seek(5);
    write(chain, "z");
    chain.setLength(40);
    ChainInFile reopened(*container, 16);
    reopened.open(chain.first());
    EXPECT_EQ(read_all(reopened), std::string(5, '\0') + "z" + std::string(34, '\0'));
  }
}

// The tail moves in several pieces when it is longer than one.
TEST(StorageChainTest, InsertsRecordsBeforeALongTail) {
  MemoryContainer container(kLayout64);
  container->create(1024);
  ChainInFile directory(*container, 1024);
  std::string expected;
  for (int i = 0; i < 1500; ++i) {
    const std::string record = pattern(24, static_cast<char>(i));
    write(directory, record);
    expected += record;
  }
  unsigned char record[24];
  for (int i = 0; i < 24; ++i) record[i] = static_cast<unsigned char>(0xE0 + i);
  for (std::uint64_t at : {std::uint64_t{48}, std::uint64_t{0}, std::uint64_t{expected.size()}}) {
    directory.insertRecord(at, record);
    expected.insert(static_cast<std::size_t>(at), reinterpret_cast<const char*>(record), 24);
  }
  ChainInFile reopened(*container, 1024);
  reopened.open(directory.first());
  EXPECT_EQ(read_all(reopened), expected);
}

// A container with a directory of two blocks, a stream between them and a
// free block: D1, S, D2, F, each with 16 bytes of data.
std::string sample_container(const BlockLayout& layout) {
  MemoryContainer container(layout);
  container->create(16);
  ChainInFile directory(*container, 16);
  ChainInFile stream(*container, 16);
  ChainInFile freed(*container, 16);
  write(directory, pattern(16, 'd'));
  write(stream, pattern(16, 's'));
  write(directory, pattern(16, 'e'));
  write(freed, pattern(16, 'f'));
  freed.setLength(0);
  return container.bytes();
}

constexpr std::uint64_t kNone = ~std::uint64_t{0};
constexpr std::uint64_t kBlockRef = 0xB10C0000;  // + index of D1, S, D2, F
constexpr int kClosingCr = -1;
constexpr int kSpaceAfterLength = -2;
constexpr int kDigitOfNext = -3;

enum class Action { kRead, kWrite };

struct Corruption {
  const char* name;
  int block;  // 0..3: D1, S, D2, F
  int field;  // 0 length, 1 capacity, 2 next; -1 a raw byte
  std::uint64_t value;
  int at;  // raw byte: offset in the header, or kClosingCr / kSpaceAfterLength
  char raw;
  Action action;
  int code;  // expected ChainInFileExc code; 0: no failure
};

const Corruption kCorruptions[] = {
    {"first CR", 0, -1, 0, 0, 'X', Action::kRead, 2},
    {"first LF", 0, -1, 0, 1, '\r', Action::kRead, 2},
    {"closing CR", 2, -1, 0, kClosingCr, ' ', Action::kRead, 2},
    {"space after the length", 0, -1, 0, kSpaceAfterLength, '0', Action::kRead, 2},
    {"digit of the length", 0, -1, 0, 3, 'G', Action::kRead, 2},
    {"digit of the next block", 2, -1, 0, kDigitOfNext, '-', Action::kRead, 2},
    {"next points at itself", 0, 2, kBlockRef + 0, 0, 0, Action::kRead, 3},
    {"next points back", 2, 2, kBlockRef + 0, 0, 0, Action::kRead, 3},
    {"next past the end", 0, 2, 0x7FFFFF00, 0, 0, Action::kRead, 1},
    {"next into another stream", 0, 2, kBlockRef + 1, 0, 0, Action::kRead, 0},
    {"huge length", 0, 0, 0x7FFFFFF0, 0, 0, Action::kRead, 1},
    {"huge capacity", 0, 1, 0x7FFF0000, 0, 0, Action::kRead, 0},
    {"capacity past 64 bits", 0, 1, kNone - 1, 0, 0, Action::kRead, 2},
    {"free block still in use", 3, 0, 5, 0, 0, Action::kWrite, 2},
    {"free chain loops", 3, 2, kBlockRef + 3, 0, 0, Action::kWrite, 2},
    {"free chain into a stream", 3, 2, kBlockRef + 1, 0, 0, Action::kWrite, 2},
    {"free chain past the end", 3, 2, 0x7FFFFF00, 0, 0, Action::kWrite, 1},
    {"free block with a bad header", 3, -1, 0, 0, 'x', Action::kWrite, 2},
};

// Reads the directory, or writes 60 bytes to a new stream (taking the free
// block and more), in a corrupted sample; the failure must have the
// expected code and the file must not grow by more than the write.
TEST(StorageChainTest, CorruptionFailsWithTheRightCode) {
  for (const Variant& variant : kVariants) {
    const BlockLayout& layout = *variant.layout;
    const std::string sample = sample_container(layout);
    const std::uint64_t block_size = layout.header_size + 16;
    for (const Corruption& corruption : kCorruptions) {
      SCOPED_TRACE(std::string(variant.name) + ": " + corruption.name);
      std::string bytes = sample;
      const std::uint64_t block_at = layout.file_header_size + corruption.block * block_size;
      if (corruption.field < 0) {
        int at = corruption.at;
        if (at == kClosingCr) at = static_cast<int>(layout.header_size) - 2;
        if (at == kSpaceAfterLength) at = 2 + static_cast<int>(layout.digits);
        if (at == kDigitOfNext) at = 2 + 2 * static_cast<int>(layout.digits + 1);
        bytes[block_at + static_cast<std::uint64_t>(at)] = corruption.raw;
      } else {
        std::uint64_t value = corruption.value;
        if (value == kNone) value = layout.none;
        if (value >= kBlockRef && value < kBlockRef + 4) {
          value = layout.file_header_size + (value - kBlockRef) * block_size;
        }
        BlockHeader header{};
        ASSERT_TRUE(decode_block_header(layout, bytes.data() + block_at, header));
        (corruption.field == 0   ? header.length
         : corruption.field == 1 ? header.capacity
                                 : header.next) = value;
        encode_block_header(layout, header, bytes.data() + block_at);
      }
      MemoryContainer container(layout, bytes);
      int code = 0;
      try {
        container->readHeader();
        ChainInFile chain(*container, 16);
        if (corruption.action == Action::kRead) {
          chain.open(layout.file_header_size);
          read_all(chain);
        } else {
          write(chain, pattern(60, 'w'));
        }
      } catch (const ChainInFileExc& failure) {
        code = failure.code();
      }
      EXPECT_EQ(code, corruption.code);
      EXPECT_LE(container.bytes().size(), sample.size() + 60 + 2 * layout.header_size);
    }
  }
}

// Every prefix of a sample either fails cleanly or reads what was written.
TEST(StorageChainTest, CutFilesFailCleanly) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    const BlockLayout& layout = *variant.layout;
    const std::string sample = sample_container(layout);
    const std::string directory = pattern(16, 'd') + pattern(16, 'e');
    int failures = 0;
    for (std::size_t size = 0; size < sample.size(); ++size) {
      MemoryContainer container(layout, sample.substr(0, size));
      try {
        container->readHeader();
        ChainInFile chain(*container, 16);
        chain.open(layout.file_header_size);
        EXPECT_EQ(read_all(chain), directory) << size;
      } catch (const ChainInFileExc& failure) {
        EXPECT_EQ(failure.code(), ChainInFileExc::kInputOutput);
        ++failures;
      }
    }
    // Only cuts inside the free block leave the directory whole.
    EXPECT_EQ(failures, static_cast<int>(sample.size() - (layout.header_size + 16)));
  }
}

TEST(StorageChainTest, ReportsFailuresAsStorageExceptionsNamingTheContainer) {
  MemoryContainer container(kLayout64, "short");
  try {
    container->readHeader();
    FAIL() << "a 5-byte header was accepted";
  } catch (const ChainInFileExc& failure) {
    EXPECT_EQ(failure.code(), ChainInFileExc::kInputOutput);
    EXPECT_THROW_IDS(throw_storage_exception(failure, container->file()), StorageException,
                     "IDS_STERROR_BADFORMAT");
    try {
      throw_storage_exception(failure, container->file());
    } catch (const StorageException& exception) {
      EXPECT_EQ(exception.reason(), StorageException::Error::BadFormat);
      EXPECT_EQ(exception.url().text(), URL(u"memory:").text());
    }
  }
}

using StorageChainFileTest = testing::TempDirTest;

TEST_F(StorageChainFileTest, RoundTripsThroughTheFileScheme) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    const URL where = url(variant.name);
    std::uint64_t first = 0;
    {
      ContainerFile container(SchemeRegistry::instance().openURL(where, FileMode::Create),
                              *variant.layout);
      container.create(variant.layout->default_capacity);
      ChainInFile chain(container, variant.layout->default_capacity);
      write(chain, pattern(100000, 'r'));
      first = chain.first();
    }
    ContainerFile container(SchemeRegistry::instance().openURL(where, FileMode::Read),
                            *variant.layout);
    EXPECT_TRUE(container.readHeader());
    EXPECT_EQ(container.defaultCapacity(), variant.layout->default_capacity);
    ChainInFile chain(container, 16);
    chain.open(first);
    EXPECT_EQ(read_all(chain), pattern(100000, 'r'));
  }
}

// The 32-bit variant refuses to carry the file past 0x7FFFFFFF; a sparse
// file gets there without writing 2 GB.
TEST_F(StorageChainFileTest, The32BitVariantOverflows) {
  ContainerFile container(SchemeRegistry::instance().openURL(url("big"), FileMode::Create),
                          kLayout32);
  container.create(512);
  const char byte = 0;
  container.writeAt(0x7FFFFF00, &byte, 1);
  ChainInFile chain(container, 512);
  EXPECT_THROW_IDS(write(chain, "x"), StorageException, "IDS_STERROR_OVERFLOW");
  EXPECT_EQ(container.fileLength(), 0x7FFFFF01u);
}

TEST(StorageChainTest, ReloadsTheHeaderWhenTheChangeCounterGrows) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  ContainerFile writer(InterfacePtr<IFile>(file.get()), kLayout64);
  writer.create(4096);
  ContainerFile reader(InterfacePtr<IFile>(file.get()), kLayout64);
  EXPECT_TRUE(reader.readHeader());
  EXPECT_FALSE(reader.readHeader());
  writer.setFreeHead(1234);
  EXPECT_FALSE(reader.readHeader());  // no new change yet
  EXPECT_EQ(reader.freeHead(), kLayout64.none);
  writer.bumpChangeCounter();
  EXPECT_TRUE(reader.readHeader());
  EXPECT_EQ(reader.freeHead(), 1234u);
  EXPECT_EQ(reader.changeCounter(), 1u);
}

}  // namespace
}  // namespace core

namespace core {
namespace {

// A memory file whose first reads fail with a file exception.
class FlakyFile final : public UnknownImpl<IFile> {
 public:
  FlakyFile(std::string bytes, int failures, FileException::Error reason)
      : inner_(new MemoryFile(bytes)), failures_(failures), reason_(reason) {}

  std::size_t read(void* buffer, std::size_t count) override {
    ++reads_;
    if (failures_ > 0) {
      --failures_;
      throw FileException(reason_);
    }
    return inner_->read(buffer, count);
  }
  void write(const void* data, std::size_t count) override { inner_->write(data, count); }
  void seek(std::uint64_t position) override { inner_->seek(position); }
  std::uint64_t position() override { return inner_->position(); }
  std::uint64_t length() override { return inner_->length(); }
  void flush() override {}
  String url() override { return inner_->url(); }

  int reads() const { return reads_; }

 private:
  InterfacePtr<MemoryFile> inner_;
  int failures_;
  FileException::Error reason_;
  int reads_ = 0;
};

TEST(StorageChainTest, RetriesTheHeaderOnlyOnSharingAndLockFailures) {
  const std::string header(20, '\0');
  struct Case {
    FileException::Error reason;
    int reads;  // reads until the header is read, or 1 when it fails at once
  };
  const Case cases[] = {{FileException::Error::Sharing, 4},
                        {FileException::Error::Lock, 4},
                        {FileException::Error::FileNotFound, 1}};
  for (const Case& c : cases) {
    InterfacePtr<FlakyFile> file(new FlakyFile(header, 3, c.reason));
    ContainerFile container(InterfacePtr<IFile>(file.get()), kLayout64);
    if (c.reads == 1) {
      EXPECT_THROW_IDS(container.readHeader(), FileException, "IDS_FERROR_FILENOTFOUND");
    } else {
      EXPECT_TRUE(container.readHeader());
    }
    EXPECT_EQ(file->reads(), c.reads);
  }
}

// A reader sees the writer's directory once the change counter grew.
TEST(StorageChainTest, RefreshReopensTheDirectoryWhenTheCounterGrew) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    InterfacePtr<MemoryFile> file(new MemoryFile);
    ContainerFile writer(InterfacePtr<IFile>(file.get()), *variant.layout);
    writer.create(128);
    ContainerFile reader(InterfacePtr<IFile>(file.get()), *variant.layout);
    ChainInFile seen(reader, 16);
    EXPECT_TRUE(reader.refresh(seen));
    EXPECT_EQ(seen.first(), variant.layout->none);
    // Only the header so far.
    EXPECT_EQ(reader.directoryCapacity(), variant.layout->default_capacity);

    ChainInFile directory(writer, writer.directoryCapacity());
    write(directory, pattern(24, 'r'));
    EXPECT_FALSE(reader.refresh(seen));
    EXPECT_EQ(seen.length(), 0u);
    writer.bumpChangeCounter();
    EXPECT_TRUE(reader.refresh(seen));
    EXPECT_EQ(read_all(seen), pattern(24, 'r'));
    EXPECT_EQ(seen.blocks()[0].capacity, variant.layout->default_capacity);
    EXPECT_EQ(reader.directoryCapacity(), 128u);
  }
}

}  // namespace
}  // namespace core

namespace core {
namespace {

// Random writes, seeks and truncations on several chains of one container,
// checked against strings after every round: the reopened chains read back
// their strings, and no block is on two chains (free chain included).
TEST(StorageChainTest, RandomWorkloadsMatchAModel) {
  for (const Variant& variant : kVariants) {
    SCOPED_TRACE(variant.name);
    std::mt19937 random(20);
    MemoryContainer container(*variant.layout);
    container->create(32);
    std::vector<ChainInFile> chains;
    std::vector<std::string> model(4);
    for (std::size_t i = 0; i < model.size(); ++i) chains.emplace_back(*container, 32);
    for (int step = 0; step < 400; ++step) {
      const std::size_t i = random() % chains.size();
      ChainInFile& chain = chains[i];
      std::string& expected = model[i];
      const std::size_t at = random() % (expected.size() + 40);
      switch (random() % 3) {
        case 0:
        case 1: {
          const std::string data = pattern(random() % 100, static_cast<char>(step));
          chain.seek(at);
          write(chain, data);
          if (expected.size() < at) expected.resize(at, '\0');
          expected.replace(at, std::min(data.size(), expected.size() - at), data);
          break;
        }
        default:
          chain.setLength(at / 2);
          expected.resize(at / 2, '\0');
          break;
      }
      if (step % 40 != 39) continue;
      std::set<std::uint64_t> owned;
      for (std::size_t k = 0; k < chains.size(); ++k) {
        ChainInFile reopened(*container, 32);
        reopened.open(chains[k].first());
        ASSERT_EQ(read_all(reopened), model[k]) << "step " << step << " chain " << k;
        for (const ChainInFile::Block& block : reopened.blocks()) {
          EXPECT_TRUE(owned.insert(block.position).second) << block.position;
        }
      }
      for (std::uint64_t free = container->freeHead(); free != variant.layout->none;
           free = container->readBlockHeader(free).next) {
        ASSERT_TRUE(owned.insert(free).second) << "free block " << free << " is in use";
      }
    }
  }
}

}  // namespace
}  // namespace core
