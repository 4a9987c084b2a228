// Texts as time values.
#include "kernel/rounding.h"
#include "kernel/time/number_reader.h"
#include "kernel/time/position_format.h"
#include "kernel/time/smpte_labels.h"

#include <algorithm>
#include <array>

using namespace qv::kernel;

namespace {

// Seconds that samples and frames may reach: 2^62 units below 0 and 2^61 above.
constexpr double kMinSeconds = -461168601842.7388;
constexpr double kMaxSeconds = 230584300921.3694;

/// The runs of digits of a text. They fill the fields from the right: each moves the earlier ones one field to the
/// left.
template <size_t Fields>
struct FieldRuns {
  explicit FieldRuns(const WCHAR* text, size_t max = Fields) : end(text) {
    for (; *text != 0 && count < max; ++text) {
      if (is_white(*text)) has_white_space = true;
      if (!is_digit(*text)) continue;
      last = text;
      end = skip_digits(text);
      std::move(values.begin() + 1, values.end(), values.begin());
      values.back() = digits_value(last, end);
      ++count;
      text = end - 1;
    }
  }

  double real(size_t field) const { return static_cast<double>(values[field]); }

  std::array<int64_t, Fields> values{}; ///< filled from the right
  size_t count = 0;
  const WCHAR* last = nullptr; ///< where the last run begins
  const WCHAR* end;            ///< behind the last run; the text when there is none
  bool has_white_space = false;
};

void store(const WCHAR** end, const WCHAR* value) {
  if (end) *end = value;
}

/// `value` raised to `min`, then lowered to `max`. Bounds of negative rates stand the wrong way round: `max` wins.
template <class Value>
Value kept_within(Value value, Value min, Value max) {
  return std::min(std::max(value, min), max);
}

/// The time of `count` units at a rate per second.
QVNANOTIME time_of(double count, double rate) { return time_of_seconds(count / rate); }

/// The seconds that frames last; 0 frames last 0 seconds at any rate, even at 0.
double seconds_of_frames(double frames, double rate) { return frames == 0.0 ? 0.0 : frames / rate; }

double clock_seconds(double hours, double minutes, double seconds) { return hours * 3600.0 + minutes * 60.0 + seconds; }

int64_t milliseconds_of_fraction(const WCHAR* first, const WCHAR* end) {
  int64_t value = digits_value(first, std::min(end, first + 3));
  for (ptrdiff_t digits = end - first; digits < 3; ++digits)
    value *= 10;
  return value;
}

int64_t saturated_milliseconds(int64_t hours, int64_t minutes, int64_t seconds, int64_t milliseconds) {
  const int64_t whole_minutes = saturated_sum(saturated_product(hours, 60), minutes);
  const int64_t whole_seconds = saturated_sum(saturated_product(whole_minutes, 60), seconds);
  return saturated_sum(saturated_product(whole_seconds, 1000), milliseconds);
}

QVNANOTIME samples_time(int64_t count, DWORD rate) {
  if (rate == 0) return 0;
  const int64_t min = truncated(0.5 + rate * kMinSeconds);
  const int64_t max = truncated(rate * kMaxSeconds + 0.5);
  return time_of(static_cast<double>(kept_within(count, min, max)), rate);
}

QVNANOTIME frames_time(double count, double rate) {
  const auto min = static_cast<double>(floor_plus(kFrameSlack + rate * kMinSeconds));
  const auto max = static_cast<double>(floor_plus(rate * kMaxSeconds + kFrameSlack));
  return time_of(kept_within(count, min, max), rate);
}

QVNANOTIME timecode_time(const WCHAR* text, DWORD smpte_format, const WCHAR** end) {
  _smpteval label = {};
  label.format = smpte_format;
  store(end, read_smpte(text, &label).end);
  return time_of_label(label);
}

QVNANOTIME cd_time(const WCHAR* text, const WCHAR** end) {
  _smpteval label = {};
  store(end, read_smpte(text, &label).end);
  return time_of_seconds(clock_seconds(label.hours, label.minutes, label.seconds) +
                         static_cast<double>(label.frames) / kCdFramesPerSecond);
}

QVNANOTIME feet_time(const WCHAR* text, const _qvposfmt& shown, bool forty, const WCHAR** end) {
  NumberReader reader(text);
  int64_t feet = 0;
  int64_t frames = 0;
  for (int fields = 0; fields < 2; ++fields) {
    const WCHAR* run = reader.position();
    while (*run != 0 && !is_digit(*run))
      ++run;
    if (*run == 0) break;
    reader.move_to(run);
    feet = frames;
    frames = reader.integer();
  }
  store(end, reader.position());
  const auto per_foot = static_cast<double>(frames_per_foot(forty));
  return time_of(static_cast<double>(feet) * per_foot + static_cast<double>(frames), shown.frameRate);
}

QVNANOTIME read_position(const WCHAR* text, const _qvposfmt& shown, DWORD flags, const WCHAR** end) {
  const BOOL short_form = (flags & QVTIME_SHORT) != 0 ? TRUE : FALSE;
  const auto integer = [text, end] {
    NumberReader reader(text);
    const int64_t value = reader.integer();
    store(end, reader.position());
    return value;
  };
  const auto real = [text, end] {
    NumberReader reader(text);
    const double value = reader.real();
    store(end, reader.position());
    return value;
  };
  store(end, text);
  switch (shown.format) {
  case QVPOSFMT_SAMPLES: return samples_time(integer(), shown.sampleRate);
  case QVPOSFMT_TIME: return saturated_product(QvTextToTimeToken(text, &shown, short_form, end), 10'000);
  case QVPOSFMT_SECONDS: return truncated(kept_within(real(), -461168601842.0, 230584300921.0) * 1e7);
  case QVPOSFMT_TIMEFRAMES: return QvTextToHMSFToken(text, &shown, short_form, end);
  case QVPOSFMT_FRAMES: return frames_time(real(), shown.frameRate);
  case QVPOSFMT_MEASURES:
  case QVPOSFMT_MEASURES0: return QvTextToMusicTimeToken(text, &shown, flags, end);
  case QVPOSFMT_RAW: return integer();
  case QVPOSFMT_MICROSECONDS: return saturated_product(integer(), 10);
  case QVPOSFMT_BEATS: return truncated(real() / shown.tempo * 6e8 + 0.5);
  case QVPOSFMT_FEETFRAMES16: return feet_time(text, shown, true, end);
  case QVPOSFMT_FEETFRAMES35: return feet_time(text, shown, false, end);
  case QVPOSFMT_CDTIME: return cd_time(text, end);
  default: break;
  }
  const DWORD smpte_format = position_format(shown.format).smpte_format;
  return smpte_format != 0 ? timecode_time(text, smpte_format, end) : 0;
}

} // namespace

LONGLONG QvTextToTimeToken(const WCHAR* text, const _qvposfmt*, BOOL shortForm, const WCHAR** end) {
  if (shortForm != 0) {
    const FieldRuns<3> fields(text);
    store(end, fields.end);
    return saturated_milliseconds(fields.values[0], fields.values[1], fields.values[2], 0);
  }
  const FieldRuns<4> fields(text);
  store(end, fields.end);
  const auto& [hours, minutes, seconds, last] = fields.values;
  if (fields.count < 2 && !fields.has_white_space) return saturated_milliseconds(0, 0, last, 0);
  const int64_t milliseconds = fields.count == 0 ? 0 : milliseconds_of_fraction(fields.last, fields.end);
  return saturated_milliseconds(hours, minutes, seconds, milliseconds);
}

QVNANOTIME QvTextToHMSFToken(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm, const WCHAR** end) {
  const FieldRuns<4> fields(text, shortForm != 0 ? 3 : 4);
  store(end, fields.end);
  const size_t hours = shortForm != 0 ? 1 : 0; // fields of the short form end where the long form's frames are
  const double frames = shortForm != 0 ? 0.0 : fields.real(3);
  return time_of_seconds(clock_seconds(fields.real(hours), fields.real(hours + 1), fields.real(hours + 2)) +
                         seconds_of_frames(frames, shown->frameRate));
}

QVNANOTIME QvTextToMusicTimeToken(const WCHAR* text, const _qvposfmt* shown, DWORD flags, const WCHAR** end) {
  const bool short_form = (flags & QVTIME_SHORT) != 0;
  const FieldRuns<3> fields(text, short_form ? 2 : 3);
  store(end, fields.end);
  double measure = fields.real(short_form ? 1 : 0);
  double beat = fields.real(short_form ? 2 : 1);
  const double tick = short_form ? 0.0 : fields.real(2);
  if (shown->format == QVPOSFMT_MEASURES && (flags & QVTIME_ABSOLUTE) == 0) {
    if (measure > 0.0) measure -= 1.0;
    if (beat > 0.0) beat -= 1.0;
  }
  const double beats = measure * shown->beatsPerMeasure + beat + seconds_of_frames(tick, shown->ticksPerBeat);
  return truncated(beats / shown->tempo * 6e8);
}

QVNANOTIME QvTextToFeetAndFramesToken(const WCHAR* text, const _qvposfmt* shown, BOOL fortyFrames) {
  return feet_time(text, *shown, fortyFrames != 0, nullptr);
}

QVNANOTIME QvTextToNanoTimeToken2(const WCHAR* text, const _qvposfmt* shown, QVNANOTIME absent, QVNANOTIME minimum,
                                  QVNANOTIME maximum, DWORD flags, const WCHAR** end) {
  const WCHAR* at = skip_white(text);
  const bool negative = *at == QV_TEXT('-');
  if (negative) ++at;
  store(end, at);
  if (*at == 0) return absent;

  const WCHAR* behind = at;
  QVNANOTIME time = read_position(at, *shown, flags, &behind);
  store(end, behind);
  if (negative) time = saturated_difference(0, time);
  if ((flags & QVTIME_ABSOLUTE) == 0) time = saturated_sum(time, shown->offset);
  if ((flags & QVTIME_VALIDATE) == 0) return time;
  if (time == 0 && *skip_white(behind) != 0) time = absent;
  return kept_within(time, minimum, maximum);
}

QVNANOTIME QvTextToNanoTimeTokenEx(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm, QVNANOTIME absent,
                                   QVNANOTIME minimum, QVNANOTIME maximum, const WCHAR** end) {
  const DWORD flags = QVTIME_VALIDATE | (shortForm != 0 ? QVTIME_SHORT : 0);
  return QvTextToNanoTimeToken2(text, shown, absent, minimum, maximum, flags, end);
}

QVNANOTIME QvTextToNanoTimeToken(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm, const WCHAR** end) {
  return QvTextToNanoTimeToken2(text, shown, 0, 0, 0, shortForm != 0 ? QVTIME_SHORT : 0, end);
}
