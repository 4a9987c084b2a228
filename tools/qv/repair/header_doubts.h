// What in the headers of a file that reads well is not so all the same.
#pragma once

#include "tools/qv/file/audio_file.h"

#include <optional>

namespace qv::tool {

/// What in its format record contradicts the rest of it.
std::optional<std::string> doubt_about_format(const AudioFile& audio);
/// Adds a warning to a file whose headers are read where a format record that is read contradicts itself, and one where
/// the size in the file's own header leaves out chunks or audio, or is more than there is. Another warning says enough.
void note_doubts(AudioFile& audio);

} // namespace qv::tool
