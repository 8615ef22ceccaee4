// Container files beside their peers, on the same bytes in the same run:
// one 256 MB stream against write(2)/read(2) of a plain file (both through
// the page cache), and 100,000 streams of 1 KB against SQLite storing the
// same blobs in one table inside one transaction. Each iteration starts
// after sync(2), outside the timing. Run with
// --benchmark_enable_random_interleaving=true and repetitions: the page
// cache of a shared machine makes single runs noisy.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/storage.h"
#include "core/url.h"

#ifdef CORE_BENCH_SQLITE
#include <sqlite3.h>
#endif

namespace {

constexpr std::size_t kBigStream = 256u << 20;
constexpr std::size_t kChunk = 1u << 20;
constexpr int kSmallStreams = 100000;
constexpr std::size_t kSmallSize = 1024;

// A directory of its own for the files of one benchmark.
class Scratch {
 public:
  Scratch() {
    const char* base = std::getenv("TMPDIR");
    dir_ = std::string(base != nullptr ? base : "/tmp") + "/core_bench_XXXXXX";
    if (::mkdtemp(dir_.data()) == nullptr) std::abort();
  }
  ~Scratch() { std::system(("rm -rf '" + dir_ + "'").c_str()); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  std::string path(const char* name) const { return dir_ + "/" + name; }
  core::URL url(const char* name) const { return core::URL(core::String::fromUtf8(path(name))); }

 private:
  std::string dir_;
};

// Flushes the dirty pages of earlier iterations and benchmarks outside the
// timing, so that no writer is throttled by another's write-back.
void settle(benchmark::State& state) {
  state.PauseTiming();
  ::sync();
  state.ResumeTiming();
}

std::string chunk_bytes() {
  std::string bytes(kChunk, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 131 + 7);
  return bytes;
}

core::String small_name(int i) { return core::String::fromUtf8("s" + std::to_string(i)); }

void BM_RawWrite(benchmark::State& state) {
  const Scratch scratch;
  const std::string chunk = chunk_bytes();
  for (auto _ : state) {
    settle(state);
    const int fd = ::open(scratch.path("raw").c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    for (std::size_t done = 0; done < kBigStream; done += kChunk) {
      if (::write(fd, chunk.data(), chunk.size()) != static_cast<ssize_t>(chunk.size())) {
        std::abort();
      }
    }
    ::close(fd);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBigStream));
}
BENCHMARK(BM_RawWrite)->Unit(benchmark::kMillisecond);

void BM_StorageWrite(benchmark::State& state) {
  const Scratch scratch;
  const std::string chunk = chunk_bytes();
  const auto variant = static_cast<core::StorageVariant>(state.range(0));
  for (auto _ : state) {
    settle(state);
    auto storage = core::Storage::create(scratch.url("box"), variant);
    auto out = storage->openStream(u"big", core::FileMode::Create);
    for (std::size_t done = 0; done < kBigStream; done += kChunk) {
      out->write(chunk.data(), chunk.size());
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBigStream));
}
BENCHMARK(BM_StorageWrite)
    ->Arg(static_cast<int>(core::StorageVariant::Storage32))
    ->Arg(static_cast<int>(core::StorageVariant::Storage64))
    ->Unit(benchmark::kMillisecond);

void BM_RawRead(benchmark::State& state) {
  const Scratch scratch;
  const std::string chunk = chunk_bytes();
  {
    const int fd = ::open(scratch.path("raw").c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0644);
    for (std::size_t done = 0; done < kBigStream; done += kChunk) {
      if (::write(fd, chunk.data(), chunk.size()) < 0) std::abort();
    }
    ::close(fd);
  }
  std::vector<char> buffer(kChunk);
  for (auto _ : state) {
    settle(state);
    const int fd = ::open(scratch.path("raw").c_str(), O_RDONLY);
    std::size_t total = 0;
    for (ssize_t got; (got = ::read(fd, buffer.data(), buffer.size())) > 0;) {
      total += static_cast<std::size_t>(got);
    }
    ::close(fd);
    if (total != kBigStream) std::abort();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBigStream));
}
BENCHMARK(BM_RawRead)->Unit(benchmark::kMillisecond);

void BM_StorageRead(benchmark::State& state) {
  const Scratch scratch;
  const std::string chunk = chunk_bytes();
  const auto variant = static_cast<core::StorageVariant>(state.range(0));
  {
    auto storage = core::Storage::create(scratch.url("box"), variant);
    auto out = storage->openStream(u"big", core::FileMode::Create);
    for (std::size_t done = 0; done < kBigStream; done += kChunk) {
      out->write(chunk.data(), chunk.size());
    }
  }
  std::vector<char> buffer(kChunk);
  for (auto _ : state) {
    settle(state);
    auto storage = core::Storage::open(scratch.url("box"), variant, false);
    auto in = storage->openStream(u"big", core::FileMode::Read);
    std::size_t total = 0;
    for (std::size_t got; (got = in->read(buffer.data(), buffer.size())) > 0;) total += got;
    if (total != kBigStream) std::abort();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBigStream));
}
BENCHMARK(BM_StorageRead)
    ->Arg(static_cast<int>(core::StorageVariant::Storage32))
    ->Arg(static_cast<int>(core::StorageVariant::Storage64))
    ->Unit(benchmark::kMillisecond);

