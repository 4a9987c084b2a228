// A cascade's way through its channels: one by one or in pairs, with the loops of the kernel level in force.
#include "audio/filter/cascade.h"

#include "audio/filter/arguments.h"

#include <algorithm>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace qv::audio {

namespace {

/// Blocks of fewer frames than this are not worth wide vectors: filling their lanes takes longer than they save.
constexpr DWORD kShortBlock = 32;

/// Denormal numbers count as 0 while an instance of this lives, on the thread that made it. What a filter's state
/// decays to would otherwise cost many times the time of other numbers.
class FlushToZero {
public:
#if defined(__SSE2__)
  FlushToZero() : before_(_mm_getcsr()) { _mm_setcsr(before_ | kFlushResults | kDenormalsAreZero); }
  ~FlushToZero() { _mm_setcsr(before_); }
#else
  FlushToZero() = default;
#endif
  FlushToZero(const FlushToZero&) = delete;
  FlushToZero& operator=(const FlushToZero&) = delete;

#if defined(__SSE2__)
private:
  static constexpr unsigned kFlushResults = 0x8000;
  static constexpr unsigned kDenormalsAreZero = 0x0040;
  const unsigned before_;
#endif
};

} // namespace

Cascade::Cascade(std::vector<IirSection> sections, DWORD channels, bool in_pairs)
    : sections_(std::move(sections)), states_(sections_.size() * channels), channels_(channels),
      in_pairs_(in_pairs && (QvGetCPUSupport(0) & QVCPU_SSE2) != 0) {}

template <class Sample>
void Cascade::process(Sample* dst, const Sample* src, DWORD frames, DWORD mask) {
  const FlushToZero flush;
  constexpr LevelTable<IirOutputs<Sample>> kLoops = {QV_LEVELS_OF(iir_outputs)};
  IirOutputs<Sample>* const make_outputs = frames < kShortBlock ? kLoops.front() : at_level(kLoops);
  const auto count = static_cast<DWORD>(sections_.size());
  for (DWORD channel = 0; channel < channels_; ++channel) {
    if (count == 0 || !is_chosen(mask, channel)) {
      copy_channel(dst, src, frames, channels_, channel);
      continue;
    }
    const bool is_pair = in_pairs_ && channel + 1 < channels_ && is_chosen(mask, channel + 1);
    make_outputs({sections_.data(), count, is_pair ? 2u : 1u, states_of(channel), channels_, gain_, dry_},
                 dst + channel, src + channel, frames);
    if (is_pair) ++channel;
  }
}

template void Cascade::process(float* dst, const float* src, DWORD frames, DWORD mask);
template void Cascade::process(double* dst, const double* src, DWORD frames, DWORD mask);

void Cascade::reset(DWORD channel) {
  if (channel < channels_) std::fill_n(states_of(channel), sections_.size(), IirState{});
}

void Cascade::reset() { std::fill(states_.begin(), states_.end(), IirState{}); }

void Cascade::take_states(const Cascade& other) {
  if (channels_ == other.channels_ && sections_.size() == other.sections_.size()) states_ = other.states_;
}

} // namespace qv::audio
