// Averages of groups of frames.
#include "audio/kernels/kernel_tables.h"

#include "qv/resample.h"

namespace qv::audio {

namespace {

/// Averages groups of frames from the first to the last, so that dst may be src: a group is read whole before the frame
/// that it becomes, which lies no further on, is written.
template <class Layout>
void average(uint8_t* dst, const uint8_t* src, size_t frames, size_t factor, size_t channels) {
  for (size_t frame = 0; frame < frames; ++frame)
    for (size_t channel = 0; channel < channels; ++channel) {
      double sum = 0.0;
      for (size_t k = 0; k < factor; ++k)
        sum += load_normalised<Layout>(src + ((frame * factor + k) * channels + channel) * Layout::bytes);
      store_normalised<Layout>(dst + (frame * channels + channel) * Layout::bytes, sum / static_cast<double>(factor));
    }
}

constexpr auto kAverages = for_types<kCopiedTypes>([]<class Layout>() { return average<Layout>; });

} // namespace

} // namespace qv::audio

DWORD QvDownSample(QVSAMPLETYPE type, DWORD channels, void* dst, const void* src, DWORD srcFrames, DWORD factor) {
  const auto average = qv::audio::entry_of(qv::audio::kAverages, type);
  if (factor == 0 || !average) return 0;
  const DWORD frames = srcFrames / factor;
  average(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), frames, factor, channels);
  return frames;
}
