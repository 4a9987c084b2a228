// Mix kernels on vectors.
#pragma once

#include "audio/kernels/reference_kernels.h"
#include "audio/kernels/wide_samples.h"

namespace qv::audio {
namespace {

/// Formats with more channels mix one sample at a time.
inline constexpr UINT kMaxMixChannels = 64;

template <class Layout>
HWY_INLINE Ints add_saturating(Ints a, Ints b) {
  const auto sum = hn::Add(a, b);
  if constexpr (Layout::bits < 32) {
    return clamp_to_range<Layout>(sum);
  } else {
    // Both addends have the sign that the sum lacks: the limit of their sign.
    const auto overflow = hn::And(hn::Xor(a, sum), hn::Xor(b, sum));
    const auto limit = hn::Xor(hn::ShiftRight<31>(a), hn::Set(kInts, INT32_MAX));
    return hn::IfThenElse(hn::Lt(overflow, hn::Zero(kInts)), limit, sum);
  }
}

/// Adds doubles in the destination's scale to its integers, rounded and saturating.
template <class Dst>
HWY_INLINE void add_rounded(uint8_t* dst, Doubles v) {
  if constexpr (Dst::type == QVSAMPLE_PCM16) {
    const hn::Rebind<int16_t, Int32Tag> narrow;
    auto* shorts = reinterpret_cast<int16_t*>(dst);
    const auto added = hn::DemoteTo(narrow, integers_from_doubles<Dst, false>(v)); // saturates
    hn::StoreU(hn::SaturatedAdd(hn::LoadU(narrow, shorts), added), narrow, shorts);
  } else {
    const Ints added = integers_from_doubles<Dst, true>(v);
    store_integers<Dst>(add_saturating<Dst>(load_integers<Dst>(dst), added), dst);
  }
}

/// Adds kLanes source samples under gains, in double precision.
template <class Dst, class Src>
HWY_INLINE void mix_step(uint8_t* dst, const uint8_t* src, Doubles gains) {
  Doubles v = load_doubles<Src>(src);
  if constexpr (!Src::is_float) v = multiplied(v, same_factor(1.0 / Src::full_scale));
  v = multiplied(v, gains);
  if constexpr (Dst::is_float) {
    const Doubles sum = load_doubles<Dst>(dst);
    store_doubles<Dst>({hn::Add(sum.low, v.low), hn::Add(sum.high, v.high)}, dst);
  } else {
    add_rounded<Dst>(dst, multiplied(v, same_factor(Dst::full_scale)));
  }
}

/// Adds kLanes integers to integers. The factor is the gain in the destination's scale: powers of two change no
/// rounding, and what they may lose at the limits of doubles rounds to the same integers.
template <class Dst, class Src>
HWY_INLINE void mix_step_integers(uint8_t* dst, const uint8_t* src, Doubles factor) {
  add_rounded<Dst>(dst, multiplied(load_doubles<Src>(src), factor));
}

/// Adds kLanes integers to integers with gain 1.0.
template <class Dst, class Src>
HWY_INLINE void mix_step_unity(uint8_t* dst, const uint8_t* src) {
  const Ints added = rescale<Dst, Src>(load_integers<Src>(src));
  store_integers<Dst>(add_saturating<Dst>(load_integers<Dst>(dst), added), dst);
}

/// The gains of kLanes successive samples from a pattern of doubles.
HWY_INLINE Doubles gains_at(const double* pattern) {
  return {hn::LoadU(kDoubles, pattern), hn::LoadU(kDoubles, pattern + kLanes / 2)};
}

/// Calls step(sample index, phase) for every whole step, the phase running over 0, kLanes, ... below `period`; returns
/// the samples done.
template <class Step>
HWY_INLINE size_t for_each_step(size_t count, size_t period, Step step) {
  const size_t whole = count - count % kLanes;
  size_t phase = 0;
  for (size_t i = 0; i < whole; i += kLanes) {
    step(i, phase);
    phase += kLanes;
    if (phase == period) phase = 0;
  }
  return whole;
}

/// gains[i mod channels] for as many samples as it takes until channels and steps begin together again, or as there
/// are to mix.
template <class T>
struct GainPattern {
  alignas(64) T values[kMaxMixChannels * kLanes];
  size_t period; ///< a multiple of kLanes

