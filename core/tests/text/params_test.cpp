#include "core/params.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "core/exception_classes.h"
#include "test_util.h"

namespace core {
namespace {

using Pairs = std::vector<std::pair<String, String>>;

std::pair<String, String> split_pair(const String& text) {
  const std::size_t eq = text.find(u'=');
  return {text.substr(0, eq), text.substr(eq + 1)};
}

struct Case {
  int line = 0;
  String text;
  Pairs table;
  Pairs iter;
};

std::vector<Case> load_cases() {
  std::ifstream in(CORE_TEST_DATA_DIR "/params.txt");
  EXPECT_TRUE(in.good());
  std::vector<Case> cases;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    const std::size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (word == "text") {
      cases.push_back({number, testing::unescape_data_line(rest), {}, {}});
    } else if (word == "table" && !cases.empty()) {
      cases.back().table.push_back(split_pair(testing::unescape_data_line(rest)));
    } else if (word == "iter" && !cases.empty()) {
      cases.back().iter.push_back(split_pair(testing::unescape_data_line(rest)));
    } else {
      ADD_FAILURE() << "params.txt:" << number << ": bad line";
    }
  }
  return cases;
}

Pairs read_table(const ParamsWString& params) {
  std::vector<String> names;
  params.names(names);
  Pairs table;
  for (const String& name : names) table.emplace_back(name, params.param(name));
  return table;
}

Pairs read_iter(const char16_t* text) {
  ParamsIterator it(text);
  Pairs pairs;
  while (it.next()) pairs.emplace_back(it.name(), it.value());
  EXPECT_FALSE(it.next()) << "a failed next() must stay failed";
  return pairs;
}

// The pairs of a ParametersMap, each value read back as text.
Pairs read_map(const ParametersMap& map) {
  std::vector<String> names;
  map.names(names);
  Pairs table;
  for (const String& name : names) {
    Value value;
    String text;
    if (!map.parameter(name, value) || !value.getString(text)) text = u"<missing>";
    table.emplace_back(name, text);
  }
  return table;
}

std::string show(const Pairs& pairs) {
  std::string text;
  for (const auto& [name, value] : pairs) text += "[" + name.toUtf8() + "=" + value.toUtf8() + "]";
  return text;
}

TEST(Params, TableDrivenCases) {
  const std::vector<Case> cases = load_cases();
  ASSERT_GT(cases.size(), 30u);
  for (const Case& c : cases) {
    SCOPED_TRACE("params.txt:" + std::to_string(c.line) + " " + c.text.toUtf8());
    const ParamsWString params(c.text);
    EXPECT_EQ(show(read_table(params)), show(c.table));
    EXPECT_EQ(params.paramsCount(), c.table.size());
    EXPECT_EQ(params.paramsString(), c.text);
    // The zero-terminated constructor reads the same.
    EXPECT_EQ(show(read_table(ParamsWString(c.text.c_str()))), show(c.table));
    EXPECT_EQ(show(read_iter(c.text.c_str())), show(c.iter));
    EXPECT_EQ(show(read_map(ParametersMap(params))), show(c.table));
  }
}

TEST(Params, LookupIgnoresCaseAndLeavesOutputAloneWhenAbsent) {
  const ParamsWString params(u"Name=1; ЧДЦ=2");
  EXPECT_EQ(params.param(u"NAME"), u"1");
  EXPECT_EQ(params.param(String(u"чдц")), u"2");
  EXPECT_EQ(params.param(u"Other"), u"");
  String value = u"kept";
  EXPECT_FALSE(params.param(u"Other", value));
  EXPECT_EQ(value, u"kept");
  EXPECT_TRUE(params.param(String(u"name"), value));
  EXPECT_EQ(value, u"1");
  EXPECT_FALSE(params.param(static_cast<const char16_t*>(nullptr), value));

  ParamsWString copy(u"X=1");
  copy = params;
  EXPECT_EQ(copy.param(u"name"), u"1");
  EXPECT_EQ(copy.paramsString(), params.paramsString());
  EXPECT_EQ(ParamsWString(static_cast<const char16_t*>(nullptr)).paramsCount(), 0u);
  EXPECT_FALSE(ParamsIterator(nullptr).next());
}

TEST(Params, SurrogatePairsAreWholeCharacters) {
  // U+1D400 MATHEMATICAL BOLD CAPITAL A is a letter; U+1F600 is not.
  const ParamsWString letter(u"\U0001D400=1");
  EXPECT_EQ(letter.param(u"\U0001D400"), u"1");
  EXPECT_EQ(ParamsWString(u"\U0001F600=1").paramsCount(), 0u);
  // A lone surrogate is neither a name character nor white space.
  const char16_t lone[] = {u'A', u'=', 0xD800, u';', u'B', u'=', u'2', 0};
  EXPECT_EQ(ParamsWString(lone).param(u"A"), String(u"\xD800"));
}

TEST(Params, WriterOutputReadsBackThroughBothReaders) {
  const std::u16string_view alphabet = u"ab ;\"'=\t\u3000Я_1";
  std::mt19937 random(7);
  for (int round = 0; round < 500; ++round) {
    ParamsWriter writer;
    Pairs expected;
    const int count = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < count; ++i) {
      String value;
      const int length = static_cast<int>(random() % 6);
      for (int k = 0; k < length; ++k) value.append(alphabet[random() % alphabet.size()]);
      const String name = String::fromUtf8("p" + std::to_string(i));
      writer.add(name, value);
      expected.emplace_back(name, value);
    }
    SCOPED_TRACE(writer.str().toUtf8());
    EXPECT_EQ(show(read_iter(writer.str().c_str())), show(expected));
    EXPECT_EQ(show(read_table(ParamsWString(writer.str()))), show(expected));
  }
  EXPECT_EQ(quote_param_value(u"plain"), u"plain");
  EXPECT_EQ(quote_param_value(u"a\"b"), u"\"a\"\"b\"");
  EXPECT_EQ(quote_param_value(u""), u"\"\"");
}

