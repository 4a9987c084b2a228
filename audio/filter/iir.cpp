// CQvIIR: a design, the states of its channels, and blocks of samples through them.
#include "audio/filter/chosen_channels.h"
#include "audio/filter/flush_to_zero.h"
#include "audio/filter/iir_cascade.h"
#include "audio/filter/parameter_range.h"
#include "audio/kernels/level.h"

#include "qv/cpu.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

using namespace qv::audio;

namespace {

/// What an instance of CQvIIR holds.
struct Cascade {
  IirDesign design;
  DWORD channels = 0;
  double gain = 1.0; ///< of the cascade
  double dry = 0.0;  ///< of the input beside it
  DWORD last_mask = 0;
  bool in_pairs = false;        ///< two channels side by side
  std::vector<IirState> states; ///< those of a channel's sections, channel after channel

  IirState* states_of(DWORD channel) { return states.data() + size_t{channel} * design.count; }

  template <class Sample>
  void process(Sample* dst, const Sample* src, DWORD frames, DWORD mask);
};

/// Below so many frames filling the lanes of wide vectors takes longer than they save.
constexpr DWORD kShortBlock = 32;
constexpr double kLeastGain = -200.0;
constexpr double kMostGain = 100.0;
constexpr double kLeastBandwidth = 0.001;
constexpr double kMostBandwidth = 20.0;
constexpr double kLeastQ = 0.05;
constexpr double kMostQ = 100'000.0;

bool is_band(QVIIR_TYPE type) { return type == QVIIR_BANDPASS || type == QVIIR_BANDSTOP; }

bool are_known(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order) {
  if (type > QVIIR_BANDSTOP || design > QVIIR_RESONATOR) return false;
  return design == QVIIR_RESONATOR ? is_band(type) : order >= 1 && order <= QVIIR_MAX_ORDER;
}

IirDesign make_design(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order, double frequency, double bandwidth) {
  const double center = clamped_edge(frequency);
  if (design == QVIIR_RESONATOR) return design_resonator(type, center, within(bandwidth, kLeastQ, kMostQ));
  if (type == QVIIR_LOWPASS) return design_lowpass(design, order, center);
  if (type == QVIIR_HIGHPASS) return design_highpass(design, order, center);
  const double ratio = std::sqrt(std::exp2(within(bandwidth, kLeastBandwidth, kMostBandwidth)));
  const double upper = clamped_edge(center * ratio);
  // A band that the upper limit cuts keeps a width.
  const double lower = std::min(clamped_edge(center / ratio), upper * (1.0 - kLeastBandwidth / 2.0));
  return type == QVIIR_BANDPASS ? design_bandpass(design, order, lower, upper)
                                : design_bandstop(design, order, lower, upper);
}

template <class Sample>
void Cascade::process(Sample* dst, const Sample* src, DWORD frames, DWORD mask) {
  const FlushToZero flush;
  const RunCascade<Sample> narrow = run_cascade_sse2;
  const RunCascade<Sample> run =
      frames < kShortBlock ? narrow : at_level<RunCascade<Sample>>(narrow, run_cascade_avx2, run_cascade_avx512);
  last_mask = mask;
  for (DWORD channel = 0; channel < channels; ++channel) {
    if (!is_chosen(mask, channel)) {
      copy_channel(dst, src, frames, channels, channel);
      continue;
    }
    const bool is_pair = in_pairs && channel + 1 < channels && is_chosen(mask, channel + 1);
    run({design.sections.data(), design.count, is_pair ? 2u : 1u, states_of(channel), channels, gain, dry},
        dst + channel, src + channel, frames);
    if (is_pair) ++channel;
  }
}

} // namespace

/// In a namespace of its own, so that nothing of it is exported with the class.
struct CQvIIR::Filter : Cascade {};

// ---- life ---------------------------------------------------------------------------------------------------------

