// What is measured.
#pragma once

#include "bench/scratch_folder.h"

namespace bench {

/// Reading metadata of short and long files, of many boxes, and of fragments.
void add_reads(const ScratchFolder& folder);

/// Changing a title: absorbed by a free box, with the media moved, and with a million chunk offsets.
void add_updates(const ScratchFolder& folder);

} // namespace bench
