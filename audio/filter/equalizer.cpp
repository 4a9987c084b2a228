// The equaliser: biquads one after the other.
#include "qv/equalizer.h"

#include "audio/filter/cascade.h"

#include <cstdint>
#include <exception>

using namespace qv::audio;

struct QVEQ {
  Cascade cascade; ///< of the bands that do something
};

namespace {

/// The most states of which the bytes can be counted.
constexpr size_t kMaxStates = SIZE_MAX / 2 / sizeof(IirState);

DWORD type_of(DWORD band, DWORD count) {
  if (count == 1) return QVBIQUAD_PEAK;
  if (band == 0) return QVBIQUAD_LOWSHELF;
  return band == count - 1 ? QVBIQUAD_HIGHSHELF : QVBIQUAD_PEAK;
}

IirSections make_sections(DWORD sampleRate, const QVEQBAND* bands, DWORD count) {
  IirSections sections;
  for (DWORD band = 0; band < count; ++band) {
    const QVEQBAND& from = bands[band];
    if (from.gain == 0.0) continue;
    const QVBIQUADPARAMS params{sampleRate, from.frequency, from.gain, from.shape, from.shape, type_of(band, count)};
    QVBIQUAD made;
    QvMakeBiquad(&params, &made);
    sections.push_back({made.b0, made.b1, made.b2, made.c1, made.c2});
  }
  return sections;
}

template <class Sample>
HRESULT equalize(HQVEQ eq, Sample* dst, const Sample* src, DWORD frames) {
  if (!eq) return E_INVALIDARG;
  if (frames == 0) return S_OK;
  if (!dst || !src) return E_INVALIDARG;
  eq->cascade.process(dst, src, frames, 0);
  return S_OK;
}

} // namespace

HRESULT QvEq_Init(HQVEQ* eq, DWORD sampleRate, DWORD channels, const QVEQBAND* bands, DWORD count) {
  if (!eq) return E_INVALIDARG;
  *eq = nullptr;
  if (!bands || count == 0 || channels == 0 || sampleRate == 0) return E_INVALIDARG;
  if (count > kMaxStates / channels) return E_OUTOFMEMORY;
  try {
    *eq = new QVEQ{Cascade(make_sections(sampleRate, bands, count), channels, true)};
    return S_OK;
  } catch (const std::exception&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT QvEq_ProcessFloat(HQVEQ eq, float* dst, const float* src, DWORD frames) {
  return equalize(eq, dst, src, frames);
}

HRESULT QvEq_ProcessDouble(HQVEQ eq, double* dst, const double* src, DWORD frames) {
  return equalize(eq, dst, src, frames);
}

HRESULT QvEq_Reset(HQVEQ eq) {
  if (!eq) return E_INVALIDARG;
  eq->cascade.reset();
  return S_OK;
}

HRESULT QvEq_Close(HQVEQ eq) {
  delete eq;
  return S_OK;
}
