// One-shot operations on a buffer in place: silence, mono, swapping, filling, reversing.
#include "audio/channels/channel_view.h"

#include "qv/audio_channels.h"

#include <algorithm>
#include <cstring>

namespace qv::audio {
namespace {

HRESULT silence_one(const ChannelView& view, DWORD channel, DWORD frames) {
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(view); result != S_OK) return result;
  if (!view.has(channel)) return E_INVALIDARG;
  silence_channel(view.channel(channel), frames);
  return S_OK;
}

/// Exchanges `count` runs of `bytes` bytes, `a` going forward and `b` by `b_step` (which may be negative).
void swap_runs(uint8_t* a, uint8_t* b, size_t bytes, ptrdiff_t a_step, ptrdiff_t b_step, size_t count) {
  for (size_t i = 0; i < count; ++i, a += a_step, b += b_step)
    std::swap_ranges(a, a + bytes, b);
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

HRESULT QvAudio_FillSilence(const WAVEFORMATEX* format, void* buffer, DWORD frames) {
  const StridedType* type = strided_type(QvAudio_GetSampleType(format));
  if (!type) return E_FAIL;
  if (frames == 0) return S_OK;
  if (!buffer) return E_INVALIDARG;
  std::memset(buffer, type->silence, size_t{format->nBlockAlign} * frames);
  return S_OK;
}

HRESULT QvAudio_FillSilenceChannel(const WAVEFORMATEX* format, void* buffer, DWORD channel, DWORD frames) {
  if (!strided_type(QvAudio_GetSampleType(format))) return E_FAIL;
  return silence_one(ChannelView(format, buffer), channel, frames);
}

HRESULT QvAudio_MuteChannel(const WAVEFORMATEX* format, void* buffer, DWORD channel, DWORD frames) {
  return silence_one(ChannelView(format, buffer), channel, frames);
}

HRESULT QvAudio_MuteChannel(QVSAMPLETYPE type, DWORD channels, void* buffer, DWORD channel, DWORD frames) {
  return silence_one(ChannelView(type, channels, buffer), channel, frames);
}

HRESULT QvAudio_MonoChannel(const WAVEFORMATEX* format, void* buffer, DWORD frames) {
  const ChannelView view(format, buffer);
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(view); result != S_OK) return result;
  double average[kStridedBlock];
  for (size_t done = 0; done < frames; done += kStridedBlock) {
    const size_t count = std::min<size_t>(kStridedBlock, frames - done);
    average_channels(view, 0, 1, done, count, average);
    for (DWORD c = 0; c < view.channels; ++c) {
      const Channel channel = view.channel(c);
      view.type->store(channel.first + done * channel.stride_bytes, channel.stride_bytes, average, count);
    }
  }
  return S_OK;
}

HRESULT QvAudio_SwapStereoChannels(const WAVEFORMATEX* format, void* buffer, DWORD frames) {
  const ChannelView view(format, buffer);
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(view); result != S_OK) return result;
  if (view.channels != 2) return E_INVALIDARG;
  const auto step = static_cast<ptrdiff_t>(view.frame_bytes());
  swap_runs(view.buffer, view.buffer + view.type->bytes, view.type->bytes, step, step, frames);
  return S_OK;
}

HRESULT QvAudio_FillWithSample(const WAVEFORMATEX* format, void* buffer, const void* sample, DWORD frames) {
  const ChannelView view(format, buffer);
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(view, ChannelView(format, sample)); result != S_OK) return result;
  for (size_t i = 0; i < frames; ++i)
    std::memcpy(view.buffer + i * view.frame_bytes(), sample, view.frame_bytes());
  return S_OK;
}

HRESULT QvAudio_Reverse(const WAVEFORMATEX* format, void* buffer, DWORD frames) {
  const ChannelView view(format, buffer);
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(view); result != S_OK) return result;
  const auto step = static_cast<ptrdiff_t>(view.frame_bytes());
  swap_runs(view.buffer, view.buffer + (size_t{frames} - 1) * view.frame_bytes(), view.frame_bytes(), step, -step,
            frames / 2);
  return S_OK;
}
