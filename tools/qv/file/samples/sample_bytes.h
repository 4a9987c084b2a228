// The bytes of samples as big-endian files have them.
#pragma once

#include "qv/iff.h"

#include <algorithm>
#include <cstddef>

namespace qv::tool {

/// Reverses the bytes of each sample in place.
inline void reverse_samples(BYTE* samples, size_t count, DWORD sample_bytes) {
  if (sample_bytes == 2) return iff_ByteSwap16(samples, static_cast<DWORD>(count));
  if (sample_bytes == 4) return iff_ByteSwap32(samples, static_cast<DWORD>(count));
  if (sample_bytes == 3) {
    for (size_t k = 0; k < count; ++k)
      std::swap(samples[3 * k], samples[3 * k + 2]);
    return;
  }
  for (size_t k = 0; sample_bytes > 1 && k < count; ++k)
    std::reverse(samples + k * sample_bytes, samples + (k + 1) * sample_bytes);
}

/// Turns unsigned bytes into signed ones, and back.
inline void change_sign(BYTE* samples, size_t count) {
  for (size_t k = 0; k < count; ++k)
    samples[k] ^= 0x80;
}

} // namespace qv::tool
