// An MP4 file and the boxes in it.
#pragma once

#include "tools/qv/file/disk/disk_file.h"

#include "qv/mp4/boxes.h"

#include <memory>
#include <string>
#include <vector>

namespace qv::tool {

struct BoxFile {
  OpenFile file; ///< which nobody can write while it is open
  std::unique_ptr<fileutil::Boxes> boxes;
  bool is_cut_short = false; ///< it could not be read to its end
};

/// Reads all boxes. Throws Failure, also for a file that is none of these.
BoxFile read_box_file(const std::string& name);

/// What is wrong with the boxes, a line each; after the first few only how many more there are.
std::vector<std::string> damage_of(const BoxFile& file);
/// The same of a tree that was read from elsewhere.
std::vector<std::string> damage_of(fileutil::Boxes& boxes);

} // namespace qv::tool
