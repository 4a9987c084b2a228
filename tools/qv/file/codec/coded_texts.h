// The texts of FLAC, Ogg and MP3 files, which libsndfile knows by numbers, under the ids of "INFO" lists.
#pragma once

#include "qv/win32.h"

#include <string>
#include <utility>
#include <vector>

namespace qv::tool {

using CodedTexts = std::vector<std::pair<DWORD, std::string>>;

/// Whether such a file has a place for a text; in a build without libsndfile for none.
bool has_coded_text(DWORD info_id);

} // namespace qv::tool
