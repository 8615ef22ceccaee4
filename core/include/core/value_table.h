// The value table: rows of values under named, typed columns, with search
// indexes, sorting and grouping. Script code reaches it through its
// bilingual tables (core/context.h) as "ValueTable" / "ТаблицаЗначений":
//
//   core::Value table(core::Type(u"ValueTable").createIValue().get());
//   // table.Columns.Add("Amount", "Number(15,2)"); row = table.Add(); row.Amount = 1.005;
//   core::ValueTableCore& core = core::value_table_of(table.getIValue())->core();
//   core.setCell(core.line(0), 0, core::Value(2.5));
//
// The table object (ValueTableBase) holds its storage (ValueTableCore): the
// columns, one page of rows (ValueTablePage of ValueTableLine) and the
// indexes. The column collection, a column and a row are object values of
// their own (ValueTableColumnCollection, ValueTableColumn, ValueTableRow).
//
// Decisions of this library:
// - Column names are names (is_valid_name), unique in a table and compared
//   with case ignored, as are the direction words of Sort.
// - A column's value type is a TypeDomain. Script code gives it as a Type
//   value, as the text of parse_column_type() ("Number(15,2)", "String(50)",
//   "Date", "Boolean", a registered type's name; "" or Undefined for any
//   type) and reads it back as that text. Every value stored in a column is
//   adjusted to it as TypedValue does: Number(15,2) rounds on the way in.
// - Storage: the table keeps its rows in one page, a vector of rows in row
//   order (Sort and GroupBy reorder that vector; Insert and Delete shift it).
//   A row may own a child page: the tree variant's way to nest rows; the
//   table itself never makes one. A row holds one cell per column slot, so a
//   row of three columns costs 32 bytes, a cell array of three pointers and
//   its slot in the page.
// - Insert(index) above Count appends; a negative index is the
//   parameter-value mismatch. Move(row, offset) to a place outside the table
//   raises "IDS_COLLECTION_BADOFFSET".
// - Find(value, columns) returns the first row, in row order, having `value`
//   in one of the columns (all columns when the list is empty), Undefined
//   when none has. FindRows(filter) takes a Structure of column names and
//   values and returns an Array of the rows that hold all of them, in row
//   order. Values match by the universal equality (GenericValue::equals).
// - Indexes.Add("A, B") makes a hash index on those columns, kept current
//   by every change of the table. Find with one column, and FindRows whose
//   filter names exactly the columns of an index, use it.
// - Sort orders values of different types by type (Undefined, Null,
//   Boolean, Number, Date, String, then other values, which tie), Numbers by
//   value, Dates by time, Booleans false first, Strings by the ICU collator
//   of the thread's locale (case differs only at the third level; "ё" sorts
//   beside "е"). Each string's collation key is made once per sort. The sort
//   is stable. A comparer object is refused (parameter-type mismatch for
//   parameter 2): the platform offers no value-comparison object yet.
// - GroupBy(groups, totals) leaves one row per distinct combination of the
//   group columns, in order of first appearance; each total column holds
//   the exact sum (Numeric) of its Numbers, other values counting as zero;
//   columns named in neither list are dropped, and so are the indexes on
//   them.
// - Total(column) is the exact sum of the column's Numbers.
// - LoadColumn(values, column) writes the values into the rows from the
//   first: a shorter collection leaves the remaining rows as they are, a
//   longer one has its extra values ignored. It takes an Array, a
//   FixedArray or any object offering the for-each protocol.
// - Copy(rows, columns): `rows` is omitted (all rows), an Array of rows of
//   this table, or a Structure filter as FindRows takes; `columns` is a
//   column list (all when omitted or empty). CopyColumns(columns) is an
//   empty table with those columns.
// - FillValues(value, columns) puts `value` in every row's listed columns
//   (all when omitted or empty).
// - ChooseRow(title, row): this library has no user interface; it returns
//   Undefined, what the dialog gives when the user closes it.
// - The brace-list form is the object form of core/persistence.h:
//   {100,<clsid>,<column count>,{name,title,width,{type domain}}...,
//   <row count>,<cells of row 1>...} with each cell in its value form.
//   Reading it back gives an equal table, indexes excepted.
//
// Failures (category ZelUsage (6)): `ContextException` with
// "IDS_PARAMETER_N_TYPE_MISMATCH" or "IDS_PARAMETER_N_VALUE_MISMATCH" (the
// latter followed by "IDS_VT_UNKNOWN_ROW_ERROR" or
// "IDS_VT_UNKNOWN_COLUMN_ERROR" where that is the reason),
// "IDS_INDEX_OFFBOUND", "IDS_COLLECTION_BADOFFSET", "IDS_VT_COLUMNCODE_ERROR",
// "IDS_VT_GROUPBY_INTERSECT_ERROR", "IDS_VT_COLUMNS_NOT_UNIQUE". A method that
// fails changes nothing.
//
// Thread safety: a table, its rows and columns are used by one thread at a
// time; the types and method tables may be used from any thread.
#ifndef CORE_VALUE_TABLE_H_
#define CORE_VALUE_TABLE_H_

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "core/context.h"
#include "core/export.h"
#include "core/guid.h"
#include "core/interface_ptr.h"
#include "core/numeric.h"
#include "core/persistence.h"
#include "core/ref_ptr.h"
#include "core/refcountable.h"
#include "core/string.h"
#include "core/type_domain.h"
#include "core/typed_value.h"
#include "core/value.h"
#include "core/value_impl.h"

