#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "core/messages.h"
#include "core/resource_bundle.h"
#include "core/scom.h"
#include "core/thread.h"
#include "rivet/memory_manager.h"
#include "test_util.h"

namespace core {
namespace {

// The identifiers the library promises texts for, expanded at build time
// from core/resources/message_families.txt and kept apart from the bundles,
// so that a text missing from every bundle is caught.
std::vector<std::string> promised_identifiers() {
  std::ifstream file(CORE_MESSAGE_IDS_FILE);
  std::vector<std::string> ids;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty()) ids.push_back(line);
  }
  return ids;
}

// The kinds of the placeholders of `text` in order; "?" stands for a "%"
// that starts no placeholder the formatter knows.
std::string placeholders(std::u16string_view text) {
  std::string kinds;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != u'%') continue;
    const char16_t next = i + 1 < text.size() ? text[i + 1] : u'\0';
    if (next == u'%') {
      ++i;
    } else if (next == u'd' || next == u's') {
      kinds += static_cast<char>(next);
      ++i;
    } else {
      kinds += '?';
    }
  }
  return kinds;
}

using testing::in_locale;

TEST(Messages, AllSevenHundredFortyNineIdentifiersHaveTexts) {
  const std::vector<std::string> ids = promised_identifiers();
  ASSERT_EQ(ids.size(), 749u);
  EXPECT_EQ(core_message_identifiers(), ids);

  SCOM_ResourceBundle bundle("basalt");
  // German has no texts of its own: it gets the root texts.
  for (const char16_t* name : {u"en_US", u"ru_RU", u"de_DE"}) {
    const Locale locale(name);
    for (const std::string& id : ids) {
      size_t length = 0;
      const char16_t* text = bundle.getString(id.c_str(), locale, length);
      ASSERT_NE(text, nullptr) << id << " in " << locale.name().toUtf8();
      EXPECT_GT(length, 0u) << id;
      EXPECT_EQ(placeholders(std::u16string_view(text, length)), message_arguments(id.c_str()))
          << id << " in " << locale.name().toUtf8();
    }
  }
}

TEST(Messages, TheThreadLocaleSelectsTheLanguage) {
  String english, russian, german, root;
  in_locale(u"en_US", [&] { english = load_core_wstring("IDS_TYPE_PRESENT_TYPE"); });
  in_locale(u"ru_RU", [&] { russian = load_core_wstring("IDS_TYPE_PRESENT_TYPE"); });
  in_locale(u"ru", [&] { root = load_core_wstring("IDS_TYPE_PRESENT_TYPE"); });
  in_locale(u"de_AT", [&] { german = load_core_wstring("IDS_TYPE_PRESENT_TYPE"); });
  EXPECT_EQ(english, String(u"Type"));
  EXPECT_EQ(russian, String(u"Тип"));
  EXPECT_EQ(root, russian);
  EXPECT_EQ(german, english);  // no German texts: root, which is English
}

TEST(Messages, NamesLanguageDoesNotSelectMessages) {
  in_locale(u"en_US", [] {
    Thread::setLanguage(Language::Russian);
    EXPECT_EQ(load_core_wstring("IDS_TYPE_PRESENT_TYPE"), String(u"Type"));
  });
}

TEST(Messages, MissingThingsGiveTheEmptyText) {
  EXPECT_TRUE(load_core_wstring(nullptr).empty());
  EXPECT_TRUE(load_core_wstring("IDS_NO_SUCH_MESSAGE").empty());
  EXPECT_TRUE(load_module_wstring("no-such-module", "IDS_TYPE_PRESENT_TYPE").empty());
  EXPECT_TRUE(load_module_wstring(nullptr, "IDS_TYPE_PRESENT_TYPE").empty());
  EXPECT_TRUE(load_wstring(nullptr, "IDS_TYPE_PRESENT_TYPE").empty());
  EXPECT_FALSE(load_module_wstring("core", "IDS_TYPE_PRESENT_TYPE").empty());
}

TEST(Messages, PartsAreTheLinesOfAText) {
  // A single-line text has exactly one part.
  in_locale(u"en_US", [] {
    EXPECT_EQ(load_module_part_wstring("core", "IDS_TYPE_PRESENT_TYPE", 0), String(u"Type"));
    EXPECT_TRUE(load_module_part_wstring("core", "IDS_TYPE_PRESENT_TYPE", 1).empty());
    EXPECT_TRUE(load_module_part_wstring("core", "IDS_TYPE_PRESENT_TYPE", -1).empty());
    EXPECT_TRUE(load_module_part_wstring("core", "IDS_NO_SUCH_MESSAGE", 0).empty());
  });
}

TEST(FormatMessage, FillsPlaceholdersInOrder) {
  EXPECT_EQ(format_message(u"parameter %d of %s", {3, u"Add"}), String(u"parameter 3 of Add"));
  EXPECT_EQ(format_message(u"%d|%d|%d", {0, -7, -9223372036854775807LL - 1}),
            String(u"0|-7|-9223372036854775808"));
  EXPECT_EQ(format_message(u"100%% of %s", {String(u"ёлка")}), String(u"100% of ёлка"));
}

