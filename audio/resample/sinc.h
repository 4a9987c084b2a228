// Interpolation by a windowed sinc of 25 taps, 12 source frames late.
#pragma once

#include "audio/resample/block.h"
#include "audio/resample/weight_rows.h"

namespace qv::audio {

inline constexpr DWORD kSincTaps = 25;
/// Frames kept before a block: those that the taps need, and two more, where the block's first outputs may stand.
inline constexpr DWORD kSincHistory = kSincTaps + 1;

/// Fills in the weights for a fraction of a frame, oldest first, from the shared table.
void sinc_weights(double (&weights)[kSincTaps], double fraction);

/// The rows of weights for all fractions that a timeline has, where they are few.
class SincBank {
public:
  SincBank() = default;
  /// Throws std::bad_alloc. Empty for a denominator of more than 1024.
  explicit SincBank(const Timeline& timeline);
  const double* row(uint64_t part) const { return rows_.data() + part * kSincRow; }
  bool is_empty() const { return rows_.is_empty(); }

private:
  AlignedDoubles rows_;
};

/// Converts a block of floats or doubles.
void run_sinc(const ResampleBlock& block, QVSAMPLETYPE type, const SincBank& bank);

} // namespace qv::audio
