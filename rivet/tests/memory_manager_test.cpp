#include "rivet/memory_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "rivet/heap.h"

namespace {

using namespace std::chrono_literals;

// Unregisters on scope exit so that a failing test leaves no callback behind.
class Registration {
 public:
  Registration(rivet::MemoryCallback callback, void* context)
      : handle_(rivet::register_memory_callback(callback, context)) {}
  ~Registration() { rivet::unregister_memory_callback(handle_); }

 private:
  rivet::MemoryCallbackHandle handle_;
};

struct Cache {
  std::string name;
  std::size_t gives = 0;
  std::vector<std::string>* log = nullptr;
  std::size_t wanted = 0;
  int calls = 0;
};

std::size_t trim_cache(void* context, std::size_t bytes_wanted) {
  auto* cache = static_cast<Cache*>(context);
  ++cache->calls;
  cache->wanted = bytes_wanted;
  if (cache->log != nullptr) cache->log->push_back(cache->name);
  return cache->gives;
}

TEST(MemoryManager, CallsCallbacksInOrderUntilEnoughIsReleased) {
  std::vector<std::string> log;
  Cache a{"a", 10, &log};
  Cache b{"b", 5, &log};
  Registration ra(&trim_cache, &a);
  Registration rb(&trim_cache, &b);

  EXPECT_EQ(rivet::release_memory(100), 15u);
  EXPECT_EQ(log, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(a.wanted, 100u);
  EXPECT_EQ(b.wanted, 90u);

  EXPECT_EQ(rivet::release_memory(8), 10u);  // "a" gave enough
  EXPECT_EQ(rivet::release_memory(0), 0u);
  EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "a"}));
}

TEST(MemoryManager, UnregisteredCallbackIsNeverCalledAgain) {
  Cache a{"a"};
  const std::size_t before = rivet::memory_callback_count();
  const auto handle = rivet::register_memory_callback(&trim_cache, &a);
  EXPECT_EQ(rivet::memory_callback_count(), before + 1);

  EXPECT_TRUE(rivet::unregister_memory_callback(handle));
  EXPECT_FALSE(rivet::unregister_memory_callback(handle));
  EXPECT_FALSE(rivet::unregister_memory_callback(rivet::MemoryCallbackHandle::kInvalid));
  rivet::release_memory();
  EXPECT_EQ(a.calls, 0);
  EXPECT_EQ(rivet::memory_callback_count(), before);
}

// A callback whose own allocation fails must not re-enter the callbacks.
std::size_t allocate_inside(void* context, std::size_t) {
  ++*static_cast<int*>(context);
  static volatile std::size_t impossible = SIZE_MAX / 2;
  void* big = rivet_malloc(impossible);
  void* small = rivet_malloc(32);
  rivet_free(small);
  return big == nullptr && small != nullptr ? 1 : 0;
}

TEST(MemoryManager, CallbackMayAllocateAndFailWithoutRecursion) {
  int calls = 0;
  Registration r(&allocate_inside, &calls);
  EXPECT_EQ(rivet::release_memory(), 1u);
  EXPECT_EQ(calls, 1);
}

struct SelfRemoving {
  rivet::MemoryCallbackHandle handle{};
  int calls = 0;
  bool unregistered = false;
};

std::size_t remove_self(void* context, std::size_t) {
  auto* self = static_cast<SelfRemoving*>(context);
  ++self->calls;
  self->unregistered = rivet::unregister_memory_callback(self->handle);
  return 0;
}

TEST(MemoryManager, CallbackMayUnregisterItself) {
  const std::size_t before = rivet::memory_callback_count();
  SelfRemoving self;
  Cache next{"next"};
  self.handle = rivet::register_memory_callback(&remove_self, &self);
  Registration r(&trim_cache, &next);

  rivet::release_memory();
  rivet::release_memory();
  EXPECT_TRUE(self.unregistered);
  EXPECT_EQ(self.calls, 1);
  EXPECT_EQ(next.calls, 2);
  EXPECT_EQ(rivet::memory_callback_count(), before + 1);
}

struct Slow {
  std::atomic<bool> entered{false};
  std::atomic<bool> proceed{false};
  std::atomic<bool> finished{false};
};

std::size_t slow_callback(void* context, std::size_t) {
  auto* slow = static_cast<Slow*>(context);
  slow->entered = true;
  while (!slow->proceed) std::this_thread::yield();
  std::this_thread::sleep_for(20ms);
  slow->finished = true;
  return 0;
}

TEST(MemoryManager, UnregisterWaitsForTheRunningCallback) {
  Slow slow;
  const auto handle = rivet::register_memory_callback(&slow_callback, &slow);
  std::thread releaser([] { rivet::release_memory(); });
  while (!slow.entered) std::this_thread::yield();
  std::thread opener([&slow] {
    std::this_thread::sleep_for(50ms);
    slow.proceed = true;
  });

  EXPECT_TRUE(rivet::unregister_memory_callback(handle));
  EXPECT_TRUE(slow.finished);
  releaser.join();
  opener.join();
}

// Each registrant marks its context dead right after unregistering; a call
// that sees a dead context breaks the guarantee.
struct Guarded {
  std::atomic<bool> alive{true};
  std::atomic<int>* violations;
};

std::size_t check_alive(void* context, std::size_t) {
  auto* guarded = static_cast<Guarded*>(context);
  if (!guarded->alive) ++*guarded->violations;
  return 0;
}

TEST(MemoryManager, ConcurrentRegistrationAndRelease) {
  std::atomic<int> violations{0};
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!stop) rivet::release_memory();
    });
  }
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 2000; ++n) {
        Guarded guarded{{true}, &violations};
        const auto handle = rivet::register_memory_callback(&check_alive, &guarded);
        std::this_thread::yield();
        rivet::unregister_memory_callback(handle);
        guarded.alive = false;
      }
    });
  }
  threads[2].join();
  threads[3].join();
  stop = true;
  threads[0].join();
  threads[1].join();
  EXPECT_EQ(violations, 0);
}

}  // namespace
