// Four-character codes and GUIDs as keys: the types of boxes.
#pragma once

#include "qv/chunk_id.h"

#include <cstring>

namespace fileutil {

/// The four characters in file order, as they lie in memory: compared with the bytes read, never with a big-endian
/// number. QvFourCC makes one. The "©" of item types is the byte A9.
using FourCC = DWORD;

/// Orders codes as unsigned numbers.
struct FourCCCmp {
  bool operator()(FourCC left, FourCC right) const { return left < right; }
};

/// Orders GUIDs by their bytes.
struct GuidCmp {
  bool operator()(const GUID& left, const GUID& right) const { return std::memcmp(&left, &right, sizeof left) < 0; }
};

} // namespace fileutil
