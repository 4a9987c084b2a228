// The average over channels of a buffer.
#pragma once

#include "audio/channels/channel_view.h"

namespace qv::audio {

/// For `count` frames (at most kStridedBlock) from `first_frame` on: the average of the channels first_channel,
/// first_channel + step, ... that the buffer has, normalised.
void average_channels(const ChannelView& view, DWORD first_channel, DWORD step, size_t first_frame, size_t count,
                      double* average);

} // namespace qv::audio
