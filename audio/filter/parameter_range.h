// Parameters that are out of range count as the nearest value in it.
#pragma once

namespace qv::audio {

/// A NaN counts as the lowest.
constexpr double within(double value, double least, double most) {
  if (!(value > least)) return least;
  return value < most ? value : most;
}

} // namespace qv::audio
