// A block that is converted, as the kernels see it.
#pragma once

#include "audio/kernels/levels.h"
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

/// Turns samples into doubles; integers are divided by their full scale.
using LoadFrames = void (*)(double* dst, const uint8_t* src, size_t samples);
/// Converts a block by linear interpolation. The last frame that may be read counts as the frame behind it too.
using LinearKernel = void (*)(const ResampleBlock& block);

/// Return null for a type without kernels.
LinearKernel linear_kernel(QVSAMPLETYPE type);
LoadFrames load_frames(QVSAMPLETYPE type);

/// Outputs of two channels of floats for which both frames around each are there.
struct LinearSpan {
  float* dst;
  const float* src; ///< frame 0
  DWORD count;      ///< outputs to make
  SourcePosition first;
  uint64_t step, denominator; ///< below 2^32
};

/// Makes outputs four by four by linear interpolation, and returns how many: a rest of up to three stays.
using LinearStereo = DWORD(const LinearSpan& span);
LinearStereo linear_stereo_avx2;
/// Wider vectors gain nothing more, and narrower ones nothing at all.
inline constexpr LevelTable<LinearStereo> kLinearStereo = {nullptr, nullptr, linear_stereo_avx2, linear_stereo_avx2};

} // namespace qv::audio
