// A block that is converted, as the kernels see it.
#pragma once

#include "audio/resample/timeline.h"

#include "qv/audio.h"

namespace qv::audio {

struct ResampleBlock {
  uint8_t* dst;
  DWORD frames; ///< to make
  const uint8_t* src;
  DWORD source; ///< frames that may be read
  DWORD channels;
  const Timeline* timeline;
  const double* history; ///< interleaved frames before the block, the last one last
  DWORD history_frames;
};

/// Reads whole frames as doubles.
using LoadFrames = void (*)(double* dst, const uint8_t* src, size_t samples);
/// Linear interpolation; the frame behind the last one that may be read counts as that.
using LinearKernel = void (*)(const ResampleBlock& block);

/// Null for a type without kernels.
LinearKernel linear_kernel(QVSAMPLETYPE type);
LoadFrames load_frames(QVSAMPLETYPE type);

} // namespace qv::audio
