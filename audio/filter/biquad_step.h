// One step of a biquad section, direct form II.
#pragma once

#include "qv/filter.h"

#include <bit>
#include <cstdint>

namespace qv::audio {

/// 0 for a state below 2^-32 in magnitude: what decays would otherwise become denormal.
inline double without_denormals(double state) {
  constexpr uint64_t kExponent = 0x7FF00000;
  constexpr uint64_t kLeast = 0x3DF00000; // of 2^-32
  return (std::bit_cast<uint64_t>(state) >> 32 & kExponent) < kLeast ? 0.0 : state;
}

inline double biquad_step(double x, QVBIQUAD& biquad) {
  const double w1 = without_denormals(biquad.w1);
  const double w2 = without_denormals(biquad.w2);
  const double w = x + biquad.c1 * w1 + biquad.c2 * w2;
  biquad.w2 = w1;
  biquad.w1 = w;
  return biquad.b0 * w + biquad.b1 * w1 + biquad.b2 * w2;
}

} // namespace qv::audio
