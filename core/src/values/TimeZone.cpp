// Implements core/time_zone.h: time zones over ICU and the table of zone identifiers.
#include "core/time_zone.h"

#include <unicode/basictz.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include <cstddef>
#include <memory>
#include <string_view>

#include "base/locale_data.h"
#include "core/exception_classes.h"
#include "core/refcountable.h"
#include "internal/icu.h"

namespace core {
namespace detail {

extern const char* const kTimeZoneIds[];
extern const std::size_t kTimeZoneIdCount;

// The shared zone behind TimeZone handles. ICU's zones answer their const
// queries without changing state, so one zone serves every thread.
class TimeZoneData : public Refcountable<TimeZoneData> {
 public:
  TimeZoneData(String id, std::unique_ptr<icu::TimeZone> zone)
      : id_(std::move(id)),
        zone_(std::move(zone)),
        basic_(dynamic_cast<const icu::BasicTimeZone*>(zone_.get())) {
    simple_ = !zone_->useDaylightTime() && !hasTransition();
  }

  const String& id() const noexcept { return id_; }
  const icu::TimeZone& zone() const noexcept { return *zone_; }
  bool simple() const noexcept { return simple_; }

  // The offset in milliseconds (standard and daylight parts) at `udate`.
  void offsets(UDate udate, bool local, int32_t& raw, int32_t& dst) const noexcept {
    IcuStatus status;
    if (local && basic_ != nullptr) {
      basic_->getOffsetFromLocal(udate, UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_FORMER, raw, dst,
                                 status);
    } else {
      zone_->getOffset(udate, local, raw, dst, status);
    }
    if (status.isFailure()) raw = dst = 0;
  }

 private:
  bool hasTransition() const {
    if (basic_ == nullptr) return false;
    // Earlier than any date a Date can hold.
    constexpr UDate kBeforeYearOne = -62'200'000'000'000.0;
    icu::TimeZoneTransition transition;
    return basic_->getNextTransition(kBeforeYearOne, /*inclusive=*/true, transition);
  }

  String id_;
  std::unique_ptr<icu::TimeZone> zone_;
  const icu::BasicTimeZone* basic_;
  bool simple_ = true;
};

}  // namespace detail

namespace {

constexpr std::int64_t kTicksPerMs = 10;
// Milliseconds from 0001-01-01 to 1970-01-01.
constexpr std::int64_t kUnixEpochMs = 719'162LL * 86'400'000;

UDate to_udate(const Date& date) {
  return static_cast<UDate>(static_cast<std::int64_t>(date.ticks() / kTicksPerMs) - kUnixEpochMs);
}

constexpr std::u16string_view kUnknownId = u"Etc/Unknown";

// Table entries that the linked ICU data no longer has, and the zone that
// stands in for each.
std::u16string_view stand_in(std::u16string_view id) {
  constexpr std::u16string_view kRiyadhSolar[] = {
      u"Asia/Riyadh87",    u"Asia/Riyadh88",    u"Asia/Riyadh89",
      u"Mideast/Riyadh87", u"Mideast/Riyadh88", u"Mideast/Riyadh89",
  };
  for (std::u16string_view name : kRiyadhSolar) {
    if (id == name) return u"Asia/Riyadh";
  }
  return id;
}

RefPtr<detail::TimeZoneData> make_data(const String& id, std::unique_ptr<icu::TimeZone> zone) {
  return RefPtr<detail::TimeZoneData>(new detail::TimeZoneData(id, std::move(zone)));
}

RefPtr<detail::TimeZoneData> create(const String& id) {
  const std::u16string_view name = stand_in(id);
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(
      icu::UnicodeString(name.data(), static_cast<int32_t>(name.size()))));
  if (zone == nullptr) throw TimeZoneException(id);
  // ICU answers an identifier it does not know with its unknown zone.
  icu::UnicodeString zone_id;
  zone->getID(zone_id);
  if (name != kUnknownId &&
      std::u16string_view(zone_id.getBuffer(), zone_id.length()) == kUnknownId) {
    throw TimeZoneException(id);
  }
  return make_data(id, std::move(zone));
}

}  // namespace