namespace core {

// {2B7E5C14-93A0-4F6D-8C21-5E0A7D3B9F41}
inline constexpr GUID kValueTableTypeClsid = {
    0x2B7E5C14, 0x93A0, 0x4F6D, {0x8C, 0x21, 0x5E, 0x0A, 0x7D, 0x3B, 0x9F, 0x41}};
// {3C8F6D25-A4B1-4071-9D32-6F1B8E4CA052}
inline constexpr GUID kValueTableColumnCollectionTypeClsid = {
    0x3C8F6D25, 0xA4B1, 0x4071, {0x9D, 0x32, 0x6F, 0x1B, 0x8E, 0x4C, 0xA0, 0x52}};
// {4D907E36-B5C2-4182-AE43-702C9F5DB163}
inline constexpr GUID kValueTableColumnTypeClsid = {
    0x4D907E36, 0xB5C2, 0x4182, {0xAE, 0x43, 0x70, 0x2C, 0x9F, 0x5D, 0xB1, 0x63}};
// {5EA18F47-C6D3-4293-BF54-813DA06EC274}
inline constexpr GUID kValueTableRowTypeClsid = {
    0x5EA18F47, 0xC6D3, 0x4293, {0xBF, 0x54, 0x81, 0x3D, 0xA0, 0x6E, 0xC2, 0x74}};
// {6FB29058-D7E4-43A4-8065-924EB17FD385}
inline constexpr GUID kValueTableIndexCollectionTypeClsid = {
    0x6FB29058, 0xD7E4, 0x43A4, {0x80, 0x65, 0x92, 0x4E, 0xB1, 0x7F, 0xD3, 0x85}};

// Reads a column's value type from its text: a type name in either language
// with qualifiers in parentheses for the basic types, "Number(15,2)",
// "Number(10,0,nonnegative)", "String(50)", "String" (unlimited), "Date",
// "Boolean", or any registered type's name; "" allows every type. False,
// leaving `out` alone, for anything else.
[[nodiscard]] CORE_EXPORT bool parse_column_type(std::u16string_view text, TypeDomain& out);
// The text parse_column_type() reads back to `type`, in the thread's
// language; types joined by " | " when there are several.
CORE_EXPORT String column_type_text(const TypeDomain& type);

class ValueTableCore;
class ValueTableBase;
class ValueTableColumn;

class ValueTableLine;

// A page of rows in row order. The table has one; a row of the tree variant
// owns one for its children.
class CORE_EXPORT ValueTablePage : public Refcountable<ValueTablePage, AtomicCounter> {
 public:
  ValueTablePage();
  ValueTablePage(const ValueTablePage&) = delete;
  ValueTablePage& operator=(const ValueTablePage&) = delete;

