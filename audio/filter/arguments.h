// What filters make of their callers' arguments: values that are out of range, and the channels that a mask chooses.
#pragma once

#include "qv/win32.h"

#include <cstddef>

namespace qv::audio {

/// A NaN counts as the lowest.
constexpr double within(double value, double least, double most) {
  if (!(value > least)) return least;
  return value < most ? value : most;
}

/// A mask of 0 chooses all; channels from 32 on are chosen by that alone.
constexpr bool is_chosen(DWORD mask, DWORD channel) {
  return mask == 0 || (channel < 32 && (mask >> channel & 1) != 0);
}

template <class Sample>
void copy_channel(Sample* dst, const Sample* src, DWORD frames, DWORD channels, DWORD channel) {
  if (dst == src) return;
  for (size_t k = 0; k < frames; ++k)
    dst[k * channels + channel] = src[k * channels + channel];
}

} // namespace qv::audio
