// A cascade of sections over a block: a function for each kernel level, all with the same results to the bit.
#pragma once

#include "audio/filter/iir_design.h"
#include "audio/kernels/levels.h"

#include <cstddef>

namespace qv::audio {

/// The two state values of a section.
struct IirState {
  double w1, w2;
};

/// What runs over one channel, or over two that lie side by side.
struct IirRun {
  const IirSection* sections;
  DWORD count;      ///< of sections, at least 1
  DWORD channels;   ///< 1 or 2
  IirState* states; ///< those of the sections, then those of the second channel's
  size_t stride;    ///< samples from a frame to the next
  double gain, dry; ///< the output is input x dry + what the cascade makes x gain; without a dry gain that alone
};

template <class Sample>
using RunCascade = void(const IirRun& run, Sample* dst, const Sample* src, size_t frames);
QV_FOR_LEVELS(RunCascade<float>, run_cascade);
QV_FOR_LEVELS(RunCascade<double>, run_cascade);

} // namespace qv::audio
