// Coefficients of non-recursive filters.
#pragma once

#include "qv/fir.h"

namespace qv::audio {

struct FirParameters {
  QVFIR_TYPE type;
  QVWINDOW window;
  DWORD taps;
  double frequency;
  double upper_frequency;
  double kaiser_beta;
};

/// Whether the type, window, taps and frequencies are those of a filter.
bool is_fir(const FirParameters& parameters);
/// Fills `taps` coefficients; returns false for a filter that hardly passes anything where its gain has to be 1.
bool design_fir(const FirParameters& parameters, double* coefficients);

} // namespace qv::audio
