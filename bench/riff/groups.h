// What is measured.
#pragma once

#include "bench/scratch_folder.h"

namespace bench {

/// Walking to the last of 50 chunks.
void add_walk(const ScratchFolder& folder);
/// Writing and reading whole files of samples.
void add_transfers(const ScratchFolder& folder);
/// Repairing headers before audio of several lengths.
void add_repairs(const ScratchFolder& folder);

} // namespace bench
