// What filters make of their callers' arguments: values that are out of range, and the channels that a mask chooses.
#pragma once

#include "qv/win32.h"

#include <cstddef>

namespace qv::audio {

// Frequencies, as fractions of the sample rate.
inline constexpr double kMinFrequency = 0.0001; ///< of filters that are made of musical parameters
inline constexpr double kMinEdge = 0.000001;    ///< of designed filters
inline constexpr double kMaxFrequency = 0.4999; ///< of all recursive filters

/// Returns the value, or the nearest one from min to max; min for a NaN.
constexpr double within(double value, double min, double max) {
  if (!(value > min)) return min;
  return value < max ? value : max;
}

/// Whether a mask chooses a channel: 0 chooses all, and is the only mask that chooses channels from 32 on.
constexpr bool is_chosen(DWORD mask, DWORD channel) {
  return mask == 0 || (channel < 32 && (mask >> channel & 1) != 0);
}

/// Copies a channel that is not chosen from one interleaved buffer to another; nothing when both are the same.
template <class Sample>
void copy_channel(Sample* dst, const Sample* src, DWORD frames, DWORD channels, DWORD channel) {
  if (dst == src) return;
  for (size_t k = 0; k < frames; ++k)
    dst[k * channels + channel] = src[k * channels + channel];
}

} // namespace qv::audio
