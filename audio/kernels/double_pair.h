// Two channels side by side, as doubles in one vector.
//
// Compiled into objects for different instruction sets: all of it has internal linkage.
#pragma once

#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace qv::audio {

using PairOfDoubles = double __attribute__((vector_size(16)));

namespace {

// Compilers turn the conversion of two floats into four instructions where one does it.
inline PairOfDoubles load_pair(const float* samples) {
#if defined(__SSE2__)
  return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples))));
#else
  return PairOfDoubles{samples[0], samples[1]};
#endif
}

inline PairOfDoubles load_pair(const double* samples) {
  PairOfDoubles pair;
  std::memcpy(&pair, samples, sizeof pair);
  return pair;
}

inline void store_pair(float* samples, PairOfDoubles value) {
#if defined(__SSE2__)
  _mm_storel_epi64(reinterpret_cast<__m128i*>(samples), _mm_castps_si128(_mm_cvtpd_ps(value)));
#else
  samples[0] = static_cast<float>(value[0]);
  samples[1] = static_cast<float>(value[1]);
#endif
}

inline void store_pair(double* samples, PairOfDoubles value) { std::memcpy(samples, &value, sizeof value); }

} // namespace
} // namespace qv::audio
