// Puts a number's digits into the text: fills its width, and groups its digits if the user's locale is asked for.
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

/// Zeros that fill the width are digits of the number, so they are grouped; spaces come after that.
void write_localized_number(Sink& sink, const Conversion& conversion, const NumberText& number,
                            const QVUSERLOCALE& locale);

/// The locale's decimal separator, or another where that would look like the one between digit groups.
const WCHAR* decimal_separator(const QVUSERLOCALE& locale);

} // namespace qv::kernel
