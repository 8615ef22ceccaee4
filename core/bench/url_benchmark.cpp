// URLs: parsing, accessors, percent-coding and resolution over 1,000
// realistic http, https and ftp URLs (the texts of the reference table),
// beside uriparser doing the same work on the same texts as UTF-8. Each
// iteration handles the whole set: the time per URL is the time per
// iteration divided by 1,000 (or read from items_per_second).
#include <benchmark/benchmark.h>
#include <uriparser/Uri.h>

#include <fstream>
#include <string>
#include <vector>

#include "core/url.h"

namespace {

struct Sample {
  std::vector<core::String> texts;
  std::vector<std::string> utf8;
  std::vector<core::URL> urls;
};

const Sample& sample() {
  static const Sample loaded = [] {
    Sample s;
    std::ifstream in(CORE_TEST_DATA_DIR "/urls_reference.txt");
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line[0] == '#') continue;
      s.utf8.push_back(line.substr(0, line.find('\t')));
      s.texts.push_back(core::String::fromUtf8(s.utf8.back()));
      s.urls.emplace_back(s.texts.back(), false);
    }
    return s;
  }();
  return loaded;
}

void per_url(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(sample().texts.size()));
}

// The text is shared, not copied: the marks are the whole work.
void BM_UrlParse(benchmark::State& state) {
  const Sample& s = sample();
  for (auto _ : state) {
    for (const core::String& text : s.texts) benchmark::DoNotOptimize(core::URL(text, false));
  }
  per_url(state);
}
BENCHMARK(BM_UrlParse);

// From a zero-terminated text: the text's own buffer is allocated too.
void BM_UrlParseFromPointer(benchmark::State& state) {
  const Sample& s = sample();
  for (auto _ : state) {
    for (const core::String& text : s.texts) {
      benchmark::DoNotOptimize(core::URL(text.c_str(), false));
    }
  }
  per_url(state);
}
BENCHMARK(BM_UrlParseFromPointer);

void BM_UriparserParse(benchmark::State& state) {
  const Sample& s = sample();
  for (auto _ : state) {
    for (const std::string& text : s.utf8) {
      UriUriA uri;
      const char* error = nullptr;
      benchmark::DoNotOptimize(uriParseSingleUriA(&uri, text.c_str(), &error));
      uriFreeUriMembersA(&uri);
    }
  }
  per_url(state);
}
BENCHMARK(BM_UriparserParse);

// Every accessor of the table, each a new String.
void BM_UrlAccessors(benchmark::State& state) {
  const Sample& s = sample();
  for (auto _ : state) {
    for (const core::URL& url : s.urls) {
      benchmark::DoNotOptimize(url.scheme());
      benchmark::DoNotOptimize(url.user());
      benchmark::DoNotOptimize(url.password());
      benchmark::DoNotOptimize(url.host());
      benchmark::DoNotOptimize(url.port());
      benchmark::DoNotOptimize(url.file());
      benchmark::DoNotOptimize(url.ext());
      benchmark::DoNotOptimize(url.params());
      benchmark::DoNotOptimize(url.fragment());
      benchmark::DoNotOptimize(url.location());
      benchmark::DoNotOptimize(url.networkLocation());
      benchmark::DoNotOptimize(url.login());
      benchmark::DoNotOptimize(url.filePath());
      benchmark::DoNotOptimize(url.fileName());
      benchmark::DoNotOptimize(url.fullPathName());
    }
  }
  per_url(state);
}
BENCHMARK(BM_UrlAccessors);

void BM_UrlEscape(benchmark::State& state) {
  const Sample& s = sample();
  for (auto _ : state) {
    for (const core::String& text : s.texts) {
      benchmark::DoNotOptimize(core::URL::escape(text, u"/\\;?*:@&=[]#"));
    }
  }
  per_url(state);
}
BENCHMARK(BM_UrlEscape);

void BM_UriparserEscape(benchmark::State& state) {
  const Sample& s = sample();
  std::vector<char> out(1024);
  for (auto _ : state) {
    for (const std::string& text : s.utf8) {
      benchmark::DoNotOptimize(
          uriEscapeExA(text.data(), text.data() + text.size(), out.data(), URI_FALSE, URI_FALSE));
    }
  }
  per_url(state);
}
BENCHMARK(BM_UriparserEscape);

void BM_UrlUnescape(benchmark::State& state) {
  const Sample& s = sample();
  std::vector<core::String> escaped;
  for (const core::String& text : s.texts) escaped.push_back(core::URL::escape(text, u"/:?=&"));
  for (auto _ : state) {
    for (const core::String& text : escaped) benchmark::DoNotOptimize(core::URL::unescape(text));
  }
  per_url(state);
}
BENCHMARK(BM_UrlUnescape);

void BM_UriparserUnescape(benchmark::State& state) {
  const Sample& s = sample();
  std::vector<std::string> escaped;
  for (const std::string& text : s.utf8) {
    std::string out(text.size() * 3 + 1, '\0');
    uriEscapeA(text.c_str(), out.data(), URI_FALSE, URI_FALSE);
    escaped.emplace_back(out.c_str());
  }
  for (auto _ : state) {
    for (const std::string& text : escaped) {
      std::string copy = text;  // unescaping works in place
      benchmark::DoNotOptimize(uriUnescapeInPlaceA(copy.data()));
    }
  }
  per_url(state);
}
BENCHMARK(BM_UriparserUnescape);

void BM_UrlCombine(benchmark::State& state) {
  const Sample& s = sample();
  const core::URL relative(u"../img/./logo.png?v=2", false);
  for (auto _ : state) {
    for (const core::URL& url : s.urls) benchmark::DoNotOptimize(url.combine(relative));
  }
  per_url(state);
}
BENCHMARK(BM_UrlCombine);

// Parsing of the reference once and the resolution, with the result
// written back as text, as combine() delivers it.
void BM_UriparserCombine(benchmark::State& state) {
  const Sample& s = sample();
  std::vector<UriUriA> bases(s.utf8.size());
  for (std::size_t i = 0; i < bases.size(); ++i) {
    const char* error = nullptr;
    uriParseSingleUriA(&bases[i], s.utf8[i].c_str(), &error);
  }
  UriUriA relative;
  const char* error = nullptr;
  uriParseSingleUriA(&relative, "../img/./logo.png?v=2", &error);
  std::vector<char> text(1024);
  for (auto _ : state) {
    for (UriUriA& base : bases) {
      UriUriA resolved;
      uriAddBaseUriA(&resolved, &relative, &base);
      int written = 0;
      uriToStringA(text.data(), &resolved, static_cast<int>(text.size()), &written);
      benchmark::DoNotOptimize(text.data());
      uriFreeUriMembersA(&resolved);
    }
  }
  for (UriUriA& base : bases) uriFreeUriMembersA(&base);
  uriFreeUriMembersA(&relative);
  per_url(state);
}
BENCHMARK(BM_UriparserCombine);

}  // namespace
