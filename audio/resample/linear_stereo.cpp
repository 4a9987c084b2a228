// Linear interpolation of two channels makes four outputs at a time, their positions side by side in vectors: computed
// one by one, the positions took most of the time.
#include "audio/resample/block.h"

#include <immintrin.h>

namespace qv::audio {

namespace {

/// Makes two outputs of two channels. `fractions` holds those of both outputs, each twice.
[[gnu::always_inline]] inline void two_outputs(float* dst, const float* one, const float* other, __m256d fractions) {
  const __m128 a = _mm_loadu_ps(one); // a frame and the next
  const __m128 b = _mm_loadu_ps(other);
  const __m256d first = _mm256_cvtps_pd(_mm_movelh_ps(a, b));
  const __m256d second = _mm256_cvtps_pd(_mm_movehl_ps(b, a));
  const __m256d value = _mm256_add_pd(first, _mm256_mul_pd(_mm256_sub_pd(second, first), fractions));
  _mm_storeu_ps(dst, _mm256_cvtpd_ps(value));
}

} // namespace

DWORD linear_stereo_avx2(const LinearSpan& span) {
  alignas(32) double parts[4];
  alignas(32) int64_t frames[4];
  for (uint64_t k = 0; k < 4; ++k) {
    const uint64_t part = span.first.part + k * span.step;
    parts[k] = static_cast<double>(part % span.denominator);
    frames[k] = span.first.frame + static_cast<int64_t>(part / span.denominator);
  }
  // Parts are whole numbers below 2^33: doubles hold them exactly.
  __m256d part = _mm256_load_pd(parts);
  __m256i frame = _mm256_load_si256(reinterpret_cast<const __m256i*>(frames));
  const __m256d part_step = _mm256_set1_pd(static_cast<double>(4 * span.step % span.denominator));
  const __m256i frame_step = _mm256_set1_epi64x(static_cast<int64_t>(4 * span.step / span.denominator));
  const __m256d denominator = _mm256_set1_pd(static_cast<double>(span.denominator));
  const __m256d unit = _mm256_set1_pd(1.0 / static_cast<double>(span.denominator));
  DWORD made = 0;
  for (float* dst = span.dst; made + 4 <= span.count; made += 4, dst += 8) {
    _mm256_store_si256(reinterpret_cast<__m256i*>(frames), frame);
    const __m256d fractions = _mm256_mul_pd(part, unit);
    two_outputs(dst, span.src + 2 * frames[0], span.src + 2 * frames[1], _mm256_permute4x64_pd(fractions, 0x50));
    two_outputs(dst + 4, span.src + 2 * frames[2], span.src + 2 * frames[3], _mm256_permute4x64_pd(fractions, 0xFA));
    part = _mm256_add_pd(part, part_step);
    const __m256d carries = _mm256_cmp_pd(part, denominator, _CMP_GE_OQ); // all bits: -1
    part = _mm256_sub_pd(part, _mm256_and_pd(carries, denominator));
    frame = _mm256_sub_epi64(_mm256_add_epi64(frame, frame_step), _mm256_castpd_si256(carries));
  }
  return made;
}

} // namespace qv::audio