  int count() const noexcept { return static_cast<int>(lines_.size()); }
  // REQUIRES: 0 <= position < count().
  ValueTableLine* line(int position) const noexcept {
    return lines_[static_cast<std::size_t>(position)].get();
  }

 private:
  friend class ValueTableCore;
  friend class Refcountable<ValueTablePage, AtomicCounter>;
  ~ValueTablePage();

  std::vector<RefPtr<ValueTableLine>> lines_;
};

// One row: a cell per column slot of its table, its place in the page and
// an optional child page. Counted: the page and the row objects of script
// code hold it. A row deleted from its table has no owner any more.
class CORE_EXPORT ValueTableLine : public Refcountable<ValueTableLine, AtomicCounter> {
 public:
  ValueTableCore* owner() const noexcept { return owner_; }
  // The row's index in its page. REQUIRES: owner() is not null.
  int index() const noexcept { return index_; }
  ValueTablePage* childPage() const noexcept { return child_.get(); }

 private:
  friend class ValueTableCore;
  friend class Refcountable<ValueTableLine, AtomicCounter>;
  ValueTableLine() = default;
  ~ValueTableLine();

  std::int32_t index_ = 0;
  ValueTableCore* owner_ = nullptr;
  RefPtr<ValueTablePage> child_;
  IValue** cells_ = nullptr;  // one counted value per slot
};

// A column: an object value with the properties Name, ValueType, Title and
// Width. It belongs to one table until deleted from it.
class CORE_EXPORT ValueTableColumn final : public ContextValueBase {
 public:
  static constexpr ContextPropDecl kProps[] = {
      {{u"Name", u"Имя"}, true, true},
      {{u"ValueType", u"ТипЗначения"}, true, false},
      {{u"Title", u"Заголовок"}, true, true},
      {{u"Width", u"Ширина"}, true, true},
  };
  static constexpr ContextTable kTable{kProps, {}};

  const String& name() const noexcept { return name_; }
  const TypeDomain& valueType() const noexcept { return type_; }
  const String& title() const noexcept { return title_; }
  int width() const noexcept { return width_; }
  // The table holding the column, or null once deleted.
  ValueTableCore* owner() const noexcept { return owner_; }
  // `value` as the column stores it (see TypedValue). Throws
  // `TypeException` as TypedValue does.
  InterfacePtr<IValue> adjust(const GenericValue& value);

  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int prop, const GenericValue& value) override;
  bool call(int, GenericValue*, std::vector<GenericValue*>&) override { return false; }

 private:
  friend class ValueTableCore;
  ValueTableColumn(ValueTableCore* owner, String name, const TypeDomain& type, String title,
                   int width, int slot);
  ~ValueTableColumn() override;

  ValueTableCore* owner_;
  String name_;
  TypeDomain type_;
  String title_;
  int width_;
  int slot_;
  bool any_type_;
  Value default_;        // the value of a new row's cell
  TypedValue adjuster_;  // fits values to type_
};

// One key of ValueTableCore::sort().
struct ValueTableSortKey {
  int column = 0;
  bool descending = false;
};

// The storage of a table: columns, rows and indexes, usable from C++.
// Columns and rows are addressed by their 0-based positions. Each method
// throws as the script method does and changes nothing when it throws.
class CORE_EXPORT ValueTableCore : public Refcountable<ValueTableCore, AtomicCounter> {
 public:
  ValueTableCore();
  ValueTableCore(const ValueTableCore&) = delete;
  ValueTableCore& operator=(const ValueTableCore&) = delete;

