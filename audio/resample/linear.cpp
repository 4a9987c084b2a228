// Linear interpolation, a kernel per sample type.
#include "audio/kernels/double_pair.h"
#include "audio/kernels/kernel_tables.h"
#include "audio/resample/block.h"

#include "qv/cpu.h"

namespace qv::audio {

namespace {

/// Returns the value of any frame: one before the block is taken from the history, one behind the last is the last.
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

/// Makes an output at an edge of the block, where one of the two frames around it is not in the block.
template <class Layout>
void edge_frame(const ResampleBlock& block, DWORD output, SourcePosition position, double fraction) {
  uint8_t* dst = block.dst + size_t{output} * block.channels * Layout::bytes;
  for (DWORD channel = 0; channel < block.channels; ++channel, dst += Layout::bytes) {
    const double first = frame_value<Layout>(block, position.frame, channel);
    const double second = frame_value<Layout>(block, position.frame + 1, channel);
    store_normalised<Layout>(dst, first + (second - first) * fraction);
  }
}

/// Makes an output between two frames that are both in the block; kChannels is 0 for any number.
template <class Layout, DWORD kChannels>
void inner_frame(uint8_t* dst, const uint8_t* src, size_t frame_bytes, DWORD channels, double fraction) {
  if constexpr (Layout::type == QVSAMPLE_FLOAT32 && kChannels == 2) {
    const auto* const frames = reinterpret_cast<const float*>(src);
    const PairOfDoubles first = load_pair(frames);
    const PairOfDoubles second = load_pair(frames + 2);
    store_pair(reinterpret_cast<float*>(dst), first + (second - first) * fraction);
  } else {
    for (DWORD channel = 0; channel < channels; ++channel) {
      const double first = load_normalised<Layout>(src + channel * Layout::bytes);
      const double second = load_normalised<Layout>(src + frame_bytes + channel * Layout::bytes);
      store_normalised<Layout>(dst + channel * Layout::bytes, first + (second - first) * fraction);
    }
  }
}

/// The source position of an output, and then of every stride-th output behind it.
class Stepper {
public:
  Stepper(const Timeline& timeline, DWORD output, uint64_t stride)
      : at_(timeline.position(output)), whole_(static_cast<int64_t>(stride * timeline.step() / timeline.denominator())),
        part_(stride * timeline.step() % timeline.denominator()), denominator_(timeline.denominator()),
        unit_(1.0 / static_cast<double>(timeline.denominator())) {}

  const SourcePosition& at() const { return at_; }
  double fraction() const { return static_cast<double>(static_cast<int64_t>(at_.part)) * unit_; }
  void advance() {
    at_.part += part_;
    const uint64_t carry = at_.part >= denominator_ ? 1 : 0;
    at_.part -= denominator_ & (0 - carry); // no branch: the pattern is long
    at_.frame += whole_ + static_cast<int64_t>(carry);
  }

private:
  SourcePosition at_;
  int64_t whole_;
  uint64_t part_;
  uint64_t denominator_;
  double unit_;
};

/// Returns the first output that stands at a frame or behind it; the number of outputs when none does.
DWORD first_output_at(const ResampleBlock& block, int64_t frame) {
  DWORD below = 0;
  DWORD above = block.frames;
  while (below < above) {
    const DWORD middle = below + (above - below) / 2;
    if (block.timeline->position(middle).frame < frame)
      below = middle + 1;
    else
      above = middle;
  }
  return below;
}

/// Makes outputs from `begin` on with the loop of the kernel level, and returns how many; 0 where it has none.
DWORD run_stereo(const ResampleBlock& block, DWORD begin, DWORD end) {
  const Timeline& timeline = *block.timeline;
  constexpr uint64_t kMax = uint64_t{1} << 32;
  const bool fits = timeline.step() < kMax && timeline.denominator() < kMax;
  LinearStereo* const run = at_level(kLinearStereo);
  if (!fits || !run) return 0;
  return run({reinterpret_cast<float*>(block.dst) + size_t{begin} * 2, reinterpret_cast<const float*>(block.src),
              end - begin, timeline.position(begin), timeline.step(), timeline.denominator()});
}

/// Makes all outputs of a block; kChannels is 0 for any number.
template <class Layout, DWORD kChannels>
void run_linear(const ResampleBlock& block) {
  const DWORD channels = kChannels == 0 ? block.channels : kChannels;
  const size_t frame_bytes = size_t{channels} * Layout::bytes;
  const DWORD inner_begin = first_output_at(block, 0);
  // An output at the last frame or behind it has no second frame.
  const DWORD inner_end = std::max(inner_begin, first_output_at(block, static_cast<int64_t>(block.source) - 1));
  const auto run_edge = [&](DWORD begin, DWORD end) {
    Stepper stepper(*block.timeline, begin, 1);
    for (DWORD output = begin; output < end; ++output, stepper.advance())
      edge_frame<Layout>(block, output, stepper.at(), stepper.fraction());
  };
  run_edge(0, inner_begin);
  DWORD output = inner_begin;
  if constexpr (Layout::type == QVSAMPLE_FLOAT32 && kChannels == 2) output += run_stereo(block, inner_begin, inner_end);
  // Even and odd outputs have steppers of their own: a step waits for the one before it, longer than the rest takes.
  Stepper even(*block.timeline, output, 2);
  Stepper odd(*block.timeline, output + 1, 2);
  uint8_t* dst = block.dst + size_t{output} * frame_bytes;
  const auto run_inner = [&](Stepper& stepper) {
    inner_frame<Layout, kChannels>(dst, block.src + static_cast<size_t>(stepper.at().frame) * frame_bytes, frame_bytes,
                                   channels, stepper.fraction());
    dst += frame_bytes;
    stepper.advance();
  };
  for (; output + 1 < inner_end; output += 2) {
    run_inner(even);
    run_inner(odd);
  }
  if (output < inner_end) run_inner(even);
  run_edge(inner_end, block.frames);
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

constexpr auto kLinearKernels = for_types<kCopiedTypes>([]<class Layout>() { return linear<Layout>; });
constexpr auto kLoaders = for_types<kCopiedTypes>([]<class Layout>() { return load<Layout>; });

} // namespace

LinearKernel linear_kernel(QVSAMPLETYPE type) { return entry_of(kLinearKernels, type); }

LoadFrames load_frames(QVSAMPLETYPE type) { return entry_of(kLoaders, type); }

} // namespace qv::audio
