#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <string>
#include <vector>

#include "core/converter.h"

namespace {

// About 1 MB of UTF-16: business text in Latin and Cyrillic.
const std::u16string& sample_text() {
  static const std::u16string text = [] {
    const std::u16string line =
        u"Счёт-фактура № 1024 от 17.03.2025; Invoice 1024 dated 2025-03-17: "
        u"поставка товаров, итого 12 345,67 руб. (VAT included)\n";
    std::u16string all;
    while (all.size() * 2 < 1024 * 1024) all += line;
    return all;
  }();
  return text;
}

const char16_t* encoding_of(const benchmark::State& state) {
  return state.range(0) == 0 ? u"UTF-8" : u"windows-1251";
}

void set_bytes(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
  state.SetLabel(state.range(0) == 0 ? "UTF-8" : "windows-1251");
}

void BM_ConverterNarrow(benchmark::State& state) {
  const core::Converter converter(encoding_of(state));
  const std::u16string& text = sample_text();
  for (auto _ : state) benchmark::DoNotOptimize(converter.narrow(text));
  set_bytes(state, text.size() * 2);
}
BENCHMARK(BM_ConverterNarrow)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_IcuFromUChars(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(state.range(0) == 0 ? "UTF-8" : "windows-1251", &status);
  const std::u16string& text = sample_text();
  std::vector<char> out(text.size() * 3);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_fromUChars(converter, out.data(),
                                             static_cast<int32_t>(out.size()), text.data(),
                                             static_cast<int32_t>(text.size()), &status));
  }
  ucnv_close(converter);
  set_bytes(state, text.size() * 2);
}
BENCHMARK(BM_IcuFromUChars)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_ConverterWiden(benchmark::State& state) {
  const core::Converter converter(encoding_of(state));
  const std::string bytes = converter.narrow(sample_text());
  for (auto _ : state) benchmark::DoNotOptimize(converter.widen(bytes));
  set_bytes(state, sample_text().size() * 2);
}
BENCHMARK(BM_ConverterWiden)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_IcuToUChars(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(state.range(0) == 0 ? "UTF-8" : "windows-1251", &status);
  const std::string bytes = core::Converter(encoding_of(state)).narrow(sample_text());
  std::vector<UChar> out(bytes.size() + 16);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                           bytes.data(), static_cast<int32_t>(bytes.size()),
                                           &status));
  }
  ucnv_close(converter);
  set_bytes(state, sample_text().size() * 2);
}
BENCHMARK(BM_IcuToUChars)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// The stream converters in 8 KB pieces, both directions.
void BM_StreamNarrow8K(benchmark::State& state) {
  core::StreamConverterFromUnicode writer(encoding_of(state));
  const std::u16string& text = sample_text();
  std::vector<char> out(8 * 1024 * writer.maxCharSize());
  for (auto _ : state) {
    writer.reset();
    for (size_t at = 0; at < text.size(); at += 4096) {
      const char16_t* source = text.data() + at;
      char* target = out.data();
      writer.narrow(source, std::min<size_t>(4096, text.size() - at), target, out.size());
      benchmark::DoNotOptimize(target);
    }
  }
  set_bytes(state, text.size() * 2);
}
BENCHMARK(BM_StreamNarrow8K)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_StreamWiden8K(benchmark::State& state) {
  core::StreamConverterToUnicode reader(encoding_of(state));
  const std::string bytes = core::Converter(encoding_of(state)).narrow(sample_text());
  std::vector<char16_t> out(8 * 1024 + 16);
  for (auto _ : state) {
    reader.reset();
    for (size_t at = 0; at < bytes.size(); at += 8 * 1024) {
      const char* source = bytes.data() + at;
      const char* const stop = source + std::min<size_t>(8 * 1024, bytes.size() - at);
      while (source != stop) {
        char16_t* target = out.data();
        reader.widen(source, static_cast<size_t>(stop - source), target, out.size());
        benchmark::DoNotOptimize(target);
      }
    }
  }
  set_bytes(state, sample_text().size() * 2);
}
BENCHMARK(BM_StreamWiden8K)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

}  // namespace
