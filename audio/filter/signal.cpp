// First-order shelves and a second-order band-pass, made of allpass filters.
#include "qv/signal.h"

#include "audio/filter/arguments.h"

#include <cmath>
#include <numbers>

using namespace qv::audio;

namespace {

constexpr double kMinBandwidth = 0.000001;
constexpr double kMaxGain = 100.0; // dB

double tangent(double frequency, double min) {
  return std::tan(std::numbers::pi * within(frequency, min, kMaxFrequency));
}

double factor(double gain, double sign) { return std::pow(10.0, sign * within(gain, 0.0, kMaxGain) / 20.0); }

/// Makes the shelf 1 + (factor - 1) / 2 (1 + side A(z)), A(z) being the allpass filter with the coefficient a; `side`
/// is 1 for a low and -1 for a high shelf.
HRESULT make_shelf(double a, double factor, double side, QVBIQUAD* biquad) {
  const double raised = (factor - 1.0) / 2.0 * (1.0 + side * a);
  *biquad = {1.0 + raised, a + side * raised, 0.0, -a, 0.0, 0.0, 0.0};
  return S_OK;
}

} // namespace

HRESULT QvSig_FindLowShelfBoostCoeffs(double frequency, double gain, QVBIQUAD* biquad) {
  if (!biquad) return E_INVALIDARG;
  const double t = tangent(frequency, kMinFrequency);
  return make_shelf((t - 1.0) / (t + 1.0), factor(gain, 1.0), 1.0, biquad);
}

HRESULT QvSig_FindLowShelfCutCoeffs(double frequency, double gain, QVBIQUAD* biquad) {
  if (!biquad) return E_INVALIDARG;
  const double t = tangent(frequency, kMinFrequency);
  const double v = factor(gain, -1.0);
  return make_shelf((t - v) / (t + v), v, 1.0, biquad);
}

HRESULT QvSig_FindHiShelfBoostCoeffs(double frequency, double gain, QVBIQUAD* biquad) {
  if (!biquad) return E_INVALIDARG;
  const double t = tangent(frequency, kMinFrequency);
  return make_shelf((t - 1.0) / (t + 1.0), factor(gain, 1.0), -1.0, biquad);
}

HRESULT QvSig_FindHiShelfCutCoeffs(double frequency, double gain, QVBIQUAD* biquad) {
  if (!biquad) return E_INVALIDARG;
  const double t = tangent(frequency, kMinFrequency);
  const double v = factor(gain, -1.0);
  return make_shelf((v * t - 1.0) / (v * t + 1.0), v, -1.0, biquad);
}

HRESULT QvSig_FindBandPassCoeffs(double frequency, double bandwidth, QVBIQUAD* biquad) {
  if (!biquad) return E_INVALIDARG;
  const double t = tangent(bandwidth, kMinBandwidth);
  const double c = (t - 1.0) / (t + 1.0);
  const double d = -std::cos(2.0 * std::numbers::pi * within(frequency, kMinFrequency, kMaxFrequency));
  const double edge = (1.0 + c) / 2.0;
  *biquad = {edge, 0.0, -edge, -d * (1.0 - c), c, 0.0, 0.0};
  return S_OK;
}
