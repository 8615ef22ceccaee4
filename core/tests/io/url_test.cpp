#include "core/url.h"

#include <gtest/gtest.h>

namespace core {
namespace {

TEST(Url, EqualityIsExactText) {
  const char16_t* none = nullptr;
  EXPECT_TRUE(URL(none).empty());
  EXPECT_EQ(URL(none), URL());
  const URL url(u"file:///tmp/Data.bin");
  EXPECT_EQ(url, URL(String(u"file:///tmp/Data.bin")));
  EXPECT_NE(url, URL(u"file:///tmp/data.bin"));
  EXPECT_EQ(url.text(), u"file:///tmp/Data.bin");
}

}  // namespace
}  // namespace core
