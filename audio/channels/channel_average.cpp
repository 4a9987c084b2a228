#include "audio/channels/channel_average.h"

#include <algorithm>

namespace qv::audio {

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
