// One-shot operations between the channels of two buffers.
#include "audio/channels/channel_view.h"
#include "audio/kernels/kernel_tables.h"

#include "qv/audio_channels.h"
#include "qv/audio_kernels.h"

#include <algorithm>

namespace qv::audio {
namespace {

HRESULT copy_one(const ChannelView& dst, DWORD dst_channel, const ChannelView& src, DWORD src_channel, DWORD frames) {
  if (const HRESULT result = check_views(dst, src); result != S_OK) return result;
  if (!dst.has(dst_channel) || !src.has(src_channel)) return E_INVALIDARG;
  copy_channel(dst.channel(dst_channel), src.channel(src_channel), frames);
  return S_OK;
}

/// Destination channel i as the average of the source channels i, i + n, i + 2n, ...
void average_into(const ChannelView& dst, DWORD i, const ChannelView& src, size_t frames) {
  double average[kStridedBlock];
  const Channel target = dst.channel(i);
  for (size_t done = 0; done < frames; done += kStridedBlock) {
    const size_t count = std::min(kStridedBlock, frames - done);
    average_channels(src, i, dst.channels, done, count, average);
    dst.type->store(target.first + done * target.stride_bytes, target.stride_bytes, average, count);
  }
}

HRESULT change_channels(const ChannelView& dst, const ChannelView& src, DWORD frames, bool average) {
  if (const HRESULT result = check_views(dst, src); result != S_OK) return result;
  const bool surplus = average && src.channels > dst.channels;
  for (DWORD i = 0; i < dst.channels; ++i)
    if (surplus)
      average_into(dst, i, src, frames);
    else if (src.channels == 1 || i < src.channels)
      copy_channel(dst.channel(i), src.channel(src.channels == 1 ? 0 : i), frames);
    else
      silence_channel(dst.channel(i), frames);
  return S_OK;
}

/// In place, a frame must be done with before the next one overwrites it: frame by frame.
HRESULT change_channels_in_place(const ChannelView& view, DWORD from_channels, DWORD frames, bool average) {
  if (const HRESULT result = check_views(view); result != S_OK) return result;
  const size_t from_bytes = view.type->bytes * from_channels;
  for (DWORD frame = 0; frame < frames; ++frame) {
    const ChannelView src(view.type->type, from_channels, view.buffer + frame * from_bytes);
    const ChannelView dst(view.type->type, view.channels, view.buffer + frame * view.frame_bytes());
    change_channels(dst, src, 1, average);
  }
  return S_OK;
}

HRESULT channel_change(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                       DWORD frames, bool average) {
  if (frames == 0) return S_OK;
  const ChannelView to(dstFormat, dst);
  const ChannelView from(srcFormat, src);
  if (dst && dst == src && to.type == from.type && to.channels <= from.channels)
    return change_channels_in_place(to, from.channels, frames, average);
  return change_channels(to, from, frames, average);
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

HRESULT QvAudio_CopyChannels(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                             DWORD frames, const LONG* map) {
  if (!map) return QvAudio_Copy(dstFormat, dst, srcFormat, src, frames, 1.0f);
  if (frames == 0) return S_OK;
  const ChannelView to(dstFormat, dst);
  const ChannelView from(srcFormat, src);
  if (const HRESULT result = check_views(to, from); result != S_OK) return result;
  for (DWORD i = 0; i < from.channels; ++i)
    if (map[i] >= 0 && to.has(static_cast<DWORD>(map[i])))
      copy_channel(to.channel(static_cast<DWORD>(map[i])), from.channel(i), frames);
  return S_OK;
}

HRESULT QvAudio_MixChannels(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                            DWORD frames, const LONG* map, const double* gains) {
  if (frames == 0) return S_OK;
  const auto kernel = QvAudio_GetMixChannelsFunction(dstFormat, srcFormat);
  if (!kernel) return E_NOTIMPL;
  if (!dst || !src || frames > kMaxKernelCount) return E_INVALIDARG;
  const DWORD dst_channels = dstFormat->nChannels;
  const DWORD src_channels = srcFormat->nChannels;
  for (DWORD i = 0; i < src_channels; ++i) {
    const int64_t target = map ? map[i] : int64_t{i};
    if (target < 0 || target >= dst_channels) continue;
    kernel(dst, dst_channels, static_cast<DWORD>(target), src, src_channels, i, static_cast<LONG>(frames),
           gains ? gains[i] : 1.0);
  }
  return S_OK;
}

HRESULT QvAudio_CopyChannelToAll(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                 const void* src, DWORD srcChannel, DWORD frames) {
  if (frames == 0) return S_OK;
  const ChannelView to(dstFormat, dst);
  for (DWORD i = 0; i < to.channels; ++i) {
    const HRESULT result = copy_one(to, i, ChannelView(srcFormat, src), srcChannel, frames);
    if (result != S_OK) return result;
  }
  return S_OK;
}

HRESULT QvAudio_CopyChannelToChannel(const WAVEFORMATEX* dstFormat, void* dst, DWORD dstChannel,
                                     const WAVEFORMATEX* srcFormat, const void* src, DWORD srcChannel, DWORD frames) {
  if (frames == 0) return S_OK;
  return copy_one(ChannelView(dstFormat, dst), dstChannel, ChannelView(srcFormat, src), srcChannel, frames);
}

HRESULT QvAudio_CopyChannelToMultiMono(const WAVEFORMATEX* dstFormat, void* const* dsts, DWORD count,
                                       const WAVEFORMATEX* srcFormat, const void* src, DWORD srcChannel, DWORD frames) {
  if (frames == 0) return S_OK;
  if (!dsts) return E_INVALIDARG;
  for (DWORD i = 0; i < count; ++i) {
    if (!dsts[i]) continue;
    const HRESULT result =
        copy_one(ChannelView::mono(dstFormat, dsts[i]), 0, ChannelView(srcFormat, src), srcChannel, frames);
    if (result != S_OK) return result;
  }
  return S_OK;
}

HRESULT QvAudio_CopyChannelToMultiMono2(const WAVEFORMATEX* dstFormat, void* const* dsts, DWORD count,
                                        const WAVEFORMATEX* srcFormat, const void* src, DWORD firstChannel,
                                        DWORD frames) {
  if (frames == 0) return S_OK;
  if (!dsts || uint64_t{firstChannel} + count > srcFormat->nChannels) return E_INVALIDARG;
  for (DWORD i = 0; i < count; ++i) {
    const HRESULT result =
        QvAudio_CopyChannelToMultiMono(dstFormat, dsts + i, 1, srcFormat, src, firstChannel + i, frames);
    if (result != S_OK) return result;
  }
  return S_OK;
}

HRESULT QvAudio_ChannelChange(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                              DWORD frames) {
  return channel_change(dstFormat, dst, srcFormat, src, frames, false);
}

HRESULT QvAudio_ChannelChangeAvg(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                 const void* src, DWORD frames) {
  return channel_change(dstFormat, dst, srcFormat, src, frames, true);
}
