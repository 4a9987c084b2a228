// What a sample entry ("stsd") says of the media of a track.
#pragma once

#include "qv/mp4/four_cc.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qv::tool {

struct SampleFormat {
  fileutil::FourCC codec = 0; ///< the entry's type
  std::string codec_name;     ///< in words
  uint32_t sample_rate = 0;   ///< of audio, Hz; what decoders put out
  uint32_t channels = 0;      ///< of audio
  uint32_t bits = 0;          ///< of audio whose samples keep their width; 0 for lossy codecs
  uint32_t width = 0;         ///< of video and pictures
  uint32_t height = 0;
  uint32_t bit_rate = 0; ///< as the entry says, average; 0 where it says nothing
};

/// Reads the first entry of a "stsd" box from its payload. Fields that a cut entry lacks are 0.
SampleFormat parse_sample_format(std::string_view stsd, fileutil::FourCC handler);

} // namespace qv::tool
