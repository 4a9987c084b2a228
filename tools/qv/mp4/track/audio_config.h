// The boxes inside an audio sample entry that say more than the entry itself, for each codec its own.
#pragma once

#include "tools/qv/mp4/track/sample_entry.h"

namespace qv::tool {

/// Puts what the boxes behind the entry's fields say into the format.
void apply_audio_config(std::string_view boxes, SampleFormat& format);

} // namespace qv::tool
