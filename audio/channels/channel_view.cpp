#include "audio/channels/channel_view.h"

#include "audio/kernels/kernel_tables.h"

#include <algorithm>

namespace qv::audio {
namespace {

template <class Layout>
void load_strided(double* dst, const uint8_t* src, size_t stride_bytes, size_t count) {
  for (size_t i = 0; i < count; ++i)
    dst[i] = load_normalised<Layout>(src + i * stride_bytes);
}

template <class Layout>
void store_strided(uint8_t* dst, size_t stride_bytes, const double* src, size_t count) {
  for (size_t i = 0; i < count; ++i)
    store_normalised<Layout>(dst + i * stride_bytes, src[i]);
}

template <class Layout>
void move_strided(uint8_t* dst, size_t dst_stride, const uint8_t* src, size_t src_stride, size_t count) {
  for (size_t i = 0; i < count; ++i)
    std::memcpy(dst + i * dst_stride, src + i * src_stride, Layout::bytes);
}

template <class Layout>
constexpr StridedType row() {
  return {Layout::type,         Layout::bytes,
          load_strided<Layout>, store_strided<Layout>,
          move_strided<Layout>, Layout::encoding == Encoding::kOffset ? uint8_t{0x80} : uint8_t{0}};
}

constexpr auto kStridedTypes = for_types<kCopiedTypes>([]<class Layout>() { return row<Layout>(); });

} // namespace

const StridedType* strided_type(QVSAMPLETYPE type) {
  const int index = sample_type_index(type);
  return index < 0 ? nullptr : &kStridedTypes[static_cast<size_t>(index)];
}

void copy_channel(const Channel& dst, const Channel& src, size_t frames) {
  if (dst.type == src.type) {
    dst.type->move(dst.first, dst.stride_bytes, src.first, src.stride_bytes, frames);
    return;
  }
  double block[kStridedBlock];
  for (size_t done = 0; done < frames; done += kStridedBlock) {
    const size_t count = std::min(kStridedBlock, frames - done);
    src.type->load(block, src.first + done * src.stride_bytes, src.stride_bytes, count);
    dst.type->store(dst.first + done * dst.stride_bytes, dst.stride_bytes, block, count);
  }
}

void silence_channel(const Channel& channel, size_t frames) {
  for (size_t i = 0; i < frames; ++i)
    std::memset(channel.first + i * channel.stride_bytes, channel.type->silence, channel.type->bytes);
}

void average_channels(const ChannelView& view, DWORD first_channel, DWORD step, size_t first_frame, size_t count,
                      double* average) {
  double block[kStridedBlock];
  double channels = 0.0;
  std::fill_n(average, count, 0.0);
  for (DWORD c = first_channel; c < view.channels; c += step, channels += 1.0) {
    const Channel channel = view.channel(c);
    view.type->load(block, channel.first + first_frame * channel.stride_bytes, channel.stride_bytes, count);
    for (size_t k = 0; k < count; ++k)
      average[k] += block[k];
  }
  for (size_t k = 0; k < count; ++k)
    average[k] /= channels;
}

} // namespace qv::audio
