// Coefficients of non-recursive filters: windows, convolution, and the ideal impulse response, windowed and scaled.
#include "audio/filter/fir_design.h"

#include "audio/filter/arguments.h"

#include <cmath>
#include <cstddef>
#include <numbers>

using namespace qv::audio;

// ---- windows -------------------------------------------------------------------------------------------------------

namespace {

/// The largest beta: above it I0 leaves the range of doubles.
constexpr double kMaxBeta = 700.0;

/// A window of the form: sum of (-1)^k a[k] cos(k x).
struct CosineSum {
  double a[4];
};

constexpr CosineSum kCosineSums[] = {
    {{1.0, 0.0, 0.0, 0.0}},                 // rectangular
    {{0.5, 0.5, 0.0, 0.0}},                 // Hann
    {{0.54, 0.46, 0.0, 0.0}},               // Hamming
    {{0.42, 0.5, 0.08, 0.0}},               // Blackman
    {{0.35875, 0.48829, 0.14128, 0.01168}}, // Blackman-Harris
};

double value_of(const CosineSum& sum, double x) {
  const double value = sum.a[0] - sum.a[1] * std::cos(x) + sum.a[2] * std::cos(2.0 * x) - sum.a[3] * std::cos(3.0 * x);
  return std::fmax(value, 0.0); // the ends of Blackman's, which are 0 but for rounding
}

/// The modified Bessel function of the first kind and order 0: the sum of ((x/2)^k / k!)^2, all positive.
double bessel_i0(double x) {
  const double quarter_square = x * x / 4.0;
  double term = 1.0;
  double sum = 1.0;
  for (double k = 1.0; term > sum * 1e-17; k += 1.0) {
    term *= quarter_square / (k * k);
    sum += term;
  }
  return sum;
}

/// Kaiser's window at a place with these distances from the ends, whose product keeps its digits near them.
double kaiser(double beta, double from_left, double from_right) {
  const double root = 2.0 * std::sqrt(from_left * from_right) / (from_left + from_right);
  return bessel_i0(beta * root) / bessel_i0(beta);
}

} // namespace

HRESULT makewindows(double* window, DWORD n, QVWINDOW shape, double kaiserBeta) {
  if (!window || n == 0 || shape > QVWINDOW_KAISER) return E_INVALIDARG;
  const double beta = within(kaiserBeta, 0.0, kMaxBeta);
  const DWORD last = n - 1;
  for (DWORD left = 0; left <= last / 2; ++left) {
    const DWORD right = last - left;
    double value = 1.0;
    if (left == right) {
      // The middle.
    } else if (shape == QVWINDOW_KAISER) {
      value = kaiser(beta, left, right);
    } else {
      value = value_of(kCosineSums[shape], 2.0 * std::numbers::pi * left / last);
    }
    window[left] = value;
    window[right] = value;
  }
  return S_OK;
}

// ---- convolution ---------------------------------------------------------------------------------------------------

HRESULT fnConvolution(double* dst, const double* a, DWORD aCount, const double* b, DWORD bCount) {
  if (!dst || !a || !b || aCount == 0 || bCount == 0) return E_INVALIDARG;
  const size_t count = size_t{aCount} + bCount - 1;
  for (size_t k = 0; k < count; ++k)
    dst[k] = 0.0;
  for (size_t i = 0; i < aCount; ++i)
    for (size_t j = 0; j < bCount; ++j)
      dst[i + j] += a[i] * b[j];
  return S_OK;
}

// ---- designs -------------------------------------------------------------------------------------------------------

namespace qv::audio {

namespace {

constexpr double kNyquist = 0.5;
constexpr double kMaxEdge = 0.499999;
/// The least gain, as a part of the coefficients' magnitudes: one below it is rounding, or of the wrong sign.
constexpr double kMinGain = 0.001;

struct Edges {
  double low, high;

  explicit Edges(const FirParameters& parameters)
      : low(within(parameters.frequency, kMinEdge, kMaxEdge)),
        high(within(parameters.upper_frequency, kMinEdge, kMaxEdge)) {}
};

bool has_band(QVFIR_TYPE type) { return type == QVFIR_BANDPASS || type == QVFIR_BANDSTOP; }

/// The impulse response of the ideal low-pass, `at` samples from its middle.
double sinc(double edge, DWORD at) {
  if (at == 0) return 2.0 * edge;
  return std::sin(2.0 * std::numbers::pi * edge * at) / (std::numbers::pi * at);
}

/// The same of any ideal filter.
double ideal(QVFIR_TYPE type, const Edges& edges, DWORD at) {
  const double impulse = at == 0 ? 1.0 : 0.0;
  switch (type) {
  case QVFIR_LOWPASS: return sinc(edges.low, at);
  case QVFIR_HIGHPASS: return impulse - sinc(edges.low, at);
  case QVFIR_BANDPASS: return sinc(edges.high, at) - sinc(edges.low, at);
  default: return impulse - (sinc(edges.high, at) - sinc(edges.low, at));
  }
}

/// The frequency at which the gain is to be 1.
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
  return parameters.upper_frequency <= kNyquist && edges.high - edges.low >= kMinEdge;
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
  if (!(gain > kMinGain * magnitudes)) return false;
  for (DWORD at = 0; at <= middle; ++at) {
    const double value = coefficients[middle + at] / gain;
    coefficients[middle + at] = value;
    coefficients[middle - at] = value;
  }
  return true;
}

} // namespace qv::audio
