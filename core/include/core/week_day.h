// WeekDay: the days of the week as the library numbers them.
#ifndef CORE_WEEK_DAY_H_
#define CORE_WEEK_DAY_H_

namespace core {

// Monday is 1 and Sunday 7, whatever the locale's first day of the week.
enum class WeekDay : int {
  Monday = 1,
  Tuesday = 2,
  Wednesday = 3,
  Thursday = 4,
  Friday = 5,
  Saturday = 6,
  Sunday = 7,
};

}  // namespace core

#endif  // CORE_WEEK_DAY_H_
