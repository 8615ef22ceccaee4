#include "core/value_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/collections.h"
#include "core/exception_classes.h"
#include "core/io.h"
#include "core/messages.h"
#include "core/persistence.h"
#include "test_util.h"

namespace core {
namespace {

using testing::call;
using testing::prop;
using testing::set_prop;

Value number(const char* text) {
  Numeric parsed;
  parsed.fromString(text);
  return Value(parsed);
}

Value new_table() { return Value(Type(u"ТаблицаЗначений").createIValue().get()); }

// The table every data case starts from.
Value base_table() {
  const Value table = new_table();
  const Value columns = prop(table, u"Columns");
  call(columns, u"Add", {Value(u"Code"), Value(u"Number(5,0)")});
  call(columns, u"Добавить", {Value(u"Name"), Value(u"Строка(20)")});
  call(columns, u"Add", {Value(u"Amount"), Value(u"Number(15,2)")});
  const struct {
    int code;
    const char16_t* name;
    int amount;
  } rows[] = {{1, u"ель", 10}, {2, u"Ёлка", 3}, {3, u"Abc", 3}, {4, u"abc", 7}, {5, u"Ель", 1}};
  for (const auto& r : rows) {
    const Value row = call(table, u"Add");
    set_prop(row, u"Code", Value(r.code));
    set_prop(row, u"name", Value(r.name));
    set_prop(row, u"Amount", Value(r.amount));
  }
  return table;
}

// A value as the data file writes it.
std::string show(const Value& value) {
  if (is_undefined_value(value)) return "undefined";
  IValue* held = value.getIValue();
  if (held->getIType() == Type(u"ValueTableRow").getIType()) {
    return "row:" + to_string(prop(value, u"Code")).toUtf8();
  }
  if (const Array* array = array_of(held)) {
    std::string text;
    for (const Value& element : array->elements()) {
      if (!text.empty()) text += ',';
      text += show(element);
    }
    return text;
  }
  return to_string(value).toUtf8();
}

std::string show_column(const Value& table, const String& name) {
  return show(call(table, u"UnloadColumn", {Value(name)}));
}

std::string show_table(const Value& table) {
  const ValueTableCore& core = value_table_of(table.getIValue())->core();
  std::string text;
  for (int i = 0; i < core.rowCount(); ++i) {
    if (i > 0) text += ';';
    for (int c = 0; c < core.columnCount(); ++c) {
      if (c > 0) text += '|';
      text += to_string(Value(core.cell(core.line(i), c))).toUtf8();
    }
  }
  return text;
}

Value argument(const std::string& token, const Value& table, const Value& other_row) {
  if (token == "_") return Value();
  if (token == "\"\"") return Value(u"");
  if (token == "other") return other_row;
  if (token[0] == '#') return number(token.c_str() + 1);
  if (token.rfind("row:", 0) == 0) return call(table, u"Get", {Value(std::stoi(token.substr(4)))});
  if (token.rfind("array:", 0) == 0) {
    InterfacePtr<Array> array = create_array();
    std::stringstream items(token.substr(6));
    for (std::string item; std::getline(items, item, ',');) array->add(number(item.c_str()));
    return Value(static_cast<IValue*>(array.get()));
  }
  if (token.rfind("struct:", 0) == 0) {
    InterfacePtr<Structure> filter = create_structure();
    std::stringstream items(token.substr(7));
    for (std::string item; std::getline(items, item, ',');) {
      const std::string key = item.substr(0, item.find('='));
      const std::string text = item.substr(item.find('=') + 1);
      const bool numeric = text.find_first_not_of("0123456789.") == std::string::npos;
      filter->insert(Value(String::fromUtf8(key)),
                     numeric ? number(text.c_str()) : Value(String::fromUtf8(text)));
    }
    return Value(static_cast<IValue*>(filter.get()));
  }
  return Value(testing::unescape_data_line(token));
}

std::vector<std::string> split_tabs(const std::string& line) {
  std::vector<std::string> fields;
  std::stringstream stream(line);
  for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
  return fields;
}

TEST(ValueTableData, MethodsFollowTheirArgumentRules) {
  std::ifstream file(CORE_TEST_DATA_DIR "/value_table.txt");
  ASSERT_TRUE(file.is_open());
  int cases = 0;
  testing::in_locale(u"en", [&] {
    for (std::string line; std::getline(file, line);) {
      if (line.empty() || line[0] == '#') continue;
      SCOPED_TRACE(line);
      ++cases;
      const std::vector<std::string> fields = split_tabs(line);
      const auto arrow = std::find(fields.begin(), fields.end(), "=>");
      ASSERT_NE(arrow, fields.end());
      ASSERT_NE(arrow + 1, fields.end());
      const std::string expected = *(arrow + 1);
      const Value table = base_table();
      const Value stranger = base_table();
      const Value other_row = call(stranger, u"Get", {Value(0)});
      std::vector<Value> args;
      for (auto field = fields.begin() + 1; field != arrow; ++field) {
        args.push_back(argument(*field, table, other_row));
      }
      const String method = String::fromUtf8(fields[0]);
      const std::string before = show_table(table);
      if (expected[0] == '!') {
        const std::string ids = expected.substr(1);
        const std::string id = ids.substr(0, ids.find(' '));
        try {
          call(table, method.c_str(), args);
          ADD_FAILURE() << "no exception";
        } catch (const ContextException& e) {
          EXPECT_TRUE(testing::IsExceptionWithText(e, ContextException::kClsid, id.c_str()));
          if (ids.find(' ') != std::string::npos) {
            const std::string reason = ids.substr(ids.find(' ') + 1);
            EXPECT_NE(e.descr().toUtf8().find(load_core_wstring(reason.c_str()).toUtf8()),
                      std::string::npos)
                << e.descr().toUtf8();
          }
        }
        EXPECT_EQ(show_table(table), before);
        continue;
      }
      const Value result = call(table, method.c_str(), args);
      const std::string kind = expected.substr(0, expected.find(' '));
      const std::string rest =
          expected.find(' ') == std::string::npos ? "" : expected.substr(expected.find(' ') + 1);
      if (kind == "result") {
        EXPECT_EQ(show(result), rest);
      } else if (kind == "table") {
        EXPECT_EQ(show_table(table), rest);
      } else {
        ASSERT_EQ(kind, "column");
        const std::string name = rest.substr(0, rest.find(' '));
        const std::string values =
            rest.find(' ') == std::string::npos ? "" : rest.substr(rest.find(' ') + 1);
        EXPECT_EQ(show_column(table, String::fromUtf8(name)), values);
      }
    }
  });
  EXPECT_GT(cases, 80);
}

// ---------------------------------------------------------------------------
// Types and tables.

struct NameCase {
  const char16_t* english;
  const char16_t* russian;
};

constexpr NameCase kTableMethods[] = {
    {u"Count", u"Количество"},
    {u"IndexOf", u"Индекс"},
    {u"Add", u"Добавить"},
    {u"Insert", u"Вставить"},
    {u"Delete", u"Удалить"},
    {u"Clear", u"Очистить"},
    {u"Move", u"Сдвинуть"},
    {u"Find", u"Найти"},
    {u"FindRows", u"НайтиСтроки"},
    {u"Total", u"Итог"},
    {u"Sort", u"Сортировать"},
    {u"LoadColumn", u"ЗагрузитьКолонку"},
    {u"UnloadColumn", u"ВыгрузитьКолонку"},
    {u"Get", u"Получить"},
    {u"Copy", u"Скопировать"},
    {u"CopyColumns", u"СкопироватьКолонки"},
    {u"GroupBy", u"Свернуть"},
    {u"ChooseRow", u"ВыбратьСтроку"},
    {u"FillValues", u"ЗаполнитьЗначения"},
};

TEST(ValueTableTypes, NamesOfTheFourObjectsAndTheTableMethodsInSlotOrder) {
  const Value table = base_table();
  const Value columns = prop(table, u"Колонки");
  const Value column = call(columns, u"Get", {Value(0)});
  const Value row = call(table, u"Get", {Value(0)});
  const struct {
    Value object;
    const char16_t* english;
    const char16_t* russian;
  } objects[] = {
      {table, u"ValueTable", u"ТаблицаЗначений"},
      {columns, u"ValueTableColumnCollection", u"КоллекцияКолонокТаблицыЗначений"},
      {column, u"ValueTableColumn", u"КолонкаТаблицыЗначений"},
      {row, u"ValueTableRow", u"СтрокаТаблицыЗначений"},
  };
  for (const auto& o : objects) {
    SCOPED_TRACE(String(o.english).toUtf8());
    IType* type = o.object.getIValue()->getIType();
    EXPECT_EQ(String(type->getName(Language::English)), String(o.english));
    EXPECT_EQ(String(type->getName(Language::Russian)), String(o.russian));
    EXPECT_EQ(Type(o.russian).getIType(), type);
  }
  IContextDefBase* def = context_of(table.getIValue())->getIContextDef();
  ASSERT_EQ(def->getNMethods(), static_cast<int>(std::size(kTableMethods)));
  for (int i = 0; i < def->getNMethods(); ++i) {
    EXPECT_EQ(String(def->getMethodName(i, 0)), String(kTableMethods[i].english));
    EXPECT_EQ(String(def->getMethodName(i, 1)), String(kTableMethods[i].russian));
  }
  EXPECT_THROW(Type(u"ValueTableRow").createIValue(), IllegalStateException);
}

TEST(ValueTableRows, CellsAreRowPropertiesAdjustedToTheColumnType) {
  const Value table = base_table();
  const Value row = call(table, u"Add");
  set_prop(row, u"AMOUNT", number("1.004"));
  EXPECT_TRUE(prop(row, u"Amount").equals(1));
  set_prop(row, u"Code", number("123456"));  // Number(5,0): the largest that fits
  EXPECT_TRUE(prop(row, u"Code").equals(99999));
  set_prop(row, u"Name", Value(u"a name longer than twenty units"));
  EXPECT_EQ(to_string(prop(row, u"Name")), String(u"a name longer than t"));
  call(row, u"Set", {Value(1), Value(u"x")});
  EXPECT_TRUE(call(row, u"Get", {Value(1)}).equals(u"x"));
  EXPECT_TRUE(prop(row, u"Владелец").equals(table));
  EXPECT_THROW_IDS(call(row, u"Get", {Value(3)}), ContextException, "IDS_INDEX_OFFBOUND");
  EXPECT_TRUE(call(table, u"Get", {Value(5)}).equals(row));  // rows equal by the line

  call(table, u"Delete", {row});
  EXPECT_THROW_IDS(prop(row, u"Amount"), ContextException, "IDS_VT_UNKNOWN_ROW_ERROR");
  EXPECT_THROW_IDS(call(table, u"IndexOf", {row}), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
}

TEST(ValueTableColumns, AddRenameDeleteAndTypes) {
  const Value table = base_table();
  const Value columns = prop(table, u"Columns");
  EXPECT_THROW_IDS(call(columns, u"Add", {Value(u"code")}), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
  EXPECT_THROW_IDS(call(columns, u"Add", {Value(u"2nd")}), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
  EXPECT_THROW_IDS(call(columns, u"Add", {Value(u"X"), Value(u"Number(1,2)")}), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");
  const Value when = call(columns, u"Insert", {Value(0), Value(u"When"), Value(u"Date(Date)")});
  EXPECT_EQ(to_string(prop(when, u"ValueType")), String(u"Date(Date)"));
  EXPECT_TRUE(call(table, u"Get", {Value(0)}).equals(call(table, u"Get", {Value(0)})));
  EXPECT_TRUE(call(columns, u"IndexOf", {when}).equals(0));
  const Value amount = call(columns, u"Find", {Value(u"amount")});
  EXPECT_EQ(to_string(prop(amount, u"ТипЗначения")), String(u"Number(15,2)"));
  EXPECT_TRUE(is_undefined_value(call(columns, u"Find", {Value(u"Nope")})));

  set_prop(amount, u"Name", Value(u"Sum"));
  const Value row = call(table, u"Get", {Value(0)});
  EXPECT_TRUE(prop(row, u"Sum").equals(10));
  EXPECT_THROW_IDS(set_prop(amount, u"Name", Value(u"Code")), ContextException,
                   "IDS_PARAMETER_N_VALUE_MISMATCH");

  call(columns, u"Move", {when, Value(3)});
  EXPECT_TRUE(call(columns, u"IndexOf", {when}).equals(3));
  EXPECT_THROW_IDS(call(columns, u"Move", {when, Value(1)}), ContextException,
                   "IDS_COLLECTION_BADOFFSET");
  call(columns, u"Delete", {Value(u"Name")});
  EXPECT_TRUE(call(columns, u"Count").equals(3));
  EXPECT_THROW_IDS(prop(row, u"Name"), ContextException, "IDS_RTE_PROP_NOTFOUND");
  // A column added after rows exist gives every row its default value.
  call(columns, u"Add", {Value(u"Flag"), Value(u"Boolean")});
  EXPECT_TRUE(prop(row, u"Flag").equals(false));
  call(table, u"Sort", {Value(u"Flag, Sum Desc")});
  EXPECT_EQ(show_column(table, u"Code"), "1,4,2,3,5");
}

TEST(ValueTableSort, StringsFollowTheLocaleCollationAndTiesKeepTheirOrder) {
  testing::in_locale(u"ru_RU", [] {
    const Value table = new_table();
    call(prop(table, u"Columns"), u"Add", {Value(u"Name")});
    call(prop(table, u"Columns"), u"Add", {Value(u"N")});
    const char16_t* names[] = {u"ж", u"Е", u"ё", u"е", u"ЕЖ", u"Ё", u"е"};
    for (int i = 0; i < static_cast<int>(std::size(names)); ++i) {
      const Value row = call(table, u"Add");
      set_prop(row, u"Name", Value(names[i]));
      set_prop(row, u"N", Value(i));
    }
    // Values of other types order before Strings by kind.
    set_prop(call(table, u"Add"), u"N", Value(7));
    call(table, u"Sort", {Value(u"Name")});
    EXPECT_EQ(show_column(table, u"N"), "7,3,6,1,2,5,4,0");
  });
}

// Numbers sort as scaled integers when they fit 18 digits, and as Numerics
// otherwise; both give the same order, ties in row order.
TEST(ValueTableSort, NumbersWithFractionsSignsAndHugeMagnitudes) {
  const struct {
    std::vector<const char*> values;
    const char* order;
  } cases[] = {
      {{"2", "-1.5", "0.25", "-3", "2", "0.125"}, "3,1,5,2,0,4"},
      {{"2", "-1.5", "100000000000000000000", "-3", "2", "0.125"}, "3,1,5,0,4,2"},
      {{"0.000000000000000001", "0", "-0.000000000000000001"}, "2,1,0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.order);
    const Value table = new_table();
    call(prop(table, u"Columns"), u"Add", {Value(u"V")});
    call(prop(table, u"Columns"), u"Add", {Value(u"I")});
    for (std::size_t i = 0; i < c.values.size(); ++i) {
      const Value row = call(table, u"Add");
      set_prop(row, u"V", number(c.values[i]));
      set_prop(row, u"I", Value(static_cast<int>(i)));
    }
    call(table, u"Sort", {Value(u"V")});
    EXPECT_EQ(show_column(table, u"I"), c.order);
  }
}

TEST(ValueTableGroupBy, SumsAreExactDecimals) {
  const Value table = new_table();
  call(prop(table, u"Columns"), u"Add", {Value(u"Key")});
  call(prop(table, u"Columns"), u"Add", {Value(u"Sum")});
  call(prop(table, u"Columns"), u"Add", {Value(u"Dropped")});
  for (int i = 0; i < 30; ++i) {
    const Value row = call(table, u"Add");
    set_prop(row, u"Key", i % 3 == 0 ? Value(u"a") : Value(1));
    set_prop(row, u"Sum", i % 5 == 0 ? Value(u"not a number") : number("0.1"));
  }
  call(table, u"GroupBy", {Value(u"Key"), Value(u"Sum")});
  EXPECT_EQ(show_table(table), "a|0.8;1|1.6");
  EXPECT_TRUE(call(table, u"Total", {Value(u"Sum")}).equals(number("2.4")));
}

// ---------------------------------------------------------------------------
// Indexes: a table with an index answers as one without, whatever happens.

TEST(ValueTableIndexes, AnswersMatchTheScanThroughRandomChanges) {
  std::mt19937 random(7);
  const Value plain = new_table();
  const Value indexed = new_table();
  for (const Value& table : {plain, indexed}) {
    call(prop(table, u"Columns"), u"Add", {Value(u"A")});
    call(prop(table, u"Columns"), u"Add", {Value(u"B"), Value(u"Number(3,0)")});
  }
  call(prop(indexed, u"Indexes"), u"Add", {Value(u"B")});
  call(prop(indexed, u"Indexes"), u"Add", {Value(u"B, A")});
  EXPECT_TRUE(call(prop(indexed, u"Индексы"), u"Count").equals(2));
  for (int step = 0; step < 600; ++step) {
    const int op = static_cast<int>(random() % 8);
    const int count = call(plain, u"Count").equals(0) ? 0 : [&] {
      Numeric n;
      (void)call(plain, u"Count").getNumeric(n);
      return static_cast<int>(static_cast<long long>(n));
    }();
    const Value key(static_cast<int>(random() % 5));
    const Value text(String::fromUtf8(std::string(1, static_cast<char>('p' + random() % 3))));
    const int at = count == 0 ? 0 : static_cast<int>(random() % static_cast<unsigned>(count));
    for (const Value& table : {plain, indexed}) {
      if (op <= 2 || count == 0) {
        const Value row = call(table, u"Insert", {Value(at)});
        set_prop(row, u"A", text);
        set_prop(row, u"B", key);
      } else if (op == 3) {
        call(table, u"Delete", {Value(at)});
      } else if (op == 4) {
        set_prop(call(table, u"Get", {Value(at)}), u"B", key);
      } else if (op == 5) {
        call(table, u"Sort", {Value(u"A Desc")});
      } else if (op == 6) {
        call(table, u"Move", {Value(at), Value(-at)});
      } else {
        set_prop(call(table, u"Get", {Value(at)}), u"A", text);
      }
    }
    ASSERT_EQ(show_table(plain), show_table(indexed));
    const auto index_of = [](const Value& table, const Value& row) {
      return is_undefined_value(row) ? std::string("none") : show(call(table, u"IndexOf", {row}));
    };
    ASSERT_EQ(index_of(plain, call(plain, u"Find", {key, Value(u"B")})),
              index_of(indexed, call(indexed, u"Find", {key, Value(u"B")})));
    InterfacePtr<Structure> filter = create_structure();
    filter->insert(Value(u"A"), text);
    filter->insert(Value(u"B"), key);
    const Value by(static_cast<IValue*>(filter.get()));
    const Value found_plain = call(plain, u"FindRows", {by});
    const Value found_indexed = call(indexed, u"FindRows", {by});
    std::string a;
    std::string b;
    for (const Value& row : array_of(found_plain.getIValue())->elements()) {
      a += index_of(plain, row) + ",";
    }
    for (const Value& row : array_of(found_indexed.getIValue())->elements()) {
      b += index_of(indexed, row) + ",";
    }
    ASSERT_EQ(a, b);
  }
  // Grouping keeps the index of the group column.
  call(indexed, u"GroupBy", {Value(u"B")});
  EXPECT_TRUE(call(prop(indexed, u"Indexes"), u"Count").equals(1));
  EXPECT_FALSE(is_undefined_value(call(indexed, u"Find", {Value(0), Value(u"B")})));
}

// ---------------------------------------------------------------------------
// Copies, the stored form and the data-source view.

TEST(ValueTableCopy, RowsAndColumnsChosen) {
  const Value table = base_table();
  InterfacePtr<Structure> filter = create_structure();
  filter->insert(Value(u"Amount"), Value(3));
  const Value copy =
      call(table, u"Copy", {Value(static_cast<IValue*>(filter.get())), Value(u"Name, Code")});
  EXPECT_EQ(show_table(copy), "Ёлка|2;Abc|3");
  const Value empty = call(table, u"CopyColumns", {Value(u"Amount")});
  EXPECT_EQ(show_column(empty, u"Amount"), "");
  EXPECT_EQ(to_string(prop(call(prop(empty, u"Columns"), u"Get", {Value(0)}), u"ValueType")),
            String(u"Number(15,2)"));
}

TEST(ValueTableStoredForm, ReadsBackEqualInBothEncodings) {
  const Value table = base_table();
  set_prop(call(prop(table, u"Columns"), u"Get", {Value(1)}), u"Title", Value(u"Имя"));
  const Value inner = base_table();
  call(prop(table, u"Columns"), u"Add", {Value(u"Nested")});
  set_prop(call(table, u"Get", {Value(0)}), u"Nested", inner);
  for (const Value& back : testing::round_trips(table)) {
    ASSERT_NE(value_table_of(back.getIValue()), nullptr);
    EXPECT_EQ(show_table(call(back, u"Copy", {Value(), Value(u"Code, Name, Amount")})),
              show_table(call(table, u"Copy", {Value(), Value(u"Code, Name, Amount")})));
    const Value column = call(prop(back, u"Columns"), u"Get", {Value(2)});
    EXPECT_EQ(to_string(prop(column, u"ValueType")), String(u"Number(15,2)"));
    EXPECT_EQ(show_table(prop(call(back, u"Get", {Value(0)}), u"Nested")), show_table(inner));
  }
}

TEST(ValueTableStoredForm, MalformedColumnsAreRefused) {
  const Value table = base_table();
  String text;
  table.toString(text);
  std::u16string broken(text);
  broken.replace(broken.find(u"Name"), 4, u"Code");  // a column named twice
  Value read;
  EXPECT_THROW(GenericValue::fromString(String(broken), read), ListStreamException);
}

TEST(ValueTableDataSource, EditsThroughBookmarksSurviveReordering) {
  const Value table = base_table();
  ValueTableBase* base = value_table_of(table.getIValue());
  InterfacePtr<ValueTableDS> source(new ValueTableDS(base));
  EXPECT_EQ(source->columnCount(), 3);
  EXPECT_EQ(source->columnId(1), String(u"Name"));
  const std::uint64_t first = source->bookmark(0);
  call(table, u"Sort", {Value(u"Code Desc")});
  EXPECT_EQ(source->position(first), 4);
  source->setCellValue(first, 0, Value(42));
  EXPECT_TRUE(Value(base->core().cell(base->core().line(4), 0)).equals(42));
  source->cancelEdit(first);
  EXPECT_TRUE(Value(base->core().cell(base->core().line(4), 0)).equals(1));

  const std::uint64_t added = source->addRow();
  EXPECT_EQ(source->position(added), 5);
  source->cancelEdit(added);
  EXPECT_EQ(source->position(added), -1);
  EXPECT_TRUE(call(table, u"Count").equals(5));
  EXPECT_THROW_IDS(source->deleteRow(added), ContextException, "IDS_PARAMETER_N_VALUE_MISMATCH");
  const std::uint64_t kept = source->addRow();
  source->setCellValue(kept, 1, Value(u"new"));
  source->endEdit(kept);
  source->cancelEdit(kept);  // nothing left to undo
  EXPECT_TRUE(call(table, u"Find", {Value(u"new")}).equals(call(table, u"Get", {Value(5)})));
}

}  // namespace
}  // namespace core
