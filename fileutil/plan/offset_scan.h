// Every number in an MP4 file that is a position in it, found in the file's bytes alone.
#pragma once

#include "fileutil/plan/byte_source.h"

namespace fileutil {

/// Numbers of one table that say where something is.
struct OffsetRun {
  FourCC holder = 0; ///< type of the box that they are in
  uint64_t position = 0;
  uint64_t count = 1;
  unsigned width = 4;       ///< bytes of each: 4 or 8
  unsigned stride = 4;      ///< from one to the next
  uint64_t addend = 0;      ///< a number and this are the position in the file
  uint64_t length = 0;      ///< bytes that are there; 0 where that is not known
  bool pointsToBox = false; ///< to where one begins; otherwise to data, which may be empty
  bool isRelative = false;  ///< the addend moves with the number
  bool isForeign = false;   ///< they count in another file, and stay
};

struct TopBox {
  FourCC type = 0;
  uint64_t position = 0;
  uint64_t size = 0;
  uint64_t end() const { return position + size; }
};

struct OffsetScan {
  std::vector<TopBox> top; ///< the boxes of the file itself
  std::vector<OffsetRun> runs;
  /// Something may hold positions that cannot be read: a compressed movie, tables of a length other than they say, a
  /// box of unknown kind with chunk offsets inside.
  bool isOpaque = false;
};

/// Walks the boxes of a file. Positions are found in "stco" and "co64" (where the media is not in another file), "saio"
/// of a whole track, "tfhd" with base data offset, "tfra", "iloc" (ISO/IEC 14496-12, clauses 8.7, 8.8 and 8.11), and,
/// counted from its own end, "sidx" (8.16). Those of other boxes of fragments count from the fragment.
OffsetScan scanOffsets(const ByteSource& file);

} // namespace fileutil
