// How positions are written on the command line: the display formats by name, and what they need to know.
#pragma once

#include "tools/qv/command_line.h"

#include "qv/time.h"

#include <string>

namespace qv::tool {

/// The name of a display format, "time" or "smpte2997df"; its number as text for a code beyond the table.
std::string position_format_name(DWORD code);

/// The options that describe a position format but for its code.
struct PositionOptions {
  double frame_rate = 25.0;
  double tempo = 120.0;
  WORD beats_per_measure = 4;
  WORD beat_unit = 4;
  DWORD ticks_per_beat = 960;
  DWORD sample_rate = 48'000;
  QVNANOTIME offset = 0;

  void add_to(const Command& command);
  _qvposfmt shown_as(DWORD format) const;

private:
  void read_frame_rate(const std::string& text);
  void read_meter(const std::string& text);
};

/// The code for a format's name or number; any other is a wrong usage of the option.
DWORD position_format_from(const std::string& text, const std::string& option);
/// Adds an option whose values are names or numbers of formats.
void add_format_option(const Command& command, const std::string& option, DWORD& format,
                       const std::string& description);

/// The whole of `text` as a position. Throws Failure where it is none.
QVNANOTIME position_from(const std::string& text, const _qvposfmt& shown, DWORD flags);
/// A position as text in that format.
std::string text_of(QVNANOTIME time, const _qvposfmt& shown, DWORD flags);

} // namespace qv::tool
