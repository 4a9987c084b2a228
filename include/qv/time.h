// Time values and their texts: clock time, frames, samples, musical positions, timecode.
//
//     _qvposfmt shown = {};
//     shown.format = QVPOSFMT_TIME;
//     WCHAR text[QVTIME_TEXT_CHARS];
//     QvNanoTimeToText(text, &shown, 36'255'000'000, 0);                        // "01:00:25.500"
//     QVNANOTIME time = QvTextToNanoTimeToken(text, &shown, 0, nullptr);        // and back
//
// A position is shown, and read, in one of twenty formats. Separators are those of the user's locale (qv/text.h).
//
// floor+(x) below is x - 0.499999985 rounded to the nearest integer, ties to even. Seconds are time * 1e-7, a
// multiplication. Every double that becomes an integer is truncated toward zero; out of the integer's range it becomes
// the nearest integer of the range, and 0 when it is not a number. Integers saturate too.
//
// Pointers are never null unless a comment says so. No function fails: text that cannot be read gives 0, and numbers
// that are missing count 0. All may be called from any thread. A zero beatUnit, beatsPerMeasure, ticksPerBeat or tick
// divisor is an error of the caller's where an integer is divided by it (the functions of ticks and measures).
#pragma once

#include "qv/smpte.h"

// Every format is one row: code, name, the format strings of the long and of the short form (qv/text.h), and the SMPTE
// format of timecode (0: no timecode).
// clang-format off
#define QV_POSFMT_TABLE(ROW)                                                                             \
  ROW( 0, SAMPLES,      "$I64d",                     "$I64d",              0) /* samples */              \
  ROW( 1, TIME,         "%02u$:%02u$:%02u$*%03u",    "%02u$:%02u$:%02u",   0) /* h, m, s, ms */          \
  ROW( 2, SECONDS,      "$.3f",                      "$.0f",               0)                            \
  ROW( 3, TIMEFRAMES,   "%02u$:%02u$:%02u$*%02u",    "%02u$:%02u$:%02u",   0) /* h, m, s, frames */      \
  ROW( 4, FRAMES,       "$.3f",                      "$.0f",               0) /* frames from 0 */        \
  ROW( 5, MEASURES,     "$u$&:%u$&.%03u",            "$u$&:%u",            0) /* from 1 */               \
  ROW( 6, SMPTE2997ND,  "%02u:%02u:%02u:%02u",       "%02u:%02u:%02u:%02u", QVSMPTE_FMT_2997ND)          \
  ROW( 7, SMPTE30,      "%02u:%02u:%02u:%02u",       "%02u:%02u:%02u:%02u", QVSMPTE_FMT_30)              \
  ROW( 8, SMPTE2997DF,  "%02u:%02u:%02u;%02u",       "%02u:%02u:%02u;%02u", QVSMPTE_FMT_2997DF)          \
  ROW( 9, SMPTE25,      "%02u:%02u:%02u:%02u",       "%02u:%02u:%02u:%02u", QVSMPTE_FMT_25)              \
  ROW(10, SMPTE24,      "%02u:%02u:%02u:%02u",       "%02u:%02u:%02u:%02u", QVSMPTE_FMT_24)              \
  ROW(11, RAW,          "$I64d",                     "$I64d",              0) /* units of 100 ns */      \
  ROW(12, MICROSECONDS, "$I64d",                     "$I64d",              0)                            \
  ROW(13, MEASURES0,    "$u$&:%u$&.%03u",            "$u$&:%u",            0) /* from 0 */               \
  ROW(14, BEATS,        "$.3f",                      "$.0f",               0)                            \
  ROW(15, FEETFRAMES16, "$I64d+$I64d",               "$I64d+$I64d",        0) /* 40 frames per foot */   \
  ROW(16, FEETFRAMES35, "$I64d+$I64d",               "$I64d+$I64d",        0) /* 16 frames per foot */   \
  ROW(17, CDTIME,       "%02u:%02u:%02u:%02u",       "%02u$:%02u$:%02u",   0) /* h, m, s, frames of 75 */\
  ROW(18, SMPTE23976,   "%02u:%02u:%02u:%02u",       "%02u:%02u:%02u:%02u", QVSMPTE_FMT_23976)           \
  ROW(19, COMPACT,      "%02u$:%02u$:%02u",          "%02u$:%02u$:%02u",   0) /* hours when there are */
// clang-format on

