// Writers killed at random points of random workloads, and a writer and a
// reader in two processes: committed streams must always read back.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "core/exception.h"
#include "core/storage.h"
#include "core/url.h"
#include "test_util.h"

namespace core {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kRounds = 60;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr int kRounds = 60;
#else
constexpr int kRounds = 300;
#endif
#else
constexpr int kRounds = 300;
#endif

// A stream's content: pieces of pseudo-random bytes, each from a seed.
using Pieces = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // seed, length

std::string bytes_of(const Pieces& pieces) {
  std::string bytes;
  for (const auto& [seed, length] : pieces) {
    std::uint32_t state = seed;
    for (std::uint32_t i = 0; i < length; ++i) {
      state = state * 1664525u + 1013904223u;
      bytes.push_back(static_cast<char>(state >> 24));
    }
  }
  return bytes;
}

std::string read_all(Storage& storage, const String& path) {
  InterfacePtr<IFile> in = storage.openStream(path, FileMode::Read);
  std::string bytes;
  char piece[8192];
  for (std::size_t got; (got = in->read(piece, sizeof piece)) > 0;) bytes.append(piece, got);
  return bytes;
}

// Where two byte strings part, or empty when they are equal.
std::string difference(const std::string& got, const std::string& wanted) {
  if (got == wanted) return std::string();
  std::size_t at = 0;
  while (at < got.size() && at < wanted.size() && got[at] == wanted[at]) ++at;
  return std::to_string(got.size()) + " bytes instead of " + std::to_string(wanted.size()) +
         ", first difference at " + std::to_string(at);
}

using StorageProcessTest = testing::TempDirTest;

// The writer's side of a round: random operations until it is killed,
// each announced on `out` before it starts ("B path") and after it is
// complete ("C path seed length ...", "R path", "M from to").
[[noreturn]] void run_writer(const URL& where, StorageVariant variant,
                             std::map<std::string, Pieces> model,
                             const std::set<std::string>& uncertain, int round, int out) {
  const auto say = [out](const std::string& line) {
    const std::string text = line + "\n";
    if (::write(out, text.data(), text.size()) != static_cast<ssize_t>(text.size())) ::_exit(5);
  };
  try {
    InterfacePtr<Storage> storage = Storage::open(where, variant, true);
    std::mt19937 random(static_cast<std::uint32_t>(round) * 7919u + 1);
    for (const char* dir : {"d0", "d1", "d2"}) {
      if (!storage->exists(String::fromUtf8(dir))) storage->createStorage(String::fromUtf8(dir));
    }
    // A stream the last writer was busy with when it died holds the old or
    // the new bytes, or a mix: it is only ever overwritten whole.
    std::vector<std::string> names(uncertain.begin(), uncertain.end());
    for (const std::string& name : names) model.erase(name);
    for (int op = 0;; ++op) {
      const int kind = static_cast<int>(random() % 10);
      std::vector<std::string> known;
      for (const auto& entry : model) known.push_back(entry.first);
      const std::string some = known.empty() ? std::string() : known[random() % known.size()];
      if (kind < 5 || known.empty()) {
        // Create (or overwrite) a stream, or append to a known one.
        const bool append = kind == 0 && !known.empty();
        std::string path =
            append ? some
                   : "d" + std::to_string(random() % 3) + "/s" + std::to_string(random() % 60);
        if (!append && !names.empty() && random() % 4 == 0) path = names[random() % names.size()];
        Pieces pieces = append ? model[path] : Pieces();
        say("B " + path);
        InterfacePtr<IFile> stream = storage->openStream(
            String::fromUtf8(path), append ? FileMode::Append : FileMode::Create);
        const int count = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < count; ++i) {
          const std::uint32_t length = random() % (random() % 3 == 0 ? 70000 : 700);
          const std::uint32_t seed = static_cast<std::uint32_t>(random());
          const std::string bytes = bytes_of({{seed, length}});
          stream->write(bytes.data(), bytes.size());
          pieces.emplace_back(seed, length);
        }
        stream.reset();
        std::string line = "C " + path;
        for (const auto& [seed, length] : pieces) {
          line += " " + std::to_string(seed) + " " + std::to_string(length);
        }
        model[path] = pieces;
        say(line);
      } else if (kind < 8 || model.size() > 40) {
        say("B " + some);
        storage->remove(String::fromUtf8(some));
        model.erase(some);
        say("R " + some);
      } else {
        const std::string target = "d" + std::to_string(random() % 3) + "/r" +
                                   std::to_string(round) + "_" + std::to_string(op);
        say("B " + some);
        say("B " + target);
        storage->rename(String::fromUtf8(some), String::fromUtf8(target));
        model[target] = model[some];
        model.erase(some);
        say("M " + some + " " + target);
      }
    }
  } catch (const Exception& e) {
    say("E " + e.descr().toUtf8());
    ::_exit(4);
  }
}

