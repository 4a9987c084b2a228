// Biquad sections from musical parameters, and samples through them.
#include "audio/filter/arguments.h"

#include "qv/filter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

using namespace qv::audio;

namespace {

constexpr double kMinGain = -100.0;
constexpr double kMaxGain = 25.0;
constexpr double kTenth = 0.10000000149011612; // 0.1 in single precision
constexpr double kMaxBandwidth = 5.0;
constexpr double kMaxSlope = 1.0;
constexpr double kHalfLog2 = 0.34657359027997; // ln 2 / 2
constexpr double kHalfRoot = 0.70710678118655; // 1 / sqrt 2
/// The largest argument of sinh() of which the result times any gain is still a double.
constexpr double kMaxHyperbolic = 700.0;

struct Coefficients {
  double b[3];
  double a[3];
};

/// The angle of the frequency and what is made of the other parameters.
struct Design {
  double sine, cosine;
  double amplitude; ///< the gain's square root
  double alpha;     ///< half the bandwidth, as the formulae have it
  double beta;      ///< the same from the slope

  explicit Design(const QVBIQUADPARAMS& params) {
    const double frequency = within(params.frequency / params.sampleRate, kMinFrequency, kMaxFrequency);
    const double bandwidth = within(params.bandwidth, kTenth, kMaxBandwidth);
    const double slope = within(params.slope, kTenth, kMaxSlope);
    const double angle = 2.0 * std::numbers::pi * frequency;
    sine = std::sin(angle);
    cosine = std::cos(angle);
    amplitude = std::pow(10.0, within(params.gain, kMinGain, kMaxGain) / 40.0);
    const bool has_fixed_q = params.type == QVBIQUAD_LOWPASS || params.type == QVBIQUAD_HIGHPASS;
    alpha =
        sine * (has_fixed_q ? kHalfRoot : std::sinh(std::min(kHalfLog2 * bandwidth * angle / sine, kMaxHyperbolic)));
    beta = sine * std::sqrt((amplitude * amplitude + 1.0) / slope - (amplitude - 1.0) * (amplitude - 1.0));
  }
};

/// The coefficients of a shelf; `side` is 1 for a low and -1 for a high one.
Coefficients shelf(const Design& design, double side) {
  const double above = design.amplitude + 1.0;
  const double below = design.amplitude - 1.0;
  const double c = side * design.cosine;
  return {{design.amplitude * (above - below * c + design.beta), side * 2.0 * design.amplitude * (below - above * c),
           design.amplitude * (above - below * c - design.beta)},
          {above + below * c + design.beta, side * -2.0 * (below + above * c), above + below * c - design.beta}};
}

bool coefficients_of(const QVBIQUADPARAMS& params, Coefficients& result) {
  const Design design(params);
  const double c = design.cosine;
  const double alpha = design.alpha;
  const double with_gain = alpha * design.amplitude;
  const double without_gain = alpha / design.amplitude;
  switch (params.type) {
  case QVBIQUAD_LOWPASS:
    result = {{(1.0 - c) / 2.0, 1.0 - c, (1.0 - c) / 2.0}, {1.0 + alpha, -2.0 * c, 1.0 - alpha}};
    return true;
  case QVBIQUAD_HIGHPASS:
    result = {{(1.0 + c) / 2.0, -(1.0 + c), (1.0 + c) / 2.0}, {1.0 + alpha, -2.0 * c, 1.0 - alpha}};
    return true;
  case QVBIQUAD_BANDPASS: result = {{alpha, 0.0, -alpha}, {1.0 + alpha, -2.0 * c, 1.0 - alpha}}; return true;
  case QVBIQUAD_NOTCH: result = {{1.0, -2.0 * c, 1.0}, {1.0 + alpha, -2.0 * c, 1.0 - alpha}}; return true;
  case QVBIQUAD_PEAK:
    result = {{1.0 + with_gain, -2.0 * c, 1.0 - with_gain}, {1.0 + without_gain, -2.0 * c, 1.0 - without_gain}};
    return true;
  case QVBIQUAD_LOWSHELF: result = shelf(design, 1.0); return true;
  case QVBIQUAD_HIGHSHELF: result = shelf(design, -1.0); return true;
  default: return false;
  }
}

/// Returns the state, or 0 for one below 2^-32 in magnitude: what decays would otherwise become denormal.
double without_denormals(double state) {
  constexpr uint64_t kExponent = 0x7FF00000;
  constexpr uint64_t kMin = 0x3DF00000; // of 2^-32
  return (std::bit_cast<uint64_t>(state) >> 32 & kExponent) < kMin ? 0.0 : state;
}

/// Sends one sample through a section, in direct form II.
double biquad_step(double x, QVBIQUAD& biquad) {
  const double w1 = without_denormals(biquad.w1);
  const double w2 = without_denormals(biquad.w2);
  const double w = x + biquad.c1 * w1 + biquad.c2 * w2;
  biquad.w2 = w1;
  biquad.w1 = w;
  return biquad.b0 * w + biquad.b1 * w1 + biquad.b2 * w2;
}

template <class Sample>
void filter_channel(Sample* dst, const Sample* src, DWORD frames, DWORD stride, QVBIQUAD* biquad, BOOL forward) {
  QVBIQUAD section = *biquad; // in registers, where dst may be anything
  for (size_t k = 0; k < frames; ++k) {
    const size_t at = (forward != 0 ? k : frames - 1 - k) * stride;
    dst[at] = static_cast<Sample>(biquad_step(static_cast<double>(src[at]), section));
  }
  *biquad = section;
}

} // namespace

HRESULT QvMakeBiquad(const QVBIQUADPARAMS* params, QVBIQUAD* biquad) {
  if (!params || !biquad) return E_INVALIDARG;
  *biquad = {1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  Coefficients made;
  if (!coefficients_of(*params, made)) return E_NOTIMPL;
  const double a0 = made.a[0];
  *biquad = {made.b[0] / a0, made.b[1] / a0, made.b[2] / a0, -made.a[1] / a0, -made.a[2] / a0, 0.0, 0.0};
  return S_OK;
}

void QvBiquadSampleFloat(float* sample, QVBIQUAD* biquad) {
  *sample = static_cast<float>(biquad_step(static_cast<double>(*sample), *biquad));
}

void QvBiquadSampleDouble(double* sample, QVBIQUAD* biquad) { *sample = biquad_step(*sample, *biquad); }

void QvBiquadFloatEx(float* dst, const float* src, DWORD frames, DWORD stride, QVBIQUAD* biquad, BOOL forward) {
  filter_channel(dst, src, frames, stride, biquad, forward);
}

void QvBiquadDoubleEx(double* dst, const double* src, DWORD frames, DWORD stride, QVBIQUAD* biquad, BOOL forward) {
  filter_channel(dst, src, frames, stride, biquad, forward);
}
