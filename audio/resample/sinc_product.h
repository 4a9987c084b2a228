// The innermost loops of a filter over frames: a function for each kernel level, all with the same results to the bit.
#pragma once

#include "audio/kernels/levels.h"

#include <cstddef>
#include <cstdint>

namespace qv::audio {

/// The doubles of a row that goes with two channels side by side: a weight for each of 25 frames, twice, and zeros.
inline constexpr size_t kSincRow = 56;

/// Outputs of two channels, one after the other: for each the sums of the products of kSincRow doubles, of even and odd
/// places.
struct PairSpan {
  double* sums; ///< two for each output
  size_t count;
  const double* frames; ///< in pairs, from the first that the first output looks at
  const double* rows;   ///< for each part of a frame
  uint64_t part, step, denominator;
};
using PairProducts = void(const PairSpan& span);
QV_FOR_LEVELS(PairProducts, pair_products);

/// The sum of the products of `count` doubles, a multiple of 8.
using Product = double(const double* frames, const double* row, size_t count);
QV_FOR_LEVELS(Product, product);

} // namespace qv::audio
