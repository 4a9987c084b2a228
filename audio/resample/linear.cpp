// Linear interpolation, a kernel per sample type.
#include "audio/resample/block.h"
#include "audio/resample/type_functions.h"

namespace qv::audio {

namespace {

/// The value of a frame that may be one of the history's, or behind the last.
template <class Layout>
double frame_value(const ResampleBlock& block, int64_t frame, DWORD channel) {
  if (frame < 0) {
    const int64_t kept = std::max<int64_t>(frame + block.history_frames, 0);
    return block.history[static_cast<size_t>(kept) * block.channels + channel];
  }
  const auto last = static_cast<int64_t>(block.source) - 1;
  if (last < 0) return 0.0;
  const auto at = static_cast<size_t>(std::min(frame, last));
  return load_normalised<Layout>(block.src + (at * block.channels + channel) * Layout::bytes);
}

/// At the block's edges, where one of the two frames is not in it.
template <class Layout>
void edge_frame(const ResampleBlock& block, DWORD output, SourcePosition position, double fraction) {
  uint8_t* dst = block.dst + size_t{output} * block.channels * Layout::bytes;
  for (DWORD channel = 0; channel < block.channels; ++channel, dst += Layout::bytes) {
    const double first = frame_value<Layout>(block, position.frame, channel);
    const double second = frame_value<Layout>(block, position.frame + 1, channel);
    store_normalised<Layout>(dst, first + (second - first) * fraction);
  }
}

/// kChannels: 0 for any number.
template <class Layout, DWORD kChannels>
void run_linear(const ResampleBlock& block) {
  const DWORD channels = kChannels == 0 ? block.channels : kChannels;
  const size_t frame_bytes = size_t{channels} * Layout::bytes;
  const uint64_t denominator = block.timeline->denominator();
  const auto whole = static_cast<int64_t>(block.timeline->step() / denominator);
  const uint64_t part = block.timeline->step() % denominator;
  const double unit = 1.0 / static_cast<double>(denominator);
  const int64_t inner_end = static_cast<int64_t>(block.source) - 1; // frames below have a successor
  SourcePosition at = block.timeline->position(0);
  uint8_t* dst = block.dst;
  for (DWORD output = 0; output < block.frames; ++output, dst += frame_bytes) {
    const double fraction = static_cast<double>(static_cast<int64_t>(at.part)) * unit;
    if (at.frame < 0 || at.frame >= inner_end) [[unlikely]] {
      edge_frame<Layout>(block, output, at, fraction);
    } else {
      const uint8_t* const src = block.src + static_cast<size_t>(at.frame) * frame_bytes;
      for (DWORD channel = 0; channel < channels; ++channel) {
        const double first = load_normalised<Layout>(src + channel * Layout::bytes);
        const double second = load_normalised<Layout>(src + frame_bytes + channel * Layout::bytes);
        store_normalised<Layout>(dst + channel * Layout::bytes, first + (second - first) * fraction);
      }
    }
    at.frame += whole;
    at.part += part;
    const bool carries = at.part >= denominator;
    at.frame += carries ? 1 : 0;
    at.part -= carries ? denominator : 0;
  }
}

template <class Layout>
void linear(const ResampleBlock& block) {
  switch (block.channels) {
  case 1: run_linear<Layout, 1>(block); break;
  case 2: run_linear<Layout, 2>(block); break;
  default: run_linear<Layout, 0>(block);
  }
}

template <class Layout>
void load(double* dst, const uint8_t* src, size_t samples) {
  for (size_t k = 0; k < samples; ++k)
    dst[k] = load_normalised<Layout>(src + k * Layout::bytes);
}

template <class Layout>
struct LinearOf {
  static constexpr LinearKernel value = linear<Layout>;
};
template <class Layout>
struct LoadOf {
  static constexpr LoadFrames value = load<Layout>;
};

constexpr auto kLinearKernels = function_table<LinearKernel, LinearOf>();
constexpr auto kLoaders = function_table<LoadFrames, LoadOf>();

} // namespace

LinearKernel linear_kernel(QVSAMPLETYPE type) {
  const int index = sample_type_index(type);
  return index < 0 ? nullptr : kLinearKernels[static_cast<size_t>(index)];
}

LoadFrames load_frames(QVSAMPLETYPE type) {
  const int index = sample_type_index(type);
  return index < 0 ? nullptr : kLoaders[static_cast<size_t>(index)];
}

} // namespace qv::audio
