// Tests of the entry record of 32-bit containers (io/storage_entry.h).
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "core/exception_classes.h"
#include "core/interface_ptr.h"
#include "core/io.h"
#include "io/storage_entry.h"
#include "test_util.h"

namespace core {
namespace {

class EntryRecordTest : public ::testing::Test {
 protected:
  void SetUp() override { container_.create(512); }

  InterfacePtr<MemoryFile> file_{new MemoryFile};
  ContainerFile container_{InterfacePtr<IFile>(file_.get()), kLayout32};
};

TEST_F(EntryRecordTest, WritesTheBytesAndSetsTheExactLength) {
  ChainInFile stream(container_, 16);
  write_entry_record(stream, {1, 2, EntryRecord::kIsStorage, String(u"a long name")});
  write_entry_record(stream, {0x0002030405060708, 9, 0x80000001, String(u"\u0416b")});
  EXPECT_EQ(stream.length(), 20u + 4 + 4);
  std::string bytes(28, '\0');
  stream.seek(0);
  ASSERT_EQ(stream.read(bytes.data(), bytes.size()), 28u);
  EXPECT_EQ(bytes, std::string("\x08\x07\x06\x05\x04\x03\x02\x00"
                               "\x09\0\0\0\0\0\0\0"
                               "\x01\0\0\x80"
                               "\x16\x04"
                               "b\0"
                               "\0\0\0\0",
                               28));
  const auto record = read_entry_record(stream, *file_);
  ASSERT_TRUE(record.has_value());
  EXPECT_EQ(record->created, 0x0002030405060708u);
  EXPECT_EQ(record->attributes, 0x80000001u);
  EXPECT_EQ(record->name, u"\u0416b");
}

// Streams of raw bytes: what reading them gives.
TEST_F(EntryRecordTest, ReadsShortHugeAndOutOfRangeRecords) {
  struct Case {
    const char* name;
    std::string bytes;
    bool present;
    std::uint64_t created;
    std::uint64_t modified;
    const char16_t* record_name;
  };
  const std::string max_plus_one("\x00\x08\xFF\xEA\xCC\x35\x0B\x00", 8);  // kMaxDate + 1
  const Case cases[] = {
      {"empty", "", false, 0, 0, u""},
      {"23 bytes", std::string(23, '\1'), false, 0, 0, u""},
      {"24 bytes, no name", std::string(24, '\0'), true, 0, 0, u""},
      {"dates past the largest", max_plus_one + std::string(8, '\xFF') + std::string(8, '\0'), true,
       EntryRecord::kMaxDate, EntryRecord::kMaxDate, u""},
      {"odd name bytes", std::string(20, '\0') + std::string("x\0y", 3) + std::string(4, '\0'),
       true, 0, 0, u"x"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ChainInFile stream(container_, 16);
    stream.write(c.bytes.data(), c.bytes.size());
    const auto record = read_entry_record(stream, *file_);
    ASSERT_EQ(record.has_value(), c.present);
    if (!c.present) continue;
    EXPECT_EQ(record->created, c.created);
    EXPECT_EQ(record->modified, c.modified);
    EXPECT_EQ(record->name, c.record_name);
  }
  ChainInFile huge(container_, 16);
  huge.setLength(65536);
  EXPECT_THROW_IDS(read_entry_record(huge, *file_), StorageException, "IDS_STERROR_BADFORMAT");
  huge.setLength(65535);
  EXPECT_TRUE(read_entry_record(huge, *file_).has_value());
}

}  // namespace
}  // namespace core
