// Filters over float stereo: recursive ones against those of libavfilter, the other ones against a plain loop.
#include "qv/filter.h"

#include "bench/audio/groups.h"
#include "bench/ratios.h"

#include "qv/equalizer.h"
#include "qv/fir.h"

#include <string>

namespace bench {
namespace {

constexpr DWORD kFrames = 65536;

Buffer floats() { return make_samples(QVSAMPLE_FLOAT32, size_t{kFrames} * 2); }

/// What anyone would write first.
void convolve(float* dst, const float* src, size_t frames, const CQvFIR& filter) {
  const size_t taps = filter.getTaps();
  const double* const coefficients = filter.getCoefficients();
  for (size_t k = taps - 1; k < frames; ++k)
    for (size_t channel = 0; channel < 2; ++channel) {
      double sum = 0.0;
      for (size_t i = 0; i < taps; ++i)
        sum += coefficients[i] * static_cast<double>(src[2 * (k - i) + channel]);
      dst[2 * k + channel] = static_cast<float>(sum);
    }
}

void add_fir() {
  constexpr DWORD kFirFrames = 8192;
  auto filter = std::make_shared<CQvFIR>();
  if (filter->Design(QVFIR_LOWPASS, QVWINDOW_KAISER, 301, 0.1, 0.0, 8.0, 2, 0) != S_OK) std::abort();
  const Buffer from = floats();
  const Buffer to = floats();
  const auto run = [=](auto process) {
    return [=] { process(reinterpret_cast<float*>(to->data()), reinterpret_cast<const float*>(from->data())); };
  };
  add({"filter: FIR of 301 taps",
       run([=](float* dst, const float* src) { filter->ProcessFloat(dst, src, kFirFrames, 0); }),
       {{"a plain loop", run([=](float* dst, const float* src) { convolve(dst, src, kFirFrames, *filter); }), 5.0}}});
}

void add_equalizer() {
  std::vector<QVEQBAND> bands;
  for (double frequency = 31.25; frequency < 20'000.0; frequency *= 2.0)
    bands.push_back({frequency, bands.size() % 2 == 0 ? 3.0 : -3.0, 1.0});
  HQVEQ handle = nullptr;
  const auto count = static_cast<DWORD>(bands.size());
  if (QvEq_Init(&handle, 48000, 2, bands.data(), count) != S_OK) std::abort();
  const std::shared_ptr<QVEQ> eq(handle, QvEq_Close);
  const Buffer from = floats();
  const Buffer to = floats();
  Group group{"filter: equaliser of " + std::to_string(count) + " bands",
              [=] {
                QvEq_ProcessFloat(eq.get(), reinterpret_cast<float*>(to->data()),
                                  reinterpret_cast<const float*>(from->data()), kFrames);
              },
              {}};
  if (Conversion theirs = avfilter_lowpass(count, kFrames, from))
    group.others.push_back({"as many of avfilter's lowpass", std::move(theirs), 2.5});
  add(std::move(group));
}

} // namespace

void add_filters() {
  add_fir();
  add_equalizer();
  for (const DWORD order : {2u, 8u, 15u}) {
    auto filter = std::make_shared<CQvIIR>();
    if (filter->Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, order, 0.1, 0.0, 0.0, 2, 0) != S_OK) std::abort();
    const Buffer from = floats();
    const Buffer to = floats();
    const DWORD sections = filter->getNumBiquads();
    Group group{"filter: " + std::to_string(sections) + (sections == 1 ? " section" : " sections"),
                [=] {
                  filter->ProcessFloat(reinterpret_cast<float*>(to->data()),
                                       reinterpret_cast<const float*>(from->data()), kFrames, 0);
                },
                {}};
    // As many of theirs behind each other.
    if (Conversion theirs = avfilter_lowpass(sections, kFrames, from))
      group.others.push_back({"avfilter's lowpass", std::move(theirs), sections == 1 ? 1.5 : 2.5});
    add(std::move(group));
  }
  // Denormal input: no slower than 0.5 of normal input.
  auto filter = std::make_shared<CQvIIR>();
  if (filter->Design(QVIIR_LOWPASS, QVIIR_BUTTERWORTH, 4, 0.1, 0.0, 0.0, 2, 0) != S_OK) std::abort();
  auto normal = std::make_shared<std::vector<double>>(kFrames * 2, 0.25);
  auto tiny = std::make_shared<std::vector<double>>(kFrames * 2, 1e-310);
  auto out = std::make_shared<std::vector<double>>(kFrames * 2);
  add({"filter: denormal input",
       [=] { filter->ProcessDouble(out->data(), tiny->data(), kFrames, 0); },
       {{"normal input", [=] { filter->ProcessDouble(out->data(), normal->data(), kFrames, 0); }, 0.5}}});
}

} // namespace bench
