// Named positions in a file: cue points of RIFF wave and Wave64 with their labels, notes and regions, markers of AIFF
// with the comments on them.
#pragma once

#include "tools/qv/file/audio_file.h"
#include "tools/qv/metadata/text_encoding.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct Marker {
  DWORD id = 0;
  uint64_t position = 0; ///< in frames
  std::string name;      ///< this and all other texts in UTF-8
  std::string note;
  std::optional<DWORD> length; ///< of a region that begins here, in frames
  std::string region;          ///< the region's own text
};

struct MarkerList {
  std::vector<Marker> markers;       ///< in the file's order
  std::vector<std::string> comments; ///< of AIFF's "COMT" chunk, on no marker
  std::string problem;               ///< what was left out, and why; empty where all was read
};

/// How many markers are shown of a file. They grow when they become JSON.
inline constexpr size_t kMaxMarkersShown = 16384;
/// As many as the ids of AIFF, which are positive and have 16 bits.
inline constexpr size_t kMaxMarks = 32767;
/// What is longer is cut in a "MARK" chunk.
inline constexpr size_t kMaxMarkName = 255;

/// Reads the first `limit` markers. A chunk that ends too early gives those before its end. Of several markers with one
/// id the first has the texts. Prints no warning.
MarkerList read_markers(const AudioFile& audio, size_t limit);

/// The data of chunks that say the same: "cue ", a "LIST" of type "adtl" (empty where no marker has a text or length),
/// "MARK" and "COMT" (empty without comments). Markers have one id each, those of AIFF up to kMaxMarks.
std::string cue_data(const std::vector<Marker>& markers);
std::string label_list_data(const std::vector<Marker>& markers);
std::string mark_data(const std::vector<Marker>& markers);
std::string comment_data(const MarkerList& list);

} // namespace qv::tool
