// Coefficients of non-recursive filters: the ideal impulse response, windowed and scaled.
#include "audio/filter/fir_design.h"

#include "audio/filter/parameter_range.h"

#include <cmath>
#include <numbers>

namespace qv::audio {
namespace {

constexpr double kNyquist = 0.5;
constexpr double kLeastFrequency = 0.000001;
constexpr double kMostFrequency = 0.499999;
/// Of the coefficients' magnitudes: a gain below it is rounding, or of the wrong sign.
constexpr double kLeastGain = 0.001;

struct Edges {
  double low, high;

  explicit Edges(const FirParameters& parameters)
      : low(within(parameters.frequency, kLeastFrequency, kMostFrequency)),
        high(within(parameters.upper_frequency, kLeastFrequency, kMostFrequency)) {}
};

bool has_band(QVFIR_TYPE type) { return type == QVFIR_BANDPASS || type == QVFIR_BANDSTOP; }

/// The ideal low-pass, `at` samples from its middle.
double sinc(double edge, DWORD at) {
  if (at == 0) return 2.0 * edge;
  return std::sin(2.0 * std::numbers::pi * edge * at) / (std::numbers::pi * at);
}

double ideal(QVFIR_TYPE type, const Edges& edges, DWORD at) {
  const double impulse = at == 0 ? 1.0 : 0.0;
  switch (type) {
  case QVFIR_LOWPASS: return sinc(edges.low, at);
  case QVFIR_HIGHPASS: return impulse - sinc(edges.low, at);
  case QVFIR_BANDPASS: return sinc(edges.high, at) - sinc(edges.low, at);
  default: return impulse - (sinc(edges.high, at) - sinc(edges.low, at));
  }
}

/// Where the gain is to be 1.
double reference_frequency(QVFIR_TYPE type, const Edges& edges) {
  if (type == QVFIR_HIGHPASS) return kNyquist;
  return type == QVFIR_BANDPASS ? (edges.low + edges.high) / 2.0 : 0.0;
}

} // namespace

bool is_fir(const FirParameters& parameters) {
  if (parameters.type > QVFIR_BANDSTOP || parameters.window > QVWINDOW_KAISER) return false;
  if (parameters.taps < 3 || parameters.taps > QVFIR_MAX_TAPS || parameters.taps % 2 == 0) return false;
  if (parameters.frequency > kNyquist) return false;
  if (!has_band(parameters.type)) return true;
  const Edges edges(parameters);
  return parameters.upper_frequency <= kNyquist && edges.high - edges.low >= kLeastFrequency;
}

bool design_fir(const FirParameters& parameters, double* coefficients) {
  const Edges edges(parameters);
  const double reference = 2.0 * std::numbers::pi * reference_frequency(parameters.type, edges);
  const DWORD middle = parameters.taps / 2;
  makewindows(coefficients, parameters.taps, parameters.window, parameters.kaiser_beta);
  double gain = 0.0;
  double magnitudes = 0.0;
  for (DWORD at = middle; at <= middle; --at) { // the smallest first; past 0 it wraps
    const double value = coefficients[middle + at] * ideal(parameters.type, edges, at);
    const double sides = at == 0 ? 1.0 : 2.0;
    coefficients[middle + at] = value;
    gain += sides * value * std::cos(reference * at);
    magnitudes += sides * std::fabs(value);
  }
  if (!(gain > kLeastGain * magnitudes)) return false;
  for (DWORD at = 0; at <= middle; ++at) {
    const double value = coefficients[middle + at] / gain;
    coefficients[middle + at] = value;
    coefficients[middle - at] = value;
  }
  return true;
}

} // namespace qv::audio