  // --- Columns.
  int columnCount() const noexcept { return static_cast<int>(columns_.size()); }
  ValueTableColumn* column(int position) const noexcept {
    return columns_[static_cast<std::size_t>(position)].get();
  }
  // The position of the column named `name` (case ignored), or -1.
  int findColumn(std::u16string_view name) const noexcept;
  int columnPosition(const ValueTableColumn* column) const noexcept;
  // Throws `ContextException` ("IDS_PARAMETER_N_VALUE_MISMATCH" for
  // parameter `name_param`) when `name` is not a name or is taken.
  ValueTableColumn* insertColumn(int position, const String& name, const TypeDomain& type,
                                 const String& title = String(), int width = 0,
                                 unsigned name_param = 0);
  ValueTableColumn* addColumn(const String& name, const TypeDomain& type = TypeDomain(),
                              const String& title = String(), int width = 0) {
    return insertColumn(columnCount(), name, type, title, width);
  }
  void removeColumn(int position);
  void moveColumn(int from, int to);
  void clearColumns();
  void renameColumn(ValueTableColumn* column, const String& name);
  // The positions of a comma-separated list of names (blank: none). Throws
  // `ContextException` ("IDS_VT_COLUMNCODE_ERROR") for an unknown name and,
  // when `unique`, ("IDS_VT_COLUMNS_NOT_UNIQUE") for a name given twice.
  std::vector<int> columnList(std::u16string_view list, bool unique = false) const;

  // --- Rows.
  int rowCount() const noexcept { return page_->count(); }
  // REQUIRES: 0 <= position < rowCount().
  ValueTableLine* line(int position) const noexcept { return page_->line(position); }
  const ValueTablePage& page() const noexcept { return *page_; }
  // The cell of `line` under the column at `column`. No new reference.
  IValue* cell(const ValueTableLine* line, int column) const noexcept {
    return line->cells_[columns_[static_cast<std::size_t>(column)]->slot_];
  }
  // A new row of the columns' default values at `position` (<= rowCount()).
  ValueTableLine* insertLine(int position);
  ValueTableLine* addLine() { return insertLine(rowCount()); }
  void removeLine(int position);
  void moveLine(int from, int to);
  void clearLines();
  // Stores `value`, adjusted to the column's type, and updates the indexes.
  void setCell(ValueTableLine* line, int column, const GenericValue& value);
  void reserve(int rows);

  // --- Indexes.
  int indexCount() const noexcept;
  // The columns of the index at `position`.
  std::vector<int> indexColumns(int position) const;
  void addIndex(const std::vector<int>& columns);
  void removeIndex(int position);
  void clearIndexes() noexcept;

  // --- Operations.
  // The first row holding `value` in one of `columns` (every column when
  // empty), or null.
  ValueTableLine* find(const GenericValue& value, const std::vector<int>& columns) const;
  // The rows holding values[i] in columns[i] for every i, in row order.
  std::vector<ValueTableLine*> findLines(const std::vector<int>& columns,
                                         const std::vector<Value>& values) const;
  Numeric total(int column) const;
  void sort(const std::vector<ValueTableSortKey>& keys);
  // Throws `ContextException` ("IDS_VT_GROUPBY_INTERSECT_ERROR") when a
  // column is in both lists.
  void groupBy(const std::vector<int>& groups, const std::vector<int>& totals);

  // The definition of the row objects: Owner, then the columns by name.
  IContextDefBase* rowDef();

 private:
  friend class Refcountable<ValueTableCore, AtomicCounter>;
  friend class ValueTableColumn;
  struct Index;
  class RowDef;
  ~ValueTableCore();

