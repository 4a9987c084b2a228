#include "kernel/time/position_format.h"

#include "kernel/rounding.h"

#include <algorithm>

namespace qv::kernel {

namespace {

#define QV_POSITION_CODE(code, name, long_text, short_text, smpte) code,
constexpr DWORD kCodes[QVPOSFMT_COUNT] = {QV_POSFMT_TABLE(QV_POSITION_CODE)};
#undef QV_POSITION_CODE

constexpr bool rows_stand_at_their_codes() {
  for (DWORD i = 0; i < QVPOSFMT_COUNT; ++i)
    if (kCodes[i] != i) return false;
  return true;
}
static_assert(rows_stand_at_their_codes());

} // namespace

#define QV_POSITION_FORMAT(code, name, long_text, short_text, smpte)                                                   \
  PositionFormat{TextForm(QV_TEXT(long_text)), TextForm(QV_TEXT(short_text)), smpte},
constexpr PositionFormat kPositionFormats[QVPOSFMT_COUNT] = {QV_POSFMT_TABLE(QV_POSITION_FORMAT)};
#undef QV_POSITION_FORMAT

ClockTime clock_time(double seconds, double parts_per_second) {
  const int64_t hours = truncated(seconds / 3600.0);
  double rest = seconds - static_cast<double>(hours) * 3600.0;
  const auto minutes = static_cast<int32_t>(rest / 60.0);
  rest -= minutes * 60.0;
  const auto whole = static_cast<int32_t>(rest);
  const int64_t part = floor_plus((rest - whole) * parts_per_second);
  ClockTime time = {static_cast<uint64_t>(std::max<int64_t>(hours, 0)), static_cast<uint32_t>(std::max(minutes, 0)),
                    static_cast<uint32_t>(std::max(whole, 0)),
                    static_cast<uint32_t>(std::clamp<int64_t>(part, 0, UINT32_MAX))};
  if (time.part == 0 || time.part < parts_per_second) return time;
  time.part = 0;
  if (++time.seconds < 60) return time;
  time.seconds = 0;
  if (++time.minutes < 60) return time;
  time.minutes = 0;
  ++time.hours;
  return time;
}

MusicalPosition musical_position(double seconds, const _qvposfmt& shown) {
  const double measures = seconds * shown.tempo / shown.beatsPerMeasure / 60.0 + 5e-5;
  const double beats = (measures - std::trunc(measures)) * shown.beatsPerMeasure;
  const double ticks = (beats - std::trunc(beats)) * shown.ticksPerBeat;
  return {unsigned_truncated(measures), unsigned_truncated(beats), unsigned_truncated(ticks)};
}

} // namespace qv::kernel
