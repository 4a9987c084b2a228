// Named positions in a file with audio: the "MARK" chunk of AIFF, the "cue " chunk of RIFF wave and its labels.
#pragma once

#include "tools/qv/file/wave_input.h"

#include <string>
#include <vector>

namespace qv::tool {

struct Marker {
  DWORD id;
  DWORD position; ///< in frames
  std::string name;
};

/// In the file's order. None in Wave64 files. A chunk that ends too early gives those before its end.
std::vector<Marker> read_markers(const WaveInput& input);

} // namespace qv::tool
