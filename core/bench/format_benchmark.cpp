// format() of numbers, dates and booleans under format strings and with the
// thread's default presentations, beside ICU's own formatting calls with a
// formatter built once and reused; and parameter-string parsing.
#include <benchmark/benchmark.h>
#include <unicode/numfmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <memory>

#include "base/locale_data.h"
#include "core/formats.h"
#include "core/params.h"
#include "core/thread.h"

namespace {

const char16_t* locale_name(const benchmark::State& state) {
  return state.range(0) == 0 ? u"en_US" : u"ru_RU";
}

void set_thread_locale(benchmark::State& state) {
  core::Thread::setLocale(core::Locale(locale_name(state)));
  state.SetLabel(state.range(0) == 0 ? "en_US" : "ru_RU");
}

core::Numeric sample_number() {
  core::Numeric n;
  n.fromString("-1234567.891");
  return n;
}

void BM_FormatNumber(benchmark::State& state) {
  set_thread_locale(state);
  const core::Numeric n = sample_number();
  const core::String fs(u"ND=15; NFD=2");
  for (auto _ : state) benchmark::DoNotOptimize(core::format(n, fs));
}
BENCHMARK(BM_FormatNumber)->Arg(0)->Arg(1);

void BM_FormatNumberDefault(benchmark::State& state) {
  set_thread_locale(state);
  const core::Numeric n = sample_number();
  const core::String fs;
  for (auto _ : state) benchmark::DoNotOptimize(core::format(n, fs));
}
BENCHMARK(BM_FormatNumberDefault)->Arg(0)->Arg(1);

// ICU's reused number format with two fraction digits, given the same
// decimal text (exact, as format() is).
void BM_IcuNumber(benchmark::State& state) {
  set_thread_locale(state);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::NumberFormat> f(
      icu::NumberFormat::createInstance(core::Locale(locale_name(state)).data().icu, status));
  f->setMinimumFractionDigits(2);
  f->setMaximumFractionDigits(2);
  const icu::Formattable value(icu::StringPiece("-1234567.891"), status);
  for (auto _ : state) {
    icu::UnicodeString out;
    f->format(value, out, status);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_IcuNumber)->Arg(0)->Arg(1);

// The same with a double, ICU's fastest input.
void BM_IcuNumberDouble(benchmark::State& state) {
  set_thread_locale(state);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::NumberFormat> f(
      icu::NumberFormat::createInstance(core::Locale(locale_name(state)).data().icu, status));
  f->setMinimumFractionDigits(2);
  f->setMaximumFractionDigits(2);
  double value = -1234567.891;
  for (auto _ : state) {
    icu::UnicodeString out;
    f->format(value, out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_IcuNumberDouble)->Arg(0)->Arg(1);

const core::Date kDate(2024, 3, 1, 15, 5, 7);

void BM_FormatDate(benchmark::State& state) {
  set_thread_locale(state);
  const core::String fs(u"DF='dd.MM.yyyy HH:mm:ss'");
  for (auto _ : state) benchmark::DoNotOptimize(core::format(kDate, fs));
}
BENCHMARK(BM_FormatDate)->Arg(0)->Arg(1);

void BM_FormatDateDefault(benchmark::State& state) {
  set_thread_locale(state);
  const core::String fs;
  for (auto _ : state) benchmark::DoNotOptimize(core::format(kDate, fs));
}
BENCHMARK(BM_FormatDateDefault)->Arg(0)->Arg(1);

void BM_IcuDate(benchmark::State& state) {
  set_thread_locale(state);
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat f(icu::UnicodeString(u"dd.MM.yyyy HH:mm:ss"),
                          core::Locale(locale_name(state)).data().icu, status);
  f.setTimeZone(*icu::TimeZone::getGMT());
  const UDate when = 1709305507000.0;
  for (auto _ : state) {
    icu::UnicodeString out;
    f.format(when, out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_IcuDate)->Arg(0)->Arg(1);

void BM_FormatBoolean(benchmark::State& state) {
  set_thread_locale(state);
  const core::String fs(u"BT=Yes; BF=No");
  bool value = false;
  for (auto _ : state) {
    value = !value;
    benchmark::DoNotOptimize(core::format(value, fs));
  }
}
BENCHMARK(BM_FormatBoolean)->Arg(0)->Arg(1);

void BM_FormatBooleanDefault(benchmark::State& state) {
  set_thread_locale(state);
  const core::String fs;
  bool value = false;
  for (auto _ : state) {
    value = !value;
    benchmark::DoNotOptimize(core::format(value, fs));
  }
}
BENCHMARK(BM_FormatBooleanDefault)->Arg(0)->Arg(1);

void BM_ParamsWString10Pairs(benchmark::State& state) {
  const core::String text(
      u"ND=15; NFD=2; NDS=,; NGS=' '; NG='3;0'; NN=1; NZ=0; L=ru_RU; DF=dd.MM.yyyy; BT=Yes");
  for (auto _ : state) {
    core::ParamsWString params(text);
    benchmark::DoNotOptimize(params.paramsCount());
  }
}
BENCHMARK(BM_ParamsWString10Pairs);

}  // namespace
