// Rounding: how times become numbers of other units and those whole numbers, and the way back. Every rounding of the
// time functions is here.
#pragma once

#include "qv/nanotime.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace qv::kernel {

/// Seconds by a multiplication with the double 1e-7: the quotient by 10^7 would be another number.
inline double seconds_of(QVNANOTIME time) { return static_cast<double>(time) * 1e-7; }

/// `value` truncated toward zero. Out of range: the nearest integer of the range; not a number: 0.
inline int64_t truncated(double value) {
  constexpr double kLimit = 0x1p63;
  if (std::fabs(value) < kLimit) return static_cast<int64_t>(value);
  if (std::isnan(value)) return 0;
  return value < 0.0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

inline uint32_t unsigned_truncated(double value) {
  const int64_t whole = truncated(value);
  if (whole < 0) return 0;
  return whole > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(whole);
}

/// `value` less 0.499999985, rounded to the nearest integer, ties to even: floor(value + 1.5e-8) but for exact ties.
inline int64_t floor_plus(double value) {
  const double shifted = value - 0.499999985;
  // Adding and taking away 1.5 * 2^52 leaves no room for a fraction, which the addition rounds as wanted.
  constexpr double kNoFraction = 0x1.8p52;
  if (std::fabs(shifted) < 0x1p51) return static_cast<int64_t>((shifted + kNoFraction) - kNoFraction);
  return truncated(std::nearbyint(shifted));
}

/// The time of seconds, rounded to the nearest unit.
inline QVNANOTIME time_of_seconds(double seconds) { return truncated(seconds * 1e7 + 0.5); }

/// The time at which a frame begins, from its seconds: rounded up, unless they exceed a unit by less than a thousandth.
inline QVNANOTIME time_of_frame_start(double seconds) { return truncated(seconds * 1e7 + 0.999); }

/// Frames that are added before frames are counted, so that a frame's own time counts it whatever doubles lose.
inline constexpr double kFrameSlack = 1e-5;

/// Half a frame in seconds, which is added to round a time to the nearest frame; 0 for rates too low to round by.
inline double half_frame(double rate) { return rate > 0.01 ? 0.5 / rate : 0.0; }

inline QVNANOTIME saturated_sum(QVNANOTIME a, QVNANOTIME b) {
  QVNANOTIME sum = 0;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b < 0 ? std::numeric_limits<QVNANOTIME>::min() : std::numeric_limits<QVNANOTIME>::max();
}

inline QVNANOTIME saturated_difference(QVNANOTIME a, QVNANOTIME b) {
  QVNANOTIME difference = 0;
  if (!__builtin_sub_overflow(a, b, &difference)) return difference;
  return b < 0 ? std::numeric_limits<QVNANOTIME>::max() : std::numeric_limits<QVNANOTIME>::min();
}

/// The product of factors that are not negative.
inline int64_t saturated_product(int64_t a, int64_t b) {
  int64_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? std::numeric_limits<int64_t>::max() : product;
}

/// |time|, except that the smallest gives the largest.
inline QVNANOTIME magnitude(QVNANOTIME time) { return time < 0 ? saturated_difference(0, time) : time; }

} // namespace qv::kernel
