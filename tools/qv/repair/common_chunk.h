// What the damaged "COMM" chunk of an AIFF file says.
#pragma once

#include "tools/qv/repair/format_reading.h"

namespace qv::tool {

/// Whether the data of a chunk could be those of a "COMM" chunk that nothing has harmed.
bool common_makes_sense(const std::string& record);

/// Reads the data of a "COMM" chunk, of 18 bytes or more, of a file that has so many bytes of audio, and counts the
/// frames that these are.
FormatReading read_common(const std::string& record, uint64_t audio_bytes, bool has_type, const RepairHint& hint);

} // namespace qv::tool
