#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "core/exception.h"
#include "core/exception_classes.h"
#include "core/exception_handling.h"
#include "core/iunknown.h"

namespace core {
namespace {

TEST(DeferredException, FirstWinsAndIsRethrownOnceWithItsType) {
  ASSERT_FALSE(have_deferred_exception());
  defer_exception();  // outside a handler: nothing to keep
  EXPECT_FALSE(have_deferred_exception());

  try {
    throw LocaleException(String(u"xx"));
  } catch (...) {
    defer_exception();
  }
  try {
    throw IllegalStateException(String(u"second"));
  } catch (...) {
    defer_exception();
  }
  EXPECT_TRUE(have_deferred_exception());

  try {
    raise_deferred_exception();
    ADD_FAILURE() << "nothing was raised";
  } catch (const LocaleException& e) {
    EXPECT_EQ(e.clsid(), LocaleException::kClsid);
  } catch (...) {
    ADD_FAILURE() << "the second exception, or a sliced copy, was raised";
  }
  EXPECT_FALSE(have_deferred_exception());
  EXPECT_NO_THROW(raise_deferred_exception());

  // After a raise the slot takes a new exception.
  try {
    throw 7;
  } catch (...) {
    defer_exception();
  }
  EXPECT_THROW(raise_deferred_exception(), int);
}

class RecordingHandler : public UnknownImpl<IExceptionHandler> {
 public:
  void handleException(const Exception& e) override { seen.push_back(e.descr()); }
  std::vector<String> seen;
};

// A destructor that reports its failure the way the library's own do.
struct FailingResource {
  ~FailingResource() noexcept(false) {
    destructor_exception(IllegalStateException(String(u"close failed")));
  }
};

TEST(DestructorException, WithoutHandlerAPlainCopyIsThrown) {
  ASSERT_FALSE(get_destructor_exception_handler());
  try {
    FailingResource resource;
  } catch (const IllegalStateException&) {
    ADD_FAILURE() << "thrown with the subclass's type";
  } catch (const Exception& e) {
    EXPECT_EQ(e.clsid(), IllegalStateException::kClsid);
    EXPECT_TRUE(std::u16string_view(e.descr()).ends_with(u"close failed"));
  }
}

TEST(DestructorException, TheInstalledHandlerReceivesItAndIsReleasedOnReplace) {
  InterfacePtr<RecordingHandler> handler(new RecordingHandler);
  const int32_t alone = handler->acquire() - 1;
  handler->release();

  set_destructor_exception_handler(handler.get());
  EXPECT_EQ(get_destructor_exception_handler().get(), handler.get());
  EXPECT_NO_THROW({ FailingResource resource; });
  ASSERT_EQ(handler->seen.size(), 1u);
  EXPECT_TRUE(std::u16string_view(handler->seen[0]).ends_with(u"close failed"));

  set_destructor_exception_handler(nullptr);
  EXPECT_FALSE(get_destructor_exception_handler());
  // Every reference the library took has been given back.
  EXPECT_EQ(handler->acquire() - 1, alone);
  handler->release();
  EXPECT_ANY_THROW({ FailingResource resource; });
}

// Threads report while others swap handlers in and out: every report reaches
// a handler (none is lost to a half-replaced slot), and every reference taken
// is given back.
TEST(DestructorException, HandlersSwappedWhileOtherThreadsReport) {
  class CountingHandler : public UnknownImpl<IExceptionHandler> {
   public:
    explicit CountingHandler(std::atomic<int>& count) : count_(count) {}
    void handleException(const Exception&) override { ++count_; }

   private:
    std::atomic<int>& count_;
  };
  std::atomic<int> handled{0};
  InterfacePtr<CountingHandler> first(new CountingHandler(handled));
  InterfacePtr<CountingHandler> second(new CountingHandler(handled));
  const int32_t alone = first->acquire() - 1;
  first->release();
  set_destructor_exception_handler(first.get());

  constexpr int kReports = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < kReports; ++i) FailingResource resource;
    });
  }
  threads.emplace_back([&] {
    for (int i = 0; i < kReports; ++i) {
      set_destructor_exception_handler(i % 2 == 0 ? second.get() : first.get());
    }
  });
  for (std::thread& thread : threads) thread.join();
  set_destructor_exception_handler(nullptr);

  EXPECT_EQ(handled.load(), 3 * kReports);
  EXPECT_EQ(first->acquire() - 1, alone);
  EXPECT_EQ(second->acquire() - 1, alone);
  first->release();
  second->release();
}

struct TechLogRecord {
  GUID clsid{};
  String comment;
  int calls = 0;
};
TechLogRecord techlog_record;

TEST(TechLog, TheSinkReceivesTheExceptionAndTheDefaultWritesOneLine) {
  set_techlog_sink([](const Exception& e, const String& comment) {
    techlog_record.clsid = e.clsid();
    techlog_record.comment = comment;
    ++techlog_record.calls;
  });
  const IllegalArgumentException cause(String(u"bad\nvalue"));
  const Exception e(u"outer\ntext", cause.object().get());
  write_exception_to_techlog(e, String(u"while saving"));
  EXPECT_EQ(techlog_record.calls, 1);
  EXPECT_EQ(techlog_record.clsid, Exception::kClsid);
  EXPECT_EQ(techlog_record.comment, u"while saving");

  // A sink that throws does not let the exception out.
  set_techlog_sink([](const Exception&, const String&) { throw 1; });
  EXPECT_NO_THROW(write_exception_to_techlog(e, String()));

  set_techlog_sink(nullptr);
  ::testing::internal::CaptureStderr();
  write_exception_to_techlog(e, String(u"while saving"));
  const std::string line = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
  EXPECT_EQ(line.rfind("core techlog: while saving: {f6f167a0-dcc9-49ad-8f8e-2c9d9904e4fe} "
                       "outer\\ntext <- {4472f4ae-18e3-407c-a1f2-9650d2d50d57} ",
                       0),
            0u)
      << line;
  EXPECT_NE(line.find("\\nbad\\nvalue\n"), std::string::npos) << line;
  EXPECT_EQ(techlog_record.calls, 1);
}

}  // namespace
}  // namespace core
