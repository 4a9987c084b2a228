// What a damaged file's format record still says.
#pragma once

#include "qv/audio.h"

#include <string>

namespace qv::tool {

/// The first 40 bytes of a format chunk's data, zeros where it has fewer; no more extra bytes counted than are there.
WAVEFORMATEXTENSIBLE loaded(const std::string& record);
/// Whether the data of a format chunk, of 16 bytes or more, describe audio that can be.
bool makes_sense(const std::string& record);
/// A record of 18 bytes, zeros behind it, from what the first 16 of `record` still say, as the library's repair mends
/// it: the hint's values where they make no sense.
WAVEFORMATEXTENSIBLE mended(const std::string& record, const WAVEFORMATEX& hint);
/// The first `size` bytes of a record, up to 40.
std::string record_bytes(const WAVEFORMATEXTENSIBLE& format, size_t size);

} // namespace qv::tool
