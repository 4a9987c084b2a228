// How many samples were too loud for an integer type and were set to its full scale.
#pragma once

#include "qv/audio_kernels.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qv::tool {

class ClippingCount {
public:
  /// Samples of type `from` are brought to the type `to` after a factor. Where neither that nor the types can make one
  /// clip, nothing is looked at.
  ClippingCount(QVSAMPLETYPE to, QVSAMPLETYPE from, float factor);

  bool is_possible() const { return is_possible_; }
  /// Counts those of `samples`, of the type `from`, that are clipped in `converted`, which may be null.
  void add(const void* converted, const void* samples, size_t count);
  uint64_t samples() const { return clipped_; }

private:
  /// A quick look, that is right when it says no.
  bool may_have_clipped(const void* converted, const void* samples, size_t count) const;
  void count_doubles(const double* samples, size_t count);

  QVSAMPLETYPE to_;
  QVSAMPLETYPE from_;
  float factor_;
  bool is_possible_;
  uint64_t clipped_ = 0;
  std::vector<double> doubles_;
};

/// Prints one line about a written file when there are clipped samples in it.
void warn_of_clipping(const std::string& name, uint64_t samples);

} // namespace qv::tool
