// What stands around the audio of a file that is to be written, byte by byte, worked out before a file is touched.
#pragma once

#include "tools/qv/file/carried_chunks.h"
#include "tools/qv/file/container.h"

#include "qv/audio.h"

namespace qv::tool {

/// What a chunk looks like in a container.
struct ChunkShape {
  uint64_t header_bytes;
  uint64_t alignment;
  bool is_big_endian;
  std::string (*header)(DWORD id, uint64_t size);

  /// The zeros behind data of that size.
  uint64_t padding(uint64_t size) const { return (alignment - size % alignment) % alignment; }
  uint64_t bytes_of(uint64_t size) const { return header_bytes + size + padding(size); }
};

const ChunkShape& chunk_shape(Container container);

struct AudioLayout {
  Container container;      ///< what is written in the end
  std::string front;        ///< the file's header, and the chunks that describe the audio
  std::string audio_header; ///< of the audio's chunk
  uint64_t audio_bytes;
  uint64_t file_bytes;
};

/// Throws Failure when such a file would be too long. A RIFF file becomes an RF64 file then, unless `stays_riff`; an
/// AIFF file becomes AIFF-C for float samples. Compressed containers have no layout.
AudioLayout layout_of(const std::string& name, Container container, bool stays_riff, const _qvwaveformat& format,
                      uint64_t frames, const CarriedChunks& chunks);

} // namespace qv::tool
