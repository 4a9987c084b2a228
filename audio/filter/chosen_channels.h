// Which channels of an interleaved buffer a mask chooses, and what becomes of the others.
#pragma once

#include "qv/win32.h"

#include <cstddef>

namespace qv::audio {

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
