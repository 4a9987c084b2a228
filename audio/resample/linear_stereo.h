// Linear interpolation of two channels of floats, where both frames around an output are there.
#pragma once

#include "audio/resample/timeline.h"

namespace qv::audio {

struct LinearSpan {
  float* dst;
  const float* src; ///< frame 0
  DWORD count;      ///< outputs to make
  SourcePosition first;
  uint64_t step, denominator; ///< below 2^32
};

/// Makes outputs four by four, and answers how many: a rest of up to three stays.
using LinearStereo = DWORD (*)(const LinearSpan& span);
DWORD linear_stereo_avx2(const LinearSpan& span);

} // namespace qv::audio
