// A map of the chunks that a damaged file still shows: those that can be walked, and what could be headers of audio.
#pragma once

#include "tools/qv/repair/damaged_file.h"

#include <vector>

namespace qv::tool {

/// Of a "fmt " chunk without a count of extra bytes.
inline constexpr size_t kPlainRecord = 16;

struct Chunk {
  std::string id;
  uint64_t at;   ///< its header
  uint64_t data; ///< what follows that
  uint64_t size; ///< as stored, which may be more than there is
};

struct ChunkMap {
  std::optional<Chunk> format;
  std::optional<Chunk> audio;
  std::optional<Chunk> nameless; ///< behind the format, up to the file's end or most of it, under no name that is known
  uint64_t end;                  ///< of the last chunk before the audio that is whole
};

/// What a walk from there on meets, up to the audio or to a header that leads nowhere.
ChunkMap map_chunks(const DamagedFile& damaged, uint64_t from);

/// Where the chunks from the mapped format on end before `audio`: the size of the next may lead into it.
uint64_t chunks_end_before(const DamagedFile& damaged, const ChunkMap& map, const Chunk& audio);

/// Where the last whole one ends of the chunks that fill the file from there on; nothing where they do not. The last of
/// all may be cut when its id is known.
std::optional<uint64_t> chunks_end(const DamagedFile& damaged, uint64_t from);

/// What could be headers of audio from there on, up to the limit.
std::vector<Chunk> audio_headers(const DamagedFile& damaged, uint64_t from);

/// Whether all of a chunk's data are there.
bool is_whole(const DamagedFile& damaged, const Chunk& chunk);

/// Whether nothing follows a whole chunk.
bool ends_file(const DamagedFile& damaged, const Chunk& chunk);

} // namespace qv::tool
