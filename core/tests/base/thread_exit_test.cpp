// Regression: a thread inside the library while the process exits crashed it.
//
// Detached workers loop on calls that read the thread's settings (exceptions
// with their messages, conversions of values). Main runs the teardown that
// the unload hook runs, waits until every worker has gone on for a while
// after it, and returns while they still loop, so that the exit runs under
// them too. The process must exit with status 0; a worker that sees anything
// but the library's own behaviour aborts it. Under the leak checker the
// settings of the workers that outlive the teardown must stay reachable
// (ThreadSettingsLostAtTeardownLeaked: the retired slot dropped them).
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "base/lifecycle.h"
#include "core/date.h"
#include "core/exception_classes.h"
#include "core/init.h"
#include "core/locale.h"
#include "core/messages.h"
#include "core/thread.h"
#include "core/value.h"

namespace {

constexpr int kWorkers = 4;
constexpr long kRoundsAfterTeardown = 200;
// Plain atomics: trivially destructible, so still there after main returns.
std::atomic<long> rounds[kWorkers];

void fail(const char* what) {
  std::fprintf(stderr, "thread_exit_test: %s\n", what);
  std::abort();
}

void work(int index) {
  if (index % 2 == 1) core::Thread::setLocale(core::Locale(u"ru_RU"));
  for (long round = 0;; ++round) {
    try {
      throw core::IllegalStateException(u"worker");
    } catch (const core::IllegalStateException& e) {
      // The text may be gone once the bundles are closed; the extra stays.
      if (e.clsid() != core::IllegalStateException::kClsid) fail("wrong class");
    }
    const core::Value amount(core::create_numeric_value(static_cast<int>(round % 1000)).get());
    core::String text;
    if (!amount.getString(text) || text.empty()) fail("a number did not convert");
    if (core::Date(2024, 2, 29).toString() != core::String(u"20240229000000")) {
      fail("a date did not convert");
    }
    (void)core::load_core_wstring("IDS_ERR_ILLEGAL_STATE");
    core::Thread::setRoundMode(core::NumericRoundMode::HalfTowardZero);
    rounds[index].store(round + 1);
  }
}

// Waits until every worker has done `count` more rounds than `base` holds.
void wait_for_rounds(const long (&base)[kWorkers], long count) {
  for (int i = 0; i < kWorkers; ++i) {
    while (rounds[i].load() < base[i] + count) std::this_thread::yield();
  }
}

}  // namespace

int main() {
  core::CoreInit();
  for (int i = 0; i < kWorkers; ++i) std::thread(work, i).detach();
  const long start[kWorkers] = {};
  wait_for_rounds(start, 50);
  core::detail::stop_library();
  long torn_down[kWorkers];
  for (int i = 0; i < kWorkers; ++i) torn_down[i] = rounds[i].load();
  wait_for_rounds(torn_down, kRoundsAfterTeardown);
  return 0;
}