TEST(FormatMessage, MalformedPatternsAreCopiedNotTrusted) {
  // Missing arguments, arguments of the other kind and unknown conversions
  // leave the placeholder as it stands; surplus arguments are ignored.
  EXPECT_EQ(format_message(u"%d and %s", {}), String(u"%d and %s"));
  EXPECT_EQ(format_message(u"%d", {u"text"}), String(u"%d"));
  EXPECT_EQ(format_message(u"%s", {5}), String(u"%s"));
  EXPECT_EQ(format_message(u"%x%", {1}), String(u"%x%"));
  EXPECT_EQ(format_message(u"plain", {1, u"x"}), String(u"plain"));
}

TEST(ResourceBundle, ConcurrentLookupsInSeveralLocalesAgree) {
  const char16_t* const locales[] = {u"en_US", u"ru_RU", u"de_DE", u"ru", u"fr_FR"};
  std::vector<std::thread> threads;
  std::atomic<int> mismatches{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      Thread::setLocale(Locale(locales[t % 5]));
      const String expected = load_core_wstring("IDS_ERR_ILLEGAL_STATE");
      for (int i = 0; i < 2000; ++i) {
        if (load_core_wstring("IDS_ERR_ILLEGAL_STATE") != expected) ++mismatches;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
}

// Regression: load_module_wstring read a module's bundle without holding it
// while the module's cleanup() deleted it.
TEST(Messages, LookupRacedTheCleanupOfItsModule) {
  SCOM_Module module("flicker", "basalt", {});
  String expected;
  in_locale(u"en_US", [&] { expected = load_core_wstring("IDS_ERR_ILLEGAL_STATE"); });
  ASSERT_FALSE(expected.empty());
  std::atomic<bool> done{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      Thread::setLocale(Locale(u"en_US"));
      while (!done.load()) {
        const String text = load_module_wstring("flicker", "IDS_ERR_ILLEGAL_STATE");
        if (!text.empty() && text != expected) ++wrong;
      }
    });
  }
  for (int round = 0; round < 300; ++round) {
    module.initialize();
    std::this_thread::yield();
    module.cleanup();
  }
  done = true;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_TRUE(load_module_wstring("flicker", "IDS_ERR_ILLEGAL_STATE").empty());
}

// Regression: the cache was keyed by the address of a locale's data, which
// rivet's release of memory frees; the next locale built at that address was
// served the texts of the one before. The locales are ones nothing else holds.
TEST(ResourceBundle, LocaleFreedUnderMemoryPressureLentItsTextsToTheNext) {
  SCOM_ResourceBundle bundle("basalt");
  const struct {
    const char16_t* locale;
    std::u16string_view text;
  } kRounds[] = {{u"en_AU", u"Type"}, {u"ru_KZ", u"Тип"},  {u"en_NZ", u"Type"},
                 {u"ru_KG", u"Тип"},  {u"en_IE", u"Type"}, {u"ru_MD", u"Тип"}};
  for (int repeat = 0; repeat < 3; ++repeat) {
    for (const auto& round : kRounds) {
      size_t length = 0;
      const char16_t* text =
          bundle.getString("IDS_TYPE_PRESENT_TYPE", Locale(round.locale), length);
      ASSERT_NE(text, nullptr);
      EXPECT_EQ(std::u16string_view(text, length), round.text)
          << String(round.locale).toUtf8() << " in repeat " << repeat;
      rivet::release_memory();
    }
  }
}

std::vector<std::string>* tracked = nullptr;
void track(const char* bundle, const char* id) {
  tracked->push_back(std::string(bundle) + ":" + id);
}

TEST(ResourceBundle, CompleteTextsReportNoFallBackToTheTracker) {
  std::vector<std::string> seen;
  tracked = &seen;
  set_missing_resource_tracker(&track);
  SCOM_ResourceBundle bundle("basalt");
  size_t length = 0;
  // "ru_RU" is served by "ru": the Russian text is there, nothing fell back.
  EXPECT_NE(bundle.getString("IDS_TYPE_PRESENT_TYPE", Locale(u"ru_RU"), length), nullptr);
  EXPECT_TRUE(seen.empty());
  EXPECT_EQ(bundle.getString("IDS_NO_SUCH_MESSAGE", Locale(u"ru_RU"), length), nullptr);
  EXPECT_EQ(length, 0u);
  set_missing_resource_tracker(nullptr);
  tracked = nullptr;
  EXPECT_STREQ(bundle.name(), "basalt");
}

TEST(ResourceBundle, CleanupReopensOnDemandAndAnUnknownBundleHasNoText) {
  SCOM_ResourceBundle bundle("basalt");
  size_t length = 0;
  const Locale ru(u"ru_RU");
  ASSERT_NE(bundle.getString("IDS_TYPE_PRESENT_TYPE", ru, length), nullptr);
  bundle.cleanup();
  const char16_t* again = bundle.getString("IDS_TYPE_PRESENT_TYPE", ru, length);
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(std::u16string_view(again, length), u"Тип");

  SCOM_ResourceBundle missing("no-such-bundle");
  EXPECT_EQ(missing.getString("IDS_TYPE_PRESENT_TYPE", ru, length), nullptr);
  EXPECT_EQ(missing.getBinary("IDS_TYPE_PRESENT_TYPE", ru, length), nullptr);
}

}  // namespace
}  // namespace core
