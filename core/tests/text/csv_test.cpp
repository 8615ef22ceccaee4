#include "core/csv.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "core/exception_classes.h"
#include "test_util.h"

namespace core {
namespace {

TEST(CsvData, RecordsAndErrorsFromTheTable) {
  std::ifstream file(CORE_TEST_DATA_DIR "/csv.txt");
  ASSERT_TRUE(file.is_open());
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    SCOPED_TRACE(line);
    ++cases;
    const std::size_t tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos);
    CsvReader reader(testing::unescape_data_line(line.substr(0, tab)));
    const std::string expected = line.substr(tab + 1);
    std::string read;
    try {
      std::vector<String> fields;
      while (reader.next(fields)) {
        for (std::size_t i = 0; i < fields.size(); ++i) {
          if (i > 0) read += '|';
          read += fields[i].toUtf8();
        }
        read += '/';
      }
    } catch (const IllegalArgumentException& e) {
      read = "!" + e.descr().toUtf8().substr(e.descr().toUtf8().rfind('\n') + 1);
    }
    EXPECT_EQ(read, testing::unescape_data_line(expected).toUtf8());
  }
  EXPECT_GT(cases, 10);
}

TEST(CsvReader, ReportsTheLineOfEachRecord) {
  CsvReader reader(String(u"a\n\"b\nc\"\nd"));
  std::vector<String> fields;
  std::vector<std::size_t> lines;
  while (reader.next(fields)) lines.push_back(reader.line());
  EXPECT_EQ(lines, (std::vector<std::size_t>{1, 2, 4}));
}

}  // namespace
}  // namespace core
