#include "core/string.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "rivet/heap.h"

namespace core {
namespace {

static_assert(sizeof(String) <= 32);

std::u16string make_text(std::size_t length) {
  std::u16string text;
  for (std::size_t i = 0; i < length; ++i) text.push_back(static_cast<char16_t>(u'a' + i % 26));
  return text;
}

TEST(String, StoresTextOnBothSidesOfInlineThreshold) {
  for (std::size_t length : {0u, 1u, 12u, 13u, 14u, 15u, 200u}) {
    SCOPED_TRACE(length);
    const std::u16string expected = make_text(length);
    const String text(expected);
    EXPECT_EQ(std::u16string_view(text), expected);
    EXPECT_EQ(text.c_str()[length], 0);
    EXPECT_EQ(String(expected.c_str()), text);
    EXPECT_EQ(String(expected.data(), length), text);

    const String copy = text;  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy, text);
    // Long texts are shared by copies; short ones live in each object.
    EXPECT_EQ(copy.data() == text.data(), length > String::kInlineCapacity);
  }
}

TEST(String, NullPointerGivesEmpty) {
  const char16_t* none = nullptr;
  EXPECT_TRUE(String(none).empty());
  EXPECT_TRUE(String(none, 0).empty());
  EXPECT_EQ(String(), none);
  EXPECT_EQ(String(u"x") + none, u"x");
}

TEST(String, MutatingSharedCopyLeavesOriginal) {
  const String original(make_text(40));
  String appended = original;
  appended += u'!';
  EXPECT_NE(appended.data(), original.data());
  EXPECT_EQ(std::u16string_view(original), make_text(40));
  EXPECT_EQ(std::u16string_view(appended), make_text(40) + u"!");

  String cleared = original;
  cleared.clear();
  EXPECT_TRUE(cleared.empty());
  EXPECT_EQ(cleared.c_str()[0], 0);
  EXPECT_EQ(original.size(), 40u);

  String reserved;
  reserved = original;
  EXPECT_EQ(reserved.data(), original.data());
  reserved.reserve(100);
  EXPECT_NE(reserved.data(), original.data());
  EXPECT_EQ(reserved, original);
}

TEST(String, SoleOwnerMutatesInPlace) {
  String text(make_text(20));
  text.reserve(100);
  const char16_t* buffer = text.data();
  while (text.size() < 100) text += u'x';
  EXPECT_EQ(text.data(), buffer);
  text.clear();
  text += u"again";
  EXPECT_EQ(text.data(), buffer);
  EXPECT_EQ(text, u"again");
}

TEST(String, MoveLeavesSourceEmpty) {
  for (std::size_t length : {5u, 50u}) {
    String source(make_text(length));
    const char16_t* buffer = source.data();
    String moved(std::move(source));
    EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(source.c_str()[0], 0);
    EXPECT_EQ(std::u16string_view(moved), make_text(length));
    if (length > String::kInlineCapacity) {
      EXPECT_EQ(moved.data(), buffer);
    }

    String target(make_text(30));
    target = std::move(moved);
    EXPECT_TRUE(moved.empty());  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(std::u16string_view(target), make_text(length));
  }
}

TEST(String, AppendMatchesStdStringAcrossGrowth) {
  String text;
  std::u16string expected;
  for (int i = 0; i < 300; ++i) {
    const auto unit = static_cast<char16_t>(0x400 + i);
    if (i % 3 == 0) {
      text.append(unit);
      expected.push_back(unit);
    } else {
      const char16_t pair[] = {unit, u'.'};
      text.append(std::u16string_view(pair, 2));
      expected.append(pair, 2);
    }
    ASSERT_EQ(std::u16string_view(text), expected);
    ASSERT_EQ(text.c_str()[text.size()], 0);
  }
}

TEST(String, AppendsItself) {
  for (std::size_t length : {3u, 6u, 13u, 40u}) {
    SCOPED_TRACE(length);
    String text(make_text(length));
    text.append(text);
    EXPECT_EQ(std::u16string_view(text), make_text(length) + make_text(length));

    String tail(make_text(length));
    tail += std::u16string_view(tail).substr(1);
    EXPECT_EQ(std::u16string_view(tail), make_text(length) + make_text(length).substr(1));
  }
}

TEST(String, ConcatenationForms) {
  const String hello(u"hello");
  EXPECT_EQ(hello + u", world", u"hello, world");
  EXPECT_EQ(u"say " + hello, u"say hello");
  EXPECT_EQ(hello + hello, u"hellohello");
  EXPECT_EQ(std::u16string_view(u"<") + hello + u'>', u"<hello>");
  EXPECT_EQ(hello, u"hello");
}

TEST(String, SubstrClampsPosition) {
  const String text(u"abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(text.substr(2, 3), u"cde");
  EXPECT_EQ(text.substr(20), u"uvwxyz");
  EXPECT_EQ(text.substr(24, 100), u"yz");
  EXPECT_TRUE(text.substr(26).empty());
  EXPECT_TRUE(text.substr(1000, 5).empty());
  EXPECT_EQ(text.substr(0).data(), text.data());
  EXPECT_EQ(text.substr(0, String::npos), text);
}

TEST(String, FindReturnsNposWhenAbsent) {
  const String text(u"one two one two");
  EXPECT_EQ(text.find(u'o'), 0u);
  EXPECT_EQ(text.find(u'o', 1), 6u);
  EXPECT_EQ(text.find(u'z'), String::npos);
  EXPECT_EQ(text.find(u"two"), 4u);
  EXPECT_EQ(text.find(u"two", 5), 12u);
  EXPECT_EQ(text.find(u"twos"), String::npos);
  EXPECT_EQ(text.find(u"", 3), 3u);
  EXPECT_EQ(text.find(u"", 100), String::npos);
  EXPECT_EQ(text.find(u'o', 100), String::npos);
}

TEST(String, ComparesByCodeUnits) {
  const String a(u"apple");
  EXPECT_TRUE(a == u"apple");
  EXPECT_TRUE(a != u"apples");
  EXPECT_TRUE(u"apple" == a);
  EXPECT_TRUE(a == std::u16string_view(u"apple"));
  EXPECT_TRUE(a < String(u"apples"));
  EXPECT_TRUE(a < u"b");
  EXPECT_FALSE(String(u"b") < a);
  EXPECT_TRUE(std::u16string_view(u"Apple") < a);
  // U+10000 is stored as D800 DC00, which orders before U+FFFF.
  EXPECT_TRUE(String(u"\U00010000") < String(u"\uFFFF"));
  // An embedded zero is part of the text.
  const char16_t zero[] = {u'a', 0, u'b'};
  EXPECT_NE(String(zero, 3), String(zero, 1));
  EXPECT_TRUE(String(zero, 1) < String(zero, 3));
}

TEST(String, HashFollowsEquality) {
  const String built = String(make_text(20)) + u"tail";
  const String whole(make_text(20) + u"tail");
  EXPECT_EQ(std::hash<String>()(built), std::hash<String>()(whole));

  std::unordered_set<std::size_t> hashes;
  for (int i = 0; i < 2000; ++i)
    hashes.insert(std::hash<String>()(String(make_text(i % 40)) + static_cast<char16_t>(i)));
  EXPECT_GT(hashes.size(), 1990u);
}

}  // namespace
}  // namespace core

namespace core {
namespace {

// Unsharing a buffer must not grow it: copy-then-append used to raise the
// capacity by half on every round, without bound.
TEST(StringRegression, CopyThenAppendKeepsCapacityProportional) {
  String text(u"a text long enough to live on the heap");
  const std::uint64_t before = rivet_heap_stats().bytes_in_use;
  for (int round = 0; round < 200; ++round) {
    String copy = text;
    text = copy + u".";
  }
  EXPECT_EQ(text.size(), 38u + 200u);
  EXPECT_LT(rivet_heap_stats().bytes_in_use - before, 16u * 1024u);
}

}  // namespace
}  // namespace core
