// Writes one text from a format and its arguments: "%" conversions and "$" directives.
#pragma once

#include "kernel/text/printf_arguments.h"
#include "kernel/text/printf_conversion.h"
#include "kernel/text/printf_number.h"
#include "kernel/text/printf_sink.h"
#include "kernel/text/separator_token.h"
#include "kernel/text/user_locale.h"

#include "qv/text.h"

namespace qv::kernel {

class TextFormatter {
public:
  TextFormatter(Sink& sink, Arguments& arguments) : sink_(sink), arguments_(arguments) {}

  /// Stops where the sink is full.
  void write(const WCHAR* format);

private:
  // These take the format at its "%" or "$" and return where the format goes on.
  const WCHAR* write_conversion(const WCHAR* format);
  const WCHAR* write_directive(const WCHAR* format);
  const WCHAR* write_token(const WCHAR* format);
  void write_clock_separator(WCHAR ClockCharacters::*character, WCHAR (ClockSeparators::*text)[8]);
  const WCHAR* write_localized(const WCHAR* format);

  void write_pointer(Conversion conversion);
  void take_fields(Conversion& conversion);
  void take_number(const Conversion& conversion, NumberText& number);
  void write_plain_integer(const Conversion& conversion);
  const QVUSERLOCALE& locale();

  Sink& sink_;
  Arguments& arguments_;
  bool has_locale_ = false;
  QVUSERLOCALE locale_; // fetched when a directive first needs it
};

} // namespace qv::kernel
