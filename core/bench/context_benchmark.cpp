// Finding a method by name in a 20-method table with each lookup strategy,
// against a std::unordered_map keyed by case-folded names, and a whole
// script call through the calling helper.
#include <benchmark/benchmark.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "core/context.h"
#include "core/string.h"

namespace {

using core::ContextMethodDecl;
using core::ContextTable;

// The size and kind of names of a collection's table.
constexpr ContextMethodDecl kMethods[] = {
    {{u"Count", u"Количество"}, 0, true},
    {{u"Empty", u"Пустой"}, 0, true},
    {{u"IndexOf", u"Индекс"}, 1, true},
    {{u"Insert", u"Вставить"}, 2, false},
    {{u"Add", u"Добавить"}, 1, false},
    {{u"Get", u"Получить"}, 1, true},
    {{u"Set", u"Установить"}, 2, false},
    {{u"Delete", u"Удалить"}, 1, false},
    {{u"Clear", u"Очистить"}, 0, false},
    {{u"Find", u"Найти"}, 1, true},
    {{u"Move", u"Сдвинуть"}, 2, false},
    {{u"UBound", u"ВГраница"}, 0, true},
    {{u"Copy", u"Скопировать"}, 0, true},
    {{u"Sort", u"Сортировать"}, 1, false},
    {{u"LoadColumn", u"ЗагрузитьКолонку"}, 2, false},
    {{u"UnloadColumn", u"ВыгрузитьКолонку"}, 1, true},
    {{u"Total", u"Итог"}, 1, true},
    {{u"GroupBy", u"Свернуть"}, 2, false},
    {{u"FindRows", u"НайтиСтроки"}, 1, true},
    {{u"CopyColumns", u"СкопироватьКолонки"}, 1, true},
};
constexpr ContextTable kTable{{}, kMethods};

// The names as script code writes them: every member, in some case.
const std::vector<core::String>& queries(bool russian) {
  static const std::vector<core::String> kEnglish = {
      u"count",      u"EMPTY",        u"IndexOf", u"insert",  u"ADD",      u"get",        u"Set",
      u"delete",     u"Clear",        u"FIND",    u"move",    u"ubound",   u"Copy",       u"sort",
      u"loadcolumn", u"UNLOADCOLUMN", u"total",   u"groupBy", u"FindRows", u"copycolumns"};
  static const std::vector<core::String> kRussian = {
      u"количество",       u"ПУСТОЙ",     u"Индекс",      u"вставить",    u"ДОБАВИТЬ",
      u"получить",         u"Установить", u"удалить",     u"Очистить",    u"НАЙТИ",
      u"сдвинуть",         u"вграница",   u"Скопировать", u"сортировать", u"загрузитьколонку",
      u"ВЫГРУЗИТЬКОЛОНКУ", u"итог",       u"свернуть",    u"НайтиСтроки", u"скопироватьколонки"};
  return russian ? kRussian : kEnglish;
}

void label(benchmark::State& state) { state.SetLabel(state.range(0) != 0 ? "russian" : "english"); }

template <class Strategy>
void BM_FindMethod(benchmark::State& state) {
  core::IContextDefBase* def = core::static_context_def<kTable>();
  Strategy strategy;
  const std::vector<core::String>& names = queries(state.range(0) != 0);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(strategy.findMethod(def, names[i]));
    i = i + 1 == names.size() ? 0 : i + 1;
  }
  label(state);
}
BENCHMARK(BM_FindMethod<core::ContextDefHashCached>)->Arg(0)->Arg(1);
BENCHMARK(BM_FindMethod<core::ContextDefCached>)->Arg(0)->Arg(1);
BENCHMARK(BM_FindMethod<core::ContextDefNoncached>)->Arg(0)->Arg(1);

// The peer: a map from folded names to indices; the wanted name is folded
// into a buffer that keeps its capacity, so the lookup allocates nothing.
void BM_FindMethodFoldedUnorderedMap(benchmark::State& state) {
  const auto fold = [](std::u16string_view text, std::u16string& out) {
    out.resize(text.size() * 3);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        u_strFoldCase(out.data(), static_cast<int32_t>(out.size()), text.data(),
                      static_cast<int32_t>(text.size()), U_FOLD_CASE_DEFAULT, &status);
    out.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  };
  std::unordered_map<std::u16string, int> map;
  std::u16string folded;
  for (int i = 0; i < static_cast<int>(std::size(kMethods)); ++i) {
    for (const char16_t* name : {kMethods[i].name.english, kMethods[i].name.russian}) {
      fold(name, folded);
      map.emplace(folded, i);
    }
  }
  folded.reserve(64);
  const std::vector<core::String>& names = queries(state.range(0) != 0);
  std::size_t i = 0;
  for (auto _ : state) {
    fold(names[i], folded);
    const auto it = map.find(folded);
    benchmark::DoNotOptimize(it == map.end() ? -1 : it->second);
    i = i + 1 == names.size() ? 0 : i + 1;
  }
  label(state);
}
BENCHMARK(BM_FindMethodFoldedUnorderedMap)->Arg(0)->Arg(1);

// An object whose methods do nothing, declared the usual way.
class Idle final : public core::UnknownImpl<core::IContextExtImplBase> {
 public:
  Idle() noexcept : UnknownImpl() {}
  IContextDefBase* getIContextDef() override { return core::static_context_def<kTable>(); }
  bool getPropVal(int, core::GenericValue&) override { return false; }
  bool setPropVal(int, const core::GenericValue&) override { return false; }
  bool call(int method, core::GenericValue*, std::vector<core::GenericValue*>&) override {
    return method >= 0 && method < static_cast<int>(std::size(kMethods));
  }
};

// A script call: find by name, check and fill the arguments, call by index.
// Arg 0: "Count" with no argument; arg 1: "Add" with one.
void BM_CallThroughHelper(benchmark::State& state) {
  core::InterfacePtr<Idle> idle(new Idle);
  const bool with_argument = state.range(0) != 0;
  const core::String name(with_argument ? u"add" : u"count");
  core::Value argument(1);
  std::vector<core::GenericValue*> args;
  if (with_argument) args.push_back(&argument);
  core::Value result;
  for (auto _ : state) {
    core::call_context_method(idle.get(), name, args, &result);
  }
  state.SetLabel(with_argument ? "Add(1)" : "Count()");
}
BENCHMARK(BM_CallThroughHelper)->Arg(0)->Arg(1);

}  // namespace
