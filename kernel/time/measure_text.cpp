// Measures, beats and ticks as text, and back.
#include "kernel/rounding.h"
#include "kernel/time/number_reader.h"

#include "qv/text.h"
#include "qv/time.h"

#include <algorithm>
#include <climits>

using namespace qv::kernel;

namespace {

LONG saturated_long(int64_t value) { return static_cast<LONG>(std::clamp<int64_t>(value, INT_MIN, INT_MAX)); }

/// Ticks of `beats` beats in the meter's own note value, rounded down.
int64_t ticks_of_beats(const _qvposfmt& shown, int64_t beats) {
  return beats * shown.ticksPerBeat * 4 / shown.beatUnit;
}

} // namespace

int QvMeasuresAndTicksToText(WCHAR* out, const _qvposfmt* shown, LONG measure, LONG tick, BOOL fromOne, BOOL shortForm,
                             LONG tickDivisor) {
  int64_t shown_measure = measure;
  int64_t ticks = tick;
  if (ticks < 0) {
    ticks += ticks_of_beats(*shown, shown->beatsPerMeasure);
    --shown_measure;
  }
  // A beat that is shorter than a tick counts as one.
  const int64_t per_beat = std::max<int64_t>(ticks_of_beats(*shown, 1), 1);
  int64_t beat = ticks / per_beat % shown->beatsPerMeasure;
  const int64_t sub_tick = ticks % per_beat / tickDivisor;
  if (fromOne != 0) {
    ++beat;
    if (shown_measure >= 0) ++shown_measure; // -1 precedes 1
  }
  const int measure_field = saturated_long(shown_measure);
  const auto beat_field = static_cast<unsigned>(beat);
  if (shortForm != 0) return QvPrintF(out, QV_TEXT("%d$&:%1u"), measure_field, beat_field);
  return QvPrintF(out, QV_TEXT("%d$&:%u$&.%03u"), measure_field, beat_field, static_cast<unsigned>(sub_tick));
}

int QvTicksToText(WCHAR* out, const _qvposfmt* shown, LONGLONG ticks, BOOL fromOne, BOOL shortForm, LONG tickDivisor) {
  const int64_t per_measure = int64_t{shown->beatsPerMeasure} * shown->ticksPerBeat;
  int64_t measure = ticks / per_measure;
  int64_t rest = ticks % per_measure;
  if (rest < 0) {
    rest += per_measure;
    --measure;
  }
  return QvMeasuresAndTicksToText(out, shown, saturated_long(measure), saturated_long(rest), fromOne, shortForm,
                                  tickDivisor);
}

LONGLONG QvTextToMeasuresBeatsTicks(const WCHAR* text, const _qvposfmt* shown, BOOL fromOne, LONG tickMultiplier,
                                    LONG* measure, LONG* beat, LONG* tick) {
  text = skip_white(text);
  const bool negative = *text == QV_TEXT('-');
  if (negative) ++text;
  int64_t fields[3] = {};
  for (int64_t& field : fields) {
    while (*text != 0 && !is_digit(*text))
      ++text;
    const WCHAR* end = skip_digits(text);
    field = saturated_long(digits_value(text, end));
    text = end;
  }
  auto [measures, beats, ticks] = fields;
  if (fromOne != 0) {
    if (!negative && measures > 0) --measures;
    if (beats > 0) --beats;
  }
  if (negative) measures = -measures;
  ticks = saturated_long(ticks * tickMultiplier);
  if (measure) *measure = static_cast<LONG>(measures);
  if (beat) *beat = static_cast<LONG>(beats);
  if (tick) *tick = static_cast<LONG>(ticks);
  const int64_t all_beats = shown->beatsPerMeasure * measures + beats;
  const int64_t whole = saturated_product(magnitude(all_beats), shown->ticksPerBeat);
  return saturated_sum(all_beats < 0 ? -whole : whole, ticks);
}
