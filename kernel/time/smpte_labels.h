// The six SMPTE formats: their rates, and frame counts, labels, times and texts in their arithmetic.
#pragma once

#include "kernel/rounding.h"

#include "qv/smpte.h"

#include <cstdint>
#include <iterator>

namespace qv::kernel {

struct SmpteRate {
  uint32_t counted; ///< frames counted per second
  double rate;      ///< real frames per second
  uint32_t dial;    ///< frames in 24 hours
};

inline constexpr uint32_t kDroppedPerTenMinutes = 18;
inline constexpr uint32_t kDroppedPerHour = 6 * kDroppedPerTenMinutes;

constexpr SmpteRate smpte_rate_of_row(uint32_t code, uint32_t counted, double numerator, double denominator) {
  const uint32_t dropped = code == QVSMPTE_FMT_2997DF ? 24 * kDroppedPerHour : 0;
  return {counted, numerator / denominator, counted * 86'400 - dropped};
}

#define QV_SMPTE_RATE(code, name, counted, numerator, denominator)                                                     \
  smpte_rate_of_row(code, counted, numerator, denominator),
inline constexpr SmpteRate kSmpteRates[] = {QV_SMPTE_FORMAT_TABLE(QV_SMPTE_RATE)};
#undef QV_SMPTE_RATE

inline bool is_smpte_format(uint32_t format) { return format - 1 < std::size(kSmpteRates); }

/// Real frames per second; 30 for a format that is none of the six.
inline double smpte_real_rate(uint32_t format) { return is_smpte_format(format) ? kSmpteRates[format - 1].rate : 30.0; }

inline uint32_t frame_count_of(const _smpteval& label) {
  if (label.format == QVSMPTE_FMT_2997DF) [[likely]] {
    constexpr uint32_t kMinute = 60 * 30 - 2;
    constexpr uint32_t kHour = 60 * 60 * 30 - kDroppedPerHour;
    const uint32_t tens = label.minutes / 10; // minutes that drop nothing
    const uint32_t second = label.hours * kHour + label.minutes * kMinute + tens * 2 + label.seconds * 30;
    if ((label.seconds | label.frames / 2) != 0 || label.minutes == tens * 10) [[likely]]
      return second + label.frames;
    return second + 2;
  }
  if (!is_smpte_format(label.format)) return 0;
  const uint32_t seconds = (label.hours * 60 + label.minutes) * 60 + label.seconds;
  return seconds * kSmpteRates[label.format - 1].counted + label.frames;
}

/// The number that a frame of a drop-frame day would have if no label were dropped. The first minute of ten has 1800
/// frames, each of the others 1798.
inline uint32_t nominal_count_of(uint32_t count) {
  constexpr uint32_t kTenMinutes = 10 * 1800 - kDroppedPerTenMinutes;
  const uint32_t tens = count / kTenMinutes;
  const uint32_t rest = count - tens * kTenMinutes;
  const uint32_t minutes_that_drop = rest < 1800 ? 0 : (rest - 2) / 1798;
  return count + tens * kDroppedPerTenMinutes + minutes_that_drop * 2;
}

template <uint32_t Counted>
void write_nominal_label(_smpteval& label, uint32_t nominal) {
  const uint32_t seconds = nominal / Counted;
  const uint32_t minutes = seconds / 60;
  const uint32_t hours = minutes / 60;
  label.hours = hours;
  label.minutes = minutes - hours * 60;
  label.seconds = seconds - minutes * 60;
  label.frames = nominal - seconds * Counted;
}

/// Writes the fields for a count modulo the format's dial. Formats that are none of the six are taken for drop frame.
inline void write_label(_smpteval& label, uint32_t count) {
  constexpr auto dial = [](DWORD format) { return kSmpteRates[format - 1].dial; };
  switch (label.format) {
  case QVSMPTE_FMT_30:
  case QVSMPTE_FMT_2997ND: return write_nominal_label<30>(label, count % dial(QVSMPTE_FMT_30));
  case QVSMPTE_FMT_25: return write_nominal_label<25>(label, count % dial(QVSMPTE_FMT_25));
  case QVSMPTE_FMT_24:
  case QVSMPTE_FMT_23976: return write_nominal_label<24>(label, count % dial(QVSMPTE_FMT_24));
  default: return write_nominal_label<30>(label, nominal_count_of(count % dial(QVSMPTE_FMT_2997DF)));
  }
}

inline void write_label_of_time(_smpteval& label, QVNANOTIME time) {
  write_label(label, unsigned_truncated(static_cast<double>(time) * smpte_real_rate(label.format) / 1e7 + 5e-6));
}

inline QVNANOTIME time_of_label(const _smpteval& label) {
  return time_of_frame_start(frame_count_of(label) / smpte_real_rate(label.format));
}

/// Where read_smpte stopped.
struct SmpteReading {
  const WCHAR* end; ///< behind all that was read, a separator at the end too; the text itself without a digit
  WCHAR stopped_at; ///< 0 when the text was used up
};

/// Reads as QVSMPTE_TextToSMPTE does, and says where it stopped.
SmpteReading read_smpte(const WCHAR* text, _smpteval* label);

} // namespace qv::kernel
