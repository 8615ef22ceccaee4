// Implements core/value_table.h: the value table, its columns, rows, indexes and data-source view.
#include "core/value_table.h"

#include <unicode/coll.h>
#include <unicode/locid.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>

#include "core/collections.h"
#include "core/context_iterator.h"
#include "core/exception_classes.h"
#include "core/language.h"
#include "core/messages.h"
#include "core/name.h"
#include "core/nocase.h"
#include "core/parameter_errors.h"
#include "core/thread.h"
#include "core/typed_value.h"
#include "internal/chars.h"
#include "internal/icu.h"
#include "internal/kept_types.h"
#include "internal/throw.h"

namespace core {
namespace {

enum Kind : int { kTableKind = 0, kColumnsKind, kColumnKind, kRowKind, kIndexesKind, kKindCount };

IType* table_type(int kind) noexcept;

void put_result(GenericValue* ret_val, int value) {
  if (ret_val != nullptr) ret_val->assign(value);
}
void put_object(GenericValue* ret_val, const InterfacePtr<IValue>& value) {
  if (ret_val != nullptr) ret_val->setIValue(value.get());
}

TypeCode type_code(const IValue* value) { return value->getIType()->getTypeCode(); }
TypeCode type_code(const GenericValue& value) { return type_code(value.getIValue()); }

// An optional argument counts as omitted when it is Undefined, which is
// also what the caller receives for one left out.
bool given(const GenericValue& value) { return !is_undefined_value(value); }

String string_argument(const GenericValue& value, unsigned param) {
  if (type_code(value) != TypeCode::String) parameter_type_mismatch(param);
  String text;
  (void)value.getString(text);
  return text;
}

[[noreturn]] void unknown_row(unsigned param) {
  parameter_value_mismatch(param, load_core_wstring("IDS_VT_UNKNOWN_ROW_ERROR"));
}
[[noreturn]] void unknown_column(unsigned param) {
  parameter_value_mismatch(param, load_core_wstring("IDS_VT_UNKNOWN_COLUMN_ERROR"));
}
[[noreturn]] void column_code_error() { throw ContextException("IDS_VT_COLUMNCODE_ERROR"); }

// The items of a comma-separated list, trimmed; none for a blank list.
std::vector<std::u16string_view> split_list(std::u16string_view list) {
  std::vector<std::u16string_view> items;
  if (detail::trim_white_space(list).empty()) return items;
  while (true) {
    const std::size_t comma = list.find(u',');
    items.push_back(detail::trim_white_space(list.substr(0, comma)));
    if (comma == std::u16string_view::npos) break;
    list.remove_prefix(comma + 1);
  }
  return items;
}

std::uint32_t combine_hash(std::uint32_t seed, IValue* value) {
  return (seed ^ static_cast<std::uint32_t>(value->hashCode())) * 0x9E3779B1u;
}

// Sets `slot` to hold `value`, counted.
void store_cell(IValue*& slot, IValue* value) noexcept {
  value->holdRef();
  IValue* old = std::exchange(slot, value);
  if (old != nullptr) old->dropRef();
}

// The statically known row-object tables.
constexpr ContextPropDecl kRowProps[] = {{{u"Owner", u"Владелец"}, true, false}};
constexpr ContextMethodDecl kRowMethods[] = {
    {{u"Get", u"Получить"}, 1, true},
    {{u"Set", u"Установить"}, 2, false},
};
constexpr ContextTable kRowTable{kRowProps, kRowMethods};

}  // namespace

// ---------------------------------------------------------------------------
// Column types.

namespace {

// The unsigned numbers of "(15, 2)", at most three; false when malformed.
bool parse_qualifier_numbers(std::u16string_view text, std::vector<std::u16string_view>& words) {
  for (const std::u16string_view item : split_list(text)) {
    if (item.empty()) return false;
    words.push_back(item);
  }
  return true;
}

bool parse_unsigned(std::u16string_view text, unsigned limit, unsigned& out) {
  if (text.empty() || text.size() > 9) return false;
  unsigned value = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') return false;
    value = value * 10 + static_cast<unsigned>(unit - u'0');
  }
  if (value > limit) return false;
  out = value;
  return true;
}

bool is_word(std::u16string_view text, const char16_t* english, const char16_t* russian) {
  return compare_nocase(text, english) == 0 || compare_nocase(text, russian) == 0;
}

}  // namespace

bool parse_column_type(std::u16string_view text, TypeDomain& out) {
  text = detail::trim_white_space(text);
  if (text.empty()) {
    out = TypeDomain();
    return true;
  }
  std::u16string_view name = text;
  std::vector<std::u16string_view> args;
  const std::size_t open = text.find(u'(');
  if (open != std::u16string_view::npos) {
    if (text.back() != u')') return false;
    name = detail::trim_white_space(text.substr(0, open));
    if (!parse_qualifier_numbers(text.substr(open + 1, text.size() - open - 2), args)) {
      return false;
    }
  }
  IType* type = nullptr;
  InterfacePtr<IType> held;
  try {
    const Type found{String(name)};
    held.reset(found.getIType());
    type = held.get();
  } catch (const Exception&) {
    return false;
  }
  TypeDomainPattern pattern(type->getCLSID());
  const TypeCode code = type->getTypeCode();
  if (code == TypeCode::Number && !args.empty()) {
    unsigned digits = 0;
    unsigned fraction = 0;
    if (args.size() > 3 || !parse_unsigned(args[0], NumericQualifiers::kMaxDigits, digits) ||
        (args.size() > 1 && !parse_unsigned(args[1], digits, fraction))) {
      return false;
    }
    bool nonnegative = false;
    if (args.size() == 3) {
      if (!is_word(args[2], u"nonnegative", u"неотрицательное")) return false;
      nonnegative = true;
    }
    pattern.setNumericQualifiers(NumericQualifiers(digits, fraction, nonnegative));
  } else if (code == TypeCode::String && !args.empty()) {
    unsigned length = 0;
    if (args.size() > 2 ||
        !parse_unsigned(args[0], std::numeric_limits<std::int32_t>::max(), length)) {
      return false;
    }
    LengthKind kind = LengthKind::Variable;
    if (args.size() == 2) {
      if (!is_word(args[1], u"fixed", u"фиксированная")) return false;
      kind = LengthKind::Fixed;
    }
    pattern.setStringQualifiers(StringQualifiers(length, kind));
  } else if (code == TypeCode::Date && !args.empty()) {
    if (args.size() > 1) return false;
    if (is_word(args[0], u"Date", u"Дата")) {
      pattern.setDateQualifiers(DateQualifiers(DateParts::Date));
    } else if (is_word(args[0], u"Time", u"Время")) {
      pattern.setDateQualifiers(DateQualifiers(DateParts::Time));
    } else if (!is_word(args[0], u"DateTime", u"ДатаВремя")) {
      return false;
    }
  } else if (!args.empty()) {
    return false;
  }
  out = TypeDomain(std::move(pattern));
  return true;
}

String column_type_text(const TypeDomain& type) {
  std::u16string text;
  const bool russian = Thread::language() == Language::Russian;
  type.forEach([&](const GUID& clsid) {
    if (!text.empty()) text += u" | ";
    IType* found = nullptr;
    InterfacePtr<IType> held;
    try {
      held.reset(Type(clsid).getIType());
      found = held.get();
    } catch (const Exception&) {
      text += String(clsid.toString());
      return;
    }
    text += found->getName(russian ? Language::Russian : Language::English);
    const auto number = [&](unsigned value) { text += String::fromUtf8(std::to_string(value)); };
    switch (found->getTypeCode()) {
      case TypeCode::Number: {
        const NumericQualifiers& q = type.numericQualifiers();
        if (q.digits() == 0) break;
        text += u'(';
        number(q.digits());
        text += u',';
        number(q.fraction());
        if (q.nonnegative()) text += russian ? u",неотрицательное" : u",nonnegative";
        text += u')';
        break;
      }
      case TypeCode::String: {
        const StringQualifiers& q = type.stringQualifiers();
        if (q.length() == 0) break;
        text += u'(';
        number(q.length());
        if (q.lengthKind() == LengthKind::Fixed) text += russian ? u",фиксированная" : u",fixed";
        text += u')';
        break;
      }
      case TypeCode::Date: {
        const DateQualifiers& q = type.dateQualifiers();
        if (q == DateQualifiers(DateParts::Date)) text += russian ? u"(Дата)" : u"(Date)";
        if (q == DateQualifiers(DateParts::Time)) text += russian ? u"(Время)" : u"(Time)";
        break;
      }
      default:
        break;
    }
  });
  return String(text);
}

// ---------------------------------------------------------------------------
// Pages and lines.

ValueTablePage::ValueTablePage() = default;
ValueTablePage::~ValueTablePage() = default;
ValueTableLine::~ValueTableLine() = default;

// ---------------------------------------------------------------------------
// Columns.

ValueTableColumn::ValueTableColumn(ValueTableCore* owner, String name, const TypeDomain& type,
                                   String title, int width, int slot)
    : ContextValueBase(table_type(kColumnKind), static_context_def<kTable>()),
      owner_(owner),
      name_(std::move(name)),
      type_(type),
      title_(std::move(title)),
      width_(width),
      slot_(slot),
      any_type_(type.empty()),
      default_(TypedValue(type)),
      adjuster_(type) {}

