// What is damaged in an MP4 file's boxes, in words for a user.
#pragma once

#include "tools/qv/mp4/mp4_file.h"

#include <string>
#include <vector>

namespace qv::tool {

/// Boxes that claim more than there is, and bytes that are no boxes.
std::vector<std::string> describe_damage(const Mp4File& file, fileutil::Boxes& boxes);

} // namespace qv::tool