// Create and write 100,000 streams of 1 KB, list them, read them back; each
// phase in one batch, as SQLite's rows are written in one transaction.
void BM_StorageSmallStreams(benchmark::State& state) {
  const Scratch scratch;
  const std::string data(kSmallSize, 'b');
  std::vector<char> buffer(kSmallSize);
  for (auto _ : state) {
    settle(state);
    auto storage = core::Storage::create(scratch.url("box"), core::StorageVariant::Storage64);
    {
      const core::StorageBatch batch(*storage, true);
      for (int i = 0; i < kSmallStreams; ++i) {
        storage->openStream(small_name(i), core::FileMode::Create)->write(data.data(), data.size());
      }
    }
    const core::StorageBatch batch(*storage, false);
    if (storage->list(u"").size() != kSmallStreams) std::abort();
    for (int i = 0; i < kSmallStreams; ++i) {
      if (storage->openStream(small_name(i), core::FileMode::Read)
              ->read(buffer.data(), buffer.size()) != kSmallSize) {
        std::abort();
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * kSmallStreams);
}
BENCHMARK(BM_StorageSmallStreams)->Unit(benchmark::kMillisecond);

// Half the small streams deleted and written again: the counter "growth" is
// the file's size afterwards over its size before the deletions.
void BM_StorageRefill(benchmark::State& state) {
  const Scratch scratch;
  const std::string data(kSmallSize, 'r');
  double growth = 0;
  for (auto _ : state) {
    settle(state);
    state.PauseTiming();
    auto storage = core::Storage::create(scratch.url("box"), core::StorageVariant::Storage64);
    {
      const core::StorageBatch batch(*storage, true);
      for (int i = 0; i < kSmallStreams; ++i) {
        storage->openStream(small_name(i), core::FileMode::Create)->write(data.data(), data.size());
      }
    }
    const auto size = [&scratch] {
      const int fd = ::open(scratch.path("box").c_str(), O_RDONLY);
      const off_t end = ::lseek(fd, 0, SEEK_END);
      ::close(fd);
      return static_cast<double>(end);
    };
    const double before = size();
    state.ResumeTiming();
    const core::StorageBatch batch(*storage, true);
    for (int i = 0; i < kSmallStreams; i += 2) storage->remove(small_name(i));
    for (int i = 0; i < kSmallStreams; i += 2) {
      storage->openStream(small_name(i), core::FileMode::Create)->write(data.data(), data.size());
    }
    growth = size() / before;
  }
  state.counters["growth"] = growth;
  state.SetItemsProcessed(state.iterations() * kSmallStreams);
}
BENCHMARK(BM_StorageRefill)->Unit(benchmark::kMillisecond);

#ifdef CORE_BENCH_SQLITE
void check_sqlite(int code) {
  if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW) std::abort();
}

// The same 100,000 blobs in one table inside one transaction, listed and
// read back by name.
void BM_SqliteSmallBlobs(benchmark::State& state) {
  const Scratch scratch;
  const std::string data(kSmallSize, 'b');
  for (auto _ : state) {
    settle(state);
    ::unlink(scratch.path("db").c_str());
    sqlite3* db = nullptr;
    check_sqlite(sqlite3_open(scratch.path("db").c_str(), &db));
    check_sqlite(sqlite3_exec(db, "CREATE TABLE blobs(name TEXT PRIMARY KEY, data BLOB)", nullptr,
                              nullptr, nullptr));
    check_sqlite(sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr));
    sqlite3_stmt* insert = nullptr;
    check_sqlite(sqlite3_prepare_v2(db, "INSERT INTO blobs VALUES(?, ?)", -1, &insert, nullptr));
    for (int i = 0; i < kSmallStreams; ++i) {
      const std::string name = "s" + std::to_string(i);
      sqlite3_bind_text(insert, 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
      sqlite3_bind_blob(insert, 2, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
      check_sqlite(sqlite3_step(insert));
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    check_sqlite(sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr));
    sqlite3_stmt* list = nullptr;
    check_sqlite(
        sqlite3_prepare_v2(db, "SELECT name, length(data) FROM blobs", -1, &list, nullptr));
    int rows = 0;
    while (sqlite3_step(list) == SQLITE_ROW) ++rows;
    sqlite3_finalize(list);
    if (rows != kSmallStreams) std::abort();
    sqlite3_stmt* select = nullptr;
    check_sqlite(
        sqlite3_prepare_v2(db, "SELECT data FROM blobs WHERE name = ?", -1, &select, nullptr));
    for (int i = 0; i < kSmallStreams; ++i) {
      const std::string name = "s" + std::to_string(i);
      sqlite3_bind_text(select, 1, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
      if (sqlite3_step(select) != SQLITE_ROW ||
          sqlite3_column_bytes(select, 0) != static_cast<int>(kSmallSize)) {
        std::abort();
      }
      sqlite3_reset(select);
    }
    sqlite3_finalize(select);
    sqlite3_close(db);
  }
  state.SetItemsProcessed(state.iterations() * kSmallStreams);
}
BENCHMARK(BM_SqliteSmallBlobs)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
