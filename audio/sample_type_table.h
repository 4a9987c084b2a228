// The uncompressed sample layouts that have kernels, written once.
#pragma once

#include "qv/audio.h"

#include <array>

namespace qv::audio {

struct SampleTypeRow {
  QVSAMPLETYPE type;
  uint32_t bits; ///< of the container, as headers state it
  uint32_t bytes;
  uint32_t tag; ///< format tag of a plain header
};

// The "RA" types are not among them: they have no bits, bytes or tag to tell.
inline constexpr std::array<SampleTypeRow, 11> kSampleTypes{{
    {QVSAMPLE_PCM8, 8, 1, WAVE_FORMAT_PCM},
    {QVSAMPLE_PCM16, 16, 2, WAVE_FORMAT_PCM},
    {QVSAMPLE_PCM24, 24, 3, WAVE_FORMAT_PCM},
    {QVSAMPLE_PCM32, 32, 4, WAVE_FORMAT_PCM},
    {QVSAMPLE_FLOAT32, 32, 4, WAVE_FORMAT_IEEE_FLOAT},
    {QVSAMPLE_FLOAT64, 64, 8, WAVE_FORMAT_IEEE_FLOAT},
    {QVSAMPLE_PCM24IN32, 32, 4, QVTAG_UNPACKED},
    {QVSAMPLE_PCM8SIGNED, 8, 1, QVTAG_SIGNED},
    {QVSAMPLE_BE16, 16, 2, QVTAG_BIGENDIAN},
    {QVSAMPLE_BE24, 24, 3, QVTAG_BIGENDIAN},
    {QVSAMPLE_BE32, 32, 4, QVTAG_BIGENDIAN},
}};

/// Rows that the mix and measuring families serve: the little-endian ones, which come first.
inline constexpr int kMixedSampleTypes = 8;

/// The row's index, or -1.
constexpr int sample_type_index(QVSAMPLETYPE type) {
  for (size_t i = 0; i < kSampleTypes.size(); ++i)
    if (kSampleTypes[i].type == type) return static_cast<int>(i);
  return -1;
}

/// The same for the types of the mix and measuring families.
constexpr int mixed_type_index(QVSAMPLETYPE type) {
  const int index = sample_type_index(type);
  return index < kMixedSampleTypes ? index : -1;
}

} // namespace qv::audio
