// What the user's locale asks of numbers and times: separators, and where digits are grouped.
#pragma once

#include "qv/text.h"

#include <atomic>
#include <cstdint>

namespace qv::kernel {

/// The separators that times are written with: quicker than the whole locale.
struct ClockSeparators {
  WCHAR time[8];    ///< between hours, minutes and seconds
  WCHAR decimal[8]; ///< before a fraction; never the one between digit groups
};

ClockSeparators clock_separators();

/// The separators of times where both are one character, else zeros.
struct ClockCharacters {
  WCHAR time, decimal;
};

/// ClockCharacters in one word, the time separator in its high half; 0: not read yet, or not one character each.
extern constinit std::atomic<uint32_t> packed_clock_characters;
void read_locale_once();

inline ClockCharacters clock_characters() {
  uint32_t characters = packed_clock_characters.load(std::memory_order_relaxed);
  if (characters == 0) {
    read_locale_once();
    characters = packed_clock_characters.load(std::memory_order_relaxed);
  }
  return {static_cast<WCHAR>(characters >> 16), static_cast<WCHAR>(characters & 0xFFFF)};
}

/// The locale's decimal separator, or another where that would look like the one between digit groups.
const WCHAR* decimal_separator(const QVUSERLOCALE& locale);

/// Where a locale puts separators between the digits of a number.
class DigitGrouping {
public:
  /// Group sizes are counted from the right: "3;0" repeats 3 for ever, "3;2;0" repeats 2 after one 3, "3" makes one
  /// group; "0", an empty text and anything that is no such list group nothing.
  explicit DigitGrouping(const WCHAR* sizes);

  /// Whether a separator stands before the last `digits_that_follow` digits.
  bool separates(int digits_that_follow) const;

  /// How many separators a number of `digits` digits has.
  int separators(int digits) const;

private:
  static constexpr int kMaxGroups = 8;
  int ends_[kMaxGroups] = {}; // digits to the right of each separator, ascending
  int count_ = 0;
  int repeat_ = 0; // the size that goes on after the last, or 0
};

} // namespace qv::kernel
