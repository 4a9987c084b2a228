// Every filter with any parameters: it refuses them or makes numbers of numbers, the same in one block as in place in
// several, and channels that are not chosen come out as they were.
// Sources: audio/filter
#include "fuzz/audio/samples.h"

#include "qv/dither.h"
#include "qv/equalizer.h"
#include "qv/fir.h"
#include "qv/signal.h"

using namespace fuzz;

namespace {

/// Any number, with those among them that are none, or one that makes sense.
double choose_number(Choices& choices, double low, double high) {
  if (choices.ConsumeIntegralInRange<int>(0, 7) != 0) return choices.ConsumeFloatingPointInRange(low, high);
  return choices.ConsumeFloatingPoint<double>();
}

/// A biquad section for each channel.
class Sections {
public:
  Sections(DWORD channels, const QVBIQUAD& section) : records_(channels, section) {}
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD) { run(QvBiquadFloatEx, dst, src, frames); }
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD) { run(QvBiquadDoubleEx, dst, src, frames); }

private:
  template <class Process, class Sample>
  void run(Process process, Sample* dst, const Sample* src, DWORD frames) {
    const auto channels = static_cast<DWORD>(records_.size());
    for (DWORD k = 0; k < channels; ++k)
      process(dst + k, src + k, frames, channels, &records_[k], 1);
  }

  std::vector<QVBIQUAD> records_;
};

/// The equaliser, which has no masks and no copies.
class Equalizer {
public:
  Equalizer(DWORD rate, DWORD channels, const std::vector<QVEQBAND>& bands)
      : rate_(rate), channels_(channels), bands_(bands) {
    require(QvEq_Init(&eq_, rate, channels, bands.data(), static_cast<DWORD>(bands.size())) == S_OK);
  }
  Equalizer(const Equalizer& other) : Equalizer(other.rate_, other.channels_, other.bands_) {}
  Equalizer& operator=(const Equalizer&) = delete;
  ~Equalizer() { QvEq_Close(eq_); }
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD) { QvEq_ProcessFloat(eq_, dst, src, frames); }
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD) { QvEq_ProcessDouble(eq_, dst, src, frames); }

private:
  DWORD rate_, channels_;
  std::vector<QVEQBAND> bands_;
  HQVEQ eq_ = nullptr;
};

template <class Filter, class Sample>
void process(Filter& filter, Sample* dst, const Sample* src, DWORD frames, DWORD mask) {
  if constexpr (sizeof(Sample) == sizeof(float))
    filter.ProcessFloat(dst, src, frames, mask);
  else
    filter.ProcessDouble(dst, src, frames, mask);
}

template <class Sample, class Filter>
void check_as(Choices& choices, const Filter& filter, DWORD channels, DWORD mask) {
  const auto frames = choices.ConsumeIntegralInRange<DWORD>(1, 600);
  const auto src = signal<Sample>(choices, size_t{frames} * channels);
  std::vector<Sample> dst(src.size());
  Filter whole(filter);
  process(whole, dst.data(), src.data(), frames, mask);
  require_within<Sample>(1e30, reinterpret_cast<const uint8_t*>(dst.data()), dst.size());
  for (size_t k = 0; k < src.size(); ++k) {
    const DWORD channel = k % channels;
    if (mask != 0 && (channel >= 32 || (mask >> channel & 1) == 0)) require(dst[k] == src[k]);
  }

  Filter pieces(filter);
  std::vector<Sample> in_place = src;
  for (DWORD at = 0; at < frames;) {
    const DWORD block = choices.ConsumeIntegralInRange<DWORD>(1, frames - at);
    Sample* const place = in_place.data() + size_t{at} * channels;
    process(pieces, place, place, block, mask);
    at += block;
  }
  require(in_place == dst);
}

template <class Filter>
void check(Choices& choices, const Filter& filter, DWORD channels, DWORD mask = 0) {
  if (choices.ConsumeBool())
    check_as<float>(choices, filter, channels, mask);
  else
    check_as<double>(choices, filter, channels, mask);
}

DWORD choose_mask(Choices& choices) { return choices.ConsumeBool() ? 0 : choices.ConsumeIntegral<DWORD>(); }

