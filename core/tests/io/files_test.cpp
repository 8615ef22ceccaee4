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

TEST(Utf8FileWriter, EncodesPairsAndReplacesLoneSurrogates) {
  InterfacePtr<MemoryFile> file(new MemoryFile);
  {
    InterfacePtr<Utf8FileWriter> writer(new Utf8FileWriter(file.get()));
    const char16_t first[] = {u'a', 0x044F, 0xD83D};
    const char16_t second[] = {0xDE00, 0xDC00, u'z', 0xD800};
    writer->write(first, 3);
    writer->write(second, 4);  // the pair split across calls
  }
  EXPECT_EQ(file->bytes(), "a\xD1\x8F\xF0\x9F\x98\x80\xEF\xBF\xBDz\xEF\xBF\xBD");
}

TEST(Utf8FileReader, DecodesAndReplacesMalformedBytes) {
  struct Case {
    std::string bytes;
    std::u16string text;
  } const kCases[] = {
      {"\xEF\xBB\xBF"
       "ab",
       u"ab"},
      {"a\xD1\x8F\xF0\x9F\x98\x80", u"a\u044F\U0001F600"},
      {"\xC0\xAF", u"\uFFFD\uFFFD"},            // overlong
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},  // an encoded surrogate
      {"\xE2\x82", u"\uFFFD"},                  // cut short
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
  };
  for (const Case& c : kCases) {
    InterfacePtr<MemoryFile> file(new MemoryFile(c.bytes));
    InterfacePtr<Utf8FileReader> reader(new Utf8FileReader(file.get()));
    std::u16string text;
    char16_t unit;
    while (reader->read(&unit, 1) == 1) text.push_back(unit);  // one unit at a time
    EXPECT_EQ(printable(text), printable(c.text));
  }
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
