// A wave file whose header may be damaged, and a map of the chunks that it still shows: those that can be walked, and
// what could be headers of audio.
#pragma once

#include "tools/qv/repair/header_layout.h"

#include "qv/win32.h"

#include <optional>
#include <vector>

namespace qv::tool {

struct DamagedFile {
  std::string name;
  HANDLE file;
  uint64_t size;
  std::string start;          ///< its first 128 bytes
  const HeaderLayout* layout; ///< by what is left of the header, else by the name
  uint64_t limit;             ///< where the search for audio ends

  bool is_wave64() const { return layout->size_bytes == sizeof(uint64_t); }
  /// The bytes from `offset` on, fewer only where the file ends. Throws Failure.
  std::string read(uint64_t offset, uint64_t bytes) const;
};

/// A look at a file, whose handle stays the caller's. Without a limit the search for audio ends at 64 KiB. Throws
/// Failure for an empty file, and for one of another kind, which a new header would not mend.
DamagedFile look_at(const std::string& name, HANDLE file, std::optional<uint64_t> limit);

/// Bytes of a format record without a count of extra bytes.
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

/// The chunks that a walk from `from` on meets, up to the audio or to a header that leads nowhere.
ChunkMap map_chunks(const DamagedFile& damaged, uint64_t from);

/// Where the chunks from the mapped format on end before `audio`: the size of the next may lead into it.
uint64_t chunks_end_before(const DamagedFile& damaged, const ChunkMap& map, const Chunk& audio);

/// Where the chunks end that fill the file from `from` on; nothing where no chunks do. The last of them may be cut when
/// its id is known: the file then ends them.
std::optional<uint64_t> chunks_end(const DamagedFile& damaged, uint64_t from);

/// Whatever could be a header of audio from `from` on, up to the limit.
std::vector<Chunk> audio_headers(const DamagedFile& damaged, uint64_t from);

/// Whether all of a chunk's data are there.
bool is_whole(const DamagedFile& damaged, const Chunk& chunk);

/// Whether nothing follows a whole chunk.
bool ends_file(const DamagedFile& damaged, const Chunk& chunk);

} // namespace qv::tool
