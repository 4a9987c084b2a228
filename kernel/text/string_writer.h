// Puts text arguments into the text, aligned in their width.
#pragma once

#include "kernel/text/printf_conversion.h"
#include "kernel/text/printf_sink.h"

namespace qv::kernel {

/// s and S. A null text prints "(null)".
void write_string(Sink& sink, const Conversion& conversion, const void* text);

/// c and C.
void write_character(Sink& sink, const Conversion& conversion, int character);

} // namespace qv::kernel
