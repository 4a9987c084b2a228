// A caller's interleaved buffer, checked once, and its channels.
#pragma once

#include "audio/channels/strided.h"

namespace qv::audio {

/// A buffer of `channels` interleaved channels of one type. Null type: not served.
struct ChannelView {
  const StridedType* type;
  DWORD channels;
  uint8_t* buffer;

  ChannelView(QVSAMPLETYPE sample_type, DWORD channel_count, const void* memory)
      : type(strided_type(sample_type)), channels(channel_count),
        buffer(const_cast<uint8_t*>(static_cast<const uint8_t*>(memory))) {}
  ChannelView(const WAVEFORMATEX* format, const void* memory)
      : ChannelView(QvAudio_GetSampleType(format), format->nChannels, memory) {}
  /// A mono buffer of the format's type.
  static ChannelView mono(const WAVEFORMATEX* format, const void* memory) {
    return {QvAudio_GetSampleType(format), 1, memory};
  }

  size_t frame_bytes() const { return type->bytes * channels; }
  Channel channel(DWORD index) const { return {type, buffer + index * type->bytes, frame_bytes()}; }
  bool has(DWORD index) const { return index < channels; }
};

/// What keeps an operation on these buffers from running: E_NOTIMPL, E_INVALIDARG, or S_OK.
template <class... Views>
HRESULT check_views(const Views&... views) {
  if ((!views.type || ...)) return E_NOTIMPL;
  if ((!views.buffer || ...)) return E_INVALIDARG;
  return S_OK;
}

} // namespace qv::audio
