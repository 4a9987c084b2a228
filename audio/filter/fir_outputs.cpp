// The loop of a non-recursive filter has an output in each lane and several vectors side by side: a coefficient is
// loaded once for all of them, and no sum waits for itself.
#include "audio/filter/fir_outputs.h"

#include <cstring>

namespace qv::audio {

namespace {

using Vector = double __attribute__((vector_size(kVectorBytes)));
constexpr size_t kLanes = sizeof(Vector) / sizeof(double);
constexpr size_t kMaxVectors = 8;

template <size_t kVectors>
void vectors_of_outputs(double* dst, const double* coefficients, size_t taps, const double* x) {
  Vector sums[kVectors] = {};
  for (size_t i = 0; i < taps; ++i)
#pragma GCC unroll 8
    for (size_t v = 0; v < kVectors; ++v) {
      Vector samples;
      std::memcpy(&samples, x + i + v * kLanes, sizeof samples);
      sums[v] += samples * coefficients[i];
    }
  std::memcpy(dst, sums, sizeof sums);
}

} // namespace

void QV_AT_LEVEL(fir_outputs)(double* dst, size_t count, const double* coefficients, size_t taps, const double* x) {
  size_t k = 0;
  for (; k + kMaxVectors * kLanes <= count; k += kMaxVectors * kLanes)
    vectors_of_outputs<kMaxVectors>(dst + k, coefficients, taps, x + k);
  for (; k < count; k += 8)
    vectors_of_outputs<8 / kLanes>(dst + k, coefficients, taps, x + k);
}

} // namespace qv::audio
