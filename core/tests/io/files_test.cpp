#include <gtest/gtest.h>

#include <string>

#include "core/interface_ptr.h"
#include "core/io.h"
#include "core/string.h"

namespace core {
namespace {

std::string printable(std::u16string_view text) { return String(text).toUtf8(); }

TEST(MemoryFile, ReadWriteSeek) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  file->write("abcdef", 6);
  file->seek(2);
  file->write("XY", 2);
  EXPECT_EQ(file->bytes(), "abXYef");
  file->seek(8);
  file->write("z", 1);
  EXPECT_EQ(file->bytes(), std::string("abXYef\0\0z", 9));
  EXPECT_EQ(file->length(), 9u);
  file->seek(4);
  char buffer[16];
  EXPECT_EQ(file->read(buffer, sizeof buffer), 5u);
  EXPECT_EQ(file->read(buffer, sizeof buffer), 0u);
  file->seek(100);
  EXPECT_EQ(file->read(buffer, sizeof buffer), 0u);
}

// The shared malformed-input tables of both directions drive the file
// reader and writer in base/internal_test.cpp; here only what is the file's own.
TEST(Utf8FileReader, SkipsByteOrderMarkAtTheStartOnly) {
  InterfacePtr<MemoryFile> file(
      new MemoryFile("\xEF\xBB\xBF"
                     "a\xEF\xBB\xBF"));
  InterfacePtr<Utf8FileReader> reader(new Utf8FileReader(file.get()));
  char16_t buffer[8];
  const std::size_t n = reader->read(buffer, 8);
  EXPECT_EQ(printable(std::u16string_view(buffer, n)), printable(u"a\uFEFF"));
}

TEST(Utf8FileReader, LongInputAcrossBuffers) {
  std::string bytes;
  std::u16string expected;
  for (int i = 0; i < 20000; ++i) {
    bytes +=
        "\xF0\x9F\x98\x80"
        "x";
    expected += u"\U0001F600x";
  }
  InterfacePtr<MemoryFile> file(new MemoryFile(bytes));
  InterfacePtr<Utf8FileReader> reader(new Utf8FileReader(file.get()));
  std::u16string text;
  char16_t buffer[333];
  for (std::size_t n; (n = reader->read(buffer, 333)) != 0;) text.append(buffer, n);
  EXPECT_EQ(text, expected);
}

}  // namespace
}  // namespace core
