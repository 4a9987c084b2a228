// From a prototype to digital sections.
#pragma once

#include "qv/filter.h"

#include <array>

namespace qv::audio {

/// Coefficients as QVBIQUAD has them.
struct IirSection {
  double b0, b1, b2;
  double c1, c2;
};

struct IirDesign {
  DWORD count = 0;
  std::array<IirSection, QVIIR_MAX_ORDER> sections = {}; ///< by rising radius of their poles
};

/// Frequencies as fractions of the sample rate, in order and within the limits that clamped_edge sets.
IirDesign design_lowpass(QVIIR_DESIGN design, DWORD order, double edge);
IirDesign design_highpass(QVIIR_DESIGN design, DWORD order, double edge);
IirDesign design_bandpass(QVIIR_DESIGN design, DWORD order, double lower, double upper);
IirDesign design_bandstop(QVIIR_DESIGN design, DWORD order, double lower, double upper);
/// A pair of poles with a quality Q, and zeros at DC and Nyquist, or at the poles' angle on the unit circle.
IirDesign design_resonator(QVIIR_TYPE type, double frequency, double q);

double clamped_edge(double frequency);

} // namespace qv::audio
