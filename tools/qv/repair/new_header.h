// A new header for a file that has none which could be mended.
#pragma once

#include "tools/qv/repair/chunk_reading.h"
#include "tools/qv/repair/repair_plan.h"

namespace qv::tool {

inline std::string number(uint64_t value) { return std::to_string(value); }

/// A plan that is being made, and what it is made from.
struct PlanDraft {
  const DamagedFile& damaged;
  const RepairHint& hint;
  RepairPlan plan;
  uint64_t block_align = 1;

  const HeaderLayout& layout() const { return damaged.layout(); }
  void note(const std::string& line) { plan.found.push_back(line); }
  /// What the audio's chunk holds: by its own size, or whole frames up to what stands behind it.
  uint64_t audio_bytes(const Piece& audio) const;
  /// Puts bytes in the place of as many others, where any of them differ.
  void edit(uint64_t offset, const std::string& bytes, const std::string& what);
};

/// Plans a header for a file without a format: up to the audio where its header stands, else in front of all that the
/// file has, or of what it has from the limit on. Throws Failure where there is no audio.
void plan_new_header(PlanDraft& draft, const ChunkReading& reading);

} // namespace qv::tool
