// Reading timecode text.
#pragma once

#include "qv/smpte.h"

namespace qv::kernel {

struct SmpteReading {
  const WCHAR* run_end; ///< behind the last digit that was read; the text itself when none was
  WCHAR stopped_at;     ///< 0 when the text was used up
};

/// QVSMPTE_TextToSMPTE, and where it read.
SmpteReading read_smpte(const WCHAR* text, _smpteval* label);

} // namespace qv::kernel
