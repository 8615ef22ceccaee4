#include <benchmark/benchmark.h>

#include "core/messages.h"
#include "core/thread.h"

namespace {

// A text of an already-opened locale: the cost every exception pays for its
// description.
void BM_LoadCoreWstring(benchmark::State& state) {
  core::Thread::setLocale(core::Locale(state.range(0) == 0 ? u"en_US" : u"ru_RU"));
  benchmark::DoNotOptimize(core::load_core_wstring("IDS_ERR_ILLEGAL_STATE"));
  for (auto _ : state) {
    benchmark::DoNotOptimize(core::load_core_wstring("IDS_ERR_ILLEGAL_STATE"));
  }
  state.SetLabel(state.range(0) == 0 ? "en_US" : "ru_RU");
}
BENCHMARK(BM_LoadCoreWstring)->Arg(0)->Arg(1);

void BM_FormatMessage(benchmark::State& state) {
  const core::String pattern(u"Invalid type of parameter %d.");
  for (auto _ : state) {
    benchmark::DoNotOptimize(core::format_message(pattern, {3}));
  }
}
BENCHMARK(BM_FormatMessage);

}  // namespace
