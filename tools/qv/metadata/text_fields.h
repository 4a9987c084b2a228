// What a text is called by users, and where each container keeps it.
#pragma once

#include "qv/win32.h"

#include <span>
#include <string>

namespace qv::tool {

struct TextField {
  const char* name; ///< on the command line
  DWORD info;       ///< the id in "INFO" lists and in Wave64's summary lists
  DWORD aiff;       ///< the id of AIFF's chunk, its characters in file order; 0: it has none
};

std::span<const TextField> text_fields();
/// The row of a friendly name; null when there is none.
const TextField* text_field_named(const std::string& name);
/// The id of AIFF's chunk for an "INFO" id, and the reverse; 0 when there is none.
DWORD aiff_id_for_info(DWORD info_id);
DWORD info_id_for_aiff(DWORD aiff_id);
/// Whether a chunk of AIFF is nothing but a text.
bool is_aiff_text(DWORD chunk_id);

} // namespace qv::tool