#define QV_POSFMT_CONSTANT(code, name, long_form, short_form, smpte) inline constexpr DWORD QVPOSFMT_##name = code;
QV_POSFMT_TABLE(QV_POSFMT_CONSTANT)
#undef QV_POSFMT_CONSTANT
#define QV_POSFMT_ROW(code, name, long_form, short_form, smpte) +1
inline constexpr DWORD QVPOSFMT_COUNT = 0 QV_POSFMT_TABLE(QV_POSFMT_ROW);
#undef QV_POSFMT_ROW

/// How a position is shown.
struct _qvposfmt {
  DWORD format;         ///< QVPOSFMT_..., any other shows the raw value
  DWORD sampleRate;     ///< samples per second (SAMPLES)
  double frameRate;     ///< frames per second (TIMEFRAMES, FRAMES, FEETFRAMES..., QvTextToHMSFToken)
  double tempo;         ///< beats per minute (MEASURES, MEASURES0, BEATS)
  QVNANOTIME offset;    ///< the position that is shown as 0
  WORD beatUnit;        ///< note value of a beat: the meter's denominator, 4 for quarter notes
  WORD beatsPerMeasure; ///< the meter's numerator
  DWORD ticksPerBeat;   ///< ticks per quarter note
};
static_assert(sizeof(_qvposfmt) == 40);

/// Flags of the functions between times and texts.
inline constexpr DWORD QVTIME_SHORT = 1;
/// The offset is left out, and format MEASURES counts from 0.
inline constexpr DWORD QVTIME_ABSOLUTE = 2;
/// For reading: unreadable text gives the default, and the result is kept within minimum .. maximum.
inline constexpr DWORD QVTIME_VALIDATE = 4;

/// Characters of the longest text that a default format gives, with its terminator: grouped numbers of frames at rates
/// up to 10^6, a sign, and separators of up to 7 characters.
inline constexpr int QVTIME_TEXT_CHARS = 128;

// ---- time to text ---------------------------------------------------------------------------------------------------
//
// All return the number of characters written, a leading "-" included.
//
// The counted functions (N) cut the text at `capacity` characters, terminator included; a capacity below 1 writes
// nothing and returns 0. The others trust `out` to be large enough.
//
// The format string gets numbers: hours, minutes, seconds and milliseconds or frames (TIME, TIMEFRAMES, CDTIME,
// timecode); measure, beat, tick; feet and frames; one integer (SAMPLES, RAW, MICROSECONDS); one double (SECONDS,
// FRAMES, BEATS). A conversion of another type shows its number converted; one beyond them shows 0; text conversions
// show "(null)". TIME shows days, hours, minutes and seconds from 86,399.9 s on, and COMPACT never looks at the format
// string. SECONDS, FRAMES and BEATS show an integer where the format string is exactly "$.0f".

QV_FUNCTION int QvNanoTimeToTextFormat(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, const WCHAR* format,
                                       DWORD flags);
QV_FUNCTION int QvNanoTimeToTextFormatN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time,
                                        const WCHAR* format, DWORD flags);
/// With the long or, for QVTIME_SHORT, the short form of the table.
QV_FUNCTION int QvNanoTimeToTextEx(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, DWORD flags);
QV_FUNCTION int QvNanoTimeToTextExN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time, DWORD flags);
/// Flags QVTIME_SHORT or none.
QV_FUNCTION int QvNanoTimeToText(WCHAR* out, const _qvposfmt* shown, QVNANOTIME time, BOOL shortForm);
QV_FUNCTION int QvNanoTimeToTextN(WCHAR* out, int capacity, const _qvposfmt* shown, QVNANOTIME time, BOOL shortForm);

// ---- text to time ---------------------------------------------------------------------------------------------------
//
// *end (optional) is the first character after the last digit run that was read, or where reading began when there was
// none. In timecode and CDTIME the separators that stand for a last number 0 are read too: in "5:" it is behind the
// ":". Digit runs are decimal; anything else separates them. Numbers of SAMPLES, SECONDS, FRAMES, RAW, MICROSECONDS,
// BEATS and feet may have the user's grouping separators between digits, and a fraction after the user's decimal
// separator, or after "." where that groups nothing.

