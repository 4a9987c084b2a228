// CQvFIR: state, and the way of samples through a filter.
#include "audio/filter/arguments.h"
#include "audio/filter/fir_design.h"
#include "audio/filter/fir_outputs.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

using namespace qv::audio;

namespace {

/// Frames that are filtered at a time, a multiple of 8.
constexpr DWORD kPiece = 256;

} // namespace

struct CQvFIR::Filter {
  DWORD taps;
  DWORD channels;
  DWORD last_mask;
  /// The coefficients, then a line for each channel: the last taps - 1 samples, and room for a piece.
  std::unique_ptr<double[]> numbers;

  size_t history() const { return taps - 1; }
  size_t line_length() const { return history() + kPiece; }
  size_t count() const { return taps + line_length() * channels; }
  double* line(DWORD channel) const { return numbers.get() + taps + line_length() * channel; }
  void reset(DWORD channel) { std::fill_n(line(channel), history(), 0.0); }
};

namespace {

/// Filters one channel; `line` begins with the taps - 1 samples before the first.
template <class Sample>
void filter_channel(const double* coefficients, size_t taps, double* line, Sample* dst, const Sample* src,
                    size_t frames, size_t stride) {
  FirOutputs* const make_outputs = at_level<FirOutputs>({QV_LEVELS_OF(fir_outputs)});
  const size_t history = taps - 1;
  double outputs[kPiece];
  while (frames > 0) {
    const size_t count = std::min<size_t>(frames, kPiece);
    for (size_t k = 0; k < count; ++k)
      line[history + k] = static_cast<double>(src[k * stride]);
    make_outputs(outputs, (count + 7) / 8 * 8, coefficients, taps, line); // up to seven more than are looked at
    for (size_t k = 0; k < count; ++k)
      dst[k * stride] = static_cast<Sample>(outputs[k]);
    std::memmove(line, line + count, history * sizeof *line);
    src += count * stride;
    dst += count * stride;
    frames -= count;
  }
}

template <class Filter, class Sample>
void filter_buffer(Filter* filter, Sample* dst, const Sample* src, DWORD frames, DWORD mask) {
  if (!filter) return;
  filter->last_mask = mask;
  if (frames == 0) return;
  for (DWORD channel = 0; channel < filter->channels; ++channel) {
    if (is_chosen(mask, channel)) {
      filter_channel(filter->numbers.get(), filter->taps, filter->line(channel), dst + channel, src + channel, frames,
                     filter->channels);
    } else {
      copy_channel(dst, src, frames, filter->channels, channel);
    }
  }
}

} // namespace

CQvFIR::CQvFIR() noexcept : filter_(nullptr) {}

CQvFIR::CQvFIR(const CQvFIR& other) : filter_(nullptr) {
  if (!other.filter_) return;
  const Filter& from = *other.filter_;
  auto copy = std::make_unique<Filter>(Filter{from.taps, from.channels, from.last_mask, nullptr});
  copy->numbers = std::make_unique<double[]>(copy->count());
  std::copy_n(from.numbers.get(), copy->count(), copy->numbers.get());
  filter_ = copy.release();
}

CQvFIR::CQvFIR(CQvFIR&& other) noexcept : filter_(std::exchange(other.filter_, nullptr)) {}

CQvFIR& CQvFIR::operator=(const CQvFIR& other) {
  CQvFIR copy(other);
  std::swap(filter_, copy.filter_);
  return *this;
}

CQvFIR& CQvFIR::operator=(CQvFIR&& other) noexcept {
  CQvFIR taken(std::move(other));
  std::swap(filter_, taken.filter_);
  return *this;
}

CQvFIR::~CQvFIR() { delete filter_; }

HRESULT CQvFIR::Design(QVFIR_TYPE type, QVWINDOW window, DWORD taps, double frequency, double upperFrequency,
                       double kaiserBeta, DWORD channels, DWORD channelMask) {
  const FirParameters parameters{type, window, taps, frequency, upperFrequency, kaiserBeta};
  if (channels == 0 || !is_fir(parameters)) return E_INVALIDARG;
  std::unique_ptr<Filter> made(new (std::nothrow) Filter{taps, channels, channelMask, nullptr});
  if (!made) return E_OUTOFMEMORY;
  made->numbers.reset(new (std::nothrow) double[made->count()]());
  if (!made->numbers) return E_OUTOFMEMORY;
  if (!design_fir(parameters, made->numbers.get())) return E_INVALIDARG;
  delete std::exchange(filter_, made.release());
  return S_OK;
}

void CQvFIR::ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask) {
  filter_buffer(filter_, dst, src, frames, channelMask);
}

void CQvFIR::ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask) {
  filter_buffer(filter_, dst, src, frames, channelMask);
}

void CQvFIR::Reset(DWORD channel) {
  if (channel < getChannels()) filter_->reset(channel);
}

void CQvFIR::ResetAll() {
  for (DWORD channel = 0; channel < getChannels(); ++channel)
    filter_->reset(channel);
}

DWORD CQvFIR::getChannels() const { return filter_ ? filter_->channels : 0; }
DWORD CQvFIR::getTaps() const { return filter_ ? filter_->taps : 0; }
DWORD CQvFIR::getLatency() const { return getTaps() / 2; }
const double* CQvFIR::getCoefficients() const { return filter_ ? filter_->numbers.get() : nullptr; }
DWORD CQvFIR::getLastChannelMask() const { return filter_ ? filter_->last_mask : 0; }
