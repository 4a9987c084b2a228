// Paths to boxes: "moov/trak[2]/mdia", "moov/udta/meta/ilst/©nam/data".
#pragma once

#include "qv/mp4/box.h"

#include <string>
#include <vector>

namespace qv::tool {

/// A step of a path: the n-th box of a type, counted from 1.
struct BoxStep {
  fileutil::FourCC type = 0;
  uint32_t number = 1;
};

using BoxPath = std::vector<BoxStep>;

/// Reads a path: types of four characters between slashes, shorter ones ending in spaces, each with "[n]" where it is
/// not the first of its type. The byte A9 may be "©" and any byte "\xNN". Throws std::invalid_argument with the reason.
BoxPath box_path_from(const std::string& text);

/// The box to which a path leads. Throws std::invalid_argument with the reason where there is none.
fileutil::IBox& box_at(fileutil::Boxes& boxes, const BoxPath& path);

} // namespace qv::tool
