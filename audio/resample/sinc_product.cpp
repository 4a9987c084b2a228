// The innermost loop of the sinc, for the vectors that a processor has. Each level is compiled with the widest vectors
// that it has; the sums differ between levels by their rounding alone.
//
// Compiled with QV_SINC_PRODUCT, the function's name, and QV_SINC_VECTOR, the bytes of a vector.
#include "audio/resample/sinc_product.h"

#include <cstring>

namespace qv::audio {

namespace {

template <class Lanes>
void product(double (&sums)[2], const double* frames, const double* row, size_t count) {
  constexpr size_t kLanes = sizeof(Lanes) / sizeof(double);
  Lanes even{};
  Lanes odd{};
  const auto add = [&](Lanes& sum, size_t at) {
    Lanes a, b;
    std::memcpy(&a, frames + at, sizeof a);
    std::memcpy(&b, row + at, sizeof b);
    sum += a * b;
  };
  size_t at = 0;
  for (; at + 2 * kLanes <= count; at += 2 * kLanes) {
    add(even, at);
    add(odd, at + kLanes);
  }
  for (; at < count; at += kLanes)
    add(even, at);
  even += odd;
  double lanes[kLanes];
  std::memcpy(lanes, &even, sizeof lanes);
  sums[0] = sums[1] = 0.0;
  for (size_t lane = 0; lane < kLanes; lane += 2) {
    sums[0] += lanes[lane];
    sums[1] += lanes[lane + 1];
  }
}

using Vector = double __attribute__((vector_size(QV_SINC_VECTOR)));

} // namespace

void QV_SINC_PRODUCT(double (&sums)[2], const double* frames, const double* row, size_t count) {
  product<Vector>(sums, frames, row, count);
}

} // namespace qv::audio
