// One-shot operations between buffers of one sample type and different channel counts.
#include "audio/channels/channel_view.h"
#include "audio/kernels/kernel_tables.h"

#include "qv/audio_channels.h"

namespace qv::audio {
namespace {

/// Copies `count` neighbouring channels.
HRESULT copy_range(const ChannelView& dst, DWORD dst_first, const ChannelView& src, DWORD src_first, DWORD count,
                   DWORD frames) {
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(dst, src); result != S_OK) return result;
  if (uint64_t{dst_first} + count > dst.channels || uint64_t{src_first} + count > src.channels) return E_INVALIDARG;
  for (DWORD i = 0; i < count; ++i)
    copy_channel(dst.channel(dst_first + i), src.channel(src_first + i), frames);
  return S_OK;
}

template <class Kernel, class... Buffers>
HRESULT run_stereo(Kernel kernel, DWORD frames, Buffers... buffers) {
  if (frames == 0) return S_OK;
  if (!kernel) return E_NOTIMPL;
  if ((!buffers || ...) || frames > kMaxKernelCount) return E_INVALIDARG;
  kernel(buffers..., static_cast<LONG>(frames));
  return S_OK;
}

} // namespace
} // namespace qv::audio

using namespace qv::audio;

HRESULT QvAudio_ExtractChannel(const WAVEFORMATEX* format, void* dst, const void* src, DWORD channel, DWORD frames) {
  return QvAudio_ExtractChannel(QvAudio_GetSampleType(format), format->nChannels, dst, src, channel, frames);
}

HRESULT QvAudio_ExtractChannel(QVSAMPLETYPE type, DWORD channels, void* dst, const void* src, DWORD channel,
                               DWORD frames) {
  return copy_range(ChannelView(type, 1, dst), 0, ChannelView(type, channels, src), channel, 1, frames);
}

HRESULT QvAudio_ExtractChannelPair(const WAVEFORMATEX* format, void* dst, const void* src, DWORD firstChannel,
                                   DWORD frames) {
  const QVSAMPLETYPE type = QvAudio_GetSampleType(format);
  return copy_range(ChannelView(type, 2, dst), 0, ChannelView(format, src), firstChannel, 2, frames);
}

HRESULT QvAudio_InsertChannel(const WAVEFORMATEX* format, void* dst, const void* src, DWORD channel, DWORD frames) {
  return copy_range(ChannelView(format, dst), channel, ChannelView::mono(format, src), 0, 1, frames);
}

HRESULT QvAudio_InterleaveStereo(const WAVEFORMATEX* format, void* dst, const void* left, const void* right,
                                 DWORD frames) {
  return QvAudio_InterleaveStereoEx(format, dst, format, left, right, frames);
}

HRESULT QvAudio_InterleaveStereoEx(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                   const void* left, const void* right, DWORD frames) {
  return run_stereo(QvAudio_GetStereoInterleaveFunction(dstFormat, srcFormat), frames, dst, left, right);
}

HRESULT QvAudio_DeInterleaveStereo(const WAVEFORMATEX* format, void* left, void* right, const void* src, DWORD frames) {
  return QvAudio_DeInterleaveStereoEx(format, left, right, format, src, frames);
}

HRESULT QvAudio_DeInterleaveStereoEx(const WAVEFORMATEX* dstFormat, void* left, void* right,
                                     const WAVEFORMATEX* srcFormat, const void* src, DWORD frames) {
  return run_stereo(QvAudio_GetStereoDeInterleaveFunction(dstFormat, srcFormat), frames, left, right, src);
}

HRESULT QvAudio_CopySwapStereoChannels(const WAVEFORMATEX* format, void* dst, const void* src, DWORD frames) {
  const ChannelView to(format, dst);
  const ChannelView from(format, src);
  if (frames == 0) return S_OK;
  if (const HRESULT result = check_views(to, from); result != S_OK) return result;
  if (to.channels != 2) return E_INVALIDARG;
  copy_channel(to.channel(0), from.channel(1), frames);
  copy_channel(to.channel(1), from.channel(0), frames);
  return S_OK;
}
