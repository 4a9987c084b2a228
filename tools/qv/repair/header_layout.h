// How the headers of the containers that are mended are laid out, as data, for work on headers that are damaged.
#pragma once

#include "qv/audio.h"

#include <cstdint>
#include <string>

namespace qv::tool {

struct HeaderLayout {
  enum class Family { kRiff, kWave64, kAiff };

  const char* container;
  Family family;
  std::string file_id, form_id, format_id, audio_id, junk_id;
  uint64_t size_bytes;          ///< of a size field, which follows an id
  uint64_t alignment;           ///< of chunks
  uint64_t file_size_excludes;  ///< what the file's size field does not count
  uint64_t chunk_size_includes; ///< what a chunk's size field counts beside the data
  uint64_t audio_prefix;        ///< bytes of the audio's chunk in front of the audio
  uint64_t record_bytes;        ///< of a format record at least
  bool is_big_endian;
  bool has_long_sizes; ///< in a chunk of their own: sizes that are all ones stand there

  uint64_t id_bytes() const { return file_id.size(); }
  uint64_t chunk_header() const { return id_bytes() + size_bytes; }
  uint64_t file_header() const { return chunk_header() + id_bytes(); }
  uint64_t largest_size() const { return size_bytes == 4 ? 0xFFFFFFFF : ~uint64_t{0}; }
  uint64_t padded(uint64_t size) const { return (size + alignment - 1) / alignment * alignment; }

  /// A size as it is stored; the largest there is for one that does not fit.
  std::string stored(uint64_t size) const;
  uint64_t stored_in(const std::string& bytes, uint64_t offset) const;

  /// An id of this container from its first four characters.
  std::string id(const std::string& characters) const;
  std::string chunk_start(const std::string& id, uint64_t data_bytes) const;
  std::string file_start(uint64_t file_bytes) const;
  /// Whether an id could name a chunk that someone wrote.
  bool is_plausible(const std::string& id) const;
};

/// How many bytes of two texts of one length differ.
size_t wrong_bytes(const std::string& one, const std::string& other);

/// The layout of a file that begins with these bytes, of which one in each id may be wrong; where they do not tell, by
/// its name. None for a file that begins as one of another kind does.
const HeaderLayout* header_layout(const std::string& first_bytes, const std::string& name);
/// RIFF wave: what an RF64 file without its long sizes can be.
const HeaderLayout& riff_layout();

} // namespace qv::tool