  GainPattern(const double* gains, UINT channels, size_t count) {
    const size_t common = channels & (0 - channels); // the power of two in the channel count
    period = channels * kLanes / (common < kLanes ? common : kLanes);
    const size_t needed = count < period ? count : period;
    for (size_t i = 0, channel = 0; i < needed; ++i) {
      values[i] = static_cast<T>(gains[channel]);
      if (++channel == channels) channel = 0;
    }
  }
};

template <class Dst, class Src>
inline constexpr bool kFloatIntoFloat = (Dst::type == QVSAMPLE_FLOAT32) && (Src::type == QVSAMPLE_FLOAT32);

/// Mixes float into float with three or more channels: products and sums in single precision.
HWY_INLINE size_t mix_floats_single(uint8_t* dst, const uint8_t* src, size_t count, UINT channels,
                                    const double* gains) {
  const GainPattern<float> pattern(gains, channels, count);
  return for_each_step(count, pattern.period, [&](size_t i, size_t phase) HWY_ATTR {
    auto* to = reinterpret_cast<float*>(dst) + i;
    const auto product =
        hn::Mul(hn::LoadU(kFloats, reinterpret_cast<const float*>(src) + i), hn::Load(kFloats, pattern.values + phase));
    hn::StoreU(hn::Add(hn::LoadU(kFloats, to), product), kFloats, to);
  });
}

template <class Dst, class Src>
HWY_INLINE size_t mix_per_channel(uint8_t* dst, const uint8_t* src, size_t count, UINT channels, const double* gains) {
  const GainPattern<double> pattern(gains, channels, count);
  if (count < kLanes) return 0;
  if (pattern.period == kLanes) {
    const Doubles fixed = gains_at(pattern.values);
    return for_each_step(count, kLanes, [&](size_t i, size_t) HWY_ATTR {
      mix_step<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, fixed);
    });
  }
  return for_each_step(count, pattern.period, [&](size_t i, size_t phase) HWY_ATTR {
    mix_step<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, gains_at(pattern.values + phase));
  });
}

/// Mixes 16 bits into 16 with gain 1.0, by the instruction that saturates.
HWY_INLINE size_t mix_shorts(uint8_t* dst, const uint8_t* src, size_t count) {
  constexpr hn::ScalableTag<int16_t> kShorts;
  constexpr size_t kStep = kLanes * 2;
  const size_t whole = count - count % kStep;
  const auto* from = reinterpret_cast<const int16_t*>(src);
  auto* to = reinterpret_cast<int16_t*>(dst);
  for (size_t i = 0; i < whole; i += kStep)
    hn::StoreU(hn::SaturatedAdd(hn::LoadU(kShorts, to + i), hn::LoadU(kShorts, from + i)), kShorts, to + i);
  return whole;
}

template <class Dst, class Src>
HWY_INLINE size_t mix_integers(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  if (gain == 1.0) {
    if constexpr (Dst::type == QVSAMPLE_PCM16 && Src::type == QVSAMPLE_PCM16) return mix_shorts(dst, src, count);
    return for_each_step(count, kLanes, [&](size_t i, size_t) HWY_ATTR {
      mix_step_unity<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes);
    });
  }
  const Doubles factor = same_factor(gain * (Dst::full_scale / Src::full_scale));
  return for_each_step(count, kLanes, [&](size_t i, size_t) HWY_ATTR {
    mix_step_integers<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, factor);
  });
}

template <class Dst, class Src>
void wide_mix(void* dst, const void* src, LONG count, UINT channels, const double* gains) {
  if (nothing_to_mix<Dst, Src>(dst, src, count, channels)) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  size_t done = 0;
  if constexpr (!Dst::is_float && !Src::is_float) {
    done = mix_integers<Dst, Src>(to, from, samples, gains[0]);
  } else if (channels <= kMaxMixChannels) {
    if (kFloatIntoFloat<Dst, Src> && channels > 2)
      done = mix_floats_single(to, from, samples, channels, gains);
    else
      done = mix_per_channel<Dst, Src>(to, from, samples, channels, gains);
  }
  reference_mix_run<Dst, Src>(to, from, done, samples, channels, gains);
}

} // namespace
} // namespace qv::audio