ValueTableColumn::~ValueTableColumn() = default;

InterfacePtr<IValue> ValueTableColumn::adjust(const GenericValue& value) {
  if (any_type_) return InterfacePtr<IValue>(value.getIValue());
  adjuster_ = value;
  return InterfacePtr<IValue>(adjuster_.getIValue());
}

bool ValueTableColumn::getPropVal(int prop, GenericValue& value) {
  switch (prop) {
    case 0:
      value.assign(name_);
      return true;
    case 1:
      value.assign(column_type_text(type_));
      return true;
    case 2:
      value.assign(title_);
      return true;
    case 3:
      value.assign(width_);
      return true;
    default:
      return false;
  }
}

bool ValueTableColumn::setPropVal(int prop, const GenericValue& value) {
  switch (prop) {
    case 0: {
      const String name = string_argument(value, 0);
      if (owner_ != nullptr) {
        owner_->renameColumn(this, name);
      } else {
        if (!is_valid_name(name)) parameter_value_mismatch(0);
        name_ = name;
      }
      return true;
    }
    case 2:
      title_ = string_argument(value, 0);
      return true;
    case 3:
      width_ = static_cast<int>(std::clamp<long long>(collection_index_argument(value, 0), 0,
                                                      std::numeric_limits<int>::max()));
      return true;
    default:
      return false;
  }
}

// ---------------------------------------------------------------------------
// The storage.

struct ValueTableCore::Index {
  std::vector<int> slots;  // the columns, by slot
  std::unordered_multimap<std::uint32_t, ValueTableLine*> lines;

  bool covers(int slot) const { return std::find(slots.begin(), slots.end(), slot) != slots.end(); }
  std::uint32_t hashOf(const ValueTableLine* line) const {
    std::uint32_t hash = 0;
    for (const int slot : slots) hash = combine_hash(hash, line->cells_[slot]);
    return hash;
  }
};

// The definition of the rows: Owner, then one property per column.
class ValueTableCore::RowDef final : public VTContextDefBase {
 public:
  explicit RowDef(const ValueTableCore* core) noexcept : VTContextDefBase(kRowTable), core_(core) {}
  void namesChanged() { dynamicPropsChanged(); }

 protected:
  int dynamicPropCount() override { return core_->columnCount(); }
  const char16_t* dynamicPropName(int prop, int lang) override {
    if (prop < 0 || prop >= core_->columnCount() || (lang != 0 && lang != 1)) return nullptr;
    return core_->column(prop)->name().c_str();
  }
  bool isDynamicPropWritable(int prop) override { return prop >= 0 && prop < core_->columnCount(); }

 private:
  ~RowDef() override = default;
  const ValueTableCore* core_;
};

ValueTableCore::ValueTableCore() : page_(new ValueTablePage) {}

ValueTableCore::~ValueTableCore() {
  releaseLines(page_->lines_);
  for (auto& column : columns_) column->owner_ = nullptr;
}

IContextDefBase* ValueTableCore::rowDef() {
  if (!row_def_) row_def_.reset(new RowDef(this));
  return row_def_.get();
}

void ValueTableCore::columnsChanged() {
  if (row_def_) static_cast<RowDef*>(row_def_.get())->namesChanged();
}

int ValueTableCore::findColumn(std::u16string_view name) const noexcept {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (compare_nocase(columns_[i]->name_, name) == 0) return static_cast<int>(i);
  }
  return -1;
}

int ValueTableCore::columnPosition(const ValueTableColumn* column) const noexcept {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].get() == column) return static_cast<int>(i);
  }
  return -1;
}

std::vector<int> ValueTableCore::columnList(std::u16string_view list, bool unique) const {
  std::vector<int> positions;
  for (const std::u16string_view name : split_list(list)) {
    const int found = findColumn(name);
    if (found < 0) column_code_error();
    if (std::find(positions.begin(), positions.end(), found) != positions.end()) {
      if (unique) throw ContextException("IDS_VT_COLUMNS_NOT_UNIQUE");
      continue;
    }
    positions.push_back(found);
  }
  return positions;
}

int ValueTableCore::takeSlot() {
  if (!free_slots_.empty()) {
    const int slot = free_slots_.back();
    free_slots_.pop_back();
    return slot;
  }
  // Every line gets room for one slot more.
  const int slot = slot_count_;
  const std::size_t size = static_cast<std::size_t>(slot_count_) + 1;
  std::vector<IValue**> grown;
  grown.reserve(page_->lines_.size());
  try {
    for (std::size_t i = 0; i < page_->lines_.size(); ++i) grown.push_back(new IValue*[size]);
  } catch (...) {
    for (IValue** cells : grown) delete[] cells;
    throw;
  }
  for (std::size_t i = 0; i < page_->lines_.size(); ++i) {
    ValueTableLine* line = page_->lines_[i].get();
    std::copy(line->cells_, line->cells_ + slot_count_, grown[i]);
    grown[i][slot] = nullptr;
    delete[] line->cells_;
    line->cells_ = grown[i];
  }
  ++slot_count_;
  return slot;
}

ValueTableColumn* ValueTableCore::insertColumn(int position, const String& name,
                                               const TypeDomain& type, const String& title,
                                               int width, unsigned name_param) {
  if (!is_valid_name(name) || findColumn(name) >= 0) parameter_value_mismatch(name_param);
  position = std::clamp(position, 0, columnCount());
  InterfacePtr<ValueTableColumn> column(new ValueTableColumn(this, name, type, title, width, -1));
  columns_.reserve(columns_.size() + 1);
  const int slot = takeSlot();
  column->slot_ = slot;
  IValue* initial = column->default_.getIValue();
  for (auto& line : page_->lines_) {
    line->cells_[slot] = nullptr;
    store_cell(line->cells_[slot], initial);
  }
  columns_.insert(columns_.begin() + position, column);
  columnsChanged();
  return column.get();
}

void ValueTableCore::removeColumn(int position) {
  ValueTableColumn* column = this->column(position);
  const int slot = column->slot_;
  std::erase_if(indexes_,
                [slot](const std::unique_ptr<Index>& index) { return index->covers(slot); });
  for (auto& line : page_->lines_) {
    IValue* old = std::exchange(line->cells_[slot], nullptr);
    if (old != nullptr) old->dropRef();
  }
  free_slots_.push_back(slot);
  column->owner_ = nullptr;
  columns_.erase(columns_.begin() + position);
  columnsChanged();
}

void ValueTableCore::moveColumn(int from, int to) {
  InterfacePtr<ValueTableColumn> column = columns_[static_cast<std::size_t>(from)];
  columns_.erase(columns_.begin() + from);
  columns_.insert(columns_.begin() + to, column);
  columnsChanged();
}

void ValueTableCore::clearColumns() {
  while (!columns_.empty()) removeColumn(columnCount() - 1);
}

void ValueTableCore::renameColumn(ValueTableColumn* column, const String& name) {
  const int taken = findColumn(name);
  if (!is_valid_name(name) || (taken >= 0 && this->column(taken) != column)) {
    parameter_value_mismatch(0);
  }
  column->name_ = name;
  columnsChanged();
}

void ValueTableCore::releaseCells(ValueTableLine* line) noexcept {
  if (line->cells_ != nullptr) {
    for (int slot = 0; slot < slot_count_; ++slot) {
      if (line->cells_[slot] != nullptr) line->cells_[slot]->dropRef();
    }
    delete[] line->cells_;
    line->cells_ = nullptr;
  }
  line->owner_ = nullptr;
}

void ValueTableCore::releaseLines(std::vector<RefPtr<ValueTableLine>>& lines) noexcept {
  // The lines and their values lie all over the heap: fetching a few rows
  // ahead lets the memory system work on several at once.
  constexpr std::size_t kAhead = 8;
  const std::size_t n = lines.size();
  for (std::size_t i = 0; i < n; ++i) {
    if (i + 2 * kAhead < n) __builtin_prefetch(lines[i + 2 * kAhead].get());
    if (i + kAhead + kAhead / 2 < n) __builtin_prefetch(lines[i + kAhead + kAhead / 2]->cells_);
    if (i + kAhead < n) {
      const ValueTableLine* ahead = lines[i + kAhead].get();
      if (ahead->cells_ != nullptr) {
        for (int slot = 0; slot < slot_count_; ++slot) __builtin_prefetch(ahead->cells_[slot]);
      }
    }
    releaseCells(lines[i].get());
    lines[i].reset();
  }
  lines.clear();
}

void ValueTableCore::renumber(std::size_t from) noexcept {
  auto& lines = page_->lines_;
  for (std::size_t i = from; i < lines.size(); ++i) lines[i]->index_ = static_cast<std::int32_t>(i);
}

void ValueTableCore::reserve(int rows) {
  page_->lines_.reserve(static_cast<std::size_t>(std::max(rows, 0)));
}

ValueTableLine* ValueTableCore::insertLine(int position) {
  auto& lines = page_->lines_;
  if (lines.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    throw collect_error_bad_index();
  }
  RefPtr<ValueTableLine> line(new ValueTableLine);
  line->cells_ = new IValue*[static_cast<std::size_t>(std::max(slot_count_, 1))]();
  line->owner_ = this;
  for (const auto& column : columns_) {
    store_cell(line->cells_[column->slot_], column->default_.getIValue());
  }
  if (lines.size() == lines.capacity()) lines.reserve(lines.size() * 2 + 16);
  try {
    indexInsert(line.get());
  } catch (...) {
    indexErase(line.get());
    releaseCells(line.get());
    throw;
  }
  lines.insert(lines.begin() + position, line);
  renumber(static_cast<std::size_t>(position));
  return line.get();
}

