// The value table on 1,000,000 rows of a shuffled integer key, one of 1,000
// Latin and Cyrillic names and an amount with two fraction digits: filling
// it through its own API, Sort("Name Desc, Key"), GroupBy("Name", "Amount"),
// Find of a key with and without an index, FindRows of a name. Sort, GroupBy,
// Find and FindRows go through the calling helper as script code does.
// Peers in the same run: SQLite in memory (ORDER BY name DESC, key and
// GROUP BY name with SUM(amount)) when it is installed, and a plain-C++ floor
// (std::stable_sort of row structs with precomputed collation ranks, an
// std::unordered_map group-by). bytes_per_row: the heap a filled table holds
// per row beyond its values, against a vector of structs of three Values.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unicode/coll.h>
#include <unicode/locid.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/collections.h"
#include "core/numeric.h"
#include "core/value_table.h"

#ifdef CORE_BENCH_SQLITE
#include <sqlite3.h>
#endif

namespace {

using core::GenericValue;
using core::String;
using core::Value;

constexpr int kRows = 1000000;
constexpr int kNames = 1000;

struct Source {
  std::vector<int> keys;         // a shuffled permutation of 1..kRows
  std::vector<int> name_of;      // index into names
  std::vector<long long> cents;  // the amount times 100
  std::vector<String> names;
  std::vector<std::string> names_utf8;
  std::vector<Value> key_values;  // the cells, made once and shared
  std::vector<Value> name_values;
  std::vector<Value> amount_values;
};

const Source& source() {
  static const Source* const made = [] {
    auto* s = new Source;
    const char16_t* first[] = {
        u"Anna",  u"Boris", u"Clara", u"David", u"Elena", u"Fyodor", u"Grace", u"Hugo", u"Irene",
        u"Jonas", u"Анна",  u"Борис", u"Вера",  u"Глеб",  u"Дарья",  u"Егор",  u"Ёжик", u"ёлка",
        u"Жанна", u"Зоя",   u"Игорь", u"Кира",  u"Лев",   u"Мария",  u"Нина"};
    const char16_t* last[] = {
        u"Smith",    u"Oneil",  u"Ivanov",   u"Petrova", u"Сидоров", u"Кузнецова", u"Орлов",
        u"Семёнова", u"Lee",    u"Moreau",   u"Brown",   u"Фёдоров", u"Green",     u"Шишкина",
        u"Young",    u"Ершов",  u"King",     u"Ёлкин",   u"Wright",  u"Лебедева",  u"Hall",
        u"Зайцев",   u"Adams",  u"Морозова", u"Baker",   u"Волков",  u"Nelson",    u"Соколова",
        u"Hill",     u"Павлов", u"Scott",    u"Козлова", u"Clark",   u"Новиков",   u"Lewis",
        u"Попова",   u"Walker", u"Васильев", u"Allen",   u"Белова"};
    for (const char16_t* a : first) {
      for (const char16_t* b : last) {
        if (s->names.size() == kNames) break;
        std::u16string name(a);
        name += u' ';
        name += b;
        s->names.emplace_back(name);
        s->names_utf8.push_back(s->names.back().toUtf8());
      }
    }
    std::mt19937 random(20261124);
    for (int i = 1; i <= kRows; ++i) s->keys.push_back(i);
    std::shuffle(s->keys.begin(), s->keys.end(), random);
    for (int i = 0; i < kRows; ++i) {
      s->name_of.push_back(static_cast<int>(random() % kNames));
      s->cents.push_back(static_cast<long long>(random() % 10000000));
    }
    for (int i = 0; i < kRows; ++i) {
      s->key_values.emplace_back(s->keys[i]);
      s->name_values.emplace_back(s->names[static_cast<std::size_t>(s->name_of[i])]);
      core::Numeric amount(s->cents[i]);
      amount /= core::Numeric(100);
      s->amount_values.emplace_back(amount);
    }
    return s;
  }();
  return *made;
}

void add_columns(core::ValueTableCore& core) {
  core::TypeDomain key;
  core::TypeDomain name;
  core::TypeDomain amount;
  (void)core::parse_column_type(u"Number(10,0)", key);
  (void)core::parse_column_type(u"String(50)", name);
  (void)core::parse_column_type(u"Number(15,2)", amount);
  core.addColumn(u"Key", key);
  core.addColumn(u"Name", name);
  core.addColumn(u"Amount", amount);
}

// A filled table, through the table's own C++ API.
core::InterfacePtr<core::ValueTableBase> make_table() {
  const Source& s = source();
  core::InterfacePtr<core::ValueTableBase> table = core::create_value_table();
  core::ValueTableCore& core = table->core();
  add_columns(core);
  core.reserve(kRows);
  for (int i = 0; i < kRows; ++i) {
    core::ValueTableLine* line = core.addLine();
    core.setCell(line, 0, s.key_values[static_cast<std::size_t>(i)]);
    core.setCell(line, 1, s.name_values[static_cast<std::size_t>(i)]);
    core.setCell(line, 2, s.amount_values[static_cast<std::size_t>(i)]);
  }
  return table;
}

void call(core::ValueTableBase* table, const char16_t* method, std::vector<Value> args,
          Value* result = nullptr) {
  std::vector<GenericValue*> params;
  params.reserve(args.size());
  for (Value& arg : args) params.push_back(&arg);
  core::call_context_method(table, String(method), params, result);
}

// Bytes in use, small chunks and mapped large blocks together.
std::size_t heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void BM_ValueTable_Fill(benchmark::State& state) {
  (void)source();
  double bytes = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    core::InterfacePtr<core::ValueTableBase> table = make_table();
    bytes = static_cast<double>(heap_in_use() - before) / kRows;
    state.PauseTiming();
    table.reset();
    state.ResumeTiming();
  }
  state.counters["bytes_per_row"] = bytes;
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_ValueTable_Fill)->Unit(benchmark::kMillisecond)->Iterations(3);

