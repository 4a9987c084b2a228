// The chapters of an MP4 file: the text track that another one names as its chapters (QuickTime), or the list "chpl" in
// "udta" (Nero).
#pragma once

#include "tools/qv/mp4/mp4_file.h"
#include "tools/qv/mp4/mp4_summary.h"

#include <string_view>

namespace qv::tool {

/// How many are listed.
inline constexpr size_t kMostChapters = 10'000;

/// Those of a text track.
std::vector<Mp4Chapter> track_chapters(const Mp4File& file, const fileutil::IBox& trak, uint32_t timescale);
/// Those of the payload of "chpl".
std::vector<Mp4Chapter> listed_chapters(std::string_view chpl);

} // namespace qv::tool