void check_biquad(Choices& choices, DWORD channels) {
  const QVBIQUADPARAMS params = {choose_rate(choices),
                                 choose_number(choices, 0.0, 100'000.0),
                                 choose_number(choices, -110.0, 30.0),
                                 choose_number(choices, 0.0, 6.0),
                                 choose_number(choices, 0.0, 1.1),
                                 choices.ConsumeIntegralInRange<DWORD>(0, 8)};
  QVBIQUAD section = {};
  require(QvMakeBiquad(&params, &section) == (params.type <= QVBIQUAD_HIGHSHELF ? S_OK : E_NOTIMPL));
  check(choices, Sections(channels, section), channels);
}

void check_coefficients(Choices& choices, DWORD channels) {
  using Find = HRESULT (*)(double, double, QVBIQUAD*);
  constexpr Find kFinders[] = {QvSig_FindLowShelfBoostCoeffs, QvSig_FindLowShelfCutCoeffs, QvSig_FindHiShelfBoostCoeffs,
                               QvSig_FindHiShelfCutCoeffs};
  const auto kind = choices.ConsumeIntegralInRange<size_t>(0, std::size(kFinders));
  const double frequency = choose_number(choices, -0.1, 0.6);
  QVBIQUAD section = {};
  if (kind < std::size(kFinders))
    require(kFinders[kind](frequency, choose_number(choices, -1.0, 110.0), &section) == S_OK);
  else
    require(QvSig_FindBandPassCoeffs(frequency, choose_number(choices, 0.0, 0.6), &section) == S_OK);
  check(choices, Sections(channels, section), channels);
}

void check_iir(Choices& choices, DWORD channels) {
  CQvIIR filter;
  const auto type = static_cast<QVIIR_TYPE>(choices.ConsumeIntegralInRange<int>(0, 4));
  const auto design = static_cast<QVIIR_DESIGN>(choices.ConsumeIntegralInRange<int>(0, 4));
  const auto order = choices.ConsumeIntegralInRange<DWORD>(0, 16);
  const double frequency = choose_number(choices, -0.01, 0.51);
  const double width = choose_number(choices, 0.0, 21.0);
  const double gain = choices.ConsumeBool() ? 0.0 : choose_number(choices, -210.0, 110.0);
  const DWORD mask = choose_mask(choices);
  if (filter.Design(type, design, order, frequency, width, gain, channels, mask) == S_OK)
    check(choices, filter, channels, mask);
}

void check_fir(Choices& choices, DWORD channels) {
  CQvFIR filter;
  const auto type = static_cast<QVFIR_TYPE>(choices.ConsumeIntegralInRange<int>(0, 4));
  const auto window = static_cast<QVWINDOW>(choices.ConsumeIntegralInRange<int>(0, 6));
  const auto taps = choices.ConsumeIntegralInRange<DWORD>(0, 400);
  const double lower = choose_number(choices, -0.01, 0.51);
  const double upper = choose_number(choices, -0.01, 0.51);
  const double beta = choose_number(choices, -1.0, 800.0);
  const DWORD mask = choose_mask(choices);
  if (filter.Design(type, window, taps, lower, upper, beta, channels, mask) != S_OK) return;
  require(taps % 2 == 1 && filter.getLatency() == (taps - 1) / 2);
  check(choices, filter, channels, mask);
}

void check_dither(Choices& choices, DWORD channels) {
  CQvDither filter;
  const auto type = static_cast<QVDITHER>(choices.ConsumeIntegralInRange<int>(0, 4));
  const auto bits = choices.ConsumeIntegralInRange<DWORD>(0, 34);
  const bool is_allowed = type <= QVDITHER_SHAPED && bits >= 2 && bits <= 32;
  require(filter.Init(type, bits, channels, choices.ConsumeIntegral<uint64_t>()) == (is_allowed ? S_OK : E_INVALIDARG));
  if (is_allowed) check(choices, filter, channels, choose_mask(choices));
}

void check_equalizer(Choices& choices, DWORD channels) {
  std::vector<QVEQBAND> bands(choices.ConsumeIntegralInRange<size_t>(1, 8));
  for (QVEQBAND& band : bands)
    band = {choose_number(choices, 0.0, 30'000.0), choose_number(choices, -110.0, 30.0),
            choose_number(choices, 0.0, 6.0)};
  check(choices, Equalizer(std::max(choose_rate(choices), DWORD{1}), channels, bands), channels);
}

/// A window, and its convolution with itself, whose middle is the sum of its squares.
void check_window(Choices& choices, DWORD) {
  const auto shape = static_cast<QVWINDOW>(choices.ConsumeIntegralInRange<int>(0, 6));
  std::vector<double> window(choices.ConsumeIntegralInRange<size_t>(1, 300));
  const auto count = static_cast<DWORD>(window.size());
  const HRESULT result = makewindows(window.data(), count, shape, choose_number(choices, -1.0, 800.0));
  require(result == (shape <= QVWINDOW_KAISER ? S_OK : E_INVALIDARG));
  double squares = 0.0;
  for (DWORD k = 0; k < count; ++k) {
    require(window[k] >= 0.0 && window[k] <= 1.0 && std::fabs(window[k] - window[count - 1 - k]) < 1e-12);
    squares += window[k] * window[count - 1 - k];
  }
  std::vector<double> product(2 * window.size() - 1);
  require(fnConvolution(product.data(), window.data(), count, window.data(), count) == S_OK);
  require(std::fabs(product[count - 1] - squares) < 1e-9);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Choices choices(data, size);
  using Check = void (*)(Choices&, DWORD);
  constexpr Check kChecks[] = {check_biquad, check_coefficients, check_iir,   check_fir,
                               check_dither, check_equalizer,    check_window};
  const Check chosen = choices.PickValueInArray(kChecks);
  chosen(choices, choices.ConsumeIntegralInRange<DWORD>(1, 34));
  return 0;
}
