// Mixing under an envelope of attack, sustain and release.
#include "audio/kernels/kernel_tables.h"
#include "audio/kernels/reference_kernels.h"

#include <algorithm>
#include <cstddef>

namespace qv::audio {
namespace {

template <class Dst, class Src>
void mix_frame(uint8_t* dst, const uint8_t* src, UINT channels, double gain) {
  for (UINT channel = 0; channel < channels; ++channel, dst += Dst::bytes, src += Src::bytes) {
    if constexpr (Dst::type == QVSAMPLE_FLOAT32 && Src::type == QVSAMPLE_FLOAT32) {
      if (channels > 2) {
        reference_mix_single(dst, src, static_cast<float>(gain));
        continue;
      }
    }
    reference_mix_sample<Dst, Src>(dst, src, gain);
  }
}

template <class Dst, class Src>
void mix_enveloped(void* dst, const void* src, LONG frames, UINT channels, const QVAUDIO_ASR* envelope) {
  if (nothing_to_mix<Dst, Src>(dst, src, frames, channels)) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  for (LONG k = 0; k < frames; ++k) {
    const double at = static_cast<double>(envelope->position) + k;
    mix_frame<Dst, Src>(to, from, channels, envelope->gainStart + at * envelope->gainStep);
    to += size_t{channels} * Dst::bytes;
    from += size_t{channels} * Src::bytes;
  }
}

constexpr auto kMixEx = for_pairs<kMixedTypes>([]<class Dst, class Src>() { return mix_enveloped<Dst, Src>; });

constexpr DWORD kForever = 0xFFFFFFFF;

/// The plain mix kernel with 1.0 for every channel. More channels than a fixed array of gains holds go through a flat
/// envelope, which gives the same sums.
HRESULT mix_at_unity(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                     DWORD frames) {
  constexpr size_t kUsualChannels = 64;
  if (srcFormat->nChannels > kUsualChannels) {
    QVAUDIO_ASR flat{};
    flat.remaining = kForever;
    flat.gainStart = 1.0;
    const HRESULT result = QvAudio_MixEx(dstFormat, dst, srcFormat, src, frames, &flat);
    return result == S_OK ? S_FALSE : result;
  }
  double gains[kUsualChannels];
  std::fill_n(gains, kUsualChannels, 1.0);
  const HRESULT result = QvAudio_Mix(dstFormat, dst, srcFormat, src, frames, gains);
  return result == S_OK ? S_FALSE : result;
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

HRESULT QvAudio_ASRReCook(QVAUDIO_ASR* envelope) {
  if (!envelope) return E_INVALIDARG;
  constexpr DWORD kSegments = std::size(QVAUDIO_ASR{}.segments);
  envelope->position = 0;
  while (envelope->next < kSegments && envelope->segments[envelope->next].length == 0)
    ++envelope->next;
  if (envelope->next >= kSegments) {
    envelope->remaining = kForever;
    envelope->gainStart = envelope->segments[kSegments - 1].gainEnd;
    envelope->gainStep = 0.0;
    return S_FALSE;
  }
  const QVAUDIO_ASRSEGMENT& segment = envelope->segments[envelope->next++];
  envelope->remaining = segment.length;
  envelope->gainStart = segment.gainStart;
  envelope->gainStep = (segment.gainEnd - segment.gainStart) / segment.length;
  return S_OK;
}

QVAUDIO_MIXEXFUNC QvAudio_GetMixExFunction(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat) {
  return entry_of(kMixEx, QvAudio_GetSampleType(dstFormat), QvAudio_GetSampleType(srcFormat));
}

HRESULT QvAudio_MixEx(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                      DWORD frames, QVAUDIO_ASR* envelope) {
  if (!envelope) return mix_at_unity(dstFormat, dst, srcFormat, src, frames);
  const auto kernel = QvAudio_GetMixExFunction(dstFormat, srcFormat);
  if (uint64_t{frames} * srcFormat->nChannels == 0) return S_OK;
  if (!kernel) return E_NOTIMPL;
  if (uint64_t{frames} * srcFormat->nChannels > kMaxKernelCount) return E_INVALIDARG;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  while (frames > 0) {
    if (envelope->remaining == 0) QvAudio_ASRReCook(envelope);
    const DWORD run = std::min(frames, envelope->remaining);
    kernel(to, from, static_cast<LONG>(run), srcFormat->nChannels, envelope);
    envelope->position += run;
    envelope->remaining -= run;
    to += size_t{run} * dstFormat->nBlockAlign;
    from += size_t{run} * srcFormat->nBlockAlign;
    frames -= run;
    if (envelope->remaining == 0) QvAudio_ASRReCook(envelope);
  }
  return S_OK;
}
