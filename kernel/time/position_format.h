// The display formats, and what they share between writing and reading.
#pragma once

#include "kernel/time/clock_layout.h"

#include "qv/time.h"

#include <array>
#include <cstdint>

namespace qv::kernel {

/// A format string, and its layout where it has one.
struct TextForm {
  constexpr explicit TextForm(const WCHAR* text) : format(text), layout(text) {}
  const WCHAR* format;
  ClockLayout layout;
};

struct PositionFormat {
  TextForm long_form;
  TextForm short_form;
  DWORD smpte_format; ///< 0: no timecode
};

extern const PositionFormat kPositionFormats[QVPOSFMT_COUNT];

/// The format of any code: codes beyond the table show the raw value.
inline const PositionFormat& position_format(DWORD code) {
  return kPositionFormats[code < QVPOSFMT_COUNT ? code : QVPOSFMT_RAW];
}

inline constexpr uint32_t kCdFramesPerSecond = 75;

/// Frames per foot of film.
inline int64_t frames_per_foot(bool forty) { return forty ? 40 : 16; }

struct ClockTime {
  uint64_t hours; ///< of the whole time
  uint32_t minutes, seconds, part;
};

/// Splits seconds, to which half a part was added where rounding is wanted, into a clock's fields and whole parts of
/// the last second. A part never is a whole second: that is carried.
ClockTime clock_time(double seconds, double parts_per_second);

struct MusicalPosition {
  uint32_t measure, beat, tick; ///< counted from 0
};

/// The musical position of seconds that are not below 0.
MusicalPosition musical_position(double seconds, const _qvposfmt& shown);

} // namespace qv::kernel
