// Implements platform/clock.h on POSIX: the system clock.
#include <time.h>

#include "platform/clock.h"

namespace core::platform {

ClockReading read_clock() noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::int64_t utc_ms = static_cast<std::int64_t>(now.tv_sec) * 1000 +
                              static_cast<std::int64_t>(now.tv_nsec / 1000000);
  // localtime_r reads the zone the environment selects (TZ or /etc/localtime);
  // its offset at this instant turns universal into wall-clock time.
  tm local{};
  std::int64_t offset_ms = 0;
  if (localtime_r(&now.tv_sec, &local) != nullptr) {
    offset_ms = static_cast<std::int64_t>(local.tm_gmtoff) * 1000;
  }
  return {utc_ms, utc_ms + offset_ms};
}

}  // namespace core::platform
