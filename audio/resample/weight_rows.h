// Rows of weights: the memory that they lie in, and the loops that multiply frames with them, a function for each
// kernel level, all with the same results to the bit.
#pragma once

#include "audio/kernels/levels.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace qv::audio {

/// Doubles that begin where the widest vector does: loads of whole vectors then cross no cache line.
class AlignedDoubles {
public:
  static constexpr std::align_val_t kAlignment{64};

  AlignedDoubles() = default;
  /// Leaves the values unset. Throws std::bad_alloc.
  explicit AlignedDoubles(size_t count)
      : memory_(static_cast<double*>(::operator new(count * sizeof(double), kAlignment))) {}

  double* data() const { return memory_.get(); }
  bool is_empty() const { return !memory_; }

private:
  struct Free {
    void operator()(double* memory) const { ::operator delete(memory, kAlignment); }
  };
  std::unique_ptr<double[], Free> memory_;
};

/// Doubles in a row of weights for two channels side by side: the weight of each of 25 frames twice, then zeros.
inline constexpr size_t kSincRow = 56;

/// Outputs of two channels. An output is the two sums, over even and over odd places, of the products of kSincRow
/// doubles: frames and a row of weights.
struct PairSpan {
  double* sums; ///< two for each output
  size_t count;
  const double* frames; ///< in pairs, from the first that the first output looks at
  const double* rows;   ///< for each part of a frame
  uint64_t part, step, denominator;
};
/// Makes the outputs of a span.
using PairProducts = void(const PairSpan& span);
QV_FOR_LEVELS(PairProducts, pair_products);

/// Returns the sum of the products of `count` doubles each, a multiple of 8.
using Product = double(const double* frames, const double* row, size_t count);
QV_FOR_LEVELS(Product, product);

} // namespace qv::audio
