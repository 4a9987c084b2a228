// Time values as fields of a record, and back.
#include "kernel/rounding.h"
#include "kernel/time/position_format.h"
#include "kernel/time/smpte_labels.h"

#include <algorithm>

using namespace qv::kernel;

DWORD QvNanoTimeToHMSF(QVNANOTIME time, _smpteval* fields, double frameRate, BOOL keepHours) {
  if (is_smpte_format(fields->format)) {
    write_label_of_time(*fields, time);
    return fields->seconds;
  }
  const double half_frame = frameRate > 0.01 ? 0.5 / frameRate : 0.0;
  const ClockTime clock = clock_time(seconds_of(std::max<QVNANOTIME>(time, 0)) + half_frame, frameRate);
  fields->hours = static_cast<DWORD>(keepHours != 0 ? clock.hours : clock.hours % 24);
  fields->minutes = clock.minutes;
  fields->seconds = clock.seconds;
  fields->frames = clock.part;
  return fields->seconds;
}

QVNANOTIME QvHMSFToNanoTime(const _smpteval* fields, double frameRate) {
  if (is_smpte_format(fields->format)) return time_of_label(*fields);
  const double frames = fields->frames == 0 ? 0.0 : fields->frames / frameRate;
  const double seconds = fields->hours * 3600.0 + fields->minutes * 60.0 + fields->seconds + frames;
  return truncated(seconds * 1e7 + 0.5);
}

void QvNanoTimeToMeasures(QVNANOTIME time, const _qvposfmt* shown, DWORD* measure, DWORD* beat, DWORD* tick) {
  const MusicalPosition position = musical_position(seconds_of(std::max<QVNANOTIME>(time, 0)), *shown);
  if (measure) *measure = position.measure;
  if (beat) *beat = position.beat;
  if (tick) *tick = position.tick;
}