void ValueTableCore::removeLine(int position) {
  auto& lines = page_->lines_;
  RefPtr<ValueTableLine> line = lines[static_cast<std::size_t>(position)];
  indexErase(line.get());
  lines.erase(lines.begin() + position);
  renumber(static_cast<std::size_t>(position));
  releaseCells(line.get());
}

void ValueTableCore::moveLine(int from, int to) {
  auto& lines = page_->lines_;
  const auto begin = lines.begin();
  if (from < to) {
    std::rotate(begin + from, begin + from + 1, begin + to + 1);
  } else {
    std::rotate(begin + to, begin + from, begin + from + 1);
  }
  renumber(static_cast<std::size_t>(std::min(from, to)));
}

void ValueTableCore::clearLines() {
  for (auto& index : indexes_) index->lines.clear();
  releaseLines(page_->lines_);
}

void ValueTableCore::setCell(ValueTableLine* line, int column, const GenericValue& value) {
  ValueTableColumn* target = columns_[static_cast<std::size_t>(column)].get();
  const InterfacePtr<IValue> adjusted = target->adjust(value);
  const int slot = target->slot_;
  bool indexed = false;
  for (const auto& index : indexes_) indexed = indexed || index->covers(slot);
  if (!indexed) {
    store_cell(line->cells_[slot], adjusted.get());
    return;
  }
  indexErase(line);
  store_cell(line->cells_[slot], adjusted.get());
  indexInsert(line);
}

// ---------------------------------------------------------------------------
// Indexes.

int ValueTableCore::indexCount() const noexcept { return static_cast<int>(indexes_.size()); }

std::vector<int> ValueTableCore::indexColumns(int position) const {
  std::vector<int> positions;
  for (const int slot : indexes_[static_cast<std::size_t>(position)]->slots) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i]->slot_ == slot) positions.push_back(static_cast<int>(i));
    }
  }
  return positions;
}

void ValueTableCore::addIndex(const std::vector<int>& columns) {
  auto index = std::make_unique<Index>();
  for (const int column : columns) index->slots.push_back(this->column(column)->slot_);
  index->lines.reserve(page_->lines_.size());
  for (const auto& line : page_->lines_)
    index->lines.emplace(index->hashOf(line.get()), line.get());
  indexes_.push_back(std::move(index));
}

void ValueTableCore::removeIndex(int position) { indexes_.erase(indexes_.begin() + position); }

void ValueTableCore::clearIndexes() noexcept { indexes_.clear(); }

void ValueTableCore::indexInsert(ValueTableLine* line) {
  for (auto& index : indexes_) index->lines.emplace(index->hashOf(line), line);
}

void ValueTableCore::indexErase(ValueTableLine* line) noexcept {
  for (auto& index : indexes_) {
    auto [first, last] = index->lines.equal_range(index->hashOf(line));
    for (; first != last; ++first) {
      if (first->second == line) {
        index->lines.erase(first);
        break;
      }
    }
  }
}

void ValueTableCore::rebuildIndexes() {
  for (auto& index : indexes_) {
    index->lines.clear();
    for (const auto& line : page_->lines_) {
      index->lines.emplace(index->hashOf(line.get()), line.get());
    }
  }
}

const ValueTableCore::Index* ValueTableCore::indexFor(
    const std::vector<int>& columns) const noexcept {
  for (const auto& index : indexes_) {
    if (index->slots.size() != columns.size()) continue;
    const bool same = std::all_of(columns.begin(), columns.end(), [&](int column) {
      return index->covers(columns_[static_cast<std::size_t>(column)]->slot_);
    });
    if (same) return index.get();
  }
  return nullptr;
}

// ---------------------------------------------------------------------------
// Search and totals.

ValueTableLine* ValueTableCore::find(const GenericValue& value,
                                     const std::vector<int>& columns) const {
  if (columns.size() == 1) {
    if (const Index* index = indexFor(columns)) {
      const int slot = index->slots[0];
      ValueTableLine* best = nullptr;
      auto [first, last] = index->lines.equal_range(combine_hash(0, value.getIValue()));
      for (; first != last; ++first) {
        ValueTableLine* line = first->second;
        if ((best == nullptr || line->index_ < best->index_) && value.equals(line->cells_[slot])) {
          best = line;
        }
      }
      return best;
    }
  }
  std::vector<int> slots;
  for (const auto& column : columns_) slots.push_back(column->slot_);
  if (!columns.empty()) {
    slots.clear();
    for (const int column : columns) slots.push_back(this->column(column)->slot_);
  }
  for (const auto& line : page_->lines_) {
    for (const int slot : slots) {
      if (value.equals(line->cells_[slot])) return line.get();
    }
  }
  return nullptr;
}

std::vector<ValueTableLine*> ValueTableCore::findLines(const std::vector<int>& columns,
                                                       const std::vector<Value>& values) const {
  std::vector<ValueTableLine*> found;
  std::vector<int> slots;
  slots.reserve(columns.size());
  for (const int column : columns) slots.push_back(this->column(column)->slot_);
  const auto matches = [&](const ValueTableLine* line) {
    for (std::size_t i = 0; i < slots.size(); ++i) {
      if (!values[i].equals(line->cells_[slots[i]])) return false;
    }
    return true;
  };
  if (const Index* index = columns.empty() ? nullptr : indexFor(columns)) {
    std::uint32_t hash = 0;
    for (const int slot : index->slots) {
      const auto at = std::find(slots.begin(), slots.end(), slot) - slots.begin();
      hash = combine_hash(hash, values[static_cast<std::size_t>(at)].getIValue());
    }
    auto [first, last] = index->lines.equal_range(hash);
    for (; first != last; ++first) {
      if (matches(first->second)) found.push_back(first->second);
    }
    std::sort(found.begin(), found.end(), [](const ValueTableLine* a, const ValueTableLine* b) {
      return a->index_ < b->index_;
    });
    return found;
  }
  for (const auto& line : page_->lines_) {
    if (matches(line.get())) found.push_back(line.get());
  }
  return found;
}

Numeric ValueTableCore::total(int column) const {
  const int slot = this->column(column)->slot_;
  Numeric sum;
  Numeric term;
  for (const auto& line : page_->lines_) {
    IValue* cell = line->cells_[slot];
    if (type_code(cell) == TypeCode::Number && cell->getNumeric(term)) sum += term;
  }
  return sum;
}

// ---------------------------------------------------------------------------
// Sorting.

namespace {

// The rank of each value's kind in the order of Sort.
int kind_rank(TypeCode code) {
  switch (code) {
    case TypeCode::Undefined:
      return 0;
    case TypeCode::Null:
      return 1;
    case TypeCode::Boolean:
      return 2;
    case TypeCode::Number:
      return 3;
    case TypeCode::Date:
      return 4;
    case TypeCode::String:
      return 5;
    default:
      return 6;
  }
}

using Keyed = std::vector<std::pair<std::uint64_t, std::uint32_t>>;

// Sorts `keyed` by key, keeping the order of equal keys (a least significant
// digit radix sort: as many 11-bit passes as `max_key` needs).
void radix_sort(Keyed& keyed, std::uint64_t max_key) {
  constexpr int kBits = 11;
  constexpr std::size_t kBuckets = std::size_t{1} << kBits;
  Keyed spare(keyed.size());
  for (int shift = 0; shift < 64 && (max_key >> shift) != 0; shift += kBits) {
    std::vector<std::size_t> starts(kBuckets + 1, 0);
    for (const auto& entry : keyed) ++starts[((entry.first >> shift) & (kBuckets - 1)) + 1];
    for (std::size_t b = 1; b <= kBuckets; ++b) starts[b] += starts[b - 1];
    for (const auto& entry : keyed)
      spare[starts[(entry.first >> shift) & (kBuckets - 1)]++] = entry;
    keyed.swap(spare);
  }
}

using Ranks = std::vector<std::uint32_t>;

// Gives the rows `rows` consecutive ranks from `next` on, equal where
// `same` says two neighbours in `rows` (sorted already) tie.
template <class Same>
std::uint32_t assign_ranks(const std::vector<std::uint32_t>& rows, Same same, Ranks& ranks,
                           std::uint32_t next) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i > 0 && !same(rows[i - 1], rows[i])) ++next;
    ranks[rows[i]] = next;
  }
  return rows.empty() ? next : next + 1;
}

// A collator of the thread's locale, made once per sort.
std::unique_ptr<icu::Collator> thread_collator() {
  detail::IcuStatus status;
  const icu::Locale locale(Thread::locale().name().toUtf8().c_str());
  std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(locale, status));
  status.assertSuccess();
  return collator;
}

