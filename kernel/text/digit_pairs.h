// Numbers of two and three digits, written without a loop.
#pragma once

#include "qv/win32.h"

#include <array>
#include <cstdint>

namespace qv::kernel {

struct DigitPair {
  WCHAR tens, ones;
};

constexpr std::array<DigitPair, 100> make_digit_pairs() {
  std::array<DigitPair, 100> pairs{};
  for (int i = 0; i < 100; ++i)
    pairs[i] = {static_cast<WCHAR>(QV_TEXT('0') + i / 10), static_cast<WCHAR>(QV_TEXT('0') + i % 10)};
  return pairs;
}
inline constexpr std::array<DigitPair, 100> kDigitPairs = make_digit_pairs();

/// value < 100.
inline WCHAR* write_two_digits(WCHAR* out, uint32_t value) {
  const DigitPair pair = kDigitPairs[value];
  out[0] = pair.tens;
  out[1] = pair.ones;
  return out + 2;
}

/// value < 1000.
inline WCHAR* write_three_digits(WCHAR* out, uint32_t value) {
  *out = static_cast<WCHAR>(QV_TEXT('0') + value / 100);
  return write_two_digits(out + 1, value % 100);
}

} // namespace qv::kernel
