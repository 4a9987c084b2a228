// Reading timecode text.
#pragma once

#include "qv/smpte.h"

namespace qv::kernel {

struct SmpteReading {
  const WCHAR* end; ///< behind all that was read, a separator at the end too; the text itself without a digit
  WCHAR stopped_at; ///< 0 when the text was used up
};

/// QVSMPTE_TextToSMPTE, and where it read.
SmpteReading read_smpte(const WCHAR* text, _smpteval* label);

} // namespace qv::kernel
