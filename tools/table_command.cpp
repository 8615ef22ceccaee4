// coretool table FILE.csv [--types LIST] [--sort KEYS] [--group-by GROUPS [TOTALS]]
//                         [--find VALUE [--columns LIST]] [--total COLUMN]
//                         [--format text|csv|list]
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

constexpr std::size_t kProgressRows = 100000;

using core::String;
using core::Value;

// The items of a comma-separated list whose commas inside parentheses
// belong to the item: "Key:Number(10,0), Name" gives two.
std::vector<std::u16string_view> split_top_level(std::u16string_view list) {
  std::vector<std::u16string_view> items;
  int depth = 0;
  std::size_t start = 0;
  for (std::size_t i = 0; i <= list.size(); ++i) {
    if (i == list.size() || (list[i] == u',' && depth == 0)) {
      std::u16string_view item = list.substr(start, i - start);
      while (!item.empty() && item.front() == u' ') item.remove_prefix(1);
      while (!item.empty() && item.back() == u' ') item.remove_suffix(1);
      if (!item.empty()) items.push_back(item);
      start = i + 1;
    } else if (list[i] == u'(') {
      ++depth;
    } else if (list[i] == u')') {
      --depth;
    }
  }
  return items;
}

// Reads `text` as a number when all of it is one.
bool read_number(const String& text, core::Numeric& out) {
  std::u16string_view view(text);
  while (!view.empty() && view.back() == u' ') view.remove_suffix(1);
  if (view.empty()) return false;
  const std::u16string copy(view);
  const char16_t* end = nullptr;
  out.fromString(copy.c_str(), &end);
  return end == copy.c_str() + copy.size() && copy.find_first_of(u"0123456789") != copy.npos;
}

// The cell value of `text` for a column of `type`; false when the text is
// no value of it.
bool cell_value(const String& text, const core::TypeDomain& type, Value& out) {
  if (type.empty()) {
    out = Value(text);
    return true;
  }
  switch (type.defaultType().getTypeCode()) {
    case core::TypeCode::Number: {
      core::Numeric number;
      if (!read_number(text, number)) return false;
      out = Value(number);
      return true;
    }
    case core::TypeCode::Date: {
      core::Date date;
      if (!date.fromISOString(text)) return false;
      out = Value(date);
      return true;
    }
    case core::TypeCode::Boolean:
      if (text == String(u"true") || text == String(u"1")) {
        out = Value(true);
      } else if (text == String(u"false") || text == String(u"0")) {
        out = Value(false);
      } else {
        return false;
      }
      return true;
    default:
      out = Value(text);
      return true;
  }
}

int refuse(const std::string& why) {
  std::fprintf(stderr, "coretool: %s\n", why.c_str());
  return 1;
}

