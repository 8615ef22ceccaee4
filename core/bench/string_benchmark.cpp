// Case-insensitive comparison and hashing against ICU, the cost of copying a
// long String, and UTF-8 decoding and encoding against ICU's converters.
#include <benchmark/benchmark.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <functional>
#include <string>
#include <string_view>

#include "core/nocase.h"
#include "core/string.h"

namespace {

// Pairs that are equal ignoring case, so every unit is read. The Latin and
// Cyrillic ones are 20 characters long.
struct Pair {
  std::u16string_view a;
  std::u16string_view b;
};
constexpr Pair kLatin{u"The Quick Brown Fox!", u"tHE qUICK bROWN fOX!"};
constexpr Pair kCyrillic{u"Съешь же ещё мягких ", u"СЪЕШЬ ЖЕ ЕЩЁ МЯГКИХ "};
// Foldings of more than one unit and a surrogate pair take the full path.
constexpr Pair kSpecial{u"Straße und ﬁle 𐐀", u"STRASSE UND FILE 𐐨"};

const Pair& pair_of(const benchmark::State& state) {
  switch (state.range(0)) {
    case 0:
      return kLatin;
    case 1:
      return kCyrillic;
    default:
      return kSpecial;
  }
}

void label(benchmark::State& state) {
  static const char* const kNames[] = {"latin", "cyrillic", "special"};
  state.SetLabel(kNames[state.range(0)]);
}

void BM_CompareNocase(benchmark::State& state) {
  const Pair& pair = pair_of(state);
  if (core::compare_nocase(pair.a, pair.b) != 0) state.SkipWithError("pair is not equal");
  for (auto _ : state) {
    benchmark::DoNotOptimize(core::compare_nocase(pair.a, pair.b));
  }
  label(state);
}
BENCHMARK(BM_CompareNocase)->DenseRange(0, 2);

void BM_IcuStrCaseCompare(benchmark::State& state) {
  const Pair& pair = pair_of(state);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(u_strCaseCompare(pair.a.data(), static_cast<int32_t>(pair.a.size()),
                                              pair.b.data(), static_cast<int32_t>(pair.b.size()),
                                              U_FOLD_CASE_DEFAULT, &status));
  }
  label(state);
}
BENCHMARK(BM_IcuStrCaseCompare)->DenseRange(0, 2);

void BM_HashNocase(benchmark::State& state) {
  const Pair& pair = pair_of(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(core::hash_nocase(pair.b));
  }
  label(state);
}
BENCHMARK(BM_HashNocase)->DenseRange(0, 2);

// The baseline a case-insensitive table would use without hash_nocase: fold
// into a buffer, then hash the folded text.
void BM_IcuFoldThenHash(benchmark::State& state) {
  const Pair& pair = pair_of(state);
  for (auto _ : state) {
    char16_t folded[64];
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        u_strFoldCase(folded, 64, pair.b.data(), static_cast<int32_t>(pair.b.size()),
                      U_FOLD_CASE_DEFAULT, &status);
    benchmark::DoNotOptimize(std::hash<std::u16string_view>()(
        std::u16string_view(folded, static_cast<std::size_t>(length))));
  }
  label(state);
}
BENCHMARK(BM_IcuFoldThenHash)->DenseRange(0, 2);

std::u16string long_text() { return std::u16string(1000, u'ж'); }

void BM_CopyString1000(benchmark::State& state) {
  const core::String text(long_text());
  for (auto _ : state) {
    core::String copy(text);
    benchmark::DoNotOptimize(copy.data());
  }
}
BENCHMARK(BM_CopyString1000);

void BM_CopyU16String1000(benchmark::State& state) {
  const std::u16string text = long_text();
  for (auto _ : state) {
    std::u16string copy(text);
    benchmark::DoNotOptimize(copy.data());
  }
}
BENCHMARK(BM_CopyU16String1000);

// A mixed text of 1000 units: ASCII, Cyrillic, a three-byte sign and a pair.
std::u16string mixed_text() {
  std::u16string text;
  while (text.size() < 1000) text += u"plain text, кириллица €1 😀 ";
  text.resize(1000);
  return text;
}

void BM_FromUtf8(benchmark::State& state) {
  const std::string bytes = core::String(mixed_text()).toUtf8();
  for (auto _ : state) {
    core::String text = core::String::fromUtf8(bytes);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(BM_FromUtf8);

// The peer: ICU's decoder with the same substitution, into a buffer that is
// already large enough.
void BM_IcuFromUtf8(benchmark::State& state) {
  const std::string bytes = core::String(mixed_text()).toUtf8();
  std::u16string text(bytes.size(), u'\0');
  for (auto _ : state) {
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<int32_t>(text.size()), &length, bytes.data(),
                         static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
    benchmark::DoNotOptimize(length);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(BM_IcuFromUtf8);

void BM_ToUtf8(benchmark::State& state) {
  const core::String text(mixed_text());
  for (auto _ : state) {
    std::string bytes = text.toUtf8();
    benchmark::DoNotOptimize(bytes.data());
  }
}
BENCHMARK(BM_ToUtf8);

void BM_IcuToUtf8(benchmark::State& state) {
  const std::u16string text = mixed_text();
  std::string bytes(text.size() * 3, '\0');
  for (auto _ : state) {
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(bytes.data(), static_cast<int32_t>(bytes.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    benchmark::DoNotOptimize(length);
  }
}
BENCHMARK(BM_IcuToUtf8);

}  // namespace
