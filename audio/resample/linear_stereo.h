// Linear interpolation of two channels of floats, where both frames around an output are there.
#pragma once

#include "audio/kernels/levels.h"
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
using LinearStereo = DWORD(const LinearSpan& span);
LinearStereo linear_stereo_avx2;
/// Wider vectors gain nothing more, and narrower ones nothing at all.
inline constexpr LevelTable<LinearStereo> kLinearStereo = {nullptr, nullptr, linear_stereo_avx2, linear_stereo_avx2};

} // namespace qv::audio
