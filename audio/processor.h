// What the processor and the system offer, found out by a source per machine.
#pragma once

#include "qv/cpu.h"

namespace qv::audio {

struct Processor {
  uint32_t features;    ///< feature bits of the support word
  uint32_t saved;       ///< those of the features whose registers the system saves on a context switch
  QVKERNELLEVEL widest; ///< the level that both allow
};

Processor detect_processor();

} // namespace qv::audio
