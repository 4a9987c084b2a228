// Mix kernels on vectors.
#pragma once

#include "audio/kernels/reference_mix.h"
#include "audio/kernels/wide_samples.h"

namespace qv::audio {
namespace {

/// Formats with more channels mix one sample at a time.
inline constexpr UINT kMostMixChannels = 64;

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

/// Adds kLanes source samples in double precision, or in the destination's integers.
template <class Dst, class Src>
HWY_INLINE void mix_step(uint8_t* dst, const uint8_t* src, Doubles gains) {
  const Doubles raw = load_doubles<Src>(src);
  const Doubles v{hn::Mul(raw.low, gains.low), hn::Mul(raw.high, gains.high)};
  if constexpr (Dst::is_float) {
    const Doubles sum = load_doubles<Dst>(dst);
    store_doubles<Dst>({hn::Add(sum.low, v.low), hn::Add(sum.high, v.high)}, dst);
  } else {
    const Ints added = integers_from_doubles<Dst>(v);
    store_integers<Dst>(add_saturating<Dst>(load_integers<Dst>(dst), added), dst);
  }
}

/// Integer into integer at gain 1.0.
template <class Dst, class Src>
HWY_INLINE void mix_step_unity(uint8_t* dst, const uint8_t* src) {
  const Ints added = rescale<Dst, Src>(load_integers<Src>(src));
  store_integers<Dst>(add_saturating<Dst>(load_integers<Dst>(dst), added), dst);
}

/// The gains of kLanes successive samples from a pattern of doubles.
HWY_INLINE Doubles gains_at(const double* pattern) {
  return {hn::LoadU(kDoubles, pattern), hn::LoadU(kDoubles, pattern + kLanes / 2)};
}

/// Calls step(sample index, first gain of the pattern) for every whole step; answers the samples done.
template <class Step>
HWY_INLINE size_t for_each_step(size_t count, UINT channels, Step step) {
  const size_t whole = count - count % kLanes;
  const size_t advance = kLanes % channels;
  size_t phase = 0;
  for (size_t i = 0; i < whole; i += kLanes) {
    step(i, phase);
    phase += advance;
    if (phase >= channels) phase -= channels;
  }
  return whole;
}

/// gains[i mod channels] for i from 0 to channels + kLanes - 1, so that a load at any phase finds its gains.
template <class T>
struct GainPattern {
  T values[kMostMixChannels + kLanes];

  GainPattern(const double* gains, UINT channels) {
    for (size_t i = 0, channel = 0; i < channels + kLanes; ++i) {
      values[i] = static_cast<T>(gains[channel]);
      if (++channel == channels) channel = 0;
    }
  }
};

template <class Dst, class Src>
inline constexpr bool kFloatIntoFloat = Dst::type == QVSAMPLE_FLOAT32&& Src::type == QVSAMPLE_FLOAT32;

/// Float into float with three or more channels: products and sums in single precision.
HWY_INLINE size_t mix_floats_single(uint8_t* dst, const uint8_t* src, size_t count, UINT channels,
                                    const double* gains) {
  const GainPattern<float> pattern(gains, channels);
  return for_each_step(count, channels, [&](size_t i, size_t phase) HWY_ATTR {
    auto* to = reinterpret_cast<float*>(dst) + i;
    const auto product = hn::Mul(hn::LoadU(kFloats, reinterpret_cast<const float*>(src) + i),
                                 hn::LoadU(kFloats, pattern.values + phase));
    hn::StoreU(hn::Add(hn::LoadU(kFloats, to), product), kFloats, to);
  });
}

template <class Dst, class Src>
HWY_INLINE size_t mix_per_channel(uint8_t* dst, const uint8_t* src, size_t count, UINT channels, const double* gains) {
  const GainPattern<double> pattern(gains, channels);
  if (kLanes % channels == 0) {
    const Doubles fixed = gains_at(pattern.values);
    return for_each_step(count, 1, [&](size_t i, size_t) HWY_ATTR {
      mix_step<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, fixed);
    });
  }
  return for_each_step(count, channels, [&](size_t i, size_t phase) HWY_ATTR {
    mix_step<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, gains_at(pattern.values + phase));
  });
}

template <class Dst, class Src>
HWY_INLINE size_t mix_integers(uint8_t* dst, const uint8_t* src, size_t count, double gain) {
  if (gain == 1.0) {
    return for_each_step(count, 1, [&](size_t i, size_t) HWY_ATTR {
      mix_step_unity<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes);
    });
  }
  const Doubles gains{hn::Set(kDoubles, gain), hn::Set(kDoubles, gain)};
  return for_each_step(count, 1, [&](size_t i, size_t) HWY_ATTR {
    mix_step<Dst, Src>(dst + i * Dst::bytes, src + i * Src::bytes, gains);
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
  } else if (channels <= kMostMixChannels) {
    if (kFloatIntoFloat<Dst, Src> && channels > 2) {
      done = mix_floats_single(to, from, samples, channels, gains);
    } else {
      done = mix_per_channel<Dst, Src>(to, from, samples, channels, gains);
    }
  }
  reference_mix_run<Dst, Src>(to, from, done, samples, channels, gains);
}

} // namespace
} // namespace qv::audio
