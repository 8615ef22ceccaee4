#include "rivet/suspend_monitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

bool wait_until(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 10s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(1ms);
  }
  return true;
}

TEST(SuspendMonitor, ScopeRegistersTheCallingThread) {
  ASSERT_EQ(rivet::suspended_thread_count(), 0u);
  const auto start = std::chrono::steady_clock::now();
  {
    rivet::SuspendScope scope("waiting for a lock");
    const auto list = rivet::suspended_threads();
    EXPECT_EQ(rivet::suspended_thread_count(), 1u);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].thread, std::this_thread::get_id());
    EXPECT_EQ(list[0].reason, "waiting for a lock");
    EXPECT_GE(list[0].since, start);
    EXPECT_LE(list[0].since, std::chrono::steady_clock::now());
  }
  EXPECT_EQ(rivet::suspended_thread_count(), 0u);
  EXPECT_TRUE(rivet::suspended_threads().empty());
}

TEST(SuspendMonitor, NestedScopesListTheThreadOnce) {
  {
    rivet::SuspendScope outer("outer");
    {
      rivet::SuspendScope inner(nullptr);
      const auto list = rivet::suspended_threads();
      ASSERT_EQ(list.size(), 1u);
      EXPECT_EQ(list[0].reason, "outer");
    }
    EXPECT_EQ(rivet::suspended_thread_count(), 1u);
  }
  EXPECT_EQ(rivet::suspended_thread_count(), 0u);
  rivet::SuspendScope unnamed(nullptr);
  EXPECT_EQ(rivet::suspended_threads().at(0).reason, "");
}

TEST(SuspendMonitor, ListsEveryWaitingThread) {
  constexpr int kThreads = 4;
  const std::vector<std::string> reasons = {"r0", "r1", "r2", "r3"};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      rivet::SuspendScope scope(reasons[i].c_str());
      while (!go) std::this_thread::sleep_for(1ms);
    });
  }
  ASSERT_TRUE(wait_until([] { return rivet::suspended_thread_count() == kThreads; }));
  const auto list = rivet::suspended_threads();
  go = true;
  for (std::thread& thread : threads) thread.join();

  std::set<std::thread::id> ids;
  std::vector<std::string> listed;
  for (const rivet::SuspendedThread& entry : list) {
    ids.insert(entry.thread);
    listed.push_back(entry.reason);
  }
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(ids.size(), static_cast<std::size_t>(kThreads));
  EXPECT_EQ(listed, reasons);
  EXPECT_EQ(rivet::suspended_thread_count(), 0u);
}

TEST(SuspendMonitor, PauseRegistersWhileSleeping) {
  std::thread::id sleeper_id;
  std::thread sleeper([&sleeper_id] {
    sleeper_id = std::this_thread::get_id();
    rivet::pause(300ms, "retrying file move");
  });
  ASSERT_TRUE(wait_until([] { return rivet::suspended_thread_count() == 1; }));
  const auto list = rivet::suspended_threads();
  sleeper.join();

  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].thread, sleeper_id);
  EXPECT_EQ(list[0].reason, "retrying file move");
  EXPECT_EQ(rivet::suspended_thread_count(), 0u);
}

}  // namespace