// The memory peer: a plain struct of three Values per row.
void BM_PlainStructs_Fill(benchmark::State& state) {
  const Source& s = source();
  struct Row {
    Value key;
    Value name;
    Value amount;
  };
  double bytes = 0;
  for (auto _ : state) {
    const std::size_t before = heap_in_use();
    std::vector<Row> rows;
    rows.reserve(kRows);
    for (int i = 0; i < kRows; ++i) {
      const auto at = static_cast<std::size_t>(i);
      rows.push_back({s.key_values[at], s.name_values[at], s.amount_values[at]});
    }
    bytes = static_cast<double>(heap_in_use() - before) / kRows;
    benchmark::DoNotOptimize(rows.data());
  }
  state.counters["bytes_per_row"] = bytes;
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_PlainStructs_Fill)->Unit(benchmark::kMillisecond)->Iterations(3);

core::ValueTableBase* shared_table() {
  static core::ValueTableBase* const table = make_table().detach();
  return table;
}

void BM_ValueTable_Sort(benchmark::State& state) {
  core::ValueTableBase* table = shared_table();
  for (auto _ : state) {
    state.PauseTiming();
    call(table, u"Sort", {Value(u"Amount")});  // a fresh order, not the one sought
    state.ResumeTiming();
    call(table, u"Sort", {Value(u"Name Desc, Key")});
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_ValueTable_Sort)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ValueTable_GroupBy(benchmark::State& state) {
  core::ValueTableBase* table = shared_table();
  Value groups(0);
  for (auto _ : state) {
    state.PauseTiming();
    Value copy;
    call(table, u"Copy", {Value(), Value()}, &copy);
    state.ResumeTiming();
    call(core::value_table_of(copy.getIValue()), u"GroupBy", {Value(u"Name"), Value(u"Amount")});
    groups = Value(core::value_table_of(copy.getIValue())->core().rowCount());
    state.PauseTiming();
    copy = Value();
    state.ResumeTiming();
  }
  if (!groups.equals(kNames)) state.SkipWithError("wrong group count");
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_ValueTable_GroupBy)->Unit(benchmark::kMillisecond)->Iterations(3);

// Find of a key through the calling helper, by method index.
void find_keys(benchmark::State& state, core::ValueTableBase* table) {
  const Source& s = source();
  const int method = table->findMethod(String(u"Find"));
  Value columns(u"Key");
  Value key;
  Value found;
  std::vector<GenericValue*> params{&key, &columns};
  std::size_t i = 0;
  for (auto _ : state) {
    key = s.key_values[i++ % 1000];
    core::call_context_method(table, method, params, &found);
  }
  if (core::is_undefined_value(found)) state.SkipWithError("not found");
}

void BM_ValueTable_FindIndexed(benchmark::State& state) {
  static core::ValueTableBase* const table = [] {
    core::ValueTableBase* made = make_table().detach();
    made->core().addIndex({0});
    made->core().addIndex({1});
    return made;
  }();
  find_keys(state, table);
}
BENCHMARK(BM_ValueTable_FindIndexed);

void BM_ValueTable_FindScan(benchmark::State& state) { find_keys(state, shared_table()); }
BENCHMARK(BM_ValueTable_FindScan)->Unit(benchmark::kMillisecond);

void find_rows(benchmark::State& state, core::ValueTableBase* table) {
  const Source& s = source();
  const core::InterfacePtr<core::Structure> filter = core::create_structure();
  const Value by(static_cast<core::IValue*>(filter.get()));
  Value found;
  std::size_t i = 0;
  for (auto _ : state) {
    filter->insert(Value(u"Name"), Value(s.names[i++ % kNames]));
    call(table, u"FindRows", {by}, &found);
  }
  state.counters["rows_found"] = static_cast<double>(core::array_of(found.getIValue())->count());
}

void BM_ValueTable_FindRowsIndexed(benchmark::State& state) {
  core::ValueTableBase* table = shared_table();
  if (table->core().indexCount() == 0) table->core().addIndex({1});
  find_rows(state, table);
  table->core().clearIndexes();
}
BENCHMARK(BM_ValueTable_FindRowsIndexed)->Unit(benchmark::kMicrosecond);

void BM_ValueTable_FindRowsScan(benchmark::State& state) { find_rows(state, shared_table()); }
BENCHMARK(BM_ValueTable_FindRowsScan)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// The plain-C++ floor.

struct PlainRow {
  int key;
  std::uint32_t name_rank;  // the name's place in collation order
  int name;
  long long cents;
};

const std::vector<PlainRow>& plain_rows() {
  static const std::vector<PlainRow> rows = [] {
    const Source& s = source();
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(
        icu::Collator::createInstance(icu::Locale("en"), status));
    std::vector<int> order(kNames);
    for (int i = 0; i < kNames; ++i) order[static_cast<std::size_t>(i)] = i;
    std::sort(order.begin(), order.end(), [&](int a, int b) {
      const String& x = s.names[static_cast<std::size_t>(a)];
      const String& y = s.names[static_cast<std::size_t>(b)];
      UErrorCode ignored = U_ZERO_ERROR;
      return collator->compare(x.data(), static_cast<int32_t>(x.size()), y.data(),
                               static_cast<int32_t>(y.size()), ignored) < 0;
    });
    std::vector<std::uint32_t> rank(kNames);
    for (int i = 0; i < kNames; ++i)
      rank[static_cast<std::size_t>(order[static_cast<std::size_t>(i)])] =
          static_cast<std::uint32_t>(i);
    std::vector<PlainRow> made;
    made.reserve(kRows);
    for (int i = 0; i < kRows; ++i) {
      const auto at = static_cast<std::size_t>(i);
      made.push_back(
          {s.keys[at], rank[static_cast<std::size_t>(s.name_of[at])], s.name_of[at], s.cents[at]});
    }
    return made;
  }();
  return rows;
}

void BM_Floor_StableSort(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<PlainRow> rows = plain_rows();
    state.ResumeTiming();
    std::stable_sort(rows.begin(), rows.end(), [](const PlainRow& a, const PlainRow& b) {
      if (a.name_rank != b.name_rank) return a.name_rank > b.name_rank;
      return a.key < b.key;
    });
    benchmark::DoNotOptimize(rows.data());
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_Floor_StableSort)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_Floor_UnorderedMapGroupBy(benchmark::State& state) {
  const Source& s = source();
  const std::vector<PlainRow>& rows = plain_rows();
  for (auto _ : state) {
    std::unordered_map<std::u16string_view, long long> sums;
    for (const PlainRow& row : rows) {
      sums[std::u16string_view(s.names[static_cast<std::size_t>(row.name)])] += row.cents;
    }
    benchmark::DoNotOptimize(sums.size());
  }
  state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_Floor_UnorderedMapGroupBy)->Unit(benchmark::kMillisecond)->Iterations(3);

#ifdef CORE_BENCH_SQLITE
// ---------------------------------------------------------------------------
// SQLite in memory.

sqlite3* sqlite_db() {
  static sqlite3* const db = [] {
    const Source& s = source();
    sqlite3* made = nullptr;
    sqlite3_open(":memory:", &made);
    sqlite3_exec(made, "CREATE TABLE t(key INTEGER, name TEXT, amount REAL)", nullptr, nullptr,
                 nullptr);
    sqlite3_exec(made, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(made, "INSERT INTO t VALUES(?,?,?)", -1, &insert, nullptr);
    for (int i = 0; i < kRows; ++i) {
      const auto at = static_cast<std::size_t>(i);
      const std::string& name = s.names_utf8[static_cast<std::size_t>(s.name_of[at])];
      sqlite3_bind_int(insert, 1, s.keys[at]);
      sqlite3_bind_text(insert, 2, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
      sqlite3_bind_double(insert, 3, static_cast<double>(s.cents[at]) / 100);
      sqlite3_step(insert);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(made, "COMMIT", nullptr, nullptr, nullptr);
    return made;
  }();
  return db;
}

void run_query(benchmark::State& state, const char* sql) {
  sqlite3* db = sqlite_db();
  long long rows = 0;
  for (auto _ : state) {
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(db, sql, -1, &query, nullptr);
    rows = 0;
    while (sqlite3_step(query) == SQLITE_ROW) ++rows;
    sqlite3_finalize(query);
  }
  state.counters["rows"] = static_cast<double>(rows);
  state.SetItemsProcessed(state.iterations() * kRows);
}

void BM_SQLite_OrderBy(benchmark::State& state) {
  run_query(state, "SELECT key, name, amount FROM t ORDER BY name DESC, key");
}
BENCHMARK(BM_SQLite_OrderBy)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_SQLite_GroupBy(benchmark::State& state) {
  run_query(state, "SELECT name, SUM(amount) FROM t GROUP BY name");
}
BENCHMARK(BM_SQLite_GroupBy)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif

}  // namespace