// Fills `table` from the CSV text; returns 0 or the exit code of refused
// input.
int load(const std::string& bytes, const String& types, core::ValueTableBase& table) {
  std::string_view utf8(bytes);
  if (utf8.substr(0, 3) == "\xEF\xBB\xBF") utf8.remove_prefix(3);
  std::size_t lines = 0;
  for (const char c : utf8) lines += c == '\n' ? 1 : 0;
  const bool progress = lines > kProgressRows;
  core::CsvReader reader(String::fromUtf8(utf8));
  core::ValueTableCore& core = table.core();
  std::vector<String> fields;
  if (!reader.next(fields)) return refuse("the file has no header line");
  for (const String& name : fields) core.addColumn(name);
  for (const std::u16string_view item : split_top_level(types)) {
    const std::size_t colon = item.find(u':');
    const int column = colon == item.npos ? -1 : core.findColumn(item.substr(0, colon));
    core::TypeDomain type;
    if (column < 0 || !core::parse_column_type(item.substr(colon + 1), type)) {
      return refuse("--types: \"" + String(item).toUtf8() + "\" names no column and type");
    }
    const String name = core.column(column)->name();
    core.removeColumn(column);
    (void)core.insertColumn(column, name, type);
  }
  core.reserve(static_cast<int>(std::min<std::size_t>(lines, 1u << 30)));
  const int width = core.columnCount();
  Value value;
  while (reader.next(fields)) {
    if (fields.size() == 1 && fields[0].empty()) continue;  // a blank line
    if (static_cast<int>(fields.size()) != width) {
      return refuse("line " + std::to_string(reader.line()) + ": " + std::to_string(fields.size()) +
                    " fields, the header has " + std::to_string(width));
    }
    core::ValueTableLine* line = core.addLine();
    for (int c = 0; c < width; ++c) {
      if (!cell_value(fields[static_cast<std::size_t>(c)], core.column(c)->valueType(), value)) {
        std::string why = "line " + std::to_string(reader.line()) + ": \"";
        why.append(fields[static_cast<std::size_t>(c)].toUtf8()).append("\" is no ");
        why.append(core::column_type_text(core.column(c)->valueType()).toUtf8());
        return refuse(why);
      }
      core.setCell(line, c, value);
    }
    if (progress && core.rowCount() % static_cast<int>(kProgressRows) == 0) {
      std::fprintf(stderr, "\rcoretool: %d rows read", core.rowCount());
    }
  }
  if (progress) std::fprintf(stderr, "\rcoretool: %d rows read\n", core.rowCount());
  return 0;
}

String cell_text(core::IValue* cell) {
  core::Numeric number;
  if (cell->getIType()->getTypeCode() == core::TypeCode::Number && cell->getNumeric(number)) {
    return number.toString();
  }
  return core::to_string(Value(cell));
}

