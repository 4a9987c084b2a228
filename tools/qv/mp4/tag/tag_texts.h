// The texts and pictures of an MP4 file: items of "ilst" (iTunes, and QuickTime's with "keys"), 3GPP asset boxes,
// QuickTime's texts in "udta", ID3v2 tags.
#pragma once

#include "tools/qv/mp4/mp4_file.h"
#include "tools/qv/mp4/mp4_summary.h"

namespace qv::tool {

/// Adds what the tree has of them.
void read_tags(const Mp4File& file, fileutil::Boxes& boxes, Mp4Summary& summary);

} // namespace qv::tool
