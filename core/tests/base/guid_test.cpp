#include "core/guid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <unordered_set>
#include <vector>

#include "core/exception.h"
#include "core/exception_classes.h"

namespace core {
namespace {

constexpr GUID kSample{
    0x0123ABCD, 0x4567, 0x89EF, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}};
static_assert(!kSample.isNull());
static_assert(GUID{}.isNull());
static_assert(kSample ==
              GUID{0x0123ABCD, 0x4567, 0x89EF, {0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10}});
static_assert(GUID{} < kSample);

TEST(Guid, ParsesEveryAcceptedForm) {
  for (const std::u16string_view text :
       {u"0123abcd-4567-89ef-fedc-ba9876543210", u"0123ABCD-4567-89EF-FEDC-BA9876543210",
        u"{0123abcd-4567-89Ef-fEDc-ba9876543210}"}) {
    SCOPED_TRACE(String(text).toUtf8());
    EXPECT_EQ(GUID::parse(text), kSample);
    GUID parsed{};
    EXPECT_TRUE(GUID::tryParse(text, parsed));
    EXPECT_EQ(parsed, kSample);
  }
  EXPECT_EQ(kSample.toString(), u"0123abcd-4567-89ef-fedc-ba9876543210");
  EXPECT_EQ(GUID{}.toString(), u"00000000-0000-0000-0000-000000000000");
}

TEST(Guid, RejectsMalformedText) {
  const std::u16string_view bad[] = {
      u"",
      u"0123abcd-4567-89ef-fedc-ba987654321",    // one digit short
      u"0123abcd-4567-89ef-fedc-ba98765432100",  // one digit long
      u"0123abcd-4567-89ef-fedcba-9876543210",   // dash moved
      u"0123abcd-4567-89ef-fedc+ba9876543210",
      u"0123abcg-4567-89ef-fedc-ba9876543210",  // not hex
      u"0123abcd-4567-89ef-fedc-ba987654321x",
      u"{0123abcd-4567-89ef-fedc-ba9876543210",  // one brace
      u"0123abcd-4567-89ef-fedc-ba9876543210}",
      u"(0123abcd-4567-89ef-fedc-ba9876543210)",
      u" 0123abcd-4567-89ef-fedc-ba9876543210",
      u"{{0123abcd-4567-89ef-fedc-ba98765432}}",
      u"０123abcd-4567-89ef-fedc-ba9876543210",  // full-width digit
      u"0123abcd45670-89ef-fedc-ba9876543210",
  };
  for (const std::u16string_view text : bad) {
    SCOPED_TRACE(String(text).toUtf8());
    GUID out = kSample;
    EXPECT_FALSE(GUID::tryParse(text, out));
    EXPECT_EQ(out, kSample);
    EXPECT_THROW(GUID::parse(text), IllegalArgumentException);
  }
}

TEST(Guid, RoundTripsAndOrdersLikeText) {
  std::mt19937 random(11);
  std::vector<GUID> ids(500);
  for (GUID& id : ids) {
    id.Data1 = static_cast<std::uint32_t>(random());
    id.Data2 = static_cast<std::uint16_t>(random());
    id.Data3 = static_cast<std::uint16_t>(random() % 4);  // frequent ties
    for (auto& byte : id.Data4) byte = static_cast<std::uint8_t>(random() % 3);
  }
  ids[1].Data1 = ids[0].Data1;  // ties in the leading fields too
  ids[1].Data2 = ids[0].Data2;
  std::unordered_set<GUID> distinct(ids.begin(), ids.end());
  EXPECT_EQ(distinct.size(), ids.size());
  for (std::size_t i = 0; i + 1 < ids.size(); ++i) {
    const String a = ids[i].toString();
    const String b = ids[i + 1].toString();
    ASSERT_EQ(a.size(), 36u);
    ASSERT_EQ(GUID::parse(a), ids[i]);
    ASSERT_EQ(ids[i] < ids[i + 1], a < b) << a.toUtf8() << " " << b.toUtf8();
    ASSERT_EQ(ids[i] == ids[i + 1], a == b);
  }
}

}  // namespace
}  // namespace core
