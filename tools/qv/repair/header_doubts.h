// What in the headers of a file that reads well is not so all the same.
#pragma once

#include "tools/qv/file/audio_file.h"

namespace qv::tool {

/// Adds a warning to a file whose headers are read where its format record contradicts itself, and one where the size
/// in the file's own header leaves out chunks or audio, or is more than there is.
void note_doubts(AudioFile& audio);

} // namespace qv::tool
