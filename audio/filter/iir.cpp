// CQvIIR: a designed cascade.
#include "audio/filter/arguments.h"
#include "audio/filter/cascade.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

using namespace qv::audio;

namespace {

constexpr double kMinGain = -200.0;
constexpr double kMaxGain = 100.0;
constexpr double kMinBandwidth = 0.001;
constexpr double kMaxBandwidth = 20.0;
constexpr double kMinQ = 0.05;
constexpr double kMaxQ = 100'000.0;

bool is_band(QVIIR_TYPE type) { return type == QVIIR_BANDPASS || type == QVIIR_BANDSTOP; }

bool are_known(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order) {
  if (type > QVIIR_BANDSTOP || design > QVIIR_RESONATOR) return false;
  return design == QVIIR_RESONATOR ? is_band(type) : order >= 1 && order <= QVIIR_MAX_ORDER;
}

IirSections make_design(QVIIR_TYPE type, QVIIR_DESIGN design, DWORD order, double frequency, double bandwidth) {
  const double center = clamped_edge(frequency);
  if (design == QVIIR_RESONATOR) return design_resonator(type, center, within(bandwidth, kMinQ, kMaxQ));
  if (type == QVIIR_LOWPASS) return design_lowpass(design, order, center);
  if (type == QVIIR_HIGHPASS) return design_highpass(design, order, center);
  const double ratio = std::sqrt(std::exp2(within(bandwidth, kMinBandwidth, kMaxBandwidth)));
  const double upper = clamped_edge(center * ratio);
  // Where the upper limit cuts a band off, its lower edge gives way, so that some width is left.
  const double lower = std::min(clamped_edge(center / ratio), upper * (1.0 - kMinBandwidth / 2.0));
  return type == QVIIR_BANDPASS ? design_bandpass(design, order, lower, upper)
                                : design_bandstop(design, order, lower, upper);
}

} // namespace

struct CQvIIR::Filter {
  Cascade cascade;
  DWORD last_mask;
};

// ---- life ---------------------------------------------------------------------------------------------------------

CQvIIR::CQvIIR() noexcept : filter_(nullptr) {}
CQvIIR::CQvIIR(const CQvIIR& other) : filter_(other.filter_ ? new Filter(*other.filter_) : nullptr) {}
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
  const double decibels = std::isnan(gain) ? 0.0 : within(gain, kMinGain, kMaxGain);
  const bool turns = type == QVIIR_BANDPASS && decibels != 0.0;
  try {
    const bool in_pairs = channels != 2 || (channelMask & 1) == 0;
    Cascade cascade(make_design(turns ? QVIIR_BANDSTOP : type, design, order, frequency, bandwidth), channels,
                    in_pairs);
    if (decibels != 0.0) cascade.set_gain(std::pow(10.0, (turns ? -decibels : decibels) / 20.0) - 1.0, 1.0);
    filter_ = new Filter{std::move(cascade), channelMask};
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

void CQvIIR::Reset(DWORD channel) {
  if (filter_) filter_->cascade.reset(channel);
}

void CQvIIR::ResetAll() {
  if (filter_) filter_->cascade.reset();
}

void CQvIIR::SetDelayElementsFrom(const CQvIIR& other) {
  if (filter_ && other.filter_) filter_->cascade.take_states(other.filter_->cascade);
}

DWORD CQvIIR::getChannels() const { return filter_ ? filter_->cascade.channels() : 0; }
DWORD CQvIIR::getNumBiquads() const { return filter_ ? static_cast<DWORD>(filter_->cascade.sections().size()) : 0; }

QVBIQUAD CQvIIR::getBiquad(DWORD index) const {
  if (index >= getNumBiquads()) return {1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
  const IirSection& section = filter_->cascade.sections()[index];
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

double CQvIIR::getGain() const { return filter_ ? filter_->cascade.gain() : 1.0; }
double CQvIIR::getDry() const { return filter_ ? filter_->cascade.dry() : 0.0; }
DWORD CQvIIR::getLastChannelMask() const { return filter_ ? filter_->last_mask : 0; }

void CQvIIR::ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask) {
  if (!filter_) return;
  filter_->last_mask = channelMask;
  filter_->cascade.process(dst, src, frames, channelMask);
}

void CQvIIR::ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask) {
  if (!filter_) return;
  filter_->last_mask = channelMask;
  filter_->cascade.process(dst, src, frames, channelMask);
}