// Dense ranks of the cells of one column: equal values share a rank, and
// the ranks follow the order of Sort.
Ranks rank_column(const std::vector<IValue*>& cells, icu::Collator*& collator,
                  std::unique_ptr<icu::Collator>& collator_owner) {
  const std::size_t n = cells.size();
  Ranks ranks(n, 0);
  std::vector<std::uint32_t> by_kind[7];
  for (std::size_t i = 0; i < n; ++i) {
    if (i + 8 < n) __builtin_prefetch(cells[i + 8]);
    by_kind[kind_rank(type_code(cells[i]))].push_back(static_cast<std::uint32_t>(i));
  }
  std::uint32_t next = 0;
  // Undefined and Null: each kind is one rank.
  for (int kind : {0, 1}) {
    next = assign_ranks(
        by_kind[kind], [](std::uint32_t, std::uint32_t) { return true; }, ranks, next);
  }
  {  // Boolean: false first.
    std::vector<std::uint32_t>& rows = by_kind[2];
    std::vector<char> truth(n, 0);
    for (const std::uint32_t row : rows) {
      bool value = false;
      (void)cells[row]->getBoolean(value);
      truth[row] = value ? 1 : 0;
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return truth[a] < truth[b]; });
    next = assign_ranks(
        rows, [&](std::uint32_t a, std::uint32_t b) { return truth[a] == truth[b]; }, ranks, next);
  }
  {  // Number: by value. When every number, scaled to the largest fraction
     // among them, fits 18 digits, the scaled integers are sorted instead.
    const std::vector<std::uint32_t>& rows = by_kind[3];
    std::vector<Numeric> numbers(rows.size());
    unsigned scale = 0;
    unsigned widest = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (i + 8 < rows.size()) __builtin_prefetch(cells[rows[i + 8]]);
      (void)cells[rows[i]]->getNumeric(numbers[i]);
      unsigned length = 0;
      unsigned precision = 0;
      numbers[i].lengthAndPrecision(length, precision);
      scale = std::max(scale, precision);
      widest = std::max(widest, length > precision ? length - precision : 0);
    }
    if (widest + scale <= 18) {
      Numeric factor(1);
      for (unsigned i = 0; i < scale; ++i) factor *= Numeric(10);
      std::vector<long long> scaled(rows.size());
      long long low = 0;
      long long high = 0;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        if (scale > 0) numbers[i] *= factor;
        scaled[i] = static_cast<long long>(numbers[i]);
        low = i == 0 ? scaled[i] : std::min(low, scaled[i]);
        high = i == 0 ? scaled[i] : std::max(high, scaled[i]);
      }
      // Offsets from the smallest are unsigned and below 2 * 10^18.
      Keyed keyed(rows.size());
      for (std::size_t i = 0; i < rows.size(); ++i) {
        keyed[i] = {static_cast<std::uint64_t>(scaled[i] - low), rows[i]};
      }
      radix_sort(keyed, static_cast<std::uint64_t>(high - low));
      for (std::size_t i = 0; i < keyed.size(); ++i) {
        if (i > 0 && keyed[i].first != keyed[i - 1].first) ++next;
        ranks[keyed[i].second] = next;
      }
      if (!keyed.empty()) ++next;
    } else {
      std::vector<std::uint32_t> order(rows.size());
      for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::uint32_t>(i);
      std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return numbers[a].compare(numbers[b]) < 0;
      });
      for (std::size_t i = 0; i < order.size(); ++i) {
        if (i > 0 && numbers[order[i]].compare(numbers[order[i - 1]]) != 0) ++next;
        ranks[rows[order[i]]] = next;
      }
      if (!order.empty()) ++next;
    }
  }
  {  // Date: by time.
    std::vector<std::uint32_t>& rows = by_kind[4];
    std::vector<std::uint64_t> ticks(n, 0);
    for (const std::uint32_t row : rows) {
      Date date;
      (void)cells[row]->getDate(date);
      ticks[row] = date.ticks();
    }
    std::sort(rows.begin(), rows.end(),
              [&](std::uint32_t a, std::uint32_t b) { return ticks[a] < ticks[b]; });
    next = assign_ranks(
        rows, [&](std::uint32_t a, std::uint32_t b) { return ticks[a] == ticks[b]; }, ranks, next);
  }
  {  // String: by collation key, one key per distinct text.
    std::vector<std::uint32_t>& rows = by_kind[5];
    if (!rows.empty()) {
      if (collator == nullptr) {
        collator_owner = thread_collator();
        collator = collator_owner.get();
      }
      std::vector<String> texts(rows.size());
      std::unordered_map<std::u16string_view, std::uint32_t> distinct;
      std::vector<std::uint32_t> text_of(rows.size());
      std::vector<std::u16string_view> samples;
      for (std::size_t i = 0; i < rows.size(); ++i) {
        if (i + 8 < rows.size()) __builtin_prefetch(cells[rows[i + 8]]);
        (void)cells[rows[i]]->getString(texts[i]);
        const auto [at, added] = distinct.try_emplace(std::u16string_view(texts[i]),
                                                      static_cast<std::uint32_t>(samples.size()));
        if (added) samples.push_back(at->first);
        text_of[i] = at->second;
      }
      std::vector<std::string> keys(samples.size());
      for (std::size_t k = 0; k < samples.size(); ++k) {
        const icu::UnicodeString source(false, samples[k].data(),
                                        static_cast<int32_t>(samples[k].size()));
        int32_t size = collator->getSortKey(source, nullptr, 0);
        keys[k].resize(static_cast<std::size_t>(size));
        size = collator->getSortKey(source, reinterpret_cast<uint8_t*>(keys[k].data()), size);
        keys[k].resize(static_cast<std::size_t>(size));
      }
      std::vector<std::uint32_t> order(samples.size());
      for (std::size_t k = 0; k < order.size(); ++k) order[k] = static_cast<std::uint32_t>(k);
      std::sort(order.begin(), order.end(),
                [&](std::uint32_t a, std::uint32_t b) { return keys[a] < keys[b]; });
      std::vector<std::uint32_t> text_rank(samples.size());
      for (std::size_t k = 0; k < order.size(); ++k) {
        if (k > 0 && keys[order[k]] != keys[order[k - 1]]) ++next;
        text_rank[order[k]] = next;
      }
      for (std::size_t i = 0; i < rows.size(); ++i) ranks[rows[i]] = text_rank[text_of[i]];
      ++next;
    }
  }
  // Other values tie with each other.
  next = assign_ranks(
      by_kind[6], [](std::uint32_t, std::uint32_t) { return true; }, ranks, next);
  (void)next;
  return ranks;
}

}  // namespace

void ValueTableCore::sort(const std::vector<ValueTableSortKey>& keys) {
  auto& lines = page_->lines_;
  const std::size_t n = lines.size();
  if (n < 2 || keys.empty()) return;
  std::vector<IValue*> cells(n);
  icu::Collator* collator = nullptr;
  std::unique_ptr<icu::Collator> collator_owner;
  // Folds the keys into one 64-bit key per row, re-ranking densely between
  // keys so that the product never overflows.
  std::vector<std::uint64_t> folded(n, 0);
  std::uint64_t folded_max = 0;
  for (std::size_t k = 0; k < keys.size(); ++k) {
    const int slot = column(keys[k].column)->slot_;
    for (std::size_t i = 0; i < n; ++i) {
      if (i + 8 < n) __builtin_prefetch(lines[i + 8].get());
      cells[i] = lines[i]->cells_[slot];
    }
    Ranks ranks = rank_column(cells, collator, collator_owner);
    std::uint32_t top = 0;
    for (const std::uint32_t rank : ranks) top = std::max(top, rank);
    if (keys[k].descending) {
      for (std::uint32_t& rank : ranks) rank = top - rank;
    }
    if (k > 0) {
      const std::uint64_t width = static_cast<std::uint64_t>(top) + 1;
      if (folded_max >= (std::uint64_t{1} << 62) / width) {
        // Dense ranks of the keys so far keep the product below 2^62.
        Keyed order(n);
        for (std::size_t i = 0; i < n; ++i) order[i] = {folded[i], static_cast<std::uint32_t>(i)};
        radix_sort(order, folded_max);
        std::uint64_t rank = 0;
        for (std::size_t i = 0; i < n; ++i) {
          if (i > 0 && order[i].first != order[i - 1].first) ++rank;
          folded[order[i].second] = rank;
        }
        folded_max = rank;
      }
      for (std::size_t i = 0; i < n; ++i) folded[i] = folded[i] * width + ranks[i];
      folded_max = folded_max * width + top;
    } else {
      for (std::size_t i = 0; i < n; ++i) folded[i] = ranks[i];
      folded_max = top;
    }
  }
  // In row order with a stable sort: ties keep their order.
  Keyed order(n);
  for (std::size_t i = 0; i < n; ++i) order[i] = {folded[i], static_cast<std::uint32_t>(i)};
  radix_sort(order, folded_max);
  std::vector<RefPtr<ValueTableLine>> sorted;
  sorted.reserve(n);
  for (const auto& entry : order) sorted.push_back(std::move(lines[entry.second]));
  lines.swap(sorted);
  renumber(0);
}

// ---------------------------------------------------------------------------
// Grouping.

