// A change of a file as data: where each byte of the new file comes from. Planning makes it, and knows boxes;
// carrying it out knows files alone.
#pragma once

#include "qv/win32.h"

#include <cstdint>
#include <vector>

namespace fileutil {

/// A run of bytes of the new file: either bytes that are here, or a range of the old file.
struct Segment {
  uint64_t length = 0;
  uint64_t source = 0;        ///< position in the old file, where `bytes` is empty
  std::vector<uint8_t> bytes; ///< `length` of them, or none
};

struct UpdatePlan {
  uint64_t oldLength = 0;
  uint64_t newLength = 0;
  /// Every range of the old file keeps its place: the file can be changed in place. Its end may move.
  bool isInPlace = false;
  std::vector<Segment> segments; ///< the new file from its first byte to its last
};

} // namespace fileutil
