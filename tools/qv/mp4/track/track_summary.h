// What a "trak" box says of one track.
#pragma once

#include "tools/qv/mp4/mp4_file.h"
#include "tools/qv/mp4/mp4_summary.h"

#include <initializer_list>

namespace qv::tool {

/// The times of "mvhd" and "mdhd", of both versions.
struct MediaTimes {
  uint32_t timescale = 0;
  uint64_t units = 0;    ///< 0 where it is not known
  uint16_t language = 0; ///< of "mdhd"
};
MediaTimes parse_media_times(std::string_view payload);

/// The first box of a type in each box in turn; null where there is none.
const fileutil::IBox* box_at(const fileutil::IBox& parent, std::initializer_list<fileutil::FourCC> path);

/// All but duration and bit rate, which fragments and edits have a part in.
Mp4Track read_track(const Mp4File& file, const fileutil::IBox& trak, std::vector<std::string>& warnings);

/// Duration and bit rate of a whole track.
void finish_track(const Mp4File& file, const fileutil::IBox& trak, uint32_t movie_timescale, Mp4Track& track);

} // namespace qv::tool