void ValueTableCore::groupBy(const std::vector<int>& groups, const std::vector<int>& totals) {
  for (const int column : groups) {
    if (std::find(totals.begin(), totals.end(), column) != totals.end()) {
      throw ContextException("IDS_VT_GROUPBY_INTERSECT_ERROR");
    }
  }
  auto& lines = page_->lines_;
  std::vector<int> group_slots;
  group_slots.reserve(groups.size());
  for (const int column : groups) group_slots.push_back(this->column(column)->slot_);
  std::vector<int> total_slots;
  total_slots.reserve(totals.size());
  for (const int column : totals) total_slots.push_back(this->column(column)->slot_);

  // The first line of each group, found through a hash of the group cells.
  std::vector<ValueTableLine*> firsts;
  std::vector<std::uint32_t> group_of(lines.size());
  std::unordered_multimap<std::uint32_t, std::uint32_t> by_hash;
  by_hash.reserve(1024);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i + 8 < lines.size()) {
      __builtin_prefetch(lines[i + 8].get());
      if (i + 4 < lines.size() && !group_slots.empty()) {
        __builtin_prefetch(lines[i + 4]->cells_[group_slots[0]]);
      }
    }
    const ValueTableLine* line = lines[i].get();
    std::uint32_t hash = 0;
    for (const int slot : group_slots) hash = combine_hash(hash, line->cells_[slot]);
    auto [first, last] = by_hash.equal_range(hash);
    std::uint32_t group = std::numeric_limits<std::uint32_t>::max();
    for (; first != last; ++first) {
      const ValueTableLine* other = firsts[first->second];
      const bool same = std::all_of(group_slots.begin(), group_slots.end(), [&](int slot) {
        return line->cells_[slot]->isEqual(other->cells_[slot]);
      });
      if (same) {
        group = first->second;
        break;
      }
    }
    if (group == std::numeric_limits<std::uint32_t>::max()) {
      group = static_cast<std::uint32_t>(firsts.size());
      firsts.push_back(lines[i].get());
      by_hash.emplace(hash, group);
    }
    group_of[i] = group;
  }
  std::vector<Numeric> sums(firsts.size() * total_slots.size());
  Numeric term;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i + 4 < lines.size() && !total_slots.empty()) {
      __builtin_prefetch(lines[i + 4]->cells_[total_slots[0]]);
    }
    const ValueTableLine* line = lines[i].get();
    Numeric* row_sums = sums.data() + group_of[i] * total_slots.size();
    for (std::size_t t = 0; t < total_slots.size(); ++t) {
      IValue* cell = line->cells_[total_slots[t]];
      if (type_code(cell) == TypeCode::Number && cell->getNumeric(term)) row_sums[t] += term;
    }
  }

  // The new rows, in slots 0.. of the kept columns.
  const std::size_t width = group_slots.size() + total_slots.size();
  std::vector<RefPtr<ValueTableLine>> made;
  made.reserve(firsts.size());
  try {
    for (std::size_t g = 0; g < firsts.size(); ++g) {
      RefPtr<ValueTableLine> line(new ValueTableLine);
      line->cells_ = new IValue*[std::max<std::size_t>(width, 1)]();
      line->owner_ = this;
      made.push_back(line);
      for (std::size_t c = 0; c < group_slots.size(); ++c) {
        store_cell(line->cells_[c], firsts[g]->cells_[group_slots[c]]);
      }
      for (std::size_t t = 0; t < total_slots.size(); ++t) {
        const InterfacePtr<IValue> sum = create_numeric_value(sums[g * total_slots.size() + t]);
        store_cell(line->cells_[group_slots.size() + t], sum.get());
      }
    }
  } catch (...) {
    const int old_count = slot_count_;
    slot_count_ = static_cast<int>(width);
    for (auto& line : made) releaseCells(line.get());
    slot_count_ = old_count;
    throw;
  }

  // Commit: nothing below throws but allocation of the column vector.
  std::vector<InterfacePtr<ValueTableColumn>> kept;
  kept.reserve(width);
  for (const int column : groups) kept.push_back(columns_[static_cast<std::size_t>(column)]);
  for (const int column : totals) kept.push_back(columns_[static_cast<std::size_t>(column)]);
  std::vector<std::unique_ptr<Index>> kept_indexes;
  for (auto& index : indexes_) {
    bool keep = true;
    for (int& slot : index->slots) {
      const auto at = std::find(group_slots.begin(), group_slots.end(), slot);
      if (at == group_slots.end()) {
        keep = false;
        break;
      }
      slot = static_cast<int>(at - group_slots.begin());
    }
    if (keep) kept_indexes.push_back(std::move(index));
  }
  lines.swap(made);
  releaseLines(made);
  for (auto& column : columns_) column->owner_ = nullptr;
  for (std::size_t c = 0; c < kept.size(); ++c) {
    kept[c]->owner_ = this;
    kept[c]->slot_ = static_cast<int>(c);
  }
  for (std::size_t t = 0; t < totals.size(); ++t) {
    ValueTableColumn* column = kept[group_slots.size() + t].get();
    column->type_ = TypeDomain(TypeDomainPattern::kNumberType);
    column->any_type_ = false;
    column->adjuster_ = TypedValue(column->type_);
    column->default_ = column->adjuster_;
  }
  columns_.swap(kept);
  slot_count_ = static_cast<int>(width);
  free_slots_.clear();
  indexes_.swap(kept_indexes);
  renumber(0);
  rebuildIndexes();
  columnsChanged();
}

// ---------------------------------------------------------------------------
// The companion objects of script code.

namespace {

class ValueTableRow;

// The row, column collection and index collection objects find their table
// through it.
ValueTableRow* row_of(IValue* value) noexcept;

template <class T>
T* object_of(IValue* value, int kind) noexcept {
  if (value == nullptr || value->getIType() != table_type(kind)) return nullptr;
  return static_cast<T*>(static_cast<ObjectValueCore*>(static_cast<ValueImplBase*>(value)));
}

class ValueTableRow final : public ContextValueBase {
 public:
  ValueTableRow(ValueTableBase* table, ValueTableLine* line)
      : ContextValueBase(table_type(kRowKind), table->core().rowDef()),
        table_(table),
        line_(line) {}

  ValueTableBase* table() const noexcept { return table_.get(); }
  ValueTableLine* line() const noexcept { return line_.get(); }

  bool getPropVal(int prop, GenericValue& value) override {
    if (prop == 0) {
      value.setIValue(table_.get());
      return true;
    }
    const ValueTableCore& core = live();
    if (prop < 1 || prop > core.columnCount()) return false;
    value.setIValue(core.cell(line_.get(), prop - 1));
    return true;
  }
  bool setPropVal(int prop, const GenericValue& value) override {
    ValueTableCore& core = live();
    if (prop < 1 || prop > core.columnCount()) return false;
    core.setCell(line_.get(), prop - 1, value);
    return true;
  }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override {
    static constexpr ContextMethodFunction<ValueTableRow> kCalls[] = {&ValueTableRow::get,
                                                                      &ValueTableRow::set};
    return context_method_to_function(this, kRowTable, kCalls, method, ret_val, params);
  }
  bool isEqual(IValue* other) override {
    const ValueTableRow* row = row_of(other);
    return row != nullptr && row->line_ == line_;
  }
  int32_t hashCode() override {
    return static_cast<int32_t>(reinterpret_cast<std::uintptr_t>(line_.get()) >> 4);
  }

 private:
  ~ValueTableRow() override = default;

  ValueTableCore& live() const {
    if (line_->owner() != &table_->core()) throw ContextException("IDS_VT_UNKNOWN_ROW_ERROR");
    return table_->core();
  }
  int cellArgument(const GenericValue& value) const {
    const ValueTableCore& core = live();
    const long long column = collection_index_argument(value, 0);
    if (column < 0 || column >= core.columnCount()) throw collect_error_bad_index();
    return static_cast<int>(column);
  }
  void get(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    const int column = cellArgument(*params[0]);
    if (ret_val != nullptr) ret_val->setIValue(live().cell(line_.get(), column));
  }
  void set(GenericValue*, std::vector<GenericValue*>& params) {
    live().setCell(line_.get(), cellArgument(*params[0]), *params[1]);
  }

