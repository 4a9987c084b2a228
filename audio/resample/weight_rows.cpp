// The innermost loop of a filter over frames, for the vectors that a processor has. So many sums run side by side,
// at every level alike, that none waits for itself and the results are the same to the bit.
#include "audio/resample/weight_rows.h"

#include <cstring>

namespace qv::audio {

namespace {

using Vector = double __attribute__((vector_size(kVectorBytes)));

constexpr size_t kSums = 16;
constexpr size_t kLanes = sizeof(Vector) / sizeof(double);

inline void add_products(Vector& sum, const double* a, const double* b) {
  Vector first, second;
  std::memcpy(&first, a, sizeof first);
  std::memcpy(&second, b, sizeof second);
  sum += first * second;
}

/// Adds up products in kSums sums, each of every sixteenth product, then adds half of the sums to the other half until
/// kLeft are left.
template <size_t kLeft>
[[gnu::always_inline]] inline void add_all(double (&left)[kLeft], const double* frames, const double* row,
                                           size_t count) {
  constexpr size_t kParts = kSums / kLanes;
  Vector parts[kParts] = {};
  size_t at = 0;
  for (; at + kSums <= count; at += kSums)
#pragma GCC unroll 16
    for (size_t k = 0; k < kParts; ++k)
      add_products(parts[k], frames + at + k * kLanes, row + at + k * kLanes);
#pragma GCC unroll 16
  for (size_t k = 0; k < kParts; ++k) // the rest, with bounds that are known, so that the sums stay in registers
    if (at + k * kLanes < count) add_products(parts[k], frames + at + k * kLanes, row + at + k * kLanes);
#pragma GCC unroll 4
  for (size_t half = kParts / 2; half > 0; half /= 2)
#pragma GCC unroll 8
    for (size_t k = 0; k < half; ++k)
      parts[k] += parts[k + half];
  double values[kLanes];
  std::memcpy(values, parts, sizeof values);
#pragma GCC unroll 4
  for (size_t half = kLanes / 2; half >= kLeft; half /= 2)
#pragma GCC unroll 4
    for (size_t k = 0; k < half; ++k)
      values[k] += values[k + half];
#pragma GCC unroll 2
  for (size_t k = 0; k < kLeft; ++k) // one by one: a wide load of what was just stored in parts would wait for memory
    left[k] = values[k];
}

} // namespace

void QV_AT_LEVEL(pair_products)(const PairSpan& span) {
  const double* frames = span.frames;
  const uint64_t whole = span.step / span.denominator;
  const uint64_t rest = span.step % span.denominator;
  uint64_t part = span.part;
  for (size_t k = 0; k < span.count; ++k) {
    double sums[2];
    add_all(sums, frames, span.rows + part * kSincRow, kSincRow);
    span.sums[2 * k] = sums[0];
    span.sums[2 * k + 1] = sums[1];
    part += rest;
    const uint64_t carry = part >= span.denominator ? 1 : 0;
    part -= carry * span.denominator;
    frames += 2 * (whole + carry);
  }
}

double QV_AT_LEVEL(product)(const double* frames, const double* row, size_t count) {
  double sum[1];
  add_all(sum, frames, row, count);
  return sum[0];
}

} // namespace qv::audio
