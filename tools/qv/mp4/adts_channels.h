// Channels that the audio itself describes: the program config element, ISO/IEC 14496-3, clause 4.5.1.2.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace qv::tool {

struct ProgramConfig {
  uint16_t channels = 0;
  /// The element without its id, as an AudioSpecificConfig ends with it: from a whole byte on, padded to one.
  std::vector<uint8_t> bytes;
};

/// That with which a raw data block begins; none where it begins with another element, or ends inside it.
std::optional<ProgramConfig> read_program_config(const std::vector<char>& block);

} // namespace qv::tool
