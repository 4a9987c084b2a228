// The copy and mix kernels in plain C++: the definition that every faster form equals bit for bit.
#pragma once

#include "audio/kernels/sample_access.h"

namespace qv::audio {
namespace {

// ---- copy ----------------------------------------------------------------------------------------------------------

/// Samples [0, count) converted one by one; kUnity leaves the multiplication out.
template <class Dst, class Src, bool kUnity>
void reference_copy_run(uint8_t* dst, const uint8_t* src, size_t count, [[maybe_unused]] double gain) {
  for (size_t n = 0; n < count; ++n) {
    const size_t i = runs_backward<Dst, Src>() ? count - 1 - n : n;
    double value = load_normalised<Src>(src + i * Src::bytes);
    if constexpr (!kUnity) value *= gain;
    store_normalised<Dst>(dst + i * Dst::bytes, value);
  }
}

template <class Dst, class Src>
void reference_copy(void* dst, const void* src, LONG count, float gain) {
  if (count <= 0) return;
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  if (gain != 1.0f)
    reference_copy_run<Dst, Src, false>(to, from, samples, static_cast<double>(gain));
  else if constexpr (Dst::type == Src::type)
    std::memmove(to, from, samples * Dst::bytes);
  else
    reference_copy_run<Dst, Src, true>(to, from, samples, 1.0);
}

// ---- mix -----------------------------------------------------------------------------------------------------------

/// a + b within the layout's range.
template <class Layout>
int32_t add_saturating(int32_t a, int32_t b) {
  constexpr int64_t kHigh = (int64_t{1} << (Layout::bits - 1)) - 1;
  constexpr int64_t kLow = -kHigh - 1;
  const int64_t sum = int64_t{a} + b;
  return static_cast<int32_t>(sum < kLow ? kLow : sum > kHigh ? kHigh : sum);
}

/// One sample added into dst under a gain. Not for float into float, whose precision goes by the channel count.
template <class Dst, class Src>
void reference_mix_sample(uint8_t* dst, const uint8_t* src, double gain) {
  const double value = load_normalised<Src>(src) * gain;
  if constexpr (Dst::is_float) {
    store_normalised<Dst>(dst, load_normalised<Dst>(dst) + value);
  } else {
    const int32_t added = integer_from_normalised<Dst>(value);
    store_integer<Dst>(dst, add_saturating<Dst>(load_integer<Dst>(dst), added));
  }
}

/// One float added into a float of a format with three or more channels: gain and product in single precision.
inline void reference_mix_single(uint8_t* dst, const uint8_t* src, float gain) {
  const float product = read_as<float>(src) * gain;
  write_as<float>(dst, read_as<float>(dst) + product);
}

/// Samples from `first` on; sample i takes gains[i mod channels] (integer pairs: gains[0]).
template <class Dst, class Src>
void reference_mix_run(uint8_t* dst, const uint8_t* src, size_t first, size_t count, UINT channels,
                       const double* gains) {
  constexpr bool kPerChannel = Dst::is_float || Src::is_float;
  size_t channel = kPerChannel ? first % channels : 0;
  for (size_t i = first; i < count; ++i) {
    uint8_t* to = dst + i * Dst::bytes;
    const uint8_t* from = src + i * Src::bytes;
    if (Dst::bytes == 4 && Src::bytes == 4 && Dst::is_float && Src::is_float && channels > 2)
      reference_mix_single(to, from, static_cast<float>(gains[channel]));
    else
      reference_mix_sample<Dst, Src>(to, from, gains[channel]);
    if (kPerChannel && ++channel == channels) channel = 0;
  }
}

/// Whether a mix kernel has nothing to do.
template <class Dst, class Src>
bool nothing_to_mix(const void* dst, const void* src, LONG count, UINT channels) {
  if (count <= 0 || channels == 0) return true;
  return !Dst::is_float && !Src::is_float && dst == src;
}

template <class Dst, class Src>
void reference_mix(void* dst, const void* src, LONG count, UINT channels, const double* gains) {
  if (nothing_to_mix<Dst, Src>(dst, src, count, channels)) return;
  reference_mix_run<Dst, Src>(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), 0,
                              static_cast<size_t>(count), channels, gains);
}

} // namespace
} // namespace qv::audio
