// How positions in frames move when the sample rate changes.
#pragma once

#include "qv/win32.h"

#include <cstdint>

namespace qv::tool {

struct RateRatio {
  DWORD from = 1;
  DWORD to = 1;

  bool is_same() const { return from == to; }
  /// Rounded to the nearest frame, the half up; the largest value where it does not fit.
  uint64_t scaled(uint64_t frames) const {
    if (is_same()) return frames;
    const uint64_t seconds = frames / from;
    const uint64_t rest = (frames % from * to + from / 2) / from; // at most `to`
    if (seconds > (~uint64_t{0} - to) / to) return ~uint64_t{0};
    return seconds * to + rest;
  }
  DWORD scaled32(uint64_t frames) const {
    const uint64_t moved = scaled(frames);
    return moved > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<DWORD>(moved);
  }
};

} // namespace qv::tool
