#include "core/time_zone.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "core/exception_classes.h"
#include "core/locale.h"
#include "test_util.h"

namespace core {
namespace {

constexpr DateSpan kHour = static_cast<DateSpan>(Date::kTicksPerHour);
constexpr DateSpan kMinute = static_cast<DateSpan>(Date::kTicksPerMinute);

TEST(TimeZone, UnknownIdentifiersThrow) {
  for (const char16_t* id : {u"Nowhere/Atlantis", u"", u"Europe/", u"Etc/Unknown2", u"GMT+99"}) {
    EXPECT_THROW_IDS(TimeZone{id}, TimeZoneException, "IDS_BADTIMEZONEID");
  }
  try {
    TimeZone zone(u"Mars/Olympus_Mons");
    ADD_FAILURE() << "no exception";
  } catch (const TimeZoneException& e) {
    EXPECT_NE(e.descr().toUtf8().find("Mars/Olympus_Mons"), std::string::npos)
        << e.descr().toUtf8();
  }
  EXPECT_THROW_IDS(TimeZone(static_cast<const char16_t*>(nullptr)), TimeZoneException,
                   "IDS_BADTIMEZONEID");
}

TEST(TimeZone, TableIsTheEmbeddedFileAndEveryEntryBuildsAZone) {
  std::ifstream file(CORE_TEST_DATA_DIR "/../../data/timezones.txt");
  ASSERT_TRUE(file.is_open());
  std::vector<std::string> expected;
  for (std::string line; std::getline(file, line);) expected.push_back(line);

  const std::vector<String>& ids = TimeZone::availableTimeZones();
  ASSERT_EQ(ids.size(), 620u);
  ASSERT_EQ(ids.size(), expected.size());
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ASSERT_EQ(ids[i].toUtf8(), expected[i]) << i;
    if (i > 0) {
      ASSERT_LT(ids[i - 1], ids[i]) << i;
    }
    ASSERT_EQ(TimeZone(ids[i]).id(), ids[i]);
  }
  EXPECT_EQ(ids.front(), u"ACT");
  EXPECT_EQ(ids.back(), u"Zulu");
  EXPECT_EQ(&ids, &TimeZone::availableTimeZones());
}

TEST(TimeZone, EntriesMissingFromTheLinkedDataHaveStandIns) {
  const TimeZone unknown(u"Etc/Unknown");
  EXPECT_EQ(unknown.getRawOffset(), 0);
  EXPECT_TRUE(unknown.simple());
  for (const char16_t* id : {u"Asia/Riyadh87", u"Mideast/Riyadh89"}) {
    const TimeZone zone(id);
    EXPECT_EQ(zone.id(), id);
    EXPECT_EQ(zone.getRawOffset(), 3 * kHour);
    EXPECT_FALSE(zone.useDaylightTime());
    const Date utc(1988, 6, 1, 12, 0, 0);
    EXPECT_EQ(zone.toLocalTime(utc).ticks(), Date(1988, 6, 1, 15, 0, 0).ticks());
  }
}

TEST(TimeZone, FixedAndVariableZones) {
  const TimeZone utc = TimeZone::utc();
  EXPECT_EQ(utc.id(), u"UTC");
  EXPECT_TRUE(utc.simple());
  EXPECT_EQ(utc.getOffset(Date(2020, 6, 1), false), 0);

  const TimeZone plus3(u"Etc/GMT-3");  // POSIX sign: three hours east
  EXPECT_TRUE(plus3.simple());
  EXPECT_EQ(plus3.getOffset(Date(1900, 6, 1), true), 3 * kHour);

  const TimeZone custom(u"GMT+05:30");
  EXPECT_TRUE(custom.simple());
  EXPECT_EQ(custom.getRawOffset(), 5 * kHour + 30 * kMinute);

  const TimeZone berlin(u"Europe/Berlin");
  EXPECT_FALSE(berlin.simple());
  EXPECT_TRUE(berlin.useDaylightTime());
  EXPECT_EQ(berlin.getRawOffset(), kHour);
  EXPECT_EQ(berlin.getDSTSavings(), kHour);
  EXPECT_EQ(berlin.getOffset(Date(2021, 1, 15), false), kHour);
  EXPECT_EQ(berlin.getOffset(Date(2021, 7, 15), false), 2 * kHour);
  EXPECT_EQ(berlin.getDSTOffset(Date(2021, 7, 15), true), kHour);
  EXPECT_EQ(berlin.getDSTOffset(Date(2021, 1, 15), true), 0);

  // No daylight saving now, but it had some once.
  const TimeZone tokyo(u"Asia/Tokyo");
  EXPECT_FALSE(tokyo.useDaylightTime());
  EXPECT_FALSE(tokyo.simple());
  EXPECT_EQ(tokyo.getDSTSavings(), 0);

  EXPECT_FALSE(TimeZone::system().id().empty());
}

TEST(TimeZone, DisplayNameFollowsTheLocale) {
  const TimeZone berlin(u"Europe/Berlin");
  const String english = berlin.displayName(Locale(u"en"));
  const String russian = berlin.displayName(Locale(u"ru_RU"));
  EXPECT_NE(english.toUtf8().find("Central European"), std::string::npos) << english.toUtf8();
  EXPECT_FALSE(russian.empty());
  EXPECT_NE(english, russian);
}

// Europe/Berlin in 2021: clocks went forward at 01:00 UTC on 28 March
// (02:00 -> 03:00 local) and back at 01:00 UTC on 31 October (03:00 -> 02:00).
TEST(TimeZone, SpringForward) {
  const TimeZone berlin(u"Europe/Berlin");
  const Date before(2021, 3, 28, 0, 59, 59);
  const Date at(2021, 3, 28, 1, 0, 0);
  EXPECT_EQ(berlin.toLocalTime(before).ticks(), Date(2021, 3, 28, 1, 59, 59).ticks());
  EXPECT_EQ(berlin.toLocalTime(at).ticks(), Date(2021, 3, 28, 3, 0, 0).ticks());
  EXPECT_EQ(berlin.getDSTOffset(before, false), 0);
  EXPECT_EQ(berlin.getDSTOffset(at, false), kHour);

  // 02:30 local does not exist: it is read with the offset before the change.
  const Date missing(2021, 3, 28, 2, 30, 0);
  EXPECT_EQ(berlin.getOffset(missing, true), kHour);
  EXPECT_EQ(berlin.getDSTOffset(missing, true), 0);
  EXPECT_EQ(berlin.toUniversalTime(missing).ticks(), Date(2021, 3, 28, 1, 30, 0).ticks());
  EXPECT_EQ(berlin.toLocalTime(berlin.toUniversalTime(missing)).ticks(),
            Date(2021, 3, 28, 3, 30, 0).ticks());

  // Around the gap every local time converts back to itself.
  for (int minute = 0; minute < 6 * 60; minute += 15) {
    const Date local = Date(2021, 3, 28) + minute * kMinute;
    if (local.getHour() == 2) continue;
    EXPECT_EQ(berlin.toLocalTime(berlin.toUniversalTime(local)).ticks(), local.ticks())
        << local.toString().toUtf8();
  }
}

TEST(TimeZone, FallBack) {
  const TimeZone berlin(u"Europe/Berlin");
  // 02:30 local happens twice, at 00:30 and 01:30 UTC.
  EXPECT_EQ(berlin.toLocalTime(Date(2021, 10, 31, 0, 30, 0)).ticks(),
            Date(2021, 10, 31, 2, 30, 0).ticks());
  EXPECT_EQ(berlin.toLocalTime(Date(2021, 10, 31, 1, 30, 0)).ticks(),
            Date(2021, 10, 31, 2, 30, 0).ticks());
  EXPECT_EQ(berlin.toLocalTime(Date(2021, 10, 31, 0, 59, 59)).ticks(),
            Date(2021, 10, 31, 2, 59, 59).ticks());
  EXPECT_EQ(berlin.toLocalTime(Date(2021, 10, 31, 1, 0, 0)).ticks(),
            Date(2021, 10, 31, 2, 0, 0).ticks());

  // The repeated hour is read as its first occurrence, in daylight time.
  const Date twice(2021, 10, 31, 2, 30, 0);
  EXPECT_EQ(berlin.getOffset(twice, true), 2 * kHour);
  EXPECT_EQ(berlin.getDSTOffset(twice, true), kHour);
  EXPECT_EQ(berlin.toUniversalTime(twice).ticks(), Date(2021, 10, 31, 0, 30, 0).ticks());
  EXPECT_EQ(berlin.toUniversalTime(Date(2021, 10, 31, 3, 0, 0)).ticks(),
            Date(2021, 10, 31, 2, 0, 0).ticks());
  EXPECT_EQ(berlin.toUniversalTime(Date(2021, 10, 31, 1, 59, 59)).ticks(),
            Date(2021, 10, 30, 23, 59, 59).ticks());
}

TEST(TimeZone, ConversionsKeepTheValidRange) {
  const TimeZone east(u"Etc/GMT-14");
  const TimeZone west(u"Etc/GMT+12");
  EXPECT_TRUE(east.toLocalTime(Date()).isEmpty());
  EXPECT_TRUE(west.toUniversalTime(Date()).isEmpty());
  EXPECT_EQ(east.getOffset(Date(), false), 0);
  EXPECT_EQ(east.toLocalTime(Date(Date::kMaxTicks - 5)).ticks(), Date::kMaxTicks);
  EXPECT_TRUE(west.toLocalTime(Date(1)).isEmpty());
  EXPECT_EQ(west.toLocalTime(Date(UINT64_MAX)).ticks(), UINT64_MAX);
  // Sub-second ticks are kept.
  EXPECT_EQ(east.toLocalTime(Date(2020, 1, 1) + 1234).ticks(),
            Date(2020, 1, 1, 14, 0, 0).ticks() + 1234);
}

// Regression: a moved-from zone crashed on id(), getRawOffset() and ==.
TEST(TimeZone, MovedFromZoneCrashed) {
  TimeZone source(u"Asia/Tokyo");
  const TimeZone moved(std::move(source));
  TimeZone assigned = TimeZone::utc();
  TimeZone target = TimeZone::utc();
  target = std::move(assigned);
  for (const TimeZone* zone : {&source, &assigned}) {
    EXPECT_FALSE(zone->id().empty());
    EXPECT_EQ(zone->toUniversalTime(zone->toLocalTime(Date(2020, 6, 1))).ticks(),
              Date(2020, 6, 1).ticks());
  }
  EXPECT_EQ(source.getRawOffset(), 9 * kHour);
  EXPECT_TRUE(source == moved);
  EXPECT_EQ(assigned.id(), String(u"UTC"));
  EXPECT_TRUE(assigned == target);
  EXPECT_EQ(moved.id(), String(u"Asia/Tokyo"));
}

TEST(TimeZone, OneZoneServesManyThreads) {
  const TimeZone zone(u"America/New_York");
  std::vector<std::thread> threads;
  std::vector<int> mismatches(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&zone, &mismatches, t] {
      for (int day = 0; day < 2000; ++day) {
        const Date utc = Date(2000, 1, 1, 12, 0, 0) + day * 24 * kHour;
        const TimeZone copy = zone;
        if (copy.toUniversalTime(copy.toLocalTime(utc)).ticks() != utc.ticks()) ++mismatches[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace core
