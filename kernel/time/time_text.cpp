// Time values as text.
#include "kernel/rounding.h"
#include "kernel/text/printf_formatter.h"
#include "kernel/time/position_format.h"
#include "kernel/time/smpte_labels.h"

#include <algorithm>
#include <climits>
#include <string_view>

using namespace qv::kernel;

namespace {

/// From here on format TIME shows days: a tenth of a second short of one.
constexpr QVNANOTIME kShowsDays = 863'999'000'001;

constexpr const WCHAR* kWithDays = QV_TEXT("%02u$:%02u$:%02u$:%02u");
constexpr const WCHAR* kCompactHours = QV_TEXT("%u$:%02u$:%02u");
constexpr const WCHAR* kCompactMinutes = QV_TEXT("%02u$:%02u");
constexpr const WCHAR* kCompactMinute = QV_TEXT("%u$:%02u");
constexpr const WCHAR* kInteger = QV_TEXT("$I64d");
constexpr std::basic_string_view<WCHAR> kWholeUnits = QV_TEXT("$.0f");

/// A format string, with its layout if it is one of the table's that has one.
struct Form {
  explicit Form(const TextForm& form) : format(form.format), layout(form.layout.is_usable() ? &form.layout : nullptr) {}
  explicit Form(const WCHAR* text) : format(text ? text : QV_TEXT("")) {}
  bool shows_whole_units() const { return format == kWholeUnits; }