  int takeSlot();
  void releaseCells(ValueTableLine* line) noexcept;
  // releaseCells() of every line of `lines`, which then go.
  void releaseLines(std::vector<RefPtr<ValueTableLine>>& lines) noexcept;
  void renumber(std::size_t from) noexcept;
  void indexInsert(ValueTableLine* line);
  void indexErase(ValueTableLine* line) noexcept;
  void rebuildIndexes();
  void columnsChanged();
  const Index* indexFor(const std::vector<int>& columns) const noexcept;

  std::vector<InterfacePtr<ValueTableColumn>> columns_;
  RefPtr<ValueTablePage> page_;
  std::vector<int> free_slots_;
  int slot_count_ = 0;
  std::vector<std::unique_ptr<Index>> indexes_;
  InterfacePtr<IContextDefBase> row_def_;
};

// The data-source view of a table, for grids and other editors.
class IQ9DSColumnInfo : public IUnknown {
 public:
  // {7A0C3169-E8F5-44B5-9176-A35FC280E496}
  static constexpr GUID kIid = {
      0x7A0C3169, 0xE8F5, 0x44B5, {0x91, 0x76, 0xA3, 0x5F, 0xC2, 0x80, 0xE4, 0x96}};
  virtual int columnCount() = 0;
  // The column's name, and its title (the name when it has none); empty
  // outside the table.
  virtual String columnId(int column) = 0;
  virtual String columnDescription(int column) = 0;

 protected:
  ~IQ9DSColumnInfo() override = default;
};

// Editing through bookmarks: a bookmark names one row for as long as it
// lives, whatever Sort, Insert or Delete do to its place. A row being edited
// keeps its former cells until endEdit() (which keeps the changes) or
// cancelEdit() (which restores them, or deletes a row made by addRow()).
// Each throws `ContextException` ("IDS_PARAMETER_N_VALUE_MISMATCH" followed
// by "IDS_VT_UNKNOWN_ROW_ERROR") for a bookmark of no row of the table.
class IQ9DataSourceEdit : public IUnknown {
 public:
  // {8B1D427A-F906-45C6-A287-B460D391F5A7}
  static constexpr GUID kIid = {
      0x8B1D427A, 0xF906, 0x45C6, {0xA2, 0x87, 0xB4, 0x60, 0xD3, 0x91, 0xF5, 0xA7}};
  // The bookmark of the row at `position`.
  virtual std::uint64_t bookmark(int position) = 0;
  // The position of a bookmarked row, -1 when it is gone.
  virtual int position(std::uint64_t bookmark) = 0;
  // A new row at the end, being edited.
  virtual std::uint64_t addRow() = 0;
  virtual void deleteRow(std::uint64_t bookmark) = 0;
  virtual void endEdit(std::uint64_t bookmark) = 0;
  virtual void cancelEdit(std::uint64_t bookmark) = 0;
  virtual void setCellValue(std::uint64_t bookmark, int column, const GenericValue& value) = 0;

 protected:
  ~IQ9DataSourceEdit() override = default;
};

