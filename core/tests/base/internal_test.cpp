// Tests of the private helpers in core/src/internal shared by several families.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>

#include "core/exception_classes.h"
#include "core/numeric.h"
#include "core/thread.h"
#include "internal/throw.h"
#include "test_util.h"

namespace core {
namespace {

// The detail line of an exception's description: what follows its first line
// feed.
std::string detail_of(const Exception& e) {
  const std::u16string_view descr = e.descr();
  const std::size_t feed = descr.find(u'\n');
  return feed == std::u16string_view::npos ? std::string()
                                           : String(descr.substr(feed + 1)).toUtf8();
}

// The refused value reaches the description whole, whatever its width or
// sign at the call site.
TEST(Throwers, IllegalArgumentCarriesTheRefusedValue) {
  char digits[4];
  struct Case {
    std::function<void()> call;
    const char* detail;
  } const kCases[] = {
      {[] { detail::throw_illegal_argument(LLONG_MIN); }, "-9223372036854775808"},
      {[] { Thread::setLanguage(-7); }, "-7"},
      {[] { Thread::setFirstDayOfWeek(static_cast<WeekDay>(8)); }, "8"},
      {[&] { (void)Numeric(1).digits(digits, 3, 4000000000u, NumericRoundMode::HalfTowardZero); },
       "4000000000"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.detail);
    try {
      c.call();
      ADD_FAILURE() << "nothing thrown";
    } catch (const IllegalArgumentException& e) {
      EXPECT_TRUE(testing::IsExceptionWithText(e, IllegalArgumentException::kClsid,
                                               "IDS_ERR_ILLEGAL_ARGUMENT"));
      EXPECT_EQ(detail_of(e), c.detail);
    }
  }
}

}  // namespace
}  // namespace core
