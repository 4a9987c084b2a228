// What a damaged wave format record says: the readings of it in which all fields agree, and the one to believe.
#pragma once

#include "tools/qv/repair/header_layout.h"
#include "tools/qv/repair/repair_plan.h"

namespace qv::tool {

/// The first 40 bytes of a format chunk's data, zeros where it has fewer.
WAVEFORMATEXTENSIBLE loaded(const std::string& record);
/// "PCM, 48,000 Hz, 16 Bit, Mono".
std::string text_of(const WAVEFORMATEXTENSIBLE& record);
/// Whether the data of a chunk could be a format record that nothing has harmed, whatever the chunk is called.
bool record_makes_sense(const HeaderLayout& layout, const std::string& record);

struct FormatReading {
  std::string record;             ///< as it should be, of as many bytes as it has
  std::vector<std::string> notes; ///< a line each
  DWORD block_align = 1;
  bool is_compressed = false; ///< of a format that is not mended
};

/// Reads a record of 16 bytes or more of RIFF wave or Wave64.
FormatReading read_format(const std::string& record, const RepairHint& hint);

} // namespace qv::tool
