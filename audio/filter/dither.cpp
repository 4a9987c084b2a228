// CQvDither: quantisation with dither.
#include "qv/dither.h"

#include "audio/filter/arguments.h"
#include "audio/filter/dither_noise.h"
#include "audio/kernels/sample_access.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <utility>

using namespace qv::audio;

namespace {

constexpr DWORD kMinBits = 2;
constexpr DWORD kMaxBits = 32;
constexpr DWORD kFloatBits = 25; // a sign and 24 bits of significand
/// The largest input that is looked at: all beyond it is clipped, with any dither and error.
constexpr double kFarOut = 4.0;

/// The generator and the error of one channel.
struct DitherChannel {
  Pcg32 generator;
  double error = 0.0;
};

/// Rounds to nearest, ties to even: a double around 1.5 x 2^52 has no fraction.
double nearest(double value) { return (value + kRoundingShift) - kRoundingShift; }

/// Rounds a sample that is given in steps, with its dither; the result is not clipped yet.
template <QVDITHER Type>
double quantized(double value, DitherChannel& channel) {
  if constexpr (Type == QVDITHER_NONE) return nearest(value);
  double noise = channel.generator.next_centred();
  if constexpr (Type == QVDITHER_RECTANGULAR) return nearest(value + noise);
  noise += channel.generator.next_centred();
  if constexpr (Type == QVDITHER_TRIANGULAR) return nearest(value + noise);
  const double wanted = value - channel.error;
  const double result = nearest(wanted + noise);
  channel.error = result - wanted;
  return result;
}

template <QVDITHER Type, class Sample>
void dither_channel(Sample* dst, const Sample* src, size_t frames, size_t stride, double scale,
                    DitherChannel& channel) {
  DitherChannel state = channel; // in registers, where dst may be anything
  const double step = 1.0 / scale;
  for (size_t k = 0; k < frames; ++k) {
    const double x = static_cast<double>(src[k * stride]);
    const double value = std::isnan(x) ? 0.0 : within(x, -kFarOut, kFarOut) * scale;
    const double result = std::clamp(quantized<Type>(value, state), -scale, scale - 1.0);
    dst[k * stride] = static_cast<Sample>(result * step);
  }
  channel = state;
}

template <class Sample>
constexpr auto ditherer(QVDITHER type) {
  switch (type) {
  case QVDITHER_RECTANGULAR: return dither_channel<QVDITHER_RECTANGULAR, Sample>;
  case QVDITHER_TRIANGULAR: return dither_channel<QVDITHER_TRIANGULAR, Sample>;
  case QVDITHER_SHAPED: return dither_channel<QVDITHER_SHAPED, Sample>;
  default: return dither_channel<QVDITHER_NONE, Sample>;
  }
}

} // namespace

struct CQvDither::State {
  QVDITHER type;
  DWORD bits;
  DWORD channels;
  ULONGLONG seed;
  std::unique_ptr<DitherChannel[]> each;

  void reset() {
    for (DWORD channel = 0; channel < channels; ++channel)
      each[channel] = {Pcg32(start_of(seed, channel), channel), 0.0};
  }
};

namespace {

template <class State, class Sample>
void dither_buffer(State* state, Sample* dst, const Sample* src, DWORD frames, DWORD mask, DWORD max_bits) {
  if (!state || frames == 0) return;
  const double scale = std::ldexp(1.0, static_cast<int>(std::min(state->bits, max_bits)) - 1);
  const auto dither = ditherer<Sample>(state->type);
  for (DWORD channel = 0; channel < state->channels; ++channel)
    if (is_chosen(mask, channel))
      dither(dst + channel, src + channel, frames, state->channels, scale, state->each[channel]);
    else
      copy_channel(dst, src, frames, state->channels, channel);
}

} // namespace

CQvDither::CQvDither() noexcept : state_(nullptr) {}

CQvDither::CQvDither(const CQvDither& other) : state_(nullptr) {
  if (!other.state_) return;
  const State& from = *other.state_;
  auto copy = std::make_unique<State>(State{from.type, from.bits, from.channels, from.seed, nullptr});
  copy->each = std::make_unique<DitherChannel[]>(from.channels);
  std::copy_n(from.each.get(), from.channels, copy->each.get());
  state_ = copy.release();
}

CQvDither::CQvDither(CQvDither&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}

CQvDither& CQvDither::operator=(const CQvDither& other) {
  CQvDither copy(other);
  std::swap(state_, copy.state_);
  return *this;
}

CQvDither& CQvDither::operator=(CQvDither&& other) noexcept {
  CQvDither taken(std::move(other));
  std::swap(state_, taken.state_);
  return *this;
}

CQvDither::~CQvDither() { delete state_; }

HRESULT CQvDither::Init(QVDITHER type, DWORD bits, DWORD channels, ULONGLONG seed) {
  if (type > QVDITHER_SHAPED || bits < kMinBits || bits > kMaxBits || channels == 0) return E_INVALIDARG;
  std::unique_ptr<State> made(new (std::nothrow) State{type, bits, channels, seed, nullptr});
  if (!made) return E_OUTOFMEMORY;
  made->each.reset(new (std::nothrow) DitherChannel[channels]);
  if (!made->each) return E_OUTOFMEMORY;
  made->reset();
  delete std::exchange(state_, made.release());
  return S_OK;
}

void CQvDither::ProcessFloat(float* dst, const float* src, DWORD frames, DWORD channelMask) {
  dither_buffer(state_, dst, src, frames, channelMask, kFloatBits);
}

void CQvDither::ProcessDouble(double* dst, const double* src, DWORD frames, DWORD channelMask) {
  dither_buffer(state_, dst, src, frames, channelMask, kMaxBits);
}

void CQvDither::Reset() {
  if (state_) state_->reset();
}

DWORD CQvDither::getBits() const { return state_ ? state_->bits : 0; }
DWORD CQvDither::getChannels() const { return state_ ? state_->channels : 0; }