// The table object of script code.
class CORE_EXPORT ValueTableBase final : public ContextValueBase, public ISerializableValue {
 public:
  static constexpr ContextPropDecl kProps[] = {
      {{u"Columns", u"Колонки"}, true, false},
      {{u"Indexes", u"Индексы"}, true, false},
  };
  static constexpr ContextParamDefault kOneOptional[] = {ContextParamDefault::notGiven()};
  static constexpr ContextParamDefault kTwoOptional[] = {ContextParamDefault::notGiven(),
                                                         ContextParamDefault::notGiven()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"IndexOf", u"Индекс"}, 1, true},
      {{u"Add", u"Добавить"}, 0, true},
      {{u"Insert", u"Вставить"}, 1, true},
      {{u"Delete", u"Удалить"}, 1, false},
      {{u"Clear", u"Очистить"}, 0, false},
      {{u"Move", u"Сдвинуть"}, 2, false},
      {{u"Find", u"Найти"}, 2, true, kOneOptional},
      {{u"FindRows", u"НайтиСтроки"}, 1, true},
      {{u"Total", u"Итог"}, 1, true},
      {{u"Sort", u"Сортировать"}, 2, false, kOneOptional},
      {{u"LoadColumn", u"ЗагрузитьКолонку"}, 2, false},
      {{u"UnloadColumn", u"ВыгрузитьКолонку"}, 1, true},
      {{u"Get", u"Получить"}, 1, true},
      {{u"Copy", u"Скопировать"}, 2, true, kTwoOptional},
      {{u"CopyColumns", u"СкопироватьКолонки"}, 1, true, kOneOptional},
      {{u"GroupBy", u"Свернуть"}, 2, false, kOneOptional},
      {{u"ChooseRow", u"ВыбратьСтроку"}, 2, true, kTwoOptional},
      {{u"FillValues", u"ЗаполнитьЗначения"}, 2, false, kOneOptional},
  };
  static constexpr ContextTable kTable{kProps, kMethods};

  ValueTableBase();
  ValueTableCore& core() const noexcept { return *core_; }

  bool getPropVal(int prop, GenericValue& value) override;
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override;
  bool queryInterface(const GUID& iid, void** out) override;
  int32_t acquire() override { return ContextValueBase::acquire(); }
  int32_t release() override { return ContextValueBase::release(); }
  void serialize(IOutPersistenceStorage* storage) override;

  // The row object of `line`, a row of this table.
  InterfacePtr<IValue> rowValue(ValueTableLine* line);

 private:
  ~ValueTableBase() override;

  // The line given as a row object or a Number index in parameter `param`.
  ValueTableLine* lineArgument(const GenericValue& value, unsigned param) const;
  int columnArgument(const GenericValue& value, unsigned param) const;
  void copy(GenericValue* ret_val, std::vector<GenericValue*>& params);
  void loadColumn(std::vector<GenericValue*>& params);
  void sort(std::vector<GenericValue*>& params);
  std::vector<ValueTableLine*> filteredLines(const GenericValue& filter, unsigned param) const;

  RefPtr<ValueTableCore> core_;
};

// The data-source adapter of one table (see the interfaces above).
class CORE_EXPORT ValueTableDS final : public UnknownImpl<IQ9DSColumnInfo, IQ9DataSourceEdit> {
 public:
  explicit ValueTableDS(ValueTableBase* table);

  int columnCount() override;
  String columnId(int column) override;
  String columnDescription(int column) override;
  std::uint64_t bookmark(int position) override;
  int position(std::uint64_t bookmark) override;
  std::uint64_t addRow() override;
  void deleteRow(std::uint64_t bookmark) override;
  void endEdit(std::uint64_t bookmark) override;
  void cancelEdit(std::uint64_t bookmark) override;
  void setCellValue(std::uint64_t bookmark, int column, const GenericValue& value) override;

 private:
  struct Edit {
    std::vector<Value> saved;  // the cells before the edit, by column position
    bool added = false;
  };
  ~ValueTableDS() override;
  ValueTableLine* lineOf(std::uint64_t bookmark);

  InterfacePtr<ValueTableBase> table_;
  std::vector<std::pair<std::uint64_t, RefPtr<ValueTableLine>>> marks_;
  std::vector<std::pair<std::uint64_t, Edit>> edits_;
  std::uint64_t next_mark_ = 1;
};

// A new empty table, count 1.
CORE_EXPORT InterfacePtr<ValueTableBase> create_value_table();
// The table held by `value`, or null when it holds something else.
CORE_EXPORT ValueTableBase* value_table_of(IValue* value) noexcept;

namespace detail {
// The class objects of the library's class map: 0 the table, 1 the column
// collection, 2 the column, 3 the row, 4 the index collection.
template <int kIndex>
IUnknown* value_table_type_object();
}  // namespace detail

}  // namespace core

#endif  // CORE_VALUE_TABLE_H_