CQvIIR::CQvIIR() noexcept : filter_(nullptr) {}
CQvIIR::CQvIIR(const CQvIIR& other) : filter_(other.filter_ == nullptr ? nullptr : new Filter(*other.filter_)) {}
CQvIIR::~CQvIIR() { delete filter_; }

CQvIIR& CQvIIR::operator=(const CQvIIR& other) {
  CQvIIR copy(other);
  std::swap(filter_, copy.filter_);
  return *this;
}

CQvIIR& CQvIIR::operator=(CQvIIR&& other) noexcept {
  std::swap(filter_, other.filter_);
  return *this;
}

HRESULT CQvIIR::Design(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order, double frequency, double bandwidth,
                       double gain, DWORD channels, DWORD channelMask) {
  if (frequency > 0.5) return E_INVALIDARG;
  delete filter_;
  filter_ = nullptr;
  if (!are_known(type, design, order) || channels == 0) return E_INVALIDARG;
  const double decibels = std::isnan(gain) ? 0.0 : within(gain, kLeastGain, kMostGain);
  const bool turns = type == QVIIR_BANDPASS && decibels != 0.0;
  try {
    auto made = std::make_unique<Filter>();
    made->design = make_design(turns ? QVIIR_BANDSTOP : type, design, order, frequency, bandwidth);
    made->channels = channels;
    made->states.resize(size_t{channels} * made->design.count);
    if (decibels != 0.0) {
      made->dry = 1.0;
      made->gain = std::pow(10.0, (turns ? -decibels : decibels) / 20.0) - 1.0;
    }
    made->last_mask = channelMask;
    const bool suits = channels != 2 || (channelMask & 1) == 0;
    made->in_pairs = suits && (QvGetCPUSupport(0) & QVCPU_SSE2) != 0;
    filter_ = made.release();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

void CQvIIR::Reset(DWORD channel) {
  if (filter_ == nullptr || channel >= filter_->channels) return;
  std::fill_n(filter_->states_of(channel), filter_->design.count, IirState{});
}

void CQvIIR::ResetAll() {
  if (filter_ != nullptr) std::fill(filter_->states.begin(), filter_->states.end(), IirState{});
}

void CQvIIR::SetDelayElementsFrom(const CQvIIR& other) {
  if (getChannels() != other.getChannels() || getNumBiquads() != other.getNumBiquads() || filter_ == nullptr) return;
  std::copy(other.filter_->states.begin(), other.filter_->states.end(), filter_->states.begin());
}

DWORD CQvIIR::getChannels() const { return filter_ == nullptr ? 0 : filter_->channels; }
DWORD CQvIIR::getNumBiquads() const { return filter_ == nullptr ? 0 : filter_->design.count; }

QVBIQUAD CQvIIR::getBiquad(DWORD index) const {
  if (index >= getNumBiquads()) return {1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const IirSection& section = filter_->design.sections[index];
  return {section.b0, section.b1, section.b2, section.c1, section.c2, 0.0, 0.0};
}

void CQvIIR::getPolynomial(DWORD index, double (&numerator)[3], double (&denominator)[3]) const {
  const QVBIQUAD section = getBiquad(index);
  numerator[0] = section.b0;
  numerator[1] = section.b1;
  numerator[2] = section.b2;
  denominator[0] = 1.0;
  denominator[1] = -section.c1;
  denominator[2] = -section.c2;
}

double CQvIIR::getGain() const { return filter_ == nullptr ? 1.0 : filter_->gain; }
double CQvIIR::getDry() const { return filter_ == nullptr ? 0.0 : filter_->dry; }
DWORD CQvIIR::getLastChannelMask() const { return filter_ == nullptr ? 0 : filter_->last_mask; }

void CQvIIR::ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask) {
  if (filter_ != nullptr) filter_->process(dst, src, frames, channelMask);
}

void CQvIIR::ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask) {
  if (filter_ != nullptr) filter_->process(dst, src, frames, channelMask);
}
