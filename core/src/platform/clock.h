// The operating system's wall clock.
#ifndef CORE_SRC_PLATFORM_CLOCK_H_
#define CORE_SRC_PLATFORM_CLOCK_H_

#include <cstdint>

namespace core::platform {

// One reading of the system clock, as milliseconds since 1970-01-01 00:00:00:
// universal time, and the local wall-clock time of the same instant (in the
// zone the operating system is set to).
struct ClockReading {
  std::int64_t utc_ms;
  std::int64_t local_ms;
};

ClockReading read_clock() noexcept;

}  // namespace core::platform

#endif  // CORE_SRC_PLATFORM_CLOCK_H_
