// A wave file whose header may be damaged: its bytes, and how its header would be laid out.
#pragma once

#include "tools/qv/repair/header_layout.h"

#include "qv/win32.h"

#include <optional>

namespace qv::tool {

struct DamagedFile {
  std::string name;
  HANDLE file;
  uint64_t size;
  std::string start;          ///< its first 128 bytes
  const HeaderLayout* layout; ///< by what is left of the header, else by the name
  uint64_t limit;             ///< where the search for audio ends

  bool is_wave64() const { return layout->size_bytes == sizeof(uint64_t); }
  /// Fewer bytes only where the file ends. Throws Failure.
  std::string read(uint64_t offset, uint64_t bytes) const;
};

/// `limit`: without it, 64 KiB. The handle stays the caller's. Throws Failure for an empty file, and for one of another
/// kind, which a new header would not mend.
DamagedFile look_at(const std::string& name, HANDLE file, std::optional<uint64_t> limit);

} // namespace qv::tool
