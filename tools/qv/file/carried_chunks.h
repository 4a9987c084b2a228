// Chunks that stand in a written file around its audio: what was taken over from a source, or made for the file.
#pragma once

#include "qv/win32.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct AudioFile;

struct CarriedChunk {
  DWORD id = 0;     ///< its characters in file order, in upper and lower case as RIFF has them
  std::string data; ///< without padding
  /// Where a large chunk's data are copied from when `data` is empty. The file stays open until the output is
  /// committed.
  const AudioFile* source = nullptr;
  uint64_t source_offset = 0;
  uint64_t source_bytes = 0;

  /// Of a Wave64 chunk whose GUID is not the usual one for those characters.
  std::optional<GUID> guid;

  bool is_copied() const { return data.empty() && source != nullptr; }
  uint64_t size() const { return is_copied() ? source_bytes : data.size(); }
};

/// In the order in which they are written. In a FLAC or Ogg file those before the audio are its texts in UTF-8, under
/// the ids of "INFO" lists. The chunks that describe the audio ("fmt ", "fact", "ds64", "COMM") are not
/// among them: the output makes those itself.
struct CarriedChunks {
  std::vector<CarriedChunk> before_audio;
  std::vector<CarriedChunk> behind_audio;
};

} // namespace qv::tool
