#include "tools/qv/filter/filter_chain.h"

#include "tools/qv/failure.h"
#include "tools/qv/named_rows.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qv::tool {

namespace {

struct TypeRow {
  const char* name;
  bool is_biquad;
  DWORD type; ///< QVBIQUADTYPE or QVIIR_TYPE
};

constexpr TypeRow kTypes[] = {{"lowpass", false, QVIIR_LOWPASS},      {"highpass", false, QVIIR_HIGHPASS},
                              {"bandpass", false, QVIIR_BANDPASS},    {"bandstop", false, QVIIR_BANDSTOP},
                              {"peak", true, QVBIQUAD_PEAK},          {"lowshelf", true, QVBIQUAD_LOWSHELF},
                              {"highshelf", true, QVBIQUAD_HIGHSHELF}};

struct DesignRow {
  const char* name;
  QVIIR_DESIGN design;
};

constexpr DesignRow kDesigns[] = {{"butterworth", QVIIR_BUTTERWORTH},
                                  {"chebyshev", QVIIR_CHEBYSHEV},
                                  {"bessel", QVIIR_BESSEL},
                                  {"resonator", QVIIR_RESONATOR}};

} // namespace

std::vector<std::string> FilterChain::type_names() { return names_of(kTypes); }
std::vector<std::string> FilterChain::design_names() { return names_of(kDesigns); }

FilterChain::FilterChain(const std::string& name, const FilterOptions& options, DWORD rate, DWORD channels)
    : rate_(rate), channels_(channels) {
  const TypeRow& type = row_of(kTypes, options.type);
  if (options.frequency > rate / 2.0)
    throw Failure(name, "its rate of " + std::to_string(rate) + " Hz has no frequencies above half of it");
  if (type.is_biquad) {
    const QVBIQUADPARAMS params = {rate, options.frequency, options.gain, options.bandwidth, options.slope, type.type};
    biquads_.resize(channels);
    for (QVBIQUAD& biquad : biquads_)
      QvMakeBiquad(&params, &biquad);
    sections_.push_back(biquads_.front());
    return;
  }
  const QVIIR_DESIGN design = row_of(kDesigns, options.design).design;
  const double width = design == QVIIR_RESONATOR ? options.q : options.bandwidth;
  const HRESULT result = designed_.Design(static_cast<QVIIR_TYPE>(type.type), design, options.order,
                                          options.frequency / rate, width, options.gain, channels, 0);
  if (result == E_INVALIDARG) throw Failure(name, "there is no " + options.design + " of the type " + options.type);
  if (FAILED(result)) throw Failure(name, result_text(result));
  for (DWORD k = 0; k < designed_.getNumBiquads(); ++k)
    sections_.push_back(designed_.getBiquad(k));
  gain_ = designed_.getGain();
  dry_ = designed_.getDry();
}

void FilterChain::process(double* samples, DWORD frames) {
  if (biquads_.empty()) {
    designed_.ProcessDouble(samples, samples, frames, 0);
    return;
  }
  for (DWORD channel = 0; channel < channels_; ++channel)
    QvBiquadDoubleEx(samples + channel, samples + channel, frames, channels_, &biquads_[channel], 1);
}

/// The response at one frequency: the product of the sections', and from its logarithmic derivative the group delay.
Response FilterChain::response_at(double frequency) const {
  using Complex = std::complex<double>;
  const double angle = 2.0 * std::numbers::pi * frequency / rate_;
  const Complex z = std::polar(1.0, -angle);
  const Complex turn(0.0, -1.0); // the derivative of z, over z
  Complex product = gain_;
  Complex derivative = 0.0; // of the logarithm
  for (const QVBIQUAD& section : sections_) {
    const Complex numerator = section.b0 + z * (section.b1 + z * section.b2);
    const Complex denominator = 1.0 - z * (section.c1 + z * section.c2);
    product *= numerator / denominator;
    derivative += turn * z * (section.b1 + 2.0 * section.b2 * z) / numerator;
    derivative += turn * z * (section.c1 + 2.0 * section.c2 * z) / denominator;
  }
  const Complex whole = dry_ + product;
  const Complex slope = product * derivative / whole;
  constexpr double kSilence = 1e-15; // -300 dB
  return {frequency, 20.0 * std::log10(std::max(std::abs(whole), kSilence)), std::arg(whole) * 180.0 / std::numbers::pi,
          -slope.imag() / rate_ * 1000.0};
}

std::vector<Response> FilterChain::responses(size_t count) const {
  const double highest = rate_ * 0.4999; // at half the rate itself there may be nothing left to tell a phase of
  const double lowest = std::min(10.0, highest / 1000.0);
  std::vector<Response> result;
  for (size_t k = 0; k < count; ++k)
    result.push_back(
        response_at(lowest * std::pow(highest / lowest, static_cast<double>(k) / static_cast<double>(count - 1))));
  return result;
}

} // namespace qv::tool
