// What becomes of each chunk when a file is converted: one table. A chunk that it does not name is copied.
#pragma once

#include "tools/qv/carry/scaled_positions.h"

#include "qv/chunk_id.h"

namespace qv::tool {

enum class Carry {
  kCopy,         ///< byte for byte
  kMove,         ///< its positions follow the sample rate
  kBroadcast,    ///< "bext": some of its fields follow
  kSameChannels, ///< copied while the channels stay
  kSameAudio,    ///< copied while samples, rate and channels stay
  kSameBytes,    ///< copied while every byte of the audio stays
  kNever         ///< made anew for the output, or padding
};

struct ChunkRule {
  DWORD id;
  DWORD list_type; ///< of a "LIST"; 0 for all other chunks
  Carry carry;
  void (*move)(std::string& data, const PositionChange& change); ///< of kMove
};

/// The rule of a chunk. The ids of RIFF wave and Wave64 differ from those of AIFF, where they mean other things.
const ChunkRule& chunk_rule(DWORD id, DWORD list_type, bool is_aiff);

/// The id of a Wave64 chunk as RIFF has it: its GUIDs begin with "list" and "junk".
constexpr DWORD as_riff_id(DWORD id) {
  if (id == QVW64_LIST.Data1) return QVRIFF_ID_LIST;
  return id == QVW64_JUNK.Data1 ? QVRIFF_ID_JUNK : id;
}

} // namespace qv::tool
