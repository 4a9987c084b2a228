// The boxes inside an audio sample entry that say more than the entry itself, for each codec its own.
#pragma once

#include "tools/qv/mp4/track/sample_entry.h"

namespace qv::tool {

/// Puts what the boxes behind the entry's fields say into the format.
void apply_audio_config(std::string_view boxes, SampleFormat& format);

/// The same of the first four bytes of a frame of MPEG-1 and MPEG-2 audio, whose entries say 2 channels whatever there
/// are: ISO/IEC 11172-3, clause 2.4.1.3. What is no such frame changes nothing.
void apply_mpeg_frame(std::string_view frame, SampleFormat& format);

} // namespace qv::tool