std::string csv_field(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

// Display width: one column per code point, combining marks aside.
std::size_t display_width(const std::string& utf8) {
  std::size_t width = 0;
  for (const char c : utf8) width += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
  return width;
}

void print(const core::ValueTableBase& table, std::string_view format) {
  const core::ValueTableCore& core = table.core();
  const int width = core.columnCount();
  if (format == "list") {
    String text;
    Value(const_cast<core::ValueTableBase*>(&table)).toString(text);
    std::printf("%s\n", text.toUtf8().c_str());
    return;
  }
  std::vector<std::vector<std::string>> rows(static_cast<std::size_t>(core.rowCount()) + 1);
  for (int c = 0; c < width; ++c) rows[0].push_back(core.column(c)->name().toUtf8());
  std::vector<bool> numeric(static_cast<std::size_t>(width), false);
  for (int i = 0; i < core.rowCount(); ++i) {
    for (int c = 0; c < width; ++c) {
      core::IValue* cell = core.cell(core.line(i), c);
      numeric[static_cast<std::size_t>(c)] =
          numeric[static_cast<std::size_t>(c)] ||
          cell->getIType()->getTypeCode() == core::TypeCode::Number;
      rows[static_cast<std::size_t>(i) + 1].push_back(cell_text(cell).toUtf8());
    }
  }
  if (format == "csv") {
    for (const auto& row : rows) {
      std::string line;
      for (std::size_t c = 0; c < row.size(); ++c) {
        if (c > 0) line += ',';
        line += csv_field(row[c]);
      }
      std::printf("%s\r\n", line.c_str());
    }
    return;
  }
  std::vector<std::size_t> widths(static_cast<std::size_t>(width), 0);
  for (const auto& row : rows) {
    for (std::size_t c = 0; c < row.size(); ++c) {
      widths[c] = std::max(widths[c], display_width(row[c]));
    }
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t c = 0; c < row.size(); ++c) {
      const std::string pad(widths[c] - display_width(row[c]), ' ');
      if (c > 0) line += "  ";
      if (numeric[c] && &row != &rows[0]) {
        line.append(pad).append(row[c]);
      } else {
        line.append(row[c]).append(pad);
      }
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    std::printf("%s\n", line.c_str());
  }
}

Value call(const Value& object, const char16_t* method, std::vector<Value> args) {
  std::vector<core::GenericValue*> params;
  params.reserve(args.size());
  for (Value& arg : args) params.push_back(&arg);
  Value result;
  core::call_context_method(core::context_of(object.getIValue()), String(method), params, &result);
  return result;
}

bool is_option(std::string_view arg) { return arg.size() > 2 && arg.substr(0, 2) == "--"; }

int run(const Arguments& args) {
  std::string_view path;
  std::string_view format = "text";
  String types;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--types" && i + 1 < args.size()) {
      types = String::fromUtf8(args[++i]);
    } else if (args[i] == "--format" && i + 1 < args.size()) {
      format = args[++i];
    } else if (!is_option(args[i]) && path.empty()) {
      path = args[i];
    } else if (args[i] == "--sort" || args[i] == "--find" || args[i] == "--columns" ||
               args[i] == "--total") {
      ++i;
    } else if (args[i] == "--group-by") {
      ++i;
      if (i + 1 < args.size() && !is_option(args[i + 1])) ++i;
    } else {
      return usage_error(kTableCommand);
    }
  }
  if (path.empty() || (format != "text" && format != "csv" && format != "list")) {
    return usage_error(kTableCommand);
  }
  std::string bytes;
  if (!read_input(path, bytes)) return 1;
  try {
    const core::InterfacePtr<core::ValueTableBase> made = core::create_value_table();
    const Value table(static_cast<core::IValue*>(made.get()));
    if (const int refused = load(bytes, types, *made); refused != 0) return refused;
    std::vector<std::string> totals;
    for (std::size_t i = 0; i < args.size(); ++i) {
      const auto next = [&] { return Value(String::fromUtf8(args[++i])); };
      if (args[i] == "--types" || args[i] == "--format") {
        ++i;
      } else if (args[i] == "--sort") {
        call(table, u"Sort", {next()});
      } else if (args[i] == "--group-by") {
        const Value groups = next();
        const Value sums = i + 1 < args.size() && !is_option(args[i + 1]) ? next() : Value();
        call(table, u"GroupBy", {groups, sums});
      } else if (args[i] == "--find") {
        const String text = String::fromUtf8(args[++i]);
        Value columns;
        if (i + 2 < args.size() && args[i + 1] == "--columns") {
          columns = Value(String::fromUtf8(args[i + 2]));
          i += 2;
        }
        core::Numeric number;
        const Value wanted = read_number(text, number) ? Value(number) : Value(text);
        Value found = call(table, u"Find", {wanted, columns});
        if (core::is_undefined_value(found) && !wanted.equals(text)) {
          found = call(table, u"Find", {Value(text), columns});
        }
        // The table keeps the row found, or none.
        core::Numeric position(-1);
        if (!core::is_undefined_value(found)) {
          (void)call(table, u"IndexOf", {found}).getNumeric(position);
        }
        core::ValueTableCore& rows = made->core();
        const auto keep = static_cast<long long>(position);
        for (int r = rows.rowCount() - 1; r >= 0; --r) {
          if (r != keep) rows.removeLine(r);
        }
      } else if (args[i] == "--total") {
        const Value column = next();
        core::Numeric sum;
        (void)call(table, u"Total", {column}).getNumeric(sum);
        totals.push_back(core::to_string(column).toUtf8() + " total: " + sum.toString().toUtf8());
      }
    }
    print(*made, format);
    for (const std::string& total : totals) std::printf("%s\n", total.c_str());
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
  return 0;
}

}  // namespace

const Command kTableCommand = {
    "table",
    "  table FILE.csv [--types \"Key:Number(10,0), Name:String(50)\"] [--sort \"Name Desc, Key\"]\n"
    "        [--group-by GROUPS [TOTALS]] [--find VALUE [--columns LIST]] [--total COLUMN]\n"
    "        [--format text|csv|list]\n"
    "                  loads an RFC 4180 file (the first line names the columns) into a\n"
    "                  value table, applies the operations in the order given and prints\n"
    "                  the table aligned, as CSV or as a brace list\n",
    &run};

}  // namespace coretool
