// What is measured.
#pragma once

#include "bench/scratch_folder.h"

namespace bench {

/// Reading metadata of short and long files, of many boxes, and of fragments.
void add_reads(const ScratchFolder& folder);

} // namespace bench
