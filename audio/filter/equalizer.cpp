// The equaliser: biquads one after the other.
#include "qv/equalizer.h"

#include "audio/filter/biquad_step.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>

using namespace qv::audio;

struct QVEQ {
  DWORD channels;
  DWORD bands;                        ///< those that do something
  std::unique_ptr<QVBIQUAD[]> states; ///< the bands of the first channel, then those of the next

  size_t count() const { return size_t{channels} * bands; }
};

namespace {

/// Their bytes still can be counted.
constexpr size_t kMostBiquads = SIZE_MAX / 2 / sizeof(QVBIQUAD);

DWORD type_of(DWORD band, DWORD count) {
  if (count == 1) return QVBIQUAD_PEAK;
  if (band == 0) return QVBIQUAD_LOWSHELF;
  return band == count - 1 ? QVBIQUAD_HIGHSHELF : QVBIQUAD_PEAK;
}

/// Fills one channel's biquads, and answers their number.
DWORD make_bands(QVBIQUAD* biquads, DWORD sampleRate, const QVEQBAND* bands, DWORD count) {
  DWORD made = 0;
  for (DWORD band = 0; band < count; ++band) {
    const QVEQBAND& from = bands[band];
    if (from.gain == 0.0) continue;
    const QVBIQUADPARAMS params{sampleRate, from.frequency, from.gain, from.shape, from.shape, type_of(band, count)};
    QvMakeBiquad(&params, &biquads[made++]);
  }
  return made;
}

template <class Sample>
void equalize_channel(Sample* dst, const Sample* src, size_t frames, size_t stride, QVBIQUAD* biquads, size_t bands) {
  for (size_t k = 0; k < frames; ++k) {
    double value = static_cast<double>(src[k * stride]);
    for (size_t band = 0; band < bands; ++band)
      value = biquad_step(value, biquads[band]);
    dst[k * stride] = static_cast<Sample>(value);
  }
}

template <class Sample>
HRESULT equalize(HQVEQ eq, Sample* dst, const Sample* src, DWORD frames) {
  if (eq == nullptr) return E_INVALIDARG;
  if (frames == 0) return S_OK;
  if (dst == nullptr || src == nullptr) return E_INVALIDARG;
  for (size_t channel = 0; channel < eq->channels; ++channel) {
    equalize_channel(dst + channel, src + channel, frames, eq->channels, eq->states.get() + channel * eq->bands,
                     eq->bands);
  }
  return S_OK;
}

} // namespace

HRESULT QvEq_Init(HQVEQ* eq, DWORD sampleRate, DWORD channels, const QVEQBAND* bands, DWORD count) {
  if (eq == nullptr) return E_INVALIDARG;
  *eq = nullptr;
  if (bands == nullptr || count == 0 || channels == 0 || sampleRate == 0) return E_INVALIDARG;
  if (count > kMostBiquads / channels) return E_OUTOFMEMORY;
  std::unique_ptr<QVEQ> made(new (std::nothrow) QVEQ{channels, count, nullptr});
  if (made == nullptr) return E_OUTOFMEMORY;
  made->states.reset(new (std::nothrow) QVBIQUAD[made->count()]);
  if (made->states == nullptr) return E_OUTOFMEMORY;
  QVBIQUAD* const first = made->states.get();
  made->bands = make_bands(first, sampleRate, bands, count);
  for (size_t channel = 1; channel < channels; ++channel) {
    std::copy_n(first, made->bands, first + channel * made->bands);
  }
  *eq = made.release();
  return S_OK;
}

HRESULT QvEq_ProcessFloat(HQVEQ eq, float* dst, const float* src, DWORD frames) {
  return equalize(eq, dst, src, frames);
}

HRESULT QvEq_ProcessDouble(HQVEQ eq, double* dst, const double* src, DWORD frames) {
  return equalize(eq, dst, src, frames);
}

HRESULT QvEq_Reset(HQVEQ eq) {
  if (eq == nullptr) return E_INVALIDARG;
  std::for_each_n(eq->states.get(), eq->count(), [](QVBIQUAD& biquad) { biquad.w1 = biquad.w2 = 0.0; });
  return S_OK;
}

HRESULT QvEq_Close(HQVEQ eq) {
  delete eq;
  return S_OK;
}
