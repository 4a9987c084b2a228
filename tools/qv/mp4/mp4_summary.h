// What an MP4 file says of itself, as plain data: ISO/IEC 14496-12, 3GPP TS 26.244 and QuickTime.
#pragma once

#include "tools/qv/metadata/id3_frames.h"
#include "tools/qv/mp4/track/sample_entry.h"

#include <optional>
#include <string>
#include <vector>

namespace qv::tool {

struct Mp4Track {
  uint32_t id = 0;
  fileutil::FourCC handler = 0; ///< "soun", "vide"...
  SampleFormat format;
  std::string language;                 ///< "deu"; "und" where it is not said
  uint32_t timescale = 0;               ///< units per second of its media
  uint64_t samples = 0;                 ///< access units, in fragments too
  uint64_t bytes = 0;                   ///< of all of them
  uint64_t media_units = 0;             ///< how long they last
  uint64_t duration = 0;                ///< of what its edits present, in units of 100 ns
  uint32_t bit_rate = 0;                ///< average, bits per second; 0 where it cannot be told
  std::vector<uint32_t> chapter_tracks; ///< that hold its chapters
};

struct Mp4Text {
  std::string id;       ///< "©nam"; of a freeform item its mean and name, "com.apple.iTunes:LABEL"
  std::string language; ///< of 3GPP and QuickTime texts
  std::string text;     ///< empty where it is none
  uint64_t bytes = 0;   ///< of the value, as the file has it
};

struct Mp4Picture {
  const char* type = "unknown"; ///< "JPEG", "PNG", "BMP" or "GIF", by its first bytes
  uint64_t bytes = 0;
};

struct Mp4Chapter {
  uint64_t start = 0; ///< in units of 100 ns
  std::string title;
};

struct Mp4Summary {
  std::string name;
  std::string container;
  fileutil::FourCC major_brand = 0; ///< 0 without a "ftyp" box
  uint32_t minor_version = 0;
  std::vector<fileutil::FourCC> brands; ///< compatible ones
  uint64_t duration = 0;                ///< in units of 100 ns
  uint64_t fragments = 0;               ///< "moof" boxes
  std::vector<Mp4Track> tracks;
  std::vector<Mp4Text> texts;
  std::vector<Mp4Picture> pictures;
  std::vector<Mp4Chapter> chapters;
  std::optional<Id3Tag> id3; ///< of the first "ID32" box
  std::vector<std::string> warnings;
};

/// Reads it. Throws Failure for a file that cannot be read, or holds neither a movie nor a fragment of one.
Mp4Summary read_mp4_summary(const std::string& name);

/// Of a number of units of a timescale, in units of 100 ns, rounded down; 0 where the timescale is 0, or it is longer
/// than can be said.
uint64_t duration_from_units(uint64_t units, uint32_t timescale);

} // namespace qv::tool
