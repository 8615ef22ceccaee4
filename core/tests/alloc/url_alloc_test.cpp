#include <gtest/gtest.h>

#include "alloc/allocations.h"
#include "core/url.h"

namespace core {
namespace {

using testing::allocations_of;

const char16_t kText[] =
    u"https://user:pw@shop.example.net:8443/catalog/items/photo_01.png?x=1#top";

TEST(UrlAllocations, ParsingTakesTheTextAtMost) {
  const String text(kText);
  const URL warm_up(text, false);  // the registry's first use builds its table
  EXPECT_EQ(allocations_of([&text] { const URL url(text, false); }), 0u);
  EXPECT_EQ(allocations_of([&text] { const URL url(text); }), 0u);
  // The check can fail: a text of its own takes exactly one buffer.
  EXPECT_EQ(allocations_of([] { const URL url(kText, false); }), 1u);
  EXPECT_EQ(allocations_of([&warm_up] { const URL copy = warm_up; }), 0u);
}

TEST(UrlAllocations, ShortPartsAreFree) {
  const URL url(String(kText), false);
  EXPECT_EQ(allocations_of([&url] {
              EXPECT_EQ(url.scheme(), u"https");
              EXPECT_EQ(url.user(), u"user");
              EXPECT_EQ(url.password(), u"pw");
              EXPECT_EQ(url.port(), u"8443");
              EXPECT_EQ(url.file(), u"photo_01");
              EXPECT_EQ(url.ext(), u"png");
              EXPECT_EQ(url.params(), u"x=1");
              EXPECT_EQ(url.fragment(), u"top");
              EXPECT_EQ(url.fileName(), u"photo_01.png");
              EXPECT_EQ(url.partView(URL::kDirectory, 5), u"/catalog/items/photo_01.png");
            }),
            0u);
}

}  // namespace
}  // namespace core
