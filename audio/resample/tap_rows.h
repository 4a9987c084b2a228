// The weights of the frames around a position, for each quality of the streaming converter.
#pragma once

#include "audio/resample/timeline.h"
#include "audio/resample/weight_rows.h"

#include "qv/resample.h"

namespace qv::audio {

class TapRows {
public:
  TapRows() = default;
  TapRows(QVRESAMPLE2_QUALITY quality, const Timeline& timeline);
  /// Makes a table of the rows for each part of a frame, unless they are too many. Throws std::bad_alloc.
  void make_table();

  /// The frames that an output looks back and ahead, beside the one that it stands at or behind.
  DWORD before() const { return before_; }
  DWORD ahead() const { return ahead_; }
  /// How many doubles a row has: a weight for each frame, oldest first, and zeros up to a multiple of 8.
  size_t row_size() const { return row_size_; }
  /// Returns the row for a part of a frame. `own` is room for one, which is filled where there is no table.
  const double* row(uint64_t part, double* own) const;

private:
  void fill(double* row, double fraction) const;
  void fill_best(double* row, double fraction) const;

  QVRESAMPLE2_QUALITY quality_ = QVRESAMPLE2_LINEAR;
  uint64_t denominator_ = 1;
  double scale_ = 1.0; ///< zeros of the filter per source frame
  DWORD before_ = 0;
  DWORD ahead_ = 0;
  size_t row_size_ = 0;
  AlignedDoubles rows_;
};

} // namespace qv::audio
