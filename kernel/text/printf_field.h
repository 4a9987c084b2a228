// One converted argument in its field: a number or a text, with what fills its width, and a number's digits grouped
// where the user's locale is asked for.
#pragma once

#include "kernel/text/printf_conversion.h"
#include "kernel/text/printf_number.h"
#include "kernel/text/printf_sink.h"

#include "qv/text.h"

namespace qv::kernel {

void write_number(Sink& sink, const Conversion& conversion, const NumberText& number);

/// Whether an integer conversion asks for nothing but a width, which zeros or spaces fill: then its digits need no
/// NumberText.
bool is_plain_integer(const Conversion& conversion);
void write_plain_integer(Sink& sink, const Conversion& conversion, bool negative, uint64_t magnitude);

/// Writes a number with the locale's separators. Zeros that fill the width are digits of the number, so they are
/// grouped; spaces come after that.
void write_localized_number(Sink& sink, const Conversion& conversion, const NumberText& number,
                            const QVUSERLOCALE& locale);

/// Writes the text of a conversion s or S; null prints "(null)".
void write_string(Sink& sink, const Conversion& conversion, const void* text);

/// Writes the character of a conversion c or C.
void write_character(Sink& sink, const Conversion& conversion, int character);

} // namespace qv::kernel
