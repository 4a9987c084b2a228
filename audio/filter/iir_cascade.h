// A cascade of sections over a block: a function for each kernel level, all with the same results to the bit.
#pragma once

#include "audio/filter/iir_design.h"

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
using RunCascade = void (*)(const IirRun& run, Sample* dst, const Sample* src, size_t frames);

void run_cascade_sse2(const IirRun& run, float* dst, const float* src, size_t frames);
void run_cascade_sse2(const IirRun& run, double* dst, const double* src, size_t frames);
void run_cascade_avx2(const IirRun& run, float* dst, const float* src, size_t frames);
void run_cascade_avx2(const IirRun& run, double* dst, const double* src, size_t frames);
void run_cascade_avx512(const IirRun& run, float* dst, const float* src, size_t frames);
void run_cascade_avx512(const IirRun& run, double* dst, const double* src, size_t frames);

} // namespace qv::audio
