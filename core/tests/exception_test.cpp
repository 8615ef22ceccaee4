#include <gtest/gtest.h>

#include "core/exception.h"

namespace core {
namespace {

TEST(FormatExceptionDescr, JoinsTextAndExtraWithOneLineFeed) {
  EXPECT_EQ(format_exception_descr(String(u""), String(u"x")), String(u""));
  EXPECT_EQ(format_exception_descr(String(u"a"), String(u"")), String(u"a"));
  EXPECT_EQ(format_exception_descr(String(u"a"), String(u"b")), String(u"a\nb"));
}

TEST(Exception, SubclassesCarryTheirClassIdentifierAndTheExtraDetail) {
  try {
    throw LocaleException(String(u"xx_YY"));
  } catch (const Exception& e) {
    EXPECT_EQ(e.clsid(), LocaleException::kClsid);
    const std::u16string_view descr = e.descr();
    ASSERT_GT(descr.size(), 6u);
    EXPECT_EQ(descr.substr(descr.size() - 6), u"\nxx_YY");
  }
  const IllegalArgumentException illegal(String(u"7"));
  EXPECT_EQ(illegal.clsid(), IllegalArgumentException::kClsid);
  EXPECT_NE(illegal.clsid(), Exception::kClsid);
  EXPECT_EQ(Exception(String(u"plain")).descr(), String(u"plain"));
  EXPECT_EQ(Exception(String(u"plain")).clsid(), Exception::kClsid);
}

}  // namespace
}  // namespace core
