#include "core/name.h"

#include <gtest/gtest.h>

#include "core/string.h"

namespace core {
namespace {

TEST(Name, ValidatesByCodePoints) {
  struct Case {
    std::u16string_view name;
    bool valid;
  };
  const Case cases[] = {
      {u"a", true},
      {u"_", true},
      {u"_1", true},
      {u"Имя1", true},
      {u"日本", true},
      {u"x𝐀", true},
      {u"𝐀b", true},
      {u"a𝟎", true},
      {u"", false},
      {u"1a", false},
      {u"𝟎a", false},
      {u"a-b", false},
      {u"a b", false},
      {u"a\u00A0", false},
      {u"Ⅷ", false},
      {u"a\xD835", false},
      {u"\xDC00"
       u"a",
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(String(c.name).toUtf8());
    EXPECT_EQ(is_valid_name(c.name), c.valid);
  }
}

}  // namespace
}  // namespace core
