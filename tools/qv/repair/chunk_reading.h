// The chunks of a damaged file, read so that as little as possible of what stands there is taken for wrong.
#pragma once

#include "tools/qv/repair/damaged_file.h"

#include <string>
#include <vector>

namespace qv::tool {

/// A stretch of the file.
struct Piece {
  enum class Kind {
    kChunk,
    kZeros,  ///< behind a chunk, without a header
    kTrailer ///< what is no chunk, up to the file's end
  };
  Kind kind = Kind::kChunk;
  std::string id = {}; ///< as it should be
  uint64_t at = 0;
  uint64_t data = 0;
  uint64_t size = 0;         ///< of the data, as it should be
  uint64_t end = 0;          ///< where the next piece begins
  bool is_size_kept = false; ///< the stored size stands
  bool is_padded = true;     ///< false where the pad byte of an odd chunk is missing
};

struct ChunkReading {
  std::vector<Piece> pieces; ///< from behind the file's header to its end
  const Piece* format = nullptr;
  const Piece* audio = nullptr;
  /// Whether something shows that these are chunks: a known header of audio, or a format record that makes sense.
  bool is_trusted = false;

  ChunkReading() = default;
  ChunkReading(ChunkReading&&) = default;
  ChunkReading& operator=(ChunkReading&&) = default;
};

ChunkReading read_chunks(const DamagedFile& damaged);

} // namespace qv::tool
