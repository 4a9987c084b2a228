// The SSE2 level: the reference, compiled for speed, and vector kernels for the pairs that have one.
#include "audio/kernels/kernel_tables.h"
#include "audio/kernels/reference_kernels.h"

#include <emmintrin.h>

namespace qv::audio {
namespace {

constexpr size_t kLanes = 4;

__m128 floats_at(const uint8_t* memory) { return _mm_loadu_ps(reinterpret_cast<const float*>(memory)); }
__m128d doubles_at(const uint8_t* memory) { return _mm_loadu_pd(reinterpret_cast<const double*>(memory)); }

/// Floats in the range of 16 bits, rounded. Single precision is exact up to the one rounding: the scale is a power of
/// two, and the clamp changes nothing else.
__m128i shorts_range_from_floats(__m128 v) {
  v = _mm_mul_ps(v, _mm_set1_ps(32768.0f));
  v = _mm_and_ps(v, _mm_cmpeq_ps(v, v)); // a NaN becomes 0
  v = _mm_max_ps(_mm_min_ps(v, _mm_set1_ps(32767.0f)), _mm_set1_ps(-32768.0f));
  return _mm_cvtps_epi32(v);
}

struct FloatTo16 {
  using Dst = Pcm16;
  using Src = Float32;
  static void step(uint8_t* dst, const uint8_t* src) {
    const __m128i words = shorts_range_from_floats(floats_at(src));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), _mm_packs_epi32(words, words));
  }
};

struct FloatFrom16 {
  using Dst = Float32;
  using Src = Pcm16;
  static void step(uint8_t* dst, const uint8_t* src) {
    const __m128i shorts = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(src));
    const __m128i words = _mm_srai_epi32(_mm_unpacklo_epi16(shorts, shorts), 16);
    const __m128 scaled = _mm_mul_ps(_mm_cvtepi32_ps(words), _mm_set1_ps(1.0f / 32768.0f));
    _mm_storeu_ps(reinterpret_cast<float*>(dst), scaled);
  }
};

struct FloatFromDouble {
  using Dst = Float32;
  using Src = Float64;
  static void step(uint8_t* dst, const uint8_t* src) {
    const __m128 low = _mm_cvtpd_ps(doubles_at(src));
    const __m128 high = _mm_cvtpd_ps(doubles_at(src + 16));
    _mm_storeu_ps(reinterpret_cast<float*>(dst), _mm_movelh_ps(low, high));
  }
};

struct DoubleFromFloat {
  using Dst = Float64;
  using Src = Float32;
  static void step(uint8_t* dst, const uint8_t* src) {
    const __m128 v = floats_at(src);
    auto* doubles = reinterpret_cast<double*>(dst);
    _mm_storeu_pd(doubles, _mm_cvtps_pd(v));
    _mm_storeu_pd(doubles + 2, _mm_cvtps_pd(_mm_movehl_ps(v, v)));
  }
};

/// Copies with gain 1.0 by Step, four samples at a time; any other gain by the reference.
template <class Step>
void sse2_copy(void* dst, const void* src, LONG count, float gain) {
  using Dst = typename Step::Dst;
  using Src = typename Step::Src;
  if (count <= 0 || gain != 1.0f) return reference_copy<Dst, Src>(dst, src, count, gain);
  auto* to = static_cast<uint8_t*>(dst);
  const auto* from = static_cast<const uint8_t*>(src);
  const auto samples = static_cast<size_t>(count);
  const size_t whole = samples - samples % kLanes;
  const auto rest = [&] {
    reference_copy_run<Dst, Src, true>(to + whole * Dst::bytes, from + whole * Src::bytes, samples - whole, 1.0);
  };
  if constexpr (runs_backward<Dst, Src>()) {
    rest();
    for (size_t i = whole; i > 0; i -= kLanes)
      Step::step(to + (i - kLanes) * Dst::bytes, from + (i - kLanes) * Src::bytes);
  } else {
    for (size_t i = 0; i < whole; i += kLanes)
      Step::step(to + i * Dst::bytes, from + i * Src::bytes);
    rest();
  }
}

/// Mixes float into float: one and two channels with sums in double, more in single precision, by the reference.
void sse2_mix_floats(void* dst, const void* src, LONG count, UINT channels, const double* gains) {
  if (count <= 0 || channels == 0 || channels > 2)
    return reference_mix<Float32, Float32>(dst, src, count, channels, gains);
  auto* to = static_cast<float*>(dst);
  const auto* from = static_cast<const float*>(src);
  const auto samples = static_cast<size_t>(count);
  const __m128d pair = _mm_setr_pd(gains[0], gains[channels - 1]);
  const auto sum = [pair](__m128 target, __m128 added) {
    return _mm_cvtpd_ps(_mm_add_pd(_mm_cvtps_pd(target), _mm_mul_pd(_mm_cvtps_pd(added), pair)));
  };
  size_t i = 0;
  for (; i + kLanes <= samples; i += kLanes) {
    const __m128 target = _mm_loadu_ps(to + i);
    const __m128 added = _mm_loadu_ps(from + i);
    const __m128 high = sum(_mm_movehl_ps(target, target), _mm_movehl_ps(added, added));
    _mm_storeu_ps(to + i, _mm_movelh_ps(sum(target, added), high));
  }
  reference_mix_run<Float32, Float32>(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), i, samples,
                                      channels, gains);
}

template <class Dst, class Src>
constexpr QVAUDIO_COPYFUNC kCopy = reference_copy<Dst, Src>;
template <>
constexpr QVAUDIO_COPYFUNC kCopy<Pcm16, Float32> = sse2_copy<FloatTo16>;
template <>
constexpr QVAUDIO_COPYFUNC kCopy<Float32, Pcm16> = sse2_copy<FloatFrom16>;
template <>
constexpr QVAUDIO_COPYFUNC kCopy<Float32, Float64> = sse2_copy<FloatFromDouble>;
template <>
constexpr QVAUDIO_COPYFUNC kCopy<Float64, Float32> = sse2_copy<DoubleFromFloat>;

template <class Dst, class Src>
constexpr QVAUDIO_MIXFUNC kMix = reference_mix<Dst, Src>;
template <>
constexpr QVAUDIO_MIXFUNC kMix<Float32, Float32> = sse2_mix_floats;

} // namespace

const KernelTable kernels_sse2 = {for_pairs<kCopiedTypes>([]<class Dst, class Src>() { return kCopy<Dst, Src>; }),
                                  for_pairs<kMixedTypes>([]<class Dst, class Src>() { return kMix<Dst, Src>; })};

} // namespace qv::audio
