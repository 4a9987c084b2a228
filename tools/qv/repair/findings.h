// What is left of a damaged file's header, and how much of it still leads to the audio.
#pragma once

#include "tools/qv/repair/chunk_map.h"

namespace qv::tool {

struct Findings {
  enum class State {
    kWalks,      ///< chunks walk from the file's header to the audio, or to what must be it
    kUsualPlace, ///< they do from a format record at its usual place on, but the header before that is ruined
    kGap,        ///< they walk up to `front`, where a chunk's header could reach to the audio's
    kAudioAlone, ///< nothing is left but the header of the audio, which the library's repair finds too
    kLost        ///< none of these: nothing can be mended in its place
  };
  State state;
  std::optional<Chunk> format = {}; ///< the format chunk, of the size that it will have; none where none is left
  std::optional<Chunk> audio = {};  ///< the header of audio; none where none is left
  uint64_t front = 0;               ///< kGap and kLost: where the chunks end that stay
  std::string front_id = {};        ///< kGap: what the chunk there is to be called
  bool has_header_traces = false;   ///< whether any of the three ids is there that a file begins with
};

/// Looks for all of that, and writes nothing. Throws Failure where the file cannot be read.
Findings examine(const DamagedFile& damaged);

} // namespace qv::tool
