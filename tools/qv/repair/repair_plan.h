// What is wrong with the headers of an audio file, and what would mend them. Nothing is written here.
#pragma once

#include "qv/audio.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

/// Bytes that take the place of others in the file. Where they are more or fewer than those, what follows moves.
struct Edit {
  uint64_t offset;   ///< in the file as it is
  uint64_t replaced; ///< bytes of the file that go
  std::string bytes;
  std::string what;
};

struct RepairPlan {
  std::vector<std::string> found;    ///< what is wrong, a line each
  std::vector<Edit> edits;           ///< in the file's order, apart from each other; none where the header is sound
  std::vector<std::string> refusals; ///< why only a user who insists should have them written
  uint64_t audio = 0;                ///< where the audio begins in the file as it is: no edit touches a byte of it
  uint64_t audio_bytes = 0;
  bool is_new_header = false; ///< the file's front is no header that can be mended

  bool is_sound() const { return edits.empty(); }
  /// Whether every byte that stays keeps its place.
  bool is_in_place() const {
    return std::all_of(
        edits.begin(), edits.end(), [](const Edit& edit) { return edit.replaced == edit.bytes.size(); });
  }
};

/// What the header does not say; nothing for what the user left out.
struct RepairHint {
  std::optional<DWORD> rate;
  std::optional<DWORD> channels;
  std::optional<QVSAMPLETYPE> type;
  std::optional<uint64_t> limit; ///< where the search for audio ends; without it, 64 KiB

  /// A format of them, and of 44,100 Hz, 2 channels and 16 bits for what was left out.
  WAVEFORMATEX format() const;
};

/// The plan for a file under that name. `file` stays the caller's. Throws Failure for a file of another kind, and for
/// one without audio.
RepairPlan plan_repair(const std::string& name, HANDLE file, const RepairHint& hint);

} // namespace qv::tool
