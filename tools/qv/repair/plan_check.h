// What holds for every plan of a repair, looked at once more when it is made.
#pragma once

#include "tools/qv/repair/chunk_reading.h"
#include "tools/qv/repair/repair_plan.h"

namespace qv::tool {

/// Throws Failure for a plan whose edits overlap, are out of order, or touch anything but headers and the format as
/// they will be: a fault of the program, before it does harm.
void check_plan(const DamagedFile& damaged, const ChunkReading& reading, const RepairPlan& plan);

/// Why a plan should not be carried out unasked: chunks that are known would be lost, or audio cut off by something
/// else than chunks.
std::vector<std::string> refusals_of(const DamagedFile& damaged, const ChunkReading& reading, const RepairPlan& plan,
                                     uint64_t block_align);

} // namespace qv::tool
