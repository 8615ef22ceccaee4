// NumericRoundMode: how decimal rounding treats an exact half.
#ifndef CORE_NUMERIC_ROUND_MODE_H_
#define CORE_NUMERIC_ROUND_MODE_H_

namespace core {

// Anything more than half a unit rounds away from zero and anything less
// toward zero in both modes; they differ only on an exact half.
enum class NumericRoundMode : int {
  HalfTowardZero = 0,    // 2.5 -> 2, -2.5 -> -2
  HalfAwayFromZero = 1,  // 2.5 -> 3, -2.5 -> -3
};

}  // namespace core

#endif  // CORE_NUMERIC_ROUND_MODE_H_
