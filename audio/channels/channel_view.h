// A caller's interleaved buffer, and its channels as runs of samples with a stride: the engine of the channel
// operations.
//
// Between equal types bytes move; between different ones samples are loaded normalised and stored by the conversion
// rule, in small blocks on the stack.
#pragma once

#include "audio/sample_type_table.h"

#include <cstddef>
#include <cstdint>

namespace qv::audio {

/// Samples per block.
inline constexpr size_t kStridedBlock = 256;

/// How samples of one type are read and written.
struct StridedType {
  QVSAMPLETYPE type;
  size_t bytes;
  void (*load)(double* dst, const uint8_t* src, size_t stride_bytes, size_t count);
  void (*store)(uint8_t* dst, size_t stride_bytes, const double* src, size_t count);
  void (*move)(uint8_t* dst, size_t dst_stride, const uint8_t* src, size_t src_stride, size_t count);
  uint8_t silence; ///< every byte of a silent sample
};

/// The type's row, or null for a type without kernels.
const StridedType* strided_type(QVSAMPLETYPE type);

/// One channel: where its first sample is and how far apart its samples are.
struct Channel {
  const StridedType* type;
  uint8_t* first;
  size_t stride_bytes;
};

/// Copies `frames` samples from channel to channel.
void copy_channel(const Channel& dst, const Channel& src, size_t frames);

/// Writes silence to `frames` samples.
void silence_channel(const Channel& channel, size_t frames);

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

/// For `count` frames (at most kStridedBlock) from `first_frame` on: the average of the channels first_channel,
/// first_channel + step, ... that the buffer has, normalised.
void average_channels(const ChannelView& view, DWORD first_channel, DWORD step, size_t first_frame, size_t count,
                      double* average);

} // namespace qv::audio
