// A recursive section's next state waits for its last one, some eight cycles; sections that follow each other wait for
// each other too. So several run side by side in the lanes of vectors, each a few samples behind the one before it,
// which hides the wait: the samples, and what is computed from them, are the same as section after section.
#include "audio/filter/iir_sections.h"
#include "audio/kernels/double_pair.h"

#if defined(__AVX__)
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace qv::audio {

namespace {

constexpr size_t kMaxLanes = kVectorBytes / sizeof(double);
constexpr size_t kMaxVectors = 2; ///< that sections run in; the states of more leave the registers
constexpr size_t kRegisterLanes = kMaxVectors * kMaxLanes;
constexpr size_t kBlockFrames = 1024;

/// The most sections that run side by side.
template <int kChannels>
constexpr int kMaxSections = std::min<int>(8, kRegisterLanes / kChannels);

template <size_t kCount>
struct Lanes;

// Each count has a row of its own: GCC takes no vector size that depends on a template's parameter.
#define QV_IIR_LANES(count)                                                                                            \
  template <>                                                                                                          \
  struct Lanes<count> {                                                                                                \
    using Vector = double __attribute__((vector_size(count * sizeof(double))));                                        \
    using Whole = int64_t __attribute__((vector_size(count * sizeof(int64_t))));                                       \
  };
QV_IIR_LANES(2)
QV_IIR_LANES(4)
QV_IIR_LANES(8)

// widen() puts a pair into the lowest lanes of a vector, and anything into the others. Shuffles that did the same would
// be sent through memory by compilers.
[[gnu::always_inline]] inline void widen(PairOfDoubles pair, Lanes<2>::Vector& vector) { vector = pair; }
#if defined(__AVX__)
[[gnu::always_inline]] inline void widen(PairOfDoubles pair, Lanes<4>::Vector& vector) {
  vector = _mm256_castpd128_pd256(pair);
}
#endif
#if defined(__AVX512F__)
[[gnu::always_inline]] inline void widen(PairOfDoubles pair, Lanes<8>::Vector& vector) {
  vector = _mm512_castpd128_pd512(pair);
}
#endif

/// Where a cascade's output goes, and how it is mixed with the input on its way.
template <class Sample>
struct Output {
  Sample* dst;
  size_t stride;
  const Sample* dry_src; ///< the input, or null for none of it
  double gain, dry;
};

template <int kChannels, class Sample>
[[gnu::always_inline]] inline PairOfDoubles load(const Sample* samples) {
  if constexpr (kChannels == 2) return load_pair(samples);
  return PairOfDoubles{static_cast<double>(*samples), 0.0};
}

template <int kChannels, class Sample>
[[gnu::always_inline]] inline void store(const Output<Sample>& output, size_t frame, PairOfDoubles value) {
  const size_t at = frame * output.stride;
  if (output.dry_src) value = load<kChannels>(output.dry_src + at) * output.dry + value * output.gain;
  if constexpr (kChannels == 2)
    store_pair(output.dst + at, value);
  else
    output.dst[at] = static_cast<Sample>(value[0]);
}

/// Up to kSections sections of kChannels channels, in lanes: first the channels of the first section, then those of the
/// second, and so on.
template <int kChannels, int kSections>
class Sections {
  static constexpr size_t kAllLanes = std::max(kChannels * kSections, 2);
  static constexpr size_t kLanes = std::min(kAllLanes, kMaxLanes);
  static constexpr size_t kVectors = kAllLanes / kLanes;

public:
  /// How many samples a section is behind the one before it. A vector waits for all that goes into it, and what a
  /// section makes takes twice as long to reach the lanes of the next section as its state takes to reach its own.
  static constexpr size_t kDelay = kLanes > kChannels ? 3 : 1;

private:
  using Vector = typename Lanes<kLanes>::Vector;
  using Whole = typename Lanes<kLanes>::Whole;
  using Indices = std::make_index_sequence<kLanes>;

  Vector b0_[kVectors], b1_[kVectors], b2_[kVectors], c1_[kVectors], c2_[kVectors];
  Vector w1_[kVectors], w2_[kVectors];
  Vector made_[kDelay][kVectors]; ///< outputs of the last steps, the latest first
  const size_t count_;

public:
  [[gnu::always_inline]] Sections(const IirSection* sections, IirState* const (&states)[2], size_t count)
      : count_(count) {
    // Lanes without a section stay 0; nothing reads what they make.
    double lanes[7][kAllLanes] = {};
    for (size_t lane = 0; lane < count * kChannels; ++lane) {
      const IirSection& section = sections[lane / kChannels];
      const IirState& state = states[lane % kChannels][lane / kChannels];
      const double values[7] = {section.b0, section.b1, section.b2, section.c1, section.c2, state.w1, state.w2};
      for (size_t i = 0; i < 7; ++i)
        lanes[i][lane] = values[i];
    }
    Vector* const vectors[7] = {b0_, b1_, b2_, c1_, c2_, w1_, w2_};
#pragma GCC unroll 7
    for (size_t i = 0; i < 7; ++i)
#pragma GCC unroll 8
      for (size_t v = 0; v < kVectors; ++v)
        std::memcpy(&vectors[i][v], &lanes[i][v * kLanes], sizeof(Vector));
#pragma GCC unroll 24
    for (size_t v = 0; v < kVectors * kDelay; ++v)
      made_[v / kVectors][v % kVectors] = Vector{};
  }

  [[gnu::always_inline]] void keep_states(IirState* const (&states)[2]) const {
    double w1[kAllLanes];
    double w2[kAllLanes];
    std::memcpy(w1, w1_, sizeof w1);
    std::memcpy(w2, w2_, sizeof w2);
    for (size_t lane = 0; lane < count_ * kChannels; ++lane)
      states[lane % kChannels][lane / kChannels] = {w1[lane], w2[lane]};
  }

  /// Returns what the last section made in the last step.
  [[gnu::always_inline]] PairOfDoubles made() const {
    double lanes[kAllLanes];
    std::memcpy(lanes, made_[0], sizeof lanes);
    const double* const last = lanes + (count_ - 1) * kChannels;
    return PairOfDoubles{last[0], kChannels == 2 ? last[1] : 0.0};
  }

  /// Runs all sections for one step: each takes what the one before it made kDelay steps ago, the first one takes `x`.
  [[gnu::always_inline]] void step(PairOfDoubles x) {
    const auto fresh_always = [](size_t, Vector fresh, Vector) { return fresh; };
    advance(x, fresh_always);
  }

  /// Runs step t of a block near its ends, where only some sections have a frame: that of section s is t - s * kDelay.
  [[gnu::always_inline]] void step_partly(PairOfDoubles x, size_t t, size_t frames) {
    const auto step = static_cast<int64_t>(t);
    advance(x, [&](size_t v, Vector fresh, Vector last) {
      const Whole frame = step - places(v, Indices());
      return ((frame >= 0) & (frame < static_cast<int64_t>(frames))) ? fresh : last;
    });
  }

private:
  /// Runs a step. choose(v, fresh, last) returns the state that vector v goes on with.
  template <class Choose>
  [[gnu::always_inline]] void advance(PairOfDoubles x, Choose choose) {
    Vector first;
    widen(x, first);
    Vector before = first;
#pragma GCC unroll 8
    for (size_t v = 0; v < kVectors; ++v) {
      const Vector last = made_[kDelay - 1][v];
      const Vector input =
          v == 0 ? behind<0>(first, last, Indices()) : behind<kLanes - kChannels>(before, last, Indices());
      before = last;
      // The product that does not depend on the last step is added first.
      const Vector w = (input + w2_[v] * c2_[v]) + w1_[v] * c1_[v];
#pragma GCC unroll 4
      for (size_t d = kDelay - 1; d > 0; --d)
        made_[d][v] = made_[d - 1][v];
      made_[0][v] = (w2_[v] * b2_[v] + w1_[v] * b1_[v]) + w * b0_[v];
      w2_[v] = choose(v, w1_[v], w2_[v]);
      w1_[v] = choose(v, w, w1_[v]);
    }
  }

  /// By how many frames the section in each lane of vector v is behind the first.
  template <size_t... kLane>
  [[gnu::always_inline]] static Whole places(size_t v, std::index_sequence<kLane...>) {
    return Whole{static_cast<int64_t>(kDelay * ((v * kLanes + kLane) / kChannels))...};
  }
  /// Moves lanes up by one section; the lowest ones come from `before`, from its lane kFrom on.
  template <size_t kFrom, size_t... kLane>
  [[gnu::always_inline]] static Vector behind(Vector before, Vector lanes, std::index_sequence<kLane...>) {
    return __builtin_shufflevector(before, lanes,
                                   int(kLane < kChannels ? kFrom + kLane : kLanes + kLane - kChannels)...);
  }
};

/// Runs `count` sections from `first` on over a block, side by side.
template <int kChannels, int kSections, class In, class Out>
void run_sections(const IirRun& run, size_t first, size_t count, const In* src, size_t stride, Output<Out> output,
                  size_t frames) {
  IirState* const states[2] = {run.states + first, run.states + first + (kChannels - 1) * run.count};
  Sections<kChannels, kSections> sections(run.sections + first, {states[0], states[1]}, count);
  const size_t behind = sections.kDelay * (count - 1);
  const auto read = [=](size_t t) { return t < frames ? load<kChannels>(src + t * stride) : PairOfDoubles{}; };
  size_t t = 0;
  for (; t < behind; ++t)
    sections.step_partly(read(t), t, frames);
  for (; t < frames; ++t) {
    sections.step(load<kChannels>(src + t * stride));
    store<kChannels>(output, t - behind, sections.made());
  }
  for (; t < frames + behind; ++t) {
    sections.step_partly(read(t), t, frames);
    store<kChannels>(output, t - behind, sections.made());
  }
  sections.keep_states(states);
}

/// Runs `count` sections from `first` on in as few lanes as hold them; at most kMaxSections<kChannels>.
template <int kChannels, class In, class Out>
void run_group(const IirRun& run, size_t first, size_t count, const In* src, size_t stride, const Output<Out>& output,
               size_t frames) {
  const auto run_in = count <= 1   ? run_sections<kChannels, 1, In, Out>
                      : count <= 2 ? run_sections<kChannels, 2, In, Out>
                      : count <= 4 ? run_sections<kChannels, std::min<int>(kMaxSections<kChannels>, 4), In, Out>
                                   : run_sections<kChannels, kMaxSections<kChannels>, In, Out>;
  run_in(run, first, count, src, stride, output, frames);
}

/// Runs all sections: a group that fits at once, or group after group over short blocks.
template <int kChannels, class Sample>
void run_cascade(const IirRun& run, Sample* dst, const Sample* src, size_t frames) {
  constexpr size_t kMax = kMaxSections<kChannels>;
  const Output<Sample> output = {dst, run.stride, run.dry == 0.0 ? nullptr : src, run.gain, run.dry};
  if (run.count <= kMax) {
    run_group<kChannels>(run, 0, run.count, src, run.stride, output, frames);
    return;
  }
  double block[kBlockFrames * kChannels];
  const Output<double> to_block = {block, kChannels, nullptr, 1.0, 0.0};
  for (size_t start = 0; start < frames; start += kBlockFrames) {
    const size_t count = frames - start < kBlockFrames ? frames - start : kBlockFrames;
    run_group<kChannels>(run, 0, kMax, src + start * run.stride, run.stride, to_block, count);
    size_t at = kMax;
    for (; at + kMax < run.count; at += kMax)
      run_group<kChannels>(run, at, kMax, block, kChannels, to_block, count);
    Output<Sample> rest = output;
    rest.dst += start * run.stride;
    if (rest.dry_src) rest.dry_src += start * run.stride;
    run_group<kChannels>(run, at, run.count - at, block, kChannels, rest, count);
  }
}

} // namespace

void QV_AT_LEVEL(iir_outputs)(const IirRun& run, float* dst, const float* src, size_t frames) {
  (run.channels == 2 ? run_cascade<2, float> : run_cascade<1, float>)(run, dst, src, frames);
}

void QV_AT_LEVEL(iir_outputs)(const IirRun& run, double* dst, const double* src, size_t frames) {
  (run.channels == 2 ? run_cascade<2, double> : run_cascade<1, double>)(run, dst, src, frames);
}

} // namespace qv::audio