TEST(Params, WriterRefusesWhatCannotBeReadBack) {
  ParamsWriter writer;
  writer.add(u"A", u"1");
  EXPECT_THROW_IDS(writer.add(u"2x", u"1"), IllegalArgumentException, "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(writer.add(u"", u"1"), IllegalArgumentException, "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_THROW_IDS(writer.add(u"B", std::u16string_view(u"a\0b", 3)), IllegalArgumentException,
                   "IDS_ERR_ILLEGAL_ARGUMENT");
  EXPECT_EQ(writer.str(), u"A=1");
}

TEST(ParametersMap, NamesIgnoreCaseAndKeepTheirFirstSpelling) {
  ParametersMap map;
  map.setParameter(u"Count", Value(3));
  map.setParameter(u"Имя", Value(u"x"));
  map.setParameter(u"COUNT", Value(Numeric(4)));  // replaces the value, not the name
  std::vector<String> names;
  map.names(names);
  EXPECT_EQ(names, (std::vector<String>{u"Count", u"Имя"}));

  Value out(u"kept");
  ASSERT_TRUE(map.parameter(u"count", out));
  EXPECT_TRUE(out.equals(4));
  ASSERT_TRUE(map.parameter(u"ИМЯ", out));
  EXPECT_TRUE(out.equals(u"x"));
  out = Value(u"kept");
  EXPECT_FALSE(map.parameter(u"Missing", out));
  EXPECT_TRUE(out.equals(u"kept"));

  EXPECT_TRUE(map.removeParameter(u"имя"));
  EXPECT_FALSE(map.removeParameter(u"имя"));
  EXPECT_EQ(map.size(), 1u);
}

TEST(ParametersMap, InvalidNamesAreRefusedAndLeaveTheTableAlone) {
  ParametersMap map;
  map.setParameter(u"_a1", Value(1));
  for (std::u16string_view bad : {std::u16string_view(u""), std::u16string_view(u"2x"),
                                  std::u16string_view(u"a b"), std::u16string_view(u"a;")}) {
    EXPECT_THROW_IDS(map.setParameter(bad, Value(2)), IllegalArgumentException,
                     "IDS_ERR_ILLEGAL_ARGUMENT");
  }
  EXPECT_EQ(map.size(), 1u);
}

TEST(ParametersMap, CopiesAreIndependentAndMovesKeepTheValues) {
  ParametersMap original;
  original.setParameter(u"A", Value(1));
  ParametersMap copy = original;
  copy.setParameter(u"a", Value(2));
  copy.setParameter(u"B", Value(true));
  Value out;
  ASSERT_TRUE(original.parameter(u"A", out));
  EXPECT_TRUE(out.equals(1));
  EXPECT_EQ(original.size(), 1u);

  ParametersMap moved = std::move(copy);
  EXPECT_EQ(moved.size(), 2u);
  ASSERT_TRUE(moved.parameter(u"A", out));
  EXPECT_TRUE(out.equals(2));
  original = std::move(moved);
  EXPECT_EQ(original.size(), 2u);
}

}  // namespace
}  // namespace core
