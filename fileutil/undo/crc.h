// The check sum of headers and pieces in an undo file.
#pragma once

#include <cstdint>
#include <string_view>

namespace qv::undo {

/// CRC-32 of ISO 3309 over the bytes of both, one behind the other.
uint32_t crc_of(std::string_view first, std::string_view second = {});

} // namespace qv::undo
