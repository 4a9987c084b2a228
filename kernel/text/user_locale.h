// The separators that times are written with, quicker than the whole locale.
#pragma once

#include "qv/win32.h"

#include <atomic>
#include <cstdint>

namespace qv::kernel {

struct ClockSeparators {
  WCHAR time[8];    ///< between hours, minutes and seconds
  WCHAR decimal[8]; ///< before a fraction; never the one between digit groups
};

ClockSeparators clock_separators();

/// The same where both are one character, else zeros.
struct ClockCharacters {
  WCHAR time, decimal;
};

/// The time separator above the decimal one; 0: not read yet, or not one character each.
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

} // namespace qv::kernel
