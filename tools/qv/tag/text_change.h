// Texts of a file set and removed, in the way of its container.
#pragma once

#include "tools/qv/tag/tag_change.h"

namespace qv::tool {

/// Does those settings that are texts. Returns what the user should know of it.
std::vector<std::string> change_texts(const AudioFile& audio, const TagChange& change, ChunkEdit& edit);

} // namespace qv::tool