TimeZone::TimeZone(const String& id) : data_(create(id)) {}

TimeZone::TimeZone(const char16_t* id) : TimeZone(String(id)) {}

TimeZone::TimeZone(RefPtr<detail::TimeZoneData> data) noexcept : data_(std::move(data)) {}

TimeZone::TimeZone(const TimeZone& other) noexcept = default;
// Every member reads the zone, so a move shares it instead of leaving the
// source without one.
TimeZone::TimeZone(TimeZone&& other) noexcept { data_ = other.data_; }
TimeZone& TimeZone::operator=(const TimeZone& other) noexcept = default;
TimeZone& TimeZone::operator=(TimeZone&& other) noexcept {
  data_ = other.data_;
  return *this;
}
TimeZone::~TimeZone() = default;

const String& TimeZone::id() const noexcept { return data_->id(); }

String TimeZone::displayName(const Locale& locale) const {
  icu::UnicodeString name;
  data_->zone().getDisplayName(locale.data().icu, name);
  return detail::from_icu(name);
}

DateSpan TimeZone::getRawOffset() const noexcept {
  return data_->zone().getRawOffset() * kTicksPerMs;
}

bool TimeZone::useDaylightTime() const noexcept { return data_->zone().useDaylightTime(); }

DateSpan TimeZone::getDSTSavings() const noexcept {
  return data_->zone().getDSTSavings() * kTicksPerMs;
}

DateSpan TimeZone::getDSTOffset(const Date& date, bool local) const noexcept {
  if (date.isEmpty() || !date.isValid()) return 0;
  int32_t raw = 0;
  int32_t dst = 0;
  data_->offsets(to_udate(date), local, raw, dst);
  return dst * kTicksPerMs;
}

DateSpan TimeZone::getOffset(const Date& date, bool local) const noexcept {
  if (date.isEmpty() || !date.isValid()) return 0;
  int32_t raw = 0;
  int32_t dst = 0;
  data_->offsets(to_udate(date), local, raw, dst);
  return (static_cast<DateSpan>(raw) + dst) * kTicksPerMs;
}

Date TimeZone::toLocalTime(const Date& utc) const noexcept {
  if (utc.isEmpty() || !utc.isValid()) return utc;
  return utc + getOffset(utc, /*local=*/false);
}

Date TimeZone::toUniversalTime(const Date& local) const noexcept {
  if (local.isEmpty() || !local.isValid()) return local;
  return local - getOffset(local, /*local=*/true);
}

bool TimeZone::simple() const noexcept { return data_->simple(); }

TimeZone TimeZone::system() {
  // Never destroyed: handles may outlive static destruction.
  static const TimeZone* const zone = [] {
    std::unique_ptr<icu::TimeZone> host(icu::TimeZone::detectHostTimeZone());
    if (host == nullptr) return new TimeZone(String(kUnknownId));
    icu::UnicodeString host_id;
    host->getID(host_id);
    return new TimeZone(make_data(detail::from_icu(host_id), std::move(host)));
  }();
  return *zone;
}

TimeZone TimeZone::utc() {
  static const TimeZone* const zone = new TimeZone(u"UTC");
  return *zone;
}

const std::vector<String>& TimeZone::availableTimeZones() {
  static const std::vector<String>* const ids = [] {
    auto* list = new std::vector<String>;
    list->reserve(detail::kTimeZoneIdCount);
    for (std::size_t i = 0; i < detail::kTimeZoneIdCount; ++i) {
      list->push_back(String::fromUtf8(detail::kTimeZoneIds[i]));
    }
    return list;
  }();
  return *ids;
}

}  // namespace core