  InterfacePtr<ValueTableBase> table_;
  RefPtr<ValueTableLine> line_;
};

ValueTableRow* row_of(IValue* value) noexcept { return object_of<ValueTableRow>(value, kRowKind); }

ValueTableColumn* column_of(IValue* value) noexcept {
  return object_of<ValueTableColumn>(value, kColumnKind);
}

// The value type argument of Columns.Add and Insert: omitted (any type), a
// Type value, or the text of parse_column_type().
TypeDomain type_argument(const GenericValue& value, unsigned param) {
  if (!given(value)) return TypeDomain();
  IValue* held = value.getIValue();
  if (type_code(held) == TypeCode::Type) {
    const InterfacePtr<ITypeValue> type = InterfacePtr<IValue>(held).query<ITypeValue>();
    if (!type) parameter_type_mismatch(param);
    return TypeDomain(type->typeCLSID());
  }
  TypeDomain domain;
  if (!parse_column_type(string_argument(value, param), domain)) parameter_value_mismatch(param);
  return domain;
}

String optional_string(const GenericValue& value, unsigned param) {
  return given(value) ? string_argument(value, param) : String();
}

int optional_width(const GenericValue& value, unsigned param) {
  if (!given(value)) return 0;
  return static_cast<int>(std::clamp<long long>(collection_index_argument(value, param), 0,
                                                std::numeric_limits<int>::max()));
}

class ValueTableColumnCollection final : public ContextValueBase {
 public:
  static constexpr ContextParamDefault kInsertDefaults[] = {ContextParamDefault::notGiven(),
                                                            ContextParamDefault::notGiven(),
                                                            ContextParamDefault::notGiven()};
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"IndexOf", u"Индекс"}, 1, true},
      {{u"Insert", u"Вставить"}, 5, true, kInsertDefaults},
      {{u"Add", u"Добавить"}, 4, true, kInsertDefaults},
      {{u"Delete", u"Удалить"}, 1, false},
      {{u"Move", u"Сдвинуть"}, 2, false},
      {{u"Clear", u"Очистить"}, 0, false},
      {{u"Find", u"Найти"}, 1, true},
      {{u"Get", u"Получить"}, 1, true},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  explicit ValueTableColumnCollection(ValueTableBase* table)
      : ContextValueBase(table_type(kColumnsKind), static_context_def<kTable>()), table_(table) {}

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override {
    static constexpr ContextMethodFunction<ValueTableColumnCollection> kCalls[] = {
        &ValueTableColumnCollection::count,  &ValueTableColumnCollection::indexOf,
        &ValueTableColumnCollection::insert, &ValueTableColumnCollection::add,
        &ValueTableColumnCollection::remove, &ValueTableColumnCollection::move,
        &ValueTableColumnCollection::clear,  &ValueTableColumnCollection::find,
        &ValueTableColumnCollection::get};
    return context_method_to_function(this, kTable, kCalls, method, ret_val, params);
  }
  bool isEqual(IValue* other) override {
    const auto* columns = object_of<ValueTableColumnCollection>(other, kColumnsKind);
    return columns != nullptr && columns->table_ == table_;
  }
  int32_t hashCode() override {
    return static_cast<int32_t>(reinterpret_cast<std::uintptr_t>(table_.get()) >> 4);
  }

 private:
  ~ValueTableColumnCollection() override = default;
  ValueTableCore& core() const { return table_->core(); }

  // A column given as a column object of this table, a Number index or a
  // name.
  int position(const GenericValue& value, unsigned param) const {
    if (const ValueTableColumn* column = column_of(value.getIValue())) {
      const int at = core().columnPosition(column);
      if (at < 0) unknown_column(param);
      return at;
    }
    if (type_code(value) == TypeCode::String) {
      const int at = core().findColumn(string_argument(value, param));
      if (at < 0) unknown_column(param);
      return at;
    }
    const long long at = collection_index_argument(value, param);
    if (at < 0 || at >= core().columnCount()) throw collect_error_bad_index();
    return static_cast<int>(at);
  }
  void count(GenericValue* ret_val, std::vector<GenericValue*>&) {
    put_result(ret_val, core().columnCount());
  }
  void indexOf(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    const ValueTableColumn* column = column_of(params[0]->getIValue());
    if (column == nullptr) parameter_type_mismatch(0);
    put_result(ret_val, core().columnPosition(column));
  }
  void insertAt(int at, GenericValue* ret_val, std::span<GenericValue* const> args,
                unsigned first) {
    const String name = string_argument(*args[0], first);
    const TypeDomain type = type_argument(*args[1], first + 1);
    const String title = optional_string(*args[2], first + 2);
    const int width = optional_width(*args[3], first + 3);
    ValueTableColumn* column = core().insertColumn(at, name, type, title, width, first);
    put_object(ret_val, InterfacePtr<IValue>(column));
  }
  void insert(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    const long long at = collection_index_argument(*params[0], 0);
    if (at < 0) parameter_value_mismatch(0);
    insertAt(static_cast<int>(std::min<long long>(at, core().columnCount())), ret_val,
             std::span<GenericValue* const>(params).subspan(1), 1);
  }
  void add(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    insertAt(core().columnCount(), ret_val, params, 0);
  }
  void remove(GenericValue*, std::vector<GenericValue*>& params) {
    core().removeColumn(position(*params[0], 0));
  }
  void move(GenericValue*, std::vector<GenericValue*>& params) {
    const int from = position(*params[0], 0);
    const long long to = from + collection_index_argument(*params[1], 1);
    if (to < 0 || to >= core().columnCount()) throw collect_error_bad_offset();
    core().moveColumn(from, static_cast<int>(to));
  }
  void clear(GenericValue*, std::vector<GenericValue*>&) { core().clearColumns(); }
  void find(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    const int at = core().findColumn(string_argument(*params[0], 0));
    if (ret_val == nullptr) return;
    if (at < 0) {
      ret_val->clear();
    } else {
      ret_val->setIValue(core().column(at));
    }
  }
  void get(GenericValue* ret_val, std::vector<GenericValue*>& params) {
    const long long at = collection_index_argument(*params[0], 0);
    if (at < 0 || at >= core().columnCount()) throw collect_error_bad_index();
    put_object(ret_val, InterfacePtr<IValue>(core().column(static_cast<int>(at))));
  }

  InterfacePtr<ValueTableBase> table_;
};

class ValueTableIndexCollection final : public ContextValueBase {
 public:
  static constexpr ContextMethodDecl kMethods[] = {
      {{u"Count", u"Количество"}, 0, true},
      {{u"Add", u"Добавить"}, 1, false},
      {{u"Delete", u"Удалить"}, 1, false},
      {{u"Clear", u"Очистить"}, 0, false},
  };
  static constexpr ContextTable kTable{{}, kMethods};

  explicit ValueTableIndexCollection(ValueTableBase* table)
      : ContextValueBase(table_type(kIndexesKind), static_context_def<kTable>()), table_(table) {}

  bool getPropVal(int, GenericValue&) override { return false; }
  bool setPropVal(int, const GenericValue&) override { return false; }
  bool call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) override {
    static constexpr ContextMethodFunction<ValueTableIndexCollection> kCalls[] = {
        &ValueTableIndexCollection::count, &ValueTableIndexCollection::add,
        &ValueTableIndexCollection::remove, &ValueTableIndexCollection::clear};
    return context_method_to_function(this, kTable, kCalls, method, ret_val, params);
  }

 private:
  ~ValueTableIndexCollection() override = default;
  ValueTableCore& core() const { return table_->core(); }

  void count(GenericValue* ret_val, std::vector<GenericValue*>&) {
    put_result(ret_val, core().indexCount());
  }
  void add(GenericValue*, std::vector<GenericValue*>& params) {
    const std::vector<int> columns = core().columnList(string_argument(*params[0], 0), true);
    if (columns.empty()) parameter_value_mismatch(0);
    core().addIndex(columns);
  }
  void remove(GenericValue*, std::vector<GenericValue*>& params) {
    const long long at = collection_index_argument(*params[0], 0);
    if (at < 0 || at >= core().indexCount()) throw collect_error_bad_index();
    core().removeIndex(static_cast<int>(at));
  }
  void clear(GenericValue*, std::vector<GenericValue*>&) { core().clearIndexes(); }

  InterfacePtr<ValueTableBase> table_;
};

}  // namespace

// ---------------------------------------------------------------------------
// The table.

ValueTableBase::ValueTableBase()
    : ContextValueBase(table_type(kTableKind), static_context_def<kTable>()),
      core_(new ValueTableCore) {}

ValueTableBase::~ValueTableBase() = default;

bool ValueTableBase::getPropVal(int prop, GenericValue& value) {
  if (prop == 0) {
    const InterfacePtr<IValue> columns(new ValueTableColumnCollection(this));
    value.setIValue(columns.get());
    return true;
  }
  if (prop == 1) {
    const InterfacePtr<IValue> indexes(new ValueTableIndexCollection(this));
    value.setIValue(indexes.get());
    return true;
  }
  return false;
}

bool ValueTableBase::queryInterface(const GUID& iid, void** out) {
  if (iid == ISerializableValue::kIid) {
    *out = static_cast<ISerializableValue*>(this);
    acquire();
    return true;
  }
  return ContextValueBase::queryInterface(iid, out);
}

InterfacePtr<IValue> ValueTableBase::rowValue(ValueTableLine* line) {
  return InterfacePtr<IValue>(new ValueTableRow(this, line));
}

ValueTableLine* ValueTableBase::lineArgument(const GenericValue& value, unsigned param) const {
  if (const ValueTableRow* row = row_of(value.getIValue())) {
    if (row->line()->owner() != core_.get()) unknown_row(param);
    return row->line();
  }
  const long long index = collection_index_argument(value, param);
  if (index < 0 || index >= core_->rowCount()) throw collect_error_bad_index();
  return core_->line(static_cast<int>(index));
}

int ValueTableBase::columnArgument(const GenericValue& value, unsigned param) const {
  if (const ValueTableColumn* column = column_of(value.getIValue())) {
    const int at = core_->columnPosition(column);
    if (at < 0) unknown_column(param);
    return at;
  }
  if (type_code(value) != TypeCode::String) parameter_type_mismatch(param);
  const String name = string_argument(value, param);
  const std::u16string_view trimmed = detail::trim_white_space(name);
  if (trimmed.empty() || trimmed.find(u',') != std::u16string_view::npos) column_code_error();
  const int at = core_->findColumn(trimmed);
  if (at < 0) unknown_column(param);
  return at;
}

namespace {

std::vector<int> optional_columns(const ValueTableCore& core, const GenericValue& value,
                                  unsigned param, bool unique) {
  if (!given(value)) return {};
  return core.columnList(string_argument(value, param), unique);
}

InterfacePtr<Array> lines_to_array(ValueTableBase* table,
                                   const std::vector<ValueTableLine*>& lines) {
  InterfacePtr<Array> array = create_array();
  array->reserve(static_cast<int>(lines.size()));
  for (ValueTableLine* line : lines) array->add(Value(table->rowValue(line).get()));
  return array;
}

}  // namespace

