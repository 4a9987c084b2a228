// A tree as it was read, before it is changed: what tells afterwards which boxes are still as they were.
#pragma once

#include "fileutil/plan/byte_source.h"

#include "qv/mp4/sample_table.h"

#include <unordered_map>

namespace fileutil {

struct BoxRecord {
  FourCC type = 0;
  uint64_t position = 0;
  uint64_t size = 0;
  uint32_t headerSize = 0;
  bool isOpenEnded = false;   ///< claims more than it has: what is put behind it becomes part of it
  uint64_t childrenBegin = 0; ///< of a box with children: in the file
  uint64_t childrenEnd = 0;   ///< of the last child that could be read
  Bytes fields;               ///< as FieldWriter gives them; none of chunk offsets

  uint64_t end() const { return position + size; }
};

class TreeRecord {
public:
  /// Records a tree that BoxReader::readMetaForUpdate() has read from a file. Refuses one that is not read whole where
  /// that matters: no MP4 file, chunk offsets that did not match their count, and levels of "moov" down to "stbl" that
  /// ended early.
  TreeRecord(Boxes& tree, const ByteSource& file);

  /// Null for a box that was not read: one that the change has made.
  const BoxRecord* find(const IBox* box) const;
  /// Whether a recorded table has the offsets that it had.
  bool isAsRead(const BoxRecord& known, const ChunkOffsetBox& box) const;
  bool isAsRead(const BoxRecord& known, const ChunkLargeOffsetBox& box) const;
  /// The boxes of the file itself, in its order.
  const std::vector<BoxRecord>& top() const { return top_; }
  /// Behind the last of them.
  uint64_t topEnd() const { return top_.empty() ? 0 : top_.back().end(); }

private:
  class Recorder;

  template <class Offset>
  bool isTableAsRead(const BoxRecord& known, const std::vector<Offset>& offsets) const;

  const ByteSource& file_;
  std::unordered_map<const IBox*, BoxRecord> records_;
  std::vector<BoxRecord> top_;
};

} // namespace fileutil
