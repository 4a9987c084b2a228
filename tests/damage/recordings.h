// Sound recordings of many writers, and where everything in them stands, read without the program's own readers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace damage_test {

/// How a container's chunks are laid out.
struct Layout {
  size_t id_bytes, size_bytes, alignment, includes;
  bool is_big_endian;
  const char *format, *audio;
  size_t audio_prefix;

  uint64_t number(const std::string& bytes, size_t at, size_t count) const;
  size_t header() const { return id_bytes + size_bytes; }
  size_t first() const { return header() + id_bytes; }
};

struct ChunkPlace {
  std::string id;
  size_t at, data, size;
};

struct Recording {
  std::string name, suffix, bytes;
  const Layout* layout;
};

/// The chunks of a sound file; those before the first that is not whole.
std::vector<ChunkPlace> chunks_of(const Layout& layout, const std::string& bytes);

/// Recordings made by sox, ffmpeg, libsndfile's programs and `qv`, one as arecord leaves it, and one of a field
/// recorder with chunks before and behind its audio.
std::vector<Recording> recordings();

} // namespace damage_test