/// Skips white space and a "-", reads by format, negates, and adds the offset (unless QVTIME_ABSOLUTE). Text without
/// anything else is `absent`, as it stands. With QVTIME_VALIDATE a result of 0 with more text behind it is `absent`
/// too, and then the result is raised to the minimum and lowered to the maximum. COMPACT and unknown formats read 0.
QV_FUNCTION QVNANOTIME QvTextToNanoTimeToken2(const WCHAR* text, const _qvposfmt* shown, QVNANOTIME absent,
                                              QVNANOTIME minimum, QVNANOTIME maximum, DWORD flags, const WCHAR** end);
/// The same with QVTIME_VALIDATE.
QV_FUNCTION QVNANOTIME QvTextToNanoTimeTokenEx(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm,
                                               QVNANOTIME absent, QVNANOTIME minimum, QVNANOTIME maximum,
                                               const WCHAR** end);
/// The same without.
QV_FUNCTION QVNANOTIME QvTextToNanoTimeToken(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm,
                                             const WCHAR** end);

// The following read digit runs that fill their fields from the right: "5" is the last field. They know no sign and no
// offset.

/// Milliseconds. Short: hours, minutes, seconds. Long: hours, minutes, seconds, and a fraction of as many digits as it
/// has, cut to 3: "1:30" is 1.3 s. One run alone, without white space, is seconds.
QV_FUNCTION LONGLONG QvTextToTimeToken(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm, const WCHAR** end);
/// Hours, minutes, seconds and, in the long form, frames at frameRate.
QV_FUNCTION QVNANOTIME QvTextToHMSFToken(const WCHAR* text, const _qvposfmt* shown, BOOL shortForm, const WCHAR** end);
/// Measure and beat, and in the long form tick. In format MEASURES measure and beat are counted from 1 unless
/// QVTIME_ABSOLUTE.
QV_FUNCTION QVNANOTIME QvTextToMusicTimeToken(const WCHAR* text, const _qvposfmt* shown, DWORD flags,
                                              const WCHAR** end);
/// Feet of 40 frames (or 16) and frames at frameRate. Each run may be grouped.
QV_FUNCTION QVNANOTIME QvTextToFeetAndFramesToken(const WCHAR* text, const _qvposfmt* shown, BOOL fortyFrames);

// ---- time and fields ------------------------------------------------------------------------------------------------

/// Fills the record, as timecode when its format is one of the six; else in plain hours (modulo 24 unless `keepHours`),
/// minutes, seconds and frames at `frameRate`, rounded to the nearest frame. Times below 0 show 0. Returns the seconds
/// field.
QV_FUNCTION DWORD QvNanoTimeToHMSF(QVNANOTIME time, _smpteval* fields, double frameRate, BOOL keepHours);
/// The time of a record that holds timecode or plain fields.
QV_FUNCTION QVNANOTIME QvHMSFToNanoTime(const _smpteval* fields, double frameRate);
/// Measure, beat and tick, counted from 0; each pointer may be null. The offset is not looked at. Times below 0 show 0.
QV_FUNCTION void QvNanoTimeToMeasures(QVNANOTIME time, const _qvposfmt* shown, DWORD* measure, DWORD* beat,
                                      DWORD* tick);

// ---- ticks and measures ---------------------------------------------------------------------------------------------

/// Writes measure, beat and, in the long form, tick. `tick` counts within the measure; below 0 it borrows one measure.
/// From 1: beat + 1, and measure + 1 unless the measure is below 0. Ticks of a beat are divided by `tickDivisor`. A
/// beat has ticksPerBeat * 4 / beatUnit ticks, at least one. Returns the length.
QV_FUNCTION int QvMeasuresAndTicksToText(WCHAR* out, const _qvposfmt* shown, LONG measure, LONG tick, BOOL fromOne,
                                         BOOL shortForm, LONG tickDivisor);
/// The same for ticks from the start; here a measure has beatsPerMeasure * ticksPerBeat ticks, whatever beatUnit is.
QV_FUNCTION int QvTicksToText(WCHAR* out, const _qvposfmt* shown, LONGLONG ticks, BOOL fromOne, BOOL shortForm,
                              LONG tickDivisor);
/// Skips white space and a "-" and reads measure, beat and tick, the measure first; "-" negates the measure. From 1: a
/// measure or beat above 0 becomes one less, but not a measure after "-". Ticks are multiplied by `tickMultiplier`.
/// Returns all in ticks; the three values go to the pointers that are not null.
QV_FUNCTION LONGLONG QvTextToMeasuresBeatsTicks(const WCHAR* text, const _qvposfmt* shown, BOOL fromOne,
                                                LONG tickMultiplier, LONG* measure, LONG* beat, LONG* tick);
