// TimeZone: conversions between universal time and a zone's local time.
//
// A TimeZone is a handle on a shared, immutable zone built from ICU's time
// zone data; copies share the zone through an atomic reference count. Offsets
// are DateSpan ticks (100 microseconds), local time minus universal time.
//
//   core::TimeZone berlin(u"Europe/Berlin");
//   core::Date local = berlin.toLocalTime(core::Date::getCurrentDateUTC());
//   berlin.getOffset(local, /*local=*/true);   // 36,000,000 or 72,000,000
//
// Identifiers: every ICU zone identifier ("Europe/Berlin", "UTC", "EST") and
// ICU's custom forms ("GMT+03:00", "GMT-5") are accepted, case as ICU spells
// them. Of the identifiers of availableTimeZones(), seven are not in the ICU
// data the library links; they still build a zone:
//   - "Etc/Unknown" is ICU's unknown zone: offset 0, no daylight saving.
//   - "Asia/Riyadh87", "Asia/Riyadh88", "Asia/Riyadh89", "Mideast/Riyadh87",
//     "Mideast/Riyadh88" and "Mideast/Riyadh89" take the rules of
//     "Asia/Riyadh" (+03:00); the mean-solar-time offsets these zones once had
//     for 1987 to 1989 are not reproduced. id() still gives the name used.
//
// Local times around a daylight-saving transition:
//   - A local time that does not exist (the hour skipped when clocks go
//     forward, e.g. 02:30 on 2021-03-28 in Europe/Berlin) is read with the
//     offset in force before the transition: toUniversalTime gives 01:30 UTC,
//     which is 03:30 local time.
//   - A local time that happens twice (the hour repeated when clocks go back,
//     e.g. 02:30 on 2021-10-31 in Europe/Berlin) is read as its first
//     occurrence, in daylight time: toUniversalTime gives 00:30 UTC.
// getOffset and getDSTOffset with local = true read local times the same way.
//
// The empty date and invalid counts pass through the conversions unchanged;
// a converted date that would leave the valid range is cut to the empty date
// or to Date::kMaxTicks.
//
// Thread safety: a TimeZone may be copied and used from any number of threads
// at once; one TimeZone object must not be assigned while another thread
// reads it.
#ifndef CORE_TIME_ZONE_H_
#define CORE_TIME_ZONE_H_

#include <vector>

#include "core/date.h"
#include "core/export.h"
#include "core/locale.h"
#include "core/ref_ptr.h"
#include "core/string.h"

namespace core {

class ListInStream;
class ListOutStream;

namespace detail {
class TimeZoneData;
}  // namespace detail

class CORE_EXPORT TimeZone {
 public:
  // The zone named `id`. Throws `TimeZoneException` ("IDS_BADTIMEZONEID", with
  // `id` as its argument) when the identifier names no zone. A null `id`
  // reads as empty.
  explicit TimeZone(const String& id);
  explicit TimeZone(const char16_t* id);

  // Moving copies: the moved-from handle keeps its zone, so every member
  // stays usable on it. A handle is never empty.
  TimeZone(const TimeZone& other) noexcept;
  TimeZone(TimeZone&& other) noexcept;
  TimeZone& operator=(const TimeZone& other) noexcept;
  TimeZone& operator=(TimeZone&& other) noexcept;
  ~TimeZone();

  // The identifier the zone was built from, as given.
  const String& id() const noexcept;
  // The zone as the brace list {"<id>"}, and back (core/persistence.h).
  void serialize(ListOutStream& out) const;
  void deserialize(ListInStream& in);
  // The zone's long standard-time name in `locale`'s language
  // ("Central European Standard Time" for Europe/Berlin in English).
  String displayName(const Locale& locale) const;

  // The current offset of standard time from universal time.
  DateSpan getRawOffset() const noexcept;
  // Whether the zone observes daylight saving now or in the future.
  bool useDaylightTime() const noexcept;
  // The amount daylight saving adds to the clock (0 when the zone does not
  // use it).
  DateSpan getDSTSavings() const noexcept;
  // The daylight-saving part of the offset, and the whole offset (standard
  // plus daylight saving), in force at `date`, read as a local time when
  // `local` is true and as universal time otherwise. 0 for the empty date
  // and invalid counts.
  DateSpan getDSTOffset(const Date& date, bool local) const noexcept;
  DateSpan getOffset(const Date& date, bool local) const noexcept;

  // Universal time to this zone's local time, and back.
  Date toLocalTime(const Date& utc) const noexcept;
  Date toUniversalTime(const Date& local) const noexcept;

  // True for a zone that has one fixed offset and never had another.
  bool simple() const noexcept;

  // The operating system's zone (Etc/Unknown when it cannot be detected) and
  // universal time ("UTC"): new references to two process-wide zones.
  static TimeZone system();
  static TimeZone utc();

  // The 620 identifiers of the library's fixed table, sorted by code point,
  // from "ACT" to "Zulu".
  static const std::vector<String>& availableTimeZones();

  // Handles on one zone, or on zones built from the same identifier.
  friend bool operator==(const TimeZone& a, const TimeZone& b) noexcept {
    return a.data_ == b.data_ || a.id() == b.id();
  }

 private:
  explicit TimeZone(RefPtr<detail::TimeZoneData> data) noexcept;

  RefPtr<detail::TimeZoneData> data_;
};

}  // namespace core

#endif  // CORE_TIME_ZONE_H_
