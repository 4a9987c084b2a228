// The six SMPTE formats as numbers.
#pragma once

#include "qv/smpte.h"

#include <cstdint>

namespace qv::kernel {

struct SmpteRate {
  uint32_t counted; ///< frames counted per second
  double rate;      ///< real frames per second
  uint32_t dial;    ///< frames in 24 hours
};

inline constexpr uint32_t kSmpteFormats = 6;

inline constexpr uint32_t kDroppedPerTenMinutes = 18;
inline constexpr uint32_t kDroppedPerHour = 6 * kDroppedPerTenMinutes;

constexpr SmpteRate smpte_rate_of_row(uint32_t code, uint32_t counted, double numerator, double denominator) {
  const uint32_t dropped = code == QVSMPTE_FMT_2997DF ? 24 * kDroppedPerHour : 0;
  return {counted, numerator / denominator, counted * 86'400 - dropped};
}

#define QV_SMPTE_RATE(code, name, counted, numerator, denominator)                                                     \
  smpte_rate_of_row(code, counted, numerator, denominator),
inline constexpr SmpteRate kSmpteRates[kSmpteFormats] = {QV_SMPTE_FORMAT_TABLE(QV_SMPTE_RATE)};
#undef QV_SMPTE_RATE

inline bool is_smpte_format(uint32_t format) { return format - 1 < kSmpteFormats; }

/// Real frames per second; 30 for a format that is none of the six.
inline double smpte_real_rate(uint32_t format) { return is_smpte_format(format) ? kSmpteRates[format - 1].rate : 30.0; }

} // namespace qv::kernel