// Reads the writer's announcements into the model of committed streams.
void apply(const std::string& text, std::map<std::string, Pieces>& model,
           std::set<std::string>& uncertain, std::string& error) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string kind;
    std::string path;
    words >> kind >> path;
    if (kind == "B") {
      uncertain.insert(path);
    } else if (kind == "C") {
      Pieces pieces;
      for (std::uint32_t seed, length; words >> seed >> length;) pieces.emplace_back(seed, length);
      model[path] = pieces;
      uncertain.erase(path);
    } else if (kind == "R") {
      model.erase(path);
      uncertain.erase(path);
    } else if (kind == "M") {
      std::string target;
      words >> target;
      model[target] = model[path];
      model.erase(path);
      uncertain.erase(path);
      uncertain.erase(target);
    } else if (kind == "E") {
      error = line;
    }
  }
}

TEST_F(StorageProcessTest, KilledWritersLeaveCommittedStreamsReadable) {
  std::mt19937 random(20240229);
  int kills = 0;
  for (const StorageVariant variant : {StorageVariant::Storage32, StorageVariant::Storage64}) {
    const URL where = url(variant == StorageVariant::Storage32 ? "crash32.q9" : "crash64.q9");
    Storage::create(where, variant);
    std::map<std::string, Pieces> model;
    std::set<std::string> uncertain;
    for (int round = 0; round < kRounds / 2; ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      int pipe_ends[2];
      ASSERT_EQ(::pipe(pipe_ends), 0);
      const pid_t child = ::fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        ::close(pipe_ends[0]);
        run_writer(where, variant, model, uncertain, round, pipe_ends[1]);
      }
      ::close(pipe_ends[1]);
      std::this_thread::sleep_for(std::chrono::microseconds(500 + random() % 20000));
      ::kill(child, SIGKILL);
      std::string text;
      char piece[4096];
      for (ssize_t got; (got = ::read(pipe_ends[0], piece, sizeof piece)) > 0;) {
        text.append(piece, static_cast<std::size_t>(got));
      }
      ::close(pipe_ends[0]);
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      std::string error;
      apply(text, model, uncertain, error);
      ASSERT_TRUE(error.empty()) << error;
      ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself: " << status;
      ++kills;
      InterfacePtr<Storage> storage = Storage::open(where, variant, false);
      for (const auto& [path, pieces] : model) {
        if (uncertain.count(path) != 0) continue;
        ASSERT_EQ(difference(read_all(*storage, String::fromUtf8(path)), bytes_of(pieces)), "")
            << path;
      }
      for (const std::string& problem : storage->check().problems) {
        // A killed writer may leave bytes on no chain; nothing else.
        ASSERT_NE(problem.find("on no chain"), std::string::npos) << problem;
      }
    }
  }
  EXPECT_EQ(kills, kRounds / 2 * 2);
}

// One process writes streams, each with one call, while another reads the
// container: the reader sees each stream empty or whole, and all of them
// in the end.
TEST_F(StorageProcessTest, ReaderSeesTheWritersCommittedChanges) {
  constexpr int kStreams = 150;
  const URL where = url("shared.q9");
  Storage::create(where, StorageVariant::Storage64);
  InterfacePtr<Storage> reader = Storage::open(where, StorageVariant::Storage64, false);
  const auto content = [](int i) { return bytes_of({{static_cast<std::uint32_t>(i), 3000u + i}}); };
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      InterfacePtr<Storage> writer = Storage::open(where, StorageVariant::Storage64, true);
      for (int i = 0; i < kStreams; ++i) {
        InterfacePtr<IFile> out =
            writer->openStream(String::fromUtf8("s" + std::to_string(i)), FileMode::Create);
        const std::string bytes = content(i);
        out->write(bytes.data(), bytes.size());
      }
    } catch (const Exception&) {
      ::_exit(4);
    }
    ::_exit(0);
  }
  std::size_t seen = 0;
  int polls = 0;
  for (int status = 0;; ++polls) {
    const bool done = ::waitpid(child, &status, WNOHANG) == child;
    if (done) {
      ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    const std::vector<StorageEntryInfo> entries = reader->list(u"");
    ASSERT_GE(entries.size(), seen);
    seen = entries.size();
    for (const StorageEntryInfo& entry : entries) {
      const int i = std::stoi(entry.name.toUtf8().substr(1));
      const std::string bytes = read_all(*reader, entry.name);
      if (!bytes.empty()) {
        ASSERT_EQ(bytes, content(i)) << i;
      }
    }
    if (done) break;
    // Leave the lock free most of the time: the writer tries every 20 ms.
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  EXPECT_EQ(seen, static_cast<std::size_t>(kStreams));
  EXPECT_GT(polls, 0);
}

}  // namespace
}  // namespace core