std::vector<ValueTableLine*> ValueTableBase::filteredLines(const GenericValue& filter,
                                                           unsigned param) const {
  const StructureStorage* structure = structure_of(filter.getIValue());
  if (structure == nullptr) structure = fixed_structure_of(filter.getIValue());
  if (structure == nullptr) parameter_type_mismatch(param);
  std::vector<int> columns;
  std::vector<Value> values;
  const auto& associations = structure->associations();
  for (std::size_t i = 0; i < associations.end(); ++i) {
    const auto& entry = associations.at(i);
    if (!entry.live) continue;
    const int column = core_->findColumn(entry.key);
    if (column < 0) column_code_error();
    columns.push_back(column);
    values.push_back(entry.value);
  }
  return core_->findLines(columns, values);
}

void ValueTableBase::loadColumn(std::vector<GenericValue*>& params) {
  IValue* source = params[0]->getIValue();
  std::vector<Value> values;
  if (const Array* array = array_of(source)) {
    values = array->elements();
  } else if (const FixedArray* fixed = fixed_array_of(source)) {
    values = fixed->elements();
  } else {
    InterfacePtr<IContextIterable> iterable;
    if (type_code(source) == TypeCode::Object) {
      iterable = InterfacePtr<IValue>(source).query<IContextIterable>();
    }
    if (!iterable) parameter_type_mismatch(0);
    const InterfacePtr<IContextIterator> walk = iterable->iterator();
    Value element;
    while (static_cast<int>(values.size()) < core_->rowCount() && walk->next(element)) {
      values.push_back(element);
    }
  }
  const int column = columnArgument(*params[1], 1);
  const std::size_t count = std::min(values.size(), static_cast<std::size_t>(core_->rowCount()));
  // Adjusting first and storing afterwards leaves the rows untouched should
  // an adjustment throw.
  ValueTableColumn* target = core_->column(column);
  std::vector<InterfacePtr<IValue>> adjusted;
  adjusted.reserve(count);
  for (std::size_t i = 0; i < count; ++i) adjusted.push_back(target->adjust(values[i]));
  for (std::size_t i = 0; i < count; ++i) {
    core_->setCell(core_->line(static_cast<int>(i)), column, Value(adjusted[i].get()));
  }
}

void ValueTableBase::sort(std::vector<GenericValue*>& params) {
  const String keys_text = string_argument(*params[0], 0);
  std::vector<ValueTableSortKey> keys;
  for (const std::u16string_view item : split_list(keys_text)) {
    std::vector<std::u16string_view> words;
    std::u16string_view rest = item;
    while (!rest.empty()) {
      std::size_t end = 0;
      while (end < rest.size() && !detail::is_white_space(rest[end])) ++end;
      words.push_back(rest.substr(0, end));
      rest = detail::trim_white_space(rest.substr(end));
    }
    if (words.empty() || words.size() > 2) parameter_value_mismatch(0);
    const int column = core_->findColumn(words[0]);
    if (column < 0) column_code_error();
    // A direction word other than these four leaves the column ascending.
    const bool descending = words.size() == 2 && is_word(words[1], u"Desc", u"Убыв");
    keys.push_back({column, descending});
  }
  if (keys.empty()) parameter_value_mismatch(0);
  if (given(*params[1])) parameter_type_mismatch(1);
  core_->sort(keys);
}

void ValueTableBase::copy(GenericValue* ret_val, std::vector<GenericValue*>& params) {
  std::vector<ValueTableLine*> lines;
  if (!given(*params[0])) {
    for (int i = 0; i < core_->rowCount(); ++i) lines.push_back(core_->line(i));
  } else if (const Array* array = array_of(params[0]->getIValue())) {
    for (const Value& element : array->elements()) {
      const ValueTableRow* row = row_of(element.getIValue());
      if (row == nullptr) parameter_type_mismatch(0);
      if (row->line()->owner() != core_.get()) unknown_row(0);
      lines.push_back(row->line());
    }
  } else {
    lines = filteredLines(*params[0], 0);
  }
  std::vector<int> columns = optional_columns(*core_, *params[1], 1, true);
  if (columns.empty()) {
    for (int i = 0; i < core_->columnCount(); ++i) columns.push_back(i);
  }
  InterfacePtr<ValueTableBase> made = create_value_table();
  ValueTableCore& target = made->core();
  for (const int column : columns) {
    const ValueTableColumn* from = core_->column(column);
    target.addColumn(from->name(), from->valueType(), from->title(), from->width());
  }
  target.reserve(static_cast<int>(lines.size()));
  for (ValueTableLine* line : lines) {
    ValueTableLine* copy = target.addLine();
    for (std::size_t c = 0; c < columns.size(); ++c) {
      target.setCell(copy, static_cast<int>(c), Value(core_->cell(line, columns[c])));
    }
  }
  put_object(ret_val, InterfacePtr<IValue>(made.get()));
}

bool ValueTableBase::call(int method, GenericValue* ret_val, std::vector<GenericValue*>& params) {
  static constexpr int kMethodCount = static_cast<int>(std::size(kMethods));
  if (method < 0 || method >= kMethodCount) return false;
  const int declared = kMethods[method].n_params;
  if (params.size() < static_cast<std::size_t>(declared) ||
      std::any_of(params.begin(), params.begin() + declared,
                  [](const GenericValue* param) { return param == nullptr; })) {
    detail::throw_not_enough_parameters(this, method);
  }
  ValueTableCore& core = *core_;
  switch (method) {
    case 0:
      put_result(ret_val, core.rowCount());
      break;
    case 1: {
      const ValueTableRow* row = row_of(params[0]->getIValue());
      if (row == nullptr) parameter_type_mismatch(0);
      if (row->line()->owner() != core_.get()) unknown_row(0);
      put_result(ret_val, row->line()->index());
      break;
    }
    case 2:
      put_object(ret_val, rowValue(core.addLine()));
      break;
    case 3: {
      const long long at = collection_index_argument(*params[0], 0);
      if (at < 0) parameter_value_mismatch(0);
      put_object(
          ret_val,
          rowValue(core.insertLine(static_cast<int>(std::min<long long>(at, core.rowCount())))));
      break;
    }
    case 4:
      core.removeLine(lineArgument(*params[0], 0)->index());
      break;
    case 5:
      core.clearLines();
      break;
    case 6: {
      const int from = lineArgument(*params[0], 0)->index();
      const long long to = from + collection_index_argument(*params[1], 1);
      if (to < 0 || to >= core.rowCount()) throw collect_error_bad_offset();
      core.moveLine(from, static_cast<int>(to));
      break;
    }
    case 7: {
      const std::vector<int> columns = optional_columns(core, *params[1], 1, false);
      ValueTableLine* found = core.find(*params[0], columns);
      if (ret_val == nullptr) break;
      if (found == nullptr) {
        ret_val->clear();
      } else {
        put_object(ret_val, rowValue(found));
      }
      break;
    }
    case 8: {
      const std::vector<ValueTableLine*> found = filteredLines(*params[0], 0);
      put_object(ret_val, InterfacePtr<IValue>(lines_to_array(this, found).get()));
      break;
    }
    case 9: {
      const int column = columnArgument(*params[0], 0);
      if (ret_val != nullptr) ret_val->assign(core.total(column));
      break;
    }
    case 10:
      sort(params);
      break;
    case 11:
      loadColumn(params);
      break;
    case 12: {
      const int column = columnArgument(*params[0], 0);
      InterfacePtr<Array> array = create_array();
      array->reserve(core.rowCount());
      for (int i = 0; i < core.rowCount(); ++i) array->add(Value(core.cell(core.line(i), column)));
      put_object(ret_val, InterfacePtr<IValue>(array.get()));
      break;
    }
    case 13: {
      const long long at = collection_index_argument(*params[0], 0);
      if (at < 0 || at >= core.rowCount()) throw collect_error_bad_index();
      put_object(ret_val, rowValue(core.line(static_cast<int>(at))));
      break;
    }
    case 14:
      copy(ret_val, params);
      break;
    case 15: {
      const std::vector<int> columns = optional_columns(core, *params[0], 0, true);
      InterfacePtr<ValueTableBase> made = create_value_table();
      for (int c = 0; c < core.columnCount(); ++c) {
        if (!columns.empty() && std::find(columns.begin(), columns.end(), c) == columns.end()) {
          continue;
        }
        const ValueTableColumn* from = core.column(c);
        made->core().addColumn(from->name(), from->valueType(), from->title(), from->width());
      }
      put_object(ret_val, InterfacePtr<IValue>(made.get()));
      break;
    }
    case 16: {
      const std::vector<int> groups = core.columnList(string_argument(*params[0], 0), true);
      const std::vector<int> totals = optional_columns(core, *params[1], 1, true);
      core.groupBy(groups, totals);
      break;
    }
    case 17:
      if (given(*params[0])) (void)string_argument(*params[0], 0);
      if (given(*params[1])) (void)lineArgument(*params[1], 1);
      if (ret_val != nullptr) ret_val->clear();
      break;
    default: {
      const std::vector<int> columns = optional_columns(core, *params[1], 1, false);
      const int count = columns.empty() ? core.columnCount() : static_cast<int>(columns.size());
      for (int c = 0; c < count; ++c) {
        const int column = columns.empty() ? c : columns[static_cast<std::size_t>(c)];
        for (int i = 0; i < core.rowCount(); ++i) core.setCell(core.line(i), column, *params[0]);
      }
      break;
    }
  }
  return true;
}

