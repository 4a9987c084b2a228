// Sections of recursive filters: how they are designed, from an analogue prototype, and the loops that run them.
#pragma once

#include "audio/kernels/levels.h"

#include "qv/filter.h"

#include <cstddef>
#include <vector>

namespace qv::audio {

/// The coefficients of a section, as QVBIQUAD has them.
struct IirSection {
  double b0, b1, b2;
  double c1, c2;
};

/// Sections in the order in which they run: by rising radius of their poles, those of a band from both edges in turn.
using IirSections = std::vector<IirSection>;

// ---- designs -------------------------------------------------------------------------------------------------------
//
// Edges are fractions of the sample rate, in order and within the limits that clamped_edge sets.

IirSections design_lowpass(QVIIR_DESIGN design, DWORD order, double edge);
IirSections design_highpass(QVIIR_DESIGN design, DWORD order, double edge);
IirSections design_bandpass(QVIIR_DESIGN design, DWORD order, double lower, double upper);
IirSections design_bandstop(QVIIR_DESIGN design, DWORD order, double lower, double upper);
/// One section: a pair of poles with a quality Q; the zeros of a band-pass are at DC and Nyquist, those of a band-stop
/// at the poles' angle on the unit circle.
IirSections design_resonator(QVIIR_TYPE type, double frequency, double q);

/// Returns the frequency, or the nearest one of which there is a design; the lowest for a NaN.
double clamped_edge(double frequency);

// ---- loops ---------------------------------------------------------------------------------------------------------
//
// A function for each kernel level, all with the same results to the bit.

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
