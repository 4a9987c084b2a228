// The loop of recursive filters: a function for each kernel level, all with the same results to the bit.
#pragma once

#include "audio/filter/iir_design.h"
#include "audio/kernels/levels.h"

#include <cstddef>

namespace qv::audio {

/// The two state values of a section.
struct IirState {
  double w1, w2;
};

/// A cascade of sections, and the one channel or two that lie side by side over which it runs.
struct IirRun {
  const IirSection* sections;
  DWORD count;      ///< of sections, at least 1
  DWORD channels;   ///< 1 or 2
  IirState* states; ///< of the first channel's sections, then of the second's
  size_t stride;    ///< samples from a frame to the next
  double gain, dry; ///< with a dry gain the output is input x dry + what the cascade makes x gain
};

/// Sends `frames` frames through a cascade. dst may be src.
template <class Sample>
using IirOutputs = void(const IirRun& run, Sample* dst, const Sample* src, size_t frames);
QV_FOR_LEVELS(IirOutputs<float>, iir_outputs);
QV_FOR_LEVELS(IirOutputs<double>, iir_outputs);

} // namespace qv::audio