  const WCHAR* format;
  const ClockLayout* layout = nullptr;
};

void write_numbers(Sink& sink, const Form& form, std::span<const Number> numbers) {
  Arguments arguments(numbers);
  TextFormatter(sink, arguments).write(form.format);
}

void write_integer(Sink& sink, const Form& form, int64_t value) {
  const Number number = Number::of(value);
  write_numbers(sink, form, {&number, 1});
}

/// Writes a double, or the integer that `whole` makes of it where the format string asks for whole units.
void write_real(Sink& sink, const Form& form, double value, int64_t (*whole)(double)) {
  if (form.shows_whole_units()) return write_integer(sink, Form(kInteger), whole(value));
  const Number number = Number::of(value);
  write_numbers(sink, form, {&number, 1});
}

void write_fields(Sink& sink, const Form& form, uint32_t first, uint32_t second, uint32_t third, uint32_t last) {
  if (form.layout && form.layout->write(sink, first, second, third, last)) return;
  const Number numbers[] = {Number::of(int64_t{first}), Number::of(int64_t{second}), Number::of(int64_t{third}),
                            Number::of(int64_t{last})};
  write_numbers(sink, form, numbers);
}

uint32_t hour_of_day(const ClockTime& clock) { return static_cast<uint32_t>(clock.hours % 24); }

void write_clock(Sink& sink, const Form& form, const ClockTime& clock) {
  write_fields(sink, form, hour_of_day(clock), clock.minutes, clock.seconds, clock.part);
}

/// Up to here a clock's fields can be found in integers: the double nearest to the time is so near that floor+ finds
/// the same millisecond.
constexpr QVNANOTIME kExactMilliseconds = 32'000 * QVNANOTIME_SECOND;

/// clock_time at 1000 parts a second, without divisions of doubles where those would find the same.
ClockTime milliseconds_clock(QVNANOTIME time) {
  if (time >= kExactMilliseconds) return clock_time(seconds_of(time) + 0.0005, 1000.0);
  const auto milliseconds = static_cast<uint32_t>((time + 5'000) / 10'000);
  const uint32_t seconds = milliseconds / 1000;
  const uint32_t minutes = seconds / 60;
  return {minutes / 60, minutes % 60, seconds % 60, milliseconds % 1000};
}

void write_milliseconds(Sink& sink, const Form& form, QVNANOTIME time) {
  const ClockTime clock = milliseconds_clock(time);
  if (time < kShowsDays) return write_clock(sink, form, clock);
  const auto days = static_cast<uint32_t>(clock.hours / 24);
  write_fields(sink, Form(kWithDays), days, hour_of_day(clock), clock.minutes, clock.seconds);
}

void write_compact(Sink& sink, QVNANOTIME time) {
  const ClockTime clock = clock_time(seconds_of(time) + 0.0005, 0.0);
  const uint32_t hours = hour_of_day(clock);
  if (hours != 0) return write_fields(sink, Form(kCompactHours), hours, clock.minutes, clock.seconds, 0);
  write_fields(sink, Form(clock.minutes < 10 ? kCompactMinute : kCompactMinutes), clock.minutes, clock.seconds, 0, 0);
}

void write_timecode(Sink& sink, const Form& form, DWORD smpte_format, QVNANOTIME time) {
  _smpteval label = {};
  label.format = smpte_format;
  write_label_of_time(label, time);
  write_fields(sink, form, label.hours, label.minutes, label.seconds, label.frames);
}

void write_measures(Sink& sink, const Form& form, const _qvposfmt& shown, QVNANOTIME time, uint32_t first) {
  const MusicalPosition position = musical_position(seconds_of(time), shown);
  const auto counted = [first](uint32_t field) {
    return Number::of(int64_t{std::min(field, UINT32_MAX - first) + first});
  };
  const Number numbers[] = {counted(position.measure), counted(position.beat), Number::of(int64_t{position.tick})};
  write_numbers(sink, form, numbers);
}

void write_feet(Sink& sink, const Form& form, const _qvposfmt& shown, QVNANOTIME time) {
  const int64_t frames = floor_plus(seconds_of(time) * shown.frameRate + kFrameSlack);
  const int64_t per_foot = frames_per_foot(shown.format == QVPOSFMT_FEETFRAMES16);
  const Number numbers[] = {Number::of(frames / per_foot), Number::of(frames % per_foot)};
  write_numbers(sink, form, numbers);
}

/// `time` is not below 0.
void write_position(Sink& sink, const Form& form, const _qvposfmt& shown, QVNANOTIME time, DWORD flags) {
  const auto seconds = [time] { return seconds_of(time); };
  switch (shown.format) {
  case QVPOSFMT_SAMPLES: return write_integer(sink, form, truncated(seconds() * shown.sampleRate + 0.5));
  case QVPOSFMT_TIME: return write_milliseconds(sink, form, time);
  case QVPOSFMT_SECONDS: return write_real(sink, form, seconds(), truncated);
  case QVPOSFMT_TIMEFRAMES:
    return write_clock(sink, form, clock_time(seconds() + half_frame(shown.frameRate), shown.frameRate));
  case QVPOSFMT_FRAMES: return write_real(sink, form, seconds() * shown.frameRate + kFrameSlack, floor_plus);
  case QVPOSFMT_MEASURES: return write_measures(sink, form, shown, time, (flags & QVTIME_ABSOLUTE) != 0 ? 0 : 1);
  case QVPOSFMT_MEASURES0: return write_measures(sink, form, shown, time, 0);
  case QVPOSFMT_MICROSECONDS: return write_integer(sink, form, saturated_sum(time, 5) / 10);
  case QVPOSFMT_BEATS: return write_real(sink, form, seconds() * shown.tempo / 60.0, truncated);
  case QVPOSFMT_FEETFRAMES16:
  case QVPOSFMT_FEETFRAMES35: return write_feet(sink, form, shown, time);
  case QVPOSFMT_CDTIME: return write_clock(sink, form, clock_time(seconds() + 1.0 / 150.0, kCdFramesPerSecond));
  case QVPOSFMT_COMPACT: return write_compact(sink, time);
  default: break;
  }
  const DWORD smpte_format = position_format(shown.format).smpte_format;
  if (smpte_format != 0) return write_timecode(sink, form, smpte_format, time);
  write_integer(sink, form, time);
}

int write_time(WCHAR* out, int capacity, const _qvposfmt& shown, QVNANOTIME time, const Form& form, DWORD flags) {
  if (!out || capacity < 1) return 0;
  Sink sink(out, static_cast<size_t>(capacity) - 1);
  if ((flags & QVTIME_ABSOLUTE) == 0) time = saturated_difference(time, shown.offset);
  if (time < 0) sink.put(QV_TEXT('-'));
  write_position(sink, form, shown, magnitude(time), flags);
  return sink.finish();
}

int write_default(WCHAR* out, int capacity, const _qvposfmt& shown, QVNANOTIME time, DWORD flags) {
  const PositionFormat& format = position_format(shown.format);
  const TextForm& form = (flags & QVTIME_SHORT) != 0 ? format.short_form : format.long_form;
  return write_time(out, capacity, shown, time, Form(form), flags);
}

DWORD flags_of(BOOL short_form) { return short_form != 0 ? QVTIME_SHORT : 0; }

} // namespace

int QvNanoTimeToTextFormat(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, const WCHAR* format, DWORD flags) {
  return write_time(out, INT_MAX, *shown, time, Form(format), flags);
}

int QvNanoTimeToTextFormatN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time, const WCHAR* format,
                            DWORD flags) {
  return write_time(out, capacity, *shown, time, Form(format), flags);
}

int QvNanoTimeToTextEx(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, DWORD flags) {
  return write_default(out, INT_MAX, *shown, time, flags);
}

int QvNanoTimeToTextExN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time, DWORD flags) {
  return write_default(out, capacity, *shown, time, flags);
}

int QvNanoTimeToText(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, BOOL shortForm) {
  return write_default(out, INT_MAX, *shown, time, flags_of(shortForm));
}

int QvNanoTimeToTextN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time, BOOL shortForm) {
  return write_default(out, capacity, *shown, time, flags_of(shortForm));
}
