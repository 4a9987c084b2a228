// How the headers of RIFF wave and Wave64 files are laid out, as data, for work on headers that are damaged.
#pragma once

#include "qv/audio.h"

#include <cstdint>
#include <string>

namespace qv::tool {

struct HeaderLayout {
  const char* container;
  std::string file_id, form_id, format_id, data_id, junk_id;
  uint64_t size_bytes;          ///< of a size field, which follows an id
  uint64_t alignment;           ///< of chunks
  uint64_t file_size_excludes;  ///< what the file's size field does not count
  uint64_t chunk_size_includes; ///< what a chunk's size field counts beside the data

  uint64_t id_bytes() const { return file_id.size(); }
  uint64_t chunk_header() const { return id_bytes() + size_bytes; }
  uint64_t file_header() const { return chunk_header() + id_bytes(); }
  /// Where the format record stands when the format chunk is the first, as it usually is.
  uint64_t record_at() const { return file_header() + chunk_header(); }
  /// Where the library's repair begins to look for audio.
  uint64_t repair_looks_from() const { return record_at() + padded(sizeof(WAVEFORMATEX)); }
  uint64_t largest_size() const { return size_bytes == 4 ? 0xFFFFFFFF : ~uint64_t{0}; }
  uint64_t padded(uint64_t size) const { return (size + alignment - 1) / alignment * alignment; }

  /// A size as it is stored; the largest there is for one that does not fit.
  std::string stored(uint64_t size) const;
  uint64_t stored_in(const std::string& bytes, uint64_t offset) const;

  std::string chunk_start(const std::string& id, uint64_t data_bytes) const;
  std::string file_start(uint64_t file_bytes) const;
  /// Whether an id could name a chunk that someone wrote.
  bool is_plausible(const std::string& id) const;
  /// Whether an id names a kind of chunk that is known to stand behind audio.
  bool is_known(const std::string& id) const;
};

/// The layout of a file that begins with these bytes; where they do not tell, by its name.
const HeaderLayout& header_layout(const std::string& first_bytes, const std::string& name);

} // namespace qv::tool
