// Designs of recursive filters: from an analogue prototype to digital sections.
#pragma once

#include "qv/filter.h"

#include <vector>

namespace qv::audio {

/// The coefficients of a section, as QVBIQUAD has them.
struct IirSection {
  double b0, b1, b2;
  double c1, c2;
};

/// Sections in the order in which they run: by rising radius of their poles, those of a band from both edges in turn.
using IirSections = std::vector<IirSection>;

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

} // namespace qv::audio
