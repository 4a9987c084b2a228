#include "kernel/time/position_format.h"

#include "kernel/rounding.h"
#include "kernel/time/smpte_labels.h"

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

using namespace qv::kernel;

DWORD QvNanoTimeToHMSF(QVNANOTIME time, _smpteval* fields, double frameRate, BOOL keepHours) {
  if (is_smpte_format(fields->format)) {
    write_label_of_time(*fields, time);
    return fields->seconds;
  }
  const ClockTime clock = clock_time(seconds_of(std::max<QVNANOTIME>(time, 0)) + half_frame(frameRate), frameRate);
  fields->hours = static_cast<DWORD>(keepHours != 0 ? clock.hours : clock.hours % 24);
  fields->minutes = clock.minutes;
  fields->seconds = clock.seconds;
  fields->frames = clock.part;
  return fields->seconds;
}

QVNANOTIME QvHMSFToNanoTime(const _smpteval* fields, double frameRate) {
  if (is_smpte_format(fields->format)) return time_of_label(*fields);
  const double frames = fields->frames == 0 ? 0.0 : fields->frames / frameRate;
  return time_of_seconds(fields->hours * 3600.0 + fields->minutes * 60.0 + fields->seconds + frames);
}

void QvNanoTimeToMeasures(QVNANOTIME time, const _qvposfmt* shown, DWORD* measure, DWORD* beat, DWORD* tick) {
  const MusicalPosition position = musical_position(seconds_of(std::max<QVNANOTIME>(time, 0)), *shown);
  if (measure) *measure = position.measure;
  if (beat) *beat = position.beat;
  if (tick) *tick = position.tick;
}
