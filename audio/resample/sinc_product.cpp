// The innermost loop of a filter over frames, for the vectors that a processor has. Sixteen sums run side by side at
// every level, so that the results are the same to the bit.
//
// Compiled with QV_SINC_PRODUCT, the function's name, and QV_SINC_VECTOR, the bytes of a vector.
#include "audio/resample/sinc_product.h"

#include <cstring>

namespace qv::audio {

namespace {

using Vector = double __attribute__((vector_size(QV_SINC_VECTOR)));

constexpr size_t kSums = 16;
constexpr size_t kLanes = sizeof(Vector) / sizeof(double);

inline void add_products(Vector& sum, const double* a, const double* b) {
  Vector first, second;
  std::memcpy(&first, a, sizeof first);
  std::memcpy(&second, b, sizeof second);
  sum += first * second;
}

} // namespace

void QV_SINC_PRODUCT(double (&sums)[2], const double* frames, const double* row, size_t count) {
  Vector parts[kSums / kLanes] = {};
  size_t at = 0;
  for (; at + kSums <= count; at += kSums)
    for (size_t k = 0; k < kSums / kLanes; ++k)
      add_products(parts[k], frames + at + k * kLanes, row + at + k * kLanes);
  if (at < count) // half of them
    for (size_t k = 0; k < kSums / 2 / kLanes; ++k)
      add_products(parts[k], frames + at + k * kLanes, row + at + k * kLanes);
  double values[kSums];
  std::memcpy(values, parts, sizeof values);
  sums[0] = sums[1] = 0.0;
  for (size_t k = 0; k < kSums / 2; k += 2) {
    sums[0] += values[k] + values[k + kSums / 2];
    sums[1] += values[k + 1] + values[k + 1 + kSums / 2];
  }
}

} // namespace qv::audio
