// What is wrong with the header of a RIFF wave or Wave64 file, and what would mend it. Nothing is written here.
#pragma once

#include "qv/audio.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// Bytes that take the place of others in the file.
struct Edit {
  uint64_t offset;
  std::string bytes;
  std::string what;
};

struct RepairPlan {
  enum class Way {
    kInPlace, ///< the edits; none where the header is sound
    kLibrary, ///< QvFixTrashedWav or QvFixTrashedW64; an edit without bytes says what it will do
    kNewFile  ///< see below; the edits are those of the new file
  };

  bool is_wave64 = false;
  std::vector<std::string> found; ///< what is wrong, a line each
  Way way = Way::kInPlace;
  std::vector<Edit> edits;
  uint64_t limit = 0; ///< for the library's search
  uint64_t audio = 0; ///< where the audio begins in the mended file: edits end before

  // A new file has the old one's first `kept_front` bytes, a new header, and what the old one has from `kept_from` on.
  uint64_t kept_front = 0;
  std::string new_header;
  uint64_t kept_from = 0;

  bool is_sound() const { return way == Way::kInPlace && edits.empty(); }
};

struct RepairHint {
  WAVEFORMATEX format;           ///< rate, channels, tag and bits for what the header does not say
  std::optional<uint64_t> limit; ///< where the search for audio ends; without it, 64 KiB
};

/// The plan for a file under that name. `file` stays the caller's. Throws Failure for a file of another kind, and for
/// one without audio.
RepairPlan plan_repair(const std::string& name, HANDLE file, const RepairHint& hint);

} // namespace qv::tool
