// Labels, frame counts and times.
#include "kernel/smpte_rates.h"
#include "kernel/time_rounding.h"

using namespace qv::kernel;

namespace {

constexpr uint32_t kDial30 = 30 * 86'400;

/// Labels that drop frame skips from the start of its hour to the start of the minute.
constexpr uint32_t dropped_before(uint32_t minutes) { return (minutes - minutes / 10) * 2; }

template <uint32_t Counted>
void write_label(_smpteval* label, uint32_t nominal) {
  const uint32_t seconds = nominal / Counted;
  const uint32_t minutes = seconds / 60;
  const uint32_t hours = minutes / 60;
  label->hours = hours;
  label->minutes = minutes - hours * 60;
  label->seconds = seconds - minutes * 60;
  label->frames = nominal - seconds * Counted;
}

/// The number that a frame would have if no label were dropped. The first minute of ten has 1800 frames, each of the
/// others 1798.
uint32_t nominal_count(uint32_t count) {
  constexpr uint32_t kTenMinutes = 10 * 1800 - kDroppedPerTenMinutes;
  const uint32_t tens = count / kTenMinutes;
  const uint32_t rest = count - tens * kTenMinutes;
  const uint32_t minutes_that_drop = rest < 1800 ? 0 : (rest - 2) / 1798;
  return count + tens * kDroppedPerTenMinutes + minutes_that_drop * 2;
}

} // namespace

DWORD QVSMPTE_SMPTEToFrameCount(const _smpteval* label) {
  if (!is_smpte_format(label->format)) return 0;
  const uint32_t seconds = (label->hours * 60 + label->minutes) * 60 + label->seconds;
  const uint32_t nominal = seconds * kSmpteRates[label->format - 1].counted;
  if (label->format != QVSMPTE_FMT_2997DF) return nominal + label->frames;
  const bool dropped = label->frames < 2 && label->seconds == 0 && label->minutes % 10 != 0;
  const uint32_t frames = dropped ? 2 : label->frames;
  return nominal - label->hours * kDroppedPerHour - dropped_before(label->minutes) + frames;
}

DWORD QVSMPTE_FrameCountToSMPTE(_smpteval* label, DWORD count) {
  switch (label->format) {
  case QVSMPTE_FMT_30:
  case QVSMPTE_FMT_2997ND: write_label<30>(label, count % kDial30); break;
  case QVSMPTE_FMT_25: write_label<25>(label, count % kSmpteRates[QVSMPTE_FMT_25 - 1].dial); break;
  case QVSMPTE_FMT_24:
  case QVSMPTE_FMT_23976: write_label<24>(label, count % kSmpteRates[QVSMPTE_FMT_24 - 1].dial); break;
  default: write_label<30>(label, nominal_count(count % kSmpteRates[QVSMPTE_FMT_2997DF - 1].dial));
  }
  return 0;
}

DWORD QVSMPTE_NanoToSMPTE(QVNANOTIME time, _smpteval* label) {
  const double frames = static_cast<double>(time) * smpte_real_rate(label->format) / 1e7 + 5e-6;
  return QVSMPTE_FrameCountToSMPTE(label, unsigned_truncated(frames));
}

QVNANOTIME QVSMPTE_SMPTEToNanos(const _smpteval* label) {
  return truncated(QVSMPTE_SMPTEToFrameCount(label) / smpte_real_rate(label->format) * 1e7 + 0.999);
}

QVNANOTIME QVSMPTE_SmpteLikeToNanos(double rate, const _smpteval* label) {
  const double seconds = (label->hours * 60.0 + label->minutes) * 60.0 + label->seconds;
  return truncated((seconds * rate + label->frames) / rate * 1e7 + 0.999);
}