// ---------------------------------------------------------------------------
// The stored form.

namespace {

int read_count(ListInStream& in) {
  int count = 0;
  in.get(count);
  if (count < 0) detail::throw_list_stream_error();
  return count;
}

}  // namespace

void ValueTableBase::serialize(IOutPersistenceStorage* storage) {
  ListOutStream& out = storage->writer();
  const ValueTableCore& core = *core_;
  out.put(core.columnCount());
  for (int c = 0; c < core.columnCount(); ++c) {
    const ValueTableColumn* column = core.column(c);
    out.putBeginOfList();
    out.put(column->name());
    out.put(column->title());
    out.put(column->width());
    column->valueType().serialize(out);
    out.putEndOfList();
  }
  out.put(core.rowCount());
  for (int i = 0; i < core.rowCount(); ++i) {
    for (int c = 0; c < core.columnCount(); ++c) write_value(storage, core.cell(core.line(i), c));
  }
}

namespace {

InterfacePtr<IValue> read_table(IInPersistenceStorage* storage) {
  ListInStream& in = storage->reader();
  InterfacePtr<ValueTableBase> made = create_value_table();
  ValueTableCore& core = made->core();
  const int columns = read_count(in);
  for (int c = 0; c < columns; ++c) {
    in.getBeginOfList();
    String name;
    String title;
    int width = 0;
    in.get(name);
    in.get(title);
    in.get(width);
    const TypeDomain type = TypeDomain::deserialize(in);
    in.getEndOfList();
    if (!is_valid_name(name) || core.findColumn(name) >= 0 || width < 0) {
      detail::throw_list_stream_error();
    }
    core.addColumn(name, type, title, width);
  }
  const int rows = read_count(in);
  for (int i = 0; i < rows; ++i) {
    ValueTableLine* line = core.addLine();
    for (int c = 0; c < columns; ++c) {
      const InterfacePtr<IValue> value = read_value(storage);
      core.setCell(line, c, Value(value.get()));
    }
  }
  return InterfacePtr<IValue>(made.get());
}

}  // namespace

// ---------------------------------------------------------------------------
// The data-source view.

ValueTableDS::ValueTableDS(ValueTableBase* table) : table_(table) {}
ValueTableDS::~ValueTableDS() = default;

int ValueTableDS::columnCount() { return table_->core().columnCount(); }

String ValueTableDS::columnId(int column) {
  if (column < 0 || column >= columnCount()) return String();
  return table_->core().column(column)->name();
}

String ValueTableDS::columnDescription(int column) {
  if (column < 0 || column >= columnCount()) return String();
  const ValueTableColumn* found = table_->core().column(column);
  return found->title().empty() ? found->name() : found->title();
}

std::uint64_t ValueTableDS::bookmark(int position) {
  ValueTableCore& core = table_->core();
  if (position < 0 || position >= core.rowCount()) throw collect_error_bad_index();
  ValueTableLine* line = core.line(position);
  for (const auto& mark : marks_) {
    if (mark.second.get() == line) return mark.first;
  }
  marks_.emplace_back(next_mark_, RefPtr<ValueTableLine>(line));
  return next_mark_++;
}

int ValueTableDS::position(std::uint64_t bookmark) {
  for (const auto& mark : marks_) {
    if (mark.first == bookmark) {
      return mark.second->owner() == &table_->core() ? mark.second->index() : -1;
    }
  }
  return -1;
}

ValueTableLine* ValueTableDS::lineOf(std::uint64_t bookmark) {
  const int at = position(bookmark);
  if (at < 0) unknown_row(0);
  return table_->core().line(at);
}

std::uint64_t ValueTableDS::addRow() {
  ValueTableLine* line = table_->core().addLine();
  const std::uint64_t mark = bookmark(line->index());
  Edit edit;
  edit.added = true;
  edits_.emplace_back(mark, std::move(edit));
  return mark;
}

void ValueTableDS::deleteRow(std::uint64_t bookmark) {
  table_->core().removeLine(lineOf(bookmark)->index());
  std::erase_if(edits_, [bookmark](const auto& edit) { return edit.first == bookmark; });
}

void ValueTableDS::endEdit(std::uint64_t bookmark) {
  (void)lineOf(bookmark);
  std::erase_if(edits_, [bookmark](const auto& edit) { return edit.first == bookmark; });
}

void ValueTableDS::cancelEdit(std::uint64_t bookmark) {
  ValueTableLine* line = lineOf(bookmark);
  const auto at = std::find_if(edits_.begin(), edits_.end(),
                               [bookmark](const auto& edit) { return edit.first == bookmark; });
  if (at == edits_.end()) return;
  ValueTableCore& core = table_->core();
  if (at->second.added) {
    core.removeLine(line->index());
  } else {
    const std::vector<Value>& saved = at->second.saved;
    for (std::size_t c = 0; c < saved.size() && c < static_cast<std::size_t>(core.columnCount());
         ++c) {
      core.setCell(line, static_cast<int>(c), saved[c]);
    }
  }
  edits_.erase(at);
}

void ValueTableDS::setCellValue(std::uint64_t bookmark, int column, const GenericValue& value) {
  ValueTableLine* line = lineOf(bookmark);
  ValueTableCore& core = table_->core();
  if (column < 0 || column >= core.columnCount()) throw collect_error_bad_index();
  const bool editing = std::any_of(edits_.begin(), edits_.end(),
                                   [bookmark](const auto& edit) { return edit.first == bookmark; });
  if (!editing) {
    Edit edit;
    for (int c = 0; c < core.columnCount(); ++c) edit.saved.emplace_back(core.cell(line, c));
    edits_.emplace_back(bookmark, std::move(edit));
  }
  core.setCell(line, column, value);
}

// ---------------------------------------------------------------------------
// Making tables, and the types.

InterfacePtr<ValueTableBase> create_value_table() {
  return InterfacePtr<ValueTableBase>(new ValueTableBase);
}

ValueTableBase* value_table_of(IValue* value) noexcept {
  return object_of<ValueTableBase>(value, kTableKind);
}

namespace {

struct TypeDecl {
  GUID clsid;
  const char16_t* english;
  const char16_t* russian;
  const char* presentation;
};

constexpr TypeDecl kTypes[kKindCount] = {
    {kValueTableTypeClsid, u"ValueTable", u"ТаблицаЗначений", "IDS_TYPE_PRESENTATION_VALUETABLE"},
    {kValueTableColumnCollectionTypeClsid, u"ValueTableColumnCollection",
     u"КоллекцияКолонокТаблицыЗначений", "IDS_TYPE_PRESENTATION_VTCOLUMNCOLLECTION"},
    {kValueTableColumnTypeClsid, u"ValueTableColumn", u"КолонкаТаблицыЗначений",
     "IDS_TYPE_PRESENTATION_VTCOLUMN"},
    {kValueTableRowTypeClsid, u"ValueTableRow", u"СтрокаТаблицыЗначений",
     "IDS_TYPE_PRESENTATION_VTROW"},
    {kValueTableIndexCollectionTypeClsid, u"ValueTableIndexCollection",
     u"КоллекцияИндексовТаблицыЗначений", "IDS_TYPE_PRESENTATION_VTINDEXCOLLECTION"},
};

// The table's type makes and reads tables; the companions' types make
// nothing: their objects come from a table.
class TableType final : public ObjectTypeCore, public IDeserializingType {
 public:
  explicit TableType(int kind) noexcept
      : ObjectTypeCore(kTypes[kind].clsid, kTypes[kind].english, kTypes[kind].russian,
                       kTypes[kind].presentation, true),
        kind_(kind) {}

  bool hasCtor(unsigned count) override { return kind_ == kTableKind && count == 0; }
  InterfacePtr<IValue> createIValue() override {
    if (kind_ != kTableKind) throw IllegalStateException();
    return InterfacePtr<IValue>(new ValueTableBase);
  }
  InterfacePtr<IValue> deserialize(IInPersistenceStorage* storage) override {
    if (kind_ != kTableKind) detail::throw_list_stream_error();
    return read_table(storage);
  }
  bool queryInterface(const GUID& iid, void** out) override {
    if (iid == IDeserializingType::kIid && kind_ == kTableKind) {
      *out = static_cast<IDeserializingType*>(this);
      acquire();
      return true;
    }
    return ObjectTypeCore::queryInterface(iid, out);
  }
  int32_t acquire() override { return ObjectTypeCore::acquire(); }
  int32_t release() override { return ObjectTypeCore::release(); }

 private:
  int kind_;
};

const detail::KeptTypes<TableType, kKindCount>& table_types() {
  static const auto* const types =
      new detail::KeptTypes<TableType, kKindCount>([](int kind) { return new TableType(kind); });
  return *types;
}

IType* table_type(int kind) noexcept { return table_types().get(kind); }

}  // namespace

namespace detail {

template <int kIndex>
IUnknown* value_table_type_object() {
  return table_types().acquire(kIndex);
}

template IUnknown* value_table_type_object<0>();
template IUnknown* value_table_type_object<1>();
template IUnknown* value_table_type_object<2>();
template IUnknown* value_table_type_object<3>();
template IUnknown* value_table_type_object<4>();

}  // namespace detail
}  // namespace core
